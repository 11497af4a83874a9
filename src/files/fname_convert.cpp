// vlnConvertFile: the translation of one file name, step by step.
//
//   1. trailing blanks go;
//   2. "X:" at the start becomes the value of X_VLDRIVE, when that is set,
//      with a '/' between unless one is there already;
//   3. '\' becomes '/';
//   4. the extension is mapped (vln_namemapext);
//   5. the directory part (up to the last '/') is folded by lower path or
//      upper path;
//   6. the file part is folded by lower file name and upper file name;
//   7. with strip on: only letters, digits and "/\._-!@~#%*?" stay, the
//      base name is clipped to 8 characters and an extension that is not
//      all digits to 3.
// Case folding is plain ASCII: file names do not follow the national
// tables.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "errcodes.h"
#include "fname.h"
#include "fname_util.hpp"
#include "switches.hpp"

using namespace vl;

namespace {

constexpr char kDriveSuffix[] = "_VLDRIVE";
constexpr char kStripKeeps[] = "/\\._-!@~#%*?";
constexpr size_t kBaseMax = 8;
// A clipped extension keeps the dot and three characters.
constexpr size_t kExtKeep = 4;

bool is_slash(char c) { return c == '/' || c == '\\'; }

void substitute_drive(std::string& name, size_t limit, VlnNameReport* report)
{
  if (name.size() < 2 || name[1] != ':') return;
  const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
  const std::string var = std::string(1, letter) + kDriveSuffix;
  const char* value = std::getenv(var.c_str());
  if (!value) return;
  const size_t vlen = std::strlen(value);
  if (name.size() + vlen >= limit) {
    vln::note(report, VL_E_WARNING, 0, "Drive %c: substitution exceedes %d chars", letter,
              static_cast<int>(limit));
    return;
  }
  const std::string rest = name.substr(2);
  const bool plain = rest.empty() || vlen == 0 || is_slash(rest[0]) || is_slash(value[vlen - 1]);
  name = value + std::string(plain ? "" : "/") + rest;
}

void map_extension(std::string& name, size_t limit, VlnNameReport* report)
{
  std::string mapped = vln::namemapext(name);
  if (mapped.size() >= limit) {
    vln::note(report, VL_E_WARNING, 0, "Mapping of extension exceeds %d chars",
              static_cast<int>(limit));
    return;
  }
  name.swap(mapped);
}

void fold(std::string::iterator from, std::string::iterator to, int (*how)(int))
{
  std::transform(from, to, from, [how](char c) {
    return static_cast<char>(how(static_cast<unsigned char>(c)));
  });
}

int ascii_lower(int c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; }
int ascii_upper(int c) { return c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c; }

void fold_case(std::string& name)
{
  const size_t slash = name.rfind('/');
  const auto file = slash == std::string::npos ? name.begin() : name.begin() + slash + 1;
  if (slash != std::string::npos) {
    if (vl_set_flag[VL_SLOT_LOWERPATH])
      fold(name.begin(), name.begin() + slash, ascii_lower);
    else if (vl_set_flag[VL_SLOT_UPPERPATH])
      fold(name.begin(), name.begin() + slash, ascii_upper);
  }
  if (vl_set_flag[VL_SLOT_LOWERFILE]) fold(file, name.end(), ascii_lower);
  if (vl_set_flag[VL_SLOT_UPPERFILE]) fold(file, name.end(), ascii_upper);
}

bool safe_char(char c)
{
  const auto u = static_cast<unsigned char>(c);
  return u < 0x80 && (std::isalnum(u) || std::strchr(kStripKeeps, c));
}

void strip_name(std::string& name)
{
  name.erase(std::remove_if(name.begin(), name.end(), [](char c) { return !safe_char(c); }),
             name.end());
  const size_t start = name.rfind('/') == std::string::npos ? 0 : name.rfind('/') + 1;
  std::string file = name.substr(start);
  const size_t dot = file.find('.');
  const size_t base = std::min(dot, file.size());
  if (base > kBaseMax) file.erase(kBaseMax, base - kBaseMax);
  const size_t ext = file.find('.');
  if (ext != std::string::npos) {
    const bool digits = std::all_of(file.begin() + ext + 1, file.end(),
                                    [](char c) { return c >= '0' && c <= '9'; });
    if (!digits && file.size() > ext + kExtKeep) file.resize(ext + kExtKeep);
  }
  name.replace(start, std::string::npos, file);
}

}  // namespace

std::string vln::convert_file(std::string name, size_t limit, VlnNameReport* report)
{
  name.erase(name.find_last_not_of(' ') + 1);
  substitute_drive(name, limit, report);
  std::replace(name.begin(), name.end(), '\\', '/');
  map_extension(name, limit, report);
  fold_case(name);
  if (vl_set_flag[VL_SLOT_STRIP]) strip_name(name);
  return name;
}

static void convert_into(char* name, size_t size, VlnNameReport* report)
{
  const std::string result = vln::convert_file(name, size, report);
  vln::copy_out(result, name, size);
}

extern "C" char* vlnConvertFile(char* name, size_t size)
{
  return vln::in_place(name, size, convert_into);
}
