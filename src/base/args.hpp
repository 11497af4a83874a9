// args.hpp -- reading the arguments of language functions and
// building their text results.
//
// Counts and positions come from doubles that a program may make as large,
// as small or as odd (NaN) as it likes; `count_arg` brings every such value
// into a range where the callers' arithmetic cannot overflow, without
// changing any value a real text could need.
//
// Text results are temporaries that own a buffer of exactly the result's
// length plus the terminator.  `new_text` hands the buffer out to be filled
// in place, so a result is written once and never copied.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "letters.hpp"
#include "runtime.h"
#include "var.h"
#include "vlerror.h"

namespace vl::args {

// Argument i, or null when the call has fewer.
inline var* arg(int argc, var** argv, int i) { return i < argc ? argv[i] : nullptr; }

inline bool is_text(const var* v) { return v && vl::kCM.has(v->Type); }
inline bool is_number(const var* v) { return v && vl::kNFIL.has(v->Type); }

// The type letter of an argument for messages; 'U' when it is missing.
inline char type_of(const var* v) { return v ? v->Type : 'U'; }

// The bytes of a text value (Length counts the terminator).
inline std::string_view text(const var* v)
{
  return {v->Value.w1.str, v->Length > 0 ? static_cast<size_t>(v->Length - 1) : 0};
}

// Copy the bytes of s to dst; an empty view may have no data at all.
inline void put_bytes(char* dst, std::string_view s)
{
  if (!s.empty()) std::memcpy(dst, s.data(), s.size());
}

// Counts beyond this are all "more than any text holds".
constexpr int64_t kCountLimit = int64_t{1} << 40;

// A numeric argument as a whole count, truncated toward zero and held
// within +-kCountLimit; NaN counts as 0.
inline int64_t count_of(double d)
{
  if (std::isnan(d)) return 0;
  if (d > static_cast<double>(kCountLimit)) return kCountLimit;
  if (d < -static_cast<double>(kCountLimit)) return -kCountLimit;
  return static_cast<int64_t>(d);
}

// The value of numeric argument v as a count (v in "NFIL").
inline int64_t count_arg(var* v)
{
  return v->Type == 'I' || v->Type == 'L' ? v->Value.w1.i : count_of(v->Value.w1.d);
}

// Reports 312 for a function of two arguments given the wrong kinds:
// "FNAME(): arguments should be WANT, not 'A, B'" with the type letters.
void report_pair_type(const char* fname, const char* want, const var* a, const var* b);

// A new text temporary of n bytes to be filled by the caller; the buffer
// is terminated.  A length above VLN_MAX_TEXT reports 319 naming the
// function fname and gives null, as does a failed allocation.
char* new_text(int64_t n, var** out, const char* fname = "text");

// A text built piece by piece in a buffer of its own, for results whose
// size is known only at the end.  Plain data: it holds no destructor, so
// no error report can skip its release; finish_text releases or adopts it.
struct TextBuilder {
  char* buf = nullptr;
  size_t len = 0;
  size_t cap = 0;
  bool too_long = false;
  bool no_memory = false;
};

// Make room for at least n bytes in all; false once the text has failed.
bool reserve_text(TextBuilder& tb, size_t n);
// Append n bytes; false once the text has failed.
bool append_text(TextBuilder& tb, const char* p, size_t n);
// The built text as a temporary that takes over the buffer; after a
// failure the buffer is freed, the failure reported (319, or 301 naming
// fname) and "" given.
var* finish_text(TextBuilder& tb, const char* fname);

// A text temporary holding a copy of the n bytes at p.
var* text_result(const char* p, size_t n);
inline var* text_result(std::string_view s) { return text_result(s.data(), s.size()); }

}  // namespace vl::args
