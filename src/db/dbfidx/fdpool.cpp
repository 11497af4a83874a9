/*
** fdpool.cpp -- the descriptor pool: owner of every DBF and IDX descriptor.
**
** The kernel drops all of a process's locks on a file as soon as any of the
** process's descriptors on that file is closed.  So a descriptor is never
** closed while the file has another open in this process: it is parked, and
** an open of the same file with the same mode takes it again.
**
**   paxNodes  one row per distinct file: full device and inode, number of
**             opens in use (the row is freed at 0), the section nesting
**             counts of the file, how this process holds it as an index,
**             the name of the first open
**   paxFDs    one row per descriptor: fd (-1 when the row is free), its
**             file row, its open mode, whether an open uses it
**
** Two opens at the same time have two rows and two descriptors (two file
** positions); an open after a close reuses the parked descriptor.  When the
** last open of a file ends, all its descriptors close together.
** Descriptors are close-on-exec, so that programs started by RUN never hold
** a table.  File rows are allocated one by one and never move, so that an
** area may point at its row.
**
** The file functions' handles (FOPEN, FCREATE, LOADLANG) are opens of the
** pool too: the files layer's handle hooks point here from start-up, so a
** program that FOPENs and FCLOSEs a table it has open keeps its locks.
*/
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "files.hpp"
#include "kernel.h"
#include "lockint.h"
#include "vlerror.h"

using namespace vl;

namespace {

struct FdRow {
  int fd = -1;
  VlnFileNode* node = nullptr;
  int mode = 0;
  bool inUse = false;
  bool handle = false;  // in use by the file functions, not by a table
};

constexpr mode_t kCreateMode = 0666;

std::vector<std::unique_ptr<VlnFileNode>> paxNodes;
std::vector<FdRow> paxFDs;

VlnFileNode* nodeFor(dev_t dev, ino_t ino, const char* name)
{
  std::unique_ptr<VlnFileNode>* free = nullptr;
  for (auto& n : paxNodes) {
    if (n && n->dev == dev && n->ino == ino) return n.get();
    if (!n && !free) free = &n;
  }
  if (!free) free = &paxNodes.emplace_back();
  *free = std::make_unique<VlnFileNode>();
  (*free)->dev = dev;
  (*free)->ino = ino;
  (*free)->name = name;
  return free->get();
}

void freeNode(VlnFileNode* node)
{
  for (auto& n : paxNodes)
    if (n.get() == node) n.reset();
}

// A parked descriptor of the file open with mode, or -1.  One of another
// mode cannot serve; a table's open is warned of a table's such descriptor
// (a handle's mode says nothing about how the tables are opened).
int diFindFreeFD(ino_t ino, dev_t dev, int mode, bool handle)
{
  for (size_t i = 0; i < paxFDs.size(); ++i) {
    const FdRow& r = paxFDs[i];
    if (r.inUse || r.fd < 0 || r.node->dev != dev || r.node->ino != ino) continue;
    if (r.mode == mode) return static_cast<int>(i);
    if (!handle && !r.handle)
      rt_error(VL_E_DEV_WARNING,
               "using an additional file descriptor;for already opened file;since open mode differs");
  }
  return -1;
}

FdRow& freeRow()
{
  for (FdRow& r : paxFDs)
    if (r.fd < 0 && !r.inUse) return r;
  return paxFDs.emplace_back();
}

int rowOf(int fd)
{
  for (size_t i = 0; i < paxFDs.size(); ++i)
    if (paxFDs[i].fd == fd && fd >= 0) return static_cast<int>(i);
  return -1;
}

void takeRow(FdRow& row, const char* name, char* buffer, bool handle)
{
  row.inUse = true;
  row.handle = handle;
  ++row.node->opens;
  if (buffer) snprintf(buffer, VLN_LOCK_NAME_SIZE, "%s", name);
}

// Take a parked row again, at position 0.
int reuse(FdRow& row, const char* name, char* buffer, bool handle)
{
  lseek(row.fd, 0, SEEK_SET);
  takeRow(row, name, buffer, handle);
  return row.fd;
}

// End the open of a row in use.  With the file's last open, every
// descriptor of the file closes and the rows are freed.
int endOpen(FdRow& row)
{
  row.inUse = false;
  VlnFileNode* node = row.node;
  if (--node->opens > 0) {
    if (row.fd < 0) row = FdRow{};
    return 0;
  }
  int result = 0;
  for (FdRow& r : paxFDs) {
    if (r.node != node) continue;
    if (r.fd >= 0 && close(r.fd) != 0) result = -1;
    r = FdRow{};
  }
  freeNode(node);
  return result;
}

// The kernel has handed out fd anew, so a row still naming it was closed
// behind the pool's back (close(2) on a handle): forget the row, without
// closing the number, which is now the new descriptor's.
void forgetStale(int fd)
{
  const int i = rowOf(fd);
  if (i < 0) return;
  FdRow& row = paxFDs[i];
  row.fd = -1;
  if (row.inUse)
    endOpen(row);
  else
    row = FdRow{};
}

// Open a new descriptor and give it a row.
int openNew(const char* name, char* buffer, int mode, int perm, bool handle)
{
  const int fd = open(name, mode | O_CLOEXEC, perm);
  if (fd < 0) return -1;
  struct stat st;
  if (fstat(fd, &st) != 0) {
    const int err = errno;
    close(fd);
    errno = err;
    return -1;
  }
  forgetStale(fd);
  VlnFileNode* node = nodeFor(st.st_dev, st.st_ino, name);
  FdRow& row = freeRow();
  row.fd = fd;
  row.node = node;
  row.mode = mode;
  takeRow(row, name, buffer, handle);
  return fd;
}

}  // namespace

