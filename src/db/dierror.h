/*
** dierror.h -- the error path of the database drivers.
**
** A driver reports a failure with diError: it fills the error object of
** the table (one per open table, made once and reused for every error of
** that table), then takes the road of every run-time error: the recursion
** guard, last_errno, ERRSTAT and the report level, and finally the error
** block, or _DEFERROR when no block is set.  The driver itself never
** unwinds: when the block returns, the operation gives its neutral result;
** when the block BREAKs, control leaves through BEGIN SEQUENCE.
**
** Where the error object lives.  Every driver that reports through diError
** keeps its state record in object slot VLN_DS_STATE_SLOT (50), as a '?'
** word holding a pointer, and the state record begins with a
** VlnDriverHead.  The head owns the error object.  An object without such a
** state (the abstract class itself) still reports, through a fresh error
** object each time.
*/
#ifndef VL_DIERROR_H
#define VL_DIERROR_H
#include "dsslots.h"
#include "var.h"

VL_BEGIN_DECLS

/* The first member of every driver state record. */
typedef struct VlnDriverHead {
  var* errobj; /* the table's Error object, owned; null until made */
} VlnDriverHead;

/* Make the head's error object (ERRORNEW()) if it has none. */
void vlnDriverHeadInit(VlnDriverHead* head);
/* Release the head's error object and clear the word (the driver's axit). */
void vlnDriverHeadFree(VlnDriverHead* head);
/* Store head as obj's state pointer in slot VLN_DS_STATE_SLOT; head may be
** null to clear it.  The object does not own the state: axit frees it. */
void vlnDriverAttach(var* obj, VlnDriverHead* head);
/* The state head of a driver object, or null when obj has none. */
VlnDriverHead* vlnDriverHeadOf(var* obj);

/* Report a driver failure of self in method (the operation's name, such as
** "Seek()") with code
** (negative counts as positive), severity, text and the source place.  The
** error object gets args and cargo NIL, candefault, canretry and
** cansubstit FALSE, filename "<PROCFILE>.PRG, module <PROCNAME> line
** <PROCLINE>", operation method, oscode and tries 0, gencode and severity,
** and the description: text alone for 902, else
** "DBFIDX:<method>;<text>;<code> (<table text>)" ("(unknown)" from 999 on).
** With a diagnostic file open, subsystem names source and line and subcode
** is -9999; otherwise they are "" and 0. */
void diError(var* self, const char* method, int code, int severity, const char* text,
             const char* source, int line);

VL_END_DECLS

#endif /* VL_DIERROR_H */
