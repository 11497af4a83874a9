// The records a record-wise command visits: DBEVAL with every combination
// of FOR, WHILE, NEXT, RECORD and REST, and LOCATE/CONTINUE, against a
// loop over the model's rows; the default scope and the LOCATE condition
// as messages.
#include <algorithm>
#include <string>
#include <vector>

#include "blocks.h"

#include "dbftest.h"
#include "movemodel.h"

namespace {

using movemodel::Model;
using movemodel::Pos;

constexpr int kRows = 30;
int key_of(int r) { return r * 7 % 23 * 2; }

// The clauses, as DBEVAL's arguments and as what they mean for row r.
constexpr char kFor[] = "{|| R % 3 == 0}";
constexpr char kWhile[] = "{|| R < 20}";
constexpr int kNext = 7, kRecord = 12;
bool for_holds(int r) { return r % 3 == 0; }
bool while_holds(int r) { return r < 20; }

class Scopes : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    run("DBCREATE('s', {{'R','N',5,0}, {'K','N',5,0}}), DBUSEAREA(.T., , 's', , .F.)");
    run("AEVAL(ARRAY(" + std::to_string(kRows) +
        "), {|x, i| DBAPPEND(), FIELDPUT(1, i), FIELDPUT(2, i * 7 % 23 * 2), IIF(i % 4 == 2, DBDELETE(), NIL)})");
    run("ORDCREATE('s', , 'K'), ORDSETFOCUS(0)");
  }
  // The rows in walking order, the deleted ones hidden under SET DELETED.
  static Model model(bool ordered, bool setdel)
  {
    std::vector<int> w;
    for (int r = 1; r <= kRows; ++r) w.push_back(r);
    if (ordered) std::stable_sort(w.begin(), w.end(), [](int a, int b) { return key_of(a) < key_of(b); });
    return Model(w, [=](int r) { return !(setdel && r % 4 == 2); });
  }
  static std::string list(const std::vector<int>& v)
  {
    std::string s = "{";
    for (size_t i = 0; i < v.size(); ++i) s += (i ? ", " : "") + std::to_string(v[i]);
    return s + "}";
  }
};

// The clauses given, one bit each.
enum { kF = 1, kW = 2, kN = 4, kRc = 8, kRs = 16, kAll = 32 };

// What DBEVAL visits from start with the clauses in mask: the rows the
// block ran on, then where it ended.
std::string visits(const Model& m, Pos at, int mask)
{
  int scope = -1;
  if (mask & kW) scope = -2;
  if (mask & kRs) scope = -2;
  if (mask & kN) scope = kNext;
  if (mask & kRc) at = m.go(kRecord), scope = 1;
  if (scope == -1) at = m.top();
  std::vector<int> seen;
  auto going = [&] { return !at.eof && (!(mask & kW) || while_holds(at.rec)); };
  for (bool more = going(); more && scope != 0;) {
    if (!(mask & kF) || for_holds(at.rec)) seen.push_back(at.rec);
    if (scope > 0) --scope;
    if (scope != 0) at = m.skip(at, 1);
    more = going();
  }
  std::string s = "{";
  for (int r : seen) s += std::to_string(r) + ", ";
  return s + "@" + std::to_string(at.rec) + "}";
}

TEST_F(Scopes, EvalVisitsWhatTheClausesSay)
{
  for (bool ordered : {false, true})
    for (bool setdel : {false, true}) {
      run(std::string("SET(11, ") + (setdel ? ".T.)" : ".F.)") + (ordered ? ", ORDSETFOCUS(1)" : ", ORDSETFOCUS(0)"));
      const Model m = model(ordered, setdel);
      for (int start : {5, kRows, 0})
        for (int mask = 0; mask < kAll; ++mask) {
          const std::string args = std::string(mask & kF ? kFor : "") + ", " + (mask & kW ? kWhile : "") + ", " +
                                   (mask & kN ? std::to_string(kNext) : "") + ", " +
                                   (mask & kRc ? std::to_string(kRecord) : "") + ", " + (mask & kRs ? ".T." : "");
          SCOPED_TRACE(std::string(ordered ? "by K" : "natural") + (setdel ? ", SET DELETED" : "") + ", from " +
                       std::to_string(start) + ": " + args);
          std::string got = "a := '{', DBGOTO(" + std::to_string(start) +
                            "), DBEVAL({|| a += LTRIM(STR(R)) + ', '}, " + args + "), a + '@' + LTRIM(STR(RECNO())) + '}'";
          run(got, visits(m, m.go(start), mask).c_str());
        }
    }
}

