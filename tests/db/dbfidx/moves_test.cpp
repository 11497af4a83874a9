// Every move -- GO TOP, GO BOTTOM, GOTO, SKIP, SEEK -- on tables of 0, 1, 2
// and 100 rows, with and without deleted rows, SET DELETED off and on,
// filters that keep nothing, one row or every other row, in natural and in
// index order, against a model worked out from the rows; the filter's
// messages; what a move reads; a BREAK out of a filter.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "dbftest.h"
#include "movemodel.h"

namespace {

using movemodel::Model;
using movemodel::Pos;

constexpr char kWhere[] = "{RECNO(), BOF(), EOF(), FOUND()}";

// Row r: R = r, K = key_of(r) (keys repeat in 100 rows); with deleted
// every third row from the first is deleted.
int key_of(int r) { return r * 7 % 23 * 2; }
bool deleted_row(bool deleted, int r) { return deleted && r % 3 == 1; }

// The filters: none, nothing, the middle row, every other row.
struct Filter {
  std::string text;  // empty: no filter
  std::function<bool(int)> keeps;
};
std::vector<Filter> filters(int count)
{
  const int middle = (count + 1) / 2;
  return {{"", [](int) { return true; }},
          {".F.", [](int) { return false; }},
          {"R == " + std::to_string(middle), [=](int r) { return r == middle; }},
          {"R % 2 == 0", [](int r) { return r % 2 == 0; }}};
}

std::vector<int> walk(int count, bool ordered)
{
  std::vector<int> w;
  for (int r = 1; r <= count; ++r) w.push_back(r);
  if (ordered) std::stable_sort(w.begin(), w.end(), [](int a, int b) { return key_of(a) < key_of(b); });
  return w;
}

class Moves : public dbftest::InDir {
 protected:
  // Table t<count><d> with its key order, open in the current area.
  static void make_table(int count, bool deleted, bool shared = false)
  {
    const std::string name = "t" + std::to_string(count) + (deleted ? "d" : "");
    run("DBCREATE('" + name + "', {{'R','N',5,0}, {'K','N',5,0}}), DBUSEAREA(.T., , '" + name + "', , " +
        (shared ? ".T.)" : ".F.)"));
    run("AEVAL(ARRAY(" + std::to_string(count) +
        "), {|x, i| DBAPPEND(), FIELDPUT(1, i), FIELDPUT(2, i * 7 % 23 * 2), IIF(" + (deleted ? ".T." : ".F.") +
        " .AND. i % 3 == 1, DBDELETE(), NIL)}), DBCOMMIT()");
    run("ORDCREATE('" + name + "', , 'K'), ORDSETFOCUS(0)");
  }
  static void check(const std::string& move, const Pos& want) { run(move + ", " + kWhere, want.shown().c_str()); }

  // Every move of one configuration against model m.
  static void check_moves(const Model& m, bool ordered)
  {
    const int n = m.count();
    check("DBGOTOP()", m.top());
    check("DBGOBOTTOM()", m.bottom());
    for (int k : {0, 1, n, n + 1, n + 5}) check("DBGOTO(" + std::to_string(k) + ")", m.go(k));
    std::vector<std::pair<std::string, Pos>> starts = {{"DBGOTOP()", m.top()}, {"DBGOBOTTOM()", m.bottom()}};
    for (int k : {0, 1, 2, n / 2, n})
      starts.push_back({"DBGOTO(" + std::to_string(k) + ")", m.go(k)});
    for (const auto& [start, at] : starts)
      for (int by : {1, -1, 0, 2, -2, n + 3, -(n + 3)})
        check(start + ", DBSKIP(" + std::to_string(by) + ")", m.skip(at, by));
    for (int key : {-1, 0, key_of(1), 9, 44, 46})
      for (bool soft : {false, true}) {
        const std::string seek = "DBSEEK(" + std::to_string(key) + (soft ? ", .T.)" : ", .F.)");
        if (!ordered && n > 0) {
          run(seek, "#415 .F.");
          continue;
        }
        const Pos want = m.seek(key_of, key, soft);
        run("{" + seek + ", " + kWhere + "}",
            ((want.found ? "{.T., " : "{.F., ") + want.shown() + "}").c_str());
      }
  }
};

TEST_F(Moves, EveryMoveAgreesWithTheModel)
{
  for (int count : {0, 1, 2, 100})
    for (bool deleted : {false, true}) {
      make_table(count, deleted);
      for (bool setdel : {false, true})
        for (const Filter& f : filters(count))
          for (bool ordered : {false, true}) {
            SCOPED_TRACE(std::to_string(count) + " rows" + (deleted ? ", deleted" : "") + (setdel ? ", SET DELETED" : "") +
                         ", filter " + f.text + (ordered ? ", by K" : ""));
            run(std::string("SET(11, ") + (setdel ? ".T.)" : ".F.)"));
            run(f.text.empty() ? "DBCLEARFILTER()" : "DBSETFILTER({|| " + f.text + "}, '" + f.text + "')", ".T.");
            run(ordered ? "ORDSETFOCUS(1)" : "ORDSETFOCUS(0)");
            const Model m(walk(count, ordered), [&](int r) { return !(setdel && deleted_row(deleted, r)) && f.keeps(r); });
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
  run("c := 0, DBEVAL({|| c++}), DBGOBOTTOM(), DBSKIP(-50), DBGOTO(7), DBSKIP(200), DBSKIP(-200), c", "100");
  EXPECT_EQ(vl::vlnDbfRecordReads - before, 0u);
  for (bool ordered : {false, true}) {
    run(ordered ? "ORDSETFOCUS(1), DBGOTO(50), R" : "DBGOTO(50), R", "50");
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
      {"o:filter := {}", "#312 .F."},
      {"DBCLEARFILTER(), DBGOBOTTOM(), {RECNO(), DBFILTER(), o:info(28)}", "{10, , }"},
      // an error inside the filter reaches the error block then; the row is hidden
      {"DBSETFILTER({|| IIF(R == 3, R + 'a', .T.)}), DBGOTO(2), DBSKIP(), RECNO()", "#201 4"},
      {"o:info(22)", "0"},
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
