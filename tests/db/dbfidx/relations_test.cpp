// relations_test.cpp -- relations between tables: after each move of a
// parent its children (one by key through an order, one by record number)
// and a grandchild stand where a look-up done here in the test says; the
// refusals of setrelation (cycles, a ninth relation, bad arguments);
// switching relations off; what DBRELATION and DBRSELECT tell.
#include <string>
#include <vector>

#include "dbftest.h"
#include "dsslots.h"

namespace {

using vltest::expect_rows;

// P (10 records, ordered by ID = 11 - recno) relates to C1 by CK through
// C1's order on K, and to C2 by RN as a record number; C1 relates to G by
// GN through G's order on N.  C2 has a field RN of its own, so a key
// evaluated in the wrong area gives a wrong record.
struct ParentRow {
  const char* ck;
  int rn;
};
const std::vector<ParentRow> kParent = {{"bb", 1}, {"zz", 7}, {"aa", 5}, {"dd", 0}, {"cc", 3},
                                        {"ee", 4}, {"xx", 2}, {"dd", 5}, {"aa", 9}, {"cc", 1}};
struct ChildRow {
  const char* k;
  int gn;
};
const std::vector<ChildRow> kChild = {{"cc", 3}, {"aa", 9}, {"dd", 1}, {"bb", 2}, {"aa", 4}, {"ee", 5}};
constexpr int kByNumber = 5;                       // records of C2
const std::vector<int> kGrand = {5, 4, 3, 2, 1};   // N of G's records

constexpr const char* kSetup[] = {
    "DBCREATE('p', {{'ID','N',3,0}, {'CK','C',2,0}, {'RN','N',3,0}})",
    "DBCREATE('c1', {{'K','C',2,0}, {'GN','N',3,0}})",
    "DBCREATE('c2', {{'RN','N',3,0}})",
    "DBCREATE('g', {{'N','N',3,0}})",
    "DBUSEAREA(.T., , 'g', 'G', .F.), ORDCREATE('gn', , 'N')",
    "DBUSEAREA(.T., , 'c2', 'C2', .F.)",
    "DBUSEAREA(.T., , 'c1', 'C1', .F.), ORDCREATE('c1k', , 'K')",
    "DBUSEAREA(.T., , 'p', 'P', .F.), ORDCREATE('pid', , 'ID')",
};

std::string quoted(const char* s) { return std::string("'") + s + "'"; }

// Where the tables stand: P's RECNO() and EOF(), C1's RECNO() and EOF(),
// C2's RECNO(), EOF() and BOF(), G's RECNO() and EOF().
constexpr char kWhere[] =
    "{RECNO(), EOF(), C1->(RECNO()), C1->(EOF()), C2->(RECNO()), C2->(EOF()), C2->(BOF()), "
    "G->(RECNO()), G->(EOF())}";

// The first record of rows whose key is key, or 0.
template <class Row, class Key>
int first(const std::vector<Row>& rows, Key key)
{
  for (size_t i = 0; i < rows.size(); ++i)
    if (key(rows[i])) return int(i) + 1;
  return 0;
}

std::string flag(bool b) { return b ? ".T." : ".F."; }

// kWhere as it must show with P on record prec (0: at EOF).
std::string expected(int prec)
{
  const int c1 = prec ? first(kChild, [&](const ChildRow& c) { return std::string(c.k) == kParent[prec - 1].ck; }) : 0;
  const int rn = prec ? kParent[prec - 1].rn : 0;
  const bool c2_in = rn >= 1 && rn <= kByNumber;
  const int g = c1 ? first(kGrand, [&](int n) { return n == kChild[c1 - 1].gn; }) : 0;
  const auto at = [](int rec, int count) { return std::to_string(rec ? rec : count + 1) + ", " + flag(!rec); };
  return "{" + at(prec, int(kParent.size())) + ", " + at(c1, int(kChild.size())) + ", " +
         at(c2_in ? rn : 0, kByNumber) + ", " + flag(prec && !c2_in) + ", " + at(g, int(kGrand.size())) + "}";
}

class Relations : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    vln_register_fun("relateobj", relate_objects);
    for (const char* e : kSetup) run(e);
    fill("P", kParent.size(), [](size_t i) {
      return std::to_string(kParent.size() - i) + ", " + quoted(kParent[i].ck) + ", " + std::to_string(kParent[i].rn);
    });
    fill("C1", kChild.size(), [](size_t i) { return quoted(kChild[i].k) + ", " + std::to_string(kChild[i].gn); });
    fill("C2", kByNumber, [](size_t i) { return std::to_string(100 + i); });
    fill("G", kGrand.size(), [](size_t i) { return std::to_string(kGrand[i]); });
  }
  // Append n records to area alias, the fields of record i+1 from values(i).
  template <class Values>
  static void fill(const char* alias, size_t n, Values values)
  {
    for (size_t i = 0; i < n; ++i)
      run(std::string(alias) + "->(DBAPPEND(), AEVAL({" + values(i) + "}, {|v, f| FIELDPUT(f, v)}))");
    run(std::string(alias) + "->(DBCOMMIT(), DBGOTOP())");
  }
  // RELATEOBJ(parent, child, key): parent:setrelation(child, key), a name
  // longer than the ten characters of a message written in the language.
  static var* relate_objects(int argc, var** argv)
  {
    var* args[] = {argv[0], argc > 1 ? argv[1] : NIL_VAR, argc > 2 ? argv[2] : NIL_VAR};
    return vlnDoMethod("setrelation", VLN_DS_SETRELATION, 0, 3, args);
  }
  static void relate()
  {
    run("C1->(DBSETRELATION('G', {|| GN}, 'GN'))", ".T.");
    run("DBSETRELATION('C1', {|| CK}, 'CK'), DBSETRELATION('C2', {|| RN}, 'RN')", ".T.");
  }
};

