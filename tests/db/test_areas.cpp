// Work areas over MEM tables: selection by number, alias and letter, the
// lowest free number, reuse of an empty record, aliases and their suffixes,
// pushes and the life of area records.
#include <string>
#include <vector>

#include "areas.h"
#include "dsslots.h"
#include "memdriver.h"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;
using vltest::expect_rows;

namespace {

class dbAreas : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    memdrv::install();
    memdrv::counters() = {};
    for (const char* name : {"cust", "orders", "items", "one", "two", "four", "other", "t",
                             "abcdefgh", "abcdefghi", "abcdefghij", "abcdefghijkl", "a", "m",
                             "memvar", "field", "_field", "tab\tx"})
      memdrv::define(name, {{"name", 'C', 10, 0}}, {{std::string("ANN")}});
  }
  void TearDown() override
  {
    memdrv::close_all();
    VlTest::TearDown();
  }
  // Open name in area n (0: the lowest free one), which is selected.
  static var* open_in(int n, const char* name, bool shared = false)
  {
    vlnSelect(set_nv(n, 0), 0);
    var* args[] = {set_cv(name), shared ? TRUE_VAR : NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, FALSE_VAR};
    return _bb_memnew(6, args);
  }
  static void close(var* obj) { vlnDoMethod("close", VLN_DS_CLOSE, 0, 1, &obj); }
  static std::vector<int> chain()
  {
    std::vector<int> numbers;
    for (AreaRec* a = vlnWAHead; a; a = a->nxt) numbers.push_back(a->number);
    return numbers;
  }
};

