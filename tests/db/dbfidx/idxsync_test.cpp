// Orders kept in step with their table: keys follow APPEND, REPLACE, DELETE
// and PACK, in exclusive and shared use and from another process; an index
// that missed changes is reported on the first operation after SET INDEX;
// index files of other versions or of another table are refused or warned.
#include <sys/prctl.h>
#include <signal.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "dbftest.h"
#include "switches.hpp"

namespace {

using vltest::expect_rows;

constexpr char kCreate[] = "DBCREATE('t', {{'K','C',6,0}, {'N','N',6,0}})";
std::string use(bool shared, const char* alias = "")
{
  return std::string("DBUSEAREA(.T., , 't', '") + alias + "', " + (shared ? ".T.)" : ".F.)");
}
// Record i of a run gets key c<(i * 37) % 101> and number (i * 53) % 97:
// many equal keys, in no order.
std::string append(int from, int to)
{
  return "AEVAL(ARRAY(" + std::to_string(to - from + 1) + "), {|x, i| DBAPPEND(), FIELDPUT(1, 'c' + STRZERO(((i + " +
         std::to_string(from - 1) + ") * 37) % 101, 3)), FIELDPUT(2, ((i + " + std::to_string(from - 1) +
         ") * 53) % 97), DBUNLOCK()})";
}
// The entries of the controlling order as a walk finds them, and what they
// must be: every visible record's key and number, sorted.
constexpr char kWalk[] = "w := {}, DBEVAL({|| AADD(w, IIF(INDEXORD() == 1, K, STR(N, 6)) + STR(RECNO(), 6))}), w";
constexpr char kWant[] =
    "o := INDEXORD(), ORDSETFOCUS(0), w := {}, DBEVAL({|| AADD(w, IIF(o == 1, K, STR(N, 6)) + STR(RECNO(), 6))}), "
    "ORDSETFOCUS(o), ASORT(w)";

std::string shown(const std::string& e) { return vltest::shown(exp_eval(e.c_str())); }

class IdxSync : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    vln_fn_start(&frame_, "idxsync", "idxsync", 1, 0);
    vl::vl_set_flag[VL_SLOT_LEVEL] = VL_LEVEL_DEVEL;  // 902 is a developer warning
  }
  void TearDown() override
  {
    vln_fn_end(&frame_, 'U');
    InDir::TearDown();
  }
  // Both orders (K and N) walk as they must; the count of keys is the count
  // of records.
  void orders_hold(const char* where)
  {
    SCOPED_TRACE(where);
    for (int order = 1; order <= 2; ++order) {
      run("ORDSETFOCUS(" + std::to_string(order) + ")");
      EXPECT_EQ(shown(kWalk), shown(kWant)) << "order " << order;
      run("DBOBJECT():orderinfo(26) == LASTREC()", ".T.");
    }
  }
  // Table t with orders k (on K) and n (on N), shared or not, 60 records.
  void build(bool shared)
  {
    run(kCreate);
    run(use(shared));
    run("FLOCK(), ORDCREATE('n', , 'N'), ORDCREATE('k', , 'K'), DBUNLOCK(), ORDLISTCLEAR()");
    run("ORDLISTADD('k'), ORDLISTADD('n'), " + append(1, 60));
  }
  // File name with its byte at set to v.
  void patch(const std::string& name, size_t at, char v)
  {
    std::string b = dir_.read(name);
    b[at] = v;
    dir_.write(name, b);
  }
  frame frame_;
};

TEST_F(IdxSync, KeysFollowAppendReplaceDeleteAndPack)
{
  for (bool shared : {false, true}) {
    SCOPED_TRACE(shared ? "shared" : "exclusive");
    build(shared);
    orders_hold("appended");
    // New keys for every third record, a deletion for every fifth; the
    // records are written by the next move.
    run("ORDSETFOCUS(0), DBEVAL({|| RLOCK(), FIELDPUT(1, 'r' + STRZERO(RECNO() % 7, 3)), FIELDPUT(2, 500 - RECNO())}, "
        "{|| RECNO() % 3 == 0}), DBEVAL({|| RLOCK(), DBDELETE()}, {|| RECNO() % 5 == 0}), DBUNLOCK()");
    orders_hold("replaced");
    expect_rows({{"ORDSETFOCUS(1), DBSEEK('r005'), {FOUND(), RECNO(), TRIM(K)}", "{.T., 12, r005}"},
                 {"DBSEEK('r0'), {FOUND(), RECNO()}", "{.T., 21}"},   // a prefix finds the first
                 {"DBSEEK('q'), {FOUND(), EOF()}", "{.F., .T.}"},
                 {"DBSEEK('q', .T.), {FOUND(), TRIM(K)}", "{.F., r000}"},   // soft: the next key
                 {"ORDSETFOCUS(2), DBSEEK(497), {FOUND(), RECNO()}", "{.T., 3}"},
                 {"DBSEEK('x')", "#902"},
                 {"ORDSETFOCUS(1), DBGOTOP(), _SEEKEVAL({|k, r| k = 'r003' .AND. r > 30}), {FOUND(), RECNO()}",
                  "{.T., 45}"}});
    run("SET(11, .T.)");  // DELETED on: the walks and the seek pass over records 5, 10, ...
    orders_hold("deleted hidden");
    expect_rows({{"ORDSETFOCUS(2), DBSEEK(485), {FOUND(), EOF()}", "{.F., .T.}"},  // record 15 is deleted
                 {"DBSEEK(485, .T.), {FOUND(), N}", "{.F., 488}"},
                 {"DBGOBOTTOM(), DBSKIP(-2), RECNO()", "9"}});
    run("SET(11, .F.), DBCLOSEALL()");
  }
}

