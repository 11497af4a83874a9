// The driver error path: the error object of a table as the error block
// sees it, its reuse, the road through the report level and ERRSTAT, and a
// BREAK out of the block that leaves the table usable.
#include <string>

#include "areas.h"
#include "blocks.h"
#include "dataserver.h"
#include "dierror.hpp"
#include "errclass.h"
#include "memdriver.h"
#include "objects.h"
#include "set.h"
#include "switches.hpp"
#include "vlgen.h"
#include "vltest.h"

using namespace vl;

namespace {

using vltest::str;

// What the error block saw: calls, the object, and its variables in one line.
struct BlockSaw {
  int calls = 0;
  ArrRec* object = nullptr;
  std::string seen, description;
} g;

var* recording_block(int argc, var** argv, var**)
{
  var* e = argv[0];
  ++g.calls;
  g.object = VARR(e);
  g.seen.clear();
  for (const char* name : {"gencode", "severity", "tries", "oscode", "subcode", "operation",
                           "subsystem", "candefault", "canretry", "cansubstitute", "args", "cargo"})
    g.seen += vltest::shown(vlnNoIVar(e, name, 0, nullptr)) + "|";
  g.description = str(vlnNoIVar(e, "description", 0, nullptr));
  vlnNoIVar(e, "cargo", 0, ONE_VAR);  // the next error must clear it again
  return NIL_VAR;
}

var* breaking_block(int argc, var** argv, var**)
{
  ++g.calls;
  return _bb_break(argc, argv);
}

// FIELDPUT(2, "x") on the selected area, the way a program line does it.
var* bad_fieldput(int argc, var** argv)
{
  VL_BEGIN("app", "update");
  var* r = VL_LOCAL('U');
  VL_STMT(var* a[] = {vlnSelectedArea->obj, set_nv(2, 0), set_cv("x")};
          cpy_var(r, vlnDoMethod("fieldput", VLN_DS_FIELDPUT, 0, 3, a)));
  VL_RETURN(r);
}

// BEGIN SEQUENCE; bad FIELDPUT; RECOVER USING e; END: e.
var* guarded_fieldput(int argc, var** argv)
{
  VL_BEGIN("app", "guarded");
  var* e = VL_LOCAL('U');
  VL_BEGIN_SEQUENCE
    VL_STMT(vl_call(bad_fieldput, {}));
  VL_RECOVER(e)
  VL_END_SEQUENCE;
  VL_RETURN(e);
}

class DiError : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    vln_error_handler = vln_default_error_handler;  // through the error block
    g = BlockSaw{};
    memdrv::define("people", {{"name", 'C', 8, 0}, {"age", 'N', 3, 0}},
                   {{std::string("ANN"), 31.0}, {std::string("BOB"), 42.0}});
    memdrv::define("towns", {{"town", 'C', 10, 0}}, {{std::string("OSLO")}});
    install(recording_block);
    ASSERT_TRUE(memdrv::open("people"));
  }
  void TearDown() override
  {
    memdrv::close_all();
    VlTest::TearDown();
  }
  static void install(BlockFn fn)
  {
    var* block = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(fn), 1, static_cast<var*>(nullptr));
    _bb_errorblock(1, &block);
  }
};

