// tmpstack.hpp -- the temporary stack's fast paths, inline for the kernel
// and the operators.
//
// tmp_slots has one entry more than the stack's capacity, and that last
// entry is always null.  A slot at or above tmpvar_cnt holds either null or
// a spare record: a released temporary that held a plain scalar and no
// other link, kept for the next temporary made at that height (see
// tmpstack.cpp).  So one load answers both "is there room" and "is there a
// record": a non-null slot at the top can be taken as it is, and a null one
// sends the caller to cre_tmpvar, which grows the stack or allocates.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame.h"
#include "var.h"

namespace vl {

// The slots of the temporary stack (owned by tmpstack.cpp).
extern var** tmp_slots;

// Push the spare record waiting at the top of the stack and return it, or
// return null and change nothing when there is none.  The record still
// holds its old fields except Links, which is 1: the caller writes every
// other field, as tmp_fill does.
[[gnu::always_inline]] inline var* tmp_take_spare()
{
  const int32_t n = tmpvar_cnt;
  var* v = tmp_slots[n];
  if (__builtin_expect(v != nullptr, 1)) tmpvar_cnt = n + 1;
  return v;
}

// The first eight bytes of a record: its tag (Type, Mode, Decimals, Flags;
// see valrec.hpp) and its Length, as one word.
constexpr uint64_t header_of(uint32_t tag, int32_t length)
{
  return tag | static_cast<uint64_t>(static_cast<uint32_t>(length)) << 32;
}

// Write every field of a spare record taken by tmp_take_spare: a temporary
// of the given header (its Mode 'T'), Links 1, no variable index, declared
// at the current depth, value word 1 `word` and word 2 zero.
[[gnu::always_inline]] inline void tmp_fill(var* v, uint64_t header, uint64_t word)
{
  static_assert(offsetof(var, Links) == 8 && offsetof(var, D_level) == 16 &&
                offsetof(var, Value) == 24 && sizeof(var) == 40);
  const uint64_t links = 1;  // Links 1, V_indx 0
  const uint64_t level = static_cast<uint32_t>(glob_depth);
  auto* p = reinterpret_cast<unsigned char*>(v);
  __builtin_memcpy(p, &header, 8);
  __builtin_memcpy(p + 8, &links, 8);
  __builtin_memcpy(p + 16, &level, 8);
  __builtin_memcpy(p + 24, &word, 8);
  v->Value.w2.bits = 0;
}

}  // namespace vl
