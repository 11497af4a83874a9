// kernel.hpp -- the kernel's services to the library alone: memory
// variables by name, function names and keyword tables.
#pragma once

#include "kernel.h"

// The library's own tables, generated at build time.
extern "C" {
extern const VlnFnRec vln_lib_ftab[];
extern const VlnVarRec vln_lib_vtab[];
extern const VlnIniRec vln_lib_itab[];
}

namespace vl {

// ---- Memory variables. ----

// RELEASE of one memory variable: it becomes undefined.
void release_var(const char* name, int flag);
// Release all memory variables the program created.
void clear_mvs(int flag);

// ---- Names. ----

// The full name of a function the language accepts cut to four or more
// letters ("subs" -> "substr"); any other name as it stands.
const char* short_fun(const char* name);

// A keyword table entry; a table ends with a null or empty name.
struct VlnKeyword {
  const char* name;
  int value;
};

// The value of the first keyword that text (trimmed, folded) abbreviates:
// the text's length n is at least min or the whole keyword.  -1 for none.
int get_tok(const char* text, const VlnKeyword* table, int min);

}  // namespace vl
