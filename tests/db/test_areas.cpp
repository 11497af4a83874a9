// Work areas: selection by number, alias and letter, the lowest free
// number, reuse of an empty record, aliases and their suffixes, pushes and
// the life of area records.
#include <string>
#include <vector>

#include "switches.hpp"
#include "test_areas_toy.hpp"

using namespace vl;

namespace {

using toy::Row;

class dbAreas : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    toy::counters() = {};
  }
  void TearDown() override
  {
    close_all();
    VlTest::TearDown();
  }
  static void close_all()
  {
    while (vlnWAHead) toy::close(vlnWAHead->obj);
  }
  // Select area n (mode 0) and open a table there.
  static var* open_in(int n, const char* name, toy::Kind kind = toy::Kind::plain)
  {
    vlnSelect(set_nv(n, 0), 0);
    return toy::open(name, {{"ANN", 30}, {"BOB", 40}}, kind);
  }
  static std::vector<int> chain()
  {
    std::vector<int> numbers;
    for (AreaRec* a = vlnWAHead; a; a = a->nxt) numbers.push_back(a->number);
    return numbers;
  }
  static std::string announce(const char* name)
  {
    vlnSelect(ZERO_VAR, 0);
    var* obj = toy::open(name, {{"X", 1}});
    return toy::alias(obj);
  }
  static int select_fn(const char* text)
  {
    var* arg = set_cv(text);
    return vlnIntVar(_bb_select(1, &arg));
  }
};

TEST_F(dbAreas, ChainStaysSortedAndSelectFindsByNumberAliasAndLetter)
{
  open_in(3, "/data/orders.dbf");
  open_in(1, "c:\\data\\cust.dbf");
  open_in(2, "items");
  EXPECT_EQ(chain(), (std::vector<int>{1, 2, 3}));
  EXPECT_STREQ(vlnNumberLocateArea(1)->alias, "CUST");
  EXPECT_STREQ(vlnNumberLocateArea(3)->alias, "ORDERS");

  EXPECT_EQ(vlnSelect(set_cv("orders"), 0)->number, 3);
  EXPECT_EQ(vlnSelectedArea->number, 3);
  EXPECT_EQ(vlnSelect(set_cv(" 2 "), 0)->number, 2);
  EXPECT_EQ(vlnSelect(set_cv("a"), 0)->number, 1);  // the letter of area 1
  EXPECT_EQ(vlnSelect(set_nv(3, 0), 1)->number, 3);
  EXPECT_EQ(select_fn("cust"), 1);
  EXPECT_EQ(select_fn("Items->name"), 2);
  EXPECT_EQ(select_fn("nosuch"), 0);
  EXPECT_EQ(select_fn(""), 3);
  EXPECT_EQ(select_fn("M"), 3);  // M: the selected area
  EXPECT_EQ(select_fn("custxxxxxxxxx"), 0);  // cut at 10, not a prefix match
  EXPECT_EQ(vlnGetAreaObject(99), vlnSelectedArea->obj);
  // Modes 2 and 4 look up without selecting.
  EXPECT_EQ(vlnSelect(set_nv(1, 0), 2)->number, 1);
  EXPECT_EQ(vlnSelectedArea->number, 3);
  EXPECT_EQ(vlnSelect(set_nv(7, 0), 2), nullptr);
  EXPECT_EQ(vlnSelect(set_cv("nosuch"), 1), nullptr);
  EXPECT_TRUE(reports().empty());
}

TEST_F(dbAreas, ModesReportMissingAreasAsTheTableSays)
{
  vl_set_flag[VL_SLOT_LEVEL] = VL_LEVEL_DEVEL;  // 902 is a developer warning
  open_in(1, "cust");
  EXPECT_EQ(vlnSelect(set_cv("nosuch"), 0), nullptr);
  EXPECT_TRUE(reported(902, "Cannot select working area 'nosuch', ignored"));
  reports().clear();
  EXPECT_EQ(vlnSelect(set_nv(9, 0), 4), nullptr);
  EXPECT_TRUE(reported(902, "Cannot select working area 9, ignored"));
  reports().clear();
  EXPECT_EQ(vlnSelect(set_nv(70000, 0), 1), nullptr);
  EXPECT_TRUE(reported(902, "Cannot select working area 70000, ignored"));
  EXPECT_EQ(vlnSelect(set_cv("-1"), 0), nullptr);
  EXPECT_TRUE(reported(902, "Cannot select working area -1, ignored"));
  reports().clear();
  EXPECT_EQ(vlnSelect(set_nv(1, 0), 3), nullptr);
  EXPECT_TRUE(reported(320, "Illegal parameter for vlnSelect(..., 3)"));
  EXPECT_EQ(vlnSelect(TRUE_VAR, 0), nullptr);
  EXPECT_TRUE(reported(320, "Illegal parameter for vlnSelect(L, ...)"));
  EXPECT_EQ(vlnSelectedArea->number, 1);
  // A letter A-L of an area not in use goes down the numeric path.
  EXPECT_EQ(vlnSelect(set_cv("c"), 0)->number, 3);
}

