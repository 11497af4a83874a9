// FOPEN, FCREATE and FCLOSE: their descriptors are handles (files.hpp), so
// that closing one never drops this process's locks on a table.
#include <fcntl.h>
#include <sys/stat.h>

#include <string>

#include "file_args.hpp"
#include "files.hpp"
#include "kernel.h"

using namespace vlfile;

namespace {

// FOPEN's modes 0, 1, 2; any other mode is taken as open() flags.
constexpr int kOpenModes[] = {O_RDONLY | O_NONBLOCK, O_WRONLY | O_NONBLOCK | O_CREAT,
                              O_RDWR | O_NONBLOCK | O_CREAT};

// FCREATE's attributes with a mode of their own.
struct Attr {
  int attr;
  int mode;
};
constexpr Attr kAttrs[] = {{0, 0660}, {1, 0440}, {2, 0600}, {4, 0400}};
constexpr int kOtherMode = 0666;
constexpr int kOctalLow = 100;
constexpr int kOctalHigh = 777;

int open_flags(int mode)
{
  return mode >= 0 && mode <= 2 ? kOpenModes[mode] : mode;
}

// 100 to 777 are three octal digits written as a decimal number.
int octal_digits(int attr)
{
  int mode = 0;
  for (int scale = 100; scale > 0; scale /= 10) {
    const int digit = attr / scale % 10;
    if (digit > 7) return kOtherMode;
    mode = mode * 8 + digit;
  }
  return mode;
}

int attr_mode(int attr)
{
  for (const Attr& a : kAttrs)
    if (a.attr == attr) return a.mode;
  if (attr >= kOctalLow && attr <= kOctalHigh) return octal_digits(attr);
  return kOtherMode;
}

}  // namespace

VLN_FUNC(fopen)
{
  begin();
  std::string path;
  if (const int err = name_arg(argc, argv, 0, &path)) return fail(err);
  double mode = 0;
  const bool given = argc > 1 && argv[1] && argv[1]->Type != 'U';
  if (given && !number_arg(argc, argv, 1, &mode)) return fail(kBadType);
  const int fd = vl::vlnHandleOpen(path.c_str(), open_flags(vlnDoubleToInt(mode)), vlnGetUmask());
  return fd < 0 ? fail_system() : number(fd);
}

// Created with every permission and read-write, then given its mode, so
// that the mask cannot cut it and a read-only file is still writable
// through this descriptor.
VLN_FUNC(fcreate)
{
  begin();
  std::string path;
  if (const int err = name_arg(argc, argv, 0, &path)) return fail(err);
  double attr = 0;
  const bool given = argc > 1 && argv[1] && argv[1]->Type != 'U';
  const int mode = !given ? vlnGetUmask()
                   : number_arg(argc, argv, 1, &attr) ? attr_mode(vlnDoubleToInt(attr))
                                                     : attr_mode(0);
  const int fd = vl::vlnHandleOpen(path.c_str(), O_CREAT | O_RDWR | O_TRUNC, kOtherMode);
  if (fd < 0) return fail_system();
  fchmod(fd, mode);
  return number(fd);
}

VLN_FUNC(fclose)
{
  begin();
  int fd = -1;
  if (!fd_arg(argc, argv, 0, &fd)) return fail(kBadType);
  return vl::vlnHandleClose(fd) < 0 ? fail_system() : number(0);
}
