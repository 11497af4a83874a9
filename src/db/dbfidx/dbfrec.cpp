/*
** dbfrec.cpp -- the record buffer: reading a record into it, writing it
** back, and the write-behind buffer of exclusive tables.
**
** put_rec is the one point where a changed record leaves the buffer.  It
** counts the change for the write counter and writes the record under a
** write section, and there the open orders trade the record's old keys for
** its new ones; failures are reported only after the section is left.
**
** Write-behind.  A table opened exclusively (and writable) may collect
** written records in wbuf, a run of consecutive records of at most
** kWriteBehindCap bytes, and write the run with one call.  A record
** written inside the run replaces its copy there; one just behind it
** extends the run; any other record writes the run out first.  The run is
** written out before every header write or re-read, commit, close, lock
** call, memo write, PACK or ZAP, and before a record inside it is read, so
** the file always ends up with exactly the bytes the one-record write-back
** would have given it.  Shared tables never use it.
**
** Read-ahead.  A table opened exclusively that is read record after record
** (each record read the neighbour of the one before, either way) reads a
** run of up to kReadAheadCap bytes of records in one call and serves the
** next reads from it; any other read reads its one record, so that jumping
** about costs no more than before.  Nobody else writes the file, and every
** record this open writes updates its copy in the run, so the run always
** shows what the file holds.  Shared tables never use it.
*/
#include <time.h>
#include <unistd.h>

#include <cstring>

#include "dbfint.hpp"
#include "idx.hpp"
#include "kernel.h"

