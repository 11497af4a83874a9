/*
** idxorder.cpp -- the area's table of open orders: SET INDEX (setindex),
** CLEAR INDEX, the choice of the controlling order (setorder), and the
** messages that describe an order (orderinfo, indexkey, indexcheck).
**
** An area holds up to IDX_MAX_ORDERS orders, orders[1..indexcount]; order
** indexord controls the moves, 0 means natural order.  An order is named
** by its number or by its file's base name (or its order name), without
** regard to case.
**
** The corrupted state (IDX_CRPT_*) of the area tells the next positioning
** that an index may not match its table.  Opening an order sets it but
** reports nothing: the report comes with the first operation afterwards.
*/
#include <strings.h>

#include <cstdio>
#include <cstring>

#include "breakguard.hpp"
#include "dbfidx.h"
#include "facade.h"
#include "idxorder.hpp"
#include "letters.hpp"

using namespace vl;

namespace {

constexpr LetterSet kOrderNumber = letters("INFL");  // setorder, indexcheck
constexpr LetterSet kLogical = letters("LINF");
constexpr int kNoOrder = -1;                         // orderinfo's default
constexpr int32_t kSortTabBytes = int32_t(IDX_HDR2_BYTES) - int32_t(IDXH2_SORTTAB);
constexpr int32_t kHdr2TailBytes = 20;               // what second-header op 7 copies

var* text(const char* t, int32_t len = -1) { return set_Cvar(cre_tmpvar(), t, len); }
var* arg(int argc, var** argv, int i) { return i < argc ? argv[i] : NIL_VAR; }

/* The part of a path after its last '/', as [begin, end) without the
** extension. */
struct Base {
  const char* begin;
  size_t len;
};
Base base_of(const char* path, size_t len)
{
  const char* end = path + len;
  const char* b = path;
  for (const char* p = path; p < end; ++p)
    if (*p == '/') b = p + 1;
  const char* dot = nullptr;
  for (const char* p = b; p < end; ++p)
    if (*p == '.') dot = p;
  return {b, size_t((dot ? dot : end) - b)};
}

bool same_name(Base a, const char* name)
{
  return std::strlen(name) == a.len && strncasecmp(a.begin, name, a.len) == 0;
}

/* The order whose file base name or order name is text (blanks around it
** and any directory or extension ignored); 0 for none. */
int32_t order_by_name(const DbfState* s, const char* t, size_t len)
{
  while (len && t[len - 1] == ' ') --len;
  while (len && *t == ' ') ++t, --len;
  const Base want = base_of(t, len);
  if (want.len == 0) return 0;
  for (int32_t i = 1; i <= s->indexcount; ++i) {
    const IdxDesc* x = s->orders[i];
    const Base file = base_of(x->filename, std::strlen(x->filename));
    char filebase[sizeof x->filename];
    std::snprintf(filebase, sizeof filebase, "%.*s", int(file.len), file.begin);
    if (same_name(want, filebase) || same_name(want, x->ordername)) return i;
  }
  return 0;
}

/* The order of a number argument: 0, NIL or absent stand for the active
** one.  null when there is none. */
IdxDesc* numbered(DbfState* s, var* v)
{
  const int32_t n = kOrderNumber.has(v->Type) ? vlnIntVar(v) : 0;
  return idx_order_at(s, n == 0 ? s->indexord : n);
}

/* The second header of idx (zeros for a file without one). */
void read_hdr2(var* self, IdxDesc* idx, uint8_t (&buf)[IDX_HDR2_BYTES])
{
  std::memset(buf, 0, sizeof buf);
  vln_ndx_hdr2(9, 0, 0, self, idx, reinterpret_cast<char*>(buf));
}

/* The text field of room bytes at offset at of a second header, up to its
** terminator (a damaged file may have none). */
var* hdr2_text(const uint8_t (&buf)[IDX_HDR2_BYTES], size_t at, size_t room)
{
  const char* p = reinterpret_cast<const char*>(buf) + at;
  return text(p, int32_t(strnlen(p, room)));
}

/* indexcheck of idx: the corrupted state as the header and the count show
** it now, without a report; the area's state is left as it was.  Held
** keys are added first, in a section of their own (adding them may report
** and drop the orders: then -1). */
int32_t check_order(var* self, DbfState* s, IdxDesc* idx)
{
  var* sync[] = {self, IZERO_VAR};
  _bb_dbfidx_indexsynchronize_me(2, sync);
  if (!idx_still_open(s, idx)) return kNoOrder;
  const int32_t kept = s->crpt;
  local_rdlock2(&s->lk, diMN_ordinfo);
  updat_dbfhdr(self);
  if (!dbf_is_ro(s)) ndx_updthdr(idx);
  int32_t state = IDX_CRPT_NONE;
  if (vln_ndx_hdr2(2, s->hdr[DBF_OFF_WRCNT], 0, self, idx, nullptr)) state = IDX_CRPT_SUSPECT;
  s->crpt = state;
  check_ndx_crpt(s, idx, s->lastrec);
  state = s->crpt;
  s->crpt = kept;
  local_rwulock2(&s->lk, diMN_ordinfo);
  return state;
}

/* The record number of the key the order's cursor stands on, 0 when it
** stands on none. */
int32_t cursor_record(IdxDesc* idx)
{
  const int32_t k = idx->key_off;
  if (k < 0 || uint32_t(k) >= dbf_get32(idx->sec + IDXS_KEYCNT) || uint32_t(k) > idx->hdr.maxkeys) return 0;
  return int32_t(dbf_get32(idx_entry(idx, k) + 4));
}

/* The answer to an orderinfo code for order n (idx), which exists. */
var* order_value(var* self, DbfState* s, int32_t code, int32_t n, IdxDesc* idx)
{
  const IdxHeader& h = idx->hdr;
  uint8_t hdr2[IDX_HDR2_BYTES];
  switch (code) {
    case 1: read_hdr2(self, idx, hdr2); return hdr2_text(hdr2, IDXH2_FOREXPR, IDXH2_FOR_ROOM);
    case 2: return text(h.keyexpr);
    case 3: case 4: return set_Iv(cursor_record(idx));
    case 5: case 7: {
      const Base b = base_of(idx->filename, std::strlen(idx->filename));
      return text(b.begin, int32_t(b.len));
    }
    case 6: return set_Iv(n);
    case 20: return text(idx->filename);
    case 21: return text(idx->ordername);
    case 22: return set_lv(h.flags & IDX_FLAG_DESCEND);
    case 23: return set_lv(idx->forblock != nullptr);
    case 24: return text(&h.keytype, 1);
    case 25: return set_Iv(int32_t(h.keysize));
    case 26: case 48: ndx_updthdr(idx); return set_Iv(int32_t(h.keycnt));
    case 27: return idx->keyblock ? mk_var_cp(idx->keyblock) : NIL_VAR;
    case 28: return set_Iv(h.keylen);
    case 38: return idx_eval_key(self, idx);
    case 43: return set_lv(h.flags & IDX_FLAG_UNIQUE);
    case 44: return set_Iv(1);
    case 5001: read_hdr2(self, idx, hdr2); return hdr2_text(hdr2, IDXH2_DBFNAME, IDX_NAME_ROOM);
    case 5002: return set_Iv(check_order(self, s, idx));
    case 5011: read_hdr2(self, idx, hdr2); return set_Iv(hdr2[IDXH2_WRCNT]);
    case 5012: ndx_updthdr(idx); return set_Iv(int32_t(h.nxkysc) - 1);
    case 5013: {
      read_hdr2(self, idx, hdr2);
      char t[40];
      std::snprintf(t, sizeof t, "%d/%d/%d", h.version, h.flags, hdr2[IDXH2_WRCNT]);
      return text(t);
    }
    case 5014: {
      char t[IDX_HDR2_BYTES] = "";
      vln_ndx_hdr2(7, 0, 0, self, idx, t);
      return text(t, kHdr2TailBytes);
    }
    case 5015: read_hdr2(self, idx, hdr2); return text(reinterpret_cast<char*>(hdr2) + IDXH2_SORTTAB, kSortTabBytes);
    default: return NIL_VAR;
  }
}

/* orderinfo's answer when no order matches. */
var* order_default(int32_t code)
{
  switch (code) {
    case 1: case 2: case 5: case 7: case 20: case 24: case 5001: return text("");
    case 3: case 4: case 6: case 21: case 25: case 26: case 28: case 44: case 48: case 5002:
      return set_Iv(kNoOrder);
    case 22: case 23: case 43: return FALSE_VAR;
    default: return NIL_VAR;
  }
}

/* Codes the driver does not serve: a report, then the default. */
var* unsupported(var* self, int32_t code)
{
  dbf_error(self, diMN_ordinfo, VL_E_DEV_WARNING, VL_SEV_RUNTIME, "%s", diEM_optnsup);
  return code == 35 ? set_Iv(kNoOrder) : code == 39 || code == 40 ? NIL_VAR : FALSE_VAR;
}

/* setindex after the checks: open name as order count + 1 under a read
** section, with the corrupted state silent until the area stands on its
** first key.  The section and the state are put back if a report BREAKs. */
bool open_order(var* self, DbfState* s, var* name, bool exclusive)
{
  const int32_t kept = s->crpt;
  bool held = false;
  return vln_guarded(
      [&] {
        local_rdlock2(&s->lk, diMN_setidx);
        held = true;
        s->crpt = IDX_CRPT_SILENT;
        IdxDesc* idx = ndx_open(self, s, name, exclusive, NIL_VAR, nullptr, dbf_is_ro(s), diMN_setidx);
        s->crpt = kept;
        if (!idx) return false;
        s->orders[++s->indexcount] = idx;
        if (s->indexord < 1) s->indexord = 1;
        updat_dbfhdr(self);
        if (vln_ndx_hdr2(2, vln_wrcnt(-5, self), 0, self, idx, nullptr)) s->crpt = IDX_CRPT_SUSPECT;
        check_ndx_crpt(s, idx, s->lastrec);
        const int32_t found = s->crpt;
        s->crpt = IDX_CRPT_SILENT;
        var* top[] = {self};
        _bb_dbfidx_gotop_me(1, top);
        s->crpt = found;
        return true;
      },
      [&] {
        if (s->crpt == IDX_CRPT_SILENT) s->crpt = kept;
        if (held) local_rwulock2(&s->lk, diMN_setidx);
      });
}

}  // namespace

