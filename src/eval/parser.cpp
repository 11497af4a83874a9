// parser.cpp -- compiles expression text into a Program.
//
// Precedence, lowest first:
//   list ","  <  ":=" and compound assignment (right)  <  .OR.  <  .AND.
//   <  .NOT. / "!"  <  = == != # <> < <= > >= $  <  + -  <  * / %
//   <  ** ^  <  unary - + ++ --  <  postfix [i] [i,j] :msg :msg() ++ --
// Primaries: literals, names, ( list ), {array}, {|params| list} blocks,
// calls with omitted arguments, IIF/IF with lazy branches, and the alias
// forms alias->name, (expr)->name, n->name, alias->(list), M->name,
// MEMVAR->name, FIELD->name, _FIELD->name.
#include <algorithm>
#include <cctype>
#include <cstring>

#include "errcodes.h"
#include "exprtree.hpp"
#include "kernel.h"
#include "scanner.hpp"

extern "C" {
uint64_t vln_expr_compile_count = 0;
}

namespace vl::expr {

namespace {

constexpr size_t kMaxArgs = 255;
// Deeper nesting than this is refused rather than risking the stack.
constexpr int kMaxNesting = 200;
// Nodes reserved before parsing, at most: a short text's whole tree.
constexpr size_t kNodesReserved = 32;

// Binding powers.
enum Bp : int {
  kBpAssign = 2,
  kBpOr = 3,
  kBpAnd = 4,
  kBpNot = 5,
  kBpRel = 6,
  kBpAdd = 7,
  kBpMul = 8,
  kBpPow = 9,
  kBpUnary = 10,
  kBpPostfix = 11
};

struct Infix {
  Tok tok;
  int bp;
  Bin bin;
};

constexpr Infix kBinary[] = {
    {Tok::Eq, kBpRel, Bin::Eq},     {Tok::EqEq, kBpRel, Bin::EqEq}, {Tok::Ne, kBpRel, Bin::Ne},
    {Tok::Lt, kBpRel, Bin::Lt},     {Tok::Le, kBpRel, Bin::Le},     {Tok::Gt, kBpRel, Bin::Gt},
    {Tok::Ge, kBpRel, Bin::Ge},     {Tok::Dollar, kBpRel, Bin::In}, {Tok::Plus, kBpAdd, Bin::Add},
    {Tok::Minus, kBpAdd, Bin::Sub}, {Tok::Star, kBpMul, Bin::Mul},  {Tok::Slash, kBpMul, Bin::Div},
    {Tok::Percent, kBpMul, Bin::Mod}, {Tok::Power, kBpPow, Bin::Pow},
};

constexpr Infix kCompound[] = {
    {Tok::Assign, kBpAssign, Bin::None},  {Tok::PlusEq, kBpAssign, Bin::Add},
    {Tok::MinusEq, kBpAssign, Bin::Sub},  {Tok::StarEq, kBpAssign, Bin::Mul},
    {Tok::SlashEq, kBpAssign, Bin::Div},  {Tok::PercentEq, kBpAssign, Bin::Mod},
    {Tok::PowerEq, kBpAssign, Bin::Pow},
};

bool is_target(const Node& n)
{
  switch (n.op) {
    case Op::Name: case Op::Param: case Op::Memvar: case Op::Field: case Op::AliasField:
    case Op::Index:
      return true;
    case Op::Send:
      return !n.flag;
    default:
      return false;
  }
}

class Parser {
 public:
  Parser(const std::string& text, Program& prog) : text_(text), scan_(text), prog_(prog) {}
  Parser(const std::string& text, Program& prog, size_t start, bool macros)
      : text_(text), scan_(text, start, macros), prog_(prog), macros_(macros)
  {
  }

  // Parse the whole text; false on a syntax error (code_, message_ set).
  bool parse(bool as_block)
  {
    advance(true);
    if (as_block && tok_.kind == Tok::LBrace) {
      int32_t body = -1;
      if (!block_header(prog_.params) || !list_until(Tok::RBrace, body)) return false;
      prog_.is_block = true;
      prog_.root = body;
    } else {
      prog_.root = list(Tok::End);
      if (prog_.root < 0) return false;
    }
    if (tok_.kind != Tok::End) return fail("unexpected text after the expression");
    return true;
  }

