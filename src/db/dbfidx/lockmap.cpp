/*
** lockmap.cpp -- the named places of the lock byte map (see locks.h): the
** section bytes 0 and 1, the USE gate and slots, the IDX open byte, and the
** probe of who holds the section.
**
** Every routine here keeps the file position: it is saved on entry and put
** back on every path.
**
** Shared USE.  The gate (base-1033) is read-locked and tested: if another
** process holds it, that process is opening exclusively or holds the whole
** range, and the open fails with no slot taken.  The gate is released at
** once and the first free slot of 1018 (base-1027 .. base-10) is taken and
** kept while the table is open.  Exclusive USE read-locks the gate and all
** slots (1031 bytes) and keeps them only if no other process holds any of
** them.  Two opens racing may both fail (each sees the other's passing
** lock); incompatible opens never both succeed.
*/
#include <errno.h>
#include <fcntl.h>

#include "lockint.h"

using namespace vl;

namespace {

enum { kByteCount = 2 };

const char* typeName(int type)
{
  return type == F_WRLCK ? "F_WRLCK" : "F_RDLCK";
}

void traceSectionFailure(int fd, const char* who, const char* cmd, const char* type,
                         int ret, const struct flock& fl)
{
  if (vlnCanUseFcntlPid)
    lockTrace(fd,
              "%s() error from vlnFCNTLlock(%s,%s, 0,2, %d,...) : ret=%d, "
              "fcst.l_pid==%d ? vlnAppPid=%d, errno=%d",
              who, cmd, type, fd, ret, (int)fl.l_pid, vlnAppPid, vlnFCNTLerrno);
  else
    lockTrace(fd, "%s() error from vlnFCNTLlock(%s,%s, 0,2, %d,...) : ret=%d, errno=%d",
              who, cmd, type, fd, ret, vlnFCNTLerrno);
}

// Section lock of the given type: wait for it; if the wait fails, try once
// more without waiting, and call a conflict then a dead lock.
int sectionLock(int fd, int type, const char* who)
{
  FilePosKeeper keep(fd);
  struct flock fl;
  int ret = vlnFCNTLlock(F_SETLKW, type, VLN_SECTION_START, VLN_SECTION_LEN, fd, &fl);
  if (ret == 0) return 0;
  traceSectionFailure(fd, who, "F_SETLKW", typeName(type), ret, fl);
  ret = vlnFCNTLlock(F_SETLK, type, VLN_SECTION_START, VLN_SECTION_LEN, fd, &fl);
  const int real = vlnFCNTLerrno;
  if (ret != 0 && lockIsConflict(real)) vlnFCNTLerrno = EDEADLK;
  lockTrace(-fd, "%s() retry by vlnFCNTLlock(F_SETLK,%s, 0,2, %d,...) : ret=%d, errno=%d -> %d",
            who, typeName(type), fd, ret, real, ret != 0 ? (int)vlnFCNTLerrno : 0);
  return ret == 0 ? 0 : -1;
}

// Probe one range for a holder: a write-lock test, then a read-lock test.
int probeHolder(int fd, long start, long len, int* type, int* pid)
{
  struct flock fl;
  int ret = vlnFCNTLlock(F_GETLK, F_WRLCK, start, len, fd, &fl);
  if (ret != 0 || fl.l_type == F_UNLCK)
    ret = vlnFCNTLlock(F_GETLK, F_RDLCK, start, len, fd, &fl);
  if (ret != 0) return -1;
  *type = fl.l_type;
  *pid = static_cast<int>(fl.l_pid);
  return 0;
}

int indexLock(int fd, long base, int type, const char* who)
{
  FilePosKeeper keep(fd);
  if (vlnFCNTLlock(F_SETLK, type, VLN_IDX_LOCK_BYTE, 1, fd, nullptr) == 0) return 0;
  lockTrace(fd, "%s(%d,%d)", who, fd, (int)base);
  return -1;
}

}  // namespace

int vl::diReadLock(int fd)
{
  return sectionLock(fd, F_RDLCK, "diReadLock");
}

int vl::diWriteLock(int fd)
{
  return sectionLock(fd, F_WRLCK, "diWriteLock");
}

int vl::diUnlock(int fd)
{
  FilePosKeeper keep(fd);
  struct flock fl;
  const int ret = vlnFCNTLlock(F_SETLK, F_UNLCK, VLN_SECTION_START, VLN_SECTION_LEN, fd, &fl);
  if (ret == 0) return 0;
  traceSectionFailure(fd, "diUnlock", "F_SETLK", "F_UNLCK", ret, fl);
  return -1;
}

