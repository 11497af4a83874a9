#include "lockharness.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace locktest {

namespace {

constexpr const char* kToolPath = VL_BINARY_DIR "/tools/locktool/vl-locktool";

void writeAll(int fd, const void* data, size_t n)
{
  const char* p = static_cast<const char*>(data);
  while (n > 0) {
    const ssize_t w = write(fd, p, n);
    if (w <= 0) return;
    p += w;
    n -= static_cast<size_t>(w);
  }
}

// Wait for a child, killing it if it does not end in time.
void reap(int pid, int ms)
{
  for (int waited = 0; waited < ms; waited += 10) {
    if (waitpid(pid, nullptr, WNOHANG) == pid) return;
    usleep(10000);
  }
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

}  // namespace

double monotonic()
{
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec + ts.tv_nsec / 1e9;
}

std::string table(const std::string& file)
{
  std::string bytes = std::string(kHeaderLen, '\0') + std::string(kRecords * kRecordLen, ' ');
  bytes[0] = 3;
  bytes[4] = kRecords;
  bytes[8] = kHeaderLen;
  bytes[10] = kRecordLen;
  std::ofstream(file, std::ios::binary) << bytes;
  return file;
}

Held probe(const std::string& file, long long start, long long len)
{
  int pipefd[2];
  if (pipe(pipefd) != 0) return {};
  const int pid = fork();
  if (pid == 0) {
    struct flock fl {};
    fl.l_type = F_WRLCK;
    fl.l_whence = SEEK_SET;
    fl.l_start = start;
    fl.l_len = len;
    const int fd = open(file.c_str(), O_RDONLY);
    if (fd < 0 || fcntl(fd, F_GETLK, &fl) != 0) fl.l_type = -1;
    writeAll(pipefd[1], &fl, sizeof fl);
    _exit(0);
  }
  close(pipefd[1]);
  struct flock fl {};
  const bool got = read(pipefd[0], &fl, sizeof fl) == static_cast<ssize_t>(sizeof fl);
  close(pipefd[0]);
  reap(pid, kWatchdogMs);
  if (!got) return {};
  return {fl.l_type, fl.l_pid, fl.l_start};
}

std::vector<Held> procLocks(const std::string& file, int pid, bool waiters)
{
  std::vector<Held> out;
  struct stat st;
  if (stat(file.c_str(), &st) != 0) return out;
  std::ifstream in("/proc/locks");
  std::string line;
  while (std::getline(in, line)) {
    const size_t arrow = line.find("->");
    if ((arrow != std::string::npos) != waiters) continue;
    if (waiters) line.erase(arrow, 2);
    std::istringstream words(line);
    std::string num, kind, adv, type, id, start;
    int owner = 0;
    words >> num >> kind >> adv >> type >> owner >> id >> start;
    unsigned major = 0, minor = 0;
    unsigned long long ino = 0;
    if (kind != "POSIX" || sscanf(id.c_str(), "%x:%x:%llu", &major, &minor, &ino) != 3) continue;
    if (makedev(major, minor) != st.st_dev || ino != st.st_ino) continue;
    if (pid != 0 && owner != pid) continue;
    out.push_back({type == "WRITE" ? F_WRLCK : F_RDLCK, owner, atoll(start.c_str())});
  }
  return out;
}

bool waitUntilBlocked(const std::string& file, int pid)
{
  for (int waited = 0; waited < kWatchdogMs; waited += 10) {
    if (!procLocks(file, pid, true).empty()) return true;
    usleep(10000);
  }
  ADD_FAILURE() << "process " << pid << " never blocked on " << file;
  return false;
}

Holder::Holder(const std::function<void()>& setup, const std::function<void()>& then)
{
  int ready[2], go[2];
  if (pipe(ready) != 0 || pipe(go) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    close(ready[0]);
    close(go[1]);
    setup();
    writeAll(ready[1], "r", 1);
    if (then) then();
    char c;
    while (read(go[0], &c, 1) > 0) {
    }
    _exit(0);
  }
  close(ready[1]);
  close(go[0]);
  go_ = go[1];
  struct pollfd p {ready[0], POLLIN, 0};
  const bool up = poll(&p, 1, kWatchdogMs) == 1;
  close(ready[0]);
  EXPECT_TRUE(up) << "helper did not come up";
}

Holder::~Holder()
{
  release();
}

void Holder::release()
{
  if (pid_ <= 0) return;
  close(go_);
  reap(pid_, kWatchdogMs);
  pid_ = -1;
}

Tool::Tool()
{
  int toTool[2], fromTool[2];
  if (pipe(toTool) != 0 || pipe(fromTool) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    dup2(toTool[0], 0);
    dup2(fromTool[1], 1);
    close(toTool[1]);
    close(fromTool[0]);
    execl(kToolPath, kToolPath, static_cast<char*>(nullptr));
    _exit(127);
  }
  close(toTool[0]);
  close(fromTool[1]);
  in_ = toTool[1];
  out_ = fromTool[0];
}

Tool::~Tool()
{
  if (in_ >= 0) close(in_);
  if (pid_ > 0) reap(pid_, kWatchdogMs);
  if (out_ >= 0) close(out_);
}

void Tool::send(const std::string& command)
{
  const std::string line = command + "\n";
  writeAll(in_, line.data(), line.size());
}

bool Tool::readLine(std::string* line, int ms)
{
  const double deadline = monotonic() + ms / 1000.0;
  for (;;) {
    const size_t nl = buffered_.find('\n');
    if (nl != std::string::npos) {
      *line = buffered_.substr(0, nl);
      buffered_.erase(0, nl + 1);
      return true;
    }
    const int left = static_cast<int>((deadline - monotonic()) * 1000);
    struct pollfd p {out_, POLLIN, 0};
    if (left <= 0 || poll(&p, 1, left) != 1) return false;
    char buf[4096];
    const ssize_t n = read(out_, buf, sizeof buf);
    if (n <= 0) return false;
    buffered_.append(buf, static_cast<size_t>(n));
  }
}

bool Tool::answersWithin(int ms)
{
  const double deadline = monotonic() + ms / 1000.0;
  std::string line;
  while (pendingAnswers_.empty()) {
    const int left = static_cast<int>((deadline - monotonic()) * 1000);
    if (left <= 0 || !readLine(&line, left)) return false;
    // "<time> <pid> report <code> <text>" or "<time> <pid> <command> -> <answer>"
    const size_t second = line.find(' ', line.find(' ') + 1);
    const std::string rest = line.substr(second + 1);
    if (rest.rfind("report ", 0) == 0)
      reports_.push_back(rest.substr(7));
    else
      pendingAnswers_.push_back(line);
  }
  return true;
}

Tool::Reply Tool::reply(int ms)
{
  if (!answersWithin(ms)) {
    ADD_FAILURE() << "no answer from vl-locktool " << pid_ << " within " << ms << " ms";
    return {};
  }
  const std::string line = pendingAnswers_.front();
  pendingAnswers_.erase(pendingAnswers_.begin());
  Reply r;
  r.at = atof(line.c_str());
  const size_t arrow = line.find(" -> ");
  r.answer = arrow == std::string::npos ? line : line.substr(arrow + 4);
  return r;
}

Tool::Reply Tool::run(const std::string& command)
{
  send(command);
  return reply();
}

void Tool::kill9()
{
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

}  // namespace locktest
