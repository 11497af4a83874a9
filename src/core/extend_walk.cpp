// extend_walk.cpp -- addresses and type flags of the Extend interface:
// the walk from an argument into nested arrays and objects, _parinfo and
// _parinfa.
//
// An address is an argument position followed by a list of indices that a
// macro of extend.h closes with a terminator, because a C function cannot
// know how many variable arguments it was given.  The walk takes the next
// index only while the value at hand is an array or an object; any other
// value ends it, whatever indices are left.
#include "extend.h"
#include "extend_walk.hpp"
#include "letters.hpp"
#include "var.hpp"

namespace {

bool is_container(const var* v) { return vl::kOA.has(v->Type); }

// The argument at position n, or null when there is none.
var* argument(int n) { return n >= 1 && n <= gl_argc ? gl_argv[n - 1] : nullptr; }

// Element i (from 1) of the array or object v; null when out of range.
var* element(const var* v, int i)
{
  const ArrRec* a = VARR(v);
  if (i < 1 || static_cast<uint32_t>(i) > a->A_size) return nullptr;
  return a->A_vec[i - 1];
}

}  // namespace

namespace vlext {

var* walk(int n, va_list ap)
{
  var* v = argument(n);
  for (int level = 0; v; ++level) {
    const int i = va_arg(ap, int);
    if (i == 0 || !is_container(v)) break;
    if (level == kMaxLevels) return nullptr;
    v = element(v, i);
  }
  if (v && vl::kModeField.has(v->Mode) && vlnGetFieldHook) vlnGetFieldHook(v);
  return v;
}

int type_flag(const var* v)
{
  switch (v->Type) {
    case 'C': return VL_EXT_CHARACTER;
    case 'F':
    case 'I':
    case 'N': return VL_EXT_NUMERIC;
    case 'L': return VL_EXT_LOGICAL;
    case 'D': return VL_EXT_DATE;
    case 'M': return VL_EXT_MEMO;
    case 'A': return VL_EXT_ARRAY;
    case 'S': return VL_EXT_SCREEN;
    case 'O': return VL_EXT_OBJECT;
    case 'B':
    case 'b': return VL_EXT_BLOCK;
    default: return VL_EXT_UNDEF;
  }
}

}  // namespace vlext

extern "C" {

// A constant record (NIL_VAR, a compiled literal) may carry a variable's
// Mode letter, yet no store reaches it: it is never reported by reference.
int _parinfo(int n)
{
  if (n == 0) return gl_argc;
  const var* v = argument(n);
  if (!v) return VL_EXT_NONE;
  const bool byref = vl::kModeByRef.has(v->Mode) && !(v->Flags & VF_STATIC);
  return vlext::type_flag(v) | (byref ? VL_EXT_BYREF : 0);
}

// The list ends at -1 here: 0 asks for a size.
int(_parinfa)(int n, ...)
{
  if (n == 0) return gl_argc;
  va_list ap;
  va_start(ap, n);
  const var* v = argument(n);
  int result = VL_EXT_NONE;
  for (int level = 0; v; ++level) {
    const int i = va_arg(ap, int);
    if (i == 0) {
      result = is_container(v) ? static_cast<int>(VARR(v)->A_size) : 0;
      break;
    }
    if (i == -1 || !is_container(v)) {
      result = vlext::type_flag(v);
      break;
    }
    if (level == vlext::kMaxLevels) break;
    v = element(v, i);
  }
  va_end(ap);
  return result;
}

}  // extern "C"