TEST_F(IdxSync, PackAndZapRebuildTheOrders)
{
  build(false);
  run("DBEVAL({|| DBDELETE()}, {|| RECNO() % 4 == 0}), __DBPACK(), LASTREC()", "45");
  orders_hold("packed");
  run("ORDSETFOCUS(1), __DBZAP(), {LASTREC(), DBOBJECT():orderinfo(26), INDEXCOUNT()}", "{0, 0, 2}");
  run(append(1, 10));
  orders_hold("appended after zap");
}

// Appends and replaces from another process, at the same time as this one's,
// reach the shared orders of both.
TEST_F(IdxSync, SharedOrdersSeeAnotherProcessesChanges)
{
  build(true);
  const pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    frame f;
    vln_fn_start(&f, "child", "child", 1, 0);
    exp_eval((use(true) + ", ORDLISTADD('k'), ORDLISTADD('n'), " + append(100, 200) +
              ", DBGOTO(7), RLOCK(), FIELDPUT(1, 'zz0007'), DBCLOSEALL()").c_str());
    _exit(vltest::VlTest::reports().empty() ? 0 : 1);
  }
  run(append(61, 160));
  EXPECT_TRUE(vltest::reap(pid));
  run("DBCOMMIT(), LASTREC()", "261");
  orders_hold("two writers");
  run("ORDSETFOCUS(1), DBSEEK('zz0007'), RECNO()", "7");
}

// A table changed without its index: a changed record makes the index
// suspect (a warning), a changed count makes it corrupt (the area goes on
// without its orders); both come with the first move after SET INDEX.
TEST_F(IdxSync, MissedChangesAreReportedOnTheFirstMove)
{
  struct Case {
    const char* change;
    const char* move;   // and what it gives
    const char* report;
    const char* after;  // INDEXCOUNT()
  } const cases[] = {
      {"DBGOTO(3), FIELDPUT(2, 1)", "#902", "index may be corrupted in area T", "2"},
      {"DBAPPEND()", "#331", "Index integrity corrupted on", "0"},
  };
  build(false);
  run("DBCLOSEALL()");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.change);
    run(use(false) + ", " + c.change + ", DBCLOSEALL()");
    run(use(false) + ", ORDLISTADD('k'), ORDLISTADD('n'), INDEXCOUNT()", "2");
    reports().clear();
    run("DBSKIP()", c.move);
    EXPECT_TRUE(reported(c.move[1] == '9' ? 902 : 331, c.report));
    run("INDEXCOUNT()", c.after);
    if (*c.after == '0') { EXPECT_TRUE(vltest::proc_locks(dir_ / "k.idx", getpid()).empty()) << "dropped, yet locked"; }
    run("DBSKIP(), DBCLOSEALL()");
  }
}

// What an open says of a file of another version, of another table, or
// held exclusive by another area of this process.
TEST_F(IdxSync, OpensOfOtherFilesAreRefusedOrWarned)
{
  build(false);
  run("DBCLOSEALL()");
  dir_.write("u.dbf", dir_.read("t.dbf"));
  const std::string pristine = dir_.read("k.idx");
  struct Case {
    char version;
    const char* open;  // the table
    const char* want;  // ORDLISTADD('k') gives
    const char* text;
    bool opens;
  } const cases[] = {
      {'Q', "DBUSEAREA(.T., , 'u', , .F.)", "#902 .T.", "index was created with other DBF (t.dbf)", true},
      {'O', "DBUSEAREA(.T., , 't', , .F.)", "#340", "index version is 4.00 or before", false},
      {'R', "DBUSEAREA(.T., , 't', , .F.)", "#340", "index version newer than executable", false},
      {'P', "DBUSEAREA(.T., , 't', , .F., .T.)", "#340", "cannot update 4.02 index version with R/O dbf", false},
      {'P', "DBUSEAREA(.T., , 't', , .F.)", ".T.", "", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(1, c.version) + c.open);
    dir_.write("k.idx", pristine);
    patch("k.idx", 0, c.version);
    run(c.open);
    reports().clear();
    run("ORDLISTADD('k')", c.want);
    if (*c.text) { EXPECT_TRUE(reported(c.opens ? 902 : 340, c.text)); }
    run(c.opens ? "DBSEEK('c037'), {FOUND(), RECNO(), NETERR()}" : "{INDEXCOUNT(), NETERR()}",
        c.opens ? "{.T., 1, .F.}" : "{0, .T.}");
    if (!c.opens) { EXPECT_EQ(dir_.read("k.idx").substr(1), pristine.substr(1)) << "a refused file is left alone"; }
    run("DBCLOSEALL()");
  }
  // INDEX ON leaves its file exclusive; a second area of this process
  // cannot open it again.
  dir_.write("k.idx", pristine);
  expect_rows({{(use(true, "a") + ", FLOCK(), ORDCREATE('k', , 'K'), DBUNLOCK()").c_str(), ".T."},
               {(use(true, "b") + ", ORDLISTADD('k')").c_str(), "#902 .F."}});
  EXPECT_TRUE(reported(902, "cannot open and lock index in shared mode;probably already open/locked exclusive."));
}

}  // namespace
