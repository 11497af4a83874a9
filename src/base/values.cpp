// values.cpp -- records: making, copying, assigning and releasing values.
//
// Link discipline.  A record's Links counts its holders: the temporary
// stack, the memory-variable table, the variable stack, an array element
// slot, a detached block variable.  del_var drops one link and frees the
// record at zero.  Array records ('A','O','B','b') count their sharing
// values in A_links; the last one releases the elements last to first.
//
// Assignment order.  cpy_var takes the new copy or reference first and only
// then releases the destination's old content, so `a := a[1]` (where a holds
// the only link of its array) and `s := s` never read freed memory.
//
// Releasing old content can run language code: an object's axit.  So a
// record is always complete before its old content goes: the destination
// already holds its new value (or NIL), and a record whose last link went
// is back in the pool first.  The axit never meets a half-changed record.
//
// Release without recursion.  An array record whose last link goes is
// pushed on a pending stack, and one loop releases the elements of the
// record on top, last to first; an element that drops a nested record to
// zero pushes that one, which the loop then finishes first.  That is the
// order a recursive release would take, at a depth the program cannot push
// through the native stack.  An axit runs at a floor of its own, so the
// releases inside it complete before it returns; a BREAK out of an axit
// leaves the records it abandoned pending, and the next release finishes
// them.
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "breakguard.hpp"
#include "runtime.hpp"
#include "switches.h"
#include "valrec.hpp"
#include "vlerror.hpp"

extern "C" {
var* (*vlnSetFieldHook)(var* field, var* value) = nullptr;
void (*vlnGetFieldHook)(var* field) = nullptr;
void* (*vlnDupWindowHook)(void* window) = nullptr;
void (*vlnDelWindowHook)(void* window) = nullptr;
void (*vlnAxitHook)(var* obj) = nullptr;
}

