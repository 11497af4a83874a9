// extend_call.cpp -- the call of an Extend routine: publishing its
// arguments in gl_argc and gl_argv.
//
// The entry point that VL_EXTEND defines saves the pair, points it at its
// own call, runs the routine's body and puts the pair back, so that nested
// Extend calls each see their own arguments and the outer routine reads
// its own again once the inner call has returned.
//
// A BREAK leaves by longjmp and would skip that restore, leaving the pair
// pointing at the argument vector of a dead call: a routine further out
// whose language code caught the BREAK in BEGIN SEQUENCE would then read
// freed temporaries.  So the call also installs a jump buffer of its own
// as the innermost sequence.  A BREAK passing through lands there first,
// puts the pair and the outer sequence back, and jumps on to that sequence
// (or, without one, ends the program as a BREAK outside any sequence does).
// Nothing with a destructor lives in this frame, so the jump is safe.
#include <csetjmp>

#include "breakguard.hpp"
#include "extend.h"
#include "frame.h"
#include "vlerror.h"

extern "C" {

int gl_argc = 0;
var** gl_argv = nullptr;

var* vln_extend_call(int argc, var** argv, VlnExtendFn body)
{
  const int saved_argc = gl_argc;
  var** const saved_argv = gl_argv;
  gl_argc = argc;
  gl_argv = argv;
  var* result = vln_guarded(body, [&] {
    gl_argc = saved_argc;
    gl_argv = saved_argv;
  });
  return result ? result : NIL_VAR;
}

}  // extern "C"
