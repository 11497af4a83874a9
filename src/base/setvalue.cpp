// setvalue.cpp -- the value constructors.
//
// Each scalar type has two forms here: into a given record and into a new
// temporary (the forms by memory-variable index are the kernel's).  The into-a-record form honours Mode: a field record is
// written through the database with a scratch value; a strictly typed record
// keeps its declared numeric subtype or refuses (332); anything else has its
// old content released first.
#include <cstdarg>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <unordered_map>
#include <utility>
#include <vector>

#include "runtime.hpp"
#include "switches.h"
#include "valrec.hpp"
#include "var.hpp"
#include "vlerror.hpp"

using namespace vl;

using vl::is_field;
using vl::kModeStrict;

namespace {

constexpr const char* kModule = "setvalue";

bool strict(const var* v) { return kModeStrict.has(v->Mode); }

// Write value through the field store of field record v.
var* field_store(var* v, var* value)
{
  if (vlnSetFieldHook) return vlnSetFieldHook(v, value);
  return int_error(VL_E_INTERNAL_VALUE, "field store without a database", kModule, __LINE__);
}

// Store a scalar already built in scratch (Type, Length, Decimals, Value)
// into v after releasing v's content.
var* store_scalar(var* v, const var& scratch)
{
  if (is_field(v)) return field_store(v, const_cast<var*>(&scratch));
  if (release_v_cont(v, scratch.Type) == ERROR_VAR) return ERROR_VAR;
  v->Type = scratch.Type;
  v->Length = scratch.Length;
  v->Decimals = scratch.Decimals;
  v->Value = scratch.Value;
  if (v->Mode == 'U') v->Mode = 'N';
  return v;
}

var scalar(char type, int32_t length)
{
  var s{};
  s.Type = type;
  s.Mode = 't';
  s.Length = length;
  return s;
}

// A deep copy of the array record root: every nested array duplicated,
// shared and cyclic parts reproduced as such in the copy.  A work list of
// records still to fill keeps the native stack flat however deep the
// nesting.  No language code runs here.
ArrRec* deep_copy(ArrRec* root)
{
  std::unordered_map<ArrRec*, ArrRec*> done;
  std::vector<std::pair<ArrRec*, ArrRec*>> to_fill;
  // The copy of src: one more link to it when it exists, else a new record
  // of NIL slots, to be filled.
  const auto copy_of = [&](ArrRec* src) {
    auto [it, fresh] = done.try_emplace(src, nullptr);
    if (!fresh) {
      ++it->second->A_links;
      return it->second;
    }
    it->second = vl::arr_alloc(src->A_size);
    to_fill.emplace_back(src, it->second);
    return it->second;
  };
  ArrRec* top = copy_of(root);
  while (!to_fill.empty()) {
    const auto [src, dst] = to_fill.back();
    to_fill.pop_back();
    for (uint32_t i = 0; i < src->A_size; ++i) {
      var* e = mak_var('N', 'U');
      dst->A_vec[i] = e;
      var* s = src->A_vec[i];
      if (s->Type == 'A') {
        e->Type = 'A';
        e->Value.w1.arr = copy_of(s->Value.w1.arr);
      } else {
        cpy_var(e, s);
      }
    }
  }
  return top;
}

}  // namespace

