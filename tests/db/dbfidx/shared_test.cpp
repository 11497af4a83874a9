// Tables used by several processes at once: forked writers appending and
// replacing under record and file locks, an appender killed in mid-flight,
// and a BREAK out of the error block during a failing change.
//
// Every record a writer touches carries one stamp, its writer and sequence
// number, in each of its fields (the memo too), so a record mixed from two
// writes shows.  Nothing is judged by time: a wait that must end is bounded
// by a generous watchdog that fails the test.
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <fstream>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "dbftest.h"

using namespace vl;
using vltest::kWatchdogMs;

namespace {

constexpr int kWriters = 4;
constexpr int kAppends = 250;     // per writer
constexpr int kReplaces = 150;    // per writer; every fourth under FLOCK()
constexpr int kHot = 8;           // replaces hit the first records, so they collide
constexpr int kMemoRepeat = 60;   // the memo is the tag 60 times: two blocks
constexpr int kKillRounds = 40;
constexpr int kKillAfter = 2;     // appends of a round before its kill
constexpr off_t kPage = 4096;     // where the kernel may cut a killed write

var* eval(const std::string& text) { return exp_eval(text.c_str()); }
bool truth(const std::string& text)
{
  var* v = eval(text);
  return v->Type == 'L' && vlnLogVar(v);
}
long num(const std::string& text) { return std::lround(vlnNumVar(eval(text))); }
// Every test works on table t of the current directory.
constexpr int kOpenTries = 1000;
constexpr char kUseShared[] = "DBUSEAREA(.T., , 't', , .T.)", kDbf[] = "t.dbf", kDbt[] = "t.dbt";

// The stamp of writer w's s-th change, and the number that goes with it.
std::string tag(int w, int s)
{
  char t[16];
  snprintf(t, sizeof t, "w%ds%06d", w, s);
  return t;
}
long tagNumber(int w, int s) { return w * 1000000L + s; }

// Language text writing stamp (w, s) and a hit count into the current record.
std::string stamp(int w, int s, long hits)
{
  const std::string t = "'" + tag(w, s) + "'";
  return "FIELDPUT(1, " + t + "), FIELDPUT(2, " + std::to_string(tagNumber(w, s)) +
         "), FIELDPUT(3, REPLICATE(" + t + ", " + std::to_string(kMemoRepeat) +
         ")), FIELDPUT(4, " + std::to_string(hits) + ")";
}

// A record as read through the driver: whole (one stamp in every field),
// blank (appended, never written) or neither.
struct Record { std::string tag; long hits = 0; bool whole = false, blank = false; };

Record readRecord(long recno)
{
  eval("DBGOTO(" + std::to_string(recno) + ")");
  Record r;
  r.tag = vltest::str(eval("RTRIM(FIELDGET(1))"));
  const long number = num("FIELDGET(2)");
  const std::string memo = vltest::str(eval("FIELDGET(3)"));
  r.hits = num("FIELDGET(4)");
  int w = 0, s = 0;
  std::string repeated;
  for (int i = 0; i < kMemoRepeat; ++i) repeated += r.tag;
  r.whole = sscanf(r.tag.c_str(), "w%ds%d", &w, &s) == 2 && r.tag == tag(w, s) &&
            number == tagNumber(w, s) && memo == repeated && r.hits > 0;
  r.blank = r.tag.empty() && number == 0 && memo.empty() && r.hits == 0;
  return r;
}

// A writer process: opens the table shared and makes that many appends and
// replaces, mixed at random, each stamped into every field and released at
// once; what another writer's lock refuses is tried again.  A replace reads
// the record, locks it and writes its hit count one higher, so a lock that
// did not read the record afresh loses a hit.  Exits 0 when nothing failed
// and nothing was reported.
[[noreturn]] void writer(int w, int appends, int replaces)
{
  frame f;
  vln_fn_start(&f, "writer", "writer", 1, 0);
  std::mt19937 rng(w);
  // Openers that meet at the open gate see NETERR(); a program tries again.
  bool ok = false;
  for (int tries = 0; !ok && tries < kOpenTries; ++tries) ok = truth(kUseShared) || (sched_yield(), false);
  for (int s = 1, a = 0, r = 0; ok && (a < appends || r < replaces); ++s) {
    long hits = 1;
    if (a == 0 || r == replaces || (a < appends && rng() % 3 != 0)) {
      while (!truth("DBAPPEND(), !NETERR()")) sched_yield();
      ++a;
    } else {
      // Read first, as a program does before it decides to change.
      const long recno = 1 + rng() % std::min<long>(kHot, num("LASTREC()"));
      eval("DBGOTO(" + std::to_string(recno) + "), FIELDGET(4)");
      const char* lock = ++r % 4 ? "RLOCK()" : "FLOCK()";
      while (!truth(lock)) sched_yield();
      hits = num("FIELDGET(4)") + 1;
    }
    eval(stamp(w, s, hits));
    ok = truth("DBUNLOCK()") && vltest::VlTest::reports().empty();
    del_tmpvars(f.TmvNp);
  }
  eval("DBCLOSEALL()");
  for (const auto& r : vltest::VlTest::reports())
    fprintf(stderr, "writer %d: %d %s\n", w, r.code, r.description.c_str());
  _exit(ok ? 0 : 1);
}

// Fork a child that runs child and exits; it dies with this process.
pid_t spawn(const std::function<void()>& child)
{
  const pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    child();
    _exit(0);
  }
  return pid;
}

