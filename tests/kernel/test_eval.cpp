// The expression evaluator: a table of texts and the values ? shows for
// them, then the behaviours a table cannot show.
#include <string>

#include "vartostr.h"
#include "vltest.h"

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

struct Case {
  const char* text;
  const char* shown;
};

// Precedence, literals, calls, blocks, arrays, short-circuit and names.
const Case kCases[] = {
    {"1 + 2 * 3", "         7"},
    {"(1 + 2) * 3", "         9"},
    {"2 ** 3 ** 2", "        64"},  // power is left-associative
    {"-2 ** 2", "         4"},      // unary minus binds tighter than power
    {"10 % 4 + 7 / 2", "         5.5"},  // STR of an unsized number drops zeros
    {"2.50 * 2", "         5"},
    {"1 + 2 = 3 .AND. 4 > 3", ".T."},
    {".NOT. 1 = 2", ".T."},
    {"!.T. .OR. .T.", ".T."},
    {".T. .OR. 1/0", ".T."},          // the right side never runs
    {".F. .AND. undefinedf()", ".F."},
    {"'ab' + \"cd\"", "abcd"},
    {"'abc   ' - 'de'", "abcde   "},
    {"\"bc\" $ \"abcd\"", ".T."},
    {"'abc' = 'ab'", ".T."},           // SET EXACT off
    {"'abc' == 'ab'", ".F."},
    {"IIF(1 > 2, 'yes', 'no')", "no"},
    {"IF(.T., 'lazy', nofunc())", "lazy"},
    {"IIF(.F., 1,)", "NIL"},
    {"NIL", "NIL"},
    {"", "NIL"},
    {"   ", "NIL"},
    {"(1, 2, 3)", "         3"},
    {"{1, 2, 3}[2]", "         2"},
    {"{{1, 2}, {3, 4}}[2, 1]", "         3"},
    {"{{1, 2}, {3, 4}}[2][2]", "         4"},
    {"LEN({1, , 3})", "         3"},
    {"EVAL({|x| x * 2}, 21)", "        42"},
    {"EVAL({|a, b| a + b}, 1, 2)", "         3"},
    {"EVAL({|a, b| b}, 1)", "NIL"},
    {"EVAL({|| 'no params'})", "no params"},
    {"EVAL({|x| x + x}, 5)", "        10"},  // the parameter is not overwritten
    {"{|x| x}", "{||...}"},
    {"SUBS('abcdef', 2, 3)", "bcd"},       // short function name
    {"UPPER('name') + 'x'", "NAMEx"},
    {"TYPE('1 +')", "UE"},
    {"TYPE('nofunc()')", "UF"},
    {"TYPE('neverseen')", "U"},
    {"TYPE('{1}')", "A"},
    {"TYPE('.T.')", "L"},
    {"TYPE('a b c')", "UE"},
    {".y. .AND. .N. = .F.", ".T."},
};

TEST_F(Eval, ExpressionTable)
{
  for (const Case& c : kCases) {
    EXPECT_EQ(shown(c.text), c.shown) << c.text;
    del_tmpvars(frame_.TmvNp);
  }
  EXPECT_TRUE(reports().empty()) << reports()[0].description;
}

TEST_F(Eval, NamesAreCutToTenCharactersAndFolded)
{
  exp_eval("CustomerNumber := 42");
  EXPECT_EQ(shown("customernu"), "        42");
  EXPECT_EQ(shown("CUSTOMERNUMBERXYZ"), "        42");
  EXPECT_GE(locate_var("customernu"), 0);
}

TEST_F(Eval, AssignmentCreatesAPrivateAndReturnsTheRecord)
{
  var* r = exp_eval("counter := 1");
  const int32_t idx = locate_var("counter");
  ASSERT_GE(idx, 0);
  EXPECT_EQ(r, mv_names[idx].v);
  EXPECT_EQ(r->D_level, glob_depth);
  exp_eval("counter += 4, counter++");
  EXPECT_EQ(VDBL(mv_names[idx].v), 6.0);
  EXPECT_EQ(shown("counter--"), "         6");
  EXPECT_EQ(shown("--counter"), "         4");
  EXPECT_EQ(shown("M->counter * 10"), "        40");
}

TEST_F(Eval, TheRecordItselfComesBackForVariablesAndElements)
{
  exp_eval("arr := {10, 20, 30}");
  var* e = exp_eval("arr[2]");
  set_nvar(e, 99, 0);
  EXPECT_EQ(shown("arr[2]"), "        99");
  exp_eval("arr[3] := 'x'");
  EXPECT_EQ(shown("arr[3]"), "x");
}

TEST_F(Eval, MacrosExpandNamesAndAssignThroughThem)
{
  exp_eval("target := 1");
  exp_eval("which := 'target'");
  exp_eval("&which := 7");
  EXPECT_EQ(shown("target"), "         7");
  EXPECT_EQ(shown("&which. + 1"), "         8");
  exp_eval("part := 'ARG'");
  EXPECT_EQ(shown("'&part.s'"), "ARGs");  // the dot ends the name
  exp_eval("loop := '&loop'");
  EXPECT_EQ(exp_eval("&loop"), ERROR_VAR);
  EXPECT_EQ(last_code(), 314);
  exp_eval("number := 5");
  exp_eval("&number");  // not a text: the & stays and is refused
  EXPECT_EQ(last_code(), 202);
}

TEST_F(Eval, ErrorsCarryTheirCodes)
{
  struct Bad {
    const char* text;
    int code;
  } bad[] = {{"1 +", 309}, {"nofunction()", 308}, {"nosuchname", 307}, {"1 + 'a'", 201},
             {"(1", 309},  {"'open", 309},        {"x := ", 309},     {"3 := 4", 309},
             {"_L->x", 337}, {"alias->fld", 342}};
  for (const Bad& b : bad) {
    reports().clear();
    EXPECT_EQ(exp_eval(b.text), ERROR_VAR) << b.text;
    EXPECT_EQ(last_code(), b.code) << b.text;
  }
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
}

TEST_F(Eval, LanguageFunctionsAroundMacros)
{
  exp_eval("mname := 'Ada'");
  EXPECT_EQ(shown("MACROEVAL('mname')"), "Ada");
  EXPECT_EQ(shown("MACROEVAL('two words')"), "two words");
  EXPECT_EQ(shown("MACROSUBST('hello &mname.!')"), "hello Ada!");
  EXPECT_EQ(shown("EVAL(MEMVARBLOCK('mname'))"), "Ada");
  EXPECT_EQ(shown("MEMVARBLOCK('nothingatall')"), "NIL");
  EXPECT_EQ(shown("ISFUNCTION('subs')"), ".T.");
  exp_eval("total := 0");
  exp_eval("__FOREVAL(1, 4, 1, {|i| total := total + i})");
  EXPECT_EQ(shown("total"), "        10");
  exp_eval("__WHILEVAL({|| total < 15}, {|| total := total + 2})");
  EXPECT_EQ(shown("total"), "        16");
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
