// The machine's statements and values: loops, branches, strings, arrays of
// arrays, blocks that capture LOCALs.
#include "vm_harness.hpp"

namespace {

using vmtest::Case;
using vmtest::VmTest;

class VmFlow : public vmtest::VmProgram {};

TEST_P(VmFlow, GivesItsOutput) { EXPECT_EQ(run(GetParam().source), GetParam().output); }

const Case kCases[] = {
    {"ForCountsUpAndLeavesTheVariablePastTheLimit",
     "LOCAL i, s := ''\nFOR i := 1 TO 3\n  s += str(i, 1)\nNEXT\n? s, i\n",
     "123          4\n"},
    {"ForWithNegativeStep",
     "LOCAL i, s := ''\nFOR i := 5 TO 1 STEP -2\n  s += str(i, 1)\nNEXT\n? s, i\n",
     "531         -1\n"},
    {"ForWithFractionalStep",
     "LOCAL i, n := 0\nFOR i := 0 TO 1 STEP 0.25\n  n++\nNEXT\n? n, i\n",
     "         5          1.25\n"},
    {"ForThatNeverRuns",
     "LOCAL i, n := 0\nFOR i := 3 TO 1\n  n++\nNEXT\n? n, i\n",
     "         0          3\n"},
    {"ForOnAMemvarAndAnExpressionLimit",
     "PRIVATE k, lim := 2\nFOR k := 1 TO lim * 2\nNEXT\n? k\n",
     "         5\n"},
    {"ExitAndLoopInNestedLoops",
     "LOCAL i, j, s := ''\n"
     "FOR i := 1 TO 4\n"
     "  IF i == 2\n    LOOP\n  ENDIF\n"
     "  j := 0\n"
     "  DO WHILE .T.\n    j++\n    IF j > i\n      EXIT\n    ENDIF\n"
     "    IF j == 2\n      LOOP\n    ENDIF\n    s += str(i, 1) + str(j, 1) + ' '\n  ENDDO\n"
     "  IF i == 3\n    EXIT\n  ENDIF\n"
     "NEXT\n? s, i\n",
     "11 31 33           3\n"},
    {"DoCaseTakesTheFirstTrueCaseOrOtherwise",
     "LOCAL n\nFOR n := 1 TO 3\n  DO CASE\n  CASE n == 1\n    ?? 'one '\n"
     "  CASE n < 3\n    ?? 'small '\n  OTHERWISE\n    ?? 'big'\n  ENDCASE\nNEXT\n",
     "one small big"},
    {"IfElseifElse",
     "LOCAL n := 5\nIF n < 0\n  ? 'neg'\nELSEIF n < 10\n  ? 'digit'\nELSE\n  ? 'big'\nENDIF\n",
     "digit\n"},
    {"ShortCircuitAndIif",
     "LOCAL a := NIL\n? a != NIL .AND. a > 1, a == NIL .OR. a > 1, iif(a == NIL, 'n', a)\n",
     ".F. .T. n\n"},
    {"StringBuilding",
     "LOCAL s := '', i\nFOR i := 1 TO 5\n  s := s + chr(64 + i)\nNEXT\n"
     "? s, len(s), substr(s, 2, 3) + lower(s)\n",
     "ABCDE          5 BCDabcde\n"},
    {"ArraysOfArrays",
     "LOCAL a := {{1, 2}, {3, {4, 5}}}, g[2, 3]\n"
     "a[2, 2, 1] := 40\n? a[2][2][1], len(a[2]), a[1, 2]\n"
     "g[2, 3] := 'x'\n? len(g), len(g[1]), g[2, 3], g[1, 1]\n",
     "        40          2          2\n         2          3 x NIL\n"},
    {"CompoundAssignmentAndIncrements",
     "LOCAL n := 10, m\nn += 5\nn *= 2\nm := n++\n? n, m, --n\n",
     "        31         30         30\n"},
    {"BlockCapturesALocalThatOutlivesItsFunction",
     "LOCAL inc := counter(10), get\n"
     "eval(inc)\neval(inc)\n? eval(inc)\n"
     "FUNCTION counter(start)\n  LOCAL n := start\nRETURN {|| n := n + 1}\n",
     "        13\n"},
    {"BlocksShareTheLocalTheyCapture",
     "LOCAL b := pair()\neval(b[1], 5)\n? eval(b[2])\n"
     "FUNCTION pair\n  LOCAL v := 0\nRETURN {{|x| v := x}, {|| v * 2}}\n",
     "        10\n"},
    {"NestedBlocksCaptureThroughTheOuterBlock",
     "LOCAL k := 3\n? eval(eval({|a| {|b| a + b + k}}, 10), 100)\n",
     "       113\n"},
    {"BlockParametersAndAeval",
     "LOCAL t := 0\naeval({1, 2, 3}, {|x| t += x})\n? t\n",
     "         6\n"},
    {"ForOverDates",
     "LOCAL d, n := 0\nFOR d := date() TO date() + 2\n  n++\nNEXT\n? n, d - date()\n",
     "         3          3\n"},
};

INSTANTIATE_TEST_SUITE_P(Programs, VmFlow, ::testing::ValuesIn(kCases), vmtest::case_name);

// A number formula assigned to a LOCAL runs without temporaries; it must
// give what the operators give through a memory variable, Decimals too,
// and leave anything that is not all numbers to the operators.
struct Formula {
  const char* text;
  const char* output;
};

class VmFormula : public VmTest, public ::testing::WithParamInterface<Formula> {};

TEST_P(VmFormula, GivesWhatTheOperatorsGive)
{
  const std::string f = GetParam().text;
  const std::string out =
      run("LOCAL a := 1.5, b := 2.25, c := 7, s := 'ab', x := 0, n := NIL\n"
          "PRIVATE m\n"
          "x := " + f + "\nm := " + f + "\n? x, m, x == m, valtype(x)\n");
  EXPECT_EQ(out, GetParam().output) << f;
}

const Formula kFormulas[] = {
    {"a * b + c", "        10.375         10.375 .T. N\n"},
    {"c + a * b", "        10.375         10.375 .T. N\n"},
    {"c - a * b - 1", "         2.625          2.625 .T. N\n"},
    {"a * (b - c) * 2", "       -14.25        -14.25 .T. N\n"},
    {"c * c * c * c * c * c * c * c * c * c", " 282475249  282475249 .T. N\n"},
    {"(a + (b + (c + (a + (b + (c + (a + (b + (c + 1)))))))))", "        33.25         33.25 .T. N\n"},
    {"c + 1", "         8          8 .T. N\n"},
    {"s + 'c'", "abc abc .T. C\n"},
    {"date() - date() + c", "         7          7 .T. N\n"},
};

INSTANTIATE_TEST_SUITE_P(Formulas, VmFormula, ::testing::ValuesIn(kFormulas));

TEST_F(VmTest, AFormulaOnANilOperandReportsAsTheOperatorDoes)
{
  EXPECT_EQ(run("LOCAL x := 1, n\nx := x + n * 2\n? valtype(x)\n"), "U\n");
  EXPECT_GE(count(VL_E_TYPE_MISMATCH), 1);
}

}  // namespace
