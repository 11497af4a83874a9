// extend_stor.cpp -- the Extend write-back functions: overwrite the value
// an address names.  An argument the caller passed by reference is the
// caller's own variable, so the store reaches it; one passed by value is a
// temporary of the call, and only that temporary changes.
#include "dates.hpp"
#include "extend.h"
#include "extend_walk.hpp"
#include "letters.hpp"
#include "var.hpp"

using namespace vl;

namespace {

// Whether v may be overwritten: it exists and is not a constant record.
bool writable(const var* v) { return v && !(v->Flags & VF_STATIC); }

// 1 unless the constructor refused the store.
int stored(const var* result) { return result != ERROR_VAR; }

}  // namespace

extern "C" {

int(_storc)(const char* text, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return writable(v) && stored(set_Cvar(v, text, -1));
}

int(_storclen)(const char* text, int len, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return writable(v) && stored(set_Cvar(v, text, len));
}

int(_stords)(const char* text, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return writable(v) && stored(set_dvar(v, text ? get_dat(text) : 0));
}

int(_storl)(int b, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return writable(v) && stored(set_lvar(v, b));
}

int(_stornd)(double d, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return writable(v) && stored(set_nvar(v, d, -1));
}

int(_storni)(int i, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return writable(v) && stored(set_nvar(v, i, -1));
}

int(_stornl)(long i, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  return writable(v) && stored(set_nvar(v, static_cast<double>(i), -1));
}

// A field cannot hold a window, so it is refused before a copy is made.
int(_storscw)(void* window, int n, ...)
{
  VLEXT_ADDRESS(v, n);
  if (!writable(v) || vl::kModeField.has(v->Mode)) return 0;
  if (v->Type == 'S' && v->Value.w1.win == window) return 1;
  void* copy = window && vlnDupWindowHook ? vlnDupWindowHook(window) : nullptr;
  if (!copy) return 0;
  if (set_svar(v, copy) != ERROR_VAR) return 1;
  if (vlnDelWindowHook) vlnDelWindowHook(copy);
  return 0;
}

}  // extern "C"
