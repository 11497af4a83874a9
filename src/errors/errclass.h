/*
** errclass.h -- the Error class, the error block and BEGIN SEQUENCE.
**
** Every reported error becomes an Error object that is handed to the
** current error block (ERRORBLOCK()).  The default block calls _DEFERROR,
** which writes the batch report.  A block that wants the failure to unwind
** calls BREAK(object); the RECOVER branch of the innermost BEGIN SEQUENCE
** receives the object.
*/
#ifndef VL_ERRCLASS_H
#define VL_ERRCLASS_H
#include <stddef.h>

#include "var.h"
#include "vlerror.h"

VL_BEGIN_DECLS

/* Slots of an Error object (2 and up are the instance variables). */
enum {
  VL_ERR_ARG = 2,
  VL_ERR_ARGNUM,
  VL_ERR_ARGS,
  VL_ERR_ARGTYPEREQ,
  VL_ERR_CALLFUNCSYM,
  VL_ERR_CANDEFAULT,
  VL_ERR_CANRETRY,
  VL_ERR_CANSUBSTITUTE,
  VL_ERR_CARGO,
  VL_ERR_CHOICE,
  VL_ERR_DESCRIPTION,
  VL_ERR_FILEHANDLE,
  VL_ERR_FILENAME,
  VL_ERR_FUNCPTR,
  VL_ERR_FUNCSYM,
  VL_ERR_GENCODE,
  VL_ERR_MAXSIZE,
  VL_ERR_METHODSELF,
  VL_ERR_OPERATION,
  VL_ERR_OSCODE,
  VL_ERR_SEVERITY,
  VL_ERR_SUBCODE,
  VL_ERR_SUBCODETEXT,
  VL_ERR_SUBSTITUTE,
  VL_ERR_SUBSYSTEM,
  VL_ERR_TRIES,
  VL_ERR_SLOT_END /* one past the last slot */
};

/* The Error class's method array (empty), made on the first call. */
var* vlnErrorCollectMethods(void);
/* ERRORNEW(): a new Error object with its typed slots empty. */
var* _bb_errornew(int argc, var** argv);
/* ERRORBLOCK([block]): the current block; a block argument replaces it. */
var* _bb_errorblock(int argc, var** argv);
/* _DEFERROR(e): the default error block's work: the batch report of e. */
var* _bb__deferror(int argc, var** argv);
/* ERRORSYS(): kept for old programs; .T. and nothing else. */
var* _bb_errsys(int argc, var** argv);
/* BREAK([value]): leave for the innermost BEGIN SEQUENCE with value. */
var* _bb_break(int argc, var** argv);
/* ISBEGSEQ(): .T. inside a BEGIN SEQUENCE. */
var* _bb_isbegseq(int argc, var** argv);

/* The batch report with place ("FUNC(line)" or a file name) shown as where
** the error happened; a null place names the failing function. */
void vln_default_error_handler_at(const VlnErrReport* report, const char* place);
/* The heading of that report into buf (size bytes); returns buf. */
char* vln_error_heading_at(const VlnErrReport* report, const char* place, char* buf, size_t size);

/* Build the Error object of report and run the error block with it.
** Before the error block exists, the default handler takes the report. */
void vlnErrorRaise(const VlnErrReport* report);

VL_END_DECLS

#endif /* VL_ERRCLASS_H */
