// The array functions of the language, without blocks: argument errors,
// sizes, deleting and inserting, building, copying, filling, scanning and
// sorting.
#include "switches.hpp"
#include "test_arrays.hpp"

using namespace vl;

using arrtest::arr;
using arrtest::memo;
using arrtest::show;
using vltest::expect_rows;

class ArraysFuncs : public arrtest::ArrayTest {};

// Wrong arguments report and give the neutral result; the array is kept.
TEST_F(ArraysFuncs, WrongArguments)
{
  expect_rows({
      {"a := {'a', 'b', 'c'}"},
      {"AADD()", "#312 NIL"},          {"AADD('x', 1)", "#312 NIL"},
      {"ACLONE(a, a)", "#311 NIL"},    {"ATAIL('x')", "#312 NIL"},
      {"ACOPY(a, 'x')", "#312 0"},     {"ADEL(a)", "#312 0"},
      {"AINS(a, 4)", "#312 {a, b, c}"}, {"ARRAY(2, 'x')", "#312 NIL"},
      {"ASIZE(a)", "#311 NIL"},        {"ASIZE(a, 'x')", "#312 {a, b, c}"},
      {"AEVAL('x')", "#312 NIL"},      {"AFILL('x', 1)", "#312 NIL"},
      {"ASCAN(a)", "#311 0"},          {"ASCAN('x', 'x')", "#312 0"},
      {"a", "{a, b, c}"},
  });
}

// AADD, ASIZE, ADEL, AINS, ATAIL and ARRAY, seen through a second holder.
TEST_F(ArraysFuncs, SizesChangeInPlace)
{
  expect_rows({
      {"a := {}, b := a"},
      {"AADD(a, 'x')", "x"},
      {"AADD(a)", "NIL"},
      {"AEVAL(ARRAY(1000), {|e, i| AADD(a, i)}), LEN(b)", "1002"},
      {"{b[1], b[2], b[1002]}", "{x, NIL, 1000}"},
      {"ASIZE(a, 65534), AADD(a, 1), LEN(b)", "65535"},
      {"AADD(a, 2)", "#409 ERROR"},  // 65535 elements at most
      {"{LEN(b), b[65535]}", "{65535, 1}"},
      {"a := {'a', 'b', 'c'}, b := a"},
      {"ASIZE(a, 4), b", "{a, b, c, NIL}"},
      {"ASIZE(a, 0), b", "{}"},
      {"ASIZE(a, 1), ASIZE(a, -1)", "#409 ERROR"},
      {"b", "{NIL}"},
      {"ADEL({'a', 'b', 'c'}, 2)", "{a, c, NIL}"},
      {"ADEL({'a', 'b', 'c'}, 99)", "{b, c, NIL}"},
      {"AINS({'a', 'b', 'c'}, 1)", "{NIL, a, b}"},
      {"ADEL({}, 1)", "{}"},
      {"AINS({}, 1)", "#312 {}"},
      {"ATAIL({'a', 'b', 'c'})", "c"},
      {"a := ARRAY(2, 3), a[1][1] := 7, a", "{{7, NIL, NIL}, {NIL, NIL, NIL}}"},  // rows apart
      {"ARRAY(2, 1, 2)", "{{{NIL, NIL}}, {{NIL, NIL}}}"},
      {"ARRAY(2, -1)", "#409 ERROR"},
  });
  var* a = arr({set_cv("a"), set_cv("b")});
  EXPECT_EQ(vl_call(_bb_atail, {a}), VARR(a)->A_vec[1]);  // the element itself
}

TEST_F(ArraysFuncs, CopyFillAndScan)
{
  expect_rows({
      // ACLONE copies deeply, ACOPY shares what it copies.
      {"inner := {1}, src := {inner, 's'}, clone := ACLONE(src), dst := {NIL, NIL}"},
      {"ACOPY(src, dst) = dst", ".T."},
      {"inner[1] := 2, {clone, dst}", "{{{1}, s}, {{2}, s}}"},
      // ACOPY and AFILL clip start and count to both arrays.
      {"ACOPY({1, 2, 3, 4}, {'a', 'b', 'c'})", "{1, 2, 3}"},
      {"ACOPY({1, 2, 3, 4}, {'a', 'b', 'c'}, 3)", "{3, 4, c}"},
      {"ACOPY({1, 2, 3, 4}, {'a', 'b', 'c'}, 2, 2)", "{2, 3, c}"},
      {"ACOPY({1, 2, 3, 4}, {'a', 'b', 'c'}, 1, -4)", "{a, b, c}"},
      {"ACOPY({1, 2, 3, 4}, {'a', 'b', 'c'}, 1, 9, 2)", "{a, 1, 2}"},
      {"ACOPY({1, 2, 3, 4}, {'a', 'b', 'c'}, 2, 1, 0)", "{2, b, c}"},
      {"AFILL({1, 2, 3, 4}, 0, 3)", "{1, 2, 0, 0}"},
      {"AFILL({1, 2, 3, 4}, 0, 0, 2)", "{0, 0, 3, 4}"},
      {"AFILL({1, 2, 3, 4}, 0, 4, 9)", "{1, 2, 3, 0}"},
      {"AFILL({1, 2, 3, 4}, 0, 5)", "{1, 2, 3, 4}"},
      // ASCAN compares with the language's =.
      {"a := {1, '1', 'bcd', 2, .T., NIL}"},
      {"ASCAN(a, 'b')", "3"},
      {"ASCAN(a, 2)", "4"},
      {"ASCAN(a, NIL)", "6"},
      {"ASCAN(a, 'bcd', 4)", "0"},
      {"ASCAN(a, 2, -3)", "4"},
      {"ASCAN(a, 2, 1, 3)", "0"},
      {"SET(1, .T.), ASCAN(a, 'b')", "0"},
  });
  EXPECT_EQ(vlnIntVar(vl_call(_bb_ascan, {arr({set_Iv(2), memo("bcd")}), memo("bcd")})), 2);
}

TEST_F(ArraysFuncs, AsortOrdersByTheKindOfTheFirstElement)
{
  expect_rows({
      {"ASORT({3, 1, 2.5, -7})", "{-7, 1, 2.5, 3}"},
      {"ASORT({3, 1.5, .T.})", "{.T., 1.5, 3}"},
      {"ASORT({'b', 'ab', 'a', 'B'})", "{B, a, ab, b}"},
      {"d := ASORT({STOD('00010130'), STOD('00010101') - 3, CTOD('')}), {DTOS(d[3]), d[1] < d[2]}",
       "{00010130, .T.}"},
      {"ASORT({'a', 'b', 5})", "{a, b, 5}"},
      {"ASORT({2, 'b', 1})", "{2, b, 1}"},
      {"ASORT({4, 3, 2, 1}, 2)", "{4, 1, 2, 3}"},
      {"ASORT({4, 3, 2, 1}, 2, 2)", "{4, 2, 3, 1}"},
      {"ASORT({4, 3, 2, 1}, 9, 1)", "{4, 3, 2, 1}"},
      {"ASORT({2, 1, 'x'}, 1, 2)", "{1, 2, x}"},
  });
  var* texts = arr({set_cv("b"), memo("ab"), set_cv("a")});
  var* memos = arr({memo("b"), memo("a")});
  vl_call(_bb_asort, {texts});
  vl_call(_bb_asort, {memos});
  EXPECT_EQ(show(texts), "{a, ab, b}");
  EXPECT_EQ(show(memos), "{b, a}");
}
