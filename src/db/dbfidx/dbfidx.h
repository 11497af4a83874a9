/*
** dbfidx.h -- the DBF driver: its constructor, the functions that open and
** create tables with it, and its methods.
**
** DBFIDXNEW(name, shared, readonly, , , new) makes a driver object and
** sends it init; with no name (five NIL and FALSE) the object stays closed
** and no work area changes.  Every method takes the object first, then the
** message's arguments; an access takes the object alone and an assign the
** object and the value.
*/
#ifndef VL_DBFIDX_H
#define VL_DBFIDX_H
#include "var.h"

VL_BEGIN_DECLS

/* Non-zero: a new table's header gets the year modulo 100 (header
** updates always write year - 1900).  Set by the application; 0. */
extern int VLdbheadY2000;

/* DBFIDXNEW(...): a driver object, opened when a file name is given. */
var* _bb_dbfidxnew(int argc, var** argv);
/* DBFIDX() and RDDSYS(): link anchors; TRUE. */
var* _bb_dbfidx(int argc, var** argv);
var* _bb_rddsys(int argc, var** argv);

/* DBUSEAREA(new, driver, name, alias, shared, readonly): open name in a
** work area (the next free one for a TRUE new flag); TRUE, or FALSE with
** NETERR() set. */
var* _bb_dbusearea(int argc, var** argv);
/* DBCREATE(name, structure, driver, permissions): write a new empty table
** (and its memo file when a field is of type M).  Opens nothing.  TRUE or
** FALSE after a report. */
var* _bb_dbcreate(int argc, var** argv);
/* FIELD(n): the name of field n, as FIELDNAME(). */
var* _bb_field(int argc, var** argv);
/* FIELDGETARR([recno]): every field of the current (or given) record. */
var* _bb_fieldgetar(int argc, var** argv);
/* FIELDPUTARR(array[, recno]): the reverse, stopping at the first refusal. */
var* _bb_fieldputar(int argc, var** argv);

/* ---- Methods (dbfclass.cpp wires them into slots). ---- */

#define VLN_DBFIDX_METHODS(X)                                               \
  /* life of a table: dbfopen.cpp, dbfrecord.cpp */                         \
  X(init, me) X(createdb, me) X(close, me) X(axit, me) X(append, me)        \
  X(delete, me) X(recall, me) X(deleteall, me) X(recallall, me)             \
  X(commit, me) X(dbstruct, me) X(refresh, me)                             \
  /* whole tables: dbfpack.cpp */                                           \
  X(pack, me) X(zap, me)                                                    \
  /* moves: dbfmove.cpp */                                                  \
  X(skip, me) X(gotop, me) X(gobottom, me) X(goto, me) X(recno, as)         \
  X(eval, me)                                                               \
  /* filter, default scope, LOCATE: dbfscope.cpp */                         \
  X(setfilter, me) X(filter, ac) X(filter, as) X(clearfilter, me)          \
  X(forblock, ac) X(forblock, as) X(whileblock, ac) X(whileblock, as)      \
  X(scope, ac) X(scope, as) X(clearscope, me) X(locate, me)                \
  X(continue, me) X(setfound, as) X(setlocate, as) X(getlocate, ac)        \
  X(clearlocate, me)                                                        \
  /* relations: dbfrel.cpp */                                               \
  X(setrelation, me) X(clearrelation, me) X(relation, me)                   \
  X(relationobject, me) X(isrelation, ac) X(isrelation, as)                 \
  /* index engine: idxsync.cpp, dbfmove.cpp */                              \
  X(indexappend, me) X(indexreplace, me) X(indexsynchronize, me)            \
  X(indexskip, me) X(indexseek, me) X(indexseekeval, me)                    \
  X(indexkeycompare, me) X(indexgotop, me) X(indexgobottom, me) X(seek, me) \
  X(seekeval, me)                                                           \
  /* fields: dbffield.cpp */                                                \
  X(fieldget, me) X(fieldput, me) X(fieldpos, me) X(fieldname, me)          \
  X(fieldinfo, me) X(quickfieldget, me) X(quickfieldput, me)                \
  X(noivarget, me) X(noivarput, me) X(replace, me)                          \
  /* locks: dbflock.cpp */                                                  \
  X(rlock, me) X(flock, me) X(unlock, me) X(rlockverify, me)                \
  X(lockcurrentrecord, me) X(usersdbf, me) X(rlocklist, ac)                 \
  /* state and information: dbfclass.cpp */                                 \
  X(alias, ac) X(alias, as) X(bof, ac) X(eof, ac) X(recno, ac)              \
  X(lastrec, ac) X(reccount, ac) X(fcount, ac) X(used, ac) X(shared, ac)    \
  X(readonly, ac) X(header, ac) X(recsize, ac) X(filespec, ac) X(name, ac)  \
  X(driver, ac) X(rddname, ac) X(indexext, ac) X(deleted, ac) X(found, ac)  \
  X(lupdate, ac) X(concurrenc, ac) X(concurrenc, as) X(indexcount, ac)      \
  X(info, me) X(rddinfo, me) X(recordinfo, me) X(asstring, me)              \
  X(errinfo, me) X(error, me)                                               \
  /* whole-table commands: dbfbulk.cpp */                                   \
  X(appenddb, me) X(appenddelimited, me) X(appendsdf, me) X(copydb, me)     \
  X(copydelimited, me) X(copysdf, me) X(copystructure, me) X(sort, me)      \
  X(total, me) X(update, me) X(join, me) X(count, me) X(sum, me)            \
  X(average, me) X(getarray, me) X(getarrfields, me)                        \
  /* orders: idxorder.cpp, idxbuild.cpp */                                  \
  X(createindex, me) X(createorder, me) X(setindex, me) X(clearindex, me)   \
  X(setorder, me) X(reindex, me) X(orderinfo, me) X(setordercondition, me)  \
  X(indexkey, me) X(indexcheck, me) X(deleteorder, me) X(indexord, me)

#define VLN_DBFIDX_DECL_me(name) var* _bb_dbfidx_##name##_me(int argc, var** argv);
#define VLN_DBFIDX_DECL_ac(name) var* _bb_dbfidx_##name##_ac(var* obj);
#define VLN_DBFIDX_DECL_as(name) var* _bb_dbfidx_##name##_as(var* obj, var* value);
#define VLN_DBFIDX_DECL_(name, kind) VLN_DBFIDX_DECL_##kind(name)
VLN_DBFIDX_METHODS(VLN_DBFIDX_DECL_)
#undef VLN_DBFIDX_DECL_

VL_END_DECLS

#endif /* VL_DBFIDX_H */
