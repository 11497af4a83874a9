// compile.cpp -- parsed functions into the machine's instructions.
//
// Names are resolved once, here: a LOCAL or parameter becomes its register,
// a STATIC or a literal a preload register holding its record, a LOCAL of
// an enclosing function used inside a block literal a captured register,
// a declared memvar or an undeclared name the kernel index of the name
// (undeclared names still try the selected area's field first at run
// time, as the expression evaluator does), and a call of a function of the
// program the compiled function itself.
//
// Registers: parameters and LOCALs first, then temporaries allocated like
// a stack while an expression compiles (reset at every statement), then
// the preloads.  The preloads' number is known only at the end, so they
// are numbered -1, -2, ... while compiling and moved behind the
// temporaries when the function is finished (finish()).
#include <cctype>
#include <climits>
#include <cstring>
#include <functional>
#include <map>

#include "kernel.h"
#include "kernel.hpp"
#include "valrec.hpp"
#include "vlerror.h"
#include "vm_compile.hpp"

namespace vl::prog {

namespace {

using expr::Bin;
using expr::Node;
using expr::Op;

// The kinds a name can have in a function.
enum class Sym : uint8_t { Local, Fixed, Memvar, Field };

struct Name {
  Sym sym;
  int32_t reg = 0;     // Local: the register
  var* rec = nullptr;  // Fixed: a STATIC's record
};

using Names = std::map<std::string, Name>;

// No register: a declaration without an initial value.
constexpr int32_t kNoValue = INT32_MIN;

// What a compile shares between functions: the image, the functions known
// by name (program-wide and the file's STATIC ones), the diagnostic.
struct Shared {
  Image& image;
  std::unordered_map<std::string, Code*> functions;  // image's plus new ones
  std::unordered_map<std::string, Code*> file_statics;
  Names file_names;  // file-wide STATICs, MEMVARs and FIELDs
  const Unit* unit = nullptr;
  Diagnostic* diag = nullptr;
  bool failed = false;
  bool top_level = false;
  bool echo = false;

  void fail(const Pos& pos, const std::string& message)
  {
    if (failed) return;
    failed = true;
    diag->file = unit->file;
    diag->line = pos.line;
    diag->col = pos.col;
    diag->message = message;
    if (pos.line >= 1 && static_cast<size_t>(pos.line) <= unit->lines.size())
      diag->text = unit->lines[static_cast<size_t>(pos.line) - 1];
  }

  var* new_record()
  {
    var* v = mak_var('N', 'U');
    image.records.push_back(v);
    return v;
  }
};

// A loop being compiled: where EXIT and LOOP go, and how many sequences
// were open when it began.
struct LoopCtx {
  std::vector<size_t> exits;
  std::vector<size_t> loops;
  int32_t seq_depth = 0;
};

class FnCompiler {
 public:
  FnCompiler(Shared& sh, Code* code, FnCompiler* outer) : sh_(sh), code_(code), outer_(outer) {}

  // A function: parameters, LOCALs, the body, the implicit RETURN.
  void function(const Func& fn)
  {
    for (const std::string& p : fn.params) declare_local(p);
    code_->nparams = static_cast<int32_t>(fn.params.size());
    if (!sh_.top_level || !is_main_) collect_locals(fn.body);
    code_->nlocals = next_local_ - code_->nparams;
    top_ = base_ = next_local_;
    block(fn.body);
    emit(Opc::ReturnNil);
    finish();
  }

  // A block literal's body: its parameters and its value.
  void block_body(const expr::Program& prog)
  {
    for (const std::string& p : prog.params) declare_local(p);
    code_->nparams = static_cast<int32_t>(prog.params.size());
    top_ = base_ = next_local_;
    tree_ = &prog;
    emit(Opc::Return, value(prog.root));
    finish();
  }

  // File-wide STATIC initialisers, run once.
  void file_init(const Block& globals)
  {
    top_ = base_ = 0;
    block(globals);
    emit(Opc::ReturnNil);
    finish();
  }

  void set_main() { is_main_ = true; }

  // Registers of the enclosing function this block captured, in order.
  std::vector<int32_t> captures;

 private:
  Shared& sh_;
  Code* code_;
  FnCompiler* outer_;
  const expr::Program* tree_ = nullptr;
  Names names_;
  std::map<std::string, int32_t> captured_;  // name -> preload register
  int32_t next_local_ = 0;
  int32_t base_ = 0, top_ = 0, max_top_ = 0;
  int32_t seq_depth_ = 0;
  bool is_main_ = false;
  std::vector<LoopCtx> loops_;

  // ---- Emission. ----

  size_t emit(Opc op, int32_t a = 0, int32_t b = 0, int32_t c = 0, int32_t d = 0,
              int32_t e = 0, const void* p = nullptr)
  {
    Ins i;
    i.op = op;
    i.a = a, i.b = b, i.c = c, i.d = d, i.e = e, i.p = p;
    code_->ins.push_back(i);
    return code_->ins.size() - 1;
  }
  int32_t here() const { return static_cast<int32_t>(code_->ins.size()); }
  void patch(size_t at)
  {
    code_->ins[at].d = here();
    label_ = here();
  }
  int32_t label_ = -1;  // the last place a jump goes to

  int32_t alloc()
  {
    const int32_t r = top_++;
    if (top_ > max_top_) max_top_ = top_;
    return r;
  }
  bool is_temp_reg(int32_t r) const { return r >= base_; }

