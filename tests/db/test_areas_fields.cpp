// Field variables: names in expressions resolved against fields and memory
// variables, the getter families and their errors, stores through the
// driver, and the announcements of drivers written in the language.
#include <string>

#include "arrays.h"
#include "dsslots.h"
#include "objects.h"
#include "test_areas_toy.hpp"

namespace {

using vltest::str;

class dbFields : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    toy::counters() = {};
  }
  void TearDown() override
  {
    while (vlnWAHead) toy::close(vlnWAHead->obj);
    VlTest::TearDown();
  }
  static var* open_in(int n, const char* name, toy::Kind kind = toy::Kind::plain)
  {
    vlnSelect(set_nv(n, 0), 0);
    return toy::open(name, {{"ANN", 30}, {"BOB", 40}}, kind);
  }
  static var* eval(const char* text) { return exp_eval(text); }
  static std::string text(const char* expr) { return str(exp_eval(expr)); }
  static double number(const char* expr) { return vlnNumVar(exp_eval(expr)); }
};

TEST_F(dbFields, FieldOfTheSelectedAreaHidesAMemvarOfTheSameName)
{
  set_cvar(vlnGetVarForWrite(vln_add_var("name")), "memvar");
  var* obj = open_in(1, "cust");
  EXPECT_EQ(text("name"), "ANN       ");  // the field, its full width
  EXPECT_EQ(text("M->name"), "memvar");
  EXPECT_EQ(text("MEMVAR->name"), "memvar");
  EXPECT_EQ(text("FIELD->name"), "ANN       ");
  EXPECT_EQ(number("eval({|name| name}, 5)"), 5);  // a block parameter first
  toy::go(obj, 1);
  EXPECT_EQ(text("trim(name) + str(age, 3)"), "BOB 40");
  vlnSelect(set_nv(2, 0), 0);  // an empty area: the memvar shows
  EXPECT_EQ(text("name"), "memvar");
  EXPECT_EQ(text("cust->name"), "BOB       ");
  EXPECT_EQ(number("(1)->age"), 40);
  EXPECT_EQ(number("cust->(SELECT())"), 1);  // evaluated in area 1
  EXPECT_EQ(vlnSelectedArea->number, 2);  // and back again
  EXPECT_TRUE(reports().empty());
}

TEST_F(dbFields, SameNameInTwoAreasResolvesPerArea)
{
  open_in(1, "cust");
  vlnSelect(set_nv(2, 0), 0);
  var* orders = toy::open("orders", {{"ORDER-1", 7}});
  EXPECT_EQ(text("name"), "ORDER-1   ");
  EXPECT_EQ(text("cust->name"), "ANN       ");
  const int32_t sym = locate_var("name");
  EXPECT_EQ(mv_names[sym].nfields, 2u);
  EXPECT_EQ(vlnGetNAliasField(1, sym)->W_area, vlnNumberLocateArea(1));
  toy::close(vlnNumberLocateArea(1)->obj);
  EXPECT_EQ(mv_names[sym].nfields, 1u);
  EXPECT_EQ(text("name"), "ORDER-1   ");
  toy::close(orders);
  EXPECT_EQ(mv_names[sym].nfields, 0u);
  EXPECT_EQ(mv_names[sym].fields, nullptr);
}

// Reads and stores take the quick methods when the class has them, else
// the messages fieldget and fieldput.
TEST_F(dbFields, AssignmentsWriteThroughTheDriverByTheQuickestPath)
{
  for (toy::Kind kind : {toy::Kind::plain, toy::Kind::quick}) {
    const bool quick = kind == toy::Kind::quick;
    SCOPED_TRACE(quick ? "quick" : "plain");
    toy::counters() = {};
    var* obj = open_in(1, "cust", kind);
    EXPECT_EQ(vlnSelectedArea->qgm != nullptr, quick);
    EXPECT_EQ(vlnSelectedArea->qpm != nullptr, quick);
    eval("name := 'Zed'");
    eval("age := age + 1");
    vlnSelect(set_nv(2, 0), 0);
    eval("cust->age := cust->age * 2");
    eval("(1)->name := trim((1)->name) + 'a'");
    EXPECT_EQ(toy::rows(obj)[0].name, "Zeda");
    EXPECT_EQ(toy::rows(obj)[0].age, 62);
    const auto& c = toy::counters();
    EXPECT_EQ(quick ? c.quickputs : c.fieldputs, 4);
    EXPECT_EQ(quick ? c.fieldputs : c.quickputs, 0);
    EXPECT_EQ(quick ? c.fieldgets : c.quickgets, 0);
    toy::close(obj);
  }
  EXPECT_TRUE(reports().empty());
}

