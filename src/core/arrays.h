/*
** arrays.h -- language arrays: creation and resizing, element access for
** generated code, the subscript recording of READ, and the A-functions.
**
** An array is a shared, reference-counted record (ArrRec in var.h) of
** element records.  Every element is a free-standing 'N' record with
** Links 1, so generated code assigns to an element with
**   cpy_var(dget_arr(a, i), x);
** Indices are 1-based; an array holds at most 65535 elements (409 beyond).
*/
#ifndef VL_ARRAYS_H
#define VL_ARRAYS_H

#include "var.h"

VL_BEGIN_DECLS

/* How cre_arr fills the new elements. */
enum {
  VL_ARR_NIL = 0,      /* all new elements NIL */
  VL_ARR_LIST = 1,     /* from the list, shared by cpy_var */
  VL_ARR_APPEND = 2,   /* as 1, but a resize keeps the existing elements */
  VL_ARR_DEEP_ONE = 3, /* every new element a deep copy of one value */
  VL_ARR_DEEP_LIST = 4 /* each new element a deep copy of the next value */
};

/* Make v an array of size elements, or resize the array or object v holds
** in place (every holder sees the change).  The optional values follow,
** closed by (var*)0; a list shorter than size leaves NIL elements.  A size
** below 0 or above 65535 reports 409 and gives ERROR_VAR; so does a strictly
** typed v that refuses an array (332).  Returns v. */
var* cre_arr(var* v, int32_t size, int flag, ...)
#if defined(__GNUC__)
    __attribute__((sentinel))
#endif
    ;
/* The same with the optional values in a null-closed vector (list may be
** null). */
var* cre_arra(var* v, int32_t size, int flag, var* const* list);
/* The same with the size as a value: not numeric reports 201 and gives
** ERROR_VAR.  value is the one optional value, or null. */
var* cre_arrv(var* v, var* sizevar, int flag, var* value);

/* When set, dget_arr and dget_arrv call it with each subscript. */
extern BbFn vln_subscarr;

/* Element i (1-based) of array a, the record itself, which may be written.
** Errors: null a 407, not an array 404, i out of range 409; each gives
** ERROR_VAR.  Calls vln_subscarr with i when it is set. */
var* dget_arr(var* a, int32_t i);
/* The same with the index as a value; errors give NIL_VAR. */
var* dget_arrv(var* a, var* iv);

/* ---- Language functions. ---- */

/* AADD(a, x): append x, return x. */
var* _bb_aadd(int argc, var** argv);
/* ACLONE(a): a deep copy. */
var* _bb_aclone(int argc, var** argv);
/* ACOPY(s, d[, start[, count[, target]]]): copy elements, return d. */
var* _bb_acopy(int argc, var** argv);
/* ADEL(a, pos): delete an element, the size stays; return a. */
var* _bb_adel(int argc, var** argv);
/* AINS(a, pos): insert a NIL, the size stays; return a. */
var* _bb_ains(int argc, var** argv);
/* ARRAY(dim1[, dim2...]): a new multi-dimensional array of NILs. */
var* _bb_array(int argc, var** argv);
/* ASIZE(a, n): grow with NILs or shrink to n; return a. */
var* _bb_asize(int argc, var** argv);
/* ATAIL(a): the last element itself; NIL when empty. */
var* _bb_atail(int argc, var** argv);
/* AEVAL(a, block[, start[, count]]): run block per element; return a. */
var* _bb_aeval(int argc, var** argv);
/* AFILL(a, x[, start[, count]]): store x over a range; return a. */
var* _bb_afill(int argc, var** argv);
/* ASCAN(a, x[, start[, count]]): position of the first match, or 0. */
var* _bb_ascan(int argc, var** argv);
/* ASORT(a[, start[, count[, block]]]): sort in place; return a. */
var* _bb_asort(int argc, var** argv);

/* __SUBSCARR([lOn]): switch subscript recording, return the old setting. */
var* _bb___subscarr(int argc, var** argv);
/* __ADDSUBSA(x): AADD(__subscarr, x). */
var* _bb___addsubsa(int argc, var** argv);

VL_END_DECLS

#ifdef __cplusplus
#include <initializer_list>
/* cre_arr with the optional values as a list: cre_arr(v, 2, 1, {a, b}). */
var* cre_arr(var* v, int32_t size, int flag, std::initializer_list<var*> values);
#endif

#endif /* VL_ARRAYS_H */
