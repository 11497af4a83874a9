// The driver registry and the database functions without a table: the
// answers on an empty area, the argument check, driver names, and
// DBSELECTAREA's argument rules.
#include <cstdio>
#include <string>
#include <vector>

#include "areas.h"
#include "dataserver.hpp"
#include "dsslots.h"
#include "facade.h"
#include "rddreg.hpp"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;

namespace {

using vltest::str;

// A value as a short comparable text.
std::string show(var* v)
{
  switch (v->Type) {
    case 'L': return VINT(v) ? ".T." : ".F.";
    case 'C': case 'M': return "\"" + str(v) + "\"";
    case 'N': case 'F': case 'I': return "#" + std::to_string(static_cast<long>(vlnNumVar(v)));
    case 'D': return "D" + std::to_string(VINT(v));
    case 'A': return "A" + std::to_string(VARR(v)->A_size);
    case 'U': return "NIL";
    default: return std::string(1, v->Type);
  }
}

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

struct EmptyCase {
  const char* name;
  BbFn fn;
  bool reports;
  const char* answer;
};

// Table functions on an area without a table: whether they report, and what
// they give.  The functions written by hand each have a row; of the ones that
// are a row of the facade's own table, one per shape, empty-area mode and
// neutral value.
const EmptyCase kEmpty[] = {
    {"DBSEEK", _bb_dbseek, true, ".F."},          {"DBAPPEND", _bb_dbappend, false, ".F."},
    {"ORDLISTADD", _bb_ordlistadd, false, ".F."}, {"FOUND", _bb_found, false, ".F."},
    {"ORDSETFOCUS", _bb_ordsetfocu, false, "#0"}, {"DBSETLOCATE", _bb_dbsetlocat, false, ".F."},
    {"DBSETRELATION", _bb_dbsetrelat, false, ".F."}, {"ISDBEXCL", _bb_isdbexcl, false, ".F."},
    {"DBRSELECT", _bb_dbrselect, false, "#0"},    {"INDEXNAMES", _bb_indexnames, false, "A0"},
    {"DBF", _bb_dbf, false, "\"\""},
    // send, report
    {"DBDELETE", _bb_dbdelete, true, ".F."},      {"FIELDGET", _bb_fieldget, true, "NIL"},
    {"ORDDESTROY", _bb_orddestroy, true, "#0"},   {"DBEVAL", _bb_dbeval, true, ".F."},
    // send or scope, silent
    {"DBCOMMIT", _bb_dbcommit, false, ".F."},     {"__DBAPPSDF", _bb___dbappsdf, false, ".F."},
    {"FIELDNAME", _bb_fieldname, false, "\"\""}, {"INDEXCHECK", _bb_indexcheck, false, "#-1"},
    {"DBSTRUCT", _bb_dbstruct, false, "NIL"},
    // read a variable
    {"EOF", _bb_eof, false, ".F."},               {"ALIAS", _bb_alias, false, "\"\""},
    {"RECNO", _bb_recno, false, "#0"},            {"LUPDATE", _bb_lupdate, false, "D0"},
    {"DBGETLOCATE", _bb_dbgetlocat, false, "NIL"},
};

TEST_F(Facade, EveryFunctionOnAnEmptyAreaGivesItsNeutralValue)
{
  for (const EmptyCase& c : kEmpty) {
    SCOPED_TRACE(c.name);
    reports().clear();
    EXPECT_EQ(show(vl_call(c.fn, {})), c.answer);
    EXPECT_EQ(reports().size(), c.reports ? 1u : 0u);
    EXPECT_TRUE(!c.reports || reported(322, "in work area 3"));
  }
}

TEST_F(Facade, ParamCheckPassesAbsentNilAndListedTypes)
{
  EXPECT_EQ(vlnParamCheck(nullptr, "INF", "DBSKIP"), 1);
  EXPECT_EQ(vlnParamCheck(NIL_VAR, "INF", "DBSKIP"), 1);
  EXPECT_EQ(vlnParamCheck(set_Iv(2), "INF", "DBSKIP"), 1);
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vlnParamCheck(set_cv("x"), "INF", "DBSKIP"), 0);
  EXPECT_EQ(reports().size(), 1u);
  EXPECT_TRUE(reported(312, "DBSKIP: argument type 'C' not in 'INF'"));
  EXPECT_EQ(reports()[0].severity, VL_SEV_RUNTIME);
}

TEST_F(Facade, IndexExtensionWithoutTableAsksTheDefaultDriver)
{
  // No DBFIDX constructor is linked into this program: the closed object
  // cannot be made, which is reported, and the answer is empty.
  EXPECT_EQ(str(vl_call(_bb_indexext, {})), "");
  EXPECT_TRUE(reported(320, "Driver 'DBFIDXNEW' not found"));
}

// ---- The registry. ----

std::vector<int> g_ctor_argc;
std::vector<std::string> g_ctor_last;

