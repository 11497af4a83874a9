// Arrays: creation and resizing, element access, the subscript hook,
// sharing of one array record by several variables, the array functions of
// the language with and without blocks, and values that die while
// something still uses them (an operand released by the evaluation of the
// next one, an element released by the block that visits it, arrays nested
// deeper than any native stack).
#include <csetjmp>
#include <string>

#include "switches.hpp"
#include "vltest.h"

using namespace vl;

using vltest::expect_rows;

namespace {

// A new array temporary holding the values (shared, as a literal does).
var* arr(std::initializer_list<var*> values)
{
  return cre_arr(cre_tmpvar(), static_cast<int32_t>(values.size()), VL_ARR_LIST, values);
}

var* num(double d) { return set_nv(d, 0); }

// A memo value.
var* memo(const char* text)
{
  var* v = set_cv(text);
  v->Type = 'M';
  return v;
}

// The value as the expression rows show it.
std::string show(var* v) { return vltest::shown(v); }

// Fixture: the error capture of VlTest, plus variables (non-temporary
// records, as a LOCAL of a program would be) released at the end.
class ArrayTest : public vltest::VlTest {
 protected:
  void TearDown() override
  {
    for (var* v : vars_) del_var(v);
    vltest::VlTest::TearDown();
  }
  // A variable holding a copy of value (arrays shared).
  var* variable(var* value)
  {
    var* v = mak_var('N', 'U');
    cpy_var(v, value);
    vars_.push_back(v);
    return v;
  }
  // Codes of the reports seen so far, "409 201".
  static std::string codes()
  {
    std::string c;
    for (const auto& r : reports()) c += (c.empty() ? "" : " ") + std::to_string(r.code);
    return c;
  }

 private:
  std::vector<var*> vars_;
};

class ArraysCreate : public ArrayTest {};
class ArraysAccess : public ArrayTest {};
class ArraysFuncs : public ArrayTest {};
class ArraysBlocks : public ArrayTest {};
class Release : public ArrayTest {};

}  // namespace

TEST_F(ArraysCreate, SizesOutsideZeroTo65535Report409)
{
  expect_rows({
      {"a := ARRAY(65535), {LEN(a), a[65535], ATAIL(a)}", "{65535, NIL, NIL}"},
      {"ARRAY(-1)", "#409 ERROR"},
      {"ARRAY(65536)", "#409 ERROR"},
  });
  EXPECT_TRUE(reported(409, "dimension overflow, requested array size=65536"));
}

TEST_F(ArraysCreate, NewArraysFillByFlag)
{
  var* inner = arr({num(1)});
  struct Case {
    int flag;
    std::string want;
  } cases[] = {
      {VL_ARR_NIL, "{NIL, NIL, NIL}"},
      {VL_ARR_LIST, "{a, {1}, NIL}"},
      {VL_ARR_APPEND, "{a, {1}, NIL}"},
      {VL_ARR_DEEP_ONE, "{a, a, a}"},
      {VL_ARR_DEEP_LIST, "{a, {1}, NIL}"},
  };
  for (const Case& c : cases) {
    var* v = cre_arr(cre_tmpvar(), 3, c.flag, set_cv("a"), inner, (var*)0);
    EXPECT_EQ(show(v), c.want) << "flag " << c.flag;
    const bool deep = c.flag == VL_ARR_DEEP_LIST;
    if (c.flag == VL_ARR_LIST || deep) {
      EXPECT_EQ(VARR(VARR(v)->A_vec[1]) == VARR(inner), !deep) << "flag " << c.flag;
    }
  }
  // Flag 3 gives each element its own copy of a nested value.
  var* grid = cre_arr(cre_tmpvar(), 2, VL_ARR_DEEP_ONE, inner, (var*)0);
  EXPECT_NE(VARR(VARR(grid)->A_vec[0]), VARR(VARR(grid)->A_vec[1]));
  EXPECT_NE(VARR(VARR(grid)->A_vec[0]), VARR(inner));
  EXPECT_TRUE(reports().empty());
}

TEST_F(ArraysCreate, ResizeInPlaceIsSeenByEveryHolder)
{
  struct Case {
    int32_t size;
    int flag;
    std::string want;
  } cases[] = {
      {2, VL_ARR_APPEND, "{1, 2}"},
      {5, VL_ARR_APPEND, "{1, 2, 3, 9, NIL}"},
      {4, VL_ARR_LIST, "{9, NIL, NIL, NIL}"},
      {2, VL_ARR_NIL, "{NIL, NIL}"},
      {0, VL_ARR_APPEND, "{}"},
  };
  for (const Case& c : cases) {
    var* a = variable(arr({num(1), num(2), num(3)}));
    var* other = variable(a);
    const ArrRec* rec = VARR(a);
    const uint32_t links = rec->A_links;
    EXPECT_EQ(cre_arr(a, c.size, c.flag, num(9), (var*)0), a);
    EXPECT_EQ(VARR(a), rec);
    EXPECT_EQ(rec->A_links, links);
    EXPECT_EQ(show(other), c.want) << "size " << c.size << " flag " << c.flag;
    EXPECT_EQ(rec->A_vec[rec->A_size], nullptr);
  }
}

