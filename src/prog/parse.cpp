// parse.cpp -- the statement parser: logical lines into functions made of
// statements.
//
// Each logical line is one statement, recognised by its first word (case
// does not matter; a keyword may be cut to four letters or more).  A first
// word followed by an assignment operator, "->", "[" or a ":" message is a
// name in an expression, not a keyword.  Nesting (IF, DO CASE, DO WHILE,
// FOR, BEGIN SEQUENCE) is kept on an explicit stack of open constructs, each
// pointing at the block that receives statements now: a deep nest of
// statements costs no C++ stack, and the depth is capped so that the
// compiler walking the result need not fear it either.  A construct's
// statement lives in its parent block, which does not grow while the
// construct is open, so the pointers stay valid.
#include "parse.hpp"

#include <algorithm>
#include <cctype>

#include "parse_internal.hpp"
#include "scanner.hpp"

namespace vl::prog {

namespace {

using detail::Cursor;
using detail::Failure;
using detail::Logical;

// Deeper nesting of statements than this is refused.
constexpr size_t kMaxNesting = 256;
// format_diagnostic shows a long line as a window this wide round the caret.
constexpr size_t kShownWidth = 160;

enum class Construct { If, Case, While, For, Sequence };

const char* opener(Construct c)
{
  switch (c) {
    case Construct::If: return "IF";
    case Construct::Case: return "DO CASE";
    case Construct::While: return "DO WHILE";
    case Construct::For: return "FOR";
    default: return "BEGIN SEQUENCE";
  }
}

const char* closer(Construct c)
{
  switch (c) {
    case Construct::If: return "ENDIF";
    case Construct::Case: return "ENDCASE";
    case Construct::While: return "ENDDO";
    case Construct::For: return "NEXT";
    default: return "END";
  }
}

struct Open {
  Construct what;
  Stmt* stmt;
  Block* body;  // receives statements now; null between DO CASE and CASE
  bool in_else = false;  // past ELSE, OTHERWISE or RECOVER
  std::string for_var;
};

bool is_name_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

bool is_identifier(const std::string& s)
{
  if (s.empty() || std::isdigit(static_cast<unsigned char>(s[0]))) return false;
  return std::all_of(s.begin(), s.end(), is_name_char);
}

size_t skip_blanks(const std::string& text, size_t i)
{
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  return i;
}

// Whether the text after a statement's first word makes that word a name in
// an expression ("if := 1", "field->x", "local[1]", "o:do()", "next++"); a
// ++ or -- that an operand follows belongs to it ("RETURN ++n").
bool word_is_operand(const std::string& text, size_t after)
{
  if (after < text.size() && text[after] == '[') return true;
  const size_t i = skip_blanks(text, after);
  if (text.compare(i, 2, "++") == 0 || text.compare(i, 2, "--") == 0) {
    const size_t j = skip_blanks(text, i + 2);
    return j == text.size() || !(is_name_char(text[j]) || text[j] == '(' || text[j] == '&');
  }
  static constexpr const char* kFollowers[] = {":=", "+=", "-=", "*=", "/=", "%=", "^=",
                                                "**=", "->"};
  for (const char* f : kFollowers)
    if (text.compare(i, std::char_traits<char>::length(f), f) == 0) return true;
  if (i < text.size() && text[i] == '=' && text.compare(i, 2, "==") != 0) return true;
  return i + 1 < text.size() && text[i] == ':' && (is_name_char(text[i + 1]) || text[i + 1] == '&');
}

class UnitParser {
 public:
  UnitParser(const std::string& file, int32_t index, Unit& unit) : unit_(unit)
  {
    Func main;
    main.pos = Pos{index, 1, 1};
    main.name = main_name(file);
    main.procedure = true;
    main.implicit = true;
    unit_.funcs.push_back(std::move(main));
  }

  void run(const std::vector<Logical>& lines)
  {
    for (const Logical& line : lines) statement(line);
    finish_function();
  }

 private:
  using Handler = void (UnitParser::*)(Cursor&, Stmt&);
  struct Keyword {
    const char* word;
    Handler handler;
  };
  static const Keyword kKeywords[];

