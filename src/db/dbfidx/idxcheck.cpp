/*
** idxcheck.cpp -- the independent index checker (see idxcheck.hpp).
**
** One check owns a Check record on the heap and runs in three steps:
**
**   1. the headers, decoded here from the raw bytes;
**   2. the tree and the free chain, read sector by sector with pread; the
**      walk keeps its own stack, of at most IDX_MAX_DEPTH sectors when a
**      sector holds two keys or more (with one key a sector a tree can be
**      as deep as it has keys), and marks each sector it meets, so a loop
**      or a shared sector is seen at its second visit and no path is
**      longer than the file has sectors; each key is compared with the one
**      before it as it is met;
**   3. the records: each one is visited with a natural-order GOTO, its FOR
**      and key expressions evaluated and compared with the entries that
**      name it (entries sorted by record number).
**
** Steps 2 and 3 run in one read section of the table, so that the check
** sees one state of the files: writers of other processes wait for it.
**
** While a check runs, vln_error_handler is the checker's own: a report
** (other than a warning) becomes the text of a problem and leaves for the
** innermost landing, which is the step that ran language code.  So the
** user's error block never sees the check's reports, and nothing of the
** check is skipped by a BREAK.
*/
#include "idxcheck.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "areas.h"
#include "arrays.h"
#include "calls.h"
#include "dates.h"
#include "dbfidx.h"
#include "dbfidxclass.h"
#include "dbfint.hpp"
#include "evaluator.h"
#include "facade.h"
#include "frame.h"
#include "idx.hpp"
#include "idxorder.hpp"
#include "kernel.h"
#include "natlang.hpp"
#include "numbers.hpp"
#include "objects.h"
#include "runtime.h"
#include "vlerror.h"

namespace vl {
namespace {

constexpr size_t kLine = 512;       // room for one problem text
constexpr size_t kShownText = 40;   // characters of a text key shown
constexpr int kShownDecimals = 18;  // most decimals of a number shown
const char kMethod[] = "OrdVerify()";
const char kModule[] = "idxcheck";

enum : uint8_t { kSeenTree = 1, kSeenFree = 2 };

// One entry of the tree, in the order the walk meets it.
struct Entry {
  uint32_t recno;
  uint32_t sector;
  uint32_t pos;
};

// One sector on the walk's stack: the next entry i, and whether the child
// before entry i has been visited.
struct Level {
  uint32_t sec, n, i;
  bool childDone;
  uint8_t buf[IDX_SECTOR];
};

// Everything one check owns.
struct Check {
  std::vector<std::string>* out;
  int count = 0;         // problems found
  bool failed = false;   // a file could not be opened: the result is -1
  frame* f = nullptr;    // the check's frame, for the landings
  char caught[kLine] = "";  // the text of the last report caught

  // The index file and its decoded headers.
  int fd = -1;
  off_t size = 0;
  uint8_t hdr[IDX_HDR_BYTES] = {};
  uint8_t hdr2[IDX_HDR2_BYTES] = {};
  bool hasHdr2 = false;
  uint8_t version = 0, flags = 0;
  char type = 0;
  uint32_t keylen = 0, keysize = 0, maxkeys = 0;
  uint32_t keycnt = 0, root = 0, kavsec = 0, nxkysc = 0;
  double tolerance = 0;
  uint32_t inFile = 0;  // sectors below this lie in the file and below nxkysc

  // The walk.
  std::vector<uint8_t> seen;    // kSeen* per sector below inFile
  std::vector<Level> stack;
  std::vector<Entry> entries;   // in tree order
  std::vector<uint8_t> keys;    // keysize bytes per entry
  std::vector<uint32_t> byRecord;  // entry indices sorted by record number
  uint64_t counted = 0;         // SECKYCNT summed over the tree
  bool cutShort = false;        // a part of the tree could not be walked

