// The array functions of the language, without blocks: argument errors,
// sizes, deleting and inserting, building, copying, filling, scanning and
// sorting.
#include "switches.hpp"
#include "test_arrays.hpp"

using namespace vl;

using arrtest::arr;
using arrtest::memo;
using arrtest::num;
using arrtest::show;

class ArraysFuncs : public arrtest::ArrayTest {};

namespace {

var* abc() { return arr({set_cv("a"), set_cv("b"), set_cv("c")}); }

}  // namespace

TEST_F(ArraysFuncs, WrongArgumentsReportAndGiveTheNeutralResult)
{
  var* a = abc();
  var* text = set_cv("x");
  struct Case {
    const char* what;
    BbFn fn;
    std::vector<var*> args;
    int code;
    var* result;  // null: the first argument
  } cases[] = {
      {"in AADD", _bb_aadd, {}, 312, NIL_VAR},
      {"in AADD", _bb_aadd, {text, num(1)}, 312, NIL_VAR},
      {"in ACLONE", _bb_aclone, {a, a}, 311, NIL_VAR},
      {"in ACOPY", _bb_acopy, {a}, 311, ZERO_VAR},
      {"in ACOPY", _bb_acopy, {a, text}, 312, ZERO_VAR},
      {"in ADEL", _bb_adel, {a}, 312, ZERO_VAR},
      {"in ADEL", _bb_adel, {a, text}, 312, ZERO_VAR},
      {"in AINS", _bb_ains, {text, num(1)}, 312, NIL_VAR},
      {"in AINS", _bb_ains, {a, num(4)}, 312, nullptr},
      {"in ARRAY", _bb_array, {num(2), text}, 312, NIL_VAR},
      {"in ASIZE", _bb_asize, {a}, 311, NIL_VAR},
      {"in ASIZE", _bb_asize, {a, text}, 312, nullptr},
      {"in ATAIL", _bb_atail, {}, 311, NIL_VAR},
      {"in ATAIL", _bb_atail, {text}, 312, NIL_VAR},
      {"in AEVAL", _bb_aeval, {text}, 312, NIL_VAR},
      {"in AFILL", _bb_afill, {text, num(1)}, 312, NIL_VAR},
      {"in ASCAN", _bb_ascan, {a}, 311, ZERO_VAR},
      {"in ASCAN", _bb_ascan, {text, text}, 312, ZERO_VAR},
      {"in ASORT", _bb_asort, {}, 311, NIL_VAR},
      {"in ASORT", _bb_asort, {text}, 312, NIL_VAR},
  };
  for (Case& c : cases) {
    reports().clear();
    var* r = c.fn(static_cast<int>(c.args.size()), c.args.data());
    EXPECT_EQ(r, c.result ? c.result : c.args[0]) << c.what;
    ASSERT_EQ(codes(), std::vector<int>{c.code}) << c.what;
    EXPECT_TRUE(arrtest::contains(reports()[0].description, c.what));
  }
  EXPECT_EQ(show(a), "{\"a\", \"b\", \"c\"}");
}

TEST_F(ArraysFuncs, AaddAppendsAndReturnsTheValue)
{
  var* a = variable(arr({}));
  var* x = set_cv("x");
  EXPECT_EQ(vl_call(_bb_aadd, {a, x}), x);
  EXPECT_EQ(vl_call(_bb_aadd, {a}), NIL_VAR);
  for (int i = 1; i <= 1000; ++i) vl_call(_bb_aadd, {a, set_Iv(i)});
  const ArrRec* rec = VARR(a);
  ASSERT_EQ(rec->A_size, 1002u);
  EXPECT_EQ(show(rec->A_vec[0]), "\"x\"");
  EXPECT_EQ(rec->A_vec[1]->Type, 'U');
  EXPECT_EQ(show(rec->A_vec[1001]), "1000");
  EXPECT_EQ(rec->A_vec[1002], nullptr);
  EXPECT_TRUE(reports().empty());
}

TEST_F(ArraysFuncs, AaddStopsAt65535Elements)
{
  var* a = variable(arr({}));
  vl_call(_bb_asize, {a, num(65534)});
  vl_call(_bb_aadd, {a, num(1)});
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vl_call(_bb_aadd, {a, num(2)}), ERROR_VAR);
  ASSERT_EQ(codes(), std::vector<int>{409});
  EXPECT_TRUE(arrtest::contains(reports()[0].description, "requested array size=65536"));
  EXPECT_EQ(VARR(a)->A_size, 65535u);
  EXPECT_EQ(show(VARR(a)->A_vec[65534]), "1");
}

