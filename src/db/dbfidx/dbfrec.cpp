/*
** dbfrec.cpp -- the record buffer: reading a record into it, writing it
** back, and the write-behind buffer of exclusive tables.
**
** put_rec is the one point where a changed record leaves the buffer.  It
** counts the change for the write counter and writes the record under a
** write section; failures are reported only after the section is left.
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
*/
#include <time.h>
#include <unistd.h>

#include <cstring>

#include "dbfint.hpp"
#include "kernel.h"

namespace vl {

int vlnDbfWriteBehind = 1;

namespace {

constexpr time_t kSyncInterval = 11;  // seconds between two syncs of a table

enum FlushResult { kWritten, kRefusedQuietly, kRefusedNoLock, kOutOfRange, kWriteFailed };

/* Write the buffer as record n, through the write-behind run if any. */
bool write_record(DbfState* s, int32_t n)
{
  const size_t rl = s->lk.reclen;
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
  return dbf_pwrite(s->lk.fd, s->recbuf, rl, dbf_recpos(s, n));
}

/* Whether record n sits in the write-behind run. */
bool in_run(const DbfState* s, int32_t n)
{
  return s->wbused && n >= s->wbfirst && n < s->wbfirst + int32_t(s->wbused / s->lk.reclen);
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

}  // namespace

bool dbf_wb_flush(DbfState* s)
{
  if (!s->wbused) return true;
  const bool ok = dbf_pwrite(s->lk.fd, s->wbuf, s->wbused, dbf_recpos(s, s->wbfirst));
  s->wbused = 0;
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
    if (in_run(s, n)) dbf_wb_flush(s);
    dbf_pread(s->lk.fd, s->recbuf, s->lk.reclen, dbf_recpos(s, n));
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
  del_tmpvars(mark);
  local_rwulock2(&s->lk, diMN_fldput);
  if (r != kWriteFailed) s->dirty = 0;
  report_flush(self, s, r, n);
  return 1;
}

}  // namespace vl
