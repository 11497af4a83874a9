// LEN, UPPER and ABS.
#include "vltest.h"

using vltest::str;

class Basic : public vltest::VlTest {};

TEST_F(Basic, LenCountsStringsAndArraysAndIsZeroForTheRest)
{
  EXPECT_EQ(VINT(vl_call(_bb_len, {set_cv("abc")})), 3);
  EXPECT_EQ(VINT(vl_call(_bb_len, {NIL_VAR})), 0);
  EXPECT_EQ(VINT(vl_call(_bb_len, {set_nv(12345, 0)})), 0);
  var* a = cre_tmpvar();
  a->Type = 'A';
  VARR(a) = vln_arr_new(3);
  EXPECT_EQ(VINT(vl_call(_bb_len, {a})), 3);
  EXPECT_EQ(VINT(vl_call(_bb_len, {vlnSetFixedEmpty(cre_tmpvar(), 'O')})), 0);
  EXPECT_TRUE(reports().empty());
  var* undefined = mak_var('U', 'U');
  EXPECT_EQ(vl_call(_bb_len, {undefined}), ERROR_VAR);
  EXPECT_EQ(vl_call(_bb_len, {}), ERROR_VAR);
  del_var(undefined);
}

TEST_F(Basic, UpperFoldsACopyAndLeavesTheCallerAlone)
{
  var* v = mak_var('N', 'U');
  set_Cvar(v, "Mixed Case 1", -1);
  var* r = vl_call(_bb_upper, {v});
  EXPECT_EQ(str(r), "MIXED CASE 1");
  EXPECT_EQ(str(v), "Mixed Case 1");
  var* m = set_cv("memo");
  m->Type = 'M';
  EXPECT_EQ(vl_call(_bb_upper, {m})->Type, 'M');
  set_nvar(v, 5, 0);
  EXPECT_EQ(vl_call(_bb_upper, {v}), NULLSTR_VAR);
  EXPECT_EQ(VDBL(v), 5.0);
  EXPECT_EQ(vl_call(_bb_upper, {set_cv("a"), set_cv("b")}), NULLSTR_VAR);
  EXPECT_TRUE(reports().empty());
  del_var(v);
}

TEST_F(Basic, AbsKeepsKindAndDecimals)
{
  var* r = vl_call(_bb_abs, {set_nv(-2.75, 2)});
  EXPECT_EQ(VDBL(r), 2.75);
  EXPECT_EQ(r->Decimals, 2);
  r = vl_call(_bb_abs, {set_Iv(-5)});
  EXPECT_EQ(r->Type, 'I');
  EXPECT_EQ(VINT(r), 5);
  EXPECT_EQ(VINT(vl_call(_bb_abs, {set_Iv(INT32_MIN)})), INT32_MIN);  // wraps, defined
  EXPECT_EQ(VDBL(vl_call(_bb_abs, {TRUE_VAR})), 1.0);
  EXPECT_EQ(vl_call(_bb_abs, {set_cv("x")}), ZERO_VAR);
  EXPECT_EQ(vl_call(_bb_abs, {}), ZERO_VAR);
}
