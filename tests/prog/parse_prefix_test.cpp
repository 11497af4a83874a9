// The expression parser's prefix entry: where an expression that starts at
// an offset ends, what it holds, and where its errors are.
#include <memory>
#include <string>

#include "exprtree.hpp"
#include "vltest.h"

using namespace vl::expr;

namespace {

class ParsePrefix : public vltest::VlTest {};

struct EndCase {
  const char* text;
  size_t start;
  bool list;
  const char* rest;  // the text from the end offset on
};

TEST_F(ParsePrefix, StopsAtTheFirstTokenThatCannotContinue)
{
  const EndCase cases[] = {
      {"FOR i := 1 TO 10 STEP 2", 4, false, "TO 10 STEP 2"},
      {"FOR i := 1 TO 10 STEP 2", 14, false, "STEP 2"},
      {"REPLACE a WITH b + 1 FOR c > 2", 15, false, "FOR c > 2"},
      {"x, y + 1 z", 0, true, "z"},
      {"x, y", 0, false, ", y"},
      {"f(a, b)) junk", 0, true, ") junk"},
      {"a[1, 2]:msg(3) WITH", 0, true, "WITH"},
      {"{|a| a + 1} TO", 0, true, "TO"},
      {"n", 0, true, ""},
  };
  for (const EndCase& c : cases) {
    const PrefixCompiled r = compile_prefix(c.text, c.start, PrefixMode{c.list, false});
    std::unique_ptr<Program> owned(r.program);
    ASSERT_TRUE(r.program) << c.text << ": " << r.message;
    EXPECT_EQ(std::string(c.text).substr(r.end), c.rest) << c.text;
  }
}

TEST_F(ParsePrefix, ErrorsGiveTheirOffset)
{
  const struct {
    const char* text;
    size_t pos;
    const char* message;
  } cases[] = {
      {"x := 'abc", 5, "unterminated string: no closing '"},
      {"1 + * 2", 4, "unexpected symbol"},
      {"f(1, 2", 6, "missing ')'"},
      {"1 + &x", 4, "unexpected symbol"},
  };
  for (const auto& c : cases) {
    const PrefixCompiled r = compile_prefix(c.text, 0, PrefixMode{});
    EXPECT_EQ(r.program, nullptr) << c.text;
    EXPECT_EQ(r.error_pos, c.pos) << c.text;
    EXPECT_EQ(r.message, c.message) << c.text;
  }
}

TEST_F(ParsePrefix, MacrosBecomeNamedNodes)
{
  const std::string text = "&cVar + &pre.fix + &f(1) + o:&m()";
  const PrefixCompiled r = compile_prefix(text, 0, PrefixMode{true, true});
  std::unique_ptr<Program> owned(r.program);
  ASSERT_TRUE(r.program) << r.message;
  EXPECT_EQ(r.end, text.size());
  std::string seen;
  for (const Node& n : r.program->nodes)
    if (n.op == Op::Name || n.op == Op::Call || n.op == Op::Send)
      seen += std::to_string(static_cast<int>(n.op == Op::Name ? 0 : n.op == Op::Call ? 1 : 2)) +
              n.name + " ";
  EXPECT_EQ(seen, "0&cVar 0&pre.fix 1&f 0o 2&m ");
  // Without the mode a macro stays an error, as the evaluator wants.
  const PrefixCompiled plain = compile_prefix("&x", 0, PrefixMode{});
  EXPECT_EQ(plain.program, nullptr);
}

}  // namespace