  int32_t preload(var* rec, int32_t capture = -1)
  {
    if (capture < 0) {
      auto it = fixed_preloads_.find(rec);
      if (it != fixed_preloads_.end()) return it->second;
    }
    code_->preloads.push_back(Preload{rec, capture});
    const int32_t r = -static_cast<int32_t>(code_->preloads.size());
    if (capture < 0) fixed_preloads_[rec] = r;
    return r;
  }
  std::map<var*, int32_t> fixed_preloads_;

  const char* keep_text(const std::string& s)
  {
    code_->texts.push_back(s);
    return code_->texts.back().c_str();
  }

  // A constant text record for an alias written as a name.
  int32_t text_constant(const std::string& s)
  {
    var* v = sh_.new_record();
    set_cvar(v, s.c_str());
    v->Flags |= VF_STATIC;
    return preload(v);
  }

  // Preloads move behind the temporaries.
  void finish()
  {
    if (max_top_ < top_) max_top_ = top_;
    if (max_top_ < next_local_) max_top_ = next_local_;
    code_->preload_base = max_top_;
    code_->nregs = max_top_ + static_cast<int32_t>(code_->preloads.size());
    auto remap = [&](int32_t& r) {
      if (r < 0) r = code_->preload_base + (-r - 1);
    };
    for (Ins& i : code_->ins) {
      remap(i.a);
      remap(i.b);
      remap(i.c);
    }
    for (size_t k = 0; k < code_->formulas.size(); k += static_cast<size_t>(code_->formulas[k].reg) + 1)
      for (size_t j = k + 1; j <= k + static_cast<size_t>(code_->formulas[k].reg); ++j)
        if (code_->formulas[j].kind <= FormulaItem::MulReg) remap(code_->formulas[j].reg);
    code_->once.resize(static_cast<size_t>(once_count_));
  }
  int32_t once_count_ = 0;

  // ---- Names. ----

  int32_t declare_local(const std::string& name)
  {
    const int32_t r = next_local_++;
    names_[name] = Name{Sym::Local, r, nullptr};
    return r;
  }

  void collect_locals(const Block& body)
  {
    for (const Stmt& s : body) {
      if (s.kind == Kind::Local)
        for (const Var& v : s.vars) declare_local(v.name);
      for (const Branch& b : s.branches) collect_locals(b.body);
      collect_locals(s.body);
      collect_locals(s.otherwise);
    }
  }

  const Name* find_own(const std::string& name) const
  {
    auto it = names_.find(name);
    return it == names_.end() ? nullptr : &it->second;
  }

  // The register a LOCAL of an enclosing function has in this block.
  int32_t capture(const std::string& name, int32_t outer_reg)
  {
    auto it = captured_.find(name);
    if (it != captured_.end()) return it->second;
    const int32_t r = preload(nullptr, static_cast<int32_t>(captures.size()));
    captures.push_back(outer_reg);
    captured_[name] = r;
    return r;
  }

  // How name resolves here: its own declaration, a LOCAL of an enclosing
  // function (captured), a file-wide declaration, or nothing (undeclared).
  bool resolve(const std::string& name, Name& out)
  {
    if (const Name* n = find_own(name)) {
      out = *n;
      return true;
    }
    if (captured_.count(name)) {
      out = Name{Sym::Local, captured_[name], nullptr};
      return true;
    }
    if (outer_) {
      Name o;
      if (!outer_->resolve(name, o)) return false;
      if (o.sym == Sym::Local) o.reg = capture(name, o.reg);
      out = o;
      return true;
    }
    auto it = sh_.file_names.find(name);
    if (it == sh_.file_names.end()) return false;
    out = it->second;
    return true;
  }

  int32_t memvar_index(const std::string& name) { return vln_add_var(name.c_str()); }

  // The register holding name's record for reading or writing.
  int32_t name_ref(const std::string& name, bool write)
  {
    if (is_macro(name)) {
      if (!write) return macro(name);
      const int32_t dst = alloc();
      emit(Opc::MacroSet, dst, 0, 0, 0, 0, keep_text(name));
      return dst;
    }
    Name n;
    if (resolve(name, n)) {
      switch (n.sym) {
        case Sym::Local: return n.reg;
        case Sym::Fixed: return preload(n.rec);
        case Sym::Memvar: {
          const int32_t r = alloc();
          emit(write ? Opc::SetMemvar : Opc::GetMemvar, r, 0, 0, memvar_index(name));
          return r;
        }
        case Sym::Field: {
          const int32_t r = alloc();
          emit(Opc::GetField, r, 0, 0, memvar_index(name));
          return r;
        }
      }
    }
    const int32_t r = alloc();
    emit(write ? Opc::SetName : Opc::GetName, r, 0, 0, memvar_index(name));
    return r;
  }

  // ---- Expressions. ----

  const Node& node(int32_t i) const { return tree_->nodes[static_cast<size_t>(i)]; }

  // Whether evaluating node i runs nothing that could release a record.
  bool runs_nothing(int32_t i) const
  {
    const Op op = node(i).op;
    return op == Op::Literal || op == Op::Param || op == Op::Name;
  }

  // The result in a register of its own at or above top (for argument
  // vectors): r itself when it is there already.
  int32_t into(int32_t r, int32_t want)
  {
    if (r != want) emit(Opc::Move, want, r);
    top_ = want + 1;
    if (top_ > max_top_) max_top_ = top_;
    return want;
  }

  // Registers base.. hold the values of kids (NIL for an omitted one), as
  // arguments (by value, @name by reference) when args.
  int32_t vector_of(const std::vector<int32_t>& kids, bool args)
  {
    const int32_t first = top_;
    for (size_t k = 0; k < kids.size(); ++k) {
      const int32_t want = first + static_cast<int32_t>(k);
      if (kids[k] < 0) {
        into(preload(NIL_VAR), want);
        continue;
      }
      const bool as_is = node(kids[k]).op == Op::ByRef || is_arithmetic(kids[k]);
      into(value(kids[k]), want);
      if (args && !as_is) emit(Opc::ArgCopy, want);
    }
    return first;
  }

