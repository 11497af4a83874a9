// lockint.h -- what the lock layer's files share among themselves.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <string>

#include "locks.hpp"

namespace vl {

// One file in the descriptor pool: keyed by the full device and inode, so
// that two files never share a row.  The section nesting counts live here,
// shared by every area of this process on the file, because the kernel's
// lock on bytes 0 and 1 is one per process and file.
struct VlnFileNode {
  dev_t dev = 0;
  ino_t ino = 0;
  int opens = 0;     // opens still in use; the row is freed at 0
  int Read = 0;      // read section nesting
  int Write = 0;     // write section nesting
  int idxShared = 0; // index opens of this process in shared mode
  bool idxExcl = false; // an index open of this process holds it exclusive
  std::string name;  // as given to the first open, for traces
};

// ---- Tracing (lockprim.cpp). ----

// Whether the trace level asks for entries of this level (-1 traces all).
bool lockTraceAt(int level);
// Format and pass to printLockError.
void lockTrace(int fd, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

// ---- The one place that maps errno (lockreport.cpp). ----

// The error code of a failed lock: 327 for ENOLCK, else 347.
int lockErrorCode(int err);
// Whether err means another process holds a conflicting lock.
bool lockIsConflict(int err);
// Report a failed section lock or unlock of area: what is the operation
// text ("while trying to set read lock" ...).
void lockReportSection(VlnLockArea* area, const char* method, const char* what,
                       int err);
// Report a failed lock with a text made of format ("%s...%d") from what
// and err.
void lockReportFailure(VlnLockArea* area, const char* method, const char* format,
                       const char* what, int err);
// The file name of area for messages.
const char* lockAreaName(const VlnLockArea* area);

// ---- Keeping the file position (lockprim.cpp). ----

// Saves the position of fd and puts it back when it goes out of scope.
class FilePosKeeper {
 public:
  explicit FilePosKeeper(int fd) : fd_(fd), pos_(lseek(fd, 0, SEEK_CUR)) {}
  ~FilePosKeeper()
  {
    if (pos_ >= 0) lseek(fd_, pos_, SEEK_SET);
  }
  FilePosKeeper(const FilePosKeeper&) = delete;
  FilePosKeeper& operator=(const FilePosKeeper&) = delete;

 private:
  int fd_;
  off_t pos_;
};

// ---- Pool and chain internals. ----

// The pool row of a pooled descriptor (parked or in use), or null.
VlnFileNode* fdpoolNodeOf(int fd);
// The name under which fd was opened through the pool, or null.
const char* fdpoolNameOf(int fd);
// An index open of this process on the file of pooled descriptor fd, in
// exclusive or shared mode.  The kernel's lock on IDX byte 6 is one per
// process and file, so a second open of the same file by this process
// would silently change or share it: an index held exclusive cannot be
// opened again, and one held at all cannot be opened exclusive.  0 when
// claimed, -1 (nothing claimed) when refused.
int fdpoolClaimIndex(int fd, bool exclusive);
// End a claim made by fdpoolClaimIndex with the same arguments.
void fdpoolReleaseIndex(int fd, bool exclusive);
// In a child after fork: close the inherited descriptors and forget them.
void fdpoolDropAfterFork();
// In a child after fork: detach every linked area (their locks belong to
// the parent).
void lockChainDropAfterFork();
// Head of the list of all linked areas.
VlnLockArea* lockChainHead();
// In a child after fork: the trace starts a new file.
void lockTraceResetAfterFork();

}  // namespace vl
