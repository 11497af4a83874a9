/*
** idx.hpp -- the IDX index: one order over one DBF in a file of 512-byte
** sectors holding a B-tree whose inner sectors carry real keys.
**
** Two layers share this header.
**
** The tree engine (idxio.cpp, idxtree.cpp) knows sectors, entries and
** keys.  It takes search and stored keys as IdxKey (never a language value),
** positions the area through the DbfState fields recno, lastrec, bof and
** eof, and never reports: a fault is recorded in the descriptor (IdxFault)
** and the operation gives its neutral result.  So it can run inside a read
** or write section, and a fuzzer can drive it without the language.
**
** The order layer (idxfile.cpp, idxsync.cpp, idxorder.cpp) makes keys from
** the key and FOR blocks, runs the engine inside the DBF's sections, and
** reports the recorded fault through diError once the section is left.
**
** ---- The file. ----
**
**   SECTORS  OFFSET       CONTENT
**   0, 1     0..1023      main header: 452 bytes, then zeros
**   2        1024..1535   second header (version 'Q' only)
**   3 on     1536 on      key sectors and free sectors
**
** Sector n lies at n << 9.  A new file is 1536 bytes with nxkysc = 3.
**
** Main header:
**
**   OFFSET  SIZE  MEANING
**   0       1     version: 'Q' current, 'P' older (no second header), below
**                 'P' too old, above 'Q' newer: both refused
**   1       1     flags: 1 UNIQUE, 2 DESCEND
**   2       1     numwidth: total width of a numeric key, else 0
**   3       1     keylen: C characters; N decimals; D 4; L 1
**   4       4     keycnt: keys in the file
**   8       4     root: sector of the root, 0 before the first key
**   12      4     kavsec: head of the free-sector chain, 0 when empty
**   16      4     nxkysc: next sector to take at the end of the file
**   20      1     keytype: C D F I N L (not yet set in a 'P' file)
**   21      1     0
**   22      2     secsize: 512
**   24      4     keysize: raw key size rounded up to a multiple of 4
**   28      4     maxkeys: 480 / (keysize + 8)
**   32      420   keyexpr, NUL-terminated (byte 451 is always 0)
**
** Second header (offset 1024):
**
**   OFFSET  SIZE  MEANING
**   0       1     'Q'
**   1       1     wrcnt: the DBF's write counter (DBF byte 31) when the
**                 index last caught up with it; 0: never recorded
**   2       4     0
**   6       19    base name of the DBF, cut at 19; byte 25 is 0
**   26      229   FOR expression (199 characters at most); byte 255 is 0
**   256     256   the national sort table in force at creation, or zeros
**
** Key sector:
**
**   OFFSET  SIZE  MEANING
**   0       4     SECKYCNT: keys in this sector (free sector: next free)
**   4       4     parent sector, 0 in the root (kept up to date lazily)
**   8       2     parentpos: this sector's child slot in the parent
**   10      2     0
**   12      ...   SECKYCNT entries of keysize + 8 bytes, then one more
**                 child word (the right-most subtree)
**
** Entry: child (4; subtree of keys before this one, 0 for none), recno (4),
** key (keysize).  C keys hold min(length + 1, keysize) bytes of the text,
** terminator included; D a 32-bit day number; F I N an 8-byte double as
** the processor stores it; L one byte 0 or 1.  Keys are ordered by key in
** the index's direction, equal keys by ascending record number.
*/
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "locks.hpp"
#include "var.h"

