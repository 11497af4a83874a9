// extend_alloc.cpp -- the Extend allocator pair, over the kernel's
// allocation that names its purpose.
#include "extend.h"
#include "kernel.h"
#include "vlerror.h"

namespace {

constexpr const char* kPurpose = "in _xalloc";
constexpr const char* kModule = "extend2";

}  // namespace

extern "C" {

void* _VL_xalloc(size_t size, int fatal)
{
  if (fatal) return vln_malloc(size, kPurpose, VL_SEV_FATAL, VL_LEVEL_ALWAYS, kModule, 0);
  return vln_malloc(size, kPurpose, VL_SEV_RUNTIME, VL_LEVEL_DEVEL, kModule, 0);
}

void _VL_xfree(void* p) { vln_free(p, kModule, 1); }

}  // extern "C"
