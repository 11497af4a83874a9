// report.cpp -- the four reporting entry points and the recursion guard.
//
// A report runs: enter the guard, count it unless it is a warning or below
// the report level, record the code in last_errno, hand code,
// severity and text to _bb__errcaller when errstat is on, leave the guard.
// The error handler may come back (the caller then returns its neutral
// value), leave by BREAK, or end the program.  A failure inside the handler
// reports again: four levels are allowed, the fifth prints the call chain
// and ends the program after a key, a sixth exits at once with -1.
#include <cstdio>
#include <cstdlib>

#include "frame.h"
#include "kernel.h"
#include "runtime.hpp"
#include "set.h"
#include "switches.hpp"
#include "vlerror.hpp"

using namespace vl;

namespace {

constexpr int kGuardLevels = 4;

// The fifth nested report: print the chain with printf, wait, end.
void print_fatal_chain()
{
  const frame* f = old_fn_stack;
  std::printf("\rFATAL ERROR in module %s %d: %s()\r\n", f && f->File ? f->File : "",
              f ? f->Line : 0, f && f->Func ? f->Func : "");
  std::printf("Called from:\r\n");
  for (f = f ? f->Prev : nullptr; f && f->Prev; f = f->Prev)
    if (f->Line >= 0)
      std::printf("%10s %3d: %10s()\r\n", f->File ? f->File : "", f->Line,
                  f->Func ? f->Func : "");
  std::printf("Press return ...\r\n");
  std::fflush(stdout);
  vln_waitkey_hook();
  if (shell_return == 0) shell_return = 1;
  vln_quit();
}

// Hand the report to _bb__errcaller with 3 or 5 arguments.
void call_errcaller(int code, int severity, const char* text, const char* module, int line,
                    bool internal)
{
  const int32_t mark = tmpvar_cnt;
  var* args[5] = {set_nv(code, 0), set_nv(severity, 0),
                  set_Cvar(cre_tmpvar(), text ? text : "", -1), nullptr, nullptr};
  if (internal) {
    args[3] = set_nv(line, 0);
    args[4] = set_Cvar(cre_tmpvar(), module ? module : "", -1);
  }
  _bb__errcaller(internal ? 5 : 3, args);
  del_tmpvars(mark);
}

void report(int code, int severity, const char* text, const char* module, int line,
            bool internal)
{
  err_check_recursion(1);
  if (vln_error_counts(code)) ++vln_error_count;
  last_errno = code;
  if (errstat) call_errcaller(code, severity, text, module, line, internal);
  err_check_recursion(0);
}

}  // namespace

namespace vl {

void err_check_recursion(int on)
{
  if (!on) {
    if (alreadyin > 0) --alreadyin;
    return;
  }
  if (alreadyin > kGuardLevels) {
    if (vln_endwin_hook) vln_endwin_hook();
    std::exit(-1);
  }
  if (alreadyin++ < kGuardLevels) return;
  print_fatal_chain();
}

}  // namespace vl

extern "C" {

int32_t alreadyin = 0;
uint32_t vln_error_count = 0;

int32_t vln_report_level(void) { return vl_set_flag[VL_SLOT_LEVEL]; }

int vln_error_counts(int code)
{
  return code != VL_E_DEV_WARNING && vln_err_row(code)->level >= vln_report_level();
}

var* io_error(int code, const char* text)
{
  report(code, VL_SEV_IO, text, nullptr, 0, false);
  return ERROR_VAR;
}

var* rt_error(int code, const char* text)
{
  report(code, VL_SEV_RUNTIME, text, nullptr, 0, false);
  return ERROR_VAR;
}

void ftl_error(int code, const char* text)
{
  report(code, VL_SEV_FATAL, text, nullptr, 0, false);
  if (shell_return == 0) shell_return = 1;
  vln_quit();
}

var* int_error(int code, const char* text, const char* module, int line)
{
  report(code, VL_SEV_INTERNAL, text, module, line, true);
  return ERROR_VAR;
}

void vl_break_error(void)
{
  rt_error(VL_E_UNEXPECTED_BREAK, "Break without a BEGIN SEQUENCE");
  if (shell_return == 0) shell_return = 1;
  vln_quit();
}

void vln_errout(const char* text)
{
  std::fputs(text, stderr);
  std::fflush(stderr);
}

}  // extern "C"
