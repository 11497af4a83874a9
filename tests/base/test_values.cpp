// Records, temporaries, copies and ownership.
#include <cstring>

#include "valrec.hpp"
#include "var.hpp"
#include "vltest.h"

using vltest::str;

class Values : public vltest::VlTest {};

TEST_F(Values, ConstantsSurviveLinkTrafficAndRefuseWrites)
{
  for (int i = 0; i < 1000; ++i) {
    add_tmpvar(NIL_VAR);
    add_tmpvar(TRUE_VAR);
  }
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(NIL_VAR->Type, 'U');
  EXPECT_EQ(TRUE_VAR->Value.w1.i, 1);
  EXPECT_EQ(cpy_var(TRUE_VAR, ZERO_VAR), ERROR_VAR);
  EXPECT_EQ(set_nvar(ZERO_VAR, 5, 0), ERROR_VAR);
  EXPECT_EQ(VDBL(ZERO_VAR), 0.0);
  EXPECT_STREQ(VSTR(NULLSTR_VAR), "");
}

TEST_F(Values, CopyOfABorrowedLiteralOwnsItsText)
{
  char literal[] = "abc";
  var* t = set_cv(literal);
  EXPECT_EQ(t->Mode, 't');
  var* v = mak_var('N', 'U');
  cpy_var(v, t);
  EXPECT_NE(VSTR(v), literal);
  EXPECT_TRUE(vl::owns(v));
  set_Cvar(v, "xyz", 3);
  EXPECT_STREQ(literal, "abc");
  var* c = mk_var_cp(t);
  EXPECT_NE(VSTR(c), literal);
  EXPECT_EQ(c->Mode, 'T');
  del_var(v);
}

TEST_F(Values, AssigningAValueToItselfOrItsOwnElementIsSafe)
{
  var* s = mak_var('N', 'U');
  set_Cvar(s, "keep", -1);
  EXPECT_EQ(cpy_var(s, s), s);
  EXPECT_EQ(str(s), "keep");

  // a := a[1], where a holds the only link of its array.
  var* a = mak_var('N', 'U');
  a->Type = 'A';
  VARR(a) = vln_arr_new(1);
  set_Cvar(VARR(a)->A_vec[0], "inner", -1);
  cpy_var(a, VARR(a)->A_vec[0]);
  EXPECT_EQ(str(a), "inner");
  del_var(a);
  del_var(s);
}

TEST_F(Values, ReleasingAnObjectRunsAxitOnce)
{
  static int calls;
  calls = 0;
  vlnAxitHook = [](var* obj) {
    ++calls;
    var* keep = mk_var_cp(obj);  // a temporary link during axit is released later
    (void)keep;
  };
  var* o = mak_var('N', 'U');
  cpy_var(o, set_Ov(1, axNullObj, NIL_VAR));
  del_tmpvars(tmp_mark_);
  del_var(o);
  del_tmpvars(tmp_mark_);
  EXPECT_EQ(calls, 1);
  vlnAxitHook = nullptr;
}

TEST_F(Values, StrictRecordsKeepTheirSubtypeOrRefuse)
{
  var* i = vln_local_param(0, 0, nullptr, 'U');
  vlnSetFixedEmpty(i, 'I');
  set_nvar(i, 7.9, 2);
  EXPECT_EQ(i->Type, 'I');
  EXPECT_EQ(VINT(i), 7);

  var* n = cre_tmpvar();
  vlnSetFixedEmpty(n, 'N');
  set_Ivar(n, 3);
  EXPECT_EQ(n->Type, 'N');
  EXPECT_EQ(VDBL(n), 3.0);

  var* l = cre_tmpvar();
  vlnSetFixedEmpty(l, 'L');
  set_nvar(l, 2.0, 0);
  EXPECT_EQ(l->Type, 'L');
  EXPECT_EQ(VINT(l), 1);

  EXPECT_EQ(set_cvar(n, "text"), ERROR_VAR);
  EXPECT_EQ(last_code(), 332);
  EXPECT_EQ(n->Type, 'N');
  EXPECT_EQ(cpy_var(n, set_dv(100)), ERROR_VAR);
  EXPECT_EQ(VDBL(n), 3.0);
}

