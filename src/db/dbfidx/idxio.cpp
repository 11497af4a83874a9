/*
** idxio.cpp -- the IDX file's bytes: the header codecs and their sanity
** test, reads and writes through the exclusive cache, the sector buffer,
** the header flush and re-read, the free-sector chain and the engine's
** fault record.
**
** An exclusive descriptor keeps the file's first 2048 bytes in memory: the
** main header lives decoded in hdr and reaches the file only by a forced
** flush, and bytes 1024..2047 (the second header and sector 3) are read
** from and written to the cache.  Every other byte goes to the file at
** once.  A shared descriptor reads and writes the file alone.
**
** Results of sector reads and writes are not checked: a short read leaves
** the rest of the buffer as it was and shows up as bad data, which the
** range checks catch.
*/
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "idxint.hpp"

namespace vl {

namespace {

bool cached(const IdxDesc* x) { return x && (x->flags & IDX_D_EXCL) && x->cache; }

ssize_t pread_all(int fd, void* buf, size_t n, off_t at)
{
  size_t done = 0;
  while (done < n) {
    const ssize_t r = ::pread(fd, static_cast<uint8_t*>(buf) + done, n - done, at + off_t(done));
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) break;
    done += size_t(r);
  }
  return ssize_t(done);
}

ssize_t pwrite_all(int fd, const void* buf, size_t n, off_t at)
{
  size_t done = 0;
  while (done < n) {
    const ssize_t r = ::pwrite(fd, static_cast<const uint8_t*>(buf) + done, n - done, at + off_t(done));
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) break;
    done += size_t(r);
  }
  return ssize_t(done);
}

bool refuse(char* why, size_t n, const char* text)
{
  if (why && n) std::snprintf(why, n, "%s", text);
  return false;
}

bool in_file(uint32_t sector, uint32_t nxkysc) { return sector >= IDX_FIRST_SECTOR && sector < nxkysc; }

}  // namespace

/* ---- The header. ---- */

void idx_get_header(const uint8_t* p, IdxHeader* h)
{
  h->version = p[IDXH_VERSION];
  h->flags = p[IDXH_FLAGS];
  h->numwidth = p[IDXH_NUMWIDTH];
  h->keylen = p[IDXH_KEYLEN];
  h->keycnt = dbf_get32(p + IDXH_KEYCNT);
  h->root = dbf_get32(p + IDXH_ROOT);
  h->kavsec = dbf_get32(p + IDXH_KAVSEC);
  h->nxkysc = dbf_get32(p + IDXH_NXKYSC);
  h->keytype = char(p[IDXH_KEYTYPE]);
  h->secsize = dbf_get16(p + IDXH_SECSIZE);
  h->keysize = dbf_get32(p + IDXH_KEYSIZE);
  h->maxkeys = dbf_get32(p + IDXH_MAXKEYS);
  std::memcpy(h->keyexpr, p + IDXH_KEYEXPR, IDX_EXPR_ROOM);
  h->keyexpr[IDX_EXPR_ROOM - 1] = 0;
}

void idx_put_header(const IdxHeader* h, uint8_t* p)
{
  p[IDXH_VERSION] = h->version;
  p[IDXH_FLAGS] = h->flags;
  p[IDXH_NUMWIDTH] = h->numwidth;
  p[IDXH_KEYLEN] = h->keylen;
  dbf_put32(p + IDXH_KEYCNT, h->keycnt);
  dbf_put32(p + IDXH_ROOT, h->root);
  dbf_put32(p + IDXH_KAVSEC, h->kavsec);
  dbf_put32(p + IDXH_NXKYSC, h->nxkysc);
  p[IDXH_KEYTYPE] = uint8_t(h->keytype);
  p[IDXH_KEYTYPE + 1] = 0;
  dbf_put16(p + IDXH_SECSIZE, h->secsize);
  dbf_put32(p + IDXH_KEYSIZE, h->keysize);
  dbf_put32(p + IDXH_MAXKEYS, h->maxkeys);
  std::memcpy(p + IDXH_KEYEXPR, h->keyexpr, IDX_EXPR_ROOM);
  p[IDX_HDR_BYTES - 1] = 0;
}

