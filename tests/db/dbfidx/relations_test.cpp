// relations_test.cpp -- children and a grandchild after each move of the
// parent; setrelation's refusals; switching off; DBRELATION, DBRSELECT.
#include <algorithm>
#include <string>
#include <vector>

#include "dbftest.h"
#include "dsslots.h"

namespace {

using vltest::expect_rows;

// P (ordered by ID = 11 - recno) relates to C1 by CK through C1's order on
// K, and to C2 by RN as a record number; C1 relates to G by GN through G's
// order on N.  C2 has a field RN of its own, so a key evaluated in the
// wrong area gives a wrong record.
struct Row { std::string key; int number; };  // P: CK, RN; C1: K, GN
const std::vector<Row> kParent = {{"bb", 1}, {"zz", 7}, {"aa", 5}, {"dd", 0}, {"cc", 3},
                                  {"ee", 4}, {"xx", 2}, {"dd", 5}, {"aa", 9}, {"cc", 1}};
const std::vector<Row> kChild = {{"cc", 3}, {"aa", 9}, {"dd", 1}, {"bb", 2}, {"aa", 4}, {"ee", 5}};
constexpr int kByNumber = 5;                       // records of C2
const std::vector<int> kGrand = {5, 4, 3, 2, 1};   // N of G's records

constexpr const char* kSetup[] = {
    "DBCREATE('g', {{'N','N',3,0}}), DBUSEAREA(.T., , 'g', 'G', .F.), ORDCREATE('gn', , 'N')",
    "DBCREATE('c2', {{'RN','N',3,0}}), DBUSEAREA(.T., , 'c2', 'C2', .F.)",
    "DBCREATE('c1', {{'K','C',2,0}, {'GN','N',3,0}}), DBUSEAREA(.T., , 'c1', 'C1', .F.), ORDCREATE('c1k', , 'K')",
    "DBCREATE('p', {{'ID','N',3,0}, {'CK','C',2,0}, {'RN','N',3,0}}), DBUSEAREA(.T., , 'p', 'P', .F.), ORDCREATE('pid', , 'ID')",
};

// Where the tables stand; BOF() only of C2.
constexpr char kWhere[] =
    "{RECNO(), EOF(), C1->(RECNO()), C1->(EOF()), C2->(RECNO()), C2->(EOF()), C2->(BOF()), "
    "G->(RECNO()), G->(EOF())}";

// The first record of rows equal to want, or 0.
template <class T>
int first(const std::vector<T>& rows, const T& want)
{
  const auto at = std::find(rows.begin(), rows.end(), want);
  return at == rows.end() ? 0 : int(at - rows.begin()) + 1;
}
std::string flag(bool b) { return b ? ".T." : ".F."; }

// kWhere as it must show with P on record prec (0: at EOF).
std::string expected(int prec)
{
  std::vector<std::string> keys;
  for (const Row& c : kChild) keys.push_back(c.key);
  const int c1 = prec ? first(keys, kParent[prec - 1].key) : 0;
  const int rn = prec ? kParent[prec - 1].number : 0;
  const bool c2_in = rn >= 1 && rn <= kByNumber;
  const int g = c1 ? first(kGrand, kChild[c1 - 1].number) : 0;
  const auto at = [](int rec, int count) { return std::to_string(rec ? rec : count + 1) + ", " + flag(!rec); };
  return "{" + at(prec, int(kParent.size())) + ", " + at(c1, int(kChild.size())) + ", " +
         at(c2_in ? rn : 0, kByNumber) + ", " + flag(prec && !c2_in) + ", " + at(g, int(kGrand.size())) + "}";
}

class Relations : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    for (const char* e : kSetup) run(e);
    fill("P", kParent.size(), [](size_t i) { return std::to_string(kParent.size() - i) + ", " + text(kParent[i]); });
    fill("C1", kChild.size(), [](size_t i) { return text(kChild[i]); });
    fill("C2", kByNumber, [](size_t i) { return std::to_string(100 + i); });
    fill("G", kGrand.size(), [](size_t i) { return std::to_string(kGrand[i]); });
  }
  static std::string text(const Row& r) { return "'" + r.key + "', " + std::to_string(r.number); }
  // Append n records to area alias, the fields of record i+1 from values(i).
  template <class Values>
  static void fill(const char* alias, size_t n, Values values)
  {
    for (size_t i = 0; i < n; ++i)
      run(std::string(alias) + "->(DBAPPEND(), AEVAL({" + values(i) + "}, {|v, f| FIELDPUT(f, v)}))");
    run(std::string(alias) + "->(DBCOMMIT(), DBGOTOP())");
  }
  static void relate()
  {
    run("C1->(DBSETRELATION('G', {|| GN})), DBSETRELATION('C1', {|| CK}), DBSETRELATION('C2', {|| RN})", ".T.");
  }
};

