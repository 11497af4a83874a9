// deferror.cpp -- the default error handler as it runs without a screen.
//
// It writes one report to standard output:
//   "<Severity> error <code> in <FUNC>(<line>);<description>[;<subsystem> (<n>)]"
// and ends the program, except for a developer warning (902), which is shown
// only in developer mode and lets the program go on.  An unrecovered error
// ends the program with exit status 1 unless ERRORLEVEL() set another.
#include <cstdio>
#include <cstring>

#include "frame.h"
#include "kernel.h"
#include "errclass.h"
#include "runtime.hpp"
#include "vlerror.h"

namespace {

constexpr int kNoSubcode = -9999;
constexpr size_t kHeadingSize = 8192;
// Room for "FUNC(line)" or a file name as the place of an error.
constexpr size_t kPlaceSize = 512;
// The handler runs under _ERRCALLER's frame: level 1 is where the error
// happened.
constexpr int kPlaceLevel = 1;

const char* severity_word(int severity)
{
  switch (severity) {
    case VL_SEV_FATAL: return "Fatal";
    case VL_SEV_RUNTIME: return "Run-time";
    case VL_SEV_IO: return "I/O";
    default: return "Internal";
  }
}

bool developer_mode() { return vln_report_level() <= VL_LEVEL_DEVEL; }

}  // namespace

extern "C" {

void (*vln_error_handler)(const VlnErrReport* report) = vln_default_error_handler;

int vln_error_is_warning(const VlnErrReport* r) { return r->gencode == VL_E_DEV_WARNING; }

char* vln_error_heading_at(const VlnErrReport* r, const char* place, char* buf, size_t size)
{
  char code[32] = "";
  if (vln_error_is_warning(r))
    std::snprintf(code, sizeof code, "(Developer warning) ");
  else
    std::snprintf(code, sizeof code, "%3d", r->gencode);
  int n = std::snprintf(buf, size, "%s error %s in %s;%s", severity_word(r->severity), code,
                        place, r->description ? r->description : "");
  if (r->subcode != 0 && n >= 0 && static_cast<size_t>(n) < size) {
    if (r->subcode == kNoSubcode)
      std::snprintf(buf + n, size - n, ";%s", r->subsystem);
    else
      std::snprintf(buf + n, size - n, ";%s (%d)", r->subsystem, r->subcode);
  }
  return buf;
}

char* vln_error_heading(const VlnErrReport* r, char* buf, size_t size)
{
  char place[kPlaceSize];
  std::snprintf(place, sizeof place, "%s(%d)", vln_proc_name(kPlaceLevel),
                vln_proc_line(kPlaceLevel));
  return vln_error_heading_at(r, place, buf, size);
}

void vln_default_error_handler_at(const VlnErrReport* r, const char* place)
{
  const bool warning = vln_error_is_warning(r);
  if (warning && (r->severity == VL_SEV_IO || r->severity == VL_SEV_RUNTIME) &&
      !developer_mode())
    return;
  char heading[kHeadingSize];
  if (place)
    vln_error_heading_at(r, place, heading, sizeof heading);
  else
    vln_error_heading(r, heading, sizeof heading);
  vln_qout_hook(heading);
  if (warning) return;
  if (shell_return == 0) shell_return = 1;
  vln_quit();
}

void vln_default_error_handler(const VlnErrReport* r) { vln_default_error_handler_at(r, nullptr); }

}  // extern "C"
