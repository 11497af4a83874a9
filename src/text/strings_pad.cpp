// strings_pad.cpp -- the PAD and TRIM families, REPLICATE and SPACE.
//
// PAD converts its value by type first: a text as it is, a number as STR
// shows it without the leading blanks, a date as DTOC, a logical as "T" or
// "F"; anything else is "".  A text longer than the length is cut to its
// leftmost characters.  Trimming removes blanks (the byte 32) only.
#include <algorithm>
#include <cstring>

#include "dates.h"
#include "numbers.h"
#include "args.hpp"
#include "kernel.h"
#include "stringsfn.hpp"

using namespace vl;

using namespace vl::args;

namespace {

constexpr size_t kValueText = VLN_NUMTEXT_SIZE;  // a number, a date or a logical as text

// The text PAD works on; small values are written into buf.
std::string_view pad_source(var* v, char* buf)
{
  if (is_text(v)) return text(v);
  if (!v) return {};
  switch (v->Type) {
    case 'N':
    case 'F':
    case 'I': {
      const int32_t len = vln_numtext(v, buf, kValueText);
      const int32_t lead = triml_n(buf, len);
      return {buf + lead, static_cast<size_t>(len - lead)};
    }
    case 'D':
      return vln_dtoc(v->Value.w1.i);
    case 'L':
      return v->Value.w1.i ? "T" : "F";
    default:
      return {};
  }
}

const char* pad_name(int mode)
{
  return mode == 'L' ? "PADL" : (mode == 'C' ? "PADC" : "PADR");
}

enum class Trim { Right, Left, Both };

var* trim(int argc, var** argv, Trim how)
{
  var* s = arg(argc, argv, 0);
  if (!is_text(s)) return NULLSTR_VAR;
  std::string_view t = text(s);
  const auto n = static_cast<int32_t>(t.size());
  if (how != Trim::Left) t = t.substr(0, static_cast<size_t>(trimr_n(t.data(), n)));
  if (how != Trim::Right) t.remove_prefix(static_cast<size_t>(triml_n(t.data(), static_cast<int32_t>(t.size()))));
  return text_result(t);
}

}  // namespace

namespace vl {

int32_t trimr_n(const char* s, int32_t n)
{
  while (n > 0 && s[n - 1] == ' ') --n;
  return std::max(n, 0);
}

int32_t triml_n(const char* s, int32_t n)
{
  int32_t i = 0;
  while (i < n && s[i] == ' ') ++i;
  return i;
}

}  // namespace vl

extern "C" {

var* vln_pad(int argc, var** argv, int mode)
{
  var* len_arg = arg(argc, argv, 1);
  if (!is_number(len_arg)) return NULLSTR_VAR;
  const int64_t width = count_arg(len_arg);
  if (width < 1) return NULLSTR_VAR;
  char buf[kValueText];
  std::string_view src = pad_source(arg(argc, argv, 0), buf);
  var* f = arg(argc, argv, 2);
  const char fill = is_text(f) && !text(f).empty() ? text(f)[0] : ' ';
  src = src.substr(0, static_cast<size_t>(std::min<int64_t>(width, static_cast<int64_t>(src.size()))));
  var* r;
  char* out = new_text(width, &r, pad_name(mode));
  if (!out) return NULLSTR_VAR;
  const int64_t room = width - static_cast<int64_t>(src.size());
  const int64_t left = mode == 'L' ? room : (mode == 'C' ? room / 2 : 0);
  std::memset(out, fill, static_cast<size_t>(left));
  put_bytes(out + left, src);
  std::memset(out + left + src.size(), fill, static_cast<size_t>(room - left));
  return r;
}

}  // extern "C"

VLN_FUNC(padl) { return vln_pad(argc, argv, 'L'); }
VLN_FUNC(padr) { return vln_pad(argc, argv, 'R'); }
VLN_FUNC(padc) { return vln_pad(argc, argv, 'C'); }
VLN_FUNC(pad) { return vln_pad(argc, argv, 'R'); }

VLN_FUNC(trim) { return trim(argc, argv, Trim::Right); }
VLN_FUNC(rtrim) { return trim(argc, argv, Trim::Right); }
VLN_FUNC(ltrim) { return trim(argc, argv, Trim::Left); }
VLN_FUNC(alltrim) { return trim(argc, argv, Trim::Both); }

VLN_FUNC(replicate)
{
  var* s = arg(argc, argv, 0);
  var* n = arg(argc, argv, 1);
  if (!is_text(s) || !is_number(n)) return NULLSTR_VAR;
  const std::string_view unit = text(s);
  const int64_t times = count_arg(n);
  if (times < 1 || unit.empty()) return NULLSTR_VAR;
  const int64_t total = times > VLN_MAX_TEXT ? times : times * static_cast<int64_t>(unit.size());
  var* r;
  char* out = new_text(total, &r, "REPLICATE");
  if (!out) return NULLSTR_VAR;
  // Copy the unit once, then double what is written until it is full.
  std::memcpy(out, unit.data(), unit.size());
  for (int64_t done = static_cast<int64_t>(unit.size()); done < total;) {
    const int64_t chunk = std::min(done, total - done);
    std::memcpy(out + done, out, static_cast<size_t>(chunk));
    done += chunk;
  }
  return r;
}

VLN_FUNC(space)
{
  var* n = arg(argc, argv, 0);
  if (!is_number(n)) return NULLSTR_VAR;
  const int64_t count = count_arg(n);
  if (count < 1) return NULLSTR_VAR;
  var* r;
  char* out = new_text(count, &r, "SPACE");
  if (!out) return NULLSTR_VAR;
  std::memset(out, ' ', static_cast<size_t>(count));
  return r;
}