namespace vl {

bool idx_still_open(const DbfState* s, const IdxDesc* idx)
{
  for (int32_t i = 1; i <= s->indexcount; ++i)
    if (s->orders[i] == idx) return true;
  return false;
}

int32_t diGetOrderNumber(var* self, DbfState* s, var* value, var* alternative)
{
  (void)self;
  if (!value || value->Type == 'U') value = alternative;
  if (!value || !dbf_is_open(s)) return 0;
  if (kNFI.has(value->Type)) {
    const int32_t n = vlnIntVar(value);
    return n >= 1 && n <= s->indexcount ? n : 0;
  }
  if (kCM.has(value->Type) && VSTR(value)) return order_by_name(s, VSTR(value), std::strlen(VSTR(value)));
  return 0;
}

void idx_clear(var* self, DbfState* s)
{
  s->bof = s->eof = s->found = 0;
  local_rdlock2(&s->lk, "ClearIndex()");
  put_rec(self);
  s->crpt = IDX_CRPT_NONE;
  vln_wrcnt_upd(self);
  idx_close_all(self, s);
  s->indexcount = s->indexord = 0;
  local_rwulock2(&s->lk, "ClearIndex()");
}

}  // namespace vl

extern "C" {

/* setindex(file[, exclusive]): open file as one more order; NIL clears
** them all.  FALSE (NETERR set) when the file cannot be opened, FALSE
** without a word when IDX_MAX_ORDERS are open already. */
var* _bb_dbfidx_setindex_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return FALSE_VAR;
  var* name = arg(argc, argv, 1);
  if (name->Type == 'U') return _bb_dbfidx_clearindex_me(1, argv);
  if (!kCM.has(name->Type)) {
    dbf_error(self, diMN_setidx, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, "%s", diEM_idxnamexp);
    return FALSE_VAR;
  }
  if (std::strspn(VSTR(name), " ") == std::strlen(VSTR(name))) return FALSE_VAR;
  s->bof = s->eof = s->found = 0;
  put_rec(self);
  if (s->indexcount >= IDX_MAX_ORDERS) return FALSE_VAR;
  var* excl = arg(argc, argv, 2);
  const bool ok = open_order(self, s, name, kLogical.has(excl->Type) && vlnLogVar(excl));
  vlnSetNeterr(!ok);
  return ok ? TRUE_VAR : FALSE_VAR;
}