namespace vl {

struct DbfState;

enum {
  IDX_SECTOR = 512,
  IDX_SECTOR_SHIFT = 9,
  IDX_HDR_BYTES = 452,
  IDX_HDR2_AT = 1024,
  IDX_HDR2_BYTES = 512,
  IDX_CACHE_BYTES = 2048,     /* what an exclusive open keeps in memory */
  IDX_FIRST_SECTOR = 3,
  IDX_VERSION = 'Q',
  IDX_VERSION_402 = 'P',
  IDX_FLAG_UNIQUE = 1,
  IDX_FLAG_DESCEND = 2,
  IDX_MAX_KEY = 238,          /* raw key size */
  IDX_EXPR_ROOM = 420,        /* keyexpr bytes, terminator included */
  IDX_MAX_EXPR = 419,
  IDX_MAX_FOR = 199,
  IDX_NAME_ROOM = 19,         /* DBF base name in the second header */
  IDX_SEC_HEAD = 12,          /* SECKYCNT, parent, parentpos, reserved */
  IDX_ENTRY_HEAD = 8,         /* child, recno */
  IDX_SEC_ROOM = 480,         /* bytes for entries: maxkeys = 480 / entry */
  IDX_MAX_ORDERS = 16,
  IDX_MAX_DEPTH = 64          /* deeper than any real tree: a loop */
};

/* Offsets inside the main header, the second header and a sector. */
enum {
  IDXH_VERSION = 0, IDXH_FLAGS = 1, IDXH_NUMWIDTH = 2, IDXH_KEYLEN = 3,
  IDXH_KEYCNT = 4, IDXH_ROOT = 8, IDXH_KAVSEC = 12, IDXH_NXKYSC = 16,
  IDXH_KEYTYPE = 20, IDXH_SECSIZE = 22, IDXH_KEYSIZE = 24, IDXH_MAXKEYS = 28,
  IDXH_KEYEXPR = 32,
  IDXH2_VERSION = 0, IDXH2_WRCNT = 1, IDXH2_DBFNAME = 6, IDXH2_FOREXPR = 26,
  IDXH2_FOR_ROOM = 229, IDXH2_SORTTAB = 256,
  IDXS_KEYCNT = 0, IDXS_PARENT = 4, IDXS_PARENTPOS = 8
};

/* The main header, decoded. */
struct IdxHeader {
  uint8_t version, flags, numwidth, keylen;
  uint32_t keycnt, root, kavsec, nxkysc;
  char keytype;
  uint16_t secsize;
  uint32_t keysize, maxkeys;
  char keyexpr[IDX_EXPR_ROOM];
};

/* Decode or encode the 452 header bytes at p. */
void idx_get_header(const uint8_t* p, IdxHeader* h);
void idx_put_header(const IdxHeader* h, uint8_t* p);
/* Whether the engine can work on a file with header h and filesize bytes
** (negative: not known): sector size, key size, keys per sector and key
** type agree, and root, free chain head and next sector lie in the file.
** The version byte is not looked at.  When not, why (n bytes) says what is
** wrong. */
bool idx_header_sane(const IdxHeader* h, off_t filesize, char* why, size_t n);
/* Stored key size for a raw key size, and keys per sector for it. */
inline uint32_t idx_keysize(uint32_t raw) { return (raw + 3) & ~3u; }
inline uint32_t idx_maxkeys(uint32_t keysize) { return IDX_SEC_ROOM / (keysize + IDX_ENTRY_HEAD); }

/* A key as a value: the search value of a seek, or the key of a record.
** type is the value's letter: 'C' or 'M' (text, len bytes, not necessarily
** terminated), 'D' (day), 'N' 'F' 'I' (num), 'L' (logical 0/1). */
struct IdxKey {
  char type;
  const char* text;
  int32_t len;
  double num;
  int32_t day;
  int32_t logical;
};

/* A fault the engine met, waiting to be reported by the order layer:
** code 0 means none.  text is the report's text, already formatted. */
struct IdxFault {
  int code;
  int severity;
  const char* method;
  char text[512];
};

/* Descriptor flags. */
enum { IDX_D_OPEN = 0x01, IDX_D_EXCL = 0x20 };

/* One open order.  Owned by the area's order table; ndx_open makes it,
** ndx_close frees it with everything it owns. */
struct IdxDesc {
  char filename[VLN_LOCK_NAME_SIZE]; /* full name, compared by the orders */
  char ordername[16];
  uint8_t flags;
  int fd;
  IdxHeader hdr;      /* the main header as last read or changed */
  uint8_t* cache;     /* exclusive: file bytes 0..2047; else null */
  int32_t cachelen;   /* bytes of cache that hold file content */
  uint8_t sec[2 * IDX_SECTOR]; /* the sector buffer: room to overflow one
                                  entry before a split */
  uint32_t cur_sec;   /* CUR_SEC: the sector in sec */
  int32_t key_off;    /* KEY_OFF: entry within it; -1 is a valid start */
  var* keyfield;      /* the field record when the key is one plain field */
  var* keyblock;      /* the compiled key expression (owned) */
  var* forblock;      /* the compiled FOR expression (owned), or null */
  double tolerance;   /* 0.5 / 10^keylen */
  var* pendkey;       /* kept old key (owned copy), or null */
  var* pendfor;       /* kept old FOR value (owned copy), or null */
  IdxFault fault;     /* the engine's unreported fault */
  IdxFault note;      /* the order layer's unreported warning, which
                         (unlike a fault) does not stop the engine */
  struct IdxSecCache* seccache; /* exclusive: recently used key sectors
                                   (owned, see idx_cache_release), or null */
};

/* Entry access in the sector buffer. */
inline size_t idx_entry_size(const IdxDesc* x) { return x->hdr.keysize + IDX_ENTRY_HEAD; }
inline uint8_t* idx_entry(IdxDesc* x, int32_t k) { return x->sec + IDX_SEC_HEAD + size_t(k) * idx_entry_size(x); }

/* ---- The tree engine (idxio.cpp, idxtree.cpp, idxedit.cpp).  No
** reports.  Structural nonsense (a sector outside the file, a key count
** above maxkeys + 1, a path deeper than the file can hold) records fault
** 412 and ends the operation with its neutral result. ---- */

/* Switches, on by default (tests run both ways).  vlnIdxBinarySearch: a
** binary search for the stop position within a sector in place of the
** walk from its first entry (the same position in a sorted sector).
** vlnIdxSectorCache: an exclusive descriptor keeps up to this many
** recently used key sectors in memory (seccache), 0 none, and writes
** changed ones when they leave it, at a forced header flush and at
** idx_cache_release; the file's bytes are then what they would have been
** without it.  The value is read when a descriptor first moves a sector. */
extern int vlnIdxBinarySearch;
extern int vlnIdxSectorCache;
/* Write the sectors idx's cache holds unwritten and free it.  ndx_close
** calls it for every descriptor before closing the file. */
void idx_cache_release(IdxDesc* idx);

/* Read n bytes at file offset at through the exclusive cache: below 1024
** nothing is read (the caller's header is the cache), 1024..2047 comes from
** the cache, the rest from the file.  Bytes read. */
ssize_t Iread_fil(IdxDesc* idx, int fd, void* buf, size_t n, off_t at);
/* Write n bytes at at: on an exclusive descriptor the part in [1024, 2048)
** is copied into the cache, and nothing below 2048 reaches the file unless
** force is set.  Bytes written (n when cached). */
ssize_t Iwrite_fil(IdxDesc* idx, int fd, const void* buf, size_t n, off_t at, int force);
/* Read or write sector cur_sec into or from sec.  false (fault 412 with
** the diEM_badidx text) when cur_sec is out of range (get: 3 .. nxkysc - 1,
** put: 3 .. nxkysc) or a read sector's key count exceeds maxkeys + 1. */
bool get_cur_sec(DbfState* wa, IdxDesc* idx);
bool put_cur_sec(DbfState* wa, IdxDesc* idx);
/* Write the header (exclusive without force: into the cache only; a forced
** flush of an exclusive descriptor writes the sectors the sector cache
** holds unwritten, then the cached 0..2047 whole). */
void ndx_flshhdr(IdxDesc* idx, int force);
/* Re-read the header; nothing when exclusive. */
void ndx_updthdr(IdxDesc* idx);
/* Take a sector (the free chain first), free cur_sec. */
uint32_t get_new_sec(IdxDesc* idx);
bool set_fre_sec(DbfState* wa, IdxDesc* idx);
/* Open a gap of count entries at first; close one by moving the entries
** from first on count places down. */
void kys_rght(IdxDesc* idx, int32_t first, int32_t count);
void kys_left(IdxDesc* idx, int32_t first, int32_t count);
/* Whether a value of type v may search an index of key type k. */
bool idx_types_match(char v, char k);
/* Compare value with the entry at key_off: below 0, 0, above 0 as value is
** before, at, after it in index order.  A type the rule refuses: fault 317
** and 0. */
int ndx_compkey(IdxDesc* idx, const IdxKey* value);
/* Encode key into an entry's key slot (C: min(len + 1, keysize) bytes). */
void idx_put_key(IdxDesc* idx, uint8_t* slot, const IdxKey* key);
/* Descend by key, or by key and record number.  Leaves cur_sec/key_off at
** the stop position; true when found.  Repairs back links on the way. */
bool seek_key(DbfState* wa, IdxDesc* idx, const IdxKey* key);
bool Eseek_key(DbfState* wa, IdxDesc* idx, const IdxKey* key, int32_t recno);
/* From a found entry, the first of the equal keys: its record number;
** clears wa->bof. */
int32_t INdxFirstOf(DbfState* wa, IdxDesc* idx, const IdxKey* key);
/* Next and previous key: the record number.  Past the end: eof set and
** wa->lastrec + 1; before the start: bof set and the first key (as
** idx_top without its header re-read).  0 on a fault. */
int32_t Indx_down(DbfState* wa, IdxDesc* idx);
int32_t Indx_up(DbfState* wa, IdxDesc* idx);
/* First and last key, after re-reading the header: set wa->recno and
** clear eof (eof and lastrec + 1 when there is no key). */
void idx_top(DbfState* wa, IdxDesc* idx);
void idx_bott(DbfState* wa, IdxDesc* idx);
/* Insert key for recno; the UNIQUE rule and the duplicate fault (416)
** included.  false on a fault. */
bool Indx_add(DbfState* wa, IdxDesc* idx, int32_t recno, const IdxKey* key);
/* Delete the entry at key_off (an inner entry first takes the key before
** it).  false, changing nothing, when key_off is on no entry; false on a
** fault. */
bool Indx_del(DbfState* wa, IdxDesc* idx);
/* Find key, after re-reading the header: true when found (wa->recno the
** first equal key, eof clear); a miss with soft lands on the next key or
** eof; without soft, eof (recno lastrec + 1). */
bool idx_find(DbfState* wa, IdxDesc* idx, const IdxKey* key, bool soft);
/* The key at key_off as an IdxKey of the index's type (text points into
** sec; valid until the buffer changes). */
IdxKey idx_entry_key(IdxDesc* idx, int32_t k);
/* Record the fault (printf-style text). */
void idx_fault(IdxDesc* idx, int code, int severity, const char* method, const char* fmt, ...)
    __attribute__((format(printf, 5, 6)));

/* ---- The order layer (idxfile.cpp, idxsync.cpp). ---- */

/* The corrupted state of an area. */
enum { IDX_CRPT_NONE = 0, IDX_CRPT_SUSPECT = 1, IDX_CRPT_BROKEN = 2, IDX_CRPT_SILENT = 3 };
/* Sync states, and the modes of idx_sync that set them: flush deferred
** keys (0), before a move (1), before a seek (2) or a seek by block (3),
** hold the current record's keys before a write (4), after an append (5). */
enum {
  IDX_SYNC_FLUSH = 0, IDX_SYNC_MOVE = 1, IDX_SYNC_SEEK = 2, IDX_SYNC_SEEKEVAL = 3,
  IDX_SYNC_HELD = 4, IDX_SYNC_APPENDED = 5
};
/* Descriptor flag of the order layer: the keys of the appended record
** wa->syncrec are held in pendkey/pendfor and not yet in the file (only
** exclusive orders defer; a shared one takes them at once, for the other
** processes to see). */
enum { IDX_D_DEFER = 0x02 };
/* Descriptor flag of the order layer: the pool's claim on the file is held
** (IDX_D_OPEN comes only when the open is complete). */
enum { IDX_D_CLAIMED = 0x04 };

/* Make the index file name (".idx" added) for key text keytext whose
** value is key; see the creation rules.  TRUE_VAR or FALSE_VAR after a
** report; nothing is left on disk on failure. */
var* ndx_creat(var* name, var* keytext, var* key, var* unique, var* descend, var* fortext, int mode,
               var* self, int width, int decimals);
/* Open name as an order of self's area: the descriptor, or null after a
** report.  key, when not null, is the key value the caller has already
** evaluated; method names the operation for reports. */
IdxDesc* ndx_open(var* self, DbfState* wa, var* name, int exclusive, var* alias, var* key, int readonly,
                  const char* method);
/* Close and free idx (synchronizing first). */
void ndx_close(var* self, DbfState* wa, IdxDesc* idx);
/* Empty the file, keeping its header and FOR text.  1, or 0 after a report. */
int ndx_zap(var* self, IdxDesc* idx);
/* Second-header work; see the op table in idxfile.cpp. */
int vln_ndx_hdr2(int op, int value, int fd, var* self, IdxDesc* idx, char* text);
/* Insert the key of record recno (evaluated now when key is null), unless
** the FOR value (evaluated when forv is null) is false. */
void ndx_add(var* self, DbfState* wa, IdxDesc* idx, int32_t recno, var* key, var* forv);
/* Put the cursor on the area's current record: 1 when found. */
int update_pos(var* self, DbfState* wa, IdxDesc* idx);
/* The key value of the current record for idx (a temporary). */
var* idx_eval_key(var* self, IdxDesc* idx);
/* Report a pending engine fault of idx and clear it; a 412 or a corrupted
** state drops the area's orders (closing them first). */
void idx_report(var* self, DbfState* wa, IdxDesc* idx);
/* Close every order of the area and clear the table. */
void idx_close_all(var* self, DbfState* wa);
/* The build: add the keys of the records in the order condition's scope. */
void diBuildIdxFile(var* self, IdxDesc* idx, int keep);
/* Sets the corrupted state to broken if keycnt differs from the count for
** an index without UNIQUE and FOR. */
void check_ndx_crpt(DbfState* wa, IdxDesc* idx, int32_t count);
/* Before engine work at place (a text for the report): a suspect state
** records the 902 warning and goes on; a broken one records the 331 report,
** drops the area's orders (count and active order 0; the descriptors wait
** in the table for idx_report, which closes them) and gives false: the
** operation must stop.  Silent: nothing.  The state is 0 afterwards. */
bool vln_wrcnt_msg(var* self, DbfState* wa, IdxDesc* idx, const char* place, int line);
/* The language value v as a key (text borrowed from v); false for a type
** no key can have. */
bool idx_key_of(var* v, IdxKey* key);

/* The walks of the order layer: each checks the corrupted state and
** re-reads the header first, and sets wa->recno, bof and eof. */
void ndx_top(var* self, DbfState* wa, IdxDesc* idx);
void ndx_bott(var* self, DbfState* wa, IdxDesc* idx);
/* Next and previous key from the current record: past the end eof and
** the ghost record; before the start (or off the index) bof and record 1. */
void ndx_down(var* self, DbfState* wa, IdxDesc* idx);
void ndx_up(var* self, DbfState* wa, IdxDesc* idx);
/* Find key; see idx_find. */
bool ndx_find(var* self, DbfState* wa, IdxDesc* idx, const IdxKey* key, bool soft);
/* From the current record forward in index order, the first entry for
** which block(key, recno) is true: true when found (recno set), else eof. */
bool ndx_fastfind(var* self, DbfState* wa, IdxDesc* idx, var* block);
/* Delete the entry of record recno whose key was key. */
void ndx_del(var* self, DbfState* wa, IdxDesc* idx, var* key, int32_t recno);
/* update_pos for key and recno given (null key: the current record's). */
int update_pos1(var* self, DbfState* wa, IdxDesc* idx, var* key, int32_t recno);
/* Re-read the cursor's sector (shared only): 0 when its entry is unchanged. */
int ndx_rereadpg(var* self, DbfState* wa, IdxDesc* idx);

/* ---- The driver's index methods (idxsync.cpp), as direct calls; the
** _bb_dbfidx_index*_me entries wrap them.  They run inside the caller's
** section and record faults; the caller reports with idx_report_all once
** it has left the section. ---- */

/* The active order, or null in natural order. */
IdxDesc* idx_active(const DbfState* wa);
/* indexsynchronize(mode): false when no order is open. */
bool idx_sync(var* self, DbfState* wa, int mode);
/* indexreplace: swap the held keys of the current record for its keys now. */
void idx_replace(var* self, DbfState* wa);
/* indexskip(n): the signed number of steps taken in the active order. */
int32_t idx_skip(var* self, DbfState* wa, int32_t n);
/* indexseek: the type rule, then ndx_find on the active order. */
bool idx_seek(var* self, DbfState* wa, var* key, bool soft);
/* indexseekeval: ndx_fastfind on the active order. */
bool idx_seekeval(var* self, DbfState* wa, var* block);
/* indexkeycompare: key against the active order's current entry. */
int idx_keycompare(var* self, DbfState* wa, var* key);
/* indexgotop, indexgobottom: flush, then the first or last key. */
void idx_gotop(var* self, DbfState* wa);
void idx_gobottom(var* self, DbfState* wa);
/* Report every order's pending fault (idx_report each). */
void idx_report_all(var* self, DbfState* wa);

}  // namespace vl