// A constructor that records its call and makes no object.
var* toy_new(int argc, var** argv)
{
  g_ctor_argc.push_back(argc);
  std::string seen;
  for (int i = 0; i < argc; ++i) seen += show(argv[i]) + " ";
  g_ctor_last.push_back(seen);
  return NIL_VAR;
}

TEST_F(Facade, RddListHoldsTheStartUpDriverAndAnnouncedOnes)
{
  var* list = vl_call(_bb_rddlist, {});
  ASSERT_EQ(list->Type, 'A');
  const uint32_t before = VARR(list)->A_size;
  ASSERT_GE(before, 1u);
  EXPECT_EQ(str(VARR(list)->A_vec[0]), "DBFIDX");
  vl_call(_bb_annnewrdd, {set_cv("  toolongdrivername ")});
  vl_call(_bb_annnewrdd, {set_cv("DbfIdx")});
  vl_call(_bb_annnewrdd, {set_cv("   ")});
  vl_call(_bb_annnewrdd, {set_Iv(4)});
  ASSERT_EQ(VARR(list)->A_size, before + 1);  // the same array, grown once
  EXPECT_EQ(str(VARR(list)->A_vec[before]), "TOOLONGDRI");
}

TEST_F(Facade, SetDefaultReturnsThePreviousTrimsAndUpperCases)
{
  EXPECT_EQ(str(vl_call(_bb_rddsetdefa, {set_cv(" toy  ")})), "DBFIDX");
  EXPECT_STREQ(cDefaultDriver, "TOY");
  EXPECT_EQ(str(vl_call(_bb_dbsetdrive, {})), "TOY");  // no argument: unchanged
  EXPECT_EQ(str(vl_call(_bb_rddsetdefa, {set_Iv(1)})), "TOY");
  EXPECT_TRUE(reports().empty());
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
  g_ctor_argc.clear();
  g_ctor_last.clear();
  EXPECT_EQ(vlnGetObject(set_cv("toy   ")), nullptr);  // not an object: no report
  EXPECT_TRUE(reports().empty());
  ASSERT_EQ(g_ctor_argc.size(), 1u);
  EXPECT_EQ(g_ctor_argc[0], 6);
  EXPECT_EQ(g_ctor_last[0], "NIL NIL NIL NIL NIL .F. ");
  // DBSERVERNEW passes its own arguments; the fifth names the driver.
  vl_call(_bb_dbserverne, {set_cv("file"), TRUE_VAR, NIL_VAR, NIL_VAR, set_cv(" Toy")});
  ASSERT_EQ(g_ctor_argc.size(), 2u);
  EXPECT_EQ(g_ctor_last[1], "\"file\" .T. NIL NIL \" Toy\" ");
  EXPECT_EQ(vl_call(_bb_dbserverne, {NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, set_cv("nodriver")}), NIL_VAR);
  EXPECT_TRUE(reported(320, "Driver 'NODRIVERNEW' not found"));
}

// ---- DBSELECTAREA. ----

var* area_five(int, var**, var**) { return set_Iv(5); }

TEST_F(Facade, SelectAreaArgumentRules)
{
  vl_set_flag[0] = VL_LEVEL_DEVEL;
  EXPECT_EQ(vl_call(_bb_dbselectar, {}), FALSE_VAR);
  EXPECT_EQ(last_code(), 902);
  reports().clear();
  EXPECT_EQ(vl_call(_bb_dbselectar, {TRUE_VAR}), FALSE_VAR);
  EXPECT_EQ(reports().size(), 1u);
  EXPECT_TRUE(reported(320, "DbSelectArea(): illegal parameter type 'L'"));
  EXPECT_EQ(vlnSelectedArea->number, kArea);
  // A block gives the area.
  var* block = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(area_five), 0, static_cast<var*>(nullptr));
  EXPECT_EQ(vl_call(_bb_dbselectar, {block}), TRUE_VAR);
  EXPECT_EQ(vlnSelectedArea->number, 5);
  EXPECT_EQ(vl_call(_bb_dbselectar, {set_cv("2")}), TRUE_VAR);
  EXPECT_EQ(vlnSelectedArea->number, 2);
}

// ---- Scope packing (no RECORD: that one moves a table). ----

TEST_F(Facade, DoScopePacksForWhileAndTheWinningScope)
{
  var* fr = set_cv("for");
  var* wh = set_cv("while");
  var* next = set_Iv(4);
  var* target[3] = {};
  var* src1[] = {fr, wh, NIL_VAR, NIL_VAR, TRUE_VAR};
  EXPECT_EQ(vlnDoScope(1, src1, target, nullptr), 1);
  EXPECT_EQ(target[0], fr);
  EXPECT_EQ(vlnDoScope(3, src1, target, nullptr), 2);  // NEXT is NIL: no scope
  EXPECT_EQ(target[1], wh);
  EXPECT_EQ(vlnDoScope(9, src1, target, nullptr), 3);  // REST
  EXPECT_EQ(target[2], TRUE_VAR);
  var* src2[] = {fr, wh, next, NIL_VAR, TRUE_VAR};
  EXPECT_EQ(vlnDoScope(5, src2, target, nullptr), 3);  // NEXT over REST
  EXPECT_EQ(target[2], next);
  EXPECT_EQ(vlnDoScope(0, src2, target, nullptr), 0);
}

