// ops_text.cpp -- the text operators: + and - on texts, and subset $.
//
// Text + text is the two texts one after the other.  Text - text keeps the
// total length but moves the left text's trailing blanks behind the right
// text: "abc   " - "de" is "abcde   ".  The result is always 'C' (a strictly
// typed record keeps its own text letter).
//
// Buffers.  When the result record is the left operand and owns its buffer
// (a temporary, or a variable under compound assignment) that buffer grows
// by one reallocation, so a chain of concatenations does not copy from
// scratch each time; otherwise a new buffer is built and the record comes
// to own it.  Trailing blanks are measured, never cut in place, so a
// borrowed or literal left text is never written.  A right text that lies
// in the left buffer (s + s) is found again after the reallocation.
#include <cstring>

#include "kernel.h"
#include "operators.hpp"
#include "ops_common.hpp"
#include "vlerror.hpp"

using namespace vl;
using namespace vl::ops;

namespace {

constexpr const char* kModule = "ops_text";
constexpr const char* kSubsetText = "only character can do subset '$' on character";
constexpr int kPurposeCharExpr = 43;  // "during character expression evaluation"
constexpr char kBlank = ' ';
constexpr int32_t kNotFound = -1;

// Length of t without its trailing blanks.
int32_t trimmed(Text t)
{
  while (t.n > 0 && t.p[t.n - 1] == kBlank) --t.n;
  return t.n;
}

// The text letter a result record takes.
char text_type(const var* res)
{
  return kModeStrict.has(res->Mode) && kCM.has(res->Type) ? res->Type : 'C';
}

// Finish buf[0..n): the right text is already at keep, blanks fill the rest.
void pad_and_close(char* buf, int32_t from, int32_t n)
{
  std::memset(buf + from, kBlank, static_cast<size_t>(n - from));
  buf[n] = '\0';
}

void install(var* res, char type, char* buf, int32_t n)
{
  res->Type = type;
  res->Decimals = 0;
  res->Length = n + 1;
  res->Value.w1.str = buf;
}

// The result is the left operand, which owns a; grow it in place.
var* grow_left(var* l, Text a, int32_t keep, Text b)
{
  const int32_t n = a.n + b.n;
  const auto base = reinterpret_cast<uintptr_t>(a.p);
  const auto right = reinterpret_cast<uintptr_t>(b.p);
  const bool inside = right >= base && right <= base + static_cast<uintptr_t>(a.n);
  auto* buf = static_cast<char*>(vln_realloc(l->Value.w1.str, static_cast<size_t>(n) + 1,
                                             vln_errmsg[kPurposeCharExpr], VL_SEV_RUNTIME,
                                             VL_LEVEL_ALWAYS, kModule, __LINE__));
  if (!buf) return ERROR_VAR;
  const char* src = inside ? buf + (right - base) : b.p;
  std::memmove(buf + keep, src, static_cast<size_t>(b.n));
  pad_and_close(buf, keep + b.n, n);
  install(l, text_type(l), buf, n);
  return l;
}

// Build a new buffer and make res own it.
var* build(var* res, Text a, int32_t keep, Text b)
{
  const int32_t n = a.n + b.n;
  auto* buf = static_cast<char*>(vln_malloc(static_cast<size_t>(n) + 1,
                                            vln_errmsg[kPurposeCharExpr], VL_SEV_RUNTIME,
                                            VL_LEVEL_ALWAYS, kModule, __LINE__));
  if (!buf) return ERROR_VAR;
  std::memcpy(buf, a.p, static_cast<size_t>(keep));
  std::memcpy(buf + keep, b.p, static_cast<size_t>(b.n));
  pad_and_close(buf, keep + b.n, n);
  const char type = text_type(res);
  if (release_v_cont(res, type) == ERROR_VAR) {
    vln_free(buf, kModule, __LINE__);
    return ERROR_VAR;
  }
  install(res, type, buf, n);
  own_mode(res);
  return res;
}

var* contains(Text needle, Text hay)
{
  return boolean(subset0(needle.p, hay.p, needle.n, hay.n) != kNotFound);
}

}  // namespace

namespace vl::ops {

var* join_text(const Site& site, var* l, var* r, bool move_blanks)
{
  const Text a = text_of(l);
  const Text b = text_of(r);
  const int32_t keep = move_blanks ? trimmed(a) : a.n;
  var* res = site.choose();
  return res == l && owns(l) ? grow_left(l, a, keep, b) : build(res, a, keep, b);
}

var* join_literal(const char* text, var* r, bool move_blanks)
{
  const Text a = text_of(text);
  return build(cre_tmpvar(), a, move_blanks ? trimmed(a) : a.n, text_of(r));
}

}  // namespace vl::ops

extern "C" {

// "text" + r: a new temporary; r must be text.
var* c_add_u(const char* text, var* r)
{
  if (!kCM.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, kConcatText);
  return join_literal(text, r, false);
}

// "text" - r: a new temporary with the literal's trailing blanks at the end.
var* c_sub_u(const char* text, var* r)
{
  if (!kCM.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, kConcatText);
  return join_literal(text, r, true);
}

}  // extern "C"

namespace vl {

int32_t subset0(const char* needle, const char* hay, int32_t nl, int32_t hl)
{
  if (nl < 1 || hl < 1 || nl > hl) return kNotFound;
  const void* at = memmem(hay, static_cast<size_t>(hl), needle, static_cast<size_t>(nl));
  return at ? static_cast<int32_t>(static_cast<const char*>(at) - hay) : kNotFound;
}

}  // namespace vl

extern "C" {

// "text" $ r.
var* c_in_u(const char* text, var* r)
{
  if (!kCM.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, kSubsetText);
  return contains(text_of(text), text_of(r));
}

// l $ "text".
var* u_in_c(var* l, const char* text)
{
  if (!kCM.has(l->Type)) return fail(VL_E_TYPE_MISMATCH, kSubsetText);
  return contains(text_of(l), text_of(text));
}

// l $ r.
var* u_in_u(var* l, var* r)
{
  if (!kCM.has(l->Type) || !kCM.has(r->Type)) return fail(VL_E_TYPE_MISMATCH, kSubsetText);
  return contains(text_of(l), text_of(r));
}

}  // extern "C"
