/*
** vartostr.h -- the text the ? command shows for a value.
*/
#ifndef VL_VARTOSTR_H
#define VL_VARTOSTR_H

#include <stddef.h>

#include "var.h"

VL_BEGIN_DECLS

/* Write the display text of v into buf (size bytes, NUL-terminated,
** truncated if needed) and return its full length.  Numbers show as STR
** gives them, dates by the SET DATE format, logicals ".T." and ".F.", NIL
** "NIL", arrays and objects "{...}", blocks "{||...}". */
size_t vartostr(var* v, char* buf, size_t size);

VL_END_DECLS

#endif /* VL_VARTOSTR_H */