VlnFileNode* vl::fdpoolNodeOf(int fd)
{
  const int i = rowOf(fd);
  return i < 0 ? nullptr : paxFDs[i].node;
}

const char* vl::fdpoolNameOf(int fd)
{
  const VlnFileNode* node = fdpoolNodeOf(fd);
  return node ? node->name.c_str() : nullptr;
}

int vl::fdpoolClaimIndex(int fd, bool exclusive)
{
  VlnFileNode* node = fdpoolNodeOf(fd);
  if (!node) return 0;
  if (node->idxExcl || (exclusive && node->idxShared > 0)) return -1;
  if (exclusive) node->idxExcl = true;
  else ++node->idxShared;
  return 0;
}

void vl::fdpoolReleaseIndex(int fd, bool exclusive)
{
  VlnFileNode* node = fdpoolNodeOf(fd);
  if (!node) return;
  if (exclusive) node->idxExcl = false;
  else if (node->idxShared > 0) --node->idxShared;
}

// The child holds no locks yet, so closing what it inherited costs it
// nothing; its handles stay open, as plain descriptors would.
void vl::fdpoolDropAfterFork()
{
  for (auto& n : paxNodes)
    if (n) n->opens = n->Read = n->Write = n->idxShared = 0, n->idxExcl = false;
  for (FdRow& r : paxFDs) {
    if (r.inUse && r.handle) {
      ++r.node->opens;
      continue;
    }
    if (r.fd >= 0) close(r.fd);
    r = FdRow{};
  }
  for (auto& n : paxNodes)
    if (n && n->opens == 0) n.reset();
}

int vl::diOpenFile(const char* name, char* buffer, int mode)
{
  struct stat st;
  if (!name || !*name || stat(name, &st) != 0) return -1;
  const int parked = diFindFreeFD(st.st_ino, st.st_dev, mode, false);
  if (parked < 0) return openNew(name, buffer, mode, kCreateMode, false);
  return reuse(paxFDs[parked], name, buffer, false);
}

int vl::diCloseFile(int fd)
{
  const int i = rowOf(fd);
  if (i < 0) return close(fd);
  FdRow& row = paxFDs[i];
  if (!row.inUse) {  // parked: this open was already closed
    errno = EBADF;
    return -1;
  }
  return endOpen(row);
}

int vl::diOpenHandle(const char* path, int flags, int perm)
{
  flags &= ~O_CLOEXEC;
  const bool exclusive = (flags & (O_CREAT | O_EXCL)) == (O_CREAT | O_EXCL);
  struct stat st;
  if (exclusive || stat(path, &st) != 0) return openNew(path, nullptr, flags, perm, true);
  const int parked = diFindFreeFD(st.st_ino, st.st_dev, flags, true);
  if (parked < 0) return openNew(path, nullptr, flags, perm, true);
  FdRow& row = paxFDs[parked];
  if ((flags & O_TRUNC) && ftruncate(row.fd, 0) != 0) return -1;
  return reuse(row, path, nullptr, true);
}

int vl::diCloseHandle(int fd)
{
  const int i = rowOf(fd);
  if (i < 0) return close(fd);
  FdRow& row = paxFDs[i];
  if (!row.inUse || !row.handle) {  // given back already, or a table's
    errno = EBADF;
    return -1;
  }
  return endOpen(row);
}

VLN_INIT(fdpool, 10)
{
  vlnHandleOpen = diOpenHandle;
  vlnHandleClose = diCloseHandle;
}
