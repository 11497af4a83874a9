// numbers_text.cpp -- number to text: STR, STRZERO and the shared form
// that `?` and the PAD family use.
//
// A number is written in fixed notation with the given decimals (6 when
// they are negative), right-aligned in the width when it is shorter, in
// the C locale whatever the process's locale is (std::to_chars).  It is
// rounded first with cc_round, so that STR shows the halves ROUND gives
// (STR(2.5, 1) is "3", STR(0.125, 5, 2) is " 0.13") instead of the
// round-half-even of the binary value that plain formatting gives.
//
// STR with one argument takes the value's own width and decimals.  For a
// value of unknown width (a computed one) the text is then trimmed of
// trailing zeros and a trailing point, and aligned so that 10 places stand
// before the point (at least 10 characters without a point).  SET FIXED
// gives such a value SET DECIMALS decimals and keeps them all.
//
// With an explicit width (capped at 150) a text longer than the width
// becomes that many "*".
//
// A value that is no finite number (an overflow such as 10^400, LOG(0), or
// the NaN of inf - inf) has no digits to show: it is the overflow of its
// field, "*" across the width, as a number too wide for its width is.  The
// width is the explicit one, the value's own, or, for a computed value,
// the 10 places it would align to (with the point and SET DECIMALS places
// under SET FIXED).
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "numbers.hpp"
#include "args.hpp"
#include "kernel.h"
#include "switches.h"

using namespace vl;

using namespace vl::args;

namespace {

constexpr int kDefaultDecimals = 6;   // printf's for "%lf"
constexpr int kNegativeWidth = 10;    // what a negative width becomes
constexpr int kAlignPlaces = 10;      // places before the point
constexpr int kAlignLimit = 21;       // integer parts this long are not aligned
constexpr int kMaxDecimals = VLN_STR_MAXWIDTH + 1;  // more can only give "*"
constexpr int kDecimalsLimit = 255;   // what a value's Decimals can hold
constexpr size_t kBufSize = VLN_NUMTEXT_SIZE;

// width stars: the text of a number that does not fit.
int overflow(char* buf, int width)
{
  width = std::clamp(width, 0, static_cast<int>(VLN_STR_MAXWIDTH));
  std::memset(buf, '*', static_cast<size_t>(width));
  buf[width] = '\0';
  return width;
}

// The text of x with dec decimals, right-aligned in width; returns its
// length.  A value that is not finite gives width stars.
int format_fixed(char* buf, double x, int width, int dec)
{
  if (!std::isfinite(x)) return overflow(buf, width);
  if (dec < 0) dec = kDefaultDecimals;
  dec = std::min(dec, kDecimalsLimit);
  width = std::min(width, static_cast<int>(VLN_STR_MAXWIDTH));
  double r = cc_round(x, dec);
  if (r == 0) r = 0.0;  // no "-0.00"
  char digits[kBufSize];
  const auto res = std::to_chars(digits, digits + sizeof digits, r, std::chars_format::fixed, dec);
  const int len = static_cast<int>(res.ptr - digits);
  const int pad = std::max(width - len, 0);
  std::memset(buf, ' ', static_cast<size_t>(pad));
  std::memcpy(buf + pad, digits, static_cast<size_t>(len));
  buf[pad + len] = '\0';
  return pad + len;
}

// Trailing zeros after a point go, then a trailing point.
int strip_zeros(const char* buf, int len)
{
  const std::string_view t(buf, static_cast<size_t>(len));
  if (t.find('.') == std::string_view::npos) return len;
  while (len > 0 && buf[len - 1] == '0') --len;
  if (len > 0 && buf[len - 1] == '.') --len;
  return len;
}

// Align the text of an unknown-width number: 10 places before the point,
// or at least 10 characters without one.  Returns the new length.
int align(char* buf, int len)
{
  const size_t point = std::string_view(buf, static_cast<size_t>(len)).find('.');
  const int whole = point == std::string_view::npos ? len : static_cast<int>(point);
  if (whole >= kAlignLimit) return len;
  const int pad = std::max(kAlignPlaces - whole, 0);
  std::memmove(buf + pad, buf, static_cast<size_t>(len));
  std::memset(buf, ' ', static_cast<size_t>(pad));
  buf[pad + len] = '\0';
  return pad + len;
}

// STR of one argument.
int str_own(var* v, char* buf)
{
  const bool fixed = vlnGetFixed() != 0;
  const int dec = fixed ? vlnGetDecimals() : v->Decimals;
  const double x = vlnNumVar(v);
  if (v->Length >= 0) return format_fixed(buf, x, v->Length, dec);
  if (!std::isfinite(x)) return overflow(buf, kAlignPlaces + (fixed && dec > 0 ? dec + 1 : 0));
  int len = format_fixed(buf, x, 0, dec);
  if (!fixed) len = strip_zeros(buf, len);
  buf[len] = '\0';
  return align(buf, len);
}

// STR with an explicit width; -1 when width or decimals is not a number.
int str_width(var* v, var* w, var* d, char* buf)
{
  if (!is_number(w) || (d && !is_number(d))) return -1;
  int64_t width = std::min<int64_t>(count_arg(w), VLN_STR_MAXWIDTH);
  if (width < 0) width = kNegativeWidth;
  const int64_t dec = d ? std::min<int64_t>(count_arg(d), kMaxDecimals) : 0;
  const int len = format_fixed(buf, vlnNumVar(v), static_cast<int>(width), static_cast<int>(std::max<int64_t>(dec, -1)));
  return len <= width ? len : overflow(buf, static_cast<int>(width));
}

// STR's text for the call, or -1 for "".
int str_text(int argc, var** argv, char* buf)
{
  var* v = arg(argc, argv, 0);
  if (!is_number(v)) return -1;
  if (argc < 2) return str_own(v, buf);
  return str_width(v, argv[1], arg(argc, argv, 2), buf);
}

// Leading blanks become zeros, the sign going in front of them.
void zero_fill(char* buf, int len)
{
  int first = 0;
  while (first < len && buf[first] == ' ') ++first;
  if (first == 0) return;
  const bool negative = first < len && buf[first] == '-';
  std::memset(buf, '0', static_cast<size_t>(first));
  if (negative) {
    buf[first] = '0';
    buf[0] = '-';
  }
}

// Copy the len bytes of text into buf of size bytes, cut if need be.
int32_t copy_out(const char* text, int len, char* buf, size_t size)
{
  const size_t n = std::min(static_cast<size_t>(len), size ? size - 1 : 0);
  std::memcpy(buf, text, n);
  if (size) buf[n] = '\0';
  return static_cast<int32_t>(n);
}

}  // namespace

extern "C" int32_t vln_numtext(var* v, char* buf, size_t size)
{
  if (!is_number(v)) return -1;
  char text[kBufSize];
  return copy_out(text, str_own(v, text), buf, size);
}

extern "C" int32_t vln_numform(double x, int width, int dec, char* buf, size_t size)
{
  char text[kBufSize];
  return copy_out(text, format_fixed(text, x, std::max(width, 0), dec), buf, size);
}

VLN_FUNC(str)
{
  char buf[kBufSize];
  const int len = str_text(argc, argv, buf);
  return len < 0 ? NULLSTR_VAR : text_result(buf, static_cast<size_t>(len));
}

VLN_FUNC(strzero)
{
  char buf[kBufSize];
  const int len = str_text(argc, argv, buf);
  if (len < 0) return NULLSTR_VAR;
  zero_fill(buf, len);
  return text_result(buf, static_cast<size_t>(len));
}
