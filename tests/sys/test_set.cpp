// SET(): every number round-trips through its kind, refusing switches,
// the auto-lock and century settings, and the hooks that carry changes on.
#include <cstring>
#include <string>
#include <vector>

#include "fname.h"
#include "set.hpp"
#include "switches.hpp"
#include "test_set_fixture.hpp"

using namespace vl;

using namespace settest;
using vltest::str;

namespace {

class Set : public SetTest {};

bool is_true(var* v) { return v->Type == 'L' && VINT(v) == 1; }
bool is_false(var* v) { return v->Type == 'L' && VINT(v) == 0; }

struct LogicalCase {
  int n;
  bool dflt;
};

// Every logical SET number with its default.
const LogicalCase kLogicals[] = {
    {1, false},  {2, false},  {8, true},   {9, false},  {10, false}, {11, false},
    {12, true},  {13, false}, {17, true},  {26, false}, {27, false}, {28, true},
    {29, false}, {30, false}, {31, true},  {32, true},  {33, false}, {35, false},
    {37, false}, {40, false}, {41, false}};

TEST_F(Set, LogicalSettingsStartAtTheirDefaultsAndRoundTrip)
{
  for (const LogicalCase& c : kLogicals) {
    SCOPED_TRACE(c.n);
    EXPECT_EQ(is_true(set(c.n)), c.dflt);
    EXPECT_EQ(is_true(set(c.n, logic(!c.dflt))), c.dflt) << "returns the former value";
    EXPECT_EQ(is_true(set(c.n)), !c.dflt);
    EXPECT_EQ(is_true(set(c.n, logic(c.dflt))), !c.dflt);
    EXPECT_EQ(is_true(set(c.n)), c.dflt);
  }
  EXPECT_TRUE(reports().empty());
}

TEST_F(Set, OnOffTextsAndNumbersStandForLogicals)
{
  const char* on[] = {"ON", "on", "On ", "on  "};
  for (const char* t : on) {
    set(1, FALSE_VAR);
    set(1, txt(t));
    EXPECT_TRUE(is_true(set(1))) << t;
  }
  const char* off[] = {"OFF", "off", "oFf "};
  for (const char* t : off) {
    set(1, TRUE_VAR);
    set(1, txt(t));
    EXPECT_TRUE(is_false(set(1))) << t;
  }
  set(1, num(7));
  EXPECT_TRUE(is_true(set(1)));
  set(1, num(0));
  EXPECT_TRUE(is_false(set(1)));
  // Anything else leaves the switch alone.
  for (const char* t : {"ONX", "ON X", "yes", "", "OFFON"}) {
    set(1, txt(t));
    EXPECT_TRUE(is_false(set(1))) << t;
  }
  set(1, set_dv(100));
  EXPECT_TRUE(is_false(set(1)));
  EXPECT_EQ(vlnGetExact(), 0);
}

TEST_F(Set, LogicalSwitchesLiveWhereOtherModulesReadThem)
{
  set(1, TRUE_VAR);
  set(2, TRUE_VAR);
  set(11, TRUE_VAR);
  set(8, FALSE_VAR);
  set(9, TRUE_VAR);
  set(10, TRUE_VAR);
  set(29, TRUE_VAR);
  set(12, FALSE_VAR);
  EXPECT_EQ(vlnGetExact(), 1);
  EXPECT_EQ(vlnGetFixed(), 1);
  EXPECT_EQ(vlnGetDelete(), 1);
  EXPECT_EQ(vlnGetExclusive(), 0);
  EXPECT_EQ(vlnGetSoftSeek(), 1);
  EXPECT_EQ(vlnGetUnique(), 1);
  EXPECT_EQ(__status[VL_STATUS_INSERT], 1);
  EXPECT_EQ(__status[VL_STATUS_CANCEL], 0);
  EXPECT_EQ(flags[VL_FLAG_EXACT], 1);
  set(37, TRUE_VAR);
  EXPECT_EQ(vln_flagto.message_centre, -1);
}

struct NumericCase {
  int n;
  int dflt;
  int good;
  int bad;  // outside the range: no change
};

const NumericCase kNumerics[] = {
    {3, 2, 4, -1}, {5, 1900, 1950, -5}, {14, 50, 100, -1}, {25, 0, 10, 256}, {36, 0, 5, -2}};

TEST_F(Set, NumericSettingsRoundTripAndIgnoreBadValues)
{
  for (const NumericCase& c : kNumerics) {
    SCOPED_TRACE(c.n);
    var* r = set(c.n);
    ASSERT_EQ(r->Type, 'N');
    EXPECT_EQ(VDBL(r), c.dflt);
    EXPECT_EQ(VDBL(set(c.n, num(c.good))), c.dflt);
    EXPECT_EQ(VDBL(set(c.n, num(c.bad))), c.good);
    EXPECT_EQ(VDBL(set(c.n, txt("12"))), c.good) << "a text is no number";
    EXPECT_EQ(VDBL(set(c.n)), c.good);
  }
  EXPECT_EQ(vlnGetDecimals(), 4);
  EXPECT_EQ(vlnGetEpoch(), 1950);
}

TEST_F(Set, ALogicalSetsANumbersSign)
{
  set(36, TRUE_VAR);
  EXPECT_EQ(VDBL(set(36)), 1);
  set(36, txt("ON"));
  EXPECT_EQ(VDBL(set(36)), 1);
  set(3, num(5));
  set(3, FALSE_VAR);  // -1 decimals: refused
  EXPECT_EQ(VDBL(set(3)), 5);
  set(16, FALSE_VAR);
  EXPECT_EQ(VDBL(set(16)), 0);
  set(16, TRUE_VAR);
  EXPECT_EQ(VDBL(set(16)), 1);
  set(16, num(3));
  EXPECT_EQ(VDBL(set(16)), 1) << "the cursor is kept as 0 or 1";
}

TEST_F(Set, TextSettingsRoundTrip)
{
  EXPECT_EQ(str(set(15)), "W/N,N/W,N,N,N/W");
  EXPECT_EQ(str(set(15, txt("GR+/B"))), "W/N,N/W,N,N,N/W");
  EXPECT_EQ(str(set(15)), "GR+/B");

  EXPECT_EQ(str(set(20)), "SCREEN");
  EXPECT_EQ(str(set(20, txt("printer"))), "SCREEN");
  EXPECT_EQ(str(set(20)), "PRINT");
  EXPECT_EQ(vln_flagto.device_printer, 1);
  set(20, txt("anything"));
  EXPECT_EQ(str(set(20)), "SCREEN");
  EXPECT_EQ(vln_flagto.device_printer, 0);

  EXPECT_EQ(str(set(34)), "::");
  set(34, txt("[]"));
  EXPECT_EQ(str(set(34)), "[]");
  set(34, txt("|"));
  EXPECT_EQ(str(set(34)), "||") << "a missing right delimiter repeats the left";
  set(34, txt(""));
  EXPECT_EQ(str(set(34)), "||");

  set(19, txt("alt.txt  "));
  EXPECT_EQ(str(set(19, txt(""))), "alt.txt");
  EXPECT_EQ(str(set(22, txt("x"))), "");
  EXPECT_EQ(str(set(24, txt("p.prn"))), "");
  EXPECT_EQ(str(set(24)), "p.prn");
  set(15, num(3));
  EXPECT_EQ(str(set(15)), "GR+/B") << "a number is no text";
}

TEST_F(Set, DefaultHidesItsSlashAndPathKeepsItsText)
{
  EXPECT_EQ(str(set(7)), "");
  set(7, txt("/tmp/data"));
  EXPECT_STREQ(vlnGetDefault(), "/tmp/data/");
  EXPECT_EQ(str(set(7)), "/tmp/data");
  set(7, txt("/tmp/x/"));
  EXPECT_EQ(str(set(7, txt(""))), "/tmp/x");
  EXPECT_STREQ(vlnGetDefault(), "");

  set(6, txt("/a; /b/ ,c"));
  EXPECT_EQ(str(set(6)), "/a; /b/ ,c");
  ASSERT_EQ(vln_path_count(), 3);
  EXPECT_STREQ(vln_path_entry(0), "/a/");
  EXPECT_STREQ(vln_path_entry(1), "/b/");
  EXPECT_STREQ(vln_path_entry(2), "c/");
  EXPECT_EQ(vln_path_entry(3), nullptr);
  set(6, txt(""));
  EXPECT_EQ(vln_path_count(), 0);
}

TEST_F(Set, DateFormatIsCheckedAndStoredInNormalForm)
{
  EXPECT_EQ(str(set(4)), "MM/DD/YY");
  EXPECT_EQ(str(set(4, txt("dd.mm.yyyy"))), "MM/DD/YY");
  EXPECT_STREQ(vlnGetDateFormat(), "DD.MM.YYYY");
  EXPECT_TRUE(reports().empty());

  set(4, txt("MM/YY"));  // usable, a part missing: stored, reported in developer mode
  EXPECT_EQ(count(336), 0);
  EXPECT_STREQ(vlnGetDateFormat(), "MM/YY");
  vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL;
  set(4, txt("YY-MM"));
  EXPECT_EQ(count(336), 1);
  set(4, txt("MM/YY"));
  EXPECT_STREQ(vlnGetDateFormat(), "MM/YY");

  set(4, txt(""));  // unusable: reported, not stored
  set(4, txt("YYYY-MM-DD-hh:mm:ss"));
  EXPECT_EQ(count(336), 4);
  EXPECT_TRUE(reported(336, "SET: Illegal date format"));
  EXPECT_STREQ(vlnGetDateFormat(), "MM/YY");
}

TEST_F(Set, CenturyWidensAndNarrowsTheYear)
{
  EXPECT_TRUE(is_false(set(41)));
  EXPECT_TRUE(is_false(set(41, TRUE_VAR)));
  EXPECT_STREQ(vlnGetDateFormat(), "MM/DD/YYYY");
  EXPECT_TRUE(is_true(vl_call(_bb___setcentu, {FALSE_VAR})));
  EXPECT_STREQ(vlnGetDateFormat(), "MM/DD/YY");
  set(4, txt("YY.MM.DD"));
  EXPECT_EQ(vln_setcentury(1), 0);
  EXPECT_STREQ(vlnGetDateFormat(), "YYYY.MM.DD");
  EXPECT_EQ(vln_setcentury(1), 1);
  EXPECT_STREQ(vlnGetDateFormat(), "YYYY.MM.DD");
  set(4, txt("DD MM YYYY"));
  EXPECT_TRUE(is_true(set(41))) << "the century follows the format";
  // No room for two more letters: unchanged.
  set(4, txt("DD - MM  -  YY"));
  vln_setcentury(1);
  EXPECT_STREQ(vlnGetDateFormat(), "DD - MM  -  YY");
}

TEST_F(Set, UnknownNumbersGiveNilAndABadFirstArgumentIsReported)
{
  for (int n : {0, -1, 42, 100, 1000000}) EXPECT_EQ(set(n), NIL_VAR) << n;
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vl_call(_bb_set, {txt("1")}), NIL_VAR);
  EXPECT_TRUE(reported(311, "int SET()"));
  EXPECT_EQ(_bb_set(0, nullptr), NIL_VAR);
  EXPECT_EQ(count(311), 2);
  EXPECT_EQ(set(38), TRUE_VAR);
  EXPECT_EQ(set(38, FALSE_VAR), TRUE_VAR);
}