namespace vl {

namespace {

constexpr const char* kModule = "values";

char* dup_text(const char* text, size_t len)
{
  auto* p = static_cast<char*>(vln_malloc(len + 1, vln_errmsg[41], VL_SEV_FATAL,
                                          VL_LEVEL_ALWAYS, kModule, __LINE__));
  std::memcpy(p, text, len);
  p[len] = '\0';
  return p;
}

// Refresh a field record's cached value before it is read.
void refresh_field(var* v)
{
  if (is_field(v) && vlnGetFieldHook) vlnGetFieldHook(v);
}

// ---- The pending stack of records being released. ----

constexpr size_t kFirstPending = 64;

ArrRec** pending = nullptr;
size_t pending_n = 0;
size_t pending_cap = 0;
// Whether a release loop is running at the present level, and the height
// below which the records belong to a loop suspended in an axit.
bool draining = false;
size_t drain_floor = 0;

void push_pending(ArrRec* a)
{
  if (pending_n == pending_cap) {
    const size_t cap = pending_cap ? pending_cap * 2 : kFirstPending;
    pending = static_cast<ArrRec**>(vln_realloc(pending, cap * sizeof(ArrRec*),
                                                "for releasing arrays", VL_SEV_FATAL,
                                                VL_LEVEL_ALWAYS, kModule, __LINE__));
    pending_cap = cap;
  }
  pending[pending_n++] = a;
}

void free_record(ArrRec* a)
{
  std::free(a->A_vec);
  std::free(a->A_text);
  std::free(a);
}

// Release the elements of the pending records above the floor, the top
// record's last element first, and free each record once it is empty.
void drain()
{
  draining = true;
  while (pending_n > drain_floor) {
    ArrRec* a = pending[pending_n - 1];
    if (a->A_size == 0) {
      --pending_n;
      free_record(a);
      continue;
    }
    var* e = a->A_vec[--a->A_size];
    a->A_vec[a->A_size] = nullptr;
    if (e) del_var(e);
  }
  draining = false;
}

// Run the object's axit once, holding the record so that it cannot be freed
// under the method, at a release floor of its own.  Returns true when the
// object was resurrected.  A BREAK out of the method drops the hold and
// leaves the record pending.
bool run_axit(ArrRec* a)
{
  a->A_flags |= AF_DYING;
  a->A_links = 1;
  var self{};
  self.Type = 'O';
  self.Mode = 'n';
  self.Links = 1;
  self.Value.w1.arr = a;
  const bool outer_draining = draining;
  const size_t outer_floor = drain_floor;
  bool returned = false;
  vln_guarded(
      [&] {
        draining = false;
        drain_floor = pending_n;
        vlnAxitHook(&self);
        returned = true;
      },
      [&] {
        drain_floor = outer_floor;
        draining = returned && outer_draining;
        if (!returned && --a->A_links == 0) push_pending(a);
      });
  return --a->A_links > 0;
}

// What drop_content reads of v: its tag and first value word, taken field
// by field.  A whole-record copy would load the value as one 16-byte word
// just after the record's words were stored one by one, and such a load
// waits until those stores reach the cache.
inline var content_of(const var* v)
{
  var old{};
  store_tag(&old, load_tag(v));
  old.Value.w1 = v->Value.w1;
  return old;
}

// Release the content that a record held before, now that no record shows
// it: a string buffer it owned, a link of a shared record, a window.
// Reads only what content_of keeps.
void drop_content(const var& old)
{
  switch (old.Type) {
    case 'C':
    case 'M':
      if (owns(&old)) std::free(old.Value.w1.str);
      break;
    case 'A':
    case 'O':
    case 'B':
    case 'b':
      if (old.Value.w1.arr) vln_arr_unref(old.Value.w1.arr);
      break;
    case 'S':
      if (owns(&old) && old.Value.w1.win && vlnDelWindowHook)
        vlnDelWindowHook(old.Value.w1.win);
      break;
    default:
      break;
  }
}

// Give dst the value of the content-holding scratch record tmp (Type,
// Decimals, Length, Value, and Mode when mode is set), then release what
// dst held before.
void install(var* dst, const var& tmp, bool mode)
{
  const var old = content_of(dst);
  dst->Type = tmp.Type ? tmp.Type : 'U';
  if (mode) dst->Mode = tmp.Mode;
  dst->Decimals = tmp.Decimals;
  dst->Length = tmp.Length;
  dst->Value = tmp.Value;
  drop_content(old);
}

// Convert src into the strictly typed record dst, or refuse with 332.
var* store_strict(var* dst, var* src)
{
  if (!vlnParamTypesCompatible(src->Type, dst->Type)) {
    std::snprintf(repdum, sizeof repdum, "expected %c - received %c", dst->Type,
                  src->Type);
    rt_error(VL_E_TYPED_VAR, repdum);
    return ERROR_VAR;
  }
  switch (dst->Type) {
    case 'N':
    case 'F':
      return set_nvar(dst, vlnNumVar(src), kNF.has(src->Type) ? src->Decimals : 0);
    case 'I':
      return set_Ivar(dst, vlnIntVar(src));
    case 'L':
      return set_lvar(dst, vlnLogVar(src));
    default: {  // block into block, object into object: share it
      var tmp{};
      copy_content(&tmp, src);
      install(dst, tmp, false);
      return dst;
    }
  }
}

}  // namespace

ArrRec* arr_alloc(uint32_t n)
{
  auto* a = static_cast<ArrRec*>(vln_malloc(sizeof(ArrRec), vln_errmsg[9], VL_SEV_FATAL,
                                            VL_LEVEL_ALWAYS, kModule, __LINE__));
  a->A_vec = static_cast<var**>(vln_malloc((n + 1) * sizeof(var*), vln_errmsg[9],
                                           VL_SEV_FATAL, VL_LEVEL_ALWAYS, kModule,
                                           __LINE__));
  std::memset(a->A_vec, 0, (n + 1) * sizeof(var*));
  a->A_links = 1;
  a->A_size = n;
  a->A_cap = n;
  a->A_flags = 0;
  a->A_text = nullptr;
  a->A_code = nullptr;
  return a;
}

void release_content(var* v)
{
  const bool held = has_content(v);
  const var old = held ? content_of(v) : var{};
  v->Type = 'U';
  v->Decimals = 0;
  v->Length = 0;
  v->Value.w1.bits = 0;
  v->Value.w2.bits = 0;
  if (held) drop_content(old);
}

void copy_content(var* dst, const var* src)
{
  dst->Type = src->Type;
  dst->Decimals = src->Decimals;
  dst->Length = src->Length;
  dst->Value = src->Value;
  switch (src->Type) {
    case 'C':
    case 'M': {
      const size_t len = src->Length > 0 ? static_cast<size_t>(src->Length - 1) : 0;
      dst->Value.w1.str = dup_text(src->Value.w1.str ? src->Value.w1.str : "", len);
      dst->Length = static_cast<int32_t>(len + 1);
      dst->Value.w2.bits = 0;
      own_mode(dst);
      break;
    }
    case 'A':
    case 'O':
    case 'B':
    case 'b':
      if (src->Value.w1.arr && !(src->Value.w1.arr->A_flags & AF_STATIC))
        ++src->Value.w1.arr->A_links;
      break;
    case 'S':
      if (owns(src) && vlnDupWindowHook) {
        dst->Value.w1.win = vlnDupWindowHook(src->Value.w1.win);
        own_mode(dst);
      } else {
        borrow_mode(dst);
      }
      break;
    case 'U':
      dst->Length = 0;
      break;
    default:
      break;
  }
}

}  // namespace vl

using namespace vl;

