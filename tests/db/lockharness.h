// lockharness.h -- helpers for lock tests that run several processes on one
// file: tables, lock-tool processes, helper children, and probes of
// the locks other processes hold (F_GETLK from a process that holds none,
// and /proc/locks).  Nothing is judged by how long it took: a lock that must
// not wait is one whose holder never lets go, so if it waited it would wait
// for ever, and every wait ends at a generous watchdog (an alarm in this
// process) that fails the test.
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "locks.hpp"

namespace locktest {

constexpr int kHeaderLen = 66;  // a DBF header with one field
constexpr int kRecordLen = 10;
constexpr int kRecords = 10;
constexpr int kWatchdogMs = 30000;  // only a hang takes this long

// Write a table of kRecords records with a DBF-like header (record
// geometry in bytes 8..11) to file, which it returns.
std::string table(const std::string& file);

// Makes dir the current directory for its lifetime.
class InDir {
 public:
  explicit InDir(const std::string& dir) : back_(std::filesystem::current_path())
  {
    std::filesystem::current_path(dir);
  }
  ~InDir() { std::filesystem::current_path(back_); }

 private:
  std::filesystem::path back_;
};

// One lock held by someone, as F_GETLK or /proc/locks shows it.
struct Held {
  int type = F_UNLCK;  // F_RDLCK, F_WRLCK or F_UNLCK
  int pid = 0;
  long long start = 0;
};

// F_GETLK for a write lock on the range, made in a forked child so that
// the caller's own locks are seen too.
Held probe(const std::string& file, long long start, long long len);
// The POSIX locks on file listed in /proc/locks, optionally of one pid;
// with waiters, the requests blocked on the file instead.
std::vector<Held> procLocks(const std::string& file, int pid = 0, bool waiters = false);
// Wait until process pid is blocked on a lock of file; false (and a test
// failure) when the watchdog fires first.
bool waitUntilBlocked(const std::string& file, int pid);

// A forked child that runs setup (taking locks of its own), reports that it
// is ready, runs then (which may block, e.g. waiting for a lock), and holds
// its locks until release() or destruction.
class Holder {
 public:
  explicit Holder(const std::function<void()>& setup,
                  const std::function<void()>& then = {});
  ~Holder();
  void release();
  int pid() const { return pid_; }

 private:
  int pid_ = -1;
  int go_ = -1;  // write end: closing it lets the child end
};

// A running vl-locktool.
class Tool {
 public:
  Tool();
  ~Tool();
  // One answer line, split.
  struct Reply {
    double at = 0;  // monotonic seconds when the tool printed it
    std::string answer;
    bool ok() const { return answer.rfind("ok", 0) == 0; }
  };
  void send(const std::string& command);
  // The answer to the oldest command not yet answered; fails the test when
  // it does not come within ms.
  Reply reply(int ms = kWatchdogMs);
  Reply run(const std::string& command);
  // Whether an answer arrives within ms (it is kept for reply()).
  bool answersWithin(int ms);
  // Error reports seen so far ("<code> <description>").
  const std::vector<std::string>& reports() const { return reports_; }
  void kill9();
  int pid() const { return pid_; }

 private:
  bool readLine(std::string* line, int ms);
  int pid_ = -1;
  int in_ = -1;
  int out_ = -1;
  std::string buffered_;
  std::vector<std::string> pendingAnswers_;
  std::vector<std::string> reports_;
};

// Monotonic seconds, comparable with the tool's time stamps.
double monotonic();

}  // namespace locktest
