// Several processes on one table, each a vl-locktool driven through its
// standard input: what one process holds against what another asks (the
// section waits, nothing else does, a killed holder leaves nothing behind),
// dead locks reported once, and incompatible opens never both succeeding.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "lockharness.h"
#include "locks.h"

namespace {

using locktest::ScratchDir;
using locktest::Tool;

// How B's question is answered.
enum class Answer { Ok, Refused, AfterRelease, AfterKill };

// A and B each open t1 shared in area 1, then run their commands; B asks.
// AfterRelease: B's question waits until A leaves its section ("rel").
// AfterKill: A is killed before B asks, which must then succeed.
struct Scenario {
  const char* a;  // ';'-separated; $1 $2 $I stand for t1.dbf, t2.dbf, t1.idx
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

class dbLockProcesses : public ::testing::Test {
 protected:
  std::string expand(std::string command) const
  {
    for (size_t at; (at = command.find('$')) != std::string::npos;)
      command.replace(at, 2, command[at + 1] == '1' ? t1_ : command[at + 1] == '2' ? t2_ : idx_);
    return command;
  }
  // Run the ';'-separated commands; each must succeed.
  void script(Tool& tool, const std::string& commands) const
  {
    std::istringstream in(commands);
    for (std::string c; std::getline(in, c, ';');) {
      if (c.empty()) continue;
      ASSERT_TRUE(tool.run(expand(c)).ok()) << c;
    }
  }
  ScratchDir dir_;
  std::string t1_ = dir_.table("t1.dbf"), t2_ = dir_.table("t2.dbf"), idx_ = dir_.table("t1.idx");
};

TEST_F(dbLockProcesses, WhatOneHoldsAgainstWhatAnotherAsks)
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
TEST_F(dbLockProcesses, CrossFileDeadLockIsReportedOnce)
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
TEST_F(dbLockProcesses, IncompatibleOpensNeverBothSucceed)
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
