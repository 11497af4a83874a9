/*
** dbfopen.cpp -- opening, creating and closing a table: init, createdb,
** close, axit, dbstruct, and the language's DBUSEAREA and DBCREATE.
**
** The order of an open:
**
**   1. resolve the name (SET DEFAULT, SET PATH) and take a pooled
**      descriptor (read-only or read-write)
**   2. the USE lock: exclusive, or one shared slot (vlnLockUse), which
**      also links the open into the ring of this process's opens of the
**      file and refuses an exclusive open beside another
**   3. under a read section: the 32-byte header, then the whole header;
**      every number in it is checked against the file before it is used
**   4. the memo file, when the version byte has bit 0x80
**   5. the alias and the field records (not in inspection mode)
**
** A failure at any step undoes the steps before it in reverse order and
** only then reports, with breaks enabled again, so that an error block
** that BREAKs leaves no descriptor, lock or half-made state behind.
**
** A header is refused (326) when it is shorter than 32 bytes, its version
** is not one of ours, its header length is below 33 (that of a table
** without fields) or beyond the file, its count promises more records than
** the file holds, a field has no name or length 0, or the fields do not
** fit in the record length.  A field of an unknown
** type is reported (204) after the open, which proceeds: that field is
** simply not announced.
*/
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "areas.h"
#include "arrays.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "facade.h"
#include "files.h"
#include "fname.h"
#include "idx.hpp"
#include "idxorder.hpp"
#include "kernel.h"
#include "objects.h"
#include "rddreg.hpp"
#include "vlgen.h"

using namespace vl;

