/*
** locktrace.cpp -- the lock trace file "<pid>.errlog".
**
** With vlnFCNTLprot non-zero, lock failures (and, at higher levels, every
** lock call) append a line to "<vlnAppPid>.errlog" in the current
** directory:
**
**   <date time> fd=<fd>, <file name> (<caller>/<line> -> <proc>/<line>): <text>
**
** The first entry of a process is preceded by a heading and a listing of
** every lock in the system.  Entries about a file are followed by the locks
** held on it and on its siblings (<name>.db?, <name>.idx); entries with a
** negative fd by the locks of every *.db? and *.idx in its directory.  The
** listings come from /proc/locks, read directly; lines of the USE range
** (one per user and table) are left out, and a system without /proc/locks
** simply gets the text lines.  A /proc/locks line names the file by
** device and inode, which are matched against the candidates' stat.
*/
#include <dirent.h>
#include <fnmatch.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <time.h>

#include <sstream>
#include <string>
#include <vector>

#include "lockint.h"
#include "vlerror.h"

using namespace vl;

void (*vl::vlnLockTraceAreas)(FILE* log) = nullptr;

namespace {

constexpr const char* kProcLocks = "/proc/locks";
constexpr const char* kUnknownName = "??.db";

bool gStarted = false;   // heading written for this process
bool gListings = false;  // /proc/locks could be read
int gLastFd = 0;
std::string gLastName;

struct Candidate {
  dev_t dev;
  ino_t ino;
  std::string name;
};

std::string logName()
{
  return std::to_string(vlnAppPid) + ".errlog";
}

bool inUseRange(long long start)
{
  return start >= VLN_LOCK_BASE - VLN_USE_GATE_BACK &&
         start < VLN_LOCK_BASE - VLN_USE_GATE_BACK + VLN_USE_RANGE_LEN;
}

// One /proc/locks line: "n: [-> ]POSIX ADVISORY WRITE pid maj:min:ino start end".
bool parseLockLine(const std::string& line, dev_t* dev, ino_t* ino, long long* start)
{
  std::istringstream in(line);
  std::string word, id;
  std::vector<std::string> words;
  while (in >> word)
    if (word != "->") words.push_back(word);
  if (words.size() < 7) return false;
  unsigned major = 0, minor = 0;
  unsigned long long inode = 0;
  if (sscanf(words[5].c_str(), "%x:%x:%llu", &major, &minor, &inode) != 3) return false;
  *dev = makedev(major, minor);
  *ino = static_cast<ino_t>(inode);
  *start = atoll(words[6].c_str());
  return true;
}

// Every lock line (all of them when files is null), each followed by the
// name of its file.  False when /proc/locks cannot be read.
bool listLocks(FILE* log, const std::vector<Candidate>* files)
{
  FILE* in = fopen(kProcLocks, "re");
  if (!in) return false;
  char buf[512];
  while (fgets(buf, sizeof buf, in)) {
    std::string line(buf, strcspn(buf, "\n"));
    if (!files) {
      fprintf(log, "%s\n", line.c_str());
      continue;
    }
    dev_t dev;
    ino_t ino;
    long long start;
    if (!parseLockLine(line, &dev, &ino, &start) || inUseRange(start)) continue;
    for (const Candidate& c : *files)
      if (c.dev == dev && c.ino == ino) fprintf(log, "%s  %s\n", line.c_str(), c.name.c_str());
  }
  fclose(in);
  return true;
}

// Files of dir whose names match one of patterns.
std::vector<Candidate> candidates(const std::string& dir, const std::vector<std::string>& patterns)
{
  std::vector<Candidate> out;
  DIR* d = opendir(dir.empty() ? "." : dir.c_str());
  if (!d) return out;
  while (struct dirent* e = readdir(d)) {
    for (const std::string& p : patterns) {
      if (fnmatch(p.c_str(), e->d_name, 0) != 0) continue;
      const std::string path = dir + e->d_name;
      struct stat st;
      if (stat(path.c_str(), &st) == 0) out.push_back({st.st_dev, st.st_ino, path});
      break;
    }
  }
  closedir(d);
  return out;
}

// The locks that concern the entry: of the directory (fd negative) or of the
// file and its siblings.
void listFor(FILE* log, int fd, const std::string& name)
{
  const size_t slash = name.rfind('/');
  const std::string dir = slash == std::string::npos ? "" : name.substr(0, slash + 1);
  if (fd < 0 || name.find(kUnknownName) != std::string::npos) {
    const std::string where = name.find(kUnknownName) != std::string::npos ? "" : dir;
    const std::vector<Candidate> files = candidates(where, {"*.db?", "*.idx"});
    listLocks(log, &files);
    return;
  }
  std::string base = name.substr(dir.size());
  const size_t dot = base.rfind('.');
  if (dot != std::string::npos) base.erase(dot);
  const std::vector<Candidate> files = candidates(dir, {base + ".db?", base + ".idx"});
  listLocks(log, &files);
}

// The name of the file open on fd: an area's table, else the pool's name.
std::string nameOfFd(int fd)
{
  for (VlnLockArea* a = lockChainHead(); a; a = a->next)
    if (a->fd == fd) return lockAreaName(a);
  const char* pooled = fd > 0 ? fdpoolNameOf(fd) : nullptr;
  return pooled ? pooled : "??.dbf";
}

void startLog(const std::string& path)
{
  gStarted = true;
  FILE* f = fopen(path.c_str(), "ae");
  if (!f) return;
  fprintf(f, "Pid=%d vlnRetryFcntlSec=%d  vlnFCNTLprot=%d vlnFCNTLlockfOnly=%d\n\n", vlnAppPid,
          vlnRetryFcntlSec, vlnFCNTLprot, vlnFCNTLlockfOnly);
  gListings = listLocks(f, nullptr);
  fclose(f);
}

void writeEntry(FILE* f, int fd, const std::string& name, const char* text)
{
  char stamp[32];
  const time_t now = time(nullptr);
  struct tm tm;
  strftime(stamp, sizeof stamp, "%Y/%m/%d %H:%M:%S", localtime_r(&now, &tm));
  fprintf(f, "%s fd=%d, %s (", stamp, fd, name.c_str());
  const char* caller = vln_proc_name(1);
  if (caller && *caller) fprintf(f, "%s/%d -> ", caller, vln_proc_line(1));
  const char* proc = vln_proc_name(0);
  fprintf(f, "%s/%d", proc ? proc : "", vln_proc_line(0));
  fprintf(f, "): %s\n", text);
}

}  // namespace

void vl::lockTraceResetAfterFork()
{
  gStarted = false;
  gLastFd = 0;
  gLastName.clear();
}

int vl::printLockError(const char* text, int fd)
{
  if (vlnFCNTLprot == 0) return 0;
  const std::string path = logName();
  if (!gStarted) startLog(path);
  FILE* f = fopen(path.c_str(), "ae");
  if (!f) {
    fprintf(stderr, "\n--cannot open file %s --\n", path.c_str());
    return 0;
  }
  const int afd = abs(fd);
  const std::string name = nameOfFd(afd);
  // The slot search of a shared open would flood the log with one entry per
  // slot of a file no area owns yet.
  const bool repeat = afd == gLastFd && name == gLastName &&
                      name.find(kUnknownName) != std::string::npos &&
                      strstr(text, "setExclRlock") != nullptr;
  if (!repeat) {
    gLastFd = afd;
    gLastName = name;
    writeEntry(f, fd, name, text);
    if (gListings && (fd < 0 || (fd > 0 && !name.empty()))) listFor(f, fd, name);
    if (vlnFCNTLprotDbf && vlnLockTraceAreas) vlnLockTraceAreas(f);
  }
  fclose(f);
  return 0;
}
