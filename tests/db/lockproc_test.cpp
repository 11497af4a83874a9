// Table locks against the kernel's view and against other processes: the
// primitives (USE gate and slots, index locks, the dead-lock ladder, the
// section holder probe, the trace file, the file position), vl-locktool
// processes driven through their standard input (sections, record and file
// locks, the chain of areas on one file, the 4.2 scheme, what one process
// holds against what another asks, dead locks reported once, incompatible
// opens never both succeeding), and the descriptor pool.
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "lockharness.h"
#include "locks.hpp"
#include "vltest.h"

using namespace vl;

namespace {

using locktest::Held;
using locktest::Holder;
using locktest::probe;
using locktest::Tool;

constexpr long kBase = VLN_LOCK_BASE;
constexpr long kFirstSlot = kBase - VLN_USE_FIRST_SLOT_BACK;
constexpr long kSlots = VLN_USE_FIRST_SLOT_BACK - VLN_USE_LAST_SLOT_BACK + 1;

int lockRange(int fd, int cmd, int type, long start, long len)
{
  struct flock fl {};
  fl.l_type = static_cast<short>(type);
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = len;
  return fcntl(fd, cmd, &fl);
}

class dbLocks : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    fd_ = open(t1_.c_str(), O_RDWR);
  }
  void TearDown() override
  {
    close(fd_);
    VlTest::TearDown();
  }
  std::string expand(std::string command) const
  {
    for (size_t at; (at = command.find('$')) != std::string::npos;)
      command.replace(at, 2, command[at + 1] == '1' ? t1_ : command[at + 1] == '2' ? t2_ : idx_);
    return command;
  }
  // Run the ';'-separated steps ($1 $2 $I stand for t1.dbf, t2.dbf,
  // t1.idx): a command must answer ok, "command!" must fail and
  // "command=text" must answer text; "@S R" probes t1 for a lock of the
  // tool on the section bytes (S), record n (Rn), the USE slot (U) or byte n
  // (Bn), which must be a read (R), a write (W) or no (-) lock; "@locks n":
  // the tool holds n locks on t1.
  void script(Tool& tool, const std::string& steps) const
  {
    std::istringstream in(steps);
    for (std::string c; std::getline(in, c, ';');) {
      SCOPED_TRACE(c);
      if (c[0] == '@') {
        check(tool, c.substr(1));
        continue;
      }
      const size_t eq = c.find('=');
      const bool fails = c.back() == '!';
      const std::string answer = tool.run(expand(c.substr(0, std::min(eq, c.size() - fails)))).answer;
      if (eq != std::string::npos) {
        EXPECT_EQ(answer, c.substr(eq + 1));
      } else {
        EXPECT_EQ(answer.rfind("ok", 0) == 0, !fails) << answer;
      }
    }
  }
  void check(const Tool& tool, const std::string& probeStep) const
  {
    std::istringstream in(probeStep);
    std::string where, want;
    in >> where >> want;
    if (where == "locks") {
      EXPECT_EQ(locktest::procLocks(t1_, tool.pid()).size(), std::stoul(want));
      return;
    }
    const long n = where.size() > 1 ? std::stol(where.substr(1)) : 0;
    const Held h = where[0] == 'S'   ? probe(t1_, 0, 2)
                   : where[0] == 'R' ? probe(t1_, locktest::kHeaderLen + (n - 1) * locktest::kRecordLen, 1)
                   : where[0] == 'U' ? probe(t1_, kBase - VLN_USE_GATE_BACK, VLN_USE_RANGE_LEN)
                                     : probe(t1_, n, 1);
    EXPECT_EQ(h.type, want == "W" ? F_WRLCK : want == "R" ? F_RDLCK : F_UNLCK);
    EXPECT_TRUE(want == "-" || h.pid == tool.pid()) << h.pid;
  }
  // A child that opens t1 and runs hold on its descriptor.
  Holder holding(void (*hold)(int fd)) const
  {
    const std::string file = t1_;
    return Holder([=] { hold(open(file.c_str(), O_RDWR)); });
  }
  vltest::TempDir dir_;
  std::string t1_ = locktest::table(dir_ / "t1.dbf"), t2_ = locktest::table(dir_ / "t2.dbf"),
              idx_ = locktest::table(dir_ / "t1.idx");
  int fd_ = -1;  // t1, holding no lock
};

// ---- The primitives. ----

