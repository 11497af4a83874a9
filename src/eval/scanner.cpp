// scanner.cpp -- the lexical analyser of expression text, and the two name
// helpers beside it: short function names and keyword matching.
#include "scanner.hpp"

#include <cctype>
#include <charconv>
#include <cstring>

#include "kernel.hpp"

namespace vl::expr {

namespace {

bool name_start(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool name_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }
bool digit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

struct Pair {
  const char* text;
  Tok kind;
};

// Longest first, so that "**=" wins over "**" and "*".
constexpr Pair kOperators[] = {
    {"**=", Tok::PowerEq}, {"**", Tok::Power},    {":=", Tok::Assign}, {"+=", Tok::PlusEq},
    {"-=", Tok::MinusEq},  {"*=", Tok::StarEq},   {"/=", Tok::SlashEq}, {"%=", Tok::PercentEq},
    {"^=", Tok::PowerEq},  {"++", Tok::Inc},      {"--", Tok::Dec},    {"->", Tok::Arrow},
    {"==", Tok::EqEq},     {"!=", Tok::Ne},       {"<>", Tok::Ne},     {"<=", Tok::Le},
    {">=", Tok::Ge},       {"+", Tok::Plus},      {"-", Tok::Minus},   {"*", Tok::Star},
    {"/", Tok::Slash},     {"%", Tok::Percent},   {"^", Tok::Power},   {"=", Tok::Eq},
    {"#", Tok::Ne},        {"<", Tok::Lt},        {">", Tok::Gt},      {"$", Tok::Dollar},
    {"!", Tok::Not},       {":", Tok::Colon},     {"(", Tok::LParen},  {")", Tok::RParen},
    {"[", Tok::LBracket},  {"]", Tok::RBracket},  {"{", Tok::LBrace},  {"}", Tok::RBrace},
    {"|", Tok::Bar},       {",", Tok::Comma},     {"@", Tok::At},      {"&", Tok::Macro},
};

struct Word {
  const char* text;
  Tok kind;
};

constexpr Word kDotted[] = {
    {".t.", Tok::True}, {".y.", Tok::True},    {".f.", Tok::False}, {".n.", Tok::False},
    {".and.", Tok::And}, {".or.", Tok::Or},    {".not.", Tok::Not},
};

// The length of the dotted word (".and.", ".t." ...) at pos of text, or 0.
size_t dotted_length(std::string_view text, size_t pos, const Word** found = nullptr)
{
  for (const Word& w : kDotted) {
    const size_t n = std::strlen(w.text);
    if (pos + n > text.size()) continue;
    bool same = true;
    for (size_t i = 0; i < n && same; ++i)
      same = std::tolower(static_cast<unsigned char>(text[pos + i])) == w.text[i];
    if (same) {
      if (found) *found = &w;
      return n;
    }
  }
  return 0;
}

bool dotted_word_at(std::string_view text, size_t pos) { return dotted_length(text, pos) > 0; }

Token make(Tok kind, size_t pos, std::string text = {})
{
  Token t;
  t.kind = kind;
  t.pos = pos;
  t.text = std::move(text);
  return t;
}

}  // namespace

void Scanner::skip_blanks()
{
  while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_]))) ++pos_;
}

Token Scanner::next(bool operand_expected)
{
  skip_blanks();
  if (pos_ >= text_.size()) return make(Tok::End, pos_);
  const char c = peek();
  if (digit(c) || (c == '.' && digit(peek(1)))) return scan_number();
  if (c == '"' || c == '\'') return scan_string(c);
  if (c == '[' && operand_expected) return scan_string(']');
  if (name_start(c)) return scan_name();
  if (c == '.') return scan_dotted();
  if (c == '&' && macros_ && name_start(peek(1))) return scan_macro();
  return scan_operator();
}

// "&name", or "&name." with the name characters that follow the point.
Token Scanner::scan_macro()
{
  Token t = make(Tok::Macro, pos_);
  const size_t start = pos_++;
  while (name_char(peek())) ++pos_;
  if (peek() == '.' && !dotted_word_at(text_, pos_)) {
    ++pos_;
    while (name_char(peek())) ++pos_;
  }
  t.text.assign(text_.substr(start, pos_ - start));
  t.whole = t.text;
  return t;
}

