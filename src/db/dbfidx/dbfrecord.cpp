/*
** dbfrecord.cpp -- operations on whole records: append, delete, recall,
** commit and refresh.
**
** An append in shared mode runs under the write section and the lock of
** the new record: it re-reads the count, writes the blank record at the
** end, and only then the header with the new count.  A process killed
** between the two leaves an unreferenced record (or, when the kernel cut
** the write at a page boundary, part of one) behind the count, never a
** count ahead of the records, and the next append writes over it.  The
** open orders learn of the new record in the same section.
*/
#include <cstring>

#include "blocks.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "facade.h"
#include "idx.hpp"
#include "kernel.h"
#include "objects.h"

using namespace vl;

namespace {

enum { kAddOk = 0, kAddLocked = -2, kAddTooBig = -1 };

/* The byte offset at which records stop fitting the lock map. */
constexpr off_t kRecordMapEnd = off_t(VLN_RECORD_MAP_END);

/* Write a blank record n = count + 1 and count it.  Runs under the write
** section; reports nothing. */
int add_record(var* self, DbfState* s, bool release)
{
  updat_dbfhdr(self);
  const bool free_hand = s->lk.status & (DBF_ST_EXCL | DBF_ST_FLOCKED);
  const int32_t n = s->lastrec + 1;
  if (dbf_recpos(s, n) + off_t(s->lk.reclen) > kRecordMapEnd) return kAddTooBig;
  if (!free_hand) {
    if (release) dbf_fulock(&s->lk);
    if (dbf_rlock(&s->lk, n) != 0) return kAddLocked;
  }
  diClrRecord(s);
  diInvalidateFields(s);
  s->lastrec = n;
  s->recno = s->bufrec = n;
  if (dbf_is_excl(s)) {
    flush_rec(self, n);
  } else {
    dbf_pwrite(s->lk.fd, s->recbuf, s->lk.reclen, dbf_recpos(s, n));
    flush_dbfhdr(self);
  }
  vln_wrcnt(-2, self);
  return kAddOk;
}

/* Set the delete flag of the current (locked) record to flag. */
bool set_flag(var* self, DbfState* s, uint8_t flag)
{
  get_rec(self, 1);
  if (s->eof || s->recno > s->lastrec) return false;
  diBackupRecord(s);
  s->recbuf[0] = flag;
  s->dirty = 1;
  put_rec(self);
  return true;
}

/* Set the delete flag of the current record to flag: the write needs the
** record locked (or the file, or exclusive use); an unlocked record is
** locked automatically for the write where the area allows it, and a
** refusal is reported. */
bool mark_record(var* self, uint8_t flag, const char* method)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return false;
  const bool take = !(s->lk.status & (DBF_ST_EXCL | DBF_ST_FLOCKED)) && !diIsRecLocked(&s->lk, s->recno);
  if (take && !(dbf_auto_allowed(s->concurrency) && dbf_auto_rlock(self, s->concurrency))) {
    dbf_error(self, method, VL_E_NOT_LOCKED, VL_SEV_RUNTIME, diEM_recnlckd, int(s->recno));
    return false;
  }
  const int32_t recno = s->recno;
  const bool marked = set_flag(self, s, flag);
  if (take && dbf_is_open(s)) dbf_auto_unlock(self, s->concurrency, recno);
  return marked;
}

/* delete/recall with no arguments: the current record; with up to three
** (for, while, scope): every record of the scope through eval. */
var* mark_scope(int argc, var** argv, uint8_t flag, const char* method, BlockFn each)
{
  var* self = argv[0];
  if (!dbf_is_open(dbf_state(self))) return FALSE_VAR;
  if (argc == 1) return set_lv(mark_record(self, flag, method));
  if (argc > 4) {
    dbf_error(self, method, VL_E_ARG_COUNT, VL_SEV_RUNTIME, "%s", diEM_expctpars);
    return FALSE_VAR;
  }
  var* block = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(each), 0, self, static_cast<var*>(nullptr));
  var* args[5] = {self, block, NIL_VAR, NIL_VAR, NIL_VAR};
  for (int i = 1; i < argc; ++i) args[i + 1] = argv[i];
  return _bb_dbfidx_eval_me(5, args);
}

