// Values that die while something still uses them: an operand released by
// the evaluation of the next one, an element released by the block that
// visits it, and arrays nested deeper than any native stack.
#include <string>

#include "switches.hpp"
#include "test_arrays.hpp"
#include "vartostr.hpp"

using namespace vl;

using arrtest::arr;
using arrtest::num;

using vltest::expect_rows;

namespace {

class Release : public arrtest::ArrayTest {};

// The left operand is an element that the right operand releases; the
// operator must still see its value (every operator of a chain is held
// alike, so a few stand for all).  The value of an assignment, then a
// target whose subscript releases it; a subscript that releases the element
// indexed into.
TEST_F(Release, AnOperandOutlivesTheNextOperand)
{
  expect_rows({
      {"a := {'abc'}, a[1] + (ASIZE(a, 0), b := {|| 1}, 'y')", "abcy"},
      {"a := {'abc'}, a[1] = (ASIZE(a, 0), 'abc')", ".T."},
      {"a := {1}, a[1] < (ASIZE(a, 0), 2)", ".T."},
      {"a := {'b'}, a[1] $ (ASIZE(a, 0), 'abc')", ".T."},
      {"a := {0}, b := {'cd'}, a[(ASIZE(b, 0), 1)] := b[1]", "cd"},
      {"a := {'ab'}, b := {'cd'}, a[(ASIZE(b, 0), 1)] += b[1]", "abcd"},
      {"b := {{1, 2}}, b[1][(ASIZE(b, 0), 2)]", "2"},
      // Blocks that empty or drop the array their function walks; the
      // element passed in stays readable while the block runs.
      {"a := {'x', 'y'}, n := 0, AEVAL(a, {|e| ASIZE(a, 0), n := LEN(e)}), n", "1"},
      {"a := {'x', 'y'}, AEVAL(a, {|| a := NIL}), a", "NIL"},
      {"a := {'x', 'y'}, ASCAN(a, {|e| ASIZE(a, 0), e == 'x'})", "1"},
      {"a := {'y', 'x'}, LEN(ASORT(a,,, {|x, y| ASIZE(a, 0), x + y > ''}))", "0"},
      {"a := {'y', 'x'}, ASORT(a,,, {|x, y| a := NIL, x < y})[1]", "x"},
      // ACLONE keeps the shape: an array shared twice stays shared in the
      // copy, and a cycle stays a cycle (both are broken again at the end).
      {"s := {1}, a := {s, s}, AADD(a, a), c := ACLONE(a)"},
      {"c[1] = c[2] .AND. !(c[1] = s) .AND. c[3] = c .AND. !(c = a)", ".T."},
      {"a[3] := NIL, c[3] := NIL"},
  });
}

var* g_emptied = nullptr;  // the array the error handler empties

void empty_on_report(const VlnErrReport*) { vl_call(_bb_asize, {g_emptied, num(0)}); }

// The error block of a developer warning may release an operand that the
// operator goes on with.
TEST_F(Release, AWarningThatReleasesAnOperandLeavesItReadable)
{
  const int level = vl_set_flag[VL_SLOT_LEVEL];
  vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL;
  vln_error_handler = empty_on_report;
  g_emptied = variable(arr({num(5)}));
  EXPECT_EQ(vlnNumVar(u_add_u(dget_arr(g_emptied, 1), set_lv(1), 0)), 6.0);
  g_emptied = variable(arr({num(5)}));
  var* e = dget_arr(g_emptied, 1);
  EXPECT_EQ(u_div_u(e, num(0), 1), e);
  EXPECT_EQ(vlnNumVar(e), 0.0);
  vl_set_flag[VL_SLOT_LEVEL] = level;
}

// A chain of 100,000 two-element arrays, each holding the next:
// h := {i, h} in a loop.
TEST_F(Release, DeepNestingIsReleasedAndCopiedWithoutRecursion)
{
  constexpr int kDepth = 100000;
  var* h = variable(NIL_VAR);
  const int32_t mark = tmpvar_cnt;
  for (int i = 1; i <= kDepth; ++i) {
    cpy_var(h, arr({num(i), h}));
    del_tmpvars(mark);
  }
  var* copy = variable(vl_call(_bb_aclone, {h}));
  del_tmpvars(mark);
  var* tail = copy;
  int depth = 0;
  for (; tail->Type == 'A'; tail = VARR(tail)->A_vec[1]) ++depth;
  EXPECT_EQ(depth, kDepth);
  EXPECT_EQ(vlnIntVar(VARR(copy)->A_vec[0]), kDepth);
  cpy_var(h, NIL_VAR);
  cpy_var(copy, NIL_VAR);
  EXPECT_TRUE(reports().empty());
}

}  // namespace
