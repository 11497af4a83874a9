/*
** evaluator.h -- the expression evaluator and the bridge from macro text
** to names, functions, values and blocks.
**
** The evaluator compiles a text once (compiled forms are cached by text)
** and runs it through the same operator entry points and calls as compiled
** code.  Macro expansion replaces "&name" and "&name." by the text of the
** character memory variable name.
*/
#ifndef VL_EVALUATOR_H
#define VL_EVALUATOR_H

#include <stddef.h>
#include <stdint.h>

#include "var.h"

VL_BEGIN_DECLS

/* Compile and run expression text.  A text naming a variable, an element or
** a field gives that record itself, so that assignment through a macro
** works; otherwise a temporary or a constant.  Blank text gives NIL
** silently.  Errors are reported (309 syntax, 307 unknown name, 308 unknown
** function, 202 a macro left in the text) and give ERROR_VAR. */
var* exp_eval(const char* text);
/* Run the 'b' block in argv[0] with argv[1..argc-1] as its parameters. */
var* exp_evalb(int argc, var** argv);
/* The same with the block apart from its arguments. */
var* vln_run_macro_block(var* block, int argc, var** argv);

/* Expand the macro references of text into buffer (size bytes, flag 1 at
** every call site) and return buffer; surrounding blanks are removed. */
char* exp_pp(const char* text, char* buffer, size_t size, int flag);
/* Text of an argument that may be a file name or an expression: a text
** opening with "(" is evaluated and must give a string; otherwise the macro
** references are expanded.  Result in a buffer of size bytes, returned. */
char* filorexp(const char* text, int size);
/* Macro substitution of text (its &name references) as a 'C' temporary. */
var* vlnCMxV(const char* text, int n);
/* The value forms of the same bridge, for the bulk database commands. */
var* vlnVMxC(var* v, int n);
var* vlnVMxV(var* v, int n);
/* The record macro text names for an assignment (&name := value): an
** element or aliased field when the text holds one, else a field of the
** selected area, else the memory variable (made PRIVATE when new). */
var* vlnGetLHSVar(const char* text);
/* A 'b' block for the expression text: exp_eval("{|| text }"). */
var* vlnMakeCB(const char* text);

/* PRIVATE &name and PUBLIC &name: declare the name that text expands to. */
int32_t vln_macro_declare(const char* text);
int32_t vln_macro_public(const char* text);
/* The function whose name text expands to; unknown names report 308 and
** give the NIL block's function. */
BbFn macrofun(const char* text);
/* o:&name(...): send the method whose name text expands to. */
var* vlnNoDoMacroMethod(const char* text, int32_t level, int argc, var** argv);

VL_END_DECLS

#endif /* VL_EVALUATOR_H */