extern "C" {

ArrRec* vln_arr_new(uint32_t n)
{
  if (n > VL_MAX_ARRAY) {
    std::snprintf(repdum, sizeof repdum, "dimension overflow, requested array size=%u", n);
    int_error(VL_E_OUT_OF_RANGE, repdum, kModule, __LINE__);
    return nullptr;
  }
  ArrRec* a = arr_alloc(n);
  for (uint32_t i = 0; i < n; ++i) a->A_vec[i] = mak_var('N', 'U');
  return a;
}

void vln_arr_unref(ArrRec* a)
{
  if (a->A_flags & AF_STATIC) return;
  assert(a->A_links > 0);
  if (--a->A_links > 0) return;
  if ((a->A_flags & (AF_OBJECT | AF_DYING)) == AF_OBJECT && vlnAxitHook && run_axit(a))
    return;
  push_pending(a);
  if (!draining) drain();
}

var* mak_var(int mode, int type)
{
  var* v = rec_alloc();
  init_record(v, static_cast<char>(type), static_cast<char>(mode), glob_depth);
  return v;
}

var* mak_chrvar(const char* text, int flag)
{
  var* v = mak_var('N', 'C');
  const size_t len = text ? std::strlen(text) : 0;
  v->Value.w1.str = dup_text(text ? text : "", len);
  v->Length = static_cast<int32_t>(len + 1);
  return v;
}

var* mak_scrvar(void* window)
{
  var* v = cre_tmpvar();
  v->Type = 'S';
  v->Value.w1.win = window;
  return v;
}

var* mk_var_cp(var* v)
{
  if (!has_content(v) && !is_field(v)) {  // fast path: a plain scalar
    var* t = cre_tmpvar();
    if (v->Mode == 'U' || v == ERROR_VAR) return t;
    t->Type = v->Type;
    t->Decimals = v->Decimals;
    t->Length = v->Length;
    t->Value.w1.bits = v->Value.w1.bits;
    t->Value.w2.bits = v->Value.w2.bits;
    return t;
  }
  refresh_field(v);
  var* t = cre_tmpvar();
  if (v->Mode == 'U' || v == ERROR_VAR) return t;
  copy_content(t, v);
  return t;
}

var* release_v_cont(var* v, int newtype)
{
  if (is_static(v)) return ERROR_VAR;
  if (kModeStrict.has(v->Mode) && v->Type != 'U' && v->Type != newtype &&
      !vlnParamTypesCompatible(newtype, v->Type)) {
    std::snprintf(repdum, sizeof repdum, "expected %c - received %c", v->Type, newtype);
    rt_error(VL_E_TYPED_VAR, repdum);
    return ERROR_VAR;
  }
  release_content(v);
  return v;
}

// Whether a store of src (tag st, see valrec.hpp) into dst (tag dt) may be
// a plain copy of a scalar, as far as their Modes and Flags tell: src is a
// scalar read as it stands, and dst has no strict type, field or constant
// to honour.  A number temporary into a number LOCAL is told by two
// compares, anything else by a table load per letter.
static inline bool plain_scalar_store(uint32_t dt, uint32_t st)
{
  const bool src_ok =
      __builtin_expect(tag_kind(st) == kNumberTemp, 1) ||
      (letter_is(tag_type(st), LC_SCALAR) && !letter_is(tag_mode(st), LC_KEEP_MODE_SRC));
  const bool dst_ok = __builtin_expect(tag_kind(dt) == kNumberLocal, 1) ||
                      !letter_is(tag_mode(dt), LC_KEEP_MODE_DST);
  return src_ok && dst_ok && !(tag_flags(dt) & VF_STATIC);
}

// The general assignment: strings, shared records, fields, strict types.
[[gnu::noinline]] static var* cpy_var_slow(var* dst, var* src)
{
  if (dst == src) return dst;
  if (is_static(dst)) return ERROR_VAR;
  if (is_field(dst)) {
    if (vlnSetFieldHook) return vlnSetFieldHook(dst, src);
    return int_error(VL_E_INTERNAL_VALUE, "field store without a database", kModule, __LINE__);
  }
  refresh_field(src);
  if (kModeStrict.has(dst->Mode) && dst->Type != 'U' && src->Type != dst->Type)
    return store_strict(dst, src);
  var tmp{};
  tmp.Mode = dst->Mode == 'U' ? 'N' : dst->Mode;
  if (src->Mode != 'U' && src != ERROR_VAR) copy_content(&tmp, src);
  install(dst, tmp, true);
  return dst;
}

// The plain store copies Type and Decimals and keeps dst's Mode and Flags;
// it applies when dst holds a scalar or NIL, nothing to release.  The tag is
// written only when Type or Decimals change: in a loop like `x := x + 1` it
// then stays as it is, and the next statement's reading of x's tag does not
// wait for this store.
var* cpy_var(var* dst, var* src)
{
  const uint32_t st = load_tag(src), dt = load_tag(dst);
  if (__builtin_expect(!plain_scalar_store(dt, st), 0)) return cpy_var_slow(dst, src);
  if (__builtin_expect((st ^ dt) & kTagValueBytes, 0)) {
    if (!letter_is(tag_type(dt), LC_SCALAR_NIL)) return cpy_var_slow(dst, src);
    store_tag(dst, (st & kTagValueBytes) | (dt & kTagRecordBytes));
  }
  dst->Length = src->Length;
  dst->Value.w1.bits = src->Value.w1.bits;
  dst->Value.w2.bits = 0;
  return dst;
}

void del_var(var* v)
{
  if (is_static(v)) return;
  assert(v->Links > 0 && v->Type != 0x7F);
  if (--v->Links > 0) return;
  if (!has_content(v)) return rec_free(v);
  const var old = content_of(v);
  rec_free(v);
  drop_content(old);
}

}  // extern "C"
