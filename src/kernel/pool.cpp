// pool.cpp -- allocation of value records.
//
// Records are 40 bytes and made and freed at every statement, so they come
// from slabs of kSlabRecords with a free list threaded through word 1 of the
// value.  A slab is never returned: the peak number of live records is the
// program's working set.  With VL_POOL=0 (the sanitizer build) every record
// is a separate calloc, so that AddressSanitizer sees each use after free.
#include <cstdlib>

#include "kernel.h"
#include "valrec.hpp"
#include "vlerror.h"

#ifndef VL_POOL
#define VL_POOL 1
#endif

namespace vl {

#if VL_POOL
namespace {

constexpr size_t kSlabRecords = 4096;
var* free_list = nullptr;

void grow_pool()
{
  auto* slab = static_cast<var*>(std::calloc(kSlabRecords, sizeof(var)));
  if (!slab) {
    vln_errout("\n\nNo memory for value records\n\n");
    vln_quit();
  }
  for (size_t i = 0; i < kSlabRecords; ++i) {
    slab[i].Value.w1.ptr = free_list;
    free_list = &slab[i];
  }
}

}  // namespace

var* rec_alloc()
{
  if (!free_list) grow_pool();
  var* v = free_list;
  free_list = static_cast<var*>(const_cast<void*>(v->Value.w1.ptr));
  std::memset(v, 0, sizeof(var));
  return v;
}

void rec_free(var* v)
{
  v->Type = 0x7F;  // a freed record has no valid Type
  v->Value.w1.ptr = free_list;
  free_list = v;
}
#else
var* rec_alloc()
{
  auto* v = static_cast<var*>(std::calloc(1, sizeof(var)));
  if (!v) {
    vln_errout("\n\nNo memory for value records\n\n");
    vln_quit();
  }
  return v;
}

void rec_free(var* v) { std::free(v); }
#endif

}  // namespace vl
