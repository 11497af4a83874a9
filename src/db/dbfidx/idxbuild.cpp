/*
** idxbuild.cpp -- making orders: INDEX ON (createorder, createindex), the
** condition of the next build (setordercondition), REINDEX, and the build
** loop under them (diBuildIdxFile).
**
** A build walks the records in natural order from the condition's start
** and inserts each record's key one at a time, exactly as the key
** maintenance of a change would: a built file is the file that appending
** the same records one by one would have made.  The new index is opened
** exclusively, so the engine keeps its header and first sectors in memory
** and the header reaches the disk once, at the end.
**
** The condition belongs to one build: the build takes it over when it
** starts, and every exit of createorder and reindex leaves the defaults.
**
** Language code runs throughout (the key, FOR, WHILE and EVAL blocks), and
** may BREAK out or close the table.  Everything a build changes for its
** duration (a file lock it took, a key block it swapped in, the condition
** it took over) is put back by a guard that a BREAK runs as well; a closed
** table or orders dropped by a fault report end the build without a word.
*/
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "blocks.h"
#include "breakguard.hpp"
#include "dbfidx.h"
#include "evaluator.h"
#include "idxorder.hpp"
#include "letters.hpp"
#include "set.hpp"

using namespace vl;

namespace {

constexpr LetterSet kNumber = letters("INF");
constexpr LetterSet kLogical = letters("LINF");
constexpr int32_t kFreeEvery = 16;    // records between two releases of temporaries
constexpr uint8_t kCondAll = 1, kCondDescend = 2;
constexpr mode_t kPermBits = 0777;

var* arg(int argc, var** argv, int i) { return i < argc ? argv[i] : NIL_VAR; }
bool is_true(var* v) { return kLogical.has(v->Type) && vlnLogVar(v); }
bool is_false(var* v) { return v->Type == 'L' && !vlnLogVar(v); }

/* A block argument, or a text compiled to one; null for anything else. */
var* own_block(var* v)
{
  if (kBb.has(v->Type)) return dbf_own(v);
  if (kCM.has(v->Type) && VSTR(v) && *VSTR(v)) return dbf_own(vlnMakeCB(VSTR(v)));
  return nullptr;
}

/* ---- Locking for a build. ---- */

/* 1 when a file lock was taken for the build (to be given back), 0 when
** none is needed, -1 when the build may not go on. */
int lock_for_build(var* self, DbfState* s, bool no_autolock)
{
  if (no_autolock || dbf_is_excl(s) || (s->lk.status & DBF_ST_FLOCKED)) return 0;
  if (!dbf_auto_allowed(s->concurrency)) {
    dbf_error(self, diMN_creord, VL_E_NOT_LOCKED, VL_SEV_RUNTIME, "%s", diEM_flckreq);
    return -1;
  }
  return dbf_auto_flock(self, s->concurrency) ? 1 : -1;
}

/* ---- The build loop. ---- */

/* What a build runs on, taken over from the area's condition. */
struct Scan {
  OrderCond c;
  int32_t order;  // the active order, put back at the end
};

/* Add the keys of the records in the scan's range; false when the table
** was closed or the orders dropped meanwhile. */
bool scan(var* self, DbfState* s, IdxDesc* idx, const OrderCond& c)
{
  const int32_t mark = tmpvar_cnt;
  int32_t next = c.next;
  s->recno = c.start < 1 ? 1 : c.start;
  bool go = s->recno <= s->lastrec && next != 0 && dbf_holds(c.whileblock);
  for (int32_t n = 1; go; ++n) {
    if (next > 0) --next;
    if (dbf_holds(c.forblock)) {
      ndx_add(self, s, idx, s->recno, nullptr, TRUE_VAR);
      if (idx_still_open(s, idx) && idx->fault.code) idx_report(self, s, idx);
    }
    if (!dbf_is_open(s) || !idx_still_open(s, idx)) return false;
    if (c.evalblock && (c.interval == -1 || s->recno % c.interval == 0) && is_false(vlnBlockEval(c.evalblock)))
      break;
    if (!dbf_is_open(s) || !idx_still_open(s, idx)) return false;
    ++s->recno;
    if (n % kFreeEvery == 0) del_tmpvars(mark);
    go = s->recno <= s->lastrec && next != 0 && dbf_holds(c.whileblock);
  }
  del_tmpvars(mark);
  return dbf_is_open(s) && idx_still_open(s, idx);
}

/* The records' key lengths as the header stores them: C the length with
** its terminator (as a text value counts it), numbers width and
** decimals, other types the key length. */
void stored_size(const IdxHeader& h, int32_t* width, int32_t* dec)
{
  *width = h.keylen, *dec = 0;
  if (h.keytype == 'C') *width = h.keylen + 1;
  else if (kNFI.has(h.keytype)) *width = h.numwidth, *dec = h.keylen;
}

bool same_kind(char a, char b)
{
  if (kNFI.has(a)) return kNFI.has(b);
  if (kCM.has(a)) return kCM.has(b);
  return a == b;
}

/* Whether the key text of idx still makes the keys its header describes;
** reports the difference (or an empty key text) and gives false. */
bool key_fits(var* self, IdxDesc* idx)
{
  const IdxHeader& h = idx->hdr;
  if (!h.keyexpr[0]) {
    dbf_error(self, diMN_reindex, VL_E_INDEX_CORRUPT, VL_SEV_RUNTIME, "%s", diEM_wrgidxklen);
    return false;
  }
  const int32_t mark = tmpvar_cnt;
  var* v = exp_eval(h.keyexpr);
  int32_t sw, sd;
  stored_size(h, &sw, &sd);
  const char type = v->Type;
  int32_t w = v->Length, d = kNFI.has(type) ? v->Decimals : 0;
  if (w < 0) w = sw, d = sd;
  del_tmpvars(mark);
  const bool fits = same_kind(type, h.keytype) && (type == 'D' || type == 'L' || (w == sw && d == sd));
  if (!fits)
    dbf_error(self, diMN_reindex, VL_E_INDEX_CORRUPT, VL_SEV_RUNTIME, diEM_wrgsize, idx->filename, h.keyexpr,
              type, int(w), int(d), h.keytype, int(sw), int(sd));
  return fits;
}

/* The key block of a build from a block argument: swapped in for the
** compiled key text, which comes back afterwards. */
struct KeySwap {
  IdxDesc* idx = nullptr;
  var* compiled = nullptr;
  var* field = nullptr;
};
void swap_in(KeySwap* k, IdxDesc* idx, var* block)
{
  k->idx = idx;
  k->compiled = idx->keyblock;
  k->field = idx->keyfield;
  idx->keyblock = dbf_own(block);
  idx->keyfield = nullptr;
}
void swap_back(KeySwap* k, const DbfState* s)
{
  if (!k->idx) return;
  if (idx_still_open(s, k->idx)) {
    std::swap(k->idx->keyblock, k->compiled);
    k->idx->keyfield = k->field;
  }
  dbf_drop(k->compiled);
  k->idx = nullptr;
}

/* createorder after the checks and the lock: steps that run language
** code.  true when the new order was built. */
bool make_order(var* self, DbfState* s, var* file, var* alias, var* keytext, var* keyblock, var* unique,
                int width, int dec, KeySwap* swap)
{
  s->bof = s->eof = s->found = 0;
  put_rec(self);
  idx_clear(self, s);
  fetch_rec(self, s->lastrec + 1);
  s->bof = 1;
  var* key = kBb.has(keyblock->Type) ? vlnBlockEval(keyblock) : exp_eval(VSTR(keytext));
  struct stat st{};
  const int mode = fstat(s->lk.fd, &st) == 0 ? int(st.st_mode & kPermBits) : 0;
  var* fortext = s->cond.fortext ? s->cond.fortext : NIL_VAR;
  var* creat = ndx_creat(file, keytext, key, unique, set_lv(s->cond.flags & kCondDescend), fortext, mode, self,
                         width, dec);
  if (creat != TRUE_VAR) return false;
  IdxDesc* idx = ndx_open(self, s, file, 1, alias, key, dbf_is_ro(s), diMN_creord);
  if (!idx) return false;
  s->orders[1] = idx;
  s->indexcount = s->indexord = 1;
  if (kBb.has(keyblock->Type)) swap_in(swap, idx, keyblock);
  diBuildIdxFile(self, idx, 0);
  swap_back(swap, s);
  if (!dbf_is_open(s)) return false;
  var* top[] = {self};
  _bb_dbfidx_gotop_me(1, top);
  return true;
}

/* The width and decimals of a numeric key from arguments w and d: both 0
** unless 0 <= decimals < width. */
void key_width(var* w, var* d, int* width, int* dec)
{
  *width = kNumber.has(w->Type) ? vlnIntVar(w) : 0;
  *dec = kNumber.has(d->Type) ? vlnIntVar(d) : 0;
  if (*dec < 0 || *dec >= *width) *width = *dec = 0;
}

/* KEEPINDEX asks for nothing this driver does: it only earns a warning. */
void keep_index_warning(var* self, DbfState* s)
{
  if (s->indexcount == 0)
    dbf_error(self, diMN_creord, VL_E_DEV_WARNING, VL_SEV_RUNTIME, "%s", diEM_keepidx);
  if (!s->cond.forblock)
    dbf_error(self, diMN_creord, VL_E_DEV_WARNING, VL_SEV_RUNTIME, "%s", diEM_keepfor);
}

/* reindex after the checks: every order rebuilt with its own FOR block. */
bool rebuild_all(var* self, DbfState* s)
{
  const int32_t count = s->indexcount;
  for (int32_t i = 1; i <= count; ++i) {
    IdxDesc* idx = s->orders[i];
    if (!key_fits(self, idx)) return false;
    dbf_drop(s->cond.forblock);
    if (idx->forblock) s->cond.forblock = dbf_own(idx->forblock);
    diBuildIdxFile(self, idx, 0);
    if (!dbf_is_open(s) || s->indexcount != count) return false;
  }
  s->indexord = 1;
  var* top[] = {self};
  _bb_dbfidx_gotop_me(1, top);
  return true;
}

}  // namespace

