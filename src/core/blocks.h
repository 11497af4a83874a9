/*
** blocks.h -- running code blocks.
**
** A compiled block ('B') holds a function and, in its array record, the
** detached variables: the locals of the enclosing function it refers to,
** each held with a raised link so that they outlive that function.  A macro
** block ('b') holds its text, "{|params| list}", in its array record and is
** run by the expression evaluator (evaluator.h), which caches the parsed
** form.
*/
#ifndef VL_BLOCKS_H
#define VL_BLOCKS_H

#include "var.h"

VL_BEGIN_DECLS

/* The body of a compiled block: its arguments and its detached variables.
** Like any language function it opens a frame. */
typedef var* (*BlockFn)(int argc, var** argv, var** avec);

/* EVAL(block, args...): runs a block with the arguments; 311 without an
** argument, 312 for a non-block, both giving NIL_VAR. */
var* _bb_eval(int argc, var** argv);
/* The same with no arguments, for host code. */
var* vlnBlockEval(var* block);
/* 1 when the block's result is a true logical or non-zero number; 0 for
** anything else, a non-block included (silently). */
int vlnTrueBlockEval(var* block);

VL_END_DECLS

#endif /* VL_BLOCKS_H */
