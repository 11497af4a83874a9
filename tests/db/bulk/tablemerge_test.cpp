// SORT, TOTAL, UPDATE and JOIN against results computed here from the rows.
#include <algorithm>
#include <cctype>
#include <map>

#include "tabletest.h"

namespace {

using namespace tabletest;

std::string upper(std::string s)
{
  for (char& c : s) c = char(std::toupper((unsigned char)c));
  return s;
}

class Merge : public Tables {};

TEST_F(Merge, SortOnOneAndThreeKeysInEveryScope)
{
  make_source();
  // Each sort: its keys and the order they mean for two rows.
  struct Case {
    const char* keys;
    std::function<bool(const Rec&, const Rec&)> before;
  };
  const Case cases[] = {
      {"{'NAME'}", [](const Rec& a, const Rec& b) { return a.name < b.name; }},
      {"{'city/d', 'Name/C', 'N'}",
       [](const Rec& a, const Rec& b) {
         if (a.city != b.city) return a.city > b.city;
         if (upper(a.name) != upper(b.name)) return upper(a.name) < upper(b.name);
         return a.n < b.n;
       }},
      {"{'N/DC', 'D/c/D'}",
       [](const Rec& a, const Rec& b) { return a.n != b.n ? a.n > b.n : a.day > b.day; }},
  };
  for (const Case& c : cases)
    for (const Scope& s : scopes()) {
      SCOPED_TRACE(std::string(c.keys) + " " + s.args);
      std::vector<Rec> want = in_scope(rows(), s);
      std::stable_sort(want.begin(), want.end(), c.before);
      run("DBGOTO(" + std::to_string(s.start) + ")");
      run(std::string("__DBSORT('out', ") + c.keys + ", " + s.args + ")", ".T.");
      run("SELECT()", "1");
      EXPECT_EQ(table_rows("out", kKeyExpr), texts(want));
    }
  EXPECT_EQ(files().size(), 2u);  // src.dbf and out.dbf: nothing temporary left
}

TEST_F(Merge, SortBadKeysAndBreak)
{
  make_source();
  vltest::expect_rows({
      {"VL_SET('developer', .T.)"},
      {"__DBSORT('out', {})", "#902 .F."},
      {"__DBSORT('out', {'NOPE/D'})", "#325 .F."},
      {"__DBSORT(12, {'NAME'})", "#312 .F."},
      {"SELECT()", "1"},
  });
  var* e = vl_call(dbftest::guarded, {set_cv("__DBSORT('out', {'NAME'}, {|| IIF(RECNO() > 5, BREAK('out'), .T.)})")});
  EXPECT_EQ(vltest::shown(e), "out");
  run("SELECT()", "1");
  run("FILE('out.dbf')", ".F.");  // the break came before anything was written
}

TEST_F(Merge, TotalOnAKeyInEveryScope)
{
  make_source();
  for (const Scope& s : scopes()) {
    SCOPED_TRACE(s.args);
    std::vector<std::string> want;
    std::string key;
    double sum = 0;
    const std::vector<Rec> in = in_scope(rows(), s);
    for (size_t i = 0; i <= in.size(); ++i) {
      if (i == in.size() || in[i].city != key) {
        if (!want.empty() || i > 0) want.back() += "|" + std::to_string(int(sum * 10));
        if (i == in.size()) break;
        key = in[i].city, sum = 0;
        want.push_back(in[i].city + "|" + std::to_string(in[i].recno));
      }
      sum += in[i].n;
    }
    run("DBGOTO(" + std::to_string(s.start) + ")");
    run(std::string("__DBTOTAL('tot', {|| CITY}, {'n'}, ") + s.args + ")", ".T.");
    EXPECT_EQ(table_rows("tot", "TRIM(CITY) + '|' + LTRIM(STR(ID)) + '|' + LTRIM(STR(N * 10))"), want);
  }
}

// The target TGT: ID 1..8 with AMT 100*ID, ordered by ID; the source SRC's
// rows give amounts to add by ID = recno % 10.
TEST_F(Merge, UpdateWalkingTogetherAndSeekingNeverAppends)
{
  make_source();
  for (bool random : {false, true}) {
    SCOPED_TRACE(random ? "random" : "in order");
    std::map<int, double> want;
    for (int id = 1; id <= 8; ++id) want[id] = 100 * id;
    std::vector<Rec> src = rows();
    for (const Rec& r : src)
      if (want.count(r.recno % 10)) want[r.recno % 10] += r.n;
    run("DBCREATE('tgt', {{'ID','N',3,0},{'AMT','N',9,1}})");
    run("DBUSEAREA(.T., , 'tgt', 'TGT', .F.)");
    run("AEVAL({8,1,2,3,4,5,6,7}, {|i| DBAPPEND(), FIELDPUT(1, i), FIELDPUT(2, 100 * i)})");
    run("ORDCREATE('tgtid', , 'ID')");
    // In order, the source must be in key order too: sort it by the key.
    run("DBSELECTAREA('SRC'), ORDCREATE('srcid', , 'RECNO() % 10'), ORDSETFOCUS(" + std::string(random ? "0" : "1") +
        "), DBSELECTAREA('TGT')");
    run(std::string("__DBUPDATE('SRC', {|| IIF(ALIAS() == 'SRC', RECNO() % 10, ID)}, ") + (random ? ".T." : ".F.") +
            ", {|| FIELDPUT(2, AMT + SRC->N)})",
        ".T.");
    run("SELECT('TGT') == SELECT()", ".T.");
    run("LASTREC()", "8");
    for (auto [id, amt] : want) run("DBSEEK(" + std::to_string(id) + "), AMT", std::to_string(amt).substr(0, std::to_string(amt).find('.') + 2).c_str());
    run("DBCLOSEAREA(), DBSELECTAREA('SRC'), ORDLISTCLEAR()");
  }
  run("DBCREATE('plain', {{'ID','N',3,0}}), DBUSEAREA(.T., , 'plain', , .F.)");
  run("__DBUPDATE('SRC', {|| ID}, .T., {|| .T.})", "#312 .F.");
}

TEST_F(Merge, JoinWithACondition)
{
  make_source();
  run("DBCREATE('cty', {{'CITY','C',6,0},{'POP','N',5,0}}), DBUSEAREA(.T., , 'cty', 'CTY', .F.)");
  run("AEVAL({{'OSLO',7},{'ROME',28},{'BERN',1},{'ROME',3}}, {|r| DBAPPEND(), FIELDPUT(1, r[1]), FIELDPUT(2, r[2])})");
  run("DBSELECTAREA('SRC')");
  std::vector<std::string> want;
  const std::pair<const char*, int> cty[] = {{"OSLO", 7}, {"ROME", 28}, {"BERN", 1}, {"ROME", 3}};
  for (const Rec& r : rows())
    for (auto [city, pop] : cty)
      if (r.city == city && pop > 2) want.push_back(std::to_string(r.recno) + "|" + city + "|" + std::to_string(pop));
  run("__DBJOIN('CTY', 'j', {'ID', 'CITY', 'CTY->POP'}, {|| CITY == SRC->CITY .AND. POP > 2})", ".T.");
  run("SELECT()", "1");
  EXPECT_EQ(table_rows("j", "LTRIM(STR(ID)) + '|' + TRIM(CITY) + '|' + LTRIM(STR(POP))"), want);
  run("__DBJOIN('CTY', 'all', NIL, {|| .F.})", ".T.");
  run("DBUSEAREA(.T., , 'all', , .F.), FCOUNT()", "7");  // SRC's six and CTY's POP
}

}  // namespace
