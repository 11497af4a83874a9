/*
** switches.h -- reading the run-time switches that SET and VL_Set change.
**
** A program changes settings through SET and VL_Set and reads them through
** the getters below; the stores themselves belong to the library.
*/
#ifndef VL_SWITCHES_H
#define VL_SWITCHES_H

#include <stdint.h>

#include "var.h"

VL_BEGIN_DECLS

/* Byte positions in the kernel's `__status`. */
enum {
  VL_STATUS_DEBUG = 1,
  VL_STATUS_EXIT = 3,
  VL_STATUS_INSERT = 4,
  VL_STATUS_CANCEL = 5
};

/* The two values of the report threshold. */
#define VL_DEVEL_LEVEL 700
#define VL_NORMAL_LEVEL 800

/* ---- Getters. ---- */

/* SET DECIMALS. */
int vlnGetDecimals(void);
/* SET EXACT, SET FIXED, SET DELETED, SET EXCLUSIVE, SET SOFTSEEK,
** SET UNIQUE as 0 or 1. */
int vlnGetExact(void);
int vlnGetFixed(void);
int vlnGetDelete(void);
int vlnGetExclusive(void);
int vlnGetSoftSeek(void);
int vlnGetUnique(void);
/* The lower and upper file name switches as 0 or 1. */
int vlnGetLowerFiles(void);
int vlnGetUpperFiles(void);
/* The 4.2-compatible lock scheme as 0 or 1. */
int vlnGet42Compatible(void);
/* SET 40 (multiple locks): stored only; the former value is returned. */
int vlnGetMultilocks(void);
int vlnSetMultilocks(int on);
/* The integer-variable switch: VALTYPE shows 'F' and 'I' as such. */
int vlnGetIntvar(void);
void vlnSetIntvar(int on);
/* Developer mode: the report threshold is at most 700. */
int vlnGetDevel(void);

/* The date format: 15 characters at most, upper case, e.g. "MM/DD/YY". */
const char* vlnGetDateFormat(void);
/* SET EPOCH. */
int vlnGetEpoch(void);
/* SET DEFAULT with its trailing '/', "" when none. */
const char* vlnGetDefault(void);
/* SET PATH as given. */
const char* vln_get_path(void);

VL_END_DECLS

#endif /* VL_SWITCHES_H */
