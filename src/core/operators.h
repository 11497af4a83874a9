/*
** operators.h -- the operator entry points.
**
** Generated code calls one small function per operator, chosen at
** translation time by the kinds of its operands:  <left>_<op>_<right>, with
**
**   c  a string literal          const char*, NUL-terminated
**   n  a numeric literal         double (plus its decimals for the additive
**                                and multiplying members)
**   l  a logical literal         int, 0 or 1
**   u  any value                 var*
**
** Where the result goes.  An arithmetic member overwrites its left operand
** when that is a temporary ('T'), or when `assign` is set and the left
** operand's Mode allows an in-place store ("NVLS", "NVLSnvls" for the
** string members); otherwise it overwrites a temporary right operand (never
** a text one for + and -), otherwise it makes one new temporary.  So an
** expression chain of any length makes no new temporary after the first.
** For n_add_u and n_mul_u the right operand takes the left one's part.
**
** Compound assignment.  With `assign` non-zero (x += y) the target (the
** left operand; the right one for n_add_u and n_mul_u) is the destination:
** a result that did not land in it is assigned to it with cpy_var, which
** writes fields through the field store, and the target is returned.
**
** Results.  Arithmetic gives the chosen record, or ERROR_VAR after a
** reported error (ZERO_VAR where a rule says so).  Comparisons and logical
** operators give the constant records TRUE_VAR and FALSE_VAR and allocate
** nothing.  No result is ever freed by the caller; temporaries die at the
** next statement boundary.
*/
#ifndef VL_OPERATORS_H
#define VL_OPERATORS_H

#include <stdint.h>

#include "var.h"

VL_BEGIN_DECLS

/* ---- Addition and subtraction. ----
** +: text + text concatenates (Type 'C'); date + number moves the date;
** number + date likewise; numeric + numeric is 'N' with the larger
** Decimals, or a 32-bit wrapping 'I' sum when both are 'I' or 'L'.
** -: text - text moves the left text's trailing blanks to the end; date -
** date is 'N' days (SET DECIMALS); date - number is a date; numeric -
** numeric as for +.  A logical operand is allowed (902 warning); a left
** operand of any other type gives the chosen record unchanged. */
var* u_add_u(var* l, var* r, int assign);
var* u_add_c(var* l, const char* text, int assign);
/* A new text temporary: text followed by r's text; r must be text. */
var* c_add_u(const char* text, var* r);
/* d + r; an 'I' r gives 'I' when dec is 0 or r is strictly typed. */
var* n_add_u(double d, int dec, var* r, int assign);

var* u_sub_u(var* l, var* r, int assign);
var* u_sub_c(var* l, const char* text, int assign);
/* l - d: date, integer (dec 0 or strictly typed l) or numeric. */
var* u_sub_n(var* l, double d, int dec, int assign);
var* c_sub_u(const char* text, var* r);
/* d - r: 'I' when r is 'I' and dec is 0, else 'N'. */
var* n_sub_u(double d, int dec, var* r);

/* ---- Multiplication, division, modulo, power. ----
** Operands must be numeric or logical (202).  * of two 'I' is a wrapping
** 'I', else 'N' with the sum of the Decimals.  / is always 'N' with SET
** DECIMALS; a zero divisor gives ZERO_VAR (902 warning).  % of two 'I' is
** the C remainder (divisor -1 gives 0), else fmod as 'N'; a zero divisor
** reports 205 and gives ZERO_VAR, as does a non-numeric operand.  ** of two
** 'I' is 'I' truncated, else 'N' with SET DECIMALS. */
var* u_mul_u(var* l, var* r, int assign);
/* dec -1 stands for SET DECIMALS. */
var* n_mul_u(double d, int dec, var* r, int assign);
var* u_div_u(var* l, var* r, int assign);
var* u_div_n(var* l, double d, int assign);
var* n_div_u(double d, var* r);
var* u_mod_u(var* l, var* r, int assign);
var* u_mod_n(var* l, double d, int assign);
var* n_mod_u(double d, var* r);
var* u_pow_u(var* l, var* r, int assign);
/* 'I' only for an 'I' l that is strictly typed. */
var* u_pow_n(var* l, double d, int dec, int assign);
var* n_pow_u(double d, var* r);

