/*
** idxfile.cpp -- the life of an index file: create, open, close and zap;
** the second header; the write counter that ties an index to its DBF and
** the corrupted state it leads to; reporting what the engine recorded.
**
** An open index is exclusive when the open asked for it or the DBF is
** exclusive: it then holds IDX byte 6 with a write lock and keeps the first
** 2048 bytes of the file in its cache, written back at close; otherwise it
** holds byte 6 with a read lock and re-reads the header before each use.
** This process never opens one index file twice where the kernel's single
** lock per process and file would make the second open change or share the
** first one's lock (the pool's claim, fdpool.cpp).
**
** Reports.  The engine records faults in the descriptor; idx_report
** delivers them once the caller has left its section.  A fault that shows
** the file cannot be trusted (412, or the broken state) closes every order
** of the area first, so that the area goes on in natural order with no
** descriptor or lock left behind.  An open reports as it goes, but only
** once everything it took is released or in the descriptor; a BREAK out of
** one of its reports frees the descriptor on the way (vln_guarded).
*/
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "blocks.h"
#include "breakguard.hpp"
#include "dbfint.hpp"
#include "evaluator.h"
#include "files.h"
#include "files.hpp"
#include "fname.h"
#include "idx.hpp"
#include "kernel.h"
#include "lockint.h"
#include "natlang.hpp"
#include "switches.h"

