// The abstract data server: its class record, and an instance that answers
// every message, by slot and by name, with the report of the abstract
// class and the object itself, through one method array for all instances.
// The DBF driver's class descriptor: every dataserver slot is either
// abstract or overridden with its dataserver version kept once behind slot
// 165, and the name search finds the driver's member (at the slot number
// the driver sends by) first and the dataserver's on super.  The driver
// error path: the error object of a table as the error block sees it, its
// reuse, the road through the report level and ERRSTAT, and a BREAK out of
// the block that leaves the table usable.
#include <set>
#include <string>

#include "dataserver.hpp"
#include "dbfidxclass.h"
#include "dierror.hpp"
#include "memdriver.h"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;

namespace {

using vltest::str;

constexpr int32_t kFirstMethodRow = 2 + VLN_IV_COUNT;

const char* row_name(const VlnClassRow& row) { return reinterpret_cast<const char*>(row.w1); }

class Dataserver : public vltest::VlTest {};

// The variables and the methods are each in name order (the name search is
// a binary search), and the methods stand at their slot numbers.
TEST_F(Dataserver, ClassRecordIsSortedAndIndexedBySlot)
{
  const VlnClassRow* cls = DataserverStruct;
  for (int32_t i = 0; i < VLN_IV_COUNT; ++i) {
    const VlnClassRow& row = cls[2 + i];
    EXPECT_EQ(row.w2, 2 + i);
    EXPECT_TRUE(i == 0 || vlnStrNLCmp(row_name(cls[1 + i]), row_name(row), 250) < 0) << i;
  }
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    const VlnClassRow& row = cls[kFirstMethodRow + s];
    EXPECT_EQ(row.w2, s);
    EXPECT_TRUE(s == 0 || vlnStrNLCmp(row_name(cls[kFirstMethodRow + s - 1]), row_name(row), 250) <= 0)
        << s;
    int32_t lim = VL_NO_LEVEL_LIMIT;
    EXPECT_EQ(vlnLocateMethod(row_name(row), cls, static_cast<char>(row.w4), &lim), s);
  }
  EXPECT_EQ(vlnLocateInstance("whileblock", cls), VLN_IV_WHILEBLOCK);
}

TEST_F(Dataserver, EveryMessageReportsAndReturnsTheObject)
{
  var* obj = _bb_dataserver(0, nullptr);
  EXPECT_TRUE(reported(343, "does not define method 'init'"));
  ASSERT_EQ(obj->Type, 'O');
  EXPECT_EQ(VARR(VARR(obj)->A_vec[1]), VARR(VARR(_bb_dataserver(0, nullptr))->A_vec[1]));  // one for all
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    reports().clear();
    const VlnClassRow& row = DataserverStruct[kFirstMethodRow + s];
    const bool fallback = s == VLN_DS_NOMETHOD || s == VLN_DS_NOIVARGET || s == VLN_DS_NOIVARPUT;
    // A fallback is told the name of the member that was missing.
    const std::string name = fallback ? "probe" : row_name(row);
    var* result = nullptr;
    AnyFn fn = vlnGetMethod(obj, row_name(row), s);
    if (row.w4 == 'M') {
      var* args[] = {obj, set_cv(name.c_str())};
      result = vlnDoMethod(row_name(row), s, 0, fallback ? 2 : 1, args);
    } else if (row.w4 == 'A') {
      result = reinterpret_cast<VlnAccessFn>(fn)(obj);
    } else {
      result = reinterpret_cast<VlnAssignFn>(fn)(obj, ONE_VAR);
    }
    ASSERT_EQ(result->Type, 'O') << name;
    EXPECT_EQ(VARR(result), VARR(obj)) << name;
    const bool method = row.w4 == 'M' && s != VLN_DS_NOIVARGET && s != VLN_DS_NOIVARPUT;
    EXPECT_EQ(reports().size(), 1u) << name;
    EXPECT_TRUE(reported(method ? 343 : 344, std::string("Class 'dataserver' does not define ") +
                                                 (method ? "method '" : "instance '") + name + "'"));
  }
}

int kind_rank(char k) { return k == 'A' ? 0 : k == '=' ? 1 : 2; }

class DbfidxClass : public vltest::VlTest {};

