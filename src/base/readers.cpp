// readers.cpp -- reading a number, integer or logical out of a value, the
// empty values of declared types, and the two type-compatibility lists.
//
// The language lets a logical stand as 0 or 1 in arithmetic and a number
// stand as a logical; these three readers are the only place that rule
// lives.
#include <cmath>
#include <cstdint>

#include "letters.hpp"
#include "runtime.h"
#include "valrec.hpp"
#include "vlerror.h"

namespace {

char empty_text[1] = {0};

constexpr int pair(int received, int expected) { return (received << 8) | expected; }

// The numeric-logical pairs both lists share.
bool numeric_logical_pair(int received, int expected)
{
  switch (pair(received, expected)) {
    case pair('F', 'I'): case pair('F', 'L'): case pair('F', 'N'):
    case pair('I', 'F'): case pair('I', 'L'): case pair('I', 'N'):
    case pair('L', 'F'): case pair('L', 'I'): case pair('L', 'N'):
    case pair('N', 'F'): case pair('N', 'I'): case pair('N', 'L'):
      return true;
    default:
      return false;
  }
}

void empty_array(var* v, uint32_t n)
{
  v->Value.w1.arr = vln_arr_new(n);
}

}  // namespace

extern "C" {

int vlnInSet(const char* set, int c)
{
  if (c == 0 || !set) return 0;
  for (; *set; ++set)
    if (*set == static_cast<char>(c)) return 1;
  return 0;
}

int32_t vlnDoubleToInt(double d)
{
  if (std::isnan(d) || d >= 2147483648.0 || d <= -2147483649.0) return INT32_MIN;
  return static_cast<int32_t>(d);
}

double vlnNumVar(var* v)
{
  switch (v->Type) {
    case 'F':
    case 'N':
      return v->Value.w1.d;
    case 'I':
    case 'L':
      return v->Value.w1.i;
    default:
      rt_error(VL_E_ILLEGAL_TYPE, "Expected numeric or logical");
      return 0.0;
  }
}

int32_t vlnIntVar(var* v)
{
  switch (v->Type) {
    case 'F':
    case 'N':
      return vlnDoubleToInt(v->Value.w1.d);
    case 'I':
    case 'L':
      return v->Value.w1.i;
    default:
      rt_error(VL_E_ILLEGAL_TYPE, "Expected numeric or logical");
      return 0;
  }
}

int vlnLogVar(var* v)
{
  switch (v->Type) {
    case 'F':
    case 'N':
      return v->Value.w1.d != 0.0;
    case 'I':
      return v->Value.w1.i != 0;
    case 'L':
      return v->Value.w1.i;
    default:
      rt_error(VL_E_ILLEGAL_TYPE, "Expected logical or numeric");
      return 0;
  }
}

var* vlnSetFixedEmpty(var* v, int type)
{
  if (vl::is_static(v)) return v;
  vl::release_content(v);
  v->Mode = 'S';
  switch (type) {
    case 'A':
      empty_array(v, 0);
      break;
    case 'B':
      v->Value = NILCB_VAR->Value;
      break;
    case 'C':
      v->Mode = 's';
      v->Length = 1;
      v->Value.w1.str = empty_text;
      break;
    case 'D':
      v->Length = 8;
      break;
    case 'L':
      v->Length = 1;
      break;
    case 'F':
    case 'N':
    case 'I':
      v->Length = -1;
      break;
    case 'O':
    case 'u':
      empty_array(v, 2);
      v->Value.w1.arr->A_flags |= AF_OBJECT;
      set_ivar(v->Value.w1.arr->A_vec[0], reinterpret_cast<intptr_t>(axNullObj));
      vlnSetFixedEmpty(v->Value.w1.arr->A_vec[1], 'A');
      break;
    default:  // '?': an internal slot with a null word
      break;
  }
  v->Type = static_cast<char>(type == 'u' ? 'O' : type);
  return v;
}

int vlnParamTypesCompatible(int received, int expected)
{
  if (received == expected) return 1;
  switch (pair(received, expected)) {
    case pair('B', 'b'): case pair('b', 'B'):
    case pair('O', 'u'): case pair('u', 'O'):
      return 1;
    default:
      return numeric_logical_pair(received, expected);
  }
}

int vlnRTypesCompatible(int received, int expected)
{
  if (received == expected) return 1;
  switch (pair(received, expected)) {
    case pair('C', 'M'): case pair('M', 'C'):
      return 1;
    default:
      return numeric_logical_pair(received, expected);
  }
}

}  // extern "C"
