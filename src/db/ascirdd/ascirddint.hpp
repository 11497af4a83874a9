/*
** ascirddint.hpp -- the ASCII driver's state and the routines its two files
** share.
**
** One state per object, in slot VLN_DS_STATE_SLOT.  The record buffer has
** the DBF layout (a flag byte, then the fields side by side), so the field
** records and decoders are those of the DBF driver: a 'C' record points
** into the buffer, the others are decoded from it on the first read of a
** line (fieldvalid).
**
** Reading.  Each line is read whole (getline), whatever its length, and
** cut of its trailing CR, LF and 0x1A bytes.  An empty line is a blank
** record, except the last line of the file (an editor's final newline or
** an end-of-file mark).  skip() moves to the next line the scope lets
** through; the buffer always holds the line read last.
*/
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include "dierror.h"
#include "var.h"

namespace vl {

/* Bits of the status byte. */
enum { ASC_ST_OPEN = 0x01, ASC_ST_CLOSED = 0x02 };

/* Scope counts: every line, or while the while block holds. */
constexpr int32_t kAscAll = -1;
constexpr int32_t kAscWhile = -2;

/* One field of the structure. */
struct AsciField {
  char name[12]; /* upper-cased, trimmed */
  char type;     /* C D F L N */
  uint8_t dec;
  uint32_t len;
  uint32_t offset; /* from the start of the record (flag = 0) */
};

struct AsciState {
  VlnDriverHead head; /* first: diError finds the error object there */
  char filename[250];
  char alias[16];
  uint8_t delim;  /* text delimiter, 0 for none */
  uint8_t sep;    /* field separator, 0 for none */
  uint8_t status; /* ASC_ST_* */
  uint8_t ateof;
  uint8_t bound;  /* an area holds the object under alias */
  uint32_t reclen; /* 1 + the field lengths */
  int32_t recno;   /* lines consumed */
  FILE* stream;
  int64_t at;      /* offset of the next line (asking the stream costs a system call) */
  char* line;      /* getline's buffer */
  size_t linecap;
  std::vector<AsciField> fields;
  std::vector<var*> fieldvars;
  std::vector<uint8_t> recbuf;
  std::vector<uint8_t> fieldvalid;
  var* forblock;   /* owned, or null */
  var* whileblock;
  int32_t count;   /* lines still allowed: kAscAll, kAscWhile, or n */
  int32_t target;  /* the one line wanted, or 0 */
};

/* The state of an object, or null. */
AsciState* asc_state(var* obj);
inline bool asc_is_open(const AsciState* s) { return s && (s->status & ASC_ST_OPEN); }

/* The record of field i (0-based) of the line in the buffer, decoded on
** its first read. */
var* asc_field(AsciState* s, uint32_t i);
/* Read the next line into the record buffer: 1 with a record, 0 at the
** end of the file (ateof set). */
int asc_read_record(AsciState* s);
/* Move to the next line in scope: 1 when found, 0 at the end (ateof set)
** or where the while block turned false (that line stays in the buffer
** and is read again by the next skip). */
int asc_skip(AsciState* s);

}  // namespace vl
