/*
** stdfuncs.h -- language functions of the first slice.
*/
#ifndef VL_STDFUNCS_H
#define VL_STDFUNCS_H

#include "var.h"

VL_BEGIN_DECLS

/* LEN(x): elements of an array, bytes of a string, else 0. */
var* _bb_len(int argc, var** argv);
/* UPPER(s): a folded copy of a string; "" for anything else. */
var* _bb_upper(int argc, var** argv);
/* ABS(n): the magnitude, keeping 'I' and the decimals. */
var* _bb_abs(int argc, var** argv);

VL_END_DECLS

#endif /* VL_STDFUNCS_H */
