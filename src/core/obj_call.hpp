// Calling the methods of an object: checks, the method array and the one
// place that turns a stored method word back into a call.
#pragma once

#include "objects.h"

namespace vlobj {

// True for 'O' and 'u'; otherwise reports 317 and gives false.
bool check_object(var* obj);
// The running frame's method level, or no limit outside any function.
int32_t super_level();
// Element index of obj's method array, or null when there is none.
var* method_element(var* obj, int32_t index);
// True when elem is a block whose function is neither missing nor a stub.
bool is_linked(const var* elem);
// Run method elem of the given kind with the arguments head[0..nhead-1]
// followed by rest[0..nrest-1] (head[0] the object).  Argument vectors that
// must be built are released even when the method BREAKs.
var* invoke(var* elem, int kind, var** head, int nhead, var** rest, int nrest);
// Report code with text formatted from fmt and two strings; NIL_VAR.
var* report2(int code, const char* fmt, const char* a, const char* b);

}  // namespace vlobj
