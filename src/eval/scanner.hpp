// scanner.hpp -- the lexical analyser of expression text.
//
// Tokens: numbers ("12" whole, "2.50" with two decimals), strings in double
// or single quotes (and in brackets where an operand is expected, which the
// parser asks for), the logical literals .T. .F. .Y. .N., the word
// operators .AND. .OR. .NOT., names (a letter or "_" and then letters,
// digits and "_"; 10 significant characters, folded to lower case), and the
// operator characters and pairs of the language.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vl::expr {

enum class Tok : uint8_t {
  End,
  Number,
  String,
  True,
  False,
  Name,
  // operators and punctuation
  Plus, Minus, Star, Slash, Percent, Power, Eq, EqEq, Ne, Lt, Le, Gt, Ge,
  Dollar, Not, And, Or, Assign, PlusEq, MinusEq, StarEq, SlashEq, PercentEq,
  PowerEq, Inc, Dec, Arrow, Colon, LParen, RParen, LBracket, RBracket,
  LBrace, RBrace, Bar, Comma, At, Macro,
  Bad
};

struct Token {
  Tok kind = Tok::End;
  size_t pos = 0;       // offset in the text
  std::string text;     // name (folded, cut), string body, number text, or
                        // for Bad what is wrong
  std::string whole;    // a name folded but not cut: message names keep
                        // every character (variables keep kNameLength)
  double number = 0.0;
  int decimals = 0;
};

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}
  // Scanning from offset start; with macros, "&name[.suffix]" is one Macro
  // token whose text is all of it.
  Scanner(std::string_view text, size_t start, bool macros)
      : text_(text), pos_(start), macros_(macros)
  {
  }

  // The next token.  With operand_expected, "[" opens a string.
  Token next(bool operand_expected);
  // Offset of the next unread character.
  size_t pos() const { return pos_; }

 private:
  Token scan_number();
  Token scan_string(char close);
  Token scan_name();
  Token scan_dotted();
  Token scan_operator();
  Token scan_macro();
  void skip_blanks();
  char peek(size_t ahead = 0) const
  {
    return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0';
  }

  std::string_view text_;
  size_t pos_ = 0;
  bool macros_ = false;
};

// Significant characters of a name.
constexpr size_t kNameLength = 10;

}  // namespace vl::expr