namespace vl {

void idx_cond_reset(OrderCond* c)
{
  dbf_drop(c->fortext);
  dbf_drop(c->forblock);
  dbf_drop(c->whileblock);
  dbf_drop(c->evalblock);
  *c = OrderCond{nullptr, nullptr, nullptr, nullptr, 1, 1, -1, 0};
}

/* keep would walk the records through skip; no caller asks for it. */
void diBuildIdxFile(var* self, IdxDesc* idx, int keep)
{
  (void)keep;
  DbfState* s = dbf_state(self);
  Scan sc{s->cond, s->indexord};
  s->cond = OrderCond{nullptr, nullptr, nullptr, nullptr, 1, 1, -1, 0};
  s->bof = s->eof = 0;
  const bool done = vln_guarded([&] { return scan(self, s, idx, sc.c); }, [&] { idx_cond_reset(&sc.c); });
  if (!done) return;
  s->indexord = sc.order;
  if (idx->hdr.keycnt == 0) {
    s->bof = 1;
    diSetEof(self);
  }
  ndx_flshhdr(idx, 1);
  vln_wrcnt_upd(self);
}

}  // namespace vl

extern "C" {

/* setordercondition(for text, for block, all, while, eval, interval,
** start, next, record, rest, descend): the condition of the next build.
** A text in place of a block is compiled. */
var* _bb_dbfidx_setordercondition_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  OrderCond& c = s->cond;
  idx_cond_reset(&c);
  var* fortext = arg(argc, argv, 1);
  if (kCM.has(fortext->Type) && VSTR(fortext) && *VSTR(fortext)) c.fortext = dbf_own(fortext);
  c.forblock = own_block(arg(argc, argv, 2));
  if (!c.forblock) c.forblock = own_block(fortext);
  c.whileblock = own_block(arg(argc, argv, 4));
  c.evalblock = own_block(arg(argc, argv, 5));
  var* interval = arg(argc, argv, 6);
  if (kNumber.has(interval->Type)) c.interval = vlnIntVar(interval) == -1 ? -1 : std::max(vlnIntVar(interval), 1);
  var* start = arg(argc, argv, 7), *next = arg(argc, argv, 8), *record = arg(argc, argv, 9);
  if (kNumber.has(start->Type)) c.start = vlnIntVar(start);
  if (kNumber.has(next->Type)) c.next = vlnIntVar(next);
  if (is_true(arg(argc, argv, 10))) c.start = s->recno;
  if (kNumber.has(record->Type)) c.start = vlnIntVar(record), c.next = 1;
  if (is_true(arg(argc, argv, 3))) c.flags |= kCondAll;
  if (is_true(arg(argc, argv, 11))) c.flags |= kCondDescend;
  return TRUE_VAR;
}

