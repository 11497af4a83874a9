/*
** dbfpack.cpp -- PACK and ZAP: a new table is built beside the old one and
** renamed over it, so that neither touches the table in place and a failure
** at any step leaves the table as it was.
**
** The order of a swap, on a table opened exclusively:
**
**   1. the record buffer and the write-behind run go to the file
**   2. new<pid>.vldb (and new<pid>.dbt for a memo table) are created in
**      the table's directory with O_EXCL and the old files' modes, and
**      written completely: PACK copies every record not marked deleted,
**      each memo re-written into the new memo file; ZAP writes the header
**      alone and an empty memo file.  Both are synced.
**   3. pooled descriptors are taken on the new files, and the exclusive USE
**      lock on the new table, so that no other process can open it between
**      the rename and the end of the swap
**   4. the old files get second names, old<pid>.vldb and old<pid>.dbt
**      (hard links), which keep them whatever happens next
**   5. the new memo file, then the new table, are renamed over the old
**      names
**   6. the backups are removed, the state's descriptors replaced (the old
**      ones closed, which ends their locks), the header re-read, the open
**      orders rebuilt over the new records, and the table is positioned at
**      the top
**
** A failure at any step up to 5 undoes what was done: renamed files get
** their backups renamed back over them, and every new and backup name is
** removed.  Only then, with no section, gate or half-made state held, is
** the failure reported (101).  A crash between 4 and 6 leaves the old files
** under their backup names.
**
** The header of the new table is the old header as it stands in the file,
** with the new count, today's date and write counter 1: the fields, their
** lengths (also C fields longer than 255) and the version byte are carried
** over byte for byte.
*/
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "dbfidx.h"
#include "dbfint.hpp"
#include "idx.hpp"
#include "kernel.h"
#include "objects.h"

namespace vl {

int (*vlnPackRename)(const char* from, const char* to) = ::rename;

}  // namespace vl

using namespace vl;

