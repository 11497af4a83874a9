// arr_scan.cpp -- ASCAN and AEVAL: the position of the first element that
// equals a value or satisfies a block, and a block run for each element.
#include <algorithm>

#include "arr_args.hpp"
#include "arrays.h"
#include "blocks.h"
#include "frame.h"
#include "operators.h"
#include "vlerror.h"
#include "vlgen.h"

using vl::arr::arg_int;
using vl::arr::arg_num;

namespace {

// Whether element e matches x: a block's true result, or the language's `=`
// with the element on the left (SET EXACT as it stands) for comparable types.
// The block may release e: it is held for the call.
bool matches(var* x, var* e)
{
  var* r;
  if (vl::kBb.has(x->Type))
    r = simplfun(2, _bb_eval, x, vln_hold(e), (var*)0);
  else if (vlnRTypesCompatible(x->Type, e->Type))
    r = u_equ_u(e, x);
  else
    return false;
  return vl::kNFIL.has(r->Type) && vlnLogVar(r);
}

}  // namespace

// ASCAN(a, x, start, count): 1-based position of the first hit, or 0.
VLN_FUNC(ascan)
{
  if (argc < 2) return rt_error(VL_E_ARG_COUNT, "in ASCAN"), ZERO_VAR;
  if (!vl::arr::arg_array(argc, argv, 0)) return rt_error(VL_E_ARG_TYPE, "in ASCAN"), ZERO_VAR;
  const int64_t size = VARR(argv[0])->A_size;
  int64_t start = 1;
  if (arg_num(argc, argv, 2)) start = std::max<int64_t>(arg_int(argv, 2), 1);
  if (start > size) return ZERO_VAR;
  int64_t count = size - start + 1;
  if (arg_num(argc, argv, 3)) {
    if (arg_int(argv, 3) < 0) return ZERO_VAR;
    count = std::min(count, arg_int(argv, 3));
  }
  const ArrRec* a = vl::arr::hold(argv[0]);
  const int32_t mark = tmpvar_cnt;
  for (int64_t pos = start; pos < start + count && pos <= a->A_size; ++pos) {
    const bool hit = matches(argv[1], vl::arr::element(a, static_cast<uint32_t>(pos)));
    del_tmpvars(mark);
    if (hit) return set_Iv(static_cast<int32_t>(pos));
  }
  return ZERO_VAR;
}

// AEVAL: run a block for each element of a range.
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
