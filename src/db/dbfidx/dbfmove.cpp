/*
** dbfmove.cpp -- moving through a table: SKIP, GO TOP, GO BOTTOM, GOTO,
** SEEK, and eval, the loop under every record-wise command.  With an
** active order SKIP, GO TOP and GO BOTTOM walk the order, and SEEK looks a
** key up in it (idxsync.cpp); without one they go by record number.
**
** A move sets recno and the flags and reads nothing: the record is read by
** the first field access (get_rec).  Only SET DELETED needs the delete
** flag, and so reads the records it passes.  A dirty buffer is written
** before the move, outside the move's section, so that a refused write
** reports with no section held.
**
** Position count + 1 is the ghost record: EOF is set, the buffer is
** blank.  An empty table stays there with BOF set as well.  After another
** process appends, a move past the count re-reads the header before it
** decides that the end has come.
*/
#include <cstdint>
#include <cstring>

#include "blocks.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "evaluator.h"
#include "idx.hpp"
#include "kernel.h"
#include "switches.h"

using namespace vl;

namespace {

constexpr int kScopeAll = -1;
constexpr int kScopeRest = -2;

bool is_count(const var* v) { return vlnInSet("FIN", v->Type); }
bool is_block(const var* v) { return vlnInSet("Bb", v->Type); }

/* Past the count: re-read the header (another process may have appended);
** true when recno is still past it. */
bool past_end(var* self, DbfState* s)
{
  if (s->recno <= s->lastrec) return false;
  reread_dbfhdr(self);
  return s->recno > s->lastrec;
}

/* An empty table after a header re-read: the ghost record with BOF. */
bool stays_empty(var* self, DbfState* s)
{
  if (s->lastrec == 0) updat_dbfhdr(self);
  if (s->lastrec != 0) return false;
  diSetEof(self);
  s->bof = 1;
  return true;
}

int32_t skip_forward(var* self, DbfState* s, int32_t n, bool filtered)
{
  if (!filtered) {
    s->eof = 0;
    const int64_t to = int64_t(s->recno) + n;
    s->recno = to > INT32_MAX ? INT32_MAX : int32_t(to);
    if (!past_end(self, s)) return n;
    s->eof = 1;
    return int32_t(int64_t(s->lastrec) + n - to + 1);
  }
  int32_t moved = -int32_t(s->eof);
  s->eof = 0;
  while (moved < n && !s->eof) {
    ++s->recno;
    if (past_end(self, s)) s->eof = 1;
    if (!s->eof && !filt_n_del(self, s)) continue;
    ++moved;
  }
  return moved;
}

int32_t skip_backward(var* self, DbfState* s, int32_t n, bool filtered)
{
  const int32_t old = s->recno;
  const int32_t m = n == INT32_MIN ? INT32_MAX : -n;
  s->eof = 0;
  if (!filtered) {
    int32_t moved;
    if (s->recno > m) {
      s->recno -= m;
      moved = -m;
    } else {
      moved = -s->recno;
      s->recno = 1;
      s->bof = 1;
    }
    return s->recno == old ? 0 : moved;
  }
  int32_t moved = 0;
  while (moved < m && !s->bof) {
    if (--s->recno == 0) s->recno = 1, s->bof = 1;
    if (!s->bof && !filt_n_del(self, s)) continue;
    ++moved;
  }
  if (s->bof) {
    dbf_gotop(self);
    s->bof = 1;
  }
  return s->recno == old ? 0 : -moved;
}

/* The block of a for or while argument: itself, or a text compiled; null
** for NIL or absent. */
var* condition(var* v)
{
  if (!v || v->Type == 'U') return nullptr;
  if (is_block(v)) return v;
  return vlnMakeCB(VSTR(v));
}

bool holds(var* block) { return !block || vlnTrueBlockEval(block); }

/* SKIP in the active order, forward: the records moved. */
int32_t order_forward(var* self, DbfState* s, int32_t n, bool filtered)
{
  const bool was = s->eof;
  int32_t moved;
  if (!filtered) {
    moved = idx_skip(self, s, n);
  } else {
    moved = 0;
    s->eof = 0;
    while (moved < n && !s->eof) {
      idx_skip(self, s, 1);
      if (!s->eof && !filt_n_del(self, s)) continue;
      ++moved;
    }
  }
  return was && s->eof ? 0 : moved;
}

/* SKIP in the active order, backward: the records moved (negative). */
int32_t order_backward(var* self, DbfState* s, int32_t n, bool filtered)
{
  const int32_t old = s->recno;
  if (!filtered) {
    const int32_t moved = idx_skip(self, s, n);
    return s->recno == old ? 0 : moved;
  }
  const int64_t m = -int64_t(n);
  int64_t moved = 0;
  while (moved < m && !s->bof) {
    idx_skip(self, s, -1);
    if (!s->bof && !filt_n_del(self, s)) continue;
    ++moved;
  }
  if (s->bof) {
    dbf_gotop(self);
    s->bof = 1;
  }
  return s->recno == old ? 0 : int32_t(-moved);
}

/* Pass over records SET DELETED hides, forward in the active order. */
void order_visible(var* self, DbfState* s)
{
  while (!s->eof && !filt_n_del(self, s)) idx_skip(self, s, 1);
}

/* Look key up (or, with block, scan by block) in the active order, then
** pass over records SET DELETED hides: each must still match, or found is
** false and, without soft, the seek ends at EOF.  Whether found. */
bool seek_in_order(var* self, DbfState* s, var* key, var* block, bool soft)
{
  bool found = block ? idx_seekeval(self, s, block) : idx_seek(self, s, key, soft);
  while (!s->eof && !filt_n_del(self, s)) {
    idx_skip(self, s, 1);
    const bool same = !s->eof && (block ? idx_seekeval(self, s, block) : idx_keycompare(self, s, key) == 0);
    if (same) continue;
    found = false;
    if (!soft) s->eof = 1;
  }
  if (s->eof) {
    diSetEof(self);
    found = false;
  }
  return found;
}

/* seek(key, soft) and seekeval(block): method names the operation for
** reports; mode is the synchronization before the look-up.  The frame:
**   1. an empty table: EOF and BOF, not found
**   2. no active order: 415, not found
**   3. no key: GO TOP and the 902 warning, the result TRUE
**   4. the buffer written, the order synchronized, the look-up and the
**      pass over hidden records under a read section
** The record is read at the first field access, as after any move. */
var* dbf_seek(var* self, var* key, var* soft, var* block, const char* method, int mode)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  s->found = 0;
  if (stays_empty(self, s)) return FALSE_VAR;
  if (!idx_active(s)) {
    dbf_error(self, method, VL_E_IDX_NOT_OPEN, VL_SEV_RUNTIME, diEM_noidxs, dbf_alias(s));
    return FALSE_VAR;
  }
  if (!key && !block) {
    dbf_gotop(self);
    s->found = 1;
    dbf_error(self, method, VL_E_DEV_WARNING, VL_SEV_RUNTIME, "%s", diEM_argmis);
    return TRUE_VAR;
  }
  s->eof = s->bof = 0;
  const bool wrote = put_rec(self);
  local_rdlock2(&s->lk, method);
  if (!wrote) updat_dbfhdr(self);
  idx_sync(self, s, mode);
  const bool softly = soft && soft->Type == 'L' ? vlnLogVar(soft) != 0 : vlnGetSoftSeek() != 0;
  s->found = idx_active(s) && seek_in_order(self, s, key, block, softly);
  local_rwulock2(&s->lk, method);
  idx_report_all(self, s);
  return set_lv(s->found);
}

}  // namespace

