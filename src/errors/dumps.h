/*
** dumps.h -- diagnostic dumps of values and objects, and the switches of
** the diagnostic trace.  The texts are stable so that logs can be
** compared; pointers print as the full 64-bit value.
*/
#ifndef VL_DUMPS_H
#define VL_DUMPS_H
#include <stdio.h>

#include "var.h"

VL_BEGIN_DECLS

/* The trace: on when __diag is non-zero and __diag_fp is set. */
extern int32_t __diag;
extern FILE* __diag_fp;
/* The trace's filter: highest level printed, and the type letters printed
** (empty: all). */
extern int32_t __diag_level;
extern char __diag_types[32];

/* One value, every field of the record, to standard error. */
void vln_showvar(var* v);
/* The slots of an object and the size of its method array, to __diag_fp. */
void vlnDumpObject(var* obj);

VL_END_DECLS

#endif /* VL_DUMPS_H */