bool idx_header_sane(const IdxHeader* h, off_t filesize, char* why, size_t n)
{
  if (h->secsize != IDX_SECTOR) return refuse(why, n, "sector size is not 512");
  if (h->keysize == 0 || h->keysize > idx_keysize(IDX_MAX_KEY) || h->keysize % 4)
    return refuse(why, n, "key size out of range");
  if (h->maxkeys != idx_maxkeys(h->keysize)) return refuse(why, n, "keys per sector do not match the key size");
  switch (h->keytype) {
    case 'C':
      if (h->keylen == 0 || idx_keysize(h->keylen) != h->keysize)
        return refuse(why, n, "key length does not match the key size");
      break;
    case 'D':
    case 'L':
      if (h->keysize != 4) return refuse(why, n, "key size does not match the key type");
      break;
    case 'F':
    case 'I':
    case 'N':
      if (h->keysize != 8) return refuse(why, n, "key size does not match the key type");
      break;
    default:
      /* An older file has no key type yet: its open takes the key's. */
      if (h->version != IDX_VERSION_402) return refuse(why, n, "unknown key type");
  }
  if (h->nxkysc < IDX_FIRST_SECTOR) return refuse(why, n, "next sector below the first key sector");
  if (h->root && !in_file(h->root, h->nxkysc)) return refuse(why, n, "root sector out of range");
  if (h->kavsec && !in_file(h->kavsec, h->nxkysc)) return refuse(why, n, "free sector out of range");
  if (filesize >= 0 && filesize < off_t(h->nxkysc) << IDX_SECTOR_SHIFT)
    return refuse(why, n, "file shorter than its sectors");
  return true;
}

/* ---- Reads and writes through the cache. ---- */

ssize_t Iread_fil(IdxDesc* idx, int fd, void* buf, size_t n, off_t at)
{
  if (!cached(idx)) return pread_all(fd, buf, n, at);
  if (at < IDX_HDR2_AT) return 0; /* the header is hdr */
  size_t got = 0;
  if (at < IDX_CACHE_BYTES) {
    got = std::min(n, size_t(IDX_CACHE_BYTES - at));
    std::memcpy(buf, idx->cache + at, got);
  }
  if (got < n) got += size_t(pread_all(fd, static_cast<uint8_t*>(buf) + got, n - got, at + off_t(got)));
  return ssize_t(got);
}

ssize_t Iwrite_fil(IdxDesc* idx, int fd, const void* buf, size_t n, off_t at, int force)
{
  if (!cached(idx)) return pwrite_all(fd, buf, n, at);
  const uint8_t* in = static_cast<const uint8_t*>(buf);
  const off_t end = at + off_t(n);
  const off_t lo = std::max<off_t>(at, IDX_HDR2_AT), hi = std::min<off_t>(end, IDX_CACHE_BYTES);
  if (lo < hi) {
    std::memcpy(idx->cache + lo, in + (lo - at), size_t(hi - lo));
    idx->cachelen = std::max(idx->cachelen, int32_t(hi));
  }
  if (force) return pwrite_all(fd, buf, n, at);
  if (end <= IDX_CACHE_BYTES) return ssize_t(n);
  const off_t from = std::max<off_t>(at, IDX_CACHE_BYTES);
  return ssize_t(from - at) + pwrite_all(fd, in + (from - at), size_t(end - from), from);
}

/* ---- The sector buffer. ---- */

bool idx_read_sec(DbfState* wa, IdxDesc* idx, bool counted)
{
  const uint32_t s = idx->cur_sec;
  if (!in_file(s, idx->hdr.nxkysc)) {
    idx_bad_sector(wa, idx, s);
    return false;
  }
  if (!idx_cache_read(idx, s, idx->sec)) Iread_fil(idx, idx->fd, idx->sec, IDX_SECTOR, off_t(s) << IDX_SECTOR_SHIFT);
  if (counted && dbf_get32(idx->sec + IDXS_KEYCNT) > idx->hdr.maxkeys + 1) {
    idx_bad_sector(wa, idx, s);
    return false;
  }
  return true;
}

bool get_cur_sec(DbfState* wa, IdxDesc* idx) { return idx_read_sec(wa, idx, true); }

bool put_cur_sec(DbfState* wa, IdxDesc* idx)
{
  const uint32_t s = idx->cur_sec;
  /* One past the file is allowed: a put may write the sector nxkysc. */
  if (s < IDX_FIRST_SECTOR || s > idx->hdr.nxkysc) {
    idx_bad_sector(wa, idx, s);
    return false;
  }
  if (!idx_cache_write(idx, s, idx->sec))
    Iwrite_fil(idx, idx->fd, idx->sec, IDX_SECTOR, off_t(s) << IDX_SECTOR_SHIFT, 0);
  return true;
}

/* ---- The header on disk. ---- */

