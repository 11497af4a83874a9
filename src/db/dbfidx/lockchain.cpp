/*
** lockchain.cpp -- the areas of this process and which of them share a file.
**
** fcntl locks belong to the process, so the kernel never lets two areas of
** one program conflict.  That conflict is modelled here: every linked area
** is on the list of all areas (headed by oRddChainHead) and on the ring of
** the areas open on its file (one pool node: same device and inode).
** diCheckChain walks the ring before a record, file or USE lock is taken.
*/
#include <assert.h>
#include <stdio.h>

#include "errcodes.h"
#include "lockint.h"

using namespace vl;

namespace {

VlnLockArea* oRddChainHead = nullptr;

bool conflicts(const VlnLockArea* other, int kind, int32_t recno)
{
  const bool locked = other->status & VLN_LKST_FLOCKED;
  const bool excl = other->status & VLN_LKST_EXCL;
  switch (kind) {
    case VLN_CHK_RLOCK:
      return locked || excl || diIsRecLocked(const_cast<VlnLockArea*>(other), recno) != 0;
    case VLN_CHK_FLOCK:
      return locked || excl || other->lockcount > 0;
    case VLN_CHK_SHARED:
      return excl;
    default:
      return true;
  }
}

void link(VlnLockArea* area, VlnFileNode* node)
{
  area->node = node;
  VlnLockArea* same = oRddChainHead;
  while (same && same->node != node) same = same->next;
  area->next = oRddChainHead;
  oRddChainHead = area;
  if (same) {
    area->ring = same->ring;
    same->ring = area;
  } else {
    area->ring = area;
  }
}

void unlink(VlnLockArea* area)
{
  for (VlnLockArea** p = &oRddChainHead; *p; p = &(*p)->next)
    if (*p == area) {
      *p = area->next;
      break;
    }
  VlnLockArea* prev = area;
  while (prev->ring != area) prev = prev->ring;
  prev->ring = area->ring;
  area->ring = area;
  area->next = nullptr;
  area->node = nullptr;
}

}  // namespace

VlnLockArea* vl::lockChainHead()
{
  return oRddChainHead;
}

void vl::lockChainDropAfterFork()
{
  for (VlnLockArea* a = oRddChainHead; a;) {
    VlnLockArea* next = a->next;
    a->status = 0;
    a->fd = -1;
    a->lockcount = 0;
    a->ring = a;
    a->next = nullptr;
    a->node = nullptr;
    a = next;
  }
  oRddChainHead = nullptr;
}

void vl::vlnLockAreaInit(VlnLockArea* area)
{
  *area = VlnLockArea{};
  area->fd = -1;
  area->ring = area;
}

int vl::diFileChain(VlnLockArea* area, int how)
{
  if (how == VLN_CHAIN_UNLINK) {
    if (area->node) unlink(area);  // linked areas have a node
    return 0;
  }
  assert(area->node == nullptr);
  VlnFileNode* node = fdpoolNodeOf(area->fd);
  if (!node) return -1;  // not a pool descriptor
  link(area, node);
  return 0;
}

int vl::diCheckChain(VlnLockArea* area, int kind, int32_t recno)
{
  if (area->ring == area) return 1;
  for (const VlnLockArea* other = area->ring; other != area; other = other->ring)
    if (conflicts(other, kind, recno)) return 0;
  if (kind == VLN_CHK_SHARED) {
    char text[400];
    snprintf(text, sizeof text, "database %s;is multiply opened in different work areas",
             lockAreaName(area));
    vlnLockReport(area, "Init()", VL_E_DEV_WARNING, 2, text);
  }
  return 2;
}