  // Whether the record in register r may be a variable or element that
  // code run later in the statement can release: not when the instruction
  // that just wrote r makes temporaries or constants.
  bool may_be_released(int32_t r) const
  {
    if (!is_temp_reg(r)) return false;
    if (code_->ins.empty() || label_ == here()) return true;
    const Ins& last = code_->ins.back();
    if (last.a != r) return true;
    switch (last.op) {
      case Opc::CallProg:
      case Opc::Add:
      case Opc::Sub:
      case Opc::Mul:
      case Opc::Negate:
      case Opc::Array:
      case Opc::Block: return false;
      default: return true;
    }
  }

  // Whether node i is arithmetic, whose result is a temporary or a
  // constant record: an argument that generated code passes as it is.
  bool is_arithmetic(int32_t i) const
  {
    const Node& n = node(i);
    if (n.op == Op::Negate) return true;
    if (n.op != Op::Binary) return false;
    for (Bin b : n.ops)
      if (b != Bin::Add && b != Bin::Sub && b != Bin::Mul && b != Bin::Div && b != Bin::Mod &&
          b != Bin::Pow)
        return false;
    return true;
  }

  // ---- Number formulas: x := a * b + c on variables that stay put. ----

  // A formula's leaf: the register of a number literal or of a name that
  // stays put; kNoValue for anything else.
  int32_t formula_leaf(int32_t i)
  {
    const Node& n = node(i);
    if (n.op == Op::Literal) return n.lit && n.lit->Type == 'N' ? preload(n.lit) : kNoValue;
    return fixed_register(n);
  }

  // The step that combines with a register (by_reg) or with a popped
  // value for operator b; Load when b is none of + - *.
  static FormulaItem::Kind formula_step(Bin b, bool by_reg)
  {
    switch (b) {
      case Bin::Add: return by_reg ? FormulaItem::AddReg : FormulaItem::AddPop;
      case Bin::Sub: return by_reg ? FormulaItem::SubReg : FormulaItem::SubPop;
      case Bin::Mul: return by_reg ? FormulaItem::MulReg : FormulaItem::MulPop;
      default: return FormulaItem::Load;
    }
  }

  // Append the steps that leave node i's value in the accumulator (pushing
  // a live accumulator first); false when it is no formula.  A chain that
  // begins "leaf + (sub-formula)" or "leaf * (...)" computes the
  // sub-formula first and then combines the leaf (both operators commute,
  // Decimals too), which spares a push.
  bool formula_items(int32_t i, std::vector<FormulaItem>& out, bool live, int depth)
  {
    if (depth >= kFormulaDepth || out.size() >= static_cast<size_t>(kFormulaItems)) return false;
    const int32_t leaf = formula_leaf(i);
    if (leaf != kNoValue) {
      out.push_back({live ? FormulaItem::PushLoad : FormulaItem::Load, leaf});
      return true;
    }
    const Node& n = node(i);
    if (n.op != Op::Binary) return false;
    size_t k = 1;
    const int32_t first = formula_leaf(n.kids[0]);
    if (first != kNoValue && (n.ops[0] == Bin::Add || n.ops[0] == Bin::Mul) &&
        formula_leaf(n.kids[1]) == kNoValue) {
      if (!formula_items(n.kids[1], out, live, depth)) return false;
      out.push_back({formula_step(n.ops[0], true), first});
      k = 2;
    } else if (!formula_items(n.kids[0], out, live, depth)) {
      return false;
    }
    for (; k < n.kids.size(); ++k) {
      if (formula_step(n.ops[k - 1], true) == FormulaItem::Load) return false;
      const int32_t r = formula_leaf(n.kids[k]);
      if (r != kNoValue) {
        out.push_back({formula_step(n.ops[k - 1], true), r});
        continue;
      }
      if (!formula_items(n.kids[k], out, true, depth + 1)) return false;
      out.push_back({formula_step(n.ops[k - 1], false), 0});
    }
    return true;
  }

  // The register of a name that stays put (a LOCAL, a parameter, a
  // STATIC), found without running anything; kNoValue otherwise.
  int32_t fixed_register(const Node& n)
  {
    if (n.op == Op::Param) return n.slot;
    if (n.op != Op::Name || is_macro(n.name)) return kNoValue;
    Name found;
    if (!resolve(n.name, found)) return kNoValue;
    if (found.sym == Sym::Local) return found.reg;
    if (found.sym == Sym::Fixed) return preload(found.rec);
    return kNoValue;
  }

  // x := formula: a NumSet ahead of the general code; returns the NumSet
  // to patch past that code, or -1 when the assignment is no formula.
  int64_t formula_assign(const Node& n)
  {
    if (n.bin != Bin::None) return -1;
    const int32_t target = fixed_register(node(n.a));
    if (target == kNoValue || node(n.b).op != Op::Binary) return -1;
    std::vector<FormulaItem> items(1);
    if (!formula_items(n.b, items, false, 1)) return -1;
    items[0].reg = static_cast<int32_t>(items.size()) - 1;
    const int32_t first = static_cast<int32_t>(code_->formulas.size());
    code_->formulas.insert(code_->formulas.end(), items.begin(), items.end());
    return static_cast<int64_t>(emit(Opc::NumSet, target, 0, 0, 0, first));
  }

  int32_t result_reg(int32_t first_free)
  {
    top_ = first_free;
    return alloc();
  }