// LOCATE and CONTINUE stop on the rows FOR holds on, in walking order.
TEST_F(Scopes, LocateAndContinueFindTheMatchingRows)
{
  for (bool ordered : {false, true})
    for (bool setdel : {false, true}) {
      SCOPED_TRACE(std::string(ordered ? "by K" : "natural") + (setdel ? ", SET DELETED" : ""));
      run(std::string("SET(11, ") + (setdel ? ".T.)" : ".F.)") + (ordered ? ", ORDSETFOCUS(1)" : ", ORDSETFOCUS(0)"));
      const Model m = model(ordered, setdel);
      std::vector<int> want;
      for (int r : m.walk())
        if (m.visible(r) && r % 5 == 0) want.push_back(r);
      run("a := {}, DBGOBOTTOM(), DBOBJECT():locate({|| R % 5 == 0}), "
          "AEVAL(ARRAY(20), {|| IIF(FOUND(), (AADD(a, RECNO()), DBOBJECT():continue()), NIL)}), {a, EOF()}",
          ("{" + list(want) + ", .T.}").c_str());
    }
  run("SET(11, .F.), ORDSETFOCUS(0)");
  vltest::expect_rows({
      // a text condition; with a while (from here) and with a count
      {"{DBOBJECT():locate('R > 6'), RECNO(), FOUND()}", "{.T., 7, .T.}"},
      {"DBGOTO(3), {DBOBJECT():locate({|| R > 6}, {|| R < 6}), RECNO(), FOUND()}", "{.F., 6, .F.}"},
      {"DBGOTO(3), {DBOBJECT():locate({|| R > 6}, , 3), RECNO(), FOUND()}", "{.F., 5, .F.}"},
      {"DBGOTO(3), {DBOBJECT():locate({|| R > 6}, , 5), RECNO(), FOUND()}", "{.T., 7, .T.}"},
      {"{DBOBJECT():locate({|| R > 99}), EOF(), FOUND()}", "{.F., .T., .F.}"},
      {"{DBOBJECT():locate(3), FOUND()}", "{.F., .F.}"},
      // the condition as the user gave it; CONTINUE searches for it
      {"DBSETLOCATE({|| R == 4}), DBGOTOP(), {EVAL(DBGETLOCATE()), DBOBJECT():continue(), RECNO()}", "{.F., .T., 4}"},
      {"{EVAL(DBOBJECT():info(34, {|| R == 9})), DBOBJECT():continue(), RECNO()}", "{.T., .T., 9}"},
      {"DBOBJECT():info(34, 5)", "#317"},
      {"DBOBJECT():setlocate := 'R'", "#312"},
      {"DBOBJECT():setlocate := {|| 'R'}", "#312"},
      {"DBOBJECT():info(34, NIL), {DBGETLOCATE(), DBOBJECT():continue(), FOUND()}", "{NIL, .F., .F.}"},
      {"{DBOBJECT():setfound := .T., FOUND(), DBOBJECT():setfound := NIL, FOUND()}", "{.T., .T., .F., .F.}"},
      {"DBOBJECT():setfound := 1", "#312"},
  });
}

// The default FOR, WHILE and scope serve eval without arguments; a logical
// NEXT means what it means to scope=.
TEST_F(Scopes, DefaultsAndLogicalNext)
{
  vltest::expect_rows({
      {"{DBOBJECT():scope, DBOBJECT():scope := 4, DBOBJECT():scope := .T., DBOBJECT():scope := .F., DBOBJECT():scope := NIL}", "{.F., 4, .T., .F., .F.}"},
      {"DBOBJECT():scope := 'x'", "#312"},
      {"DBOBJECT():whileblock := 'x'", "#312"},
      {"DBOBJECT():forblock := {|| 'x'}", "#312"},
      {"DBOBJECT():forblock := 'R % 2 == 0', DBOBJECT():whileblock := {|| R < 9}, DBOBJECT():scope := .T., DBGOTO(3)"},
      {"c := 0, DBEVAL({|| c++}), {c, RECNO()}", "{3, 9}"},                     // 4, 6, 8 from here
      {"DBGOTO(3), c := 0, DBEVAL({|| c++}, {|| .T.}), {c, RECNO()}", "{30, 31}"},  // a clause drops the defaults
      {"DBOBJECT():scope := 5, DBGOTO(3), c := 0, DBEVAL({|| c++}), {c, RECNO()}", "{2, 7}"},
      {"DBOBJECT():clearscope(), {DBOBJECT():forblock, DBOBJECT():whileblock, DBOBJECT():scope}", "{NIL, NIL, .F.}"},
      {"DBGOTO(25), c := 0, DBEVAL({|| c++}, , , .T.), c", "6"},   // NEXT .T.: the rest
      {"DBGOTO(25), c := 0, DBEVAL({|| c++}, , {|| .T.}, .F.), c", "30"},  // NEXT .F.: all
  });
}

// diDoScope packs a command's clauses for the bulk routines, or the
// defaults when none is given.
TEST_F(Scopes, DoScopePacksClausesOrDefaults)
{
  const int32_t mark = tmpvar_cnt;
  var* self = exp_eval("DBOBJECT()");
  var* target[5];
  var* none[1] = {nullptr};
  EXPECT_EQ(vl::diDoScope(0, none, target, self), 1);
  run("DBOBJECT():whileblock := {|| .T.}, DBOBJECT():scope := 3, DBGOTO(1)");
  EXPECT_EQ(vl::diDoScope(0, none, target, self), 5);
  EXPECT_EQ(vltest::shown(target[2]), "3");
  var* source[2] = {set_cv("R > 2"), set_cv("R < 9")};
  EXPECT_EQ(vl::diDoScope(2, source, target, self), 2);
  EXPECT_EQ(target[0]->Type, 'b');
  EXPECT_EQ(vltest::shown(vlnBlockEval(target[1])), ".T.");
  del_tmpvars(mark);
}

}  // namespace
