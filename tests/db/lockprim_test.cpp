// The primitives against real locks of other processes: USE gate and slots,
// the dead-lock ladder, the section holder probe, index locks, the trace
// file, and the file position that every primitive keeps.
#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "lockharness.h"
#include "locks.hpp"

using namespace vl;

namespace {

using locktest::Held;
using locktest::Holder;
using locktest::monotonic;
using locktest::ScratchDir;

constexpr long kBase = VLN_LOCK_BASE;
constexpr long kGate = kBase - VLN_USE_GATE_BACK;
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
  // A child that opens the table and takes one range.
  Holder holding(int type, long start, long len)
  {
    const std::string file = file_;
    return Holder([=] {
      const int fd = open(file.c_str(), O_RDWR);
      lockRange(fd, F_SETLK, type, start, len);
    });
  }
  ScratchDir dir_;
  std::string file_;
  int fd_ = -1;
  int saved_retry_ = 0;
};

TEST_F(dbLockPrimitives, SharedAgainstExclusiveHolderFailsAtTheGateWithNoSlot)
{
  Holder excl([f = file_] {
    const int fd = open(f.c_str(), O_RDWR);
    diLockExclusive(fd, kBase);
  });
  EXPECT_EQ(diLockShared(fd_, kBase), -1);
  EXPECT_TRUE(locktest::procLocks(file_, getpid()).empty());
  EXPECT_EQ(diCheckExclusive(fd_, kBase), 1);
  excl.release();
  EXPECT_EQ(diCheckExclusive(fd_, kBase), 0);
  EXPECT_EQ(diLockShared(fd_, kBase), 0);
  const auto mine = locktest::procLocks(file_, getpid());
  ASSERT_EQ(mine.size(), 1u);
  EXPECT_EQ(mine[0].start, kFirstSlot);
  EXPECT_EQ(mine[0].type, F_RDLCK);
}

TEST_F(dbLockPrimitives, ExclusiveAgainstSlotHolderReleasesItsRange)
{
  Holder shared([f = file_] {
    const int fd = open(f.c_str(), O_RDWR);
    diLockShared(fd, kBase);
  });
  EXPECT_EQ(diLockExclusive(fd_, kBase), -1);
  EXPECT_TRUE(locktest::procLocks(file_, getpid()).empty());
  // A second shared user takes the next slot.
  EXPECT_EQ(diLockShared(fd_, kBase), 0);
  const auto mine = locktest::procLocks(file_, getpid());
  ASSERT_EQ(mine.size(), 1u);
  EXPECT_EQ(mine[0].start, kFirstSlot + 1);
}

TEST_F(dbLockPrimitives, AllSlotsTakenRefusesTheNextUser)
{
  Holder full = holding(F_RDLCK, kFirstSlot, kSlots);
  EXPECT_EQ(diLockShared(fd_, kBase), -1);
  EXPECT_TRUE(locktest::procLocks(file_, getpid()).empty());
  full.release();
  Holder oneFree([f = file_] {
    const int fd = open(f.c_str(), O_RDWR);
    lockRange(fd, F_SETLK, F_RDLCK, kFirstSlot, kSlots - 1);
  });
  EXPECT_EQ(diLockShared(fd_, kBase), 0);
  EXPECT_EQ(locktest::procLocks(file_, getpid()).at(0).start, kFirstSlot + kSlots - 1);
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
  locktest::Watchdog watchdog("the dead-lock ladder");
  vlnRetryFcntlSec = 0;
  EXPECT_EQ(vlnFCNTLlock(F_SETLKW, F_WRLCK, 0, 2, fdB, nullptr), -1);
  EXPECT_EQ(vlnFCNTLerrno, EDEADLK);
  // The section lock insists once without waiting, then calls it a dead lock.
  EXPECT_EQ(diReadLock(fdB), -1);
  EXPECT_EQ(vlnFCNTLerrno, EDEADLK);
  vlnRetryFcntlSec = 1;
  const double t0 = monotonic();
  EXPECT_EQ(vlnFCNTLlock(F_SETLKW, F_WRLCK, 0, 2, fdB, nullptr), -1);
  EXPECT_GE(monotonic() - t0, 1.0) << "a second of insisting";
  lockRange(fd_, F_SETLK, F_UNLCK, 0, 2);  // lets the waiter through
  close(fdB);
}

TEST_F(dbLockPrimitives, LocalLockNamesTheHolderOfTheSectionBytes)
{
  int type = 0, from = -1, to = -1, pid = 0;
  EXPECT_EQ(diGetLocalLock(fd_, &type, &from, &to, &pid), 1);
  const struct {
    int type;
    long start, len;
    int from, to;
  } held[] = {{F_WRLCK, 1, 1, 1, 1}, {F_WRLCK, 0, 2, 0, 1}, {F_RDLCK, 0, 1, 0, 0}};
  for (const auto& h : held) {
    Holder holder = holding(h.type, h.start, h.len);
    ASSERT_EQ(diGetLocalLock(fd_, &type, &from, &to, &pid), 0);
    EXPECT_EQ(type, h.type);
    EXPECT_EQ(from, h.from);
    EXPECT_EQ(to, h.to);
    EXPECT_EQ(pid, holder.pid());
  }
}

TEST_F(dbLockPrimitives, IndexOpenLocksNeverWait)
{
  Holder h = holding(F_WRLCK, VLN_IDX_LOCK_BYTE, 1);
  {
    locktest::Watchdog watchdog("an index open lock waited for its holder");
    EXPECT_EQ(diLockIndexShar(fd_, kBase), -1);
    EXPECT_EQ(diLockIndexExcl(fd_, kBase), -1);
  }
  h.release();
  EXPECT_EQ(diLockIndexExcl(fd_, kBase), 0);
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
  Holder excl([f = file_] {
    const int fd = open(f.c_str(), O_RDWR);
    diLockExclusive(fd, kBase);
  });
  diLockShared(fd_, kBase);
  EXPECT_FALSE(std::ifstream(log).good()) << "level 0 writes nothing";
  vlnFCNTLprot = 2;
  diLockShared(fd_, kBase);
  std::ifstream in(log);
  std::string first, text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  first = text.substr(0, text.find('\n'));
  EXPECT_EQ(first, "Pid=" + std::to_string(vlnAppPid) + " vlnRetryFcntlSec=" +
                       std::to_string(vlnRetryFcntlSec) + "  vlnFCNTLprot=2 vlnFCNTLlockfOnly=0");
  EXPECT_NE(text.find("diLockShared("), std::string::npos);
  // The listing of the file's locks shows the exclusive holder's range.
  EXPECT_NE(text.find(std::to_string(excl.pid())), std::string::npos);
}

}  // namespace
