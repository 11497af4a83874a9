// arr_eval.cpp -- AEVAL: run a block for each element of a range.
#include "arr_args.hpp"
#include "arrays.h"
#include "blocks.h"
#include "vlerror.h"
#include "vlgen.h"

using vl::arr::arg_int;
using vl::arr::arg_num;

// AEVAL(a, block, start, count): EVAL(block, element, position) per element;
// returns a.  The block may resize or drop the array: the record is held for
// the loop, the element for its call, and each position is checked against
// the size of the moment.
VLN_FUNC(aeval)
{
  if (!vl::arr::arg_array(argc, argv, 0)) return rt_error(VL_E_ARG_TYPE, "in AEVAL"), NIL_VAR;
  const uint32_t size = VARR(argv[0])->A_size;
  int64_t first = 1;
  int64_t n = size;
  if (arg_num(argc, argv, 2) && arg_int(argv, 2) >= 1 && arg_int(argv, 2) <= n)
    first = arg_int(argv, 2);
  if (arg_num(argc, argv, 3) && arg_int(argv, 3) >= 0) n = arg_int(argv, 3);
  if (!vl::arr::arg_in(argc, argv, 1, vl::kBb)) return argv[0];
  if (first + n > size) n = size - first + 1;
  const ArrRec* a = vl::arr::hold(argv[0]);
  const int32_t mark = tmpvar_cnt;
  for (int64_t i = first; i < first + n && i <= a->A_size; ++i) {
    var* args[] = {argv[1], vln_hold(vl::arr::element(a, static_cast<uint32_t>(i))),
                   set_Iv(static_cast<int32_t>(i))};
    _bb_eval(3, args);
    del_tmpvars(mark);
  }
  return argv[0];
}
