// ops_arith.cpp -- the arithmetic operators: + - * / % ** and unary minus.
//
// Each member checks its operands' types, lets its Site choose the result
// record (a temporary operand, the target of a compound assignment, or one
// new temporary), stores the value there and, for a compound assignment,
// makes sure the target ends up holding it.
//
// Numbers: two 'I' (or, for + and -, 'I' and 'L') operands give a 32-bit
// 'I' that wraps silently; anything else gives an 'N' whose Decimals the
// member's rule fixes: the larger of both for + and -, their sum for *, SET
// DECIMALS for /, % and **.
//
// Dates move by whole days; a result after 9999-12-31 (or below the
// smallest day number) is refused with 409 and nothing is stored.
#include <cmath>

#include "fastops.h"
#include "ops_common.hpp"
#include "switches.h"

using namespace vl;
using namespace vl::ops;

namespace {

constexpr const char* kAddToDate = "date can only be added to numeric";
constexpr const char* kAddToNumber = "only dates/numerics can be added to numerics";
constexpr const char* kAddLogical = "addition on logicals";
constexpr const char* kSubFromDate = "only date or numerics can be subtracted from date";
constexpr const char* kSubFromNumber = "only numerics can be subtracted from numerics";
constexpr const char* kSubLogical = "subtraction on logicals";
constexpr const char* kSubLiteral = "subtraction only on numerics";
constexpr const char* kSubNumber = "numerics can only be subtracted from dates or numerics";
constexpr const char* kMulText = "only numerics can be multiplied";
constexpr const char* kDivText = "only numerics can be divided";
constexpr const char* kDivRight = "only numerics can be divided, parameter 2";
constexpr const char* kDivZero = "attempted division by zero";
constexpr const char* kModLeft = "only numerics can be moduloed";
constexpr const char* kModRight = "the modulo can be made only on numerics";
constexpr const char* kPowText = "only numerics can be potentiated";
constexpr const char* kNegText = "only numerics can be negated";

// An 'I' divisor of -1 gives 0 without dividing (INT_MIN % -1 traps).
constexpr int32_t kMinusOne = -1;

struct Add {
  static int32_t word(int32_t a, int32_t b) { return wrap_add(a, b); }
  static double real(double a, double b) { return a + b; }
};
struct Sub {
  static int32_t word(int32_t a, int32_t b) { return wrap_sub(a, b); }
  static double real(double a, double b) { return a - b; }
};
struct Mul {
  static int32_t word(int32_t a, int32_t b) { return wrap_mul(a, b); }
  static double real(double a, double b) { return a * b; }
};

bool numeric(const var* v) { return kNFIL.has(v->Type); }

// l op r into the record site chooses: a wrapping 'I' when as_int, else an
// 'N' with dec decimals.  Both values are read before the store, which may
// overwrite either operand.
template <class Op>
[[gnu::always_inline]] inline var* combine(const Site& site, const var* l, const var* r,
                                           bool as_int, int dec)
{
  var* res = site.choose();
  res = as_int ? put_int(res, Op::word(whole(l), whole(r)))
               : put_num(res, Op::real(num(l), num(r)), dec);
  return site.finish(res);
}

// The date day into the record site chooses; a day no date may hold is
// refused and nothing stored.
inline var* date_into(const Site& site, double day)
{
  if (!vln_day_ok(day)) [[unlikely]]
    return vln_day_range_error("date arithmetic");
  return site.finish(put_date(site.choose(), static_cast<int32_t>(day)));
}

// Date d moved by the whole part of number n (sign -1: back), computed
// without wrapping or cutting n.
inline double moved(const var* d, const var* n, int sign = 1)
{
  return d->Value.w1.i + sign * (is_double(n) ? std::trunc(n->Value.w1.d) : n->Value.w1.i);
}

// The additive members may store a text result in place in a borrowed
// variable too, and never reuse a text temporary on the right.
Site additive(var* l, var* r, int assign) { return Site{l, r, assign, kModeInPlaceStr, false}; }

// A strictly typed 'I' target keeps integer arithmetic with a literal.
bool int_with_literal(const var* v, int dec) { return v->Type == 'I' && (dec == 0 || v->Mode == 'S'); }

// x / y as 'N' with SET DECIMALS; a zero divisor gives ZERO_VAR after the
// developer warning, and a compound assignment stores that 0.
var* divide(const Site& site, const var* l, const var* r)
{
  const double divisor = num(r);
  if (divisor == 0.0) {
    warn(kDivZero, site);
    return site.finish(ZERO_VAR);
  }
  return site.finish(put_num(site.choose(), num(l) / divisor, vlnGetDecimals()));
}

// x % y: the C remainder (sign of the dividend) for two integers, fmod as
// 'N' otherwise.  A zero divisor is an error (205) and gives ZERO_VAR.
var* modulo(const Site& site, const var* l, const var* r, bool as_int)
{
  if (num(r) == 0.0) return fail_with(ZERO_VAR, VL_E_ILLEGAL_FIELD_VALUE, kDivZero);
  var* res = site.choose();
  if (as_int) {
    const int32_t b = r->Value.w1.i;
    res = put_int(res, b == kMinusOne ? 0 : l->Value.w1.i % b);
  } else {
    res = put_num(res, std::fmod(num(l), num(r)), vlnGetDecimals());
  }
  return site.finish(res);
}

// x ** y by C pow: truncated to 'I' when as_int, else 'N' with SET DECIMALS.
var* power(const Site& site, const var* l, const var* r, bool as_int)
{
  const double p = std::pow(num(l), num(r));
  var* res = site.choose();
  res = as_int ? put_int(res, vlnDoubleToInt(p)) : put_num(res, p, vlnGetDecimals());
  return site.finish(res);
}

// The * table: two 'I' multiply as a wrapping 'I'; otherwise 'N' with the
// sum of the Decimals.
[[gnu::noinline]] var* mul_values(var* l, var* r, int assign)
{
  if (!numeric(l) || !numeric(r)) return fail(VL_E_ILLEGAL_OP, kMulText);
  return combine<Mul>(Site{l, r, assign}, l, r, l->Type == 'I' && r->Type == 'I',
                      sum_dec(l->Decimals, r->Decimals));
}

}  // namespace

