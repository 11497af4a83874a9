// The database functions over a real driver object: the in-memory MEM
// driver, found by the registry as MEMNEW.  Sends reach the driver's
// methods, messages it lacks answer from the abstract class, and DBCLOSEALL
// empties the chain.
#include <string>

#include "areas.h"
#include "dsslots.h"
#include "errclass.h"
#include "facade.h"
#include "memdriver.h"
#include "rddreg.h"
#include "vlgen.h"
#include "vltest.h"

namespace {

using vltest::str;

class FacadeMem : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    memdrv::install();
    memdrv::define("PEOPLE", {{"NAME", 'C', 8, 0}, {"AGE", 'N', 3, 0}},
                   {{std::string("Ann"), 30.0}, {std::string("Bob"), 41.0}, {std::string("Cy"), 7.0}});
    ASSERT_TRUE(memdrv::open("PEOPLE"));
    reports().clear();
  }
  void TearDown() override
  {
    _bb_dbcloseall(0, nullptr);
    VlTest::TearDown();
  }
  static int32_t num(var* v) { return vlnIntVar(v); }
  static bool yes(var* v) { return v->Type == 'L' && VINT(v) != 0; }
};

TEST_F(FacadeMem, SendsAndReadsReachTheDriver)
{
  EXPECT_TRUE(yes(vl_call(_bb_used, {})));
  EXPECT_EQ(str(vl_call(_bb_alias, {})), "PEOPLE");
  EXPECT_EQ(num(vl_call(_bb_lastrec, {})), 3);
  EXPECT_EQ(num(vl_call(_bb_fcount, {})), 2);
  EXPECT_EQ(num(vl_call(_bb_recno, {})), 1);
  vl_call(_bb_dbskip, {set_Iv(1)});
  EXPECT_EQ(num(vl_call(_bb_recno, {})), 2);
  EXPECT_EQ(str(vl_call(_bb_fieldget, {set_Iv(1)})).substr(0, 3), "Bob");
  EXPECT_EQ(num(vl_call(_bb_fieldpos, {set_cv("age")})), 2);
  EXPECT_EQ(str(vl_call(_bb_fieldname, {set_Iv(2)})), "AGE");
  vl_call(_bb_fieldput, {set_Iv(2), set_nv(42, 0)});
  EXPECT_EQ(num(vl_call(_bb_fieldget, {set_Iv(2)})), 42);
  vl_call(_bb_dbgobottom, {});
  EXPECT_FALSE(yes(vl_call(_bb_eof, {})));
  vl_call(_bb_dbskip, {});
  EXPECT_TRUE(yes(vl_call(_bb_eof, {})));
  vl_call(_bb_dbgoto, {set_Iv(1)});
  EXPECT_EQ(num(vl_call(_bb_recno, {})), 1);
  vl_call(_bb_dbgotop, {});
  EXPECT_FALSE(yes(vl_call(_bb_bof, {})));
  EXPECT_TRUE(yes(vl_call(_bb_isdbexcl, {})));
  EXPECT_EQ(vl_call(_bb_dbobject, {}), vlnSelectedArea->obj);
  EXPECT_TRUE(reports().empty()) << reports()[0].description;
}

TEST_F(FacadeMem, AWrongArgumentTypeReportsAndDoesNotMove)
{
  EXPECT_EQ(vl_call(_bb_dbskip, {set_cv("2")}), FALSE_VAR);
  EXPECT_EQ(last_code(), 312);
  EXPECT_EQ(num(vl_call(_bb_recno, {})), 1);
}

TEST_F(FacadeMem, MessagesTheDriverLacksAnswerFromTheAbstractClass)
{
  vlnSetNeterr(0);
  var* r = vl_call(_bb_dbappend, {});
  EXPECT_EQ(reports().size(), 1u);
  EXPECT_TRUE(reported(343, "append"));
  EXPECT_EQ(r->Type, 'O');  // the abstract member gives the object back
  EXPECT_EQ(vlnGetNeterr(), 1);
  reports().clear();
  vl_call(_bb_dbseek, {set_cv("Bob")});
  EXPECT_EQ(last_code(), 343);
  EXPECT_EQ(num(vl_call(_bb_recno, {})), 1);
}

TEST_F(FacadeMem, DbServerNewOpensWithTheCallersArguments)
{
  var* obj = vl_call(_bb_dbserverne, {set_cv("people"), FALSE_VAR, NIL_VAR, NIL_VAR, set_cv("Mem")});
  ASSERT_EQ(obj->Type, 'O');
  EXPECT_TRUE(yes(vlnDoInstance(obj, "used", VLN_IV_USED, 0, nullptr)));
  EXPECT_EQ(str(vl_call(_bb_alias, {})), "PEOPLE_1");
}

TEST_F(FacadeMem, CloseAllClosesEveryArea)
{
  ASSERT_TRUE(memdrv::open("PEOPLE"));
  ASSERT_TRUE(memdrv::open("PEOPLE"));
  int on_chain = 0;
  for (AreaRec* a = vlnWAHead; a; a = a->nxt) ++on_chain;
  EXPECT_EQ(on_chain, 3);
  vl_call(_bb_dbcloseall, {});
  EXPECT_EQ(vlnWAHead, nullptr);
  EXPECT_FALSE(yes(vl_call(_bb_used, {})));
  EXPECT_TRUE(reports().empty());
}

}  // namespace