TEST_F(dbFields, GettersReportEachWayOfMissing)
{
  open_in(1, "cust");
  const int32_t sym = locate_var("age");
  const int32_t nosuch = vln_add_var("nosuch");
  AreaRec* a = vlnSelectedArea;
  EXPECT_EQ(VDBL(vlnGetField(sym)), 30);
  EXPECT_EQ(VDBL(vlnGetCField(" AGE ")), 30);
  EXPECT_EQ(VDBL(vlnGetCAliasField("CUST", sym)), 30);
  EXPECT_EQ(VDBL(vlnGetVAliasField(set_nv(1, 0), sym)), 30);
  EXPECT_EQ(VDBL(vlnGetVAliasCField(set_cv("cust"), "age")), 30);
  EXPECT_EQ(vlnGetNAliasCField(1, "cust->age + 1")->Type, 'N');  // an expression
  EXPECT_EQ(VDBL(vlnGetNAliasCField(1, "cust->age + 1")), 31);
  EXPECT_EQ(vlnGetAliasFieldNoError(a, nosuch), nullptr);
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vlnAnnounceField("odd", 3, 'X', 1, 4, 0, nullptr), nullptr);
  EXPECT_TRUE(reported(204, "unknown field type 'X'"));
  EXPECT_LT(locate_var("odd"), 0);

  EXPECT_EQ(vlnGetAliasField(a, nosuch), NIL_VAR);
  EXPECT_TRUE(reported(306, "vlnGetAliasField: cannot find field 'nosuch'"));
  EXPECT_EQ(vlnGetAliasCField(a, "nosuch"), ERROR_VAR);
  EXPECT_TRUE(reported(306, "nosuch"));
  EXPECT_EQ(vlnGetCAliasField("orders", sym), ERROR_VAR);
  EXPECT_TRUE(reported(342, "orders"));
  EXPECT_EQ(vlnGetNAliasField(9, sym), ERROR_VAR);
  EXPECT_TRUE(reported(342, "requested area 9"));
  EXPECT_EQ(vlnGetVAliasField(TRUE_VAR, sym), ERROR_VAR);
  EXPECT_TRUE(reported(312, "for alias"));
  EXPECT_EQ(vlnGetIAliasField(0, sym), ERROR_VAR);  // the table is empty
  EXPECT_EQ(last_code(), 342);
  reports().clear();

  EXPECT_EQ(eval("FIELD->nosuch"), ERROR_VAR);
  EXPECT_EQ(last_code(), 306);
  EXPECT_EQ(eval("orders->age"), ERROR_VAR);
  EXPECT_EQ(last_code(), 342);
  EXPECT_EQ(eval("(9)->age"), ERROR_VAR);
  EXPECT_TRUE(reported(342, "requested area 9"));
  EXPECT_EQ(eval("cust->nosuch"), ERROR_VAR);
  EXPECT_TRUE(reported(306, "cannot find field 'nosuch'"));
  EXPECT_EQ(eval("orders->(SELECT())"), ERROR_VAR);  // as orders->age
  EXPECT_TRUE(reported(342, "orders"));
  EXPECT_EQ(number("(7)->(SELECT())"), 7);  // an empty area, quietly
  EXPECT_EQ(vlnSelectedArea, a);
  EXPECT_EQ(eval("(.t.)->(1)"), ERROR_VAR);
  EXPECT_TRUE(reported(342, "variable has wrong type"));
  EXPECT_EQ(vlnSelectedArea, a);
  EXPECT_EQ(a->lnks, 1u);  // the failed push was undone
}

// A driver written in the language: its fields are plain records it keeps
// in an array (object slot 44) and its fieldput stores into them.
constexpr int32_t kArraySlot = 44;
constexpr int32_t kLangMethods = VLN_DS_SLOT_COUNT;

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
  static var* methods = nullptr;
  if (!methods) {
    methods = cre_arr(mak_var('N', 'U'), kLangMethods, 0, static_cast<var*>(nullptr));
    vlnAddMethod(methods, VLN_DS_FIELDGET, reinterpret_cast<AnyFn>(lang_fieldget), 1);
    vlnAddMethod(methods, VLN_DS_FIELDPUT, reinterpret_cast<AnyFn>(lang_fieldput), 2);
  }
  static const VlnClassRow* cls =
      toy::make_class("langserver", 'D', {},
                      {{"fieldget", VLN_DS_FIELDGET, 'M'}, {"fieldput", VLN_DS_FIELDPUT, 'M'}},
                      kLangMethods);
  var* obj = set_Ov(kArraySlot - 1, cls, methods);
  cre_arr(vlnGetObj(obj, kArraySlot), 2, 0, static_cast<var*>(nullptr));
  return obj;
}