var* _bb_dbfidx_clearindex_me(int argc, var** argv)
{
  (void)argc;
  DbfState* s = dbf_state(argv[0]);
  if (dbf_is_open(s)) idx_clear(argv[0], s);
  return TRUE_VAR;
}

/* setorder(n or name): make order n control the moves (0: natural order).
** The key text of the order that controlled them, "" if none did. */
var* _bb_dbfidx_setorder_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  var* v = arg(argc, argv, 1);
  if (!dbf_is_open(s) || s->indexcount == 0) return text("");
  int32_t n;
  if (kCM.has(v->Type)) n = diGetOrderNumber(self, s, v, NIL_VAR);
  else if (kOrderNumber.has(v->Type)) n = vlnIntVar(v);
  else return text("");
  put_rec(self);
  if (n < 0 || n > s->indexcount || (n == 0 && kCM.has(v->Type))) {
    dbf_error(self, diMN_setord, VL_E_DEV_WARNING, VL_SEV_RUNTIME, diEM_illord, int(n), dbf_alias(s),
              int(s->indexcount));
    return text("");
  }
  IdxDesc* former = idx_order_at(s, s->indexord);
  s->indexord = n;
  if (!former) return text("");
  var* result = text(former->hdr.keyexpr);
  if (!s->eof) {
    var* go[] = {self, set_Iv(s->recno)};
    _bb_dbfidx_goto_me(2, go);
  }
  return result;
}