TEST_F(ArraysCreate, AValueTakenFromAReleasedElementSurvives)
{
  var* a = variable(arr({num(1), num(2), set_cv("kept")}));
  cre_arr(a, 1, VL_ARR_LIST, dget_arr(a, 3), (var*)0);
  EXPECT_EQ(show(a), "{kept}");
  var* b = variable(arr({num(1), set_cv("x")}));
  cre_arr(b, 1, VL_ARR_APPEND, dget_arr(b, 2), (var*)0);  // shrink, not append
  EXPECT_EQ(show(b), "{1}");
}

// cre_arrv needs a numeric size; a strictly typed text refuses an array.
TEST_F(ArraysCreate, SizeTypeAndTargetTypeChecks)
{
  EXPECT_EQ(cre_arrv(cre_tmpvar(), set_cv("2"), VL_ARR_NIL, nullptr), ERROR_VAR);
  EXPECT_TRUE(reported(201, "array dimension not numeric"));
  EXPECT_EQ(show(cre_arrv(cre_tmpvar(), num(2.7), VL_ARR_DEEP_ONE, set_cv("z"))), "{z, z}");
  EXPECT_EQ(show(cre_arrv(cre_tmpvar(), TRUE_VAR, VL_ARR_LIST, num(4))), "{4}");
  var* typed = variable(set_cv("text"));
  typed->Mode = 'S';
  EXPECT_EQ(cre_arr(typed, 2, VL_ARR_NIL, (var*)0), ERROR_VAR);
  EXPECT_EQ(codes(), "201 332");
  EXPECT_EQ(show(typed), "text");
}

// dget_arr gives ERROR_VAR and dget_arrv NIL, each after one report.
TEST_F(ArraysAccess, BadArraysAndIndicesReport)
{
  var* a = arr({num(1), num(2), num(3)});
  const struct {
    var* array;
    int32_t index;
    int code;
  } direct[] = {{nullptr, 1, 407}, {set_cv("abc"), 1, 404}, {set_Ov(0, axNullObj, NIL_VAR), 1, 404},
                {a, 0, 409},       {a, 4, 409}};
  for (const auto& c : direct) {
    reports().clear();
    EXPECT_EQ(dget_arr(c.array, c.index), ERROR_VAR) << c.index;
    EXPECT_EQ(codes(), std::to_string(c.code)) << c.index;
  }
  EXPECT_TRUE(reported(409, "array index 4 not in limits (1..3) "));
  const struct {
    var* array;
    var* index;
    int code;
  } by_value[] = {{nullptr, num(1), 407}, {num(5), num(1), 404}, {a, nullptr, 407},
                  {a, set_cv("1"), 404},  {a, num(4), 409},     {a, num(-1), 409}};
  for (const auto& c : by_value) {
    reports().clear();
    EXPECT_EQ(dget_arrv(c.array, c.index), NIL_VAR) << c.code;
    EXPECT_EQ(codes(), std::to_string(c.code)) << c.code;
  }
  EXPECT_EQ(dget_arrv(a, set_Iv(3)), dget_arr(a, 3));
}

// Elements are the records themselves, whatever kind of number indexes
// them, and one array held by two variables is one array.
TEST_F(ArraysAccess, ElementsAreSharedRecords)
{
  expect_rows({
      {"x := {1, {2}, 3}, y := x, y[1] := 'via y', x[2][1] := 20, AADD(x, 4), y",
       "{via y, {20}, 3, 4}"},
      {"{x[2.9][1], x[.T.]}", "{20, via y}"},
  });
}

TEST_F(ArraysAccess, SubscriptRecordingListsTheLatestAccess)
{
  const int32_t list = locate_var("__subscarr");
  ASSERT_GE(list, 0);
  var* a = variable(cre_arr(cre_tmpvar(), 2, VL_ARR_DEEP_ONE, arr({num(1), num(2), num(3)}),
                            (var*)0));
  EXPECT_EQ(vl_call(_bb___subscarr, {TRUE_VAR}), FALSE_VAR);
  EXPECT_EQ(show(vlnGetVar(list)), "{NIL}");
  cre_arr(vlnGetVar(list), 0, VL_ARR_NIL, (var*)0);
  dget_arrv(dget_arr(a, 2), num(3));
  EXPECT_EQ(show(vlnGetVar(list)), "{2, 3}");
  EXPECT_EQ(vl_call(_bb___subscarr, {NIL_VAR}), TRUE_VAR);  // NIL only asks
  EXPECT_EQ(vl_call(_bb___subscarr, {FALSE_VAR}), TRUE_VAR);
  EXPECT_EQ(vln_subscarr, nullptr);
  cre_arr(vlnGetVar(list), 0, VL_ARR_NIL, (var*)0);
  dget_arr(a, 1);
  EXPECT_EQ(show(vlnGetVar(list)), "{}");
  EXPECT_EQ(vl_call(_bb___subscarr, {}), FALSE_VAR);
  EXPECT_TRUE(reports().empty());
}

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

