// The expression evaluator: a table of texts and the values ? shows for
// them, then the behaviours a table cannot show.
#include <cstring>
#include <string>

#include "evaluator.hpp"
#include "kernel.hpp"
#include "vartostr.hpp"
#include "vltest.h"

using namespace vl;

using vltest::str;

class Eval : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    vln_fn_start(&frame_, "evaltest", "evaltest", 1, 0);
  }
  void TearDown() override
  {
    vln_fn_end(&frame_, 'U');
    VlTest::TearDown();
  }

  // What ? shows for the value of text.
  static std::string shown(const char* text)
  {
    char buf[1024];
    vartostr(exp_eval(text), buf, sizeof buf);
    return buf;
  }

  frame frame_;
};

using vltest::expect_rows;

// Precedence, literals, calls, blocks, arrays, short-circuit, names,
// assignment and macros.
TEST_F(Eval, ExpressionTable)
{
  expect_rows({
      // Power is left-associative; unary minus binds tighter than power.
      {"{1 + 2 * 3, (1 + 2) * 3, 2 ** 3 ** 2, -2 ** 2}", "{7, 9, 64, 4}"},
      {"STR(10 % 4 + 7 / 2)", "         5.5"},  // STR of an unsized number drops zeros
      {"2.50 * 2", "5"},
      {"{1 + 2 = 3 .AND. 4 > 3, .NOT. 1 = 2, !.T. .OR. .T., .y. .AND. .N. = .F.}", "{.T., .T., .T., .T.}"},
      {".T. .OR. 1/0", ".T."},  // the right side never runs
      {".F. .AND. undefinedf()", ".F."},
      {"{'ab' + \"cd\", 'abc   ' - 'de', \"bc\" $ \"abcd\", 'abc' = 'ab', 'abc' == 'ab'}",  // EXACT off
       "{abcd, abcde   , .T., .T., .F.}"},
      {"IIF(1 > 2, 'yes', 'no')", "no"},
      {"IF(.T., 'lazy', nofunc())", "lazy"},
      {"IIF(.F., 1,)", "NIL"},
      {"NIL", "NIL"},
      {"", "NIL"},
      {"   ", "NIL"},
      {"(1, 2, 3)", "3"},
      {"{{1, 2, 3}[2], {{1, 2}, {3, 4}}[2, 1], {{1, 2}, {3, 4}}[2][2]}", "{2, 3, 4}"},
      {"{1, , 3}", "{1, NIL, 3}"},
      // A parameter is not overwritten by its use.
      {"{EVAL({|x| x * 2}, 21), EVAL({|a, b| a + b}, 1, 2), EVAL({|a, b| b}, 1), EVAL({|x| x + x}, 5)}",
       "{42, 3, NIL, 10}"},
      {"EVAL({|| 'no params'})", "no params"},
      {"{|x| x}", "{||...}"},
      {"SUBS('abcdef', 2, 3)", "bcd"},  // short function name
      {"UPPER('name') + 'x'", "NAMEx"},
      // A silent warning (1/0) is no failure.
      {"{TYPE('1 +'), TYPE('nofunc()'), TYPE('neverseen'), TYPE('{1}'), TYPE('.T.'), TYPE('1/0'), "
       "TYPE('a b c')}",
       "{UE, UF, U, A, L, N, UE}"},
      // Names are cut to ten characters and folded.
      {"CustomerNumber := 42"},
      {"{customernu, CUSTOMERNUMBERXYZ}", "{42, 42}"},
      {"counter := 1"},
      {"{counter += 4, counter++, counter--, --counter, M->counter * 10}", "{5, 5, 6, 4, 40}"},
      {"arr := {10, 20, 30}, arr[3] := 'x', arr", "{10, 20, x}"},
      // Macros expand names and assign through them.
      {"target := 1, which := 'target', part := 'ARG'"},  // expanded before the run
      {"&which := 7, target", "7"},
      {"&which. + 1", "8"},
      {"'&part.s'", "ARGs"},  // the dot ends the name
      {"loop := '&loop'"},
      {"&loop", "#314 ERROR"},
      {"number := 5"},
      {"&number", "#202"},  // not a text: the & stays and is refused
      {"mname := 'Ada', MACROEVAL('mname')", "Ada"},
      {"MACROEVAL('two words')", "two words"},
      {"MACROSUBST('hello &mname.!')", "hello Ada!"},
      {"{EVAL(MEMVARBLOCK('mname')), MEMVARBLOCK('nothingatall'), ISFUNCTION('subs')}", "{Ada, NIL, .T.}"},
      {"total := 0, __FOREVAL(1, 4, 1, {|i| total := total + i}), total", "10"},
      {"__WHILEVAL({|| total < 15}, {|| total := total + 2}), total", "16"},
      // Errors carry their codes.
      {"1 +", "#309"},
      {"nofunction()", "#308"},
      {"nosuchname", "#307"},
      {"1 + 'a'", "#201"},
      {"x := ", "#309"},
      {"3 := 4", "#309"},
      {"_L->x", "#337"},
      {"alias->fld", "#342"},
      {"abc->(1 + 1)", "#342"},
  });
}

