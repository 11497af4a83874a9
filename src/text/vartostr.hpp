// vartostr.hpp -- the text the ? command shows for a value.
#pragma once

#include <cstddef>

#include "var.h"

namespace vl {

// Write the display text of v into buf (size bytes, NUL-terminated,
// truncated if needed) and return its full length.  Numbers show as STR
// gives them, dates by the SET DATE format, logicals ".T." and ".F.", NIL
// "NIL", arrays and objects "{...}", blocks "{||...}".
size_t vartostr(var* v, char* buf, size_t size);

}  // namespace vl
