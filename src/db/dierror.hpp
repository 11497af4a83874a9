// dierror.hpp -- the error path of the library's own drivers: the report
// for a state head, the delivery of a filled error object, and the
// operation names and message texts of the DBF driver.
#pragma once

#include "dierror.h"
#include "dsslots.h"
#include "var.h"

namespace vl {

/* vlnDriverHeadOf inline: every message of a driver starts here, so the
** test is kept to the loads it needs. */
inline VlnDriverHead* driver_head_of(var* obj)
{
  if (!obj || obj->Type != 'O') return nullptr;
  const ArrRec* a = obj->Value.w1.arr;
  if (!a || a->A_size <= VLN_DS_STATE_SLOT) return nullptr;
  const var* s = a->A_vec[VLN_DS_STATE_SLOT];
  return s->Type == '?' && s->Mode != 'S' ? static_cast<VlnDriverHead*>(const_cast<void*>(s->Value.w1.ptr)) : nullptr;
}

}  // namespace vl

// Operation names, diMN_<name>: X(name, text).
#define VLN_DIMN_NAMES(X) \
  X(aliasass, "Alias Assign") \
  X(aver, "Average()") \
  X(conconas, "ConcurrencyControl Assign") \
  X(createdb, "CreateDB()") \
  X(creord, "CreateOrder()") \
  X(delete, "Delete()") \
  X(delord, "DeleteOrder()") \
  X(eval, "Eval()") \
  X(filtass, "Filter Assign") \
  X(fldget, "FieldGet()") \
  X(fldput, "FieldPut()") \
  X(forbass, "ForBlock Assign") \
  X(getfilt, "FilterBlock Access") \
  X(goto, "Goto()") \
  X(idxcre, "CreateIndex()") \
  X(idxint, "Hidden_Index_Method") \
  X(idxkey, "Indexkey()") \
  X(idxzap, "NdxZap()") \
  X(info, "Info()") \
  X(init, "Init()") \
  X(ordinfo, "OrderInfo()") \
  X(pack, "Pack()") \
  X(recall, "Recall()") \
  X(recnoass, "Recno Assign") \
  X(reindex, "ReIndex()") \
  X(replace, "Replace()") \
  X(scopass, "Scope Assign") \
  X(seek, "Seek()") \
  X(seekev, "SeekEval()") \
  X(setfilt, "SetFilter()") \
  X(setfound, "SetFound Assign") \
  X(setidx, "SetIndex()") \
  X(setlctass, "SetLocate Assign") \
  X(setord, "SetOrder()") \
  X(setrela, "SetRelation()") \
  X(skip, "Skip()") \
  X(sum, "Sum()") \
  X(whibass, "WhileBlock Assign") \
  X(zap, "Zap()")

