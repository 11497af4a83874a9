// args.cpp -- text results of language functions.
#include "args.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime.hpp"
#include "vlerror.hpp"

namespace vl::args {

namespace {

constexpr int kCreatingText = 41;  // vln_errmsg row: "Creating character variable"
constexpr const char* kModule = "strings";


void report_too_long(const char* fname)
{
  std::snprintf(repdum, sizeof repdum, "%s: result longer than %ld bytes", fname,
                static_cast<long>(VLN_MAX_TEXT));
  rt_error(VL_E_STRING_TOO_LONG, repdum);
}

// A text temporary taking over buf, which holds n bytes and a terminator.
var* adopt(char* buf, size_t n)
{
  var* r = cre_tmpvar();
  r->Type = 'C';
  r->Decimals = 0;
  r->Length = static_cast<int32_t>(n + 1);
  r->Value.w1.str = buf;
  return r;
}

}  // namespace

void report_pair_type(const char* fname, const char* want, const var* a, const var* b)
{
  std::snprintf(repdum, sizeof repdum, "%s(): arguments should be %s, not '%c, %c'", fname, want,
                type_of(a), type_of(b));
  rt_error(VL_E_ARG_TYPE, repdum);
}

char* new_text(int64_t n, var** out, const char* fname)
{
  *out = nullptr;
  if (n < 0) n = 0;
  if (n > VLN_MAX_TEXT) {
    report_too_long(fname);
    return nullptr;
  }
  auto* buf = static_cast<char*>(vln_malloc(static_cast<size_t>(n) + 1, vln_errmsg[kCreatingText],
                                            VL_SEV_RUNTIME, VL_LEVEL_ALWAYS, kModule, __LINE__));
  if (!buf) return nullptr;
  buf[n] = '\0';
  *out = adopt(buf, static_cast<size_t>(n));
  return buf;
}

bool reserve_text(TextBuilder& tb, size_t n)
{
  if (tb.too_long || tb.no_memory) return false;
  if (n <= tb.cap) return true;
  if (n > static_cast<size_t>(VLN_MAX_TEXT)) {
    tb.too_long = true;
    return false;
  }
  const size_t cap = std::min(std::max(n, tb.cap * 2), static_cast<size_t>(VLN_MAX_TEXT));
  auto* p = static_cast<char*>(std::realloc(tb.buf, cap + 1));
  if (!p) {
    tb.no_memory = true;
    return false;
  }
  tb.buf = p;
  tb.cap = cap;
  return true;
}

bool append_text(TextBuilder& tb, const char* p, size_t n)
{
  if (!reserve_text(tb, tb.len + n)) return false;
  if (n > 0) std::memcpy(tb.buf + tb.len, p, n);
  tb.len += n;
  return true;
}

var* finish_text(TextBuilder& tb, const char* fname)
{
  const TextBuilder done = tb;
  tb = TextBuilder{};
  if (done.too_long || done.no_memory) {
    std::free(done.buf);
    if (done.too_long) {
      report_too_long(fname);
    } else {
      std::snprintf(repdum, sizeof repdum, "%s: %s", fname, vln_errmsg[kCreatingText]);
      rt_error(VL_E_NO_MEMORY, repdum);
    }
    return NULLSTR_VAR;
  }
  if (!done.buf) return NULLSTR_VAR;
  done.buf[done.len] = '\0';
  return adopt(done.buf, done.len);
}

var* text_result(const char* p, size_t n)
{
  if (n == 0) return NULLSTR_VAR;
  var* r;
  char* buf = new_text(static_cast<int64_t>(n), &r);
  if (!buf) return NULLSTR_VAR;
  std::memcpy(buf, p, n);
  return r;
}

}  // namespace vl::args
