/*
** idxcache.cpp -- the sector cache of an exclusive IDX descriptor: the key
** sectors used recently, so that a descent reads its upper levels from
** memory and a build writes each sector once instead of at every change.
** Eviction is a clock: a slot's used bit is set at each use and cleared
** by the passing hand, which takes the first slot it finds clear.
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
#include <memory>
#include <vector>

#include "idxint.hpp"

namespace vl {

int vlnIdxSectorCache = 131072; /* 64 MiB at most per descriptor */

namespace {

constexpr uint32_t kNone = ~0u;
constexpr uint32_t kFirstCached = IDX_CACHE_BYTES >> IDX_SECTOR_SHIFT;

}  // namespace

struct IdxSecCache {
  struct Slot {
    uint32_t sector;
    bool dirty;
    bool used; /* touched since the clock hand last passed */
    uint8_t data[IDX_SECTOR];
  };
  /* Slots live in fixed chunks so that growing never moves them. */
  static constexpr uint32_t kChunkShift = 10;
  std::vector<std::unique_ptr<Slot[]>> chunks;
  uint32_t count = 0;        /* slots in use */
  uint32_t cap;              /* slots at most */
  uint32_t hand = 0;         /* the clock's next candidate for eviction */
  std::vector<uint32_t> where; /* sector -> slot, or kNone */
  uint32_t nxkysc = 0;       /* as last seen */
  uint32_t ends = 0; /* sectors the file would span with nothing kept */

  Slot& slot(uint32_t i) { return chunks[i >> kChunkShift][i & ((1u << kChunkShift) - 1)]; }
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

/* Forget every kept sector, written or not. */
void drop_all(IdxSecCache* c)
{
  c->chunks.clear();
  c->count = c->hand = 0;
  c->where.assign(c->where.size(), kNone);
  c->ends = 0;
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
  if (idx->hdr.nxkysc < c->nxkysc) drop_all(c);
  c->nxkysc = idx->hdr.nxkysc;
  return c;
}

/* The slot that holds sector, or kNone. */
uint32_t slot_of(const IdxSecCache* c, uint32_t sector)
{
  return sector < c->where.size() ? c->where[sector] : kNone;
}

/* The data of sector, marked as used, or null. */
const uint8_t* find(IdxSecCache* c, uint32_t sector)
{
  const uint32_t i = slot_of(c, sector);
  if (i == kNone) return nullptr;
  IdxSecCache::Slot& s = c->slot(i);
  s.used = true;
  return s.data;
}

/* A slot for a sector not kept: a new one while there is room, else the
** first the clock hand finds untouched since its last pass, written out
** first if changed. */
uint32_t free_slot(IdxDesc* idx, IdxSecCache* c)
{
  if (c->count < c->cap) {
    if ((c->count >> IdxSecCache::kChunkShift) == c->chunks.size())
      c->chunks.emplace_back(new IdxSecCache::Slot[size_t(1) << IdxSecCache::kChunkShift]);
    return c->count++;
  }
  for (;; c->hand = (c->hand + 1) % c->count) {
    IdxSecCache::Slot& s = c->slot(c->hand);
    if (s.used) {
      s.used = false;
      continue;
    }
    write_slot(idx, s);
    c->where[s.sector] = kNone;
    const uint32_t i = c->hand;
    c->hand = (c->hand + 1) % c->count;
    return i;
  }
}

/* Keep the 512 bytes at data as sector. */
void keep(IdxDesc* idx, IdxSecCache* c, uint32_t sector, const uint8_t* data, bool dirty)
{
  uint32_t i = slot_of(c, sector);
  if (i == kNone) {
    i = free_slot(idx, c);
    IdxSecCache::Slot& s = c->slot(i);
    s.sector = sector;
    s.dirty = false;
    if (sector >= c->where.size()) c->where.resize(std::max<size_t>(sector + 1, c->where.size() * 2), kNone);
    c->where[sector] = i;
  }
  IdxSecCache::Slot& s = c->slot(i);
  std::memcpy(s.data, data, IDX_SECTOR);
  s.dirty = s.dirty || dirty;
  s.used = true;
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
  for (uint32_t i = 0; i < c->count; ++i)
    if (c->slot(i).dirty) order.push_back(i);
  std::sort(order.begin(), order.end(), [c](uint32_t a, uint32_t b) { return c->slot(a).sector < c->slot(b).sector; });
  for (uint32_t i : order) write_slot(idx, c->slot(i));
}

void idx_cache_release(IdxDesc* idx)
{
  idx_cache_flush(idx);
  delete idx->seccache;
  idx->seccache = nullptr;
}

}  // namespace vl