TEST_F(Values, SetCvarResizesInPlaceOnlyWhenItOwnsTheBuffer)
{
  var* v = cre_tmpvar();
  set_Cvar(v, "abcdef", -1);
  char* before = VSTR(v);
  EXPECT_EQ(set_Cvar(v, VSTR(v), 6), v);
  EXPECT_EQ(VSTR(v), before);
  set_Cvar(v, VSTR(v), 3);
  EXPECT_EQ(str(v), "abc");
  EXPECT_EQ(v->Length, 4);

  set_Cvar(v, nullptr, 3);
  EXPECT_EQ(v->Length, 4);
  EXPECT_EQ(std::memcmp(VSTR(v), "\0\0\0", 4), 0);

  set_Cvar(v, VSTR(v) + 1, 1);  // text inside the old buffer is copied first
  EXPECT_EQ(v->Length, 2);
  set_Cvar(v, nullptr, -1);
  EXPECT_EQ(v->Length, 1);
}

TEST_F(Values, EmptyValuesOfDeclaredTypes)
{
  struct Row {
    char type, want_type, want_mode;
    int32_t length;
  };
  const Row rows[] = {{'C', 'C', 's', 1}, {'N', 'N', 'S', -1}, {'F', 'F', 'S', -1},
                      {'I', 'I', 'S', -1}, {'D', 'D', 'S', 8},  {'L', 'L', 'S', 1},
                      {'?', '?', 'S', 0},  {'u', 'O', 'S', 0},  {'A', 'A', 'S', 0},
                      {'B', 'B', 'S', 0}};
  for (const Row& r : rows) {
    var* v = set_nv(5, 0);
    vlnSetFixedEmpty(v, r.type);
    EXPECT_EQ(v->Type, r.want_type) << r.type;
    EXPECT_EQ(v->Mode, r.want_mode) << r.type;
    EXPECT_EQ(v->Length, r.length) << r.type;
  }
  var* o = vlnSetFixedEmpty(cre_tmpvar(), 'O');
  ASSERT_EQ(VARR(o)->A_size, 2u);
  EXPECT_EQ(VARR(o)->A_vec[0]->Value.w1.ptr, axNullObj);
  EXPECT_EQ(VARR(o)->A_vec[1]->Type, 'A');
  EXPECT_EQ(VARR(vlnSetFixedEmpty(cre_tmpvar(), 'B')), VARR(NILCB_VAR));
}

// Decimals follow SET DECIMALS or wrap; readers follow the loose rules.
TEST_F(Values, NumbersAreMadeAndReadLoosely)
{
  EXPECT_EQ(set_nv(1.5, -1)->Decimals, vlnGetDecimals());
  EXPECT_EQ(set_nv(1.5, 258)->Decimals, 2);
  EXPECT_EQ(set_lv(5)->Value.w1.i, 1);
  EXPECT_EQ(vlnIntVar(set_nv(-2.7, 1)), -2);
  EXPECT_EQ(vlnIntVar(set_nv(1e12, 0)), INT32_MIN);
  EXPECT_EQ(vlnNumVar(TRUE_VAR), 1.0);
  EXPECT_TRUE(vlnLogVar(set_nv(0.5, 1)));
  EXPECT_FALSE(vlnLogVar(IZERO_VAR));
  EXPECT_EQ(vlnNumVar(set_cv("x")), 0.0);
  EXPECT_EQ(reports().back().description, "Illegal type;Expected numeric or logical");
  vlnLogVar(NIL_VAR);
  EXPECT_EQ(reports().back().description, "Illegal type;Expected logical or numeric");
}

TEST_F(Values, TypeSetsLeaveOutTheTerminator)
{
  EXPECT_FALSE(vlnInSet("NFIL", 0));
  EXPECT_FALSE(vlnParamTypesCompatible('C', 'M'));  // a return may be either, a parameter not
  EXPECT_TRUE(vlnRTypesCompatible('C', 'M'));
}

TEST_F(Values, DeepCopyDuplicatesNestedArraysAndKeepsCycles)
{
  var* a = mak_var('N', 'U');
  a->Type = 'A';
  VARR(a) = vln_arr_new(2);
  var* inner = VARR(a)->A_vec[0];
  inner->Type = 'A';
  VARR(inner) = vln_arr_new(1);
  cpy_var(VARR(a)->A_vec[1], a);  // a contains itself
  var* b = mak_var('N', 'U');
  true_cpy(b, a);
  EXPECT_NE(VARR(b), VARR(a));
  EXPECT_NE(VARR(VARR(b)->A_vec[0]), VARR(inner));
  EXPECT_EQ(VARR(VARR(b)->A_vec[1]), VARR(b));  // the cycle is reproduced
  set_nvar(VARR(b)->A_vec[1], 0, 0);
  del_var(b);
  // Break a's cycle so that it can be freed.
  set_nvar(VARR(a)->A_vec[1], 0, 0);
  del_var(a);
}
