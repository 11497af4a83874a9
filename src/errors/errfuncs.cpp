// errfuncs.cpp -- language functions around errors, BEGIN SEQUENCE and the
// program's end.
#include <setjmp.h>

#include <cstdio>

#include "errclass.h"
#include "frame.h"
#include "kernel.h"
#include "letters.hpp"
#include "runtime.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

namespace {

struct PrgErr {
  int selector;
  int code;
  const char* format;
};

constexpr PrgErr kPrgErrs[] = {
    {100001, VL_E_DEV_WARNING, "%s:;empty field list;nothing to do"},
    {100002, VL_E_ARG_TYPE, "%s:;file name expected"},
    {100003, VL_E_NO_DATABASE, "%s:;cannot open target database '%s' exclusively"},
    {100004, VL_E_ARG_TYPE, "%s:;block expected"},
    {100005, VL_E_NO_DATABASE, "%s:;area has no database in use"},
    {100006, VL_E_NOT_LOCKED, "%s:;someone else has locked the target database;cannot append"},
    {100007, VL_E_NOT_LOCKED, "%s:;illegal field name '%s'"},
    {100008, VL_E_NO_DATABASE, "%s:;cannot open source database '%s'"},
};

const char* text_or_empty(int argc, var** argv, int i)
{
  return i < argc && vl::kCM.has(argv[i]->Type) ? VSTR(argv[i]) : "";
}

}  // namespace

// ERRORLEVEL(n): set the exit status, return the former one.
VLN_FUNC(errorlevel)
{
  if (argc < 1 || !vl::kNFIL.has(argv[0]->Type)) return ERROR_VAR;
  const int32_t old = shell_return;
  shell_return = vlnIntVar(argv[0]);
  return set_Iv(old);
}

// VLNPRGERR(selector, command, detail): report a fixed command condition.
VLN_FUNC(vlnprgerr)
{
  const int selector = argc > 0 && vl::kNFIL.has(argv[0]->Type) ? vlnIntVar(argv[0]) : 0;
  for (const PrgErr& e : kPrgErrs) {
    if (e.selector != selector) continue;
    std::snprintf(repdum, sizeof repdum, e.format, text_or_empty(argc, argv, 1),
                  text_or_empty(argc, argv, 2));
    rt_error(e.code, repdum);
    break;
  }
  return TRUE_VAR;
}

// __QUIT(): end the program.
VLN_FUNC(__quit) { vln_quit(); }

// BREAK, ISBEGSEQ() and ERRORSYS(): the language side of BEGIN SEQUENCE.
VLN_FUNC(break)
{
  if (!glob_sequencebuf) vl_break_error();
  // A copy on the temporary stack outlives the frames the jump abandons:
  // the sequence's RECOVER reads it before the statement's cleanup.
  vln_break_value = mk_var_cp(argc > 0 ? argv[0] : NIL_VAR);
  longjmp(*glob_sequencebuf, 1);
}

VLN_FUNC(isbegseq)
{
  (void)argc;
  (void)argv;
  return glob_sequencebuf ? TRUE_VAR : FALSE_VAR;
}

VLN_FUNC(errsys)
{
  (void)argc;
  (void)argv;
  return TRUE_VAR;
}