// Each move of P, and where P must land (0: EOF); the children from the
// look-up above.  The key is P's also when the move comes from another
// area; commit and refresh put the children back.
TEST_F(Relations, ChildrenFollowEveryMove)
{
  relate();
  struct Case { const char* move; int prec; } const cases[] = {
      {"DBGOTOP()", 10},        {"DBSKIP()", 9},          {"DBSKIP(-1)", 10},
      {"DBSKIP(3)", 7},         {"DBGOBOTTOM()", 1},      {"DBSKIP(-1)", 2},
      {"DBSKIP(100)", 0},       {"DBSKIP(-1)", 1},        {"DBGOTOP(), DBSKIP(-100)", 10},
      {"DBGOTO(4)", 4},         {"DBGOTO(3)", 3},         {"DBGOTO(50)", 0},
      {"DBGOTO(2)", 2},         {"DBSEEK(3)", 8},         {"DBSEEK(42)", 0},
      {"DBSEEK(6)", 5},         {"DBSEEK(2)", 9},         {"DBSKIP(0)", 9},
      {"op := DBOBJECT(), DBSELECTAREA('C2'), op:goto(5), DBSELECTAREA('P')", 5},
      {"C1->(DBGOTO(2)), C2->(DBGOTO(1)), DBCOMMIT()", 5},
      {"C1->(DBGOTO(2)), C2->(DBGOTO(1)), DBOBJECT():refresh()", 5},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.move);
    run(c.move);
    run(kWhere, expected(c.prec).c_str());
  }
}

TEST_F(Relations, RefusalsKeepTheTreeATree)
{
  struct Case { const char* expr; const char* want; bool circular = false; } const cases[] = {
      {"DBSETRELATION('C1', {|| CK})", ".T."},
      {"C1->(DBSETRELATION('G', {|| GN}))", ".T."},
      {"G->(DBSETRELATION('P', {|| N}))", "#313 .F.", true},    // G -> P closes P -> C1 -> G
      {"C1->(DBSETRELATION('P', {|| K}))", "#313 .F.", true},   // C1 -> P
      {"C1->(DBOBJECT()):setrelation(C1->(DBOBJECT()), {|| K})", "#313 .F."},  // itself
      {"G->(DBSETRELATION('C2', {|| N}))", ".T."},              // a diamond is no cycle
      {"DBSETRELATION('C2', {|| RN})", ".T."},
      {"C2->(DBSETRELATION('C1', {|| RN}))", "#313 .F.", true},  // C2 -> C1 -> G -> C2
      {"DBOBJECT():setrelation(42, {|| 1})", "#313 .F."},
      {"DBOBJECT():setrelation(C1->(DBOBJECT()), 42)", "#313 .F."},
      {"DBOBJECT():setrelation((o := C2->(DBOBJECT()), C2->(DBCLOSEAREA()), o), {|| 1})", "#313 .F."},
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

// isrelation := .F. leaves the children where they are.
TEST_F(Relations, SwitchingOffAndTelling)
{
  expect_rows({
      {"{DBRSELECT(), DBRELATION()}", "{0, }"},
      {"DBSETRELATION('C2', {|| RN}, 'RN'), DBSETRELATION('C1', {'C', 'K'})", ".T."},
      {"{DBRSELECT(1), DBRSELECT(2), DBRSELECT(3), DBRELATION(1), DBRELATION(2), DBRELATION(9)}", "{2, 3, 0, RN, CK, }"},
      {"DBGOTO(5), op := DBOBJECT(), {op:isrelation, C1->(RECNO()), C2->(RECNO())}", "{.T., 1, 3}"},
      {"op:isrelation := .F., DBGOTO(1), {op:isrelation, C1->(RECNO()), C2->(RECNO())}", "{.F., 1, 3}"},
      {"op:isrelation := .T., DBSKIP(0), {C1->(RECNO()), C2->(RECNO())}", "{4, 1}"},
      {"DBSETRELATION('G', 'ID', 'by id'), {DBRELATION(3), G->(RECNO())}", "{by id, 6}"},  // ID 10 is not in G
      {"DBCLEARRELATION(), op:isrelation := .T., DBGOTO(3), {op:isrelation, C1->(RECNO()), DBRSELECT(), DBRELATION(), op:info(22)}",
       "{.F., 4, 0, , 0}"},
  });
}

TEST_F(Relations, BreakInAKeyRestoresTheArea)
{
  // C1's key for G breaks on C1's record 2, inside P's resolution, while
  // C1's area is selected twice over.
  run("C1->(DBGOTO(1), DBSETRELATION('G', {|| IF(GN == 9, BREAK('key'), GN)})), DBSETRELATION('C1', {|| CK})", ".T.");
  EXPECT_EQ(vltest::shown(vl_call(dbftest::guarded, {set_cv("DBGOTO(3)")})), "key");
  expect_rows({
      {"ALIAS()", "P"},
      {"{DBGOTO(1), C1->(RECNO()), G->(RECNO())}", "{.T., 4, 4}"},   // both resolve again
  });
}

}  // namespace