TEST_F(DbfidxClass, EveryDataserverSlotIsAbstractOrHasOneLevelZeroCopy)
{
  const VlnDsClass* cls = vlnDbfidxClass();
  ASSERT_EQ(cls->count, VLN_DBFIDX_SLOT_COUNT);
  std::multiset<int32_t> copied;
  for (int32_t t = VLN_DS_SLOT_COUNT; t < cls->count; ++t) {
    const VlnDsSlotInfo& c = cls->slots[t];
    if (c.level != 0) continue;
    copied.insert(c.dsslot);
    EXPECT_EQ(std::string(c.name), cls->slots[c.dsslot].name) << t;
    EXPECT_EQ(c.kind, cls->slots[c.dsslot].kind) << t;
  }
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    EXPECT_EQ(cls->slots[s].dsslot, s);
    const bool overridden = cls->slots[s].level == 1;
    EXPECT_EQ(copied.count(s), overridden ? 1u : 0u) << s;
  }
  // Behind 165 the entries are in name order, access before assign before method.
  for (int32_t t = VLN_DS_SLOT_COUNT + 1; t < cls->count; ++t) {
    const VlnDsSlotInfo& a = cls->slots[t - 1];
    const VlnDsSlotInfo& b = cls->slots[t];
    const int c = vlnStrNLCmp(a.name, b.name, 250);
    EXPECT_TRUE(c < 0 || (c == 0 && kind_rank(a.kind) < kind_rank(b.kind))) << t;
  }
}

TEST_F(DbfidxClass, NameSearchPrefersTheDriverAndSuperFindsLevelZero)
{
  const VlnClassRow* rows = DbfidxStruct;
  EXPECT_EQ(vlnLocateInstance("recno", rows), VLN_IV_RECNO);
  // Method rows: sorted by name, equal names by ascending level.
  const VlnClassRow* m = rows + rows[0].w4 + rows[0].w2;
  for (int32_t r = 1; r < rows[0].w3; ++r) {
    const int c = vlnStrNLCmp(reinterpret_cast<const char*>(m[r - 1].w1),
                              reinterpret_cast<const char*>(m[r].w1), 250);
    EXPECT_TRUE(c < 0 || (c == 0 && m[r - 1].w3 <= m[r].w3)) << r;
  }
  const VlnDsSlotInfo* slots = vlnDbfidxClass()->slots;
  struct Search {
    const char* name;
    char kind;
    int32_t limit, slot, level;
  } const searches[] = {
      {"alias", 'A', VL_NO_LEVEL_LIMIT, VLN_DS_ALIAS_AC, 1},
      {"errinfo", 'A', VL_NO_LEVEL_LIMIT, VLN_DS_ERRINFO_AC, 0},  // abstract
      {"errinfo", 'M', VL_NO_LEVEL_LIMIT, VLN_DBFIDX_ERRINFO, 1},
      {"nomethod", 'M', VL_NO_LEVEL_LIMIT, VLN_DS_NOMETHOD, 0},
      {"indexseekeval", 'M', VL_NO_LEVEL_LIMIT, VLN_DBFIDX_INDEXSEEKEVAL, 1},
      {"quickfieldput", 'M', VL_NO_LEVEL_LIMIT, VLN_DBFIDX_QUICKFIELDPUT, 1},
      {"orderkeyno", 'M', VL_NO_LEVEL_LIMIT, VLN_DS_ORDERKEYNO, 1},
  };
  for (const Search& s : searches) {
    int32_t lim = s.limit;
    EXPECT_EQ(vlnLocateMethod(s.name, rows, s.kind, &lim), s.slot) << s.name << s.kind;
    EXPECT_EQ(lim, s.level) << s.name << s.kind;
  }
  // Super (level 0) finds the dataserver's version of an override.
  int32_t lim = 0;
  const int32_t super = vlnLocateMethod("alias", rows, 'A', &lim);
  EXPECT_GE(super, VLN_DS_SLOT_COUNT);
  EXPECT_EQ(slots[super].level, 0);
  EXPECT_EQ(slots[super].dsslot, VLN_DS_ALIAS_AC);
}

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
  vltest::expect_rows({{"DBSKIP(), {name, FIELDGET(2)}", "{BOB     , 42}"}});
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