extern "C" {

var* vln_day_range_error(const char* what)
{
  std::snprintf(repdum, sizeof repdum, "%s: date out of range (the last date is 9999-12-31)", what);
  return rt_error(VL_E_OUT_OF_RANGE, repdum);
}


var* set_cvar(var* v, const char* text)
{
  var s = scalar('C', static_cast<int32_t>(std::strlen(text) + 1));
  s.Value.w1.str = const_cast<char*>(text);
  if (is_field(v)) return field_store(v, &s);
  if (release_v_cont(v, 'C') == ERROR_VAR) return ERROR_VAR;
  v->Type = 'C';
  v->Length = s.Length;
  v->Decimals = 0;
  v->Value = s.Value;
  if (v->Mode == 'U') v->Mode = 'N';
  vl::borrow_mode(v);
  return v;
}

var* set_Cvar(var* v, const char* text, int32_t len)
{
  if (len < 0) len = text ? static_cast<int32_t>(std::strlen(text)) : 0;
  if (v->Type == 'C' && v->Value.w1.str == text && text && vl::owns(v) && !is_field(v)) {
    if (len + 1 == v->Length) return v;
    char* p = static_cast<char*>(vln_realloc(v->Value.w1.str, static_cast<size_t>(len) + 1,
                                             vln_errmsg[41], VL_SEV_RUNTIME,
                                             VL_LEVEL_ALWAYS, kModule, __LINE__));
    if (!p) return ERROR_VAR;
    p[len] = '\0';
    v->Value.w1.str = p;
    v->Length = len + 1;
    return v;
  }
  char* p = static_cast<char*>(vln_malloc(static_cast<size_t>(len) + 1, vln_errmsg[41],
                                          VL_SEV_RUNTIME, VL_LEVEL_ALWAYS, kModule,
                                          __LINE__));
  if (!p) return ERROR_VAR;
  if (text)
    std::memcpy(p, text, static_cast<size_t>(len));
  else
    std::memset(p, 0, static_cast<size_t>(len));
  p[len] = '\0';
  if (is_field(v)) {
    var s = scalar('C', len + 1);
    s.Value.w1.str = p;
    var* r = field_store(v, &s);
    std::free(p);
    return r;
  }
  if (release_v_cont(v, 'C') == ERROR_VAR) {
    std::free(p);
    return ERROR_VAR;
  }
  v->Type = 'C';
  v->Length = len + 1;
  v->Decimals = 0;
  v->Value.w1.str = p;
  if (v->Mode == 'U') v->Mode = 'N';
  vl::own_mode(v);
  return v;
}

var* set_dvar(var* v, int32_t day)
{
  if (!vln_day_ok(day)) return vln_day_range_error("date value");
  var s = scalar('D', 8);
  s.Value.w1.i = day;
  return store_scalar(v, s);
}

var* set_lvar(var* v, int b)
{
  if (strict(v) && !is_field(v)) {
    if (v->Type == 'I') return set_Ivar(v, b != 0);
    if (v->Type == 'N' || v->Type == 'F') return set_nvar(v, b != 0, 0);
  }
  var s = scalar('L', 1);
  s.Value.w1.i = b != 0;
  return store_scalar(v, s);
}

var* set_Ivar(var* v, int32_t n)
{
  if (strict(v) && !is_field(v)) {
    if (v->Type == 'N' || v->Type == 'F') return set_nvar(v, n, -1);
    if (v->Type == 'L') return set_lvar(v, n != 0);
  }
  var s = scalar('I', -1);
  s.Value.w1.i = n;
  return store_scalar(v, s);
}

var* set_nvar(var* v, double d, int dec)
{
  char type = 'N';
  if (strict(v) && !is_field(v)) {
    if (v->Type == 'I') return set_Ivar(v, vlnDoubleToInt(d));
    if (v->Type == 'L') return set_lvar(v, d != 0.0);
    if (v->Type == 'F') type = 'F';
  }
  var s = scalar(type, -1);
  s.Decimals = static_cast<uint8_t>(dec == -1 ? vlnGetDecimals() : dec & 0xFF);
  s.Value.w1.d = d;
  return store_scalar(v, s);
}

var* set_cv(const char* text) { return set_cvar(cre_tmpvar(), text); }
var* set_dv(int32_t day) { return set_dvar(cre_tmpvar(), day); }
var* set_Iv(int32_t n) { return set_Ivar(cre_tmpvar(), n); }
var* set_lv(int b) { return set_lvar(cre_tmpvar(), b); }
var* set_nv(double d, int dec) { return set_nvar(cre_tmpvar(), d, dec); }

var* set_ivar(var* v, intptr_t word)
{
  if (is_field(v)) return v;
  const VWord2 keep = v->Type == '?' ? v->Value.w2 : VWord2{};
  if (release_v_cont(v, '?') == ERROR_VAR) return ERROR_VAR;
  v->Type = '?';
  v->Value.w1.slot = word;
  v->Value.w2 = keep;
  return v;
}

var* set_svar(var* v, void* window)
{
  if (is_field(v)) return v;
  if (release_v_cont(v, 'S') == ERROR_VAR) return ERROR_VAR;
  v->Type = 'S';
  v->Value.w1.win = window;
  vl::own_mode(v);
  return v;
}

var* set_Svar(var* v, void* window)
{
  if (is_field(v)) return v;
  void* copy = vlnDupWindowHook ? vlnDupWindowHook(window) : nullptr;
  if (!copy) ftl_error(VL_E_NO_MEMORY, "cannot copy the screen window");
  return set_svar(v, copy);
}

var* set_bvar(var* v, AnyFn fn, int pars, ...)
{
  if (is_field(v)) return v;
  va_list ap;
  va_start(ap, pars);
  uint32_t n = 0;
  while (va_arg(ap, var*)) ++n;
  va_end(ap);
  ArrRec* a = vl::arr_alloc(n);
  va_start(ap, pars);
  for (uint32_t i = 0; i < n; ++i) {
    var* d = va_arg(ap, var*);
    if (!vl::is_static(d)) ++d->Links;
    a->A_vec[i] = d;
  }
  va_end(ap);
  if (release_v_cont(v, 'B') == ERROR_VAR) {
    vln_arr_unref(a);
    return ERROR_VAR;
  }
  v->Type = 'B';
  v->Decimals = static_cast<uint8_t>(pars);
  v->Length = 0;
  v->Value.w1.arr = a;
  v->Value.w2.fn = fn;
  if (v->Mode == 'U') v->Mode = 'N';
  return v;
}

var* set_Ov(int32_t nslots, const VlnClassRow* classrecord, var* methods)
{
  var* t = cre_tmpvar();
  ArrRec* a = vln_arr_new(static_cast<uint32_t>(nslots) + 2);
  if (!a) return ERROR_VAR;
  a->A_flags |= AF_OBJECT;
  set_ivar(a->A_vec[0], reinterpret_cast<intptr_t>(classrecord));
  cpy_var(a->A_vec[1], methods);
  t->Type = 'O';
  t->Value.w1.arr = a;
  return t;
}

var* true_cpy(var* dst, var* src)
{
  if (src->Type != 'A') return cpy_var(dst, src);
  if (dst == src) return dst;
  if (is_field(dst)) return field_store(dst, src);
  ArrRec* copy = deep_copy(src->Value.w1.arr);
  if (release_v_cont(dst, 'A') == ERROR_VAR) {
    vln_arr_unref(copy);
    return ERROR_VAR;
  }
  dst->Type = 'A';
  dst->Value.w1.arr = copy;
  if (dst->Mode == 'U') dst->Mode = 'N';
  return dst;
}

}  // extern "C"
