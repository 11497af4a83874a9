// Table locks against the kernel's view and against other processes: the
// primitives (USE gate and slots, index locks, the dead-lock ladder, the
// section holder probe, the trace file, the file position), vl-locktool
// processes driven through their standard input (sections, record and file
// locks, the chain of areas on one file, the 4.2 scheme, what one process
// holds against what another asks, dead locks reported once, incompatible
// opens never both succeeding), and the descriptor pool.
//
// What a process holds is read from /proc/locks.  Nothing is judged by how
// long it took: a lock that must not wait is one whose holder never lets go,
// so if it waited it would wait for ever, and every wait ends at a generous
// watchdog (a poll limit, or an alarm in this process) that fails the test.
#include <errno.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "files.h"
#include "locks.hpp"
#include "natlang.h"
#include "vltest.h"

using namespace vl;

namespace {

constexpr long kBase = VLN_LOCK_BASE;
constexpr long kFirstSlot = kBase - VLN_USE_FIRST_SLOT_BACK;
constexpr long kSlots = VLN_USE_FIRST_SLOT_BACK - VLN_USE_LAST_SLOT_BACK + 1;
constexpr int kHeaderLen = 66;  // a DBF header with one field
constexpr int kRecordLen = 10;
constexpr int kRecords = 10;
constexpr int kWatchdogMs = 30000;  // only a hang takes this long
constexpr const char* kToolPath = VL_BINARY_DIR "/tools/locktool/vl-locktool";

// Monotonic seconds, comparable with the tool's time stamps.
double monotonic()
{
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

// Wait for a child, killing it if it does not end in time.
void reap(int pid)
{
  for (int waited = 0; waited < kWatchdogMs; waited += 10) {
    if (waitpid(pid, nullptr, WNOHANG) == pid) return;
    usleep(10000);
  }
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

// Write a table of kRecords records with a DBF-like header (only the record
// geometry, in bytes 8..11, is read) to file, which it returns.
std::string table(const std::string& file)
{
  std::string bytes = std::string(kHeaderLen, '\0') + std::string(kRecords * kRecordLen, ' ');
  bytes[8] = kHeaderLen;
  bytes[10] = kRecordLen;
  std::ofstream(file, std::ios::binary) << bytes;
  return file;
}

int lockRange(int fd, int cmd, int type, long start, long len)
{
  struct flock fl {};
  fl.l_type = static_cast<short>(type);
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = len;
  return fcntl(fd, cmd, &fl);
}

// One lock of a process, as /proc/locks shows it (bytes start..end).
struct Held {
  int type = F_UNLCK;  // F_RDLCK, F_WRLCK or F_UNLCK
  long long start = 0, end = 0;
  int owner = 0;
  bool operator==(const Held&) const = default;
};

// The POSIX locks on file listed in /proc/locks, optionally of one pid;
// with waiters, the requests blocked on the file instead.  A read that
// overlaps other processes' lock changes can list an entry twice; an owner
// never holds two equal locks, so repeats are dropped.
std::vector<Held> procLocks(const std::string& file, int pid = 0, bool waiters = false)
{
  std::vector<Held> out;
  struct stat st;
  if (stat(file.c_str(), &st) != 0) return out;
  std::ifstream in("/proc/locks");
  for (std::string line; std::getline(in, line);) {
    const size_t arrow = line.find("->");
    if ((arrow != std::string::npos) != waiters) continue;
    if (waiters) line.erase(arrow, 2);
    std::istringstream words(line);
    std::string num, kind, adv, type, id, start, end;
    int owner = 0;
    words >> num >> kind >> adv >> type >> owner >> id >> start >> end;
    unsigned major = 0, minor = 0;
    unsigned long long ino = 0;
    if (kind != "POSIX" || sscanf(id.c_str(), "%x:%x:%llu", &major, &minor, &ino) != 3) continue;
    if (makedev(major, minor) != st.st_dev || ino != st.st_ino) continue;
    if (pid != 0 && owner != pid) continue;
    const Held h{type == "WRITE" ? F_WRLCK : F_RDLCK, atoll(start.c_str()),
                 end == "EOF" ? LLONG_MAX : atoll(end.c_str()), owner};
    if (std::find(out.begin(), out.end(), h) == out.end()) out.push_back(h);
  }
  return out;
}

// The lock pid holds on a byte of file's range start, len (type F_UNLCK:
// none).
Held heldBy(const std::string& file, int pid, long long start, long long len)
{
  for (const Held& h : procLocks(file, pid))
    if (h.start < start + len && h.end >= start) return h;
  return {};
}

// Wait until process pid is blocked on a lock of file; false (and a test
// failure) when the watchdog fires first.
bool waitUntilBlocked(const std::string& file, int pid)
{
  for (int waited = 0; waited < kWatchdogMs; waited += 10) {
    if (!procLocks(file, pid, true).empty()) return true;
    usleep(10000);
  }
  ADD_FAILURE() << "process " << pid << " never blocked on " << file;
  return false;
}

// A forked child that runs setup (taking locks of its own), reports that it
// is ready, runs then (which may block, e.g. waiting for a lock), and holds
// its locks until destruction.  One socket pair carries "ready" to the
// parent and, when the parent closes its end, "go" to the child.
class Holder {
 public:
  explicit Holder(const std::function<void()>& setup, const std::function<void()>& then = {})
  {
    int sv[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sv) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      close(sv[0]);
      setup();
      (void)!write(sv[1], "r", 1);
      if (then) then();
      for (char c; read(sv[1], &c, 1) > 0;) {
      }
      _exit(0);
    }
    close(sv[1]);
    fd_ = sv[0];
    struct pollfd p {fd_, POLLIN, 0};
    EXPECT_EQ(poll(&p, 1, kWatchdogMs), 1) << "helper did not come up";
  }
  ~Holder()
  {
    if (pid_ <= 0) return;
    close(fd_);  // lets the child end
    reap(pid_);
  }
  int pid() const { return pid_; }

 private:
  int pid_ = -1;
  int fd_ = -1;
};

// A running vl-locktool, its standard input and output one socket.  Its
// lines are "<time> <pid> <command> -> <answer>" or "<time> <pid> report
// <code> <text>".
class Tool {
 public:
  Tool()
  {
    int sv[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sv) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      dup2(sv[1], 0);
      dup2(sv[1], 1);
      close(sv[0]);
      close(sv[1]);
      execl(kToolPath, kToolPath, static_cast<char*>(nullptr));
      _exit(127);
    }
    close(sv[1]);
    fd_ = sv[0];
  }
  ~Tool()
  {
    shutdown(fd_, SHUT_WR);  // the tool ends at the end of its input
    if (pid_ > 0) reap(pid_);
    close(fd_);
  }
  struct Reply {
    double at = 0;  // monotonic seconds when the tool printed it
    std::string answer;
    bool ok() const { return answer.rfind("ok", 0) == 0; }
  };
  // A command line is shorter than the socket's buffer.
  void send(const std::string& command) { (void)!write(fd_, (command + "\n").c_str(), command.size() + 1); }
  // Whether an answer arrives within ms (it is kept for reply()); the
  // reports printed before it are kept for reports().
  bool answersWithin(int ms)
  {
    const double deadline = monotonic() + ms / 1000.0;
    while (answers_.empty()) {
      const size_t nl = buffered_.find('\n');
      if (nl == std::string::npos) {
        const int left = static_cast<int>((deadline - monotonic()) * 1000);
        struct pollfd p {fd_, POLLIN, 0};
        char buf[4096];
        ssize_t n = 0;
        if (left <= 0 || poll(&p, 1, left) != 1 || (n = read(fd_, buf, sizeof buf)) <= 0) return false;
        buffered_.append(buf, static_cast<size_t>(n));
        continue;
      }
      const std::string line = buffered_.substr(0, nl);
      buffered_.erase(0, nl + 1);
      const std::string rest = line.substr(line.find(' ', line.find(' ') + 1) + 1);
      const bool report = rest.rfind("report ", 0) == 0;
      (report ? reports_ : answers_).push_back(report ? rest.substr(7) : line);
    }
    return true;
  }
  // The answer to the oldest command not yet answered; fails the test when
  // it does not come within the watchdog.
  Reply reply()
  {
    if (!answersWithin(kWatchdogMs)) {
      ADD_FAILURE() << "no answer from vl-locktool " << pid_;
      return {};
    }
    const std::string line = answers_.front();
    answers_.erase(answers_.begin());
    const size_t arrow = line.find(" -> ");
    return {atof(line.c_str()), arrow == std::string::npos ? line : line.substr(arrow + 4)};
  }
  Reply run(const std::string& command)
  {
    send(command);
    return reply();
  }
  // Error reports seen so far ("<code> <description>").
  const std::vector<std::string>& reports() const { return reports_; }
  void kill9()
  {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }
  int pid() const { return pid_; }

 private:
  int pid_ = -1;
  int fd_ = -1;
  std::string buffered_;
  std::vector<std::string> answers_;
  std::vector<std::string> reports_;
};

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
    for (size_t at; (at = command.find('$')) != std::string::npos;) {
      const char c = command[at + 1];
      command.replace(at, 2, c == '1' ? t1_ : c == '2' ? t2_ : c == 'I' ? idx_
                                                       : std::to_string(VLN_RECORD_MAP_END - 1000));
    }
    return command;
  }
  // Run the ';'-separated steps ($1 $2 $I stand for t1.dbf, t2.dbf,
  // t1.idx, $E for the header length that makes record 1 of length 1000
  // the last in the record map): a command must answer ok, "command!" must
  // fail and "command=text" must answer text; "@S R" checks the tool's lock
  // on t1's section bytes (S), record n (Rn), the USE slot (U) or byte n
  // (Bn), which must be a read (R), a write (W) or no (-) lock; "@locks n":
  // the tool holds n locks on t1; "@report n": its first report has code n.
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
      EXPECT_EQ(procLocks(t1_, tool.pid()).size(), std::stoul(want));
      return;
    }
    if (where == "report") {
      ASSERT_FALSE(tool.reports().empty());
      EXPECT_EQ(tool.reports()[0].rfind(want + " ", 0), 0u) << tool.reports()[0];
      return;
    }
    const long n = where.size() > 1 ? std::stol(where.substr(1)) : 0;
    const Held h = where[0] == 'S'   ? heldBy(t1_, tool.pid(), 0, 2)
                   : where[0] == 'R' ? heldBy(t1_, tool.pid(), kHeaderLen + (n - 1) * kRecordLen, 1)
                   : where[0] == 'U' ? heldBy(t1_, tool.pid(), kBase - VLN_USE_GATE_BACK, VLN_USE_RANGE_LEN)
                                     : heldBy(t1_, tool.pid(), n, 1);
    EXPECT_EQ(h.type, want == "W" ? F_WRLCK : want == "R" ? F_RDLCK : F_UNLCK);
  }
  // A child that opens t1 and runs hold on its descriptor.
  Holder holding(int (*hold)(int fd)) const
  {
    const std::string file = t1_;
    return Holder([=] { hold(open(file.c_str(), O_RDWR)); });
  }
  vltest::TempDir dir_;
  std::string t1_ = table(dir_ / "t1.dbf"), t2_ = table(dir_ / "t2.dbf"), idx_ = table(dir_ / "t1.idx");
  int fd_ = -1;  // t1, holding no lock
};