namespace {

constexpr int kTextSize = 300;
constexpr int kMinHeader = DBF_HEADER_SIZE + 1; /* no fields: the 0x0D alone */
constexpr int kOctalBase = 8;
constexpr uint8_t kDbase4 = 0x8B;
constexpr uint8_t kFox = 0xF5;

/* The header of name is damaged: what is wrong. */
void fail_header(DbfFailure* f, const char* name, const char* what, long a = 0, long b = 0)
{
  char detail[kTextSize / 2];
  std::snprintf(detail, sizeof detail, what, a, b);
  dbf_fail(f, VL_E_DBF_VERSION, VL_SEV_RUNTIME, "%s;%s", name, detail);
}

/* The version byte's refusal, or true when the byte is one of ours. */
bool check_version(uint8_t v, DbfFailure* f)
{
  if ((v & DBF_VERSION_MASK) == DBF_VERSION) return true;
  if (v == kDbase4) dbf_fail(f, VL_E_DBF_VERSION, VL_SEV_RUNTIME, "%s", diEM_dbivfile);
  else if (v == kFox) dbf_fail(f, VL_E_DBF_VERSION, VL_SEV_RUNTIME, "%s", diEM_foxfile);
  else dbf_fail(f, VL_E_DBF_VERSION, VL_SEV_RUNTIME, diEM_vercode, unsigned(v));
  return false;
}

/* Decode the descriptors of a whole header into s->fields; false (with f
** filled) when they do not fit the record. */
bool decode_fields(DbfState* s, const uint8_t* header, DbfFailure* f)
{
  const int most = (s->lk.headerlen - DBF_HEADER_SIZE) / DBF_FIELD_SIZE;
  int n = 0;
  while (n < most && header[DBF_HEADER_SIZE + n * DBF_FIELD_SIZE] != DBF_HDR_END) ++n;
  s->fields = new DbfField[n > 0 ? n : 1]();
  s->fieldcount = uint16_t(n);
  uint32_t offset = 1;
  for (int i = 0; i < n; ++i) {
    const uint8_t* d = header + DBF_HEADER_SIZE + i * DBF_FIELD_SIZE;
    DbfField& fd = s->fields[i];
    int k = 0;
    for (; k < DBF_NAME_LEN && d[k]; ++k) fd.name[k] = char(std::toupper(d[k]));
    while (k > 0 && fd.name[k - 1] == ' ') --k;
    fd.name[k] = '\0';
    fd.type = char(std::toupper(d[11]));
    fd.len = fd.type == 'C' ? uint32_t(d[16] | d[17] << 8) : d[16];
    fd.dec = fd.type == 'C' ? 0 : d[17];
    fd.offset = offset;
    if (k == 0 || fd.len == 0) {  // a nameless field could never be retired by its name
      fail_header(f, s->filename, k == 0 ? "field %ld has no name" : "field %ld has length 0", i + 1);
      return false;
    }
    offset += fd.len;
  }
  if (offset > s->lk.reclen) {
    fail_header(f, s->filename, "the fields need %ld bytes, a record has %ld", long(offset), long(s->lk.reclen));
    return false;
  }
  return true;
}

/* Read and check the header; fills the geometry, count and fields. */
bool read_header(DbfState* s, DbfFailure* f)
{
  struct stat sb;
  if (fstat(s->lk.fd, &sb) != 0 || !dbf_pread(s->lk.fd, s->hdr, DBF_HEADER_SIZE, 0, 0)) {
    fail_header(f, s->filename, "the header is cut short");
    return false;
  }
  if (!check_version(s->hdr[0], f)) return false;
  s->lk.headerlen = dbf_get16(s->hdr + DBF_OFF_HDRLEN);
  s->lk.reclen = dbf_get16(s->hdr + DBF_OFF_RECLEN);
  const uint32_t count = dbf_get32(s->hdr + DBF_OFF_COUNT);
  if (s->lk.headerlen < kMinHeader || off_t(s->lk.headerlen) > sb.st_size) {
    fail_header(f, s->filename, "header length %ld, file length %ld", long(s->lk.headerlen), long(sb.st_size));
    return false;
  }
  if (s->lk.reclen == 0) {
    fail_header(f, s->filename, "record length 0");
    return false;
  }
  const int32_t held = dbf_records_in(s, sb.st_size);
  if (count > uint32_t(held)) {
    fail_header(f, s->filename, "%ld records counted, %ld in the file", long(count), long(held));
    return false;
  }
  s->lastrec = int32_t(count);
  std::vector<uint8_t> header(s->lk.headerlen);
  if (!dbf_pread(s->lk.fd, header.data(), header.size(), 0, 0)) {
    fail_header(f, s->filename, "the header is cut short");
    return false;
  }
  return decode_fields(s, header.data(), f);
}

/* Allocate the buffers and announce alias and fields. */
bool bind_table(var* self, DbfState* s, DbfFailure* f)
{
  s->recbuf = new uint8_t[s->lk.reclen];
  diClrRecord(s);
  s->fieldvalid = new uint8_t[s->fieldcount > 0 ? s->fieldcount : 1]();
  s->fieldvars = new var*[s->fieldcount > 0 ? s->fieldcount : 1]();
  if (dbf_is_excl(s) && !dbf_is_ro(s) && vlnDbfWriteBehind) s->wbuf = new uint8_t[kWriteBehindCap];
  if (s->lk.status & DBF_ST_INSPECT) return true;
  int bound = vlnAnnounceAlias(self, s->filename, s->alias);
  if (bound >= 0 && !vlnObjectLocateArea(self)) {
    // A file named like an area letter ("h.dbf") cannot lend its name as
    // the alias: the table gets the name with "_" behind it ("H_").
    char name[sizeof s->alias + 2];
    std::snprintf(name, sizeof name, "%s_", s->alias);
    bound = vlnAnnounceAlias(self, name, s->alias);
  }
  if (bound < 0) {
    dbf_fail(f, VL_E_ILLEGAL_ALIAS, VL_SEV_RUNTIME, "%s", s->filename);
    return false;
  }
  for (uint16_t i = 0; i < s->fieldcount; ++i) {
    const DbfField& fd = s->fields[i];
    if (!std::strchr("CNFDLM", fd.type) || fd.type == '\0') continue;
    char* storage = fd.type == 'C' ? reinterpret_cast<char*>(s->recbuf + fd.offset) : nullptr;
    s->fieldvars[i] = vlnAnnounceField(fd.name, i, fd.type, 1, int32_t(fd.len), fd.dec, storage);
  }
  return true;
}

/* The first field of an unknown type, or 0. */
char unknown_type(const DbfState* s)
{
  for (uint16_t i = 0; i < s->fieldcount; ++i)
    if (!std::strchr("CNFDLM", s->fields[i].type) || s->fields[i].type == '\0') return s->fields[i].type;
  return 0;
}

/* Steps 2 to 5 of an open, on a state whose descriptor is taken. */
bool open_steps(var* self, DbfState* s, DbfFailure* f)
{
  if (vlnLockUse(&s->lk) != 0) return false;  // silent: NETERR() tells
  local_rdlock2(&s->lk, diMN_init);
  bool ok = read_header(s, f);
  if (ok && dbf_has_memo(s)) {
    char memo[VLN_LOCK_NAME_SIZE];
    dbt_name(s, s->filename, memo, sizeof memo);
    s->dbt_fd = diOpenFile(memo, nullptr, dbf_is_ro(s) ? O_RDONLY : O_RDWR);
    if (s->dbt_fd < 0) {
      dbf_fail(f, VL_E_FILE_OPEN, VL_SEV_IO, "%s", memo);
      ok = false;
    }
  }
  if (ok) ok = bind_table(self, s, f);
  local_rwulock2(&s->lk, diMN_init);
  return ok;
}

/* Open name on self's state.  inspect: inside createdb (exclusive, no area,
** no fields).  True when the table is open. */
bool open_table(var* self, DbfState* s, const char* name, bool exclusive, bool readonly, bool inspect)
{
  char wanted[VLN_LOCK_NAME_SIZE], found[VLN_LOCK_NAME_SIZE];
  DbfFailure f;
  if (!vlnAddExtension(wanted, name, s->dbfext, sizeof wanted)) {
    dbf_error(self, diMN_init, VL_E_FILE_OPEN, VL_SEV_IO, "%s", name);
    return false;
  }
  vlnPathFile(wanted, found, sizeof found);
  vln_disable_break();
  s->lk.fd = diOpenFile(found[0] ? found : wanted, s->filename, readonly ? O_RDONLY : O_RDWR);
  struct stat sb;
  if (s->lk.fd >= 0 && (fstat(s->lk.fd, &sb) != 0 || !S_ISREG(sb.st_mode))) {
    diCloseFile(s->lk.fd);
    s->lk.fd = -1;
    errno = EISDIR;
  }
  bool ok = false;
  if (s->lk.fd < 0) {
    if (errno != EAGAIN) dbf_fail(&f, VL_E_FILE_OPEN, VL_SEV_IO, "%s", found[0] ? found : wanted);
  } else {
    s->lk.status = uint8_t((exclusive ? DBF_ST_EXCL : 0) | (readonly ? DBF_ST_READONLY : 0) |
                           (inspect ? DBF_ST_INSPECT : 0));
    s->lk.filename = s->filename;
    s->lk.alias = s->alias;
    ok = open_steps(self, s, &f);
    if (ok) {
      s->lk.status = uint8_t((s->lk.status & ~DBF_ST_CLOSED) | DBF_ST_OPEN);
      s->recno = 1;
      s->bufrec = 0;
      if (s->lastrec == 0) {
        diSetEof(self);
        s->bof = 1;
      }
      vln_wrcnt(0, self);
    } else {
      s->lk.status |= DBF_ST_OPEN;  // let close undo what the steps did
      dbf_close(self);
    }
  }
  vln_enable_break();
  if (f.code) dbf_error(self, diMN_init, f.code, f.severity, "%s", f.text);
  if (ok && !inspect) {
    if (const char t = unknown_type(s)) dbf_error(self, diMN_init, VL_E_ILLEGAL_FIELD_TYPE, VL_SEV_RUNTIME, diEM_unkfldtyp, t);
    if (sb.st_mode & S_ISGID) dbf_error(self, diMN_init, VL_E_DEV_WARNING, VL_SEV_RUNTIME, "%s", diEM_noshop);
  }
  return ok;
}

/* Free what an open allocated; the state becomes closed. */
void free_buffers(DbfState* s)
{
  delete[] s->fields;
  delete[] s->fieldvars;
  delete[] s->fieldvalid;
  delete[] s->recbuf;
  delete[] s->backup;
  delete[] s->wbuf;
  delete[] s->rabuf;
  s->fields = nullptr;
  s->fieldvars = nullptr;
  s->fieldvalid = nullptr;
  s->recbuf = s->backup = s->wbuf = s->rabuf = nullptr;
  s->fieldcount = 0;
}

/* Retire the field records (memo texts are the driver's to free).  A
** retirement by name takes this object's record announced last under that
** name, so the fields go in reverse order: two fields whose names are the
** same (as the language sees names) then each retire their own record. */
void retire_fields(var* self, DbfState* s)
{
  if (s->lk.status & DBF_ST_INSPECT) return;
  for (uint16_t i = s->fieldcount; i-- > 0;) {
    var* v = s->fieldvars ? s->fieldvars[i] : nullptr;
    if (!v) continue;
    if (s->fields[i].type == 'M' && v->Value.w1.str) {
      vln_free(v->Value.w1.str, __FILE__, __LINE__);
      v->Value.w1.str = nullptr;
    }
    vlnRetireField(self, s->fields[i].name);
  }
}

DbfState* state_for_init(var* self)
{
  DbfState* s = dbf_state(self);
  if (!s) {
    s = new DbfState{};
    vlnDriverAttach(self, &s->head);
  } else if (dbf_is_open(s)) {
    dbf_close(self);
  }
  diClearObject(s);
  vlnDriverHeadInit(&s->head);
  return s;
}

/* Digits of a number read as octal (644 -> 0644). */
int dec_as_oct(int32_t n)
{
  int out = 0, scale = 1;
  for (; n > 0; n /= 10, scale *= kOctalBase) out += (n % 10) * scale;
  return out;
}

bool is_num(const var* v) { return vlnInSet("NFIL", v->Type); }

/* One checked element of a structure array. */
struct FieldDef {
  char name[DBF_NAME_LEN + 1];
  char type;
  uint32_t len;
  int dec;
};

/* Check the structure; fill defs and the record length, or report. */
bool check_structure(var* self, var* structure, std::vector<FieldDef>& defs)
{
  ArrRec* a = structure->Value.w1.arr;
  uint32_t reclen = 1;
  for (uint32_t i = 0; i < a->A_size; ++i) {
    var* e = a->A_vec[i];
    if (e->Type != 'A') return dbf_error(self, diMN_createdb, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr), false;
    ArrRec* row = e->Value.w1.arr;
    if (row->A_size < 4 || !vlnInSet("CM", row->A_vec[0]->Type) || !vlnInSet("CM", row->A_vec[1]->Type) ||
        !is_num(row->A_vec[2]) || !is_num(row->A_vec[3]))
      return dbf_error(self, diMN_createdb, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_wrgeltyp), false;
    FieldDef d{};
    int k = 0;
    for (const char* p = VSTR(row->A_vec[0]); *p == ' '; ++p) ++k;
    const char* nm = VSTR(row->A_vec[0]) + k;
    size_t nl = std::strlen(nm);
    while (nl > 0 && nm[nl - 1] == ' ') --nl;
    const long len = long(vlnNumVar(row->A_vec[2]));
    d.dec = int(vlnNumVar(row->A_vec[3]));
    d.type = char(std::toupper(static_cast<unsigned char>(VSTR(row->A_vec[1])[0])));
    if (d.type == '\0' || nl == 0 || nl > DBF_NAME_LEN || len < 0)
      return dbf_error(self, diMN_createdb, VL_E_ARG_VALUE, VL_SEV_RUNTIME, "%s", diEM_emptyname), false;
    for (size_t j = 0; j < nl; ++j) d.name[j] = char(std::toupper(static_cast<unsigned char>(nm[j])));
    for (const FieldDef& o : defs)
      if (std::strcmp(o.name, d.name) == 0)
        return dbf_error(self, diMN_createdb, VL_E_ARG_VALUE, VL_SEV_RUNTIME, "duplicate field name %s", d.name), false;
    switch (d.type) {
      case 'C':
        if (len + 256L * d.dec > DBF_MAX_RECLEN || len + 256L * d.dec == 0)
          return dbf_error(self, diMN_createdb, VL_E_ILLEGAL_VALUE, VL_SEV_RUNTIME, "%s", diEM_chfld2lng), false;
        d.len = uint32_t(len + 256L * d.dec);
        d.dec = 0;
        break;
      case 'D': d.len = DBF_DATE_LEN, d.dec = 0; break;
      case 'L': d.len = 1, d.dec = 0; break;
      case 'M': d.len = DBF_MEMO_LEN, d.dec = 0; break;
      case 'N':
      case 'F':
        if (len > DBF_MAX_NUMLEN || len == 0 || d.dec < 0 || d.dec > DBF_MAX_NUMDEC || (d.dec > 0 && d.dec > len - 2))
          return dbf_error(self, diMN_createdb, VL_E_ILLEGAL_VALUE, VL_SEV_RUNTIME, "%s", diEM_nufld2lng), false;
        d.len = uint32_t(len);
        break;
      default:
        return dbf_error(self, diMN_createdb, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, diEM_unkfldtyp, d.type), false;
    }
    reclen += d.len;
    if (reclen > DBF_MAX_RECLEN || defs.size() >= DBF_MAX_FIELDS)
      return dbf_error(self, diMN_createdb, VL_E_ILLEGAL_VALUE, VL_SEV_RUNTIME, "%s", diEM_rec2long), false;
    defs.push_back(d);
  }
  return true;
}

/* The bytes of a new table's header. */
std::vector<uint8_t> build_header(const std::vector<FieldDef>& defs, bool memo)
{
  const size_t n = defs.size();
  std::vector<uint8_t> h(DBF_HEADER_SIZE + n * DBF_FIELD_SIZE + 1, 0);
  uint32_t reclen = 1;
  for (size_t i = 0; i < n; ++i) {
    dbf_fldef(int(i), defs[i].name, defs[i].type, defs[i].len, defs[i].dec, h.data());
    reclen += defs[i].len;
  }
  const time_t now = time(nullptr);
  struct tm t;
  localtime_r(&now, &t);
  h[0] = memo ? DBF_VERSION_MEMO : DBF_VERSION;
  h[1] = uint8_t(VLdbheadY2000 ? (t.tm_year < 0 ? -t.tm_year : t.tm_year) % 100 : t.tm_year);
  h[2] = uint8_t(t.tm_mon + 1);
  h[3] = uint8_t(t.tm_mday);
  dbf_put16(h.data() + DBF_OFF_HDRLEN, uint16_t(h.size()));
  dbf_put16(h.data() + DBF_OFF_RECLEN, uint16_t(reclen));
  h[DBF_OFF_WRCNT] = 1;
  h.back() = DBF_HDR_END;
  return h;
}

/* Write header bytes to a descriptor holding the new (or emptied) file. */
bool write_table(int fd, const std::vector<uint8_t>& header)
{
  struct flock lk{};
  lk.l_type = F_WRLCK;
  lk.l_whence = SEEK_SET;
  lk.l_len = VLN_SECTION_LEN;
  fcntl(fd, F_SETLKW, &lk);
  const bool ok = ftruncate(fd, 0) == 0 && dbf_pwrite(fd, header.data(), header.size(), 0);
  lk.l_type = F_UNLCK;
  fcntl(fd, F_SETLK, &lk);
  return ok;
}

/* Give the new table of obj the alias the program asked for; a changed
** alias is a warning, the open stands. */
void rename_alias(var* obj, var* alias)
{
  var* got = vlnDoInstance(obj, "alias", VLN_IV_ALIAS, 0, alias);
  char text[kTextSize];
  if (!vlnInSet("CM", got->Type)) {
    std::snprintf(text, sizeof text, "failed to assign alias '%s'", VSTR(alias));
    rt_error(VL_E_ILLEGAL_ALIAS, text);
    return;
  }
  char want[DBF_NAME_LEN];
  const char* a = VSTR(alias);
  while (*a == ' ') ++a;
  size_t n = 0;
  for (; n < DBF_NAME_LEN - 1 && a[n]; ++n) want[n] = char(std::toupper(static_cast<unsigned char>(a[n])));
  while (n > 0 && want[n - 1] == ' ') --n;
  want[n] = '\0';
  if (std::strcmp(want, VSTR(got)) == 0) return;
  std::snprintf(text, sizeof text, "Duplicate alias detected;alias automatically changed;from %s;to %s", want,
                VSTR(got));
  rt_error(VL_E_WARNING, text);
}

}  // namespace

