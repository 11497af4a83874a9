/*
** frame.h -- call frames, parameters, LOCAL/PRIVATE/PUBLIC, the variable
** stack and calls by name.
**
** A language function keeps one `frame` in its own native stack and links
** it through `old_fn_stack`; a call allocates nothing.  The frame marks how
** far the temporary stack and the variable stack reached at entry, and the
** current floor of the temporary stack (raised by every LOCAL and parameter)
** that the statement-level release spares.
**
** The pattern every language-level function follows (see vlgen.h):
**   1. vln_fn_start(&frame, file, func, line or -1, argc);
**   2. vln_local_param(0, 0, 0, type) per LOCAL, then
**      vln_local_param(argc, i, argv, type) per formal parameter;
**   3. per statement: _vln_signal_n(), the statement,
**      del_tmpvars(frame.TmvNp);
**   4. frame.RetVal = mk_var_cp(value); return vln_fn_end(&frame, type).
**
** PRIVATE variables are dynamically scoped: push_var installs a new record
** as the visible one of a name and remembers the shadowed record on the
** variable stack; pop_vars restores it when the declaring frame ends.
*/
#ifndef VL_FRAME_H
#define VL_FRAME_H

#include <setjmp.h>
#include <stdint.h>

#include "runtime.h"
#include "var.h"

VL_BEGIN_DECLS

typedef struct frame {
  int32_t Line;       /* running source line, -1 without line information */
  int32_t TmvNp;      /* current floor of the temporary stack */
  int32_t TmvAp;      /* temporary stack height at entry */
  int32_t VarCp;      /* current height of the variable stack */
  int32_t TmvLp;      /* variable stack height at entry */
  var* RetVal;        /* return value; NIL_VAR at entry */
  const char* File;   /* module name */
  const char* Func;   /* function name, lower case */
  int32_t Depth;      /* glob_depth before this call */
  uint32_t Params;    /* argc of the call */
  struct frame* Prev; /* the caller's frame */
  int32_t Spare[2];   /* zero at entry; free for the kernel */
  int32_t SuperLevel; /* method-search level; -2 = no restriction */
} frame;

/* Spare[0] bits. */
enum {
  VL_FRAME_BLOCK = 1 /* the frame of a code block's function */
};

/* The running frame, null outside any language function. */
extern frame* old_fn_stack;


/* ---- Frames. ---- */

void vln_fn_start(frame* f, const char* file, const char* func, int32_t line,
                  int argc);
/* Ends the frame; checks the result against the declared type letter
** (201 on mismatch, 'U' for none).  Returns the result, now a temporary of
** the caller. */
var* vln_fn_end(frame* f, int type);

/* ---- Parameters and declarations. ---- */

/* One formal parameter (index < argc) or LOCAL (argc 0).  type: low 7 bits
** the expected letter ('U' none), bit 128 quiet.  Returns the local. */
var* vln_local_param(int argc, int index, var** argv, int type);
/* PARAMETERS: the argument record itself becomes PRIVATE name index. */
void vln_private_param(int32_t index, int argc, int argidx, var** argv);
/* PRIVATE name: a new undefined record unless already made at this depth. */
int32_t vln_declare(int32_t index);
/* PUBLIC name: a new PUBLIC starts as .F.; an existing variable is kept. */
int32_t vln_public(int32_t index);

/* ---- Variable stack. ---- */

/* Install nv as the visible record of name index. */
int32_t push_var(int32_t index, var* nv);
/* Undo pushes down to mark. */
void pop_vars(int32_t mark);

VL_END_DECLS

#endif /* VL_FRAME_H */
