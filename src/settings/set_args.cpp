// Reading SET arguments: see set_args.hpp.
#include "set_args.hpp"

#include <cctype>
#include <cstring>

#include "arrays.h"
#include "letters.hpp"

namespace vlset {

namespace {

// "ON" and "OFF" are recognised in the first four characters only.
constexpr size_t kOnOffWidth = 4;

}  // namespace

bool present(int argc, var** argv, int i)
{
  return i < argc && argv[i] && argv[i]->Type != 'U';
}

const char* text_of(const var* v)
{
  return v && vl::kCM.has(v->Type) && VSTR(v) ? VSTR(v) : nullptr;
}

int on_off(const char* text)
{
  char head[kOnOffWidth + 1] = {};
  size_t n = 0;
  while (n < kOnOffWidth && text[n]) {
    head[n] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[n])));
    ++n;
  }
  while (n > 0 && head[n - 1] == ' ') head[--n] = '\0';
  if (std::strcmp(head, "ON") == 0) return 1;
  if (std::strcmp(head, "OFF") == 0) return 0;
  return -1;
}

bool as_logical(var* v, int* out)
{
  if (const char* t = text_of(v)) {
    const int b = on_off(t);
    if (b < 0) return false;
    *out = b;
    return true;
  }
  if (!v || !vl::kNFIL.has(v->Type)) return false;
  *out = vlnLogVar(v) != 0;
  return true;
}

bool as_number(var* v, int* out)
{
  int b = 0;
  if (!v) return false;
  if (v->Type == 'L' || text_of(v)) {
    if (!as_logical(v, &b)) return false;
    *out = b ? 1 : -1;
    return true;
  }
  if (!vl::kNFI.has(v->Type)) return false;
  *out = vlnIntVar(v);
  return true;
}

var* text_result(const char* text)
{
  return set_Cvar(cre_tmpvar(), text, -1);
}

var* array_result(uint32_t n)
{
  var* v = cre_arr(cre_tmpvar(), static_cast<int32_t>(n), VL_ARR_NIL, nullptr);
  return v == ERROR_VAR ? NIL_VAR : v;
}

}  // namespace vlset
