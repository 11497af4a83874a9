// arr_sort.cpp -- ASORT: an in-place exchange sort of a range, by the kind
// of its first element or by an order block.
//
// Exchanging neighbours only keeps equal elements in their order, and moves
// pointers, never values.  Without a block every element of the range must
// be comparable with the first, or the array stays as it is, silently;
// numbers compare by each element's own value, whatever its subtype.
#include <algorithm>

#include "arr_args.hpp"
#include "arrays.h"
#include "blocks.h"
#include "frame.h"
#include "natlang.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

using vl::arr::arg_int;
using vl::arr::arg_num;
using vl::arr::element;

namespace {

// How two neighbours are ordered.
enum class Order { kBlock, kText, kDate, kNumber, kLogical, kNever };

Order order_of(char type)
{
  switch (type) {
    case 'C':
      return Order::kText;
    case 'D':
      return Order::kDate;
    case 'N':
    case 'F':
    case 'I':
      return Order::kNumber;
    case 'L':
      return Order::kLogical;
    default:  // 'M' included: memos never sort
      return Order::kNever;
  }
}

// The range [first, last] as the sort sees it.
struct Range {
  uint32_t first;
  uint32_t last;
};

// Whether every element of the range compares with the first one.
bool comparable(const ArrRec* a, Range r)
{
  const char type = element(a, r.first)->Type;
  for (uint32_t i = r.first + 1; i <= r.last; ++i)
    if (!vlnRTypesCompatible(element(a, i)->Type, type)) return false;
  return true;
}

// Whether x and y, in this order, must be exchanged.  The block may release
// them: they are held for the call.
bool out_of_order(Order kind, var* block, var* x, var* y)
{
  switch (kind) {
    case Order::kBlock: {
      var* r = simplfun(3, _bb_eval, block, vln_hold(x), vln_hold(y), (var*)0);
      return !(vl::kNFIL.has(r->Type) && vlnLogVar(r));
    }
    case Order::kText:
      return Istrncmp(VSTR(x), VSTR(y), std::max(x->Length, y->Length)) > 0;
    case Order::kDate:
      return VINT(x) > VINT(y);
    case Order::kNumber:
      return vlnNumVar(x) > vlnNumVar(y);
    case Order::kLogical:
      return vlnLogVar(x) > vlnLogVar(y);
    case Order::kNever:
      break;
  }
  return false;
}

// One pass of neighbour exchanges over the range; whether it exchanged.  A
// block may have shrunk the array, so each exchange checks the size.
bool pass(ArrRec* a, Range r, Order kind, var* block)
{
  const int32_t mark = tmpvar_cnt;
  bool exchanged = false;
  for (uint32_t j = r.first; j < r.last && j < a->A_size; ++j) {
    const bool swap = out_of_order(kind, block, element(a, j), element(a, j + 1));
    del_tmpvars(mark);
    if (swap && j < a->A_size) {
      std::swap(a->A_vec[j - 1], a->A_vec[j]);
      exchanged = true;
    }
  }
  return exchanged;
}

// The range of ASORT's start and count arguments.
Range sort_range(int argc, var** argv, uint32_t size)
{
  Range r{1, size};
  if (arg_num(argc, argv, 1) && arg_int(argv, 1) >= 1 && arg_int(argv, 1) <= size)
    r.first = static_cast<uint32_t>(arg_int(argv, 1));
  int64_t n = size;
  if (arg_num(argc, argv, 2) && arg_int(argv, 2) >= 1 &&
      arg_int(argv, 2) <= int64_t{size} - r.first + 1)
    n = arg_int(argv, 2) - 1;
  if (r.first + n < r.last) r.last = static_cast<uint32_t>(r.first + n);
  return r;
}

}  // namespace

// ASORT(a, start, count, block): sorts the range in place; returns a.
VLN_FUNC(asort)
{
  if (argc < 1) return rt_error(VL_E_ARG_COUNT, "in ASORT"), NIL_VAR;
  if (!vl::arr::arg_array(argc, argv, 0)) return rt_error(VL_E_ARG_TYPE, "in ASORT"), NIL_VAR;
  const uint32_t size = VARR(argv[0])->A_size;
  if (size == 0) return argv[0];
  Range r = sort_range(argc, argv, size);
  var* block = vl::arr::arg_in(argc, argv, 3, vl::kBb) ? argv[3] : nullptr;
  const Order kind = block ? Order::kBlock : order_of(element(VARR(argv[0]), r.first)->Type);
  if (kind == Order::kNever || (!block && !comparable(VARR(argv[0]), r))) return argv[0];
  ArrRec* a = vl::arr::hold(argv[0]);
  while (r.last > r.first && pass(a, r, kind, block)) --r.last;
  return argv[0];
}
