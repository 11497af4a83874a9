// facade_core.cpp -- the pieces every database function is made of: the
// empty-area rule, the argument check, the send by slot, the scope packing
// and the NETERR() flag.
#include <algorithm>
#include <cstdio>

#include "areas.h"
#include "arrays.h"
#include "facade_shape.hpp"
#include "letters.hpp"
#include "objects.h"
#include "vlerror.h"
#include "vlgen.h"

using vlfacade::present;

namespace {

// The number SELECT() gives while no area has been selected yet.
constexpr int kFirstArea = 1;

// vlnDoScope: positions of the command's scope arguments.
enum { kFor, kWhile, kNext, kRecord, kRest, kScopeArgs };
constexpr vl::LetterSet kNextTypes = vl::letters("NFIL");
constexpr vl::LetterSet kRecordTypes = vl::letters("INFL");
// The scope values for the rest of the table and for all of it.
constexpr int kScopeRestValue = -2;
constexpr int kScopeAllValue = -1;

int g_net_err = 0;

// A NEXT argument as the scope: a logical NEXT means what it means to the
// scope= message, .T. the rest of the table (-2) and .F. all of it (-1).
var* next_scope(var* next)
{
  if (next->Type != 'L') return next;
  return set_Iv(vlnLogVar(next) ? kScopeRestValue : kScopeAllValue);
}

}  // namespace

extern "C" {

int vlnBringError(int code, const char* text, int mode, AreaRec* area)
{
  if (!(mode & VLN_BRING_GOON)) {
    char buf[64];
    std::snprintf(buf, sizeof buf, text ? text : "in work area %d",
                  area ? static_cast<int>(area->number) : kFirstArea);
    rt_error(code ? code : VL_E_NO_DATABASE, buf);
  }
  return (mode & VLN_BRING_REPORT) != 0;
}

int vlnParamCheck(var* arg, const char* set, const char* op)
{
  if (!present(arg) || vlnInSet(set, arg->Type)) return 1;
  char buf[128];
  std::snprintf(buf, sizeof buf, "%s: argument type '%c' not in '%s'", op, arg->Type, set);
  rt_error(VL_E_ARG_TYPE, buf);
  return 0;
}

int vlnDoScope(int count, var** source, var** target, var* object)
{
  count = std::clamp(count, 0, static_cast<int>(kScopeArgs));
  if (count == 0) return 0;
  target[kFor] = source[kFor];
  if (count == 1) return 1;
  target[kWhile] = source[kWhile];
  var* scope = nullptr;
  if (count > kRest && present(source[kRest])) scope = source[kRest];
  if (count > kNext && kNextTypes.has(source[kNext]->Type)) scope = next_scope(source[kNext]);
  if (count > kRecord && kRecordTypes.has(source[kRecord]->Type)) {
    var* args[] = {object, source[kRecord]};
    vlnDoMethod("goto", VLN_DS_GOTO, 0, 2, args);
    scope = ONE_VAR;
  }
  if (!scope) return 2;
  target[2] = scope;
  return 3;
}

int vlnGetNeterr(void) { return g_net_err; }

int vlnSetNeterr(int on)
{
  const int old = g_net_err;
  g_net_err = on != 0;
  return old;
}

}  // extern "C"

// NETERR([l]): the flag of the last open, append or lock.
VLN_FUNC(neterr)
{
  const int old = vlnGetNeterr();
  if (argc > 0 && argv[0]->Type == 'L') vlnSetNeterr(vlnLogVar(argv[0]));
  return old ? TRUE_VAR : FALSE_VAR;
}

namespace vlfacade {

var* neutral(Neutral n)
{
  switch (n) {
    case Neutral::False: return FALSE_VAR;
    case Neutral::Empty: return NULLSTR_VAR;
    case Neutral::Zero: return ZERO_VAR;
    case Neutral::MinusOne: return MINONE_VAR;
    case Neutral::BlankDate: return NULLDATE_VAR;
    case Neutral::Nil: return NIL_VAR;
    case Neutral::EmptyArray: return cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, static_cast<var*>(nullptr));
  }
  return NIL_VAR;
}

var* selected_object()
{
  AreaRec* area = vlnSelectedArea;
  var* obj = area ? area->obj : nullptr;
  return obj && vl::kOu.has(obj->Type) ? obj : nullptr;
}

var* object_or_bring(int mode)
{
  if (var* obj = selected_object()) return obj;
  vlnBringError(0, nullptr, mode, vlnSelectedArea);
  return nullptr;
}

bool check_args(const char* op, const char* const (&types)[3], int argc, var** argv)
{
  for (int i = 0; i < 3 && i < argc; ++i)
    if (types[i] && !vlnParamCheck(argv[i], types[i], op)) return false;
  return true;
}

var* dispatch(var* obj, const char* msg, int slot, int32_t code, int argc, var** argv)
{
  var* args[kMaxArgs + 2];
  int n = 0;
  args[n++] = obj;
  if (code) args[n++] = set_Iv(code);
  argc = std::clamp(argc, 0, kMaxArgs);
  for (int i = 0; i < argc; ++i) args[n++] = argv[i];
  return vlnDoMethod(msg, slot, 0, n, args);
}

var* read_ivar(var* obj, const char* name, int ivar) { return vlnDoInstance(obj, name, ivar, 0, nullptr); }

var* send(const Send& s, int argc, var** argv)
{
  var* obj = object_or_bring(s.mode);
  if (!obj || !check_args(s.op, s.types, argc, argv)) return neutral(s.neutral);
  return dispatch(obj, s.msg, s.slot, s.code, std::min(argc, s.maxargs), argv);
}

var* read_iv(const Read& r)
{
  var* obj = object_or_bring(VLN_BRING_SILENT);
  return obj ? read_ivar(obj, r.name, r.ivar) : neutral(r.neutral);
}

var* scope(const Scope& s, int argc, var** argv)
{
  var* obj = object_or_bring(s.send.mode);
  if (!obj || !check_args(s.send.op, s.send.types, std::min(argc, s.fixed), argv))
    return neutral(s.send.neutral);
  var* args[kMaxArgs];
  const int fixed = std::clamp(std::min(argc, s.fixed), 0, kMaxArgs - 3);
  std::copy(argv, argv + fixed, args);
  const int n = fixed + vlnDoScope(argc - fixed, argv + fixed, args + fixed, obj);
  return dispatch(obj, s.send.msg, s.send.slot, 0, n, args);
}

}  // namespace vlfacade