// ---- What reaches the driver: an object that records its messages. ----

std::vector<std::string> g_sent;

template <int Slot>
var* record_method(int argc, var** argv)
{
  std::string line = std::to_string(Slot) + ":";
  for (int i = 1; i < argc; ++i) line += " " + show(argv[i]);
  g_sent.push_back(line);
  return TRUE_VAR;
}

var* record_isrelation(var*)
{
  g_sent.push_back("isrelation?");
  return TRUE_VAR;
}

var* record_isrelation_as(var*, var* value)
{
  g_sent.push_back("isrelation= " + show(value));
  return value;
}

class FacadeSends : public Facade {
 protected:
  void SetUp() override
  {
    Facade::SetUp();
    var* methods = cre_arr(cre_tmpvar(), VLN_DS_SLOT_COUNT, VL_ARR_NIL, static_cast<var*>(nullptr));
    for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) vlnAddMethod(methods, s, vlnDataserverMethod(s), 1);
    const std::pair<int, AnyFn> recorders[] = {
        {VLN_DS_SEEK, reinterpret_cast<AnyFn>(record_method<VLN_DS_SEEK>)},
        {VLN_DS_EVAL, reinterpret_cast<AnyFn>(record_method<VLN_DS_EVAL>)},
        {VLN_DS_GOTO, reinterpret_cast<AnyFn>(record_method<VLN_DS_GOTO>)},
        {VLN_DS_APPEND, reinterpret_cast<AnyFn>(record_method<VLN_DS_APPEND>)},
        {VLN_DS_FIELDINFO, reinterpret_cast<AnyFn>(record_method<VLN_DS_FIELDINFO>)},
        {VLN_DS_INFO, reinterpret_cast<AnyFn>(record_method<VLN_DS_INFO>)},
        {VLN_DS_CREATEORDER, reinterpret_cast<AnyFn>(record_method<VLN_DS_CREATEORDER>)},
        {VLN_DS_COMMIT, reinterpret_cast<AnyFn>(record_method<VLN_DS_COMMIT>)},
        {VLN_DS_ISRELATION_AC, reinterpret_cast<AnyFn>(record_isrelation)},
        {VLN_DS_ISRELATION_AS, reinterpret_cast<AnyFn>(record_isrelation_as)},
    };
    for (const auto& [slot, fn] : recorders) vlnAddMethod(methods, slot, fn, 1);
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
  EXPECT_EQ(g_sent, (std::vector<std::string>{"140: \"k\" .F.", "140: \"k\" .T.", "140: \"k\" .F."}));
}

TEST_F(FacadeSends, EvalPacksTheScopeAndRecordMovesFirst)
{
  var* b = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(area_five), 0, static_cast<var*>(nullptr));
  vl_call(_bb_dbeval, {b, set_cv("f"), set_cv("w"), set_Iv(4), set_Iv(7), TRUE_VAR});
  vl_call(_bb_dbeval, {b, NIL_VAR, NIL_VAR, set_Iv(4)});
  EXPECT_EQ(g_sent, (std::vector<std::string>{"74: #7", "49: B \"f\" \"w\" #1", "49: B NIL NIL #4"}));
}

TEST_F(FacadeSends, DefaultsCodesAndArgumentLimits)
{
  vlnSetNeterr(1);
  vl_call(_bb_dbappend, {});
  EXPECT_EQ(vlnGetNeterr(), 0);  // the append gave TRUE
  vl_call(_bb_fieldlen, {set_Iv(2)});
  vl_call(_bb_found, {TRUE_VAR});
  vl_call(_bb_ordcreate, {set_Iv(1), set_Iv(2), set_Iv(3), set_Iv(4), set_Iv(5), set_Iv(6),
                          set_Iv(7), set_Iv(8), set_Iv(9)});
  EXPECT_EQ(g_sent, (std::vector<std::string>{"3: .T.", "54: #3 #2", "84: #29 .T.",
                                              "38: #1 #2 #3 #4 #5 #6 #7"}));
  EXPECT_TRUE(reports().empty());
}

TEST_F(FacadeSends, CommitAllSwitchesRelationsOffAroundTheCommit)
{
  vl_call(_bb_dbcommital, {});
  EXPECT_EQ(g_sent, (std::vector<std::string>{"isrelation?", "isrelation= .F.", "27:",
                                              "isrelation= .T."}));
}

}  // namespace
