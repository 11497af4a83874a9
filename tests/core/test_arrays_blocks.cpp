// The array functions that run blocks: AEVAL, ASCAN and ASORT, blocks that
// change the array under the loop, and BREAK out of the loop.
#include <csetjmp>

#include "test_arrays.hpp"

using arrtest::num;
using arrtest::show;
using vltest::expect_rows;

class ArraysBlocks : public arrtest::ArrayTest {};

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
