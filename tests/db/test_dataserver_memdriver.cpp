// The MEM test driver as a data server: two tables in two areas, fields
// found by name through the areas, positioning, the object's destructor,
// and a closed object.
#include "areas.h"
#include "dataserver.h"
#include "memdriver.h"
#include "objects.h"
#include "vlgen.h"
#include "vltest.h"

namespace {

using vltest::str;

class MemDriver : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    memdrv::define("people", {{"name", 'C', 8, 0}, {"age", 'N', 3, 0}, {"member", 'L', 1, 0}},
                   {{std::string("ANN"), 31.0, true}, {std::string("BOB"), 42.0, false},
                    {std::string("CY"), 7.0, true}});
    memdrv::define("towns", {{"town", 'C', 10, 0}, {"age", 'N', 4, 0}},
                   {{std::string("OSLO"), 1000.0}});
  }
  void TearDown() override
  {
    memdrv::close_all();
    VlTest::TearDown();
  }
  // The selected area's object, sent message slot with one optional argument.
  static var* send(const char* name, int32_t slot, var* arg = nullptr)
  {
    var* args[] = {vlnSelectedArea->obj, arg};
    return vlnDoMethod(name, slot, 0, arg ? 2 : 1, args);
  }
  static var* ivar(const char* name, int32_t slot)
  {
    return vlnDoInstance(vlnSelectedArea->obj, name, slot, 0, nullptr);
  }
};

TEST_F(MemDriver, TwoTablesInTwoAreasResolveTheirFields)
{
  ASSERT_TRUE(memdrv::open("people"));
  const int32_t people = vlnSelectedArea->number;
  EXPECT_EQ(std::string(vlnSelectedArea->alias), "PEOPLE");
  ASSERT_TRUE(memdrv::open("towns"));
  const int32_t towns = vlnSelectedArea->number;
  EXPECT_NE(people, towns);
  EXPECT_TRUE(reports().empty());

  // A name both tables have resolves in the selected area; an aliased read
  // reaches the other.
  EXPECT_EQ(vlnNumVar(vlnGetCField("age")), 1000);
  EXPECT_EQ(str(vlnGetCField("town")), "OSLO      ");
  EXPECT_EQ(vlnNumVar(vlnGetCAliasCField("people", "age")), 31);
  EXPECT_EQ(str(vlnGetCAliasCField("people", "name")), "ANN     ");

  var* n = set_nv(people, 0);
  vlnSelect(n, 0);
  EXPECT_EQ(vlnIntVar(ivar("fcount", VLN_IV_FCOUNT)), 3);
  EXPECT_EQ(vlnIntVar(ivar("lastrec", VLN_IV_LASTREC)), 3);
  EXPECT_EQ(str(ivar("alias", VLN_IV_ALIAS)), "PEOPLE");
  EXPECT_EQ(vlnIntVar(send("fieldpos", VLN_DS_FIELDPOS, set_cv("Member"))), 3);
  EXPECT_EQ(str(send("fieldname", VLN_DS_FIELDNAME, set_nv(2, 0))), "AGE");
  EXPECT_TRUE(reports().empty());
}

TEST_F(MemDriver, PositioningSetsTheFlags)
{
  ASSERT_TRUE(memdrv::open("people"));
  send("gobottom", VLN_DS_GOBOTTOM);
  EXPECT_EQ(vlnIntVar(ivar("recno", VLN_IV_RECNO)), 3);
  EXPECT_EQ(str(vlnGetCField("name")), "CY      ");
  send("skip", VLN_DS_SKIP);
  EXPECT_TRUE(vlnLogVar(ivar("eof", VLN_IV_EOF)));
  EXPECT_EQ(vlnIntVar(ivar("recno", VLN_IV_RECNO)), 4);
  EXPECT_EQ(str(vlnGetCField("name")), "        ");  // blank at EOF
  send("goto", VLN_DS_GOTO, set_nv(2, 0));
  EXPECT_FALSE(vlnLogVar(ivar("eof", VLN_IV_EOF)));
  EXPECT_EQ(vlnNumVar(vlnGetCField("age")), 42);
  send("skip", VLN_DS_SKIP, set_nv(-5, 0));
  EXPECT_TRUE(vlnLogVar(ivar("bof", VLN_IV_BOF)));
  EXPECT_EQ(vlnIntVar(ivar("recno", VLN_IV_RECNO)), 1);
}

TEST_F(MemDriver, FieldPutStoresThroughTheFieldRecord)
{
  ASSERT_TRUE(memdrv::open("people"));
  send("goto", VLN_DS_GOTO, set_nv(2, 0));
  var* field = vlnGetCField("name");
  ASSERT_EQ(field->Type, 'C');
  vlnSetField(mv_names[locate_var("name")].fields[0], set_cv("BOBBY"));
  EXPECT_EQ(str(vlnGetCField("name")), "BOBBY   ");
  var* args[] = {vlnSelectedArea->obj, set_nv(2, 0), set_nv(43, 0)};
  EXPECT_EQ(vlnNumVar(vlnDoMethod("fieldput", VLN_DS_FIELDPUT, 0, 3, args)), 43);
  EXPECT_EQ(vlnNumVar(vlnGetCField("age")), 43);
  EXPECT_TRUE(reports().empty());
}

TEST_F(MemDriver, CloseRetiresAreaAndFieldsAndRunsAxitOnce)
{
  ASSERT_TRUE(memdrv::open("people"));
  ASSERT_TRUE(memdrv::open("towns"));
  const int axits = memdrv::counters().axits;
  const int32_t mark = tmpvar_cnt;
  send("close", VLN_DS_CLOSE);
  EXPECT_EQ(memdrv::counters().axits, axits);  // the sender's copy still holds it
  del_tmpvars(mark);
  EXPECT_EQ(memdrv::counters().axits, axits + 1);
  EXPECT_EQ(vlnAliasLocateArea("TOWNS"), nullptr);
  EXPECT_NE(vlnAliasLocateArea("PEOPLE"), nullptr);
  // The field of the closed table is gone; the other table's stays.
  EXPECT_EQ(vlnGetAliasFieldNoError(vlnAliasLocateArea("PEOPLE"), locate_var("town")), nullptr);
  EXPECT_EQ(vlnNumVar(vlnGetCAliasCField("people", "age")), 31);
  memdrv::close_all();
  EXPECT_EQ(memdrv::counters().axits, axits + 2);
  EXPECT_EQ(vlnWAHead, nullptr);
}

TEST_F(MemDriver, ClosedObjectLeavesTheAreasAlone)
{
  memdrv::install();
  AreaRec* before = vlnSelectedArea;
  const int axits = memdrv::counters().axits;
  const int32_t mark = tmpvar_cnt;
  var* args[] = {NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, FALSE_VAR};
  var* obj = _bb_memnew(6, args);
  ASSERT_EQ(obj->Type, 'O');
  EXPECT_EQ(vlnSelectedArea, before);
  EXPECT_EQ(vlnWAHead, nullptr);
  EXPECT_FALSE(vlnLogVar(vlnDoInstance(obj, "used", VLN_IV_USED, 0, nullptr)));
  del_tmpvars(mark);
  EXPECT_EQ(memdrv::counters().axits, axits + 1);
  EXPECT_TRUE(reports().empty());
}

}  // namespace
