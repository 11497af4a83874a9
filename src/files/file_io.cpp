// FSEEK, FWRITE, FLOCKF, FERROR and DOSERROR.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>

#include "file_args.hpp"
#include "files.h"
#include "kernel.h"
#include "letters.hpp"

using namespace vlfile;

namespace {

// Offsets beyond this cannot be a file position.
constexpr double kMaxOffset = 9.0e18;
constexpr int kReadLock = 1;
constexpr int kWriteLock = 2;

short lock_type(int type)
{
  return type == kReadLock ? F_RDLCK : type == kWriteLock ? F_WRLCK : F_UNLCK;
}

}  // namespace

VLN_FUNC(fseek)
{
  begin();
  int fd = -1;
  double offset = 0, origin = SEEK_SET;
  if (!fd_arg(argc, argv, 0, &fd) || !number_arg(argc, argv, 1, &offset)) return fail(kBadType);
  if (argc > 2 && argv[2] && argv[2]->Type != 'U' && !number_arg(argc, argv, 2, &origin))
    return fail(kBadType);
  if (!std::isfinite(offset) || std::fabs(offset) > kMaxOffset) return fail(EINVAL);
  const off_t at = lseek(fd, static_cast<off_t>(offset), vlnDoubleToInt(origin));
  return at < 0 ? fail_system() : number(static_cast<double>(at));
}

VLN_FUNC(fwrite)
{
  begin();
  int fd = -1;
  if (!fd_arg(argc, argv, 0, &fd)) return fail(kBadType);
  if (argc < 2 || !argv[1] || !vl::kCM.has(argv[1]->Type)) return fail(kBadType);
  const var* text = argv[1];
  const double len = text->Length > 0 ? text->Length - 1 : 0;
  double n = len;
  if (argc > 2 && argv[2] && argv[2]->Type != 'U' && !number_arg(argc, argv, 2, &n))
    return fail(kBadType);
  if (!(n >= 0)) return fail(EINVAL);
  const size_t count = static_cast<size_t>(n < len ? n : len);
  size_t done = 0;
  while (done < count) {
    const ssize_t put = write(fd, VSTR(text) + done, count - done);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) {
      if (done == 0) return fail_system();
      vln_ferror = __oserr = errno;
      break;
    }
    done += static_cast<size_t>(put);
  }
  return number(static_cast<double>(done));
}

VLN_FUNC(flockf)
{
  begin();
  int fd = -1;
  double type = 0, length = 0;
  if (!fd_arg(argc, argv, 0, &fd) || !number_arg(argc, argv, 1, &type)) return fail(kBadType);
  if (argc > 2 && argv[2] && argv[2]->Type != 'U' && !number_arg(argc, argv, 2, &length))
    return fail(kBadType);
  if (!std::isfinite(length) || std::fabs(length) > kMaxOffset) return fail(EINVAL);
  struct flock fl {};
  fl.l_type = lock_type(vlnDoubleToInt(type));
  fl.l_whence = SEEK_CUR;
  fl.l_start = 0;
  fl.l_len = static_cast<off_t>(length);
  const off_t at = lseek(fd, 0, SEEK_CUR);
  const int result = fcntl(fd, F_SETLK, &fl);
  const int err = errno;
  if (at >= 0) lseek(fd, at, SEEK_SET);
  errno = err;
  return result < 0 ? fail_system() : number(0);
}

VLN_FUNC(ferror) { return number(vln_ferror); }

VLN_FUNC(doserror)
{
  const int former = __oserr;
  double n = 0;
  if (number_arg(argc, argv, 0, &n)) __oserr = vlnDoubleToInt(n);
  return number(former);
}