namespace vl {

var* dbf_own(var* v)
{
  var* r = mak_var('N', 'U');
  cpy_var(r, v);
  return r;
}

void dbf_drop(var*& v)
{
  if (v) del_var(v);
  v = nullptr;
}

void diClearObject(DbfState* s)
{
  s->lk.status = DBF_ST_CLOSED;
  s->lk.fd = -1;
  s->lk.headerlen = s->lk.reclen = 0;
  s->lk.locks = nullptr;
  s->lk.lockcount = s->lk.lockcap = 0;
  s->lk.ring = &s->lk;
  s->lk.next = nullptr;
  s->lk.node = nullptr;
  s->lk.alias = s->alias;
  s->lk.filename = s->filename;
  s->lk.owner = &s->head;
  s->recno = 1;
  s->lastrec = 0;
  s->bof = s->eof = s->found = 0;
  s->dirty = s->wrpending = 0;
  s->bufrec = 0;
  s->wbused = 0;
  s->wbfirst = 0;
  s->rafirst = s->racount = s->ralast = 0;
  std::memset(s->hdr, 0, sizeof s->hdr);
  s->dbt_fd = -1;
  s->concurrency = 1;
  std::snprintf(s->dbfext, sizeof s->dbfext, ".dbf");
  std::snprintf(s->dbtext, sizeof s->dbtext, ".dbt");
  std::snprintf(s->idxext, sizeof s->idxext, ".idx");
  std::snprintf(s->delimiter, sizeof s->delimiter, "\"");
  s->filename[0] = s->alias[0] = '\0';
  for (IdxDesc*& o : s->orders) o = nullptr;
  s->indexcount = s->indexord = 0;
  s->syncstate = s->syncrec = 0;
  s->crpt = 0;
  s->cond = OrderCond{nullptr, nullptr, nullptr, nullptr, 1, 1, -1, 0};
  s->filterblock = s->filtertext = nullptr;
  s->forblock = s->whileblock = nullptr;
  s->scope = -1;
  s->locateblock = s->locateuser = nullptr;
  for (DbfRelation& r : s->relations) r = DbfRelation{nullptr, nullptr, nullptr};
  s->relcount = s->relactive = 0;
  s->resolving = 0;
}

bool dbf_close(var* self)
{
  DbfState* s = dbf_state(self);
  if (!s || !(s->lk.status & DBF_ST_OPEN)) return true;
  if (!dbf_is_ro(s) && s->recbuf) {
    put_rec(self);
    if (s->wrpending) vln_wrcnt_upd(self);
  }
  vln_disable_break();
  dbf_clear_filter(s);
  idx_close_all(self, s);
  idx_cond_reset(&s->cond);
  dbf_clear_locate(s);
  dbf_clear_relations(s);
  dbf_clear_scope(s);
  if (s->wbuf) dbf_wb_flush(s);
  if (!dbf_is_ro(s)) vlnSync(s, 1);
  vlnLockRelease(&s->lk);
  if (s->fieldvars) retire_fields(self, s);
  if (s->dbt_fd >= 0) diCloseFile(s->dbt_fd);
  if (s->lk.fd >= 0) diCloseFile(s->lk.fd);
  const bool bound = !(s->lk.status & DBF_ST_INSPECT);
  free_buffers(s);
  diClearObject(s);
  vln_enable_break();
  if (bound) vlnRetireAlias(self);
  return true;
}

}  // namespace vl

