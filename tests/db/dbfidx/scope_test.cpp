// The records a record-wise command visits: DBEVAL with every combination
// of FOR, WHILE, NEXT, RECORD and REST, and LOCATE/CONTINUE, against a loop
// over the model's rows; the default scope and the LOCATE condition.
#include <string>

#include "dbftest.h"
#include "movemodel.h"

namespace {

using movemodel::Model;
using movemodel::Pos;

constexpr int kRows = 30, kNext = 7, kRecord = 12;
// The clauses, one bit each, as DBEVAL's arguments and for row r.
enum { kF = 1, kW = 2, kN = 4, kRc = 8, kRs = 16, kAll = 32 };
bool for_holds(int r) { return r % 3 == 0; }
bool while_holds(int r) { return r < 20; }

// What DBEVAL visits from at with the clauses in mask: "{rows the block
// ran on, @where it ended}".
std::string visits(const Model& m, Pos at, int mask)
{
  int scope = mask & (kW | kRs) ? -2 : -1;
  if (mask & kN) scope = kNext;
  if (mask & kRc) at = m.go(kRecord), scope = 1;
  if (scope == -1) at = m.top();
  std::string seen = "{";
  auto going = [&] { return !at.eof && (!(mask & kW) || while_holds(at.rec)); };
  for (bool more = going(); more && scope != 0; more = going()) {
    if (!(mask & kF) || for_holds(at.rec)) seen += std::to_string(at.rec) + ", ";
    if (scope > 0) --scope;
    if (scope != 0) at = m.skip(at, 1);
  }
  return seen + "@" + std::to_string(at.rec) + "}";
}

class Scopes : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    run(movemodel::create("s", kRows, true) + ", ORDSETFOCUS(0)");
  }
  // Each mode (bit 0 SET DELETED, bit 1 by key) set, with its model.
  template <class Check>
  static void in_each_mode(Check check)
  {
    for (int mode = 0; mode < 4; ++mode) {
      SCOPED_TRACE("mode " + std::to_string(mode));
      run(std::string(mode & 1 ? "SET(11, .T.)" : "SET(11, .F.)") + (mode & 2 ? ", ORDSETFOCUS(1)" : ", ORDSETFOCUS(0)"));
      check(Model(kRows, mode & 2, [=](int r) { return !(mode & 1 && movemodel::deleted_row(r)); }));
    }
    run("SET(11, .F.), ORDSETFOCUS(0)");
  }
};

TEST_F(Scopes, EvalVisitsWhatTheClausesSay)
{
  in_each_mode([](const Model& m) {
    for (int start : {5, kRows, 0})
      for (int mask = 0; mask < kAll; ++mask) {
        const std::string args = std::string(mask & kF ? "{|| R % 3 == 0}" : "") + ", " + (mask & kW ? "{|| R < 20}" : "") +
                                 ", " + (mask & kN ? std::to_string(kNext) : "") + ", " +
                                 (mask & kRc ? std::to_string(kRecord) : "") + ", " + (mask & kRs ? ".T." : "");
        run("a := '{', DBGOTO(" + std::to_string(start) + "), DBEVAL({|| a += LTRIM(STR(R)) + ', '}, " + args +
                "), a + '@' + LTRIM(STR(RECNO())) + '}'",
            visits(m, m.go(start), mask).c_str());
      }
  });
}

// LOCATE and CONTINUE stop on the visible rows FOR holds on, in walking
// order; the LOCATE condition, the found flag and the default scope as
// messages; a logical NEXT means what it means to scope=.
TEST_F(Scopes, LocateContinueAndDefaults)
{
  in_each_mode([](const Model& m) {
    std::string want = "{{";
    for (Pos p = m.top(); !p.eof; p = m.skip(p, 1))
      if (p.rec % 5 == 0) want += (want.size() > 2 ? ", " : "") + std::to_string(p.rec);
    run("a := {}, DBGOBOTTOM(), DBOBJECT():locate({|| R % 5 == 0}), "
        "AEVAL(ARRAY(20), {|| IIF(FOUND(), (AADD(a, RECNO()), DBOBJECT():continue()), NIL)}), {a, EOF()}",
        (want + "}, .T.}").c_str());
  });
  vltest::expect_rows({
      {"o := DBOBJECT(), {o:locate('R > 6'), RECNO(), FOUND()}", "{.T., 7, .T.}"},
      {"DBGOTO(3), {o:locate({|| R > 6}, {|| R < 6}), RECNO(), FOUND()}", "{.F., 6, .F.}"},  // WHILE from here
      {"DBGOTO(3), {o:locate({|| R > 6}, , 3), RECNO(), FOUND()}", "{.F., 5, .F.}"},         // NEXT 3
      {"{o:locate({|| R > 99}), EOF(), FOUND()}", "{.F., .T., .F.}"},
      {"{o:locate(3), FOUND()}", "{.F., .F.}"},
      // the condition as the user gave it; CONTINUE searches for it
      {"DBSETLOCATE({|| R == 4}), DBGOTOP(), {EVAL(DBGETLOCATE()), o:continue(), RECNO()}", "{.F., .T., 4}"},
      {"{EVAL(o:info(34, {|| R == 9})), o:continue(), RECNO()}", "{.T., .T., 9}"},
      {"o:info(34, 5)", "#317"},
      {"o:setlocate := 'R'", "#312"},
      {"o:setlocate := {|| 'R'}", "#312"},
      {"o:clearlocate(), {DBGETLOCATE(), o:continue(), FOUND()}", "{NIL, .F., .F.}"},
      {"{o:setfound := .T., FOUND(), o:setfound := NIL, FOUND()}", "{.T., .T., .F., .F.}"},
      {"o:setfound := 1", "#312"},
      // the default FOR, WHILE and scope serve eval without clauses
      {"{o:scope, o:scope := 4, o:scope := .T., o:scope := .F., o:scope := NIL}", "{.F., 4, .T., .F., .F.}"},
      {"o:scope := 'x'", "#312"},
      {"o:whileblock := 'x'", "#312"},
      {"o:forblock := {|| 'x'}", "#312"},
      {"o:forblock := 'R % 2 == 0', o:whileblock := {|| R < 9}, o:scope := .T., DBGOTO(3)"},
      {"c := 0, DBEVAL({|| c++}), {c, RECNO()}", "{3, 9}"},                         // 4, 6, 8 from here
      {"DBGOTO(3), c := 0, DBEVAL({|| c++}, {|| .T.}), {c, RECNO()}", "{30, 31}"},  // a clause drops them
      {"o:scope := 5, DBGOTO(3), c := 0, DBEVAL({|| c++}), {c, RECNO()}", "{2, 7}"},
      {"o:clearscope(), {o:forblock, o:whileblock, o:scope}", "{NIL, NIL, .F.}"},
      {"DBGOTO(25), c := 0, DBEVAL({|| c++}, , , .T.), c", "6"},            // NEXT .T.: the rest
      {"DBGOTO(25), c := 0, DBEVAL({|| c++}, , {|| .T.}, .F.), c", "30"},  // NEXT .F.: all
  });
}

}  // namespace
