/*
** lockrec.cpp -- record, file and USE locks of an area; none of them waits.
**
** A record lock covers the record's own bytes, hdrlen + (recno-1) * reclen
** for reclen bytes, and is listed in the area's lock list; a file lock
** covers bytes 32 to 0x7FFFF7F5, leaving the header's first 32 bytes (the
** section) free.  Read-only tables take read locks.  Before the kernel is
** asked, the other areas of this process on the same file are consulted
** (diCheckChain), because the kernel never makes them conflict.
**
** The record map ends where the file lock ends: a record whose bytes would
** reach 0x7FFFF7F6 is refused with error 320 instead of being locked, so
** that a record number can never name the USE bytes or wrap onto another
** record's range.
*/
#include <errno.h>
#include <stdio.h>

#include "errcodes.h"
#include "kernel.h"
#include "lockint.h"

using namespace vl;

namespace {

bool isOpen(const VlnLockArea* a)
{
  return a->status & VLN_LKST_OPEN;
}

bool isFileLocked(const VlnLockArea* a)
{
  return a->status & VLN_LKST_FLOCKED;
}

int lockType(const VlnLockArea* a)
{
  return (a->status & VLN_LKST_READONLY) ? F_RDLCK : F_WRLCK;
}

// First byte of record recno, or -1 when its bytes leave the record map.
long long recordStart(const VlnLockArea* a, int32_t recno)
{
  if (recno < 1 || a->reclen == 0) return -1;
  const long long start = a->headerlen + static_cast<long long>(recno - 1) * a->reclen;
  return start + a->reclen <= VLN_RECORD_MAP_END ? start : -1;
}

int refuseRecord(VlnLockArea* a, int32_t recno)
{
  char text[400];
  snprintf(text, sizeof text, "record %d;its lock bytes lie outside the lock map;%s", recno,
           lockAreaName(a));
  vlnFCNTLerrno = EINVAL;
  vlnLockReport(a, "RLock()", VL_E_ILLEGAL_VALUE, 2, text);
  return -1;
}

}  // namespace

int vl::dbf_rlock(VlnLockArea* area, int32_t recno)
{
  if (!isOpen(area)) return -1;
  const long long start = recordStart(area, recno);
  if (start < 0) return refuseRecord(area, recno);
  if (isFileLocked(area) || diCheckChain(area, VLN_CHK_RLOCK, recno) == 0) return -1;
  const int listed = diAd2LckList(area, recno);
  if (listed != 0) return listed == 1 ? 0 : -1;
  if (vlnFCNTLlock(F_SETLK, lockType(area), start, area->reclen, area->fd, nullptr) == 0)
    return 0;
  diRm2LckList(area, recno);
  return -1;
}

int vl::dbf_rulock(VlnLockArea* area, int32_t recno)
{
  if (!isOpen(area) || isFileLocked(area)) return -1;
  const int removed = diRm2LckList(area, recno);
  if (removed != 0) return removed == 1 ? 0 : -1;
  return vlnFCNTLlock(F_SETLK, F_UNLCK, recordStart(area, recno), area->reclen, area->fd,
                      nullptr);
}

int vl::dbf_flock(VlnLockArea* area)
{
  if (!isOpen(area) || isFileLocked(area) || diCheckChain(area, VLN_CHK_FLOCK, 0) == 0)
    return -1;
  FilePosKeeper keep(area->fd);
  if (vlnFCNTLlock(F_SETLK, lockType(area), VLN_FLOCK_START, VLN_FLOCK_LEN, area->fd,
                   nullptr) != 0)
    return -1;
  area->status |= VLN_LKST_FLOCKED;
  return 0;
}

int vl::dbf_fulock(VlnLockArea* area)
{
  if (!isOpen(area)) return -1;
  if (!isFileLocked(area)) return diReleaseAllLcksList(area);
  if (vlnFCNTLlock(F_SETLK, F_UNLCK, VLN_FLOCK_START, VLN_FLOCK_LEN, area->fd, nullptr) != 0)
    return -1;
  area->status &= ~VLN_LKST_FLOCKED;
  return 0;
}

int vl::diUseDbOn(VlnLockArea* area)
{
  const int ret = vlnFCNTLcompat42 ? loc42_usedbon(area) : diLockShared(area->fd, VLN_LOCK_BASE);
  area->status &= ~VLN_LKST_EXCL;
  return ret;
}

int vl::diUseDbExcl(VlnLockArea* area)
{
  return vlnFCNTLcompat42 ? loc42_usedbexcl(area) : diLockExclusive(area->fd, VLN_LOCK_BASE);
}

int vl::vlnLockUse(VlnLockArea* area)
{
  const uint8_t asked = area->status;
  const bool excl = asked & VLN_LKST_EXCL;
  if (diFileChain(area, VLN_CHAIN_LINK) != 0) return -1;
  const int others = diCheckChain(area, excl ? VLN_CHK_EXCL : VLN_CHK_SHARED, 0);
  int ret = -1;
  if (others != 0) {
    area->status |= VLN_LKST_EXCL;  // sections do nothing while opening
    if (excl) {
      ret = diUseDbExcl(area);
    } else {
      // With another area of this process on the file, its slot serves both.
      ret = others == 2 ? 0 : diUseDbOn(area);
      area->status &= ~VLN_LKST_EXCL;
    }
  }
  if (ret != 0) {
    area->status = asked;
    diFileChain(area, VLN_CHAIN_UNLINK);
    return -1;
  }
  area->status |= VLN_LKST_OPEN;
  return 0;
}

int vl::vlnLockRelease(VlnLockArea* area)
{
  const int ret = isOpen(area) ? dbf_fulock(area) : 0;
  diFileChain(area, VLN_CHAIN_UNLINK);
  if (area->locks) vln_free(area->locks, __FILE__, __LINE__);
  area->locks = nullptr;
  area->lockcount = area->lockcap = 0;
  area->status &= ~(VLN_LKST_OPEN | VLN_LKST_FLOCKED);
  return ret;
}