/* Unary minus of a numeric or logical value, into v when it is 'T'. */
var* minus_u(var* v);

/* ---- Logic.  Short-circuiting is the caller's; these only combine. ---- */

/* The truth of a condition: non-zero for true; 202 and 0 when v is not
** numeric or logical. */
int if_u(var* v);
var* not_u(var* v);
/* b .AND. v: FALSE_VAR for a false b, else v itself. */
var* l_and_u(int b, var* v);
/* b .OR. v: TRUE_VAR for a true b, else v itself. */
var* l_or_u(int b, var* v);
/* l .AND. r: only l is tested; FALSE_VAR for a false l, else r itself. */
var* u_and_u(var* l, var* r);
/* l .OR. r: both are tested; TRUE_VAR for a true l, else r itself. */
var* u_or_u(var* l, var* r);

/* ---- Comparisons: TRUE_VAR, FALSE_VAR, or ERROR_VAR after an error. ----
** Texts compare through the national collation under SET EXACT; with EXACT
** off a longer left text equals its prefix and anything equals "".  ==
** needs equal lengths.  Arrays, objects, blocks and screens compare by
** identity.  NIL equals only NIL in =, == and #.  u_equ_c, u_leq_u,
** u_geq_u and n_gt_u belong to the kernel. */
var* c_equ_c(const char* a, const char* b);
var* u_equ_c(var* l, const char* text);
var* u_equ_u(var* l, var* r);
var* n_equ_u(double d, var* r);
var* l_equ_u(int b, var* r);

var* c_eequ_u(const char* text, var* r);
var* u_eequ_u(var* l, var* r);

var* c_neq_c(const char* a, const char* b);
var* c_neq_u(const char* text, var* r);
var* u_neq_c(var* l, const char* text);
var* u_neq_u(var* l, var* r);
var* n_neq_u(double d, var* r);
var* l_neq_u(int b, var* r);

var* c_lt_c(const char* a, const char* b);
var* c_lt_u(const char* text, var* r);
var* u_lt_c(var* l, const char* text);
var* u_lt_u(var* l, var* r);
var* n_lt_u(double d, var* r);
var* l_lt_u(int b, var* r);

var* c_leq_c(const char* a, const char* b);
var* c_leq_u(const char* text, var* r);
var* u_leq_c(var* l, const char* text);
var* u_leq_u(var* l, var* r);
var* n_leq_u(double d, var* r);
var* l_leq_u(int b, var* r);

var* c_gt_c(const char* a, const char* b);
var* u_gt_c(var* l, const char* text);
var* u_gt_u(var* l, var* r);
var* n_gt_u(double d, var* r);
var* l_gt_u(int b, var* r);

var* c_geq_c(const char* a, const char* b);
var* c_geq_u(const char* text, var* r);
var* u_geq_c(var* l, const char* text);
var* u_geq_u(var* l, var* r);
var* n_geq_u(double d, var* r);
var* l_geq_u(int b, var* r);

/* ---- Subset $: whether the left text occurs in the right text. ---- */
var* c_in_u(const char* text, var* r);
var* u_in_c(var* l, const char* text);
var* u_in_u(var* l, var* r);

/* ---- Increment and decrement of dates and numbers. ----
** Only variables and temporaries change (Mode "SNLVFPMT", and 'f');
** protected records only while vln_priv_mode is set; anything else comes
** back unchanged.  Fields write through.  The pre forms (++x, --x) return
** v, the post forms (x++, x--) a temporary holding the old value. */
var* autoinc_u(var* v);
var* autodec_u(var* v);
var* u_autoinc(var* v);
var* u_autodec(var* v);

VL_END_DECLS

#endif /* VL_OPERATORS_H */
