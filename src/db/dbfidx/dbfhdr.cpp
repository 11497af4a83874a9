/*
** dbfhdr.cpp -- the DBF header: reading and writing its first 32 bytes, the
** write counter in byte 31, field descriptors, and the raw I/O of the
** driver's files.
**
** When the header reaches the file.  In shared mode the count goes out at
** every append, so that the other processes see the new record.  A commit
** with changes pending writes the count, the date and the counter; a commit
** with nothing pending only re-reads.  An exclusive table is written at
** commit and close and nowhere else.
**
** The count is trusted only as far as the file goes: a header whose count
** promises more whole records than the file holds is cut back to what is
** there (the open refuses such a file outright; this guards the re-reads
** in a running program).
**
** The write counter (byte 31) is a generation number: every written
** record adds 1 to wrpending, and a commit adds wrpending to the byte,
** skipping 0 and 1 after a wrap, so that an index that remembers the byte
** can tell that the table was changed without it.  Each commit copies the
** byte into every open order's second header (vln_wrcnt_upd).
*/
#include <errno.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "dbfidx.h"
#include "dbfint.hpp"
#include "idx.hpp"

extern "C" {
int VLdbheadY2000 = 0;
}

namespace vl {

namespace {

constexpr int kTextSize = 512;
constexpr int kYearBase = 1900;
constexpr int kCounterSkip = 2;    /* 0 and 1 are never a counter after a wrap */
constexpr int kReadUntilDone = 8;  /* tries of a read or write interrupted */

}  // namespace

void dbf_stamp_date(uint8_t* hdr)
{
  const time_t now = time(nullptr);
  struct tm t;
  localtime_r(&now, &t);
  hdr[1] = uint8_t(t.tm_year);
  hdr[2] = uint8_t(t.tm_mon + 1);
  hdr[3] = uint8_t(t.tm_mday);
}

void dbf_error(var* self, const char* method, int code, int severity, const char* fmt, ...)
{
  char text[kTextSize];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(text, sizeof text, fmt, ap);
  va_end(ap);
  diError(self, method, code, severity, text, "dbfidx", 0);
}

void dbf_fail(DbfFailure* f, int code, int severity, const char* fmt, ...)
{
  f->code = code;
  f->severity = severity;
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(f->text, sizeof f->text, fmt, ap);
  va_end(ap);
}

const char* dbf_alias(const DbfState* s)
{
  if (!s) return "";
  return s->alias[0] ? s->alias : s->filename;
}

/* Move n bytes with step(offset into the buffer), which returns what one
** system call moved; an interrupted call is tried again a few times.
** Returns the bytes moved. */
template <class Step>
static size_t move_all(size_t n, Step step)
{
  size_t done = 0;
  for (int tries = 0; done < n && tries < kReadUntilDone;) {
    const ssize_t got = step(done);
    if (got > 0) {
      done += size_t(got);
    } else if (got == 0 || errno != EINTR) {
      break;
    } else {
      ++tries;
    }
  }
  return done;
}

bool dbf_pread(int fd, void* buf, size_t n, off_t at, uint8_t pad)
{
  uint8_t* p = static_cast<uint8_t*>(buf);
  const size_t done = move_all(n, [&](size_t k) { return pread(fd, p + k, n - k, at + off_t(k)); });
  if (done < n) std::memset(p + done, pad, n - done);
  return done == n;
}

bool dbf_pwrite(int fd, const void* buf, size_t n, off_t at)
{
  const uint8_t* p = static_cast<const uint8_t*>(buf);
  return move_all(n, [&](size_t k) { return pwrite(fd, p + k, n - k, at + off_t(k)); }) == n;
}

int32_t dbf_records_in(const DbfState* s, off_t size)
{
  if (s->lk.reclen == 0 || size <= off_t(s->lk.headerlen)) return 0;
  const off_t n = (size - off_t(s->lk.headerlen)) / off_t(s->lk.reclen);
  return n > INT32_MAX ? INT32_MAX : int32_t(n);
}

int flush_dbfhdr(var* self)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) {
    dbf_error(self, diMN_fldput, VL_E_DBF_NOT_OPEN, VL_SEV_INTERNAL, diEM_area, dbf_alias(s));
    return -1;
  }
  dbf_wb_flush(s);
  local_wrlock2(&s->lk, diMN_fldput);
  dbf_put32(s->hdr + DBF_OFF_COUNT, uint32_t(s->lastrec));
  dbf_stamp_date(s->hdr);
  dbf_pwrite(s->lk.fd, s->hdr, DBF_HEADER_SIZE, 0);
  local_rwulock2(&s->lk, diMN_fldput);
  return 0;
}