TEST_F(ArraysFuncs, AsizeGrowsShrinksAndEmpties)
{
  var* a = variable(abc());
  var* b = variable(a);
  const uint32_t links = VARR(a)->A_links;
  EXPECT_EQ(vl_call(_bb_asize, {a, num(4)}), a);
  EXPECT_EQ(show(b), "{\"a\", \"b\", \"c\", NIL}");
  vl_call(_bb_asize, {a, set_Iv(2)});
  EXPECT_EQ(show(b), "{\"a\", \"b\"}");
  vl_call(_bb_asize, {a, num(0)});
  EXPECT_EQ(show(b), "{}");
  EXPECT_EQ(VARR(a)->A_links, links);
  EXPECT_TRUE(reports().empty());
  vl_call(_bb_asize, {a, num(1)});
  EXPECT_EQ(vl_call(_bb_asize, {a, num(-1)}), ERROR_VAR);
  EXPECT_EQ(codes(), std::vector<int>{409});
  EXPECT_EQ(show(b), "{NIL}");
}

TEST_F(ArraysFuncs, AdelAndAinsKeepTheSize)
{
  struct Case {
    BbFn fn;
    double pos;
    std::string want;
  } cases[] = {
      {_bb_adel, 2, "{\"a\", \"c\", NIL}"},   {_bb_adel, 3, "{\"a\", \"b\", NIL}"},
      {_bb_adel, 99, "{\"b\", \"c\", NIL}"},  {_bb_adel, 0, "{\"b\", \"c\", NIL}"},
      {_bb_ains, 1, "{NIL, \"a\", \"b\"}"},   {_bb_ains, 3, "{\"a\", \"b\", NIL}"},
  };
  for (const Case& c : cases) {
    var* a = abc();
    EXPECT_EQ(vl_call(c.fn, {a, num(c.pos)}), a);
    EXPECT_EQ(show(a), c.want) << c.pos;
    EXPECT_EQ(VARR(a)->A_vec[3], nullptr);
  }
  EXPECT_TRUE(reports().empty());
  var* empty = arr({});
  EXPECT_EQ(vl_call(_bb_adel, {empty, num(1)}), empty);
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vl_call(_bb_ains, {empty, num(1)}), empty);
  EXPECT_EQ(codes(), std::vector<int>{312});
  EXPECT_EQ(show(empty), "{}");
}

TEST_F(ArraysFuncs, AtailGivesTheLastElementItself)
{
  var* a = abc();
  EXPECT_EQ(vl_call(_bb_atail, {a}), VARR(a)->A_vec[2]);
  EXPECT_EQ(vl_call(_bb_atail, {arr({})}), NIL_VAR);
}

TEST_F(ArraysFuncs, ArrayBuildsIndependentRows)
{
  var* a = variable(vl_call(_bb_array, {num(2), num(3)}));
  EXPECT_EQ(show(a), "{{NIL, NIL, NIL}, {NIL, NIL, NIL}}");
  cpy_var(dget_arr(dget_arr(a, 1), 1), num(7));
  EXPECT_EQ(show(a), "{{7, NIL, NIL}, {NIL, NIL, NIL}}");
  EXPECT_EQ(show(vl_call(_bb_array, {num(2), num(1), set_Iv(2)})),
            "{{{NIL, NIL}}, {{NIL, NIL}}}");
  EXPECT_EQ(show(vl_call(_bb_array, {})), "{}");
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vl_call(_bb_array, {num(2), num(-1)}), ERROR_VAR);
  EXPECT_EQ(codes(), std::vector<int>{409});
}

TEST_F(ArraysFuncs, AcloneCopiesDeeplyAcopyShares)
{
  var* inner = arr({num(1)});
  var* src = variable(arr({inner, set_cv("s")}));
  var* clone = variable(vl_call(_bb_aclone, {src}));
  var* dst = variable(arr({NIL_VAR, NIL_VAR}));
  EXPECT_EQ(vl_call(_bb_acopy, {src, dst}), dst);
  cpy_var(dget_arr(inner, 1), num(2));
  EXPECT_EQ(show(clone), "{{1}, \"s\"}");
  EXPECT_EQ(show(dst), "{{2}, \"s\"}");
  EXPECT_EQ(show(vl_call(_bb_aclone, {num(5)})), "5");
}

TEST_F(ArraysFuncs, AcopyClipsToBothArrays)
{
  struct Case {
    std::vector<var*> tail;  // start, count, target
    std::string want;
  } cases[] = {
      {{}, "{1, 2, 3}"},
      {{num(3)}, "{3, 4, \"c\"}"},
      {{num(9)}, "{1, 2, 3}"},
      {{num(2), num(2)}, "{2, 3, \"c\"}"},
      {{num(1), num(-4)}, "{\"a\", \"b\", \"c\"}"},
      {{num(1), NIL_VAR}, "{\"a\", \"b\", \"c\"}"},
      {{num(1), num(9), num(2)}, "{\"a\", 1, 2}"},
      {{num(2), num(1), num(0)}, "{2, \"b\", \"c\"}"},
  };
  for (const Case& c : cases) {
    std::vector<var*> args = {arr({num(1), num(2), num(3), num(4)}), abc()};
    args.insert(args.end(), c.tail.begin(), c.tail.end());
    EXPECT_EQ(show(_bb_acopy(static_cast<int>(args.size()), args.data())), c.want)
        << c.tail.size();
  }
  EXPECT_TRUE(reports().empty());
}

