/*
** idxsync.cpp -- keeping the orders in step with the table, and moving in
** index order: the keys of records as they change, the cursor put back on
** the current record, the walks and seeks of the active order, and the
** driver's index* methods over them.
**
** Keys of a changed record.  put_rec holds the record's old keys before it
** writes (idx_sync mode 4, evaluated on the record as it was read), then
** idx_replace evaluates the new ones and, per order, leaves an unchanged
** key alone or deletes the old entry and inserts the new one.  An appended
** record (mode 5) gets its keys at once in a shared order, so that other
** processes see it; an exclusive order holds them (IDX_D_DEFER) until the
** next synchronization or the record's first write, so that APPEND plus
** REPLACE costs one insert, not an insert of blanks and a replace.
**
** The cursor.  cur_sec/key_off stay valid only while nobody else may have
** written the file.  In exclusive mode an entry at the cursor that carries
** the area's record number is trusted; otherwise update_pos descends again
** by the record's key.
**
** Everything here runs inside the caller's read or write section and
** records faults in the descriptor; the caller reports them with
** idx_report_all when it has left the section.  The hot paths (seek, skip,
** the cursor) make no allocation: keys are borrowed from the values they
** come from.
*/
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "blocks.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "idx.hpp"
#include "kernel.h"
#include "switches.h"

