// SET(n, value, additive): read and change a setting by number.
//
// The first argument names the setting; the second, when given and not
// NIL, is the new value, read by the setting's kind (set_args.hpp); the
// third, a true logical, asks a side channel to append.  A value that does
// not fit the setting changes nothing.  The result is always the former
// value in the setting's kind.
#include <cctype>
#include <cstring>
#include <string>

#include "arrays.h"
#include "letters.hpp"
#include "set.hpp"
#include "set_args.hpp"
#include "set_table.hpp"
#include "switches.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

namespace {

using namespace vlset;

// SET ALTERNATE, EXTRA or PRINTER ON with additive: the channel's own file
// is opened anew in append mode before the switch goes on.  The name is
// copied first, since the channel frees it.
std::string sReopenName;

void reopen_for_append(int n)
{
  const char* const* name = n == kAlternate ? &vln_flagto.alternate_file
                            : n == kExtra   ? &vln_flagto.extra_file
                                            : &vln_flagto.printer_file;
  if (!**name) return;
  sReopenName = *name;
  channel_to(n + 1, sReopenName.c_str(), 1);
}

bool has_channel(int n) { return n == kAlternate || n == kExtra || n == kPrinter; }

var* logical_set(int n, var* value, bool additive)
{
  int on = 0;
  if (value && as_logical(value, &on)) {
    if (on && additive && has_channel(n)) reopen_for_append(n);
    return _cgetseton(on, n) ? TRUE_VAR : FALSE_VAR;
  }
  return _cgetseton(2, n) ? TRUE_VAR : FALSE_VAR;
}

var* numeric_set(int n, var* value)
{
  int number = VL_SET_NOCHANGE;
  if (value && !as_number(value, &number)) number = VL_SET_NOCHANGE;
  return set_nv(_cgetsetnum(n, number), 0);
}

var* text_set(int n, var* value, bool additive)
{
  const char* text = value ? text_of(value) : nullptr;
  return text_result(_cgetsetstr(n + (additive ? VL_SET_ADDITIVE : 0), text));
}

// SET 39: a number is the auto-lock time, a logical switches it; the result
// is always the former time.
var* autolock_set_value(var* value)
{
  const int former = autolock_get();
  int on = 0;
  if (value && vl::kNFI.has(value->Type))
    _cgetsetnum(kAutoLock, vlnIntVar(value));
  else if (value && as_logical(value, &on))
    _cgetseton(on, kAutoLock);
  return set_nv(former, 0);
}

}  // namespace

VLN_FUNC(set)
{
  if (argc < 1 || !argv[0] || !vl::kNFIL.has(argv[0]->Type)) {
    rt_error(VL_E_ARG_COUNT, "int SET()");
    return NIL_VAR;
  }
  const int n = vlnIntVar(argv[0]);
  var* value = present(argc, argv, 1) ? argv[1] : nullptr;
  const bool additive = argc > 2 && argv[2] && vl::kNFIL.has(argv[2]->Type) && vlnLogVar(argv[2]);
  switch (row(n).kind) {
    case Kind::Logical: return logical_set(n, value, additive);
    case Kind::Numeric: return numeric_set(n, value);
    case Kind::Text: return text_set(n, value, additive);
    case Kind::Reserved: return TRUE_VAR;
    case Kind::AutoLock: return autolock_set_value(value);
    case Kind::None: break;
  }
  return NIL_VAR;
}

// Reading SET arguments: see set_args.hpp.
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
