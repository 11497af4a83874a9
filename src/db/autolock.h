/*
** autolock.h -- automatic locking: the language-level functions that lock
** for a program that does not lock by itself, and the seam through which
** a screen shows their message and asks the user what to do.
**
** AUTORLOCK, AUTOFLOCK, AUTOUNLOCK and AUTOAPPEND try their action for the
** auto-lock time and then ask.  The driver calls them by name
** (vln_autolock_fn), so an application replaces one by registering a
** function of the same name; an object replaces one by a method of that
** name.  Internal header: not installed.
*/
#ifndef VL_AUTOLOCK_H
#define VL_AUTOLOCK_H

#include "var.h"

VL_BEGIN_DECLS

/* ---- The screen's seam, filled by the terminal layer; null in batch. ---- */

/* Show text in a box (null: take the box away); non-zero while a box is
** up.  Without it the text goes to standard error as one line. */
extern int (*vln_autolock_box_hook)(const char* text);
/* Ask the user text with the choices (an array of texts); the number of
** the choice taken, 0 for none.  Without it the answer is Ignore. */
extern int (*vln_autolock_ask_hook)(const char* text, var* choices);

/* The answers to the question after a wait has expired. */
enum { VLN_AUTO_RETRY = 1, VLN_AUTO_BREAK = 2, VLN_AUTO_IGNORE = 3, VLN_AUTO_QUIT = 4 };

/* The function registered under name (an application's replacement),
** else builtin. */
BbFn vln_autolock_fn(const char* name, BbFn builtin);

/* ---- Language functions. ----
** The first four take (object or NIL for the selected area, wait[,
** record]): a NIL wait takes SET(39); a wait below -2 gives .F. at once,
** 0 and other negatives wait without limit.  With a record, AUTORLOCK adds
** that record's lock (the others stay) and AUTOUNLOCK releases only it;
** without one they lock the current record after releasing every lock,
** and release every lock.  Each gives whether its action was done. */
var* _bb_autorlock(int argc, var** argv);
var* _bb_autoflock(int argc, var** argv);
/* Commits first; the unlock itself always counts as done. */
var* _bb_autounlock(int argc, var** argv);
var* _bb_autoappend(int argc, var** argv);
/* AUTOWAITPR(object, wait, mode, trying text, failed text, title[,
** record]): the wait of the four above (modes 1 to 4: record lock, file
** lock, unlock, append); an object method named like the caller takes
** over. */
var* _bb_autowaitpr(int argc, var** argv);
/* OUTMESSAGE([text]): show text (none: take it away); whether a box is up. */
var* _bb_outmessage(int argc, var** argv);
/* USERACTION(text, choices): the number of the choice taken. */
var* _bb_useraction(int argc, var** argv);

VL_END_DECLS

#endif /* VL_AUTOLOCK_H */