  int32_t call(const Node& n)
  {
    const int32_t mark = top_;
    const int32_t argv = vector_of(n.kids, true);
    const int32_t argc = static_cast<int32_t>(n.kids.size());
    const int32_t dst = result_reg(mark);
    emit_call(dst, n.name, argv, argc);
    return dst;
  }

  Code* program_function(const std::string& name)
  {
    auto it = sh_.file_statics.find(name);
    if (it != sh_.file_statics.end()) return it->second;
    it = sh_.functions.find(name);
    return it == sh_.functions.end() ? nullptr : it->second;
  }

  void emit_call(int32_t dst, const std::string& name, int32_t argv, int32_t argc)
  {
    if (is_macro(name)) {
      emit(Opc::MacroCall, dst, argv, argc, 0, 0, keep_text(name));
      return;
    }
    if (Code* target = program_function(name)) {
      emit(Opc::CallProg, dst, argv, argc, 0, 0, target);
      return;
    }
    const char* shortname = keep_text(short_fun(name.c_str()));
    const int32_t fn = find_fun(shortname);
    if (fn > 0)
      emit(Opc::Call, dst, argv, argc, fn);
    else
      emit(Opc::CallName, dst, argv, argc, 0, 0, shortname);
  }

  static Opc fast_binary(Bin b)
  {
    switch (b) {
      case Bin::Add: return Opc::Add;
      case Bin::Sub: return Opc::Sub;
      case Bin::Mul: return Opc::Mul;
      case Bin::Lt: return Opc::Lt;
      case Bin::Le: return Opc::Le;
      case Bin::Gt: return Opc::Gt;
      case Bin::Ge: return Opc::Ge;
      default: return Opc::Binary;
    }
  }

  // a op1 b op2 c ...: the accumulated value is held while an operand
  // that runs code is evaluated (it may be an element that code releases).
  int32_t binary_chain(const Node& n)
  {
    const int32_t mark = top_;
    int32_t acc = value(n.kids[0]);
    for (size_t k = 1; k < n.kids.size(); ++k) {
      if (!runs_nothing(n.kids[k]) && may_be_released(acc)) emit(Opc::Hold, acc);
      const int32_t r = value(n.kids[k]);
      const int32_t dst = result_reg(mark);
      const Bin b = n.ops[k - 1];
      emit(fast_binary(b), dst, acc, r, static_cast<int32_t>(b));
      acc = dst;
    }
    return acc;
  }

  int32_t logical(const Node& n, bool is_and)
  {
    const int32_t mark = top_;
    const int32_t dst = into(value(n.kids[0]), mark);
    std::vector<size_t> ends;
    for (size_t k = 1; k < n.kids.size(); ++k) {
      ends.push_back(emit(is_and ? Opc::AndJump : Opc::OrJump, dst));
      into(value(n.kids[k]), dst);
    }
    for (size_t at : ends) patch(at);
    return dst;
  }

  int32_t iif(const Node& n)
  {
    const int32_t mark = top_;
    const int32_t c = value(n.kids[0]);
    const size_t to_else = emit(Opc::JumpFalse, c);
    const int32_t dst = result_reg(mark);
    into(n.kids[1] < 0 ? preload(NIL_VAR) : value(n.kids[1]), dst);
    const size_t to_end = emit(Opc::Jump);
    patch(to_else);
    top_ = dst;
    into(n.kids[2] < 0 ? preload(NIL_VAR) : value(n.kids[2]), dst);
    patch(to_end);
    return dst;
  }

  // The record a target stands for when it is written.
  int32_t lvalue(int32_t i)
  {
    const Node& n = node(i);
    switch (n.op) {
      case Op::Param: return n.slot;
      case Op::Name: return name_ref(n.name, true);
      case Op::Memvar: {
        const int32_t r = alloc();
        emit(Opc::SetMemvar, r, 0, 0, memvar_index(n.name));
        return r;
      }
      default: return value(i);
    }
  }

  int32_t assign(const Node& n)
  {
    const int64_t formula = formula_assign(n);
    const int32_t r = assign_general(n);
    if (formula >= 0) patch(static_cast<size_t>(formula));
    return r;
  }

  int32_t assign_general(const Node& n)
  {
    const int32_t v = value(n.b);
    const Node& target = node(n.a);
    const bool simple =
        target.op == Op::Param || target.op == Op::Name || target.op == Op::Memvar;
    if (!simple && is_temp_reg(v)) emit(Opc::Hold, v);
    if (target.op == Op::Send && n.bin == Bin::None) {
      const int32_t obj = value(target.a);
      const int32_t arg = into(v, top_);
      const int32_t dst = alloc();
      emit(Opc::SendSet, dst, obj, arg, 0, 0, keep_text(target.name));
      return dst;
    }
    const int32_t t = lvalue(n.a);
    if (n.bin != Bin::None) {
      const int32_t dst = result_reg(top_);
      emit(Opc::Binary, dst, t, v, static_cast<int32_t>(n.bin), 1);
      return dst;
    }
    if (!fuse_assign(t, v)) emit(Opc::Assign, t, v);
    return t;
  }

  // x := l op r with x a variable that stays put: the operator
  // instruction that just made v assigns its result itself.
  bool fuse_assign(int32_t target, int32_t v)
  {
    if (!stays_put(target) || code_->ins.empty() || label_ == here()) return false;
    Ins& last = code_->ins.back();
    if (last.a != v || !is_temp_reg(v)) return false;
    switch (last.op) {
      case Opc::Add: last.op = Opc::AddTo; break;
      case Opc::Sub: last.op = Opc::SubTo; break;
      case Opc::Mul: last.op = Opc::MulTo; break;
      default: return false;
    }
    last.a = target;
    return true;
  }