TEST_F(ArraysBlocks, BlocksSeeEachElementAndItsPosition)
{
  expect_rows({
      {"a := {1, 2, 3, 4}, b := {|e, i| s += STR(e, 1) + '@' + STR(i, 1) + ' '}"},
      {"s := '', AEVAL(a, b), s", "1@1 2@2 3@3 4@4 "},
      {"s := '', AEVAL(a, b, 2), s", "2@2 3@3 4@4 "},
      {"s := '', AEVAL(a, b, 0, 2), s", "1@1 2@2 "},
      {"s := '', AEVAL(a, b, 2, 0), s", ""},
      {"s := '', AEVAL(a, b, 9, 'x'), s", "1@1 2@2 3@3 4@4 "},
      {"AEVAL(a, b) = a", ".T."},
      {"AEVAL(a, {|e| e := e * 10})", "{10, 20, 30, 40}"},  // through the element
      {"s := '', AEVAL(a, {|e| ASIZE(a, 1), s += STR(e, 2)}), {s, a}", "{10, {10}}"},  // stops
      {"a := {1, 3, 4, 6}, even := {|e| e % 2 == 0}"},
      {"ASCAN(a, even)", "3"},
      {"ASCAN(a, even, 4)", "4"},
      {"ASCAN(a, even, 1, 2)", "0"},
      {"ASORT({1, 2, 3, 4},,, {|x, y| x > y})", "{4, 3, 2, 1}"},
      {"ASORT({'b', 2, NIL, .T.},,, {|x, y| VALTYPE(x) < VALTYPE(y)})", "{b, .T., 2, NIL}"},
      {"ASORT({1, 2, 3, 4}, 2,, {|| NIL})", "{1, 4, 3, 2}"},  // never a logical: every pair swaps
  });
}

// A BREAK out of the loop leaves no link behind.
TEST_F(ArraysBlocks, BreakOutOfTheLoopLeavesNoLink)
{
  const std::pair<BbFn, const char*> cases[] = {
      {_bb_aeval, "{|e| IIF(e > 2, BREAK('stop'), .T.)}"},
      {_bb_asort, "{|x, y| BREAK('stop')}"},
      {_bb_ascan, "{|e| BREAK('stop')}"}};
  // The setjmp lives in the lambda's frame, not beside the loop's iterators.
  auto check = [this](BbFn fn, const char* block_text) {
    var* a = variable(exp_eval("{1, 2, 3, 4}"));
    var* b = variable(exp_eval(block_text));
    frame f;
    vln_fn_start(&f, "breaks", "breaks", 1, 0);
    const int32_t mark = tmpvar_cnt;
    const uint32_t links = VARR(a)->A_links;
    jmp_buf buf;
    jmp_buf* saved = glob_sequencebuf;
    glob_sequencebuf = &buf;
    if (setjmp(buf) == 0) {
      var* args[] = {a, fn == _bb_asort ? NIL_VAR : b, NIL_VAR, b};
      fn(fn == _bb_asort ? 4 : 2, args);
      ADD_FAILURE() << "no BREAK";
    }
    vln_after_break(&f);  // the clean-up of the statement that caught it
    vln_cleanup(saved);
    EXPECT_EQ(VARR(a)->A_links, links);
    EXPECT_EQ(tmpvar_cnt, mark);
    EXPECT_EQ(show(a), "{1, 2, 3, 4}");
    vln_fn_end(&f, 'U');
  };
  for (const auto& [fn, block_text] : cases) check(fn, block_text);
}

namespace {

// {|x, y| x > y} as compiled code makes it.
var* descending_fn(int argc, var** argv, var** avec) { return u_gt_u(argv[0], argv[1]); }

}  // namespace

TEST_F(ArraysBlocks, CompiledBlocksRunToo)
{
  var* a = exp_eval("{1, 3, 2}");
  var* block = set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(descending_fn), 2, (var*)0);
  vl_call(_bb_asort, {a, NIL_VAR, NIL_VAR, block});
  EXPECT_EQ(show(a), "{3, 2, 1}");
  EXPECT_EQ(vl_call(_bb_aeval, {a, block}), a);
  EXPECT_TRUE(reports().empty());
}

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

namespace {
var* g_emptied = nullptr;  // the array the error handler empties
void empty_on_report(const VlnErrReport*) { vl_call(_bb_asize, {g_emptied, num(0)}); }
}  // namespace

// The error block of a developer warning may release an operand that the
// operator goes on with.
TEST_F(Release, AWarningThatReleasesAnOperandLeavesItReadable)
{
  vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL;
  vln_error_handler = empty_on_report;
  g_emptied = variable(arr({num(5)}));
  EXPECT_EQ(vlnNumVar(u_add_u(dget_arr(g_emptied, 1), set_lv(1), 0)), 6.0);
  g_emptied = variable(arr({num(5)}));
  var* e = dget_arr(g_emptied, 1);
  EXPECT_EQ(u_div_u(e, num(0), 1), e);
  EXPECT_EQ(vlnNumVar(e), 0.0);
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