  // Parse from the start offset up to the first token that cannot continue
  // the expression; end is that token's offset.  False on a syntax error.
  bool parse_prefix(bool as_list, size_t& end)
  {
    advance(true);
    prog_.root = as_list ? list(Tok::End) : expression(0);
    if (prog_.root < 0) return false;
    if (tok_.kind == Tok::Bad) return fail("");
    end = tok_.pos;
    return true;
  }

  int code_ = 0;
  std::string message_;
  std::string what_;        // message_ without the position and the text
  size_t error_pos_ = 0;    // offset of the token at fault

 private:
  void advance(bool operand) { tok_ = scan_.next(operand); }

  // The first error wins.  A token the scanner could not read says why
  // itself (an unterminated string); a "&" left after expansion names the
  // macro that did not expand.
  bool fail(const std::string& what, int code = VL_E_SYNTAX)
  {
    if (code_) return false;
    error_pos_ = tok_.pos;
    what_ = tok_.kind == Tok::Bad ? tok_.text : what;
    code_ = tok_.kind == Tok::Macro && !macros_ ? VL_E_ILLEGAL_OP : code;
    if (code_ == VL_E_ILLEGAL_OP) {
      message_ = "macro not allowed: " + unexpanded_macro() + " in: " + text_;
      return false;
    }
    message_ = (tok_.kind == Tok::Bad ? tok_.text : what) + " at position " +
               std::to_string(tok_.pos + 1) + " in: " + text_;
    return false;
  }

  // "&name does not expand to a text," for the "&" at the current token.
  std::string unexpanded_macro() const
  {
    size_t end = tok_.pos + 1;
    while (end < text_.size() &&
           (std::isalnum(static_cast<unsigned char>(text_[end])) || text_[end] == '_'))
      ++end;
    if (end == tok_.pos + 1) return "'&' without a variable name,";
    return text_.substr(tok_.pos, end - tok_.pos) + " does not name a character variable,";
  }

  // what is the token expected, as the message shows it ("')'").
  bool expect(Tok kind, const char* what, bool operand_next = false)
  {
    if (tok_.kind != kind)
      return fail(std::string(tok_.kind == Tok::End ? "missing " : "expected ") + what);
    advance(operand_next);
    return true;
  }

  static const char* closer(Tok close)
  {
    switch (close) {
      case Tok::RParen: return "')'";
      case Tok::RBrace: return "'}'";
      default: return "']'";
    }
  }

  int32_t add(Node n)
  {
    prog_.nodes.push_back(std::move(n));
    return static_cast<int32_t>(prog_.nodes.size() - 1);
  }

  Node& at(int32_t i) { return prog_.nodes[static_cast<size_t>(i)]; }

  // An expression list up to (not consuming) the closing token.
  int32_t list(Tok close)
  {
    Node n;
    n.op = Op::List;
    for (;;) {
      const int32_t e = expression(0);
      if (e < 0) return -1;
      n.kids.push_back(e);
      if (tok_.kind != Tok::Comma) break;
      advance(true);
    }
    if (tok_.kind != close && close != Tok::End) return expect(close, closer(close)), -1;
    return n.kids.size() == 1 ? n.kids[0] : add(std::move(n));
  }

  bool list_until(Tok close, int32_t& out)
  {
    out = list(close);
    return out >= 0 && expect(close, closer(close));
  }

  int32_t expression(int min_bp)
  {
    if (++depth_ > kMaxNesting) return fail("expression nested too deeply"), -1;
    const int32_t r = expression_at(min_bp);
    --depth_;
    return r;
  }

  int32_t expression_at(int min_bp)
  {
    int32_t left = prefix();
    bool more = true;
    while (left >= 0 && more) left = infix(left, min_bp, more);
    return left;
  }

  int32_t unary(Op op, int bp)
  {
    advance(true);
    const int32_t operand = expression(bp);
    if (operand < 0) return -1;
    if ((op == Op::PreInc || op == Op::PreDec) && !is_target(at(operand)))
      return fail("++ or -- needs a variable"), -1;
    Node n;
    n.op = op;
    n.a = operand;
    return add(std::move(n));
  }

  int32_t prefix()
  {
    switch (tok_.kind) {
      case Tok::Not: return unary(Op::Not, kBpNot);
      case Tok::Minus: return unary(Op::Negate, kBpUnary);
      case Tok::Plus: return unary(Op::UnaryPlus, kBpUnary);
      case Tok::Inc: return unary(Op::PreInc, kBpUnary);
      case Tok::Dec: return unary(Op::PreDec, kBpUnary);
      case Tok::At: return by_ref();
      default: return postfix(primary());
    }
  }

