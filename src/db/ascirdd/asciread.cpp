/*
** asciread.cpp -- the ASCII driver's reading: one line into the record
** buffer in the object's line format, and the scope of skip.
**
** The three formats, chosen by the delimiter and separator bytes:
**
**   blank-separated  (no delimiter, no separator)  each field is the next
**                    run of bytes that are neither blank nor tab
**   SDF              (no separator)  the line is the record without its
**                    flag byte: fixed columns, a short line padded with
**                    blanks
**   DELIMITED        fields between separators; a field may stand in
**                    delimiters, with blanks before the opening one; two
**                    delimiters inside stand for one; a value without
**                    delimiters keeps its leading blanks
**
** A value longer than its field is cut and the rest skipped; a missing
** field stays blank.  Delimiters are taken off every field, so a quoted
** number or date decodes as one.
*/
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "ascirddint.hpp"
#include "blocks.h"
#include "kernel.h"

namespace vl {

namespace {

constexpr uint8_t kBlank = ' ';
constexpr uint8_t kTab = '\t';
constexpr uint8_t kEofMark = 0x1A;

bool is_blank(uint8_t c) { return c == kBlank || c == kTab; }
bool is_line_end(uint8_t c) { return c == '\r' || c == '\n' || c == kEofMark; }

/* A line being cut into fields. */
struct Cursor {
  const uint8_t* p;
  const uint8_t* end;
};

/* Copy at most f.len bytes of [from, to) into the field's columns. */
void put(AsciState* s, const AsciField& f, const uint8_t* from, const uint8_t* to)
{
  const size_t n = std::min<size_t>(size_t(to - from), f.len);
  std::memcpy(s->recbuf.data() + f.offset, from, n);
}

void fill_blank_separated(AsciState* s, Cursor c)
{
  for (const AsciField& f : s->fields) {
    while (c.p < c.end && is_blank(*c.p)) ++c.p;
    const uint8_t* start = c.p;
    while (c.p < c.end && !is_blank(*c.p)) ++c.p;
    put(s, f, start, c.p);
  }
}

void fill_sdf(AsciState* s, Cursor c)
{
  const size_t n = std::min<size_t>(size_t(c.end - c.p), s->reclen - 1);
  std::memcpy(s->recbuf.data() + 1, c.p, n);
}

/* A delimited value at c.p (the opening delimiter): its bytes into field
** f, a doubled delimiter as one; c ends past the closing delimiter. */
void take_delimited(AsciState* s, const AsciField& f, Cursor& c)
{
  uint8_t* out = s->recbuf.data() + f.offset;
  uint32_t n = 0;
  const uint8_t d = s->delim;
  for (++c.p; c.p < c.end; ++c.p) {
    if (*c.p == d) {
      if (c.p + 1 < c.end && c.p[1] == d) {
        ++c.p;
      } else {
        ++c.p;
        return;
      }
    }
    if (n < f.len) out[n++] = *c.p;
  }
}

void fill_delimited(AsciState* s, Cursor c)
{
  const uint8_t sep = s->sep;
  for (const AsciField& f : s->fields) {
    if (c.p >= c.end) break;
    const uint8_t* q = c.p;
    while (q < c.end && is_blank(*q)) ++q;
    if (s->delim && q < c.end && *q == s->delim) {
      c.p = q;
      take_delimited(s, f, c);
    } else {
      const uint8_t* start = c.p;
      const void* at = std::memchr(c.p, sep, size_t(c.end - c.p));
      c.p = at ? static_cast<const uint8_t*>(at) : c.end;
      put(s, f, start, c.p);
    }
    const void* at = std::memchr(c.p, sep, size_t(c.end - c.p));
    c.p = at ? static_cast<const uint8_t*>(at) + 1 : c.end;
  }
}

/* Whether the stream has nothing left. */
bool at_end(FILE* stream)
{
  const int c = std::getc(stream);
  if (c == EOF) return true;
  std::ungetc(c, stream);
  return false;
}

bool holds(var* block) { return !block || vlnLogVar(vlnBlockEval(block)); }

}  // namespace

int asc_read_record(AsciState* s)
{
  std::memset(s->recbuf.data(), kBlank, s->reclen);
  std::fill(s->fieldvalid.begin(), s->fieldvalid.end(), 0);
  const ssize_t got = getline(&s->line, &s->linecap, s->stream);
  if (got < 0) {
    s->ateof = 1;
    return 0;
  }
  s->at += got;
  Cursor c{reinterpret_cast<const uint8_t*>(s->line), reinterpret_cast<const uint8_t*>(s->line) + got};
  while (c.end > c.p && is_line_end(c.end[-1])) --c.end;
  if (c.end == c.p) {
    if (!at_end(s->stream)) return 1;
    s->ateof = 1;
    return 0;
  }
  if (s->sep) {
    fill_delimited(s, c);
  } else if (s->delim) {
    fill_sdf(s, c);
  } else {
    fill_blank_separated(s, c);
  }
  return 1;
}

int asc_skip(AsciState* s)
{
  while (s->count != 0) {
    const off_t back = s->at;
    ++s->recno;
    if (!asc_read_record(s)) break;
    if (!holds(s->whileblock)) {
      fseeko(s->stream, back, SEEK_SET);
      s->at = back;
      --s->recno;
      asc_read_record(s);
      fseeko(s->stream, back, SEEK_SET);
      s->at = back;
      s->ateof = 1;
      return 0;
    }
    if (s->count > 0) --s->count;
    if (s->target ? s->recno == s->target : holds(s->forblock)) return 1;
  }
  if (s->count == 0) s->ateof = 1;
  else --s->recno;  // the end of the file consumed no line
  return 0;
}

}  // namespace vl
