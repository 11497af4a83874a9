// frame.hpp -- the variable stack that PRIVATE declarations push onto.
#pragma once

#include <cstdint>

#include "frame.h"

namespace vl {

// One entry of the variable stack: a shadowed memory variable.
struct VarStackEntry {
  uint32_t Index;      // name-table index of the shadowed variable
  int32_t SavedLevel;  // D_level of the shadowed record
  uint32_t SavedIndx;  // V_indx the new record had before install
  int32_t NewLevel;    // D_level the new record had before install
  var* Saved;          // the shadowed record (one link held here)
};

extern VarStackEntry* var_stack;
// Index of the top entry, -1 when empty.
extern int32_t cur_var_stack;

// Empty every shadowed variable (CLEAR MEMORY).
void redo_varstack(void);

}  // namespace vl