// What another process holds against what this one asks: the answer, and
// where the one lock this process then holds starts (-1: it holds none, so a
// refusal leaves nothing behind).  No call may wait: the alarm ends a hang.
TEST_F(dbLocks, UseAndIndexLocksAgainstAnotherProcess)
{
  using Fn = void (*)(int);
  const Fn nobody = [](int) {};
  const Fn exclusive = [](int fd) { diLockExclusive(fd, kBase); };
  const Fn shared = [](int fd) { diLockShared(fd, kBase); };
  const Fn allSlots = [](int fd) { lockRange(fd, F_SETLK, F_RDLCK, kFirstSlot, kSlots); };
  const Fn allButLast = [](int fd) { lockRange(fd, F_SETLK, F_RDLCK, kFirstSlot, kSlots - 1); };
  const Fn indexByte = [](int fd) { lockRange(fd, F_SETLK, F_WRLCK, VLN_IDX_LOCK_BYTE, 1); };
  using Call = int (*)(int);
  const Call useShared = [](int fd) { return diLockShared(fd, kBase); };
  const Call useExcl = [](int fd) { return diLockExclusive(fd, kBase); };
  const Call checkExcl = [](int fd) { return diCheckExclusive(fd, kBase); };
  const Call indexShared = [](int fd) { return diLockIndexShar(fd, kBase); };
  const Call indexExcl = [](int fd) { return diLockIndexExcl(fd, kBase); };
  const struct {
    const char* what;
    Fn hold;
    Call call;
    int answer;
    long mine;
  } cases[] = {
      {"shared alone", nobody, useShared, 0, kFirstSlot},
      {"shared against exclusive", exclusive, useShared, -1, -1},
      {"exclusive against shared", shared, useExcl, -1, -1},
      {"second shared", shared, useShared, 0, kFirstSlot + 1},
      {"all slots taken", allSlots, useShared, -1, -1},
      {"last slot free", allButLast, useShared, 0, kFirstSlot + kSlots - 1},
      {"check against exclusive", exclusive, checkExcl, 1, -1},
      {"check alone", nobody, checkExcl, 0, -1},
      {"index shared against exclusive", indexByte, indexShared, -1, -1},
      {"index exclusive against exclusive", indexByte, indexExcl, -1, -1},
      {"index exclusive alone", nobody, indexExcl, 0, VLN_IDX_LOCK_BYTE},
  };
  alarm(locktest::kWatchdogMs / 1000);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Holder other = holding(c.hold);
    const int fd = open(t1_.c_str(), O_RDWR);
    EXPECT_EQ(c.call(fd), c.answer);
    const auto mine = locktest::procLocks(t1_, getpid());
    EXPECT_EQ(mine.empty() ? -1 : mine[0].start, c.mine);
    EXPECT_LE(mine.size(), 1u);
    close(fd);  // drops this process's locks on the file
  }
  alarm(0);
}

// Parent holds A and asks for B while a child holding B waits for A: the
// kernel answers EDEADLK, and the ladder decides how long to insist.
TEST_F(dbLocks, DeadLockLadderAndSectionFallback)
{
  const std::string other = t2_;
  const std::string mine = t1_;
  const int fdB = open(other.c_str(), O_RDWR);
  ASSERT_EQ(lockRange(fd_, F_SETLK, F_WRLCK, 0, 2), 0);
  int fdA = -1;
  Holder waiter(
      [&] {
        lockRange(open(other.c_str(), O_RDWR), F_SETLK, F_WRLCK, 0, 2);
        fdA = open(mine.c_str(), O_RDWR);
      },
      [&] { lockRange(fdA, F_SETLKW, F_WRLCK, 0, 2); });
  ASSERT_TRUE(locktest::waitUntilBlocked(mine, waiter.pid()));
  alarm(locktest::kWatchdogMs / 1000);
  vlnRetryFcntlSec = 0;
  EXPECT_EQ(vlnFCNTLlock(F_SETLKW, F_WRLCK, 0, 2, fdB, nullptr), -1);
  EXPECT_EQ(vlnFCNTLerrno, EDEADLK);
  // The section lock insists once without waiting, then calls it a dead lock.
  EXPECT_EQ(diReadLock(fdB), -1);
  EXPECT_EQ(vlnFCNTLerrno, EDEADLK);
  vlnRetryFcntlSec = 1;
  const double t0 = locktest::monotonic();
  EXPECT_EQ(vlnFCNTLlock(F_SETLKW, F_WRLCK, 0, 2, fdB, nullptr), -1);
  EXPECT_GE(locktest::monotonic() - t0, 1.0) << "a second of insisting";
  alarm(0);
  lockRange(fd_, F_SETLK, F_UNLCK, 0, 2);  // lets the waiter through
  close(fdB);
}

