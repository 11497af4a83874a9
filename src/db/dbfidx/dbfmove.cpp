/*
** dbfmove.cpp -- moving through a table: SKIP, GO TOP, GO BOTTOM, GOTO,
** SEEK, and eval, the loop under every record-wise command.  With an
** active order SKIP, GO TOP and GO BOTTOM walk the order, and SEEK looks a
** key up in it (idxsync.cpp); without one they go by record number.
**
** A move sets recno and the flags and reads nothing: the record is read by
** the first field access (get_rec).  Only SET DELETED and the filter need
** the record, so only a filtered move reads the records it passes.  A
** dirty buffer is written before the move, outside the move's section, so
** that a refused write reports with no section held.
**
** Visibility.  With SET DELETED or a filter on, SKIP counts visible
** records only and GO TOP, GO BOTTOM and SEEK pass over hidden ones; GOTO
** goes where it is told.  Each step of such a walk positions the children
** (relations) before the record is tested, so that a filter may look at
** them.  GO TOP and GO BOTTOM give the section up for a moment between the
** move and the walk: a long filter does not shut other processes out.
**
** Language code runs inside the move's section (the filter, the keys of
** the relations) and may BREAK out: the section is held through
** in_section, which gives it back when a BREAK passes.
**
** Position count + 1 is the ghost record: EOF is set, the buffer is
** blank.  An empty table stays there with BOF set as well, and so does a
** table with nothing visible after GO TOP or GO BOTTOM.  After another
** process appends, a move past the count re-reads the header before it
** decides that the end has come.
*/
#include <cstdint>
#include <cstring>

#include "blocks.h"
#include "breakguard.hpp"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "evaluator.h"
#include "idx.hpp"
#include "kernel.h"
#include "letters.hpp"
#include "switches.h"

using namespace vl;

