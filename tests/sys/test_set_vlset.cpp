// VL_Set(): keyword matching, each token's arguments and result, the
// argument errors, and the settings stack of __PUSHFLAG/__POPFLAGS.
#include <cstdlib>
#include <string>
#include <vector>

#include "fname.h"
#include "locks.hpp"
#include "switches.hpp"
#include "test_set_fixture.hpp"

using namespace vl;

using namespace settest;
using vltest::str;

namespace {

class VlSet : public SetTest {
 protected:
  void TearDown() override
  {
    while (depth_ > 0) {
      vl_call(_bb___popflags, {});
      --depth_;
    }
    SetTest::TearDown();
  }
  void push(var* list)
  {
    vl_call(_bb___pushflag, {list});
    ++depth_;
  }
  void pop()
  {
    vl_call(_bb___popflags, {});
    --depth_;
  }
  int depth_ = 0;
};

bool is_true(var* v) { return v->Type == 'L' && VINT(v) == 1; }

TEST_F(VlSet, DevelMatchesEverySpellingFromThreeLetters)
{
  for (const char* kw : {"devel", "develop", "developer", "DEVEL", " Dev ", "dev"}) {
    vl_set_flag[VL_SLOT_LEVEL] = VL_NORMAL_LEVEL;
    EXPECT_EQ(vlset({txt(kw), TRUE_VAR}), FALSE_VAR) << kw;
    EXPECT_EQ(vl_set_flag[VL_SLOT_LEVEL], VL_DEVEL_LEVEL) << kw;
    EXPECT_EQ(vlset({txt(kw)}), TRUE_VAR) << kw;
  }
  for (const char* kw : {"de", "developers", "", "xyz", "devel x"})
    EXPECT_EQ(vlset({txt(kw), FALSE_VAR}), FALSE_VAR) << kw;
  EXPECT_EQ(vl_set_flag[VL_SLOT_LEVEL], VL_DEVEL_LEVEL);
  vlset({txt("devel"), FALSE_VAR});
  EXPECT_EQ(vl_set_flag[VL_SLOT_LEVEL], VL_NORMAL_LEVEL);
  vl_set_flag[VL_SLOT_LEVEL] = 500;
  EXPECT_EQ(vlset({txt("devel")}), TRUE_VAR) << "700 or below is developer mode";
  EXPECT_EQ(vlset({num(1), TRUE_VAR}), FALSE_VAR) << "the keyword must be a text";
}

TEST_F(VlSet, DevelArgumentErrors)
{
  vlset({txt("devel"), TRUE_VAR, TRUE_VAR});
  vlset({txt("devel"), txt("yes")});
  EXPECT_TRUE(reported(311, "expected only 2 arguments, 1:'expc' 2:'expl'"));
  EXPECT_TRUE(reported(312, "expected logical for 2.nd argument"));
  EXPECT_EQ(vl_set_flag[VL_SLOT_LEVEL], VL_NORMAL_LEVEL);
}

TEST_F(VlSet, FileAndPathCaseSwitchesExcludeEachOther)
{
  struct Pair {
    const char* a;
    const char* b;
    int slot_a, slot_b;
  } pairs[] = {{"lowerfilename", "upperfilename", VL_SLOT_LOWERFILE, VL_SLOT_UPPERFILE},
               {"lowerpath", "upperpath", VL_SLOT_LOWERPATH, VL_SLOT_UPPERPATH}};
  for (const Pair& p : pairs) {
    EXPECT_EQ(vlset({txt(p.a), TRUE_VAR}), FALSE_VAR);
    EXPECT_EQ(vlset({txt(p.b), TRUE_VAR}), FALSE_VAR);
    EXPECT_EQ(vl_set_flag[p.slot_a], 0) << p.a << " cleared by " << p.b;
    EXPECT_EQ(vlset({txt(p.a), TRUE_VAR}), FALSE_VAR);
    EXPECT_EQ(vl_set_flag[p.slot_b], 0);
    EXPECT_EQ(vlset({txt(p.a), FALSE_VAR}), TRUE_VAR);
    EXPECT_EQ(vl_set_flag[p.slot_b], 0) << "false clears nothing";
  }
  vlset({txt("upperfile"), num(1)});
  EXPECT_EQ(vlnGetUpperFiles(), 1);
  EXPECT_EQ(vlnGetLowerFiles(), 0);
}

TEST_F(VlSet, PlainLogicalSlots)
{
  struct Slot {
    const char* kw;
    int slot;
  } slots[] = {{"slot12", VL_SLOT_MEMCOMPAT}, {"strip", VL_SLOT_STRIP},
               {"slot18", VL_SLOT_NULTEXT},   {"4.2compatible", VL_SLOT_COMPAT42},
               {"keyboardlookahead", VL_SLOT_LOOKAHEAD}};
  for (const Slot& s : slots) {
    EXPECT_EQ(vlset({txt(s.kw), TRUE_VAR}), FALSE_VAR) << s.kw;
    EXPECT_EQ(vl_set_flag[s.slot], 1) << s.kw;
    EXPECT_EQ(vlset({txt(s.kw)}), TRUE_VAR) << s.kw;
  }
  EXPECT_EQ(vlnGet42Compatible(), 1);
  EXPECT_EQ(vlnFCNTLcompat42, 1);
  vlset({txt("4.2"), FALSE_VAR});
  EXPECT_EQ(vlnFCNTLcompat42, 0);
  vlset({txt("strip"), txt("ON")});
  vlset({txt("strip"), TRUE_VAR, TRUE_VAR});
  EXPECT_TRUE(reported(312, "expected logical for 2.nd argument"));
  EXPECT_TRUE(reported(311, "expected 2 arguments, 1:'expc' 2:'expl'"));
  EXPECT_EQ(vl_set_flag[VL_SLOT_STRIP], 1);
}

TEST_F(VlSet, NumbersAndTexts)
{
  EXPECT_EQ(VDBL(vlset({txt("escdelay"), num(25)})), 10);
  EXPECT_EQ(VDBL(vlset({txt("escdelay"), num(0)})), 25);
  EXPECT_EQ(VDBL(vlset({txt("escdelay"), num(101)})), 25) << "outside 1..100 ignored";
  vlset({txt("escdelay"), num(1), num(2)});
  vlset({txt("escdelay"), txt("5")});
  EXPECT_TRUE(reported(311, "expected only 2 arguments for escdelay"));
  EXPECT_TRUE(reported(312, "expected numeric for 2.nd argument"));
  EXPECT_EQ(vl_set_flag[VL_SLOT_ESCDELAY], 25);

  EXPECT_EQ(str(vlset({txt("fourchar"), txt("abcdef")})), "");
  EXPECT_EQ(str(vlset({txt("fourchar"), txt("xy")})), "abcd");
  EXPECT_EQ(str(vlset({txt("fourchar")})), "xy");

  EXPECT_EQ(vlset({txt("intvar"), TRUE_VAR}), FALSE_VAR);
  EXPECT_EQ(vlnGetIntvar(), 1);
  EXPECT_EQ(vlset({txt("intvar"), txt("x")}), TRUE_VAR);
  EXPECT_TRUE(reported(312, "expected logical for VL_Set(Intvar)"));

  set(24, txt("spool.prn"));
  EXPECT_EQ(str(vlset({txt("printerfile")})), "spool.prn");
  vlset({txt("printerfile"), txt("x")});
  EXPECT_TRUE(reported(311, "no arguments allowed"));
}

TEST_F(VlSet, MultiUserSecurityWarnsWhileBelowTwo)
{
  vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL;
  EXPECT_EQ(VDBL(vlset({txt("multiUserSecur")})), 3);
  EXPECT_EQ(count(902), 0);
  EXPECT_EQ(VDBL(vlset({txt("multiusersecur"), num(1)})), 3);
  EXPECT_EQ(vlnFCNTLreadwrite, 1) << "the lock layer's switch";
  vlset({txt("multiusersecur"), NIL_VAR});
  vlset({txt("multiusersecur")});
  EXPECT_EQ(count(902), 3) << "each call warns, even when only asked";
  EXPECT_TRUE(reported(902, "DANGER: multi-user-security is only 1;"
                            "see description of vl_set('multiUserSecur')"));
  vlset({txt("multiusersecur"), num(4)});
  vlset({txt("multiusersecur"), txt("2")});
  EXPECT_EQ(count(312), 2);
  EXPECT_TRUE(reported(312, "expected NIL or numeric 0..3 for 2nd argument"));
  vlset({txt("multiusersecur"), num(2)});
  EXPECT_EQ(count(902), 5);
  vlset({txt("multiusersecur")});
  EXPECT_EQ(count(902), 5);
  vlset({txt("multiusersecur"), num(3)});
}

TEST_F(VlSet, ConvertMapsExtensions)
{
  EXPECT_EQ(str(vlset({txt("convert"), txt("NTX"), txt("idx")})), "ntx.idx");
  EXPECT_EQ(str(vlset({txt("convert"), txt("ntx")})), "ntx.idx");
  EXPECT_STREQ(vln_namemapext("/d/x.NTX"), "/d/x.idx");
  vlset({txt("convert")});
  vlset({txt("convert"), num(1)});
  vlset({txt("convert"), txt("a"), num(1)});
  EXPECT_TRUE(reported(311, "expected only 3 arguments convert, 1:'expc' 2:'from' 3:'to'"));
  EXPECT_TRUE(reported(312, "expected character for 2.nd argument"));
  EXPECT_TRUE(reported(312, "expected character for 3.rd argument"));
  vlset({txt("convert"), txt("ntx"), txt("")});
}

TEST_F(VlSet, EnvironmentChangesAndReportsFailures)
{
  unsetenv("VL_TEST_ENV");
  EXPECT_EQ(str(vlset({txt("environment"), txt("VL_TEST_ENV"), txt("one")})), "");
  EXPECT_STREQ(getenv("VL_TEST_ENV"), "one");
  EXPECT_EQ(str(vlset({txt("environment"), txt("VL_TEST_ENV")})), "one");
  static std::vector<std::string> calls;
  calls.clear();
  vln_checkforterm_hook = [](const char* name) {
    calls.push_back(std::string("check ") + name);
    return std::string(name) == "good" ? 1 : 0;
  };
  vln_term_reinit_hook = [] { calls.push_back("reinit"); };
  vlset({txt("environment"), txt("VL_TEST_ENV"), txt("bad"), TRUE_VAR});
  EXPECT_STREQ(getenv("VL_TEST_ENV"), "one");
  EXPECT_TRUE(reported(320, "Cannot initialize terminal (ignored)"));
  vlset({txt("environment"), txt("VL_TEST_ENV"), txt("good"), TRUE_VAR});
  EXPECT_STREQ(getenv("VL_TEST_ENV"), "good");
  EXPECT_EQ(calls, (std::vector<std::string>{"check bad", "check good", "reinit"}));
  vlset({txt("environment"), txt("A=B"), txt("x")});
  EXPECT_TRUE(reported(301, "Unable to extend environment for new variable"));
  vlset({txt("environment"), num(3)});
  EXPECT_TRUE(reported(312, "expected character for 2.nd argument"));
  unsetenv("VL_TEST_ENV");
}

TEST_F(VlSet, TerminalHooksAndDelegates)
{
  static std::vector<int> keys;
  keys.clear();
  vln_termkey_hook = [](int which, int code) {
    keys.push_back(which);
    keys.push_back(code);
  };
  vln_escdelay_hook = [](int n) { keys.push_back(n); };
  vln_lookahead_hook = [](int on) { keys.push_back(100 + on); };
  EXPECT_EQ(VDBL(vlset({txt("debugkey"), num(28)})), 0);
  EXPECT_EQ(VDBL(vlset({txt("interruptkey"), num(3)})), 0);
  EXPECT_EQ(VDBL(vlset({txt("debugkey")})), 28);
  vlset({txt("escdelay"), num(40)});
  vlset({txt("keyboard"), TRUE_VAR});
  EXPECT_EQ(keys, (std::vector<int>{VL_SLOT_DEBUGKEY, 28, VL_SLOT_INTRKEY, 3, 40, 101}));
  vlset({txt("debugkey"), txt("x")});
  vlset({txt("interrupt"), num(1), num(2)});
  EXPECT_TRUE(reported(312, "expected numeric for 2.nd argument"));
  EXPECT_TRUE(reported(311, "expected only 2 arguments, 1:'expc' 2:'expn'"));
  // Token 5 hands its arguments to SETLANG, which gives the former number.
  EXPECT_EQ(vlset({txt("setlanguage")})->Type, 'N');
}

TEST_F(VlSet, PrinterSequencesAreSevenTexts)
{
  var* former = vlset({txt("printersequences"), arr({txt("\r\n"), num(5), txt("\x1b" "E")})});
  ASSERT_EQ(former->Type, 'A');
  ASSERT_EQ(VARR(former)->A_size, 7u);
  const char* defaults[] = {"\n", "\f", "", "\r", "", " ", " "};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(str(VARR(former)->A_vec[i]), defaults[i]) << i;
  EXPECT_STREQ(vlnGetPrinterSeq(VL_PRSEQ_NEWLINE), "\r\n");
  EXPECT_STREQ(vlnGetPrinterSeq(VL_PRSEQ_NEWPAGE), "\f") << "a non-text keeps its place";
  EXPECT_STREQ(vlnGetPrinterSeq(VL_PRSEQ_MOVE), "\x1b" "E");
  EXPECT_STREQ(vlnGetPrinterSeq(99), "");
  var* now = vlset({txt("printersequences")});
  EXPECT_EQ(str(VARR(now)->A_vec[0]), "\r\n");
  vlset({txt("printersequences"), arr({txt("\n"), txt("\f"), txt("")})});
}

TEST_F(VlSet, TokensWithoutKeywordGiveFalse)
{
  for (const char* kw : {"slot24", "slot25", "token24", "nonsense"})
    EXPECT_EQ(vlset({txt(kw), TRUE_VAR}), FALSE_VAR) << kw;
}

TEST_F(VlSet, PushSavesAndSetsPopRestores)
{
  set(1, FALSE_VAR);
  set(3, num(2));
  push(arr({num(1), arr({num(2), TRUE_VAR}), arr({num(3), num(6)}), txt("junk")}));
  EXPECT_TRUE(is_true(set(2)));
  EXPECT_EQ(VDBL(set(3)), 6);
  set(1, TRUE_VAR);
  push(arr({arr({num(1), FALSE_VAR})}));
  EXPECT_FALSE(is_true(set(1)));
  pop();
  EXPECT_TRUE(is_true(set(1)));
  pop();
  EXPECT_FALSE(is_true(set(1)));
  EXPECT_FALSE(is_true(set(2)));
  EXPECT_EQ(VDBL(set(3)), 2);
  vl_call(_bb___popflags, {});  // empty: nothing happens
  EXPECT_EQ(VDBL(set(3)), 2);
  EXPECT_TRUE(reports().empty());
}

TEST_F(VlSet, PopReopensSideFilesForAppending)
{
  static std::vector<std::string> opens;
  opens.clear();
  vln_printer_hook = [](const char* t, int add) {
    opens.push_back(std::string(t) + (add ? " append" : " new"));
    vln_flagto_settext(&vln_flagto.printer_file, t);
  };
  set(24, txt("keep.prn"));
  push(arr({arr({num(24), txt("other.prn")})}));
  pop();
  EXPECT_EQ(opens, (std::vector<std::string>{"keep.prn new", "other.prn new",
                                             "keep.prn append"}));
}

TEST_F(VlSet, ABreakDuringPopReleasesAndPassesOn)
{
  push(arr({num(15)}));
  set(15, txt("R/W"));
  vln_color_hook = [](const char*) {
    vln_break_value = NIL_VAR;
    longjmp(*glob_sequencebuf, 1);
  };
  jmp_buf outer;
  jmp_buf* saved = glob_sequencebuf;
  glob_sequencebuf = &outer;
  bool jumped = false;
  if (setjmp(outer) == 0)
    pop();
  else
    jumped = true;
  glob_sequencebuf = saved;
  --depth_;
  EXPECT_TRUE(jumped);
  EXPECT_EQ(glob_sequencebuf, saved);
  vln_color_hook = nullptr;
  vl_call(_bb___popflags, {});  // the broken pop left nothing behind
  EXPECT_EQ(str(set(15)), "W/N,N/W,N,N,N/W");
}

}  // namespace
