// exprexec.hpp -- running a compiled expression.
#pragma once

#include <cstdint>

#include "exprtree.hpp"

namespace vl::expr {

// The state of one run: the program, the parameters of the block being
// run (its locals), and the error count at the start, so that with errstat
// off the run stops at the first error.
struct Ctx {
  const Program* prog;
  var** params;
  uint32_t err_mark;
};

// The value of node i: a record of the program, a variable, element or
// field record itself, a temporary, or a constant.  Never null.
var* eval_node(const Ctx& ctx, int32_t i);

// l bin r through the operator entry point for bin (assign: the compound
// assignment form); ERROR_VAR for Bin::None.
var* binary(Bin bin, var* l, var* r, int assign);

// Whether the run must stop: an error was reported while errstat is off.
bool stopped(const Ctx& ctx);

}  // namespace vl::expr