TEST_F(dbLocks, LocalLockNamesTheHolderOfTheSectionBytes)
{
  int type = 0, from = -1, to = -1, pid = 0;
  EXPECT_EQ(diGetLocalLock(fd_, &type, &from, &to, &pid), 1);
  const struct {
    void (*hold)(int fd);
    int type, from, to;
  } held[] = {{[](int fd) { lockRange(fd, F_SETLK, F_WRLCK, 1, 1); }, F_WRLCK, 1, 1},
              {[](int fd) { lockRange(fd, F_SETLK, F_WRLCK, 0, 2); }, F_WRLCK, 0, 1},
              {[](int fd) { lockRange(fd, F_SETLK, F_RDLCK, 0, 1); }, F_RDLCK, 0, 0}};
  for (const auto& h : held) {
    Holder holder = holding(h.hold);
    ASSERT_EQ(diGetLocalLock(fd_, &type, &from, &to, &pid), 0);
    EXPECT_EQ(type, h.type);
    EXPECT_EQ(from, h.from);
    EXPECT_EQ(to, h.to);
    EXPECT_EQ(pid, holder.pid());
  }
}

TEST_F(dbLocks, EveryPrimitiveKeepsTheFilePosition)
{
  constexpr off_t kPos = 1234;
  lseek(fd_, kPos, SEEK_SET);
  int t, f, to, p;
  diReadLock(fd_);
  diUnlock(fd_);
  diWriteLock(fd_);
  diUnlock(fd_);
  diLockShared(fd_, kBase);
  diCheckExclusive(fd_, kBase);
  diGetLocalLock(fd_, &t, &f, &to, &p);
  diLockIndexShar(fd_, kBase);
  EXPECT_EQ(lseek(fd_, 0, SEEK_CUR), kPos);
}

TEST_F(dbLocks, TraceFileStartsWithItsHeadingOnlyWhenTracing)
{
  const locktest::InDir inDir(dir_.path());
  const std::string log = dir_ / (std::to_string(vlnAppPid) + ".errlog");
  Holder excl = holding([](int fd) { diLockExclusive(fd, kBase); });
  diLockShared(fd_, kBase);
  EXPECT_FALSE(std::ifstream(log).good()) << "level 0 writes nothing";
  vlnFCNTLprot = 2;
  diLockShared(fd_, kBase);
  std::ifstream in(log);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text.substr(0, text.find('\n')),
            "Pid=" + std::to_string(vlnAppPid) + " vlnRetryFcntlSec=" +
                std::to_string(vlnRetryFcntlSec) + "  vlnFCNTLprot=2 vlnFCNTLlockfOnly=0");
  EXPECT_NE(text.find("diLockShared("), std::string::npos);
  // The listing of the file's locks shows the exclusive holder's range.
  EXPECT_NE(text.find(std::to_string(excl.pid())), std::string::npos);
}

// ---- The areas of one process, seen by a stranger. ----

const struct {
  const char* what;
  const char* steps;
} kOneProcess[] = {
    {"two areas on one file share one nesting",
     "open $1;use shared;area 2;open $1;use shared;area 1;rd;area 2;rd;rel;@S R;area 1;rel;@S -"},
    {"exclusive tables and switched-off sections take no lock",
     "open $1;use excl;wr;@S -;rel;close;open $1;use shared;set rw 0;rd;wr;@S -;"
     "counts=read=0 write=2;rel;rel;counts=read=0 write=0"},
    // The kernel never makes two areas of one process conflict: the chain
    // does; a second lock of a record is a no-op (one unlock frees it).
    {"areas on one file conflict through the chain",
     "open $1;use shared;area 2;open $1;use shared;area 1;rlock 5;rlock 5;runlock 5;area 2;rlock 5;"
     "area 1;rlock 5!;flock!;rlock 6;unlock;area 2;unlock;flock;area 1;rlock 7!;area 2;rlock 7!;"
     "area 3;open $1;use excl!"},
    {"closing one area keeps the other's locks, the last drops all",
     "open $1;use shared;area 2;open $1;use shared;area 1;rlock 5;area 2;close;@R5 W;@U R;"
     "area 1;close;@locks 0"},
    {"a read-only table takes read locks", "open $1 ro;use shared;rlock 2;@R2 R;wr;@S R"},
    // 4.2: shared use is byte 0, a write section covers the file, and its
    // release keeps the record locks and the USE byte.
    {"the 4.2 scheme", "set compat42 1;open $1;use shared;@B0 W;rlock 4;wr;@B500 W;rel;@B500 -;@R4 W;@B0 W"},
};

TEST_F(dbLocks, OneProcessScripts)
{
  for (const auto& s : kOneProcess) {
    SCOPED_TRACE(s.what);
    Tool tool;
    script(tool, s.steps);
  }
}

