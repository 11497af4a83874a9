// obj_call.cpp -- calling the methods of an object: by slot, by name, and
// the nomethod fallback.
#include "breakguard.hpp"

#include <setjmp.h>

#include <cstdio>

#include "blocks.hpp"
#include "frame.h"
#include "kernel.h"
#include "obj_call.hpp"
#include "runtime.hpp"
#include "vlerror.hpp"

using namespace vl;

namespace {

constexpr char kModule[] = "obj_call.cpp";
// Argument vectors up to this length live on the C stack.
constexpr int kLocalVector = 16;
// Report level of the vector allocation.
constexpr int kVectorLevel = 1000;
// Severity of a failed vector allocation: message and immediate end.
constexpr int kVectorSeverity = 16;

var* call_block_word(var* elem, int kind, int n, var** args)
{
  switch (kind) {
    case VL_KIND_ACCESS:
      return reinterpret_cast<VlnAccessFn>(elem->Value.w2.fn)(args[0]);
    case VL_KIND_ASSIGN:
      return reinterpret_cast<VlnAssignFn>(elem->Value.w2.fn)(args[0], args[1]);
    default:
      return reinterpret_cast<BbFn>(elem->Value.w2.fn)(n, args);
  }
}

// The arguments are vec[1..n]; a 'b' element runs through the evaluator.
var* call_vector(var* elem, int kind, int n, var** vec)
{
  if (elem->Type == 'b') return vln_macro_block_hook(elem, n, vec + 1);
  return call_block_word(elem, kind, n, vec + 1);
}

void fill(var** vec, var** head, int nhead, var** rest, int nrest)
{
  for (int i = 0; i < nhead; ++i) vec[1 + i] = head[i];
  for (int i = 0; i < nrest; ++i) vec[1 + nhead + i] = rest[i];
}

// The same with an allocated vector, freed on return and on BREAK.
var* call_allocated(var* elem, int kind, var** head, int nhead, var** rest, int nrest)
{
  int n = nhead + nrest;
  auto** vec = static_cast<var**>(vln_malloc(sizeof(var*) * static_cast<size_t>(n + 1),
                                             vln_errmsg[9], kVectorSeverity, kVectorLevel,
                                             kModule, __LINE__));
  fill(vec, head, nhead, rest, nrest);
  return vln_guarded([&] { return call_vector(elem, kind, n, vec); },
                     [&] { vln_free(vec, kModule, __LINE__); });
}

}  // namespace

namespace vlobj {

bool check_object(var* obj)
{
  if (obj && (obj->Type == 'O' || obj->Type == 'u')) return true;
  rt_error(VL_E_ILLEGAL_TYPE, "object required");
  return false;
}

int32_t super_level() { return old_fn_stack ? old_fn_stack->SuperLevel : VL_NO_LEVEL_LIMIT; }

var* method_element(var* obj, int32_t index)
{
  ArrRec* a = obj->Value.w1.arr;
  if (!a || a->A_size < 2 || index < 0) return nullptr;
  var* methods = a->A_vec[1];
  if (methods->Type != 'A' || !methods->Value.w1.arr) return nullptr;
  ArrRec* m = methods->Value.w1.arr;
  return static_cast<uint32_t>(index) < m->A_size ? m->A_vec[index] : nullptr;
}

bool is_linked(const var* elem)
{
  if (!elem) return false;
  if (elem->Type == 'b') return true;
  return elem->Type == 'B' && elem->Value.w2.fn &&
         elem->Value.w2.fn != NILCB_VAR->Value.w2.fn;
}

var* invoke(var* elem, int kind, var** head, int nhead, var** rest, int nrest)
{
  if (elem->Type == 'B' && nhead == 0) return call_block_word(elem, kind, nrest, rest);
  if (elem->Type == 'B' && nrest == 0) return call_block_word(elem, kind, nhead, head);
  if (nhead + nrest >= kLocalVector) return call_allocated(elem, kind, head, nhead, rest, nrest);
  var* vec[kLocalVector];
  fill(vec, head, nhead, rest, nrest);
  return call_vector(elem, kind, nhead + nrest, vec);
}

var* report2(int code, const char* fmt, const char* a, const char* b)
{
  std::snprintf(repdum, sizeof repdum, fmt, a, b);
  rt_error(code, repdum);
  return NIL_VAR;
}

}  // namespace vlobj

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