// ---- The primitives. ----

// What another process holds against what this one asks: the answer, and
// where the one lock this process then holds starts (-1: it holds none, so a
// refusal leaves nothing behind).  No call may wait: the alarm ends a hang.
TEST_F(dbLocks, UseAndIndexLocksAgainstAnotherProcess)
{
  using Fn = int (*)(int fd);  // what the other process holds, or this one asks
  const Fn nobody = [](int) { return 0; };
  const Fn useExcl = [](int fd) { return diLockExclusive(fd, kBase); };
  const Fn useShared = [](int fd) { return diLockShared(fd, kBase); };
  const Fn allSlots = [](int fd) { return lockRange(fd, F_SETLK, F_RDLCK, kFirstSlot, kSlots); };
  const Fn allButLast = [](int fd) { return lockRange(fd, F_SETLK, F_RDLCK, kFirstSlot, kSlots - 1); };
  const Fn indexByte = [](int fd) { return lockRange(fd, F_SETLK, F_WRLCK, VLN_IDX_LOCK_BYTE, 1); };
  const Fn checkExcl = [](int fd) { return diCheckExclusive(fd, kBase); };
  const Fn indexShared = [](int fd) { return diLockIndexShar(fd, kBase); };
  const Fn indexExcl = [](int fd) { return diLockIndexExcl(fd, kBase); };
  const struct {
    const char* what;
    Fn hold;
    Fn call;
    int answer;
    long mine;
  } cases[] = {
      {"shared alone", nobody, useShared, 0, kFirstSlot},
      {"shared against exclusive", useExcl, useShared, -1, -1},
      {"exclusive against shared", useShared, useExcl, -1, -1},
      {"second shared", useShared, useShared, 0, kFirstSlot + 1},
      {"all slots taken", allSlots, useShared, -1, -1},
      {"last slot free", allButLast, useShared, 0, kFirstSlot + kSlots - 1},
      {"check against exclusive", useExcl, checkExcl, 1, -1},
      {"check alone", nobody, checkExcl, 0, -1},
      {"index shared against exclusive", indexByte, indexShared, -1, -1},
      {"index exclusive against exclusive", indexByte, indexExcl, -1, -1},
      {"index exclusive alone", nobody, indexExcl, 0, VLN_IDX_LOCK_BYTE},
  };
  alarm(kWatchdogMs / 1000);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Holder other = holding(c.hold);
    const int fd = open(t1_.c_str(), O_RDWR);
    EXPECT_EQ(c.call(fd), c.answer);
    const auto mine = procLocks(t1_, getpid());
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
  const int fdB = open(t2_.c_str(), O_RDWR);
  ASSERT_EQ(lockRange(fd_, F_SETLK, F_WRLCK, 0, 2), 0);
  int fdA = -1;
  Holder waiter(
      [&] {
        lockRange(open(t2_.c_str(), O_RDWR), F_SETLK, F_WRLCK, 0, 2);
        fdA = open(t1_.c_str(), O_RDWR);
      },
      [&] { lockRange(fdA, F_SETLKW, F_WRLCK, 0, 2); });
  ASSERT_TRUE(waitUntilBlocked(t1_, waiter.pid()));
  alarm(kWatchdogMs / 1000);
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
  alarm(0);
  lockRange(fd_, F_SETLK, F_UNLCK, 0, 2);  // lets the waiter through
  close(fdB);
}

