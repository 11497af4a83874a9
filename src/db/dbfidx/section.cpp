/*
** section.cpp -- the read and write sections around every file access of
** the engine: a lock on DBF bytes 0 and 1 that guards the table and all its
** indexes, and the only lock that waits.
**
** Sections nest by counters; only the outermost level touches the kernel.
** The counters belong to the file's pool node, not to the area: the
** kernel's lock is one per process and file, so two areas on one file
** (a self-relation, a key that reads the other area) share one nesting.
**
**   state            rdlock               wrlock                 release
**   Read=0 Write=0   lock RD, Read=1      lock WR, Write=1       nothing
**   Read=n           Read=n+1             unlock, lock WR,       Read-1; at 0
**                                         Write=n+1, Read=0      unlock
**   Write=n          Write=n+1            Write=n+1              Write-1; at 0
**                                                                unlock
**
** At most one of Read and Write is non-zero after each call.  The upgrade
** from read to write is not atomic: the read lock is given up first, so two
** readers that both upgrade cannot block each other.
**
** Dead locks.  A wait that the kernel refuses with EDEADLK (after the
** ladder of vlnFCNTLlock) takes the avoiding road: the section bytes of
** this file are let go and the write lock is taken instead (a read section
** that gets it is counted as a write section); a write section polls
** without waiting instead, for vlnRetryFcntlSec + 1 tries a second apart.
** If that fails too the failure is reported (347, "(Dead Lock)" in the
** text) and the operation goes on unprotected if the error handler
** returns.
**
** Bit 0 of vlnFCNTLreadwrite off makes read sections count without
** locking, bit 1 the same for write sections.  An exclusive table takes no
** section at all.  The break key is switched off after every real write
** lock and on again after every real unlock (they do not nest).
**
** A report may leave by BREAK: counters are brought up to date and the
** break gate toggled before any report is made.
*/
#include <errno.h>
#include <unistd.h>

#include "kernel.h"
#include "lockint.h"

using namespace vl;

namespace {

constexpr int kReadBit = 1;
constexpr int kWriteBit = 2;
constexpr const char* kReadWhat = "while trying to set read lock";
constexpr const char* kWriteWhat = "while trying to set write lock";

bool isExcl(const VlnLockArea* a)
{
  return a->status & VLN_LKST_EXCL;
}

bool isReadOnly(const VlnLockArea* a)
{
  return a->status & VLN_LKST_READONLY;
}

int takeRead(VlnLockArea* a)
{
  return vlnFCNTLcompat42 ? loc42_rdlock(a) : diReadLock(a->fd);
}

int takeWrite(VlnLockArea* a)
{
  return vlnFCNTLcompat42 ? loc42_wrlock(a) : diWriteLock(a->fd);
}

int dropSection(VlnLockArea* a)
{
  return vlnFCNTLcompat42 ? loc42_rwulock(a) : diUnlock(a->fd);
}

// Let go of bytes 0 and 1 without checks; one at a time if the pair fails.
void unlockSectionBytes(int fd)
{
  if (vlnFCNTLlock(F_SETLK, F_UNLCK, VLN_SECTION_START, VLN_SECTION_LEN, fd, nullptr) == 0)
    return;
  vlnFCNTLlock(F_SETLK, F_UNLCK, 0, 1, fd, nullptr);
  vlnFCNTLlock(F_SETLK, F_UNLCK, 1, 1, fd, nullptr);
}

void traceCounts(const VlnLockArea* a, const char* text)
{
  lockTrace(a->fd, "%s fd=%d, Excl=%d, Read=%d, Write=%d", text, a->fd, isExcl(a) ? 1 : 0,
            a->node->Read, a->node->Write);
}

// Trace the turn onto the dead-lock road; which names the section and the
// lock call that failed.
void traceAvoiding(const VlnLockArea* a, const char* which)
{
  if (vlnFCNTLprot != 0)
    lockTrace(a->fd,
              "%s fd=%d, Excl=%d, Read=%d, Write=%d ---> AVOIDING DEADLOCK on file %s",
              which, a->fd, isExcl(a) ? 1 : 0, a->node->Read, a->node->Write, lockAreaName(a));
}

// The dead-lock road of a read section.  *asWrite tells whether the lock
// taken is a write lock.
int avoidDeadlockOnRead(VlnLockArea* a, bool* asWrite)
{
  traceAvoiding(a, "local_rdlock() after diReadLock()");
  if (vlnFCNTLcompat42) {
    loc42_rwulock(a);
    *asWrite = true;
    return loc42_wrlock(a);
  }
  unlockSectionBytes(a->fd);
  *asWrite = !isReadOnly(a);
  return *asWrite ? diWriteLock(a->fd) : diReadLock(a->fd);
}

// The dead-lock road of a write section: poll instead of waiting, so that
// the kernel sees no cycle.  A poll that still conflicts stays a dead lock.
int avoidDeadlockOnWrite(VlnLockArea* a)
{
  traceAvoiding(a, "local_wrlock() after diWriteLock()");
  if (vlnFCNTLcompat42) {
    loc42_rwulock(a);
    return loc42_wrlock(a);
  }
  unlockSectionBytes(a->fd);
  for (int tries = 1;; ++tries) {
    if (vlnFCNTLlock(F_SETLK, F_WRLCK, VLN_SECTION_START, VLN_SECTION_LEN, a->fd, nullptr) == 0)
      return 0;
    if (tries > vlnRetryFcntlSec) break;
    sleep(1);
  }
  if (lockIsConflict(vlnFCNTLerrno)) vlnFCNTLerrno = EDEADLK;
  return -1;
}

}  // namespace

