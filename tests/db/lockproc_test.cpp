// Several processes on one table, each a vl-locktool driven through its
// standard input: the section waits, nothing else does, dead locks are
// reported once, a killed process leaves nothing behind, and incompatible
// opens never both succeed.
#include <gtest/gtest.h>

#include <string>

#include "lockharness.h"
#include "locks.hpp"

namespace {

using locktest::probe;
using locktest::ScratchDir;
using locktest::Tool;

class dbLockProcesses : public ::testing::Test {
 protected:
  void SetUp() override { t1_ = dir_.table("t1.dbf"); }
  // Open file shared in the tool's selected area.
  static void useShared(Tool& tool, const std::string& file)
  {
    ASSERT_TRUE(tool.run("open " + file).ok());
    ASSERT_TRUE(tool.run("use shared").ok());
  }
  // A command that must not wait for a lock whose holder keeps it until
  // the answer comes: were it to wait, only the watchdog would end it.
  static void noWait(Tool& tool, const std::string& command, bool expectOk)
  {
    const Tool::Reply r = tool.run(command);
    EXPECT_EQ(r.ok(), expectOk) << command << " -> " << r.answer;
  }
  ScratchDir dir_;
  std::string t1_;
};

TEST_F(dbLockProcesses, ReaderWaitsForWriterAndReadersShare)
{
  Tool a, b;
  useShared(a, t1_);
  useShared(b, t1_);
  ASSERT_TRUE(a.run("wr").ok());
  b.send("rd");
  EXPECT_FALSE(b.answersWithin(300)) << "the reader must wait";
  // The release is printed after the unlock, so the reader may print first:
  // compare with the moment the release was asked for.
  const double releasing = locktest::monotonic();
  EXPECT_TRUE(a.run("rel").ok());
  const Tool::Reply entered = b.reply();
  EXPECT_TRUE(entered.ok());
  EXPECT_GE(entered.at, releasing);
  // Two readers at once; a writer waits for both.
  noWait(a, "rd", true);
  EXPECT_EQ(locktest::procLocks(t1_).size(), 4u) << "two slots and two readers";
  Tool c;
  useShared(c, t1_);
  c.send("wr");
  EXPECT_FALSE(c.answersWithin(300));
  a.run("rel");
  EXPECT_FALSE(c.answersWithin(200));
  b.run("rel");
  EXPECT_TRUE(c.reply().ok());
}

TEST_F(dbLockProcesses, RecordFileUseAndIndexLocksNeverWait)
{
  const std::string t2 = dir_.table("t2.dbf");
  const std::string idx = dir_.table("t1.idx");
  Tool a, b;
  useShared(a, t1_);
  useShared(b, t1_);
  ASSERT_TRUE(a.run("rlock 5").ok());
  noWait(b, "rlock 5", false);
  noWait(b, "flock", false);
  EXPECT_TRUE(b.run("rlock 6").ok());
  b.run("unlock");
  a.run("unlock");
  ASSERT_TRUE(a.run("flock").ok());
  noWait(b, "rlock 7", false);
  // USE: exclusive against shared, shared against exclusive.
  b.run("area 2");
  b.run("open " + t1_);
  noWait(b, "use excl", false);
  ASSERT_TRUE(a.run("area 2").ok());
  a.run("open " + t2);
  ASSERT_TRUE(a.run("use excl").ok());
  b.run("area 3");
  b.run("open " + t2);
  noWait(b, "use shared", false);
  // Index open locks.
  ASSERT_TRUE(a.run("index " + idx + " excl").ok());
  noWait(b, "index " + idx + " shared", false);
}

// A holds the section of T1 and waits for T2; B holds T2 and asks for T1.
// Exactly one of them reports the dead lock, and both go on.
TEST_F(dbLockProcesses, CrossFileDeadLockIsReportedOnce)
{
  const std::string t2 = dir_.table("t2.dbf");
  Tool a, b;
  for (Tool* t : {&a, &b}) {
    t->run("set retry 0");
    t->run("area 1");
    useShared(*t, t1_);
    t->run("area 2");
    useShared(*t, t2);
  }
  a.run("area 1");
  ASSERT_TRUE(a.run("wr").ok());
  ASSERT_TRUE(b.run("wr").ok());  // B is in area 2: T2
  a.run("area 2");
  a.send("rd");
  EXPECT_FALSE(a.answersWithin(200));
  b.run("area 1");
  b.send("rd");
  // One of the two gets the report and goes on; its release frees the other.
  Tool* reporter = nullptr;
  const double watchdog = locktest::monotonic() + locktest::kWatchdogMs / 1000.0;
  while (!reporter && locktest::monotonic() < watchdog) {
    for (Tool* t : {&a, &b})
      if (!reporter && t->answersWithin(100)) reporter = t;
  }
  ASSERT_NE(reporter, nullptr) << "nobody came out of the dead lock";
  Tool& other = reporter == &a ? b : a;
  EXPECT_FALSE(reporter->reply().ok());
  ASSERT_EQ(reporter->reports().size(), 1u);
  const std::string& report = reporter->reports()[0];
  EXPECT_EQ(report.rfind("347 ", 0), 0u) << report;
  EXPECT_NE(report.find("(Dead Lock)"), std::string::npos) << report;
  EXPECT_NE(report.find("while trying to set read lock"), std::string::npos);
  EXPECT_NE(report.find("Note: check e.g. for cross/circular relations"), std::string::npos);
  EXPECT_NE(report.find("write-locked (0..1) by PID=" + std::to_string(other.pid())),
            std::string::npos)
      << report;
  // The reporter leaves its sections; the other then gets in.
  reporter->run("area 1");
  reporter->run("rel");
  reporter->run("area 2");
  reporter->run("rel");
  reporter->run("rel");
  EXPECT_TRUE(other.reply().ok());
  EXPECT_TRUE(other.reports().empty());
}

TEST_F(dbLockProcesses, KilledProcessLeavesNoLocks)
{
  const std::string t2 = dir_.table("t2.dbf");
  Tool a;
  useShared(a, t1_);
  ASSERT_TRUE(a.run("rlock 3").ok());
  ASSERT_TRUE(a.run("wr").ok());
  a.run("area 2");
  a.run("open " + t2);
  ASSERT_TRUE(a.run("use excl").ok());
  a.run("flock");
  EXPECT_FALSE(locktest::procLocks(t1_, a.pid()).empty());
  const int pid = a.pid();
  a.kill9();
  EXPECT_TRUE(locktest::procLocks(t1_, pid).empty());
  EXPECT_TRUE(locktest::procLocks(t2, pid).empty());
  Tool b;
  useShared(b, t1_);
  EXPECT_TRUE(b.run("rlock 3").ok());
  noWait(b, "wr", true);
  b.run("area 2");
  b.run("open " + t2);
  EXPECT_TRUE(b.run("use excl").ok());
}

// Exclusive against shared opens, raced many times: both may fail, but
// never both succeed.
TEST_F(dbLockProcesses, IncompatibleOpensNeverBothSucceed)
{
  Tool a, b;
  a.run("open " + t1_);
  b.run("open " + t1_);
  int exclusiveWins = 0, sharedWins = 0;
  for (int round = 0; round < 300; ++round) {
    a.send("use excl");
    b.send("use shared");
    const bool aOk = a.reply().ok();
    const bool bOk = b.reply().ok();
    ASSERT_FALSE(aOk && bOk) << "round " << round;
    exclusiveWins += aOk;
    sharedWins += bOk;
    for (Tool* t : {&a, &b}) {
      t->run("close");
      t->run("open " + t1_);
    }
  }
  EXPECT_GT(exclusiveWins + sharedWins, 0);
}

}  // namespace