// Message texts, diEM_<name>: X(name, text).  The misspellings and the
// unbalanced brackets are part of the texts; ';' breaks a line.
#define VLN_DIEM_TEXTS(X) \
  X(area, "area %s") \
  X(arexpctd, "Array of Numerics or Characters expected") \
  X(argmis, "argument missing") \
  X(badidx, "alias %s;order %d;sector %d") \
  X(blkexptd, "block expected") \
  X(cbexpctd, "CodeBlock, Character or Array of Chars or CBs expexted") \
  X(chfld2lng, "character field exceeds 64Kb") \
  X(dbfisro, "attempt to replace FIELD in read-only database;area %s") \
  X(dbfro, "DBF is opened READ-ONLY in area %s") \
  X(dbivfile, "'dBASE IV' file format not supported") \
  X(dblkey, "area %s;index %s;key %s;record %ld;key already exists;but it SHOULD NOT") \
  X(dbtrd, "memo content exceeds 65536 bytes") \
  X(diffom, "using an additional file descriptor;for already opened file;since open mode differs") \
  X(emptyname, "empty name") \
  X(emtrpl, "attempt to replace FIELD in empty database;area %s") \
  X(eofrpl, "attempt to replace FIELD on EOF;area %s") \
  X(evalpars, "1:<cbEval>;2:[<cbFor>|<cFor>];3:[<cbWhile>|<cWhile>];4:[<uScope>]);wrong or missing param(s) %s") \
  X(exclopen, "while trying to open exclusive") \
  X(exclreq, "EXCLUSIVE required") \
  X(expctpars, "[<cbFor>|<cFor)], [<cbWhile>|<cWhile>], [<uSope>]") \
  X(flckreq, "FILE LOCK required") \
  X(foxfile, "'Fox' file format not supported") \
  X(idxcrpt, "index file problem (when positioning)") \
  X(idxmaycrpt, "index may be corrupted in area %s") \
  X(idxnamexp, "index name expected") \
  X(idxlock, "cannot open and lock index in %s mode;probably already open/locked %s.") \
  X(idxlock_s, "shared") \
  X(idxlock_e, "exclusive") \
  X(illord, "illegal order %d in area %s, only %d indices") \
  X(inconsist, "database %s;and index %s;are inconsistent;please reindex") \
  X(keepfor, "KEEPINDEX only with FOR clause, ignored") \
  X(keepidx, "KEEPINDEX only with open index, ignored") \
  X(keytyp, "key type (%c) doesn't match;index '%s';index key type (%c)") \
  X(logreq, "block must return logical") \
  X(mulop, "database %s;is multiply opened in different work areas") \
  X(newridx, "for file %s, index version newer than executable") \
  X(nexclopen, "while trying to open non exclusive") \
  X(nodbfrpl, "attempt to replace FIELD in closed database;area %s") \
  X(noexcl, "database '%s' exists;but cannot use it exclusively") \
  X(noidxfile, "cannot reopen IDX file;area %s;index %s)") \
  X(noidxs, "no active indexes in area %s ") \
  X(noroidx, "file %s;cannot update 4.02 index version with R/O dbf") \
  X(noshop, "database has mandatory lock flag;shared operation will be impaired") \
  X(noshopidx, "index has mandatory lock flag;shared operation will be impaired") \
  X(notsupp, "not supported") \
  X(nufld2lng, "numeric field size exceeds 20 chars") \
  X(nulstr, "") \
  X(numexpctd, "Numeric, Character or Array of Numerics or Chars expected") \
  X(numovflow, "numeric field overflow in assign") \
  X(oldidx, "file %s;index version is 4.00 or before") \
  X(opendbf, "while opening dbf") \
  X(opndbfile, "open database file name") \
  X(opntmpfil, "cannot open tmp file") \
  X(optnsup, "the required option is not supported") \
  X(posidx, "when positioning index") \
  X(rdlck, "while trying to set read lock") \
  X(rec2long, "record size exceeds 64Kb") \
  X(recnlckd, "rec %d not locked") \
  X(recno, "record %ld") \
  X(sorttab, "set correct sorting table for index") \
  X(typmism, "type mismatch: '%c' <> '%c'") \
  X(unkfldnam, "database %s has no field named %s") \
  X(unkfldtyp, "unknown field type '%c'") \
  X(unkvartyp, "variable data type '%c'") \
  X(unlck, "while trying to unlock") \
  X(unlidx, "access to index %s;w/o internal synchronization") \
  X(unlockrpl, "attempt to replace FIELD without lock;record %d;area %s") \
  X(vercode, "the file has 0x%x as version code") \
  X(wrgdbf, "index was created with other DBF (%s)") \
  X(wrgeltyp, "wrong array element type") \
  X(wrgidxelen, "index expression length error") \
  X(wrgidxfexp, "index FOR expression length error") \
  X(wrgidxklen, "index key length error") \
  X(wrgidxtyp, "unsupported index key type") \
  X(wrgsize, "Index name = %s;Index key = '%s';The key type or size (%c %d/%d) doesn't;match stored index key data (%c %d/%d);- use INDEX ON instead of REINDEX -") \
  X(writrec, "attempt to write record %d in %s") \
  X(wrlck, "while trying to set write lock")

namespace vl {

// diError for the state head of a table (null: no state), for callers
// that reach the state but not the object, such as the lock layer's
// report seam.
void diErrorHead(VlnDriverHead* head, const char* method, int code, int severity,
                 const char* text, const char* source, int line);
// The error object of self's table, or NIL_VAR when it has none.
var* diErrorObject(var* self);
// The tail of diError for a filled error object: guard, last_errno,
// ERRSTAT and report level, then the error block with e (or _DEFERROR).
// A replaced vln_error_handler (an embedding or a test) receives the
// object's report instead of the block.
void diErrorDeliver(var* e);

#define VLN_DIMN_DECL_(name, text) extern const char* const diMN_##name;
VLN_DIMN_NAMES(VLN_DIMN_DECL_)
#undef VLN_DIMN_DECL_
// Each text is a variable, so that the national-language layer can point
// it at a translation.
#define VLN_DIEM_DECL_(name, text) extern const char* diEM_##name;
VLN_DIEM_TEXTS(VLN_DIEM_DECL_)
#undef VLN_DIEM_DECL_

}  // namespace vl