namespace vl {

bool dbf_filtered(const DbfState* s) { return vlnGetDelete() || s->filterblock; }

bool filt_n_del(var* self, DbfState* s)
{
  if (!vlnGetDelete()) return true;
  if (s->bufrec != s->recno) get_rec(self, 1);
  return s->recbuf[0] != '*';
}

int32_t diSkip(var* self, int32_t n)
{
  DbfState* s = dbf_state(self);
  if (stays_empty(self, s)) return 0;
  s->found = 0;
  put_rec(self);
  local_rdlock2(&s->lk, diMN_skip);
  if (s->eof) updat_dbfhdr(self);
  const bool ordered = idx_sync(self, s, IDX_SYNC_MOVE) && idx_active(s);
  s->bof = 0;
  const bool filtered = vlnGetDelete();
  int32_t moved;
  if (ordered)
    moved = n > 0 ? order_forward(self, s, n, filtered) : order_backward(self, s, n, filtered);
  else
    moved = n > 0 ? skip_forward(self, s, n, filtered) : skip_backward(self, s, n, filtered);
  if (s->eof) diSetEof(self);
  local_rwulock2(&s->lk, diMN_skip);
  idx_report_all(self, s);
  return moved;
}

void dbf_gotop(var* self)
{
  DbfState* s = dbf_state(self);
  if (stays_empty(self, s)) return;
  put_rec(self);
  local_rdlock2(&s->lk, "GoTop()");
  s->eof = s->bof = s->found = 0;
  if (idx_active(s)) {
    idx_gotop(self, s);
    order_visible(self, s);
  } else {
    s->recno = 1;
    while (!s->eof && !filt_n_del(self, s)) {
      ++s->recno;
      if (past_end(self, s)) s->eof = 1;
    }
  }
  if (s->eof) {
    diSetEof(self);
    s->bof = 1;
  }
  local_rwulock2(&s->lk, "GoTop()");
  idx_report_all(self, s);
}

void dbf_gobottom(var* self)
{
  DbfState* s = dbf_state(self);
  if (stays_empty(self, s)) return;
  put_rec(self);
  local_rdlock2(&s->lk, "GoBottom()");
  updat_dbfhdr(self);
  s->eof = s->bof = s->found = 0;
  if (idx_active(s)) {
    idx_gobottom(self, s);
    if (s->eof) s->bof = 1;
    while (!s->bof && !filt_n_del(self, s)) idx_skip(self, s, -1);
  } else {
    s->recno = s->lastrec;
    while (!s->bof && !filt_n_del(self, s))
      if (--s->recno == 0) s->recno = 1, s->bof = 1;
  }
  if (s->bof) diSetEof(self);
  local_rwulock2(&s->lk, "GoBottom()");
  idx_report_all(self, s);
}

void dbf_goto(var* self, int32_t n)
{
  DbfState* s = dbf_state(self);
  if (stays_empty(self, s)) return;
  put_rec(self);
  s->eof = s->bof = s->found = 0;
  if (n > 0) {
    s->recno = n;
    if (!past_end(self, s)) return;
  }
  s->bof = 1;
  diSetEof(self);
}

}  // namespace vl