TEST_F(dbLocks, RecordWhoseBytesLeaveTheMapIsRefused)
{
  Tool tool;
  const std::string beyond = std::to_string((VLN_RECORD_MAP_END - locktest::kHeaderLen) / 1000 + 1);
  script(tool, "open $1;use shared;geometry 66 1000;rlock " + beyond + "!;rlock 0!;rlock -3!");
  EXPECT_EQ(tool.reports().at(0).rfind("320 ", 0), 0u);
  // The last record inside the map; nothing but it and the USE slot is held.
  script(tool, "rlock " + std::to_string(std::stoi(beyond) - 1) + ";@locks 2");
}

// Random properly nested brackets: the counters keep one of Read and Write
// at zero, the kernel lock is held exactly while a section is open, and it
// is a write lock from the first write section to the outermost release.
TEST_F(dbLocks, NestedSectionsFollowTheCounters)
{
  Tool tool;
  script(tool, "open $1;use shared");
  std::mt19937 rng(11);
  for (int round = 0; round < 25; ++round) {
    int depth = 0;
    bool wrote = false;
    do {
      const bool open = depth == 0 || (depth < 4 && rng() % 2 == 0);
      const bool write = open && rng() % 3 == 0;
      ASSERT_TRUE(tool.run(!open ? "rel" : write ? "wr" : "rd").ok());
      depth += open ? 1 : -1;
      wrote = (wrote || write) && depth > 0;
      int r = -1, w = -1;
      sscanf(tool.run("counts").answer.c_str(), "read=%d write=%d", &r, &w);
      ASSERT_TRUE(r == 0 || w == 0);
      ASSERT_EQ(r + w, depth);
      const Held h = probe(t1_, 0, 2);
      ASSERT_EQ(h.type, depth == 0 ? F_UNLCK : wrote ? F_WRLCK : F_RDLCK);
      ASSERT_TRUE(depth == 0 || h.pid == tool.pid());
    } while (depth > 0);
  }
}

TEST_F(dbLocks, ParkedDescriptorIsReusedForTheSameMode)
{
  const int first = diOpenFile(t1_.c_str(), nullptr, O_RDWR);
  const int second = diOpenFile(t1_.c_str(), nullptr, O_RDWR);
  EXPECT_NE(first, second);
  EXPECT_EQ(fcntl(first, F_GETFD), FD_CLOEXEC);
  diCloseFile(second);
  EXPECT_EQ(fcntl(second, F_GETFD), FD_CLOEXEC) << "parked, still open";
  EXPECT_EQ(diOpenFile(t1_.c_str(), nullptr, O_RDWR), second);
  diCloseFile(second);
  diCloseFile(first);
  EXPECT_EQ(fcntl(first, F_GETFD), -1);
}

