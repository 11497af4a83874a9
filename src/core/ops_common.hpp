// ops_common.hpp -- what the operator entry points share: the choice of the
// result record, storing a scalar into it, compound assignment, reading
// validated operands, and the error reports.
//
// Fast paths are inline here; everything that reports or allocates beyond
// one temporary is out of line in the ops_*.cpp files.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "errcodes.h"
#include "letters.hpp"
#include "operators.h"
#include "valrec.hpp"
#include "var.h"

namespace vl::ops {

inline constexpr int32_t kNoWidth = -1;      // Length of a computed number
inline constexpr int32_t kDateLength = 8;
inline constexpr int32_t kLogicalLength = 1;
inline constexpr int kMaxDecimals = UINT8_MAX;

// Scalars that own nothing, so a new value may simply overwrite them.
inline constexpr LetterSet kPlain = letters("NFILDU");
// Modes whose records may be written without the constructors' Mode rules
// (no strict type to keep, no field to write through).
inline constexpr LetterSet kModeDirect = letters("TNVL");
inline constexpr LetterSet kLINF = letters("LINF");
inline constexpr LetterSet kIL = letters("IL");

// Texts shared by several files.
inline constexpr const char* kConcatText = "strings can only be concatenated to strings";

// Report a failure and give ERROR_VAR.
[[gnu::cold]] var* fail(int code, const char* text);
// Report a failure and give value (ZERO_VAR, FALSE_VAR).
[[gnu::cold]] var* fail_with(var* value, int code, const char* text);

// ---- Reading operands already checked against "NFIL". ----

inline bool is_double(const var* v) { return v->Type == 'N' || v->Type == 'F'; }

// vlnNumVar for a validated operand: the double, or the word as a double.
inline double num(const var* v) { return is_double(v) ? v->Value.w1.d : v->Value.w1.i; }
// vlnIntVar for a validated operand: the double truncated toward zero, or
// the word.
inline int32_t whole(const var* v)
{
  return is_double(v) ? vlnDoubleToInt(v->Value.w1.d) : v->Value.w1.i;
}
// The value word read as a double whatever the type: an 'L' or 'I' word
// gives the tiny number its zero-filled bits spell.
inline double raw_double(const var* v) { return std::bit_cast<double>(v->Value.w1.bits); }

inline int max_dec(const var* a, const var* b) { return std::max(a->Decimals, b->Decimals); }
inline int sum_dec(int a, int b) { return std::min(a + b, kMaxDecimals); }

// 32-bit integer arithmetic wraps silently, computed without overflow.
inline int32_t wrap_add(int32_t a, int32_t b)
{
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t wrap_sub(int32_t a, int32_t b)
{
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t wrap_mul(int32_t a, int32_t b)
{
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// A literal operand as a value record on the native stack.  Mode 'n': it
// is never chosen as a result record and owns nothing; static: it is never
// held, written or freed.
inline var literal_num(double d, int dec)
{
  var v{};
  v.Type = 'N';
  v.Mode = 'n';
  v.Flags = VF_STATIC;
  v.Decimals = static_cast<uint8_t>(std::clamp(dec, 0, kMaxDecimals));
  v.Length = kNoWidth;
  v.Value.w1.d = d;
  return v;
}
inline var literal_text(const char* text)
{
  var v{};
  v.Type = 'C';
  v.Mode = 'c';
  v.Flags = VF_STATIC;
  v.Length = static_cast<int32_t>(std::strlen(text) + 1);
  v.Value.w1.str = const_cast<char*>(text);
  return v;
}

// The bytes of a text value, without the terminator.
struct Text {
  const char* p;
  int32_t n;
};

inline Text text_of(const var* v)
{
  return {v->Value.w1.str ? v->Value.w1.str : "", v->Length > 0 ? v->Length - 1 : 0};
}
inline Text text_of(const char* s) { return {s, static_cast<int32_t>(std::strlen(s))}; }

// vlnLogVar for an operand already checked against "LINF".
inline int truth(const var* v)
{
  if (is_double(v)) return v->Value.w1.d != 0.0;
  return v->Type == 'I' ? v->Value.w1.i != 0 : v->Value.w1.i;
}

// ---- Where the result goes. ----

// The operands that may receive a member's result: the target is reused
// when it is a temporary, or stored into in place when the member is a
// compound assignment and its Mode is in in_place; the other operand is
// reused when it is a temporary (and, for + and -, not text).
struct Site {
  var* target;
  var* other;  // null when the member has no step for the other operand
  int assign;
  const LetterSet& in_place = kModeInPlace;
  bool other_text_ok = true;

  [[gnu::always_inline]] var* choose() const
  {
    if (target->Mode == 'T') return target;
    if (assign && in_place.has(target->Mode)) return target;
    if (other && other->Mode == 'T' && (other_text_ok || !kCM.has(other->Type))) return other;
    return cre_tmpvar();
  }

  // After a compound assignment the target holds the result.
  [[gnu::always_inline]] var* finish(var* res) const
  {
    if (!assign || res == target || res == ERROR_VAR) return res;
    return cpy_var(target, res);
  }
};

// The 902 developer warning; the operation goes on with site's operands.
// The error block may release them, so they are held until the statement
// ends.
[[gnu::cold]] void warn(const char* text, const Site& site);

// ---- Storing a scalar into the chosen record. ----

// Word 1, and word 2 cleared.
inline void store_value(var* v, uint64_t word1)
{
  v->Value.w1.bits = word1;
  v->Value.w2.bits = 0;
}
inline void store_number(var* v, double d) { store_value(v, std::bit_cast<uint64_t>(d)); }
inline void store_word(var* v, int32_t word) { store_value(v, static_cast<uint32_t>(word)); }

inline bool direct(const var* v) { return kModeDirect.has(v->Mode) && kPlain.has(v->Type); }

inline var* put_num(var* v, double d, int dec)
{
  if (!direct(v)) return set_nvar(v, d, dec);
  v->Type = 'N';
  v->Decimals = static_cast<uint8_t>(dec);
  v->Length = kNoWidth;
  store_number(v, d);
  return v;
}

inline var* put_word(var* v, char type, int32_t length, int32_t word)
{
  v->Type = type;
  v->Decimals = 0;
  v->Length = length;
  store_word(v, word);
  return v;
}

inline var* put_int(var* v, int32_t n)
{
  return direct(v) ? put_word(v, 'I', kNoWidth, n) : set_Ivar(v, n);
}

inline var* put_date(var* v, int32_t day)
{
  return direct(v) ? put_word(v, 'D', kDateLength, day) : set_dvar(v, day);
}

inline var* boolean(bool b) { return b ? TRUE_VAR : FALSE_VAR; }

// ---- Shared cores, one per family of members. ----

// Text + text and text - text into the record site chooses.
var* join_text(const Site& site, var* l, var* r, bool move_blanks);
// A new text temporary: text, then r's text; with move_blanks the literal's
// trailing blanks go to the end.
var* join_literal(const char* text, var* r, bool move_blanks);

// The additive tables, shared by the value and the text-literal members.
var* add_values(var* l, var* r, int assign);
var* sub_values(var* l, var* r, int assign);

}  // namespace vl::ops
