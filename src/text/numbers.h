/*
** numbers.h -- rounding as the language defines it, number text and
** reading numbers out of text.
**
** Number text never depends on the locale: the decimal point is always
** ".", and no thousands separator is read or written.
*/
#ifndef VL_NUMBERS_H
#define VL_NUMBERS_H

#include <stddef.h>
#include <stdint.h>

#include "var.h"

VL_BEGIN_DECLS

/* The widest text STR gives for an explicit width. */
#define VLN_STR_MAXWIDTH 150
/* Room for the text of any number: 150 blanks, a sign, 309 digits, the
** point, 255 decimals and the terminator. */
#define VLN_NUMTEXT_SIZE 720

/* The text STR(v) gives for a numeric value v, into buf of size bytes.
** Returns the length, or -1 when v is not numeric. */
int32_t vln_numtext(var* v, char* buf, size_t size);
/* x with dec decimals (6 when negative), right-aligned in at least width
** characters, into buf of size bytes; a value that is not finite (an
** overflow) gives width stars.  Returns the length. */
int32_t vln_numform(double x, int width, int dec, char* buf, size_t size);

/* STR(n[, width[, decimals]]). */
var* _bb_str(int argc, var** argv);
/* VAL(text). */
var* _bb_val(int argc, var** argv);
/* ROUND(n[, decimals]). */
var* _bb_round(int argc, var** argv);
/* INT(n): truncated toward zero. */
var* _bb_int(int argc, var** argv);
/* STRZERO(n[, width[, decimals]]): STR with leading zeros. */
var* _bb_strzero(int argc, var** argv);
/* MOD(a, b): the remainder with the sign of b; MOD(a, 0) is a. */
var* _bb_mod(int argc, var** argv);
/* SQRT(n): 0 for a negative n.  EXP(n).  LOG(n), LOG10(n): minus infinity
** (the overflow) for n <= 0.  All with SET DECIMALS decimals; a non-number
** reports 312 and gives 0. */
var* _bb_sqrt(int argc, var** argv);
var* _bb_exp(int argc, var** argv);
var* _bb_log(int argc, var** argv);
var* _bb_log10(int argc, var** argv);

VL_END_DECLS

#endif /* VL_NUMBERS_H */