extern "C" {

/* init(name, shared, readonly, , , new) */
var* _bb_dbfidx_init_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = state_for_init(self);
  const bool stay = argc > 6 && argv[6]->Type == 'L' && !vlnLogVar(argv[6]);
  if (!stay) vlnSelect(set_Iv(0), 0);
  if (argc < 2 || argv[1]->Type == 'U') return self;
  if (!vlnInSet("CM", argv[1]->Type)) {
    dbf_error(self, diMN_init, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, "%s", diEM_opndbfile);
    return self;
  }
  const bool readonly = argc > 3 && argv[3]->Type == 'L' && vlnLogVar(argv[3]);
  const bool exclusive = argc > 2 && argv[2]->Type == 'L' ? !vlnLogVar(argv[2]) : vlnGetExclusive() != 0;
  vlnSetNeterr(!open_table(self, s, VSTR(argv[1]), exclusive, readonly, false));
  return self;
}

var* _bb_dbfidx_close_me(int argc, var** argv)
{
  var* keep = mk_var_cp(argv[0]);  // the area's link may be the last one
  dbf_close(keep);
  return TRUE_VAR;
}

var* _bb_dbfidx_axit_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (!s) return TRUE_VAR;
  dbf_close(argv[0]);
  vlnDriverHeadFree(&s->head);
  vlnDriverAttach(argv[0], nullptr);
  delete s;
  return TRUE_VAR;
}

