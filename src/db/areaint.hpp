// areaint.hpp -- helpers shared by the work-area modules: the trace lines,
// object identity, alias comparison and the chain primitives.
#pragma once

#include <cstddef>
#include <cstdint>

#include "areas.h"

namespace vlarea {

// Bytes of an alias buffer: ten characters and the NUL.
inline constexpr size_t kAliasBuffer = 11;

// Case-insensitive comparison of two aliases over VLN_ALIAS_CMP characters;
// 0 when they are the same alias.
int alias_cmp(const char* a, const char* b);

// Whether v is an object value ('O' or 'u' with an array record).
bool is_object(const var* v);
// Whether the two object values share one object.
bool same_object(const var* a, const var* b);

// Unlink area from the chain; nothing when it is not on it.
void chain_unlink(AreaRec* area);
// Link area into the chain in number order (after unlinking it).
void chain_insert(AreaRec* area);

// The lowest area number no area of the chain uses.
int32_t lowest_free_number();

// Whether the trace is on (__diag set and __diag_fp open).
bool tracing();
// One trace line (printf format) to __diag_fp, only when tracing.
void trace(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The alias rule for a table name: the file part of name (behind the last
// slash or back-slash), upper-cased, cut at the first full stop and at 10
// characters, into out (at least 11 bytes).  A null name gives "".
void alias_from_name(const char* name, char* out);

// The field record of symbol sym that belongs to area, or null.
var* field_record(AreaRec* area, int32_t sym);
// Bring the value of a driver-backed field record up to date through its
// area's object (quick get or fieldget); returns what the driver gave, or
// the record itself for a plain field, a field of no bound area, or one
// whose get or put is running.
var* fetch_field(var* field);

// The bound area an alias names, for the field reads: by text (see
// vlnChr2Area), known-alias index, number, or a value ('C' text, 'F', 'I',
// 'N' number).  Null after reporting 342 (no such bound area) or 312 (a
// value of another type).
AreaRec* area_of_alias(const char* alias);
AreaRec* area_of_known(int32_t known);
AreaRec* area_of_number(int32_t number);
AreaRec* area_of_value(var* alias);

// The object whose alias was just refused (null after an announcement that
// bound its object): the fields announced next belong to it but to no
// area, and are retired by that object.
void set_unbound_owner(var* obj);
// Forget obj as the owner of the unbound fields to come (it is retired).
void forget_unbound_owner(var* obj);

// Record that field's text (a 'C' field's storage, a memo's buffer) was
// allocated here: when the field is retired the record keeps it as a
// value of its own, freed with the record.
void own_storage(var* field);

}  // namespace vlarea
