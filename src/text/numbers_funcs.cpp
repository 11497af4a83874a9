// numbers_funcs.cpp -- ROUND and INT.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "numbers.h"
#include "args.hpp"
#include "kernel.h"

using namespace vl::args;

namespace {

constexpr int64_t kMaxPlaces = 400;  // beyond a double's range either way
constexpr int kMaxDecimals = 255;    // what a value's Decimals can hold

}  // namespace

VLN_FUNC(round)
{
  var* x = arg(argc, argv, 0);
  if (!is_number(x)) return ZERO_VAR;
  var* d = arg(argc, argv, 1);
  const int n = static_cast<int>(is_number(d) ? std::clamp(count_arg(d), -kMaxPlaces, kMaxPlaces) : 0);
  return set_nv(cc_round(vlnNumVar(x), n), std::clamp(n, 0, kMaxDecimals));
}

VLN_FUNC(int)
{
  var* x = arg(argc, argv, 0);
  if (!is_number(x)) {
    std::snprintf(repdum, sizeof repdum, "INT(): argument should be numeric, not '%c'", type_of(x));
    rt_error(VL_E_ARG_TYPE, repdum);
    return ZERO_VAR;
  }
  if (x->Type == 'I') return set_Iv(x->Value.w1.i);
  return set_nv(std::trunc(vlnNumVar(x)), 0);
}
