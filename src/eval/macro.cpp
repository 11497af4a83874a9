// macro.cpp -- from macro text to variables, functions and blocks: TYPE(),
// MACROEVAL(), the field and memvar blocks, and the block-driven loops.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "blocks.h"
#include "breakguard.hpp"
#include "evalhooks.h"
#include "evaluator.hpp"
#include "kernel.hpp"
#include "letters.hpp"
#include "objects.h"
#include "operators.h"
#include "runtime.hpp"
#include "valkind.h"
#include "stringsfn.h"
#include "vlerror.hpp"
#include "vlgen.h"

using namespace vl;

extern "C" {
var* vln_fldblock(int argc, var** argv, var** avec);
var* vln_fldwblock(int argc, var** argv, var** avec);
var* vln_memblock(int argc, var** argv, var** avec);
}

namespace {

constexpr const char* kModule = "macro";
// The vln_errmsg row naming the allocation of a block's text.
constexpr int kFormingBlock = 80;
// Room for a name expanded from macro text.
constexpr size_t kMacroNameSize = 4096;

bool is_text(const var* v) { return v && vl::kCM.has(v->Type); }

// The memory-variable index of a name text, made when new.
int32_t name_index(const char* name)
{
  const int32_t idx = locate_var(name);
  return idx >= 0 ? idx : vln_add_var(name);
}

bool is_name(const char* text)
{
  if (!(std::isalpha(static_cast<unsigned char>(*text)) || *text == '_')) return false;
  for (; *text; ++text)
    if (!(std::isalnum(static_cast<unsigned char>(*text)) || *text == '_')) return false;
  return true;
}

// TYPE's answer once evaluation failed with code.
const char* type_after_error(int code, const char* text)
{
  switch (code) {
    case VL_E_UNDEFINED_FUNC: return "UF";
    case VL_E_SYNTAX: return "UE";
    case VL_E_NULL_RESULT:
    case VL_E_STRING_TOO_LONG: return "U";
    default: break;
  }
  while (*text == ' ') ++text;
  if (!is_name(text)) return "UI";
  const int32_t idx = locate_var(text);  // never makes a name
  return idx < 0 ? "U" : vlnValType(mv_names[idx].v);
}

// A block of function fn holding the index of name (and an area).
var* name_block(AnyFn fn, const char* name, var* area)
{
  var* index = set_Iv(name_index(name));
  return set_bvar(cre_tmpvar(), fn, 1, index, area, (var*)nullptr);
}

// Run block with the loop record as its argument while the condition
// holds, releasing each round's temporaries.
void for_loop(var* block, var* start, double end, double step)
{
  var* args[2] = {block, start};
  const int32_t mark = tmpvar_cnt;
  while (step < 0 ? vlnNumVar(start) >= end : vlnNumVar(start) <= end) {
    _bb_eval(2, args);
    del_tmpvars(mark);
    set_nvar(start, vlnNumVar(start) + step, start->Decimals);
  }
}

}  // namespace

extern "C" {

// The block's text lives on the heap, however long text is, and is freed
// when a BREAK leaves the evaluation too.
var* vlnMakeCB(const char* text)
{
  const size_t n = std::strlen(text) + sizeof "{||  }";
  auto* buf = static_cast<char*>(
      vln_malloc(n, vln_errmsg[kFormingBlock], VL_SEV_RUNTIME, VL_LEVEL_ALWAYS, kModule, __LINE__));
  if (!buf) return ERROR_VAR;
  std::snprintf(buf, n, "{|| %s }", text);
  return vln_guarded([&] { return exp_eval(buf); }, [&] { vln_free(buf, kModule, __LINE__); });
}

const char* vln_chararg(var* v, const char* text)
{
  if (is_text(v)) {
    if (v->Mode == 'F' || v->Mode == 'f') v = mk_var_cp(v);
    return v->Value.w1.str;
  }
  std::snprintf(repdum, sizeof repdum, "%s, should be character to evaluate", text);
  rt_error(VL_E_ARG_TYPE, repdum);
  return "";
}

}  // extern "C"

