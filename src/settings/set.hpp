// set.hpp -- the operations behind SET and VL_Set, one per kind of
// setting, for the library's own callers.
#pragma once

#include "set.h"

// The value that leaves a numeric setting unchanged.
#define VL_SET_NOCHANGE (-9999)
// Offset added to n by callers of _cgetsetstr for the additive form.
#define VL_SET_ADDITIVE 100

namespace vl {

// Logical setting n: value 0 or 1 sets, 2 only reads.  Returns the former
// value as 0 or 1, or -1 when n is no logical setting.
int _cgetseton(int value, int n);
// Numeric setting n: value or VL_SET_NOCHANGE.  Returns the former value,
// or VL_SET_NOCHANGE when n is no numeric setting.
int _cgetsetnum(int n, int value);
// Text setting n (+VL_SET_ADDITIVE: additive), text or null to only read.
// Returns the former text in a buffer valid until the next call, or null
// when n is no text setting.
const char* _cgetsetstr(int n, const char* text);
// The logical extension switch in vl_set_flag[slot]; a true value clears
// slot excl unless excl is negative.  count is VL_Set's argument count.
// Returns the former value as a logical.
var* vl_setlogic(int count, var* value, int slot, int excl);
// Replace the printer sequences by the texts of the array argv[0], when
// given; returns an array of the seven former texts.
var* vl_prset(int argc, var** argv);

}  // namespace vl
