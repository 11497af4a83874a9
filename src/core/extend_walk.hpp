// extend_walk.hpp -- how the Extend functions find the value an address
// names, shared by the readers and the write-back functions.
#pragma once

#include <cstdarg>

#include "var.h"

namespace vlext {

// How many array or object levels an address may descend.
inline constexpr int kMaxLevels = 9;

// The value at argument n (from 1) after the int indices in ap, which end
// at 0.  A field record is refreshed before it is returned.  Null when
// there is no argument n, an index lies outside its array, or a tenth level
// is asked for.
var* walk(int n, va_list ap);

// The type flag of v's Type, without the by-reference bit.
int type_flag(const var* v);

}  // namespace vlext

// Declares `var* v` as the value that argument n and the indices after it
// address (null when none); n must be the last named parameter.
#define VLEXT_ADDRESS(v, n)              \
  var* v;                                \
  do {                                   \
    va_list vlext_ap_;                   \
    va_start(vlext_ap_, n);              \
    v = vlext::walk((n), vlext_ap_);     \
    va_end(vlext_ap_);                   \
  } while (0)