TEST_F(dbLocks, LocalLockNamesTheHolderOfTheSectionBytes)
{
  int type = 0, from = -1, to = -1, pid = 0;
  EXPECT_EQ(diGetLocalLock(fd_, &type, &from, &to, &pid), 1);
  const struct {
    int (*hold)(int fd);
    int type, from, to;
  } held[] = {{[](int fd) { return lockRange(fd, F_SETLK, F_WRLCK, 1, 1); }, F_WRLCK, 1, 1},
              {[](int fd) { return lockRange(fd, F_SETLK, F_WRLCK, 0, 2); }, F_WRLCK, 0, 1},
              {[](int fd) { return lockRange(fd, F_SETLK, F_RDLCK, 0, 1); }, F_RDLCK, 0, 0}};
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
  const std::string back = std::filesystem::current_path();
  ASSERT_EQ(chdir(dir_.path().c_str()), 0);  // the trace goes to the current directory
  const std::string log = dir_ / (std::to_string(vlnAppPid) + ".errlog");
  Holder excl = holding([](int fd) { return diLockExclusive(fd, kBase); });
  diLockShared(fd_, kBase);
  EXPECT_FALSE(std::ifstream(log).good()) << "level 0 writes nothing";
  vlnFCNTLprot = 2;
  diLockShared(fd_, kBase);
  ASSERT_EQ(chdir(back.c_str()), 0);
  std::ifstream in(log);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text.substr(0, text.find('\n')),
            "Pid=" + std::to_string(vlnAppPid) + " vlnRetryFcntlSec=" +
                std::to_string(vlnRetryFcntlSec) + "  vlnFCNTLprot=2 vlnFCNTLlockfOnly=0");
  EXPECT_NE(text.find("diLockShared("), std::string::npos);
  // The listing of the file's locks shows the exclusive holder's range.
  EXPECT_NE(text.find(std::to_string(excl.pid())), std::string::npos);
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
      ASSERT_EQ(heldBy(t1_, tool.pid(), 0, 2).type, depth == 0 ? F_UNLCK : wrote ? F_WRLCK : F_RDLCK);
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

