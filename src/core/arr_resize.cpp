// arr_resize.cpp -- AADD, ASIZE, ADEL and AINS: changing an array's size
// or the places of its elements in place, so that every variable holding
// the array sees the change.
#include "arr_args.hpp"

#include "arrays.h"
#include "vlerror.h"
#include "vlgen.h"

using vl::arr::arg_array;
using vl::arr::arg_num;

// AADD(a, x): x appended; returns x.  At 65535 elements 409 and ERROR_VAR.
VLN_FUNC(aadd)
{
  if (!arg_array(argc, argv, 0)) return rt_error(VL_E_ARG_TYPE, "in AADD"), NIL_VAR;
  var* x = argc >= 2 ? argv[1] : NIL_VAR;
  const auto size = static_cast<int32_t>(VARR(argv[0])->A_size);
  if (cre_arr(argv[0], size + 1, VL_ARR_APPEND, x, (var*)0) == ERROR_VAR) return ERROR_VAR;
  return x;
}

// ASIZE(a, n): keeps the first n elements or adds NILs; returns a.
VLN_FUNC(asize)
{
  if (argc != 2) return rt_error(VL_E_ARG_COUNT, "in ASIZE"), NIL_VAR;
  if (!arg_array(argc, argv, 0) || !arg_num(argc, argv, 1))
    return rt_error(VL_E_ARG_TYPE, "in ASIZE"), argv[0];
  return cre_arr(argv[0], vlnIntVar(argv[1]), VL_ARR_APPEND, (var*)0);
}

// ADEL and AINS: removing or opening one position while
// the size stays.
using vl::arr::arg_array;
using vl::arr::arg_int;
using vl::arr::arg_num;

namespace {

// Whether pos is an element of a.
bool inside(const ArrRec* a, int64_t pos) { return pos >= 1 && pos <= a->A_size; }

}  // namespace

// ADEL(a, pos): releases element pos (1 when out of range), moves the later
// ones down and puts a NIL last; returns a.  An empty array stays as it is.
VLN_FUNC(adel)
{
  if (argc < 2 || !arg_array(argc, argv, 0) || !arg_num(argc, argv, 1))
    return rt_error(VL_E_ARG_TYPE, "in ADEL"), ZERO_VAR;
  ArrRec* a = VARR(argv[0]);
  if (a->A_size == 0) return argv[0];
  const int64_t pos = arg_int(argv, 1);
  const uint32_t at = inside(a, pos) ? static_cast<uint32_t>(pos) - 1 : 0;
  var* gone = a->A_vec[at];
  for (uint32_t i = at; i + 1 < a->A_size; ++i) a->A_vec[i] = a->A_vec[i + 1];
  a->A_vec[a->A_size - 1] = mak_var('N', 'U');
  del_var(gone);
  return argv[0];
}

// AINS(a, pos): releases the last element, moves pos and the later ones up
// and puts a NIL at pos; returns a.  A position outside the array is 312.
VLN_FUNC(ains)
{
  if (argc < 2 || !arg_array(argc, argv, 0) || !arg_num(argc, argv, 1))
    return rt_error(VL_E_ARG_TYPE, "in AINS"), NIL_VAR;
  ArrRec* a = VARR(argv[0]);
  const int64_t pos = arg_int(argv, 1);
  if (!inside(a, pos)) return rt_error(VL_E_ARG_TYPE, "in AINS"), argv[0];
  const auto at = static_cast<uint32_t>(pos) - 1;
  var* gone = a->A_vec[a->A_size - 1];
  for (uint32_t i = a->A_size - 1; i > at; --i) a->A_vec[i] = a->A_vec[i - 1];
  a->A_vec[at] = mak_var('N', 'U');
  del_var(gone);
  return argv[0];
}
