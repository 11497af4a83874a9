// fuzz_eval.cpp -- feeds arbitrary text to the expression evaluator.
//
// Only side-effect-free functions stay callable: the others (files, the
// program's end, sleeping, loops over blocks, texts of any size) are
// replaced by a function that gives NIL, so that a run can neither touch
// the disk nor end the process nor spend its memory on purpose.  Errors are
// counted, not shown.
#include <cstdint>
#include <cstring>
#include <string>

#include "vl.h"

namespace {

const char* const kCallable[] = {
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

var* nil_function(int, var**) { return NIL_VAR; }
void ignore_error(const VlnErrReport*) {}

bool callable(const char* name)
{
  for (const char* c : kCallable)
    if (std::strcmp(c, name) == 0) return true;
  return false;
}

void start()
{
  static bool started = false;
  if (started) return;
  started = true;
  vln_start(0, nullptr);
  for (int32_t i = 1; i < vln_ftab_size(); ++i)
    if (!callable(glob_ftab[i].name)) glob_ftab[i].fn = nil_function;
  vln_error_handler = ignore_error;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  start();
  const std::string text(reinterpret_cast<const char*>(data), size);
  frame f;
  vln_fn_start(&f, "fuzz", "fuzz", 1, 0);
  exp_eval(text.c_str());
  vln_fn_end(&f, 'U');
  del_tmpvars(0);
  alreadyin = 0;
  return 0;
}
