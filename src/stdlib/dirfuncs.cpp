// dirfuncs.cpp -- the directory functions: DIRECTORY, ADIR, CURDIR and
// DISKSPACE.
//
// A mask is a file name whose file part may hold '*' and '?' (and the
// shell's [...]); it goes through the name translation and SET DEFAULT as
// every file name does.  No mask, or a mask ending in '/', means every
// name.  Matching is case-sensitive, as the file system is; a mask ending
// in ".*" also takes names without an extension, so "*.*" takes all.
//
// Each entry found gives a row {name, size, date, time, attributes}: the
// name without its directory, the size in bytes (0 for a directory), the
// local date and "HH:MM:SS" time of the last change, and the attribute
// letters R (not writable by this process), H (hidden: the name starts
// with '.'), S (system: neither a plain file nor a directory), D
// (directory), A (a plain file).  Plain files are always listed;
// directories only when the attributes asked for hold D, hidden ones with
// H or S, system ones with S.  "." and ".." are never listed.  Asking for
// V gives the volume alone: one row named by the mount point of the
// directory searched.  Rows are sorted by name.
//
// The directory is read into a list first; the language values are built
// from it under a BREAK guard, since storing into a caller's array may run
// language code that leaves by BREAK.
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "args.hpp"
#include "arrays.h"
#include "breakguard.hpp"
#include "dates.hpp"
#include "dirfuncs.h"
#include "fname.h"
#include "kernel.h"
#include "runtime.hpp"
#include "switches.h"

using namespace vl;
using namespace vl::args;

