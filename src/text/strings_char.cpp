// strings_char.cpp -- single characters, case and classes: CHR, ASC,
// LOWER, the IS family and SOUNDEX.
//
// Case and classes go through the national routines, so they follow the
// active language (and the fixed C tables without one).
#include <cstring>

#include "natlang.hpp"
#include "args.hpp"
#include "kernel.h"

using namespace vl;

using namespace vl::args;

namespace {

constexpr int kSoundexUpper = 90;  // characters that are upper-cased
constexpr int kSoundexDigits = 3;
constexpr int kSoundexLength = 4;

// The soundex digit of an upper-case letter, 0 for none.
char soundex_digit(unsigned char c)
{
  switch (c) {
    case 'B': case 'F': case 'P': case 'V':
      return '1';
    case 'C': case 'G': case 'J': case 'K': case 'Q': case 'S': case 'X': case 'Z':
      return '2';
    case 'D': case 'T':
      return '3';
    case 'L':
      return '4';
    case 'M': case 'N':
      return '5';
    case 'R':
      return '6';
    default:
      return 0;
  }
}

// The first character of a text argument through test, as a logical.
var* first_is(int argc, var** argv, int (*test)(int))
{
  var* s = arg(argc, argv, 0);
  if (!is_text(s) || text(s).empty()) return FALSE_VAR;
  return test(static_cast<unsigned char>(text(s)[0])) ? TRUE_VAR : FALSE_VAR;
}

}  // namespace

VLN_FUNC(chr)
{
  var* n = arg(argc, argv, 0);
  if (!is_number(n)) return NULLSTR_VAR;
  const char c = static_cast<char>(static_cast<unsigned char>(count_arg(n) & 0xFF));
  return text_result(&c, 1);
}

VLN_FUNC(asc)
{
  var* s = arg(argc, argv, 0);
  if (!is_text(s) || text(s).empty()) return ZERO_VAR;
  return set_nv(static_cast<unsigned char>(text(s)[0]), 0);
}

VLN_FUNC(lower)
{
  var* s = arg(argc, argv, 0);
  if (!is_text(s)) return NULLSTR_VAR;
  const std::string_view t = text(s);
  var* r;
  char* out = new_text(static_cast<int64_t>(t.size()), &r, "LOWER");
  if (!out) return NULLSTR_VAR;
  std::memcpy(out, t.data(), t.size());
  Itolow_str(out, static_cast<int32_t>(t.size()));
  return r;
}

VLN_FUNC(isalpha) { return first_is(argc, argv, Isalpha); }
VLN_FUNC(isdigit) { return first_is(argc, argv, Isdigit); }
VLN_FUNC(isupper) { return first_is(argc, argv, Isupper); }
VLN_FUNC(islower) { return first_is(argc, argv, Islower); }

// The first character stays (upper-cased); each following one adds its
// digit until three are made; from the third character on, one equal to the
// character before it is skipped.  Zeros fill the code to four.
VLN_FUNC(soundex)
{
  var* s = arg(argc, argv, 0);
  if (!is_text(s)) return ERROR_VAR;
  const std::string_view t = text(s);
  // The text as upper-cased: its first 90 characters only.
  auto up = [&t](size_t i) {
    const auto c = static_cast<unsigned char>(t[i]);
    return static_cast<unsigned char>(i < kSoundexUpper ? Itoupper(c) : c);
  };
  char code[kSoundexLength + 1] = "0000";
  if (!t.empty()) code[0] = static_cast<char>(up(0));
  int made = 0;
  for (size_t i = 1; i < t.size() && made < kSoundexDigits; ++i) {
    if (i >= 2 && up(i) == up(i - 1)) continue;
    if (const char d = soundex_digit(up(i))) code[1 + made++] = d;
  }
  return text_result(code, kSoundexLength);
}
