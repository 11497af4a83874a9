// vlerror.hpp -- the error table itself and the recursion guard of the
// reporting routines.
#pragma once

#include "vlerror.h"

extern "C" {

// The error table, by code.  A reserved name, so it keeps C linkage like
// the other double-underscore words of the run state.
#define VL_ERR_ROWS 1000
extern VlnErrRow __error_report[VL_ERR_ROWS];

// The fixed purpose and message texts, by row.
#define VL_ERRMSG_ROWS 86
extern const char* const vln_errmsg[VL_ERRMSG_ROWS];

}  // extern "C"

namespace vl {

// Recursion guard: on = 1 enters a report, 0 leaves it.
void err_check_recursion(int on);

}  // namespace vl
