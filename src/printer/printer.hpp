// printer.hpp -- the printer head itself, which printer output moves.
#pragma once

#include "printer.h"

namespace vl {

// The printer head: row and column, 0 at the top left of a page.
extern int _prt_row;
extern int _prt_col;

}  // namespace vl
