// Where a relative name is looked for: SET DEFAULT (or the working
// directory), then, for system files, the directories of SCRMAP and
// TERMINFO, then SET PATH, then the system's terminfo directories.  A name
// that carries a directory is looked for there only.
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>

#include "fname.h"
#include "fname_util.hpp"
#include "switches.h"

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
