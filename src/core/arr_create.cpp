// arr_create.cpp -- cre_arr: making an array, or resizing an array or an
// object in place so that every holder of the record sees the change.
//
// A resize that releases elements may run an object's axit, and that may
// change or drop the array, or release a value still to be stored (it may be
// an element of the same array).  Such a resize holds the record and the
// values on the temporary stack while it works and re-reads the size after
// every release; a BREAK out of the axit leaves the holds to the landing's
// release.
#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "arrays.h"
#include "breakguard.hpp"
#include "kernel.h"
#include "letters.hpp"
#include "vlerror.hpp"

namespace {

constexpr const char* kModule = "arr_create";
// Value lists up to this length are gathered on the C stack.
constexpr size_t kLocalList = 16;

// How the new elements get their values.
enum class Fill { kNone, kShare, kDeepOne, kDeepEach };

Fill fill_kind(int flag)
{
  switch (flag) {
    case VL_ARR_LIST:
    case VL_ARR_APPEND:
      return Fill::kShare;
    case VL_ARR_DEEP_ONE:
      return Fill::kDeepOne;
    case VL_ARR_DEEP_LIST:
      return Fill::kDeepEach;
    default:
      return Fill::kNone;
  }
}

bool size_allowed(int32_t size)
{
  if (size >= 0 && size <= VL_MAX_ARRAY) return true;
  char text[64];
  std::snprintf(text, sizeof text, "dimension overflow, requested array size=%d", size);
  int_error(VL_E_OUT_OF_RANGE, text, kModule, __LINE__);
  return false;
}

// Number of list values the fill may read: up to the null, at most max.
uint32_t values_used(Fill kind, var* const* list, uint32_t max)
{
  if (kind == Fill::kNone || !list) return 0;
  if (kind == Fill::kDeepOne) max = std::min<uint32_t>(max, 1);
  uint32_t n = 0;
  while (n < max && list[n]) ++n;
  return n;
}

// Reallocate A_vec to cap elements plus the closing null.
void set_capacity(ArrRec* a, uint32_t cap)
{
  a->A_vec = static_cast<var**>(vln_realloc(a->A_vec, (cap + size_t{1}) * sizeof(var*),
                                            vln_errmsg[9], VL_SEV_FATAL, VL_LEVEL_ALWAYS,
                                            kModule, __LINE__));
  a->A_cap = cap;
}

// Room for size elements; growth by half again, so that a run of AADDs
// reallocates a logarithmic number of times.
void reserve(ArrRec* a, uint32_t size)
{
  if (size <= a->A_cap) return;
  uint32_t cap = a->A_cap + a->A_cap / 2;
  if (cap < size) cap = size;
  if (cap > VL_MAX_ARRAY) cap = VL_MAX_ARRAY;
  set_capacity(a, cap);
}

// Release the elements above size, last first, and give back their room.
// A release may run code that resizes the array again: the loop goes on
// until the size is reached, and the room kept fits what is left.
void shrink(ArrRec* a, uint32_t size)
{
  while (a->A_size > size) {
    --a->A_size;
    var* e = a->A_vec[a->A_size];
    a->A_vec[a->A_size] = nullptr;
    del_var(e);
  }
  set_capacity(a, std::max(size, a->A_size));
}

// Replace the first n elements (as many as are left) by new NIL records,
// releasing the old ones.
void renew(ArrRec* a, uint32_t n)
{
  for (uint32_t i = 0; i < n && i < a->A_size; ++i) {
    var* old = a->A_vec[i];
    a->A_vec[i] = mak_var('N', 'U');
    del_var(old);
  }
}

// Grow to size with NIL elements; A_vec[size] stays null.
void grow(ArrRec* a, uint32_t size)
{
  reserve(a, size);
  for (uint32_t i = a->A_size; i < size; ++i) a->A_vec[i] = mak_var('N', 'U');
  a->A_vec[size] = nullptr;
  a->A_size = size;
}

// Whether resizing a to size releases elements.
bool releases(const ArrRec* a, uint32_t size, int flag)
{
  return size < a->A_size || (flag != VL_ARR_APPEND && a->A_size > 0);
}

// Resize the record in place; returns the first element to fill.
uint32_t resize(ArrRec* a, uint32_t size, int flag)
{
  if (size < a->A_size) shrink(a, size);
  const uint32_t kept = a->A_size;
  if (flag != VL_ARR_APPEND) renew(a, kept);
  grow(a, size);
  return flag == VL_ARR_APPEND ? kept : 0;
}

void fill(ArrRec* a, uint32_t from, Fill kind, var* const* list, uint32_t n)
{
  for (uint32_t i = from, k = 0; i < a->A_size; ++i) {
    if (kind == Fill::kDeepOne) {
      if (n == 0) return;
      true_cpy(a->A_vec[i], list[0]);
      continue;
    }
    if (k == n) return;
    var* x = list[k++];
    if (kind == Fill::kDeepEach)
      true_cpy(a->A_vec[i], x);
    else
      cpy_var(a->A_vec[i], x);
  }
}

// A new array record for v; v's old content goes only once the new one is
// complete, so a value may come from v itself.
var* make_new(var* v, uint32_t size, Fill kind, var* const* list, uint32_t n)
{
  ArrRec* a = vln_arr_new(size);
  fill(a, 0, kind, list, n);
  if (release_v_cont(v, 'A') == ERROR_VAR) {
    vln_arr_unref(a);
    return ERROR_VAR;
  }
  v->Type = 'A';
  v->Value.w1.arr = a;
  if (v->Mode == 'U') v->Mode = 'N';
  return v;
}

var* create(var* v, int32_t size, int flag, var* const* list)
{
  if (!size_allowed(size)) return ERROR_VAR;
  const auto usize = static_cast<uint32_t>(size);
  const Fill kind = fill_kind(flag);
  const uint32_t n = values_used(kind, list, usize);
  if (!vl::kOA.has(v->Type)) return make_new(v, usize, kind, list, n);
  ArrRec* a = VARR(v);
  const int32_t mark = tmpvar_cnt;
  if (releases(a, usize, flag)) {
    mk_var_cp(v);
    for (uint32_t i = 0; i < n; ++i) vln_hold(list[i]);
  }
  fill(a, resize(a, usize, flag), kind, list, n);
  del_tmpvars(mark);
  return v;
}

}  // namespace