namespace vl {

var* macrovariable(const char* text)
{
  char name[4096];
  exp_pp(text, name, sizeof name, 1);
  const int32_t idx = locate_var(name);
  if (idx >= 0) return mv_names[idx].v;
  // The message goes to standard output, and the report carries repdum.
  std::printf("'%s' doesn't expand to a defined variable name", name);
  rt_error(VL_E_NO_MEMVARS, repdum);
  return mk_var_cp(ERROR_VAR);
}

var* macrovariablev(var* v)
{
  if (v->Type != 'C')
    return rt_error(VL_E_TYPE_MISMATCH, "result must be character to evalute macro");
  return macrovariable(v->Value.w1.str);
}

}  // namespace vl

extern "C" {

var* vlnGetMemVar(const char* name) { return mv_names[name_index(name)].v; }

var* vlnGetLHSVar(const char* text)
{
  if (std::strpbrk(text, ">[")) return exp_eval(text);
  char name[4096];
  exp_pp(text, name, sizeof name, 1);
  if (var* field = vln_eval_field_hook ? vln_eval_field_hook(name) : nullptr) return field;
  return vlnGetVarForWrite(name_index(name));
}

var* vln_fldblock(int argc, var** argv, var** avec)
{
  const char* name = mv_names[vlnIntVar(avec[0])].name;
  var* field = vln_eval_field_hook ? vln_eval_field_hook(name) : nullptr;
  if (!field) {
    std::snprintf(repdum, sizeof repdum, "FIELDBLOCK: %s", name);
    return rt_error(VL_E_NO_FIELD, repdum);
  }
  if (argc > 0) cpy_var(field, argv[0]);
  return mk_var_cp(field);
}

var* vln_fldwblock(int argc, var** argv, var** avec)
{
  const char* name = mv_names[vlnIntVar(avec[0])].name;
  if (!vln_eval_alias_field_hook) {
    std::snprintf(repdum, sizeof repdum, "FIELDWBLOCK: %s", name);
    return rt_error(VL_E_ILLEGAL_ALIAS, repdum);
  }
  var* field = vln_eval_alias_field_hook(avec[1], name);
  if (field == ERROR_VAR) return ERROR_VAR;
  if (argc > 0) cpy_var(field, argv[0]);
  return mk_var_cp(field);
}

var* vln_memblock(int argc, var** argv, var** avec)
{
  const int32_t idx = vlnIntVar(avec[0]);
  if (argc > 0) cpy_var(vlnGetVarForWrite(idx), argv[0]);
  return mk_var_cp(vlnGetVar(idx));
}

// PRIVATE &name and PUBLIC &name: the declarations of a name given as
// macro text.
// The expansion goes to a buffer of our own, not repdum: a failing
// expansion reports, and the error handler may write repdum.
int32_t vln_macro_declare(const char* text)
{
  char name[kMacroNameSize];
  exp_pp(text, name, sizeof name, 1);
  const bool is_new = locate_var(name) < 0;
  const int32_t index = vln_add_var(name);
  if (!is_new) return vln_declare(index);
  push_var(index, mak_var('N', 'U'));
  return index;
}

int32_t vln_macro_public(const char* text)
{
  char name[kMacroNameSize];
  exp_pp(text, name, sizeof name, 1);
  return vln_public(vln_add_var(name));
}

// The function whose name text gives after macro expansion (into a buffer
// of our own, as the report of a failing expansion may overwrite repdum).
BbFn macrofun(const char* text)
{
  char name[kMacroNameSize];
  return vln_funcall(exp_pp(text, name, sizeof name, 1));
}

// o:&name(...): the method whose name text gives after macro expansion.
var* vlnNoDoMacroMethod(const char* text, int32_t level, int argc, var** argv)
{
  char lower[kMacroNameSize];
  size_t i = 0;
  for (; text[i] && i < kMacroNameSize - 1; ++i)
    lower[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i])));
  lower[i] = '\0';
  char name[kMacroNameSize];
  return vlnNoDoMethod(exp_pp(lower, name, sizeof name, 1), level, argc, argv);
}

}  // extern "C"

// FIELDBLOCK(name): a block that gets or sets the field of the selected area.
VLN_FUNC(fieldblock)
{
  if (argc < 1 || !is_text(argv[0])) return rt_error(VL_E_ARG_TYPE, "in FIELDBLOCK"), NIL_VAR;
  return name_block(reinterpret_cast<AnyFn>(vln_fldblock), VSTR(argv[0]), nullptr);
}