/* orderinfo(code[, order[, alternative]]): see order_value; code 8 reads
** (and with a text third argument sets) the area's order text. */
var* _bb_dbfidx_orderinfo_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (!s || argc < 2 || !kNFI.has(argv[1]->Type)) return NIL_VAR;
  const int32_t code = vlnIntVar(argv[1]);
  switch (code) {
    case 29: case 35: case 39: case 40: case 45: return unsupported(self, code);
    case 8: {
      var* old = text(s->ordtext);
      var* v = arg(argc, argv, 3);
      if (kCM.has(v->Type)) std::snprintf(s->ordtext, sizeof s->ordtext, "%s", VSTR(v));
      return old;
    }
    default: break;
  }
  int32_t n = diGetOrderNumber(self, s, arg(argc, argv, 2), arg(argc, argv, 3));
  if (n == 0) n = s->indexord;
  IdxDesc* idx = dbf_is_open(s) ? idx_order_at(s, n) : nullptr;
  return idx ? order_value(self, s, code, n, idx) : order_default(code);
}

/* indexkey([order]): the key text of the order (the active one for 0 or
** none), "" without one. */
var* _bb_dbfidx_indexkey_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  IdxDesc* idx = dbf_is_open(s) ? numbered(s, arg(argc, argv, 1)) : nullptr;
  return text(idx ? idx->hdr.keyexpr : "");
}

/* indexcheck([order]): 0 sound, 1 suspect (written since the index last
** caught up with the table), 2 corrupted (a key count that cannot be);
** -1 without such an order.  Reports nothing. */
var* _bb_dbfidx_indexcheck_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  IdxDesc* idx = dbf_is_open(s) ? numbered(s, arg(argc, argv, 1)) : nullptr;
  return set_Iv(idx ? check_order(argv[0], s, idx) : kNoOrder);
}

var* _bb_dbfidx_deleteorder_me(int argc, var** argv)
{
  (void)argc;
  dbf_error(argv[0], diMN_delord, VL_E_ILLEGAL_METHOD, VL_SEV_RUNTIME, "%s", diEM_notsupp);
  return FALSE_VAR;
}

var* _bb_dbfidx_indexord_me(int argc, var** argv)
{
  (void)argc;
  const DbfState* s = dbf_state(argv[0]);
  return set_Iv(dbf_is_open(s) ? s->indexord : 0);
}

}  // extern "C"
