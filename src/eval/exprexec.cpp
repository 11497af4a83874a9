// exprexec.cpp -- running a compiled expression.
//
// Each node calls what generated code would call for it: the operator entry
// points, the language functions by their registry index, dget_arrv for a
// subscript, cpy_var for an assignment.  A name, an element or a field
// evaluates to the record itself, so that the caller of exp_eval can assign
// through it; a call receives variables by value (mk_var_cp) and
// temporaries as they are.  Nothing here holds an object with a destructor
// across a call that can run language code: BREAK leaves by longjmp.
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include "arrays.h"
#include "breakguard.hpp"
#include "evalhooks.h"
#include "exprexec.hpp"
#include "frame.h"
#include "kernel.hpp"
#include "objects.h"
#include "operators.h"
#include "runtime.hpp"
#include "valrec.hpp"
#include "vlerror.h"

extern "C" {
var* (*vln_eval_field_hook)(const char* name) = nullptr;
var* (*vln_eval_alias_field_hook)(var* alias, const char* name) = nullptr;
int (*vln_eval_push_area_hook)(var* alias) = nullptr;
void (*vln_eval_pop_area_hook)(void) = nullptr;
}

namespace vl::expr {

namespace {

// Argument vectors up to this length live on the C stack.
constexpr size_t kLocalArgs = 8;

const Node& node(const Ctx& ctx, int32_t i) { return ctx.prog->nodes[static_cast<size_t>(i)]; }

var* report(int code, const char* format, const std::string& name)
{
  std::snprintf(repdum, sizeof repdum, format, name.c_str());
  return rt_error(code, repdum);
}

// The memory-variable index of a name node, cached once found.
int32_t memvar_index(const Node& n, bool create)
{
  if (n.cache > 0) return n.cache - 1;
  int32_t idx = locate_var(n.name.c_str());
  if (idx < 0 && create) idx = vln_add_var(n.name.c_str());
  if (idx >= 0) n.cache = idx + 1;
  return idx;
}

var* field_of_selected(const Node& n)
{
  return vln_eval_field_hook ? vln_eval_field_hook(n.name.c_str()) : nullptr;
}

var* read_memvar(const Node& n)
{
  const int32_t idx = memvar_index(n, false);
  if (idx < 0) return report(VL_E_UNDEFINED_VAR, "undefined variable %s", n.name);
  return vlnGetVar(idx);
}

var* field_ref(const Node& n)
{
  var* f = field_of_selected(n);
  return f ? f : report(VL_E_NO_FIELD, "FIELD->%s", n.name);
}

var* alias_field(const Ctx& ctx, const Node& n)
{
  var* alias = n.a >= 0 ? eval_node(ctx, n.a) : set_Cvar(cre_tmpvar(), n.name2.c_str(), -1);
  if (stopped(ctx)) return ERROR_VAR;
  if (!vln_eval_alias_field_hook)
    return report(VL_E_ILLEGAL_ALIAS, "%s: no work areas are open", n.name);
  return vln_eval_alias_field_hook(alias, n.name.c_str());
}

// alias->(list): evaluated with that area selected.  A BREAK out of the
// list passes through a sequence frame of our own that restores the
// selection before jumping on.
var* alias_list(const Ctx& ctx, const Node& n)
{
  var* alias = n.a >= 0 ? eval_node(ctx, n.a) : set_Cvar(cre_tmpvar(), n.name2.c_str(), -1);
  if (stopped(ctx)) return ERROR_VAR;
  if (!vln_eval_push_area_hook || !vln_eval_pop_area_hook)
    return report(VL_E_ILLEGAL_ALIAS, "%s: no work areas are open", n.name2);
  if (!vln_eval_push_area_hook(alias)) return ERROR_VAR;
  return vln_guarded([&] { return eval_node(ctx, n.b); }, [] { vln_eval_pop_area_hook(); });
}

// The record a name stands for when it is assigned: a block parameter, a
// field of the selected area, or a memory variable (made PRIVATE when new).
var* lvalue(const Ctx& ctx, int32_t i)
{
  const Node& n = node(ctx, i);
  switch (n.op) {
    case Op::Param:
      return ctx.params[n.slot];
    case Op::Name:
      if (var* f = field_of_selected(n)) return f;
      return vlnGetVarForWrite(memvar_index(n, true));
    case Op::Memvar:
      return vlnGetVarForWrite(memvar_index(n, true));
    default:  // fields, elements: evaluate to the record itself
      return eval_node(ctx, i);
  }
}

// Operand holds.  An operand that is a record (a variable, an element, a
// field) rather than a temporary may be released by the evaluation of the
// operands after it: `a[1] + (ASIZE(a, 0), "y")`.  Arguments are safe by
// their copies; an operand that must stay the record itself is held by the
// temporary stack until the statement ends.  A literal or a block
// parameter after it runs nothing, and then no hold is needed.
bool runs_nothing(const Ctx& ctx, int32_t i)
{
  const Op op = node(ctx, i).op;
  return op == Op::Literal || op == Op::Param;
}

var* held(var* v) { return (v->Mode == 'T' || v->Mode == 't') ? v : vln_hold(v); }

// An argument as a call receives it: temporaries as they are, variables and
// literals by value, @name by reference.
var* argument(const Ctx& ctx, int32_t i)
{
  if (i < 0) return NIL_VAR;
  var* v = eval_node(ctx, i);
  if (node(ctx, i).op == Op::ByRef) return v;
  return (v->Mode == 'T' || v->Mode == 't') ? v : mk_var_cp(v);
}

// Fill argv with the arguments of n; false when the run must stop.
bool arguments(const Ctx& ctx, const Node& n, var** argv)
{
  for (size_t k = 0; k < n.kids.size(); ++k) {
    argv[k] = argument(ctx, n.kids[k]);
    if (stopped(ctx)) return false;
  }
  return true;
}

var* call(const Ctx& ctx, const Node& n)
{
  int32_t fn = n.cache;
  if (fn <= 0) {
    fn = find_fun(short_fun(n.name.c_str()));
    if (fn <= 0) return report(VL_E_UNDEFINED_FUNC, "access of undefined function %s", n.name);
    n.cache = fn;
  }
  const auto f = glob_ftab[fn].fn;
  var* r = vln_with_vector<kLocalArgs>(n.kids.size(), [&](var** argv) {
    if (!arguments(ctx, n, argv)) return ERROR_VAR;
    return f(static_cast<int>(n.kids.size()), argv);
  });
  return r ? r : report(VL_E_NULL_RESULT, "%s() returned no value", n.name);
}

var* iif(const Ctx& ctx, const Node& n)
{
  var* c = eval_node(ctx, n.kids[0]);
  if (stopped(ctx)) return ERROR_VAR;
  const int32_t branch = n.kids[if_u(c) ? 1 : 2];
  return branch < 0 ? NIL_VAR : eval_node(ctx, branch);
}


// a op1 b op2 c ... as ((a op1 b) op2 c) ...: each operand is evaluated
// after the operators on its left have run.
var* binary_chain(const Ctx& ctx, const Node& n)
{
  var* acc = eval_node(ctx, n.kids[0]);
  if (stopped(ctx)) return ERROR_VAR;
  const size_t last = n.kids.size() - 1;
  for (size_t k = 1;; ++k) {
    if (!runs_nothing(ctx, n.kids[k])) acc = held(acc);
    var* r = eval_node(ctx, n.kids[k]);
    if (stopped(ctx)) return ERROR_VAR;
    acc = binary(n.ops[k - 1], acc, r, 0);
    if (k == last) return acc;
    if (stopped(ctx)) return ERROR_VAR;
  }
}

// a .AND. b .AND. c ...: stops at the first false (true for .OR.) value.
var* logical(const Ctx& ctx, const Node& n, bool is_and)
{
  var* acc = eval_node(ctx, n.kids[0]);
  if (stopped(ctx)) return ERROR_VAR;
  const size_t last = n.kids.size() - 1;
  for (size_t k = 1;; ++k) {
    const int truth = if_u(acc);
    if (is_and && !truth) return FALSE_VAR;
    if (!is_and && truth) return TRUE_VAR;
    var* r = eval_node(ctx, n.kids[k]);
    if (stopped(ctx)) return ERROR_VAR;
    acc = is_and ? l_and_u(1, r) : l_or_u(0, r);
    if (k == last) return acc;
    if (stopped(ctx)) return ERROR_VAR;
  }
}

var* send(const Ctx& ctx, const Node& n, int assign, var* value)
{
  var* obj = eval_node(ctx, n.a);
  if (stopped(ctx)) return ERROR_VAR;
  obj = held(obj);  // the arguments and the method itself run code
  if (assign) return vlnSend(obj, n.name.c_str(), 0, 1, 1, &value);
  return vln_with_vector<kLocalArgs>(n.kids.size(), [&](var** argv) {
    if (!arguments(ctx, n, argv)) return ERROR_VAR;
    return vlnSend(obj, n.name.c_str(), n.flag, 0, static_cast<int>(n.kids.size()), argv);
  });
}

var* assign(const Ctx& ctx, const Node& n)
{
  var* value = eval_node(ctx, n.b);
  if (stopped(ctx)) return ERROR_VAR;
  const Node& target = node(ctx, n.a);
  if (target.op != Op::Param && target.op != Op::Name && target.op != Op::Memvar)
    value = held(value);
  if (target.op == Op::Send && n.bin == Bin::None) return send(ctx, target, 1, value);
  var* t = lvalue(ctx, n.a);
  if (stopped(ctx) || t == ERROR_VAR) return ERROR_VAR;
  if (n.bin != Bin::None) return binary(n.bin, t, value, 1);
  return cpy_var(t, value) == ERROR_VAR ? ERROR_VAR : t;
}

var* step(const Ctx& ctx, const Node& n)
{
  var* t = lvalue(ctx, n.a);
  if (stopped(ctx) || t == ERROR_VAR) return ERROR_VAR;
  switch (n.op) {
    case Op::PreInc: return autoinc_u(t);
    case Op::PreDec: return autodec_u(t);
    case Op::PostInc: return u_autoinc(t);
    default: return u_autodec(t);
  }
}

// Empty the PUBLIC __subscarr ahead of a subscript while READ records them.
void reset_subscripts()
{
  static int32_t idx = -1;
  if (idx < 0) idx = vln_add_var("__subscarr");
  cre_arr(vlnGetVarForWrite(idx), 0, 0, (var*)nullptr);
}

var* index(const Ctx& ctx, const Node& n)
{
  var* base = eval_node(ctx, n.a);
  for (int32_t k : n.kids) {
    if (stopped(ctx)) return ERROR_VAR;
    if (!runs_nothing(ctx, k)) base = held(base);
    if (vln_subscarr) reset_subscripts();
    var* iv = eval_node(ctx, k);
    if (stopped(ctx)) return ERROR_VAR;
    base = dget_arrv(base, iv);
  }
  return base;
}

var* array_literal(const Ctx& ctx, const Node& n)
{
  var* t = cre_tmpvar();
  cre_arr(t, static_cast<int32_t>(n.kids.size()), 0, (var*)nullptr);
  for (size_t k = 0; k < n.kids.size(); ++k) {
    if (n.kids[k] < 0) continue;
    var* v = eval_node(ctx, n.kids[k]);
    if (stopped(ctx)) return ERROR_VAR;
    cpy_var(VARR(t)->A_vec[k], v);
  }
  return t;
}

var* block_literal(const Node& n)
{
  var* t = cre_tmpvar();
  ArrRec* a = arr_alloc(0);
  a->A_text = strdup(n.name.c_str());
  t->Type = 'b';
  t->Decimals = static_cast<uint8_t>(n.slot);
  t->Value.w1.arr = a;
  t->Value.w2.text = a->A_text;
  return t;
}

var* list(const Ctx& ctx, const Node& n)
{
  var* r = NIL_VAR;
  for (int32_t k : n.kids) {
    r = eval_node(ctx, k);
    if (stopped(ctx)) return ERROR_VAR;
  }
  return r;
}

}  // namespace

var* binary(Bin bin, var* l, var* r, int assign)
{
  switch (bin) {
    case Bin::Add: return u_add_u(l, r, assign);
    case Bin::Sub: return u_sub_u(l, r, assign);
    case Bin::Mul: return u_mul_u(l, r, assign);
    case Bin::Div: return u_div_u(l, r, assign);
    case Bin::Mod: return u_mod_u(l, r, assign);
    case Bin::Pow: return u_pow_u(l, r, assign);
    case Bin::Eq: return u_equ_u(l, r);
    case Bin::EqEq: return u_eequ_u(l, r);
    case Bin::Ne: return u_neq_u(l, r);
    case Bin::Lt: return u_lt_u(l, r);
    case Bin::Le: return u_leq_u(l, r);
    case Bin::Gt: return u_gt_u(l, r);
    case Bin::Ge: return u_geq_u(l, r);
    case Bin::In: return u_in_u(l, r);
    case Bin::None: break;
  }
  return ERROR_VAR;
}

bool stopped(const Ctx& ctx) { return errstat == 0 && vln_error_count != ctx.err_mark; }

var* eval_node(const Ctx& ctx, int32_t i)
{
  const Node& n = node(ctx, i);
  switch (n.op) {
    case Op::Literal: return n.lit;
    case Op::Param: return ctx.params[n.slot];
    case Op::Name: {
      if (var* f = field_of_selected(n)) return f;
      return read_memvar(n);
    }
    case Op::Memvar: return read_memvar(n);
    case Op::Field: return field_ref(n);
    case Op::AliasField: return alias_field(ctx, n);
    case Op::AliasList: return alias_list(ctx, n);
    case Op::NoDebugInfo:
      std::snprintf(repdum, sizeof repdum, "%s->%s: not available without debug information",
                    n.name2.c_str(), n.name.c_str());
      return rt_error(VL_E_UNDEFINED_ID, repdum);
    case Op::Call: return call(ctx, n);
    case Op::Iif: return iif(ctx, n);
    case Op::Binary: return binary_chain(ctx, n);
    case Op::And: return logical(ctx, n, true);
    case Op::Or: return logical(ctx, n, false);
    case Op::Not: {
      var* v = eval_node(ctx, n.a);
      return stopped(ctx) ? ERROR_VAR : not_u(v);
    }
    case Op::Negate: {
      var* v = eval_node(ctx, n.a);
      return stopped(ctx) ? ERROR_VAR : minus_u(v);
    }
    case Op::UnaryPlus: return eval_node(ctx, n.a);
    case Op::Assign: return assign(ctx, n);
    case Op::PreInc:
    case Op::PreDec:
    case Op::PostInc:
    case Op::PostDec: return step(ctx, n);
    case Op::Index: return index(ctx, n);
    case Op::Send: return send(ctx, n, 0, nullptr);
    case Op::ArrayLit: return array_literal(ctx, n);
    case Op::BlockLit: return block_literal(n);
    case Op::List: return list(ctx, n);
    case Op::ByRef: return lvalue(ctx, n.a);
  }
  return ERROR_VAR;
}

}  // namespace vl::expr