TEST_F(dbAreas, LowestFreeNumberFillsTheFirstGap)
{
  open_in(1, "one");
  open_in(2, "two");
  open_in(4, "four");
  EXPECT_EQ(vlnSelect(ZERO_VAR, 0)->number, 3);
  EXPECT_EQ(vlnSelect(ZERO_VAR, 2), nullptr);  // 0 only for modes 0 and -1
  close_all();
  open_in(2, "two");
  EXPECT_EQ(vlnSelect(ZERO_VAR, -1)->number, 1);
  close_all();
  EXPECT_EQ(vlnSelect(ZERO_VAR, 0)->number, 1);  // empty chain
}

TEST_F(dbAreas, EmptySelectedRecordIsReusedNotDuplicated)
{
  open_in(1, "cust");
  AreaRec* empty = vlnSelect(set_nv(5, 0), 0);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(vlnSelect(ZERO_VAR, 0), empty);  // renumbered in place
  EXPECT_EQ(empty->number, 2);
  EXPECT_EQ(vlnSelect(set_nv(8, 0), 0), empty);
  EXPECT_EQ(empty->number, 8);
  EXPECT_EQ(chain(), (std::vector<int>{1}));
  // Leaving the empty record for a bound area frees it (ASan would see a
  // later use); the bound area stays.
  EXPECT_EQ(vlnSelect(set_nv(1, 0), 0)->number, 1);
  EXPECT_EQ(chain(), (std::vector<int>{1}));
}

TEST_F(dbAreas, SelectCommitsTheAreaItLeavesAndRefreshesASharedOneItEnters)
{
  vlnSelect(set_nv(1, 0), 0);
  toy::open("plain", {{"A", 1}});
  vlnSelect(set_nv(2, 0), 0);
  toy::open("shared", {{"A", 1}}, toy::Kind::plain, true);
  auto& c = toy::counters();
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
  EXPECT_EQ(announce("cust"), "CUST");
  EXPECT_EQ(announce("Cust.dbf"), "CUST_1");  // case does not make it differ
  int changed = -2;
  vlnSelect(ZERO_VAR, 0);
  toy::open("CUST", {{"X", 1}}, toy::Kind::plain, false, &changed);
  EXPECT_EQ(changed, 1);
  EXPECT_STREQ(vlnSelectedArea->alias, "CUST_2");

  EXPECT_EQ(announce("ABCDEFGH"), "ABCDEFGH");
  EXPECT_EQ(announce("ABCDEFGH"), "ABCDEFGH_1");  // L=8: the suffix fits behind
  EXPECT_EQ(announce("ABCDEFGHI"), "ABCDEFGHI");
  EXPECT_EQ(announce("abcdefghi"), "ABCDE_1");  // L=9: two characters shorter
  EXPECT_EQ(announce("ABCDEFGHIJKL.DBF"), "ABCDEFGHIJ");  // cut at 10
  EXPECT_EQ(announce("ABCDEFGHIJ"), "ABCDEFG_1");  // L=10
}

TEST_F(dbAreas, SuffixCounterGrowsToTwoDigitsAfterF)
{
  std::vector<std::string> got;
  for (int i = 0; i < 18; ++i) got.push_back(announce("t"));
  EXPECT_EQ(got[0], "T");
  EXPECT_EQ(got[1], "T_1");
  EXPECT_EQ(got[15], "T_f");
  EXPECT_EQ(got[16], "T_10");
  EXPECT_EQ(got[17], "T_11");
  // With d = 2 a nine-letter name gives way further: L=9, d=2 at offset 4.
  for (int i = 0; i < 17; ++i) got.push_back(announce("ABCDEFGHI"));
  EXPECT_EQ(got.back(), "ABCD_10");
}

