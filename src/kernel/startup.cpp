// startup.cpp -- the start-up order and event delivery between statements.
//
// Start-up runs, in this order, because each step needs the ones before it:
//   1. vln_init_segments: the registry takes the library's functions and
//      memory-variable names;
//   2. vlnHandleEnvironment: VLTERM/VLTERMINFO stand in for TERM/TERMINFO;
//   3. the start-up routines of order VLN_INIT_NATIONAL and below: the
//      national tables;
//   4. err_init: the error table;
//   5. cursesinit, when the screen layer is linked and there is a terminal;
//   6. the other start-up routines, by order (the error block before the
//      drivers);
//   7. the application's main function, as an ordinary language call.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "frame.h"
#include "kernel.hpp"
#include "vlerror.h"

namespace {

bool started = false;

// The polls _vln_signal_n runs between statements: a plain array, with
// the count public (vln_signal_poll_count), so that generated code tests
// it inline and calls only when there is something to run.
constexpr int kMaxSignalPolls = 16;
void (*signal_polls[kMaxSignalPolls])(void);

// Replace NAME= by the value of VLNAME= when the latter is set.
void take_vl_variable(const char* vl_name, const char* name)
{
  if (const char* value = std::getenv(vl_name)) setenv(name, value, 1);
}

void run_cursesinit()
{
  const int32_t pos = find_fun("cursesinit");
  if (pos > 0) glob_ftab[pos].fn(0, nullptr);
}

}  // namespace

extern "C" {

uintptr_t textStart, textEnd, textScan, dataStart, dataEnd, dataScan, textDynStart,
    textDynEnd, textDynScan, dataDynStart, dataDynEnd, dataDynScan;

void vln_init_segments(void)
{
  textStart = textEnd = textScan = dataStart = dataEnd = dataScan = 0;
  textDynStart = textDynEnd = textDynScan = dataDynStart = dataDynEnd = dataDynScan = 0;
  vln_register_module(vln_lib_ftab, vln_lib_vtab, vln_lib_itab);
}

void vlnHandleEnvironment(void)
{
  take_vl_variable("VLTERM", "TERM");
  take_vl_variable("VLTERMINFO", "TERMINFO");
}

void vln_start(int argc, char** argv)
{
  if (started) return;
  started = true;
  __argv0 = argc > 0 && argv ? argv[0] : "";
  vln_init_segments();
  vlnHandleEnvironment();
  vln_run_inits(VLN_INIT_NATIONAL);
  err_init();
  run_cursesinit();
  vln_run_inits(VLN_INIT_ALL);
  vln_mark_program_names();
}

void vln_run(int argc, char** argv, BbFn main_fn)
{
  vln_start(argc, argv);
  const int32_t mark = tmpvar_cnt;
  main_fn(0, nullptr);
  del_tmpvars(mark);
  vln_quit();
}

int32_t vln_signal_poll_count = 0;

void vln_add_signal_poll(void (*fn)(void))
{
  if (vln_signal_poll_count == kMaxSignalPolls) {
    int_error(VL_E_OUT_OF_RANGE, "vln_add_signal_poll: more than 16 polls", "startup", __LINE__);
    return;
  }
  signal_polls[vln_signal_poll_count++] = fn;
}

void _vln_signal_n(void)
{
  for (int i = 0; i < vln_signal_poll_count; ++i) signal_polls[i]();
}

// The break gate is a switch, not a counter: the lock protocol turns it
// off after every write lock and on at the end of the section, however
// many calls came between.
static sigset_t saved_break_mask;
static bool break_disabled = false;

void vln_disable_break(void)
{
  if (break_disabled) return;
  break_disabled = true;
  sigset_t block;
  sigemptyset(&block);
  sigaddset(&block, SIGINT);
  sigaddset(&block, SIGQUIT);
  sigprocmask(SIG_BLOCK, &block, &saved_break_mask);
}

void vln_enable_break(void)
{
  if (!break_disabled) return;
  break_disabled = false;
  sigprocmask(SIG_SETMASK, &saved_break_mask, nullptr);
}

}  // extern "C"
