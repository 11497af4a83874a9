// listing.cpp -- LIST/DISPLAY, and the COUNT, SUM, AVERAGE and GETARRAY methods.
#include "bulk.h"
#include "bulkint.hpp"
#include "kernel.h"

VLN_FUNC(__dblist) { return FALSE_VAR; }

namespace vlbulk {
var* count_me(int argc, var** argv) { return set_Iv(0); }
var* sum_me(int argc, var** argv) { return set_Iv(0); }
var* average_me(int argc, var** argv) { return set_Iv(0); }
var* getarray_me(int argc, var** argv) { return NIL_VAR; }
}  // namespace vlbulk
