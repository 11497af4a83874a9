// process.cpp -- the language's view of the process: GETENV, PCOUNT,
// SLEEP, FREADSTDIN and ISCOLOR.
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "frame.h"
#include "smallfns.h"
#include "args.hpp"
#include "kernel.h"

using namespace vl::args;

extern "C" {
int (*vlnHasColorsHook)(void) = nullptr;
}

namespace {

constexpr double kNanosPerSecond = 1e9;
constexpr double kMaxSleep = 1e9;  // seconds: beyond any real wait

}  // namespace

VLN_FUNC(getenv)
{
  var* name = arg(argc, argv, 0);
  if (!is_text(name)) return NULLSTR_VAR;
  const char* value = std::getenv(name->Value.w1.str);
  return value ? text_result(value, std::strlen(value)) : NULLSTR_VAR;
}

// The argument count of the running language function (this host function
// has no frame of its own).
VLN_FUNC(pcount) { return set_nv(old_fn_stack ? old_fn_stack->Params : 0, 0); }

VLN_FUNC(sleep)
{
  var* s = arg(argc, argv, 0);
  const double secs = is_number(s) ? vlnNumVar(s) : 0;
  if (!(secs > 0)) return NIL_VAR;
  const double whole = std::floor(std::fmin(secs, kMaxSleep));
  struct timespec left = {static_cast<time_t>(whole),
                          static_cast<long>((std::fmin(secs, kMaxSleep) - whole) * kNanosPerSecond)};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
  return NIL_VAR;
}

// FREADSTDIN(@buffer, n): up to n bytes of standard input into buffer;
// the number of bytes read.
VLN_FUNC(freadstdin)
{
  var* buffer = arg(argc, argv, 0);
  var* n = arg(argc, argv, 1);
  if (!buffer || !is_number(n)) return ZERO_VAR;
  const int64_t want = count_arg(n);
  if (want < 1) return ZERO_VAR;
  var* r;
  char* buf = new_text(want, &r, "FREADSTDIN");
  if (!buf) return ZERO_VAR;
  int64_t got = 0;
  while (got < want) {
    const ssize_t k = read(STDIN_FILENO, buf + got, static_cast<size_t>(want - got));
    if (k < 0 && errno == EINTR) continue;
    if (k <= 0) break;
    got += k;
  }
  set_Cvar(buffer, buf, static_cast<int32_t>(got));
  return set_nv(static_cast<double>(got), 0);
}

VLN_FUNC(iscolor) { return vlnHasColorsHook && vlnHasColorsHook() ? TRUE_VAR : FALSE_VAR; }
