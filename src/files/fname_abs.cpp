// vlnGetAbsPath: a name made absolute against the working directory, with
// "//", "/./" and "/../" taken out, in that order.  A trailing "/.." is left
// as it stands.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "errcodes.h"
#include "fname.h"
#include "fname_util.hpp"

namespace {

// Parts of a name at least this long are shown cut in the middle.
constexpr size_t kShowWhole = 64;
constexpr size_t kShowEnds = 30;

void collapse(std::string& p)
{
  size_t i;
  while ((i = p.find("//")) != std::string::npos) p.erase(i, 1);
  while ((i = p.find("/./")) != std::string::npos) p.erase(i, 2);
  while ((i = p.find("/../")) != std::string::npos) {
    const size_t from = i == 0 ? 0 : p.rfind('/', i - 1);
    p.erase(from, i + 3 - from);
  }
}

std::string shown(const std::string& s)
{
  if (s.size() < kShowWhole) return s + ";";
  return s.substr(0, kShowEnds) + "..." + s.substr(s.size() - kShowEnds) + ";";
}

void note_cwd_failure(VlnNameReport* report)
{
  if (errno == ENOMEM) {
    vln::note(report, VL_E_FILE_STATUS, 0, "cannot get current directory;malloc() failure");
    return;
  }
  const int fd = dup(0);
  char used[64];
  if (fd >= 0) {
    std::snprintf(used, sizeof used, ", %d used", fd);
    close(fd);
  } else {
    std::snprintf(used, sizeof used, ", cannot open any more");
  }
  vln::note(report, VL_E_FILE_STATUS, 0,
            "cannot get current directory;"
            "either your current path > 4000 bytes or getcwd() failure;"
            "posible reason: open file limit exhausted%s"
            ";;Hint: check for infinite (concurrent) USE ... NEW or"
            ";  SELECT 0 and test with enabled vl_set('devel',.T.)",
            used);
}

void abs_into(char* name, size_t size, VlnNameReport* report)
{
  const std::string given = name;
  const std::string result = vln::abs_path(given, report);
  if (result.empty() || vln::copy_out(result, name, size)) return;
  char* cwd = getcwd(nullptr, 0);
  const std::string dir = cwd ? cwd : "";
  std::free(cwd);
  vln::note(report, VL_E_FILE_STATUS, 0,
            "cannot get current directory;internal file limit of %d bytes exceeded;"
            "the current path=%d, file=%d bytes;%s%s;;Hint: reduce the directory depth or "
            "file name size",
            static_cast<int>(size), static_cast<int>(dir.size()),
            static_cast<int>(given.size()), shown(dir).c_str(), shown(given).c_str());
}

}  // namespace

std::string vln::abs_path(const std::string& name, VlnNameReport* report)
{
  std::string p = name;
  if (p.empty() || p[0] != '/') {
    char* cwd = getcwd(nullptr, 0);
    if (!cwd) {
      note_cwd_failure(report);
      return "";
    }
    p = std::string(cwd) + "/" + p;
    std::free(cwd);
  }
  collapse(p);
  return p;
}

extern "C" char* vlnGetAbsPath(char* name, size_t size)
{
  return vln::in_place(name, size, abs_into);
}