// One object per table, filled for the error block and reused across the
// table's errors.
TEST_F(DiError, TheErrorBlockReceivesTheTablesOneObject)
{
  var* r = vl_call(bad_fieldput, {});
  EXPECT_EQ(vltest::shown(r), ".F.");  // the method's neutral result
  ASSERT_EQ(g.calls, 1);
  EXPECT_EQ(g.seen, "317|2|0|0|0|FieldPut()||.F.|.F.|.F.|NIL|NIL|");
  EXPECT_EQ(g.description, "DBFIDX:FieldPut();type mismatch: 'C' <> 'N';317 (Illegal type)");
  EXPECT_EQ(str(vlnNoIVar(diErrorObject(vlnSelectedArea->obj), "filename", 0, nullptr)).rfind(
                "app.PRG, module UPDATE line ", 0),
            0u);
  EXPECT_EQ(last_errno, 317);
  ArrRec* first = g.object;
  EXPECT_EQ(VARR(diErrorObject(vlnSelectedArea->obj)), first);
  // A translation repoints the text variable: the driver reports in its words.
  const char* saved = diEM_typmism;
  diEM_typmism = "Typ passt nicht: '%c' <> '%c'";
  vl_call(bad_fieldput, {});
  diEM_typmism = saved;
  EXPECT_EQ(g.object, first);
  EXPECT_EQ(g.seen, "317|2|0|0|0|FieldPut()||.F.|.F.|.F.|NIL|NIL|");  // cargo cleared again
  EXPECT_EQ(g.description, "DBFIDX:FieldPut();Typ passt nicht: 'C' <> 'N';317 (Illegal type)");

  // Codes beyond the table are reported in developer mode only.
  ASSERT_TRUE(memdrv::open("towns"));
  const int32_t level = vl_set_flag[0];
  vl_set_flag[0] = VL_LEVEL_DEVEL;
  diError(vlnSelectedArea->obj, diMN_seek, 1200, VL_SEV_RUNTIME, "lost", "test", 1);
  vl_set_flag[0] = level;
  EXPECT_NE(g.object, first);
  EXPECT_EQ(g.description, "DBFIDX:Seek();lost;1200 (unknown)");
  EXPECT_EQ(g.calls, 3);
  EXPECT_TRUE(reports().empty());
}

TEST_F(DiError, BreakFromTheBlockLandsInRecoverAndTheTableStaysUsable)
{
  install(breaking_block);
  const int32_t alreadyin_before = alreadyin;
  var* e = vl_call(guarded_fieldput, {});
  EXPECT_EQ(g.calls, 1);
  ASSERT_EQ(e->Type, 'O');
  EXPECT_EQ(VARR(e), VARR(diErrorObject(vlnSelectedArea->obj)));
  EXPECT_EQ(alreadyin, alreadyin_before);
  EXPECT_EQ(glob_sequencebuf, nullptr);
  var* args[] = {vlnSelectedArea->obj, nullptr};
  vlnDoMethod("skip", VLN_DS_SKIP, 0, 1, args);
  EXPECT_EQ(str(vlnGetCField("name")), "BOB     ");
  args[1] = set_nv(2, 0);
  EXPECT_EQ(vlnNumVar(vlnDoMethod("fieldget", VLN_DS_FIELDGET, 0, 2, args)), 42);
}

TEST_F(DiError, CodesLevelsAndErrstat)
{
  var* obj = vlnSelectedArea->obj;
  diError(obj, diMN_zap, -322, VL_SEV_RUNTIME, diEM_exclreq, "test", 2);
  EXPECT_EQ(g.seen.substr(0, 4), "322|");
  EXPECT_EQ(g.description.rfind("DBFIDX:Zap();EXCLUSIVE required;322 (", 0), 0u) << g.description;
  // 902 is a developer warning: the text alone, and below the normal level.
  diError(obj, diMN_init, 902, VL_SEV_RUNTIME, diEM_noshop, "test", 3);
  EXPECT_EQ(g.calls, 1);
  EXPECT_EQ(last_errno, 902);
  EXPECT_EQ(str(vlnNoIVar(diErrorObject(obj), "description", 0, nullptr)), diEM_noshop);
  // With ERRSTAT off the code is only recorded.
  errstat = 0;
  diError(obj, diMN_pack, 101, VL_SEV_IO, diEM_opntmpfil, "test", 4);
  errstat = 1;
  EXPECT_EQ(g.calls, 1);
  EXPECT_EQ(last_errno, 101);
}

TEST_F(DiError, AnObjectWithoutDriverStateGetsAFreshObjectEachTime)
{
  var* obj = _bb_dataserver(0, nullptr);  // its abstract init reports once
  g = BlockSaw{};
  diError(obj, diMN_goto, 1, VL_SEV_RUNTIME, diEM_recno, "test", 5);
  diError(obj, diMN_goto, 1, VL_SEV_RUNTIME, diEM_recno, "test", 6);
  EXPECT_EQ(g.calls, 2);
  EXPECT_EQ(g.description, "DBFIDX:Goto();record %ld;1 (record number out of range)");
  EXPECT_EQ(diErrorObject(obj), NIL_VAR);
}

}  // namespace
