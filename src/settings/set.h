/*
** set.h -- SET and VL_Set, which change the run-time switches of
** switches.h.
**
** SET(n, value, additive) and VL_Set(keyword, ...) are the language entries;
** _cgetseton, _cgetsetnum and _cgetsetstr are the same operations for host
** code, one per kind of setting.  Settings whose effect belongs to another
** subsystem are stored here and handed on through the hooks of sethooks.h.
*/
#ifndef VL_SET_H
#define VL_SET_H

#include <stdint.h>
#include <stdio.h>

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

/* ---- Operations. ---- */

/* Logical setting n: value 0 or 1 sets, 2 only reads.  Returns the former
** value as 0 or 1, or -1 when n is no logical setting. */
int _cgetseton(int value, int n);
/* The value that leaves a numeric setting unchanged. */
#define VL_SET_NOCHANGE (-9999)
/* Numeric setting n: value or VL_SET_NOCHANGE.  Returns the former value,
** or VL_SET_NOCHANGE when n is no numeric setting. */
int _cgetsetnum(int n, int value);
/* Offset added to n by callers of _cgetsetstr for the additive form. */
#define VL_SET_ADDITIVE 100
/* Text setting n (+VL_SET_ADDITIVE: additive), text or null to only read.
** Returns the former text in a buffer valid until the next call, or null
** when n is no text setting. */
const char* _cgetsetstr(int n, const char* text);
/* The logical extension switch in vl_set_flag[slot]; a true value clears
** slot excl unless excl is negative.  count is VL_Set's argument count.
** Returns the former value as a logical. */
var* vl_setlogic(int count, var* value, int slot, int excl);
/* Replace the printer sequences by the texts of the array argv[0], when
** given; returns an array of the seven former texts. */
var* vl_prset(int argc, var** argv);

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