// FOPEN(name, mode), FCLOSE(fd) and FCREATE(name) as numbers.
int fopenOf(const std::string& name, int mode)
{
  return vlnIntVar(vl_call(_bb_fopen, {set_cv(name.c_str()), set_nv(mode, 0)}));
}
int fcloseOf(int fd) { return vlnIntVar(vl_call(_bb_fclose, {set_nv(fd, 0)})); }
int fcreateOf(const std::string& name) { return vlnIntVar(vl_call(_bb_fcreate, {set_cv(name.c_str())})); }

// The area of a table t1 opened shared through the pool, holding record 2.
void lockRecord2(VlnLockArea& a, const std::string& t1)
{
  vlnLockAreaInit(&a);
  a.fd = diOpenFile(t1.c_str(), nullptr, O_RDWR);
  a.headerlen = kHeaderLen;
  a.reclen = kRecordLen;
  ASSERT_EQ(vlnLockUse(&a), 0);
  ASSERT_EQ(dbf_rlock(&a, 2), 0);
}

// A forked child is a new lock owner: fresh pid for l_pid and the trace,
// and none of the parent's pooled descriptors or areas; it keeps the
// handles of the file functions, as it would plain descriptors.
TEST_F(dbLocks, ForkedChildDropsThePool)
{
  VlnLockArea a;
  lockRecord2(a, t1_);
  const int fd = a.fd;
  const int handle = fopenOf(t1_, 0);
  const int pid = fork();
  if (pid == 0) {
    const bool fresh = vlnAppPid == getpid() && fcntl(fd, F_GETFD) == -1 && a.fd == -1 &&
                       dbf_rlock(&a, 3) == -1 && fcntl(handle, F_GETFD) != -1 &&
                       fcloseOf(handle) == 0 && fcntl(handle, F_GETFD) == -1;
    _exit(fresh ? 0 : 1);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(fcloseOf(handle), 0);
  EXPECT_EQ(heldBy(t1_, getpid(), kHeaderLen + kRecordLen, 1).type, F_WRLCK) << "the parent keeps its locks";
  vlnLockRelease(&a);
  diCloseFile(fd);
}

// Whether another process finds record 2 of file locked.
bool othersSeeRecord2Locked(const std::string& file)
{
  const int pid = fork();
  if (pid == 0) _exit(canSetWlock(open(file.c_str(), O_RDWR), kHeaderLen + kRecordLen, kRecordLen) != 0 ? 0 : 1);
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// A handle of a table this process has locked is parked, not closed, when
// it is given back, and taken again at position 0; the table's own
// descriptor is no handle; the last open closes every descriptor.
TEST_F(dbLocks, GivingBackAHandleKeepsTheTablesLocks)
{
  VlnLockArea a;
  lockRecord2(a, t1_);
  const struct {
    const char* what;
    std::function<int()> open;
  } opens[] = {
      {"FOPEN read", [&] { return fopenOf(t1_, 0); }},
      {"FOPEN read-write", [&] { return fopenOf(t1_, 2); }},
      {"FCREATE", [&] { return fcreateOf(t1_); }},  // truncates: the locks stay
  };
  for (const auto& o : opens) {
    SCOPED_TRACE(o.what);
    const int h = o.open();
    ASSERT_GE(h, 0);
    lseek(h, 10, SEEK_SET);
    EXPECT_EQ(fcloseOf(h), 0);
    EXPECT_NE(fcntl(h, F_GETFD), -1) << "parked";
    EXPECT_EQ(o.open(), h);
    EXPECT_EQ(lseek(h, 0, SEEK_CUR), 0);
    EXPECT_EQ(fcloseOf(h), 0);
    EXPECT_EQ(fcloseOf(h), -1) << "given back already";
    EXPECT_EQ(vlnIntVar(vl_call(_bb_ferror, {})), EBADF);
    EXPECT_TRUE(othersSeeRecord2Locked(t1_));
  }
  vl_call(_bb_loadlang, {set_nv(1, 0), set_cv(t1_.c_str())});  // no language file: refused
  EXPECT_TRUE(othersSeeRecord2Locked(t1_)) << "LOADLANG";
  EXPECT_EQ(fcloseOf(a.fd), -1) << "a table's descriptor";
  EXPECT_TRUE(othersSeeRecord2Locked(t1_));
  const int h = fopenOf(t1_, 2);
  vlnLockRelease(&a);
  EXPECT_EQ(diCloseFile(a.fd), 0);
  EXPECT_NE(fcntl(a.fd, F_GETFD), -1) << "parked while the handle is open";
  EXPECT_EQ(fcloseOf(h), 0);
  EXPECT_EQ(fcntl(a.fd, F_GETFD), -1);
  EXPECT_EQ(fcntl(h, F_GETFD), -1);
}

// ---- Scripts of vl-locktool processes. ----

// How B's question is answered.
enum class Answer { Ok, Refused, AfterRelease, AfterKill };

// Process A runs its steps alone, or, when B has steps or a question, A and
// B each open t1 shared in area 1 first, B runs its steps and asks.
// AfterRelease: B's question waits until A leaves its section ("rel").
// AfterKill: A is killed before B asks, which must then succeed.
struct Scenario {
  const char* a;
  const char* b = nullptr;
  const char* ask = nullptr;
  Answer want = Answer::Ok;
};

const Scenario kScenarios[] = {
    // The areas of one process, seen by a stranger.
    {"open $1;use shared;area 2;open $1;use shared;area 1;rd;area 2;rd;rel;@S R;area 1;rel;@S -"},
    // Exclusive tables and switched-off sections take no lock.
    {"open $1;use excl;wr;@S -;rel;close;open $1;use shared;set rw 0;rd;wr;@S -;"
     "counts=read=0 write=2;rel;rel;counts=read=0 write=0"},
    // The kernel never makes two areas of one process conflict: the chain
    // does; a second lock of a record is a no-op (one unlock frees it).
    {"open $1;use shared;area 2;open $1;use shared;area 1;rlock 5;rlock 5;runlock 5;area 2;rlock 5;"
     "area 1;rlock 5!;flock!;rlock 6;unlock;area 2;unlock;flock;area 1;rlock 7!;area 2;rlock 7!;"
     "area 3;open $1;use excl!"},
    // Closing one area keeps the other's locks, the last drops all.
    {"open $1;use shared;area 2;open $1;use shared;area 1;rlock 5;area 2;close;@R5 W;@U R;"
     "area 1;close;@locks 0"},
    {"open $1 ro;use shared;rlock 2;@R2 R;wr;@S R"},  // a read-only table takes read locks
    // 4.2: shared use is byte 0, a write section covers the file, and its
    // release keeps the record locks and the USE byte.
    {"set compat42 1;open $1;use shared;@B0 W;rlock 4;wr;@B500 W;rel;@B500 -;@R4 W;@B0 W"},
    // A record whose bytes leave the map is refused; the last one inside is
    // locked alone with the USE slot.
    {"open $1;use shared;geometry $E 1000;rlock 2!;rlock 0!;rlock -3!;@report 320;rlock 1;@locks 2"},
    // What one process holds against what another asks.
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

TEST_F(dbLocks, Scenarios)
{
  for (const Scenario& s : kScenarios) {
    SCOPED_TRACE(std::string("A: ") + s.a + "  B: " + (s.b ? s.b : "") + "  asks " + (s.ask ? s.ask : ""));
    Tool a, b;
    if (!s.b) {
      script(a, s.a);
      continue;
    }
    script(a, std::string("open $1;use shared;") + s.a);
    script(b, std::string("open $1;use shared;") + s.b);
    if (s.want == Answer::AfterKill) {
      const int pid = a.pid();
      EXPECT_FALSE(procLocks(t1_, pid).empty());
      a.kill9();
      EXPECT_TRUE(procLocks(t1_, pid).empty());
      EXPECT_TRUE(procLocks(t2_, pid).empty());
    }
    b.send(expand(s.ask));
    if (s.want == Answer::AfterRelease) {
      EXPECT_FALSE(b.answersWithin(300)) << "must wait";
      // The release is printed after the unlock, so B may print first:
      // compare with the moment the release was asked for.
      const double releasing = monotonic();
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
  const double watchdog = monotonic() + kWatchdogMs / 1000.0;
  while (!reporter && monotonic() < watchdog)
    for (Tool* t : {&a, &b})
      if (!reporter && t->answersWithin(100)) reporter = t;
  ASSERT_NE(reporter, nullptr) << "nobody came out of the dead lock";
  Tool& other = reporter == &a ? b : a;
  EXPECT_FALSE(reporter->reply().ok());
  ASSERT_EQ(reporter->reports().size(), 1u);
  const std::string& report = reporter->reports()[0];
  EXPECT_EQ(report.rfind("347 ", 0), 0u) << report;
  EXPECT_NE(report.find("(Dead Lock)"), std::string::npos) << report;
  EXPECT_NE(report.find("write-locked (0..1) by PID=" + std::to_string(other.pid())), std::string::npos);
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