// A child that is sent SIGKILL and reaped when this goes.
struct Killed { pid_t pid; ~Killed() { kill(pid, SIGKILL), waitpid(pid, nullptr, 0); } };

// What the file says of itself: count, header and record length, size.
struct RawTable {
  uint32_t count, headerlen, reclen;
  off_t size;
  off_t spare() const { return size - off_t(headerlen) - off_t(count) * reclen; }
};

RawTable raw(const std::string& file)
{
  std::ifstream in(file, std::ios::binary);
  uint8_t h[12] = {};
  in.read(reinterpret_cast<char*>(h), sizeof h);
  in.seekg(0, std::ios::end);
  return {dbf_get32(h + DBF_OFF_COUNT), dbf_get16(h + DBF_OFF_HDRLEN), dbf_get16(h + DBF_OFF_RECLEN), off_t(in.tellg())};
}

class SharedDbf : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    vln_fn_start(&frame_, "shared", "shared", 1, 0);
    create();
  }
  void create() { ASSERT_TRUE(truth("DBCREATE('t', {{'TAG', 'C', 10, 0}, {'NUM', 'N', 10, 0}, {'MEMO', 'M', 10, 0}, {'HITS', 'N', 6, 0}})")); }
  void TearDown() override
  {
    vln_fn_end(&frame_, 'U');
    InDir::TearDown();
  }
  frame frame_;
};

TEST_F(SharedDbf, FourWritersAppendAndReplaceWithoutTearingARecord)
{
  std::vector<pid_t> writers;
  for (int w = 1; w <= kWriters; ++w)
    writers.push_back(spawn([&] { writer(w, kAppends, kReplaces); }));
  for (pid_t pid : writers) EXPECT_TRUE(vltest::reap(pid)) << "writer " << pid;

  const RawTable t = raw(kDbf);
  EXPECT_EQ(t.count, uint32_t(kWriters * kAppends));
  EXPECT_EQ(t.spare(), 0) << "no record beyond the count";
  ASSERT_TRUE(truth("DBUSEAREA(.T., , 't', , .F.)"));
  ASSERT_EQ(num("LASTREC()"), long(t.count));
  long hits = 0;
  std::set<std::string> tags;
  for (long n = 1; n <= long(t.count); ++n) {
    const Record r = readRecord(n);
    EXPECT_TRUE(r.whole) << "record " << n << " " << r.tag;
    EXPECT_TRUE(tags.insert(r.tag).second) << "stamp " << r.tag << " twice";
    hits += r.hits;
    del_tmpvars(frame_.TmvNp);
  }
  EXPECT_EQ(hits, long(kWriters) * (kAppends + kReplaces)) << "a replace was lost";
}

