// Every move -- GO TOP, GO BOTTOM, GOTO, SKIP, SEEK -- on tables of 0, 1, 2
// and 100 rows, with and without deleted rows, SET DELETED off and on,
// filters that keep nothing, one row or every other row, in natural and in
// index order, against a model worked out from the rows; the filter's
// messages; what a move reads; a BREAK out of a filter.
#include <functional>
#include <string>
#include <vector>

#include "dbftest.h"
#include "movemodel.h"

namespace {

using movemodel::Model;
using movemodel::Pos;
using movemodel::key_of;

constexpr char kWhere[] = "{RECNO(), BOF(), EOF(), FOUND()}";

class Moves : public dbftest::InDir {
 protected:
  static void make_table(int count, bool deleted, bool shared = false)
  {
    run(movemodel::create("t" + std::to_string(count), count, deleted, shared));
  }
  static void check(const std::string& move, const Pos& want) { run(move + ", " + kWhere, want.shown().c_str()); }

  // Every move of one configuration against model m.
  static void check_moves(const Model& m, bool ordered)
  {
    const int n = m.count();
    std::vector<std::pair<std::string, Pos>> moves = {{"DBGOTOP()", m.top()}, {"DBGOBOTTOM()", m.bottom()}};
    for (int k : {0, 1, 2, n / 2, n, n + 1, n + 5}) moves.push_back({"DBGOTO(" + std::to_string(k) + ")", m.go(k)});
    for (const auto& [move, at] : moves) {
      check(move, at);
      for (int by : {1, -1, 0, 2, -2, n + 3, -(n + 3)}) check(move + ", DBSKIP(" + std::to_string(by) + ")", m.skip(at, by));
    }
    for (int key : {-1, 0, key_of(1), 9, 44, 46})
      for (const char* soft : {".F.)", ".T.)"}) {
        const std::string seek = "DBSEEK(" + std::to_string(key) + ", " + soft;
        if (!ordered && n > 0) run(seek, "#415 .F.");
        else check(seek, m.seek(key, soft[1] == 'T'));
      }
  }
};

// Filters keeping every row, none, the middle one and every other one.
TEST_F(Moves, EveryMoveAgreesWithTheModel)
{
  for (int count : {0, 1, 2, 100})
    for (bool deleted : {false, true}) {
      make_table(count, deleted);
      const int mid = (count + 1) / 2;
      const std::pair<std::string, std::function<bool(int)>> filters[] = {
          {"", [](int) { return true; }}, {".F.", [](int) { return false; }},
          {"R == " + std::to_string(mid), [=](int r) { return r == mid; }}, {"R % 2 == 0", [](int r) { return r % 2 == 0; }}};
      for (const auto& [filter, keeps] : filters)
        for (int mode = 0; mode < 4; ++mode) {  // bit 0 SET DELETED, bit 1 by key
          const bool setdel = mode & 1, ordered = mode & 2;
          SCOPED_TRACE(std::to_string(count) + " rows, deleted " + std::to_string(deleted) + ", filter " + filter +
                       ", mode " + std::to_string(mode));
          run(std::string("SET(11, ") + (setdel ? ".T.)" : ".F.)") + (ordered ? ", ORDSETFOCUS(1)" : ", ORDSETFOCUS(0)"));
          run(filter.empty() ? "DBCLEARFILTER()" : "DBSETFILTER({|| " + filter + "}, '" + filter + "')", ".T.");
          const Model m(count, ordered, [&](int r) { return keeps(r) && !(setdel && deleted && movemodel::deleted_row(r)); });
          check_moves(m, ordered);
        }
      run("DBCLEARFILTER(), SET(11, .F.), DBCLOSEAREA()");
    }
}

// An unfiltered walk in natural order reads no record; a filtered one, in
// either order, reads each record it passes once.
TEST_F(Moves, OnlyAFilteredWalkReadsRecords)
{
  make_table(100, true);
  const uint64_t before = vl::vlnDbfRecordReads;
  run("ORDSETFOCUS(0), c := 0, DBEVAL({|| c++}), DBGOBOTTOM(), DBSKIP(-50), DBGOTO(7), DBSKIP(200), DBSKIP(-9), c", "100");
  EXPECT_EQ(vl::vlnDbfRecordReads - before, 0u);
  for (const char* order : {"ORDSETFOCUS(0)", "ORDSETFOCUS(1)"}) {
    run(order + std::string(", DBGOTO(50), R"), "50");  // not the first record in either order
    const uint64_t from = vl::vlnDbfRecordReads;
    run("SET(11, .T.), c := 0, DBEVAL({|| c++}), SET(11, .F.), c", "66");
    EXPECT_EQ(vl::vlnDbfRecordReads - from, 100u);
  }
}

// setfilter and its relatives: what is kept, what is refused, when the
// filter starts to count, and an error inside it.
TEST_F(Moves, FilterMessages)
{
  make_table(10, false);
  run("ORDSETFOCUS(0)");
  vltest::expect_rows({
      {"o := DBOBJECT(), DBGOTO(2), DBSETFILTER({|| R > 5}, 'R > 5'), {RECNO(), DBFILTER()}", "{2, R > 5}"},
      {"DBGOTOP(), RECNO()", "6"},                                     // at the next move
      {"DBSETFILTER({|| 'x'}, 'x')", "#312 .F."},                     // not a logical
      {"{DBFILTER(), o:info(5001), (DBGOTOP(), RECNO())}", "{, NIL, 1}"},  // and the old one is gone
      {"DBSETFILTER(, 'R > 7'), DBGOTOP(), {RECNO(), DBFILTER()}", "{8, R > 7}"},
      {"DBSETFILTER('R < 3'), DBGOBOTTOM(), {RECNO(), DBFILTER()}", "{2, }"},  // a first text is not kept
      {"o:filter := 'R == 4', DBGOTOP(), {RECNO(), o:filter}", "{4, R == 4}"},
      {"{o:info(28, 'R == 9'), (DBGOTOP(), RECNO())}", "{R == 4, 9}"},
      {"o:info(5001, {|| R == 3}), DBGOTOP(), {RECNO(), EVAL(o:info(5001))}", "{3, .T.}"},
      {"o:setfilter(3)", "#312 .F."},
      {"DBCLEARFILTER(), DBGOBOTTOM(), {RECNO(), DBFILTER(), o:info(28)}", "{10, , }"},
      // an error inside the filter reaches the error block then; the row is hidden
      {"DBSETFILTER({|| IIF(R == 3, R + 'a', .T.)}), DBGOTO(2), DBSKIP(), RECNO()", "#201 4"},
  });
}

// A BREAK out of a filter, wherever a move runs it, leaves no section held.
TEST_F(Moves, BreakOutOfAFilterGivesTheSectionBack)
{
  make_table(9, false, true);
  run("ORDSETFOCUS(1), DBGOTO(1), DBSETFILTER({|| IIF(R == 5, BREAK(7), .F.)})", ".T.");
  const std::string moves[] = {"DBGOTOP()", "DBGOBOTTOM()", "DBGOTO(1), DBSKIP(9)", "DBGOTO(0), DBSKIP(-9)",
                               "DBSEEK(" + std::to_string(key_of(5)) + ")", "DBEVAL({|| NIL})"};
  for (const std::string& move : moves) {
    SCOPED_TRACE(move);
    const int32_t mark = tmpvar_cnt;
    EXPECT_EQ(vltest::shown(vl_call(dbftest::guarded, {set_cv(move.c_str())})), "7");
    int read = -1, write = -1;
    vl::vlnSectionCounts(&vl::dbf_state(exp_eval("DBOBJECT()"))->lk, &read, &write);
    EXPECT_EQ(read + write, 0);
    del_tmpvars(mark);
  }
}

}  // namespace
