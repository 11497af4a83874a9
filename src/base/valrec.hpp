// valrec.hpp -- kernel-internal helpers on value records: allocation from
// the record pool, ownership by the case of Mode, and releasing content.
#pragma once

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>

#include "letters.hpp"
#include "pool.hpp"
#include "var.h"

namespace vl {

inline bool is_static(const var* v) { return (v->Flags & VF_STATIC) != 0; }

// The classes of a Type or Mode letter that the hottest tests ask about,
// one bit each, so that a test is one table load and one bit test whatever
// the byte (0 and bytes outside the letters belong to no class).
enum LetterClass : uint8_t {
  LC_CONTENT = 1,        // Type whose content must be released: "CMAOBbS"
  LC_SCALAR = 2,         // Type of a plain scalar: "NFILD"
  LC_SCALAR_NIL = 4,     // the same or NIL: "NFILDU"
  LC_KEEP_MODE_DST = 8,  // Mode a store must honour: strict, field, undefined
  LC_KEEP_MODE_SRC = 16  // Mode a read must honour: field, undefined
};

namespace detail {
constexpr std::array<uint8_t, 256> letter_classes()
{
  std::array<uint8_t, 256> t{};
  const auto mark = [&t](const char* s, uint8_t bit) {
    for (; *s; ++s) t[static_cast<unsigned char>(*s)] |= bit;
  };
  mark("CMAOBbS", LC_CONTENT);
  mark("NFILD", LC_SCALAR);
  mark("NFILDU", LC_SCALAR_NIL);
  mark("SsFfU", LC_KEEP_MODE_DST);
  mark("FfU", LC_KEEP_MODE_SRC);
  return t;
}
}  // namespace detail

inline constexpr std::array<uint8_t, 256> kLetterClass = detail::letter_classes();

inline bool letter_is(char c, LetterClass cls)
{
  return (kLetterClass[static_cast<unsigned char>(c)] & cls) != 0;
}

// ---- The tag: Type, Mode, Decimals and Flags as one word. ----
//
// The operators and the assignment pass a number from record to record in
// a chain (x := x + a * b - c writes x, reads it back in the next
// statement, and so on).  The processor serves a load from the store
// before it fastest when both have the same size and address; a one-byte
// load from inside a wider store waits longer.  So the hot paths read and
// write the first four bytes of a record (Type, Mode, Decimals, Flags) as
// one 32-bit tag.  The empty asm statement keeps the compiler from
// splitting the tag back into byte loads.

inline uint32_t load_tag(const var* v)
{
  uint32_t t;
  std::memcpy(&t, v, sizeof t);
  asm("" : "+r"(t));
  return t;
}
inline void store_tag(var* v, uint32_t t) { std::memcpy(v, &t, sizeof t); }

constexpr char tag_type(uint32_t t) { return static_cast<char>(t & 0xFF); }
constexpr char tag_mode(uint32_t t) { return static_cast<char>(t >> 8 & 0xFF); }
constexpr unsigned tag_flags(uint32_t t) { return t >> 24; }
// Type and Mode together, the low half of a tag, tested in one compare
// against the commonest kinds of record.
constexpr uint16_t tag_kind(uint32_t t) { return static_cast<uint16_t>(t); }
inline constexpr uint16_t kNumberTemp = VLN_TAG_NUMBER_TEMP;    // an 'N' temporary
inline constexpr uint16_t kNumberLocal = VLN_TAG_NUMBER_LOCAL;  // an 'N' LOCAL
// The bytes of a tag that belong to the value (Type and Decimals), and those
// that belong to the record (Mode and Flags).
inline constexpr uint32_t kTagValueBytes = VLN_TAG_VALUE_BYTES;
inline constexpr uint32_t kTagRecordBytes = ~kTagValueBytes;

// Whether v owns its content: an upper-case Mode, never a field record and
// never a constant.
inline bool owns(const var* v)
{
  return std::isupper(static_cast<unsigned char>(v->Mode)) && v->Mode != 'F' &&
         !is_static(v);
}

inline void own_mode(var* v)
{
  if (v->Mode != 'f')
    v->Mode = static_cast<char>(std::toupper(static_cast<unsigned char>(v->Mode)));
}

inline void borrow_mode(var* v)
{
  v->Mode = static_cast<char>(std::tolower(static_cast<unsigned char>(v->Mode)));
}

inline bool is_field(const var* v) { return kModeField.has(v->Mode); }

// Whether v's content needs releasing at all: an owned string, a shared
// record, or a window.
inline bool has_content(const var* v) { return letter_is(v->Type, LC_CONTENT); }

// Free v's content (string buffer it owns, array-record link, window it
// owns) and leave it NIL-typed with a zero value.  v is NIL before the
// content goes, so an axit that the release runs finds it so.  No
// strict-type check.
void release_content(var* v);

// Copy src's content into the fresh, content-free record dst: strings get
// their own buffer, shared records a raised link, owned windows a duplicate.
// Type, Decimals, Length and Value are written; Mode becomes upper case when
// dst now owns a buffer.
void copy_content(var* dst, const var* src);

// A new array record of n null elements (the caller fills them).
ArrRec* arr_alloc(uint32_t n);

}  // namespace vl