// FIELDWBLOCK(name, area): the same for the field of a given area.
VLN_FUNC(fieldwbloc)
{
  if (argc < 2 || !is_text(argv[0]) || !vl::kNFIL.has(argv[1]->Type))
    return rt_error(VL_E_ARG_TYPE, "in FIELDWBLOCK"), NIL_VAR;
  var* area = set_Iv(vlnIntVar(argv[1]));
  return name_block(reinterpret_cast<AnyFn>(vln_fldwblock), VSTR(argv[0]), area);
}

// MEMVARBLOCK(name): a block that gets or sets an existing memory variable.
VLN_FUNC(memvarbloc)
{
  if (argc < 1 || !is_text(argv[0])) return rt_error(VL_E_ARG_TYPE, "in MEMVARBLOCK"), NIL_VAR;
  const int32_t idx = locate_var(VSTR(argv[0]));
  if (idx < 0 || mv_names[idx].v->Mode == 'U')
    return rt_error(VL_E_DEV_WARNING, "MEMVARBLOCK-BLOCK: no such variable"), NIL_VAR;
  return name_block(reinterpret_cast<AnyFn>(vln_memblock), VSTR(argv[0]), nullptr);
}

// TYPE(text): the type letter of the expression's value, without a report:
// "UF" for an unknown function, "UE" for a syntax error, "U" for nothing.
VLN_FUNC(type)
{
  if (argc < 1 || !is_text(argv[0])) return NULLSTR_VAR;
  const int32_t saved = errstat;
  errstat = 0;
  last_errno = 0;
  const uint32_t errors = vln_error_count;
  var* r = exp_eval(VSTR(argv[0]));
  errstat = saved;
  // A warning (1/0 gives 0) is no failure: only counted reports are.
  const int code = vln_error_count != errors ? last_errno : 0;
  last_errno = 0;
  if (!code && r != ERROR_VAR) return set_cv(vlnValType(r));
  errstat = 0;
  const char* answer = type_after_error(code, VSTR(argv[0]));
  errstat = saved;
  return set_cv(answer);
}

// MACROEVAL(x): the text of x with its macros expanded, or x itself.
VLN_FUNC(macroeval)
{
  var* r = cre_tmpvar();
  if (argc < 1) return r;
  var* x = argv[0];
  if (!is_text(x) || vlnIsEmpty(x)) return x;
  var* w = _bb_alltrim(1, &x);
  if (std::memchr(VSTR(w), ' ', static_cast<size_t>(w->Length - 1))) return x;
  if (VSTR(w)[0] != '&') w = c_add_u("&", w);
  r = vlnCMxV(VSTR(w), 2);
  return u_eequ_u(r, w) == TRUE_VAR ? x : r;
}

// MACROSUBST(x): x with its macro references replaced.
VLN_FUNC(macrosubst)
{
  if (argc < 1) return NIL_VAR;
  if (!is_text(argv[0]) || argv[0]->Length <= 1) return argv[0];
  return vlnCMxV(VSTR(argv[0]), 2);
}

// __FOREVAL(start, end, step, block): the FOR loop of block commands; the
// block sees the loop record move.
VLN_FUNC(__foreval)
{
  if (argc < 4 || !vl::kNFIL.has(argv[0]->Type) || !vl::kNFIL.has(argv[1]->Type) ||
      !vl::kBb.has(argv[3]->Type))
    return ERROR_VAR;
  var* start = argv[0];
  if (start->Type == 'I') set_nvar(start, VINT(start), 0);
  const double step = vl::kNFIL.has(argv[2]->Type) ? vlnNumVar(argv[2]) : 1.0;
  for_loop(argv[3], start, vlnNumVar(argv[1]), step);
  return start;
}

// __WHILEVAL(cond, body): runs body while cond gives true.
VLN_FUNC(__whileval)
{
  if (argc < 2) return NIL_VAR;
  const int32_t mark = tmpvar_cnt;
  while (vlnTrueBlockEval(argv[0])) {
    vlnBlockEval(argv[1]);
    del_tmpvars(mark);
  }
  return NIL_VAR;
}

// ISFUNCTION(name): whether a function of that name (or short name) exists.
VLN_FUNC(isfunction)
{
  if (argc < 1 || !is_text(argv[0])) return FALSE_VAR;
  return find_fun(short_fun(VSTR(argv[0]))) > 0 ? TRUE_VAR : FALSE_VAR;
}
