/*
** lockprim.cpp -- the fcntl wrapper and the primitives built directly on it.
**
** vlnFCNTLlock is the only place in the library that calls fcntl for a
** lock.  Every request is made from the start of the file (l_whence 0) and
** carries this process's id in l_pid.
**
** The dead-lock ladder.  The kernel answers EDEADLK to the waiting request
** that would close a cycle of waiters.  Such a request is retried: the first
** EDEADLK sleeps one second, the next four retry at once, the fifth sleeps
** again, and so on until vlnRetryFcntlSec sleeps are spent; then the call
** fails with EDEADLK and the caller takes its dead-lock road.  With
** vlnRetryFcntlSec 0 the first EDEADLK fails at once.  EINTR (a timer tick
** while waiting) retries at once: a signal never ends a wait.
**
** After fork the child is a new lock owner: it takes a fresh vlnAppPid,
** closes the descriptors it inherited through the pool (its locks are not
** inherited; the parent's stay) and starts its own trace file.
*/
#include <errno.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

#include "lockint.h"

using namespace vl;

namespace vl {

int32_t vlnFCNTLprot = 0;
int32_t vlnFCNTLprotDbf = 0;
int32_t vlnRetryFcntlSec = 10;
int32_t vlnFCNTLlockfOnly = 0;
int32_t vlnCanUseFcntlPid = 1;
int32_t vlnAppPid = static_cast<int32_t>(getpid());
int32_t vlnFCNTLerrno = 0;

}  // namespace vl

namespace {

constexpr int kQuickTries = 5;          // EDEADLK retries per second slept
constexpr long kWholeFile = 0x7FFFFFFF; // vln_lockf's length 0

enum LockfFunction { kUnlock = 0, kLockWait = 1, kTry = 2, kTest = 3 };

void afterForkInChild()
{
  vlnAppPid = static_cast<int32_t>(getpid());
  lockChainDropAfterFork();
  fdpoolDropAfterFork();
  lockTraceResetAfterFork();
}

[[maybe_unused]] const int kForkHookInstalled =
    pthread_atfork(nullptr, nullptr, afterForkInChild);

void fillRecord(struct flock& fl, int type, long start, long len)
{
  fl = {};
  fl.l_type = static_cast<short>(type);
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = len;
  fl.l_pid = vlnAppPid;
}

void traceEntry(int cmd, int type, long start, long len, int fd)
{
  const bool wide = start != 0 || len >= 2 || type == F_UNLCK;
  if (wide && lockTraceAt(7))
    lockTrace(0, "vlnFCNTLlock(%d,%d, %d,%d, %d,...)", cmd, type, (int)start,
              (int)len, fd);
  else if (vlnFCNTLprot == -2)
    lockTrace(0, "vlnFCNTLlock(%d,%d, %d,%d, %d,...) : len = %d", cmd, type,
              (int)start, (int)len, fd, (int)len);
}

// The last word on a dead lock: who holds the range.
void traceFinalDeadlock(int cmd, int type, long start, long len, int fd,
                        int secs, int ret, int err)
{
  struct flock probe;
  fillRecord(probe, type, start, len);
  fcntl(fd, F_GETLK, &probe);
  lockTrace(0,
            "vlnFCNTLlock(%d,%d, %d,%d, %d,...) : retrySec=%d FINAL DEADLOCK "
            "ERROR ret=%d, errno=%d"
            "\n   type=%d flock.l_type=%d, flock.l_whence=%d, flock.l_pid=%d, "
            "flock.l_start=%d",
            cmd, type, (int)start, (int)len, fd, secs, ret, err, type,
            probe.l_type, probe.l_whence, (int)probe.l_pid,
            (int)probe.l_start);
}

}  // namespace

bool vl::lockTraceAt(int level)
{
  return vlnFCNTLprot == -1 || vlnFCNTLprot >= level;
}

void vl::lockTrace(int fd, const char* fmt, ...)
{
  char text[1024];
  va_list ap;
  va_start(ap, fmt);
  vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  printLockError(text, fd);
}

