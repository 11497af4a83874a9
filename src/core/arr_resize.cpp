// arr_resize.cpp -- AADD and ASIZE: changing an array's size in place, so
// that every variable holding the array sees the change.
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