namespace vl {

int vlnDbfWriteBehind = 1;
int vlnDbfReadAhead = 1;
uint64_t vlnDbfRecordReads = 0;

namespace {

constexpr time_t kSyncInterval = 11;  // seconds between two syncs of a table

enum FlushResult { kWritten, kRefusedQuietly, kRefusedNoLock, kOutOfRange, kWriteFailed };

/* Whether record n sits in the read-ahead run. */
bool in_read_run(const DbfState* s, int32_t n) { return n >= s->rafirst && n < s->rafirst + s->racount; }

/* Keep the read-ahead run's copy of record n equal to what is written. */
void mirror_record(DbfState* s, int32_t n)
{
  if (in_read_run(s, n)) std::memcpy(s->rabuf + size_t(n - s->rafirst) * s->lk.reclen, s->recbuf, s->lk.reclen);
}

/* Write the buffer as record n, through the write-behind run if any. */
bool write_record(DbfState* s, int32_t n)
{
  const size_t rl = s->lk.reclen;
  mirror_record(s, n);
  if (s->wbuf && rl <= kWriteBehindCap) {
    const int32_t inrun = int32_t(s->wbused / rl);
    if (s->wbused && n >= s->wbfirst && n < s->wbfirst + inrun) {
      std::memcpy(s->wbuf + size_t(n - s->wbfirst) * rl, s->recbuf, rl);
      return true;
    }
    if (s->wbused && n == s->wbfirst + inrun && s->wbused + rl <= kWriteBehindCap) {
      std::memcpy(s->wbuf + s->wbused, s->recbuf, rl);
      s->wbused += rl;
      return true;
    }
    if (!dbf_wb_flush(s)) return false;
    s->wbfirst = n;
    std::memcpy(s->wbuf, s->recbuf, rl);
    s->wbused = rl;
    return true;
  }
  if (dbf_pwrite(s->lk.fd, s->recbuf, rl, dbf_recpos(s, n))) return true;
  dbf_ra_drop(s);  // the run would show what the file did not take
  return false;
}

/* Whether record n sits in the write-behind run. */
bool in_run(const DbfState* s, int32_t n)
{
  return s->wbused && n >= s->wbfirst && n < s->wbfirst + int32_t(s->wbused / s->lk.reclen);
}

/* Whether records first to first + count - 1 meet the write-behind run. */
bool meets_run(const DbfState* s, int32_t first, int32_t count)
{
  return s->wbused && first < s->wbfirst + int32_t(s->wbused / s->lk.reclen) && s->wbfirst < first + count;
}

/* Whether reading record n continues reads record after record on an
** exclusive table that may read ahead. */
bool reads_in_turn(const DbfState* s, int32_t n)
{
  return s->ralast != 0 && (n == s->ralast + 1 || n == s->ralast - 1) && dbf_is_excl(s) && vlnDbfReadAhead &&
         s->lk.reclen <= kReadAheadCap;
}

/* Fill the read-ahead run with the records from n on (forward) or up to n,
** as many as fit and the table holds.  Pending writes among them go to
** the file first.  A failed read leaves no run. */
void fill_read_run(DbfState* s, int32_t n, bool forward)
{
  const int32_t fit = int32_t(kReadAheadCap / s->lk.reclen);
  const int32_t first = forward ? n : (n > fit ? n - fit + 1 : 1);
  const int32_t count = forward ? (s->lastrec - n < fit ? s->lastrec - n + 1 : fit) : n - first + 1;
  if (!s->rabuf) s->rabuf = new uint8_t[kReadAheadCap];
  dbf_ra_drop(s);
  if (meets_run(s, first, count)) dbf_wb_flush(s);
  if (!dbf_pread(s->lk.fd, s->rabuf, size_t(count) * s->lk.reclen, dbf_recpos(s, first))) return;
  s->rafirst = first;
  s->racount = count;
}

/* Read record n (at most the count) into the buffer. */
void read_record(DbfState* s, int32_t n)
{
  const size_t rl = s->lk.reclen;
  ++vlnDbfRecordReads;
  if (in_run(s, n)) dbf_wb_flush(s);
  if (!in_read_run(s, n) && reads_in_turn(s, n)) fill_read_run(s, n, n > s->ralast);
  s->ralast = n;
  if (in_read_run(s, n))
    std::memcpy(s->recbuf, s->rabuf + size_t(n - s->rafirst) * rl, rl);
  else
    dbf_pread(s->lk.fd, s->recbuf, rl, dbf_recpos(s, n));
}

/* flush_rec without reports: the caller reports after leaving its section. */
FlushResult flush_quiet(DbfState* s, int32_t n)
{
  if (n == 0 || n > s->lastrec) return kOutOfRange;
  const bool mayWrite = (s->lk.status & (DBF_ST_EXCL | DBF_ST_FLOCKED)) || diIsRecLocked(&s->lk, n);
  if (!mayWrite) return s->lk.lockcount == 0 ? kRefusedNoLock : kRefusedQuietly;
  if (!write_record(s, n)) return kWriteFailed;
  s->dirty = 0;
  s->recno = n;
  return kWritten;
}

/* The report for a flush that did not write. */
void report_flush(var* self, DbfState* s, FlushResult r, int32_t n)
{
  switch (r) {
    case kRefusedNoLock:
      dbf_error(self, diMN_fldput, VL_E_NOT_LOCKED, VL_SEV_RUNTIME, diEM_writrec, int(n), dbf_alias(s));
      break;
    case kOutOfRange:
      dbf_error(self, diMN_fldput, VL_E_AT_EOF, VL_SEV_INTERNAL, diEM_area, dbf_alias(s));
      break;
    case kWriteFailed:
      dbf_error(self, diMN_fldput, VL_E_FILE_WRITE, VL_SEV_IO, diEM_writrec, int(n), dbf_alias(s));
      break;
    default: break;
  }
}

/* Make buf the record buffer that the field records show. */
void show_buffer(DbfState* s, uint8_t* buf)
{
  s->recbuf = buf;
  dbf_point_fields(s);
  diInvalidateFields(s);
}

/* The orders follow a written record: its old keys are taken from the
** record as it was read (backup), then swapped for the new ones. */
void replace_keys(var* self, DbfState* s)
{
  uint8_t* now = s->recbuf;
  show_buffer(s, s->backup ? s->backup : now);
  idx_sync(self, s, IDX_SYNC_HELD);
  show_buffer(s, now);
  idx_replace(self, s);
}

}  // namespace

bool dbf_wb_flush(DbfState* s)
{
  if (!s->wbused) return true;
  const bool ok = dbf_pwrite(s->lk.fd, s->wbuf, s->wbused, dbf_recpos(s, s->wbfirst));
  s->wbused = 0;
  if (!ok) dbf_ra_drop(s);  // the run would show what the file did not take
  return ok;
}

void vlnSync(DbfState* s, int force)
{
  const time_t now = time(nullptr);
  if (!force && now - s->lastsync < kSyncInterval) return;
  s->lastsync = now;
  dbf_wb_flush(s);
  if (s->lk.fd >= 0) fdatasync(s->lk.fd);
  if (s->dbt_fd >= 0) fdatasync(s->dbt_fd);
}

void diClrRecord(DbfState* s) { std::memset(s->recbuf, ' ', s->lk.reclen); }

void diBackupRecord(DbfState* s)
{
  if (s->dirty) return;
  if (!s->backup) s->backup = new uint8_t[s->lk.reclen];
  std::memcpy(s->backup, s->recbuf, s->lk.reclen);
}

void diSetEof(var* self)
{
  DbfState* s = dbf_state(self);
  s->eof = 1;
  diClrRecord(s);
  diInvalidateFields(s);
  s->dirty = 0;
  s->recno = s->bufrec = s->lastrec + 1;
}

int fetch_rec(var* self, int32_t n)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) {
    dbf_error(self, diMN_fldget, VL_E_DBF_NOT_OPEN, VL_SEV_INTERNAL, diEM_recno, long(n));
    return -1;
  }
  if (n == 0) {
    dbf_error(self, diMN_fldget, VL_E_RECNO_RANGE, VL_SEV_INTERNAL, diEM_recno, 0L);
    return -1;
  }
  int result = 0;
  if (n <= s->lastrec) {
    read_record(s, n);
    s->bufrec = s->recno = n;
  } else {
    diClrRecord(s);
    s->bufrec = s->recno = s->lastrec + 1;
    result = -1;
  }
  diInvalidateFields(s);
  s->dirty = 0;
  return result;
}

