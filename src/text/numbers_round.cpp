// numbers_round.cpp -- rounding as the language defines it.
//
// x is scaled by 10^n and the scaled value moves away from zero when its
// fraction is above 0.4999999999999999: a fraction that is one half to the
// last bits of a double counts as a half, and halves go away from zero.
// The scaling is one rounded multiplication, so most decimal halves
// (2.675, 1.45) land exactly on a half and round up; a few whose product
// stays below it (1.005, 0.285) round down, as the binary value says.  The
// computation is in double throughout, so results are the same on every
// machine with IEEE doubles.
//
// A scaled value of 2^52 or more has no fraction left: x is returned as it
// is instead of being scaled back, which could move it by one unit in the
// last place.
//
// The last call is remembered: rounding the same value again, or rounding
// the last result with the same n, returns at once.
#include <cmath>

#include "numbers.hpp"

namespace {

constexpr double kHalf = 0.4999999999999999;
constexpr double kNoFraction = 4503599627370496.0;  // 2^52
constexpr int kExactPowers = 23;                     // 10^0 .. 10^22 are exact doubles

double power_of_ten(int n)
{
  static const double table[kExactPowers] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                             1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                             1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  return n < kExactPowers ? table[n] : std::pow(10.0, n);
}

// t without its fraction, one further from zero when the fraction is a
// half or more.
double round_scaled(double t)
{
  const double whole = std::trunc(t);
  if (std::fabs(t - whole) > kHalf) return whole + (t < 0 ? -1.0 : 1.0);
  return whole;
}

double round_now(double x, int n)
{
  if (x == 0 || !std::isfinite(x)) return x;
  if (n > 0) {
    const double p = power_of_ten(n);
    const double t = x * p;
    if (!std::isfinite(t) || std::fabs(t) >= kNoFraction) return x;
    return round_scaled(t) / p;
  }
  if (n < 0) {
    const double p = power_of_ten(-n);
    if (!std::isfinite(p)) return 0.0;
    const double t = x / p;
    if (std::fabs(t) >= kNoFraction) return x;
    return round_scaled(t) * p;
  }
  if (std::fabs(x) >= kNoFraction) return x;
  return round_scaled(x);
}

struct LastCall {
  bool valid = false;
  int n = 0;
  double in = 0;
  double out = 0;
};

LastCall last;

}  // namespace

double vl::cc_round(double x, int n)
{
  if (last.valid && n == last.n && (x == last.in || x == last.out)) return last.out;
  const double r = round_now(x, n);
  last = {true, n, x, r};
  return r;
}
