// valrec.hpp -- kernel-internal helpers on value records: allocation from
// the record pool, ownership by the case of Mode, and releasing content.
#pragma once

#include <cctype>
#include <cstring>

#include "letters.hpp"
#include "pool.hpp"
#include "var.h"

namespace vl {

inline bool is_static(const var* v) { return (v->Flags & VF_STATIC) != 0; }

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
inline bool has_content(const var* v)
{
  constexpr uint64_t kContent = word_of("CMAOBbS");
  return in_word(kContent, v->Type);
}

// Free v's content (string buffer it owns, array-record link, window it
// owns) and leave it NIL-typed with a zero value.  No strict-type check.
void release_content(var* v);

// Copy src's content into the fresh, content-free record dst: strings get
// their own buffer, shared records a raised link, owned windows a duplicate.
// Type, Decimals, Length and Value are written; Mode becomes upper case when
// dst now owns a buffer.
void copy_content(var* dst, const var* src);

// A new array record of n null elements (the caller fills them).
ArrRec* arr_alloc(uint32_t n);

}  // namespace vl