namespace {

constexpr uint8_t kMemoEnd = 0x1A;
constexpr uint8_t kDeleted = '*';
constexpr size_t kChunk = size_t(64) * 1024;          /* bytes of records per read */
constexpr size_t kMemoChunk = size_t(16) * DBT_BLOCK; /* bytes of a memo per read */
constexpr mode_t kModeBits = 07777;
constexpr uint32_t kFirstFree = 1; /* next-free word of an empty memo file */

/* One file of a swap: the table's own name, the new file's temporary name,
** the old file's backup name, and how far the swap went with it. */
struct SwapFile {
  char real[VLN_LOCK_NAME_SIZE];
  char fresh[VLN_LOCK_NAME_SIZE];
  char backup[VLN_LOCK_NAME_SIZE];
  mode_t mode = 0;
  int fd = -1;     /* raw descriptor while the new file is written */
  int pooled = -1; /* pooled descriptor of the new file */
  bool created = false, linked = false, renamed = false;
};

/* A swap in progress.  Holds no memory of its own. */
struct Swap {
  SwapFile dbf, dbt;
  bool memo = false;
  int32_t count = 0;         /* records written to the new table */
  int32_t next = kFirstFree; /* next free block of the new memo file */
  off_t memosize = 0;        /* bytes of the old memo file */
};

/* The temporary and backup names of f: new<pid> and old<pid> with ext, in
** the directory of table (dirlen bytes of it); false if one does not fit. */
bool temp_names(SwapFile* f, const char* table, int dirlen, const char* ext)
{
  const long pid = long(getpid());
  const int a = std::snprintf(f->fresh, sizeof f->fresh, "%.*snew%ld%s", dirlen, table, pid, ext);
  const int b = std::snprintf(f->backup, sizeof f->backup, "%.*sold%ld%s", dirlen, table, pid, ext);
  return a > 0 && a < int(sizeof f->fresh) && b > 0 && b < int(sizeof f->backup);
}

/* The names and modes of the swap's files; false if a name does not fit. */
bool name_files(const DbfState* s, Swap* w)
{
  const char* slash = std::strrchr(s->filename, '/');
  const int dirlen = slash ? int(slash - s->filename + 1) : 0;
  struct stat st;
  std::snprintf(w->dbf.real, sizeof w->dbf.real, "%s", s->filename);
  if (fstat(s->lk.fd, &st) != 0 || !temp_names(&w->dbf, s->filename, dirlen, ".vldb")) return false;
  w->dbf.mode = st.st_mode & kModeBits;
  if (!w->memo) return true;
  dbt_name(s, s->filename, w->dbt.real, sizeof w->dbt.real);
  if (fstat(s->dbt_fd, &st) != 0 || !temp_names(&w->dbt, s->filename, dirlen, ".dbt")) return false;
  w->dbt.mode = st.st_mode & kModeBits;
  w->memosize = st.st_size;
  return true;
}

/* Create the new file under its temporary name, which must not exist. */
bool create_fresh(SwapFile* f)
{
  f->fd = open(f->fresh, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, f->mode);
  if (f->fd < 0) return false;
  f->created = true;
  return fchmod(f->fd, f->mode) == 0;  // the umask must not narrow it
}

/* Copy the memo that starts at block of the old memo file to the end of
** the new one, up to its first 0x1A or the end of the old file, however
** long.  The new block, 0 for an empty or missing memo, -1 on failure. */
int32_t copy_memo(const DbfState* s, Swap* w, int32_t block)
{
  if (block <= 0) return 0;
  uint8_t buf[kMemoChunk];
  const int32_t first = w->next;
  const off_t to = off_t(first) * DBT_BLOCK;
  off_t len = 0;
  for (off_t at = off_t(block) * DBT_BLOCK; at < w->memosize;) {
    const size_t n = size_t(std::min(off_t(sizeof buf), w->memosize - at));
    if (!dbf_pread(s->dbt_fd, buf, n, at, kMemoEnd)) return -1;
    const auto* end = static_cast<const uint8_t*>(std::memchr(buf, kMemoEnd, n));
    const size_t take = end ? size_t(end - buf) : n;
    if (take > 0 && !dbf_pwrite(w->dbt.fd, buf, take, to + len)) return -1;
    len += off_t(take);
    if (end) break;
    at += off_t(n);
  }
  if (len == 0) return 0;
  const off_t blocks = len / DBT_BLOCK + 1;  // room for at least one 0x1A
  if (blocks > off_t(INT32_MAX - first)) return -1;
  std::memset(buf, kMemoEnd, DBT_BLOCK);
  if (!dbf_pwrite(w->dbt.fd, buf, size_t(blocks * DBT_BLOCK - len), to + len)) return -1;
  w->next = first + int32_t(blocks);
  return first;
}

/* Re-write the memos of a record being copied and put their new block
** numbers in its memo fields ("%10d", or blanks for none). */
bool copy_memos(const DbfState* s, Swap* w, uint8_t* rec)
{
  for (uint16_t i = 0; i < s->fieldcount; ++i) {
    const DbfField& f = s->fields[i];
    if (f.type != 'M' || f.len != DBF_MEMO_LEN) continue;
    char digits[DBF_MEMO_LEN + 1];
    std::memcpy(digits, rec + f.offset, DBF_MEMO_LEN);
    digits[DBF_MEMO_LEN] = '\0';
    const long old = std::strtol(digits, nullptr, 10);
    const int32_t block = copy_memo(s, w, old > 0 && old <= INT32_MAX ? int32_t(old) : 0);
    if (block < 0) return false;
    if (block == 0) std::memset(digits, ' ', DBF_MEMO_LEN);
    else std::snprintf(digits, sizeof digits, "%*d", DBF_MEMO_LEN, int(block));
    std::memcpy(rec + f.offset, digits, DBF_MEMO_LEN);
  }
  return true;
}

/* Copy the records not marked deleted, in order, behind the new header. */
bool copy_records(const DbfState* s, Swap* w)
{
  const size_t rl = s->lk.reclen;
  const int64_t per = int64_t(std::max(size_t(1), kChunk / rl));
  std::vector<uint8_t> in(size_t(per) * rl), out(size_t(per) * rl);
  for (int64_t first = 1; first <= s->lastrec; first += per) {
    const size_t n = size_t(std::min(per, int64_t(s->lastrec) - first + 1));
    if (!dbf_pread(s->lk.fd, in.data(), n * rl, dbf_recpos(s, int32_t(first)))) return false;
    size_t used = 0;
    for (size_t i = 0; i < n; ++i) {
      const uint8_t* rec = in.data() + i * rl;
      if (rec[0] == kDeleted) continue;
      std::memcpy(out.data() + used, rec, rl);
      if (w->memo && !copy_memos(s, w, out.data() + used)) return false;
      used += rl;
    }
    const off_t at = off_t(s->lk.headerlen) + off_t(w->count) * off_t(rl);
    if (used > 0 && !dbf_pwrite(w->dbf.fd, out.data(), used, at)) return false;
    w->count += int32_t(used / rl);
  }
  return true;
}

/* The new table's header: the old one with the new count, today's date and
** the counter of a new file; and block 0 of the new memo file. */
bool write_heads(const DbfState* s, Swap* w)
{
  std::vector<uint8_t> h(s->lk.headerlen);
  if (!dbf_pread(s->lk.fd, h.data(), h.size(), 0, 0)) return false;
  dbf_put32(h.data() + DBF_OFF_COUNT, uint32_t(w->count));
  dbf_stamp_date(h.data());
  h[DBF_OFF_WRCNT] = 1;
  if (!dbf_pwrite(w->dbf.fd, h.data(), h.size(), 0)) return false;
  if (!w->memo) return true;
  uint8_t head[DBT_BLOCK] = {};
  dbf_put32(head, uint32_t(w->next));
  return dbf_pwrite(w->dbt.fd, head, sizeof head, 0);
}

/* Sync and close the raw descriptor of a new file. */
bool finish(SwapFile* f)
{
  const bool ok = fdatasync(f->fd) == 0;
  const bool closed = close(f->fd) == 0;
  f->fd = -1;
  return ok && closed;
}

/* Steps 2 and 3: the new files written, pooled and locked. */
bool build(const DbfState* s, Swap* w, bool pack)
{
  if (!create_fresh(&w->dbf) || (w->memo && !create_fresh(&w->dbt))) return false;
  if (pack && !copy_records(s, w)) return false;
  if (!write_heads(s, w) || !finish(&w->dbf) || (w->memo && !finish(&w->dbt))) return false;
  w->dbf.pooled = diOpenFile(w->dbf.fresh, nullptr, O_RDWR);
  if (w->dbf.pooled < 0) return false;
  if (w->memo && (w->dbt.pooled = diOpenFile(w->dbt.fresh, nullptr, O_RDWR)) < 0) return false;
  VlnLockArea fresh;
  vlnLockAreaInit(&fresh);
  fresh.fd = w->dbf.pooled;
  fresh.alias = s->lk.alias;
  fresh.filename = s->lk.filename;
  fresh.owner = s->lk.owner;
  return diUseDbExcl(&fresh) == 0;  // held by the process, kept past this record
}

/* Steps 4 and 5: backups, then the memo file and the table renamed in. */
bool move_in(Swap* w)
{
  SwapFile* files[] = {w->memo ? &w->dbt : nullptr, &w->dbf};
  for (SwapFile* f : files)
    if (f && !(f->linked = link(f->real, f->backup) == 0)) return false;
  for (SwapFile* f : files)
    if (f && !(f->renamed = vlnPackRename(f->fresh, f->real) == 0)) return false;
  return true;
}

/* Undo a swap that failed: the old files back under their names, every
** new and backup name gone, the new descriptors closed. */
void undo(Swap* w)
{
  for (SwapFile* f : {&w->dbt, &w->dbf}) {
    if (f->fd >= 0) close(f->fd);
    if (f->pooled >= 0) diCloseFile(f->pooled);
    if (f->renamed) ::rename(f->backup, f->real);
    else if (f->linked) unlink(f->backup);
    if (f->created && !f->renamed) unlink(f->fresh);
  }
}

/* Step 6: the state moves to the new files. */
void take_over(DbfState* s, Swap* w)
{
  unlink(w->dbf.backup);
  if (w->memo) unlink(w->dbt.backup);
  const uint8_t status = s->lk.status;
  vlnLockRelease(&s->lk);
  diCloseFile(s->lk.fd);
  if (w->memo) diCloseFile(s->dbt_fd);
  s->lk.fd = w->dbf.pooled;
  s->dbt_fd = w->memo ? w->dbt.pooled : -1;
  s->lk.status = uint8_t(status & ~DBF_ST_FLOCKED);
  diFileChain(&s->lk, VLN_CHAIN_LINK);
}

/* The open orders describe the old records: each is emptied and built
** again over the new table (reindex), and the active order stays. */
void rebuild_orders(var* self, DbfState* s)
{
  if (s->indexcount == 0) return;
  const int32_t active = s->indexord;
  var* args[] = {self};
  vlnDoMethod("reindex", VLN_DS_REINDEX, 0, 1, args);
  if (active <= s->indexcount) s->indexord = active;
}

/* PACK (pack true) or ZAP of self's table; true when the new table is in
** place, false after a report. */
bool zap_pack(var* self, bool pack)
{
  DbfState* s = dbf_state(self);
  const char* method = pack ? diMN_pack : diMN_zap;
  if (!dbf_is_open(s)) return false;
  if (!dbf_is_excl(s)) {
    dbf_error(self, method, VL_E_NO_DATABASE, VL_SEV_RUNTIME, "%s", diEM_exclreq);
    return false;
  }
  if (dbf_is_ro(s)) {
    dbf_error(self, method, VL_E_FILE_WRITE, VL_SEV_RUNTIME, diEM_dbfro, dbf_alias(s));
    return false;
  }
  put_rec(self);
  idx_sync(self, s, IDX_SYNC_FLUSH);
  const int32_t run = s->wbfirst;
  if (!dbf_wb_flush(s)) {
    dbf_error(self, method, VL_E_FILE_WRITE, VL_SEV_IO, diEM_writrec, int(run), dbf_alias(s));
    return false;
  }
  Swap w;
  w.memo = dbf_has_memo(s);
  bool ok = (!w.memo || s->dbt_fd >= 0) && name_files(s, &w) && build(s, &w, pack);
  vln_disable_break();
  ok = ok && move_in(&w);
  if (ok) take_over(s, &w);
  else undo(&w);
  vln_enable_break();
  if (!ok) {
    dbf_error(self, method, VL_E_FILE_OPEN, VL_SEV_RUNTIME, "%s", diEM_opntmpfil);
    return false;
  }
  s->dirty = 0;
  s->bufrec = 0;
  dbf_ra_drop(s);  // its records are the old file's
  diInvalidateFields(s);
  diForceReadDbfHdr(self);
  vln_wrcnt(0, self);
  rebuild_orders(self, s);
  dbf_gotop(self);
  return true;
}

}  // namespace

extern "C" {

/* pack(): keep only the records not marked deleted, and their memos. */
var* _bb_dbfidx_pack_me(int argc, var** argv) { return set_lv(zap_pack(argv[0], true)); }

/* zap(): remove every record and memo. */
var* _bb_dbfidx_zap_me(int argc, var** argv) { return set_lv(zap_pack(argv[0], false)); }

}  // extern "C"
