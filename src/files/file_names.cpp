// FERASE, FRENAME, FATTRIB and FILE: functions on names, not descriptors.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "file_args.hpp"
#include "files.h"
#include "fname.h"
#include "kernel.h"
#include "letters.hpp"

using namespace vlfile;

namespace {

constexpr int kModeBits = 07777;

}  // namespace

VLN_FUNC(ferase)
{
  begin();
  std::string path;
  if (const int err = name_arg(argc, argv, 0, &path)) return fail(err);
  return unlink(path.c_str()) < 0 ? fail_system() : number(0);
}

VLN_FUNC(frename)
{
  begin();
  std::string from, to;
  if (const int err = name_arg(argc, argv, 0, &from)) return fail(err);
  if (const int err = name_arg(argc, argv, 1, &to)) return fail(err);
  return std::rename(from.c_str(), to.c_str()) < 0 ? fail_system() : number(0);
}

VLN_FUNC(fattrib)
{
  begin();
  std::string path;
  if (const int err = name_arg(argc, argv, 0, &path)) return fail(err);
  struct stat st;
  if (stat(path.c_str(), &st) < 0) return fail_system();
  return number(st.st_mode & kModeBits);
}

VLN_FUNC(file)
{
  if (argc < 1 || !argv[0] || !vl::kCM.has(argv[0]->Type) || !VSTR(argv[0])) return FALSE_VAR;
  const var* v = argv[0];
  const std::string name(VSTR(v), v->Length > 0 ? static_cast<size_t>(v->Length - 1) : 0);
  if (name.find('\0') != std::string::npos) return FALSE_VAR;
  return vln::path_file(name).empty() ? FALSE_VAR : TRUE_VAR;
}
