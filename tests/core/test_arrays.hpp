// Helpers of the array tests: building arrays from C++ and showing them as
// text, so that a whole array is checked in one comparison.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "vltest.h"

namespace arrtest {

// A new array temporary holding the values (shared, as a literal does).
inline var* arr(std::initializer_list<var*> values)
{
  return cre_arr(cre_tmpvar(), static_cast<int32_t>(values.size()), VL_ARR_LIST, values);
}

inline var* num(double d) { return set_nv(d, 0); }

// A memo value.
inline var* memo(const char* text)
{
  var* v = set_cv(text);
  v->Type = 'M';
  return v;
}

// The value as the expression rows show it.
inline std::string show(var* v) { return vltest::shown(v); }

// Fixture: the error capture of VlTest, plus variables (non-temporary
// records, as a LOCAL of a program would be) released at the end.
class ArrayTest : public vltest::VlTest {
 protected:
  void TearDown() override
  {
    for (var* v : vars_) del_var(v);
    vltest::VlTest::TearDown();
  }
  // A variable holding a copy of value (arrays shared).
  var* variable(var* value)
  {
    var* v = mak_var('N', 'U');
    cpy_var(v, value);
    vars_.push_back(v);
    return v;
  }
  // Codes of the reports seen so far, "409 201".
  static std::string codes()
  {
    std::string c;
    for (const auto& r : reports()) c += (c.empty() ? "" : " ") + std::to_string(r.code);
    return c;
  }

 private:
  std::vector<var*> vars_;
};

}  // namespace arrtest
