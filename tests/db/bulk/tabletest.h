// tabletest.h -- what the table command tests share: a source table of
// rows known to the test, the scopes a command takes, and a reader of a
// result table's rows.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "../dbfidx/dbftest.h"

namespace tabletest {

// One row of the source table SRC: NAME C8, CITY C6, N N7.1, D D, L L.
struct Rec {
  int recno;
  std::string name, city;
  double n;
  int day;  // day of January 2020, 0 for an empty date
  bool l;
};

// The rows: repeated names in mixed case, runs of equal cities, negative
// and equal numbers.
inline std::vector<Rec> rows()
{
  static const char* names[] = {"bob", "Amy", "carl", "amy", "Bob", "dave", "Carl", "eve"};
  static const char* cities[] = {"OSLO", "OSLO", "BERN", "ROME", "ROME", "ROME", "BERN"};
  std::vector<Rec> r;
  for (int i = 1; i <= 30; ++i)
    r.push_back({i, names[(i * 5) % 8], cities[(i / 3) % 7], double((i * 7) % 11 - 5) / 2, (i * 3) % 9, i % 3 == 0});
  return r;
}

// A scope as the commands take it: the text of the arguments and which
// rows it visits when the table stands at record start.
struct Scope {
  const char* args;  // for, while, next, record, rest
  int start;
  std::function<bool(const Rec&)> in_for, in_while;
  int next;   // 0: none
  bool here;  // starts at record start, not at the top
};

inline std::vector<Scope> scopes()
{
  auto all = [](const Rec&) { return true; };
  return {
      {"NIL, NIL, NIL, NIL, NIL", 7, all, all, 0, false},
      {"{|| N > 0}, NIL, NIL, NIL, NIL", 7, [](const Rec& r) { return r.n > 0; }, all, 0, false},
      {"NIL, {|| RECNO() < 20}, NIL, NIL, NIL", 4, all, [](const Rec& r) { return r.recno < 20; }, 0, true},
      {"{|| L}, NIL, 12, NIL, NIL", 9, [](const Rec& r) { return r.l; }, all, 12, true},
      {"NIL, NIL, NIL, NIL, .T.", 21, all, all, 0, true},
  };
}

// The rows s visits, in natural order.
inline std::vector<Rec> in_scope(const std::vector<Rec>& all, const Scope& s)
{
  std::vector<Rec> out;
  int left = s.next;
  for (size_t i = s.here ? size_t(s.start - 1) : 0; i < all.size(); ++i) {
    if (!s.in_while(all[i])) break;
    if (s.in_for(all[i])) out.push_back(all[i]);
    if (s.next && --left == 0) break;
  }
  return out;
}

class Tables : public dbftest::InDir {
 protected:
  // Create SRC from rows() and leave it open (alias SRC) in area 1,
  // exclusively unless shared.
  void make_source(bool shared = false)
  {
    run("DBCREATE('src', {{'NAME','C',8,0},{'CITY','C',6,0},{'N','N',7,1},{'D','D',8,0},{'L','L',1,0},{'ID','N',3,0}})");
    run(std::string("DBUSEAREA(.T., , 'src', 'SRC', ") + (shared ? ".T.)" : ".F.)"));
    for (const Rec& r : rows())
      run("DBAPPEND(), FIELDPUT(1, '" + r.name + "'), FIELDPUT(2, '" + r.city + "'), FIELDPUT(3, " +
          std::to_string(r.n) + "), FIELDPUT(4, " + (r.day ? "STOD('202001" + two(r.day) + "')" : "CTOD('')") +
          "), FIELDPUT(5, " + (r.l ? ".T." : ".F.") + "), FIELDPUT(6, " + std::to_string(r.recno) + ")");
  }
  static std::string two(int d) { return (d < 10 ? "0" : "") + std::to_string(d); }
  // expr over every record of table file, in natural order, one text each
  // (opened in a new area under alias CHK and closed again; SRC selected).
  static std::vector<std::string> table_rows(const std::string& file, const std::string& expr)
  {
    run("DBUSEAREA(.T., , '" + file + "', 'CHK', .F.)");
    std::vector<std::string> out;
    exp_eval("DBGOTOP()");
    while (!vlnLogVar(exp_eval("EOF()"))) {
      out.push_back(vltest::shown(exp_eval(expr.c_str())));
      exp_eval("DBSKIP()");
    }
    run("DBCLOSEAREA(), DBSELECTAREA('SRC')");
    return out;
  }
  // The same texts for rows as the oracle computes them.
  static std::string key_of(const Rec& r) { return r.name + "|" + r.city + "|" + std::to_string(r.recno); }
  static std::vector<std::string> texts(const std::vector<Rec>& rs)
  {
    std::vector<std::string> out;
    for (const Rec& r : rs) out.push_back(key_of(r));
    return out;
  }
};

// What table_rows gives for key_of: TRIM(NAME)|TRIM(CITY)|ID.
inline const char* kKeyExpr = "TRIM(NAME) + '|' + TRIM(CITY) + '|' + LTRIM(STR(ID))";

}  // namespace tabletest