int vl::local_rdlock2(VlnLockArea* area, const char* method)
{
  VlnFileNode* n = area->node;
  if (isExcl(area)) return 0;
  if (!n) return -1;  // not linked: no table
  if (lockTraceAt(6)) traceCounts(area, "local_rdlock()");
  if (n->Read > 0) return ++n->Read, 0;
  if (n->Write > 0) return ++n->Write, 0;
  if (!(vlnFCNTLreadwrite & kReadBit)) return n->Read = 1, 0;
  bool asWrite = false;
  int ret = takeRead(area);
  if (ret != 0 && vlnFCNTLerrno == EDEADLK) ret = avoidDeadlockOnRead(area, &asWrite);
  if (ret == 0) {
    n->Write = asWrite ? 1 : 0;
    n->Read = asWrite ? 0 : 1;
  }
  if (lockTraceAt(6) || ret != 0)
    lockTrace(area->fd, "local_rdlock() after diReadLock() fd=%d, Excl=%d, Read=%d, Write=%d, file=%s",
              area->fd, 0, n->Read, n->Write, lockAreaName(area));
  if (ret != 0) lockReportSection(area, method, kReadWhat, vlnFCNTLerrno);
  return ret;
}

int vl::local_wrlock2(VlnLockArea* area, const char* method)
{
  VlnFileNode* n = area->node;
  if (isExcl(area)) return 0;
  if (!n) return -1;
  if (n->Write > 0) return ++n->Write, 0;
  if (isReadOnly(area)) return local_rdlock(area);
  if (!(vlnFCNTLreadwrite & kWriteBit)) {
    // No real write lock: the section nests over a read section, if any.
    n->Write = n->Read + 1;
    n->Read = 0;
    return 0;
  }
  if (n->Read > 0) {
    const int ret = dropSection(area);
    if (ret != 0)
      lockTrace(area->fd, "local_wrlock() fd=%d, Excl=%d, Read=%d, Write=%d: could not unlock file %s, ret=%d",
                area->fd, 0, n->Read, n->Write, lockAreaName(area), ret);
  }
  int retry = 0;
  int ret = takeWrite(area);
  if (ret != 0 && vlnFCNTLerrno == EDEADLK) {
    ++retry;
    ret = avoidDeadlockOnWrite(area);
  }
  if (ret == 0) {
    n->Write = n->Read > 0 ? n->Read + 1 : 1;
    n->Read = 0;
  }
  if (lockTraceAt(6) || ret != 0)
    lockTrace(area->fd, "local_wrlock() after diWriteLock() fd=%d, retry=%d Excl=%d, Read=%d, Write=%d",
              area->fd, retry, 0, n->Read, n->Write);
  vln_disable_break();
  if (ret != 0) lockReportSection(area, method, kWriteWhat, vlnFCNTLerrno);
  return ret;
}

int vl::local_rwulock2(VlnLockArea* area, const char* method)
{
  VlnFileNode* n = area->node;
  if (isExcl(area)) return 0;
  if (!n) return -1;
  int ended;
  if (n->Write >= 1) {
    if (--n->Write > 0) return 0;
    ended = kWriteBit;
  } else if (n->Read >= 1) {
    if (--n->Read > 0) return 0;
    ended = kReadBit;
  } else {
    return 0;  // no section open: a failed lock was not counted
  }
  if (!(vlnFCNTLreadwrite & ended)) {
    n->Read = n->Write = 0;
    vlnFCNTLlock(F_SETLK, F_UNLCK, VLN_SECTION_START, VLN_SECTION_LEN, area->fd, nullptr);
    vln_enable_break();
    return 0;
  }
  const int ret = dropSection(area);
  if (lockTraceAt(6)) traceCounts(area, "local_rwulock() after diUnlock()");
  if (ret == 0) n->Read = n->Write = 0;
  vln_enable_break();
  if (ret != 0)
    lockReportFailure(area, method, "%s;errno = %d (see /usr/include/errno.h)",
                      "while trying to unlock", vlnFCNTLerrno);
  return ret;
}

int vl::local_rdlock(VlnLockArea* area)
{
  return local_rdlock2(area, "FieldGet()");
}

int vl::local_wrlock(VlnLockArea* area)
{
  return local_wrlock2(area, "FieldGet()");
}

int vl::local_rwulock(VlnLockArea* area)
{
  return local_rwulock2(area, "Init()");
}

void vl::vlnSectionCounts(const VlnLockArea* area, int* read, int* write)
{
  *read = area->node ? area->node->Read : 0;
  *write = area->node ? area->node->Write : 0;
}