// Each move of P, and where P must land (0: EOF); the children from the
// look-up above.
TEST_F(Relations, ChildrenFollowEveryMove)
{
  relate();
  struct Case {
    const char* move;
    int prec;
  } const cases[] = {
      {"DBGOTOP()", 10},        {"DBSKIP()", 9},          {"DBSKIP(-1)", 10},
      {"DBSKIP(3)", 7},         {"DBGOBOTTOM()", 1},      {"DBSKIP(-1)", 2},
      {"DBSKIP(100)", 0},       {"DBSKIP(-1)", 1},        {"DBGOTOP(), DBSKIP(-100)", 10},
      {"DBGOTO(4)", 4},         {"DBGOTO(3)", 3},         {"DBGOTO(50)", 0},
      {"DBGOTO(2)", 2},         {"DBSEEK(3)", 8},         {"DBSEEK(42)", 0},
      {"DBSEEK(6)", 5},         {"DBSEEK(2)", 9},         {"DBSKIP(0)", 9},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.move);
    run(c.move);
    run(kWhere, expected(c.prec).c_str());
  }
}

// The key is evaluated in the parent's area, whichever is selected; a
// commit and a refresh put the children back on the parent's record.
TEST_F(Relations, KeyIsTheParentsWhereverTheMoveComesFrom)
{
  relate();
  run("op := P->(DBOBJECT()), DBSELECTAREA('C2'), op:goto(5), DBSELECTAREA('P')");
  run(kWhere, expected(5).c_str());
  run("P->CK := 'ee', DBCOMMIT(), C1->(RECNO())", "6");
  run("C1->(DBGOTO(1)), P->CK := 'bb', DBOBJECT():refresh(), {CK, C1->(RECNO())}", "{ee, 6}");
}

