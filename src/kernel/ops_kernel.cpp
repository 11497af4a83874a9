// ops_kernel.cpp -- the four operators the kernel holds: <= and >= of two
// values, = of a value and a text literal, and > of a numeric literal and a
// value.  They follow the rules of their siblings in the library, each with
// its own error text.
#include "ops_common.hpp"

using vl::ops::compare_number;
using vl::ops::compare_text;
using vl::ops::compare_values;

extern "C" {

var* u_leq_u(var* l, var* r) { return compare_values(l, r, vl::ops::kLe); }
var* u_geq_u(var* l, var* r) { return compare_values(l, r, vl::ops::kGe); }
var* u_equ_c(var* l, const char* text) { return compare_text(text, l, false, vl::ops::kEq); }
var* n_gt_u(double d, var* r) { return compare_number(d, r, vl::ops::kGtSaysLess); }

}  // extern "C"
