// memory.cpp -- allocation that names its purpose.
//
// A failed allocation is reported by severity: 2 as a run-time error (the
// caller gets null and goes on), 4 as a fatal error, 16 straight to the
// standard error stream followed by the program's end, without running any
// language code (there may be no memory left to run it).
#include <cstdio>
#include <cstdlib>

#include "runtime.h"
#include "vlerror.h"

namespace {

void* report_failure(const char* purpose, int severity, int level)
{
  const char* text = purpose ? purpose : "";
  if (severity >= 16) {
    vln_errout("\n\nOut of memory ");
    vln_errout(text);
    vln_errout("\n\n");
    if (shell_return == 0) shell_return = 1;
    vln_quit();
  }
  if (severity >= VL_SEV_FATAL) ftl_error(VL_E_NO_MEMORY, text);
  if (level >= vln_report_level())
    rt_error(VL_E_NO_MEMORY, text);
  else
    last_errno = VL_E_NO_MEMORY;
  return nullptr;
}

}  // namespace

extern "C" {

void* vln_malloc(size_t size, const char* purpose, int severity, int level,
                 const char* module, int line)
{
  void* p = std::malloc(size ? size : 1);
  return p ? p : report_failure(purpose, severity, level);
}

void* vln_realloc(void* ptr, size_t size, const char* purpose, int severity, int level,
                  const char* module, int line)
{
  void* p = std::realloc(ptr, size ? size : 1);
  return p ? p : report_failure(purpose, severity, level);
}

void vln_free(void* ptr, const char* module, int line) { std::free(ptr); }

}  // extern "C"