void get_rec(var* self, int only_if_stale)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return;
  if (only_if_stale && s->bufrec == s->recno) return;
  if (s->lastrec == 0) {
    s->bof = 1;
    diSetEof(self);
    return;
  }
  if (s->dirty) put_rec(self);
  if (s->recno == 0) return;
  local_rdlock2(&s->lk, diMN_fldget);
  if (s->recno <= s->lastrec) {
    fetch_rec(self, s->recno);
  } else {
    diClrRecord(s);
    diInvalidateFields(s);
    s->bufrec = s->recno;
  }
  local_rwulock2(&s->lk, diMN_fldget);
}

void flush_rec(var* self, int32_t n)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) {
    dbf_error(self, diMN_fldput, VL_E_DBF_NOT_OPEN, VL_SEV_INTERNAL, diEM_area, dbf_alias(s));
    return;
  }
  local_wrlock2(&s->lk, diMN_fldput);
  const FlushResult r = flush_quiet(s, n);
  local_rwulock2(&s->lk, diMN_fldput);
  report_flush(self, s, r, n);
}

int put_rec(var* self)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s) || !s->dirty || s->lastrec == 0) return 0;
  if (dbf_is_ro(s)) {
    s->dirty = 0;
    dbf_error(self, diMN_fldput, VL_E_FILE_WRITE, VL_SEV_RUNTIME, diEM_dbfro, dbf_alias(s));
    get_rec(self, 0);
    return 0;
  }
  if (vln_chk_repl(s, self) < 0 || s->recno == 0) return 0;
  const int32_t mark = tmpvar_cnt;
  const int32_t n = s->recno;
  local_wrlock2(&s->lk, diMN_fldput);
  vln_wrcnt(-2, self);
  const FlushResult r = flush_quiet(s, n);
  if (r == kWritten && s->indexcount > 0) replace_keys(self, s);
  del_tmpvars(mark);
  local_rwulock2(&s->lk, diMN_fldput);
  if (r != kWriteFailed) s->dirty = 0;
  report_flush(self, s, r, n);
  idx_report_all(self, s);
  return 1;
}

}  // namespace vl
