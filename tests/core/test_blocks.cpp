// Compiled code blocks and their detached variables.
#include "vltest.h"

class Blocks : public vltest::VlTest {};

namespace {

// The body of {|| ++n}: n is the block's first detached variable.
var* counter_body(int argc, var** argv, var** avec)
{
  VL_BEGIN("blocks.prg", "counterbody");
  var* r = VL_LOCAL('U');
  VL_STMT(cpy_var(r, autoinc_u(avec[0])));
  VL_RETURN(r);
}

// FUNCTION MakeCounter(start)
//   LOCAL n := start
// RETURN {|| ++n}
var* make_counter(int argc, var** argv)
{
  VL_BEGIN("blocks.prg", "makecounter");
  var* start = VL_PARAM(0, 'N');
  var* n = VL_LOCAL('U');
  var* b = VL_LOCAL('U');
  VL_STMT(cpy_var(n, start));
  VL_STMT(set_bvar(b, reinterpret_cast<AnyFn>(counter_body), 0, n, (var*)nullptr));
  VL_RETURN(b);
}

}  // namespace

TEST_F(Blocks, DetachedVariablesOutliveTheFunctionThatMadeThem)
{
  var* counter = mak_var('N', 'U');
  cpy_var(counter, vl_call(make_counter, {set_nv(10, 0)}));
  del_tmpvars(tmp_mark_);  // the making function's temporaries are gone
  for (int expect = 11; expect <= 13; ++expect) {
    EXPECT_EQ(VDBL(vl_call(_bb_eval, {counter})), expect);
    del_tmpvars(tmp_mark_);
  }
  // A second holder of the same block shares the same variable.
  var* other = mak_var('N', 'U');
  cpy_var(other, counter);
  EXPECT_EQ(VDBL(vl_call(_bb_eval, {other})), 14.0);
  del_var(counter);
  EXPECT_EQ(VDBL(vl_call(_bb_eval, {other})), 15.0);
  del_var(other);  // the last holder frees the variable (the sanitizer build checks)
}

TEST_F(Blocks, EvalRefusesNonBlocks)
{
  vltest::expect_rows({{"EVAL()", "#311 NIL"}, {"EVAL(1)", "#312 NIL"}});
  vl_call(_bb_eval, {set_nv(1, 0)});
  EXPECT_EQ(reports().back().description, "Wrong argument type;in EVAL()");
  EXPECT_EQ(vlnBlockEval(set_cv("x")), NIL_VAR);
  EXPECT_EQ(vl_call(_bb_eval, {NILCB_VAR}), NIL_VAR);
  EXPECT_EQ(vl_call(_bb_eval, {TRUCB_VAR}), TRUE_VAR);
}