  static std::string main_name(const std::string& file)
  {
    size_t start = file.find_last_of("/\\");
    start = start == std::string::npos ? 0 : start + 1;
    std::string base = file.substr(start);
    const size_t dot = base.rfind('.');
    if (dot != std::string::npos && dot > 0) base.resize(dot);
    for (char& c : base) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return base.substr(0, expr::kNameLength);
  }

  Func& func() { return unit_.funcs.back(); }

  Block& current(Cursor& cur)
  {
    if (open_.empty()) return func().body;
    if (!open_.back().body) cur.fail_at(keyword_start(cur), "expected CASE, OTHERWISE or ENDCASE");
    return *open_.back().body;
  }

  void statement(const Logical& line)
  {
    Cursor cur(line);
    Stmt stmt;
    cur.at_end();
    stmt.pos = cur.pos();
    const Handler handler = find_handler(cur);
    const size_t start = cur.offset();
    const std::string word = cur.peek_word();
    // A command word right before "(" is a function call: "select(1)".
    const size_t after = start + word.size();
    const bool command = !word.empty() && !word_is_operand(cur.text(), after) &&
                         (after >= cur.text().size() || cur.text()[after] != '(');
    if (handler) {
      (this->*handler)(cur, stmt);
    } else if (command && detail::lower_command(word, cur, stmt)) {
      add(cur, std::move(stmt));
    } else {
      cur.seek(start);
      expression_statement(cur, stmt);
    }
  }

  // The handler of the statement's keyword (the cursor moved past it), or
  // null for a command or an expression.
  Handler find_handler(Cursor& cur)
  {
    if (cur.accept_text("??")) return &UnitParser::qqout;
    if (cur.accept_text("?")) return &UnitParser::qout;
    const std::string word = cur.peek_word();
    if (word.empty() || word_is_operand(cur.text(), cur.offset() + word.size())) return nullptr;
    for (int pass = 0; pass < 2; ++pass)
      for (const Keyword* k = kKeywords; k->word; ++k)
        if (pass == 0 ? word == k->word : detail::keyword_matches(word, k->word)) {
          cur.seek(cur.offset() + word.size());
          return k->handler;
        }
    return nullptr;
  }

  // Put stmt into the current block; executable unless a declaration.
  Stmt& add(Cursor& cur, Stmt&& stmt)
  {
    Block& block = current(cur);
    const bool declaration = stmt.kind == Kind::Local || stmt.kind == Kind::Static ||
                             stmt.kind == Kind::Memvar || stmt.kind == Kind::Field;
    if (!declaration) exec_seen_ = true;
    block.push_back(std::move(stmt));
    return block.back();
  }

  void open(Cursor& cur, Stmt&& stmt, Construct what, std::string for_var = {})
  {
    if (open_.size() >= kMaxNesting) cur.fail_at(keyword_start(cur), "statements nested too deeply");
    Stmt& s = add(cur, std::move(stmt));
    Block* body = nullptr;
    if (what == Construct::If || what == Construct::While) body = &s.branches.back().body;
    if (what == Construct::For || what == Construct::Sequence) body = &s.body;
    open_.push_back(Open{what, &s, body, false, std::move(for_var)});
  }

  // The innermost construct must be what; word is the statement closing or
  // continuing it.
  Open& innermost(Cursor& cur, Construct what, const char* word, size_t at)
  {
    if (!open_.empty() && open_.back().what == what) return open_.back();
    const bool deeper = std::any_of(open_.begin(), open_.end(),
                                    [&](const Open& o) { return o.what == what; });
    if (!deeper) cur.fail_at(at, std::string(word) + " without " + opener(what));
    const Open& top = open_.back();
    cur.fail_at(at, std::string(opener(top.what)) + " of line " +
                        std::to_string(top.stmt->pos.line) + " needs " + closer(top.what) +
                        " before " + word);
  }

  void close(Cursor& cur, Construct what, const char* word, size_t at)
  {
    innermost(cur, what, word, at);
    open_.pop_back();
    cur.expect_end();
  }

  static size_t keyword_start(const Cursor& cur)
  {
    return cur.text().find_first_not_of(" \t\f\r");
  }