// A forked child is a new lock owner: fresh pid for l_pid and the trace,
// and none of the parent's pooled descriptors or areas.
TEST_F(dbLocks, ForkedChildDropsThePool)
{
  VlnLockArea a;
  vlnLockAreaInit(&a);
  a.fd = diOpenFile(t1_.c_str(), nullptr, O_RDWR);
  a.headerlen = locktest::kHeaderLen;
  a.reclen = locktest::kRecordLen;
  ASSERT_EQ(vlnLockUse(&a), 0);
  ASSERT_EQ(dbf_rlock(&a, 2), 0);
  const int fd = a.fd;
  const int pid = fork();
  if (pid == 0) {
    const bool fresh = vlnAppPid == getpid() && fcntl(fd, F_GETFD) == -1 && a.fd == -1 &&
                       dbf_rlock(&a, 3) == -1;
    _exit(fresh ? 0 : 1);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(probe(t1_, locktest::kHeaderLen + locktest::kRecordLen, 1).pid, getpid())
      << "the parent keeps its locks";
  vlnLockRelease(&a);
  diCloseFile(fd);
}

// ---- What one process holds against what another asks. ----

// How B's question is answered.
enum class Answer { Ok, Refused, AfterRelease, AfterKill };

// A and B each open t1 shared in area 1, then run their commands; B asks.
// AfterRelease: B's question waits until A leaves its section ("rel").
// AfterKill: A is killed before B asks, which must then succeed.
struct Scenario {
  const char* a;
  const char* b;
  const char* ask;
  Answer want;
};

const Scenario kScenarios[] = {
    {"wr", "", "rd", Answer::AfterRelease},
    {"rd", "", "wr", Answer::AfterRelease},
    {"rd", "", "rd", Answer::Ok},  // readers share
    {"rlock 5", "", "rlock 5", Answer::Refused},
    {"rlock 5", "", "flock", Answer::Refused},
    {"rlock 5", "", "rlock 6", Answer::Ok},
    {"flock", "", "rlock 7", Answer::Refused},
    {"", "area 2;open $1", "use excl", Answer::Refused},
    {"area 2;open $2;use excl", "area 2;open $2", "use shared", Answer::Refused},
    {"index $I excl", "", "index $I shared", Answer::Refused},
    {"rlock 3;wr", "", "rlock 3", Answer::AfterKill},
    {"rlock 3;wr", "", "wr", Answer::AfterKill},
    {"area 2;open $2;use excl", "area 2;open $2", "use excl", Answer::AfterKill},
};

TEST_F(dbLocks, WhatOneHoldsAgainstWhatAnotherAsks)
{
  for (const Scenario& s : kScenarios) {
    SCOPED_TRACE(std::string("A: ") + s.a + "  B: " + s.b + "  asks " + s.ask);
    Tool a, b;
    script(a, std::string("open $1;use shared;") + s.a);
    script(b, std::string("open $1;use shared;") + s.b);
    if (s.want == Answer::AfterKill) {
      const int pid = a.pid();
      EXPECT_FALSE(locktest::procLocks(t1_, pid).empty());
      a.kill9();
      EXPECT_TRUE(locktest::procLocks(t1_, pid).empty());
      EXPECT_TRUE(locktest::procLocks(t2_, pid).empty());
    }
    b.send(expand(s.ask));
    if (s.want == Answer::AfterRelease) {
      EXPECT_FALSE(b.answersWithin(300)) << "must wait";
      // The release is printed after the unlock, so B may print first:
      // compare with the moment the release was asked for.
      const double releasing = locktest::monotonic();
      EXPECT_TRUE(a.run("rel").ok());
      const Tool::Reply entered = b.reply();
      EXPECT_TRUE(entered.ok());
      EXPECT_GE(entered.at, releasing);
    } else {
      EXPECT_EQ(b.reply().ok(), s.want != Answer::Refused);
    }
  }
}

// A holds the section of T1 and waits for T2; B holds T2 and asks for T1.
// Exactly one of them reports the dead lock, and both go on.
TEST_F(dbLocks, CrossFileDeadLockIsReportedOnce)
{
  Tool a, b;
  for (Tool* t : {&a, &b})
    script(*t, "set retry 0;open $1;use shared;area 2;open $2;use shared;area 1");
  ASSERT_TRUE(a.run("wr").ok());
  script(b, "area 2;wr;area 1");
  script(a, "area 2");
  a.send("rd");
  EXPECT_FALSE(a.answersWithin(200));
  b.send("rd");
  // One of the two gets the report and goes on; its release frees the other.
  Tool* reporter = nullptr;
  const double watchdog = locktest::monotonic() + locktest::kWatchdogMs / 1000.0;
  while (!reporter && locktest::monotonic() < watchdog)
    for (Tool* t : {&a, &b})
      if (!reporter && t->answersWithin(100)) reporter = t;
  ASSERT_NE(reporter, nullptr) << "nobody came out of the dead lock";
  Tool& other = reporter == &a ? b : a;
  EXPECT_FALSE(reporter->reply().ok());
  ASSERT_EQ(reporter->reports().size(), 1u);
  const std::string& report = reporter->reports()[0];
  for (const std::string& part :
       {std::string("347 "), std::string("(Dead Lock)"), std::string("while trying to set read lock"),
        std::string("Note: check e.g. for cross/circular relations"),
        "write-locked (0..1) by PID=" + std::to_string(other.pid())})
    EXPECT_NE(report.find(part), std::string::npos) << report;
  script(*reporter, "area 1;rel;area 2;rel;rel");
  EXPECT_TRUE(other.reply().ok());
  EXPECT_TRUE(other.reports().empty());
}

// Exclusive against shared opens, raced many times: both may fail, but
// never both succeed.
TEST_F(dbLocks, IncompatibleOpensNeverBothSucceed)
{
  Tool a, b;
  script(a, "open $1");
  script(b, "open $1");
  int wins = 0;
  for (int round = 0; round < 300; ++round) {
    a.send("use excl");
    b.send("use shared");
    const bool aOk = a.reply().ok();
    const bool bOk = b.reply().ok();
    ASSERT_FALSE(aOk && bOk) << "round " << round;
    wins += aOk + bOk;
    for (Tool* t : {&a, &b}) {
      t->run("close");
      t->run("open " + t1_);
    }
  }
  EXPECT_GT(wins, 0);
}

}  // namespace
