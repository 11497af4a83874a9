// numbers.hpp -- rounding as the language defines it and reading numbers
// out of text, inside the library.
#pragma once

#include <cstdint>

#include "numbers.h"

namespace vl {

// x rounded to n decimals (n < 0: to tens, hundreds, ...), halves away
// from zero.  Repeating the last call, or rounding its result again with
// the same n, costs nothing.
double cc_round(double x, int n);

// Read blanks, a sign and at most maxdigits digits (all for maxdigits
// below 1).  *end, when end is not null, receives the first byte not
// read.
long qrt_atol(const char* text, const char** end, int maxdigits);
// Read blanks and tabs, a sign, digits, a point, digits and an optional
// exponent.  *end receives the first byte not read (text when no digit was
// read).
double qrt_atof(const char* text, const char** end);
// qrt_atof of a counted field text (not terminated): blanks skipped, all
// blanks giving 0.
double qrt_atof1(const char* text, int32_t len);

}  // namespace vl
