// ast.hpp -- the parsed form of a program source: functions made of
// statements whose expressions are compiled expression trees.
//
// The parser (parse.hpp) builds it; the compiler (session.hpp) turns it into
// the code it runs and drops it.  Commands of the language (USE, REPLACE,
// LIST, SET ...) never appear here: the parser lowers each to an Eval
// statement whose expression calls the library's functions, so the
// compiler knows only the statements below.
//
// Names in expressions are as the expression parser leaves them: folded to
// lower case and cut to ten significant characters.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "exprtree.hpp"

namespace vl::prog {

// A place in a source: the file's index in the run, line and column from 1.
struct Pos {
  int32_t file = 0;
  int32_t line = 0;
  int32_t col = 0;
};

// One expression: an expression list compiled by the expression parser
// (tree->root is its value).  An absent expression has a null tree.
struct Expr {
  std::unique_ptr<expr::Program> tree;
  Pos pos;
  explicit operator bool() const { return tree != nullptr; }
};

enum class Kind : uint8_t {
  Eval,        // expr: evaluated for its effect (a lowered command too)
  Local,       // vars
  Static,      // vars; at file level they belong to the file
  Private,     // vars; a name may be a macro text "&name"
  Public,      // vars; a name may be a macro text "&name"
  Parameters,  // vars (no initialisers): PRIVATE parameters of the call
  Memvar,      // vars: names that mean memory variables in this function
  Field,       // vars: names that mean fields; alias: FIELD ... IN alias
  If,          // branches (IF/ELSEIF, or the CASEs of DO CASE), otherwise
  While,       // branches[0]: condition and body
  For,         // target := expr TO limit STEP step; body
  Exit,        // leave the innermost DO WHILE or FOR
  Loop,        // next turn of the innermost DO WHILE or FOR
  Sequence,    // body; has_recover, recover_var, otherwise = RECOVER part
  Break,       // expr: the BREAK value (may be absent)
  Return,      // expr: the value (may be absent)
  Quit,        // end the run
};

struct Stmt;
using Block = std::vector<Stmt>;

// A declared name: LOCAL a := 1, b[3, 4].
struct Var {
  std::string name;
  Pos pos;
  Expr init;               // := initialiser, may be absent
  std::vector<Expr> dims;  // a[3, 4]: an array of those dimensions
};

struct Branch {
  Expr cond;
  Block body;
};

struct Stmt {
  Kind kind = Kind::Eval;
  Pos pos;
  Expr expr;                     // Eval, Break, Return; For: the start value
  Expr target;                   // For: the loop variable (a name)
  Expr limit, step;              // For: TO and STEP (step may be absent)
  std::vector<Var> vars;         // declarations
  std::string alias;             // Field: IN alias, else empty
  std::vector<Branch> branches;  // If, While
  Block body;                    // For, Sequence
  Block otherwise;               // If: ELSE / OTHERWISE; Sequence: RECOVER
  bool has_recover = false;      // Sequence: a RECOVER part exists
  std::string recover_var;       // Sequence: RECOVER USING name, else empty
};

// FUNCTION or PROCEDURE.  The statements ahead of a source's first header
// form its main procedure, named after the file (its base name in lower
// case, without extension): implicit is then set.
struct Func {
  std::string name;  // lower case, ten significant characters
  Pos pos;
  bool procedure = false;
  bool is_static = false;  // STATIC FUNCTION: seen only in its own file
  bool implicit = false;
  std::vector<std::string> params;
  Block body;
};

// One source file.  funcs[0] is the file's main procedure: the implicit
// one when statements come before the first header, else the first
// function.  File-wide STATIC and MEMVAR/FIELD declarations (ahead of the
// first header in a file whose first header comes first) are in globals.
struct Unit {
  std::string file;  // as given to the parser
  std::vector<std::string> lines;  // the source lines, for diagnostics
  std::vector<Func> funcs;
  Block globals;
};

// A report of a source that cannot run: where and what.
struct Diagnostic {
  std::string file;
  int32_t line = 0;
  int32_t col = 0;
  std::string message;
  std::string text;  // the source line, for the caret display
};

}  // namespace vl::prog
