// The machine's calls: recursion, parameters, PRIVATE visibility, STATIC
// persistence, macros naming variables and functions, several sources.
#include "vm_harness.hpp"

namespace {

using vmtest::Case;
using vmtest::VmTest;

class VmCalls : public vmtest::VmProgram {};

TEST_P(VmCalls, GivesItsOutput) { EXPECT_EQ(run(GetParam().source), GetParam().output); }

const Case kCases[] = {
    {"Fibonacci",
     "? fib(20), fib(1), fib(0)\n"
     "FUNCTION fib(n)\n"
     "  IF n < 2\n    RETURN n\n  ENDIF\n"
     "RETURN fib(n - 1) + fib(n - 2)\n",
     "      6765          1          0\n"},
    {"Ackermann",
     "? ack(2, 3), ack(3, 3)\n"
     "FUNCTION ack(m, n)\n"
     "  DO CASE\n"
     "  CASE m == 0\n    RETURN n + 1\n"
     "  CASE n == 0\n    RETURN ack(m - 1, 1)\n"
     "  ENDCASE\n"
     "RETURN ack(m - 1, ack(m, n - 1))\n",
     "         9         61\n"},
    {"MissingParametersAreNilAndPcountCountsGiven",
     "? f(1), f()\n"
     "FUNCTION f(a, b)\n"
     "RETURN str(pcount(), 1) + iif(b == NIL, 'nil', 'set')\n",
     "1nil 0nil\n"},
    {"ByReferenceChangesTheCallersLocal",
     "LOCAL x := 1\n"
     "bump(@x)\n bump(x)\n? x\n"
     "PROCEDURE bump(v)\n  v := v + 10\nRETURN\n",
     "        11\n"},
    {"PrivateSeenByCalleesAndGoneAfterReturn",
     "setp()\n? type('pv')\n"
     "PROCEDURE setp\n  PRIVATE pv := 'mine'\n  show()\nRETURN\n"
     "PROCEDURE show\n  ? pv\nRETURN\n",
     "mine\nU\n"},
    {"PrivateShadowsAndRestoresTheOuterOne",
     "PRIVATE v := 'outer'\ninner()\n? v\n"
     "PROCEDURE inner\n  PRIVATE v := 'inner'\n  ? v\nRETURN\n",
     "inner\nouter\n"},
    {"AssignmentToAnUndeclaredNameMakesAPrivate",
     "mk()\n? type('made')\n"
     "PROCEDURE mk\n  made := 5\n  ? made\nRETURN\n",
     "         5\nU\n"},
    {"PublicOutlivesItsFunction",
     "mk()\n? pub\n"
     "PROCEDURE mk\n  PUBLIC pub\n  pub := 'p'\nRETURN\n",
     "p\n"},
    {"ParametersArePrivates",
     "p(3, 'x')\n"
     "PROCEDURE p\n  PARAMETERS a, b\n  q()\nRETURN\n"
     "PROCEDURE q\n  ? a, b\nRETURN\n",
     "         3 x\n"},
    {"StaticKeepsItsValueAcrossCalls",
     "counter()\ncounter()\n? counter()\n"
     "FUNCTION counter\n  STATIC n := 0\n  n := n + 1\nRETURN n\n",
     "         3\n"},
    {"FileStaticIsSharedByTheFilesFunctions",
     "STATIC total := 100\n"
     "PROCEDURE main\n  add(5)\n  add(7)\n  ? total\nRETURN\n"
     "PROCEDURE add(n)\n  total := total + n\nRETURN\n",
     "       112\n"},
    {"MacroNamesAVariable",
     "PRIVATE target := 42, nm := 'target'\n? &nm\n&nm := 7\n? target\n",
     "        42\n         7\n"},
    {"MacroNamesAFunction",
     "PRIVATE f := 'twice'\n? &f(21)\n"
     "FUNCTION twice(n)\nRETURN n * 2\n",
     "        42\n"},
    {"CallByNameReachesAProgramFunctionDefinedLater",
     "? eval({|x| later(x)}, 4), do_it()\n"
     "FUNCTION do_it\n  PRIVATE fn := 'lat' + 'er'\nRETURN &fn(1)\n"
     "FUNCTION later(n)\nRETURN n + 100\n",
     "       104        101\n"},
    {"ProcnameAndProclineNameTheRunningFunction",
     "where()\n"
     "PROCEDURE where\n  ? procname(), procline()\nRETURN\n",
     "WHERE          3\n"},
    {"MutualRecursion",
     "? even(10), even(7)\n"
     "FUNCTION even(n)\nRETURN iif(n == 0, .T., odd(n - 1))\n"
     "FUNCTION odd(n)\nRETURN iif(n == 0, .F., even(n - 1))\n",
     ".T. .F.\n"},
    {"ArgumentsAreCopiesUnlessByReference",
     "LOCAL a := {1}, s := 'x'\nchange(a, s)\n? a[1], s\n"
     "PROCEDURE change(arr, str)\n  arr[1] := 2\n  str := 'y'\nRETURN\n",
     "         2 x\n"},
    {"StaticInABlockKeepsCountingAcrossCalls",
     "LOCAL b := maker()\neval(b)\n? eval(b), eval(maker())\n"
     "FUNCTION maker\n  STATIC calls := 0\nRETURN {|| calls := calls + 1}\n",
     "         2          3\n"},
};

INSTANTIATE_TEST_SUITE_P(Programs, VmCalls, ::testing::ValuesIn(kCases), vmtest::case_name);

TEST_F(VmTest, SourcesCallEachOtherAndStaticFunctionsStayInTheirFile)
{
  const std::string out = run({{"main.prg", "? helper(2), hidden()\n"
                                            "STATIC FUNCTION hidden\nRETURN 'main'\n"},
                               {"lib.prg", "FUNCTION helper(n)\nRETURN n * hidden()\n"
                                           "STATIC FUNCTION hidden\nRETURN 10\n"}});
  EXPECT_EQ(out, "        20 main\n");
}

TEST_F(VmTest, MainReceivesTheArgumentsAsTexts)
{
  EXPECT_EQ(run({{"t.prg", "PARAMETERS a, b\n? a + b, pcount()\n"}}, {"x", "y"}), "xy          2\n");
  EXPECT_EQ(status, 0);
}

TEST_F(VmTest, AFunctionDefinedTwiceIsRefusedAndNothingRegistered)
{
  EXPECT_EQ(run("? 1\nFUNCTION dup\nRETURN 1\nFUNCTION dup\nRETURN 2\n"),
            "load: function dup defined twice");
  EXPECT_LE(find_fun("dup"), 0);
}

TEST_F(VmTest, AnUnknownFunctionIsReportedWhenCalledNotWhenLoaded)
{
  EXPECT_EQ(run("? 'before'\nIF .F.\n  nosuchfn()\nENDIF\n? 'after'\nnosuchfn()\n"),
            "before\nafter\n");
  EXPECT_EQ(count(VL_E_UNDEFINED_FUNC), 1);
}

TEST_F(VmTest, AFunctionOfAnEndedSessionReportsWhenCalled)
{
  EXPECT_EQ(run("? gone()\nFUNCTION gone\nRETURN 'here'\n"), "here\n");
  var* r = vl_call(vln_funcall("gone"), {});
  EXPECT_EQ(r, ERROR_VAR);
  EXPECT_EQ(count(VL_E_UNDEFINED_FUNC), 1);
}

TEST_F(VmTest, MoreFunctionsThanTrampolinesAreRefusedAtLoad)
{
  std::string text = "? 1\n";
  for (int i = 0; i <= 2048; ++i) text += "FUNCTION f" + std::to_string(i) + "\nRETURN 1\n";
  EXPECT_EQ(run(text), "load: too many functions: a run defines at most 2048");
  EXPECT_LE(find_fun("f1"), 0);
}

TEST_F(VmTest, ErrorlevelIsTheExitStatus)
{
  run("errorlevel(3)\n");
  EXPECT_EQ(status, 3);
  shell_return = 0;
}

}  // namespace
