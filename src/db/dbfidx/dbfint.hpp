/*
** dbfint.hpp -- the DBF driver's state record and the routines its files
** share: the header, the record buffer, the memo file, field access and
** the life of a table.
**
** One driver object per open of a table.  The object keeps a pointer to
** its DbfState in slot VLN_DS_STATE_SLOT; the state owns the header image,
** the record buffer and its backup, the field table and the field records'
** cache bytes, and one pooled descriptor each for the DBF and the DBT.
**
** The record buffer is in one of three states:
**
**   clean   bufrec == recno, dirty == 0: the buffer shows the file
**   stale   bufrec != recno: a move set recno and read nothing yet
**   dirty   the buffer holds changes not yet written (bufrec == recno)
**
** A move sets recno only; the first field read (get_rec) reads the record,
** so walking the table without reading fields costs no I/O.  A change goes
** to the buffer; put_rec writes it at the next move, commit, close or
** change of selection.
**
** Errors.  Driver routines report through diError and then give their
** neutral result; the error block may BREAK out of the report.  So no
** routine reports while it holds a section, the break gate, or a half-made
** change: it finishes or undoes, releases, and then reports.  Routines that
** must report under a section (the positioning code's read locks) release
** it first through the helpers below.
*/
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "dierror.hpp"
#include "errcodes.h"
#include "vlerror.h"
#include "locks.hpp"
#include "var.h"