namespace vl {

namespace {

constexpr char kModule[] = "idxfile";
constexpr int kTextSize = 512;
constexpr int kOrderName = 15;        /* order name characters */
constexpr int kRoundCut = 407;        /* key text kept inside "Round( %s ,%d)" */
constexpr int kRoundPrefix = 7;       /* "ROUND (" */
constexpr int kDefaultWidth = 10;     /* numeric key of unknown width */
constexpr int kWideDecimals = 8;      /* from here on the width is decimals + 3 */
constexpr int kWideExtra = 3;
constexpr int kHdr2Head = 26;         /* version, wrcnt, reserved, DBF name */
constexpr int kHdr2ForPart = 256;     /* up to the end of the FOR text */
constexpr int kHdr2Reserved = 226;    /* the 20 bytes op 7 copies */
constexpr int kHdr2ReservedLen = 20;
constexpr int kSortTab = 256;
constexpr int kZapLockLen = VLN_IDX_ZAP_LEN;

/* The one second-header buffer; zeroed before each use. */
uint8_t hdr2buf[IDX_HDR2_BYTES];

const char* base_of(const char* path)
{
  const char* slash = std::strrchr(path, '/');
  return slash ? slash + 1 : path;
}

bool is_text(const var* v) { return v && vlnInSet("CM", v->Type); }
int32_t text_len(const var* v) { return v->Length > 0 ? v->Length - 1 : 0; }

/* The active language's sort table, or null. */
const uint8_t* sort_table()
{
  return curr_lang >= 0 && curr_lang < VLN_LANGUAGES ? languages[curr_lang].collation : nullptr;
}

/* The 1-based number of idx among the area's orders (0 if not there). */
int order_no(const DbfState* wa, const IdxDesc* idx)
{
  for (int i = 1; i <= IDX_MAX_ORDERS; ++i)
    if (wa->orders[i] == idx) return i;
  return 0;
}

/* Release an owned value record and clear its word. */
void drop_value(var** v)
{
  if (*v) del_var(*v);
  *v = nullptr;
}

/* An owned copy of v (the caller releases it with drop_value). */
var* own_copy(var* v)
{
  var* keep = mak_var('N', 'U');
  cpy_var(keep, v);
  return keep;
}

/* Free a descriptor and what it owns; an open one writes what it holds
** in memory back first (an open that failed leaves the file as it was).
** The file's claim and its pooled descriptor end here. */
void free_desc(IdxDesc* idx)
{
  const bool excl = idx->flags & IDX_D_EXCL;
  if (idx->fd >= 0) {
    if (idx->flags & IDX_D_OPEN) {
      idx_cache_release(idx);
      if (excl && idx->cache) {
        idx_put_header(&idx->hdr, idx->cache);
        dbf_pwrite(idx->fd, idx->cache, size_t(std::clamp<int32_t>(idx->cachelen, IDX_HDR_BYTES, IDX_CACHE_BYTES)), 0);
      }
    }
    if (idx->flags & IDX_D_CLAIMED) fdpoolReleaseIndex(idx->fd, excl);
    diCloseFile(idx->fd);
  }
  drop_value(&idx->keyblock);
  drop_value(&idx->forblock);
  drop_value(&idx->pendkey);
  drop_value(&idx->pendfor);
  delete[] idx->cache;
  delete idx;
}

/* ---- Creating. ---- */

/* Raw key size of a key value: 0 for a type no index takes. */
uint32_t raw_size(const var* key)
{
  switch (key->Type) {
    case 'C': return uint32_t(text_len(key));
    case 'D': return 4;
    case 'F': case 'I': case 'N': return 8;
    case 'L': return 1;
    default: return 0;
  }
}

/* A flag argument: its truth when of a type in LINF, else the default. */
bool flag_arg(var* v, bool otherwise) { return v && vlnInSet("LINF", v->Type) ? vlnLogVar(v) != 0 : otherwise; }

/* Trim text (n bytes) of blanks on both ends: the start, and n updated. */
const char* trimmed(const char* text, int32_t* n)
{
  while (*n > 0 && *text == ' ') ++text, --*n;
  while (*n > 0 && text[*n - 1] == ' ') --*n;
  return text;
}

/* Whether the trimmed key text already rounds ("ROUND(" or "ROUND ("). */
bool starts_round(const char* text, int32_t n)
{
  char head[kRoundPrefix + 1] = "";
  int32_t k = 0;
  for (; k < kRoundPrefix && k < n; ++k) head[k] = char(std::toupper(static_cast<unsigned char>(text[k])));
  head[k] = '\0';
  return std::strncmp(head, "ROUND(", 6) == 0 || std::strncmp(head, "ROUND (", 7) == 0;
}

/* The header of a new index for key (of text keytext); false with f
** filled when the key cannot be indexed.  *rewritten is set when a numeric
** key of unknown width had to be rounded. */
bool shape_header(IdxHeader* h, var* keytext, var* key, var* unique, var* descend, var* fortext, int width,
                  int decimals, bool* rewritten, DbfFailure* f)
{
  const uint32_t raw = raw_size(key);
  if (raw == 0 && key->Type != 'C') {
    dbf_fail(f, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, "%s", diEM_wrgidxtyp);
    return false;
  }
  const int32_t textlen = text_len(keytext);
  if (raw < 1 || raw > IDX_MAX_KEY) {
    dbf_fail(f, VL_E_ARG_VALUE, VL_SEV_RUNTIME, "%s", diEM_wrgidxklen);
    return false;
  }
  if (textlen < 1 || textlen > IDX_MAX_EXPR) {
    dbf_fail(f, VL_E_ARG_VALUE, VL_SEV_RUNTIME, "%s", diEM_wrgidxelen);
    return false;
  }
  if (is_text(fortext) && text_len(fortext) > IDX_MAX_FOR) {
    dbf_fail(f, VL_E_ARG_VALUE, VL_SEV_RUNTIME, "%s", diEM_wrgidxfexp);
    return false;
  }
  *h = IdxHeader{};
  h->version = IDX_VERSION;
  h->keytype = key->Type;
  h->keylen = uint8_t(key->Type == 'C' ? raw : key->Type == 'D' ? 4 : 1);
  h->flags = uint8_t((flag_arg(unique, vlnGetUnique() != 0) ? IDX_FLAG_UNIQUE : 0) |
                     (flag_arg(descend, false) ? IDX_FLAG_DESCEND : 0));
  h->nxkysc = IDX_FIRST_SECTOR;
  h->secsize = IDX_SECTOR;
  h->keysize = idx_keysize(raw);
  h->maxkeys = idx_maxkeys(h->keysize);
  int32_t n = textlen;
  const char* text = VSTR(keytext);
  *rewritten = false;
  if (vlnInSet("FIN", key->Type)) {
    const bool known = key->Length > 0;
    int dec = known ? key->Decimals : decimals;
    if (!known && width < 1) {
      dec = vlnGetDecimals();
      width = dec < kWideDecimals ? kDefaultWidth : dec + kWideExtra;
    }
    h->numwidth = uint8_t(known ? key->Length : width);
    h->keylen = uint8_t(dec);
    if (!known) {
      text = trimmed(text, &n);
      if (starts_round(text, n)) {
        h->keylen = key->Decimals;
      } else {
        std::snprintf(h->keyexpr, sizeof h->keyexpr, "Round( %.*s ,%d)", int(std::min(n, kRoundCut)), text, dec);
        *rewritten = true;
        return true;
      }
    }
  }
  std::snprintf(h->keyexpr, sizeof h->keyexpr, "%.*s", int(std::min<int32_t>(n, IDX_MAX_EXPR)), text);
  return true;
}

/* ---- Opening. ---- */

/* Open the file of idx (named in idx->filename) and take its lock; fills
** the header (and the cache when exclusive).  false with f filled. */
bool open_file(DbfState* wa, IdxDesc* idx, bool excl, bool readonly, DbfFailure* f)
{
  idx->fd = diOpenFile(idx->filename, nullptr, readonly ? O_RDONLY : O_RDWR);
  if (idx->fd < 0) return false;  // silent: the caller's NETERR() tells
  const bool locked = fdpoolClaimIndex(idx->fd, excl) == 0;
  if (!locked || (excl ? diLockIndexExcl : diLockIndexShar)(idx->fd, VLN_LOCK_BASE) != 0) {
    if (locked) fdpoolReleaseIndex(idx->fd, excl);
    dbf_fail(f, VL_E_DEV_WARNING, VL_SEV_RUNTIME, diEM_idxlock, excl ? diEM_idxlock_e : diEM_idxlock_s,
         excl ? diEM_idxlock_s : diEM_idxlock_e);
    return false;
  }
  idx->flags = uint8_t(IDX_D_CLAIMED | (excl ? IDX_D_EXCL : 0));
  uint8_t head[IDX_HDR_BYTES];
  const uint8_t* p = head;
  size_t got;
  if (excl) {
    idx->cache = new uint8_t[IDX_CACHE_BYTES]();
    const ssize_t n = pread(idx->fd, idx->cache, IDX_CACHE_BYTES, 0);
    idx->cachelen = n > 0 ? int32_t(n) : 0;
    got = size_t(idx->cachelen);
    p = idx->cache;
  } else {
    const ssize_t n = pread(idx->fd, head, sizeof head, 0);
    got = n > 0 ? size_t(n) : 0;
  }
  struct stat st;
  if (got < IDX_HDR_BYTES || fstat(idx->fd, &st) != 0) {
    dbf_fail(f, VL_E_NO_INDEX_SECTOR, VL_SEV_FATAL, diEM_badidx, dbf_alias(wa), wa->indexcount + 1, 0);
    return false;
  }
  idx_get_header(p, &idx->hdr);
  const uint8_t v = idx->hdr.version;
  if (v < IDX_VERSION_402 || v > IDX_VERSION || (v == IDX_VERSION_402 && readonly)) {
    const char* text = v < IDX_VERSION_402 ? diEM_oldidx : v > IDX_VERSION ? diEM_newridx : diEM_noroidx;
    dbf_fail(f, VL_E_IDX_VERSION, VL_SEV_FATAL, text, idx->filename);
    return false;
  }
  char why[kTextSize / 2];
  if (!idx_header_sane(&idx->hdr, st.st_size, why, sizeof why)) {
    char where[kTextSize / 2];
    std::snprintf(where, sizeof where, diEM_badidx, dbf_alias(wa), wa->indexcount + 1, 0);
    dbf_fail(f, VL_E_NO_INDEX_SECTOR, VL_SEV_FATAL, "%s;%s;%s", where, idx->filename, why);
    return false;
  }
  return true;
}

/* The field record when the key text is one plain field of the table. */
var* key_field(DbfState* wa, const char* keyexpr)
{
  int32_t n = int32_t(std::strlen(keyexpr));
  const char* name = trimmed(keyexpr, &n);
  if (n < 1 || n > DBF_NAME_LEN) return nullptr;
  char want[DBF_NAME_LEN + 1];
  for (int32_t k = 0; k < n; ++k) {
    const unsigned char c = static_cast<unsigned char>(name[k]);
    if (!std::isalnum(c) && c != '_') return nullptr;
    want[k] = char(std::toupper(c));
  }
  want[n] = '\0';
  for (uint16_t i = 0; i < wa->fieldcount; ++i)
    if (wa->fieldvars && wa->fieldvars[i] && std::strcmp(wa->fields[i].name, want) == 0) return wa->fieldvars[i];
  return nullptr;
}

/* Compile a block of text into an owned record; null (after the
** evaluator's report) when the text does not compile. */
var* own_block(const char* text)
{
  var* b = vlnMakeCB(text);
  return vlnInSet("Bb", b->Type) ? own_copy(b) : nullptr;
}

/* The language half of an open: blocks, the key, the checks that only
** warn.  false after a report when the key cannot serve. */
bool bind_key(var* self, DbfState* wa, IdxDesc* idx, var* key, const char* method)
{
  const int32_t mark = tmpvar_cnt;
  char text[IDX_HDR2_BYTES];
  vln_ndx_hdr2(6, 0, 0, self, idx, text);
  if (text[0] && !(idx->forblock = own_block(text))) return false;
  if (!(idx->keyblock = own_block(idx->hdr.keyexpr))) return false;
  if (!key) key = vlnBlockEval(idx->keyblock);
  const bool v402 = idx->hdr.version == IDX_VERSION_402;
  if (v402) idx->hdr.keytype = key->Type == 'M' ? 'C' : key->Type;
  if (!idx_types_match(key->Type, idx->hdr.keytype)) {
    const char type = key->Type;
    del_tmpvars(mark);
    dbf_error(self, method, VL_E_ILLEGAL_TYPE, VL_SEV_INTERNAL, diEM_keytyp, type, idx->filename, idx->hdr.keytype);
    return false;
  }
  del_tmpvars(mark);
  idx->keyfield = key_field(wa, idx->hdr.keyexpr);
  idx->tolerance = 0.5 / std::pow(10.0, idx->hdr.keylen);
  struct stat st;
  if (fstat(idx->fd, &st) == 0 && (st.st_mode & S_ISGID))
    dbf_error(self, method, VL_E_DEV_WARNING, VL_SEV_RUNTIME, "%s", diEM_noshopidx);
  if (v402) return true;
  if (idx->hdr.keytype == 'C' && vln_ndx_hdr2(4, 0, 0, self, idx, nullptr) != 0)
    dbf_error(self, method, VL_E_WARNING, VL_SEV_RUNTIME, "%s", diEM_sorttab);
  vln_ndx_hdr2(5, 0, 0, self, idx, text);
  if (std::strncmp(text, base_of(wa->filename), IDX_NAME_ROOM) != 0)
    dbf_error(self, method, VL_E_DEV_WARNING, VL_SEV_RUNTIME, diEM_wrgdbf, text);
  return true;
}

/* Put the new order's cursor on its first key, leaving the area where it
** stands. */
void first_key(var* self, DbfState* wa, IdxDesc* idx)
{
  const int32_t recno = wa->recno;
  const uint8_t bof = wa->bof, eof = wa->eof;
  const int32_t crpt = wa->crpt;
  wa->crpt = IDX_CRPT_SILENT;
  ndx_top(self, wa, idx);
  wa->crpt = crpt;
  wa->recno = recno, wa->bof = bof, wa->eof = eof;
}

/* ---- Second header. ---- */

/* Copy text, cut at room bytes, to p (the byte after it stays 0). */
void put_text(uint8_t* p, size_t room, const char* text) { std::memcpy(p, text, strnlen(text, room)); }

/* Fill the buffer for ops -1 and 1. */
void fill_hdr2(var* self, int value, const char* fortext)
{
  hdr2buf[IDXH2_VERSION] = IDX_VERSION;
  hdr2buf[IDXH2_WRCNT] = uint8_t(value);
  const DbfState* s = dbf_state(self);
  if (s) put_text(hdr2buf + IDXH2_DBFNAME, IDX_NAME_ROOM, base_of(s->filename));
  if (fortext) put_text(hdr2buf + IDXH2_FOREXPR, IDXH2_FOR_ROOM - 1, fortext);
  if (const uint8_t* t = sort_table()) std::memcpy(hdr2buf + IDXH2_SORTTAB, t, kSortTab);
}

/* A text field of room bytes at p into text (room + 1 bytes), up to its
** terminator (a damaged file may have none). */
void copy_out(char* text, const uint8_t* p, size_t room)
{
  const size_t n = strnlen(reinterpret_cast<const char*>(p), room);
  std::memcpy(text, p, n);
  text[n] = '\0';
}

/* Read n bytes of the second header into the buffer. */
bool read_hdr2(IdxDesc* idx, int fd, size_t n) { return Iread_fil(idx, fd, hdr2buf, n, IDX_HDR2_AT) == ssize_t(n); }

}  // namespace

/*
** vln_ndx_hdr2(op, value, fd, self, idx, text): all second-header work, at
** file offset 1024, on fd or (fd 0) the descriptor's own.
**
**   OP  EFFECT                                           RESULT
**   -1  fill (value as wrcnt, the DBF's name, text as     0
**       FOR, the sort table) and write to fd plainly
**    1  the same through the cache                        0
**    2  read the counter                                  non-zero if it is set
**                                                         and differs from value
**    3  read the counter; if it differs, write value      0
**    4  read all; compare the sort table with the active  non-zero on a difference
**       one (none active: non-zero for a non-zero table)
**    5  the DBF name into text                            0
**    6  the FOR text into text                            0
**    7  the 20 reserved bytes at 226 into text            0
**    8  the sort table (256 bytes) into text              0
**    9  the whole 512 bytes into text                     0
**
** A 'P' file has no second header: op 6 gives an empty text, ops 2 to 5
** give 0, and so does every op but 1 on the descriptor's own fd.  A failed
** read or write reports 103 ("when positioning index") and gives -1; op -1
** leaves that to its caller.
*/
int vln_ndx_hdr2(int op, int value, int fd, var* self, IdxDesc* idx, char* text)
{
  const bool given = fd > 0 || !idx;
  if (!given) fd = idx->fd;
  if (idx && idx->hdr.version == IDX_VERSION_402) {
    if (op == 6) text[0] = '\0';
    if ((op >= 2 && op <= 6) || (!given && op != 1)) return 0;
  }
  std::memset(hdr2buf, 0, sizeof hdr2buf);
  bool ok = true;
  int result = 0;
  switch (op) {
    case -1:
      fill_hdr2(self, value, text);
      return dbf_pwrite(fd, hdr2buf, sizeof hdr2buf, IDX_HDR2_AT) ? 0 : -1;
    case 1:
      fill_hdr2(self, value, text);
      ok = Iwrite_fil(idx, fd, hdr2buf, sizeof hdr2buf, IDX_HDR2_AT, 0) == ssize_t(sizeof hdr2buf);
      break;
    case 2:
      ok = read_hdr2(idx, fd, 2);
      result = hdr2buf[IDXH2_WRCNT] != 0 && hdr2buf[IDXH2_WRCNT] != uint8_t(value);
      break;
    case 3:
      ok = read_hdr2(idx, fd, 2);
      if (ok && hdr2buf[IDXH2_WRCNT] != uint8_t(value)) {
        hdr2buf[IDXH2_WRCNT] = uint8_t(value);
        ok = Iwrite_fil(idx, fd, hdr2buf, 2, IDX_HDR2_AT, 1) == 2;
      }
      break;
    case 4: {
      ok = read_hdr2(idx, fd, sizeof hdr2buf);
      const uint8_t* t = sort_table();
      if (t) {
        result = std::memcmp(hdr2buf + IDXH2_SORTTAB, t, kSortTab);
      } else {
        for (int i = 0; i < kSortTab && !result; ++i) result = hdr2buf[IDXH2_SORTTAB + i] != 0;
      }
      break;
    }
    case 5:
      ok = read_hdr2(idx, fd, kHdr2Head);
      copy_out(text, hdr2buf + IDXH2_DBFNAME, IDX_NAME_ROOM);
      break;
    case 6:
      ok = read_hdr2(idx, fd, kHdr2ForPart);
      copy_out(text, hdr2buf + IDXH2_FOREXPR, IDXH2_FOR_ROOM);
      break;
    case 7:
      ok = read_hdr2(idx, fd, sizeof hdr2buf);
      std::memcpy(text, hdr2buf + kHdr2Reserved, kHdr2ReservedLen);
      break;
    case 8:
      ok = read_hdr2(idx, fd, sizeof hdr2buf);
      std::memcpy(text, hdr2buf + IDXH2_SORTTAB, kSortTab);
      break;
    case 9:
      ok = read_hdr2(idx, fd, sizeof hdr2buf);
      std::memcpy(text, hdr2buf, sizeof hdr2buf);
      break;
    default:
      return 0;
  }
  if (ok) return result;
  dbf_error(self, diMN_idxint, VL_E_FILE_READ, VL_SEV_RUNTIME, "%s", diEM_posidx);
  return -1;
}

var* ndx_creat(var* name, var* keytext, var* key, var* unique, var* descend, var* fortext, int mode, var* self,
               int width, int decimals)
{
  DbfState* s = dbf_state(self);
  if (!s || !is_text(name) || !is_text(keytext) || !key) {
    dbf_error(self, diMN_idxcre, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
    return FALSE_VAR;
  }
  int32_t keylen = text_len(keytext);
  trimmed(VSTR(keytext), &keylen);
  if (keylen == 0) {
    dbf_error(self, diMN_idxcre, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
    return FALSE_VAR;
  }
  IdxHeader h;
  bool rewritten = false;
  DbfFailure f;
  if (!shape_header(&h, keytext, key, unique, descend, fortext, width, decimals, &rewritten, &f)) {
    dbf_error(self, diMN_idxcre, f.code, f.severity, "%s", f.text);
    return FALSE_VAR;
  }
  char file[VLN_LOCK_NAME_SIZE];
  if (!vlnAddExtension(file, VSTR(name), s->idxext, sizeof file)) {
    dbf_error(self, diMN_idxcre, VL_E_FILE_CREATE, VL_SEV_IO, "%s", VSTR(name));
    return FALSE_VAR;
  }
  vln_disable_break();
  const int fd = creat_fil(file, mode);
  bool ok = fd >= 0;
  if (ok) {
    uint8_t page[IDX_HDR2_AT] = {};
    idx_put_header(&h, page);
    ok = dbf_pwrite(fd, page, sizeof page, 0) &&
         vln_ndx_hdr2(-1, 0, fd, self, nullptr, is_text(fortext) ? VSTR(fortext) : nullptr) == 0;
    ok = close(fd) == 0 && ok;
    if (!ok) erase_fil(file);
  }
  vln_enable_break();
  if (fd < 0) return FALSE_VAR;  // creat_fil has reported
  if (!ok) {
    dbf_error(self, diMN_idxcre, VL_E_FILE_WRITE, VL_SEV_IO, "%s", file);
    return FALSE_VAR;
  }
  if (rewritten) {
    char text[kTextSize + IDX_EXPR_ROOM];
    std::snprintf(text, sizeof text, "Index key of %s changed to;%s", file, h.keyexpr);
    rt_error(VL_E_DEV_WARNING, text);
  }
  return TRUE_VAR;
}

IdxDesc* ndx_open(var* self, DbfState* wa, var* name, int exclusive, var* alias, var* key, int readonly,
                  const char* method)
{
  if (!is_text(name)) return nullptr;
  char wanted[VLN_LOCK_NAME_SIZE];
  if (!vlnAddExtension(wanted, VSTR(name), wa->idxext, sizeof wanted)) {
    dbf_error(self, method, VL_E_FILE_OPEN, VL_SEV_IO, "%s", VSTR(name));
    return nullptr;
  }
  IdxDesc* idx = new IdxDesc{};
  idx->fd = -1;
  vlnPathFile(wanted, idx->filename, sizeof idx->filename);
  if (!idx->filename[0]) std::snprintf(idx->filename, sizeof idx->filename, "%s", wanted);
  vlnGetAbsPath(idx->filename, sizeof idx->filename);
  const char* oname = is_text(alias) && text_len(alias) > 0 ? VSTR(alias) : base_of(idx->filename);
  int32_t olen = int32_t(std::strcspn(oname, "."));
  if (is_text(alias)) olen = text_len(alias);
  std::snprintf(idx->ordername, sizeof idx->ordername, "%.*s", int(std::min(olen, kOrderName)), oname);

  DbfFailure f;
  vln_disable_break();
  const bool opened = open_file(wa, idx, exclusive || dbf_is_excl(wa), readonly, &f);
  if (!opened) free_desc(idx);
  vln_enable_break();
  if (!opened) {
    if (f.code) dbf_error(self, method, f.code, f.severity, "%s", f.text);
    return nullptr;
  }
  bool bound = false;
  vln_guarded(
      [&] {
        bound = bind_key(self, wa, idx, key, method);
        if (!bound) return;
        idx->flags |= IDX_D_OPEN;
        first_key(self, wa, idx);
      },
      [&] {
        if (bound) return;
        free_desc(idx);
        idx = nullptr;
      });
  return idx;
}

void ndx_close(var* self, DbfState* wa, IdxDesc* idx)
{
  if (!dbf_is_open(wa) || !idx || !(idx->flags & IDX_D_OPEN)) return;
  idx_sync(self, wa, IDX_SYNC_FLUSH);
  free_desc(idx);
}

void idx_close_all(var* self, DbfState* wa)
{
  if (wa->indexcount > 0 && dbf_is_open(wa)) idx_sync(self, wa, IDX_SYNC_FLUSH);
  for (IdxDesc*& o : wa->orders) {
    if (o) free_desc(o);
    o = nullptr;
  }
  wa->indexcount = wa->indexord = 0;
  wa->syncstate = 0;
}

int ndx_zap(var* self, IdxDesc* idx)
{
  DbfState* s = dbf_state(self);
  ndx_updthdr(idx);
  char fortext[IDXH2_FOR_ROOM + 1];
  vln_ndx_hdr2(6, 0, 0, self, idx, fortext);
  idx_cache_release(idx);  // its sectors are the old tree's
  idx->flags &= uint8_t(~IDX_D_DEFER);  // the keys it held go with them
  const bool ok = (idx->flags & IDX_D_EXCL) && idx->cache && ftruncate(idx->fd, 0) == 0 &&
                  vlnFCNTLlock(F_SETLK, F_WRLCK, 0, kZapLockLen, idx->fd, nullptr) == 0;
  if (!ok) {
    dbf_error(self, diMN_idxzap, VL_E_IDX_NOT_OPEN, VL_SEV_INTERNAL, diEM_noidxfile, dbf_alias(s), idx->filename);
    return 0;
  }
  idx->hdr.version = IDX_VERSION;
  idx->hdr.keycnt = idx->hdr.root = idx->hdr.kavsec = 0;
  idx->hdr.nxkysc = IDX_FIRST_SECTOR;
  std::memset(idx->cache, 0, IDX_CACHE_BYTES);
  idx->cachelen = IDX_HDR2_AT;
  idx->cur_sec = 0;
  idx->key_off = -1;
  vln_ndx_hdr2(1, 0, 0, self, idx, fortext);
  ndx_flshhdr(idx, 1);
  return 1;
}

void check_ndx_crpt(DbfState* wa, IdxDesc* idx, int32_t count)
{
  if (!(idx->hdr.flags & IDX_FLAG_UNIQUE) && !idx->forblock && idx->hdr.keycnt != uint32_t(count))
    wa->crpt = IDX_CRPT_BROKEN;
}

bool vln_wrcnt_msg(var* self, DbfState* wa, IdxDesc* idx, const char* place, int line)
{
  switch (wa->crpt) {
    case IDX_CRPT_NONE:
    case IDX_CRPT_SILENT: return true;
    case IDX_CRPT_SUSPECT:
      wa->crpt = IDX_CRPT_NONE;
      idx->note.code = VL_E_DEV_WARNING;
      idx->note.severity = VL_SEV_RUNTIME;
      idx->note.method = diMN_idxint;
      std::snprintf(idx->note.text, sizeof idx->note.text, diEM_idxmaycrpt, dbf_alias(wa));
      return true;
    default:
      wa->crpt = IDX_CRPT_NONE;
      idx_fault(idx, VL_E_INDEX_CORRUPT, VL_SEV_FATAL, diMN_idxint,
                "(%s/%d);Index integrity corrupted on %s; WA alias '%s', dbf record %d, order # %d;index key = "
                "'%s';index name = %s",
                kModule, line, place, dbf_alias(wa), int(wa->recno), order_no(wa, idx), idx->hdr.keyexpr,
                idx->filename);
      wa->indexcount = wa->indexord = 0;
      (void)self;
      return false;
  }
}

void idx_report(var* self, DbfState* wa, IdxDesc* idx)
{
  if (!idx || (!idx->fault.code && !idx->note.code)) return;
  IdxFault& pending = idx->fault.code ? idx->fault : idx->note;
  const IdxFault f = pending;
  pending.code = 0;
  const bool drop = f.code == VL_E_NO_INDEX_SECTOR || (f.code == VL_E_INDEX_CORRUPT && f.severity == VL_SEV_FATAL) ||
                    order_no(wa, idx) > wa->indexcount;
  if (drop) {
    for (IdxDesc*& o : wa->orders) {
      if (o) free_desc(o);
      o = nullptr;
    }
    wa->indexcount = wa->indexord = 0;
    wa->syncstate = 0;
  }
  dbf_error(self, f.method ? f.method : diMN_idxint, f.code, f.severity, "%s", f.text);
}

void idx_report_all(var* self, DbfState* wa)
{
  if (!wa->orders[1]) return;
  for (int i = 1; i <= IDX_MAX_ORDERS; ++i) {
    if (wa->orders[i] && (wa->orders[i]->fault.code || wa->orders[i]->note.code)) {
      idx_report(self, wa, wa->orders[i]);
      i = 0;  // the table may have changed under the report
    }
  }
  for (int i = wa->indexcount + 1; i <= IDX_MAX_ORDERS; ++i) {  // dropped without a report left
    if (wa->orders[i]) free_desc(wa->orders[i]);
    wa->orders[i] = nullptr;
  }
}

}  // namespace vl