/* dbstruct(): {{name, type, length, decimals}, ...}; a C field's length
** is given whole (decimals 0), so that a structure always re-creates. */
var* _bb_dbfidx_dbstruct_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  var* out = cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, static_cast<var*>(nullptr));
  if (!dbf_is_open(s)) return out;
  for (uint16_t i = 0; i < s->fieldcount; ++i) {
    const DbfField& f = s->fields[i];
    const char type[2] = {f.type, '\0'};
    var* row = cre_arr(cre_tmpvar(), 4, VL_ARR_LIST, set_cv(f.name), set_cv(type), set_Iv(int32_t(f.len)),
                       set_Iv(f.dec), static_cast<var*>(nullptr));
    var* args[] = {out, row};
    _bb_aadd(2, args);
  }
  return out;
}

/* createdb(name, structure, permissions) */
var* _bb_dbfidx_createdb_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = dbf_state(self);
  if (argc < 3) return dbf_error(self, diMN_createdb, VL_E_ARG_COUNT, VL_SEV_RUNTIME, "%s", diEM_nulstr), FALSE_VAR;
  if (!s || !vlnInSet("CM", argv[1]->Type) || argv[2]->Type != 'A')
    return dbf_error(self, diMN_createdb, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr), FALSE_VAR;
  std::vector<FieldDef> defs;
  if (!check_structure(self, argv[2], defs)) return FALSE_VAR;
  bool memo = false;
  for (const FieldDef& d : defs) memo |= d.type == 'M';
  const std::vector<uint8_t> header = build_header(defs, memo);
  const int32_t perms = argc > 3 && is_num(argv[3]) ? vlnIntVar(argv[3]) : 0;
  const mode_t mode = perms > 0 ? mode_t(dec_as_oct(perms)) : mode_t(vlnGetUmask());

  char name[VLN_LOCK_NAME_SIZE];
  if (!vlnAddExtension(name, VSTR(argv[1]), s->dbfext, sizeof name) || !vlnAddDefPath(name, sizeof name))
    return dbf_error(self, diMN_createdb, VL_E_FILE_CREATE, VL_SEV_IO, "%s", VSTR(argv[1])), FALSE_VAR;
  bool ok;
  if (access(name, F_OK) == 0) {
    // Hold the old table exclusively while it is replaced.
    if (!open_table(self, s, name, true, false, true))
      return dbf_error(self, diMN_createdb, VL_E_NO_DATABASE, VL_SEV_RUNTIME, diEM_noexcl, name), FALSE_VAR;
    ok = write_table(s->lk.fd, header);
    dbf_close(self);  // nothing was changed through it: nothing is written back
  } else {
    const int fd = open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    ok = fd >= 0 && write_table(fd, header);
    if (fd >= 0) close(fd);
  }
  if (ok && memo) ok = dbt_create(s, name, int(mode)) == 0;
  if (!ok) return dbf_error(self, diMN_createdb, VL_E_FILE_CREATE, VL_SEV_IO, "%s", name), FALSE_VAR;
  return TRUE_VAR;
}