TEST_F(Set, SideChannelsGoOnOnlyWithAFile)
{
  EXPECT_TRUE(is_false(set(18, TRUE_VAR)));
  EXPECT_TRUE(is_false(set(18)));
  EXPECT_TRUE(is_false(set(21, TRUE_VAR)));
  EXPECT_TRUE(is_false(set(21)));
  set(19, txt("alt.txt"));
  set(22, txt("extra.txt"));
  set(18, TRUE_VAR);
  set(21, TRUE_VAR);
  EXPECT_TRUE(is_true(set(18)));
  EXPECT_TRUE(is_true(set(21)));
  set(19, txt(""));
  EXPECT_TRUE(is_false(set(18))) << "closing the file switches the channel off";
}

TEST_F(Set, PrinterWithoutSpoolFileIsRefused)
{
  EXPECT_TRUE(is_false(set(23, TRUE_VAR)));
  EXPECT_TRUE(reported(101, "Attempted SET PRINTER ON;but default spool file;was disabled"));
  EXPECT_TRUE(is_false(set(23)));
  set(24, txt("out.prn"));
  set(23, TRUE_VAR);
  EXPECT_TRUE(is_true(set(23)));
  // A printer layer decides for itself.
  set(23, FALSE_VAR);
  set(24, txt(""));
  vln_printer_ready_hook = [] { return 1; };
  set(23, TRUE_VAR);
  EXPECT_TRUE(is_true(set(23)));
  EXPECT_EQ(count(101), 1);
}

