/*
** dbt.cpp -- the memo file: texts in 512-byte blocks beside the table.
**
**   OFFSET     SIZE  MEANING
**   0          4     next free block, unsigned little-endian; 1 when new
**   4          508   zero
**   512 * n    ...   a memo starting at block n: its text, then 0x1A up to
**                    the end of its last block
**
** A memo ends at its first 0x1A (or where the file ends); there is no length
** word and no free list.  A text that no longer fits its blocks together
** with one 0x1A moves to the next free block, and its old blocks stay
** unused until PACK copies the table.  Reads stop after 128 blocks, so a
** memo holds at most 65535 bytes of text.
**
** Only the next-free word is shared between processes: a write takes a
** waiting write lock on its 4 bytes while it moves the word on.  Two writers
** of the same memo are kept apart by the record lock a REPLACE needs.
*/
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "dbfint.hpp"
#include "kernel.h"
#include "runtime.h"
#include "vlerror.hpp"

namespace vl {

namespace {

constexpr const char* kModule = "dbt";
constexpr uint8_t kMemoEnd = 0x1A;
constexpr uint32_t kFirstFree = 1;    /* the next-free word of a new file */
constexpr long kAllocLockLen = 4;     /* the allocation lock: the word itself */
constexpr int kMemoPurpose = 18;      /* vln_errmsg row of a memo's text */

off_t block_pos(int32_t block) { return off_t(block) * DBT_BLOCK; }

/* Blocks needed for len bytes of text and the 0x1A behind them. */
int32_t blocks_for(int32_t len) { return len / DBT_BLOCK + 1; }

/* Where the memo at block ends: its text size and the blocks it spans. */
struct Extent {
  int32_t size;   /* bytes of text; -1 when no end was found in time */
  int32_t blocks; /* blocks read up to and including the end */
};

/* Walk the memo at block (>= 1) a block at a time, at most
** DBT_MAX_READ_BLOCKS, up to its first 0x1A; the end of the file counts as
** one.  first receives the memo's first block, so that a short memo costs
** one read. */
Extent scan_memo(int fd, int32_t block, uint8_t* first)
{
  uint8_t buf[DBT_BLOCK];
  for (int32_t i = 0; i < DBT_MAX_READ_BLOCKS; ++i) {
    uint8_t* b = i == 0 ? first : buf;
    dbf_pread(fd, b, DBT_BLOCK, block_pos(block + i), kMemoEnd);
    if (const void* end = std::memchr(b, kMemoEnd, DBT_BLOCK))
      return {i * DBT_BLOCK + int32_t(static_cast<const uint8_t*>(end) - b), i + 1};
  }
  return {-1, DBT_MAX_READ_BLOCKS};
}

/* The state of self when it may reach its memo file, else null. */
DbfState* memo_state(var* self)
{
  DbfState* s = dbf_state(self);
  return dbf_is_open(s) && dbf_has_memo(s) && s->dbt_fd >= 0 ? s : nullptr;
}

/* Resize the driver-owned text of a memo record to len bytes and a
** terminating zero; the new buffer. */
char* resize_text(var* variable, int32_t len)
{
  auto* p = static_cast<char*>(vln_realloc(VSTR(variable), size_t(len) + 1, vln_errmsg[kMemoPurpose],
                                           VL_SEV_FATAL, VL_LEVEL_ALWAYS, kModule, __LINE__));
  p[len] = '\0';
  variable->Value.w1.str = p;
  variable->Length = len + 1;
  return p;
}

/* scan_memo for a reader: a memo without an end in time reports 301 and
** gives size -1.  Block 0 and below is the empty memo. */
Extent read_extent(var* self, DbfState* s, int32_t block, uint8_t* first)
{
  if (block <= 0) return {0, 0};
  const Extent e = scan_memo(s->dbt_fd, block, first);
  if (e.size < 0) dbf_error(self, diMN_fldget, VL_E_NO_MEMORY, VL_SEV_RUNTIME, "%s", diEM_dbtrd);
  return e;
}

/* Take n blocks at the end of the memo file: the first of them, or 0 when
** the lock cannot be had or the next-free word cannot grow by n.  Another
** process may be doing the same, so in shared mode the word is read and
** written under its lock, which waits; nothing that may report runs while
** it is held. */
int32_t allocate_blocks(DbfState* s, int32_t n)
{
  const bool shared = !dbf_is_excl(s);
  if (shared && vlnFCNTLlock(F_SETLKW, F_WRLCK, 0, kAllocLockLen, s->dbt_fd, nullptr) != 0) return 0;
  uint8_t word[4];
  dbf_pread(s->dbt_fd, word, sizeof word, 0, 0);
  uint32_t next = dbf_get32(word);
  if (next < kFirstFree) next = kFirstFree;  // a damaged word must not hand out block 0
  const bool room = next <= uint32_t(INT32_MAX - n);
  if (room) {
    dbf_put32(word, next + uint32_t(n));
    dbf_pwrite(s->dbt_fd, word, sizeof word, 0);
  }
  if (shared) vlnFCNTLlock(F_SETLK, F_UNLCK, 0, kAllocLockLen, s->dbt_fd, nullptr);
  return room ? int32_t(next) : 0;
}

/* Write text as the memo at block: whole blocks, then the rest with 0x1A
** up to the end of its last block. */
bool write_memo(int fd, int32_t block, const char* text, int32_t len)
{
  const int32_t whole = len / DBT_BLOCK * DBT_BLOCK;
  uint8_t tail[DBT_BLOCK];
  std::memset(tail, kMemoEnd, sizeof tail);
  std::memcpy(tail, text + whole, size_t(len - whole));
  return (whole == 0 || dbf_pwrite(fd, text, size_t(whole), block_pos(block))) &&
         dbf_pwrite(fd, tail, sizeof tail, block_pos(block) + whole);
}

}  // namespace

void dbt_settext(var* variable, const char* text, int32_t len)
{
  if (text == VSTR(variable)) return;  // the record's own text: nothing to copy
  std::memcpy(resize_text(variable, len), text, size_t(len));
}

int32_t memo_siz(var* self, int32_t block, int round)
{
  DbfState* s = memo_state(self);
  if (!s) return 0;
  uint8_t first[DBT_BLOCK];
  const Extent e = read_extent(self, s, block, first);
  if (e.size < 0) return 0;
  return round ? e.blocks * DBT_BLOCK : e.size;
}

var* dbt_read(var* self, int32_t block, var* value)
{
  DbfState* s = memo_state(self);
  if (!s) {
    dbf_error(self, diMN_fldget, VL_E_NO_MEMO_FILE, VL_SEV_FATAL, "%s", diEM_nulstr);
    return nullptr;
  }
  uint8_t first[DBT_BLOCK];
  const Extent e = read_extent(self, s, block, first);
  if (e.size < 0) return nullptr;
  if (e.size <= DBT_BLOCK)
    dbt_settext(value, reinterpret_cast<const char*>(first), e.size);
  else
    dbf_pread(s->dbt_fd, resize_text(value, e.size), size_t(e.size), block_pos(block), kMemoEnd);
  return value;
}

int32_t dbt_write(var* self, int32_t block, const char* text, int32_t len, var* variable)
{
  DbfState* s = memo_state(self);
  if (!s) {
    dbf_error(self, diMN_fldput, VL_E_DBF_NOT_OPEN, VL_SEV_INTERNAL, "%s", dbf_alias(dbf_state(self)));
    return 0;
  }
  if (len == 0 && block <= 0) return 0;  // an empty memo needs no block
  dbf_wb_flush(s);
  int32_t capacity = 0;
  if (block > 0) {
    uint8_t first[DBT_BLOCK];
    const Extent e = scan_memo(s->dbt_fd, block, first);
    if (e.size >= 0) capacity = e.blocks * DBT_BLOCK;  // an endless memo moves
  }
  if (len + 1 > capacity) block = allocate_blocks(s, blocks_for(len));
  if (block == 0 || !write_memo(s->dbt_fd, block, text, len)) {
    dbf_error(self, diMN_fldput, VL_E_FILE_WRITE, VL_SEV_IO, "memo file of %s: cannot write", dbf_alias(s));
    return 0;
  }
  dbt_settext(variable, text, len);
  return block;
}

void dbt_name(const DbfState* s, const char* table, char* out, size_t size)
{
  std::snprintf(out, size, "%s", table);
  char* slash = std::strrchr(out, '/');
  char* dot = std::strrchr(out, '.');
  if (dot && (!slash || dot > slash)) *dot = '\0';
  const size_t used = std::strlen(out);
  std::snprintf(out + used, size - used, "%s", s->dbtext);
}

int dbt_create(const DbfState* s, const char* table, int perms)
{
  char name[VLN_LOCK_NAME_SIZE];
  dbt_name(s, table, name, sizeof name);
  // Through the pool: the memo file may be open (and locked) here already.
  const int fd = diOpenHandle(name, O_RDWR | O_CREAT | O_TRUNC, perms);
  if (fd < 0) return -1;
  uint8_t head[DBT_BLOCK] = {};
  dbf_put32(head, kFirstFree);
  const bool whole = dbf_pwrite(fd, head, sizeof head, 0);
  diCloseHandle(fd);
  return whole ? 0 : -1;
}

}  // namespace vl