  int32_t unary(Opc op, int32_t a)
  {
    const int32_t mark = top_;
    const int32_t r = value(a);
    const int32_t dst = result_reg(mark);
    emit(op, dst, r);
    return dst;
  }

  int32_t step(const Node& n)
  {
    const int32_t mark = top_;
    const int32_t t = lvalue(n.a);
    const int32_t dst = result_reg(mark);
    const int32_t kind = n.op == Op::PreInc ? 0 : n.op == Op::PreDec ? 1 : n.op == Op::PostInc ? 2 : 3;
    emit(Opc::Step, dst, t, 0, kind);
    return dst;
  }

  int32_t index(const Node& n)
  {
    const int32_t mark = top_;
    int32_t base = value(n.a);
    for (int32_t k : n.kids) {
      if (!runs_nothing(k) && is_temp_reg(base)) emit(Opc::Hold, base);
      const int32_t iv = value(k);
      const int32_t dst = result_reg(mark);
      emit(Opc::Index, dst, base, iv);
      base = dst;
    }
    return base;
  }

  int32_t send(const Node& n)
  {
    const int32_t mark = top_;
    const int32_t obj = into(value(n.a), mark);
    emit(Opc::Hold, obj);
    const int32_t argv = vector_of(n.kids, true);
    const int32_t dst = result_reg(mark);
    emit(Opc::Send, dst, obj, argv, static_cast<int32_t>(n.kids.size()), n.flag ? 1 : 0,
         keep_text(n.name));
    return dst;
  }

  int32_t array_literal(const Node& n)
  {
    const int32_t mark = top_;
    const int32_t first = vector_of(n.kids, false);
    const int32_t dst = result_reg(mark);
    emit(Opc::Array, dst, first, static_cast<int32_t>(n.kids.size()));
    return dst;
  }

  int32_t alias_ref(const Node& n)
  {
    return n.a >= 0 ? value(n.a) : text_constant(n.name2);
  }

  int32_t alias_field(const Node& n)
  {
    const int32_t mark = top_;
    const int32_t alias = alias_ref(n);
    const int32_t dst = result_reg(mark);
    emit(Opc::AliasField, dst, alias, 0, 0, 0, keep_text(n.name));
    return dst;
  }

  int32_t alias_list(const Node& n)
  {
    const int32_t mark = top_;
    const int32_t alias = alias_ref(n);
    const int32_t dst = result_reg(mark);
    const size_t failed = emit(Opc::PushArea, dst, alias);
    into(value(n.b), dst);
    emit(Opc::PopArea);
    patch(failed);
    return dst;
  }

  // A block literal: its own code, capturing the LOCALs it names.  A text
  // the expression parser refuses (a macro in it) is left to the
  // evaluator at run time, as a macro block.
  int32_t block_literal(const Node& n)
  {
    expr::Compiled c = expr::compile(n.name, true);
    if (!c.program) return macro(n.name);
    std::unique_ptr<expr::Program> prog(c.program);
    auto code = std::make_unique<Code>();
    code->name = code_->name;
    code->file = code_->file;
    code->line = code_->line;
    code->is_block = true;
    FnCompiler inner(sh_, code.get(), this);
    inner.block_body(*prog);
    const int32_t mark = top_;
    for (int32_t r : inner.captures) into(r, top_);
    const int32_t dst = result_reg(mark);
    emit(Opc::Block, dst, mark, static_cast<int32_t>(inner.captures.size()), 0, 0, code.get());
    sh_.image.trees.push_back(std::move(prog));
    sh_.image.codes.push_back(std::move(code));
    return dst;
  }

  // A macro: its text expands and runs through the evaluator.
  int32_t macro(const std::string& text)
  {
    const int32_t dst = alloc();
    emit(Opc::Macro, dst, 0, 0, 0, 0, keep_text(text));
    return dst;
  }
  static bool is_macro(const std::string& name) { return !name.empty() && name[0] == '&'; }

  int32_t list(const Node& n)
  {
    int32_t r = preload(NIL_VAR);
    for (int32_t k : n.kids) r = value(k);
    return r;
  }

  int32_t value(int32_t i)
  {
    const Node& n = node(i);
    switch (n.op) {
      case Op::Literal: return preload(n.lit);
      case Op::Param: return n.slot;
      case Op::Name: return name_ref(n.name, false);
      case Op::Memvar: {
        const int32_t r = alloc();
        emit(Opc::GetMemvar, r, 0, 0, memvar_index(n.name));
        return r;
      }
      case Op::Field: {
        const int32_t r = alloc();
        emit(Opc::GetField, r, 0, 0, memvar_index(n.name));
        return r;
      }
      case Op::AliasField: return alias_field(n);
      case Op::AliasList: return alias_list(n);
      case Op::NoDebugInfo:
        sh_.fail(stmt_pos_, n.name2 + "->" + n.name + ": not available without debug information");
        return preload(NIL_VAR);
      case Op::Call: return call(n);
      case Op::Iif: return iif(n);
      case Op::Binary: return binary_chain(n);
      case Op::And: return logical(n, true);
      case Op::Or: return logical(n, false);
      case Op::Not: return unary(Opc::Not, n.a);
      case Op::Negate: return unary(Opc::Negate, n.a);
      case Op::UnaryPlus: return value(n.a);
      case Op::Assign: return assign(n);
      case Op::PreInc:
      case Op::PreDec:
      case Op::PostInc:
      case Op::PostDec: return step(n);
      case Op::Index: return index(n);
      case Op::Send: return send(n);
      case Op::ArrayLit: return array_literal(n);
      case Op::BlockLit: return block_literal(n);
      case Op::List: return list(n);
      case Op::ByRef: return lvalue(n.a);
    }
    return preload(NIL_VAR);
  }

