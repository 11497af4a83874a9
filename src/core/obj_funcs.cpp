// The object layer's language functions, the axit hook and the
// evaluator's message send.
#include <cctype>
#include <cstring>

#include "arrays.h"
#include "obj_call.hpp"
#include "var.hpp"
#include "vlerror.h"
#include "vlgen.h"

namespace {

// ISOBJPROPERTY's kind that asks about method rows.
constexpr int32_t kMethodRowsKind = 4;
// Arguments a message send in expression text can carry.
constexpr int kMaxSendArgs = 64;

const char* row_name(const VlnClassRow& row) { return reinterpret_cast<const char*>(row.w1); }

var* upper_string(var* dst, const char* name)
{
  set_Cvar(dst, name, -1);
  for (char* p = VSTR(dst); *p; ++p) *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  return dst;
}

var* new_array(int32_t n) { return cre_arr(cre_tmpvar(), n, 0, static_cast<var*>(nullptr)); }

// Array of {NAME, .T.} pairs for the exported instance rows.
var* exported_instances(const VlnClassRow* cls)
{
  int32_t first = cls[0].w4, count = 0;
  for (int32_t r = first; r < first + cls[0].w2; ++r) count += cls[r].w4 == VL_KIND_EXPORTED;
  var* list = new_array(count);
  int32_t k = 0;
  for (int32_t r = first; r < first + cls[0].w2; ++r) {
    if (cls[r].w4 != VL_KIND_EXPORTED) continue;
    var* pair = cre_arr(VARR(list)->A_vec[k++], 2, 0, static_cast<var*>(nullptr));
    upper_string(VARR(pair)->A_vec[0], row_name(cls[r]));
    set_lvar(VARR(pair)->A_vec[1], 1);
  }
  return list;
}

bool has_method_row(const VlnClassRow* cls, const char* name)
{
  int32_t first = cls[0].w4 + cls[0].w2;
  for (int32_t r = first; r < first + cls[0].w3; ++r)
    if (vlnStrNLCmp(name, row_name(cls[r]), 250) == 0) return true;
  return false;
}

void run_axit(var* obj)
{
  int32_t lim = VL_NO_LEVEL_LIMIT;
  var* elem = vlobj::method_element(obj, vlnLocateMethod("axit", vlnClassOf(obj), VL_KIND_METHOD, &lim));
  if (!vlobj::is_linked(elem)) return;
  var* head[] = {obj};
  vlobj::invoke(elem, VL_KIND_METHOD, head, 1, nullptr, 0);
}

}  // namespace

extern "C" var* vlnSend(var* obj, const char* message, int call, int assign, int argc, var** argv)
{
  if (assign) return vlnNoIVar(obj, message, 0, argv[0]);
  if (!call) return vlnNoIVar(obj, message, 0, nullptr);
  if (argc >= kMaxSendArgs) {
    rt_error(VL_E_TOO_MANY_ARGS, "in a message send");
    return NIL_VAR;
  }
  var* vec[kMaxSendArgs + 1];
  vec[0] = obj;
  for (int i = 0; i < argc; ++i) vec[i + 1] = argv[i];
  return vlnNoDoMethod(message, 0, argc + 1, vec);
}

VLN_FUNC(isobjclass)
{
  const VlnClassRow* cls = argc > 0 ? vlnClassOf(argv[0]) : nullptr;
  int32_t n = cls ? cls[0].w4 - 1 : 0;
  var* list = new_array(n);
  for (int32_t k = 0; k < n; ++k) upper_string(VARR(list)->A_vec[k], row_name(cls[n - k]));
  return list;
}

VLN_FUNC(isobjprope)
{
  const VlnClassRow* cls = argc > 0 ? vlnClassOf(argv[0]) : nullptr;
  if (argc < 2) return cls ? exported_instances(cls) : new_array(0);
  if (!cls || !vlnInSet("CM", argv[1]->Type)) return FALSE_VAR;
  const char* name = VSTR(argv[1]);
  bool methods = argc > 2 && vlnInSet("NI", argv[2]->Type) && vlnIntVar(argv[2]) == kMethodRowsKind;
  return (methods ? has_method_row(cls, name) : vlnLocateInstance(name, cls) >= 0) ? TRUE_VAR
                                                                                    : FALSE_VAR;
}

VLN_INIT(objects, 10)
{
  vlnAxitHook = run_axit;
}
