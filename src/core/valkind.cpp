// valkind.cpp -- what kind a value is and whether it is empty: VALTYPE and
// EMPTY.
#include "valkind.h"
#include "args.hpp"
#include "kernel.h"
#include "switches.h"

using namespace vl::args;

extern "C" {

const char* vlnValType(const var* v)
{
  if (!v) return "U";
  switch (v->Type) {
    case 'F':
      return vlnGetIntvar() ? "F" : "N";
    case 'I':
      return vlnGetIntvar() ? "I" : "N";
    case 'W':
    case 'N':
      return "N";
    case 'b':
      return "B";
    case 'u':
    case 'O':
      return "O";
    case 'C': return "C";
    case 'M': return "M";
    case 'D': return "D";
    case 'L': return "L";
    case 'A': return "A";
    case 'B': return "B";
    case 'S': return "S";
    case '?': return "?";
    default:
      return "U";
  }
}

int vlnIsEmpty(const var* v)
{
  if (!v) return 1;
  switch (v->Type) {
    case 'C':
    case 'M':
      for (const char c : text(v))
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return 0;
      return 1;
    case 'N':
    case 'F':
      return v->Value.w1.d == 0;
    case 'I':
    case 'L':
    case 'D':
      return v->Value.w1.i == 0;
    case 'A':
      return !v->Value.w1.arr || v->Value.w1.arr->A_size == 0;
    case 'U':
      return 1;
    default:
      return 0;
  }
}

}  // extern "C"

VLN_FUNC(valtype)
{
  const char* t = vlnValType(arg(argc, argv, 0));
  return text_result(t, 1);
}

VLN_FUNC(empty) { return vlnIsEmpty(arg(argc, argv, 0)) ? TRUE_VAR : FALSE_VAR; }
