// BEGIN SEQUENCE, BREAK and errors in programs, and prompt statements.
#include "vm_harness.hpp"

namespace {

using vmtest::VmTest;

class VmSequence : public VmTest {
 protected:
  void SetUp() override
  {
    VmTest::SetUp();
    vln_error_handler = vln_default_error_handler;  // errors reach ERRORBLOCK
  }
};

TEST_F(VmSequence, BreakCarriesAValueOutOfNestedCallsIntoRecover)
{
  EXPECT_EQ(run("LOCAL r\n"
                "BEGIN SEQUENCE\n  a()\n  ? 'not here'\nRECOVER USING r\n  ? 'got', r\nEND\n"
                "? 'after', procname()\n"
                "PROCEDURE a\n  PRIVATE p := 1\n  b()\nRETURN\n"
                "PROCEDURE b\n  BREAK 'deep'\nRETURN\n"),
            "got deep\nafter T\n");
}

TEST_F(VmSequence, BreakWithoutRecoverLeavesTheSequence)
{
  EXPECT_EQ(run("BEGIN SEQUENCE\n  BREAK\n  ? 1\nEND SEQUENCE\n? 2\n"), "         2\n");
}

TEST_F(VmSequence, BreakInsideRecoverGoesToTheOuterSequence)
{
  EXPECT_EQ(run("LOCAL x\nBEGIN SEQUENCE\n"
                "  BEGIN SEQUENCE\n    BREAK 1\n  RECOVER USING x\n    BREAK x + 1\n  END\n"
                "RECOVER USING x\n  ? x\nEND\n"),
            "         2\n");
}

TEST_F(VmSequence, ExitAndReturnLeaveSequencesCleanly)
{
  EXPECT_EQ(run("LOCAL i\nFOR i := 1 TO 3\n  BEGIN SEQUENCE\n    IF i == 2\n      EXIT\n"
                "    ENDIF\n  END\nNEXT\n? i, f()\n"
                "BEGIN SEQUENCE\n  BREAK 'still anchored'\nRECOVER USING i\n  ? i\nEND\n"
                "FUNCTION f\n  BEGIN SEQUENCE\n    RETURN 'r'\n  END\nRETURN 'x'\n"),
            "         2 r\nstill anchored\n");
}

TEST_F(VmSequence, TheErrorBlockBreaksWithTheErrorObject)
{
  EXPECT_EQ(run("LOCAL e, old := errorblock({|x| break(x)})\n"
                "BEGIN SEQUENCE\n  ? 1 + 'a'\nRECOVER USING e\n  ? e:gencode, valtype(e)\nEND\n"
                "errorblock(old)\n"),
            "       201 O\n");
}

TEST_F(VmSequence, AnErrorInsideTheErrorBlockIsCaughtByTheOuterSequence)
{
  EXPECT_EQ(run("LOCAL e, old := errorblock({|x| bad_in_block(x)})\n"
                "BEGIN SEQUENCE\n  ? 1 + 'a'\nRECOVER USING e\n  ? 'recovered', e\nEND\n"
                "errorblock(old)\n"
                "FUNCTION bad_in_block(x)\n  errorblock({|y| break('inner ' + str(y:gencode, 4))})\n"
                "RETURN x:nosuch()\n"),
            "recovered inner  343\n");
}

TEST_F(VmSequence, LoopLeavesASequenceInsideTheLoopAndBreakStillLandsInTheOuterOne)
{
  EXPECT_EQ(run("LOCAL i, s := '', v\nBEGIN SEQUENCE\n"
                "  FOR i := 1 TO 3\n    BEGIN SEQUENCE\n      IF i == 2\n        LOOP\n      ENDIF\n"
                "      s += str(i, 1)\n    END\n  NEXT\n  BREAK s\n"
                "RECOVER USING v\n  ? v\nEND\n"),
            "13\n");
}

TEST_F(VmSequence, QuitEndsTheRunWithTheErrorlevel)
{
  EXPECT_EXIT(run("errorlevel(4)\nQUIT\n? 'not reached'\n"), ::testing::ExitedWithCode(4), "");
}

// Prompt statements run at the top level of the caller's frame.
class VmPrompt : public VmTest {
 protected:
  void SetUp() override
  {
    VmTest::SetUp();
    session_.breaks_end_statement();
    vln_fn_start(&frame_, "prompt", "prompt", 0, 0);
  }
  void TearDown() override
  {
    vln_fn_end(&frame_, 'U');
    VmTest::TearDown();
  }
  // Run one prompt line; false when it does not compile.
  bool line(const std::string& text, bool echo = false)
  {
    vl::prog::Unit u;
    vl::prog::Diagnostic d;
    if (!vl::prog::parse_unit("prompt", 0, text, u, d)) return false;
    return session_.run_immediate(u, echo, d);
  }
  frame frame_{};
  vl::prog::Session session_;
};

TEST_F(VmPrompt, LocalActsAsPrivateAndVariablesStayForTheNextLine)
{
  ASSERT_TRUE(line("LOCAL n := 5"));
  ASSERT_TRUE(line("m := n * 2"));
  ASSERT_TRUE(line("? n, m, type('n')"));
  EXPECT_EQ(vmtest::output(), "         5         10 N\n");
}

TEST_F(VmPrompt, EchoPrintsEachExpressionStatement)
{
  testing::internal::CaptureStdout();
  const bool ok = line("1 + 2\nx := 'a'\n? 'q'", true) && line("x", false);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "         3\na\n");  // not the NIL of ?
  EXPECT_TRUE(ok);
  EXPECT_EQ(vmtest::output(), "q\n");
}

TEST_F(VmPrompt, FunctionsDefinedAtThePromptAreCalledLater)
{
  ASSERT_TRUE(line("? 'defined'\nFUNCTION sq(n)\nRETURN n * n"));
  ASSERT_TRUE(line("? sq(7)"));
  EXPECT_EQ(vmtest::output(), "defined\n        49\n");
}

TEST_F(VmPrompt, AnErrorReturnsToTheCallerWithVariablesKept)
{
  vln_error_handler = [](const VlnErrReport*) { longjmp(*glob_sequencebuf, 1); };
  std::vector<vl::prog::Unit> units(1);
  vl::prog::Diagnostic d;
  ASSERT_TRUE(vl::prog::parse_unit("lib.prg", 0,
                                   "FUNCTION depth(n)\n  PRIVATE mine := n\n"
                                   "RETURN iif(n == 0, 1 + 'a', depth(n - 1))\n",
                                   units[0], d));
  ASSERT_TRUE(session_.load(units, d));
  ASSERT_TRUE(line("PRIVATE kept := 1"));
  ASSERT_TRUE(line("kept := depth(3)\nkept := 2"));
  EXPECT_EQ(old_fn_stack, &frame_);
  ASSERT_TRUE(line("? kept"));
  EXPECT_EQ(vmtest::output(), "         1\n");
  EXPECT_FALSE(line("IF .T."));
}

}  // namespace