namespace vl::ops {

// The + table.  Text + text concatenates; a date moves by a number's whole
// part; a number plus a date is a date; numbers add; a left operand of any
// other type (NIL, array, ...) gives the chosen record untouched.
var* add_values(var* l, var* r, int assign)
{
  const Site site = additive(l, r, assign);
  if (l->Type == 'L' || r->Type == 'L') warn(kAddLogical, site);
  switch (l->Type) {
    case 'C':
    case 'M':
      if (!kCM.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, kConcatText);
      return site.finish(join_text(site, l, r, false));
    case 'D':
      if (!numeric(r)) return fail(VL_E_TYPE_MISMATCH, kAddToDate);
      return date_into(site, moved(l, r));
    case 'F':
    case 'N':
    case 'I':
    case 'L':
      if (r->Type == 'D') return date_into(site, moved(r, l));
      if (!numeric(r)) return fail(VL_E_TYPE_MISMATCH, kAddToNumber);
      return combine<Add>(site, l, r, kIL.has(l->Type) && kIL.has(r->Type), max_dec(l, r));
    default:
      return site.finish(site.choose());
  }
}

// The - table.  Text - text moves the left text's trailing blanks behind
// the right text; date - date is a number of days; date - number a date;
// numbers subtract.  A left 'L' (or any type not named) gives the chosen
// record untouched, and an 'I' minus an 'L' reads the logical's word as a
// raw double.
var* sub_values(var* l, var* r, int assign)
{
  const Site site = additive(l, r, assign);
  if (l->Type == 'L' || r->Type == 'L') warn(kSubLogical, site);
  switch (l->Type) {
    case 'C':
    case 'M':
      if (!kCM.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, kConcatText);
      return site.finish(join_text(site, l, r, true));
    case 'D':
      if (r->Type == 'D')
        return site.finish(put_num(site.choose(),
                                   static_cast<double>(l->Value.w1.i) - r->Value.w1.i,
                                   vlnGetDecimals()));
      if (!kNFI.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, kSubFromDate);
      return date_into(site, moved(l, r, -1));
    case 'F':
    case 'N':
      if (!numeric(r)) return fail(VL_E_TYPE_MISMATCH, kSubFromNumber);
      return combine<Sub>(site, l, r, false, max_dec(l, r));
    case 'I':
      if (!numeric(r)) return fail(VL_E_TYPE_MISMATCH, kSubFromNumber);
      if (r->Type == 'L')
        return site.finish(put_num(site.choose(), num(l) - raw_double(r), max_dec(l, r)));
      return combine<Sub>(site, l, r, r->Type == 'I', max_dec(l, r));
    default:
      return site.finish(site.choose());
  }
}

}  // namespace vl::ops