  // The value of a statement's expression (its tree kept by the image).
  int32_t expr(const Expr& e)
  {
    tree_ = e.tree.get();
    return value(e.tree->root);
  }

  // ---- Statements. ----

  Pos stmt_pos_;

  void stmt_start(const Pos& pos)
  {
    stmt_pos_ = pos;
    top_ = base_;
    emit(Opc::Stmt, 0, 0, 0, pos.line);
  }

  // A statement whose first instruction follows its boundary directly
  // (IF n < 2, RETURN n) does the boundary itself: the Stmt goes and its
  // line is returned for that instruction's e; 0 when there is none to
  // take (something jumps to the place after it).
  int32_t fold_stmt()
  {
    if (code_->ins.empty() || label_ == here() || code_->ins.back().op != Opc::Stmt) return 0;
    const int32_t line = code_->ins.back().d;
    code_->ins.pop_back();
    return line;
  }

  void block(const Block& b)
  {
    for (const Stmt& s : b) {
      statement(s);
      if (sh_.failed) return;
    }
  }

  // A declared variable's initial value: its initialiser, or an array of
  // its dimensions; kNoValue for none.
  int32_t initial(const Var& v)
  {
    if (v.init) return expr(v.init);
    if (v.dims.empty()) return kNoValue;
    const int32_t mark = top_;
    std::vector<int32_t> regs;
    for (const Expr& d : v.dims) {
      const int32_t r = into(expr(d), top_);
      regs.push_back(r);
    }
    const int32_t dst = result_reg(mark);
    emit_call(dst, "array", mark, static_cast<int32_t>(regs.size()));
    return dst;
  }

  void locals(const Stmt& s)
  {
    for (const Var& v : s.vars) {
      stmt_start(v.pos);
      const int32_t init = initial(v);
      if (init != kNoValue) emit(Opc::Assign, names_[v.name].reg, init);
    }
  }

  void statics(const Stmt& s)
  {
    for (const Var& v : s.vars) {
      var* rec = sh_.new_record();
      Names& scope = (outer_ == nullptr && code_->name.empty()) ? sh_.file_names : names_;
      scope[v.name] = Name{Sym::Fixed, 0, rec};
      if (!v.init && v.dims.empty()) continue;
      stmt_start(v.pos);
      const size_t skip = emit(Opc::Once, 0, 0, 0, 0, once_count_++);
      emit(Opc::Assign, preload(rec), initial(v));
      patch(skip);
    }
  }

  void memvars(const Stmt& s, bool is_public)
  {
    for (const Var& v : s.vars) {
      stmt_start(v.pos);
      if (!v.name.empty() && v.name[0] == '&') {
        emit(Opc::MacroDecl, 0, 0, 0, 0, is_public ? 1 : 0, keep_text(v.name));
        continue;
      }
      // A PRIVATE or PUBLIC names a memvar unless the function declared the
      // name otherwise (FIELD, MEMVAR): declarations rule what names mean.
      names_.emplace(v.name, Name{Sym::Memvar});
      const int32_t idx = memvar_index(v.name);
      emit(is_public ? Opc::Public : Opc::Declare, 0, 0, 0, idx);
      const int32_t init = initial(v);
      if (init == kNoValue) continue;
      const int32_t t = alloc();
      emit(Opc::SetMemvar, t, 0, 0, idx);
      emit(Opc::Assign, t, init);
    }
  }

  void declarations(const Stmt& s, Sym sym)
  {
    Names& scope = code_->name.empty() ? sh_.file_names : names_;
    for (const Var& v : s.vars) scope[v.name] = Name{sym};
  }

  void parameters(const Stmt& s)
  {
    stmt_start(s.pos);
    int32_t k = 0;
    for (const Var& v : s.vars) {
      names_[v.name] = Name{Sym::Memvar};
      emit(Opc::Param, 0, 0, 0, memvar_index(v.name), k++);
    }
  }

  // Jump when the condition e is false: a comparison of two operands is
  // one instruction.  Returns the jump to patch.
  size_t jump_unless(const Expr& e)
  {
    tree_ = e.tree.get();
    const Node& n = node(e.tree->root);
    const Opc op = n.op == Op::Binary && n.kids.size() == 2 ? compare_jump(n.ops[0]) : Opc::Count;
    if (op == Opc::Count) return emit(Opc::JumpFalse, value(e.tree->root));
    const int32_t l = value(n.kids[0]);
    if (!runs_nothing(n.kids[1]) && is_temp_reg(l)) emit(Opc::Hold, l);
    const int32_t r = value(n.kids[1]);
    return emit(op, l, r, 0, 0, fold_stmt());
  }

  static Opc compare_jump(Bin b)
  {
    switch (b) {
      case Bin::Lt: return Opc::JumpNotLt;
      case Bin::Le: return Opc::JumpNotLe;
      case Bin::Gt: return Opc::JumpNotGt;
      case Bin::Ge: return Opc::JumpNotGe;
      default: return Opc::Count;
    }
  }

  void if_stmt(const Stmt& s)
  {
    std::vector<size_t> ends;
    for (const Branch& b : s.branches) {
      stmt_start(b.cond.pos);
      const size_t next = jump_unless(b.cond);
      block(b.body);
      ends.push_back(emit(Opc::Jump));
      patch(next);
    }
    block(s.otherwise);
    for (size_t at : ends) patch(at);
  }