/* createorder(file, order name, key text, key block, unique, no auto-lock,
** keep index, width, decimals): build a new index of the table's records
** and make it the only open order, left open exclusively. */
var* _bb_dbfidx_createorder_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) {
    if (s) idx_cond_reset(&s->cond);
    return FALSE_VAR;
  }
  var* file = arg(argc, argv, 1), *alias = arg(argc, argv, 2), *keytext = arg(argc, argv, 3);
  var* keyblock = arg(argc, argv, 4);
  if (!kCM.has(file->Type)) file = alias;
  if (!kCM.has(file->Type) || !kCM.has(keytext->Type)) {
    idx_cond_reset(&s->cond);
    dbf_error(self, diMN_creord, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
    return FALSE_VAR;
  }
  if (is_true(arg(argc, argv, 7))) keep_index_warning(self, s);
  int width, dec;
  key_width(arg(argc, argv, 8), arg(argc, argv, 9), &width, &dec);
  const int locked = lock_for_build(self, s, is_true(arg(argc, argv, 6)));
  if (locked < 0) {
    idx_cond_reset(&s->cond);
    return FALSE_VAR;
  }
  KeySwap swap;
  const bool ok = vln_guarded(
      [&] {
        return make_order(self, s, file, kCM.has(alias->Type) ? alias : NIL_VAR, keytext, keyblock,
                          arg(argc, argv, 5), width, dec, &swap);
      },
      [&] {
        swap_back(&swap, s);
        if (locked && dbf_is_open(s)) dbf_auto_unlock(self, s->concurrency, 0);
        idx_cond_reset(&s->cond);
      });
  return ok ? TRUE_VAR : FALSE_VAR;
}

