// fname_util.hpp -- helpers shared by the name routines.
#pragma once

#include <cstring>
#include <string>

#include "fname.h"

namespace vln {

// Keep the first problem of a call: code, io flag, printf-style text.
void note(VlnNameReport* report, int code, int io, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

// name with its macros expanded, or evaluated when it opens with "(", by
// the kernel (filorexp); a static buffer.  The C entry points call it
// before anything else, since the evaluator may report.
const char* expand_name(const char* name);

// Copy text into a C buffer of size bytes; false (buffer untouched) when it
// doesn't fit.
inline bool copy_out(const std::string& text, char* out, size_t size)
{
  if (text.size() >= size) return false;
  std::memcpy(out, text.c_str(), text.size() + 1);
  return true;
}

// The in-place C entry points: fill rewrites name within size bytes and
// notes a problem; the report goes out after fill has returned, when no
// object with a destructor is alive.  A null name or an empty buffer is
// given back as it is.
inline char* in_place(char* name, size_t size, void (*fill)(char*, size_t, VlnNameReport*))
{
  if (!name || size == 0) return name;
  VlnNameReport report{};
  fill(name, size, &report);
  vln_name_report(&report);
  return name;
}

}  // namespace vln
