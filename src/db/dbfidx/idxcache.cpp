/*
** idxcache.cpp -- the sector cache of an exclusive IDX descriptor: the key
** sectors used last, so that a descent reads its upper levels from memory
** and a build writes each sector once instead of at every change.
**
** Only an exclusive descriptor has one: no other process may read the file
** meanwhile, exactly as for the 2048 bytes the descriptor keeps anyway
** (which hold sector 3, so the cache starts at sector 4).  A changed
** sector is written when it leaves the cache, at a forced header flush and
** at idx_cache_release; a short read (a sector past the end of the file) is
** not kept, so that the buffer keeps its old bytes as it would without the
** cache.  When nxkysc goes down the file was emptied behind the engine's
** back (ZAP, REINDEX): everything kept is dropped unwritten.
*/
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "idxint.hpp"

namespace vl {

int vlnIdxSectorCache = 8192; /* 4 MiB at most per descriptor */

namespace {

constexpr uint32_t kNone = ~0u;
constexpr uint32_t kFirstCached = IDX_CACHE_BYTES >> IDX_SECTOR_SHIFT;

}  // namespace

struct IdxSecCache {
  struct Slot {
    uint32_t sector;
    bool dirty;
    uint32_t prev, next; /* towards the most / least recently used */
    uint8_t data[IDX_SECTOR];
  };
  std::vector<Slot> slots;
  uint32_t cap;                                 /* slots at most */
  std::unordered_map<uint32_t, uint32_t> where; /* sector -> slot */
  uint32_t head = kNone, tail = kNone;          /* most, least recently used */
  uint32_t nxkysc = 0;                          /* as last seen */
  uint32_t ends = 0; /* sectors the file would span with nothing kept */
};

namespace {

void write_slot(IdxDesc* idx, IdxSecCache::Slot& s)
{
  if (!s.dirty) return;
  const off_t at = off_t(s.sector) << IDX_SECTOR_SHIFT;
  for (size_t done = 0; done < IDX_SECTOR;) {
    const ssize_t w = ::pwrite(idx->fd, s.data + done, IDX_SECTOR - done, at + off_t(done));
    if (w <= 0) break; /* as a sector write of the engine: not checked */
    done += size_t(w);
  }
  s.dirty = false;
}

void unlink_slot(IdxSecCache* c, uint32_t i)
{
  IdxSecCache::Slot& s = c->slots[i];
  (s.prev == kNone ? c->head : c->slots[s.prev].next) = s.next;
  (s.next == kNone ? c->tail : c->slots[s.next].prev) = s.prev;
}

void link_first(IdxSecCache* c, uint32_t i)
{
  IdxSecCache::Slot& s = c->slots[i];
  s.prev = kNone;
  s.next = c->head;
  (c->head == kNone ? c->tail : c->slots[c->head].prev) = i;
  c->head = i;
}

/* The cache for sector of idx, or null when the sector is not for it. */
IdxSecCache* cache_for(IdxDesc* idx, uint32_t sector)
{
  if (sector < kFirstCached || !(idx->flags & IDX_D_EXCL) || !idx->cache) return nullptr;
  IdxSecCache* c = idx->seccache;
  if (!c) {
    if (vlnIdxSectorCache <= 0) return nullptr;
    c = idx->seccache = new IdxSecCache;
    c->cap = uint32_t(vlnIdxSectorCache);
  }
  if (idx->hdr.nxkysc < c->nxkysc) {
    c->slots.clear();
    c->where.clear();
    c->head = c->tail = kNone;
    c->ends = 0;
  }
  c->nxkysc = idx->hdr.nxkysc;
  return c;
}

/* The slot of sector, made the most recently used, or null. */
const uint8_t* find(IdxSecCache* c, uint32_t sector)
{
  const auto it = c->where.find(sector);
  if (it == c->where.end()) return nullptr;
  if (c->head != it->second) {
    unlink_slot(c, it->second);
    link_first(c, it->second);
  }
  return c->slots[it->second].data;
}

/* Keep the 512 bytes at data as sector. */
void keep(IdxDesc* idx, IdxSecCache* c, uint32_t sector, const uint8_t* data, bool dirty)
{
  uint32_t i;
  const auto it = c->where.find(sector);
  const bool fresh = it == c->where.end();
  if (!fresh) {
    i = it->second;
    unlink_slot(c, i);
  } else if (c->slots.size() < c->cap) {
    i = uint32_t(c->slots.size());
    c->slots.emplace_back();
  } else {
    i = c->tail;
    write_slot(idx, c->slots[i]);
    unlink_slot(c, i);
    c->where.erase(c->slots[i].sector);
  }
  IdxSecCache::Slot& s = c->slots[i];
  if (fresh) {
    s.sector = sector;
    s.dirty = false;
    c->where[sector] = i;
  }
  std::memcpy(s.data, data, IDX_SECTOR);
  s.dirty = s.dirty || dirty;
  link_first(c, i);
}

}  // namespace

const uint8_t* idx_cache_find(IdxDesc* idx, uint32_t sector)
{
  IdxSecCache* c = cache_for(idx, sector);
  return c ? find(c, sector) : nullptr;
}

bool idx_cache_read(IdxDesc* idx, uint32_t sector, uint8_t* buf)
{
  IdxSecCache* c = cache_for(idx, sector);
  if (!c) return false;
  if (const uint8_t* kept = find(c, sector)) {
    std::memcpy(buf, kept, IDX_SECTOR);
    return true;
  }
  const ssize_t got = Iread_fil(idx, idx->fd, buf, IDX_SECTOR, off_t(sector) << IDX_SECTOR_SHIFT);
  if (got == IDX_SECTOR) {
    keep(idx, c, sector, buf, false);
  } else if (sector < c->ends) {
    /* Without the cache a later sector would have been written already:
    ** this one would read as the zeros of a hole. */
    std::memset(buf + std::max<ssize_t>(got, 0), 0, IDX_SECTOR - size_t(std::max<ssize_t>(got, 0)));
  }
  return true;
}

bool idx_cache_write(IdxDesc* idx, uint32_t sector, const uint8_t* buf)
{
  IdxSecCache* c = cache_for(idx, sector);
  if (!c) return false;
  keep(idx, c, sector, buf, true);
  c->ends = std::max(c->ends, sector + 1);
  return true;
}

void idx_cache_flush(IdxDesc* idx)
{
  IdxSecCache* c = idx->seccache;
  if (!c || idx->hdr.nxkysc < c->nxkysc) return;
  /* In file order, so that a build's sectors go out as one sweep. */
  std::vector<uint32_t> order;
  for (uint32_t i = 0; i < c->slots.size(); ++i)
    if (c->slots[i].dirty) order.push_back(i);
  std::sort(order.begin(), order.end(), [c](uint32_t a, uint32_t b) { return c->slots[a].sector < c->slots[b].sector; });
  for (uint32_t i : order) write_slot(idx, c->slots[i]);
}

void idx_cache_release(IdxDesc* idx)
{
  idx_cache_flush(idx);
  delete idx->seccache;
  idx->seccache = nullptr;
}

}  // namespace vl