  void close_loop(LoopCtx& l, int32_t loop_target)
  {
    for (size_t at : l.exits) patch(at);
    for (size_t at : l.loops) code_->ins[at].d = loop_target;
  }

  void while_stmt(const Stmt& s)
  {
    const Branch& b = s.branches[0];
    const int32_t top = here();
    stmt_start(b.cond.pos);
    const size_t out = jump_unless(b.cond);
    loops_.push_back(LoopCtx{{}, {}, seq_depth_});
    block(b.body);
    emit(Opc::Jump, 0, 0, 0, top);
    patch(out);
    LoopCtx l = std::move(loops_.back());
    loops_.pop_back();
    close_loop(l, top);
  }

  // A register that names the same record at every turn: a LOCAL, a
  // STATIC or a literal.
  bool stays_put(int32_t r) const { return r < next_local_; }

  struct ForRegs {
    int32_t var, limit, step;
  };

  ForRegs for_operands(const Stmt& s)
  {
    ForRegs f;
    f.var = lvalue_of(s.target);
    f.limit = expr(s.limit);
    f.step = s.step ? expr(s.step) : preload(ONE_VAR);
    return f;
  }

  int32_t lvalue_of(const Expr& e)
  {
    tree_ = e.tree.get();
    return lvalue(e.tree->root);
  }

  // FOR v := start TO limit STEP step: the limit and step are evaluated at
  // every test; the loop runs while v has not passed the limit in the
  // step's direction.  When v, limit and step are LOCALs, STATICs or
  // literals, the end of each turn is one instruction.
  void for_stmt(const Stmt& s)
  {
    stmt_start(s.pos);
    const int32_t start = expr(s.expr);
    if (is_temp_reg(start)) emit(Opc::Hold, start);
    emit(Opc::Assign, lvalue_of(s.target), start);
    stmt_start(s.pos);
    const ForRegs first = for_operands(s);
    const bool fused = stays_put(first.var) && stays_put(first.limit) && stays_put(first.step);
    const size_t enter = emit(Opc::ForTest, first.var, first.limit, first.step);
    const size_t out = emit(Opc::Jump);
    const int32_t body = here();
    code_->ins[enter].d = body;
    loops_.push_back(LoopCtx{{}, {}, seq_depth_});
    block(s.body);
    const int32_t next = here();
    if (fused) {
      // The turn's statement boundary is the ForNext's own.
      const Ins& head = code_->ins[static_cast<size_t>(body)];
      const bool skip = head.op == Opc::Stmt;
      emit(Opc::ForNext, first.var, first.limit, first.step, skip ? body + 1 : body,
           skip ? head.d : s.pos.line);
    } else {
      stmt_start(s.pos);
      const ForRegs f = for_operands(s);
      emit(Opc::ForStep, f.var, f.limit, f.step, body);
    }
    patch(out);
    LoopCtx l = std::move(loops_.back());
    loops_.pop_back();
    close_loop(l, next);
  }

  // EXIT and LOOP leave the sequences opened inside the loop first.
  void leave(const Stmt& s)
  {
    stmt_start(s.pos);
    LoopCtx& l = loops_.back();
    for (int32_t k = seq_depth_; k > l.seq_depth; --k) emit(Opc::SeqEnd, 0, 0, 0, 0, open_seqs_[static_cast<size_t>(k) - 1]);
    const size_t at = emit(Opc::Jump);
    (s.kind == Kind::Exit ? l.exits : l.loops).push_back(at);
  }
  std::vector<int32_t> open_seqs_;

  void sequence(const Stmt& s)
  {
    stmt_start(s.pos);
    const int32_t k = code_->nseqs++;
    const int32_t value_reg = alloc();
    base_ = top_;  // the BREAK value's register outlives the body's statements
    const bool using_var = !s.recover_var.empty();
    const size_t begin = emit(Opc::SeqBegin, value_reg, using_var ? 1 : 0, 0, 0, k);
    open_seqs_.push_back(k);
    ++seq_depth_;
    block(s.body);
    --seq_depth_;
    open_seqs_.pop_back();
    const size_t over = emit(Opc::Jump);
    patch(begin);
    if (using_var) {
      top_ = base_;
      emit(Opc::Assign, name_ref(s.recover_var, true), value_reg);
    }
    block(s.otherwise);
    patch(over);
    base_ = value_reg;
    emit(Opc::SeqEnd, 0, 0, 0, 0, k);
  }

  void break_stmt(const Stmt& s)
  {
    stmt_start(s.pos);
    const int32_t mark = top_;
    int32_t argc = 0;
    if (s.expr) {
      into(expr(s.expr), mark);
      emit(Opc::ArgCopy, mark);
      argc = 1;
    }
    emit_call(result_reg(mark + argc), "break", mark, argc);
  }

  void return_stmt(const Stmt& s)
  {
    stmt_start(s.pos);
    if (s.expr) {
      const int32_t r = expr(s.expr);
      emit(Opc::Return, r, 0, 0, 0, fold_stmt());
    } else {
      emit(Opc::ReturnNil, 0, 0, 0, 0, fold_stmt());
    }
  }

  void eval_stmt(const Stmt& s)
  {
    stmt_start(s.pos);
    const int32_t r = expr(s.expr);
    if (sh_.echo && is_main_ && !is_command(s)) emit(Opc::Echo, r);
  }