/* createindex(file, key text, key block, unique, no auto-lock):
** createorder without an order name. */
var* _bb_dbfidx_createindex_me(int argc, var** argv)
{
  var* args[] = {argv[0], arg(argc, argv, 1), NIL_VAR, arg(argc, argv, 2), arg(argc, argv, 3),
                 arg(argc, argv, 4), arg(argc, argv, 5)};
  return _bb_dbfidx_createorder_me(sizeof args / sizeof args[0], args);
}

/* reindex(): empty every order and build it again from the table, with
** its own key and FOR expressions.  Needs an exclusive table. */
var* _bb_dbfidx_reindex_me(int argc, var** argv)
{
  (void)argc;
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  if (!dbf_is_excl(s)) {
    dbf_error(self, diMN_reindex, VL_E_NO_DATABASE, VL_SEV_RUNTIME, "%s", diEM_exclreq);
    return FALSE_VAR;
  }
  if (s->indexcount == 0) {
    dbf_error(self, diMN_reindex, VL_E_IDX_NOT_OPEN, VL_SEV_RUNTIME, diEM_noidxs, dbf_alias(s));
    return FALSE_VAR;
  }
  s->eof = s->bof = s->found = 0;
  if (!put_rec(self)) updat_dbfhdr(self);
  s->crpt = IDX_CRPT_NONE;
  for (int32_t i = 1; i <= s->indexcount; ++i) ndx_zap(self, s->orders[i]);
  const bool ok = vln_guarded([&] { return s->lastrec > 0 && rebuild_all(self, s); },
                              [&] { idx_cond_reset(&s->cond); });
  return ok ? TRUE_VAR : FALSE_VAR;
}

}  // extern "C"