TEST_F(Set, AutoLockTakesNumbersAndLogicals)
{
  EXPECT_EQ(VDBL(set(39)), 10);
  EXPECT_EQ(VDBL(set(39, num(5))), 10);
  EXPECT_EQ(VDBL(set(39, FALSE_VAR)), 5);
  EXPECT_EQ(VDBL(set(39)), -3);
  EXPECT_EQ(VDBL(set(39, TRUE_VAR)), -3);
  EXPECT_EQ(VDBL(set(39)), -3) << "SET(39, .T.) leaves the time as it was";
  EXPECT_EQ(_cgetseton(1, 39), 0);
  EXPECT_EQ(_cgetsetnum(39, VL_SET_NOCHANGE), -3);
}

TEST_F(Set, HooksReceiveTheChanges)
{
  static std::vector<std::string> seen;
  seen.clear();
  vln_cursor_hook = [](int on) { seen.push_back("cursor " + std::to_string(on)); };
  vln_color_hook = [](const char* t) { seen.push_back(std::string("color ") + t); };
  vln_typeahead_hook = [](int n) { seen.push_back("typeahead " + std::to_string(n)); };
  vln_datefmt_hook = [](const char* f) { seen.push_back(std::string("date ") + f); };
  vln_alternate_hook = [](const char* t, int add) {
    seen.push_back(std::string("alt ") + t + " " + std::to_string(add));
    vln_flagto_settext(&vln_flagto.alternate_file, t);
  };
  vln_printer_hook = [](const char* t, int add) {
    seen.push_back(std::string("prn ") + t + " " + std::to_string(add));
  };
  vln_autolock_set_hook = [](int n) {
    seen.push_back("autolock " + std::to_string(n));
    return 77;
  };
  set(16, num(0));
  set(15, txt("N/W"));
  set(14, num(20));
  set(14, num(-4));
  set(4, txt("dd/mm/yy"));
  set(41, TRUE_VAR);
  set(19, txt("a.txt"));
  set(18, TRUE_VAR, TRUE_VAR);
  set(24, txt("p"), TRUE_VAR);
  EXPECT_EQ(VDBL(set(39, num(4))), 10) << "the former value comes from get";
  const std::vector<std::string> want = {
      "cursor 0",      "color N/W",   "typeahead 20", "date DD/MM/YY", "date DD/MM/YYYY",
      "alt a.txt 0",   "alt a.txt 1", "prn p 1",      "autolock 4"};
  EXPECT_EQ(seen, want);
  EXPECT_TRUE(is_true(set(18)));
}

TEST_F(Set, HostEntriesReadWithoutChanging)
{
  EXPECT_EQ(_cgetseton(2, 8), 1);
  EXPECT_EQ(_cgetseton(0, 8), 1);
  EXPECT_EQ(_cgetseton(2, 8), 0);
  EXPECT_EQ(_cgetseton(1, 3), -1) << "3 is no logical setting";
  EXPECT_EQ(_cgetsetnum(3, VL_SET_NOCHANGE), 2);
  EXPECT_EQ(_cgetsetnum(1, 5), VL_SET_NOCHANGE);
  EXPECT_STREQ(_cgetsetstr(20, nullptr), "SCREEN");
  EXPECT_EQ(_cgetsetstr(1, "x"), nullptr);
  static int additive = -1;
  vln_extra_hook = [](const char*, int add) { additive = add; };
  _cgetsetstr(22 + VL_SET_ADDITIVE, "e.txt");
  EXPECT_EQ(additive, 1);
}

}  // namespace
