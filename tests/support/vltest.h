// Test fixtures shared by every test program.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <source_location>
#include <string>
#include <vector>

#include "vl.h"

namespace vltest {

// Captures every error report instead of running the batch handler, checks
// that each test leaves the temporary stack and the frames as it found them,
// and puts back the process-wide state a test may change (the SET values,
// VL_Set switches, hooks, the error block, the function registry, the
// selected work area and the current directory), so that the tests of one
// program pass in any order in one process.
class VlTest : public ::testing::Test {
 public:
  // Reports seen since SetUp, in order.
  struct Seen {
    int code;
    int severity;
    std::string description;
  };
  static std::vector<Seen>& reports();

 protected:
  VlTest();
  ~VlTest() override;
  void SetUp() override;
  void TearDown() override;
  // The code of the last report, 0 if none.
  int last_code() const;
  // How many reports had code; whether one had code and contained text.
  static int count(int code);
  static bool reported(int code, const std::string& text);

  int32_t tmp_mark_ = 0;
  frame* frame_mark_ = nullptr;
  int32_t depth_mark_ = 0;

 private:
  struct Saved;
  std::unique_ptr<Saved> saved_;
};

// A fresh directory under /tmp, removed with what it holds at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  // The directory, or the path of name inside it.
  const std::string& path() const { return dir_; }
  std::string operator/(const std::string& name) const { return dir_ + "/" + name; }
  // Write data (NUL bytes too) to file name inside it; read it back.
  void write(const std::string& name, const std::string& data) const;
  std::string read(const std::string& name) const;

 private:
  std::string dir_;
};

// The text of a 'C'/'M' value as a std::string.
std::string str(var* v);

// A value as the expression tables write it: what ? shows, except that a
// number loses its leading blanks, an array shows its elements,
// "{1, abc, {}}" (nested deeper than eight levels: "{...}"), and the
// error record shows as "ERROR".
std::string shown(var* v);

// One case of an expression table: the text, and what its value shows as;
// "#312" when its first report must have that code (the value is not
// checked), "#902 1" when the value is checked too; no want when it only
// must not report (a row that sets up the rows after it).
struct Row {
  const char* expr;
  const char* want = nullptr;
};

// Evaluates the rows in order as statements of one function, so that a
// variable one row assigns is seen by the rows after it, and fails the
// test (at the caller's line, naming the row) for each row whose value or
// report differs.  Needs the VlTest fixture's report capture.
void expect_rows(std::initializer_list<Row> rows,
                 std::source_location at = std::source_location::current());

// How long the tests wait for another process: only a hang takes this long.
constexpr int kWatchdogMs = 30000;

// One POSIX lock as /proc/locks shows it (bytes start..end).
struct Held {
  int type = F_UNLCK;  // F_RDLCK, F_WRLCK or F_UNLCK
  long long start = 0, end = 0;
  int owner = 0;
  auto operator<=>(const Held&) const = default;
};

// The POSIX locks on file ("": on any file) listed in /proc/locks, of pid
// (0: of any process); with waiters, the requests blocked on it instead.
// Sorted, each once: a read that overlaps other processes' lock changes can
// list an entry twice, and an owner never holds two equal locks.
std::vector<Held> proc_locks(const std::string& file, int pid = 0, bool waiters = false);

// Waits for child pid, killing it when it outlives the watchdog; whether it
// exited with 0.
bool reap(int pid);

// A forked child that runs setup (taking locks of its own), reports that it
// is ready, runs then (which may block, e.g. waiting for a lock), and holds
// its locks until destruction.  One socket pair carries "ready" to the
// parent and, when the parent closes its end, "go" to the child.
class Holder {
 public:
  explicit Holder(const std::function<void()>& setup, const std::function<void()>& then = {});
  ~Holder();
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
  int pid() const { return pid_; }

 private:
  int pid_ = -1;
  int fd_ = -1;
};

}  // namespace vltest