namespace vl {

namespace {

constexpr char kModule[] = "idxsync";
constexpr size_t kKeyText = IDX_MAX_KEY + 1;

bool excl(const IdxDesc* idx) { return idx->flags & IDX_D_EXCL; }
bool unique(const IdxDesc* idx) { return idx->hdr.flags & IDX_FLAG_UNIQUE; }

/* Keys in the cursor's sector, and the record number of entry k. */
int32_t sec_keys(const IdxDesc* idx) { return int32_t(dbf_get32(idx->sec + IDXS_KEYCNT)); }
int32_t entry_recno(IdxDesc* idx, int32_t k) { return int32_t(dbf_get32(idx_entry(idx, k) + 4)); }
bool on_entry(const IdxDesc* idx) { return idx->key_off >= 0 && idx->key_off < sec_keys(idx); }

/* Whether a FOR value says "leave this record out". */
bool is_false(var* v) { return v && vlnInSet("LINF", v->Type) && !vlnLogVar(v); }

int order_of(const DbfState* wa, const IdxDesc* idx)
{
  for (int i = 1; i <= wa->indexcount; ++i)
    if (wa->orders[i] == idx) return i;
  return 0;
}

/* A key value shown in a report. */
void key_text(var* v, char* out, size_t size)
{
  IdxKey k{};
  if (!v || !idx_key_of(v, &k)) {
    std::snprintf(out, size, "?");
    return;
  }
  switch (k.type) {
    case 'C': case 'M': std::snprintf(out, size, "%.*s", int(k.len), k.text); break;
    case 'D': std::snprintf(out, size, "%d", int(k.day)); break;
    case 'L': std::snprintf(out, size, "%s", k.logical ? ".T." : ".F."); break;
    default: std::snprintf(out, size, "%g", k.num); break;
  }
}

/* Whether two values are the same key. */
bool same_value(var* a, var* b)
{
  IdxKey x{}, y{};
  if (!a || !b || !idx_key_of(a, &x) || !idx_key_of(b, &y) || x.type != y.type) return false;
  switch (x.type) {
    case 'C': case 'M': return x.len == y.len && std::memcmp(x.text, y.text, size_t(x.len)) == 0;
    case 'D': return x.day == y.day;
    case 'L': return x.logical == y.logical;
    default: return x.num == y.num;
  }
}

/* Keep a copy of v in the owned record *slot (made on first need). */
void hold(var** slot, var* v)
{
  if (!*slot) *slot = mak_var('N', 'U');
  cpy_var(*slot, v);
}

/* The key of the current record as an IdxKey, checked against the index's
** type (fault 317 when it cannot be stored). */
bool record_key(var* v, IdxDesc* idx, IdxKey* k)
{
  if (idx_key_of(v, k) && idx_types_match(k->type, idx->hdr.keytype)) return true;
  idx_fault(idx, VL_E_ILLEGAL_TYPE, VL_SEV_INTERNAL, diMN_idxint, diEM_keytyp, v->Type, idx->filename,
            idx->hdr.keytype);
  return false;
}

/* Descend to key of record recno (the record's current key when key is
** null); one re-read of the record when it is not found, then the 331
** report (in update_pos1's form when a key was given).  1 when found. */
int locate(var* self, DbfState* wa, IdxDesc* idx, var* key, int32_t recno)
{
  const bool given = key != nullptr;
  const int32_t mark = tmpvar_cnt;
  bool found = false;
  var* v = key;
  for (int attempt = 0; attempt < 2 && !found; ++attempt) {
    if (attempt) {
      get_rec(self, 0);  // another process may have changed the record
      v = nullptr;
    }
    if (!v) v = idx_eval_key(self, idx);
    IdxKey k;
    if (!record_key(v, idx, &k)) break;
    found = unique(idx) ? seek_key(wa, idx, &k) : Eseek_key(wa, idx, &k, recno);
  }
  if (!found && !idx->forblock && wa->crpt != IDX_CRPT_SILENT && recno <= wa->lastrec && !idx->fault.code) {
    char shown[kKeyText];
    key_text(v, shown, sizeof shown);
    if (given)
      idx_fault(idx, VL_E_INDEX_CORRUPT, VL_SEV_RUNTIME, diMN_idxint,
                "%s (%s/%d);Cannot locate key value for record %d;WA alias '%s', order #%d = '%s'", diEM_idxcrpt,
                kModule, __LINE__, int(recno), dbf_alias(wa), order_of(wa, idx), shown);
    else
      idx_fault(idx, VL_E_INDEX_CORRUPT, VL_SEV_RUNTIME, diMN_idxint,
                "%s (%s/%d);Cannot locate key value for record %d;WA alias '%s', order # %d;key = '%s';index = '%s'",
                diEM_idxcrpt, kModule, __LINE__, int(recno), dbf_alias(wa), order_of(wa, idx), shown, idx->filename);
  }
  del_tmpvars(mark);
  return found;
}

/* The area's position after the index gave record r: past the count,
** re-read the header (another process may have appended). */
void take_record(var* self, DbfState* wa, int32_t r)
{
  wa->recno = r;
  if (r > wa->lastrec && !wa->eof) updat_dbfhdr(self);
}

void to_ghost(DbfState* wa)
{
  wa->eof = 1;
  wa->recno = wa->lastrec + 1;
}

/* The key at the cursor as a language value (ndxISetBlkVars). */
var* entry_value(IdxDesc* idx)
{
  const IdxKey k = idx_entry_key(idx, idx->key_off);
  switch (idx->hdr.keytype) {
    case 'C': return set_Cvar(cre_tmpvar(), k.text, k.len);
    case 'D': return set_dv(k.day);
    case 'L': return set_lv(k.logical);
    default: return set_nv(k.num, idx->hdr.keylen);
  }
}

/* Add the held keys of the appended record to the orders that defer them. */
void add_deferred(var* self, DbfState* wa)
{
  for (int i = 1; i <= wa->indexcount; ++i) {
    IdxDesc* o = wa->orders[i];
    if (!o || !(o->flags & IDX_D_DEFER)) continue;
    o->flags &= uint8_t(~IDX_D_DEFER);
    if (o->pendkey) ndx_add(self, wa, o, wa->syncrec, o->pendkey, o->pendfor);
  }
}

/* Mode 4 or 5: hold the current record's keys (or, appended to a shared
** order, insert them now). */
void hold_keys(var* self, DbfState* wa, int mode)
{
  wa->syncrec = wa->recno;
  bool deferred = false;
  for (int i = 1; i <= wa->indexcount; ++i) {
    IdxDesc* o = wa->orders[i];
    if (!o) continue;
    const int32_t mark = tmpvar_cnt;
    if (mode == IDX_SYNC_APPENDED && !excl(o)) {
      ndx_add(self, wa, o, wa->recno, nullptr, nullptr);
    } else {
      hold(&o->pendkey, idx_eval_key(self, o));
      if (o->forblock) hold(&o->pendfor, vlnBlockEval(o->forblock));
      if (mode == IDX_SYNC_APPENDED) o->flags |= IDX_D_DEFER;
    }
    deferred |= (o->flags & IDX_D_DEFER) != 0;
    del_tmpvars(mark);
  }
  if (mode == IDX_SYNC_APPENDED) wa->syncstate = deferred ? IDX_SYNC_APPENDED : IDX_SYNC_HELD;
}

}  // namespace

/* ---- Keys. ---- */

bool idx_key_of(var* v, IdxKey* key)
{
  key->type = v->Type;
  switch (v->Type) {
    case 'C':
    case 'M':
      key->text = VSTR(v) ? VSTR(v) : "";
      key->len = VSTR(v) && v->Length > 0 ? v->Length - 1 : 0;
      return true;
    case 'D': key->day = VINT(v); return true;
    case 'L': key->logical = VINT(v) != 0, key->num = key->logical; return true;
    case 'I': key->num = VINT(v); return true;
    case 'N': case 'F': key->num = VDBL(v); return true;
    default: return false;
  }
}

var* idx_eval_key(var* self, IdxDesc* idx)
{
  if (idx->keyfield) return diSelfFieldGet(self, idx->keyfield);
  return vlnBlockEval(idx->keyblock);
}

IdxDesc* idx_active(const DbfState* wa) { return wa->indexord > 0 ? wa->orders[wa->indexord] : nullptr; }

/* ---- Maintenance. ---- */

void ndx_add(var* self, DbfState* wa, IdxDesc* idx, int32_t recno, var* key, var* forv)
{
  const int32_t mark = tmpvar_cnt;
  if (!forv && idx->forblock) forv = vlnBlockEval(idx->forblock);
  if (!is_false(forv)) {
    ndx_updthdr(idx);
    if (vln_wrcnt_msg(self, wa, idx, "inserting index key", __LINE__)) {
      if (!key) key = idx_eval_key(self, idx);
      IdxKey k;
      if (record_key(key, idx, &k)) Indx_add(wa, idx, recno, &k);
    }
  }
  del_tmpvars(mark);
}

void ndx_del(var* self, DbfState* wa, IdxDesc* idx, var* key, int32_t recno)
{
  if (!update_pos1(self, wa, idx, key, recno)) return;
  if ((unique(idx) || idx->forblock) && entry_recno(idx, idx->key_off) != recno) return;
  Indx_del(wa, idx);
}

int update_pos(var* self, DbfState* wa, IdxDesc* idx)
{
  if (wa->lastrec == 0 || wa->recno > wa->lastrec || wa->eof) return 0;
  ndx_updthdr(idx);
  if (!vln_wrcnt_msg(self, wa, idx, "updating index", __LINE__)) return 0;
  if (idx->hdr.keycnt == 0) {
    wa->bof = wa->eof = 1;
    return 0;
  }
  wa->bof = wa->eof = 0;
  if (excl(idx) && on_entry(idx) && entry_recno(idx, idx->key_off) == wa->recno) return 1;
  return locate(self, wa, idx, nullptr, wa->recno);
}

int update_pos1(var* self, DbfState* wa, IdxDesc* idx, var* key, int32_t recno)
{
  if (wa->lastrec == 0 || recno > wa->lastrec) return 0;
  ndx_updthdr(idx);
  if (!vln_wrcnt_msg(self, wa, idx, "updating index", __LINE__) || idx->hdr.keycnt == 0) return 0;
  if (excl(idx) && on_entry(idx) && entry_recno(idx, idx->key_off) == recno) return 1;
  return locate(self, wa, idx, key, recno);
}

int ndx_rereadpg(var* self, DbfState* wa, IdxDesc* idx)
{
  (void)self;
  if (excl(idx) || !on_entry(idx)) return 0;
  uint8_t before[IDX_ENTRY_HEAD + IDX_MAX_KEY + 3];
  const size_t n = idx_entry_size(idx);
  std::memcpy(before, idx_entry(idx, idx->key_off), n);
  if (!get_cur_sec(wa, idx)) return 1;
  return !on_entry(idx) || std::memcmp(before + 4, idx_entry(idx, idx->key_off) + 4, n - 4) != 0;
}

/* ---- Walks. ---- */

void ndx_top(var* self, DbfState* wa, IdxDesc* idx)
{
  if (!vln_wrcnt_msg(self, wa, idx, "go index top", __LINE__)) return to_ghost(wa);
  idx_top(wa, idx);
  take_record(self, wa, wa->recno);
}

void ndx_bott(var* self, DbfState* wa, IdxDesc* idx)
{
  if (!vln_wrcnt_msg(self, wa, idx, "go index bottom", __LINE__)) return to_ghost(wa);
  idx_bott(wa, idx);
  take_record(self, wa, wa->recno);
}

void ndx_down(var* self, DbfState* wa, IdxDesc* idx)
{
  const int32_t r = update_pos(self, wa, idx) ? Indx_down(wa, idx) : 0;
  if (r == 0 || wa->eof) return to_ghost(wa);
  take_record(self, wa, r);
}

void ndx_up(var* self, DbfState* wa, IdxDesc* idx)
{
  const int32_t r = update_pos(self, wa, idx) ? Indx_up(wa, idx) : 0;
  if (r == 0) {
    wa->bof = 1;
    wa->recno = 1;
    return;
  }
  take_record(self, wa, r);
}

bool ndx_find(var* self, DbfState* wa, IdxDesc* idx, const IdxKey* key, bool soft)
{
  if (!vln_wrcnt_msg(self, wa, idx, "searching for key", __LINE__)) {
    to_ghost(wa);
    return false;
  }
  const bool found = idx_find(wa, idx, key, soft);
  if (!wa->eof) take_record(self, wa, wa->recno);
  return found;
}

bool ndx_fastfind(var* self, DbfState* wa, IdxDesc* idx, var* block)
{
  if (!vln_wrcnt_msg(self, wa, idx, "looking for key", __LINE__) || !update_pos(self, wa, idx)) {
    to_ghost(wa);
    return false;
  }
  const int32_t mark = tmpvar_cnt;
  for (;;) {
    var* args[] = {block, entry_value(idx), set_Iv(entry_recno(idx, idx->key_off))};
    var* r = _bb_eval(3, args);
    const bool hit = vlnInSet("LINF", r->Type) && vlnLogVar(r);
    del_tmpvars(mark);
    if (!dbf_is_open(wa) || !order_of(wa, idx)) return false;  // the block closed the order
    if (hit) break;
    Indx_down(wa, idx);
    if (wa->eof || !on_entry(idx)) break;
  }
  if (wa->eof || !on_entry(idx)) {
    to_ghost(wa);
    return false;
  }
  take_record(self, wa, entry_recno(idx, idx->key_off));
  return true;
}

/* ---- The driver's index methods. ---- */

bool idx_sync(var* self, DbfState* wa, int mode)
{
  if (wa->indexcount == 0) return false;
  if (wa->syncstate != IDX_SYNC_APPENDED) {
    wa->syncstate = mode;
  } else if (!(mode == IDX_SYNC_HELD && wa->recno == wa->syncrec)) {
    add_deferred(self, wa);
    wa->syncstate = mode;
  }
  if (mode == IDX_SYNC_MOVE) {
    IdxDesc* a = idx_active(wa);
    if (a && !excl(a)) {
      ndx_updthdr(a);
      ndx_rereadpg(self, wa, a);
    }
  }
  if (mode == IDX_SYNC_HELD || mode == IDX_SYNC_APPENDED) hold_keys(self, wa, mode);
  return true;
}

void idx_replace(var* self, DbfState* wa)
{
  for (int i = 1; i <= wa->indexcount; ++i) {
    IdxDesc* o = wa->orders[i];
    if (!o) continue;
    const int32_t mark = tmpvar_cnt;
    var* key = idx_eval_key(self, o);
    var* forv = o->forblock ? vlnBlockEval(o->forblock) : nullptr;
    const bool deferred = o->flags & IDX_D_DEFER;
    o->flags &= uint8_t(~IDX_D_DEFER);
    bool insert = true;
    if (!deferred && o->pendkey) {
      const bool sameFor = !o->forblock || is_false(forv) == is_false(o->pendfor);
      insert = !(sameFor && same_value(key, o->pendkey));
      if (insert && !is_false(o->pendfor)) ndx_del(self, wa, o, o->pendkey, wa->syncrec);
    }
    if (insert) ndx_add(self, wa, o, wa->recno, key, forv);
    del_tmpvars(mark);
  }
  wa->syncstate = IDX_SYNC_HELD;
}

int32_t idx_skip(var* self, DbfState* wa, int32_t n)
{
  IdxDesc* o = idx_active(wa);
  if (!o || n == 0) return 0;
  if (n > 0) {
    int32_t moved = -int32_t(wa->eof);
    wa->eof = 0;
    while (moved < n && !wa->eof) {
      ndx_down(self, wa, o);
      ++moved;
    }
    return moved;
  }
  const int64_t m = -int64_t(n);
  int64_t moved = 0;
  wa->bof = 0;
  while (moved < m && !wa->bof) {
    if (!wa->eof) {
      ndx_up(self, wa, o);
    } else {
      ndx_bott(self, wa, o);
      if (wa->eof) wa->bof = 1;  // an empty order: nothing to step back to
    }
    ++moved;
  }
  return int32_t(-moved);
}

bool idx_seek(var* self, DbfState* wa, var* key, bool soft)
{
  IdxDesc* o = idx_active(wa);
  if (!o) return false;
  IdxKey k;
  if (!idx_key_of(key, &k) || !idx_types_match(k.type, o->hdr.keytype)) {
    idx_fault(o, VL_E_DEV_WARNING, VL_SEV_RUNTIME, diMN_seek, diEM_typmism, key->Type, o->hdr.keytype);
    to_ghost(wa);
    return false;
  }
  return ndx_find(self, wa, o, &k, soft);
}

bool idx_seekeval(var* self, DbfState* wa, var* block)
{
  IdxDesc* o = idx_active(wa);
  return o && ndx_fastfind(self, wa, o, block);
}

int idx_keycompare(var* self, DbfState* wa, var* key)
{
  (void)self;
  IdxDesc* o = idx_active(wa);
  IdxKey k;
  if (!o || !on_entry(o) || !idx_key_of(key, &k)) return 1;
  return ndx_compkey(o, &k);
}

void idx_gotop(var* self, DbfState* wa)
{
  idx_sync(self, wa, IDX_SYNC_FLUSH);
  if (IdxDesc* o = idx_active(wa)) ndx_top(self, wa, o);
}

void idx_gobottom(var* self, DbfState* wa)
{
  idx_sync(self, wa, IDX_SYNC_FLUSH);
  if (IdxDesc* o = idx_active(wa)) ndx_bott(self, wa, o);
}

}  // namespace vl

