// Instance variables: plain and special slots, by slot and by name.
#include "obj_call.hpp"
#include "vlerror.h"

namespace {

// The access or assign method of a special slot: -1 when none applies.
int32_t special_method(const var* slot, const var* value)
{
  return value ? slot->Value.w2.mi.assign : slot->Value.w2.mi.access;
}

// Call the access (value null) or assign method index of obj; reports when
// the block is empty and gives null.
var* call_accessor(var* obj, int32_t index, var* value)
{
  var* elem = vlobj::method_element(obj, index);
  if (!vlobj::is_linked(elem)) {
    rt_error(VL_E_ILLEGAL_METHOD,
             value ? "Assign method not linked in" : "Access method not linked in");
    return nullptr;
  }
  var* head[] = {obj, value};
  return vlobj::invoke(elem, value ? VL_KIND_ASSIGN : VL_KIND_ACCESS, head, value ? 2 : 1,
                       nullptr, 0);
}

// Only methods (SuperLevel -1 and up) see the stored value of a special slot.
bool caller_is_method() { return vlobj::super_level() >= -1; }

var* element(var* obj, int32_t slot)
{
  ArrRec* a = obj->Value.w1.arr;
  return a && slot >= 0 && static_cast<uint32_t>(slot) < a->A_size ? a->A_vec[slot] : nullptr;
}

var* read_or_write(var* target, var* value) { return value ? cpy_var(target, value) : target; }

var* fallback(var* obj, const char* name, var* value)
{
  int32_t lim = VL_NO_LEVEL_LIMIT;
  const char* which = value ? "noivarput" : "noivarget";
  var* elem = vlobj::method_element(obj, vlnLocateMethod(which, vlnClassOf(obj), VL_KIND_METHOD, &lim));
  if (!vlobj::is_linked(elem)) return nullptr;
  var* head[] = {obj, set_Cvar(cre_tmpvar(), name, -1), value};
  return vlobj::invoke(elem, VL_KIND_METHOD, head, value ? 3 : 2, nullptr, 0);
}

var* no_instance(var* obj, const char* name)
{
  const char* cname = vlnClassName(vlnClassOf(obj));
  if (!*cname)
    return vlobj::report2(VL_E_ILLEGAL_INSTANCE,
                          "Class for instance '%s' has not been instantiated yet", name, "");
  return vlobj::report2(VL_E_ILLEGAL_INSTANCE, "Class '%s' has no instance '%s'", cname, name);
}

// By the access/assign method rows below the running level.
var* by_accessor(var* obj, const char* name, var* value)
{
  int32_t lim = vlobj::super_level() - 1;
  int kind = value ? VL_KIND_ASSIGN : VL_KIND_ACCESS;
  var* elem = vlobj::method_element(obj, vlnLocateMethod(name, vlnClassOf(obj), kind, &lim));
  if (!vlobj::is_linked(elem)) return nullptr;
  var* head[] = {obj, value};
  return vlobj::invoke(elem, kind, head, value ? 2 : 1, nullptr, 0);
}

}  // namespace

extern "C" {

var* vlnAcAs(var* obj, var* slot, var* value, int direct)
{
  if (slot->Type != '?') return read_or_write(slot, value);
  int32_t method = direct ? -1 : special_method(slot, value);
  if (method >= 0) return call_accessor(obj, method, value);
  if (!caller_is_method()) return nullptr;
  var* target = element(obj, static_cast<int32_t>(slot->Value.w1.slot));
  return target ? read_or_write(target, value) : nullptr;
}

var* vlnDoInstance(var* obj, const char* name, int32_t index, int direct, var* value)
{
  if (!vlobj::check_object(obj)) return NIL_VAR;
  if (var* slot = element(obj, index)) {
    if (var* r = vlnAcAs(obj, slot, value, direct)) return r;
  }
  return vlnNoIVar(obj, name, 0, value);
}

var* vlnNoIVar(var* obj, const char* name, int32_t level, var* value)
{
  if (!vlobj::check_object(obj)) return NIL_VAR;
  if (level != 0) {
    if (var* r = by_accessor(obj, name, value)) return r;
  } else if (var* slot = element(obj, vlnLocateInstance(name, vlnClassOf(obj)))) {
    if (var* r = vlnAcAs(obj, slot, value, 0)) return r;
    return no_instance(obj, name);
  }
  if (var* r = fallback(obj, name, value)) return r;
  return no_instance(obj, name);
}

}  // extern "C"
