// exprtree.hpp -- the compiled form of an expression text.
//
// The parser turns a text into a Program: a flat vector of nodes whose
// children are indices into the same vector, and the literals as records
// the program owns.  A run of left-associative operators of one level
// ("1 + 2 - 3 + ...") is one node with a list of operands, so that neither
// running a long chain nor anything else recurses in proportion to the
// text's length: the depth of the tree is bounded by its nesting.  A Program is compiled once per text and kept in the
// evaluator's cache; running it is a walk over the nodes that calls the
// same operator entry points and language functions generated code calls.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "var.h"

namespace vl::expr {

enum class Op : uint8_t {
  Literal,     // lit
  Name,        // name: block parameter, field of the selected area, memvar
  Param,       // slot: parameter of the block being compiled
  Memvar,      // name: M->name, MEMVAR->name
  Field,       // name: FIELD->name, _FIELD->name
  AliasField,  // a = alias expression or -1 with alias text in name2; name
  AliasList,   // a = alias expression or -1 (alias text in name2); b = list
  NoDebugInfo, // name: _L->, _S->, _P-> (needs debug information)
  Call,        // name; kids = arguments (-1 for an omitted one)
  Iif,         // kids = condition, then, else
  Binary,      // kids = operands, left to right; ops = the operator ahead
               // of each operand after the first (one precedence level)
  And,         // kids = operands (short-circuit, left to right)
  Or,          // kids = operands (short-circuit, left to right)
  Not,         // a
  Negate,      // a
  UnaryPlus,   // a
  Assign,      // bin (Bin::None for :=); a = target, b = value
  PreInc,      // a
  PreDec,      // a
  PostInc,     // a
  PostDec,     // a
  Index,       // a = base; kids = subscripts
  Send,        // a = object; name = message; kids = arguments; flag = call
  ArrayLit,    // kids
  BlockLit,    // name = the block's whole text; slot = parameter count
  List,        // kids: the last value counts
  ByRef,       // a: @name in an argument list
};

enum class Bin : uint8_t {
  None, Add, Sub, Mul, Div, Mod, Pow, Eq, EqEq, Ne, Lt, Le, Gt, Ge, In
};

struct Node {
  Op op = Op::Literal;
  Bin bin = Bin::None;
  bool flag = false;
  int32_t a = -1;
  int32_t b = -1;
  int32_t slot = -1;            // parameter index, count
  mutable int32_t cache = 0;    // memvar or function index once found (+1)
  std::vector<int32_t> kids;
  std::vector<Bin> ops;
  std::string name;
  std::string name2;
  var* lit = nullptr;
};

struct Program {
  std::vector<Node> nodes;
  std::vector<std::string> params;  // block parameters, by position
  int32_t root = -1;
  bool is_block = false;

  Program() = default;
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();
};

// The result of compiling: a program, or the code and text of the error.
struct Compiled {
  Program* program = nullptr;  // owned by the caller
  int code = 0;
  std::string message;
};

// Expand the "&name" references of text into out (trimmed).  Returns 0, or
// the code of the error to report: 314, an endless expansion, or 315, a
// text grown by more than 16 MiB; out then holds the text as far as it was
// expanded.
int expand_macros(const char* text, std::string& out);

// Compile an expression list.  A text of the form "{|p, ...| list}" that
// fills the whole text compiles as a block when as_block is set.
Compiled compile(const std::string& text, bool as_block);

// How compile_prefix reads its text.
struct PrefixMode {
  bool list = true;     // "a, b" is one list; else the first "," ends it
  bool macros = false;  // "&name" and "&name.suffix" allowed (see below)
};

// The result of compile_prefix: a program and the offset just past the
// expression, or the error's code, message (without the text) and offset.
struct PrefixCompiled {
  Program* program = nullptr;  // owned by the caller
  size_t end = 0;
  int code = 0;
  std::string message;
  size_t error_pos = 0;
};

// Compile the expression (or list) that starts at offset start of text and
// stop at the first token that cannot continue it: a name right after a
// complete operand ("i := 1 TO 10" stops at "TO"), a ")" with none open, a
// ";" and so on.  An operand missing where one is needed, or a token the
// scanner cannot read (an unterminated string), is an error.  With macros,
// "&name" (and "&name.suffix") becomes a Name node whose name is that text,
// or a Call node so named when "(" follows, and ":&name" a Send so named:
// the program's compiler expands them when they run.
PrefixCompiled compile_prefix(const std::string& text, size_t start, PrefixMode mode);

}  // namespace vl::expr
