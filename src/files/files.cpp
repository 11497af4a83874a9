// The checked wrappers of the system's file calls.  Each does its work in a
// helper that holds the names, and reports only after the helper has
// returned, since a report may leave by BREAK.
#include "files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>

#include "fname.h"
#include "fname_util.hpp"
#include "kernel.h"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr int kAllRw = 0666;

int failed(int result)
{
  if (result < 0) __oserr = errno;
  return result;
}

// How a search opens each name it tries: open(2) or vlnHandleOpen.
using Opener = int (*)(const char* path, int flags, int mode);

int plain_open(const char* path, int flags, int mode) { return open(path, flags | O_CLOEXEC, mode); }

int open_converted(const char* name, int flags, int mode)
{
  const std::string path = vln::convert_file(name);
  return failed(plain_open(path.c_str(), flags, mode));
}

// The last name tried, absolute and cut to fit path_open_fil's buffer.
void last_name_out(const std::string& last, char* out)
{
  std::string abs = vln::abs_path(last);
  if (abs.empty()) abs = last;
  if (abs.size() >= VLN_OPEN_NAME_SIZE) abs.resize(VLN_OPEN_NAME_SIZE - 1);
  vln::copy_out(abs, out, VLN_OPEN_NAME_SIZE);
}

int path_open(Opener opener, const char* asked, const char* name, int flags, int mode, char* out,
              bool system, bool report, VlnNameReport* rep)
{
  std::string last;
  int fd = -1;
  for (const std::string& candidate : vln::search_names(name, system, rep)) {
    last = candidate;
    fd = opener(candidate.c_str(), flags, mode);
    if (fd >= 0) break;
  }
  const int err = errno;
  if (fd < 0) {
    __oserr = err;
    if (report)
      vln::note(rep, VL_E_FILE_OPEN, 1, "Open error for '%s' (requested '%s') ", last.c_str(),
                asked);
  }
  if (out) last_name_out(last, out);
  errno = err;
  return fd;
}

int create(const char* name, int mode, VlnNameReport* rep)
{
  const std::string path = vln::form_fnam(nullptr, name, rep);
  const int fd = failed(open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, mode));
  if (fd < 0)
    vln::note(rep, VL_E_FILE_CREATE, 1, "Create error for '%s' ", path.c_str());
  else
    fchmod(fd, mode);
  return fd;
}

int erase(const char* name, VlnNameReport* rep)
{
  const std::string path = vln::form_fnam(nullptr, name, rep);
  const int result = failed(unlink(path.c_str()));
  if (result < 0) vln::note(rep, VL_E_FILE_ERASE, 1, "Erase error");
  return result;
}

FILE* open_stream(const char* name, const char* mode, VlnNameReport* rep)
{
  const std::string how = std::string(mode) + "e";
  std::string last;
  for (const std::string& candidate : vln::search_names(name, false, rep)) {
    last = candidate;
    if (FILE* stream = std::fopen(candidate.c_str(), how.c_str())) return stream;
  }
  __oserr = errno;
  vln::note(rep, VL_E_FILE_OPEN, 1, "file '%s'", last.c_str());
  return nullptr;
}

int name_mode(const char* name, VlnNameReport* rep)
{
  const std::string path = vln::convert_file(name);
  struct stat st;
  if (stat(path.c_str(), &st) == 0) return st.st_mode & 07777;
  __oserr = errno;
  vln::note(rep, VL_E_FILE_STATUS, 0, "GET_NFIL_MODE: cannot get status for '%s'", path.c_str());
  return 0;
}

int search_open(Opener opener, const char* name, int flags, int mode, char* out, int system,
                int report)
{
  if (!name) return -1;
  const char* expanded = vln::expand_name(name);
  VlnNameReport rep{};
  const int fd = path_open(opener, name, expanded, flags, mode, out, system != 0, report != 0, &rep);
  vln_name_report(&rep);
  return fd;
}

int handle_of(void* cookie) { return static_cast<int>(reinterpret_cast<intptr_t>(cookie)); }