int vl::vlnFCNTLlock(int cmd, int type, long start, long len, int fd,
                            struct flock* out)
{
  traceEntry(cmd, type, start, len, fd);
  struct flock fl;
  int ret;
  int tries = 0;
  int secs = 0;
  for (;;) {
    fillRecord(fl, type, start, len);
    errno = 0;
    ret = fcntl(fd, cmd, &fl);
    if (ret == -1 && errno == EDEADLK) {
      if (tries % kQuickTries != 0) {
        ++tries;
        continue;
      }
      if (vlnFCNTLprot != 0)
        lockTrace(0, "vlnFCNTLlock(%d,%d, %d,%d, %d,...) : retrySec=%d ret=%d, errno=%d",
                  cmd, type, (int)start, (int)len, fd, secs, ret, EDEADLK);
      if (secs < vlnRetryFcntlSec) {
        sleep(1);
        ++tries;
        ++secs;
        continue;
      }
    } else if (ret == -1 && errno == EINTR) {
      continue;
    }
    break;
  }
  const int err = errno;
  if (ret == -1 && err == EDEADLK && vlnFCNTLprot != 0)
    traceFinalDeadlock(cmd, type, start, len, fd, secs, ret, err);
  if (out) *out = fl;
  errno = err;
  if (ret == -1) {
    vlnFCNTLerrno = err;
    return -1;
  }
  return 0;
}

int vl::vln_lockf(int fd, int function, long length)
{
  static const struct {
    int cmd;
    int type;
  } kFunctions[] = {{F_SETLK, F_UNLCK}, {F_SETLKW, F_WRLCK}, {F_SETLK, F_WRLCK},
                    {F_GETLK, F_WRLCK}};
  if (lockTraceAt(7))
    lockTrace(0, "vln_lockf(%d, %d, %d) vlnFCNTLlockfOnly = %d", fd, function,
              (int)length, vlnFCNTLlockfOnly);
  if (function < kUnlock || function > kTest) {
    vlnFCNTLerrno = EINVAL;
    return -1;
  }
  long start = 0;
  long len = length == 0 ? kWholeFile : length;
  if (length < 0) {
    lseek(fd, 0, SEEK_SET);
    start = length + 1 < 0 ? 0 : length + 1;
    len = -length;
  }
  struct flock fl;
  const int ret = vlnFCNTLlock(kFunctions[function].cmd, kFunctions[function].type,
                               start, len, fd, &fl);
  if (ret == 0 && function == kTest && fl.l_type != F_UNLCK) {
    vlnFCNTLerrno = EACCES;
    return -1;
  }
  return ret;
}

int vl::canSetWlock(int fd, long start, long len)
{
  struct flock fl;
  const int ret = vlnFCNTLlock(F_GETLK, F_WRLCK, start, len, fd, &fl);
  if (ret == 0 && fl.l_type == F_UNLCK) return 0;
  if (lockTraceAt(4))
    lockTrace(fd,
              "canSetWlock() write lock cannot be set, vlnFCNTLlock(F_GETLK,F_WRLCK, "
              "%d,%d, %d,...) : ret=%d, fcst.l_type=%d, fcst.l_pid=%d, errno=%d",
              (int)start, (int)len, fd, ret, fl.l_type, (int)fl.l_pid, errno);
  return -1;
}

int vl::setExclRlock(int fd, long start, long len)
{
  int ret = vlnFCNTLlock(F_SETLK, F_RDLCK, start, len, fd, nullptr);
  if (ret != 0) {
    if (lockTraceAt(3))
      lockTrace(fd,
                "setExclRlock() cannot set RDLCK, vlnFCNTLlock(F_SETLK,F_RDLCK,%d,%d,"
                "%d,0) : ret=%d, errno=%d",
                (int)start, (int)len, fd, ret, vlnFCNTLerrno);
    return -1;
  }
  if (canSetWlock(fd, start, len) == 0) return 0;
  ret = vlnFCNTLlock(F_SETLK, F_UNLCK, start, len, fd, nullptr);
  if (lockTraceAt(3))
    lockTrace(fd,
              "setExclRlock() WRLCK cannot be set, unlocking RDLCK vlnFCNTLlock("
              "F_SETLK,F_UNLCK,%d,%d,%d,0) : ret=%d, errno=%d",
              (int)start, (int)len, fd, ret, errno);
  vlnFCNTLerrno = EAGAIN;  // another process holds part of the range
  return -1;
}
