// Building objects: method arrays, typed and special slots, init, and the
// direct helpers host-language methods use.
#include <cstdio>

#include "kernel.h"
#include "obj_call.hpp"
#include "runtime.hpp"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr char kModule[] = "obj_build.cpp";

// Element slot of obj when obj is an object and slot is in range.
var* object_slot(var* obj, int32_t slot)
{
  if (!obj || (obj->Type != 'O' && obj->Type != 'u') || !obj->Value.w1.arr) return nullptr;
  ArrRec* a = obj->Value.w1.arr;
  return slot >= 0 && static_cast<uint32_t>(slot) < a->A_size ? a->A_vec[slot] : nullptr;
}

uint32_t method_count(var* obj)
{
  var* methods = obj->Value.w1.arr->A_vec[1];
  return methods->Type == 'A' && methods->Value.w1.arr ? methods->Value.w1.arr->A_size : 0;
}

// -1 (none) or an index below limit.
bool optional_index(int32_t i, uint32_t limit) { return i == -1 || (i >= 0 && static_cast<uint32_t>(i) < limit); }

}  // namespace

extern "C" {

var* vlnAddMethod(var* array, int32_t i, AnyFn fn, int pars)
{
  if (!array || array->Type != 'A' || i < 0 ||
      static_cast<uint32_t>(i) >= array->Value.w1.arr->A_size)
    return NIL_VAR;
  var* elem = array->Value.w1.arr->A_vec[i];
  set_bvar(elem, fn, pars, static_cast<var*>(nullptr));
  return elem;
}

var* vlnSetDefault(var* obj, int32_t slot, int type, var* value)
{
  var* elem = object_slot(obj, slot);
  if (!elem) return NIL_VAR;
  vlnSetFixedEmpty(elem, type);
  if (value) cpy_var(elem, value);
  return elem;
}

var* vlnDoSpecial(var* obj, int32_t slot, int32_t ivar, int32_t access, int32_t assign)
{
  var* elem = object_slot(obj, slot);
  if (!elem) return FALSE_VAR;
  uint32_t nslots = obj->Value.w1.arr->A_size, nmethods = method_count(obj);
  if (!optional_index(ivar, nslots) || !optional_index(access, nmethods) ||
      !optional_index(assign, nmethods))
    return FALSE_VAR;
  release_v_cont(elem, '?');
  elem->Type = '?';
  elem->Mode = 'S';
  elem->Value.w1.slot = ivar;
  elem->Value.w2.bits = 0;
  elem->Value.w2.mi.access = static_cast<int16_t>(access);
  elem->Value.w2.mi.assign = static_cast<int16_t>(assign);
  return TRUE_VAR;
}

var* vlnDoInit(var* obj, int argc, var** argv)
{
  if (!vlobj::check_object(obj)) return obj;
  int32_t lim = vlobj::super_level();
  var* elem = vlobj::method_element(obj, vlnLocateMethod("init", vlnClassOf(obj), VL_KIND_METHOD, &lim));
  if (!vlobj::is_linked(elem)) return obj;
  var* head[] = {obj};
  return vlobj::invoke(elem, VL_KIND_METHOD, head, 1, argv, argc);
}

var* vlnGetObj(var* obj, int32_t i)
{
  if (!obj) {
    int_error(VL_E_NULL_POINTER, "GetObj: null obj pointer", kModule, __LINE__);
    return NIL_VAR;
  }
  if (obj->Type != 'O') {
    std::snprintf(repdum, sizeof repdum, "GetObj: object required, cannot be '%c'", obj->Type);
    rt_error(VL_E_WRONG_ARG_TYPE, repdum);
    return NIL_VAR;
  }
  int32_t last = static_cast<int32_t>(obj->Value.w1.arr->A_size) - 1;
  if (i < 1 || i > last) {
    std::snprintf(repdum, sizeof repdum, "GetObj: internal index %d not in limits (1..%d)", i, last);
    rt_error(VL_E_OUT_OF_RANGE, repdum);
    return NIL_VAR;
  }
  return obj->Value.w1.arr->A_vec[i];
}

AnyFn vlnGetMethod(var* obj, const char* name, int32_t i)
{
  if (!obj || obj->Type != 'O') {
    rt_error(VL_E_ILLEGAL_TYPE, "object required");
    return NILCB_VAR->Value.w2.fn;
  }
  var* elem = vlobj::method_element(obj, i);
  const char* fmt = elem ? "method '%s' not linked for this object"
                         : "method '%s' not available for this object";
  if (elem && elem->Type == 'B' && vlobj::is_linked(elem)) return elem->Value.w2.fn;
  vlobj::report2(VL_E_ILLEGAL_METHOD, fmt, name, "");
  return NILCB_VAR->Value.w2.fn;
}

int32_t vlnIsMethod(var* obj, const char* name, int kind)
{
  if (!vlobj::check_object(obj)) return -1;
  const VlnClassRow* cls = vlnClassOf(obj);
  int32_t lim = vlobj::super_level();
  int32_t index = vlnLocateMethod(name, cls, kind, &lim);
  if (!cls || index < 0 || index >= cls[0].w3) return -1;
  return vlobj::is_linked(vlobj::method_element(obj, index)) ? index : -1;
}

}  // extern "C"
