// ops_common.cpp -- the reports of the operator family.
//
// An operator that fails reports through rt_error and gives its neutral
// value; the error block may come back, and the statement goes on with it.
#include "ops_common.hpp"
#include "vlerror.h"

namespace vl::ops {

var* fail(int code, const char* text) { return rt_error(code, text); }

var* fail_with(var* value, int code, const char* text)
{
  rt_error(code, text);
  return value;
}

// Arithmetic on logicals and division by zero are developer warnings: the
// error table's level keeps them silent outside developer mode.
void warn(const char* text, const Site& site)
{
  vln_hold(site.target);
  if (site.other) vln_hold(site.other);
  rt_error(VL_E_DEV_WARNING, text);
}

}  // namespace vl::ops
