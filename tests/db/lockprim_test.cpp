// The primitives against real locks of other processes: USE gate and slots,
// index locks, the dead-lock ladder, the section holder probe, the trace
// file, and the file position that every primitive keeps.
#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "lockharness.h"
#include "locks.h"

namespace {

using locktest::Holder;
using locktest::ScratchDir;

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

class dbLockPrimitives : public ::testing::Test {
 protected:
  void SetUp() override
  {
    file_ = dir_.table("t.dbf");
    fd_ = open(file_.c_str(), O_RDWR);
    saved_retry_ = vlnRetryFcntlSec;
  }
  void TearDown() override
  {
    close(fd_);
    vlnRetryFcntlSec = saved_retry_;
    vlnFCNTLprot = 0;
  }
  // A child that opens the table and runs hold on its descriptor.
  Holder holding(void (*hold)(int fd)) const
  {
    const std::string file = file_;
    return Holder([=] { hold(open(file.c_str(), O_RDWR)); });
  }
  ScratchDir dir_;
  std::string file_;
  int fd_ = -1;
  int saved_retry_ = 0;
};

// What another process holds against what this one asks: the answer, and
// where the one lock this process then holds starts (-1: it holds none, so a
// refusal leaves nothing behind).  No call may wait: the alarm ends a hang.
TEST_F(dbLockPrimitives, UseAndIndexLocksAgainstAnotherProcess)
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
    const int fd = open(file_.c_str(), O_RDWR);
    EXPECT_EQ(c.call(fd), c.answer);
    const auto mine = locktest::procLocks(file_, getpid());
    EXPECT_EQ(mine.empty() ? -1 : mine[0].start, c.mine);
    EXPECT_LE(mine.size(), 1u);
    close(fd);  // drops this process's locks on the file
  }
  alarm(0);
}

// Parent holds A and asks for B while a child holding B waits for A: the
// kernel answers EDEADLK, and the ladder decides how long to insist.
TEST_F(dbLockPrimitives, DeadLockLadderAndSectionFallback)
{
  const std::string other = dir_.table("u.dbf");
  const std::string mine = file_;
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

TEST_F(dbLockPrimitives, LocalLockNamesTheHolderOfTheSectionBytes)
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

TEST_F(dbLockPrimitives, EveryPrimitiveKeepsTheFilePosition)
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

TEST_F(dbLockPrimitives, TraceFileStartsWithItsHeadingOnlyWhenTracing)
{
  const locktest::InDir inDir(dir_.path(""));
  const std::string log = dir_.path(std::to_string(vlnAppPid) + ".errlog");
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

}  // namespace