  void finish_function()
  {
    if (!open_.empty()) {
      const Open& o = open_.back();
      throw Failure{o.stmt->pos, std::string(opener(o.what)) + " without " + closer(o.what)};
    }
  }

  // At the first header: statements ahead of it form the implicit main
  // procedure, unless they are only file-wide declarations.
  void first_header()
  {
    Block& body = unit_.funcs.front().body;
    const bool file_wide = std::all_of(body.begin(), body.end(), [](const Stmt& s) {
      return s.kind == Kind::Static || s.kind == Kind::Memvar || s.kind == Kind::Field;
    });
    if (file_wide) {
      unit_.globals = std::move(body);
      unit_.funcs.clear();
    }
  }

  void header(Cursor& cur, Stmt& stmt, bool procedure, bool is_static)
  {
    finish_function();
    if (!header_seen_) first_header();
    header_seen_ = true;
    exec_seen_ = false;
    Func f;
    f.pos = stmt.pos;
    f.procedure = procedure;
    f.is_static = is_static;
    f.name = cur.name("a function name");
    if (cur.accept_text("(") && !cur.accept_text(")")) {
      do f.params.push_back(cur.name("a parameter name"));
      while (cur.accept_text(","));
      if (!cur.accept_text(")")) cur.fail("expected ')' closing the parameters");
    }
    cur.expect_end();
    unit_.funcs.push_back(std::move(f));
  }

  void function(Cursor& cur, Stmt& stmt) { header(cur, stmt, false, false); }
  void procedure(Cursor& cur, Stmt& stmt) { header(cur, stmt, true, false); }

  void static_stmt(Cursor& cur, Stmt& stmt)
  {
    cur.at_end();
    const size_t at = cur.offset();
    const std::string word = cur.peek_word();
    if (!word.empty() && !word_is_operand(cur.text(), cur.offset() + word.size())) {
      const bool func = detail::keyword_matches(word, "function");
      if (func || detail::keyword_matches(word, "procedure")) {
        cur.seek(at + word.size());
        return header(cur, stmt, !func, true);
      }
    }
    declaration(cur, stmt, Kind::Static);
  }

  void declaration(Cursor& cur, Stmt& stmt, Kind kind)
  {
    const bool scoped = kind == Kind::Local || kind == Kind::Static || kind == Kind::Memvar ||
                        kind == Kind::Field;
    if (scoped && (exec_seen_ || !open_.empty()))
      cur.fail_at(keyword_start(cur), "declaration follows executable statements");
    const bool valued = kind != Kind::Memvar && kind != Kind::Field && kind != Kind::Parameters;
    const bool macros = kind == Kind::Private || kind == Kind::Public;
    stmt.kind = kind;
    do stmt.vars.push_back(variable(cur, valued, macros));
    while (cur.accept_text(","));
    if (kind == Kind::Field && cur.accept("in")) stmt.alias = cur.name("an alias");
    cur.expect_end();
    add(cur, std::move(stmt));
  }

  Var variable(Cursor& cur, bool valued, bool macros)
  {
    Var v;
    cur.at_end();
    v.pos = cur.pos();
    v.name = cur.name("a variable name", macros);
    if (!valued) return v;
    while (cur.offset() < cur.text().size() && cur.text()[cur.offset()] == '[') {
      cur.seek(cur.offset() + 1);
      do v.dims.push_back(cur.expr());
      while (cur.accept_text(","));
      if (!cur.accept_text("]")) cur.fail("expected ']' closing the dimensions");
    }
    if (cur.accept_text(":=") || (!cur.accept_text("==") && cur.accept_text("=")))
      v.init = cur.expr();
    return v;
  }

  void local(Cursor& cur, Stmt& stmt) { declaration(cur, stmt, Kind::Local); }
  void private_stmt(Cursor& cur, Stmt& stmt) { declaration(cur, stmt, Kind::Private); }
  void public_stmt(Cursor& cur, Stmt& stmt) { declaration(cur, stmt, Kind::Public); }
  void parameters(Cursor& cur, Stmt& stmt) { declaration(cur, stmt, Kind::Parameters); }
  void memvar(Cursor& cur, Stmt& stmt) { declaration(cur, stmt, Kind::Memvar); }
  void field(Cursor& cur, Stmt& stmt) { declaration(cur, stmt, Kind::Field); }

