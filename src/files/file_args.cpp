// Arguments and results of the low-level file functions: file_args.hpp.
#include "file_args.hpp"

#include <cerrno>
#include <cstring>

#include "fname.h"
#include "kernel.h"
#include "letters.hpp"

namespace vlfile {

bool fd_arg(int argc, var** argv, int i, int* fd)
{
  if (i >= argc || !argv[i] || !vl::kNFI.has(argv[i]->Type)) return false;
  *fd = vlnIntVar(argv[i]);
  return true;
}

bool number_arg(int argc, var** argv, int i, double* n)
{
  if (i >= argc || !argv[i] || !vl::kNFI.has(argv[i]->Type)) return false;
  *n = vlnNumVar(argv[i]);
  return true;
}

int name_arg(int argc, var** argv, int i, std::string* path)
{
  if (i >= argc || !argv[i] || !vl::kCM.has(argv[i]->Type) || !VSTR(argv[i])) return kBadType;
  const var* v = argv[i];
  const size_t len = v->Length > 0 ? static_cast<size_t>(v->Length - 1) : 0;
  if (std::memchr(VSTR(v), '\0', len)) return EINVAL;
  *path = vln::form_fnam(nullptr, std::string(VSTR(v), len));
  return 0;
}

void begin() { vln_ferror = 0; }

var* fail(int err)
{
  vln_ferror = err;
  return number(-1);
}

var* fail_system()
{
  __oserr = errno;
  return fail(errno);
}

var* number(double n) { return set_nv(n, 0); }

}  // namespace vlfile