  // Whether an expression statement is a command the parser lowered to a
  // call (? x is QOUT(x)): the text at the statement does not start with
  // the name of the function called.
  bool is_command(const Stmt& s) const
  {
    const Node& root = s.expr.tree->nodes[static_cast<size_t>(s.expr.tree->root)];
    if (root.op != Op::Call) return false;
    const auto& lines = sh_.unit->lines;
    if (s.pos.line < 1 || static_cast<size_t>(s.pos.line) > lines.size()) return false;
    const std::string& text = lines[static_cast<size_t>(s.pos.line) - 1];
    const size_t at = s.pos.col > 0 ? static_cast<size_t>(s.pos.col) - 1 : 0;
    if (at + root.name.size() > text.size()) return true;
    for (size_t k = 0; k < root.name.size(); ++k)
      if (std::tolower(static_cast<unsigned char>(text[at + k])) != root.name[k]) return true;
    return false;
  }

  void statement(const Stmt& s)
  {
    switch (s.kind) {
      case Kind::Eval: return eval_stmt(s);
      case Kind::Local:
        if (sh_.top_level && is_main_) return memvars(s, false);
        return locals(s);
      case Kind::Static: return statics(s);
      case Kind::Private: return memvars(s, false);
      case Kind::Public: return memvars(s, true);
      case Kind::Parameters: return parameters(s);
      case Kind::Memvar: return declarations(s, Sym::Memvar);
      case Kind::Field: return declarations(s, Sym::Field);
      case Kind::If: return if_stmt(s);
      case Kind::While: return while_stmt(s);
      case Kind::For: return for_stmt(s);
      case Kind::Exit:
      case Kind::Loop:
        if (loops_.empty()) return sh_.fail(s.pos, "EXIT or LOOP outside a loop");
        return leave(s);
      case Kind::Sequence: return sequence(s);
      case Kind::Break: return break_stmt(s);
      case Kind::Return: return return_stmt(s);
      case Kind::Quit:
        stmt_start(s.pos);
        emit(Opc::Quit);
        return;
    }
  }
};

Code* new_code(Image& image, const std::string& name, const char* file, int32_t line)
{
  auto code = std::make_unique<Code>();
  code->name = name;
  code->file = file;
  code->line = line;
  Code* c = code.get();
  image.codes.push_back(std::move(code));
  return c;
}

// The expression trees of a statement list move into the image, so that
// the literal records the code points to live as long as the code.
void keep_trees(Image& image, Block& b)
{
  auto keep = [&](Expr& e) {
    if (e.tree) image.trees.push_back(std::move(e.tree));
  };
  for (Stmt& s : b) {
    keep(s.expr), keep(s.target), keep(s.limit), keep(s.step);
    for (Var& v : s.vars) {
      keep(v.init);
      for (Expr& d : v.dims) keep(d);
    }
    for (Branch& br : s.branches) {
      keep(br.cond);
      keep_trees(image, br.body);
    }
    keep_trees(image, s.body);
    keep_trees(image, s.otherwise);
  }
}

}  // namespace

Image::~Image()
{
  for (var* v : records) {
    v->Flags &= static_cast<uint8_t>(~VF_STATIC);
    del_var(v);
  }
}

bool compile_units(Image& image, std::vector<Unit>& units, bool top_level, bool echo,
                   Compiled& out, Diagnostic& diag)
{
  Shared sh{image, image.functions, {}, {}, nullptr, &diag};
  sh.top_level = top_level;
  sh.echo = echo;
  // Every function first, so that calls resolve whatever the order.
  std::vector<std::vector<Code*>> codes(units.size());
  std::vector<std::unordered_map<std::string, Code*>> statics(units.size());
  // A file's implicit main procedure takes the file's name only when no
  // function declares it: fib.prg may hold FUNCTION fib.
  std::vector<std::pair<std::string, Code*>> implicit_mains;
  for (size_t u = 0; u < units.size(); ++u) {
    sh.unit = &units[u];
    image.files.push_back(units[u].file);
    const char* file = image.files.back().c_str();
    for (const Func& f : units[u].funcs) {
      Code* c = new_code(image, f.name, file, f.pos.line);
      codes[u].push_back(c);
      auto& table = f.is_static ? statics[u] : sh.functions;
      const bool prompt_main = top_level && u == 0 && &f == &units[u].funcs.front();
      if (prompt_main) continue;
      if (f.implicit) {
        implicit_mains.emplace_back(f.name, c);
        continue;
      }
      if (!table.emplace(f.name, c).second) {
        sh.fail(f.pos, "function " + f.name + " defined twice");
        return false;
      }
      if (!f.is_static) out.publics.emplace_back(f.name, c);
    }
  }
  for (auto& [name, c] : implicit_mains)
    if (sh.functions.emplace(name, c).second) out.publics.emplace_back(name, c);
  for (size_t u = 0; u < units.size(); ++u) {
    sh.unit = &units[u];
    sh.file_statics = statics[u];
    sh.file_names.clear();
    Code* init = new_code(image, "", image.files[image.files.size() - units.size() + u].c_str(), 0);
    FnCompiler(sh, init, nullptr).file_init(units[u].globals);
    init->name = units[u].funcs.empty() ? "" : units[u].funcs[0].name;
    out.inits.push_back(init);
    for (size_t k = 0; k < units[u].funcs.size(); ++k) {
      FnCompiler fc(sh, codes[u][k], nullptr);
      if (u == 0 && k == 0) fc.set_main();
      fc.function(units[u].funcs[k]);
      if (sh.failed) return false;
    }
    if (sh.failed) return false;
    keep_trees(image, units[u].globals);
    for (Func& f : units[u].funcs) keep_trees(image, f.body);
  }
  if (!units.empty() && !codes[0].empty()) out.main = codes[0][0];
  image.functions = std::move(sh.functions);
  return true;
}

}  // namespace vl::prog