int diForceReadDbfHdr(var* self)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) {
    dbf_error(self, diMN_fldget, VL_E_DBF_NOT_OPEN, VL_SEV_INTERNAL, "%s", diEM_nulstr);
    return -1;
  }
  dbf_wb_flush(s);
  local_rdlock2(&s->lk, diMN_fldget);
  uint8_t hdr[DBF_HEADER_SIZE];
  struct stat st;
  const bool whole = dbf_pread(s->lk.fd, hdr, sizeof hdr, 0, 0) && fstat(s->lk.fd, &st) == 0;
  local_rwulock2(&s->lk, diMN_fldget);
  if (!whole) return -1;  // keep what we had: the file went away under us
  std::memcpy(s->hdr, hdr, sizeof hdr);
  const uint32_t count = dbf_get32(hdr + DBF_OFF_COUNT);
  const int32_t held = dbf_records_in(s, st.st_size);
  const int32_t before = s->lastrec;
  s->lastrec = count > uint32_t(held) ? held : int32_t(count);
  // The blank ghost record in the buffer is a real record once another
  // process has appended it.
  if (s->lastrec != before && s->bufrec > before) s->bufrec = 0;
  return 0;
}

void updat_dbfhdr(var* self)
{
  DbfState* s = dbf_state(self);
  if (dbf_is_open(s) && !dbf_is_excl(s)) diForceReadDbfHdr(self);
}

bool reread_dbfhdr(var* self)
{
  DbfState* s = dbf_state(self);
  const int32_t before = s->lastrec;
  updat_dbfhdr(self);
  return s->lastrec == before;
}

/* Add the pending changes to header byte 31 and write the header. */
static int apply_wrcnt(var* self, DbfState* s)
{
  unsigned counter = (s->hdr[DBF_OFF_WRCNT] + s->wrpending) & 0xFF;
  if (counter <= s->wrpending) counter = (counter + kCounterSkip) & 0xFF;
  s->hdr[DBF_OFF_WRCNT] = uint8_t(counter);
  s->wrpending = 0;
  flush_dbfhdr(self);
  return int(counter);
}

/*
** vln_wrcnt(value, self):
**   -5  apply, if anything is pending          -> header byte
**   -4  re-read the header if nothing is pending, then apply -> header byte
**   -3  wrpending = 1
**   -2  wrpending + 1 (a wrap to 0 gives 2)
**   -1  no change
**   0+  wrpending = value
** Applying with nothing pending writes nothing (a commit with nothing
** to count only re-reads).
*/
int vln_wrcnt(int value, var* self)
{
  DbfState* s = dbf_state(self);
  switch (value) {
    case -5:
    case -4:
      if (value == -4 && s->wrpending == 0) diForceReadDbfHdr(self);
      return s->wrpending ? apply_wrcnt(self, s) : s->hdr[DBF_OFF_WRCNT];
    case -3: s->wrpending = 1; break;
    case -2:
      if (++s->wrpending == 0) s->wrpending = kCounterSkip;
      break;
    case -1: break;
    default: s->wrpending = uint8_t(value); break;
  }
  return s->wrpending;
}

/* Commit the pending count and give every open order the table's
** counter, which says that the order holds every change counted so far
** (keys an exclusive order still holds are added first). */
void vln_wrcnt_upd(var* self)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s) || dbf_is_ro(s) || (s->wrpending == 0 && s->indexcount == 0)) return;
  // Only a change to count or keys to add needs the write section; an
  // order's counter that is already in step is only read.
  const bool write = s->wrpending != 0 || s->syncstate == IDX_SYNC_APPENDED;
  if (write) local_wrlock2(&s->lk, diMN_fldput);
  else local_rdlock2(&s->lk, diMN_fldput);
  idx_sync(self, s, IDX_SYNC_FLUSH);
  updat_dbfhdr(self);
  const int counter = s->wrpending ? vln_wrcnt(-4, self) : s->hdr[DBF_OFF_WRCNT];
  for (int i = 1; i <= s->indexcount; ++i) vln_ndx_hdr2(3, counter, 0, self, s->orders[i], nullptr);
  local_rwulock2(&s->lk, diMN_fldput);
  idx_report_all(self, s);
}

void dbf_fldef(int i, const char* name, char type, uint32_t len, int dec, uint8_t* header)
{
  uint8_t* d = header + DBF_HEADER_SIZE + i * DBF_FIELD_SIZE;
  std::memset(d, 0, DBF_FIELD_SIZE);
  for (int k = 0; k < DBF_NAME_LEN && name[k]; ++k)
    d[k] = uint8_t(std::toupper(static_cast<unsigned char>(name[k])));
  d[11] = uint8_t(std::toupper(static_cast<unsigned char>(type)));
  if (d[11] == 'C') {
    d[16] = uint8_t(len & 0xFF);
    d[17] = uint8_t(len >> 8);
  } else {
    d[16] = uint8_t(len);
    d[17] = uint8_t(dec);
  }
}

}  // namespace vl
