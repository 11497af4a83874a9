// numbers_math.cpp -- MOD, SQRT, EXP, LOG, LOG10, ROUND and INT.
//
// MOD(a, b) is the remainder with the sign of the divisor (MOD(-1, 3) is
// 2, MOD(1, -3) is -2), and MOD(a, 0) is a; its decimals are the larger of
// the two arguments', and two integers give an integer.  SQRT of a negative
// number is 0.  LOG and LOG10 of 0 or less are the overflow (minus
// infinity), which shows as stars; so does an EXP beyond a double's range.
// SQRT, EXP, LOG and LOG10 give SET DECIMALS decimals.
//
// An argument that is no number reports 312 and gives 0.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "args.hpp"
#include "kernel.h"
#include "numbers.hpp"
#include "runtime.hpp"

using namespace vl;

using namespace vl::args;

namespace {

constexpr int kSetDecimals = -1;  // set_nv: SET DECIMALS

// Whether argument 0 is a number; else 312 naming the function.
bool one_number(int argc, var** argv, const char* name)
{
  var* x = arg(argc, argv, 0);
  if (is_number(x)) return true;
  std::snprintf(repdum, sizeof repdum, "%s(): argument should be numeric, not '%c'", name, type_of(x));
  rt_error(VL_E_ARG_TYPE, repdum);
  return false;
}

// f of a numeric argument with SET DECIMALS decimals; 0 after a report.
var* unary(int argc, var** argv, const char* name, double (*f)(double))
{
  if (!one_number(argc, argv, name)) return ZERO_VAR;
  return set_nv(f(vlnNumVar(argv[0])), kSetDecimals);
}

double root(double x) { return x < 0 ? 0.0 : std::sqrt(x); }
double natural_log(double x) { return x > 0 ? std::log(x) : -HUGE_VAL; }
double common_log(double x) { return x > 0 ? std::log10(x) : -HUGE_VAL; }
double exponential(double x) { return std::exp(x); }

// The remainder of a / b with the sign of b (b not 0).
template <class T>
T floored_mod(T a, T b, T r)
{
  return r != 0 && (r < 0) != (b < 0) ? r + b : r;
}

}  // namespace

VLN_FUNC(mod)
{
  var* a = arg(argc, argv, 0);
  var* b = arg(argc, argv, 1);
  if (!is_number(a) || !is_number(b)) {
    report_pair_type("MOD", "numeric", a, b);
    return ZERO_VAR;
  }
  if (a->Type == 'I' && b->Type == 'I') {
    const int64_t x = a->Value.w1.i, y = b->Value.w1.i;
    return set_Iv(static_cast<int32_t>(y == 0 ? x : floored_mod(x, y, x % y)));
  }
  const double x = vlnNumVar(a), y = vlnNumVar(b);
  if (y == 0) return set_nv(x, a->Decimals);
  return set_nv(floored_mod(x, y, std::fmod(x, y)), std::max(a->Decimals, b->Decimals));
}

VLN_FUNC(sqrt) { return unary(argc, argv, "SQRT", root); }
VLN_FUNC(exp) { return unary(argc, argv, "EXP", exponential); }
VLN_FUNC(log) { return unary(argc, argv, "LOG", natural_log); }
VLN_FUNC(log10) { return unary(argc, argv, "LOG10", common_log); }

// ROUND and INT.
using namespace vl::args;

namespace {

constexpr int64_t kMaxPlaces = 400;  // beyond a double's range either way
constexpr int kMaxDecimals = 255;    // what a value's Decimals can hold

}  // namespace

VLN_FUNC(round)
{
  var* x = arg(argc, argv, 0);
  if (!is_number(x)) return ZERO_VAR;
  var* d = arg(argc, argv, 1);
  const int n = static_cast<int>(is_number(d) ? std::clamp(count_arg(d), -kMaxPlaces, kMaxPlaces) : 0);
  return set_nv(cc_round(vlnNumVar(x), n), std::clamp(n, 0, kMaxDecimals));
}

VLN_FUNC(int)
{
  var* x = arg(argc, argv, 0);
  if (!is_number(x)) {
    std::snprintf(repdum, sizeof repdum, "INT(): argument should be numeric, not '%c'", type_of(x));
    rt_error(VL_E_ARG_TYPE, repdum);
    return ZERO_VAR;
  }
  if (x->Type == 'I') return set_Iv(x->Value.w1.i);
  return set_nv(std::trunc(vlnNumVar(x)), 0);
}