  // A condition with nothing after it.
  Expr condition(Cursor& cur)
  {
    if (cur.at_end()) cur.fail("missing condition");
    Expr e = cur.expr();
    cur.expect_end();
    return e;
  }

  void if_stmt(Cursor& cur, Stmt& stmt)
  {
    stmt.kind = Kind::If;
    stmt.branches.push_back(Branch{condition(cur), {}});
    open(cur, std::move(stmt), Construct::If);
  }

  // ELSEIF or CASE: a further conditional branch of the innermost
  // construct what; refused after its ELSE or OTHERWISE (late).
  void branch(Cursor& cur, Construct what, const char* word, const char* late)
  {
    Open& o = innermost(cur, what, word, keyword_start(cur));
    if (o.in_else) cur.fail_at(keyword_start(cur), late);
    o.stmt->branches.push_back(Branch{condition(cur), {}});
    o.body = &o.stmt->branches.back().body;
  }

  // ELSE or OTHERWISE: the last part of the innermost construct what;
  // refused when it has one (twice).
  void last_part(Cursor& cur, Construct what, const char* word, const char* twice)
  {
    Open& o = innermost(cur, what, word, keyword_start(cur));
    if (o.in_else) cur.fail_at(keyword_start(cur), twice);
    cur.expect_end();
    o.in_else = true;
    o.body = &o.stmt->otherwise;
  }

  void elseif(Cursor& cur, Stmt&) { branch(cur, Construct::If, "ELSEIF", "ELSEIF after ELSE"); }
  void else_stmt(Cursor& cur, Stmt&) { last_part(cur, Construct::If, "ELSE", "a second ELSE"); }

  void endif(Cursor& cur, Stmt&) { close(cur, Construct::If, "ENDIF", keyword_start(cur)); }

  // END closes any construct but FOR; END SEQUENCE only a sequence.
  void end(Cursor& cur, Stmt&)
  {
    const size_t at = keyword_start(cur);
    if (cur.accept("sequence")) return close(cur, Construct::Sequence, "END SEQUENCE", at);
    if (open_.empty()) cur.fail_at(at, "END without a statement to close");
    if (open_.back().what == Construct::For)
      cur.fail_at(at, "FOR of line " + std::to_string(open_.back().stmt->pos.line) +
                          " needs NEXT before END");
    close(cur, open_.back().what, "END", at);
  }

  void do_stmt(Cursor& cur, Stmt& stmt)
  {
    if (cur.accept("while")) return while_stmt(cur, stmt);
    if (cur.accept("case")) {
      cur.expect_end();
      stmt.kind = Kind::If;
      return open(cur, std::move(stmt), Construct::Case);
    }
    do_call(cur, stmt);
  }

  // DO proc [WITH a, b]: a plain variable goes by reference.
  void do_call(Cursor& cur, Stmt& stmt)
  {
    std::string call = cur.name("a procedure name or WHILE or CASE", true) + "(";
    if (cur.accept("with")) {
      const char* sep = "";
      do {
        size_t begin = 0, end = 0;
        cur.skip_expr(begin, end);
        const std::string arg = cur.text().substr(begin, end - begin);
        call += sep + std::string(is_identifier(arg) ? "@" : "") + arg;
        sep = ", ";
      } while (cur.accept_text(","));
    }
    cur.expect_end();
    stmt.expr = detail::compile_text(call + ")", stmt.pos);
    add(cur, std::move(stmt));
  }

  void case_stmt(Cursor& cur, Stmt&) { branch(cur, Construct::Case, "CASE", "CASE after OTHERWISE"); }
  void otherwise(Cursor& cur, Stmt&)
  {
    last_part(cur, Construct::Case, "OTHERWISE", "a second OTHERWISE");
  }

  void endcase(Cursor& cur, Stmt&) { close(cur, Construct::Case, "ENDCASE", keyword_start(cur)); }

  void while_stmt(Cursor& cur, Stmt& stmt)
  {
    stmt.kind = Kind::While;
    stmt.branches.push_back(Branch{condition(cur), {}});
    open(cur, std::move(stmt), Construct::While);
  }

