// The temporary stack's spare records and the plain road of assignment.
#include "frame.h"
#include "valrec.hpp"
#include "vltest.h"

class TmpStack : public vltest::VlTest {
 protected:
  // Two numeric variables (Mode 'N', not temporaries): their product is a
  // new temporary.
  void SetUp() override
  {
    VlTest::SetUp();
    a_ = mak_var('N', 'U');
    b_ = mak_var('N', 'U');
    set_nvar(a_, 1.5, 1);
    set_nvar(b_, 2, 2);
  }
  void TearDown() override
  {
    del_tmpvars(tmp_mark_);
    del_var(a_);
    del_var(b_);
    VlTest::TearDown();
  }
  var* product() { return u_mul_u(a_, b_, 0); }

  var* a_ = nullptr;
  var* b_ = nullptr;
};

// A released record that served as something else comes back with every
// field of a new temporary.
TEST_F(TmpStack, ASpareRecordComesBackAsANewTemporary)
{
  var* t = cre_tmpvar();
  set_nvar(t, 9, 3);
  t->Mode = 'V';
  t->V_indx = 7;
  t->D_level = glob_depth + 5;
  t->Value.w2.bits = 42;
  del_tmpvars(tmp_mark_);

  var* p = product();
  if (VL_POOL) {
    EXPECT_EQ(p, t);
  }
  EXPECT_EQ(p->Type, 'N');
  EXPECT_EQ(p->Mode, 'T');
  EXPECT_EQ(p->Decimals, 3);
  EXPECT_EQ(p->Flags, 0);
  EXPECT_EQ(p->Length, -1);
  EXPECT_EQ(p->Links, 1u);
  EXPECT_EQ(p->V_indx, 0u);
  EXPECT_EQ(p->D_level, glob_depth);
  EXPECT_EQ(p->Value.w1.d, 3.0);
  EXPECT_EQ(p->Value.w2.bits, 0u);
  EXPECT_EQ(tmpvar_cnt, tmp_mark_ + 1);

  del_tmpvars(tmp_mark_);
  var* u = cre_tmpvar();
  EXPECT_EQ(u->Type, 'U');
  EXPECT_EQ(u->Mode, 'T');
  EXPECT_EQ(u->Decimals, 0);
  EXPECT_EQ(u->Length, 0);
}

// A temporary someone else still holds, or one with content, is released
// (its link dropped, its content freed) and never handed out again.
TEST_F(TmpStack, HeldOrOwningTemporariesAreNotKeptAsSpares)
{
  var* held = product();
  ++held->Links;
  set_Cvar(cre_tmpvar(), "owned text", -1);
  var* arr = mak_var('N', 'U');
  arr->Type = 'A';
  VARR(arr) = vln_arr_new(2);
  cpy_var(cre_tmpvar(), arr);
  EXPECT_EQ(VARR(arr)->A_links, 2u);
  product();  // a spare-to-be above them all
  del_tmpvars(tmp_mark_);

  EXPECT_EQ(tmpvar_cnt, tmp_mark_);
  EXPECT_EQ(held->Links, 1u);
  EXPECT_EQ(held->Value.w1.d, 3.0);
  EXPECT_EQ(VARR(arr)->A_links, 1u);
  var* again = product();
  EXPECT_NE(again, held);
  EXPECT_EQ(again->Value.w1.d, 3.0);
  del_var(held);
  del_var(arr);
}

// A constant pushed on the stack is never handed out as a new temporary,
// whatever its letters say.
TEST_F(TmpStack, ConstantsAreNeverSpares)
{
  var constant{};
  constant.Type = 'N';
  constant.Mode = 'T';
  constant.Flags = VF_STATIC;
  constant.Links = 1;
  constant.Value.w1.d = 7;
  add_tmpvar(&constant);
  del_tmpvars(tmp_mark_);
  EXPECT_NE(product(), &constant);
  EXPECT_EQ(constant.Value.w1.d, 7.0);
}

// The stack grows past its first capacity and keeps its spares; a mark
// below zero releases everything above the bottom.
TEST_F(TmpStack, GrowsAndReleasesInAnyMix)
{
  constexpr int kMany = 5000;
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < kMany; ++i) {
      var* v = i % 3 ? product() : set_cv("text");
      ASSERT_EQ(v->Type, i % 3 ? 'N' : 'C');
    }
    EXPECT_EQ(tmpvar_cnt, tmp_mark_ + kMany);
    del_tmpvars(tmp_mark_ + kMany / 2);
    EXPECT_EQ(tmpvar_cnt, tmp_mark_ + kMany / 2);
    del_tmpvars(tmp_mark_);
  }
  EXPECT_EQ(tmpvar_cnt, tmp_mark_);
}

// A plain store copies Type, Decimals, Length and value and keeps the
// target's Mode; anything else takes the general road.
TEST_F(TmpStack, AssignmentKeepsTheTargetsModeAndReleasesItsContent)
{
  var* x = mak_var('N', 'U');
  set_nvar(x, 1, 2);
  x->Mode = 'L';
  cpy_var(x, set_Iv(5));
  EXPECT_EQ(x->Type, 'I');
  EXPECT_EQ(x->Mode, 'L');
  EXPECT_EQ(x->Decimals, 0);
  EXPECT_EQ(x->Length, -1);
  EXPECT_EQ(x->Value.w1.i, 5);
  cpy_var(x, set_dv(100));
  EXPECT_EQ(x->Type, 'D');
  EXPECT_EQ(x->Length, 8);
  cpy_var(x, product());
  cpy_var(x, product());  // the same Type and Decimals again
  EXPECT_EQ(x->Type, 'N');
  EXPECT_EQ(x->Decimals, 3);
  EXPECT_EQ(x->Value.w1.d, 3.0);

  set_Cvar(x, "a text the number replaces", -1);
  cpy_var(x, product());  // the text buffer is freed (the leak check sees it)
  EXPECT_EQ(x->Type, 'N');
  EXPECT_EQ(x->Mode, 'L');

  var* undefined = mak_var('N', 'U');
  set_nvar(undefined, 4, 0);
  undefined->Mode = 'U';
  cpy_var(x, undefined);  // reading an undefined record gives NIL
  EXPECT_EQ(x->Type, 'U');

  x->Mode = 'U';
  cpy_var(x, product());  // storing declares it
  EXPECT_EQ(x->Mode, 'N');
  EXPECT_EQ(cpy_var(ONE_VAR, product()), ERROR_VAR);
  EXPECT_EQ(VDBL(ONE_VAR), 1.0);
  del_var(undefined);
  del_var(x);
}
