// dbLockAreas of one process: nested sections and their counters, the chain of
// areas on one file, the record map's limit, and the 4.2 scheme.  The
// kernel's view is probed from a forked child, which sees this process's
// locks as a stranger does.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <string>

#include "lockharness.h"
#include "locks.hpp"
#include "vltest.h"

using namespace vl;

namespace {

using locktest::Held;
using locktest::probe;
using locktest::ScratchDir;

class dbLockAreas : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    file_ = dir_.table("t.dbf");
    vlnLockAreaInit(&a1_);
    vlnLockAreaInit(&a2_);
  }
  void TearDown() override
  {
    for (VlnLockArea* a : {&a1_, &a2_})
      if (a->fd >= 0) close(a);
    VlTest::TearDown();
  }
  // Open the table in area a and take its USE lock.
  int use(VlnLockArea* a, uint8_t status = 0)
  {
    vlnLockAreaInit(a);
    const int mode = (status & VLN_LKST_READONLY) ? O_RDONLY : O_RDWR;
    a->fd = diOpenFile(file_.c_str(), nullptr, mode);
    a->status = status;
    a->headerlen = locktest::kHeaderLen;
    a->reclen = locktest::kRecordLen;
    return a->fd < 0 ? -1 : vlnLockUse(a);
  }
  void close(VlnLockArea* a)
  {
    vlnLockRelease(a);
    diCloseFile(a->fd);
    vlnLockAreaInit(a);
  }
  Held section() { return probe(file_, 0, 2); }
  Held record(int recno)
  {
    return probe(file_, locktest::kHeaderLen + (recno - 1) * locktest::kRecordLen, 1);
  }
  ScratchDir dir_;
  std::string file_;
  VlnLockArea a1_{}, a2_{};
};

// Random properly nested brackets: the counters keep one of Read and Write
// at zero, the kernel lock is held exactly while a section is open, and it
// is a write lock from the first write section to the outermost release.
TEST_F(dbLockAreas, NestedSectionsFollowTheCounters)
{
  ASSERT_EQ(use(&a1_), 0);
  std::mt19937 rng(11);
  for (int round = 0; round < 25; ++round) {
    int depth = 0;
    bool wrote = false;
    do {
      const bool open = depth == 0 || (depth < 4 && rng() % 2 == 0);
      if (open) {
        const bool write = rng() % 3 == 0;
        ASSERT_EQ(write ? local_wrlock2(&a1_, "T()") : local_rdlock2(&a1_, "T()"), 0);
        wrote = wrote || write;
        ++depth;
      } else {
        ASSERT_EQ(local_rwulock2(&a1_, "T()"), 0);
        --depth;
      }
      int r, w;
      vlnSectionCounts(&a1_, &r, &w);
      ASSERT_TRUE(r == 0 || w == 0);
      ASSERT_EQ(r + w, depth);
      const Held h = section();
      if (depth == 0) {
        ASSERT_EQ(h.type, F_UNLCK);
      } else {
        ASSERT_EQ(h.pid, getpid());
        ASSERT_EQ(h.type, wrote ? F_WRLCK : F_RDLCK);
      }
    } while (depth > 0);
  }
}

TEST_F(dbLockAreas, TwoAreasOnOneFileShareOneNesting)
{
  ASSERT_EQ(use(&a1_), 0);
  ASSERT_EQ(use(&a2_), 0);
  ASSERT_EQ(local_rdlock2(&a1_, "T()"), 0);
  ASSERT_EQ(local_rdlock2(&a2_, "T()"), 0);
  ASSERT_EQ(local_rwulock2(&a2_, "T()"), 0);
  EXPECT_EQ(section().type, F_RDLCK) << "area 1 is still inside its section";
  ASSERT_EQ(local_rwulock2(&a1_, "T()"), 0);
  EXPECT_EQ(section().type, F_UNLCK);
}

TEST_F(dbLockAreas, ExclusiveTablesAndSwitchedOffSectionsTakeNoLock)
{
  ASSERT_EQ(use(&a1_, VLN_LKST_EXCL), 0);
  ASSERT_EQ(local_wrlock2(&a1_, "T()"), 0);
  EXPECT_EQ(section().type, F_UNLCK);
  local_rwulock2(&a1_, "T()");
  close(&a1_);
  ASSERT_EQ(use(&a1_), 0);
  vlnFCNTLreadwrite = 0;
  ASSERT_EQ(local_rdlock2(&a1_, "T()"), 0);
  ASSERT_EQ(local_wrlock2(&a1_, "T()"), 0);
  EXPECT_EQ(section().type, F_UNLCK);
  int r, w;
  vlnSectionCounts(&a1_, &r, &w);
  EXPECT_EQ(r, 0);
  EXPECT_EQ(w, 2);
  local_rwulock2(&a1_, "T()");
  local_rwulock2(&a1_, "T()");
  vlnSectionCounts(&a1_, &r, &w);
  EXPECT_EQ(r + w, 0);
}