  void enddo(Cursor& cur, Stmt&) { close(cur, Construct::While, "ENDDO", keyword_start(cur)); }

  void for_stmt(Cursor& cur, Stmt& stmt)
  {
    stmt.kind = Kind::For;
    cur.at_end();
    const Pos target_pos = cur.pos();
    const std::string var = cur.name("the loop variable");
    stmt.target = detail::compile_text(var, target_pos);
    if (!cur.accept_text(":=") && (cur.accept_text("==") || !cur.accept_text("=")))
      cur.fail("expected := after the loop variable");
    if (cur.at_end()) cur.fail("missing the start value");
    stmt.expr = cur.expr();
    cur.expect("to");
    if (cur.at_end()) cur.fail("missing the limit after TO");
    stmt.limit = cur.expr();
    if (cur.accept("step")) {
      if (cur.at_end()) cur.fail("missing the step after STEP");
      stmt.step = cur.expr();
    }
    cur.expect_end();
    open(cur, std::move(stmt), Construct::For, var);
  }

  void next(Cursor& cur, Stmt&)
  {
    const size_t at = keyword_start(cur);
    Open& o = innermost(cur, Construct::For, "NEXT", at);
    if (!cur.at_end()) {
      const size_t name_at = cur.offset();
      const std::string var = cur.name("the loop variable");
      if (var != o.for_var)
        cur.fail_at(name_at, "NEXT " + var + " does not match FOR " + o.for_var);
    }
    close(cur, Construct::For, "NEXT", at);
  }

  void loop_jump(Cursor& cur, Stmt& stmt, Kind kind, const char* word)
  {
    const bool in_loop = std::any_of(open_.begin(), open_.end(), [](const Open& o) {
      return o.what == Construct::While || o.what == Construct::For;
    });
    if (!in_loop) cur.fail_at(keyword_start(cur), std::string(word) + " outside a loop");
    cur.expect_end();
    stmt.kind = kind;
    add(cur, std::move(stmt));
  }

  void exit_stmt(Cursor& cur, Stmt& stmt) { loop_jump(cur, stmt, Kind::Exit, "EXIT"); }
  void loop_stmt(Cursor& cur, Stmt& stmt) { loop_jump(cur, stmt, Kind::Loop, "LOOP"); }

  void begin(Cursor& cur, Stmt& stmt)
  {
    cur.expect("sequence");
    cur.expect_end();
    stmt.kind = Kind::Sequence;
    open(cur, std::move(stmt), Construct::Sequence);
  }

  void recover(Cursor& cur, Stmt&)
  {
    Open& o = innermost(cur, Construct::Sequence, "RECOVER", keyword_start(cur));
    if (o.in_else) cur.fail_at(keyword_start(cur), "a second RECOVER");
    if (cur.accept("using")) o.stmt->recover_var = cur.name("a variable name after USING");
    cur.expect_end();
    o.in_else = true;
    o.stmt->has_recover = true;
    o.body = &o.stmt->otherwise;
  }

  // A statement with an optional value: BREAK [x], RETURN [x].
  void valued(Cursor& cur, Stmt& stmt, Kind kind)
  {
    stmt.kind = kind;
    if (!cur.at_end()) stmt.expr = cur.expr();
    cur.expect_end();
    add(cur, std::move(stmt));
  }

  void break_stmt(Cursor& cur, Stmt& stmt) { valued(cur, stmt, Kind::Break); }
  void return_stmt(Cursor& cur, Stmt& stmt) { valued(cur, stmt, Kind::Return); }

  void quit(Cursor& cur, Stmt& stmt)
  {
    cur.expect_end();
    stmt.kind = Kind::Quit;
    add(cur, std::move(stmt));
  }

  void output(Cursor& cur, Stmt& stmt, const char* fn)
  {
    std::string call = std::string(fn) + "(";
    if (!cur.at_end()) {
      size_t begin = 0, end = 0;
      cur.skip_expr(begin, end, true);
      call += cur.text().substr(begin, end - begin);
    }
    cur.expect_end();
    stmt.expr = detail::compile_text(call + ")", stmt.pos);
    add(cur, std::move(stmt));
  }

