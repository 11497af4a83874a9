/*
** ascirdd.h -- the ASCII driver: a text file read as a table.
**
** An ASCIRDD object presents a text file as a read-only, forward-only
** table whose structure the caller gives, one record per line, in one of
** three line formats: SDF (fixed columns), DELIMITED (fields between a
** separator, texts optionally in delimiters) and blank-separated.  The
** object sits in a work area like any table and is read through the same
** field variables.  APPEND FROM ... SDF and DELIMITED read through it.
**
** The class derives from dataserver: it answers init, skip, fieldget,
** fieldpos, quickfieldget, close, axit and the accesses eof, recno, used
** and driver; every other message reports as abstract.
*/
#ifndef VL_ASCIRDD_H
#define VL_ASCIRDD_H
#include "dataserver.h"
#include "var.h"

VL_BEGIN_DECLS

/* The ASCII driver's class: record, slot meanings and count (177). */
const VlnDsClass* vlnAscirddClass(void);
/* The class record handed to set_Ov. */
#define AscirddStruct (vlnAscirddClass()->rows)
/* The method array of the class, built on the first call and kept. */
var* vlnAscirddCollectMethods(void);

/* ASCIRDDNEW(file, structure, delimiter, for, while, next, record,
** newarea): a new object, initialised by init with these arguments.
**  file       the text file (".txt" added when it has no extension); NIL
**             or missing makes the object closed
**  structure  {{name, type, length, decimals}, ...}, types C D F L N
**  delimiter  "" SDF, " " blank-separated, any other text DELIMITED with
**             its first character as the text delimiter; not a text: '"'
**  for, while blocks deciding which lines count; next, record numbers
**  newarea    FALSE keeps the selected area; else the lowest free one
** A missing file is silent: the object is not used and NETERR() is .T. */
var* _bb_ascirddnew(int argc, var** argv);

/* The driver's members, argv[0] (obj) being the object. */
var* _bb_ascirdd_init_me(int argc, var** argv);
/* skip(): to the next line that counts; 1, or 0 at the end. */
var* _bb_ascirdd_skip_me(int argc, var** argv);
/* fieldget(number or name): the field's value; NIL for no such field. */
var* _bb_ascirdd_fieldget_me(int argc, var** argv);
/* fieldpos(name): the 1-based position, or 0. */
var* _bb_ascirdd_fieldpos_me(int argc, var** argv);
/* quickfieldget(field record): the record refreshed from the line. */
var* _bb_ascirdd_quickfieldget_me(int argc, var** argv);
var* _bb_ascirdd_close_me(int argc, var** argv);
var* _bb_ascirdd_axit_me(int argc, var** argv);
var* _bb_ascirdd_eof_ac(var* obj);
var* _bb_ascirdd_recno_ac(var* obj);
var* _bb_ascirdd_used_ac(var* obj);
var* _bb_ascirdd_driver_ac(var* obj);

VL_END_DECLS

#endif /* VL_ASCIRDD_H */