namespace {

constexpr int kColumns = 5;  // name, size, date, time, attributes
constexpr size_t kTimeText = 8;
constexpr const char* kEveryName = "*";
constexpr std::string_view kAnyExtension = ".*";

struct Entry {
  std::string name;
  double size = 0;
  int32_t day = 0;
  char time[kTimeText + 1] = "00:00:00";
  std::string attr;
};

using Listing = std::vector<Entry>;

// What the attributes argument asks for, beyond plain files.
struct Wanted {
  bool dirs = false;
  bool hidden = false;
  bool system = false;
  bool volume = false;
};

Wanted wanted_of(std::string_view letters)
{
  Wanted w;
  for (const char c : letters) {
    switch (c) {
      case 'D': case 'd': w.dirs = true; break;
      case 'H': case 'h': w.hidden = true; break;
      case 'S': case 's': w.system = w.hidden = true; break;
      case 'V': case 'v': w.volume = true; break;
      default: break;
    }
  }
  return w;
}

// Whether name matches pattern as the shell matches, or, for a pattern
// "x.*", name is "x" without an extension.
bool matches(const std::string& pattern, const char* name)
{
  if (fnmatch(pattern.c_str(), name, 0) == 0) return true;
  return pattern.ends_with(kAnyExtension) && !std::strchr(name, '.') &&
         fnmatch(pattern.substr(0, pattern.size() - kAnyExtension.size()).c_str(), name, 0) == 0;
}

// Date, time and size of an entry from its status.
void describe(Entry& e, const struct stat& st)
{
  struct tm local;
  if (localtime_r(&st.st_mtime, &local)) {
    e.day = datoint(local.tm_mday, local.tm_mon + 1, local.tm_year + 1900);
    std::snprintf(e.time, sizeof e.time, "%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec);
  }
  e.size = S_ISDIR(st.st_mode) ? 0 : static_cast<double>(st.st_size);
}

// The entry for name in dir if the mask and the attributes take it.
bool take(const std::string& dir, const char* name, const std::string& pattern, const Wanted& w,
          Entry* out)
{
  if (!std::strcmp(name, ".") || !std::strcmp(name, "..") || !matches(pattern, name)) return false;
  const std::string path = dir + name;
  struct stat st;
  if (stat(path.c_str(), &st) != 0 && lstat(path.c_str(), &st) != 0) return false;
  const bool hidden = name[0] == '.';
  const bool is_dir = S_ISDIR(st.st_mode);
  const bool is_system = !is_dir && !S_ISREG(st.st_mode);
  if ((hidden && !w.hidden) || (is_dir && !w.dirs) || (is_system && !w.system)) return false;
  out->name = name;
  if (access(path.c_str(), W_OK) != 0) out->attr += 'R';
  if (hidden) out->attr += 'H';
  if (is_system) out->attr += 'S';
  out->attr += is_dir ? "D" : (is_system ? "" : "A");
  describe(*out, st);
  return true;
}

// The mount point that holds dir: the last directory upwards on the same
// device.
std::string mount_point(const std::string& dir)
{
  char* real = realpath(dir.empty() ? "." : dir.c_str(), nullptr);
  if (!real) return "";
  std::string at = real;
  std::free(real);
  struct stat st;
  if (stat(at.c_str(), &st) != 0) return "";
  while (at != "/") {
    const size_t slash = at.rfind('/');
    const std::string parent = slash == 0 ? "/" : at.substr(0, slash);
    struct stat up;
    if (stat(parent.c_str(), &up) != 0 || up.st_dev != st.st_dev) break;
    at = parent;
  }
  return at;
}

Listing* volume_row(const std::string& dir)
{
  auto* list = new Listing(1);
  Entry& e = list->front();
  e.name = mount_point(dir);
  e.attr = "V";
  struct stat st;
  if (!e.name.empty() && stat(e.name.c_str(), &st) == 0) describe(e, st);
  e.size = 0;
  return list;
}

// The listing of mask (a translated name) under the attribute letters; a
// new list the caller deletes.
Listing* scan(const std::string& mask, std::string_view letters)
{
  const Wanted w = wanted_of(letters);
  const size_t slash = mask.rfind('/');
  const std::string dir = slash == std::string::npos ? "" : mask.substr(0, slash + 1);
  std::string pattern = slash == std::string::npos ? mask : mask.substr(slash + 1);
  if (pattern.empty()) pattern = kEveryName;
  if (w.volume) return volume_row(dir);
  auto* list = new Listing;
  if (DIR* d = opendir(dir.empty() ? "." : dir.c_str())) {
    while (const dirent* de = readdir(d)) {
      Entry e;
      if (take(dir, de->d_name, pattern, w, &e)) list->push_back(std::move(e));
    }
    closedir(d);
  }
  std::sort(list->begin(), list->end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return list;
}

// Whether argument i is absent, NIL or a text; else 312 naming fname.
bool optional_text(int argc, var** argv, int i, const char* fname)
{
  var* v = arg(argc, argv, i);
  if (!v || v->Type == 'U' || is_text(v)) return true;
  std::snprintf(repdum, sizeof repdum, "%s(): argument %d should be 'C', not '%c'", fname, i + 1, v->Type);
  rt_error(VL_E_ARG_TYPE, repdum);
  return false;
}

// The listing of the mask argument (every name when absent) under the
// attribute letters; a new list, empty for a mask holding a 0 byte.
Listing* listing_of(var* mask, std::string_view letters)
{
  const std::string_view m = is_text(mask) ? text(mask) : std::string_view(kEveryName);
  if (m.find('\0') != std::string_view::npos) return new Listing;
  return scan(vln::form_fnam(nullptr, std::string(m)), letters);
}

// Column c of entry e into v.
void store(var* v, const Entry& e, int c)
{
  switch (c) {
    case 0: set_Cvar(v, e.name.data(), static_cast<int32_t>(e.name.size())); break;
    case 1: set_nvar(v, e.size, 0); break;
    case 2: set_dvar(v, e.day); break;
    case 3: set_Cvar(v, e.time, static_cast<int32_t>(kTimeText)); break;
    default: set_Cvar(v, e.attr.data(), static_cast<int32_t>(e.attr.size())); break;
  }
}

var* rows_of(const Listing& list)
{
  var* result = cre_arr(cre_tmpvar(), static_cast<int32_t>(std::min<size_t>(list.size(), INT32_MAX)),
                        VL_ARR_NIL, nullptr);
  if (result == ERROR_VAR) return result;
  for (size_t i = 0; i < list.size(); ++i) {
    var* row = cre_arr(VARR(result)->A_vec[i], kColumns, VL_ARR_NIL, nullptr);
    if (row == ERROR_VAR) return ERROR_VAR;
    for (int c = 0; c < kColumns; ++c) store(VARR(row)->A_vec[c], list[i], c);
  }
  return result;
}

// Bytes free to this process on the file system that holds the named
// place, SET DEFAULT without one.
double free_bytes(var* where)
{
  std::string path = vlnGetDefault()[0] ? vlnGetDefault() : ".";
  if (is_text(where) && !text(where).empty()) path = vln::form_fnam(nullptr, std::string(text(where)));
  struct statvfs fs;
  if (statvfs(path.c_str(), &fs) != 0) return 0;
  return static_cast<double>(fs.f_bavail) * static_cast<double>(fs.f_frsize);
}

// Column c of every entry into the array a, as far as it reaches.
void fill(var* a, const Listing& list, int c)
{
  if (!a || a->Type != 'A') return;
  const size_t n = std::min<size_t>(VARR(a)->A_size, list.size());
  for (size_t i = 0; i < n; ++i) store(VARR(a)->A_vec[i], list[i], c);
}

}  // namespace

VLN_FUNC(directory)
{
  if (!optional_text(argc, argv, 0, "DIRECTORY") || !optional_text(argc, argv, 1, "DIRECTORY"))
    return cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, nullptr);
  var* attrs = arg(argc, argv, 1);
  Listing* list = listing_of(arg(argc, argv, 0), is_text(attrs) ? text(attrs) : std::string_view());
  return vln_guarded([&] { return rows_of(*list); }, [&] { delete list; });
}

VLN_FUNC(adir)
{
  if (!optional_text(argc, argv, 0, "ADIR")) return ZERO_VAR;
  var* attrs = arg(argc, argv, kColumns);
  Listing* list = listing_of(arg(argc, argv, 0), attrs && attrs->Type == 'A' ? "DHS" : "");
  return vln_guarded(
      [&] {
        for (int c = 0; c < kColumns; ++c) fill(arg(argc, argv, c + 1), *list, c);
        return set_nv(static_cast<double>(list->size()), 0);
      },
      [&] { delete list; });
}

VLN_FUNC(curdir)
{
  char* cwd = getcwd(nullptr, 0);
  if (!cwd) return NULLSTR_VAR;
  const char* rel = cwd;
  while (*rel == '/') ++rel;
  var* r = text_result(rel, std::strlen(rel));
  std::free(cwd);
  return r;
}

VLN_FUNC(diskspace)
{
  var* where = arg(argc, argv, 0);
  if (where && where->Type != 'U' && !is_text(where) && !is_number(where)) {
    std::snprintf(repdum, sizeof repdum, "DISKSPACE(): argument should be 'C' or 'N', not '%c'", where->Type);
    rt_error(VL_E_ARG_TYPE, repdum);
    return ZERO_VAR;
  }
  return set_nv(free_bytes(where), 0);
}