  void qout(Cursor& cur, Stmt& stmt) { output(cur, stmt, "QOUT"); }
  void qqout(Cursor& cur, Stmt& stmt) { output(cur, stmt, "QQOUT"); }

  void expression_statement(Cursor& cur, Stmt& stmt)
  {
    const size_t start = cur.offset();
    stmt.expr = cur.expr(true);
    if (!cur.at_end()) {
      const expr::Program& p = *stmt.expr.tree;
      const bool lone_word = p.nodes.size() == 1 && p.nodes[0].op == expr::Op::Name;
      if (lone_word) {
        const std::string word = cur.text().substr(start, cur.offset() - start);
        cur.fail_at(start, "unknown command '" + word.substr(0, word.find_last_not_of(" \t") + 1) +
                               "'");
      }
      cur.expect_end();
    }
    detail::equals_as_assign(*stmt.expr.tree);
    add(cur, std::move(stmt));
  }

  Unit& unit_;
  bool header_seen_ = false;
  bool exec_seen_ = false;
  std::vector<Open> open_;
};

// Exact words are tried before abbreviations, in this order: LOCA is LOCAL.
const UnitParser::Keyword UnitParser::kKeywords[] = {
    {"function", &UnitParser::function},     {"procedure", &UnitParser::procedure},
    {"static", &UnitParser::static_stmt},    {"local", &UnitParser::local},
    {"private", &UnitParser::private_stmt},  {"public", &UnitParser::public_stmt},
    {"parameters", &UnitParser::parameters}, {"memvar", &UnitParser::memvar},
    {"field", &UnitParser::field},           {"if", &UnitParser::if_stmt},
    {"elseif", &UnitParser::elseif},         {"else", &UnitParser::else_stmt},
    {"endif", &UnitParser::endif},           {"end", &UnitParser::end},
    {"do", &UnitParser::do_stmt},            {"case", &UnitParser::case_stmt},
    {"otherwise", &UnitParser::otherwise},   {"endcase", &UnitParser::endcase},
    {"while", &UnitParser::while_stmt},      {"enddo", &UnitParser::enddo},
    {"for", &UnitParser::for_stmt},          {"next", &UnitParser::next},
    {"exit", &UnitParser::exit_stmt},        {"loop", &UnitParser::loop_stmt},
    {"begin", &UnitParser::begin},           {"recover", &UnitParser::recover},
    {"break", &UnitParser::break_stmt},      {"return", &UnitParser::return_stmt},
    {"quit", &UnitParser::quit},             {nullptr, nullptr},
};

}  // namespace

bool parse_unit(const std::string& file, int32_t index, std::string_view source, Unit& unit,
                Diagnostic& diag)
{
  unit = Unit{};
  unit.file = file;
  std::vector<Logical> lines;
  try {
    detail::read_source(source, index, unit.lines, lines);
    UnitParser parser(file, index, unit);
    parser.run(lines);
    return true;
  } catch (const Failure& f) {
    diag = Diagnostic{file, f.pos.line, f.pos.col, f.message, {}};
    if (f.pos.line >= 1 && static_cast<size_t>(f.pos.line) <= unit.lines.size())
      diag.text = unit.lines[static_cast<size_t>(f.pos.line - 1)];
    unit = Unit{};
    return false;
  }
}

std::string format_diagnostic(const Diagnostic& diag)
{
  std::string out = diag.file + ":" + std::to_string(diag.line) + ":" + std::to_string(diag.col) +
                    ": error: " + diag.message + "\n";
  if (diag.text.empty() && diag.col <= 1) return out;
  const size_t col = diag.col > 0 ? static_cast<size_t>(diag.col - 1) : 0;
  size_t first = 0;
  if (diag.text.size() > kShownWidth && col > kShownWidth / 2) first = col - kShownWidth / 2;
  const std::string shown = diag.text.substr(first, kShownWidth);
  out += shown + "\n";
  // The caret line copies the tabs of the text before the column, so that
  // the caret sits under the token however tabs are shown.
  for (size_t i = first; i < col; ++i)
    out += i < diag.text.size() && diag.text[i] == '\t' ? '\t' : ' ';
  return out + "^\n";
}

}  // namespace vl::prog
