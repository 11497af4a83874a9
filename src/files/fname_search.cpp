// Where a relative name is looked for: SET DEFAULT (or the working
// directory), then, for system files, the directories of SCRMAP and
// TERMINFO, then SET PATH, then the system's terminfo directories.  A name
// that carries a directory is looked for there only.
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fname.h"
#include "fname_util.hpp"
#include "switches.hpp"

using namespace vl;

namespace {

constexpr const char* kSystemEnv[] = {"SCRMAP", "TERMINFO"};
constexpr const char* kSystemDirs[] = {"/usr/lib/terminfo", "/usr/share/terminfo",
                                       "/lib/terminfo", "/etc/terminfo"};

std::string join(const std::string& dir, const std::string& name)
{
  if (dir.empty()) return name;
  return dir + (dir.back() == '/' ? "" : "/") + name;
}

bool is_file(const std::string& name)
{
  struct stat st;
  return stat(name.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

bool has_wildcard(const std::string& name)
{
  return name.find_first_of("*?") != std::string::npos;
}

// The first entry of name's directory that matches its file part; "" when
// none.  Matching is case-sensitive, as the file system is.
std::string scan(const std::string& name)
{
  const size_t slash = name.rfind('/');
  const std::string dir = slash == std::string::npos ? "." : name.substr(0, slash + 1);
  const std::string pattern = slash == std::string::npos ? name : name.substr(slash + 1);
  DIR* d = opendir(dir.c_str());
  if (!d) return "";
  std::string found;
  while (const dirent* e = readdir(d)) {
    if (fnmatch(pattern.c_str(), e->d_name, FNM_PERIOD) != 0) continue;
    const std::string candidate = slash == std::string::npos ? e->d_name : dir + e->d_name;
    if (is_file(candidate)) {
      found = candidate;
      break;
    }
  }
  closedir(d);
  return found;
}

}  // namespace

std::vector<std::string> vln::search_names(const std::string& name, bool system,
                                           VlnNameReport* report)
{
  std::vector<std::string> names{form_fnam(nullptr, name, report)};
  const std::string bare = form_fnam("", name);
  if (bare.find('/') != std::string::npos) return names;
  if (system)
    for (const char* env : kSystemEnv)
      if (const char* dir = std::getenv(env)) names.push_back(join(dir, bare));
  for (int i = 0; i < vln_path_count(); ++i) names.push_back(join(vln_path_entry(i), bare));
  if (system)
    for (const char* dir : kSystemDirs) names.push_back(join(dir, bare));
  return names;
}

std::string vln::path_file(const std::string& name)
{
  for (const std::string& candidate : search_names(name, false)) {
    if (is_file(candidate)) return candidate;
    if (has_wildcard(candidate)) {
      std::string found = scan(candidate);
      if (!found.empty()) return found;
    }
  }
  return "";
}

static void path_file_into(const char* name, char* out, size_t size)
{
  if (!vln::copy_out(vln::path_file(name), out, size)) out[0] = '\0';
}

extern "C" char* vlnPathFile(const char* name, char* out, size_t size)
{
  if (!out || size == 0) return out;
  out[0] = '\0';
  if (name) path_file_into(vln::expand_name(name), out, size);
  return out;
}

// SET PATH and SET DEFAULT: the directories relative file names are looked
// for in.  Both are kept translated (drive letters, slashes, case) and with
// a trailing '/', so that a name is joined to them directly; SET PATH also
// keeps the text as given, which is what SET(6) shows.
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
