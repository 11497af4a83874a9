/*
** facade.h -- the language-level database functions.
**
** A table is reached only by messages to the driver object bound to a work
** area.  The functions here are that message layer: each takes the object
** of the selected area, checks its arguments and sends one message by its
** slot number (an array lookup), or reads one instance variable.
**
** An empty area (no object) is handled by the function's mode, given to
** vlnBringError: some report 322 "in work area %d", most stay silent, and
** either way the function gives its neutral value (FALSE, "", 0, -1, a
** blank date, NIL or an empty array).  A wrong argument type reports 312
** and gives the same neutral value.  A driver's own errors go through the
** driver; nothing here unwinds.
*/
#ifndef VL_FACADE_H
#define VL_FACADE_H
#include "var.h"

VL_BEGIN_DECLS

struct AreaRec;

/* Modes of vlnBringError. */
enum {
  VLN_BRING_REPORT = 8,  /* report 322 and give up */
  VLN_BRING_GOON = 16,   /* silent; the caller goes on without an object */
  VLN_BRING_SILENT = 24  /* silent and give up */
};

/* The missing object of area (null: no area selected yet) by mode.  code
** and text replace 322 and "in work area %d" when non-zero.  Returns 1
** when the caller must give up (and return its neutral value), 0 when it
** may go on. */
int vlnBringError(int code, const char* text, int mode, struct AreaRec* area);

/* Whether arg (null when absent) may be passed on: absent, NIL or of a
** Type in set pass (1); anything else reports 312 "%s: argument type '%c'
** not in '%s'" naming op, and gives 0. */
int vlnParamCheck(var* arg, const char* set, const char* op);

/* Pack the scope arguments of a command, source[0..count) = FOR, WHILE,
** NEXT, RECORD, REST (count cut to 5), into target[0..3) = for, while,
** scope, as the eval-style methods take them.  A numeric RECORD sends goto
** to object at once and makes the scope 1; a numeric or logical NEXT, then
** RECORD, override REST.  Returns how many target entries to pass (0 to
** 3). */
int vlnDoScope(int count, var** source, var** target, var* object);

/* The NETERR() flag: the outcome of the last open, append or lock. */
int vlnGetNeterr(void);
/* Set the flag; returns the former value. */
int vlnSetNeterr(int on);
/* NETERR([l]): the flag, set from a logical argument; the former value. */
var* _bb_neterr(int argc, var** argv);

/* ---- Sends that report 322 on an empty area; FALSE unless noted. ---- */
var* _bb_dbdelete(int argc, var** argv);   /* delete (up to 3 scope args) */
var* _bb_dbrecall(int argc, var** argv);   /* recall (the same) */
var* _bb_dbeval(int argc, var** argv);     /* eval: block, FOR..REST */
var* _bb_dbgobottom(int argc, var** argv);
var* _bb_dbgotop(int argc, var** argv);
var* _bb_dbgoto(int argc, var** argv);     /* goto: record number */
var* _bb_dbseek(int argc, var** argv);     /* seek: key, softseek (SET) */
var* _bb_dbskip(int argc, var** argv);     /* skip: count */
var* _bb___dbpack(int argc, var** argv);
var* _bb___dbzap(int argc, var** argv);
var* _bb_fieldget(int argc, var** argv);   /* NIL on an empty area */
var* _bb_fieldput(int argc, var** argv);   /* NIL on an empty area */
/* ORDCREATE(file, order name, key text, key block, unique, no auto-lock,
** keep index, width, decimals): createorder. */
var* _bb_ordcreate(int argc, var** argv);
var* _bb_dbcreatein(int argc, var** argv); /* createindex */
var* _bb_orddestroy(int argc, var** argv); /* deleteorder; 0 */
var* _bb_ordlistreb(int argc, var** argv); /* reindex */
var* _bb_dbreindex(int argc, var** argv);  /* the same */

