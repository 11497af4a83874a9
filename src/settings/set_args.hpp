// set_args.hpp -- how SET and VL_Set read their arguments and make their
// results.
//
// A setting takes a value of its own kind or one that stands for it: the
// texts "ON" and "OFF" count as logical true and false (their first four
// characters, trimmed and upper-cased), a number stands as a logical (not 0
// is true), and a logical stands as a number by its sign (true 1, false -1).
#pragma once

#include "var.h"

namespace vlset {

// argv[i] exists and is not NIL.
bool present(int argc, var** argv, int i);
// The text of a 'C'/'M' value, null for any other.
const char* text_of(const var* v);
// 1 for "ON", 0 for "OFF", -1 for any other text.
int on_off(const char* text);
// A value that stands as a logical: stored in *out; false when it doesn't.
bool as_logical(var* v, int* out);
// A value that stands as a number: stored in *out; false when it doesn't.
bool as_number(var* v, int* out);
// A temporary holding its own copy of text.
var* text_result(const char* text);
// A temporary array of n NIL elements, or NIL_VAR when it cannot be made.
var* array_result(uint32_t n);

}  // namespace vlset
