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

namespace {

class Release : public arrtest::ArrayTest {
 protected:
  void SetUp() override
  {
    ArrayTest::SetUp();
    vln_fn_start(&frame_, "releasetest", "releasetest", 1, 0);
  }
  void TearDown() override
  {
    vln_fn_end(&frame_, 'U');
    ArrayTest::TearDown();
  }
  // What ? shows for the value of text, after running setup.
  static std::string shown(const char* setup, const char* text)
  {
    exp_eval(setup);
    char buf[256];
    vartostr(exp_eval(text), buf, sizeof buf);
    return buf;
  }

  frame frame_;
};

struct Case {
  const char* setup;
  const char* text;
  const char* shown;
};

// The left operand is an element that the right operand releases; the
// operator must still see its value.
const Case kOperandCases[] = {
    {"a := {'abc'}", "a[1] + (ASIZE(a, 0), b := {|| 1}, 'y')", "abcy"},
    {"a := {'ab  '}", "a[1] - (ASIZE(a, 0), 'y')", "aby  "},
    {"a := {6}", "a[1] * (ASIZE(a, 0), 7)", "        42"},
    {"a := {8}", "a[1] / (ASIZE(a, 0), 2)", "         4"},
    {"a := {8}", "a[1] % (ASIZE(a, 0), 3)", "         2"},
    {"a := {2}", "a[1] ** (ASIZE(a, 0), 3)", "         8"},
    {"a := {'abc'}", "a[1] = (ASIZE(a, 0), 'abc')", ".T."},
    {"a := {'abc'}", "a[1] == (ASIZE(a, 0), 'abc')", ".T."},
    {"a := {'abc'}", "a[1] != (ASIZE(a, 0), 'abc')", ".F."},
    {"a := {1}", "a[1] < (ASIZE(a, 0), 2)", ".T."},
    {"a := {1}", "a[1] <= (ASIZE(a, 0), 2)", ".T."},
    {"a := {1}", "a[1] > (ASIZE(a, 0), 2)", ".F."},
    {"a := {1}", "a[1] >= (ASIZE(a, 0), 2)", ".F."},
    {"a := {'b'}", "a[1] $ (ASIZE(a, 0), 'abc')", ".T."},
    // The value of an assignment, then a target whose subscript releases it.
    {"a := {0}, b := {'cd'}", "a[(ASIZE(b, 0), 1)] := b[1]", "cd"},
    {"a := {'ab'}, b := {'cd'}", "a[(ASIZE(b, 0), 1)] += b[1]", "abcd"},
    // A subscript that releases the element indexed into.
    {"b := {{1, 2}}", "b[1][(ASIZE(b, 0), 2)]", "         2"},
};

}  // namespace

TEST_F(Release, AnOperandOutlivesTheNextOperand)
{
  for (const Case& c : kOperandCases) EXPECT_EQ(shown(c.setup, c.text), c.shown) << c.text;
  EXPECT_TRUE(reports().empty());
}

// Blocks that empty or drop the array their function walks; the element
// passed in stays readable while the block runs.
const Case kBlockCases[] = {
    {"a := {'x', 'y'}, n := 0", "AEVAL(a, {|e| ASIZE(a, 0), n := LEN(e)}), n", "         1"},
    {"a := {'x', 'y'}", "AEVAL(a, {|| a := NIL}), a", "NIL"},
    {"a := {'x', 'y'}", "ASCAN(a, {|e| ASIZE(a, 0), e == 'x'})", "         1"},
    {"a := {'y', 'x'}", "LEN(ASORT(a,,, {|x, y| ASIZE(a, 0), x + y > ''}))", "         0"},
    {"a := {'y', 'x'}", "ASORT(a,,, {|x, y| a := NIL, x < y})[1]", "x"},
};

TEST_F(Release, ABlockMayReleaseTheArrayItWalks)
{
  for (const Case& c : kBlockCases) EXPECT_EQ(shown(c.setup, c.text), c.shown) << c.text;
  EXPECT_TRUE(reports().empty());
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

// ACLONE keeps the shape: an array shared twice stays shared in the copy,
// and a cycle stays a cycle (both are broken again at the end).
TEST_F(Release, CloneReproducesSharingAndCycles)
{
  EXPECT_EQ(shown("s := {1}, a := {s, s}, AADD(a, a), c := ACLONE(a)",
                  "c[1] = c[2] .AND. !(c[1] = s) .AND. c[3] = c .AND. !(c = a)"),
            ".T.");
  exp_eval("a[3] := NIL, c[3] := NIL");
  EXPECT_TRUE(reports().empty());
}
