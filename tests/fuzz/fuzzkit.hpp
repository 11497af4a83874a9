// fuzzkit.hpp -- what the fuzz targets share: the side-effect-free
// functions an input may call, a scratch directory, statements that a
// BREAK leaves as BEGIN SEQUENCE would, and the check that an input left
// nothing behind.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <climits>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include "areas.h"
#include "facade.h"
#include "kernel.hpp"
#include "vartostr.hpp"
#include "vl.h"

namespace fuzzkit {

// Functions that neither touch the disk, nor end the process, nor sleep,
// nor loop over blocks, nor make texts of any size.
inline const char* const kCallable[] = {
    "len",     "upper",   "lower",    "abs",      "eval",     "type",     "valtype",
    "empty",   "int",     "round",    "str",      "val",      "substr",   "left",
    "right",   "at",      "rat",      "trim",     "ltrim",    "rtrim",    "alltrim",
    "chr",     "asc",     "stuff",    "dtos",     "stod",     "ctod",     "dtoc",
    "year",    "month",   "day",      "dow",      "cdow",     "cmonth",   "max",
    "min",     "strzero", "descend",  "aadd",     "acopy",    "aclone",   "adel",
    "ains",    "afill",   "ascan",    "asort",    "atail",    "soundex",  "strtran",
    "isfunction", "macroeval", "macrosubst", "memvarbloc", "procname", "procline",
    "word",    "pcount",  "fieldblock", "isupper", "islower", "isalpha",  "isdigit",
};

inline var* nil_function(int, var**) { return NIL_VAR; }

// Make every registered function but kCallable and the names in extra
// give NIL, so that no input can call anything else by name.
inline void restrict_functions(std::initializer_list<const char*> extra = {})
{
  const auto allowed = [&](const char* name) {
    for (const char* c : kCallable)
      if (std::strcmp(c, name) == 0) return true;
    for (const char* c : extra)
      if (std::strcmp(c, name) == 0) return true;
    return false;
  };
  for (int32_t i = 1; i < vln_ftab_size(); ++i)
    if (!allowed(glob_ftab[i].name)) glob_ftab[i].fn = nil_function;
}

inline void ignore_error(const VlnErrReport*) {}

// A report while breaking: leave for the innermost landing, as an error
// block that BREAKs does.
inline void break_error(const VlnErrReport*)
{
  if (glob_sequencebuf) longjmp(*glob_sequencebuf, 1);
}

// A new scratch directory, made current: in memory where there is a tmpfs
// (a close syncs the files it wrote).
inline std::string scratch_dir(const char* name)
{
  std::string shm = std::string("/dev/shm/") + name + "XXXXXX", tmp = std::string("/tmp/") + name + "XXXXXX";
  const char* made = mkdtemp(shm.data());
  const std::string dir = made ? made : mkdtemp(tmp.data());
  if (chdir(dir.c_str()) != 0) abort();
  return dir;
}

inline void write_file(const char* name, const uint8_t* data, size_t size)
{
  const int fd = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0 || write(fd, data, size) != ssize_t(size)) abort();
  close(fd);
}

// Descriptors of this process open on files under dir.
inline int open_descriptors(const std::string& dir)
{
  DIR* d = opendir("/proc/self/fd");
  int n = 0;
  while (const dirent* e = readdir(d)) {
    char link[64], target[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%s", e->d_name);
    const ssize_t len = readlink(link, target, sizeof target - 1);
    n += len > 0 && size_t(len) > dir.size() && std::strncmp(target, dir.c_str(), dir.size()) == 0;
  }
  closedir(d);
  return n;
}

// Run one statement of the function whose frame is top as inside BEGIN
// SEQUENCE ... END: a BREAK out of it lands here, puts the frames back as
// they were, and the next statement runs.
template <class Statement>
void statement(frame* top, Statement&& body)
{
  jmp_buf landing;
  jmp_buf* const outer = glob_sequencebuf;
  const int32_t nesting = alreadyin;
  glob_sequencebuf = &landing;
  if (setjmp(landing) == 0) {
    body();
  } else {
    vln_after_break(top);
    alreadyin = nesting;
  }
  glob_sequencebuf = outer;
}

inline bool truth(var* v) { return v->Type == 'L' && vlnLogVar(v); }

// After an input nothing of it may remain: no work area, no open
// descriptor under dir, no landing, no blocked break signal.  A remainder
// aborts, so that libFuzzer keeps the input.
inline void check_nothing_left(const char* target, const std::string& dir)
{
  sigset_t blocked;
  sigprocmask(SIG_BLOCK, nullptr, &blocked);
  const char* left = vlnWAHead                        ? "a work area"
                     : glob_sequencebuf               ? "a landing"
                     : sigismember(&blocked, SIGINT)  ? "breaks disabled"
                     : open_descriptors(dir) != 0     ? "a descriptor"
                                                      : nullptr;
  if (left) {
    std::fprintf(stderr, "%s: the input left %s behind\n", target, left);
    system("ls -l /proc/$PPID/fd >&2");
    abort();
  }
}

// Read every field of the selected area's current record, as text.
inline void read_fields()
{
  constexpr size_t kShown = 512;  // room for a field value as text
  const int32_t n = vlnIntVar(_bb_fcount(0, nullptr));
  for (int32_t i = 1; i <= n; ++i) {
    var* arg = set_Iv(i);
    char text[kShown];
    vl::vartostr(_bb_fieldget(1, &arg), text, sizeof text);
  }
}

}  // namespace fuzzkit
