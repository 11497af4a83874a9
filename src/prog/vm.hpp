// vm.hpp -- the compiled form of a program function and the machine that
// runs it.
//
// A function compiles to a vector of instructions over a register file of
// var* pointers, one file per activation, kept in the native stack:
//
//   [params and LOCALs][temporaries][preloads]
//
// A LOCAL or parameter register holds the record vln_local_param gave.  A
// temporary register holds whatever an instruction produced (a temporary,
// a variable's record, a constant).  A preload register is filled at entry:
// a literal's record, a STATIC's record (both fixed for the life of the
// session), or, in a block, a LOCAL of the enclosing function that the
// block captured.  So an instruction reads a constant, a LOCAL, a STATIC
// and an intermediate result the same way, and needs no variant per kind.
//
// Dispatch is direct-threaded: each instruction holds the address of its
// handler inside the machine's loop (computed goto), filled in when the
// function is linked.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "var.h"

namespace vl::prog {

enum class Opc : uint8_t {
  Stmt,       // d: line.  Release the statement's temporaries, deliver events
  Move,       // R[a] = R[b]
  Assign,     // cpy_var(R[a], R[b])
  Hold,       // R[a] = the record held until the statement ends
  ArgCopy,    // R[a] = R[a] by value: a variable or constant is copied
  GetMemvar,  // R[a] = visible record of memvar d
  SetMemvar,  // R[a] = record of memvar d for a write
  GetName,    // R[a] = field d of the selected area, else memvar d
  SetName,    // the same for a write (an unknown memvar becomes PRIVATE)
  GetField,   // R[a] = field d of the selected area, else an error
  Call,       // R[a] = function d (registry index) of R[b..b+c)
  CallName,   // the same; p: the name, resolved at the first call
  CallProg,   // R[a] = compiled function p of R[b..b+c)
  Binary,     // R[a] = R[b] op(d) R[c]; e: assignment flag
  Add, Sub, Mul,  // R[a] = R[b] op R[c] with the number paths inline
  AddTo, SubTo, MulTo,  // the same assigned to the variable R[a]: x := l op r
  Lt, Le, Gt, Ge, // the same for the comparisons
  Not,        // R[a] = .NOT. R[b]
  Negate,     // R[a] = -R[b]
  Step,       // R[a] = ++/--/x++/x-- (d: 0..3) of R[b]
  Index,      // R[a] = R[b][R[c]]
  Array,      // R[a] = {R[b..b+c)}
  Block,      // R[a] = block p capturing R[b..b+c)
  Send,       // R[a] = R[b]:p(R[c..c+d)); e: call form
  SendSet,    // R[a] = R[b]:p := R[c]
  AliasField, // R[a] = alias R[b] -> field p
  PushArea,   // select alias R[b] for an alias->(list); R[a] error flag
  PopArea,    // undo the PushArea
  Macro,      // R[a] = the value of macro text p through the evaluator
  MacroSet,   // R[a] = the record macro text p names for a write
  MacroCall,  // R[a] = the function macro text p names, of R[b..b+c)
  Jump,       // goto d
  JumpFalse,  // if R[a] is false goto d
  JumpNotLt, JumpNotLe, JumpNotGt, JumpNotGe,  // goto d unless R[a] op R[b];
              // e > 0: a statement boundary of line e first
  NumSet,     // R[a] := number formula e (Code::formulas); goto d when done,
              // else go on with the general instructions that follow
  AndJump,    // if R[a] is false: R[a] = FALSE_VAR, goto d
  OrJump,     // if R[a] is true: R[a] = TRUE_VAR, goto d
  ForNext,    // end of a statement, then ForStep (operands that stay put);
              // a turn goes on with line e
  ForStep,    // R[a] += R[c], then ForTest
  ForTest,    // goto d while R[a] has not passed R[b] in the direction of R[c]
  Declare,    // PRIVATE memvar d
  Public,     // PUBLIC memvar d
  MacroDecl,  // PRIVATE (e 0) or PUBLIC (e 1) of the name text p
  Param,      // PARAMETERS: argument e becomes PRIVATE memvar d
  Once,       // goto d when flag e of the function is set; else set it
  SeqBegin,   // sequence e begins; a BREAK goes to d, its value in R[a] when b
  SeqEnd,     // sequence e ends
  Echo,       // print R[a] as ? shows it (prompt statements)
  Return,     // return R[a]; e > 0: events and line e first
  ReturnNil,  // return NIL; the same
  Quit,       // end the run
  Count
};

struct Code;

// One instruction: the handler address, three register operands, two
// integer operands and a pointer operand, as the opcode uses them.
struct Ins {
  const void* addr = nullptr;
  Opc op = Opc::Stmt;
  int32_t a = 0, b = 0, c = 0;
  int32_t d = 0, e = 0;
  const void* p = nullptr;
};

// A preload register's source: a fixed record, or capture k of a block.
struct Preload {
  var* rec = nullptr;
  int32_t capture = -1;
};

// One step of a number formula.  The formula works on an accumulator
// and a stack: Load sets the accumulator to register reg, PushLoad pushes
// the accumulator first; AddReg, SubReg and MulReg combine it with register
// reg (acc = acc op R[reg]); AddPop, SubPop and MulPop with the value they
// pop (acc = popped op acc).  The first step's reg is the count of the
// steps that follow.
struct FormulaItem {
  enum Kind : int32_t { Load, PushLoad, AddReg, SubReg, MulReg, AddPop, SubPop, MulPop } kind;
  int32_t reg;
};

// The most values a formula holds at once, and the most items it has.
constexpr int kFormulaDepth = 8;
constexpr int kFormulaItems = 24;

// A compiled function or block body.
struct Code {
  std::string name;          // lower case; a block has its function's
  const char* file = "";     // for the frame (the session keeps the text)
  int32_t line = 0;
  bool is_block = false;
  bool top_level = false;    // prompt code: runs in the caller's frame
  int32_t nparams = 0;       // parameter registers come first
  int32_t nlocals = 0;       // LOCAL registers after them
  int32_t nregs = 0;
  int32_t preload_base = 0;
  int32_t nseqs = 0;         // BEGIN SEQUENCE statements (their indices)
  std::vector<Preload> preloads;
  std::vector<var*> preload_recs;  // linked: the records (null for captures)
  std::vector<int32_t> capture_regs;  // linked: register of capture k
  std::vector<Ins> ins;
  std::vector<FormulaItem> formulas;
  std::vector<uint8_t> once;  // run-once flags (STATIC initialisers)
  std::deque<std::string> texts;  // names the instructions point to (stable)
  bool linked = false;
};

// Run a compiled function: the frame, the registers, the instructions.
// avec is a block's detached variables (null for a function).  Top-level
// code opens no frame: it runs in the current one (there must be one), so
// that the PRIVATEs it declares outlive it; its result is left on the
// temporary stack for the caller to release.
var* vm_run(Code* code, int argc, var** argv, var** avec);

// How many alias->(list) selections are open; and closing those above
// depth, innermost first (after a jump that skipped their ends).
int32_t vm_area_depth();
void vm_restore_areas(int32_t depth);

// The 'B' block function every compiled block uses: avec[0] holds the Code
// (as an internal slot), the captured records follow.
var* vm_block_entry(int argc, var** argv, var** avec);

}  // namespace vl::prog