  int32_t by_ref()
  {
    advance(true);
    if (tok_.kind != Tok::Name) return fail("@ needs a variable name"), -1;
    const int32_t target = name_primary();
    if (target < 0) return -1;
    Node n;
    n.op = Op::ByRef;
    n.a = target;
    return add(std::move(n));
  }

  int32_t literal(var* v)
  {
    v->Flags |= VF_STATIC | VF_LITERAL;
    Node n;
    n.op = Op::Literal;
    n.lit = v;
    advance(false);
    return add(std::move(n));
  }

  int32_t primary()
  {
    switch (tok_.kind) {
      case Tok::Number: {
        var* v = mak_var('C', 'N');
        v->Length = -1;
        v->Value.w1.d = tok_.number;
        v->Decimals = static_cast<uint8_t>(tok_.decimals);
        return literal(v);
      }
      case Tok::String: {
        var* v = mak_chrvar(tok_.text.c_str(), 0);
        v->Mode = 'C';
        return literal(v);
      }
      case Tok::True:
      case Tok::False: {
        var* v = mak_var('C', 'L');
        v->Length = 1;
        v->Value.w1.i = tok_.kind == Tok::True;
        return literal(v);
      }
      case Tok::Name: return name_primary();
      case Tok::LParen: return paren();
      case Tok::LBrace: return brace();
      case Tok::Macro:
        if (macros_) return macro_primary();
        return fail("unexpected symbol"), -1;
      default:
        return fail(tok_.kind == Tok::End ? "incomplete expression" : "unexpected symbol"), -1;
    }
  }

  int32_t paren()
  {
    advance(true);
    int32_t inner = -1;
    if (!list_until(Tok::RParen, inner)) return -1;
    return maybe_alias(inner);
  }

  // (expr)->name and (expr)->(list)
  int32_t maybe_alias(int32_t alias_expr)
  {
    if (tok_.kind != Tok::Arrow) return alias_expr;
    advance(true);
    return alias_target(alias_expr, "");
  }

  int32_t alias_target(int32_t alias_expr, const std::string& alias_text)
  {
    Node n;
    n.a = alias_expr;
    n.name2 = alias_text;
    if (tok_.kind == Tok::LParen) {
      advance(true);
      int32_t body = -1;
      if (!list_until(Tok::RParen, body)) return -1;
      n.op = Op::AliasList;
      n.b = body;
      return add(std::move(n));
    }
    if (tok_.kind != Tok::Name) return fail("expected a field name after ->"), -1;
    n.op = Op::AliasField;
    n.name = tok_.text;
    advance(false);
    return add(std::move(n));
  }

  int32_t name_primary()
  {
    const std::string name = tok_.text;
    advance(false);
    if (tok_.kind == Tok::LParen) return call(name);
    if (tok_.kind == Tok::Arrow) {
      advance(true);
      return named_alias(name);
    }
    Node n;
    for (size_t i = 0; i < prog_.params.size(); ++i)
      if (prog_.params[i] == name) {
        n.op = Op::Param;
        n.slot = static_cast<int32_t>(i);
        return add(std::move(n));
      }
    if (name == "nil") {
      n.op = Op::Literal;
      n.lit = NIL_VAR;
      return add(std::move(n));
    }
    n.op = Op::Name;
    n.name = name;
    return add(std::move(n));
  }

  // "&name": a Name node with the macro text, or a Call so named.
  int32_t macro_primary()
  {
    Node n;
    n.op = Op::Name;
    n.name = tok_.text;
    advance(false);
    if (tok_.kind == Tok::LParen) return call(n.name);
    return add(std::move(n));
  }

  int32_t named_alias(const std::string& alias)
  {
    Node n;
    if (alias == "m" || alias == "memvar")
      n.op = Op::Memvar;
    else if (alias == "field" || alias == "_field")
      n.op = Op::Field;
    else if (alias == "_l" || alias == "_s" || alias == "_p")
      n.op = Op::NoDebugInfo;
    else
      return alias_target(-1, alias);
    if (tok_.kind != Tok::Name) return fail("expected a name after ->"), -1;
    n.name = tok_.text;
    n.name2 = alias;
    advance(false);
    return add(std::move(n));
  }

