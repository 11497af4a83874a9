// evaluator.hpp -- the macro bridge from a name text to the variable it
// names.
#pragma once

#include <cstdint>

#include "evaluator.h"

// How many texts the evaluator has compiled so far (a text compiles once;
// later runs take the cached form).
extern "C" uint64_t vln_expr_compile_count;

namespace vl {

// The record now visible under the name that text expands to.  A name that
// is not known prints "'%s' doesn't expand to a defined variable name" to
// standard output, reports 302 and gives a copy of ERROR_VAR.
var* macrovariable(const char* text);
// The same for a 'C' value; any other type reports 201 and gives
// ERROR_VAR.
var* macrovariablev(var* v);

}  // namespace vl
