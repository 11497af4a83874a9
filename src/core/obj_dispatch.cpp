// Method calls: by slot, by name, and the nomethod fallback.
#include "kernel.h"
#include "obj_call.hpp"
#include "vlerror.h"

extern "C" {

var* vlnDoMethod(const char* name, int32_t index, int32_t level, int argc, var** argv)
{
  if (argc < 1 || !vlobj::check_object(argv[0])) return NIL_VAR;
  const VlnClassRow* cls = vlnClassOf(argv[0]);
  if (level == 0 && cls && index >= 0 && index < cls[0].w3) {
    var* elem = vlobj::method_element(argv[0], index);
    if (elem && elem->Type == 'B' && elem->Value.w2.fn)
      return reinterpret_cast<BbFn>(elem->Value.w2.fn)(argc, argv);
  }
  return vlnNoDoMethod(name, level, argc, argv);
}

var* vlnNoDoMethod(const char* name, int32_t level, int argc, var** argv)
{
  if (argc < 1 || !vlobj::check_object(argv[0])) return NIL_VAR;
  int32_t lim = vlobj::super_level() - level;
  int32_t index = vlnLocateMethod(name, vlnClassOf(argv[0]), VL_KIND_METHOD, &lim);
  var* elem = vlobj::method_element(argv[0], index);
  if (vlobj::is_linked(elem)) return vlobj::invoke(elem, VL_KIND_METHOD, nullptr, 0, argv, argc);
  return vlnNoMethod(name, argc, argv, level);
}

var* vlnNoMethod(const char* name, int argc, var** argv, int32_t level)
{
  if (argc < 1 || !vlobj::check_object(argv[0])) return NIL_VAR;
  const VlnClassRow* cls = vlnClassOf(argv[0]);
  int32_t lim = vlobj::super_level() - level;
  var* elem = vlobj::method_element(argv[0], vlnLocateMethod("nomethod", cls, VL_KIND_METHOD, &lim));
  if (vlobj::is_linked(elem)) {
    var* head[] = {argv[0], set_Cvar(cre_tmpvar(), name, -1)};
    return vlobj::invoke(elem, VL_KIND_METHOD, head, 2, argv + 1, argc - 1);
  }
  const char* cname = vlnClassName(cls);
  if (!*cname)
    return vlobj::report2(VL_E_ILLEGAL_METHOD,
                          "Class for method '%s' has not been instantiated yet", name, "");
  return vlobj::report2(VL_E_ILLEGAL_METHOD, "Class '%s' has no method '%s'", cname, name);
}

}  // extern "C"
