// minmax.cpp -- MAX and MIN of two numbers, two dates or two logicals.
//
// The result is a copy of the chosen argument, so it keeps its own type and
// decimals; on a tie the first argument is chosen.
#include <cstdio>

#include "runtime.hpp"
#include "smallfns.h"
#include "args.hpp"
#include "kernel.h"

using namespace vl;

using namespace vl::args;

namespace {

bool numeric(const var* v) { return v && vl::kNFI.has(v->Type); }

// The comparison key of a value of a comparable pair.
double key(var* v) { return numeric(v) ? vlnNumVar(v) : static_cast<double>(v->Value.w1.i); }

// Both numeric, both dates or both logicals.
bool comparable(const var* a, const var* b)
{
  if (numeric(a) && numeric(b)) return true;
  return a->Type == b->Type && (a->Type == 'D' || a->Type == 'L');
}

var* pick(int argc, var** argv, const char* name, bool larger)
{
  if (argc != 2) {
    std::snprintf(repdum, sizeof repdum, "%s(): has 2 arguments, not %d", name, argc);
    rt_error(VL_E_ARG_COUNT, repdum);
    return NIL_VAR;
  }
  var* a = argv[0];
  var* b = argv[1];
  if (!comparable(a, b)) {
    report_pair_type(name, "two numbers, dates or logicals", a, b);
    return NIL_VAR;
  }
  const bool take_b = larger ? key(b) > key(a) : key(b) < key(a);
  return mk_var_cp(take_b ? b : a);
}

}  // namespace

VLN_FUNC(max) { return pick(argc, argv, "MAX", true); }
VLN_FUNC(min) { return pick(argc, argv, "MIN", false); }