/* ---- Silent on an empty area, FALSE. ---- */
var* _bb_bof(int argc, var** argv);
var* _bb_eof(int argc, var** argv);
var* _bb_deleted(int argc, var** argv);
var* _bb_used(int argc, var** argv);
var* _bb_found(int argc, var** argv);      /* a logical sets the flag */
var* _bb___dbappdel(int argc, var** argv); /* file, delimiter, fields, scope */
var* _bb___dbappsdf(int argc, var** argv); /* file, fields, scope */
var* _bb_dbappend(int argc, var** argv);   /* sets NETERR() */
var* _bb_dbcloseare(int argc, var** argv);
var* _bb_dbclearfil(int argc, var** argv);
var* _bb_dbclearrel(int argc, var** argv);
var* _bb_dbcommit(int argc, var** argv);
var* _bb_dbrunlock(int argc, var** argv);
var* _bb_dbunlock(int argc, var** argv);
var* _bb_dbsetfilte(int argc, var** argv);
var* _bb_dbsetlocat(int argc, var** argv);
var* _bb_dbsetrelat(int argc, var** argv); /* child area, block, text */
var* _bb_flock(int argc, var** argv);
/* RLOCK(): release every lock, lock the current record.  DBRLOCK([n]):
** lock record n (the current one when absent), keeping the other locks
** only when n is given. */
var* _bb_rlock(int argc, var** argv);
var* _bb_dbrlock(int argc, var** argv);
var* _bb_isdbexcl(int argc, var** argv);
var* _bb_isdbflock(int argc, var** argv);
var* _bb__seekeval(int argc, var** argv);
var* _bb_rlockverif(int argc, var** argv);
var* _bb_ordcondset(int argc, var** argv);
var* _bb_ordlistadd(int argc, var** argv); /* sets NETERR() */
var* _bb_dbsetindex(int argc, var** argv); /* the same */
var* _bb_ordlistcle(int argc, var** argv);
var* _bb_dbclearind(int argc, var** argv); /* the same */

/* ---- Silent, the empty text. ---- */
var* _bb_alias(int argc, var** argv);
var* _bb_dbf(int argc, var** argv);        /* file name; a logical 2nd arg: with path */
var* _bb_dbfilter(int argc, var** argv);
var* _bb_dbrelation(int argc, var** argv);
var* _bb_fieldname(int argc, var** argv);
var* _bb_fieldtype(int argc, var** argv);
var* _bb_indexdbf(int argc, var** argv);
var* _bb_indexkey(int argc, var** argv);
var* _bb_rddname(int argc, var** argv);

/* ---- Silent, 0. ---- */
var* _bb_dbrselect(int argc, var** argv);
var* _bb_fcount(int argc, var** argv);
var* _bb_fielddeci(int argc, var** argv);
var* _bb_fieldlen(int argc, var** argv);
var* _bb_fieldpos(int argc, var** argv);
var* _bb_header(int argc, var** argv);
var* _bb_indexcount(int argc, var** argv);
var* _bb_indexord(int argc, var** argv);
var* _bb_lastrec(int argc, var** argv);
var* _bb_ordsetfocu(int argc, var** argv); /* no argument: INDEXORD() */
var* _bb_dbsetorder(int argc, var** argv); /* the same */
var* _bb_reccount(int argc, var** argv);
var* _bb_recno(int argc, var** argv);
var* _bb_recsize(int argc, var** argv);

/* ---- Silent, -1; a blank date; NIL; an empty array. ---- */
var* _bb_indexcheck(int argc, var** argv);
var* _bb_usersdbf(int argc, var** argv);
var* _bb_lupdate(int argc, var** argv);
var* _bb_dbgetlocat(int argc, var** argv);
var* _bb_dbrlocklis(int argc, var** argv);
var* _bb_dbstruct(int argc, var** argv);
var* _bb_indexnames(int argc, var** argv);
/* INDEXINFO([order]): an array describing the order: full name, order
** name, key, FOR, key type, key length, key size, key count, UNIQUE,
** DESCEND, table name, INDEXCHECK(), the index's write counter, sectors in
** use, "version/flags/counter", then the table's write counter. */
var* _bb_indexinfo(int argc, var** argv);

/* ---- Answer without a table, through a closed default-driver object. ---- */
var* _bb_indexext(int argc, var** argv);
var* _bb_memoext(int argc, var** argv);

/* ---- Every area, the selection, diagnostics. ---- */
var* _bb_dbcloseall(int argc, var** argv);
var* _bb_dbcommital(int argc, var** argv);
var* _bb_dbunlockal(int argc, var** argv);
/* DBFUSED(): through QOut, a line per open area (process number, area,
** alias, SHARED or EXCLUSIVE, READONLY, file), then its index files with
** their keys, relations, filter and locked records.  NIL. */
var* _bb_dbfused(int argc, var** argv);
/* DBSELECTAREA(area): a block is evaluated first; a text or number is
** selected (vlnSelect mode -1); another type reports 320 and gives FALSE;
** no argument reports 902. */
var* _bb_dbselectar(int argc, var** argv);
/* DBFINFO([area]): "SHARED" or "EXCLUSIVE", " READONLY" if so, a blank
** and the full file name; "" for an empty area. */
var* _bb_dbfinfo(int argc, var** argv);

VL_END_DECLS

#endif /* VL_FACADE_H */
