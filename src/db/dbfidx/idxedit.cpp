/*
** idxedit.cpp -- changing the IDX tree: insert with the median split, and
** delete, which frees a sector only when it empties and never merges or
** rebalances.
**
** Insert puts the key where the descent stopped, which is always a
** position whose child is 0.  A sector that then holds maxkeys + 1 keys
** splits around entry maxkeys / 2 (rounded down): the keys before it stay,
** with the median's child as the last child word; the keys after it move to
** a new sector; the median goes up into the parent, a new root when the
** sector was the root.  The split repeats upwards while a parent overflows.
** Moved children keep stale back links until a descent passes them.
**
** With one key per sector (keys of 233 characters and more) the left half
** of every split is empty: walks pass over such sectors.
*/
#include <cstdio>
#include <cstring>

#include "idxint.hpp"

namespace vl {

namespace {

/* The first key of an empty tree: a new root, whatever root was before. */
bool first_key(DbfState* wa, IdxDesc* idx, int32_t recno, const IdxKey* key)
{
  const uint32_t s = get_new_sec(idx);
  if (!s) return false;
  idx->hdr.root = idx->cur_sec = s;
  idx->key_off = 0;
  ent_set_child(idx, 0, 0);
  dbf_put32(idx_entry(idx, 0) + 4, uint32_t(recno));
  idx_put_key(idx, ent_key(idx, 0), key);
  ent_set_child(idx, 1, 0);
  sec_set_link(idx, 0, 0);
  sec_set_count(idx, 1);
  idx->hdr.keycnt = 1;
  const bool ok = put_cur_sec(wa, idx);
  ndx_flshhdr(idx, 0);
  return ok;
}

/* Refuse (fault 412) a sector that cannot take one more entry at key_off. */
bool room_at_cursor(DbfState* wa, IdxDesc* idx)
{
  const int32_t n = sec_count(idx);
  if (n <= int32_t(idx->hdr.maxkeys) && idx->key_off >= 0 && idx->key_off <= n) return true;
  idx_bad_sector(wa, idx, idx->cur_sec);
  return false;
}

/* Split the overfull sector in the buffer; the buffer ends on the parent
** that took the median. */
bool split(DbfState* wa, IdxDesc* idx)
{
  IdxHeader& h = idx->hdr;
  const int32_t m = int32_t(h.maxkeys >> 1);
  uint32_t parent = sec_parent(idx);
  const bool newroot = parent == 0;
  if (newroot) {
    if (!(parent = get_new_sec(idx))) return false;
    sec_set_link(idx, parent, 0);
  }
  uint8_t median[IDX_SECTOR];
  const uint32_t medrec = ent_recno(idx, m);
  std::memcpy(median, ent_key(idx, m), h.keysize);
  const uint32_t left = idx->cur_sec;
  idx->key_off = m;
  sec_set_count(idx, m);
  if (!put_cur_sec(wa, idx)) return false;

  const uint32_t right = get_new_sec(idx);
  if (!right) return false;
  idx->cur_sec = right;
  sec_set_count(idx, int32_t(h.maxkeys) + 1);
  kys_left(idx, m + 1, m + 1);
  sec_set_count(idx, int32_t(h.maxkeys) - m);
  sec_set_link(idx, parent, sec_parentpos(idx) + 1);
  ent_set_child(idx, sec_count(idx) + 1, 0);
  if (!put_cur_sec(wa, idx)) return false;

  idx->cur_sec = parent;
  idx->key_off = sec_parentpos(idx) - 1;
  if (newroot) {
    if (!idx_read_sec(wa, idx, false)) return false;
    sec_set_count(idx, 0);
    sec_set_link(idx, 0, 0);
    h.root = parent;
  } else if (!get_cur_sec(wa, idx)) {
    return false;
  }
  if (!room_at_cursor(wa, idx)) return false;
  const int32_t k = idx->key_off;
  ent_set_child(idx, k, right);
  kys_rght(idx, k, 1);
  ent_set_child(idx, k, left);
  dbf_put32(idx_entry(idx, k) + 4, medrec);
  std::memcpy(ent_key(idx, k), median, h.keysize);
  sec_set_count(idx, sec_count(idx) + 1);
  return true;
}

/* Copy the key before the entry at the cursor over it and move the cursor
** to that key, which is the one to remove now.  false when there is none
** (the cursor stays) or on a fault. */
bool take_predecessor(DbfState* wa, IdxDesc* idx)
{
  const uint32_t sec = idx->cur_sec;
  const int32_t off = idx->key_off;
  const int r = idx_step_back(wa, idx);
  const uint32_t psec = idx->cur_sec;
  const int32_t poff = idx->key_off;
  uint8_t entry[IDX_SECTOR];
  if (r > 0) std::memcpy(entry, idx_entry(idx, poff) + 4, idx_entry_size(idx) - 4);
  idx->cur_sec = sec;
  idx->key_off = off;
  if (r < 0 || !get_cur_sec(wa, idx) || r == 0) return false;
  std::memcpy(idx_entry(idx, off) + 4, entry, idx_entry_size(idx) - 4);
  if (!put_cur_sec(wa, idx)) return false;
  idx->cur_sec = psec;
  idx->key_off = poff;
  return get_cur_sec(wa, idx);
}

}  // namespace

bool Indx_add(DbfState* wa, IdxDesc* idx, int32_t recno, const IdxKey* key)
{
  IdxHeader& h = idx->hdr;
  if (!idx_type_ok(idx, key)) return false;
  if (h.keycnt == 0) return first_key(wa, idx, recno, key);
  const bool unique = h.flags & IDX_FLAG_UNIQUE;
  const bool found = unique ? seek_key(wa, idx, key) : Eseek_key(wa, idx, key, recno);
  if (idx->fault.code) return false;
  if (found) {
    /* UNIQUE: a later record with the same key has no key of its own. */
    if (unique) return true;
    char text[IDX_MAX_KEY + 1];
    const IdxKey k = idx_entry_key(idx, idx->key_off);
    std::snprintf(text, sizeof text, "%.*s", k.type == 'C' ? int(k.len) : 0, k.text ? k.text : "");
    idx_fault(idx, VL_E_INTERNAL_VALUE, VL_SEV_INTERNAL, diMN_idxint, diEM_dblkey, dbf_alias(wa), idx->filename, text,
              long(recno));
    return false;
  }
  if (!room_at_cursor(wa, idx)) return false;
  ++h.keycnt;
  const int32_t k = idx->key_off;
  const uint32_t kept = ent_child(idx, k);
  ent_set_child(idx, k, 0);
  kys_rght(idx, k, 1);
  ent_set_child(idx, k, kept);
  dbf_put32(idx_entry(idx, k) + 4, uint32_t(recno));
  idx_put_key(idx, ent_key(idx, k), key);
  sec_set_count(idx, sec_count(idx) + 1);
  for (uint32_t level = 0; sec_count(idx) > int32_t(h.maxkeys);)
    if (!idx_deeper(wa, idx, &level) || !split(wa, idx)) return false;
  const bool ok = put_cur_sec(wa, idx);
  ndx_flshhdr(idx, 0);
  return ok;
}

bool Indx_del(DbfState* wa, IdxDesc* idx)
{
  IdxHeader& h = idx->hdr;
  if (idx->key_off < 0 || idx->key_off >= sec_count(idx)) return false;
  /* The lower count reaches the header before any sector changes: a
  ** process killed in the middle leaves a count that disagrees with the
  ** table, which the next open reports, rather than a tree that lost a key
  ** behind a count that still looks right. */
  if (h.keycnt) --h.keycnt;
  ndx_flshhdr(idx, 0);
  /* An entry with keys before it in its subtree gives way to the key just
  ** before it, until the key to remove has no subtree.  The first key of
  ** all, whose subtree holds no key, is removed with it. */
  for (uint32_t level = 0; ent_child(idx, idx->key_off);) {
    if (!idx_deeper(wa, idx, &level)) return false;
    if (!take_predecessor(wa, idx)) {
      if (idx->fault.code) return false;
      break;
    }
  }
  const int32_t n = sec_count(idx);
  kys_left(idx, idx->key_off + 1, 1);
  sec_set_count(idx, n - 1);
  if (n == 1 && idx->cur_sec != h.root) {
    /* The sector is empty: free it and hang what it still points to (0 in
    ** a leaf) in its place in the parent. */
    const uint32_t kept = ent_child(idx, idx->key_off);
    const uint32_t parent = sec_parent(idx);
    const int32_t pos = sec_parentpos(idx);
    if (!set_fre_sec(wa, idx)) return false;
    idx->cur_sec = parent;
    idx->key_off = pos;
    if (!get_cur_sec(wa, idx)) return false;
    if (pos > sec_count(idx)) {
      idx_bad_sector(wa, idx, parent);
      return false;
    }
    ent_set_child(idx, pos, kept);
  }
  return put_cur_sec(wa, idx);
}

}  // namespace vl
