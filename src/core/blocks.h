/*
** blocks.h -- code blocks and the bridge from macro text to values.
**
** A compiled block ('B') holds a function and, in its array record, the
** detached variables: the locals of the enclosing function it refers to,
** each held with a raised link so that they outlive that function.  A macro
** block ('b') holds its text, "{|params| list}", in its array record and is
** run by the expression evaluator, which caches the parsed form.
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
/* A 'b' block for the expression text: exp_eval("{|| text }"). */
var* vlnMakeCB(const char* text);

/* ---- The expression evaluator. ---- */

/* Compile (once: compiled forms are cached by text) and run expression
** text.  A text naming a variable, an element or a field gives that record
** itself, so that assignment through a macro works; otherwise a temporary
** or a constant.  Blank text gives NIL silently.  Errors are reported
** (309 syntax, 307 unknown name, 308 unknown function, 202 a macro left in
** the text) and give ERROR_VAR. */
var* exp_eval(const char* text);
/* Run the 'b' block in argv[0] with argv[1..argc-1] as its parameters. */
var* exp_evalb(int argc, var** argv);
/* How many texts the evaluator has compiled so far (a text compiles once;
** later runs take the cached form). */
extern uint64_t vln_expr_compile_count;
/* The same with the block apart from its arguments. */
var* vln_run_macro_block(var* block, int argc, var** argv);
/* Text of an argument that may be a file name or an expression: a text
** opening with "(" is evaluated and must give a string; otherwise the macro
** references are expanded.  Result in a buffer of size bytes, returned. */
char* filorexp(const char* text, int size);
/* Macro substitution of text (its &name references) as a 'C' temporary. */
var* vlnCMxV(const char* text, int n);
/* The value forms of the same bridge, for the bulk database commands. */
var* vlnVMxC(var* v, int n);
var* vlnVMxV(var* v, int n);

VL_END_DECLS

#endif /* VL_BLOCKS_H */
