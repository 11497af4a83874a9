// extend_par.cpp -- the Extend readers: the value an address names as a C
// text, number, logical, date or window.  A value of another type gives
// the reader's empty result without a report.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "dates.hpp"
#include "extend.h"
#include "extend_walk.hpp"
#include "letters.hpp"
#include "switches.hpp"

using namespace vl;

namespace {

// "YYYYMMDD" and its NUL, with room for the longer years a 32-bit day
// number reaches.
constexpr size_t kDateTextSize = 16;

var* text_or_null(var* v) { return v && vl::kCM.has(v->Type) ? v : nullptr; }
var* number_or_null(var* v) { return v && vl::kNFI.has(v->Type) ? v : nullptr; }

// Give a borrowed text its own buffer, keeping the value's type, so that
// the routine may hold the pointer while the lender changes.  Constants
// and fields are left as they are: they must not be written, and their
// text lives as long as the call.
void own_text(var* v)
{
  if (!std::islower(static_cast<unsigned char>(v->Mode)) || vl::kModeField.has(v->Mode) ||
      (v->Flags & VF_STATIC))
    return;
  const char type = v->Type;
  v->Type = 'C';  // a strictly typed memo accepts its own text back
  set_Cvar(v, VSTR(v), v->Length - 1);
  v->Type = type;
}

}  // namespace

extern "C" {

const char*(_parc)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  if (!(v = text_or_null(v))) return "";
  own_text(v);
  return VSTR(v);
}

int(_parcsize)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return (v = text_or_null(v)) ? v->Length : 0;
}

int(_parclen)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  if (!(v = text_or_null(v))) return 0;
  if (vl_set_flag[VL_SLOT_NULTEXT]) return v->Length - 1;
  return static_cast<int>(strnlen(VSTR(v), static_cast<size_t>(v->Length - 1)));
}

int(_parl)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return v && vl::kNFIL.has(v->Type) ? vlnLogVar(v) != 0 : 0;
}

double(_parnd)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return (v = number_or_null(v)) ? vlnNumVar(v) : 0.0;
}

int(_parni)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return (v = number_or_null(v)) ? vlnIntVar(v) : 0;
}

long(_parnl)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return (v = number_or_null(v)) ? vlnIntVar(v) : 0;
}

const char*(_pards)(int n, ...)
{
  static char text[kDateTextSize];
  VLEXT_ADDRESS(v, n);
  if (!v || v->Type != 'D') return nullptr;
  // set_dat gives eight blanks for the empty date.
  std::snprintf(text, sizeof text, "%s", set_dat(VINT(v)));
  return text;
}

void*(_parscw)(int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return v && v->Type == 'S' ? v->Value.w1.win : nullptr;
}

}  // extern "C"
