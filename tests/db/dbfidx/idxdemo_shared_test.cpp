// One table used by eight processes at once, opened shared with both of its
// orders, each change made under the record's lock: no change may be lost
// (each process counts its changes into a field of its own, so a write
// from a stale record loses counts) and both orders must be sound after.
// Then writers killed at random moments of their index updates.
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <climits>
#include <random>

#include "idxdemo.h"

using namespace idxdemo;

namespace {

constexpr int kWriters = 8;
constexpr char kUse[] = "DBUSEAREA(.T., , 't', , .T.)";
constexpr char kOpen[] = "DBUSEAREA(.T., , 't', , .T.), ORDLISTADD('a'), ORDLISTADD('b')";
constexpr int kOpenTries = 1000;
// One change of the locked current record: which keys (1 name, 2 number,
// 3 both), their values, and the writer's counter field.
constexpr char kChange[] =
    "{|k, s, v, c| IIF(k != 2, FIELDPUT(1, s), NIL), IIF(k != 1, FIELDPUT(2, v), NIL), "
    "FIELDPUT(c, FIELDGET(c) + 1), DBCOMMIT(), DBUNLOCK()}";

// A writer: ops changes of random records (often the first few, so that
// writers collide) and appends; exits 0 when nothing failed or reported.
[[noreturn]] void writer(int w, long ops)
{
  frame f;
  vln_fn_start(&f, "writer", "writer", 1, 0);
  std::mt19937 rng(w);
  // Openers that meet at the open gate see NETERR(); a program tries again.
  bool ok = false;
  for (int tries = 0; !ok && tries < kOpenTries; ++tries) ok = truth(kUse) || (sched_yield(), false);
  ok = ok && truth("ORDLISTADD('a') .AND. ORDLISTADD('b')");
  for (long i = 0; ok && i < ops; ++i) {
    const long count = num("LASTREC()");
    int keys = 3;
    if (count == 0 || rng() % 3 == 0) {
      while (!truth("DBAPPEND(), !NETERR()")) sched_yield();
    } else {
      vl_call(_bb_dbgoto, {set_Iv(int32_t(1 + rng() % (rng() % 2 ? std::min(count, 16L) : count)))});
      while (!truth("RLOCK()")) sched_yield();
      keys = 1 + rng() % 3;
    }
    vl_call(exp_evalb, {eval(kChange), set_Iv(keys), set_cv(("w" + std::to_string(rng() % 500)).c_str()),
                        set_Iv(int32_t(rng() % 1000)), set_Iv(2 + w)});
    ok = vltest::VlTest::reports().empty();
    del_tmpvars(f.TmvNp);
  }
  for (const auto& r : vltest::VlTest::reports()) fprintf(stderr, "writer %d: %d %s\n", w, r.code, r.description.c_str());
  eval("DBCLOSEALL()");
  _exit(ok ? 0 : 1);
}

pid_t spawn(int w, long ops)
{
  vltest::VlTest::reports().clear();
  const pid_t pid = fork();
  if (pid == 0) prctl(PR_SET_PDEATHSIG, SIGKILL), writer(w, ops);
  return pid;
}

class SharedOrders : public Area {
 protected:
  void SetUp() override
  {
    Area::SetUp();
    std::string fields = "{{'NAME', 'C', 10, 0}, {'NUM', 'N', 8, 0}";
    for (int w = 1; w <= kWriters; ++w) fields += ", {'C" + std::to_string(w) + "', 'N', 8, 0}";
    ASSERT_TRUE(truth("DBCREATE('t', " + fields + "}), DBUSEAREA(.T., , 't', , .F.)"));
    ASSERT_TRUE(truth("ORDCREATE('a', , 'NAME') .AND. ORDCREATE('b', , 'STR(NUM, 8) + NAME')"));
    eval("DBCLOSEALL()");
  }
  static std::string both() { return problems("t.dbf", "a.idx") + problems("t.dbf", "b.idx"); }
  uint32_t records() const { return le32(dir_.read("t.dbf"), vl::DBF_OFF_COUNT); }
};

#ifdef __SANITIZE_ADDRESS__
constexpr long kWriterOps = 2000;  // the sanitizers' build runs a fifth
#else
constexpr long kWriterOps = 10000;
#endif

TEST_F(SharedOrders, EightWritersLoseNoChangeAndLeaveSoundOrders)
{
  const long ops = kWriterOps;
  std::vector<pid_t> pids;
  for (int w = 1; w <= kWriters; ++w) pids.push_back(spawn(w, ops));
  const Watchdog dog(60 + ops / 50);
  for (pid_t pid : pids) {
    int status = 0;
    EXPECT_TRUE(waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0) << "writer " << pid;
  }
  EXPECT_EQ(both(), "");
  ASSERT_TRUE(truth("DBUSEAREA(.T., , 't', , .T.)"));
  const std::string writers = "ARRAY(" + std::to_string(kWriters) + ")";
  EXPECT_EQ(vltest::shown(eval("a := AFILL(" + writers + ", 0), DBEVAL({|| AEVAL(a, {|x, i| a[i] += FIELDGET(2 + i)})}), a")),
            vltest::shown(eval("AFILL(" + writers + ", " + std::to_string(ops) + ")")));
}

// Where the kill leaves an index whose key count differs from the table's,
// using it must report; a kill between a record's write and its index
// update, or between a sector's write and the header's, can leave damage
// that matches the count, which nothing reports: such rounds are counted.
TEST_F(SharedOrders, AKilledWriterLeavesOrdersThatAreSoundOrReportedAndReindexRepairs)
{
  const int rounds = long_run() ? 200 : 16;
  std::mt19937 rng(5);
  int damaged = 0, silent = 0;
  for (int round = 1; round <= rounds; ++round) {
    const uint32_t before = records();
    const pid_t pid = spawn(1 + round % kWriters, LONG_MAX);
    for (int ms = 0; records() < before + 3 && ms < vltest::kWatchdogMs; ms += 1) usleep(1000);
    usleep(rng() % 5000);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    const std::string found = both();
    if (!found.empty()) {
      ++damaged;
      eval(std::string(kOpen) + ", DBGOTOP(), DBSKIP(LASTREC()), ORDSETFOCUS(2), DBGOBOTTOM(), DBSKIP(-LASTREC())");
      bool flagged = false;
      for (const auto& r : reports())
        flagged |= r.code == 331 || r.code == 412 || (r.code == 902 && r.description.find("corrupt") != std::string::npos);
      eval("DBCLOSEALL()");  // before the files are read here: a close drops this process's locks
      const uint32_t count = records();
      const bool miscounted = le32(dir_.read("a.idx"), vl::IDXH_KEYCNT) != count || le32(dir_.read("b.idx"), vl::IDXH_KEYCNT) != count;
      EXPECT_TRUE(flagged || !miscounted) << "round " << round << ": the checker finds" << found << "\nbut using the orders reports nothing";
      silent += !flagged;
    }
    ASSERT_TRUE(truth("DBUSEAREA(.T., , 't', , .F.), ORDLISTADD('a'), ORDLISTADD('b'), DBREINDEX()")) << "round " << round;
    eval("DBCLOSEALL()");
    ASSERT_EQ(both(), "") << "round " << round << ": after REINDEX";
    sweep();
  }
  RecordProperty("damaged", damaged), RecordProperty("silent", silent);
}

}  // namespace