TEST_F(dbFields, LanguageDriversAnnounceFieldsIntoTheirArray)
{
  vlnSelect(set_nv(1, 0), 0);
  var* obj = lang_object();
  var* fields = vlnGetObj(obj, kArraySlot);
  var* args2[] = {obj, set_cv("/tmp/lang.txt")};
  EXPECT_EQ(str(_bb_rddannalia(2, args2)), "LANG");
  var* qty[] = {set_cv("QTY"), set_nv(1, 0), set_cv(" \tn"), ZERO_VAR,
                set_nv(5, 0), ZERO_VAR, fields};
  var* f = _bb_rddannfiel(7, qty);
  EXPECT_EQ(VARR(fields)->A_vec[0], f);
  EXPECT_EQ(f->Type, 'N');
  EXPECT_EQ(f->Mode, 'F');
  EXPECT_EQ(f->F_indx, 0u);
  var* label[] = {set_cv("LABEL"), set_nv(2, 0), set_cv("C"), ZERO_VAR,
                  set_nv(8, 0), ZERO_VAR, fields};
  _bb_rddannfiel(7, label);

  eval("qty := 7");                 // goes to fieldput, which stores in the record
  eval("label := 'abc'");
  EXPECT_EQ(number("qty"), 7);
  EXPECT_EQ(text("label"), "abc     ");  // the field keeps its width
  eval("label := 'a much longer text'");
  EXPECT_EQ(text("label"), "a much l");
  EXPECT_TRUE(reports().empty());

  var* ret[] = {obj, set_cv("label")};
  _bb_rddretfiel(2, ret);
  ret[1] = set_cv("qty");
  _bb_rddretfiel(2, ret);
  EXPECT_EQ(_bb_rddretalia(1, &obj), TRUE_VAR);
  EXPECT_EQ(_bb_rddretalia(1, &obj), FALSE_VAR);
  EXPECT_EQ(text("label"), "");  // no field any more: an undefined memvar
  // The array keeps the last values as values of its own.
  EXPECT_EQ(str(VARR(fields)->A_vec[1]), "a much l");
  EXPECT_EQ(VDBL(VARR(fields)->A_vec[0]), 7);
}

// Open a language-driver table with the one field QTY in the selected area.
var* open_lang(const char* name)
{
  var* obj = lang_object();
  var* alias[] = {obj, set_cv(name)};
  _bb_rddannalia(2, alias);
  var* qty[] = {set_cv("QTY"), ONE_VAR, set_cv("N"), ZERO_VAR, set_nv(5, 0), ZERO_VAR,
                vlnGetObj(obj, kArraySlot)};
  _bb_rddannfiel(7, qty);
  return obj;
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

  var* ret[] = {obj, set_cv("qty")};
  _bb_rddretfiel(2, ret);
  _bb_rddretalia(1, &obj);
}

TEST_F(dbFields, LanguageAnnouncementsCheckTheirArguments)
{
  vlnSelect(set_nv(1, 0), 0);
  var* obj = lang_object();
  var* fields = vlnGetObj(obj, kArraySlot);
  EXPECT_EQ(_bb_rddannalia(1, &obj), ERROR_VAR);
  EXPECT_TRUE(reported(311, "RddAnnounceField(): 2 params expected"));
  var* bad_alias[] = {obj, ONE_VAR};
  EXPECT_EQ(_bb_rddannalia(2, bad_alias), ERROR_VAR);
  EXPECT_TRUE(reported(312, "expected P[1..7] types AC"));
  var* six[] = {set_cv("A"), ONE_VAR, set_cv("C"), ZERO_VAR, ONE_VAR, ZERO_VAR};
  EXPECT_EQ(_bb_rddannfiel(6, six), ERROR_VAR);
  EXPECT_TRUE(reported(311, "RddAnnounceField(): 7 params expected"));
  var* wrong[] = {set_cv("A"), set_cv("1"), set_cv("C"), ZERO_VAR, ONE_VAR, ZERO_VAR, fields};
  EXPECT_EQ(_bb_rddannfiel(7, wrong), ERROR_VAR);
  EXPECT_TRUE(reported(312, "expected P[1..7] types CNCNNNA"));
  var* beyond[] = {set_cv("A"), set_nv(3, 0), set_cv("C"), ZERO_VAR, ONE_VAR, ZERO_VAR, fields};
  EXPECT_EQ(_bb_rddannfiel(7, beyond), ERROR_VAR);
  EXPECT_TRUE(reported(320, "array of fields too small"));
  var* num = ONE_VAR;
  EXPECT_EQ(_bb_rddretalia(1, &num), ERROR_VAR);
  EXPECT_TRUE(reported(312, "object expected"));
  EXPECT_EQ(_bb_rddretfiel(1, &obj), ERROR_VAR);
  EXPECT_TRUE(reported(311, "RddRetireField(): 2 params expected"));
}

TEST_F(dbFields, FieldsOfAnUnboundTableAreRetiredByTheirObject)
{
  vlnSelect(set_nv(1, 0), 0);
  var* obj = toy::open("A.DBF", {{"ANN", 30}});  // alias A is refused
  EXPECT_EQ(vlnSelectedArea->obj, nullptr);
  EXPECT_EQ(text("age"), "");  // not a field of area 1
  const int32_t sym = locate_var("age");
  EXPECT_EQ(mv_names[sym].nfields, 1u);
  toy::close(obj);
  EXPECT_EQ(mv_names[sym].nfields, 0u);
}

}  // namespace
