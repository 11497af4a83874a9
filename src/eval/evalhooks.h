/*
** evalhooks.h -- what the expression evaluator asks of the work areas.
** Each hook is null until the subsystem that serves it fills it; the evaluator reports a clear error where a hook is missing.
*/
#ifndef VL_EVALHOOKS_H
#define VL_EVALHOOKS_H

#include "var.h"

VL_BEGIN_DECLS

/* The field record of name (lower case) in the selected area, or null when
** there is none; reports nothing. */
extern var* (*vln_eval_field_hook)(const char* name);
/* The field record of name in the area that alias names (a 'C' alias text,
** or an area number); reports and returns ERROR_VAR when there is none. */
extern var* (*vln_eval_alias_field_hook)(var* alias, const char* name);
/* Select the area that alias names for alias->(list); non-zero on success
** (after reporting on failure).  The pop restores the former selection. */
extern int (*vln_eval_push_area_hook)(var* alias);
extern void (*vln_eval_pop_area_hook)(void);
VL_END_DECLS

#endif /* VL_EVALHOOKS_H */
