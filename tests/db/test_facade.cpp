// The driver registry and the database functions without a table: the
// answers on an empty area, driver names, DBSELECTAREA's argument rules,
// and what reaches a recording driver object.  Then the functions over the
// in-memory MEM driver, found by the registry as MEMNEW: sends reach its
// methods, messages it lacks answer from the abstract class, two tables
// resolve their fields through their areas, and closing retires an area,
// its fields and its object.
#include <cstdio>
#include <string>
#include <vector>

#include "dataserver.hpp"
#include "memdriver.h"
#include "rddreg.hpp"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;

namespace {


class Facade : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    vlnSelect(set_Iv(kArea), 0);
    ASSERT_NE(vlnSelectedArea, nullptr);
    ASSERT_EQ(vlnSelectedArea->obj, nullptr);
    reports().clear();
  }
  static constexpr int kArea = 3;
};

// Table functions on an area without a table: whether they report, and what
// they give.  The functions written by hand each have a row; of the ones that
// are a row of the facade's own table, one per shape, empty-area mode and
// neutral value.
TEST_F(Facade, EveryFunctionOnAnEmptyAreaGivesItsNeutralValue)
{
  vltest::expect_rows({
      {"DBAPPEND()", ".F."}, {"ORDSETFOCUS()", "0"}, {"DBSETLOCATE()", ".F."},
      {"DBRSELECT()", "0"}, {"INDEXNAMES()", "{}"}, {"DBF()", ""},
      // send, report
      {"DBDELETE()", "#322 .F."}, {"FIELDGET()", "#322 NIL"}, {"ORDDESTROY()", "#322 0"},
      {"DBEVAL()", "#322 .F."},
      // send or scope, silent
      {"DBCOMMIT()", ".F."}, {"__DBAPPSDF()", ".F."}, {"FIELDNAME()", ""}, {"INDEXCHECK()", "-1"},
      {"DBSTRUCT()", "NIL"},
      // read a variable
      {"RECNO()", "0"}, {"LUPDATE()", "  /  /  "}, {"DBGETLOCATE()", "NIL"},
      // asks a closed object of the default driver
      {"INDEXEXT()", ".idx"},
      {"DBSEEK()", "#322 .F."},
  });
  EXPECT_TRUE(reported(322, "in work area 3"));  // the report of the last row
}

// ---- The registry. ----

std::vector<std::string> g_ctor_calls;

// A constructor that records its arguments and makes no object.
var* toy_new(int argc, var** argv)
{
  std::string seen;
  for (int i = 0; i < argc; ++i) seen += vltest::shown(argv[i]) + ";";
  g_ctor_calls.push_back(seen);
  return NIL_VAR;
}

TEST_F(Facade, RddListAndTheDefaultDriver)
{
  vltest::expect_rows({
      {"l := RDDLIST(), n := LEN(l), l[1]", "DBFIDX"},
      {"ANNNEWRDD('  toolongdrivername '), ANNNEWRDD('DbfIdx'), ANNNEWRDD('   '), ANNNEWRDD(4)"},
      {"{LEN(l) - n, l[n + 1]}", "{1, TOOLONGDRI}"},  // the same array, grown once
      {"RDDSETDEFAULT(' toy  ')", "DBFIDX"},
      {"DBSETDRIVER()", "TOY"},  // no argument: unchanged
      {"RDDSETDEFAULT(1)", "TOY"},
  });
  EXPECT_STREQ(cDefaultDriver, "TOY");
}

TEST_F(Facade, ClearedDefaultFailsTheNextMakeWithTheBareSuffix)
{
  vl_call(_bb_rddsetdefa, {set_cv("")});
  EXPECT_STREQ(cDefaultDriver, "");
  EXPECT_EQ(vlnGetObject(NIL_VAR), nullptr);
  EXPECT_EQ(reports().size(), 1u);
  EXPECT_TRUE(reported(320, "Driver 'NEW' not found"));
  // A first-choice driver takes the place of a cleared default.
  std::snprintf(cFirstChoiceDriver, sizeof cFirstChoiceDriver, "%s", "FIRST");
  vl_call(_bb_rddsetdefa, {set_cv(" ")});
  EXPECT_STREQ(cDefaultDriver, "FIRST");
}

TEST_F(Facade, DriverNamesReachTheirConstructorTrimmedAndUpperCased)
{
  vln_register_fun("toynew", toy_new);
  g_ctor_calls.clear();
  EXPECT_EQ(vlnGetObject(set_cv("toy   ")), nullptr);  // not an object: no report
  // DBSERVERNEW passes its own arguments; the fifth names the driver.
  vl_call(_bb_dbserverne, {set_cv("file"), TRUE_VAR, NIL_VAR, NIL_VAR, set_cv(" Toy")});
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(g_ctor_calls, (std::vector<std::string>{"NIL;NIL;NIL;NIL;NIL;.F.;", "file;.T.;NIL;NIL; Toy;"}));
}