extern "C" {

// l + r.  Two plain numbers take the short road.
var* u_add_u(var* l, var* r, int assign)
{
  return vln_arith(l, r, assign, VLN_OP_ADD, add_values);
}

// l - r.
var* u_sub_u(var* l, var* r, int assign)
{
  return vln_arith(l, r, assign, VLN_OP_SUB, sub_values);
}

// l + "text": the + table with a text right operand.
var* u_add_c(var* l, const char* text, int assign)
{
  var r = literal_text(text);
  return add_values(l, &r, assign);
}

// l - "text".
var* u_sub_c(var* l, const char* text, int assign)
{
  var r = literal_text(text);
  return sub_values(l, &r, assign);
}

// d + v (the target is v): a date moves by d's whole part; an integer v
// stays integer when the literal has no decimals or v is strictly typed; a
// logical v is refused.
var* n_add_u(double d, int dec, var* v, int assign)
{
  const Site site{v, nullptr, assign};
  const var lit = literal_num(d, dec);
  switch (v->Type) {
    case 'D':
      return date_into(site, moved(v, &lit));
    case 'I':
    case 'F':
    case 'N':
      return combine<Add>(site, &lit, v, int_with_literal(v, dec), max_dec(&lit, v));
    default:
      return fail(VL_E_TYPE_MISMATCH, kAddToNumber);
  }
}

// d - v: integer for an 'I' v and a literal without decimals.
var* n_sub_u(double d, int dec, var* v)
{
  if (!numeric(v)) return fail(VL_E_ILLEGAL_OP, kSubLiteral);
  const var lit = literal_num(d, dec);
  return combine<Sub>(Site{v, nullptr, 0}, &lit, v, v->Type == 'I' && dec == 0,
                      max_dec(&lit, v));
}

// v - d: a date moves back by d's whole part; an integer v stays integer
// with a literal without decimals or when strictly typed.
var* u_sub_n(var* v, double d, int dec, int assign)
{
  const Site site{v, nullptr, assign};
  const var lit = literal_num(d, dec);
  switch (v->Type) {
    case 'D':
      return date_into(site, moved(v, &lit, -1));
    case 'I':
    case 'F':
    case 'N':
      return combine<Sub>(site, v, &lit, int_with_literal(v, dec), max_dec(v, &lit));
    default:
      return fail(VL_E_ILLEGAL_OP, kSubNumber);
  }
}

// l * r.
var* u_mul_u(var* l, var* r, int assign)
{
  return vln_arith(l, r, assign, VLN_OP_MUL, mul_values);
}

// d * v (the target is v); dec -1 stands for SET DECIMALS.
var* n_mul_u(double d, int dec, var* v, int assign)
{
  if (!numeric(v)) return fail(VL_E_ILLEGAL_OP, kMulText);
  if (dec == -1) dec = vlnGetDecimals();
  const var lit = literal_num(d, dec);
  return combine<Mul>(Site{v, nullptr, assign}, &lit, v, int_with_literal(v, dec),
                      sum_dec(lit.Decimals, v->Decimals));
}

// l / r.
var* u_div_u(var* l, var* r, int assign)
{
  if (!numeric(l)) return fail(VL_E_ILLEGAL_OP, kDivText);
  if (!numeric(r)) return fail(VL_E_ILLEGAL_OP, kDivRight);
  return divide(Site{l, r, assign}, l, r);
}

// l / d.
var* u_div_n(var* l, double d, int assign)
{
  if (!numeric(l)) return fail(VL_E_ILLEGAL_OP, kDivText);
  const var lit = literal_num(d, 0);
  return divide(Site{l, nullptr, assign}, l, &lit);
}

// d / r.
var* n_div_u(double d, var* r)
{
  if (!numeric(r)) return fail(VL_E_ILLEGAL_OP, kDivText);
  const var lit = literal_num(d, 0);
  return divide(Site{r, nullptr, 0}, &lit, r);
}

// l % r; a non-numeric operand gives ZERO_VAR after the report.
var* u_mod_u(var* l, var* r, int assign)
{
  if (!numeric(l) || !numeric(r)) return fail_with(ZERO_VAR, VL_E_ILLEGAL_OP, kDivText);
  return modulo(Site{l, r, assign}, l, r, l->Type == 'I' && r->Type == 'I');
}

// l % d, always 'N'.
var* u_mod_n(var* l, double d, int assign)
{
  if (!numeric(l)) return fail_with(ZERO_VAR, VL_E_ILLEGAL_OP, kModLeft);
  const var lit = literal_num(d, 0);
  return modulo(Site{l, nullptr, assign}, l, &lit, false);
}

// d % r, always 'N'.
var* n_mod_u(double d, var* r)
{
  if (!numeric(r)) return fail_with(ZERO_VAR, VL_E_ILLEGAL_OP, kModRight);
  const var lit = literal_num(d, 0);
  return modulo(Site{r, nullptr, 0}, &lit, r, false);
}

// l ** r.
var* u_pow_u(var* l, var* r, int assign)
{
  if (!numeric(l) || !numeric(r)) return fail(VL_E_ILLEGAL_OP, kPowText);
  return power(Site{l, r, assign}, l, r, l->Type == 'I' && r->Type == 'I');
}

// l ** d: 'I' only for a strictly typed 'I' l.
var* u_pow_n(var* l, double d, int dec, int assign)
{
  if (!numeric(l)) return fail(VL_E_ILLEGAL_OP, kPowText);
  const var lit = literal_num(d, dec);
  return power(Site{l, nullptr, assign}, l, &lit, l->Type == 'I' && l->Mode == 'S');
}

// d ** r, always 'N'.
var* n_pow_u(double d, var* r)
{
  if (!numeric(r)) return fail(VL_E_ILLEGAL_OP, kPowText);
  const var lit = literal_num(d, 0);
  return power(Site{r, nullptr, 0}, &lit, r, false);
}

// -v, into v when it is a temporary.  An 'I' keeps its Length; anything
// else negates the value word read as a double, with v's Decimals.
var* minus_u(var* v)
{
  if (!numeric(v)) return fail(VL_E_ILLEGAL_OP, kNegText);
  var* res = v->Mode == 'T' ? v : cre_tmpvar();
  if (v->Type != 'I') return put_num(res, -raw_double(v), v->Decimals);
  const int32_t length = v->Length;
  put_int(res, wrap_sub(0, v->Value.w1.i));
  res->Length = length;
  return res;
}

}  // extern "C"
