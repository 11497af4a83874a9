/*
** set.h -- SET and VL_Set, which change the run-time switches whose values
** switches.h reads.
**
** SET(n, value, additive) and VL_Set(keyword, ...) are the language
** entries; settings whose effect belongs to another subsystem are stored
** here and handed on to it.
*/
#ifndef VL_SET_H
#define VL_SET_H

#include "switches.h"
#include "var.h"

VL_BEGIN_DECLS

/* SET CENTURY: turn the format's "YY" into "YYYY" (on) and back (off).
** Returns the former state. */
int vln_setcentury(int on);
/* Whether the date format shows the century. */
int vlnGetCentury(void);

/* Printer control sequences of VL_Set("printersequences"), in this order. */
enum {
  VL_PRSEQ_NEWLINE,
  VL_PRSEQ_NEWPAGE,
  VL_PRSEQ_MOVE,
  VL_PRSEQ_HOME,
  VL_PRSEQ_BACK,
  VL_PRSEQ_SPACE,
  VL_PRSEQ_MARGIN,
  VL_PRSEQ_COUNT
};
/* The current text of sequence which, "" for an unknown one. */
const char* vlnGetPrinterSeq(int which);

/* ---- The auto-lock time (SET 39). ---- */

/* Seconds the automatic locks wait; -3 (or anything below -2) means off,
** 0 and -1, -2 mean without limit. */
int vlnGetAutolock(void);
/* Store seconds (also as the last time when it is not negative); gives the
** former time. */
int vlnSetAutolock(int seconds);
/* The last time that was not negative; changes nothing. */
int vlnSetAutolockOn(void);

/* ---- Language functions. ---- */

/* SET(n, value, additive): the former value; NIL for an unknown n. */
var* _bb_set(int argc, var** argv);
/* VL_Set(keyword, ...): the former value; .F. for an unknown keyword. */
var* _bb_vl_set(int argc, var** argv);
/* __SETCENTURY(on): the former state of SET CENTURY. */
var* _bb___setcentu(int argc, var** argv);
/* __PUSHFLAG(list): save the SET numbers of list, each a number or an
** array {n, value[, additive]} that is also set.  Returns NIL. */
var* _bb___pushflag(int argc, var** argv);
/* __POPFLAGS(): put back the settings of the last push.  Returns NIL. */
var* _bb___popflags(int argc, var** argv);

VL_END_DECLS

#endif /* VL_SET_H */