// The driver writes the blank record before the count, so a kill between
// the two leaves at most one record past the count and never a count past
// the records; every counted record is whole, or blank when the kill came
// before its fields were written.  The tail may be part of a record: the
// kernel stops a write to a file at a page boundary once SIGKILL is
// pending.  Where the kill lands is left to chance, many times over.
TEST_F(SharedDbf, AKilledAppenderLeavesEveryCountedRecordWhole)
{
  std::mt19937 rng(7);
  for (int round = 1; round <= kKillRounds; ++round) {
    const uint32_t before = raw(kDbf).count;
    {
      const Killed appender{spawn([&] { writer(round, INT_MAX, 0); })};
      // Watched from outside, the count is never ahead of the records either
      // (raw reads the count before the size, and both only grow).
      for (int polls = 0;; ++polls) {
        const RawTable t = raw(kDbf);
        ASSERT_GE(t.spare(), 0) << "round " << round << ": the count ran ahead of the records";
        if (t.count >= before + kKillAfter) break;
        ASSERT_LT(polls, kWatchdogMs * 10) << "round " << round << ": the appender never got going";
        usleep(100);
      }
      usleep(rng() % 500);
    }  // the SIGKILL
    const RawTable t = raw(kDbf);
    EXPECT_TRUE(t.spare() >= 0 && t.spare() <= t.reclen)
        << "round " << round << ": " << t.spare() << " bytes past the count";
  }
  const RawTable t = raw(kDbf);
  ASSERT_TRUE(truth(kUseShared));
  ASSERT_EQ(num("LASTREC()"), long(t.count));
  int unfinished = 0;
  for (long n = 1; n <= long(t.count); ++n) {
    const Record r = readRecord(n);
    // A record cut by the kill can only be one that a page boundary splits.
    const off_t at = off_t(t.headerlen) + (n - 1) * off_t(t.reclen);
    const bool split = at / kPage != (at + t.reclen - 1) / kPage;
    EXPECT_TRUE(r.whole || r.blank || split) << "record " << n << " " << r.tag;
    unfinished += !r.whole;
    del_tmpvars(frame_.TmvNp);
  }
  EXPECT_LE(unfinished, kKillRounds);
  // The table takes the next record where the count says.
  EXPECT_TRUE(truth("DBAPPEND(), !NETERR()"));
  EXPECT_EQ(num("RECNO()"), long(t.count) + 1);
  eval(stamp(99, 1, 1) + ", DBUNLOCK()");
  EXPECT_TRUE(readRecord(t.count + 1).whole);
  EXPECT_EQ(raw(kDbf).spare(), 0);
}

// Rewrite the 4 bytes at offset of file (opened and closed here: never a
// file this process holds locks on, since any close drops them all).
void poke32(const std::string& file, off_t offset, uint32_t value)
{
  std::fstream f(file, std::ios::binary | std::ios::in | std::ios::out);
  uint8_t bytes[4];
  dbf_put32(bytes, value);
  EXPECT_TRUE(f.seekp(offset).write(reinterpret_cast<const char*>(bytes), 4).flush());
}

// Give the table so many (sparse) records that the next one would end past
// the record map.
void fillRecordMap(const std::string& file)
{
  const RawTable t = raw(file);
  const uint32_t count = (VLN_RECORD_MAP_END - t.headerlen) / t.reclen;
  poke32(file, DBF_OFF_COUNT, count);
  EXPECT_EQ(truncate(file.c_str(), off_t(t.headerlen) + off_t(count) * t.reclen), 0);
}

