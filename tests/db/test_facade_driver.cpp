// The database functions over a real driver object: the in-memory MEM
// driver, found by the registry as MEMNEW.  Sends reach the driver's
// methods, messages it lacks answer from the abstract class, two tables
// resolve their fields through their areas, and closing retires an area,
// its fields and its object.
#include <string>

#include "areas.h"
#include "dsslots.h"
#include "memdriver.h"
#include "vltest.h"

namespace {

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
