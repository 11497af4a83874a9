/*
** idxtree.cpp -- finding and walking in the IDX tree: the key compare, the
** descent by key, the first of equal keys, the next and previous key, the
** first and last key, and find.
**
** Inner sectors hold real keys.  In key order a sector of n keys reads
** child 0, key 0, child 1, key 1, ..., key n-1, child n: the child of entry
** k holds the keys before key k, the child word after the last entry the
** keys after it.  A child of 0 is an empty subtree; after deletes an inner
** sector may have such holes, and a sector of one-key geometry may have no
** key at all.
**
** The cursor is (cur_sec, key_off) with that sector in the buffer.  Climbs
** trust the sector's parent and parentpos words, which splits and shifts
** leave stale: every descent writes them when they differ from the way it
** came, so the words on the path from the root to the cursor are right.
*/
#include <algorithm>
#include <cstring>

#include "idxint.hpp"
#include "natlang.hpp"
#include "numbers.hpp"

namespace vl {

int vlnIdxBinarySearch = 1;

namespace {

bool numeric(char t) { return t == 'F' || t == 'I' || t == 'N'; }

int sign(int64_t d) { return (d > 0) - (d < 0); }

/* Compare value with the key of entry k: below 0, 0, above 0 as value
** comes before, at, after it in index order.  The value's type picks the
** rule. */
int compare(IdxDesc* idx, const IdxKey* v, int32_t k)
{
  const uint8_t* slot = ent_key(idx, k);
  int c = 0;
  switch (v->type) {
    case 'C': {
      /* A shorter value matches as a prefix. */
      const int32_t n = std::min<int32_t>(v->len, idx->hdr.keylen);
      c = sign(IStrNECmp(v->text, reinterpret_cast<const char*>(slot), n));
      break;
    }
    case 'D':
      c = sign(int64_t(v->day) - int32_t(dbf_get32(slot)));
      break;
    case 'F':
    case 'I':
    case 'N': {
      /* Equal when both round to the same keylen decimals, within the
      ** tolerance.  In a logical index the slot is read as a double too. */
      double stored;
      std::memcpy(&stored, slot, sizeof stored);
      const double d = cc_round(v->num, idx->hdr.keylen) - cc_round(stored, idx->hdr.keylen);
      c = d < 0 ? -(d < -idx->tolerance) : (d > idx->tolerance);
      break;
    }
    case 'L':
      c = sign(int64_t(v->logical) - int8_t(slot[0]));
      break;
    default: /* 'M': every entry is equal */
      break;
  }
  return (idx->hdr.flags & IDX_FLAG_DESCEND) ? -c : c;
}

/* Whether the walk along a sector stops at entry k for key (and recno,
** when it is not negative): k is the first entry key does not come after.
** *equal when it is the entry looked for. */
bool stops_at(IdxDesc* idx, const IdxKey* key, int64_t recno, int32_t k, bool* equal)
{
  const int c = compare(idx, key, k);
  if (c) return c < 0;
  const int64_t r = ent_recno(idx, k);
  *equal = recno < 0 || recno == r;
  return *equal || recno < r;
}

/* Where the walk along the buffer's sector stops: the first entry at which
** it stops, or the count when it runs off the end.  In a sorted sector
** "stops" is false up to some entry and true from there on, so a binary
** search finds the same entry. */
int32_t stop_in_sector(IdxDesc* idx, const IdxKey* key, int64_t recno, bool* found)
{
  const int32_t n = sec_count(idx);
  *found = false;
  if (!vlnIdxBinarySearch) {
    for (int32_t k = 0; k < n; ++k)
      if (stops_at(idx, key, recno, k, found)) return k;
    return n;
  }
  int32_t lo = 0, hi = n;
  while (lo < hi) {
    const int32_t mid = lo + (hi - lo) / 2;
    bool equal = false;
    if (stops_at(idx, key, recno, mid, &equal)) {
      hi = mid;
      *found = equal;
    } else {
      lo = mid + 1;
    }
  }
  return lo;
}

/* Write the sector's back link when it differs from (parent, pos). */
bool INdxAdjustParent(DbfState* wa, IdxDesc* idx, uint32_t parent, int32_t pos)
{
  if (sec_parent(idx) == parent && sec_parentpos(idx) == pos) return true;
  sec_set_link(idx, parent, pos);
  return put_cur_sec(wa, idx);
}

/* Go down from the cursor to child: read it and repair its back link. */
bool go_down(DbfState* wa, IdxDesc* idx, uint32_t child)
{
  const uint32_t parent = idx->cur_sec;
  idx->cur_sec = child;
  return get_cur_sec(wa, idx) && INdxAdjustParent(wa, idx, parent, idx->key_off);
}

/* The descent of seek_key (recno negative) and Eseek_key. */
bool descend(DbfState* wa, IdxDesc* idx, const IdxKey* key, int64_t recno)
{
  if (!idx_type_ok(idx, key)) return false;
  idx->cur_sec = idx->hdr.root;
  idx->key_off = 0;
  if (!get_cur_sec(wa, idx) || !INdxAdjustParent(wa, idx, 0, 0)) return false;
  for (uint32_t level = 0;;) {
    bool found;
    idx->key_off = stop_in_sector(idx, key, recno, &found);
    if (found) return true;
    const uint32_t child = ent_child(idx, idx->key_off);
    if (!child) return false;
    if (!idx_deeper(wa, idx, &level) || !go_down(wa, idx, child)) return false;
  }
}

/* Climb while the cursor is past its sector's last key: the key after a
** subtree is the parent's entry that holds it.  At the root the cursor
** stays after the last key and the result is 0. */
int climb_fwd(DbfState* wa, IdxDesc* idx)
{
  for (uint32_t level = 0; idx->key_off >= sec_count(idx);) {
    const uint32_t parent = sec_parent(idx);
    if (!parent || idx->cur_sec == idx->hdr.root) {
      if (idx->cur_sec != idx->hdr.root) {
        idx->cur_sec = idx->hdr.root;
        if (!get_cur_sec(wa, idx)) return -1;
      }
      idx->key_off = sec_count(idx);
      return 0;
    }
    if (!idx_deeper(wa, idx, &level)) return -1;
    const int32_t pos = sec_parentpos(idx);
    idx->cur_sec = parent;
    if (!get_cur_sec(wa, idx)) return -1;
    idx->key_off = pos;
  }
  return 1;
}

/* Climb while the cursor is before its sector's first key. */
int climb_back(DbfState* wa, IdxDesc* idx)
{
  for (uint32_t level = 0; idx->key_off < 0;) {
    const uint32_t parent = sec_parent(idx);
    if (!parent || idx->cur_sec == idx->hdr.root) return 0;
    if (!idx_deeper(wa, idx, &level)) return -1;
    const int32_t pos = sec_parentpos(idx);
    idx->cur_sec = parent;
    if (!get_cur_sec(wa, idx)) return -1;
    idx->key_off = pos - 1;
  }
  if (idx->key_off < sec_count(idx)) return 1;
  idx_bad_sector(wa, idx, idx->cur_sec); /* a back link past the parent's keys */
  return -1;
}

void to_eof(DbfState* wa)
{
  wa->eof = 1;
  wa->recno = wa->lastrec + 1;
}

/* The first key without the header re-read. */
void go_top(DbfState* wa, IdxDesc* idx)
{
  if (idx->hdr.keycnt == 0) return to_eof(wa);
  idx->cur_sec = idx->hdr.root;
  idx->key_off = -1;
  if (!get_cur_sec(wa, idx)) return to_eof(wa);
  wa->eof = 0;
  wa->recno = Indx_down(wa, idx);
  if (!wa->recno) to_eof(wa);
}

/* Indx_up's result for a step back that gave r. */
int32_t back_result(DbfState* wa, IdxDesc* idx, int r)
{
  if (r > 0) return int32_t(ent_recno(idx, idx->key_off));
  if (r < 0) return 0;
  wa->bof = 1;
  go_top(wa, idx);
  return wa->recno;
}

}  // namespace

/* ---- Entries. ---- */

void kys_rght(IdxDesc* idx, int32_t first, int32_t count)
{
  /* Entries first .. SECKYCNT, the last for its child word, move up. */
  const int32_t n = sec_count(idx);
  if (first < 0 || first > n || count <= 0) return;
  const size_t bytes = size_t(n - first + 1) * idx_entry_size(idx);
  uint8_t* to = idx_entry(idx, first + count);
  std::memmove(to, idx_entry(idx, first), std::min(bytes, size_t(idx->sec + sizeof idx->sec - to)));
}

void kys_left(IdxDesc* idx, int32_t first, int32_t count)
{
  const int32_t n = sec_count(idx);
  if (first - count < 0 || first > n + 1 || count <= 0) return;
  const size_t bytes = size_t(n - first + 1) * idx_entry_size(idx);
  const uint8_t* from = idx_entry(idx, first);
  std::memmove(idx_entry(idx, first - count), from, std::min(bytes, size_t(idx->sec + sizeof idx->sec - from)));
}

bool idx_types_match(char v, char k)
{
  if (v == k) return true;
  if ((v == 'C' && k == 'M') || (v == 'M' && k == 'C')) return true;
  return (numeric(v) || v == 'L') && (numeric(k) || k == 'L') && (numeric(v) || numeric(k));
}

bool idx_type_ok(IdxDesc* idx, const IdxKey* v)
{
  if (idx_types_match(v->type, idx->hdr.keytype)) return true;
  idx_fault(idx, VL_E_ILLEGAL_TYPE, VL_SEV_INTERNAL, diMN_idxint, diEM_keytyp, v->type, idx->filename,
            idx->hdr.keytype);
  return false;
}

int ndx_compkey(IdxDesc* idx, const IdxKey* value)
{
  if (!idx_type_ok(idx, value)) return 0;
  /* Off the entries (before the first, at the end) the value comes after. */
  if (idx->key_off < 0 || idx->key_off >= sec_count(idx)) return 1;
  return compare(idx, value, idx->key_off);
}

void idx_put_key(IdxDesc* idx, uint8_t* slot, const IdxKey* key)
{
  switch (idx->hdr.keytype) {
    case 'D':
      dbf_put32(slot, uint32_t(key->day));
      break;
    case 'F':
    case 'I':
    case 'N': {
      const double d = key->type == 'L' ? double(key->logical) : key->num;
      std::memcpy(slot, &d, sizeof d);
      break;
    }
    case 'L':
      slot[0] = uint8_t(key->type == 'L' ? key->logical != 0 : key->num != 0);
      break;
    default: {
      /* The text and its terminator, as far as the slot goes; the rest of
      ** the slot keeps its bytes. */
      const size_t n = std::min<size_t>(size_t(std::max(key->len, 0)), idx->hdr.keysize);
      if (n) std::memcpy(slot, key->text, n);
      if (n < idx->hdr.keysize) slot[n] = 0;
    }
  }
}

IdxKey idx_entry_key(IdxDesc* idx, int32_t k)
{
  IdxKey key{};
  const uint8_t* slot = ent_key(idx, k);
  key.type = idx->hdr.keytype;
  switch (key.type) {
    case 'D':
      key.day = int32_t(dbf_get32(slot));
      break;
    case 'F':
    case 'I':
    case 'N':
      std::memcpy(&key.num, slot, sizeof key.num);
      break;
    case 'L':
      key.logical = int8_t(slot[0]);
      break;
    default:
      key.type = 'C';
      key.text = reinterpret_cast<const char*>(slot);
      key.len = int32_t(strnlen(key.text, std::min<size_t>(idx->hdr.keylen, idx->hdr.keysize)));
  }
  return key;
}

/* ---- Descent. ---- */

bool seek_key(DbfState* wa, IdxDesc* idx, const IdxKey* key) { return descend(wa, idx, key, -1); }

bool Eseek_key(DbfState* wa, IdxDesc* idx, const IdxKey* key, int32_t recno)
{
  return descend(wa, idx, key, recno);
}

int32_t INdxFirstOf(DbfState* wa, IdxDesc* idx, const IdxKey* key)
{
  /* Step left over equal keys; below the last equal one (or after the
  ** last unequal one) the child may hold more of them: go on at its end. */
  uint32_t sec = idx->cur_sec;
  int32_t off = idx->key_off;
  for (uint32_t level = 0;;) {
    int32_t k = idx->key_off;
    for (; k >= 0 && compare(idx, key, k) == 0; --k) {
      sec = idx->cur_sec;
      off = k;
    }
    idx->key_off = k + 1;
    const uint32_t child = ent_child(idx, idx->key_off);
    if (!child) break;
    if (!idx_deeper(wa, idx, &level) || !go_down(wa, idx, child)) return 0;
    idx->key_off = sec_count(idx) - 1;
  }
  if (idx->cur_sec != sec) {
    idx->cur_sec = sec;
    if (!get_cur_sec(wa, idx)) return 0;
  }
  idx->key_off = off;
  wa->bof = 0;
  return int32_t(ent_recno(idx, off));
}

/* ---- Walks. ---- */

int idx_step_fwd(DbfState* wa, IdxDesc* idx)
{
  idx->key_off = std::clamp(idx->key_off + 1, 0, sec_count(idx));
  uint32_t level = 0;
  for (uint32_t child = ent_child(idx, idx->key_off); child; child = ent_child(idx, 0)) {
    if (!idx_deeper(wa, idx, &level) || !go_down(wa, idx, child)) return -1;
    idx->key_off = 0;
  }
  return climb_fwd(wa, idx);
}

int idx_step_back(DbfState* wa, IdxDesc* idx)
{
  idx->key_off = std::clamp(idx->key_off, 0, sec_count(idx));
  uint32_t level = 0;
  for (uint32_t child = ent_child(idx, idx->key_off); child; child = ent_child(idx, idx->key_off)) {
    if (!idx_deeper(wa, idx, &level) || !go_down(wa, idx, child)) return -1;
    idx->key_off = sec_count(idx);
  }
  --idx->key_off;
  return climb_back(wa, idx);
}

int32_t Indx_down(DbfState* wa, IdxDesc* idx)
{
  const int r = idx->hdr.keycnt ? idx_step_fwd(wa, idx) : 0;
  if (r > 0) return int32_t(ent_recno(idx, idx->key_off));
  if (r < 0) return 0;
  wa->eof = 1;
  return wa->lastrec + 1;
}

int32_t Indx_up(DbfState* wa, IdxDesc* idx)
{
  if (idx->hdr.keycnt == 0) return back_result(wa, idx, 0);
  if (!get_cur_sec(wa, idx)) return 0;
  return back_result(wa, idx, idx_step_back(wa, idx));
}

void idx_top(DbfState* wa, IdxDesc* idx)
{
  ndx_updthdr(idx);
  if (idx->fault.code) return to_eof(wa);
  go_top(wa, idx);
}

void idx_bott(DbfState* wa, IdxDesc* idx)
{
  ndx_updthdr(idx);
  if (idx->fault.code || idx->hdr.keycnt == 0) return to_eof(wa);
  idx->cur_sec = idx->hdr.root;
  if (!get_cur_sec(wa, idx)) return to_eof(wa);
  wa->eof = 0;
  idx->key_off = sec_count(idx);
  wa->recno = back_result(wa, idx, idx_step_back(wa, idx));
  if (!wa->recno) to_eof(wa);
}

bool idx_find(DbfState* wa, IdxDesc* idx, const IdxKey* key, bool soft)
{
  ndx_updthdr(idx);
  if (idx->fault.code || idx->hdr.keycnt == 0) {
    to_eof(wa);
    return false;
  }
  wa->eof = 0;
  const bool found = seek_key(wa, idx, key);
  int32_t recno = 0;
  if (found) {
    recno = INdxFirstOf(wa, idx, key);
  } else if (soft && !idx->fault.code) {
    /* The walk stopped before the first greater key, or at a sector's end. */
    recno = idx->key_off >= sec_count(idx) ? Indx_down(wa, idx) : int32_t(ent_recno(idx, idx->key_off));
  }
  if (idx->fault.code || !recno || wa->eof) {
    to_eof(wa);
    return false;
  }
  wa->recno = recno;
  wa->eof = 0;
  return found;
}

}  // namespace vl
