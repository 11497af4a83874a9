// vm.cpp -- the machine: runs a compiled function's instructions.
//
// One native call of vm_run per language call, as generated code makes
// one C call per call: the frame (vln_fn_start/vln_fn_end), the LOCALs and
// parameters (vln_local_param, LOCALs first), and the registers live in
// this function's stack.  Every instruction calls what generated code
// calls for the same step; the number paths of fastops.h run inline.
//
// BEGIN SEQUENCE is a setjmp in this function, as VL_BEGIN_SEQUENCE is in
// generated code.  A BREAK longjmps back here: only state kept in memory
// that does not change after the setjmp (the frame, the register file, the
// sequence records) is read on the way back, and the program counter is
// taken from the sequence record.  Nothing here has a destructor.
#include "vm.hpp"

#include <alloca.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "arrays.h"
#include "blocks.h"
#include "calls.h"
#include "evalhooks.h"
#include "evaluator.h"
#include "exprexec.hpp"
#include "exprtree.hpp"
#include "fastops.h"
#include "frame.h"
#include "kernel.h"
#include "objects.h"
#include "operators.h"
#include "runtime.h"
#include "runtime.hpp"
#include "valrec.hpp"
#include "vartostr.hpp"
#include "vlerror.h"

namespace vl::prog {

namespace {

// The state of one BEGIN SEQUENCE while its body runs.
struct SeqRec {
  jmp_buf buf;
  jmp_buf* saved;
  int32_t alreadyin;
  int32_t areas;  // vm_area_depth() at BEGIN SEQUENCE
  const Ins* recover;
};

// The alias->(list) selections open now, innermost last.  A BREAK out of
// a list skips its PopArea; the sequence it lands in undoes them.
int32_t g_area_depth = 0;

// Values up to this length print from the stack.
constexpr size_t kEchoBuffer = 4096;

bool is_temp(const var* v) { return v->Mode == 'T' || v->Mode == 't'; }

var* report(int code, const char* format, const char* name)
{
  std::snprintf(repdum, sizeof repdum, format, name);
  return rt_error(code, repdum);
}

// A name that is no LOCAL, STATIC or declared memvar: the field of the
// selected area when one has it, else the memory variable.  No area with a
// field of that name means no look-up by text.
var* field_or_null(int32_t idx)
{
  if (mv_names[idx].nfields == 0 || !vln_eval_field_hook) return nullptr;
  return vln_eval_field_hook(mv_names[idx].name);
}

var* read_memvar(int32_t idx)
{
  var* v = mv_names[idx].v;
  if (v->Mode == 'U') return report(VL_E_UNDEFINED_VAR, "undefined variable %s", mv_names[idx].name);
  return v;
}

var* call_result(var* r, const char* name)
{
  return r ? r : report(VL_E_NULL_RESULT, "%s() returned no value", name);
}

var* step(int kind, var* v)
{
  switch (kind) {
    case 0: return vln_step(v, 1, autoinc_u);
    case 1: return vln_step(v, -1, autodec_u);
    case 2: return u_autoinc(v);
    default: return u_autodec(v);
  }
}

// Whether the loop variable has not yet passed the limit in the step's
// direction.  Numbers inline; anything else through the comparisons.
inline __attribute__((always_inline)) bool for_within(var* v, var* limit, var* stepv)
{
  const bool down = stepv->Type == 'N' ? stepv->Value.w1.d < 0 : vlnNumVar(stepv) < 0;
  if (v->Type == 'N' && limit->Type == 'N')
    return down ? v->Value.w1.d >= limit->Value.w1.d : v->Value.w1.d <= limit->Value.w1.d;
  return if_u(down ? u_geq_u(v, limit) : u_leq_u(v, limit)) != 0;
}

// v += step: in place for two numbers (Decimals the larger, as + gives
// them), else through the operator and the assignment.  The operator
// writes its result into a temporary operand, and the step is read again
// by the test that follows: a temporary step is added as a copy.
inline __attribute__((always_inline)) void for_advance(var* v, var* stepv)
{
  const uint32_t vt = vln_tag(v), st = vln_tag(stepv);
  if (vln_tag_kind(vt) == VLN_TAG_NUMBER_LOCAL && !(vt & VLN_TAG_STATIC) &&
      vln_tag_type(st) == 'N') {
    const uint32_t vd = vt & VLN_TAG_DECIMALS, sd = st & VLN_TAG_DECIMALS;
    vln_put_number(v, vt, vd > sd ? vd : sd,
                   vln_number_bits(vln_number(v) + vln_number(stepv)));
    return;
  }
  cpy_var(v, u_add_u(v, is_temp(stepv) ? mk_var_cp(stepv) : stepv, 0));
}

// Decimals of a sum or difference: the larger; of a product: the sum,
// at most 255 -- as the operators give them.
inline uint32_t sum_decimals(uint32_t a, uint32_t b) { return a > b ? a : b; }
inline uint32_t product_decimals(uint32_t a, uint32_t b)
{
  return a + b > VLN_TAG_DECIMALS ? VLN_TAG_DECIMALS : a + b;
}

// target := formula when every operand is an 'N' number and target an 'N'
// variable that is no constant: the value and Decimals the operators would
// give, stored as vln_assign stores an 'N' temporary, without making the
// temporaries.  false, having changed nothing, in any other case.
inline __attribute__((always_inline)) bool number_formula(var** R, const FormulaItem* f,
                                                          var* target)
{
  const uint32_t tt = vln_tag(target);
  if (vln_tag_kind(tt) != VLN_TAG_NUMBER_LOCAL || (tt & VLN_TAG_STATIC)) return false;
  double stack[kFormulaDepth];
  uint32_t decs[kFormulaDepth];
  int sp = 0;
  double acc = 0;
  uint32_t dacc = 0;
  const FormulaItem* const end = f + 1 + f->reg;
  for (const FormulaItem* it = f + 1; it != end; ++it) {
    double x = 0;
    uint32_t dx = 0;
    if (it->kind <= FormulaItem::MulReg) {
      const var* v = R[it->reg];
      const uint32_t t = vln_tag(v);
      if (vln_tag_type(t) != 'N') return false;
      x = vln_number(v);
      dx = t & VLN_TAG_DECIMALS;
    }
    switch (it->kind) {
      case FormulaItem::PushLoad:
        stack[sp] = acc;
        decs[sp++] = dacc;
        [[fallthrough]];
      case FormulaItem::Load: acc = x, dacc = dx; break;
      case FormulaItem::AddReg: acc = acc + x, dacc = sum_decimals(dacc, dx); break;
      case FormulaItem::SubReg: acc = acc - x, dacc = sum_decimals(dacc, dx); break;
      case FormulaItem::MulReg: acc = acc * x, dacc = product_decimals(dacc, dx); break;
      case FormulaItem::AddPop: --sp, acc = stack[sp] + acc, dacc = sum_decimals(decs[sp], dacc); break;
      case FormulaItem::SubPop: --sp, acc = stack[sp] - acc, dacc = sum_decimals(decs[sp], dacc); break;
      case FormulaItem::MulPop: --sp, acc = stack[sp] * acc, dacc = product_decimals(decs[sp], dacc); break;
    }
  }
  vln_set_tag(target, (tt & ~VLN_TAG_DECIMALS) | dacc);
  target->Length = VLN_NO_WIDTH;
  target->Value.w1.bits = vln_number_bits(acc);
  target->Value.w2.bits = 0;
  return true;
}

var* array_of(int32_t n, var** elems)
{
  var* t = cre_tmpvar();
  cre_arr(t, n, 0, static_cast<var*>(nullptr));
  for (int32_t k = 0; k < n; ++k) cpy_var(VARR(t)->A_vec[k], elems[k]);
  return t;
}

// A 'B' block of code capturing the records caps[0..n): avec[0] is an
// internal slot naming the code, the captured records follow, each held
// by one more link so that it outlives the function that made it.  The
// record is made by set_bvar and then given the detached variables, whose
// number is known only here.
var* make_block(Code* code, int32_t n, var** caps)
{
  var* slot = cre_tmpvar();
  set_ivar(slot, reinterpret_cast<intptr_t>(code));
  ArrRec* a = vl::arr_alloc(static_cast<uint32_t>(n) + 1);
  for (int32_t k = 0; k <= n; ++k) {
    var* c = k == 0 ? slot : caps[k - 1];
    if (!vl::is_static(c)) ++c->Links;
    a->A_vec[k] = c;
  }
  var* t = cre_tmpvar();
  set_bvar(t, reinterpret_cast<AnyFn>(vm_block_entry), code->nparams, static_cast<var*>(nullptr));
  vln_arr_unref(VARR(t));
  t->Value.w1.arr = a;
  return t;
}

// The value as ? shows it, on a line of its own.
void echo(var* v)
{
  char small[kEchoBuffer];
  const size_t n = vartostr(v, small, sizeof small);
  if (n < sizeof small) {
    std::fwrite(small, 1, n, stdout);
  } else {
    char* big = static_cast<char*>(std::malloc(n + 1));
    vartostr(v, big, n + 1);
    std::fwrite(big, 1, n, stdout);
    std::free(big);
  }
  std::putchar('\n');
  std::fflush(stdout);
}

// Direct threading: the handler address of each opcode, in Opc order.
const void* const* g_labels = nullptr;

// A call by a name unknown when loading: once the function exists, the
// instruction becomes a call by index.  false while it is still unknown.
bool resolve_call(Ins* ins)
{
  const int32_t fn = find_fun(static_cast<const char*>(ins->p));
  if (fn <= 0) return false;
  ins->d = fn;
  ins->op = Opc::Call;
  ins->addr = g_labels[static_cast<int>(Opc::Call)];
  return true;
}


// One activation of a compiled function: what the instructions reach.
struct Act {
  Code* code;
  frame* F;
  var** R;
  int argc;
  var** argv;
  jmp_buf* entry_seq;  // the sequence anchor at entry, put back on RETURN
  int32_t outer_floor; // top-level code: the caller's floor, put back
  var* result;
};

// Run act's instructions from pc.  Returns null when the function has
// returned (act->result set), or, when seq >= 0, the SeqEnd that ends the
// body of sequence seq.  Kept free of setjmp, which would pin every
// variable of the loop to memory: BEGIN SEQUENCE runs its body through
// run_sequence.
const Ins* exec(Act* act, const Ins* pc, int32_t seq);

// BEGIN SEQUENCE at pc: the body runs in a nested exec under a setjmp of
// this function's own.  Returns where the caller goes on: after the SeqEnd
// when the body ended, the RECOVER part after a BREAK, null after RETURN.
const Ins* run_sequence(Act* act, const Ins* pc)
{
  SeqRec s;
  s.saved = glob_sequencebuf;
  s.alreadyin = alreadyin;
  s.areas = g_area_depth;
  s.recover = pc;
  vln_signal();
  glob_sequencebuf = &s.buf;
  if (setjmp(s.buf) != 0) {
    // Back from a BREAK: the frames, PRIVATEs and error nesting as they
    // were at BEGIN SEQUENCE, the outer sequence's anchor again.
    vln_after_break(act->F);
    vm_restore_areas(s.areas);
    alreadyin = s.alreadyin;
    glob_sequencebuf = s.saved;
    if (s.recover->b) act->R[s.recover->a] = vln_break_value;
    return act->code->ins.data() + s.recover->d;
  }
  const Ins* end = exec(act, pc + 1, pc->e);
  if (!end) return nullptr;
  vln_cleanup(s.saved);
  return end + 1;
}

// Link: fill in each instruction's handler address.
void link(Code* code)
{
  if (!g_labels) exec(nullptr, nullptr, -1);
  for (Ins& i : code->ins) i.addr = g_labels[static_cast<int>(i.op)];
  for (size_t k = 0; k < code->preloads.size(); ++k) {
    const Preload& p = code->preloads[k];
    code->preload_recs.push_back(p.rec);
    if (p.capture < 0) continue;
    if (code->capture_regs.size() <= static_cast<size_t>(p.capture))
      code->capture_regs.resize(static_cast<size_t>(p.capture) + 1);
    code->capture_regs[static_cast<size_t>(p.capture)] = code->preload_base + static_cast<int32_t>(k);
  }
  code->linked = true;
}

}  // namespace

int32_t vm_area_depth() { return g_area_depth; }

void vm_restore_areas(int32_t depth)
{
  for (; g_area_depth > depth; --g_area_depth)
    if (vln_eval_pop_area_hook) vln_eval_pop_area_hook();
}

var* vm_run(Code* code, int argc, var** argv, var** avec)
{
  if (!code->linked) link(code);
  frame own;
  Act act{code, code->top_level ? old_fn_stack : &own, nullptr, argc, argv, glob_sequencebuf, 0,
          NIL_VAR};
  frame* const F = act.F;
  if (code->top_level) {
    act.outer_floor = F->TmvNp;
    F->TmvNp = tmpvar_cnt;
  } else {
    vln_fn_start(F, code->file, code->name.c_str(), code->line, argc);
    if (code->is_block) F->Spare[0] |= VL_FRAME_BLOCK;
  }
  var** const R = static_cast<var**>(alloca(sizeof(var*) * static_cast<size_t>(code->nregs)));
  act.R = R;
  for (int32_t k = 0; k < code->nlocals; ++k)
    R[code->nparams + k] = vln_local_param(0, 0, nullptr, 'U');
  for (int32_t k = 0; k < code->nparams; ++k) R[k] = vln_local_param(argc, k, argv, 'U');
  if (!code->preload_recs.empty())
    std::memcpy(R + code->preload_base, code->preload_recs.data(),
                sizeof(var*) * code->preload_recs.size());
  for (size_t k = 0; k < code->capture_regs.size(); ++k) R[code->capture_regs[k]] = avec[1 + k];
  exec(&act, code->ins.data(), -1);
  glob_sequencebuf = act.entry_seq;
  if (code->top_level) {
    F->TmvNp = act.outer_floor;
    return act.result;
  }
  // A temporary result is the function's own: vln_fn_end keeps it alive
  // for the caller.  A variable or constant goes out as a copy.
  var* r = act.result;
  F->RetVal = r == NIL_VAR || is_temp(r) ? r : mk_var_cp(r);
  return vln_fn_end(F, 'U');
}

namespace {

const Ins* exec(Act* act, const Ins* pc, int32_t seq)
{
  static const void* const labels[] = {
      &&op_Stmt,      &&op_Move,       &&op_Assign,    &&op_Hold,
      &&op_ArgCopy,   &&op_GetMemvar, &&op_SetMemvar,  &&op_GetName,   &&op_SetName,
      &&op_GetField,  &&op_Call,      &&op_CallName,   &&op_CallProg,  &&op_Binary,
      &&op_Add,       &&op_Sub,       &&op_Mul,        &&op_AddTo,     &&op_SubTo,     &&op_MulTo,        &&op_Lt,        &&op_Le,
      &&op_Gt,        &&op_Ge,        &&op_Not,        &&op_Negate,    &&op_Step,
      &&op_Index,     &&op_Array,     &&op_Block,      &&op_Send,      &&op_SendSet,
      &&op_AliasField, &&op_PushArea, &&op_PopArea,    &&op_Macro, &&op_MacroSet,     &&op_MacroCall,
      &&op_Jump,      &&op_JumpFalse, &&op_JumpNotLt, &&op_JumpNotLe,  &&op_JumpNotGt, &&op_JumpNotGe, &&op_NumSet, &&op_AndJump,    &&op_OrJump,    &&op_ForNext,
      &&op_ForStep,   &&op_ForTest,   &&op_Declare,    &&op_Public,    &&op_MacroDecl,
      &&op_Param,     &&op_Once,      &&op_SeqBegin,   &&op_SeqEnd,    &&op_Echo,
      &&op_Return,    &&op_ReturnNil, &&op_Quit};
  static_assert(sizeof labels / sizeof labels[0] == static_cast<size_t>(Opc::Count),
                "one handler per opcode");
  if (!act) {
    g_labels = labels;
    return nullptr;
  }
  Code* const code = act->code;
  frame* const F = act->F;
  var** const R = act->R;
  const int argc = act->argc;
  var** const argv = act->argv;

#define DISPATCH() goto* pc->addr
#define NEXT()  \
  do {          \
    ++pc;       \
    DISPATCH(); \
  } while (0)
  DISPATCH();

op_Stmt:
  vln_release(F->TmvNp);
  vln_signal();
  F->Line = pc->d;
  NEXT();
op_Move:
  R[pc->a] = R[pc->b];
  NEXT();
op_Assign:
  vln_assign(R[pc->a], R[pc->b]);
  NEXT();
op_Hold:
  if (!is_temp(R[pc->a])) vln_hold(R[pc->a]);
  NEXT();
op_ArgCopy:
  if (!is_temp(R[pc->a])) R[pc->a] = mk_var_cp(R[pc->a]);
  NEXT();
op_GetMemvar:
  R[pc->a] = read_memvar(pc->d);
  NEXT();
op_SetMemvar:
  R[pc->a] = vlnGetVarForWrite(pc->d);
  NEXT();
op_GetName: {
  var* fld = field_or_null(pc->d);
  R[pc->a] = fld ? fld : read_memvar(pc->d);
  NEXT();
}
op_SetName: {
  var* fld = field_or_null(pc->d);
  R[pc->a] = fld ? fld : vlnGetVarForWrite(pc->d);
  NEXT();
}
op_GetField: {
  var* fld = vln_eval_field_hook ? vln_eval_field_hook(mv_names[pc->d].name) : nullptr;
  R[pc->a] = fld ? fld : report(VL_E_NO_FIELD, "FIELD->%s", mv_names[pc->d].name);
  NEXT();
}
op_Call:
  R[pc->a] = call_result(glob_ftab[pc->d].fn(pc->c, R + pc->b), glob_ftab[pc->d].name);
  NEXT();
op_CallName:
  if (resolve_call(const_cast<Ins*>(pc))) DISPATCH();
  R[pc->a] = report(VL_E_UNDEFINED_FUNC, "access of undefined function %s",
                    static_cast<const char*>(pc->p));
  NEXT();
op_CallProg:
  R[pc->a] = vm_run(static_cast<Code*>(const_cast<void*>(pc->p)), pc->c, R + pc->b, nullptr);
  NEXT();
op_Binary:
  R[pc->a] = expr::binary(static_cast<expr::Bin>(pc->d), R[pc->b], R[pc->c], pc->e);
  NEXT();
op_Add:
  R[pc->a] = vln_arith(R[pc->b], R[pc->c], 0, VLN_OP_ADD, u_add_u);
  NEXT();
op_Sub:
  R[pc->a] = vln_arith(R[pc->b], R[pc->c], 0, VLN_OP_SUB, u_sub_u);
  NEXT();
op_Mul:
  R[pc->a] = vln_arith(R[pc->b], R[pc->c], 0, VLN_OP_MUL, u_mul_u);
  NEXT();
op_AddTo:
  vln_assign(R[pc->a], vln_arith(R[pc->b], R[pc->c], 0, VLN_OP_ADD, u_add_u));
  NEXT();
op_SubTo:
  vln_assign(R[pc->a], vln_arith(R[pc->b], R[pc->c], 0, VLN_OP_SUB, u_sub_u));
  NEXT();
op_MulTo:
  vln_assign(R[pc->a], vln_arith(R[pc->b], R[pc->c], 0, VLN_OP_MUL, u_mul_u));
  NEXT();
op_Lt:
  R[pc->a] = vln_compare(R[pc->b], R[pc->c], VLN_CMP_LT, u_lt_u);
  NEXT();
op_Le:
  R[pc->a] = vln_compare(R[pc->b], R[pc->c], VLN_CMP_LE, u_leq_u);
  NEXT();
op_Gt:
  R[pc->a] = vln_compare(R[pc->b], R[pc->c], VLN_CMP_GT, u_gt_u);
  NEXT();
op_Ge:
  R[pc->a] = vln_compare(R[pc->b], R[pc->c], VLN_CMP_GE, u_geq_u);
  NEXT();
op_Not:
  R[pc->a] = not_u(R[pc->b]);
  NEXT();
op_Negate:
  R[pc->a] = minus_u(R[pc->b]);
  NEXT();
op_Step:
  R[pc->a] = step(pc->d, R[pc->b]);
  NEXT();
op_Index:
  R[pc->a] = dget_arrv(R[pc->b], R[pc->c]);
  NEXT();
op_Array:
  R[pc->a] = array_of(pc->c, R + pc->b);
  NEXT();
op_Block:
  R[pc->a] = make_block(static_cast<Code*>(const_cast<void*>(pc->p)), pc->c, R + pc->b);
  NEXT();
op_Send:
  R[pc->a] = vlnSend(R[pc->b], static_cast<const char*>(pc->p), pc->e, 0, pc->d, R + pc->c);
  NEXT();
op_SendSet:
  R[pc->a] = vlnSend(R[pc->b], static_cast<const char*>(pc->p), 0, 1, 1, R + pc->c);
  NEXT();
op_AliasField:
  R[pc->a] = vln_eval_alias_field_hook
                 ? vln_eval_alias_field_hook(R[pc->b], static_cast<const char*>(pc->p))
                 : report(VL_E_ILLEGAL_ALIAS, "%s: no work areas are open",
                          static_cast<const char*>(pc->p));
  NEXT();
op_PushArea:
  if (!vln_eval_push_area_hook || !vln_eval_push_area_hook(R[pc->b])) {
    R[pc->a] = vln_eval_push_area_hook ? ERROR_VAR
                                       : report(VL_E_ILLEGAL_ALIAS, "%s: no work areas are open",
                                                "alias");
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  ++g_area_depth;
  NEXT();
op_PopArea:
  vm_restore_areas(g_area_depth - 1);
  NEXT();
op_Macro:
  R[pc->a] = exp_eval(static_cast<const char*>(pc->p));
  NEXT();
op_MacroSet:
  R[pc->a] = vlnGetLHSVar(static_cast<const char*>(pc->p));
  NEXT();
op_MacroCall:
  R[pc->a] = call_result(macrofun(static_cast<const char*>(pc->p))(pc->c, R + pc->b),
                         static_cast<const char*>(pc->p));
  NEXT();
op_Jump:
  pc = code->ins.data() + pc->d;
  DISPATCH();
op_JumpFalse:
  if (!vln_if(R[pc->a])) {
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  NEXT();
#define VM_COMPARE_JUMP(label, cmp, entry)                                          \
  label : {                                                                          \
    if (pc->e) {                                                                     \
      vln_release(F->TmvNp);                                                         \
      vln_signal();                                                                  \
      F->Line = pc->e;                                                               \
    }                                                                                \
    var* const l = R[pc->a];                                                         \
    var* const r = R[pc->b];                                                         \
    const bool holds = l->Type == 'N' && r->Type == 'N'                              \
                           ? l->Value.w1.d cmp r->Value.w1.d                         \
                           : vln_if(entry(l, r)) != 0;                               \
    if (!holds) {                                                                    \
      pc = code->ins.data() + pc->d;                                                 \
      DISPATCH();                                                                    \
    }                                                                                \
    NEXT();                                                                          \
  }
  VM_COMPARE_JUMP(op_JumpNotLt, <, u_lt_u)
  VM_COMPARE_JUMP(op_JumpNotLe, <=, u_leq_u)
  VM_COMPARE_JUMP(op_JumpNotGt, >, u_gt_u)
  VM_COMPARE_JUMP(op_JumpNotGe, >=, u_geq_u)
#undef VM_COMPARE_JUMP
op_NumSet:
  if (number_formula(R, code->formulas.data() + pc->e, R[pc->a])) {
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  NEXT();
op_AndJump:
  if (!vln_if(R[pc->a])) {
    R[pc->a] = FALSE_VAR;
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  NEXT();
op_OrJump:
  if (vln_if(R[pc->a])) {
    R[pc->a] = TRUE_VAR;
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  NEXT();
op_ForNext:
  vln_release(F->TmvNp);
  vln_signal();
  for_advance(R[pc->a], R[pc->c]);
  if (for_within(R[pc->a], R[pc->b], R[pc->c])) {
    F->Line = pc->e;
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  NEXT();
op_ForStep:
  for_advance(R[pc->a], R[pc->c]);
op_ForTest:
  if (for_within(R[pc->a], R[pc->b], R[pc->c])) {
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  NEXT();
op_Declare:
  vln_declare(pc->d);
  NEXT();
op_Public:
  vln_public(pc->d);
  NEXT();
op_MacroDecl:
  if (pc->e)
    vln_macro_public(static_cast<const char*>(pc->p));
  else
    vln_macro_declare(static_cast<const char*>(pc->p));
  NEXT();
op_Param:
  vln_private_param(pc->d, argc, pc->e, argv);
  NEXT();
op_Once:
  if (code->once[static_cast<size_t>(pc->e)]) {
    pc = code->ins.data() + pc->d;
    DISPATCH();
  }
  code->once[static_cast<size_t>(pc->e)] = 1;
  NEXT();
op_SeqBegin:
  pc = run_sequence(act, pc);
  if (!pc) return nullptr;
  DISPATCH();
op_SeqEnd:
  if (pc->e == seq) return pc;
  // After RECOVER, or where EXIT or LOOP leave a sequence of this level.
  vln_cleanup(glob_sequencebuf);
  NEXT();
op_Echo:
  echo(R[pc->a]);
  NEXT();
op_Return:
  act->result = R[pc->a];
  goto returning;
op_ReturnNil:
  act->result = NIL_VAR;
returning:
  if (pc->e) {
    vln_signal();
    F->Line = pc->e;
  }
  return nullptr;
op_Quit:
  vln_quit();
#undef NEXT
#undef DISPATCH
}

}  // namespace

var* vm_block_entry(int argc, var** argv, var** avec)
{
  Code* code = reinterpret_cast<Code*>(avec[0]->Value.w1.slot);
  return vm_run(code, argc, argv, avec);
}

}  // namespace vl::prog
