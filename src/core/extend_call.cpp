// extend_call.cpp -- the call of an Extend routine: publishing its
// arguments in gl_argc and gl_argv, its results, and its allocator.
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
#include <cstdint>

#include "breakguard.hpp"
#include "dates.hpp"
#include "extend.h"
#include "frame.h"
#include "kernel.h"
#include "var.hpp"
#include "vlerror.h"

using namespace vl;

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

// The Extend results.  Each gives the value an Extend
// routine returns: a new temporary of the caller or a constant record.
extern "C" {

var* _VLret(void) { return NIL_VAR; }

var* _VLretc(const char* text) { return set_Cvar(cre_tmpvar(), text, -1); }

var* _VLretclen(const char* text, int len) { return set_Cvar(cre_tmpvar(), text, len); }

var* _VLretl(int b) { return b ? TRUE_VAR : FALSE_VAR; }

var* _VLretnd(double d) { return set_nv(d, -1); }

var* _VLretni(int n) { return set_Iv(n); }

var* _VLretnl(long n)
{
  if (n < INT32_MIN || n > INT32_MAX) return set_nv(static_cast<double>(n), 0);
  return set_Iv(static_cast<int32_t>(n));
}

var* _VLretds(const char* text) { return set_dv(text ? get_dat(text) : 0); }

var* _VLretwin(void* window)
{
  void* copy = window && vlnDupWindowHook ? vlnDupWindowHook(window) : nullptr;
  return copy ? mak_scrvar(copy) : NIL_VAR;
}

}  // extern "C"

// The Extend allocator pair, over the kernel's
// allocation that names its purpose.
namespace {

constexpr const char* kPurpose = "in _xalloc";
constexpr const char* kModule = "extend2";

}  // namespace

extern "C" {

void* _VL_xalloc(size_t size, int fatal)
{
  if (fatal) return vln_malloc(size, kPurpose, VL_SEV_FATAL, VL_LEVEL_ALWAYS, kModule, 0);
  return vln_malloc(size, kPurpose, VL_SEV_RUNTIME, VL_LEVEL_DEVEL, kModule, 0);
}

void _VL_xfree(void* p) { vln_free(p, kModule, 1); }

}  // extern "C"