int vl::diLockShared(int fd, long base)
{
  FilePosKeeper keep(fd);
  const long gate = base - VLN_USE_GATE_BACK;
  if (setExclRlock(fd, gate, 1) != 0) {
    if (lockTraceAt(2))
      lockTrace(fd, "diLockShared(%d,%d) error from setExclRlock(%d,%d,%d) : ret=%d, errno=%d",
                fd, (int)base, fd, (int)gate, 1, -1, vlnFCNTLerrno);
    return -1;
  }
  const int ret = vlnFCNTLlock(F_SETLK, F_UNLCK, gate, 1, fd, nullptr);
  if (ret != 0 && lockTraceAt(2))
    lockTrace(fd, "diLockShared(%d,%d) error from vlnFCNTLlock(F_SETLK,F_UNLCK, %d,1,%d,0) : "
              "ret=%d, errno=%d",
              fd, (int)base, (int)gate, fd, ret, vlnFCNTLerrno);
  const long first = base - VLN_USE_FIRST_SLOT_BACK;
  const long last = base - VLN_USE_LAST_SLOT_BACK;
  for (long slot = first; slot <= last; ++slot)
    if (setExclRlock(fd, slot, 1) == 0) return 0;
  if (lockTraceAt(2))
    lockTrace(fd, "diLockShared(%d,%d) no user lock by setExclRlock(%d,%d..%d,%d) : ret=-1, errno=%d",
              fd, (int)base, fd, (int)first, (int)last, 1, vlnFCNTLerrno);
  return -1;
}

int vl::diLockExclusive(int fd, long base)
{
  FilePosKeeper keep(fd);
  const long gate = base - VLN_USE_GATE_BACK;
  if (setExclRlock(fd, gate, VLN_USE_RANGE_LEN) == 0) return 0;
  if (lockTraceAt(2))
    lockTrace(fd, "diLockExclusive(%d,%d) cannot set setExclRlock(%d,%d,%d) : ret=-1, errno=%d",
              fd, (int)base, fd, (int)gate, VLN_USE_RANGE_LEN, vlnFCNTLerrno);
  return -1;
}

int vl::diCheckExclusive(int fd, long base)
{
  FilePosKeeper keep(fd);
  const long gate = base - VLN_USE_GATE_BACK;
  if (canSetWlock(fd, gate, VLN_USE_RANGE_LEN) != 0) return 1;
  // Windows of the same width from every start in the range: they reach past
  // it, so a lock there counts too.
  int conflicts = 0;
  for (long start = gate; start <= base - 3; ++start)
    if (canSetWlock(fd, start, VLN_USE_RANGE_LEN) != 0) ++conflicts;
  return conflicts;
}

int vl::diLockIndexShar(int fd, long base)
{
  return indexLock(fd, base, F_RDLCK, "diLockIndexShar");
}

int vl::diLockIndexExcl(int fd, long base)
{
  // A read-only descriptor cannot take a write lock: its exclusive open is
  // a read lock, which still keeps writers (who open shared) out.
  const int flags = fcntl(fd, F_GETFL);
  const int type = flags >= 0 && (flags & O_ACCMODE) == O_RDONLY ? F_RDLCK : F_WRLCK;
  return indexLock(fd, base, type, "diLockIndexExcl");
}

int vl::diGetLocalLock(int fd, int* type, int* from, int* to, int* pid)
{
  // Last answers per byte; they survive between calls.
  static int sType[kByteCount] = {F_UNLCK, F_UNLCK};
  static int sPid[kByteCount] = {0, 0};
  FilePosKeeper keep(fd);
  for (int b = 0; b < kByteCount; ++b)
    if (probeHolder(fd, b, 1, &sType[b], &sPid[b]) != 0) return -1;
  if (sType[0] == F_UNLCK && sType[1] == F_UNLCK) {
    if (probeHolder(fd, VLN_SECTION_START, VLN_SECTION_LEN, &sType[0], &sPid[0]) != 0) return -1;
    sType[1] = sType[0];
    sPid[1] = sPid[0];
  }
  if (sType[0] == F_UNLCK && sType[1] == F_UNLCK) return 1;
  const bool onlyByte1 = (sType[1] == F_WRLCK && sType[0] != F_WRLCK) ||
                         (sType[0] == F_UNLCK && sType[1] == F_RDLCK);
  if (onlyByte1) {
    *from = *to = 1;
    *type = sType[1];
    *pid = sPid[1];
    return 0;
  }
  *from = 0;
  *type = sType[0];
  *pid = sPid[0];
  *to = sType[0] == sType[1] && sPid[0] == sPid[1] ? 1 : 0;
  return 0;
}
