// Work areas over MEM tables: selection by number, alias and letter, the
// lowest free number, reuse of an empty record, aliases and their suffixes,
// pushes and the life of area records.  Field variables: names in
// expressions resolved against fields and memory variables, the getter
// families and their errors, stores through the driver, and the
// announcements of drivers written in the language.
#include <string>
#include <vector>

#include "memdriver.h"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;
using vltest::expect_rows;
using vltest::str;

namespace {

class dbAreas : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    memdrv::install();
    memdrv::counters() = {};
    for (const char* name : {"items", "one", "two", "four", "other", "t", "abcdefgh", "abcdefghi",
                             "abcdefghij", "abcdefghijkl", "m", "memvar", "field", "_field", "tab\tx"})
      memdrv::define(name, {{"name", 'C', 10, 0}}, {{std::string("ANN")}});
    memdrv::define("cust", {{"name", 'C', 10, 0}, {"age", 'N', 3, 0}},
                   {{std::string("ANN"), 30.0}, {std::string("BOB"), 40.0}});
    memdrv::define("orders", {{"name", 'C', 10, 0}}, {{std::string("ORDER-1")}});
    memdrv::define("a", {{"age", 'N', 3, 0}}, {{30.0}});
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

using dbFields = dbAreas;

TEST_F(dbFields, FieldsHideMemvarsAndResolvePerArea)
{
  const int32_t sym = vln_add_var("name");
  set_cvar(vlnGetVarForWrite(sym), "memvar");
  expect_rows({
      {"DBSELECTAREA(1), MEMNEW('cust',,,,, .F.)"},
      {"name", "ANN       "},  // the field, its full width
      {"{M->name, MEMVAR->name, FIELD->name}", "{memvar, memvar, ANN       }"},
      {"EVAL({|name| name}, 5)", "5"},  // a block parameter first
      {"DBGOTO(2), TRIM(name) + STR(age, 3)", "BOB 40"},
      {"DBSELECTAREA(3), name", "memvar"},  // an empty area: the memvar shows
      {"{cust->name, (1)->age}", "{BOB       , 40}"},
      {"{cust->(SELECT()), SELECT()}", "{1, 3}"},  // evaluated in area 1, and back again
      {"DBSELECTAREA(2), MEMNEW('orders',,,,, .F.), name", "ORDER-1   "},
      {"cust->name", "BOB       "},
  });
  EXPECT_EQ(mv_names[sym].nfields, 2u);
  var* cust = vlnNumberLocateArea(1)->obj;
  vlnDoMethod("close", VLN_DS_CLOSE, 0, 1, &cust);
  EXPECT_EQ(mv_names[sym].nfields, 1u);
  expect_rows({{"name", "ORDER-1   "}});
  memdrv::close_all();
  EXPECT_EQ(mv_names[sym].nfields, 0u);
  EXPECT_EQ(mv_names[sym].fields, nullptr);
  set_cvar(vlnGetVarForWrite(sym), "");
}

// Reads and stores take the quick methods when the class has them, else
// the messages fieldget and fieldput.
TEST_F(dbFields, AssignmentsWriteThroughTheDriverByTheQuickestPath)
{
  for (const char* make : {"MEMNEW", "MEMQUICKNEW"}) {
    const bool quick = make[3] == 'Q';
    SCOPED_TRACE(make);
    memdrv::define("cust", {{"name", 'C', 10, 0}, {"age", 'N', 3, 0}}, {{std::string("ANN"), 30.0}});
    exp_eval((std::string("DBSELECTAREA(1), ") + make + "('cust',,,,, .F.)").c_str());
    EXPECT_EQ(vlnSelectedArea->qgm != nullptr, quick);
    EXPECT_EQ(vlnSelectedArea->qpm != nullptr, quick);
    memdrv::counters() = {};
    expect_rows({
        {"name := 'Zed', age := age + 1"},
        {"DBSELECTAREA(2), cust->age := cust->age * 2, (1)->name := TRIM((1)->name) + 'a'"},
        {"{cust->name, cust->age}", "{Zeda      , 62}"},
    });
    const auto& c = memdrv::counters();
    EXPECT_EQ(quick ? c.quickputs : c.fieldputs, 4);
    EXPECT_EQ(quick ? c.fieldputs : c.quickputs, 0);
    EXPECT_EQ(quick ? c.fieldgets : c.quickgets, 0);
    EXPECT_GT(quick ? c.quickgets : c.fieldgets, 0);
    memdrv::close_all();
  }
}

TEST_F(dbFields, GettersReportEachWayOfMissing)
{
  exp_eval("DBSELECTAREA(1), MEMNEW('cust',,,,, .F.)");
  const int32_t sym = locate_var("age");
  const int32_t nosuch = vln_add_var("nosuch");
  AreaRec* a = vlnSelectedArea;
  EXPECT_EQ(vlnNumVar(vlnGetField(sym)), 30);
  EXPECT_EQ(vlnNumVar(vlnGetCField(" AGE ")), 30);
  EXPECT_EQ(vlnNumVar(vlnGetCAliasField("CUST", sym)), 30);
  EXPECT_EQ(vlnNumVar(vlnGetVAliasField(set_nv(1, 0), sym)), 30);
  EXPECT_EQ(vlnNumVar(vlnGetVAliasCField(set_cv("cust"), "age")), 30);
  EXPECT_EQ(vlnNumVar(vlnGetNAliasCField(1, "cust->age + 1")), 31);  // an expression
  EXPECT_EQ(vlnGetAliasFieldNoError(a, nosuch), nullptr);
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vlnAnnounceField("odd", 3, 'X', 1, 4, 0, nullptr), nullptr);
  EXPECT_TRUE(reported(204, "unknown field type 'X'"));
  EXPECT_LT(locate_var("odd"), 0);
  reports().clear();
  EXPECT_EQ(vlnGetAliasField(a, nosuch), NIL_VAR);
  EXPECT_EQ(vlnGetAliasCField(a, "nosuch"), ERROR_VAR);
  EXPECT_EQ(vlnGetVAliasField(TRUE_VAR, sym), ERROR_VAR);
  EXPECT_EQ(vlnGetIAliasField(0, sym), ERROR_VAR);  // the table is empty
  std::string codes;
  for (const auto& r : reports()) codes += std::to_string(r.code) + " ";
  EXPECT_EQ(codes, "306 306 312 342 ");
  EXPECT_TRUE(reported(306, "vlnGetAliasField: cannot find field 'nosuch'"));
  expect_rows({
      {"FIELD->nosuch", "#306 ERROR"},
      {"orders->age", "#342 ERROR"},
      {"(9)->age", "#342 ERROR"},
      {"cust->nosuch", "#306 ERROR"},
      {"orders->(SELECT())", "#342 ERROR"},  // as orders->age
      {"(7)->(SELECT())", "7"},              // an empty area, quietly
      {"(.t.)->(1)", "#342 ERROR"},
      {"SELECT()", "1"},
  });
  EXPECT_EQ(vlnSelectedArea, a);
  EXPECT_EQ(a->lnks, 1u);  // the failed push was undone
}