  bool arguments(Tok close, std::vector<int32_t>& kids)
  {
    advance(true);
    if (tok_.kind == close) {
      advance(false);
      return true;
    }
    for (;;) {
      if (tok_.kind == Tok::Comma || tok_.kind == close) {
        kids.push_back(-1);  // an omitted argument
      } else {
        const int32_t e = expression(kBpAssign);
        if (e < 0) return false;
        kids.push_back(e);
      }
      if (kids.size() > kMaxArgs) return fail("too many arguments");
      if (tok_.kind == close) break;
      if (tok_.kind == Tok::End) return expect(close, closer(close));
      if (!expect(Tok::Comma, "',' between arguments", true)) return false;
    }
    advance(false);
    return true;
  }

  int32_t call(const std::string& name)
  {
    Node n;
    n.op = (name == "iif" || name == "if") ? Op::Iif : Op::Call;
    n.name = name;
    if (!arguments(Tok::RParen, n.kids)) return -1;
    if (n.op == Op::Iif && (n.kids.size() != 3 || n.kids[0] < 0))
      return fail("IIF needs three arguments"), -1;
    return add(std::move(n));
  }

  bool block_header(std::vector<std::string>& params)
  {
    advance(false);  // past "{"
    if (!expect(Tok::Bar, "'|'")) return false;
    while (tok_.kind == Tok::Name) {
      params.push_back(tok_.text);
      advance(false);
      if (tok_.kind != Tok::Comma) break;
      advance(false);
    }
    return expect(Tok::Bar, "'|' closing the parameters", true);
  }

  int32_t brace()
  {
    const size_t start = tok_.pos;
    // "{|" opens a block, anything else an array.
    size_t after = start + 1;
    while (after < text_.size() && text_[after] == ' ') ++after;
    if (after < text_.size() && text_[after] == '|') return block(start);
    Node n;
    n.op = Op::ArrayLit;
    if (!arguments(Tok::RBrace, n.kids)) return -1;
    return add(std::move(n));
  }

  // A block inside an expression: checked here, compiled on its own when it
  // runs, so the node keeps its text.
  int32_t block(size_t start)
  {
    // The block's own parameters are the only ones its body sees.
    std::vector<std::string> params;
    std::swap(params, prog_.params);
    bool ok = block_header(prog_.params);
    int32_t body = -1;
    ok = ok && list_until(Tok::RBrace, body);
    Node n;
    n.op = Op::BlockLit;
    n.slot = static_cast<int32_t>(prog_.params.size());
    std::swap(params, prog_.params);
    if (!ok) return -1;
    const size_t end = tok_.kind == Tok::End ? text_.size() : tok_.pos;
    n.name = trim_block_text(start, end);
    return add(std::move(n));
  }

  // The text from "{" to its "}", the scanner having moved past it.
  std::string trim_block_text(size_t start, size_t end)
  {
    size_t close = end;
    while (close > start && text_[close - 1] != '}') --close;
    return text_.substr(start, close - start);
  }

  // Each step of a postfix chain nests one level deeper when it runs, so
  // the chain counts toward the nesting limit.
  int32_t postfix(int32_t left)
  {
    const int outer = depth_;
    left = postfix_steps(left);
    depth_ = outer;
    return left;
  }

  int32_t postfix_steps(int32_t left)
  {
    while (left >= 0) {
      if (is_postfix(left) && ++depth_ > kMaxNesting)
        return fail("expression nested too deeply"), -1;
      if (tok_.kind == Tok::LBracket) {
        left = subscript(left);
      } else if (tok_.kind == Tok::Colon) {
        left = send(left);
      } else if (tok_.kind == Tok::Inc || tok_.kind == Tok::Dec) {
        if (!is_target(at(left))) return left;
        Node n;
        n.op = tok_.kind == Tok::Inc ? Op::PostInc : Op::PostDec;
        n.a = left;
        advance(false);
        left = add(std::move(n));
      } else if (tok_.kind == Tok::Arrow && at(left).op == Op::Literal) {
        advance(true);
        left = alias_target(left, "");
      } else {
        return left;
      }
    }
    return left;
  }

  int32_t subscript(int32_t base)
  {
    Node n;
    n.op = Op::Index;
    n.a = base;
    advance(true);
    for (;;) {
      const int32_t e = expression(kBpAssign);
      if (e < 0) return -1;
      n.kids.push_back(e);
      if (tok_.kind != Tok::Comma) break;
      advance(true);
    }
    if (!expect(Tok::RBracket, closer(Tok::RBracket))) return -1;
    return add(std::move(n));
  }