// The kernel never makes two areas of one process conflict: the chain does.
TEST_F(dbLockAreas, AreasOnOneFileConflictThroughTheChain)
{
  ASSERT_EQ(use(&a1_), 0);
  ASSERT_EQ(use(&a2_), 0);
  EXPECT_EQ(dbf_rlock(&a1_, 5), 0);
  EXPECT_EQ(dbf_rlock(&a1_, 5), 0) << "a second lock of the same record is a no-op";
  EXPECT_EQ(a1_.lockcount, 1);
  EXPECT_EQ(dbf_rlock(&a2_, 5), -1);
  EXPECT_EQ(dbf_flock(&a2_), -1);
  EXPECT_EQ(dbf_rlock(&a2_, 6), 0);
  EXPECT_EQ(dbf_fulock(&a2_), 0);
  EXPECT_EQ(dbf_fulock(&a1_), 0);
  EXPECT_EQ(dbf_flock(&a1_), 0);
  EXPECT_EQ(dbf_rlock(&a2_, 7), -1);
  EXPECT_EQ(dbf_rlock(&a1_, 7), -1) << "a file-locked area takes no record locks";
  // An exclusive open beside an open area fails in the chain.
  VlnLockArea a3;
  EXPECT_EQ(use(&a3, VLN_LKST_EXCL), -1);
  diCloseFile(a3.fd);
}

TEST_F(dbLockAreas, ClosingOneAreaKeepsTheOthersLocks)
{
  ASSERT_EQ(use(&a1_), 0);
  ASSERT_EQ(use(&a2_), 0);
  ASSERT_EQ(dbf_rlock(&a1_, 5), 0);
  const int fd = a1_.fd;
  close(&a2_);
  EXPECT_EQ(record(5).type, F_WRLCK);
  EXPECT_EQ(record(5).pid, getpid());
  EXPECT_EQ(probe(file_, VLN_LOCK_BASE - VLN_USE_GATE_BACK, VLN_USE_RANGE_LEN).type, F_RDLCK)
      << "the USE slot stays";
  close(&a1_);
  EXPECT_TRUE(locktest::procLocks(file_, getpid()).empty());
  EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "the last close closes the descriptor";
}

TEST_F(dbLockAreas, ParkedDescriptorIsReusedForTheSameMode)
{
  const int first = diOpenFile(file_.c_str(), nullptr, O_RDWR);
  const int second = diOpenFile(file_.c_str(), nullptr, O_RDWR);
  EXPECT_NE(first, second);
  EXPECT_EQ(fcntl(first, F_GETFD), FD_CLOEXEC);
  diCloseFile(second);
  EXPECT_EQ(fcntl(second, F_GETFD), FD_CLOEXEC) << "parked, still open";
  EXPECT_EQ(diOpenFile(file_.c_str(), nullptr, O_RDWR), second);
  diCloseFile(second);
  diCloseFile(first);
  EXPECT_EQ(fcntl(first, F_GETFD), -1);
}

// A forked child is a new lock owner: fresh pid for l_pid and the trace,
// and none of the parent's pooled descriptors or areas.
TEST_F(dbLockAreas, ForkedChildDropsThePool)
{
  ASSERT_EQ(use(&a1_), 0);
  ASSERT_EQ(dbf_rlock(&a1_, 2), 0);
  const int fd = a1_.fd;
  const int pid = fork();
  if (pid == 0) {
    const bool fresh = vlnAppPid == getpid() && fcntl(fd, F_GETFD) == -1 &&
                       a1_.fd == -1 && dbf_rlock(&a1_, 3) == -1;
    _exit(fresh ? 0 : 1);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(record(2).pid, getpid()) << "the parent keeps its locks";
}

TEST_F(dbLockAreas, RecordWhoseBytesLeaveTheMapIsRefused)
{
  ASSERT_EQ(use(&a1_), 0);
  a1_.reclen = 1000;
  const int32_t beyond = (VLN_RECORD_MAP_END - locktest::kHeaderLen) / 1000 + 1;
  EXPECT_EQ(dbf_rlock(&a1_, beyond), -1);
  EXPECT_EQ(last_code(), 320);
  EXPECT_EQ(dbf_rlock(&a1_, 0), -1);
  EXPECT_EQ(dbf_rlock(&a1_, -3), -1);
  EXPECT_EQ(a1_.lockcount, 0);
  EXPECT_EQ(dbf_rlock(&a1_, beyond - 1), 0) << "the last record inside the map";
  // Nothing but the USE slot and that record is held.
  EXPECT_EQ(locktest::procLocks(file_, getpid()).size(), 2u);
}

TEST_F(dbLockAreas, ReadOnlyTableTakesReadLocks)
{
  ASSERT_EQ(use(&a1_, VLN_LKST_READONLY), 0);
  ASSERT_EQ(dbf_rlock(&a1_, 2), 0);
  EXPECT_EQ(record(2).type, F_RDLCK);
  ASSERT_EQ(local_wrlock2(&a1_, "T()"), 0);
  EXPECT_EQ(section().type, F_RDLCK) << "a write section on a read-only table reads";
  local_rwulock2(&a1_, "T()");
}

// Letting go of a 4.2 write section must not let go of the record locks
// and the USE byte this process still holds.
TEST_F(dbLockAreas, Compat42ReleaseKeepsOwnRecordLocks)
{
  vlnFCNTLcompat42 = 1;
  ASSERT_EQ(use(&a1_), 0);
  EXPECT_EQ(probe(file_, 0, 1).type, F_WRLCK) << "shared use is byte 0";
  ASSERT_EQ(dbf_rlock(&a1_, 4), 0);
  ASSERT_EQ(local_wrlock2(&a1_, "T()"), 0);
  EXPECT_EQ(probe(file_, 500, 1).type, F_WRLCK) << "the write section covers the file";
  ASSERT_EQ(local_rwulock2(&a1_, "T()"), 0);
  EXPECT_EQ(probe(file_, 500, 1).type, F_UNLCK);
  EXPECT_EQ(record(4).type, F_WRLCK);
  EXPECT_EQ(probe(file_, 0, 1).pid, getpid()) << "the USE byte stays";
}

}  // namespace