ssize_t handle_read(void* cookie, char* buf, size_t n) { return read(handle_of(cookie), buf, n); }

int handle_release(void* cookie) { return vl::vlnHandleClose(handle_of(cookie)); }

}  // namespace

namespace vl {

int (*vlnHandleOpen)(const char* path, int flags, int mode) = plain_open;
int (*vlnHandleClose)(int fd) = close;

int open_fil(const char* name, int flags, int mode)
{
  return name ? open_converted(name, flags, mode) : -1;
}

int path_open_fil(const char* name, int flags, int mode, char* out, int system, int report)
{
  return search_open(plain_open, name, flags, mode, out, system, report);
}

int path_open_handle(const char* name, int flags, int mode, char* out, int system, int report)
{
  return search_open(vlnHandleOpen, name, flags, mode, out, system, report);
}

FILE* handle_stream(int fd)
{
  const cookie_io_functions_t io{handle_read, nullptr, nullptr, handle_release};
  FILE* stream = fopencookie(reinterpret_cast<void*>(static_cast<intptr_t>(fd)), "r", io);
  if (!stream) {
    const int err = errno;
    vlnHandleClose(fd);
    errno = err;
  }
  return stream;
}

int creat_fil(const char* name, int mode)
{
  if (!name) return -1;
  name = vln::expand_name(name);
  VlnNameReport rep{};
  const int fd = create(name, mode, &rep);
  vln_name_report(&rep);
  return fd;
}

int close_fil(int fd)
{
  if (failed(close(fd)) == 0) return 0;
  char text[64];
  std::snprintf(text, sizeof text, "Close error (for %d)  ", fd);
  io_error(VL_E_FILE_CLOSE, text);
  return -1;
}

ssize_t read_fil(int fd, void* buf, size_t n)
{
  const ssize_t got = read(fd, buf, n);
  if (got < 0) __oserr = errno;
  return got;
}

off_t lseek_fil(int fd, off_t offset, int whence)
{
  const off_t at = lseek(fd, offset, whence);
  if (at < 0) __oserr = errno;
  return at;
}

ssize_t write_fil(int fd, const void* buf, size_t n)
{
  const char* p = static_cast<const char*>(buf);
  size_t done = 0;
  while (done < n) {
    const ssize_t put = write(fd, p + done, n - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) break;
    done += static_cast<size_t>(put);
  }
  if (done == n) return static_cast<ssize_t>(n);
  __oserr = errno;
  io_error(VL_E_FILE_WRITE, "Write error");
  return done > 0 ? static_cast<ssize_t>(done) : -1;
}

int erase_fil(const char* name)
{
  if (!name) return -1;
  name = vln::expand_name(name);
  VlnNameReport rep{};
  const int result = erase(name, &rep);
  vln_name_report(&rep);
  return result;
}

FILE* fopen_fil(const char* name, const char* mode)
{
  if (!name || !mode) return nullptr;
  name = vln::expand_name(name);
  VlnNameReport rep{};
  FILE* stream = open_stream(name, mode, &rep);
  vln_name_report(&rep);
  return stream;
}

int fclose_fil(FILE* stream) { return stream ? failed(std::fclose(stream)) : -1; }

int get_nfil_mode(const char* name)
{
  if (!name) return 0;
  VlnNameReport rep{};
  const int mode = name_mode(name, &rep);
  if (rep.code) int_error(rep.code, rep.text, __FILE__, __LINE__);
  return mode;
}

}  // namespace vl

extern "C" {

int vlnGetFileMode(int fd)
{
  struct stat st;
  if (fstat(fd, &st) == 0) return st.st_mode & 07777;
  __oserr = errno;
  char text[64];
  std::snprintf(text, sizeof text, "GET_DFIL_MODE: cannot get status for '%d'", fd);
  int_error(VL_E_FILE_STATUS, text, __FILE__, __LINE__);
  return 0;
}

int vlnGetUmask(void)
{
  const mode_t mask = umask(0);
  umask(mask);
  return ~mask & kAllRw;
}

}  // extern "C"
