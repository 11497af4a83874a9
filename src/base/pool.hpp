// pool.hpp -- allocation of value records.
//
// Records are 40 bytes and made and freed at every statement, so they come
// from slabs with a free list threaded through word 1 of the value; taking
// and returning a record are a few inline stores.  A slab is never returned:
// the peak number of live records is the program's working set.  With
// VL_POOL=0 (the sanitizer build) every record is a separate calloc, so that
// AddressSanitizer sees each use after free.
#pragma once

#include <cstdlib>

#include "var.h"

#ifndef VL_POOL
#define VL_POOL 1
#endif

namespace vl {

// Refill the free list with a new slab (ends the program when out of
// memory).
void grow_pool();
// Out-of-line calloc for the unpooled build.
var* rec_calloc();

extern var* pool_free_list;

// Set every field of v, field by field.  (A whole-struct zeroing compiles to
// 16-byte stores, and reading a single byte back from those stalls store
// forwarding on every temporary.)
inline void init_record(var* v, char type, char mode, int32_t level)
{
  v->Type = type;
  v->Mode = mode;
  v->Decimals = 0;
  v->Flags = 0;
  v->Length = 0;
  v->Links = 1;
  v->V_indx = 0;
  v->W_area = nullptr;
  v->D_level = level;
  v->Value.w1.bits = 0;
  v->Value.w2.bits = 0;
}

// A record from the pool; the caller initialises every field.
inline var* rec_alloc()
{
#if VL_POOL
  if (!pool_free_list) grow_pool();
  var* v = pool_free_list;
  pool_free_list = static_cast<var*>(const_cast<void*>(v->Value.w1.ptr));
  return v;
#else
  return rec_calloc();
#endif
}

// Return a record to the pool.
inline void rec_free(var* v)
{
#if VL_POOL
  v->Type = 0x7F;  // a freed record has no valid Type
  v->Value.w1.ptr = pool_free_list;
  pool_free_list = v;
#else
  std::free(v);
#endif
}

}  // namespace vl
