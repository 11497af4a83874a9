// sysinfo.cpp -- VERSION, OS, NETNAME, MEMORY and TONE.
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "args.hpp"
#include "kernel.h"
#include "runtime.hpp"
#include "sysinfo.h"

using namespace vl;

using namespace vl::args;

extern "C" {
void (*vlnToneHook)(double, double) = nullptr;
}

namespace {

constexpr const char* kVersion = "VL " VL_VERSION;  // VL_VERSION: the project's, from the build
constexpr double kBytesPerKB = 1024;
constexpr int64_t kLastMemoryKind = 2;  // 0 values, 1 largest block, 2 RUN
constexpr double kDefaultDuration = 1;  // one tick

var* text_of(const char* s) { return text_result(s, std::strlen(s)); }

// Whether argument i is a number, or absent when optional; else 312.
bool number_arg(int argc, var** argv, int i, bool optional, const char* fname)
{
  var* v = arg(argc, argv, i);
  if (is_number(v) || (optional && (!v || v->Type == 'U'))) return true;
  std::snprintf(repdum, sizeof repdum, "%s(): argument %d should be numeric, not '%c'", fname, i + 1, type_of(v));
  rt_error(VL_E_ARG_TYPE, repdum);
  return false;
}

// Kilobytes of memory the program could have now: free and buffer memory.
double available_kb()
{
  struct sysinfo si;
  if (sysinfo(&si) != 0) return 0;
  return (static_cast<double>(si.freeram) + static_cast<double>(si.bufferram)) * si.mem_unit / kBytesPerKB;
}

}  // namespace

VLN_FUNC(version) { return text_of(kVersion); }

VLN_FUNC(os)
{
  struct utsname u;
  if (uname(&u) != 0) return NULLSTR_VAR;
  char buf[sizeof u.sysname + sizeof u.release + 2];
  std::snprintf(buf, sizeof buf, "%s %s", u.sysname, u.release);
  return text_of(buf);
}

VLN_FUNC(netname)
{
  char host[HOST_NAME_MAX + 1] = "";
  if (gethostname(host, sizeof host) != 0) return NULLSTR_VAR;
  host[HOST_NAME_MAX] = '\0';
  return text_of(host);
}

VLN_FUNC(memory)
{
  if (!number_arg(argc, argv, 0, true, "MEMORY")) return ZERO_VAR;
  var* n = arg(argc, argv, 0);
  const int64_t kind = is_number(n) ? count_arg(n) : 0;
  return set_nv(kind >= 0 && kind <= kLastMemoryKind ? std::floor(available_kb()) : 0, 0);
}

VLN_FUNC(tone)
{
  if (!number_arg(argc, argv, 0, false, "TONE") || !number_arg(argc, argv, 1, true, "TONE")) return NIL_VAR;
  var* duration = arg(argc, argv, 1);
  if (vlnToneHook)
    vlnToneHook(vlnNumVar(argv[0]), is_number(duration) ? vlnNumVar(duration) : kDefaultDuration);
  return NIL_VAR;
}