TEST_F(Eval, AssignmentCreatesAPrivateAndReturnsTheRecord)
{
  var* r = exp_eval("counter := 1");
  const int32_t idx = locate_var("counter");
  ASSERT_GE(idx, 0);
  EXPECT_EQ(r, mv_names[idx].v);
  EXPECT_EQ(r->D_level, glob_depth);
  var* e = exp_eval("arr := {10, 20, 30}, arr[2]");
  set_nvar(e, 99, 0);  // the element itself
  EXPECT_EQ(shown("arr[2]"), "        99");
}

// The syntax errors say what is missing, in the system's own words.
TEST_F(Eval, SyntaxErrorsSayWhatIsWrong)
{
  const std::pair<const char*, const char*> bad[] = {
      {"'open", "unterminated string"}, {"(1", "missing ')'"},   {"LEN('a'", "missing ')'"},
      {"{1, 2", "missing '}'"},         {"{|x| x", "missing '}'"}, {"number[1", "missing ']'"}};
  exp_eval("number := 5");
  for (const auto& [text, says] : bad) {
    reports().clear();
    EXPECT_EQ(exp_eval(text), ERROR_VAR) << text;
    EXPECT_TRUE(reported(309, says)) << text;
  }
}

// Whatever stops an expansion, it stays inside the caller's buffer, and the
// macro declarations survive it.
TEST_F(Eval, ExpansionStaysInsideTheBuffer)
{
  exp_eval("a := 'xxxxxxxx&a', w := 'abcdefghij', n := 'newpriv'");
  struct Row {
    const char* text;
    size_t size;
    int code;
    const char* result;  // null: only its length is checked
  } rows[] = {{"&a", 64, 314, nullptr}, {"&a&a", 64, 314, nullptr},
              {"&w", 8, 315, "abcdefg"}, {" &w. ", 64, 0, "abcdefghij"}};
  constexpr size_t kGuard = 16;
  for (const Row& r : rows) {
    reports().clear();
    char buf[64 + kGuard];
    std::memset(buf, 'G', sizeof buf);
    exp_pp(r.text, buf, r.size, 1);
    EXPECT_EQ(last_code(), r.code) << r.text;
    EXPECT_LT(std::strlen(buf), r.size) << r.text;
    if (r.result) {
      EXPECT_STREQ(buf, r.result);
    }
    EXPECT_EQ(std::string(buf + 64, kGuard), std::string(kGuard, 'G')) << r.text;
  }
  reports().clear();
  vln_macro_declare("&a&a");
  vln_macro_public("&a&a");
  EXPECT_EQ(last_code(), 314);
  const int32_t idx = vln_macro_declare("&n");
  EXPECT_EQ(idx, locate_var("newpriv"));
  EXPECT_EQ(mv_names[idx].v->D_level, glob_depth);
  // Two references to itself double the text with every pass.
  exp_eval("g := '&g&g&g&g&g&g&g&g&g&g&g&g&g&g&g&g'");
  EXPECT_EQ(exp_eval("&g"), ERROR_VAR);
  EXPECT_EQ(last_code(), 315);
}

// 150,000-term chains of each left-associative operator, and nesting past
// the limit: a value or a report, never a stack overflow.
TEST_F(Eval, LongChainsAndDeepNesting)
{
  struct Row {
    const char* head;
    const char* unit;
    const char* tail;
    const char* shown;  // null: the report below
    int code;
  } rows[] = {{"", "1+", "1", "    150001", 0},
              {"", "1-", "1", "   -149999", 0},
              {"", "1*", "1", "         1", 0},
              {"", ".T. = ", ".T.", ".T.", 0},
              {"", ".T. .AND. ", ".T.", ".T.", 0},
              {"", ".F. .OR. ", ".F.", ".F.", 0},
              {"", "1, ", "2", "         2", 0},
              {"", "'a' $ ", "'a'", nullptr, 201},
              {"", "-(", "1", nullptr, 309},
              {"", "x := ", "1", nullptr, 309},
              {"{1}", "[1]", "", nullptr, 309},
              {"", "{|| ", "1", nullptr, 309}};
  constexpr int kTerms = 150000;
  for (const Row& r : rows) {
    std::string text = r.head;
    for (int i = 0; i < kTerms; ++i) text += r.unit;
    text += r.tail;
    reports().clear();
    const std::string got = shown(text.c_str());
    if (r.shown) {
      EXPECT_EQ(got, r.shown) << r.unit;
      EXPECT_TRUE(reports().empty()) << r.unit;
    } else {
      EXPECT_EQ(last_code(), r.code) << r.unit;
    }
    del_tmpvars(frame_.TmvNp);
  }
  exp_eval("s := {|| - - - - - - - - - - - - - - - - EVAL(s)}");
  reports().clear();
  exp_eval("EVAL(s)");
  ASSERT_FALSE(reports().empty());
  EXPECT_EQ(reports()[0].code, 416);
}

