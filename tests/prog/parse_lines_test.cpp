// Reading a source: where a diagnostic lands once comments are removed and
// lines are joined, and which texts are comments and which are not.
#include <string>

#include "parse.hpp"
#include "vltest.h"

using namespace vl::prog;

namespace {

class ParseLines : public vltest::VlTest {
 protected:
  // "line:col message" of the source's diagnostic, or "ok".
  static std::string where(const std::string& source)
  {
    Unit u;
    Diagnostic d;
    if (parse_unit("t.prg", 0, source, u, d)) return "ok";
    return std::to_string(d.line) + ":" + std::to_string(d.col) + " " + d.message + " | " + d.text;
  }
  // How many statements the implicit main procedure holds.
  static size_t statements(const std::string& source)
  {
    Unit u;
    Diagnostic d;
    if (!parse_unit("t.prg", 0, source, u, d)) return 999;
    return u.funcs.at(0).body.size();
  }
};

TEST_F(ParseLines, DiagnosticsPointIntoTheRightPhysicalLine)
{
  const struct {
    const char* source;
    const char* where;
  } cases[] = {
      // the error is on the continuation line, at its own column
      {"x := 1 + ;\n     2 )", "2:8 unexpected text after the statement |      2 )"},
      {"x := f(1, ;\n  2, ;\n  3 +)", "3:6 unexpected symbol |   3 +)"},
      // a block comment keeps the columns of the text after it
      {"/* a */ x := )", "1:14 unexpected symbol | /* a */ x := )"},
      {"/* a\n b */ ENDIF", "2:7 ENDIF without IF |  b */ ENDIF"},
      // CR LF lines: the CR is not part of the line shown
      {"? 1\r\n? 2 3\r\n", "2:5 unexpected text after the statement | ? 2 3"},
      {"? 1\n\tLOOP", "2:2 LOOP outside a loop | \tLOOP"},
      {"DO WHILE .T.\n  IF a\n  ENDDO", "3:3 IF of line 2 needs ENDIF before ENDDO |   ENDDO"},
      {"FOR i := 1 TO 3\nEND", "2:1 FOR of line 1 needs NEXT before END | END"},
      {"BEGIN SEQUENCE\nRECOVER\nRECOVER\nEND", "3:1 a second RECOVER | RECOVER"},
      {"DO CASE\nOTHERWISE\nCASE a\nENDCASE", "3:1 CASE after OTHERWISE | CASE a"},
      {"FUNCTION f(a,\nRETURN", "1:14 expected a parameter name | FUNCTION f(a,"},
  };
  for (const auto& c : cases) EXPECT_EQ(where(c.source), c.where) << c.source;
}

TEST_F(ParseLines, CommentsAndStrings)
{
  const struct {
    const char* source;
    size_t statements;
  } cases[] = {
      {"? 'a // b' // c", 1},
      {"? \"&& x\" && y", 1},
      {"? [/* no */]", 1},
      {"x := a[1] // a subscript, then a comment", 1},
      {"? 1 /* one\ntwo\nthree */ \n? 2", 2},
      {"  * indented comment\n? 1\n**\n&&", 1},
      {"x := 2 ;\n* 3  // a continuation, not a comment\n", 1},
      {"note that this is a comment\nNOTEBOOK := 1", 1},
      {"? 'a;' ;\n , 2", 1},
      {"\n\n   \n\t\n", 0},
      {"\xEF\xBB\xBF? 1", 1},
  };
  for (const auto& c : cases) EXPECT_EQ(statements(c.source), c.statements) << c.source;
}

}  // namespace
