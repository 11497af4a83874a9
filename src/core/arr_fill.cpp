// arr_fill.cpp -- AFILL and ACOPY: storing values over a range of elements.
// Both assign with cpy_var, so nested arrays are shared, not duplicated.
//
// An element's old value may be the last link of an object, whose axit then
// runs and may resize or drop the arrays: both hold their arrays and the
// value for the loop and check each position against the size of the
// moment.
#include <algorithm>

#include "arr_args.hpp"
#include "arrays.h"
#include "vlerror.h"
#include "vlgen.h"

using vl::arr::arg_array;
using vl::arr::arg_int;
using vl::arr::arg_num;
using vl::arr::element;

namespace {

// Argument i when it is a number within 1 to n, else 1.
int64_t position_arg(int argc, var** argv, int i, uint32_t n)
{
  if (!arg_num(argc, argv, i)) return 1;
  const int64_t p = arg_int(argv, i);
  return p >= 1 && p <= n ? p : 1;
}

// Argument i when it is a number above 0, else dflt.
int64_t positive_arg(int argc, var** argv, int i, int64_t dflt)
{
  if (!arg_num(argc, argv, i)) return dflt;
  const int64_t n = arg_int(argv, i);
  return n > 0 ? n : dflt;
}

// ACOPY's count: absent means all from start; present and not numeric (NIL
// included) means none; negative counts as none.
int64_t copy_count(int argc, var** argv, int64_t rest)
{
  if (argc < 4) return rest;
  if (!arg_num(argc, argv, 3)) return 0;
  return std::max<int64_t>(arg_int(argv, 3), 0);
}

}  // namespace

// AFILL(a, x, start, count): x stored over the range; returns a.
VLN_FUNC(afill)
{
  if (!arg_array(argc, argv, 0)) return rt_error(VL_E_ARG_TYPE, "in AFILL"), NIL_VAR;
  const ArrRec* a = vl::arr::hold(argv[0]);
  var* x = vln_hold(argc >= 2 ? argv[1] : NIL_VAR);
  const int64_t first = positive_arg(argc, argv, 2, 1);
  const int64_t last = first + positive_arg(argc, argv, 3, a->A_size) - 1;
  for (int64_t i = first; i <= last && i <= a->A_size; ++i)
    cpy_var(element(a, static_cast<uint32_t>(i)), x);
  return argv[0];
}

// ACOPY(s, d, start, count, target): copies min(count, what s has from
// start, what d has from target) elements; returns d.
VLN_FUNC(acopy)
{
  if (argc < 2 || argc > 5) return rt_error(VL_E_ARG_COUNT, "in ACOPY"), ZERO_VAR;
  if (!arg_array(argc, argv, 0) || !arg_array(argc, argv, 1))
    return rt_error(VL_E_ARG_TYPE, "in ACOPY"), ZERO_VAR;
  const ArrRec* s = vl::arr::hold(argv[0]);
  const ArrRec* d = vl::arr::hold(argv[1]);
  const int64_t start = position_arg(argc, argv, 2, s->A_size);
  const int64_t target = argc == 5 ? position_arg(argc, argv, 4, d->A_size) : 1;
  const int64_t rest = int64_t{s->A_size} - start + 1;
  const int64_t n = std::min({copy_count(argc, argv, rest), rest, d->A_size - target + 1});
  for (int64_t k = 0; k < n && start + k <= s->A_size && target + k <= d->A_size; ++k)
    cpy_var(element(d, static_cast<uint32_t>(target + k)),
            element(s, static_cast<uint32_t>(start + k)));
  return argv[1];
}
