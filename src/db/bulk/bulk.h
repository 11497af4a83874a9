/*
** bulk.h -- the commands that work on whole tables: APPEND FROM, COPY TO,
** COPY STRUCTURE [EXTENDED], CREATE FROM, SORT, TOTAL, UPDATE, JOIN and
** LIST/DISPLAY.
**
** Each is a language function, written the way generated code is written,
** that works on the selected area through the database functions; a
** command of a program becomes a call of one of them.  Every one keeps
** the selected area: it goes back to it on every path, a BREAK included.
** A second table is opened in the lowest free area under an alias of its
** own ("__app", "__cpy", "__joi", "__cre" and the process number), so no
** alias of the program is touched.  Conditions of the command are reported
** through VLNPRGERR with the command's name; the result is then .F.
**
** The scope arguments for, while, next, record and rest are those of
** DBEVAL; a missing one is NIL.
*/
#ifndef VL_BULK_H
#define VL_BULK_H

#include "var.h"

VL_BEGIN_DECLS

/* __DBAPP(file, fields, for, while, next, record, rest, driver): APPEND
** FROM a table.  Fields are paired by name; .T. when done. */
var* _bb___dbapp(int argc, var** argv);
/* __DBAPPGEN(object, file, delimiter, fields, for, while, next, record):
** APPEND FROM a text file, SDF when delimiter is the empty text, else
** DELIMITED; the scope counts lines of the file. */
var* _bb___dbappgen(int argc, var** argv);
/* __DBCOPY(file, fields, for, while, next, record, rest, driver): COPY TO
** a new table of the fields given (all when NIL). */
var* _bb___dbcopy(int argc, var** argv);
/* __DBCOPYDE(file, delimiter, fields, for, while, next, record, rest) and
** __DBCOPYSD(file, fields, for, while, next, record, rest): COPY TO a
** DELIMITED or SDF text file; __DBCOPYTX is the writer behind both. */
var* _bb___dbcopyde(int argc, var** argv);
var* _bb___dbcopysd(int argc, var** argv);
var* _bb___dbcopytx(int argc, var** argv);
/* __DBCOPYST(file, fields): COPY STRUCTURE; __DBCOPYXS(file): COPY
** STRUCTURE EXTENDED. */
var* _bb___dbcopyst(int argc, var** argv);
var* _bb___dbcopyxs(int argc, var** argv);
/* __DBCREATE(file, extended, driver, new, alias): CREATE [FROM]. */
var* _bb___dbcreate(int argc, var** argv);
/* __DBSORT(file, keys, for, while, next, record, rest, driver): SORT TO. */
var* _bb___dbsort(int argc, var** argv);
/* __DBTOTAL(file, key block, fields, for, while, next, record, rest). */
var* _bb___dbtotal(int argc, var** argv);
/* __DBUPDATE(alias, key block, random, assignment block): UPDATE FROM. */
var* _bb___dbupdate(int argc, var** argv);
/* __DBJOIN(alias, file, fields, for): JOIN WITH. */
var* _bb___dbjoin(int argc, var** argv);
/* __DBLIST(off, fields, all, for, while, next, record, rest, printer,
** file): LIST and DISPLAY. */
var* _bb___dblist(int argc, var** argv);

VL_END_DECLS

#endif /* VL_BULK_H */
