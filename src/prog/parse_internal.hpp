// parse_internal.hpp -- the pieces of the statement parser: source lines,
// the cursor over one statement, and the lowering of commands.
//
// Reading a source happens in two passes.  read_source turns the bytes into
// logical lines: comments removed (replaced by blanks where text follows
// them, so that columns stay true), lines ending in ";" joined to the next,
// each offset of the joined text mapped back to a line and a column.  The
// statement parser then reads one logical line at a time through a Cursor.
// Errors are thrown as Failure and become the one Diagnostic of the parse.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ast.hpp"

namespace vl::prog::detail {

// A parse error: where (line and column) and what.
struct Failure {
  Pos pos;
  std::string message;
};

// One statement's text and where each of its pieces came from.
struct Logical {
  std::string text;
  struct Mark {
    size_t offset;  // where a physical line's piece starts in text
    Pos pos;        // that piece's first character in the source
  };
  std::vector<Mark> marks;

  // The source place of offset (the end of the text maps past its last
  // character).
  Pos at(size_t offset) const;
};

// Split source into physical lines (for diagnostics) and logical lines.
// Throws Failure for a source that is not text or an unclosed "/*".
void read_source(std::string_view source, int32_t file, std::vector<std::string>& physical,
                 std::vector<Logical>& logical);

// Whether word (lower case) is keyword or its abbreviation to four letters
// or more.
bool keyword_matches(std::string_view word, std::string_view keyword);

// A reading position in one logical line.
class Cursor {
 public:
  explicit Cursor(const Logical& line) : line_(line) {}

  const std::string& text() const { return line_.text; }
  size_t offset() const { return pos_; }
  void seek(size_t offset) { pos_ = offset; }
  Pos pos() const { return line_.at(pos_); }
  Pos pos_at(size_t offset) const { return line_.at(offset); }

  // Past blanks; true when nothing but blanks is left.
  bool at_end();
  // The next word (letters, digits, "_") folded to lower case, not consumed;
  // empty when the next character does not start a word.
  std::string peek_word();
  // Consume the next word if it is keyword (abbreviations allowed).
  bool accept(std::string_view keyword);
  // The same, or throw "expected KEYWORD".
  void expect(std::string_view keyword);
  // Consume the text if it comes next (after blanks).
  bool accept_text(std::string_view text);
  // A name (or with macros a "&name" text), consumed; throws when absent.
  // Names come back folded and cut to ten characters.
  std::string name(const char* what, bool macros = false);
  // Throw unless the statement ends here.
  void expect_end();
  // Throw message at offset.
  [[noreturn]] void fail_at(size_t offset, const std::string& message) const;
  [[noreturn]] void fail(const std::string& message) const { fail_at(pos_, message); }

  // Parse an expression (a list with as_list) here and move past it.
  Expr expr(bool as_list = false);
  // The same, returning the offsets of its text instead of keeping it.
  void skip_expr(size_t& begin, size_t& end, bool as_list = false);

 private:
  const Logical& line_;
  size_t pos_ = 0;
};

// Compile text made by the parser (a lowered command) whole; pos is the
// statement's.  Throws at pos if it does not compile.
Expr compile_text(const std::string& text, Pos pos);

// A statement "x = 1" means assignment: turn a top-level "=" comparison
// whose left side is a variable into ":=".
void equals_as_assign(expr::Program& prog);

// Lower the command that starts the cursor's statement (its first word is
// word) into stmt (an Eval).  False when word names no command.
bool lower_command(const std::string& word, Cursor& cur, Stmt& stmt);

}  // namespace vl::prog::detail
