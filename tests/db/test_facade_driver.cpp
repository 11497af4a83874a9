// The database functions over a real driver object: the in-memory MEM
// driver, found by the registry as MEMNEW.  Sends reach the driver's
// methods, messages it lacks answer from the abstract class, a driver error
// reaches the application's error block, and DBCLOSEALL empties the chain.
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
    saved_block_ = cre_tmpvar();
    cpy_var(saved_block_, _bb_errorblock(0, nullptr));
    ASSERT_TRUE(memdrv::open("PEOPLE"));
    reports().clear();
  }
  void TearDown() override
  {
    _bb_dbcloseall(0, nullptr);
    _bb_errorblock(1, &saved_block_);
    var* dflt = set_cv("DBFIDX");
    _bb_rddsetdefa(1, &dflt);
    VlTest::TearDown();
  }
  static int32_t num(var* v) { return vlnIntVar(v); }
  static bool yes(var* v) { return v->Type == 'L' && VINT(v) != 0; }
  var* saved_block_ = nullptr;
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
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_EQ(reports()[0].code, 343);
  EXPECT_NE(reports()[0].description.find("append"), std::string::npos) << reports()[0].description;
  EXPECT_EQ(r->Type, 'O');  // the abstract member gives the object back
  EXPECT_EQ(vlnGetNeterr(), 1);
  reports().clear();
  vl_call(_bb_dbseek, {set_cv("Bob")});
  EXPECT_EQ(last_code(), 343);
  EXPECT_EQ(num(vl_call(_bb_recno, {})), 1);
}

TEST_F(FacadeMem, ARegistryObjectIsClosedAndLeavesTheSelectionAlone)
{
  AreaRec* before = vlnSelectedArea;
  var* obj = vlnGetObject(set_cv(" mem "));
  ASSERT_NE(obj, nullptr);
  EXPECT_EQ(obj->Type, 'O');
  EXPECT_EQ(vlnSelectedArea, before);
  var* self = obj;
  EXPECT_FALSE(yes(vlnDoInstance(self, "used", VLN_IV_USED, 0, nullptr)));
  EXPECT_TRUE(reports().empty());
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

// ---- A driver error in the application's error block. ----

struct BlockSeen {
  int calls = 0;
  std::string description, operation;
} g_seen;

// {|e| BREAK(e)}
var* breaking_block(int argc, var** argv, var**)
{
  ++g_seen.calls;
  return _bb_break(argc, argv);
}

// BEGIN SEQUENCE; FIELDPUT(1, 5); RECOVER USING e; END: e.
var* put_number_into_text(int argc, var** argv)
{
  VL_BEGIN("facade.prg", "putnum");
  var* e = VL_LOCAL('U');
  VL_BEGIN_SEQUENCE
    VL_STMT(vl_call(_bb_fieldput, {set_Iv(1), set_nv(5, 0)}));
  VL_RECOVER(e)
  VL_END_SEQUENCE;
  VL_RETURN(e);
}

TEST_F(FacadeMem, ADriverErrorReachesTheErrorBlockAndTheAreaStaysUsable)
{
  g_seen = BlockSeen{};
  vln_error_handler = vln_default_error_handler;  // reports go to the error block
  var* block = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(breaking_block), 1, static_cast<var*>(nullptr));
  _bb_errorblock(1, &block);
  var* e = vl_call(put_number_into_text, {});
  EXPECT_EQ(g_seen.calls, 1);
  ASSERT_EQ(e->Type, 'O');
  const std::string description = str(vlnNoIVar(e, "description", 0, nullptr));
  EXPECT_NE(description.find("type mismatch: 'N' <> 'C'"), std::string::npos) << description;
  EXPECT_EQ(str(vlnNoIVar(e, "operation", 0, nullptr)), "FieldPut()");
  // The table is where it was and still answers.
  EXPECT_EQ(str(vl_call(_bb_fieldget, {set_Iv(1)})).substr(0, 3), "Ann");
  vl_call(_bb_dbskip, {});
  EXPECT_EQ(num(vl_call(_bb_recno, {})), 2);
  EXPECT_TRUE(yes(vl_call(_bb_used, {})));
}

}  // namespace
