/*
** idxint.hpp -- what the tree engine's own files share (idxio.cpp,
** idxtree.cpp, idxedit.cpp): the fields of the sector in the buffer, the
** structural fault, the depth bound and the single steps of a walk.
*/
#pragma once

#include "dbfint.hpp"
#include "idx.hpp"

namespace vl {

/* The fields of the sector in idx->sec. */
inline int32_t sec_count(const IdxDesc* x) { return int32_t(dbf_get32(x->sec + IDXS_KEYCNT)); }
inline void sec_set_count(IdxDesc* x, int32_t n) { dbf_put32(x->sec + IDXS_KEYCNT, uint32_t(n)); }
inline uint32_t sec_parent(const IdxDesc* x) { return dbf_get32(x->sec + IDXS_PARENT); }
inline int32_t sec_parentpos(const IdxDesc* x) { return dbf_get16(x->sec + IDXS_PARENTPOS); }
inline void sec_set_link(IdxDesc* x, uint32_t parent, int32_t pos)
{
  dbf_put32(x->sec + IDXS_PARENT, parent);
  dbf_put16(x->sec + IDXS_PARENTPOS, uint16_t(pos));
}
/* The child and record words and the key slot of entry k. */
inline uint32_t ent_child(IdxDesc* x, int32_t k) { return dbf_get32(idx_entry(x, k)); }
inline void ent_set_child(IdxDesc* x, int32_t k, uint32_t c) { dbf_put32(idx_entry(x, k), c); }
inline uint32_t ent_recno(IdxDesc* x, int32_t k) { return dbf_get32(idx_entry(x, k) + 4); }
inline uint8_t* ent_key(IdxDesc* x, int32_t k) { return idx_entry(x, k) + IDX_ENTRY_HEAD; }

/* The sector cache (idxcache.cpp).  read and write move the 512 bytes of
** sector through it, false (nothing done) when the sector is not for it;
** find gives the bytes it holds for sector, or null; flush writes the
** changed ones. */
bool idx_cache_read(IdxDesc* idx, uint32_t sector, uint8_t* buf);
bool idx_cache_write(IdxDesc* idx, uint32_t sector, const uint8_t* buf);
const uint8_t* idx_cache_find(IdxDesc* idx, uint32_t sector);
void idx_cache_flush(IdxDesc* idx);
/* Record fault 412 for sector (the area's alias and idx's order number
** when wa is known). */
void idx_bad_sector(const DbfState* wa, IdxDesc* idx, uint32_t sector);
/* Read cur_sec into the buffer; counted: refuse a key count above
** maxkeys + 1 (off for a sector just taken, whose first word may be a free
** link). */
bool idx_read_sec(DbfState* wa, IdxDesc* idx, bool counted);
/* Whether a value of v's type may meet the index's keys; if not, fault
** 317. */
bool idx_type_ok(IdxDesc* idx, const IdxKey* v);
/* Count one more level of a descent or climb: false (fault 412) past the
** deepest tree the file can hold. */
bool idx_deeper(DbfState* wa, IdxDesc* idx, uint32_t* level);
/* One step from the cursor to the previous / next key: 1 there, 0 past the
** start / end (the cursor then stands before the first / after the last
** key), -1 on a fault. */
int idx_step_back(DbfState* wa, IdxDesc* idx);
int idx_step_fwd(DbfState* wa, IdxDesc* idx);

}  // namespace vl
