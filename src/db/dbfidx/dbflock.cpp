/*
** dbflock.cpp -- the lock messages of the DBF driver: rlock, flock,
** unlock, rlockverify, lockcurrentrecord and usersdbf.  The locks
** themselves are the lock layer's (dbf_rlock, dbf_flock, ...); these
** messages add what a table needs around them: the buffer is written
** before a lock goes, and a record just locked is read afresh, since
** another process may have changed it before the lock was ours.
**
** An exclusive table takes no record or file locks: they are flags.
*/
#include <cstring>

#include "dbfidx.h"
#include "dbfint.hpp"

using namespace vl;

namespace {

bool is_count(const var* v) { return vlnInSet("FINL", v->Type); }

/* After a lock: the header and the record are read again. */
void refresh_locked(var* self, DbfState* s)
{
  local_rdlock2(&s->lk, "RLock()");
  updat_dbfhdr(self);
  local_rwulock2(&s->lk, "RLock()");
  s->bufrec = 0;
  diInvalidateFields(s);
}

/* unlock of everything: write the buffer, give all locks back. */
bool unlock_all(var* self, DbfState* s)
{
  put_rec(self);
  dbf_wb_flush(s);
  return dbf_fulock(&s->lk) == 0;
}

}  // namespace

extern "C" {

/* rlock([recno]): lock recno (the others stay), or with 0, none or another
** type release everything and lock the current record. */
var* _bb_dbfidx_rlock_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  if (dbf_is_excl(s)) return TRUE_VAR;
  int32_t n = argc > 1 && vlnInSet("FIN", argv[1]->Type) ? vlnIntVar(argv[1]) : 0;
  if (n == 0) {
    unlock_all(self, s);
    n = s->recno;
  }
  if (dbf_rlock(&s->lk, n) < 0) return FALSE_VAR;
  if (n == s->recno) refresh_locked(self, s);
  return TRUE_VAR;
}

var* _bb_dbfidx_flock_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  if (dbf_is_excl(s)) {
    s->lk.status |= DBF_ST_FLOCKED;
    return TRUE_VAR;
  }
  if (!(s->lk.status & DBF_ST_FLOCKED)) {
    unlock_all(self, s);
    if (dbf_flock(&s->lk) < 0) return FALSE_VAR;
    refresh_locked(self, s);
  }
  return TRUE_VAR;
}

/* unlock([recno]): release recno, or every lock. */
var* _bb_dbfidx_unlock_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  if (dbf_is_excl(s)) {
    s->lk.status &= uint8_t(~DBF_ST_FLOCKED);
    dbf_wb_flush(s);
    return TRUE_VAR;
  }
  bool ok;
  if (argc > 1 && is_count(argv[1]) && vlnIntVar(argv[1]) != 0) {
    const int32_t n = vlnIntVar(argv[1]);
    if (n == s->recno) put_rec(self);
    ok = dbf_rulock(&s->lk, n) == 0;
  } else {
    ok = unlock_all(self, s);
  }
  dbf_commit(self);
  return set_lv(ok);
}

var* _bb_dbfidx_lockcurrentrecord_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (!dbf_is_open(s)) return FALSE_VAR;
  if (dbf_is_excl(s)) return TRUE_VAR;
  var* args[] = {argv[0], set_Iv(s->recno)};
  return _bb_dbfidx_rlock_me(2, args);
}

/* rlockverify(): FALSE when the record on file differs from the buffer (so
** someone changed it since it was read); then lock it. */
var* _bb_dbfidx_rlockverify_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  if (dbf_is_excl(s) || s->dirty || diIsRecLocked(&s->lk, s->recno)) return TRUE_VAR;
  if (s->bufrec == s->recno && s->recno <= s->lastrec) {
    uint8_t* now = new uint8_t[s->lk.reclen];
    dbf_pread(s->lk.fd, now, s->lk.reclen, dbf_recpos(s, s->recno));
    const bool same = std::memcmp(now, s->recbuf, s->lk.reclen) == 0;
    delete[] now;
    if (!same) return FALSE_VAR;
  }
  return _bb_dbfidx_lockcurrentrecord_me(argc, argv);
}

/* usersdbf(): the processes using the table (-1 when closed). */
var* _bb_dbfidx_usersdbf_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (!dbf_is_open(s)) return set_Iv(-1);
  return set_Iv(diCheckExclusive(s->lk.fd, VLN_LOCK_BASE) + 1);
}

}  // extern "C"
