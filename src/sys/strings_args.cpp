// strings_args.cpp -- text results of language functions.
#include "strings_args.hpp"

#include <cstdio>
#include <cstring>

namespace vl::args {

namespace {

constexpr int kTooLong = 319;
constexpr int kCreatingText = 41;  // vln_errmsg row: "Creating character variable"
constexpr const char* kModule = "strings";

}  // namespace

char* new_text(int64_t n, var** out, const char* fname)
{
  *out = nullptr;
  if (n < 0) n = 0;
  if (n > VLN_MAX_TEXT) {
    std::snprintf(repdum, sizeof repdum, "%s: result longer than %ld bytes", fname,
                  static_cast<long>(VLN_MAX_TEXT));
    rt_error(kTooLong, repdum);
    return nullptr;
  }
  auto* buf = static_cast<char*>(vln_malloc(static_cast<size_t>(n) + 1, vln_errmsg[kCreatingText],
                                            VL_SEV_RUNTIME, VL_LEVEL_ALWAYS, kModule, __LINE__));
  if (!buf) return nullptr;
  buf[n] = '\0';
  var* r = cre_tmpvar();
  r->Type = 'C';
  r->Decimals = 0;
  r->Length = static_cast<int32_t>(n + 1);
  r->Value.w1.str = buf;
  *out = r;
  return buf;
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
