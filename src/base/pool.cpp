#include "pool.hpp"

#include "runtime.h"
#include "vlerror.h"

namespace vl {

namespace {
constexpr size_t kSlabRecords = 4096;

[[noreturn]] void out_of_records()
{
  vln_errout("\n\nNo memory for value records\n\n");
  if (shell_return == 0) shell_return = 1;
  vln_quit();
}
}  // namespace

var* pool_free_list = nullptr;

void grow_pool()
{
  auto* slab = static_cast<var*>(std::calloc(kSlabRecords, sizeof(var)));
  if (!slab) out_of_records();
  for (size_t i = 0; i < kSlabRecords; ++i) {
    slab[i].Value.w1.ptr = pool_free_list;
    pool_free_list = &slab[i];
  }
}

var* rec_calloc()
{
  auto* v = static_cast<var*>(std::calloc(1, sizeof(var)));
  if (!v) out_of_records();
  return v;
}

}  // namespace vl