Token Scanner::scan_number()
{
  Token t = make(Tok::Number, pos_);
  const size_t start = pos_;
  while (digit(peek())) ++pos_;
  if (peek() == '.' && digit(peek(1))) {
    ++pos_;
    const size_t frac = pos_;
    while (digit(peek())) ++pos_;
    t.decimals = static_cast<int>(pos_ - frac);
  }
  t.text.assign(text_.substr(start, pos_ - start));
  // from_chars reads the point whatever the locale: a literal means the
  // same under a locale whose decimal point is a comma.
  std::from_chars(t.text.data(), t.text.data() + t.text.size(), t.number);
  return t;
}

Token Scanner::scan_string(char close)
{
  Token t = make(Tok::String, pos_);
  ++pos_;
  const size_t start = pos_;
  while (pos_ < text_.size() && text_[pos_] != close) ++pos_;
  if (pos_ >= text_.size())
    return make(Tok::Bad, t.pos, std::string("unterminated string: no closing ") + close);
  t.text.assign(text_.substr(start, pos_ - start));
  ++pos_;
  return t;
}

Token Scanner::scan_name()
{
  Token t = make(Tok::Name, pos_);
  const size_t start = pos_;
  while (name_char(peek())) ++pos_;
  for (size_t i = start; i < pos_; ++i)
    t.whole += static_cast<char>(std::tolower(static_cast<unsigned char>(text_[i])));
  t.text = t.whole.substr(0, kNameLength);
  return t;
}

Token Scanner::scan_dotted()
{
  const Word* w = nullptr;
  if (const size_t n = dotted_length(text_, pos_, &w)) {
    Token t = make(w->kind, pos_);
    pos_ += n;
    return t;
  }
  return make(Tok::Bad, pos_++, "unexpected '.'");
}

Token Scanner::scan_operator()
{
  for (const Pair& p : kOperators) {
    const size_t n = std::strlen(p.text);
    if (text_.substr(pos_, n) == p.text) {
      Token t = make(p.kind, pos_);
      pos_ += n;
      return t;
    }
  }
  const size_t at = pos_++;
  return make(Tok::Bad, at, std::string("unexpected character '") + text_[at] + "'");
}

}  // namespace vl::expr

namespace {

// Functions whose names the language accepts cut to four or more letters.
constexpr const char* kShortNames[] = {
    "cmonth", "deleted", "empty",  "fcount",  "flock",   "field",  "found",
    "lastrec", "lower",  "ltrim",  "month",   "pcount",  "reccount", "recno",
    "replicate", "rlock", "round", "rtrim",   "seconds", "select", "setprc",
    "space",  "substr",  "transform", "upper",
};
constexpr size_t kShortLeast = 4;

}  // namespace

namespace vl {

const char* short_fun(const char* name)
{
  static char folded[64];
  size_t n = 0;
  for (; name[n] && n < sizeof folded - 1; ++n)
    folded[n] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[n])));
  folded[n] = '\0';
  if (n < kShortLeast) return name;
  for (const char* full : kShortNames)
    if (std::strncmp(full, folded, n) == 0) return full;
  return name;
}

int get_tok(const char* text, const VlnKeyword* table, int min)
{
  char key[64];
  while (*text == ' ') ++text;
  size_t n = 0;
  for (; text[n] && n < sizeof key - 1; ++n)
    key[n] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[n])));
  while (n > 0 && key[n - 1] == ' ') --n;
  key[n] = '\0';
  if (n == 0) return -1;
  for (; table->name && table->name[0]; ++table) {
    const size_t whole = std::strlen(table->name);
    if (n <= whole && (n >= static_cast<size_t>(min) || n == whole) &&
        std::strncmp(table->name, key, n) == 0)
      return table->value;
  }
  return -1;
}

}  // namespace vl
