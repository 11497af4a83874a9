/*
** calls.h -- calling language functions by name, CALL of plain host
** routines, and the repair after a BREAK.
*/
#ifndef VL_CALLS_H
#define VL_CALLS_H

#include <setjmp.h>

#include "frame.h"
#include "var.h"

VL_BEGIN_DECLS

/* ---- Calls by name. ---- */

/* The function of that name; unknown names report 308 and give the NIL
** block's function, which is safe to call. */
BbFn vln_funcall(const char* name);
/* Call fn from host code with the arguments that follow, closed by
** (var*)0.  More than 30 arguments report 402; a null result 320. */
var* simplfun(int argc, BbFn fn, ...)
#if defined(__GNUC__)
    __attribute__((sentinel))
#endif
    ;
/* CALL: a plain host routine with raw machine words (at most 8). */
var* vln_docall(AnyFn fn, int argc, var** argv);
/* WORD(n): the 'W' value for CALL. */
var* _bb_word(int argc, var** argv);

/* ---- After a BREAK. ---- */

/* Make frame f current again and pop the PRIVATEs above it. */
void vln_after_break(frame* f);
/* Release the statement's temporaries and restore glob_sequencebuf. */
void vln_cleanup(jmp_buf* saved);

VL_END_DECLS

#endif /* VL_CALLS_H */