/* The per-record blocks; the table's object is their detached variable. */
var* delete_one(int argc, var** argv, var** avec)
{
  mark_record(avec[0], '*', diMN_delete);
  return NIL_VAR;
}

var* recall_one(int argc, var** argv, var** avec)
{
  mark_record(avec[0], ' ', diMN_recall);
  return NIL_VAR;
}

}  // namespace

namespace vl {

void dbf_commit(var* self)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return;
  const bool wrote = put_rec(self);
  if (!dbf_is_ro(s)) dbf_wb_flush(s);
  local_rdlock2(&s->lk, "Commit()");
  if (!wrote) updat_dbfhdr(self);
  if (s->recno > s->lastrec) diSetEof(self);
  else get_rec(self, 0);
  local_rwulock2(&s->lk, "Commit()");
  diResolveRelations(self);
  if (!dbf_is_ro(s)) {
    vln_wrcnt_upd(self);
    vlnSync(s, 0);
  }
}

}  // namespace vl

extern "C" {

/* append([release other locks = .T.]): a blank record at the end, which
** becomes the current one (locked, in shared mode). */
var* _bb_dbfidx_append_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  // NETERR() is set before any report: the error block may BREAK out of it.
  if (!dbf_is_open(s) || dbf_is_ro(s)) {
    vlnSetNeterr(1);
    if (dbf_is_open(s)) dbf_error(self, "DbAppend()", VL_E_FILE_WRITE, VL_SEV_RUNTIME, diEM_dbfro, dbf_alias(s));
    return FALSE_VAR;
  }
  s->bof = s->eof = s->found = 0;
  put_rec(self);
  const bool release = !(argc > 1 && argv[1]->Type == 'L' && !vlnLogVar(argv[1]));
  local_wrlock2(&s->lk, "DbAppend()");
  const int r = add_record(self, s, release);
  if (r == kAddOk) idx_sync(self, s, IDX_SYNC_APPENDED);
  local_rwulock2(&s->lk, "DbAppend()");
  vlnSetNeterr(r != kAddOk);
  idx_report_all(self, s);
  if (r == kAddTooBig)
    dbf_error(self, "DbAppend()", VL_E_ILLEGAL_VALUE, VL_SEV_RUNTIME, diEM_recno, long(s->lastrec + 1));
  return set_lv(r == kAddOk);
}

var* _bb_dbfidx_delete_me(int argc, var** argv) { return mark_scope(argc, argv, '*', diMN_delete, delete_one); }
var* _bb_dbfidx_recall_me(int argc, var** argv) { return mark_scope(argc, argv, ' ', diMN_recall, recall_one); }

var* _bb_dbfidx_deleteall_me(int argc, var** argv)
{
  var* args[] = {argv[0], NIL_VAR};
  return mark_scope(2, args, '*', diMN_delete, delete_one);
}

var* _bb_dbfidx_recallall_me(int argc, var** argv)
{
  var* args[] = {argv[0], NIL_VAR};
  return mark_scope(2, args, ' ', diMN_recall, recall_one);
}

var* _bb_dbfidx_commit_me(int argc, var** argv)
{
  dbf_commit(argv[0]);
  return TRUE_VAR;
}

/* refresh(): forget the changes in the buffer, read the record again and
** put the children back on it. */
var* _bb_dbfidx_refresh_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (!dbf_is_open(s)) return FALSE_VAR;
  s->dirty = 0;
  get_rec(argv[0], 0);
  diResolveRelations(argv[0]);
  return TRUE_VAR;
}

}  // extern "C"