TEST_F(dbFields, FieldsOfAnUnboundTableAreRetiredByTheirObject)
{
  var* obj = exp_eval("DBSELECTAREA(1), MEMNEW('A.DBF',,,,, .F.)");  // alias A is refused
  EXPECT_EQ(vlnSelectedArea->obj, nullptr);
  expect_rows({{"age", "#901 NIL"}});  // not a field of area 1: an undefined memvar
  const int32_t sym = locate_var("age");
  EXPECT_EQ(mv_names[sym].nfields, 1u);
  vlnDoMethod("close", VLN_DS_CLOSE, 0, 1, &obj);
  EXPECT_EQ(mv_names[sym].nfields, 0u);
}

// A driver written in the language: its fields are plain records it keeps
// in an array (object slot 44) and its fieldput stores into them.
constexpr int32_t kArraySlot = 44;

int g_lang_puts = 0;

// fieldput(n, value): stores value into the field record; a negative value
// BREAKs out of the put.
var* lang_fieldput(int argc, var** argv)
{
  ++g_lang_puts;
  if (argv[2]->Type == 'N' && vlnNumVar(argv[2]) < 0) _bb_break(1, &argv[2]);
  var* fields = vlnGetObj(argv[0], kArraySlot);
  var* f = VARR(fields)->A_vec[vlnIntVar(argv[1]) - 1];
  return cpy_var(f, argv[2]);
}

var* lang_fieldget(int argc, var** argv)
{
  return VARR(vlnGetObj(argv[0], kArraySlot))->A_vec[vlnIntVar(argv[1]) - 1];
}

var* lang_object()
{
  static const VlnDsClass* cls = [] {
    unsigned char overrides[VLN_DS_SLOT_COUNT] = {};
    overrides[VLN_DS_FIELDGET] = overrides[VLN_DS_FIELDPUT] = 1;
    return vlnDsDeriveClass("langserver", overrides, nullptr, 0);
  }();
  static var* methods = vlnDsCollectMethods(cls, [](int32_t slot) {
    return slot == VLN_DS_FIELDGET   ? reinterpret_cast<AnyFn>(lang_fieldget)
           : slot == VLN_DS_FIELDPUT ? reinterpret_cast<AnyFn>(lang_fieldput)
                                     : AnyFn{};
  });
  var* obj = set_Ov(kArraySlot - 1, cls->rows, methods);
  cre_arr(vlnGetObj(obj, kArraySlot), 2, 0, static_cast<var*>(nullptr));
  return obj;
}