TEST_F(ArraysFuncs, AfillStoresOverAClippedRange)
{
  struct Case {
    std::vector<var*> range;  // start, count
    std::string want;
  } cases[] = {
      {{}, "{0, 0, 0, 0}"},
      {{num(3)}, "{1, 2, 0, 0}"},
      {{num(0), num(2)}, "{0, 0, 3, 4}"},
      {{num(2), num(0)}, "{1, 0, 0, 0}"},
      {{num(4), num(9)}, "{1, 2, 3, 0}"},
      {{num(5)}, "{1, 2, 3, 4}"},
  };
  for (const Case& c : cases) {
    std::vector<var*> args = {arr({num(1), num(2), num(3), num(4)}), num(0)};
    args.insert(args.end(), c.range.begin(), c.range.end());
    EXPECT_EQ(show(_bb_afill(static_cast<int>(args.size()), args.data())), c.want);
  }
}

TEST_F(ArraysFuncs, AscanComparesWithTheLanguagesEquals)
{
  const unsigned char exact = flags[VL_FLAG_EXACT];
  var* a = variable(arr({num(1), set_cv("1"), set_cv("bcd"), set_Iv(2), TRUE_VAR, NIL_VAR}));
  struct Case {
    bool exact;
    std::vector<var*> args;  // x, start, count
    int want;
  } cases[] = {
      {false, {set_cv("b")}, 3},  {true, {set_cv("b")}, 0},
      {false, {set_cv("1")}, 2},  {false, {num(2)}, 4},
      {false, {set_Iv(1)}, 1},    {false, {NIL_VAR}, 6},
      {false, {set_cv("bcd"), num(4)}, 0},
      {false, {num(2), num(-3)}, 4}, {false, {num(2), num(9)}, 0},
      {false, {num(2), num(1), num(3)}, 0}, {false, {num(2), num(1), num(-1)}, 0},
      {false, {memo("bcd")}, 3},
  };
  for (const Case& c : cases) {
    flags[VL_FLAG_EXACT] = c.exact;
    std::vector<var*> args = {a};
    args.insert(args.end(), c.args.begin(), c.args.end());
    EXPECT_EQ(vlnIntVar(_bb_ascan(static_cast<int>(args.size()), args.data())), c.want)
        << show(c.args[0]) << " exact " << c.exact;
  }
  flags[VL_FLAG_EXACT] = exact;
  EXPECT_EQ(vl_call(_bb_ascan, {arr({}), NIL_VAR}), ZERO_VAR);
  EXPECT_TRUE(reports().empty());
}

TEST_F(ArraysFuncs, AsortOrdersByTheKindOfTheFirstElement)
{
  struct Case {
    var* array;
    std::vector<var*> range;  // start, count
    std::string want;
  } cases[] = {
      {arr({num(3), set_Iv(1), num(2.5), set_Iv(-7)}), {}, "{-7, 1, 2.5, 3}"},
      {arr({set_Iv(3), num(1.5), TRUE_VAR}), {}, "{.T., 1.5, 3}"},
      {arr({set_cv("b"), memo("ab"), set_cv("a"), set_cv("B")}), {},
       "{\"B\", \"a\", M\"ab\", \"b\"}"},
      {arr({set_dv(30), set_dv(-2), set_dv(0)}), {}, "{D-2, D0, D30}"},
      {arr({TRUE_VAR, FALSE_VAR, TRUE_VAR}), {}, "{.F., .T., .T.}"},
      {arr({set_cv("a"), set_cv("b"), num(5)}), {}, "{\"a\", \"b\", 5}"},
      {arr({num(2), set_cv("b"), num(1)}), {}, "{2, \"b\", 1}"},
      {arr({memo("b"), memo("a")}), {}, "{M\"b\", M\"a\"}"},
      {arr({NIL_VAR, NIL_VAR}), {}, "{NIL, NIL}"},
      {arr({num(4), num(3), num(2), num(1)}), {num(2)}, "{4, 1, 2, 3}"},
      {arr({num(4), num(3), num(2), num(1)}), {num(2), num(2)}, "{4, 2, 3, 1}"},
      {arr({num(4), num(3), num(2), num(1)}), {num(1), num(9)}, "{1, 2, 3, 4}"},
      {arr({num(4), num(3), num(2), num(1)}), {num(9), num(1)}, "{4, 3, 2, 1}"},
      {arr({num(2), num(1), set_cv("x")}), {num(1), num(2)}, "{1, 2, \"x\"}"},
      {arr({}), {}, "{}"},
  };
  for (const Case& c : cases) {
    std::vector<var*> args = {c.array};
    args.insert(args.end(), c.range.begin(), c.range.end());
    EXPECT_EQ(_bb_asort(static_cast<int>(args.size()), args.data()), c.array);
    EXPECT_EQ(show(c.array), c.want);
  }
  EXPECT_TRUE(reports().empty());
}
