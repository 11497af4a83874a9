/*
** idxcheck.hpp -- the independent index checker.
**
** The checker reads an IDX file with its own decoding of the format (it
** never walks the tree through the engine, so it can catch the engine's
** faults) and checks it against its table:
**
**   - the header: version, flags, key type, the key size and keys per
**     sector formulas, the key expression's terminator, the second header
**     (its terminators, the table it was made for, the write counter and,
**     for character keys, the national sort table);
**   - the shape: every sector number in range and in the file, a tree in
**     which no sector is reached twice and the depth stays bounded, sector
**     key counts within the sector, no empty sector below the root (when a
**     sector holds two keys or more), a finite free chain apart from the
**     tree, and key counts that add up to the header's;
**   - the order: keys in index order as the engine compares them (national
**     collation for text, numbers rounded to the key's decimals with the
**     tolerance, DESCEND reversing the keys only), equal keys by strictly
**     ascending record number, no equal keys in a UNIQUE index;
**   - the records: each record has exactly one key, none where the FOR
**     condition is false, and each stored key equals the key expression
**     evaluated on its record.  In a UNIQUE index each key is owned by a
**     record that has it; a record whose key is held by another record has
**     no key of its own and is not reported, since the engine drops a key
**     that several records share when its owner changes.
**
** The check reads the tree and the records in one read section of the
** table, so it sees one state of the files while writers in other
** processes wait.  Problems are one-line texts that name the sector, entry
** or record.  The
** first kMaxListed are kept, followed by one line counting the rest.  No
** input makes the checker crash or loop, and its memory is bounded by the
** size of the files.
**
** Reports raised while the checker runs language code (the key and FOR
** expressions, the driver under them) are caught and become problems; no
** BREAK leaves the checker.
*/
#pragma once

#include <string>
#include <vector>

#include "var.h"

namespace vl {

struct DbfState;

/* At most this many problem texts are listed; the rest are counted. */
constexpr int kIdxMaxListed = 100;

/* Check index file idx against table dbf, which is opened read-only and
** shared through the DBF driver in a new work area and closed again (the
** selected area stays the same).  idx gets ".idx" when its name has no
** extension.  The texts are appended to problems.  The number of problems,
** or -1 (with the reason in problems) when a file cannot be opened or the
** index is open exclusively by another process, whose header on disk is
** then not current. */
int vlnIdxVerify(const char* dbf, const char* idx, std::vector<std::string>* problems);

/* Check the index file idx (a full name) against the open table of self,
** which must be the selected area's object.  The area's record position
** is put back.  Result as for vlnIdxVerify. */
int idx_verify_area(var* self, const char* idx, std::vector<std::string>* problems);

}  // namespace vl

extern "C" {
/* ORDVERIFY([order number or name]): the problems of an order of the
** selected area (the active one by default) as an array of texts, empty
** when the order is sound.  The area is committed first and an exclusive
** order's cached header written, so that the files on disk are current. */
var* _bb_ordverify(int argc, var** argv);
}