namespace vl {

/* ---- The on-disk header. ----
**
**   OFFSET  SIZE  MEANING
**   0       1     version: 0x03, or 0x83 with a memo file; only the low six
**                 bits (3) are required, bit 0x80 says "memo"
**   1       3     last update: year - 1900, month, day
**   4       4     record count, unsigned little-endian
**   8       2     header length: 32 * fields + 33 (trusted: fields are
**                 (length - 32) / 32, the 0x0D is not looked for)
**   10      2     record length: 1 + the field lengths
**   12      19    zero
**   31      1     write counter; 1 in a new file
**   32      32*n  field descriptors
**   32+32n  1     0x0D
**
** A field descriptor:
**
**   OFFSET  SIZE  MEANING
**   0       11    name, zero-padded; all 11 bytes may be used (then no NUL)
**   11      1     type letter C N F D L M
**   12      4     zero on disk
**   16      1     length (low byte of the length for C)
**   17      1     decimals (high byte of the length for C)
**   18      14    zero
**
** Records follow the header: a delete flag ('*' or blank), then the fields
** with no separator.  No 0x1A ends the file; the count alone says where
** the records end. */
enum {
  DBF_HEADER_SIZE = 32,
  DBF_FIELD_SIZE = 32,
  DBF_NAME_LEN = 11,
  DBF_VERSION = 0x03,
  DBF_VERSION_MEMO = 0x83,
  DBF_VERSION_MASK = 0x3F,
  DBF_MEMO_BIT = 0x80,
  DBF_HDR_END = 0x0D,
  DBF_MAX_FIELDS = 2046, /* header length fits 16 bits */
  DBF_MAX_RECLEN = 65535,
  DBF_MAX_NUMLEN = 20,
  DBF_MAX_NUMDEC = 18,
  DBF_MEMO_LEN = 10,
  DBF_DATE_LEN = 8,
  DBT_BLOCK = 512,
  DBT_MAX_READ_BLOCKS = 128,
  DBF_OFF_COUNT = 4,
  DBF_OFF_HDRLEN = 8,
  DBF_OFF_RECLEN = 10,
  DBF_OFF_WRCNT = 31
};

/* Bytes a table opened exclusively may keep unwritten (write-behind). */
constexpr size_t kWriteBehindCap = size_t(1) << 20;
/* Bytes a table opened exclusively reads at once when it is read record
** after record (read-ahead). */
constexpr size_t kReadAheadCap = size_t(1) << 16;

/* Bits of the status byte (VlnLockArea::status). */
enum {
  DBF_ST_OPEN = 0x01,
  DBF_ST_CLOSED = 0x02,
  DBF_ST_INSPECT = 0x08, /* open inside createdb: no area, no fields */
  DBF_ST_READONLY = 0x10,
  DBF_ST_EXCL = 0x20,
  DBF_ST_FLOCKED = 0x40
};

/* Fixed-width little-endian codecs. */
inline uint32_t dbf_get32(const uint8_t* p)
{
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline uint16_t dbf_get16(const uint8_t* p) { return uint16_t(p[0] | p[1] << 8); }
inline void dbf_put32(uint8_t* p, uint32_t v)
{
  p[0] = uint8_t(v), p[1] = uint8_t(v >> 8), p[2] = uint8_t(v >> 16), p[3] = uint8_t(v >> 24);
}
inline void dbf_put16(uint8_t* p, uint16_t v) { p[0] = uint8_t(v), p[1] = uint8_t(v >> 8); }

/* One field as decoded from its descriptor. */
struct DbfField {
  char name[DBF_NAME_LEN + 1]; /* upper-cased, NUL-terminated */
  char type;                   /* C N F D L M, or the unknown letter */
  uint8_t dec;                 /* decimals (0 for C) */
  uint32_t len;                /* bytes in the record (both bytes for C) */
  uint32_t offset;             /* from the start of the record (flag = 0) */
};

struct IdxDesc;

/* At most this many relations per table. */
constexpr int32_t kMaxRelations = 8;

/* One relation: after every move of the parent, child is positioned on the
** key block gives, evaluated in the parent's area.  All three values are
** owned by the relation (text may be null). */
struct DbfRelation {
  var* child; /* the child driver object */
  var* block; /* the key */
  var* text;  /* the expression as a text, for relation(); or null */
};

/* The condition of the next index build (setordercondition); the build
** puts the defaults back when it ends. */
struct OrderCond {
  var* fortext;    /* owned text of the FOR clause, or null */
  var* forblock;   /* owned blocks, or null */
  var* whileblock;
  var* evalblock;
  int32_t interval; /* 1; -1: every record */
  int32_t start;    /* first record of the scan, 1 */
  int32_t next;     /* records to visit, -1 without limit */
  uint8_t flags;    /* 1 ALL, 2 DESCEND */
};

/* The driver state of one object.  head must come first (diError finds the
** error object there); lk carries the status byte, the DBF descriptor, the
** record geometry and the lock list that the lock layer works on. */
struct DbfState {
  VlnDriverHead head;
  VlnLockArea lk;

  /* Position: the flags every move sets. */
  int32_t recno;   /* current record; count + 1 is the ghost record */
  int32_t lastrec; /* record count as last read from the header */
  uint8_t bof, eof, found;

  /* Buffer. */
  uint8_t dirty;     /* the buffer differs from the file */
  uint8_t wrpending; /* changes not yet counted in header byte 31 */
  int32_t bufrec;    /* record in the buffer, 0 if none */
  uint8_t* recbuf;   /* reclen bytes */
  uint8_t* backup;   /* the record as read, made at the first change */
  uint8_t* wbuf;     /* write-behind records (exclusive tables), or null */
  size_t wbused;     /* bytes of wbuf in use */
  int32_t wbfirst;   /* record number of the first record in wbuf */
  uint8_t* rabuf;    /* read-ahead records (exclusive tables), or null */
  int32_t rafirst;   /* record number of the first record in rabuf */
  int32_t racount;   /* records in rabuf that mirror the table, 0: none */
  int32_t ralast;    /* the record fetch_rec read last, 0 if none */

  /* Header and fields. */
  uint8_t hdr[DBF_HEADER_SIZE]; /* the first 32 bytes as last read/written */
  uint16_t fieldcount;
  DbfField* fields;   /* fieldcount entries */
  var** fieldvars;    /* the announced field records; null entries for
                         fields of an unknown type */
  uint8_t* fieldvalid; /* per field: its record holds the buffer's value */
  int dbt_fd;          /* memo descriptor, -1 if none */

  /* Settings. */
  int32_t concurrency;   /* automatic locking mode, initially 1 */
  char dbfext[8], dbtext[8], idxext[8];
  char delimiter[2];
  time_t lastsync; /* of the last fdatasync */

  /* Orders: orders[1..indexcount], indexord the active one (0: natural
  ** order).  syncstate and syncrec are the deferred key maintenance of
  ** indexsynchronize; crpt the corrupted state (IDX_CRPT_*). */
  IdxDesc* orders[17];
  int32_t indexcount, indexord;
  int32_t syncstate, syncrec;
  int32_t crpt;
  OrderCond cond;
  char ordtext[VLN_LOCK_NAME_SIZE]; /* the area's order text (orderinfo 8) */

  /* Visibility and default scope (dbfscope.cpp).  Owned values, or null. */
  var* filterblock;  /* the filter; tested by filt_n_del */
  var* filtertext;   /* its text, for filter* and info 28 */
  var* forblock;     /* default for of eval when none is given */
  var* whileblock;   /* default while */
  int32_t scope;     /* default scope: -1 all, -2 the rest, n the next n */
  var* locateblock;  /* LOCATE's negated condition, which CONTINUE runs */
  var* locateuser;   /* the condition as the user gave it (getlocate) */

  /* Relations (dbfrel.cpp): relations[0..relcount-1]; relactive is
  ** relcount, or 0 while they are switched off; resolving guards against
  ** re-entry while the children are being positioned. */
  DbfRelation relations[kMaxRelations];
  int32_t relcount, relactive;
  uint8_t resolving;

  /* Names. */
  char filename[VLN_LOCK_NAME_SIZE];
  char alias[16];
};

/* The state of a driver object, or null if it has none. */
inline DbfState* dbf_state(var* obj) { return reinterpret_cast<DbfState*>(driver_head_of(obj)); }
inline bool dbf_is_open(const DbfState* s) { return s && (s->lk.status & DBF_ST_OPEN); }
inline bool dbf_is_excl(const DbfState* s) { return s->lk.status & DBF_ST_EXCL; }
inline bool dbf_is_ro(const DbfState* s) { return s->lk.status & DBF_ST_READONLY; }
inline bool dbf_has_memo(const DbfState* s) { return s->hdr[0] & DBF_MEMO_BIT; }
/* Byte offset of record n (1-based). */
inline off_t dbf_recpos(const DbfState* s, int32_t n)
{
  return off_t(s->lk.headerlen) + off_t(n - 1) * off_t(s->lk.reclen);
}

/* A failure noted while a file is opened or made, reported (dbf_error)
** once everything is undone. */
struct DbfFailure {
  int code = 0;
  int severity = 0;
  char text[512] = "";
};
/* Note a failure in f (code 0 means none yet), text printf-style. */
void dbf_fail(DbfFailure* f, int code, int severity, const char* fmt, ...) __attribute__((format(printf, 4, 5)));

/* Report through diError for self's table, with a printf-style text. */
void dbf_error(var* self, const char* method, int code, int severity, const char* fmt, ...)
    __attribute__((format(printf, 5, 6)));
/* The alias for messages: the state's alias or the file name. */
const char* dbf_alias(const DbfState* s);

/* ---- Raw I/O (dbfhdr.cpp): the one place that talks to the files. ----
** Each returns true when all n bytes moved; a short read fills the rest
** with blanks (pad) and returns false. */
bool dbf_pread(int fd, void* buf, size_t n, off_t at, uint8_t pad = ' ');
bool dbf_pwrite(int fd, const void* buf, size_t n, off_t at);

/* ---- Header (dbfhdr.cpp). ---- */

/* Write the count and today's date into the header image and the first 32
** bytes to the file, under a write section.  0, or -1 if not open. */
int flush_dbfhdr(var* self);
/* Re-read the first 32 bytes under a read section; takes the count
** (bounded by the records the file holds) and header length. */
int diForceReadDbfHdr(var* self);
/* diForceReadDbfHdr unless the table is exclusive. */
void updat_dbfhdr(var* self);
/* updat_dbfhdr; true if the count did not change. */
bool reread_dbfhdr(var* self);
/* The write counter: see the table in dbfhdr.cpp. */
int vln_wrcnt(int value, var* self);
/* At commit (and at the end of an index build): count pending changes into
** header byte 31 and write it; add keys an order still holds; copy the byte
** into every open order. */
void vln_wrcnt_upd(var* self);
/* Today's date into header bytes 1..3, year - 1900 cut to a byte. */
void dbf_stamp_date(uint8_t* hdr);
/* Write descriptor i of a header image being built. */
void dbf_fldef(int i, const char* name, char type, uint32_t len, int dec, uint8_t* header);
/* The records a file of size bytes holds whole, for a table whose geometry
** is in s. */
int32_t dbf_records_in(const DbfState* s, off_t size);

/* ---- Record buffer (dbfrec.cpp). ---- */

int fetch_rec(var* self, int32_t n);
void get_rec(var* self, int only_if_stale);
int put_rec(var* self);
void flush_rec(var* self, int32_t n);
void diSetEof(var* self);
void diClrRecord(DbfState* s);
void diBackupRecord(DbfState* s);
inline void diInvalidateFields(DbfState* s)
{
  for (uint16_t i = 0; i < s->fieldcount; ++i) s->fieldvalid[i] = 0;
}
/* Write the write-behind buffer out (no-op when empty).  false on a failed
** write. */
bool dbf_wb_flush(DbfState* s);
/* Whether tables opened exclusively keep a write-behind buffer (on by
** default; tests run both ways). */
extern int vlnDbfWriteBehind;
/* Whether tables opened exclusively read ahead (on by default; tests run
** both ways).  The read-ahead run mirrors records of the table: every
** record written through put_rec or flush_rec updates its copy there, so
** it stays right as long as nothing else writes records.  A routine that
** puts other records in their place (PACK, ZAP) drops it with dbf_ra_drop. */
extern int vlnDbfReadAhead;
/* Records read into a buffer since the start, from the file or the
** read-ahead run: a statistic of how often moves and field reads go to
** the table. */
extern uint64_t vlnDbfRecordReads;
/* Forget the read-ahead run. */
inline void dbf_ra_drop(DbfState* s) { s->racount = 0; }
/* fdatasync the table's files, at most every 11 seconds (force: now). */
void vlnSync(DbfState* s, int force);

/* ---- Memo file (dbt.cpp). ---- */

/* The memo at block into value (resized text), or 0 on failure. */
var* dbt_read(var* self, int32_t block, var* value);
/* Size of the memo at block in bytes, or with round its capacity. */
int32_t memo_siz(var* self, int32_t block, int round);
/* Write text (len bytes) as the memo that was at block; the block used,
** or 0 when nothing was written.  variable takes a copy of the text. */
int32_t dbt_write(var* self, int32_t block, const char* text, int32_t len, var* variable);
/* Make the driver-owned text of a memo field record a copy of len bytes
** of text (reallocated; Length len + 1). */
void dbt_settext(var* variable, const char* text, int32_t len);
/* The memo file's name for the table file table: its extension (if any)
** replaced by s's memo extension (dbtext), into out (size bytes). */
void dbt_name(const DbfState* s, const char* table, char* out, size_t size);
/* Create (or empty) the memo file of table, named by dbt_name, with
** permission bits perms: block 0 alone, next-free word 1, the rest zero.
** 0, or -1 when it could not be written. */
int dbt_create(const DbfState* s, const char* table, int perms);

/* ---- Fields (dbffield.cpp). ---- */

/* The field record of field i (0-based) refreshed from the buffer. */
var* diSelfFieldGet(var* self, var* field);
/* 0 go ahead, 1 go ahead with an automatic lock to give back, -1 refused
** (after a report). */
int vln_chk_repl(DbfState* s, var* self);
/* Point every 'C' field record at the current record buffer. */
void dbf_point_fields(DbfState* s);

/* ---- Moves (dbfmove.cpp). ---- */

/* Whether the current record is visible under SET DELETED and the filter. */
bool filt_n_del(var* self, DbfState* s);
/* Whether SET DELETED or a filter makes moves test each record. */
bool dbf_filtered(const DbfState* s);
/* Whether a for or while condition holds on the current record: true
** without a block, else the block's truth. */
bool dbf_holds(var* block);
int32_t diSkip(var* self, int32_t n);
void dbf_gotop(var* self);
void dbf_gobottom(var* self);
void dbf_goto(var* self, int32_t n);

/* ---- Filter, default scope, LOCATE (dbfscope.cpp). ---- */

/* Release the filter, the default scope and the LOCATE condition (close
** clears them in this order, with the orders and relations between). */
void dbf_clear_filter(DbfState* s);
void dbf_clear_locate(DbfState* s);
void dbf_clear_scope(DbfState* s);

/* ---- Relations (dbfrel.cpp). ---- */

/* Position every child of self on the record its key gives (the ghost
** record when the parent is at EOF).  -1 when there is nothing to do
** (no active relation, closed, or already resolving), else 0. */
int diResolveRelations(var* self);
/* Release every relation of s. */
void dbf_clear_relations(DbfState* s);

/* ---- Automatic locking (dbfauto.cpp). ----
** The driver asks for automatic locks through the language-level
** functions AUTORLOCK, AUTOFLOCK and AUTOUNLOCK, found by name so that an
** application can replace them.  setting is the area's concurrency. */

/* Take an automatic record lock on the current record: true when locked. */
bool dbf_auto_rlock(var* self, int32_t setting);
/* Take an automatic file lock: true when locked. */
bool dbf_auto_flock(var* self, int32_t setting);
/* Give back an automatic lock (commits first); recno 0 gives back the file
** lock, else that record's lock. */
void dbf_auto_unlock(var* self, int32_t setting, int32_t recno);
/* Whether a write to an unlocked record may take an automatic lock: the
** area's setting is not 0, and a positive setting needs the global
** auto-lock time to be on. */
bool dbf_auto_allowed(int32_t setting);

/* ---- Owned values. ---- */

/* A free-standing copy of v, owned by the caller (release with dbf_drop). */
var* dbf_own(var* v);
/* Release an owned value and null the pointer; nothing for null. */
void dbf_drop(var*& v);

/* ---- Life of a table (dbfopen.cpp, dbfrecord.cpp). ---- */

/* Reset a state to its closed form. */
void diClearObject(DbfState* s);
/* Close the table of self (nothing if closed).  Always true. */
bool dbf_close(var* self);
/* commit: write the buffer, refresh, count the changes. */
void dbf_commit(var* self);

/* ---- Whole records (dbffield.cpp), for the whole-table commands. ---- */

/* The current record's bytes (the table's record length, the delete flag
** first), read when the buffer is stale; null on a closed table or the
** ghost record.  The bytes are the driver's buffer: valid until the next
** move or write of self. */
const uint8_t* dbf_record_bytes(var* self);
/* Write bytes (record length, delete flag first; the flag is not taken)
** over every field of the current record, as FIELDPUT of each field with
** its decoded value would.  The caller has checked that the bytes come
** from a table of the same structure without memo fields.  false after a
** refusal (no lock), reported as FIELDPUT reports it. */
bool dbf_put_record_bytes(var* self, const uint8_t* bytes);

/* ---- PACK and ZAP (dbfpack.cpp). ---- */

/* The rename that moves PACK's and ZAP's new files over the table's:
** rename(2), or a test's stand-in that fails on purpose. */
extern int (*vlnPackRename)(const char* from, const char* to);

}  // namespace vl
