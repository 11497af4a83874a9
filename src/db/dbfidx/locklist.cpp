/*
** locklist.cpp -- the record locks an area holds: a sorted array of record
** numbers without duplicates.
**
** The array grows and shrinks in packs of 16 entries, so its capacity is
** always a multiple of 16: the 17th lock grows it to 32, and a delete
** shrinks it first only when the capacity exceeds the count by more than 16.
** A failed resize keeps the old array.
*/
#include <assert.h>
#include <string.h>

#include <algorithm>

#include "kernel.h"
#include "lockint.h"

using namespace vl;

namespace {

constexpr int kPack = 16;  // entries per growth step
constexpr const char* kPurpose = "for record lock list";

int32_t* resize(VlnLockArea* area, int entries)
{
  const size_t bytes = static_cast<size_t>(entries) * sizeof(int32_t);
  void* p = area->lockcap == 0
                ? vln_malloc(bytes, kPurpose, 2, 1000, __FILE__, __LINE__)
                : vln_realloc(area->locks, bytes, kPurpose, 2, 1000, __FILE__, __LINE__);
  return static_cast<int32_t*>(p);
}

}  // namespace

int vl::diLocateLckRec(VlnLockArea* area, int32_t recno)
{
  const int n = area->lockcount;
  const int32_t* list = area->locks;
  if (n == 0) return ~0;
  // Halving search, then a linear finish.
  int step = n / 2;
  int i = std::max(n / 2 - 1, 0);
  while (list[i] != recno && step > 0) {
    i = std::clamp(recno > list[i] ? i + step : i - step, 0, n - 1);
    step /= 2;
  }
  while (i < n && recno > list[i]) ++i;
  if (i == n) return ~n;
  while (i >= 0 && recno < list[i]) --i;
  return i >= 0 && list[i] == recno ? i : ~(i + 1);
}

int32_t* vl::diAddLckPack(VlnLockArea* area)
{
  int32_t* grown = resize(area, area->lockcap + kPack);
  if (!grown) return nullptr;
  area->locks = grown;
  area->lockcap += kPack;
  return grown;
}

int32_t* vl::diRelLckPack(VlnLockArea* area)
{
  const int cap = area->lockcap - kPack;
  assert(cap >= area->lockcount);
  if (cap <= 0) {
    vln_free(area->locks, __FILE__, __LINE__);
    area->locks = nullptr;
    area->lockcap = 0;
    return nullptr;
  }
  int32_t* shrunk = resize(area, cap);
  if (!shrunk) return nullptr;
  area->locks = shrunk;
  area->lockcap = cap;
  return shrunk;
}

int vl::diInsertLckRec(VlnLockArea* area, int32_t recno, int code)
{
  const int pos = ~code;
  assert(pos >= 0 && pos <= area->lockcount);
  if (area->lockcap <= area->lockcount && !diAddLckPack(area)) return -1;
  int32_t* list = area->locks;
  memmove(list + pos + 1, list + pos, (area->lockcount - pos) * sizeof(int32_t));
  list[pos] = recno;
  ++area->lockcount;
  return 0;
}

int vl::diDeleteLckRec(VlnLockArea* area, int32_t recno, int index)
{
  assert(index >= 0 && index < area->lockcount && area->locks[index] == recno);
  if (area->lockcap > area->lockcount + kPack) diRelLckPack(area);
  int32_t* list = area->locks;
  memmove(list + index, list + index + 1, (area->lockcount - index - 1) * sizeof(int32_t));
  --area->lockcount;
  return 0;
}

int32_t vl::diIsRecLocked(VlnLockArea* area, int32_t recno)
{
  if (recno == 0) return area->lockcount > 0 ? area->locks[0] : 0;
  return diLocateLckRec(area, recno) >= 0 ? recno : 0;
}

int vl::diAd2LckList(VlnLockArea* area, int32_t recno)
{
  const int code = diLocateLckRec(area, recno);
  if (code >= 0) return 1;
  return diInsertLckRec(area, recno, code);
}

int vl::diRm2LckList(VlnLockArea* area, int32_t recno)
{
  const int index = diLocateLckRec(area, recno);
  if (index < 0) return 1;
  return diDeleteLckRec(area, recno, index);
}

int vl::diReleaseAllLcksList(VlnLockArea* area)
{
  int result = 0;
  for (int i = area->lockcount - 1; i >= 0; --i)
    if (dbf_rulock(area, area->locks[i]) != 0) result = -1;
  return result;
}
