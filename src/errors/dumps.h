/*
** dumps.h -- diagnostic dumps of values, frames, objects, memory and
** streams, and the diagnostic trace.  The texts are stable so that logs
** can be compared; pointers print as the full 64-bit value.
*/
#ifndef VL_DUMPS_H
#define VL_DUMPS_H
#include <stddef.h>
#include <stdio.h>

#include "var.h"

VL_BEGIN_DECLS

/* The trace: on when __diag is non-zero and __diag_fp is set. */
extern int32_t __diag;
extern FILE* __diag_fp;
/* Ndiag_msg's filter: highest level printed, and the type letters printed
** (empty: all). */
extern int32_t __diag_level;
extern char __diag_types[32];
/* The number of a work area, for field records; null until the database
** fills it (fields then print area 0). */
extern int (*vlnAreaNumberHook)(struct AreaRec* area);

/* One value, every field of the record, to standard error. */
void vln_showvar(var* v);
/* Every memory variable in use, to standard error. */
void showvars(void);
/* The current frame, to standard error. */
void maShowCurStackEntry(void);
/* The slots of an object and the size of its method array, to __diag_fp. */
void vlnDumpObject(var* obj);
/* n bytes at p in hexadecimal, 16 a line, to standard error.  Returns the
** number of lines written, 0 for a null p or n 0. */
int tst_dump(const void* p, size_t n);
/* The buffer state of a stdio stream, to standard error. */
void vlscDumpFP(FILE* fp);
/* One trace line, indented by the nesting level ("-->" raises it after the
** line, "<--" lowers it before). */
void diag_msg(const char* text);
/* The same, printed only when level is at most __diag_level and type is
** one of __diag_types (or __diag_types is empty). */
void Ndiag_msg(int level, int type, const char* text);

VL_END_DECLS

#endif /* VL_DUMPS_H */