  // The expressions (records of the check's frame).
  var* keyblock = nullptr;
  var* forblock = nullptr;
  bool hasFor = false;
  var* value = nullptr;   // the last evaluation's result (a temporary)
};

// The check whose handler is installed.
Check* gCheck = nullptr;

void problem(Check* c, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void problem(Check* c, const char* fmt, ...)
{
  if (c->count == INT32_MAX) return;
  if (c->count++ >= kIdxMaxListed) return;
  char line[kLine];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(line, sizeof line, fmt, ap);
  va_end(ap);
  for (char* p = line; *p; ++p)
    if (*p == '\n' || *p == '\r') *p = ' ';
  c->out->emplace_back(line);
}

// The checker's report handler: a warning goes on, anything else is kept
// as text and leaves for the innermost landing.
void catch_report(const VlnErrReport* r)
{
  if (vln_error_is_warning(r)) return;
  std::snprintf(gCheck->caught, sizeof gCheck->caught, "%s", r->description ? r->description : "");
  if (glob_sequencebuf) longjmp(*glob_sequencebuf, 1);
}

// Run fn as a landing of its own: false when a report or a BREAK left it
// (the frames are put back as they were).  fn keeps its results in the
// check, not in the caller's locals, which a jump leaves indeterminate.
template <class Fn>
bool attempt(Check* c, Fn&& fn)
{
  jmp_buf landing;
  jmp_buf* const outer = glob_sequencebuf;
  const int32_t nesting = alreadyin;
  glob_sequencebuf = &landing;
  if (setjmp(landing) != 0) {
    vln_after_break(c->f);
    alreadyin = nesting;
    glob_sequencebuf = outer;
    return false;
  }
  fn();
  glob_sequencebuf = outer;
  return true;
}

// Run body(c) as one check: the frame, the handler and the outer landing
// around it; the index file closed and the record freed afterwards.
template <class Body>
int run_check(std::vector<std::string>* out, Body&& body)
{
  frame fr;
  vln_fn_start(&fr, kModule, "ordverify", __LINE__, 0);
  Check* c = new Check;
  c->out = out;
  c->f = &fr;
  c->keyblock = vln_local_param(0, 0, nullptr, 'U');
  c->forblock = vln_local_param(0, 0, nullptr, 'U');
  Check* const outerCheck = gCheck;
  void (*const handler)(const VlnErrReport*) = vln_error_handler;
  gCheck = c;
  vln_error_handler = catch_report;
  if (!attempt(c, [&] { body(c); })) problem(c, "check stopped: %s", c->caught);
  vln_error_handler = handler;
  gCheck = outerCheck;
  if (c->fd >= 0) diCloseFile(c->fd);
  if (c->count > kIdxMaxListed)
    out->emplace_back("... and " + std::to_string(c->count - kIdxMaxListed) + " more problems");
  const int result = c->failed ? -1 : c->count;
  delete c;
  vln_fn_end(&fr, 'U');
  return result;
}

// ---- Keys. ----

bool is_num(char t) { return t == 'N' || t == 'F' || t == 'I'; }

// Raw key size for a key type, 0 for an unknown type.
uint32_t raw_size(char type, uint32_t keylen)
{
  switch (type) {
    case 'C': return keylen;
    case 'D': return 4;
    case 'L': return 1;
    default: return is_num(type) ? 8 : 0;
  }
}

// Whether a value of type v may stand for a key of type k, by the rule the
// engine's compare applies.
bool types_match(char v, char k)
{
  const bool vText = v == 'C' || v == 'M', kText = k == 'C' || k == 'M';
  const bool vNum = is_num(v) || v == 'L', kNum = is_num(k) || k == 'L';
  return v == k || (vText && kText) || (vNum && kNum && (is_num(v) || is_num(k)));
}

// The stored key of entry i.
IdxKey stored_key(const Check* c, size_t i)
{
  const uint8_t* p = c->keys.data() + i * c->keysize;
  IdxKey k{};
  k.type = c->type == 'C' ? 'C' : c->type;
  if (c->type == 'C') {
    k.text = reinterpret_cast<const char*>(p);
    k.len = int32_t(strnlen(k.text, c->keylen));
  } else if (c->type == 'D') {
    k.day = int32_t(dbf_get32(p));
  } else if (c->type == 'L') {
    k.logical = int8_t(p[0]);
  } else {
    std::memcpy(&k.num, p, sizeof k.num);
  }
  return k;
}

// A value as a key.
IdxKey value_key(var* v)
{
  IdxKey k{};
  k.type = v->Type;
  switch (v->Type) {
    case 'C':
    case 'M': k.text = VSTR(v), k.len = std::max<int32_t>(v->Length - 1, 0); break;
    case 'D': k.day = v->Value.w1.i; break;
    case 'L': k.logical = v->Value.w1.i; break;
    case 'I': k.num = v->Value.w1.i; break;
    default: k.num = v->Value.w1.d; break;
  }
  return k;
}

double number_of(const IdxKey& k) { return k.type == 'L' ? k.logical : k.num; }

// value against the stored key e, as the engine compares a search value
// with an entry: the sign of value - entry, reversed by DESCEND.  Types
// must have passed types_match.
int compare(const Check* c, const IdxKey& v, const IdxKey& e)
{
  int r = 0;
  if (v.type == 'C') {
    r = IStrNECmp(v.text, e.text, std::min<int32_t>(v.len, int32_t(c->keylen)));
  } else if (v.type == 'D') {
    r = v.day < e.day ? -1 : v.day > e.day;
  } else if (v.type == 'L') {
    const double d = v.logical - number_of(e);
    r = d < 0 ? -1 : d > 0;
  } else if (v.type != 'M') {
    const double d = cc_round(v.num, int(c->keylen)) - cc_round(number_of(e), int(c->keylen));
    r = d < 0 ? -(d < -c->tolerance) : d > c->tolerance;
  }
  return (c->flags & IDX_FLAG_DESCEND) ? -r : r;
}

// A key as text for a problem line.
std::string shown(const Check* c, const IdxKey& k)
{
  char buf[kShownText * 2 + 32];
  if (k.type == 'C' || k.type == 'M') {
    std::string s = "'";
    for (int32_t i = 0; i < k.len && i < int32_t(kShownText); ++i) {
      const unsigned char ch = static_cast<unsigned char>(k.text[i]);
      s += ch >= ' ' && ch < 0x7F ? char(ch) : '?';
    }
    return s + (k.len > int32_t(kShownText) ? "...'" : "'");
  }
  if (k.type == 'D') return k.day ? vln_dtoc_form(k.day, "YYYY-MM-DD") : "(empty date)";
  if (k.type == 'L') return k.logical ? ".T." : ".F.";
  std::snprintf(buf, sizeof buf, "%.*f", int(std::min<uint32_t>(c->keylen, kShownDecimals)), number_of(k));
  return buf;
}

// ---- The headers. ----

// Open the index file and decode its main header.
bool open_index(Check* c, const char* name, bool probe)
{
  c->fd = diOpenFile(name, nullptr, O_RDONLY);
  if (c->fd < 0) {
    problem(c, "cannot open index %s: %s", name, std::strerror(errno));
    return false;
  }
  struct flock lk;
  if (probe && vlnFCNTLlock(F_GETLK, F_RDLCK, VLN_IDX_LOCK_BYTE, 1, c->fd, &lk) == 0 &&
      lk.l_type == F_WRLCK) {
    problem(c, "index %s is open exclusively by process %d: its file is not current", name,
            int(lk.l_pid));
    return false;
  }
  struct stat st;
  c->size = fstat(c->fd, &st) == 0 ? st.st_size : 0;
  if (pread(c->fd, c->hdr, IDX_HDR_BYTES, 0) != IDX_HDR_BYTES) {
    problem(c, "header: the file has %lld bytes, less than a header", (long long)c->size);
    return false;
  }
  const uint8_t* h = c->hdr;
  c->version = h[IDXH_VERSION], c->flags = h[IDXH_FLAGS], c->type = char(h[IDXH_KEYTYPE]);
  c->keylen = h[IDXH_KEYLEN];
  c->keycnt = dbf_get32(h + IDXH_KEYCNT), c->root = dbf_get32(h + IDXH_ROOT);
  c->kavsec = dbf_get32(h + IDXH_KAVSEC), c->nxkysc = dbf_get32(h + IDXH_NXKYSC);
  c->keysize = dbf_get32(h + IDXH_KEYSIZE), c->maxkeys = dbf_get32(h + IDXH_MAXKEYS);
  return true;
}

// Check the main header, and what the walk relies on: false when the file
// cannot be walked.
bool check_header(Check* c)
{
  const uint8_t* h = c->hdr;
  bool ok = true;
  if (c->version != IDX_VERSION && c->version != IDX_VERSION_402) {
    problem(c, "header: version byte 0x%02x is not an index version", c->version);
    ok = false;
  }
  if (c->flags & ~(IDX_FLAG_UNIQUE | IDX_FLAG_DESCEND)) problem(c, "header: unknown flags 0x%02x", c->flags);
  if (!std::strchr("CDFINL", c->type) || !c->type) {
    problem(c, "header: key type 0x%02x is not one of C D F I N L", uint8_t(c->type));
    return false;
  }
  if (dbf_get16(h + IDXH_SECSIZE) != IDX_SECTOR)
    problem(c, "header: sector size %u is not %d", dbf_get16(h + IDXH_SECSIZE), IDX_SECTOR);
  if (h[IDXH_NUMWIDTH] && !is_num(c->type))
    problem(c, "header: numeric width %u in a %c index", h[IDXH_NUMWIDTH], c->type);
  const uint32_t raw = raw_size(c->type, c->keylen);
  if (raw < 1 || raw > IDX_MAX_KEY) {
    problem(c, "header: key length %u is outside 1..%d", raw, IDX_MAX_KEY);
    return false;
  }
  if (c->keysize != idx_keysize(raw) || c->maxkeys != idx_maxkeys(c->keysize)) {
    problem(c, "header: key size %u and %u keys a sector do not fit a %c key of %u (want %u and %u)",
            c->keysize, c->maxkeys, c->type, c->keylen, idx_keysize(raw), idx_maxkeys(idx_keysize(raw)));
    ok = false;
  }
  if (h[IDX_HDR_BYTES - 1] != 0 || h[IDXH_KEYEXPR] == 0) {
    problem(c, "header: the key expression is %s", h[IDXH_KEYEXPR] ? "not terminated" : "empty");
    ok = false;
  }
  if (c->nxkysc < IDX_FIRST_SECTOR) {
    problem(c, "header: next free sector %u is below %d", c->nxkysc, IDX_FIRST_SECTOR);
    ok = false;
  } else if (uint64_t(c->size) < uint64_t(c->nxkysc) << IDX_SECTOR_SHIFT) {
    problem(c, "header: the file has %lld bytes, less than its %u sectors", (long long)c->size, c->nxkysc);
  }
  if (c->root == 0 && c->keycnt != 0) problem(c, "header: %u keys but no root", c->keycnt);
  const uint64_t whole = (uint64_t(c->size) + IDX_SECTOR - 1) >> IDX_SECTOR_SHIFT;
  c->inFile = uint32_t(std::min<uint64_t>(c->nxkysc, whole));
  c->tolerance = 0.5 / std::pow(10.0, double(c->keylen));
  return ok;
}

// The sort table in force: the active language's collation, or none.
const uint8_t* active_sort_table()
{
  return curr_lang >= 0 && curr_lang < VLN_LANGUAGES ? languages[curr_lang].collation : nullptr;
}

void check_second_header(Check* c, const DbfState* s)
{
  if (c->version != IDX_VERSION) return;
  c->hasHdr2 = pread(c->fd, c->hdr2, IDX_HDR2_BYTES, IDX_HDR2_AT) == IDX_HDR2_BYTES;
  if (!c->hasHdr2) return;  // the size problem is already told
  const uint8_t* h = c->hdr2;
  if (h[IDXH2_VERSION] != IDX_VERSION) problem(c, "second header: version byte 0x%02x is not 'Q'", h[0]);
  if (h[IDXH2_FOREXPR - 1] != 0 || h[IDXH2_SORTTAB - 1] != 0)
    problem(c, "second header: the table name or the FOR expression is not terminated");
  const char* slash = std::strrchr(s->filename, '/');
  const char* base = slash ? slash + 1 : s->filename;
  const char* made = reinterpret_cast<const char*>(h + IDXH2_DBFNAME);
  if (std::strncmp(made, base, IDX_NAME_ROOM) != 0)
    problem(c, "second header: the index was made for table '%.*s', not '%s'", IDX_NAME_ROOM, made, base);
  if (h[IDXH2_WRCNT] != 0 && h[IDXH2_WRCNT] != s->hdr[DBF_OFF_WRCNT])
    problem(c, "second header: write counter %u differs from the table's %u", h[IDXH2_WRCNT],
            s->hdr[DBF_OFF_WRCNT]);
  const uint8_t* table = active_sort_table();
  const uint8_t* stored = h + IDXH2_SORTTAB;
  const size_t n = size_t(IDX_HDR2_BYTES) - size_t(IDXH2_SORTTAB);
  const bool differs = table ? std::memcmp(stored, table, n) != 0
                             : std::any_of(stored, stored + n,
                                           [](uint8_t b) { return b != 0; });
  if (c->type == 'C' && differs) problem(c, "second header: the sort table is not the one in force");
}

// ---- The tree. ----

void read_sector(const Check* c, uint32_t sec, uint8_t* buf)
{
  const ssize_t got = pread(c->fd, buf, IDX_SECTOR, off_t(sec) << IDX_SECTOR_SHIFT);
  std::memset(buf + std::max<ssize_t>(got, 0), 0, IDX_SECTOR - size_t(std::max<ssize_t>(got, 0)));
}

// Whether sector sec, met by way of what (a text naming the place), may be
// read: in range, in the file and not seen before.
bool may_visit(Check* c, uint32_t sec, const char* what, uint32_t from)
{
  const char* fault = sec < IDX_FIRST_SECTOR || sec >= c->nxkysc ? "is out of range"
                      : sec >= c->inFile                         ? "lies past the end of the file"
                      : c->seen[sec] == kSeenTree                ? "is already in the tree"
                      : c->seen[sec] == kSeenFree                ? "is already on the free chain"
                                                                 : nullptr;
  if (fault) problem(c, "sector %u: %s %u %s", from, what, sec, fault);
  return !fault;
}

// Push sector sec (child of parent, 0 for the root) on the walk's stack at
// depth: false when it cannot be walked.
bool enter(Check* c, uint32_t sec, uint32_t parent, size_t depth)
{
  if (!may_visit(c, sec, parent ? "child" : "root", parent)) {
    c->cutShort = true;
    return false;
  }
  c->seen[sec] = kSeenTree;
  Level& l = c->stack[depth];
  read_sector(c, sec, l.buf);
  l.sec = sec, l.n = dbf_get32(l.buf + IDXS_KEYCNT), l.i = 0, l.childDone = false;
  if (l.n > c->maxkeys) {
    problem(c, "sector %u: %u keys, more than the %u a sector holds", sec, l.n, c->maxkeys);
    c->cutShort = true;
    return false;
  }
  if (parent && l.n == 0 && c->maxkeys >= 2) problem(c, "sector %u: an empty sector below the root", sec);
  if (!parent && dbf_get32(l.buf + IDXS_PARENT) != 0)
    problem(c, "sector %u: the root's parent link is %u, not 0", sec, dbf_get32(l.buf + IDXS_PARENT));
  c->counted += l.n;
  return true;
}

const uint8_t* entry_at(const Check* c, const Level& l, uint32_t i)
{
  return l.buf + IDX_SEC_HEAD + size_t(i) * (c->keysize + IDX_ENTRY_HEAD);
}

// Take entry i of l into the sequence, checking it against the one before.
void take(Check* c, const Level& l, uint32_t i)
{
  const uint8_t* e = entry_at(c, l, i);
  c->entries.push_back({dbf_get32(e + 4), l.sec, i});
  c->keys.insert(c->keys.end(), e + IDX_ENTRY_HEAD, e + IDX_ENTRY_HEAD + c->keysize);
  const size_t n = c->entries.size();
  if (n < 2) return;
  const IdxKey a = stored_key(c, n - 2), b = stored_key(c, n - 1);
  const Entry& pa = c->entries[n - 2];
  const Entry& pb = c->entries[n - 1];
  int r;
  if (c->type == 'C') {
    // Text keys of different lengths that agree over the shorter compare
    // equal one way and unequal the other: no order between them is wrong.
    r = IStrNECmp(a.text, b.text, std::min(a.len, b.len));
    if (r == 0 && a.len != b.len) return;
    if (c->flags & IDX_FLAG_DESCEND) r = -r;
  } else {
    r = compare(c, a, b);
  }
  if (r > 0)
    problem(c, "sector %u, entry %u: key %s (record %u) sorts before the key %s (record %u) that precedes it",
            pb.sector, pb.pos, shown(c, b).c_str(), pb.recno, shown(c, a).c_str(), pa.recno);
  else if (r == 0 && (c->flags & IDX_FLAG_UNIQUE))
    problem(c, "sector %u, entry %u: key %s (record %u) repeats in a UNIQUE index (record %u)", pb.sector,
            pb.pos, shown(c, b).c_str(), pb.recno, pa.recno);
  else if (r == 0 && pb.recno <= pa.recno)
    problem(c, "sector %u, entry %u: equal keys %s with record %u after record %u", pb.sector, pb.pos,
            shown(c, b).c_str(), pb.recno, pa.recno);
}

// Walk the tree in key order from the root: child 0, entry 0, child 1, ...
void walk_tree(Check* c)
{
  c->seen.assign(c->inFile, 0);
  c->stack.resize(IDX_MAX_DEPTH);
  if (c->root == 0) return;
  size_t depth = enter(c, c->root, 0, 0) ? 1 : 0;
  while (depth > 0) {
    Level& l = c->stack[depth - 1];
    if (!l.childDone) {
      l.childDone = true;
      const uint32_t child = dbf_get32(entry_at(c, l, l.i));
      if (!child) continue;
      if (depth >= IDX_MAX_DEPTH && c->maxkeys >= 2) {
        problem(c, "sector %u: the tree is deeper than %d sectors", l.sec, IDX_MAX_DEPTH);
        c->cutShort = true;
        continue;
      }
      if (depth == c->stack.size()) c->stack.resize(depth * 2);  // l is not used again
      if (enter(c, child, l.sec, depth)) ++depth;
    } else if (l.i < l.n) {
      take(c, l, l.i);
      ++l.i;
      l.childDone = false;
    } else {
      --depth;
    }
  }
  if (!c->cutShort && c->counted != c->keycnt)
    problem(c, "header: %u keys, but the tree holds %llu", c->keycnt, (unsigned long long)c->counted);
}

// Follow the free chain from kavsec: finite and apart from the tree.
void walk_free(Check* c)
{
  uint32_t from = 0;
  for (uint32_t sec = c->kavsec; sec != 0;) {
    if (!may_visit(c, sec, from ? "free link" : "free chain head", from)) return;
    c->seen[sec] = kSeenFree;
    uint8_t word[4] = {};
    if (pread(c->fd, word, sizeof word, off_t(sec) << IDX_SECTOR_SHIFT) != ssize_t(sizeof word)) return;
    from = sec;
    sec = dbf_get32(word);
  }
}

// ---- The records. ----

// Evaluate block on the current record into c->value: false after a
// report, which becomes a problem about record r.
bool evaluate(Check* c, var* block, int32_t r, const char* what)
{
  c->value = nullptr;
  if (attempt(c, [&] { c->value = exp_evalb(1, &block); })) return true;
  problem(c, "record %d: the %s expression fails: %s", r, what, c->caught);
  return false;
}

// Whether a FOR value admits a key: only a false value of a logical or
// numeric type keeps the record out.
bool admits(var* v) { return !(vlnInSet("LINF", v->Type) && !vlnLogVar(v)); }

// Compile text (key or FOR expression) into block: false after a problem.
bool compile(Check* c, var* block, const char* text, const char* what)
{
  if (attempt(c, [&] { cpy_var(block, vlnMakeCB(text)); }) && block->Type == 'b') return true;
  problem(c, "header: the %s expression '%s' does not compile: %s", what, text, c->caught);
  return false;
}

// Compare the key of record r (the current record) with entry i.
void check_entry(Check* c, int32_t r, size_t i)
{
  const IdxKey v = value_key(c->value);
  const IdxKey e = stored_key(c, i);
  if (compare(c, v, e) != 0)
    problem(c, "record %d: stored key %s (sector %u, entry %u) differs from the key expression's %s", r,
            shown(c, e).c_str(), c->entries[i].sector, c->entries[i].pos, shown(c, v).c_str());
}

// Check record r against the k entries byRecord[j .. j + k).  false when
// the key expression gives a value of the wrong type (checking stops).
bool check_record(Check* c, var* self, int32_t r, size_t j, size_t k)
{
  if (!attempt(c, [&] { dbf_goto(self, r); })) {
    problem(c, "record %d: cannot be read: %s", r, c->caught);
    return true;
  }
  bool keyed = true;
  if (c->hasFor) {
    if (!evaluate(c, c->forblock, r, "FOR")) return true;
    keyed = admits(c->value);
  }
  const bool unique = c->flags & IDX_FLAG_UNIQUE;
  if (!keyed && k > 0) problem(c, "record %d: has a key though its FOR condition is false", r);
  else if (keyed && k == 0 && !unique) problem(c, "record %d: has no key", r);
  else if (k > 1) problem(c, "record %d: has %zu keys", r, k);
  if (!keyed || k == 0) return true;
  if (!evaluate(c, c->keyblock, r, "key")) return true;
  if (!types_match(c->value->Type, c->type)) {
    problem(c, "record %d: the key expression gives a value of type %c for a %c index", r, c->value->Type,
            c->type);
    return false;
  }
  for (size_t n = 0; n < k; ++n) check_entry(c, r, c->byRecord[j + n]);
  return true;
}

void check_records(Check* c, var* self, int32_t last)
{
  c->byRecord.resize(c->entries.size());
  for (size_t i = 0; i < c->byRecord.size(); ++i) c->byRecord[i] = uint32_t(i);
  std::stable_sort(c->byRecord.begin(), c->byRecord.end(),
                   [c](uint32_t a, uint32_t b) { return c->entries[a].recno < c->entries[b].recno; });
  size_t j = 0;
  for (; j < c->byRecord.size() && c->entries[c->byRecord[j]].recno == 0; ++j) {
    const Entry& e = c->entries[c->byRecord[j]];
    problem(c, "sector %u, entry %u: record number 0", e.sector, e.pos);
  }
  for (int32_t r = 1; r <= last; ++r) {
    size_t k = 0;
    while (j + k < c->byRecord.size() && c->entries[c->byRecord[j + k]].recno == uint32_t(r)) ++k;
    const int32_t mark = tmpvar_cnt;
    const bool goOn = check_record(c, self, r, j, k);
    del_tmpvars(mark);
    j += k;
    if (!goOn) return;
  }
  for (; j < c->byRecord.size(); ++j) {
    const Entry& e = c->entries[c->byRecord[j]];
    problem(c, "sector %u, entry %u: record %u is beyond the table's %d records", e.sector, e.pos, e.recno, last);
  }
}

// The key type of a 4.02 file, which leaves it unset: the key's value on
// the current record decides, as the open does.
void type_from_value(Check* c)
{
  if (c->version != IDX_VERSION_402 || std::strchr("CDFINL", c->type)) return;
  c->value = nullptr;
  if (!attempt(c, [&] { c->value = exp_evalb(1, &c->keyblock); }) || !c->value) return;
  const char t = c->value->Type;
  c->type = t == 'M' ? 'C' : is_num(t) ? 'N' : t;
}

// The whole check of index file idx against the open table of self.
void check_area(Check* c, var* self, const char* idx, bool probe)
{
  DbfState* s = dbf_state(self);
  if (!open_index(c, idx, probe)) {
    c->failed = true;
    return;
  }
  char text[IDX_EXPR_ROOM];
  std::memcpy(text, c->hdr + IDXH_KEYEXPR, IDX_EXPR_ROOM - 1);
  text[IDX_EXPR_ROOM - 1] = 0;
  const bool keyOk = text[0] && compile(c, c->keyblock, text, "key");
  if (keyOk) type_from_value(c);
  if (!check_header(c)) return;
  check_second_header(c, s);
  if (c->hasHdr2 && c->hdr2[IDXH2_FOREXPR]) {
    std::memcpy(text, c->hdr2 + IDXH2_FOREXPR, IDXH2_FOR_ROOM);
    text[IDXH2_FOR_ROOM] = 0;
    c->hasFor = compile(c, c->forblock, text, "FOR");
    if (!c->hasFor) return;
  }
  // The whole check runs in one read section of the table: it sees one
  // state of both files, and the records are read without a lock each.
  // The reports of the record checks land inside check_records.
  updat_dbfhdr(self);
  local_rdlock2(&s->lk, kMethod);
  walk_tree(c);
  walk_free(c);
  if (keyOk) check_records(c, self, s->lastrec);
  local_rwulock2(&s->lk, kMethod);
}

// check_area under a landing of its own, so that what follows it (putting
// the area back) runs whatever happens.
void check_guarded(Check* c, var* self, const char* idx, bool probe)
{
  if (!attempt(c, [&] { check_area(c, self, idx, probe); })) problem(c, "check stopped: %s", c->caught);
}

// Make name the index file's name: ".idx" added when its last part has no
// extension.
std::string index_name(const char* name)
{
  std::string n = name;
  const size_t slash = n.rfind('/');
  if (n.find('.', slash == std::string::npos ? 0 : slash + 1) == std::string::npos) n += ".idx";
  return n;
}

bool is_dbf(var* obj) { return obj && vlnClassOf(obj) == DbfidxStruct; }

var* text_array(const std::vector<std::string>& lines)
{
  var* a = cre_arr(cre_tmpvar(), int32_t(lines.size()), VL_ARR_NIL, nullptr);
  for (size_t i = 0; a != ERROR_VAR && i < lines.size(); ++i)
    set_Cvar(VARR(a)->A_vec[i], lines[i].c_str(), int32_t(lines[i].size()));
  return a;
}

}  // namespace

int idx_verify_area(var* self, const char* idx, std::vector<std::string>* problems)
{
  return run_check(problems, [&](Check* c) {
    DbfState* s = dbf_state(self);
    const int32_t recno = s->recno;
    check_guarded(c, self, idx, false);
    attempt(c, [&] { dbf_goto(self, recno); });
  });
}

int vlnIdxVerify(const char* dbf, const char* idx, std::vector<std::string>* problems)
{
  const std::string name = index_name(idx);
  return run_check(problems, [&](Check* c) {
    const int32_t before = vlnSelectedArea ? vlnSelectedArea->number : 0;
    var* args[] = {TRUE_VAR, set_Cvar(cre_tmpvar(), "DBFIDX", -1), set_Cvar(cre_tmpvar(), dbf, -1), NIL_VAR,
                   TRUE_VAR, TRUE_VAR};
    c->caught[0] = 0;
    var* self = nullptr;
    if (attempt(c, [&] { _bb_dbusearea(6, args); }) && vlnSelectedArea && is_dbf(vlnSelectedArea->obj))
      self = vlnSelectedArea->obj;
    if (!self) {
      problem(c, "cannot open table %s%s%s", dbf, c->caught[0] ? ": " : "", c->caught);
      c->failed = true;
    } else {
      check_guarded(c, self, name.c_str(), true);
      attempt(c, [&] { _bb_dbcloseare(0, nullptr); });
    }
    if (before > 0) {
      var* n = set_nv(before, 0);
      attempt(c, [&] { _bb_dbselectar(1, &n); });
    }
  });
}

}  // namespace vl

extern "C" {

VLN_FUNC(ordverify)
{
  AreaRec* area = vlnSelectedArea;
  var* self = area ? area->obj : nullptr;
  if (!self && vlnBringError(0, nullptr, VLN_BRING_REPORT, area)) return vl::text_array({});
  vl::DbfState* s = vl::is_dbf(self) ? vl::dbf_state(self) : nullptr;
  var* active = set_nv(s ? s->indexord : 0, 0);
  const int32_t n = s ? vl::diGetOrderNumber(self, s, argc > 0 ? argv[0] : nullptr, active) : 0;
  if (n == 0) return vl::text_array({"no such order in this area"});
  _bb_dbcommit(0, nullptr);
  if (n > s->indexcount) return vl::text_array({"the order was closed"});
  // An exclusive order keeps bytes 0..2047 in its cache until it closes;
  // a forced header flush writes them whole, so the file is current.
  vl::IdxDesc* idx = s->orders[n];
  if (idx->flags & vl::IDX_D_EXCL) vl::ndx_flshhdr(idx, 1);
  std::vector<std::string> problems;
  vl::idx_verify_area(self, idx->filename, &problems);
  return vl::text_array(problems);
}

}  // extern "C"