TEST_F(dbAreas, ChainStaysSortedAndSelectFindsByNumberAliasAndLetter)
{
  expect_rows({
      {"DBSELECTAREA(3), MEMNEW('/data/orders.dbf',,,,, .F.)"},
      {"DBSELECTAREA(1), MEMNEW('c:\\data\\cust.dbf',,,,, .F.)"},
      {"DBSELECTAREA(2), MEMNEW('items',,,,, .F.)"},
      {"{(1)->(ALIAS()), (3)->(ALIAS())}", "{CUST, ORDERS}"},
      {"DBSELECTAREA('orders'), SELECT()", "3"},
      {"DBSELECTAREA(' 2 '), SELECT()", "2"},
      {"DBSELECTAREA('a'), SELECT()", "1"},  // the letter of area 1
      {"{SELECT('cust'), SELECT('Items->name'), SELECT('nosuch'), SELECT('custxxxxxxxxx')}",
       "{1, 2, 0, 0}"},  // cut at 10, not a prefix match
      {"DBSELECTAREA(3), {SELECT(''), SELECT('M')}", "{3, 3}"},  // M: the selected area
  });
  EXPECT_EQ(chain(), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(vlnGetAreaObject(99), vlnSelectedArea->obj);
  // Modes 2 and 4 look up without selecting.
  EXPECT_EQ(vlnSelect(set_nv(1, 0), 2)->number, 1);
  EXPECT_EQ(vlnSelectedArea->number, 3);
  EXPECT_EQ(vlnSelect(set_nv(7, 0), 2), nullptr);
  EXPECT_TRUE(reports().empty());
}

TEST_F(dbAreas, ModesReportMissingAreasAsTheTableSays)
{
  vl_set_flag[VL_SLOT_LEVEL] = VL_LEVEL_DEVEL;  // 902 is a developer warning
  open_in(1, "cust");
  EXPECT_EQ(vlnSelect(set_cv("nosuch"), 0), nullptr);
  EXPECT_TRUE(reported(902, "Cannot select working area 'nosuch', ignored"));
  EXPECT_EQ(vlnSelect(set_nv(9, 0), 4), nullptr);
  EXPECT_EQ(vlnSelect(set_nv(70000, 0), 1), nullptr);
  EXPECT_EQ(vlnSelect(set_cv("-1"), 0), nullptr);
  EXPECT_EQ(count(902), 4);
  EXPECT_EQ(vlnSelect(set_nv(1, 0), 3), nullptr);
  EXPECT_EQ(vlnSelect(TRUE_VAR, 0), nullptr);
  EXPECT_EQ(count(320), 2);
  EXPECT_EQ(vlnSelectedArea->number, 1);
  // A letter A-L of an area not in use goes down the numeric path.
  EXPECT_EQ(vlnSelect(set_cv("c"), 0)->number, 3);
}

TEST_F(dbAreas, LowestFreeNumberAndTheEmptySelectedRecord)
{
  open_in(1, "one");
  open_in(2, "two");
  open_in(4, "four");
  EXPECT_EQ(vlnSelect(ZERO_VAR, 0)->number, 3);
  EXPECT_EQ(vlnSelect(ZERO_VAR, 2), nullptr);  // 0 only for modes 0 and -1
  memdrv::close_all();
  open_in(2, "two");
  EXPECT_EQ(vlnSelect(ZERO_VAR, -1)->number, 1);
  // The empty selected record is renumbered in place, not duplicated.
  AreaRec* empty = vlnSelect(set_nv(5, 0), 0);
  EXPECT_EQ(vlnSelect(ZERO_VAR, 0), empty);
  EXPECT_EQ(empty->number, 1);
  EXPECT_EQ(vlnSelect(set_nv(8, 0), 0), empty);
  EXPECT_EQ(empty->number, 8);
  EXPECT_EQ(chain(), (std::vector<int>{2}));
  // Leaving the empty record for a bound area frees it (ASan would see a
  // later use); the bound area stays.
  EXPECT_EQ(vlnSelect(set_nv(2, 0), 0)->number, 2);
  EXPECT_EQ(chain(), (std::vector<int>{2}));
  memdrv::close_all();
  EXPECT_EQ(vlnSelect(ZERO_VAR, 0)->number, 1);  // empty chain
}

TEST_F(dbAreas, SelectCommitsTheAreaItLeavesAndRefreshesASharedOneItEnters)
{
  open_in(1, "one");
  open_in(2, "two", true);
  auto& c = memdrv::counters();
  c.skips = 0;
  vlnSelect(set_nv(1, 0), 0);  // leaves shared: skip(0); enters plain: none
  EXPECT_EQ(c.skips, 1);
  EXPECT_EQ(c.last_skip, 0);
  vlnSelect(set_nv(2, 0), 0);  // leaves plain: skip(0); enters shared: skip(0)
  EXPECT_EQ(c.skips, 3);
  vlnSelect(set_nv(2, 0), 0);  // no change: only the commit of the area left
  EXPECT_EQ(c.skips, 4);
  vlnSelect(set_nv(1, 0), 2);  // a look-up commits too
  EXPECT_EQ(c.skips, 5);
}

TEST_F(dbAreas, AliasesThatCollideGetHexSuffixesByThePlacementRule)
{
  expect_rows({
      {"MEMNEW('cust'), ALIAS()", "CUST"},
      {"MEMNEW('Cust.dbf'), ALIAS()", "CUST_1"},  // case does not make it differ
      {"MEMNEW('ABCDEFGH'), ALIAS()", "ABCDEFGH"},
      {"MEMNEW('ABCDEFGH'), ALIAS()", "ABCDEFGH_1"},  // L=8: the suffix fits behind
      {"MEMNEW('ABCDEFGHI'), ALIAS()", "ABCDEFGHI"},
      {"MEMNEW('abcdefghi'), ALIAS()", "ABCDE_1"},  // L=9: two characters shorter
      {"MEMNEW('ABCDEFGHIJKL.DBF'), ALIAS()", "ABCDEFGHIJ"},  // cut at 10
      {"MEMNEW('ABCDEFGHIJ'), ALIAS()", "ABCDEFG_1"},  // L=10
      {"a := {}, AEVAL(ARRAY(18), {|| MEMNEW('t'), AADD(a, ALIAS())}), {a[1], a[2], a[16], a[17], a[18]}",
       "{T, T_1, T_f, T_10, T_11}"},  // two digits after f
      // With d = 2 a nine-letter name gives way further: L=9, d=2 at offset 4.
      {"AEVAL(ARRAY(15), {|| MEMNEW('ABCDEFGHI')}), ALIAS()", "ABCD_10"},
  });
  var* obj = _bb_memnew(0, nullptr);  // a closed object in a new area
  char buf[11];
  EXPECT_EQ(vlnAnnounceAlias(obj, "CUST", buf), 1);  // 1: the alias was changed
  EXPECT_STREQ(buf, "CUST_2");
}

TEST_F(dbAreas, RefusedAliasesLeaveTheObjectUnbound)
{
  for (const char* name : {"A.DBF", "m", "MEMVAR", "FIELD", "_FIELD", "TAB\tX"}) {
    SCOPED_TRACE(name);
    var* obj = open_in(0, name);
    EXPECT_EQ(vlnObjectLocateArea(obj), nullptr);
    EXPECT_EQ(vlnSelectedArea->obj, nullptr);
    close(obj);
  }
  EXPECT_EQ(vlnWAHead, nullptr);
  EXPECT_EQ(vlnValidAlias("N"), 1);
  EXPECT_EQ(vlnValidAlias("Memvar"), 1);  // the reserved words are exact
  EXPECT_EQ(vlnValidAlias(""), 1);
  EXPECT_TRUE(reports().empty());  // refusal is silent
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(memdrv::counters().axits, 6);
}

TEST_F(dbAreas, AnnounceAliasChecksTheObject)
{
  char buf[11];
  EXPECT_EQ(vlnAnnounceAlias(set_nv(1, 0), "x", buf), -1);
  EXPECT_TRUE(reported(317, "object required"));
  EXPECT_EQ(vlnAnnounceAlias(_bb_errornew(0, nullptr), "x", buf), -1);
  EXPECT_TRUE(reported(338, "Class must inherit from DataServer for hybrid operation"));
  // Without a buffer only the name is tested: no area is touched.
  open_in(1, "cust");
  var* probe = open_in(2, "other");
  EXPECT_EQ(vlnAnnounceAlias(probe, "cust", nullptr), 1);
  EXPECT_EQ(chain(), (std::vector<int>{1, 2}));
  var* loose = open_in(3, "A.DBF");  // bound to no area
  vlnSelect(ONE_VAR, 0);  // area 1 holds cust: a second table is refused
  EXPECT_EQ(vlnAnnounceAlias(loose, "x", buf), -1);
  EXPECT_TRUE(reported(342, "work area already in use"));
  EXPECT_STREQ(vlnNumberLocateArea(1)->alias, "CUST");
  close(loose);
}

TEST_F(dbAreas, ReannouncingRenamesTheAreaAndKnownAliasesBind)
{
  static char cust[] = "CUST";
  static char orders[] = "ORDERS";
  static char* known[] = {cust, orders};
  static AreaRec* slots[] = {nullptr, nullptr};
  vlnKnownAlias = known;
  vlnKnownAreas = slots;
  vlnKnownAreaCnt = 2;
  var* obj = open_in(1, "cust");
  AreaRec* a = vlnNumberLocateArea(1);
  EXPECT_EQ(slots[0], a);
  EXPECT_EQ(a->alias, known[0]);
  EXPECT_EQ(a->typ & VLN_AREA_KNOWN, VLN_AREA_KNOWN);
  EXPECT_EQ(vlnLocateKnownAlias("orders"), 1);

  char buf[11];
  EXPECT_EQ(vlnAnnounceAlias(obj, "orders.dbf", buf), 0);
  EXPECT_EQ(vlnNumberLocateArea(1), a);  // the same area, renamed
  EXPECT_EQ(slots[0], nullptr);
  EXPECT_EQ(slots[1], a);
  EXPECT_EQ(a->alias, known[1]);

  close(obj);
  EXPECT_EQ(slots[1], nullptr);
  EXPECT_EQ(vlnGetIAliasField(1, vln_add_var("name")), ERROR_VAR);
  EXPECT_TRUE(reported(342, "ORDERS"));
}

TEST_F(dbAreas, ClosingFreesTheObjectOnceAndPushesKeepTheAreaAlive)
{
  open_in(1, "cust");
  open_in(2, "orders");
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(memdrv::counters().axits, 0);  // the areas hold the objects
  vlnSelect(set_nv(1, 0), 0);
  AreaRec* one = vlnSelectedArea;
  EXPECT_EQ(one->lnks, 1u);
  AreaRec* prev = vlnPushCArea("orders");
  EXPECT_EQ(prev, one);
  EXPECT_EQ(one->lnks, 2u);
  EXPECT_EQ(vlnSelectedArea->number, 2);
  close(one->obj);  // closed while its selection is saved
  del_tmpvars(tmp_mark_);  // the close message's own link
  EXPECT_EQ(memdrv::counters().axits, 1);
  EXPECT_EQ(one->lnks, 1u);
  EXPECT_EQ(vlnPopArea(prev), one);  // alive, empty, with its number
  EXPECT_EQ(one->lnks, 0u);
  EXPECT_EQ(one->obj, nullptr);
  EXPECT_EQ(vlnSelectedArea->number, 1);
  EXPECT_EQ(chain(), (std::vector<int>{2}));
}

TEST_F(dbAreas, EveryPushIsBalancedByItsPop)
{
  open_in(1, "cust");
  AreaRec* one = vlnSelectedArea;
  const std::vector<std::pair<const char*, AreaRec* (*)()>> pushes = {
      {"empty number", [] { return vlnPushNArea(5); }},  // selects area 5 quietly
      {"wrong type", [] { return vlnPushVArea(TRUE_VAR); }},
      {"no area", [] { return vlnPushArea(nullptr); }},
      {"same area", [] { return vlnPushVArea(ONE_VAR); }},
      {"unknown known alias", [] { return vlnPushIArea(3); }},
  };
  for (const auto& [what, push] : pushes) {
    SCOPED_TRACE(what);
    AreaRec* prev = push();
    EXPECT_EQ(prev, one);
    EXPECT_EQ(one->lnks, 2u);
    EXPECT_EQ(vlnPopArea(prev), one);
    EXPECT_EQ(vlnSelectedArea, one);
    EXPECT_EQ(one->lnks, 1u);
  }
  EXPECT_TRUE(reported(342, "variable has wrong type"));
  EXPECT_TRUE(reported(342, "no such area"));
  EXPECT_TRUE(reported(342, "known alias 3"));
  EXPECT_EQ(reports().size(), 3u);  // the empty number was quiet
}

}  // namespace
