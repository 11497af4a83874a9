/*
** printer.h -- the printer head: the row and column where the next printed
** character lands, as PROW() and PCOL() tell.  Printer output moves it;
** EJECT and SETPRC move it without printing.
*/
#ifndef VL_PRINTER_H
#define VL_PRINTER_H

#include "var.h"

VL_BEGIN_DECLS

/* PROW(), PCOL(): the printer head's row and column. */
var* _bb_prow(int argc, var** argv);
var* _bb_pcol(int argc, var** argv);
/* SETPRC(row, col): put the head at row, col without printing; NIL.  Not
** two numbers: 312; a negative one: 313; the head stays. */
var* _bb_setprc(int argc, var** argv);
/* __EJECT(): the new-page sequence to the print stream when one is open,
** and the head to 0, 0; NIL. */
var* _bb___eject(int argc, var** argv);

VL_END_DECLS

#endif /* VL_PRINTER_H */
