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
using vltest::expect_rows;
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

TEST_F(VlSet, DevelMatchesEverySpellingFromThreeLetters)
{
  expect_rows({
      // Each call gives the former value, so every one shows the one before took.
      {"VL_SET('devel', .F.), {VL_SET('devel', .T.), VL_SET('develop', .F.), VL_SET('developer', .T.), "
       "VL_SET('DEVEL', .F.), VL_SET(' Dev ', .T.), VL_SET('dev', .F.), VL_SET('dev', .T.)}",
       "{.F., .T., .F., .T., .F., .T., .F.}"},
      {"{VL_SET('de', .F.), VL_SET('developers', .F.), VL_SET('', .F.), VL_SET('devel x', .F.)}",
       "{.F., .F., .F., .F.}"},
      {"VL_SET('devel')", ".T."},  // none of those was taken for devel
      {"VL_SET(1, .T.)", ".F."},   // the keyword must be a text
      {"VL_SET('devel', .T., .T.)", "#311"},
      {"VL_SET('devel', 'yes')", "#312"},
      // Tokens without a keyword.
      {"{VL_SET('slot24', .T.), VL_SET('slot25', .T.), VL_SET('token24', .T.), VL_SET('nonsense', .T.)}",
       "{.F., .F., .F., .F.}"},
  });
  vlset({txt("devel"), FALSE_VAR});
  EXPECT_EQ(vl_set_flag[VL_SLOT_LEVEL], VL_NORMAL_LEVEL);
  vl_set_flag[VL_SLOT_LEVEL] = 500;
  EXPECT_EQ(vlset({txt("devel")}), TRUE_VAR) << "700 or below is developer mode";
}

TEST_F(VlSet, FileAndPathCaseSwitchesExcludeEachOther)
{
  // Setting one clears the other; clearing one leaves the other alone.
  for (const char* row :
       {"{VL_SET('lowerfilename', .T.), VL_SET('upperfilename', .T.), VL_SET('lowerfilename', .T.), "
        "VL_SET('upperfilename'), VL_SET('lowerfilename', .F.), VL_SET('upperfilename')}",
        "{VL_SET('lowerpath', .T.), VL_SET('upperpath', .T.), VL_SET('lowerpath', .T.), "
        "VL_SET('upperpath'), VL_SET('lowerpath', .F.), VL_SET('upperpath')}"})
    expect_rows({{row, "{.F., .F., .F., .F., .T., .F.}"}});
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
  expect_rows({
      {"VL_SET('strip', 'ON')", "#312"},
      {"VL_SET('strip', .T., .T.)", "#311"},
      {"VL_SET('strip')", ".T."},
      // Numbers and texts.
      // Outside 1..100 ignored.
      {"{VL_SET('escdelay', 25), VL_SET('escdelay', 0), VL_SET('escdelay', 101)}", "{10, 25, 25}"},
      {"VL_SET('escdelay', 1, 2)", "#311"},
      {"VL_SET('escdelay', '5')", "#312"},
      {"VL_SET('escdelay')", "25"},
      {"{VL_SET('fourchar', 'abcdef'), VL_SET('fourchar', 'xy'), VL_SET('fourchar')}", "{, abcd, xy}"},
      {"VL_SET('intvar', .T.)", ".F."},
      {"VL_SET('intvar', 'x')", "#312 .T."},
      {"SET(24, 'spool.prn'), VL_SET('printerfile')", "spool.prn"},
      {"VL_SET('printerfile', 'x')", "#311"},
      // CONVERT maps extensions.
      {"{VL_SET('convert', 'NTX', 'idx'), VL_SET('convert', 'ntx')}", "{ntx.idx, ntx.idx}"},
      {"VL_SET('convert')", "#311"},
      {"VL_SET('convert', 1)", "#312"},
      {"VL_SET('convert', 'a', 1)", "#312"},
  });
  EXPECT_EQ(vlnGetIntvar(), 1);
  EXPECT_STREQ(vln_namemapext("/d/x.NTX"), "/d/x.idx");
  vl_call(_bb_vl_set, {txt("convert"), txt("ntx"), txt("")});  // the map is the process's
  vlset({txt("devel"), TRUE_VAR, TRUE_VAR});
  EXPECT_TRUE(reported(311, "expected only 2 arguments, 1:'expc' 2:'expl'"));
}

// Each call warns while the level is below two, even when it only asks.
TEST_F(VlSet, MultiUserSecurityWarnsWhileBelowTwo)
{
  vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL;
  expect_rows({
      {"VL_SET('multiUserSecur')", "3"},
      {"VL_SET('multiusersecur', 1)", "#902 3"},
      {"VL_SET('multiusersecur', NIL)", "#902 1"},
      {"VL_SET('multiusersecur')", "#902 1"},
      {"VL_SET('multiusersecur', 4)", "#312"},
      {"VL_SET('multiusersecur', '2')", "#312"},
      {"{VL_SET('multiusersecur', 2), VL_SET('multiusersecur'), VL_SET('multiusersecur', 3)}",
       "{1, 2, 2}"},
  });
  vlset({txt("multiusersecur"), num(1)});
  EXPECT_EQ(vlnFCNTLreadwrite, 1) << "the lock layer's switch";
  EXPECT_TRUE(reported(902, "DANGER: multi-user-security is only 1;"
                            "see description of vl_set('multiUserSecur')"));
}

TEST_F(VlSet, EnvironmentChangesAndReportsFailures)
{
  unsetenv("VL_TEST_ENV");
  expect_rows({
      {"VL_SET('environment', 'VL_TEST_ENV', 'one')", ""},
      {"{VL_SET('environment', 'VL_TEST_ENV'), GETENV('VL_TEST_ENV')}", "{one, one}"},
      {"VL_SET('environment', 'A=B', 'x')", "#301"},
      {"VL_SET('environment', 3)", "#312"},
      {"VL_SET('debugkey', 'x')", "#312"},
      {"VL_SET('interrupt', 1, 2)", "#311"},
      {"VALTYPE(VL_SET('setlanguage'))", "N"},  // handed to SETLANG: the former number
  });
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

TEST_F(VlSet, PushSavesAndSetsPopRestores)
{
  expect_rows({
      {"SET(1, .F.), SET(3, 2), __PUSHFLAG({1, {2, .T.}, {3, 6}, 'junk'}), {SET(2), SET(3) = 6}",
       "{.T., .T.}"},
      {"SET(1, .T.), __PUSHFLAG({{1, .F.}}), SET(1)", ".F."},
      {"__POPFLAGS(), SET(1)", ".T."},
      {"__POPFLAGS(), {SET(1), SET(2), SET(3)}", "{.F., .F., 2}"},
      {"__POPFLAGS(), SET(3)", "2"},  // empty: nothing happens
  });
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
