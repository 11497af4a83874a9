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
using vltest::expect_rows;
using vltest::str;

namespace {

class Set : public SetTest {};

bool is_true(var* v) { return v->Type == 'L' && VINT(v) == 1; }

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
    EXPECT_EQ(is_true(set(c.n, logic(!c.dflt))), c.dflt) << "returns the former value";
    EXPECT_EQ(is_true(set(c.n, logic(c.dflt))), !c.dflt);
    EXPECT_EQ(is_true(set(c.n)), c.dflt);
  }
  EXPECT_TRUE(reports().empty());
}

TEST_F(Set, OnOffTextsAndNumbersStandForLogicals)
{
  expect_rows({
      // Each call gives the former value, so every other one shows the change.
      {"{SET(1, 'ON'), SET(1, .F.), SET(1, 'on'), SET(1, .F.), SET(1, 'On '), SET(1, 'OFF')}",
       "{.F., .T., .F., .T., .F., .T.}"},
      {"{SET(1, .T.), SET(1, 'oFf '), SET(1, 7), SET(1, 0), SET(1)}", "{.F., .T., .F., .T., .F.}"},
      // Anything else leaves the switch alone.
      {"SET(1, 'ONX'), SET(1, 'ON X'), SET(1, 'yes'), SET(1, ''), SET(1, 'OFFON'), SET(1)", ".F."},
      {"SET(1, CTOD('')), SET(1)", ".F."},
  });
  EXPECT_EQ(vlnGetExact(), 0);
  exp_eval("SET(1, .T.), SET(2, .T.), SET(11, .T.), SET(8, .F.), SET(9, .T.), SET(10, .T.), "
           "SET(29, .T.), SET(12, .F.), SET(37, .T.)");
  // The switches live where other modules read them.
  EXPECT_EQ(vlnGetExact() + vlnGetFixed() + vlnGetDelete() + vlnGetSoftSeek() + vlnGetUnique(), 5);
  EXPECT_EQ(vlnGetExclusive(), 0);
  EXPECT_EQ(__status[VL_STATUS_INSERT], 1);
  EXPECT_EQ(__status[VL_STATUS_CANCEL], 0);
  EXPECT_EQ(flags[VL_FLAG_EXACT], 1);
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

TEST_F(Set, LogicalsNumbersAndTexts)
{
  expect_rows({
      // A logical sets a number's sign.
      {"{SET(36, .T.), SET(36), SET(36, 0), SET(36, 'ON'), SET(36)}", "{0, 1, 1, 0, 1}"},
      {"SET(3, 5), SET(3, .F.), SET(3)", "5"},  // -1 decimals: refused
      // The cursor is kept as 0 or 1.
      {"{SET(16, .F.), SET(16), SET(16, .T.), SET(16), SET(16, 3), SET(16)}", "{1, 0, 0, 1, 1, 1}"},
      // The side channels go on only with a file; closing it switches them off.
      {"{SET(18, .T.), SET(18), SET(21, .T.), SET(21)}", "{.F., .F., .F., .F.}"},
      {"SET(19, 'alt.txt'), SET(22, 'extra.txt'), SET(18, .T.), SET(21, .T.), {SET(18), SET(21)}",
       "{.T., .T.}"},
      {"SET(19, ''), SET(18)", ".F."},
      // Texts round-trip.
      {"{SET(15, 'GR+/B'), SET(15), SET(15, 3), SET(15)}", "{W/N,N/W,N,N,N/W, GR+/B, GR+/B, GR+/B}"},
      {"{SET(20, 'printer'), SET(20), SET(20, 'anything'), SET(20)}", "{SCREEN, PRINT, PRINT, SCREEN}"},
      // A missing right delimiter repeats the left; an empty text is refused.
      {"{SET(34), SET(34, '[]'), SET(34), SET(34, '|'), SET(34, ''), SET(34)}", "{::, ::, [], [], ||, ||}"},
      {"{SET(19, 'alt.txt  '), SET(19, ''), SET(22, 'x'), SET(24, 'p.prn'), SET(24)}",
       "{, alt.txt, extra.txt, , p.prn}"},
      // Unknown numbers give NIL; a bad first argument is reported.
      {"{SET(0), SET(-1), SET(42), SET(100), SET(1000000)}", "{NIL, NIL, NIL, NIL, NIL}"},
      {"SET('1')", "#311 NIL"},
      {"SET()", "#311 NIL"},
      {"{SET(38), SET(38, .F.)}", "{.T., .T.}"},
      // The auto-lock takes numbers and logicals.
      {"{SET(39), SET(39, 5), SET(39, .F.), SET(39), SET(39, .T.), SET(39)}",  // .T. keeps the time
       "{10, 10, 5, -3, -3, -3}"},
  });
  EXPECT_EQ(_cgetseton(1, 39), 0);
  EXPECT_EQ(_cgetsetnum(39, VL_SET_NOCHANGE), -3);
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

TEST_F(Set, DateFormatAndCentury)
{
  expect_rows({
      // Checked and stored in normal form; with a part missing, stored quietly.
      {"{SET(4, 'dd.mm.yyyy'), SET(4), SET(4, 'MM/YY'), SET(4)}", "{MM/DD/YY, DD.MM.YYYY, DD.MM.YYYY, MM/YY}"},
      {"VL_SET('devel', .T.)"},
      {"SET(4, 'YY-MM'), SET(4)", "#336 YY-MM"},  // reported in developer mode
      {"SET(4, ''), SET(4)", "#336 YY-MM"},       // unusable: reported, not stored
      {"SET(4, 'YYYY-MM-DD-hh:mm:ss'), SET(4)", "#336 YY-MM"},
      {"VL_SET('devel', .F.), SET(4, 'MM/DD/YY'), SET(41)", ".F."},
      {"SET(41, .T.), SET(4)", "MM/DD/YYYY"},
      {"__SETCENTU(.F.), SET(4)", "MM/DD/YY"},
      {"SET(4, 'YY.MM.DD'), SET(41, .T.), SET(41, .T.), SET(4)", "YYYY.MM.DD"},
      {"SET(4, 'DD MM YYYY'), SET(41)", ".T."},  // the century follows the format
      {"SET(4, 'DD - MM  -  YY'), SET(41, .T.), SET(4)", "DD - MM  -  YY"},  // no room: unchanged
  });
  vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL;
  exp_eval("SET(4, '')");
  EXPECT_TRUE(reported(336, "SET: Illegal date format"));
  EXPECT_EQ(vln_setcentury(1), 0);
}

TEST_F(Set, PrinterWithoutSpoolFileIsRefused)
{
  expect_rows({
      {"SET(23, .T.)", "#101 .F."},
      {"SET(23)", ".F."},
      {"SET(24, 'out.prn'), SET(23, .T.), SET(23)", ".T."},
      {"SET(23, .F.), SET(24, '')"},
  });
  exp_eval("SET(23, .T.)");
  EXPECT_TRUE(reported(101, "Attempted SET PRINTER ON;but default spool file;was disabled"));
  vln_printer_ready_hook = [] { return 1; };  // a printer layer decides for itself
  expect_rows({{"SET(23, .T.), SET(23)", ".T."}});
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
