/*
** lock42.cpp -- the 4.2-compatible lock scheme, used instead of section and
** USE locks when vlnFCNTLcompat42 is set.
**
** Each routine seeks to the position of the old scheme and calls vln_lockf,
** whose range never depends on the file position; so every lock of this
** scheme falls on the first bytes of the file:
**
**   ROUTINE          SEEK         vln_lockf             LOCK IN EFFECT
**   loc42_usedbon    0x3FFFF7FF   try, 1 byte           WR byte 0 (shared use)
**   loc42_usedbexcl  0x3FFFF7FF   try, 1024 bytes       WR bytes 0..1023
**   loc42_rdlock     0x3FFFFC00   wait, 1 byte          byte 0 taken, let go
**   loc42_wrlock     0x3FFFFC00   wait, whole file      WR 0..0x7FFFFFFE
**   loc42_rwulock    0x3FFFFC00   unlock, whole file    see below
**
** All end by seeking the file back to 0.  The scheme is single-user in
** effect: a second shared open fails on byte 0, and a write section waits
** for every record lock of other processes.
**
** Letting go of the whole file would also drop this process's own USE byte
** and its record and file locks while the lock lists still show them, and
** another process could then write a record this one believes locked.  So
** the unlocks here let go of the requested range except the bytes that the
** areas on this file still hold.
*/
#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "lockint.h"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr off_t kUseSeek = 0x3FFFF7FF;
constexpr off_t kUseSeekLast = 0x3FFFFBFF;
constexpr off_t kSectionSeek = 0x3FFFFC00;
constexpr off_t kReadSeekFirst = 0x3FFFFC01;
constexpr off_t kReadSeekWrap = 0x40000000;
constexpr long kWholeFile = 0x7FFFFFFF;
constexpr long kExclUseLen = 1024;
constexpr const char* kSharedWhat = "while trying to open non exclusive";
constexpr const char* kExclWhat = "while trying to open exclusive";

enum { kUnlock = 0, kLockWait = 1, kTry = 2 };

using Range = std::pair<long long, long long>;  // [first, end)

bool seekTo(int fd, off_t pos)
{
  return lseek(fd, pos, SEEK_SET) == pos;
}

void reportSeek(VlnLockArea* a, const char* what)
{
  vlnLockReport(a, "Init()", VL_E_FILE_STATUS, VL_SEV_IO, what);
}

// Seek back to 0; a failure is reported when the routine names its words.
int endAtZero(VlnLockArea* a, int result, const char* what)
{
  if (!seekTo(a->fd, 0) && what) reportSeek(a, what);
  return result;
}

// What the areas of this process on the file hold and must keep.
std::vector<Range> heldRanges(const VlnLockArea* a)
{
  std::vector<Range> held;
  const VlnLockArea* p = a;
  do {
    if (p->status & VLN_LKST_OPEN)
      held.emplace_back(0, (p->status & VLN_LKST_EXCL) ? kExclUseLen : 1);
    if (p->status & VLN_LKST_FLOCKED)
      held.emplace_back(VLN_FLOCK_START, (long long)VLN_FLOCK_START + VLN_FLOCK_LEN);
    for (int i = 0; i < p->lockcount; ++i) {
      const long long start = p->headerlen + (long long)(p->locks[i] - 1) * p->reclen;
      held.emplace_back(start, start + p->reclen);
    }
    p = p->ring;
  } while (p != a);
  std::sort(held.begin(), held.end());
  return held;
}

// Unlock [0, len) except the held ranges.
int releaseKeeping(VlnLockArea* a, long long len)
{
  int ret = 0;
  long long from = 0;
  for (const Range& r : heldRanges(a)) {
    if (r.first > from && vlnFCNTLlock(F_SETLK, F_UNLCK, from, r.first - from, a->fd, nullptr) != 0)
      ret = -1;
    from = std::max(from, r.second);
  }
  if (from < len && vlnFCNTLlock(F_SETLK, F_UNLCK, from, len - from, a->fd, nullptr) != 0) ret = -1;
  return ret;
}

}  // namespace

int vl::loc42_usedbon(VlnLockArea* area)
{
  for (off_t pos = kUseSeek; pos <= kUseSeekLast; ++pos) {
    if (!seekTo(area->fd, pos)) {
      reportSeek(area, kSharedWhat);
      return endAtZero(area, -1, kSharedWhat);
    }
    if (vln_lockf(area->fd, kTry, 1) == 0) return endAtZero(area, 0, kSharedWhat);
  }
  return endAtZero(area, -1, kSharedWhat);
}

int vl::loc42_usedbexcl(VlnLockArea* area)
{
  seekTo(area->fd, kUseSeek);
  const int ret = vln_lockf(area->fd, kTry, kExclUseLen) == 0 ? 0 : -2;
  return endAtZero(area, ret, kExclWhat);
}

int vl::loc42_rdlock(VlnLockArea* area)
{
  seekTo(area->fd, kSectionSeek);
  if (vln_lockf(area->fd, kLockWait, 1) != 0) return endAtZero(area, -1, nullptr);
  // The old scheme searched for a free byte here; every try names byte 0,
  // which this process now holds, so one pass is always enough.
  for (off_t pos = kReadSeekFirst; pos < kReadSeekWrap; ++pos) {
    seekTo(area->fd, pos);
    if (vln_lockf(area->fd, kTry, 1) == 0) break;
  }
  seekTo(area->fd, kSectionSeek);
  releaseKeeping(area, 1);
  return endAtZero(area, 0, nullptr);
}

int vl::loc42_wrlock(VlnLockArea* area)
{
  seekTo(area->fd, kSectionSeek);
  if (vln_lockf(area->fd, kLockWait, 0) == 0) return endAtZero(area, 0, nullptr);
  const int err = vlnFCNTLerrno;
  lockReportFailure(area, "Init()", "%s;errno = %d", "while trying to set write lock", err);
  vlnFCNTLerrno = err;
  return endAtZero(area, -1, nullptr);
}

int vl::loc42_rwulock(VlnLockArea* area)
{
  seekTo(area->fd, kSectionSeek);
  const int ret = releaseKeeping(area, kWholeFile);
  return endAtZero(area, ret, nullptr);
}
