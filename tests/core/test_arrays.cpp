// Arrays: creation and resizing, element access, the subscript hook, and
// sharing of one array record by several variables.
#include "test_arrays.hpp"

using arrtest::arr;
using arrtest::num;
using arrtest::show;

class ArraysCreate : public arrtest::ArrayTest {};
class ArraysAccess : public arrtest::ArrayTest {};

TEST_F(ArraysCreate, SizesOutsideZeroTo65535Report409)
{
  for (int32_t size : {-1, 65536}) {
    var* v = cre_tmpvar();
    EXPECT_EQ(cre_arr(v, size, VL_ARR_NIL, (var*)0), ERROR_VAR);
    EXPECT_TRUE(reported(409, "dimension overflow, requested array size=" + std::to_string(size)));
    EXPECT_EQ(v->Type, 'U');
  }
  var* big = cre_arr(cre_tmpvar(), 65535, VL_ARR_NIL, (var*)0);
  ASSERT_EQ(big->Type, 'A');
  EXPECT_EQ(VARR(big)->A_size, 65535u);
  EXPECT_EQ(VARR(big)->A_vec[65535], nullptr);
  EXPECT_EQ(VARR(big)->A_vec[65534]->Type, 'U');
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
}

// Elements are the records themselves, whatever kind of number indexes
// them, and one array held by two variables is one array.
TEST_F(ArraysAccess, ElementsAreSharedRecords)
{
  var* x = variable(arr({num(1), arr({num(2)}), num(3)}));
  var* y = variable(x);
  EXPECT_EQ(dget_arrv(x, num(2.9)), dget_arr(x, 2));
  EXPECT_EQ(dget_arrv(x, TRUE_VAR), dget_arr(x, 1));
  EXPECT_EQ(dget_arrv(x, set_Iv(3)), dget_arr(x, 3));
  cpy_var(dget_arr(y, 1), set_cv("via y"));
  cpy_var(dget_arr(dget_arr(x, 2), 1), num(20));
  EXPECT_EQ(show(x), "{via y, {20}, 3}");
  const uint32_t links = VARR(x)->A_links;
  vl_call(_bb_aadd, {x, num(4)});
  EXPECT_EQ(show(y), "{via y, {20}, 3, 4}");
  EXPECT_EQ(VARR(x)->A_links, links);
  EXPECT_TRUE(reports().empty());
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