// A failing change whose error block BREAKs leaves the process holding the
// locks it held before (on the table and the memo file), no section open,
// and the table working.
TEST_F(SharedDbf, BreakOutOfAFailingChangeLeavesNoLockBehind)
{
  enum Side { kNone, kLockedOut, kFullMap, kFullMemo };
  const struct {
    const char *what, *setup, *call;
    int code;  // of the report the block breaks out of; 0: none
    Side side; // another process holds FLOCK(), the record map or the memo file is full
  } cases[] = {
      {"REPLACE of the wrong type", "DBGOTO(1), RLOCK()", "FIELDPUT(2, 'x')", 201, kNone},
      {"REPLACE of an unlocked record", "SET(39, .F.), DBGOTO(1)", "FIELDPUT(2, 7)", 325, kNone},
      {"APPEND locked out", "", "DBAPPEND()", 0, kLockedOut},
      {"APPEND past the record map", "", "DBAPPEND()", 320, kFullMap},
      {"memo write to a full memo file", "DBGOTO(1), RLOCK()", "FIELDPUT(3, 'y')", 104, kFullMemo},
  };
  eval("ERRORBLOCK({|e| BREAK(e)})");
  vln_error_handler = vln_default_error_handler;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    create();
    ASSERT_TRUE(truth(kUseShared));
    eval("DBAPPEND(), FIELDPUT(1, 'first'), DBUNLOCK(), DBCLOSEALL()");
    if (c.side == kFullMap) fillRecordMap(kDbf);
    const uint32_t freeBlock = le32(dir_.read(kDbt), 0);
    if (c.side == kFullMemo) poke32(kDbt, 0, UINT32_MAX);
    ASSERT_TRUE(truth(kUseShared));
    eval(c.setup);
    const long count = num("LASTREC()");
    {
      std::optional<vltest::Holder> other;
      if (c.side == kLockedOut) other.emplace([&] { (void)(truth(kUseShared) && truth("FLOCK()")); });
      const auto dbfBefore = vltest::proc_locks(kDbf, getpid()), dbtBefore = vltest::proc_locks(kDbt, getpid());
      ASSERT_FALSE(dbfBefore.empty()) << "the table is used shared";
      var* e = vl_call(dbftest::guarded, {set_cv(c.call)});
      EXPECT_EQ(e->Type == 'O' ? vlnIntVar(vlnNoIVar(e, "gencode", 0, nullptr)) : 0, c.code);
      EXPECT_EQ(vltest::proc_locks(kDbf, getpid()), dbfBefore);
      EXPECT_EQ(vltest::proc_locks(kDbt, getpid()), dbtBefore);
      int reading = -1, writing = -1;
      vlnSectionCounts(&dbf_state(vlnSelectedArea->obj)->lk, &reading, &writing);
      EXPECT_EQ(reading + writing, 0) << "sections left: read " << reading << ", write " << writing;
      EXPECT_EQ(num("LASTREC()"), count);
      if (c.side == kLockedOut || c.side == kFullMap) { EXPECT_TRUE(truth("NETERR()")) << "a refused append sets NETERR()"; }
    }
    if (c.side == kFullMemo) poke32(kDbt, 0, freeBlock);
    EXPECT_EQ(vltest::str(eval("DBGOTO(1), RLOCK(), FIELDPUT(1, 'replaced'), DBUNLOCK(), RTRIM(FIELDGET(1))")),
              "replaced");
    if (c.side != kFullMap) {
      EXPECT_EQ(vltest::str(eval("DBAPPEND(), FIELDPUT(1, 'appended'), FIELDPUT(3, 'memo'), DBUNLOCK(), "
                                 "DBGOTO(LASTREC()), RTRIM(FIELDGET(1)) + FIELDGET(3)")), "appendedmemo");
    }
    eval("DBCLOSEALL()");
    del_tmpvars(frame_.TmvNp);
  }
}

}  // namespace
