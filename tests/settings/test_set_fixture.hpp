// Helpers of the tests of the switches.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "arrays.h"
#include "set.h"
#include "sethooks.h"
#include "vltest.h"

namespace settest {

// An array temporary holding copies of the values.
inline var* arr(std::initializer_list<var*> values)
{
  std::vector<var*> list(values);
  list.push_back(nullptr);
  return cre_arra(cre_tmpvar(), static_cast<int32_t>(values.size()), VL_ARR_LIST, list.data());
}

inline var* num(double n) { return set_nv(n, 0); }
inline var* txt(const char* s) { return set_cv(s); }
inline var* logic(bool b) { return b ? TRUE_VAR : FALSE_VAR; }

// The SET() and VL_Set() calls; VlTest puts every setting and hook back.
class SetTest : public vltest::VlTest {
 protected:
  // SET() with one to three arguments.
  static var* set(int n) { return vl_call(_bb_set, {num(n)}); }
  static var* set(int n, var* value) { return vl_call(_bb_set, {num(n), value}); }
  static var* set(int n, var* value, var* add) { return vl_call(_bb_set, {num(n), value, add}); }
  // VL_Set() with its arguments.
  static var* vlset(std::initializer_list<var*> args) { return vl_call(_bb_vl_set, args); }
};

}  // namespace settest