  int32_t send(int32_t object)
  {
    advance(false);
    if (tok_.kind != Tok::Name && !(macros_ && tok_.kind == Tok::Macro))
      return fail("expected a message name after ':'"), -1;
    Node n;
    n.op = Op::Send;
    n.a = object;
    n.name = tok_.whole;
    advance(false);
    if (tok_.kind == Tok::LParen) {
      n.flag = true;
      if (!arguments(Tok::RParen, n.kids)) return -1;
    }
    return add(std::move(n));
  }

  bool is_postfix(int32_t left)
  {
    switch (tok_.kind) {
      case Tok::LBracket: case Tok::Colon: return true;
      case Tok::Inc: case Tok::Dec: return is_target(at(left));
      case Tok::Arrow: return at(left).op == Op::Literal;
      default: return false;
    }
  }

  // The binding power of a Binary node's operators.
  static int level(Bin bin)
  {
    for (const Infix& c : kBinary)
      if (c.bin == bin) return c.bp;
    return 0;
  }

  // A left operand of the same left-associative level takes the right
  // operand into its own list: "a + b - c" is one node [a, b, c] with the
  // operators [+, -], run left to right exactly as ((a + b) - c).
  int32_t chain(int32_t left, Op op, Bin bin, int32_t right)
  {
    Node& l = at(left);
    if (l.op == op && (op != Op::Binary || level(l.ops[0]) == level(bin))) {
      l.kids.push_back(right);
      if (op == Op::Binary) l.ops.push_back(bin);
      return left;
    }
    Node n;
    n.op = op;
    n.kids = {left, right};
    if (op == Op::Binary) n.ops = {bin};
    return add(std::move(n));
  }

  // One infix step; more becomes false when the next token binds less than
  // min_bp and left is the whole expression.
  int32_t infix(int32_t left, int min_bp, bool& more)
  {
    more = false;
    for (const Infix& c : kCompound)
      if (tok_.kind == c.tok) {
        if (c.bp < min_bp) return left;
        if (!is_target(at(left))) return fail("assignment needs a variable"), -1;
        advance(true);
        const int32_t value = expression(c.bp);  // right-associative
        if (value < 0) return -1;
        Node n;
        n.op = Op::Assign;
        n.bin = c.bin;
        n.a = left;
        n.b = value;
        more = true;
        return add(std::move(n));
      }
    if (tok_.kind == Tok::Or || tok_.kind == Tok::And) {
      const int bp = tok_.kind == Tok::Or ? kBpOr : kBpAnd;
      if (bp <= min_bp) return left;
      const Op op = tok_.kind == Tok::Or ? Op::Or : Op::And;
      advance(true);
      const int32_t right = expression(bp);
      if (right < 0) return -1;
      more = true;
      return chain(left, op, Bin::None, right);
    }
    for (const Infix& c : kBinary)
      if (tok_.kind == c.tok) {
        if (c.bp <= min_bp) return left;
        advance(true);
        const int32_t right = expression(c.bp);
        if (right < 0) return -1;
        more = true;
        return chain(left, Op::Binary, c.bin, right);
      }
    return left;
  }

  const std::string& text_;
  Scanner scan_;
  Program& prog_;
  Token tok_;
  int depth_ = 0;
  bool macros_ = false;
};

}  // namespace

Program::~Program()
{
  for (Node& n : nodes)
    if (n.op == Op::Literal && n.lit && n.lit != NIL_VAR) {
      n.lit->Flags &= static_cast<uint8_t>(~VF_STATIC);
      n.lit->Mode = 'N';
      del_var(n.lit);
    }
}

Compiled compile(const std::string& text, bool as_block)
{
  ++vln_expr_compile_count;
  auto* prog = new Program;
  // Growing the node vector step by step moves every node at each step;
  // a short text's nodes fit in one allocation (a node takes a byte of
  // text or more).
  prog->nodes.reserve(std::min(text.size(), kNodesReserved));
  Parser parser(text, *prog);
  if (parser.parse(as_block)) return Compiled{prog, 0, {}};
  delete prog;
  return Compiled{nullptr, parser.code_, parser.message_};
}

}  // namespace vl::expr

namespace vl::expr {

PrefixCompiled compile_prefix(const std::string& text, size_t start, PrefixMode mode)
{
  ++vln_expr_compile_count;
  auto* prog = new Program;
  Parser parser(text, *prog, start, mode.macros);
  PrefixCompiled out;
  if (parser.parse_prefix(mode.list, out.end)) {
    out.program = prog;
    return out;
  }
  delete prog;
  out.code = parser.code_;
  out.message = parser.what_;
  out.error_pos = parser.error_pos_;
  return out;
}

}  // namespace vl::expr
