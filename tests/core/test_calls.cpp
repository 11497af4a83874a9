// Compiled code blocks and their detached variables, EVAL, calls by name
// and CALL with raw arguments.
#include "vltest.h"

using vltest::str;

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
  EXPECT_EQ(vlnBlockEval(set_cv("x")), NIL_VAR);
  EXPECT_EQ(vl_call(_bb_eval, {NILCB_VAR}), NIL_VAR);
  EXPECT_EQ(vl_call(_bb_eval, {TRUCB_VAR}), TRUE_VAR);
}

TEST_F(Blocks, CallsByNameReportUnknownFunctions)
{
  EXPECT_EQ(vln_funcall("LEN"), glob_ftab[find_fun("len")].fn);
  BbFn fn = vln_funcall("NoSuchFunction");
  EXPECT_EQ(reports().back().description,
            "undefined function;access of undefined function nosuchfunction");
  EXPECT_EQ(fn(0, nullptr), NIL_VAR);  // safe to call
  EXPECT_EQ(simplfun(1, _bb_len, set_cv("four"), (var*)nullptr)->Value.w1.i, 4);
  EXPECT_EQ(simplfun(0, [](int, var**) -> var* { return nullptr; }, (var*)nullptr),
            ERROR_VAR);
  EXPECT_EQ(last_code(), 320);
}

namespace {
double seen_double;
intptr_t seen_word;
const char* seen_text;
void raw_routine(intptr_t text, intptr_t number, intptr_t word)
{
  seen_text = reinterpret_cast<const char*>(text);
  double* d = reinterpret_cast<double*>(number);
  seen_double = *d;
  *d = 42.0;
  seen_word = word;
}
}  // namespace

TEST_F(Blocks, CallPassesRawWordsAndNumbersByAddress)
{
  var* n = set_nv(1.5, 1);
  var* w = vl_call(_bb_word, {set_nv(-7, 0)});
  EXPECT_EQ(w->Type, 'W');
  var* args[3] = {set_cv("raw"), n, w};
  EXPECT_EQ(vln_docall(reinterpret_cast<AnyFn>(raw_routine), 3, args), ZERO_VAR);
  EXPECT_STREQ(seen_text, "raw");
  EXPECT_EQ(seen_double, 1.5);
  EXPECT_EQ(VDBL(n), 42.0);
  EXPECT_EQ(seen_word, -7);
  var* nine[9] = {n, n, n, n, n, n, n, n, n};
  EXPECT_EQ(vln_docall(reinterpret_cast<AnyFn>(raw_routine), 9, nine), ERROR_VAR);
  EXPECT_EQ(reports().back().description, "too many args;for CALL");
  vltest::expect_rows({{"WORD('x')", "#312"}, {"WORD(3000000000)", "#320"}});
}
