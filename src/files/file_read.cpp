// FREAD, FREADSTR and FREADTXT.
//
// Reads go in blocks, so that the memory taken follows what the file
// holds, not the count asked for; a count above VLN_FILE_MAX_COUNT fails
// with EINVAL before anything is read.  A read ends, as one system read
// would, at the end of the file or when the descriptor gives less than a
// block (a pipe or terminal with nothing more waiting).
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "file_args.hpp"
#include "files.h"
#include "kernel.h"
#include "letters.hpp"
#include "switches.hpp"

using namespace vl;

using namespace vlfile;

namespace {

constexpr size_t kBlock = 64 * 1024;
// FREADTXT reads this much at a time and seeks back over what follows the
// end of the line.
constexpr size_t kLineBlock = 512;

// Read up to n bytes into data.  Returns false when the very first read
// fails; a later failure keeps what was read and leaves errno set.
bool read_up_to(int fd, size_t n, std::string& data, int* err)
{
  data.clear();
  *err = 0;
  while (data.size() < n) {
    const size_t want = std::min(kBlock, n - data.size());
    const size_t had = data.size();
    data.resize(had + want);
    const ssize_t got = read(fd, &data[had], want);
    if (got < 0 && errno == EINTR) {
      data.resize(had);
      continue;
    }
    data.resize(had + std::max<ssize_t>(got, 0));
    if (got < 0) {
      *err = errno;
      return had > 0;
    }
    if (static_cast<size_t>(got) < want) break;
  }
  return true;
}

// The count argument: a number from 0 to the most accepted, or the errno
// to fail with.
int count_arg(int argc, var** argv, int i, double dflt, size_t* n)
{
  double count = dflt;
  if (i < argc && argv[i] && argv[i]->Type != 'U' && !number_arg(argc, argv, i, &count))
    return kBadType;
  if (!(count >= 0) || count > VLN_FILE_MAX_COUNT) return EINVAL;
  *n = static_cast<size_t>(count);
  return 0;
}

void note_error(int err)
{
  if (err) vln_ferror = __oserr = err;
}

var* bytes_result(const std::string& data)
{
  return set_Cvar(cre_tmpvar(), data.data(), static_cast<int32_t>(data.size()));
}

bool line_end(char c)
{
  return c == '\n' || (c == '\0' && !vl_set_flag[VL_SLOT_NULTEXT]);
}

}  // namespace

VLN_FUNC(fread)
{
  begin();
  int fd = -1;
  if (!fd_arg(argc, argv, 0, &fd)) return fail(kBadType);
  var* buffer = argc > 1 ? argv[1] : nullptr;
  if (!buffer || !(vl::kCM.has(buffer->Type) || buffer->Type == 'U')) return fail(kBadType);
  const size_t had = vl::kCM.has(buffer->Type) && buffer->Length > 0 ? buffer->Length - 1 : 0;
  size_t n = 0;
  if (const int err = count_arg(argc, argv, 2, static_cast<double>(had), &n)) return fail(err);
  std::string data;
  int err = 0;
  if (!read_up_to(fd, n, data, &err)) return fail(err);
  note_error(err);
  const size_t got = data.size();
  if (got < had) data.append(VSTR(buffer) + got, had - got);
  set_Cvar(buffer, data.data(), static_cast<int32_t>(data.size()));
  return number(static_cast<double>(got));
}

VLN_FUNC(freadstr)
{
  begin();
  int fd = -1;
  size_t n = 0;
  if (!fd_arg(argc, argv, 0, &fd)) {
    vln_ferror = kBadType;
    return NULLSTR_VAR;
  }
  if (const int err = count_arg(argc, argv, 1, -1, &n); err || n < 1) {
    vln_ferror = err == kBadType ? kBadType : EINVAL;
    return NULLSTR_VAR;
  }
  std::string data;
  int err = 0;
  if (!read_up_to(fd, n, data, &err)) {
    vln_ferror = __oserr = err;
    return NULLSTR_VAR;
  }
  note_error(err);
  data.resize(std::strlen(data.c_str()));
  return bytes_result(data);
}

VLN_FUNC(freadtxt)
{
  begin();
  int fd = -1;
  if (!fd_arg(argc, argv, 0, &fd)) {
    vln_ferror = kBadType;
    return NULLSTR_VAR;
  }
  std::string line;
  char block[kLineBlock];
  bool ended = false;
  while (!ended && line.size() < static_cast<size_t>(VLN_FILE_MAX_COUNT)) {
    const ssize_t got = read(fd, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      vln_ferror = __oserr = errno;
      return NULLSTR_VAR;
    }
    if (got == 0) break;
    const char* end = std::find_if(block, block + got, line_end);
    ended = end < block + got;
    const ssize_t used = ended ? end - block + 1 : got;
    line.append(block, static_cast<size_t>(used));
    if (ended && used < got) lseek(fd, used - got, SEEK_CUR);
  }
  if (line.empty()) {
    vln_ferror = -1;
    return NULLSTR_VAR;
  }
  if (line.back() == '\n' || line.back() == '\0') line.pop_back();
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return bytes_result(line);
}
