// SET PATH and SET DEFAULT: the directories relative file names are looked
// for in.  Both are kept translated (drive letters, slashes, case) and with
// a trailing '/', so that a name is joined to them directly; SET PATH also
// keeps the text as given, which is what SET(6) shows.
#include <string>
#include <vector>

#include "fname.h"
#include "switches.h"

namespace {

constexpr char kPathSeparators[] = ",;";

std::vector<std::string> sPathDirs;

std::string trim(const std::string& s)
{
  const size_t first = s.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

// A directory as the name routines want it: translated, ending in '/'.
std::string as_directory(const std::string& text, VlnNameReport* report)
{
  std::string dir = trim(text);
  if (dir.empty()) return dir;
  if (dir.back() != '/' && dir.back() != '\\') dir += '/';
  return vln::convert_file(dir, vln::kNameMax, report);
}

void split_path(const char* text, VlnNameReport* report)
{
  sPathDirs.clear();
  const std::string all = text;
  size_t start = 0;
  while (start <= all.size()) {
    size_t end = all.find_first_of(kPathSeparators, start);
    if (end == std::string::npos) end = all.size();
    std::string dir = as_directory(all.substr(start, end - start), report);
    if (!dir.empty()) sPathDirs.push_back(std::move(dir));
    start = end + 1;
  }
  vln_flagto_settext(&vln_flagto.path, text);
}

void keep_default(const char* text, VlnNameReport* report)
{
  vln_flagto_settext(&vln_flagto.default_dir, as_directory(text, report).c_str());
}

}  // namespace

extern "C" {

void vln_path_to(const char* text)
{
  VlnNameReport report{};
  split_path(text ? text : "", &report);
  vln_name_report(&report);
}

void vln_default_to(const char* text)
{
  VlnNameReport report{};
  keep_default(text ? text : "", &report);
  vln_name_report(&report);
}

int vln_path_count(void) { return static_cast<int>(sPathDirs.size()); }

const char* vln_path_entry(int i)
{
  return i >= 0 && i < vln_path_count() ? sPathDirs[i].c_str() : nullptr;
}

}  // extern "C"