// Long texts, and argument and parameter lists longer than the stack
// arrays kept for short ones.
TEST_F(Eval, LongTextsAndManyArguments)
{
  const std::string text = "LEN('" + std::string(20u << 20, 'x') + "')";
  EXPECT_EQ(vlnNumVar(vlnBlockEval(vlnMakeCB(text.c_str()))), 20u << 20);
  EXPECT_EQ(shown("EVAL({|a, b, c, d, e, f, g, h, i, j| i + j}, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10)"),
            "        19");
  var* x = set_nv(7, 0);
  var* t = cre_arr(cre_tmpvar(), 17, VL_ARR_LIST,
                   {x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, set_nv(8, 0)});
  ASSERT_EQ(VARR(t)->A_size, 17u);
  EXPECT_EQ(VDBL(VARR(t)->A_vec[16]), 8.0);
}

TEST_F(Eval, WithErrstatOffTheFirstErrorStopsTheRun)
{
  errstat = 0;
  last_errno = 0;
  exp_eval("nofunc1() + nofunc2(undefinedvar)");
  errstat = 1;
  EXPECT_EQ(last_errno, 308);
  EXPECT_TRUE(reports().empty());
}

TEST_F(Eval, ATextCompilesOnceAndABlockRunsWithoutReparsing)
{
  var* block = mak_var('N', 'U');
  cpy_var(block, vlnMakeCB("7 * 6"));
  const uint64_t compiled = vln_expr_compile_count;
  for (int i = 0; i < 100000; ++i) {
    ASSERT_EQ(VDBL(vlnBlockEval(block)), 42.0);
    del_tmpvars(frame_.TmvNp);
  }
  for (int i = 0; i < 1000; ++i) {
    exp_eval("1 + 1");
    del_tmpvars(frame_.TmvNp);
  }
  EXPECT_LE(vln_expr_compile_count - compiled, 2u);
  del_var(block);
}

TEST_F(Eval, BlocksOutliveTheStatementThatMadeThem)
{
  var* keep = mak_var('N', 'U');
  cpy_var(keep, exp_eval("{|s| UPPER(s) + '!'}"));
  del_tmpvars(frame_.TmvNp);
  var* args[2] = {keep, set_cv("hi")};
  EXPECT_EQ(str(_bb_eval(2, args)), "HI!");
  EXPECT_TRUE(vlnTrueBlockEval(vlnMakeCB("1 < 2")));
  EXPECT_FALSE(vlnTrueBlockEval(vlnMakeCB("'text'")));
  EXPECT_FALSE(vlnTrueBlockEval(set_nv(1, 0)));  // not a block: silently false
  EXPECT_TRUE(reports().empty());
  del_var(keep);
}

TEST_F(Eval, SelfEvaluatingBlocksAreStopped)
{
  exp_eval("selfb := {|| EVAL(selfb)}");
  EXPECT_EQ(exp_eval("EVAL(selfb)")->Type, 'U');
  EXPECT_EQ(last_code(), 416);
  EXPECT_EQ(glob_depth, frame_.Depth + 1);
  exp_eval("mname := 'Ada'");
  EXPECT_EQ(str(vlnCMxV("&mname", 2)), "Ada");
  EXPECT_STREQ(filorexp("('abc' + '.txt')", 4096), "abc.txt");
  EXPECT_STREQ(filorexp("  plain.txt", 4096), "plain.txt");
}

TEST_F(Eval, ShortAndKeywordNames)
{
  EXPECT_STREQ(short_fun("RECC"), "reccount");
  EXPECT_STREQ(short_fun("tran"), "transform");
  EXPECT_STREQ(short_fun("sub"), "sub");
  EXPECT_STREQ(short_fun("substring"), "substring");
  const VlnKeyword table[] = {{"developer", 0}, {"delete", 1}, {"on", 2}, {nullptr, 0}};
  EXPECT_EQ(get_tok(" DEVEL ", table, 3), 0);
  EXPECT_EQ(get_tok("dele", table, 3), 1);
  EXPECT_EQ(get_tok("de", table, 3), -1);
  EXPECT_EQ(get_tok("on", table, 3), 2);  // the whole keyword
  EXPECT_EQ(get_tok("", table, 3), -1);
}