TEST_F(Relations, RefusalsKeepTheTreeATree)
{
  struct Case {
    const char* expr;
    const char* want;
    bool circular;  // refused as a cycle
  } const cases[] = {
      {"DBSETRELATION('C1', {|| CK})", ".T."},
      {"C1->(DBSETRELATION('G', {|| GN}))", ".T."},
      {"G->(DBSETRELATION('P', {|| N}))", "#313 .F.", true},    // G -> P closes P -> C1 -> G
      {"C1->(DBSETRELATION('P', {|| K}))", "#313 .F.", true},   // C1 -> P
      {"RELATEOBJ(C1->(DBOBJECT()), C1->(DBOBJECT()), {|| K})", "#313 .F."},  // itself
      {"G->(DBSETRELATION('C2', {|| N}))", ".T."},              // a diamond is no cycle
      {"DBSETRELATION('C2', {|| RN})", ".T."},
      {"C2->(DBSETRELATION('C1', {|| RN}))", "#313 .F.", true},  // C2 -> C1 -> G -> C2
      {"RELATEOBJ(DBOBJECT(), 42, {|| 1})", "#313 .F."},
      {"RELATEOBJ(DBOBJECT(), C1->(DBOBJECT()), 42)", "#313 .F."},
      {"RELATEOBJ(DBOBJECT(), (o := C2->(DBOBJECT()), C2->(DBCLOSEAREA()), o), {|| 1})", "#313 .F."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expr);
    run(c.expr, c.want);
    EXPECT_EQ(reported(313, "circular relation"), c.circular);
  }
  // Six more make eight; the ninth is refused.
  for (int i = 3; i <= 8; ++i) run("DBSETRELATION('C1', {|| CK})", ".T.");
  expect_rows({{"DBSETRELATION('G', {|| 1})", "#313 .F."}, {"DBOBJECT():info(22)", "8"}});
}

TEST_F(Relations, SwitchedOffTheChildrenStay)
{
  relate();
  expect_rows({
      {"DBGOTO(5), op := DBOBJECT(), op:isrelation", ".T."},
      {"op:isrelation := .F., DBGOTO(1), {op:isrelation, C1->(RECNO()), C2->(RECNO())}", "{.F., 1, 3}"},
      {"op:isrelation := .T., DBSKIP(0), {C1->(RECNO()), C2->(RECNO())}", "{4, 1}"},
      {"DBCLEARRELATION(), op:isrelation := .T., DBGOTO(3), {op:isrelation, C1->(RECNO())}", "{.F., 4}"},
  });
}

TEST_F(Relations, WhatTheRelationsTell)
{
  expect_rows({
      {"{DBRSELECT(), DBRELATION()}", "{0, }"},
      {"DBSETRELATION('C2', {|| RN}, 'RN'), DBSETRELATION('C1', {'C', 'K'})", ".T."},
      {"{DBRSELECT(1), DBRSELECT(2), DBRSELECT(3), DBRELATION(1), DBRELATION(2), DBRELATION(9)}", "{2, 3, 0, RN, CK, }"},
      {"DBGOTO(6), C1->(RECNO())", "6"},                         // the joined text is the key
      {"DBSETRELATION('G', 'ID', 'by id'), DBRELATION(3)", "by id"},
      {"{DBGOTO(1), G->(RECNO())}", "{.T., 6}"},                 // ID 10 is not in G
      {"DBCLEARRELATION(), {DBRSELECT(), DBRELATION(), DBOBJECT():info(22)}", "{0, , 0}"},
  });
}

TEST_F(Relations, BreakInAKeyRestoresTheArea)
{
  // C1's key for G breaks on C1's record 2, inside P's resolution, while
  // C1's area is selected twice over.
  run("C1->(DBGOTO(1), DBSETRELATION('G', {|| IF(GN == 9, BREAK('key'), GN)})), DBSETRELATION('C1', {|| CK})", ".T.");
  var* e = vl_call(dbftest::guarded, {set_cv("DBGOTO(3)")});
  EXPECT_EQ(vltest::shown(e), "key");
  expect_rows({
      {"ALIAS()", "P"},
      {"{DBGOTO(1), C1->(RECNO()), G->(RECNO())}", "{.T., 4, 4}"},   // both resolve again
  });
}

}  // namespace