// ---- DBSELECTAREA. ----

TEST_F(Facade, SelectAreaArgumentRules)
{
  vl_set_flag[0] = VL_LEVEL_DEVEL;
  vltest::expect_rows({
      {"DBSELECTAREA()", "#902 .F."},
      {"DBSELECTAREA(.T.)", "#320 .F."},
      {"SELECT()", "3"},
      {"{DBSELECTAREA({|| 5}), SELECT()}", "{.T., 5}"},  // a block gives the area
      {"{DBSELECTAREA('2'), SELECT()}", "{.T., 2}"},
  });
}

// ---- What reaches the driver: an object that records its messages. ----

std::vector<std::string> g_sent;

template <int Slot>
var* record_method(int argc, var** argv)
{
  std::string line = std::to_string(Slot) + ":";
  for (int i = 1; i < argc; ++i) line += " " + vltest::shown(argv[i]);
  g_sent.push_back(line);
  return TRUE_VAR;
}

// Make record_method the method of each slot.
template <int... Slots>
void add_recorders(var* methods)
{
  (vlnAddMethod(methods, Slots, reinterpret_cast<AnyFn>(record_method<Slots>), 1), ...);
}

var* record_isrelation(var*)
{
  g_sent.push_back("isrelation?");
  return TRUE_VAR;
}

var* record_isrelation_as(var*, var* value)
{
  g_sent.push_back("isrelation= " + vltest::shown(value));
  return value;
}

class FacadeSends : public Facade {
 protected:
  void SetUp() override
  {
    Facade::SetUp();
    var* methods = cre_arr(cre_tmpvar(), VLN_DS_SLOT_COUNT, VL_ARR_NIL, static_cast<var*>(nullptr));
    for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) vlnAddMethod(methods, s, vlnDataserverMethod(s), 1);
    add_recorders<VLN_DS_SEEK, VLN_DS_EVAL, VLN_DS_GOTO, VLN_DS_APPEND, VLN_DS_FIELDINFO, VLN_DS_INFO,
                  VLN_DS_CREATEORDER, VLN_DS_COMMIT>(methods);
    vlnAddMethod(methods, VLN_DS_ISRELATION_AC, reinterpret_cast<AnyFn>(record_isrelation), 1);
    vlnAddMethod(methods, VLN_DS_ISRELATION_AS, reinterpret_cast<AnyFn>(record_isrelation_as), 1);
    var* obj = set_Ov(VLN_IV_COUNT, DataserverStruct, methods);
    vlnDataserverWire(obj);
    ASSERT_NE(vlnSetArea(vlnSelectedArea, 0, "REC", obj), nullptr);
    g_sent.clear();
  }
  void TearDown() override
  {
    vlnRetireAlias(vlnSelectedArea->obj);
    Facade::TearDown();
  }
};

TEST_F(FacadeSends, SeekFillsAMissingSoftseekFromTheSetting)
{
  vl_call(_bb_dbseek, {set_cv("k")});
  flags[VL_FLAG_SOFTSEEK] = 1;
  vl_call(_bb_dbseek, {set_cv("k")});
  vl_call(_bb_dbseek, {set_cv("k"), FALSE_VAR});
  EXPECT_EQ(g_sent, (std::vector<std::string>{"140: k .F.", "140: k .T.", "140: k .F."}));
}

TEST_F(FacadeSends, EvalPacksTheScopeAndRecordMovesFirst)
{
  vltest::expect_rows({{"DBEVAL({|| 5}, 'f', 'w', 4, 7, .T.)"},
                       {"DBEVAL({|| 5}, NIL, NIL, 4, NIL, .T.)"},  // NEXT over REST
                       {"DBEVAL({|| 5}, NIL, NIL, NIL, NIL, .T.)"}});
  EXPECT_EQ(g_sent, (std::vector<std::string>{"74: 7", "49: {||...} f w 1", "49: {||...} NIL NIL 4",
                                              "49: {||...} NIL NIL .T."}));
}

TEST_F(FacadeSends, DefaultsCodesAndArgumentLimits)
{
  vlnSetNeterr(1);
  vltest::expect_rows({{"DBAPPEND(), NETERR()", ".F."},  // the append gave TRUE
                       {"FIELDLEN(2)"}, {"FOUND(.T.)"}, {"ORDCREATE(1, 2, 3, 4, 5, 6, 7, 8, 9, 10)"}});
  EXPECT_EQ(g_sent, (std::vector<std::string>{"3: .T.", "54: 3 2", "84: 29 .T.",
                                              "38: 1 2 3 4 5 6 7 8 9"}));
}

