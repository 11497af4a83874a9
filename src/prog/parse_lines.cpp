// parse_lines.cpp -- from source bytes to logical lines, and the cursor that
// reads one of them.
//
// Comments: a line whose first non-blank text is "*", "&&" or the word NOTE
// is a comment (unless it continues a statement); "&&" and "//" outside a
// string end the line's text; "/* ... */" may span lines and is replaced by
// blanks.  A line whose text ends in ";" (outside a string) continues on
// the next.  Strings are quoted by '"', "'" or "[" where an operand may
// start, the same rule the expression scanner follows, so that a comment
// marker inside a string stays text.  Nothing here recurses or sizes a
// buffer by the input.
#include <algorithm>
#include <cctype>

#include "exprtree.hpp"
#include "parse_internal.hpp"
#include "scanner.hpp"

namespace vl::prog::detail {

namespace {

// The DOS end-of-file mark: the source ends there.
constexpr char kEndOfFile = '\x1a';

bool is_name_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\f' || c == '\r'; }

// Bytes a text source never holds: control characters other than blanks.
bool is_binary(unsigned char c) { return c < 0x20 && c != '\t' && c != '\f' && c != '\r'; }

std::string hex_byte(unsigned char c)
{
  const char* digits = "0123456789ABCDEF";
  return std::string("0x") + digits[c >> 4] + digits[c & 15];
}

// A UTF-8 byte order mark some editors put first.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Reject a source holding control bytes; cut it at the end-of-file mark
// and drop a byte order mark.
std::string_view check_text(std::string_view source, int32_t file)
{
  if (source.substr(0, kByteOrderMark.size()) == kByteOrderMark)
    source.remove_prefix(kByteOrderMark.size());
  const size_t eof = source.find(kEndOfFile);
  if (eof != std::string_view::npos) source = source.substr(0, eof);
  int32_t line = 1;
  size_t line_start = 0;
  for (size_t i = 0; i < source.size(); ++i) {
    const auto c = static_cast<unsigned char>(source[i]);
    if (c == '\n') {
      ++line;
      line_start = i + 1;
    } else if (is_binary(c)) {
      throw Failure{{file, line, static_cast<int32_t>(i - line_start + 1)},
                    "not a text file: it holds the byte " + hex_byte(c)};
    }
  }
  return source;
}

std::vector<std::string> split_lines(std::string_view source)
{
  std::vector<std::string> lines;
  size_t start = 0;
  while (start <= source.size()) {
    size_t end = source.find('\n', start);
    if (end == std::string_view::npos) end = source.size();
    size_t cut = end;
    if (cut > start && source[cut - 1] == '\r') --cut;
    lines.emplace_back(source.substr(start, cut - start));
    start = end + 1;
  }
  if (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

// Whether a line is a whole-line comment: "*", "&&" or NOTE first.
bool comment_line(const std::string& line)
{
  size_t i = 0;
  while (i < line.size() && is_blank(line[i])) ++i;
  if (i == line.size()) return false;
  if (line[i] == '*' || line.compare(i, 2, "&&") == 0) return true;
  size_t end = i;
  while (end < line.size() && is_name_char(line[end])) ++end;
  std::string word;
  for (size_t k = i; k < end; ++k)
    word += static_cast<char>(std::tolower(static_cast<unsigned char>(line[k])));
  return word == "note";
}

// The comment state carried from line to line: inside "/* */" and where it
// opened.
struct Carry {
  bool in_block = false;
  Pos opened;
};

// Whether "[" at i opens a string: not after an operand.
bool bracket_opens_string(const std::string& s, size_t i)
{
  size_t k = i;
  while (k > 0 && is_blank(s[k - 1])) --k;
  if (k == 0) return true;
  const char before = s[k - 1];
  return !(is_name_char(before) || before == ')' || before == ']' || before == '}');
}

// The line's text with its comments blanked or cut; continued is set when
// the text ends in ";" outside a string (the ";" is removed).
std::string clean_line(const std::string& raw, Pos at, Carry& carry, bool& continued)
{
  std::string s = raw;
  char quote = 0;
  size_t i = 0;
  while (i < s.size()) {
    if (carry.in_block) {
      if (s.compare(i, 2, "*/") == 0) {
        s[i] = s[i + 1] = ' ';
        carry.in_block = false;
        i += 2;
      } else {
        s[i++] = ' ';
      }
      continue;
    }
    const char c = s[i];
    if (quote) {
      if (c == quote) quote = 0;
      ++i;
      continue;
    }
    if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '[' && bracket_opens_string(s, i)) {
      quote = ']';
    } else if (s.compare(i, 2, "//") == 0 || s.compare(i, 2, "&&") == 0) {
      s.resize(i);
      break;
    } else if (s.compare(i, 2, "/*") == 0) {
      carry.in_block = true;
      carry.opened = Pos{at.file, at.line, static_cast<int32_t>(i + 1)};
      s[i] = s[i + 1] = ' ';
      i += 2;
      continue;
    }
    ++i;
  }
  size_t end = s.size();
  while (end > 0 && is_blank(s[end - 1])) --end;
  s.resize(end);
  continued = !quote && !carry.in_block && end > 0 && s[end - 1] == ';';
  if (continued) s[end - 1] = ' ';
  return s;
}

bool blank_text(const std::string& s)
{
  return std::all_of(s.begin(), s.end(), [](char c) { return is_blank(c); });
}

}  // namespace

Pos Logical::at(size_t offset) const
{
  auto it = std::upper_bound(marks.begin(), marks.end(), offset,
                             [](size_t off, const Mark& m) { return off < m.offset; });
  if (it == marks.begin()) return marks.empty() ? Pos{} : marks.front().pos;
  --it;
  Pos p = it->pos;
  p.col += static_cast<int32_t>(offset - it->offset);
  return p;
}

void read_source(std::string_view source, int32_t file, std::vector<std::string>& physical,
                 std::vector<Logical>& logical)
{
  physical = split_lines(check_text(source, file));
  Carry carry;
  Logical cur;
  bool continuing = false;
  for (size_t n = 0; n < physical.size(); ++n) {
    const Pos at{file, static_cast<int32_t>(n + 1), 1};
    if (!continuing && !carry.in_block && comment_line(physical[n])) continue;
    bool continued = false;
    std::string text = clean_line(physical[n], at, carry, continued);
    cur.marks.push_back({cur.text.size(), at});
    cur.text += text;
    if (continued) {
      continuing = true;
      continue;
    }
    continuing = false;
    if (!blank_text(cur.text)) logical.push_back(std::move(cur));
    cur = Logical{};
  }
  if (carry.in_block) throw Failure{carry.opened, "unterminated comment: no closing */"};
  if (!blank_text(cur.text)) logical.push_back(std::move(cur));
}

bool keyword_matches(std::string_view word, std::string_view keyword)
{
  constexpr size_t kLeast = 4;
  if (word.empty() || word.size() > keyword.size()) return false;
  if (word.size() < keyword.size() && word.size() < kLeast) return false;
  return keyword.compare(0, word.size(), word) == 0;
}

bool Cursor::at_end()
{
  const std::string& s = line_.text;
  while (pos_ < s.size() && is_blank(s[pos_])) ++pos_;
  return pos_ >= s.size();
}

std::string Cursor::peek_word()
{
  at_end();
  const std::string& s = line_.text;
  std::string word;
  if (pos_ >= s.size() || std::isdigit(static_cast<unsigned char>(s[pos_]))) return word;
  for (size_t i = pos_; i < s.size() && is_name_char(s[i]); ++i)
    word += static_cast<char>(std::tolower(static_cast<unsigned char>(s[i])));
  return word;
}

bool Cursor::accept(std::string_view keyword)
{
  const std::string word = peek_word();
  if (!keyword_matches(word, keyword)) return false;
  pos_ += word.size();
  return true;
}

void Cursor::expect(std::string_view keyword)
{
  if (accept(keyword)) return;
  std::string upper(keyword);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  fail(at_end() ? "missing " + upper : "expected " + upper);
}

bool Cursor::accept_text(std::string_view text)
{
  at_end();
  if (line_.text.compare(pos_, text.size(), text) != 0) return false;
  pos_ += text.size();
  return true;
}

std::string Cursor::name(const char* what, bool macros)
{
  at_end();
  const std::string& s = line_.text;
  const bool macro = macros && pos_ < s.size() && s[pos_] == '&';
  const size_t start = macro ? pos_ + 1 : pos_;
  std::string word;
  if (start < s.size() && !std::isdigit(static_cast<unsigned char>(s[start])))
    for (size_t i = start; i < s.size() && is_name_char(s[i]); ++i)
      word += static_cast<char>(std::tolower(static_cast<unsigned char>(s[i])));
  if (word.empty()) fail(std::string("expected ") + what);
  pos_ = start + word.size();
  if (macro) return "&" + word;
  return word.substr(0, expr::kNameLength);
}

void Cursor::expect_end()
{
  if (!at_end()) fail("unexpected text after the statement");
}

void Cursor::fail_at(size_t offset, const std::string& message) const
{
  throw Failure{line_.at(offset), message};
}

void Cursor::skip_expr(size_t& begin, size_t& end, bool as_list)
{
  at_end();
  begin = pos_;
  expr(as_list);
  end = pos_;
  while (end > begin && is_blank(line_.text[end - 1])) --end;
}

Expr Cursor::expr(bool as_list)
{
  at_end();
  const size_t start = pos_;
  expr::PrefixCompiled c =
      expr::compile_prefix(line_.text, start, expr::PrefixMode{as_list, true});
  if (!c.program) fail_at(c.error_pos, c.message);
  pos_ = c.end;
  Expr e;
  e.tree.reset(c.program);
  e.pos = line_.at(start);
  return e;
}

Expr compile_text(const std::string& text, Pos pos)
{
  expr::PrefixCompiled c = expr::compile_prefix(text, 0, expr::PrefixMode{true, true});
  if (!c.program || c.end != text.size()) {
    delete c.program;
    throw Failure{pos, "cannot compile: " + text};
  }
  Expr e;
  e.tree.reset(c.program);
  e.pos = pos;
  return e;
}

void equals_as_assign(expr::Program& prog)
{
  if (prog.root < 0) return;
  expr::Node& root = prog.nodes[static_cast<size_t>(prog.root)];
  if (root.op != expr::Op::Binary || root.kids.size() != 2 || root.ops[0] != expr::Bin::Eq)
    return;
  switch (prog.nodes[static_cast<size_t>(root.kids[0])].op) {
    case expr::Op::Name: case expr::Op::Memvar: case expr::Op::Field:
    case expr::Op::AliasField: case expr::Op::Index:
      break;
    case expr::Op::Send:
      if (prog.nodes[static_cast<size_t>(root.kids[0])].flag) return;
      break;
    default:
      return;
  }
  root.op = expr::Op::Assign;
  root.bin = expr::Bin::None;
  root.a = root.kids[0];
  root.b = root.kids[1];
  root.kids.clear();
  root.ops.clear();
}

}  // namespace vl::prog::detail
