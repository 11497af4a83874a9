// The array functions that run blocks: AEVAL, ASCAN and ASORT with compiled
// blocks, blocks that change the array under the loop, and BREAK out of the
// loop.
#include <csetjmp>

#include "test_arrays.hpp"

using arrtest::arr;
using arrtest::num;
using arrtest::show;

class ArraysBlocks : public arrtest::ArrayTest {};

namespace {

std::string eval_log;
int calls_before_break = 0;

// {|e, i| log e@i}
var* log_fn(int argc, var** argv, var** avec)
{
  eval_log += show(argv[0]) + "@" + show(argv[1]) + " ";
  return NIL_VAR;
}

// {|e| e := e * 10}: writes through the element record.
var* times_ten_fn(int argc, var** argv, var** avec)
{
  return set_nvar(argv[0], vlnNumVar(argv[0]) * 10, 0);
}

// {|e| ASIZE(a, 1), log e}: a is the detached array variable.
var* shrink_fn(int argc, var** argv, var** avec)
{
  vl_call(_bb_asize, {avec[0], num(1)});
  return log_fn(argc, argv, avec);
}

// {|e| e % 2 == 0}
var* even_fn(int argc, var** argv, var** avec)
{
  return set_lv(vlnIntVar(argv[0]) % 2 == 0);
}

// {|x, y| x > y}
var* descending_fn(int argc, var** argv, var** avec) { return u_gt_u(argv[0], argv[1]); }

// {|x, y| shown x < shown y}: an order for values of any type.
var* by_text_fn(int argc, var** argv, var** avec)
{
  return set_lv(show(argv[0]) < show(argv[1]));
}

// {|| NIL}: never a logical, so every pair is exchanged.
var* nil_fn(int argc, var** argv, var** avec) { return NIL_VAR; }

// {|x, y| ... BREAK} after calls_before_break calls.
var* break_fn(int argc, var** argv, var** avec)
{
  if (--calls_before_break < 0) {
    vln_break_value = set_cv("stop");
    longjmp(*glob_sequencebuf, 1);
  }
  return TRUE_VAR;
}

var* block(var* (*fn)(int, var**, var**), var* detached = nullptr)
{
  return set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(fn), 2, detached, (var*)0);
}

var* one_to_four() { return arr({num(1), num(2), num(3), num(4)}); }

}  // namespace

TEST_F(ArraysBlocks, AevalPassesEachElementAndItsPosition)
{
  struct Case {
    std::vector<var*> range;  // start, count
    std::string want;
  } cases[] = {
      {{}, "1@1 2@2 3@3 4@4 "},
      {{num(2)}, "2@2 3@3 4@4 "},
      {{num(2), num(1)}, "2@2 "},
      {{num(0), num(2)}, "1@1 2@2 "},
      {{num(2), num(0)}, ""},
      {{num(3), num(9)}, "3@3 4@4 "},
      {{num(9), set_cv("x")}, "1@1 2@2 3@3 4@4 "},
  };
  for (const Case& c : cases) {
    eval_log.clear();
    std::vector<var*> args = {one_to_four(), block(log_fn)};
    args.insert(args.end(), c.range.begin(), c.range.end());
    EXPECT_EQ(_bb_aeval(static_cast<int>(args.size()), args.data()), args[0]);
    EXPECT_EQ(eval_log, c.want);
  }
  var* a = one_to_four();
  EXPECT_EQ(vl_call(_bb_aeval, {a, block(times_ten_fn)}), a);
  EXPECT_EQ(show(a), "{10, 20, 30, 40}");
  EXPECT_EQ(vl_call(_bb_aeval, {a, num(1)}), a);
  EXPECT_TRUE(reports().empty());
}

TEST_F(ArraysBlocks, AevalStopsWhenTheBlockShrinksTheArray)
{
  var* a = variable(one_to_four());
  eval_log.clear();
  vl_call(_bb_aeval, {a, block(shrink_fn, a)});
  EXPECT_EQ(eval_log, "1@1 ");
  EXPECT_EQ(show(a), "{1}");
}

TEST_F(ArraysBlocks, AscanWithABlockFindsTheFirstTrueResult)
{
  var* a = arr({num(1), num(3), num(4), num(6)});
  EXPECT_EQ(vlnIntVar(vl_call(_bb_ascan, {a, block(even_fn)})), 3);
  EXPECT_EQ(vlnIntVar(vl_call(_bb_ascan, {a, block(even_fn), num(4)})), 4);
  EXPECT_EQ(vl_call(_bb_ascan, {a, block(even_fn), num(1), num(2)}), ZERO_VAR);
  EXPECT_EQ(vl_call(_bb_ascan, {a, block(nil_fn)}), ZERO_VAR);
}

TEST_F(ArraysBlocks, AsortWithABlockOrdersAnyTypes)
{
  var* a = one_to_four();
  vl_call(_bb_asort, {a, NIL_VAR, NIL_VAR, block(descending_fn)});
  EXPECT_EQ(show(a), "{4, 3, 2, 1}");
  var* mixed = arr({set_cv("b"), num(2), NIL_VAR, TRUE_VAR});
  vl_call(_bb_asort, {mixed, NIL_VAR, NIL_VAR, block(by_text_fn)});
  EXPECT_EQ(show(mixed), "{\"b\", .T., 2, NIL}");
  var* b = one_to_four();
  vl_call(_bb_asort, {b, num(2), NIL_VAR, block(nil_fn)});
  EXPECT_EQ(show(b), "{1, 4, 3, 2}");
  EXPECT_TRUE(reports().empty());
}

TEST_F(ArraysBlocks, BreakOutOfTheLoopLeavesNoLink)
{
  struct Case {
    BbFn fn;
    int calls;
  } cases[] = {{_bb_aeval, 2}, {_bb_asort, 1}, {_bb_ascan, 0}};
  // The setjmp lives in the lambda's frame, not beside the loop's iterators.
  auto check = [this](const Case& c) {
    var* a = variable(one_to_four());
    var* b = block(break_fn);
    const int32_t mark = tmpvar_cnt;
    const uint32_t links = VARR(a)->A_links;
    jmp_buf buf;
    jmp_buf* saved = glob_sequencebuf;
    glob_sequencebuf = &buf;
    calls_before_break = c.calls;
    if (setjmp(buf) == 0) {
      var* args[] = {a, c.fn == _bb_asort ? NIL_VAR : b, NIL_VAR, b};
      c.fn(c.fn == _bb_asort ? 4 : 2, args);
      ADD_FAILURE() << "no BREAK";
    }
    glob_sequencebuf = saved;
    del_tmpvars(mark);  // the clean-up of the statement that caught it
    EXPECT_EQ(VARR(a)->A_links, links);
    EXPECT_EQ(tmpvar_cnt, mark);
    EXPECT_EQ(show(a), "{1, 2, 3, 4}");
  };
  for (const Case& c : cases) check(c);
}

TEST_F(ArraysBlocks, TextBlocksRunThroughTheEvaluator)
{
  var* a = one_to_four();
  vl_call(_bb_asort, {a, NIL_VAR, NIL_VAR, exp_eval("{|x, y| x > y}")});
  EXPECT_EQ(show(a), "{4, 3, 2, 1}");
  EXPECT_EQ(vlnIntVar(vl_call(_bb_ascan, {a, exp_eval("{|e| e < 3}")})), 3);
  vl_call(_bb_aeval, {a, exp_eval("{|e, i| e := e * i}")});
  EXPECT_EQ(show(a), "{4, 6, 6, 4}");
  EXPECT_TRUE(reports().empty());
}