// Open a language-driver table in the selected area with the fields QTY
// (type given in lower case, padded) and LABEL.
var* open_lang(const char* name)
{
  var* obj = lang_object();
  var* fields = vlnGetObj(obj, kArraySlot);
  var* alias[] = {obj, set_cv(name)};
  _bb_rddannalia(2, alias);
  var* qty[] = {set_cv("QTY"), ONE_VAR, set_cv(" \tn"), ZERO_VAR, set_nv(5, 0), ZERO_VAR, fields};
  _bb_rddannfiel(7, qty);
  var* label[] = {set_cv("LABEL"), set_nv(2, 0), set_cv("C"), ZERO_VAR, set_nv(8, 0), ZERO_VAR, fields};
  _bb_rddannfiel(7, label);
  return obj;
}

// Retire the fields and the alias of a language-driver table.
void close_lang(var* obj)
{
  for (const char* name : {"label", "qty"}) {
    var* ret[] = {obj, set_cv(name)};
    _bb_rddretfiel(2, ret);
  }
  EXPECT_EQ(_bb_rddretalia(1, &obj), TRUE_VAR);
}

TEST_F(dbFields, LanguageDriversAnnounceFieldsIntoTheirArray)
{
  vlnSelect(ONE_VAR, 0);
  var* obj = open_lang("/tmp/lang.txt");
  var* fields = vlnGetObj(obj, kArraySlot);
  var* f = VARR(fields)->A_vec[0];
  EXPECT_EQ(f->Type, 'N');
  EXPECT_EQ(f->Mode, 'F');
  EXPECT_EQ(f->F_indx, 0u);
  EXPECT_STREQ(vlnSelectedArea->alias, "LANG");
  expect_rows({
      {"qty := 7, label := 'abc'"},  // to fieldput, which stores in the record
      {"{qty, label}", "{7, abc     }"},  // the field keeps its width
      {"label := 'a much longer text', label", "a much l"},
  });
  close_lang(obj);
  EXPECT_EQ(_bb_rddretalia(1, &obj), FALSE_VAR);
  expect_rows({{"label", "#901 NIL"}});  // no field any more: an undefined memvar
  // The array keeps the last values as values of its own.
  EXPECT_EQ(str(VARR(fields)->A_vec[1]), "a much l");
  EXPECT_EQ(VDBL(VARR(fields)->A_vec[0]), 7);
}

// (1)->(qty := -1) inside BEGIN SEQUENCE: the put BREAKs.
var* break_in_put(int argc, var** argv)
{
  VL_BEGIN("areas.prg", "breakinput");
  var* got = VL_LOCAL('U');
  VL_BEGIN_SEQUENCE
    VL_STMT(exp_eval("(1)->(qty := -1)"));
  VL_RECOVER(got)
  VL_END_SEQUENCE;
  VL_RETURN(got);
}

TEST_F(dbFields, DirectStoresReachTheDriverOnceAndABreakOutOfAPutUnwinds)
{
  vlnSelect(ONE_VAR, 0);
  var* obj = open_lang("lang");
  var* qty = VARR(vlnGetObj(obj, kArraySlot))->A_vec[0];
  g_lang_puts = 0;
  vlnSetField(qty, set_nv(3, 0));  // as compiled code stores a field
  EXPECT_EQ(g_lang_puts, 1);
  EXPECT_EQ(VDBL(qty), 3);

  vlnSelect(set_nv(2, 0), 0);
  AreaRec* one = vlnNumberLocateArea(1);
  EXPECT_EQ(vlnNumVar(vl_call(break_in_put, {})), -1);
  EXPECT_EQ(vlnSelectedArea->number, 2);  // the aliased list was undone
  EXPECT_EQ(one->lnks, 1u);
  EXPECT_EQ(g_lang_puts, 2);
  exp_eval("lang->qty := 4");  // the put is not left marked as running
  EXPECT_EQ(g_lang_puts, 3);
  EXPECT_EQ(VDBL(qty), 4);

  close_lang(obj);
}

TEST_F(dbFields, LanguageAnnouncementsCheckTheirArguments)
{
  expect_rows({
      {"RDDANNALIA(1)", "#311 ERROR"},
      {"RDDANNALIA({}, 1)", "#312 ERROR"},
      {"RDDANNFIEL('A', 1, 'C', 0, 1, 0)", "#311 ERROR"},
      {"RDDANNFIEL('A', '1', 'C', 0, 1, 0, {})", "#312 ERROR"},
      {"RDDANNFIEL('A', 3, 'C', 0, 1, 0, {NIL, NIL})", "#320 ERROR"},  // the array is too small
      {"RDDRETALIA(1)", "#312 ERROR"},
      {"RDDRETFIEL(1)", "#311 ERROR"},
  });
}

}  // namespace