extern "C" {

var* cre_arr(var* v, int32_t size, int flag, ...)
{
  va_list ap;
  va_start(ap, flag);
  va_list count;
  va_copy(count, ap);
  size_t n = 0;
  while (n < VL_MAX_ARRAY && va_arg(count, var*)) ++n;
  va_end(count);
  var* r = vln_with_vector<kLocalList>(n, [&](var** list) {
    for (size_t i = 0; i < n; ++i) list[i] = va_arg(ap, var*);
    list[n] = nullptr;
    return create(v, size, flag, list);
  });
  va_end(ap);
  return r;
}

var* cre_arra(var* v, int32_t size, int flag, var* const* list)
{
  return create(v, size, flag, list);
}

var* cre_arrv(var* v, var* sizevar, int flag, var* value)
{
  if (!sizevar || !vl::kNFIL.has(sizevar->Type))
    return rt_error(VL_E_TYPE_MISMATCH, "array dimension not numeric");
  var* list[] = {value, nullptr};
  return create(v, vlnIntVar(sizevar), flag, list);
}

}  // extern "C"

var* cre_arr(var* v, int32_t size, int flag, std::initializer_list<var*> values)
{
  return vln_with_vector<kLocalList>(values.size(), [&](var** list) {
    size_t n = 0;
    for (var* x : values) list[n++] = x;
    list[n] = nullptr;
    return create(v, size, flag, list);
  });
}