void ndx_flshhdr(IdxDesc* idx, int force)
{
  if (cached(idx)) {
    if (!force) return;
    idx_cache_flush(idx);
    idx_put_header(&idx->hdr, idx->cache);
    const int32_t len = std::clamp<int32_t>(idx->cachelen, IDX_HDR_BYTES, IDX_CACHE_BYTES);
    pwrite_all(idx->fd, idx->cache, size_t(len), 0);
    return;
  }
  uint8_t buf[IDX_HDR_BYTES];
  idx_put_header(&idx->hdr, buf);
  Iwrite_fil(idx, idx->fd, buf, sizeof buf, 0, force);
}

void ndx_updthdr(IdxDesc* idx)
{
  if (cached(idx)) return;
  uint8_t buf[IDX_HDR_BYTES];
  IdxHeader h;
  if (pread_all(idx->fd, buf, sizeof buf, 0) == ssize_t(sizeof buf)) {
    idx_get_header(buf, &h);
    if (idx_header_sane(&h, -1, nullptr, 0)) {
      idx->hdr = h;
      return;
    }
  }
  /* Another process left a header the engine cannot work with: keep the
  ** last good one and let the order go. */
  idx_bad_sector(nullptr, idx, 0);
}

/* ---- The free chain. ---- */

uint32_t get_new_sec(IdxDesc* idx)
{
  IdxHeader& h = idx->hdr;
  uint32_t s = h.kavsec;
  if (s) {
    uint8_t link[4] = {0, 0, 0, 0};
    const uint8_t* kept = in_file(s, h.nxkysc) ? idx_cache_find(idx, s) : nullptr;
    if (kept)
      std::memcpy(link, kept, sizeof link);
    else if (in_file(s, h.nxkysc))
      Iread_fil(idx, idx->fd, link, sizeof link, off_t(s) << IDX_SECTOR_SHIFT);
    const uint32_t next = dbf_get32(link);
    if (!in_file(s, h.nxkysc) || (next && (next == s || !in_file(next, h.nxkysc)))) {
      idx_bad_sector(nullptr, idx, s);
      return 0;
    }
    h.kavsec = next;
  } else {
    s = h.nxkysc++;
    /* A shared header reaches the file at once: the new sector must be
    ** there first, or a writer killed between the two leaves a header
    ** that counts sectors past the end of the file, and the order can no
    ** longer be opened, not even to be rebuilt. */
    if (!cached(idx)) {
      static const uint8_t kBlank[IDX_SECTOR] = {};
      pwrite_all(idx->fd, kBlank, sizeof kBlank, off_t(s) << IDX_SECTOR_SHIFT);
    }
  }
  ndx_flshhdr(idx, 0);
  return s;
}

bool set_fre_sec(DbfState* wa, IdxDesc* idx)
{
  dbf_put32(idx->sec, idx->hdr.kavsec);
  if (!put_cur_sec(wa, idx)) return false;
  idx->hdr.kavsec = idx->cur_sec;
  ndx_flshhdr(idx, 0);
  return true;
}

/* ---- Faults. ---- */

void idx_fault(IdxDesc* idx, int code, int severity, const char* method, const char* fmt, ...)
{
  IdxFault& f = idx->fault;
  if (f.code) return; /* the first fault is the cause of the rest */
  f.code = code;
  f.severity = severity;
  f.method = method;
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(f.text, sizeof f.text, fmt, ap);
  va_end(ap);
}

void idx_bad_sector(const DbfState* wa, IdxDesc* idx, uint32_t sector)
{
  int order = 0;
  for (int i = 1; wa && i <= std::min<int>(wa->indexcount, IDX_MAX_ORDERS); ++i)
    if (wa->orders[i] == idx) order = i;
  idx_fault(idx, VL_E_NO_INDEX_SECTOR, VL_SEV_FATAL, diMN_idxint, diEM_badidx, wa ? dbf_alias(wa) : idx->ordername,
            order, int(sector));
}

bool idx_deeper(DbfState* wa, IdxDesc* idx, uint32_t* level)
{
  /* Two or more keys a sector keep a tree shallow; with one, every split
  ** leaves an empty left sector and a path can pass every sector once. */
  const uint32_t limit = idx->hdr.maxkeys >= 2 ? uint32_t(IDX_MAX_DEPTH) : std::max<uint32_t>(IDX_MAX_DEPTH, idx->hdr.nxkysc);
  if (++*level <= limit) return true;
  idx_bad_sector(wa, idx, idx->cur_sec);
  return false;
}

}  // namespace vl