TEST_F(FacadeSends, CommitAllSwitchesRelationsOffAroundTheCommit)
{
  vl_call(_bb_dbcommital, {});
  EXPECT_EQ(g_sent, (std::vector<std::string>{"isrelation?", "isrelation= .F.", "27:",
                                              "isrelation= .T."}));
}

using vltest::expect_rows;

class FacadeMem : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    memdrv::install();
    memdrv::define("PEOPLE", {{"NAME", 'C', 8, 0}, {"age", 'N', 3, 0}},
                   {{std::string("Ann"), 30.0}, {std::string("Bob"), 41.0}, {std::string("Cy"), 7.0}});
    memdrv::define("towns", {{"town", 'C', 10, 0}, {"age", 'N', 4, 0}}, {{std::string("OSLO"), 1000.0}});
    ASSERT_TRUE(memdrv::open("PEOPLE"));
    reports().clear();
  }
  void TearDown() override
  {
    _bb_dbcloseall(0, nullptr);
    VlTest::TearDown();
  }
};

TEST_F(FacadeMem, SendsAndReadsReachTheDriver)
{
  expect_rows({
      {"{USED(), ALIAS(), LASTREC(), FCOUNT(), RECNO()}", "{.T., PEOPLE, 3, 2, 1}"},
      {"DBSKIP(1), {RECNO(), FIELDGET(1), NAME}", "{2, Bob     , Bob     }"},
      {"FIELDPUT(2, 42), {FIELDGET(2), age}", "{42, 42}"},
      {"name := 'BOBBY', FIELDGET(1)", "BOBBY   "},  // a store goes through the driver
      {"DBGOBOTTOM(), {RECNO(), EOF(), name}", "{3, .F., Cy      }"},
      {"DBSKIP(), {RECNO(), EOF(), name}", "{4, .T.,         }"},  // blank at EOF
      {"DBGOTO(2), {EOF(), age}", "{.F., 42}"},
      {"DBSKIP(-5), {RECNO(), BOF()}", "{1, .T.}"},
      {"DBGOTOP(), BOF()", ".F."},
      {"ISDBEXCL()", ".T."},
      {"DBSKIP('2')", "#312 .F."},  // a wrong argument type does not move
      {"RECNO()", "1"},
  });
  EXPECT_EQ(vl_call(_bb_dbobject, {}), vlnSelectedArea->obj);
}

TEST_F(FacadeMem, MessagesTheDriverLacksAnswerFromTheAbstractClass)
{
  vlnSetNeterr(0);
  var* r = vl_call(_bb_dbappend, {});
  EXPECT_EQ(reports().size(), 1u);
  EXPECT_TRUE(reported(343, "append"));
  EXPECT_EQ(r->Type, 'O');  // the abstract member gives the object back
  EXPECT_EQ(vlnGetNeterr(), 1);
  expect_rows({{"DBSEEK('Bob')", "#343"}, {"RECNO()", "1"}});
}

TEST_F(FacadeMem, OpeningAndClosing)
{
  expect_rows({
      // DBSERVERNEW opens with the caller's arguments; the fifth names the driver.
      {"o := DBSERVERNEW('people', .F., NIL, NIL, 'Mem'), {o:used, ALIAS()}", "{.T., PEOPLE_1}"},
      {"MEMNEW('towns'), MEMNEW('PEOPLE'), SELECT()", "4"},
  });
  const int axits = memdrv::counters().axits;
  var* towns = vlnAliasLocateArea("TOWNS")->obj;
  vlnDoMethod("close", VLN_DS_CLOSE, 0, 1, &towns);
  EXPECT_EQ(memdrv::counters().axits, axits);  // the sender's copy still holds it
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(memdrv::counters().axits, axits + 1);
  EXPECT_EQ(vlnAliasLocateArea("TOWNS"), nullptr);
  // The field of the closed table is gone; the other tables' stay.
  expect_rows({{"people->town", "#306 ERROR"}, {"people->age", "30"}});
  vl_call(_bb_dbcloseall, {});
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(vlnWAHead, nullptr);
  EXPECT_EQ(memdrv::counters().axits, axits + 4);
  expect_rows({{"USED()", ".F."}});
  // A closed object leaves the areas alone.
  var* args[] = {NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, FALSE_VAR};
  var* obj = _bb_memnew(6, args);
  EXPECT_EQ(vlnWAHead, nullptr);
  EXPECT_FALSE(vlnLogVar(vlnDoInstance(obj, "used", VLN_IV_USED, 0, nullptr)));
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(memdrv::counters().axits, axits + 5);
  EXPECT_TRUE(reports().empty());
}

}  // namespace