/* DBUSEAREA(new, driver, name, alias, shared, readonly) */
VLN_FUNC(dbusearea)
{
  if (argc < 3 || !vlnInSet("CM", argv[2]->Type)) {
    rt_error(VL_E_ARG_TYPE, "in DBUSEAREA()");
    vlnSetNeterr(1);
    return FALSE_VAR;
  }
  BbFn ctor = driver_constructor(argv[1]);  // 320 for an unknown driver
  if (!ctor) {
    vlnSetNeterr(1);
    return FALSE_VAR;
  }
  const bool isnew = argv[0]->Type == 'L';
  if (!(isnew && vlnLogVar(argv[0])) && vlnSelectedArea && vlnSelectedArea->obj) {
    var* args[] = {vlnSelectedArea->obj};
    vlnDoMethod("close", VLN_DS_CLOSE, 0, 1, args);
  }
  // The constructor's arguments: name, shared and readonly as far as
  // given, and a logical new-area flag in the sixth place.
  var* cargs[6] = {argv[2], NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR};
  int cargc = 1;
  if (argc == 5) cargs[1] = argv[4], cargc = 2;
  if (argc >= 6) cargs[1] = argv[4], cargs[2] = argv[5], cargc = 3;
  if (isnew) cargs[5] = argv[0], cargc = 6;
  vlnSetNeterr(0);
  var* made = ctor(cargc, cargs);
  const bool used = made->Type == 'O' && vlnLogVar(vlnDoInstance(made, "used", VLN_IV_USED, 0, 0));
  if (!used) {
    if (made->Type == 'O') vlnRetireAlias(made);
    vlnSetNeterr(1);
    return FALSE_VAR;
  }
  if (argc > 3 && vlnInSet("CM", argv[3]->Type) && argv[3]->Length > 1) rename_alias(made, argv[3]);
  return TRUE_VAR;
}

/* DBCREATE(name, structure, driver, permissions) */
VLN_FUNC(dbcreate)
{
  var* obj = vlnGetObject(argc > 2 ? argv[2] : NIL_VAR);
  if (!obj) return FALSE_VAR;
  var* args[4] = {obj, argc > 0 ? argv[0] : NIL_VAR, argc > 1 ? argv[1] : NIL_VAR,
                  argc > 3 ? argv[3] : NIL_VAR};
  return vlnDoMethod("createdb", VLN_DS_CREATEDB, 0, 4, args);
}

}  // extern "C"