TEST_F(dbAreas, RefusedAliasesLeaveTheObjectUnbound)
{
  for (const char* name : {"A.DBF", "m", "MEMVAR", "FIELD", "_FIELD", "TAB\tX"}) {
    SCOPED_TRACE(name);
    vlnSelect(ZERO_VAR, 0);
    var* obj = toy::open(name, {{"X", 1}});
    EXPECT_EQ(vlnObjectLocateArea(obj), nullptr);
    EXPECT_EQ(vlnSelectedArea->obj, nullptr);
    toy::close(obj);
  }
  EXPECT_EQ(vlnWAHead, nullptr);
  EXPECT_EQ(vlnValidAlias("N"), 1);
  EXPECT_EQ(vlnValidAlias("Memvar"), 1);  // the reserved words are exact
  EXPECT_EQ(vlnValidAlias(""), 1);
  EXPECT_TRUE(reports().empty());  // refusal is silent
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(toy::counters().axits, 6);
}

TEST_F(dbAreas, AnnounceAliasChecksTheObject)
{
  char buf[11];
  EXPECT_EQ(vlnAnnounceAlias(set_nv(1, 0), "x", buf), -1);
  EXPECT_TRUE(reported(317, "object required"));
  EXPECT_EQ(vlnAnnounceAlias(toy::plain_object(), "x", buf), -1);
  EXPECT_TRUE(reported(338, "Class must inherit from DataServer for hybrid operation"));
  // Without a buffer only the name is tested: no area is touched.
  open_in(1, "cust");
  vlnSelect(set_nv(2, 0), 0);
  var* probe = toy::open("other", {{"X", 1}});
  EXPECT_EQ(vlnAnnounceAlias(probe, "cust", nullptr), 1);
  EXPECT_EQ(chain(), (std::vector<int>{1, 2}));
  vlnSelect(set_nv(3, 0), 0);
  var* loose = toy::open("A.DBF", {{"X", 1}});  // bound to no area
  vlnSelect(ONE_VAR, 0);  // area 1 holds cust: a second table is refused
  EXPECT_EQ(vlnAnnounceAlias(loose, "x", buf), -1);
  EXPECT_TRUE(reported(342, "work area already in use"));
  EXPECT_STREQ(vlnNumberLocateArea(1)->alias, "CUST");
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
  EXPECT_EQ(vlnLocateKnownAlias(""), -1);

  char buf[11];
  EXPECT_EQ(vlnAnnounceAlias(obj, "orders.dbf", buf), 0);
  EXPECT_EQ(vlnNumberLocateArea(1), a);  // the same area, renamed
  EXPECT_EQ(slots[0], nullptr);
  EXPECT_EQ(slots[1], a);
  EXPECT_EQ(a->alias, known[1]);

  toy::close(vlnWAHead->obj);
  EXPECT_EQ(slots[1], nullptr);
  const int32_t sym = vln_add_var("name");
  EXPECT_EQ(vlnGetIAliasField(1, sym), ERROR_VAR);
  EXPECT_TRUE(reported(342, "ORDERS"));
}

TEST_F(dbAreas, ClosingFreesTheObjectOnceAndPushesKeepTheAreaAlive)
{
  open_in(1, "cust");
  open_in(2, "orders");
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(toy::counters().axits, 0);  // the areas hold the objects
  vlnSelect(set_nv(1, 0), 0);
  AreaRec* one = vlnSelectedArea;
  EXPECT_EQ(one->lnks, 1u);
  AreaRec* prev = vlnPushCArea("orders");
  EXPECT_EQ(prev, one);
  EXPECT_EQ(one->lnks, 2u);
  EXPECT_EQ(vlnSelectedArea->number, 2);
  toy::close(one->obj);  // closed while its selection is saved
  EXPECT_EQ(toy::counters().axits, 1);
  EXPECT_EQ(one->lnks, 1u);
  EXPECT_EQ(vlnPopArea(prev), one);  // alive, empty, with its number
  EXPECT_EQ(one->lnks, 0u);
  EXPECT_EQ(one->obj, nullptr);
  EXPECT_EQ(vlnSelectedArea->number, 1);
  EXPECT_EQ(chain(), (std::vector<int>{2}));
  toy::close(vlnWAHead->obj);
  EXPECT_EQ(toy::counters().axits, 2);
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