extern "C" {

/* skip([n]): records moved; skip(0) writes the buffer and refreshes. */
var* _bb_dbfidx_skip_me(int argc, var** argv)
{
  var* self = argv[0];
  if (!dbf_is_open(dbf_state(self))) return FALSE_VAR;
  int32_t n = 1;
  if (argc > 1 && argv[1]->Type != 'U') {
    if (!is_count(argv[1])) {
      dbf_error(self, diMN_skip, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
      return FALSE_VAR;
    }
    n = vlnIntVar(argv[1]);
  }
  if (n == 0) {
    dbf_commit(self);
    return set_Iv(0);
  }
  return set_Iv(diSkip(self, n));
}

var* _bb_dbfidx_gotop_me(int argc, var** argv)
{
  if (dbf_is_open(dbf_state(argv[0]))) dbf_gotop(argv[0]);
  return TRUE_VAR;
}

var* _bb_dbfidx_gobottom_me(int argc, var** argv)
{
  if (dbf_is_open(dbf_state(argv[0]))) dbf_gobottom(argv[0]);
  return TRUE_VAR;
}

/* goto(n): ignores SET DELETED; 0 or past the count is the ghost record
** with BOF set. */
var* _bb_dbfidx_goto_me(int argc, var** argv)
{
  var* self = argv[0];
  if (!dbf_is_open(dbf_state(self))) return FALSE_VAR;
  if (argc < 2 || !is_count(argv[1])) {
    dbf_error(self, diMN_goto, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
    return FALSE_VAR;
  }
  dbf_goto(self, vlnIntVar(argv[1]));
  return TRUE_VAR;
}

/* seek(key, soft): whether key was found in the active order. */
var* _bb_dbfidx_seek_me(int argc, var** argv)
{
  return dbf_seek(argv[0], argc > 1 ? argv[1] : nullptr, argc > 2 ? argv[2] : nullptr, nullptr, diMN_seek,
                  IDX_SYNC_SEEK);
}

/* seekeval(block): from the current record on in the active order, the
** first entry for which block(key, recno) is true. */
var* _bb_dbfidx_seekeval_me(int argc, var** argv)
{
  var* block = argc > 1 && is_block(argv[1]) ? argv[1] : nullptr;
  if (argc > 1 && !block) {
    dbf_error(argv[0], diMN_seekev, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_blkexptd);
    return FALSE_VAR;
  }
  return dbf_seek(argv[0], nullptr, nullptr, block, diMN_seekev, IDX_SYNC_SEEKEVAL);
}

var* _bb_dbfidx_recno_as(var* obj, var* value)
{
  if (!dbf_is_open(dbf_state(obj))) return FALSE_VAR;
  if (!is_count(value)) {
    dbf_error(obj, diMN_recnoass, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
    return FALSE_VAR;
  }
  dbf_goto(obj, vlnIntVar(value));
  return TRUE_VAR;
}

/* eval(block, for, while, scope): evaluate block on every record in scope
** that satisfies for.  Scope: -1 all (from the top), -2 the rest, n the
** next n records (ending on the last of them).  A while makes it the rest;
** a TRUE scope too. */
var* _bb_dbfidx_eval_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  var* block = argc > 1 ? argv[1] : NIL_VAR;
  var* forv = argc > 2 ? argv[2] : NIL_VAR;
  var* whilev = argc > 3 ? argv[3] : NIL_VAR;
  var* scopev = argc > 4 ? argv[4] : NIL_VAR;
  char wrong[16] = "";
  if (!is_block(block)) std::strcat(wrong, "1 ");
  if (!vlnInSet("BbCMU", forv->Type)) std::strcat(wrong, "2 ");
  if (!vlnInSet("BbCMU", whilev->Type)) std::strcat(wrong, "3 ");
  if (!vlnInSet("FINLU", scopev->Type)) std::strcat(wrong, "4 ");
  if (wrong[0]) {
    dbf_error(self, diMN_eval, VL_E_ARG_TYPE, VL_SEV_RUNTIME, diEM_evalpars, wrong);
    return FALSE_VAR;
  }
  var* forb = condition(forv);
  var* whileb = condition(whilev);
  int32_t scope = whileb ? kScopeRest : kScopeAll;
  if (scopev->Type == 'L' && vlnLogVar(scopev)) scope = kScopeRest;
  if (is_count(scopev)) scope = vlnIntVar(scopev);
  if (scope == kScopeAll) dbf_gotop(self);
  else put_rec(self);
  const int32_t mark = tmpvar_cnt;
  if (s->eof || !holds(whileb)) return TRUE_VAR;
  while (scope != 0) {
    if (holds(forb)) vlnBlockEval(block);
    if (scope > 0) --scope;
    if (scope != 0) diSkip(self, 1);
    del_tmpvars(mark);
    if (!dbf_is_open(s) || s->eof || !holds(whileb)) break;
  }
  return TRUE_VAR;
}

}  // extern "C"
