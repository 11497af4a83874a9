// numbers_parse.cpp -- reading numbers out of text: qrt_atol, qrt_atof,
// qrt_atof1 and VAL.
//
// The grammar is fixed and the same under every locale: blanks (and tabs),
// an optional sign, digits, an optional point and digits, and an optional
// exponent ("e" or "E", a sign, digits) that counts only when digits
// follow it.  A comma is never part of a number.  The digits are converted
// by std::from_chars, which rounds correctly and ignores the locale.
#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "numbers.hpp"
#include "args.hpp"
#include "kernel.h"

using namespace vl;

using namespace vl::args;

namespace {

constexpr int kMaxDecimals = 255;       // what a value's Decimals can hold
constexpr size_t kFieldTextMax = 511;   // field texts are at most 20 bytes
constexpr long kExponentLimit = 1000000000L;  // far beyond any double
constexpr int kExactDigits = 15;             // 10^15 < 2^53: exact in a double
constexpr double kPowersOfTen[kExactDigits + 1] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

bool digit(char c) { return c >= '0' && c <= '9'; }
bool blank(char c) { return c == ' ' || c == '\t'; }

const char* skip_digits(const char* p)
{
  while (digit(*p)) ++p;
  return p;
}

// What a scan found: where the digits start, where the number ends, and
// how many digits stand after the point.
struct Scan {
  const char* number;  // first digit or point, after the sign
  const char* end;     // first byte not read; the text when nothing was read
  bool negative;
  int decimals;
};

Scan scan(const char* text)
{
  const char* p = text;
  while (blank(*p)) ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  const char* number = p;
  const char* whole_end = skip_digits(p);
  const char* end = whole_end;
  int decimals = 0;
  if (*end == '.') {
    end = skip_digits(whole_end + 1);
    decimals = static_cast<int>(end - whole_end - 1);
  }
  if (whole_end == number && decimals == 0) return {text, text, false, 0};
  if (*end == 'e' || *end == 'E') {
    const char* e = end + 1;
    if (*e == '+' || *e == '-') ++e;
    if (digit(*e)) end = skip_digits(e);
  }
  return {number, end, negative, decimals};
}

// A number beyond a double's range: infinity when it is too large, 0 when
// it is too small.  Which one it is follows from the place of its first
// significant digit, counted from the point and moved by the exponent.
double out_of_range(const Scan& s)
{
  const char* p = s.number;
  long place = 0;  // digits before the point, or minus the zeros after it
  while (*p == '0') ++p;
  if (digit(*p)) {
    place = skip_digits(p) - p;
    p = skip_digits(p);
  } else if (*p == '.') {
    for (++p; *p == '0'; ++p) --place;
  }
  while (digit(*p) || *p == '.') ++p;
  if (p < s.end) place += std::clamp(qrt_atol(p + 1, nullptr, 0), -kExponentLimit, kExponentLimit);
  return place > 0 ? HUGE_VAL : 0.0;
}

double value_of(const Scan& s)
{
  if (s.end == s.number) return 0.0;
  double d = 0.0;
  if (std::from_chars(s.number, s.end, d, std::chars_format::general).ec == std::errc::result_out_of_range)
    d = out_of_range(s);
  return s.negative ? -d : d;
}

// The value of the n bytes at text when they hold a number as fields do:
// blanks, a sign, at most 15 digits with at most one point among them, and
// nothing after them but what ends a number (anything but an exponent).
// Then m / 10^k, with the digits as m and the decimals as k, is the
// correctly rounded value, as m and 10^k are both exact doubles.  False
// for anything else: qrt_atof decides.
bool plain_field(const char* text, size_t n, double* d)
{
  size_t i = 0;
  while (i < n && blank(text[i])) ++i;
  const bool negative = i < n && text[i] == '-';
  if (i < n && (text[i] == '-' || text[i] == '+')) ++i;
  uint64_t m = 0;
  int digits = 0, decimals = 0;
  bool point = false;
  for (; i < n; ++i) {
    if (digit(text[i])) {
      if (++digits > kExactDigits) return false;
      m = m * 10 + static_cast<uint64_t>(text[i] - '0');
      decimals += point;
    } else if (text[i] == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (i < n && (text[i] == 'e' || text[i] == 'E')) return false;
  if (digits == 0) return *d = 0.0, true;
  *d = static_cast<double>(m) / kPowersOfTen[decimals];
  if (negative) *d = -*d;
  return true;
}

}  // namespace

namespace vl {

long qrt_atol(const char* text, const char** end, int maxdigits)
{
  const char* p = text;
  while (blank(*p)) ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  const char* first = p;
  unsigned long v = 0;
  const unsigned long limit = static_cast<unsigned long>(LONG_MAX);
  for (; digit(*p) && (maxdigits < 1 || p - first < maxdigits); ++p)
    v = v > (limit - 9) / 10 ? limit : v * 10 + static_cast<unsigned long>(*p - '0');
  if (end) *end = p == first ? text : p;
  const long r = static_cast<long>(std::min(v, limit));
  return negative ? -r : r;
}

double qrt_atof(const char* text, const char** end)
{
  const Scan s = scan(text);
  if (end) *end = s.end;
  return value_of(s);
}

double qrt_atof1(const char* text, int32_t len)
{
  char buf[kFieldTextMax + 1];
  const size_t n = std::min(static_cast<size_t>(std::max(len, 0)), kFieldTextMax);
  double d;
  if (plain_field(text, n, &d)) return d;
  std::memcpy(buf, text, n);
  buf[n] = '\0';
  return qrt_atof(buf, nullptr);
}

}  // namespace vl

VLN_FUNC(val)
{
  var* s = arg(argc, argv, 0);
  if (!is_text(s)) return ZERO_VAR;
  const char* text = s->Value.w1.str;
  const Scan sc = scan(text);
  const double d = value_of(sc);
  var* r = set_nv(d, std::min(sc.decimals, kMaxDecimals));
  if (d != 0) r->Length = static_cast<int32_t>(sc.end - text);
  return r;
}
