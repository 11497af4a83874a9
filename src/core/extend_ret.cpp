// extend_ret.cpp -- the Extend results.  Each gives the value an Extend
// routine returns: a new temporary of the caller or a constant record.
#include <cstdint>

#include "dates.h"
#include "extend.h"

extern "C" {

var* _VLret(void) { return NIL_VAR; }

var* _VLretc(const char* text) { return set_Cvar(cre_tmpvar(), text, -1); }

var* _VLretclen(const char* text, int len) { return set_Cvar(cre_tmpvar(), text, len); }

var* _VLretl(int b) { return b ? TRUE_VAR : FALSE_VAR; }

var* _VLretnd(double d) { return set_nv(d, -1); }

var* _VLretni(int n) { return set_Iv(n); }

var* _VLretnl(long n)
{
  if (n < INT32_MIN || n > INT32_MAX) return set_nv(static_cast<double>(n), 0);
  return set_Iv(static_cast<int32_t>(n));
}

var* _VLretds(const char* text) { return set_dv(text ? get_dat(text) : 0); }

var* _VLretwin(void* window)
{
  void* copy = window && vlnDupWindowHook ? vlnDupWindowHook(window) : nullptr;
  return copy ? mak_scrvar(copy) : NIL_VAR;
}

}  // extern "C"