using namespace vl;

namespace {

/* Run body on an open table's state inside a section of the kind asked
** for, then report what the orders recorded. */
template <class Body>
auto in_section(var* self, bool write, const char* method, Body body) -> decltype(body(static_cast<DbfState*>(nullptr)))
{
  DbfState* s = dbf_state(self);
  if (write) local_wrlock2(&s->lk, method);
  else local_rdlock2(&s->lk, method);
  const auto result = body(s);
  local_rwulock2(&s->lk, method);
  idx_report_all(self, s);
  return result;
}

bool usable(var* self) { return dbf_is_open(dbf_state(self)); }
var* arg(int argc, var** argv, int i) { return i < argc ? argv[i] : NIL_VAR; }

}  // namespace

extern "C" {

/* indexsynchronize(mode): false with no order open. */
var* _bb_dbfidx_indexsynchronize_me(int argc, var** argv)
{
  if (!usable(argv[0])) return FALSE_VAR;
  int mode = vlnInSet("INF", arg(argc, argv, 1)->Type) ? vlnIntVar(argv[1]) : IDX_SYNC_FLUSH;
  if (mode < IDX_SYNC_FLUSH || mode > IDX_SYNC_APPENDED) mode = IDX_SYNC_FLUSH;
  const bool write = mode >= IDX_SYNC_HELD || dbf_state(argv[0])->syncstate == IDX_SYNC_APPENDED;
  return set_lv(in_section(argv[0], write, diMN_idxint, [&](DbfState* s) { return idx_sync(argv[0], s, mode); }));
}

var* _bb_dbfidx_indexappend_me(int argc, var** argv)
{
  if (!usable(argv[0])) return FALSE_VAR;
  return set_lv(
      in_section(argv[0], true, diMN_idxint, [&](DbfState* s) { return idx_sync(argv[0], s, IDX_SYNC_APPENDED); }));
}

var* _bb_dbfidx_indexreplace_me(int argc, var** argv)
{
  if (!usable(argv[0])) return FALSE_VAR;
  return in_section(argv[0], true, diMN_idxint, [&](DbfState* s) {
    idx_replace(argv[0], s);
    return TRUE_VAR;
  });
}

/* indexskip(n): the signed number of steps. */
var* _bb_dbfidx_indexskip_me(int argc, var** argv)
{
  if (!usable(argv[0])) return set_Iv(0);
  const int32_t n = vlnInSet("INF", arg(argc, argv, 1)->Type) ? vlnIntVar(argv[1]) : 1;
  return set_Iv(in_section(argv[0], false, diMN_skip, [&](DbfState* s) { return idx_skip(argv[0], s, n); }));
}

var* _bb_dbfidx_indexseek_me(int argc, var** argv)
{
  if (!usable(argv[0]) || argc < 2) return FALSE_VAR;
  const bool soft = arg(argc, argv, 2)->Type == 'L' ? vlnLogVar(argv[2]) != 0 : vlnGetSoftSeek() != 0;
  return set_lv(
      in_section(argv[0], false, diMN_seek, [&](DbfState* s) { return idx_seek(argv[0], s, argv[1], soft); }));
}

var* _bb_dbfidx_indexseekeval_me(int argc, var** argv)
{
  if (!usable(argv[0]) || !vlnInSet("Bb", arg(argc, argv, 1)->Type)) return FALSE_VAR;
  return set_lv(
      in_section(argv[0], false, diMN_seekev, [&](DbfState* s) { return idx_seekeval(argv[0], s, argv[1]); }));
}

/* indexkeycompare(key): below 0, 0, above 0 as key is before, at or after
** the active order's current entry. */
var* _bb_dbfidx_indexkeycompare_me(int argc, var** argv)
{
  if (!usable(argv[0]) || argc < 2) return set_Iv(0);
  return set_Iv(
      in_section(argv[0], false, diMN_seek, [&](DbfState* s) { return idx_keycompare(argv[0], s, argv[1]); }));
}

var* _bb_dbfidx_indexgotop_me(int argc, var** argv)
{
  if (usable(argv[0])) in_section(argv[0], false, "GoTop()", [&](DbfState* s) { return idx_gotop(argv[0], s), 0; });
  return TRUE_VAR;
}

var* _bb_dbfidx_indexgobottom_me(int argc, var** argv)
{
  if (usable(argv[0]))
    in_section(argv[0], false, "GoBottom()", [&](DbfState* s) { return idx_gobottom(argv[0], s), 0; });
  return TRUE_VAR;
}

}  // extern "C"