namespace {

constexpr int kScopeAll = -1;
constexpr int kScopeRest = -2;
constexpr char kGoTop[] = "GoTop()";
constexpr char kGoBottom[] = "GoBottom()";

bool is_count(const var* v) { return kNFI.has(v->Type); }
bool is_block(const var* v) { return kBb.has(v->Type); }

/* The read section a move runs in; drop and take let GO TOP and GO BOTTOM
** give it up for a moment. */
struct Section {
  DbfState* s;
  const char* method;
  bool held = false;
  void take()
  {
    local_rdlock2(&s->lk, method);
    held = true;
  }
  void drop()
  {
    if (held) local_rwulock2(&s->lk, method);
    held = false;
  }
};

/* body(section) inside a read section named method, given back when body
** returns and when a BREAK passes through. */
template <class Body>
auto in_section(DbfState* s, const char* method, Body&& body)
{
  Section sec{s, method};
  sec.take();
  return vln_guarded([&] { return body(sec); }, [&] { sec.drop(); });
}

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

/* One step forward in the active order or by number; EOF when there is
** no next record. */
void step_forward(var* self, DbfState* s, bool ordered)
{
  if (ordered) {
    idx_skip(self, s, 1);
    return;
  }
  ++s->recno;
  if (past_end(self, s)) s->eof = 1;
}

/* One step backward; BOF, on the first record, when there is none.  In an
** order a step from EOF goes to the last key. */
void step_backward(var* self, DbfState* s, bool ordered)
{
  if (ordered) {
    idx_skip(self, s, -1);
    return;
  }
  if (--s->recno == 0) s->recno = 1, s->bof = 1;
}

/* Pass over hidden records, forward until EOF or backward until BOF. */
void pass_hidden_forward(var* self, DbfState* s, bool ordered)
{
  while (!s->eof && !filt_n_del(self, s)) {
    step_forward(self, s, ordered);
    diResolveRelations(self);
  }
}

void pass_hidden_backward(var* self, DbfState* s, bool ordered)
{
  while (!s->bof && !filt_n_del(self, s)) {
    step_backward(self, s, ordered);
    diResolveRelations(self);
  }
}

/* Unfiltered SKIP n forward: by number, or in the order.  The records
** moved; a skip that starts and ends at EOF moved none. */
int32_t skip_forward(var* self, DbfState* s, int32_t n, bool ordered)
{
  if (ordered) {
    const bool was = s->eof;
    const int32_t moved = idx_skip(self, s, n);
    return was && s->eof ? 0 : moved;
  }
  s->eof = 0;
  const int64_t to = int64_t(s->recno) + n;
  s->recno = to > INT32_MAX ? INT32_MAX : int32_t(to);
  if (!past_end(self, s)) return n;
  s->eof = 1;
  return int32_t(int64_t(s->lastrec) + n - to + 1);
}

/* Unfiltered SKIP n backward (n negative); running off the front leaves
** BOF on the first record.  The records moved, 0 if recno did not change. */
int32_t skip_backward(var* self, DbfState* s, int32_t n, bool ordered)
{
  const int32_t old = s->recno;
  int32_t moved;
  if (ordered) {
    moved = idx_skip(self, s, n);
  } else {
    const int32_t m = n == INT32_MIN ? INT32_MAX : -n;
    s->eof = 0;
    if (s->recno > m) {
      s->recno -= m;
      moved = -m;
    } else {
      moved = -s->recno;
      s->recno = 1;
      s->bof = 1;
    }
  }
  return s->recno == old ? 0 : moved;
}

/* Filtered SKIP n forward: n visible records, or EOF.  The EOF step counts
** as one.  By number a walk from EOF starts one behind, so that SKIP 1
** there moves nothing; in the order a walk that starts and ends at EOF
** moved none. */
int32_t walk_forward(var* self, DbfState* s, int32_t n, bool ordered)
{
  const bool was = s->eof;
  int32_t moved = ordered ? 0 : -int32_t(s->eof);
  s->eof = 0;
  while (moved < n && !s->eof) {
    step_forward(self, s, ordered);
    diResolveRelations(self);
    if (!s->eof && !filt_n_del(self, s)) continue;
    ++moved;
  }
  return ordered && was && s->eof ? 0 : moved;
}

/* Filtered SKIP n backward: n visible records; running off the front goes
** to the top with BOF set.  The records moved (negative), 0 if recno did
** not change. */
int32_t walk_backward(var* self, DbfState* s, int32_t n, bool ordered)
{
  const int32_t old = s->recno;
  const int64_t m = -int64_t(n);
  if (!ordered) s->eof = 0;
  int64_t moved = 0;
  while (moved < m && !s->bof) {
    step_backward(self, s, ordered);
    diResolveRelations(self);
    if (!s->bof && !filt_n_del(self, s)) continue;
    ++moved;
  }
  if (s->bof) {
    dbf_gotop(self);
    s->bof = 1;
  }
  return s->recno == old ? 0 : int32_t(-moved);
}

/* diSkip inside its section: the records moved. */
int32_t skip_in(var* self, DbfState* s, int32_t n)
{
  if (stays_empty(self, s)) return 0;
  if (s->eof) updat_dbfhdr(self);
  const bool ordered = idx_sync(self, s, IDX_SYNC_MOVE) && idx_active(s);
  s->bof = 0;
  int32_t moved;
  if (dbf_filtered(s))
    moved = n > 0 ? walk_forward(self, s, n, ordered) : walk_backward(self, s, n, ordered);
  else
    moved = n > 0 ? skip_forward(self, s, n, ordered) : skip_backward(self, s, n, ordered);
  if (s->eof) diSetEof(self);
  return moved;
}

/* Before the walk of GO TOP or GO BOTTOM: the section is given up for a
** moment; what another process did meanwhile is taken in.  Whether an
** order is still active. */
bool reopen_section(var* self, DbfState* s, Section& sec, bool ordered)
{
  diResolveRelations(self);
  sec.drop();
  sec.take();
  if (!ordered) return false;
  updat_dbfhdr(self);
  return idx_sync(self, s, IDX_SYNC_MOVE) && idx_active(s);
}

void gotop_in(var* self, DbfState* s, Section& sec)
{
  if (stays_empty(self, s)) return;
  s->eof = s->bof = s->found = 0;
  bool ordered = idx_active(s);
  if (ordered) {
    idx_gotop(self, s);
    if (s->eof) diSetEof(self);
  } else {
    s->recno = 1;
  }
  if (dbf_filtered(s)) {
    ordered = reopen_section(self, s, sec, ordered);
    pass_hidden_forward(self, s, ordered);
  }
  if (s->eof) {
    diSetEof(self);
    s->bof = 1;
  }
}

void gobottom_in(var* self, DbfState* s, Section& sec)
{
  if (stays_empty(self, s)) return;
  updat_dbfhdr(self);
  s->eof = s->bof = s->found = 0;
  bool ordered = idx_active(s);
  if (ordered) {
    idx_gobottom(self, s);
    if (s->eof) s->bof = 1;  // an empty order
  } else {
    s->recno = s->lastrec;
  }
  if (dbf_filtered(s)) {
    ordered = reopen_section(self, s, sec, ordered);
    pass_hidden_backward(self, s, ordered);
  }
  if (s->bof) diSetEof(self);
}

/* The block of a for or while argument: itself, or a text compiled; null
** for NIL or absent. */
var* condition(var* v)
{
  if (!v || v->Type == 'U') return nullptr;
  if (is_block(v)) return v;
  return vlnMakeCB(VSTR(v));
}

/* A temporary copy of an owned default, which the loop's blocks may drop. */
var* temp_copy(var* v) { return v ? cpy_var(cre_tmpvar(), v) : nullptr; }

/* Look key up (or, with block, scan by block) in the active order, then
** pass over hidden records: each must still match, or found is false and,
** without soft, the seek ends at EOF.  Whether found. */
bool seek_in_order(var* self, DbfState* s, var* key, var* block, bool soft)
{
  bool found = block ? idx_seekeval(self, s, block) : idx_seek(self, s, key, soft);
  diResolveRelations(self);
  while (!s->eof && !filt_n_del(self, s)) {
    idx_skip(self, s, 1);
    diResolveRelations(self);
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
  if (stays_empty(self, s)) {
    diResolveRelations(self);
    return FALSE_VAR;
  }
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
  const bool softly = soft && soft->Type == 'L' ? vlnLogVar(soft) != 0 : vlnGetSoftSeek() != 0;
  s->found = in_section(s, method, [&](Section&) {
    if (!wrote) updat_dbfhdr(self);
    idx_sync(self, s, mode);
    const bool found = idx_active(s) && seek_in_order(self, s, key, block, softly);
    diResolveRelations(self);
    return found;
  });
  idx_report_all(self, s);
  return set_lv(s->found);
}

}  // namespace

namespace vl {

bool dbf_filtered(const DbfState* s) { return vlnGetDelete() || s->filterblock; }

bool dbf_holds(var* block) { return !block || vlnTrueBlockEval(block); }

bool filt_n_del(var* self, DbfState* s)
{
  if (vlnGetDelete()) {
    if (s->bufrec != s->recno) get_rec(self, 1);
    if (s->recbuf[0] == '*') return false;
  }
  if (!s->filterblock) return true;
  const int32_t mark = tmpvar_cnt;
  var* r = vlnBlockEval(s->filterblock);
  const bool shown = r && kNFIL.has(r->Type) && vlnLogVar(r);
  del_tmpvars(mark);
  return shown || !dbf_is_open(s);  // a filter that closed the table ends the walk
}

int32_t diSkip(var* self, int32_t n)
{
  DbfState* s = dbf_state(self);
  s->found = 0;
  put_rec(self);
  const int32_t moved = in_section(s, diMN_skip, [&](Section&) {
    const int32_t m = skip_in(self, s, n);
    diResolveRelations(self);
    return m;
  });
  idx_report_all(self, s);
  return moved;
}

void dbf_gotop(var* self)
{
  DbfState* s = dbf_state(self);
  put_rec(self);
  in_section(s, kGoTop, [&](Section& sec) {
    gotop_in(self, s, sec);
    diResolveRelations(self);
  });
  idx_report_all(self, s);
}

void dbf_gobottom(var* self)
{
  DbfState* s = dbf_state(self);
  put_rec(self);
  in_section(s, kGoBottom, [&](Section& sec) {
    gobottom_in(self, s, sec);
    diResolveRelations(self);
  });
  idx_report_all(self, s);
}

void dbf_goto(var* self, int32_t n)
{
  DbfState* s = dbf_state(self);
  if (!stays_empty(self, s)) {
    put_rec(self);
    s->eof = s->bof = s->found = 0;
    s->recno = n > 0 ? n : 0;
    if (n <= 0 || past_end(self, s)) {
      s->bof = 1;
      diSetEof(self);
    }
  }
  diResolveRelations(self);
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
** a TRUE scope too.  With for, while and scope all NIL or absent the
** defaults set by forblock=, whileblock= and scope= apply. */
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
  var* forb;
  var* whileb;
  int32_t scope;
  if (forv->Type == 'U' && whilev->Type == 'U' && scopev->Type == 'U') {
    forb = temp_copy(s->forblock);
    whileb = temp_copy(s->whileblock);
    scope = s->scope;
  } else {
    forb = condition(forv);
    whileb = condition(whilev);
    scope = whileb ? kScopeRest : kScopeAll;
    if (scopev->Type == 'L' && vlnLogVar(scopev)) scope = kScopeRest;
    if (is_count(scopev)) scope = vlnIntVar(scopev);
  }
  if (scope == kScopeAll) dbf_gotop(self);
  else put_rec(self);
  const int32_t mark = tmpvar_cnt;
  if (s->eof || !dbf_holds(whileb)) return TRUE_VAR;
  while (scope != 0) {
    if (dbf_holds(forb)) vlnBlockEval(block);
    if (scope > 0) --scope;
    if (scope != 0) diSkip(self, 1);
    del_tmpvars(mark);
    if (!dbf_is_open(s) || s->eof || !dbf_holds(whileb)) break;
  }
  return TRUE_VAR;
}

}  // extern "C"
