// Which record receives a result, compound assignment by Mode, fields
// through the field store, ++/-- under the Mode rules, text buffers, and
// the logical and subset operators.
#include <cstring>

#include "operators.hpp"
#include "test_ops.hpp"
#include "var.hpp"

using namespace vl;

using opstest::make;
using opstest::show;

namespace {

// A fake field store: remembers the stores and keeps the record's cached
// value as the database would.
int g_field_stores = 0;
var* fake_field_store(var* field, var* value)
{
  ++g_field_stores;
  field->Type = value->Type;
  field->Decimals = value->Decimals;
  field->Length = value->Length;
  field->Value = value->Value;
  return field;
}

var* field(char mode, double value)
{
  var* f = make("NIL");
  set_nvar(f, value, 0);
  f->Mode = mode;
  return f;
}

}  // namespace

class OpsModes : public opstest::Ops {
 protected:
  void SetUp() override
  {
    Ops::SetUp();
    g_field_stores = 0;
    vlnSetFieldHook = fake_field_store;
  }
};

TEST_F(OpsModes, ResultRecordChoice)
{
  var* t = make("T:1");
  EXPECT_EQ(u_mul_u(t, make("2"), 0), t);  // a temporary left operand
  var* r = make("T:3");
  EXPECT_EQ(u_mul_u(make("2"), r, 0), r);  // else a temporary right one
  EXPECT_EQ(show(r), "N(-1,0) 6");
  var* rt = make("T:'x'");
  var* made = u_add_u(make("'a'"), rt, 0);  // never a text temporary for +
  EXPECT_NE(made, rt);
  EXPECT_EQ(show(made), "C(3,0) 'ax'");
  EXPECT_EQ(show(rt), "C(2,0) 'x'");
  var* nt = make("T:I4");
  EXPECT_EQ(n_add_u(1, 0, nt, 0), nt);  // n_ members reuse their right operand
  EXPECT_EQ(n_div_u(1, nt), nt);
  var* l = make("2");
  const int32_t mark = tmpvar_cnt;
  EXPECT_NE(u_mul_u(l, make("3"), 0), l);
  EXPECT_EQ(tmpvar_cnt, mark + 2);  // the right operand and the result
}

// With the assign flag the target keeps the result: in place on the Modes
// that allow it ("NVLS", and "nvls" too for + and -), through one
// temporary and cpy_var on any other.
TEST_F(OpsModes, CompoundAssignmentByMode)
{
  struct Case {
    var* (*op)(var*, var*, int);
    const char* in_place;
  };
  const Case cases[] = {{u_add_u, "NVLSnvls"}, {u_sub_u, "NVLSnvls"}, {u_mul_u, "NVLS"},
                        {u_div_u, "NVLS"},     {u_mod_u, "NVLS"},     {u_pow_u, "NVLS"}};
  for (const Case& c : cases) {
    for (const char* m = "NVLSnvlsPMC"; *m; ++m) {
      var* target = make("8");
      target->Mode = *m;
      const int32_t mark = tmpvar_cnt;
      EXPECT_EQ(c.op(target, make("2"), 1), target) << *m;
      const bool in_place = std::strchr(c.in_place, *m) != nullptr;
      EXPECT_EQ(tmpvar_cnt - mark, in_place ? 1 : 2) << *m;
      EXPECT_EQ(target->Type, 'N') << *m;
    }
  }
  var* n = make("4");
  EXPECT_EQ(n_mul_u(2.5, 1, n, 1), n);
  EXPECT_EQ(show(n), "N(-1,1) 10");
  EXPECT_EQ(u_sub_n(n, 1, 0, 1), n);
  EXPECT_EQ(show(n), "N(-1,1) 9");
}

TEST_F(OpsModes, CompoundAssignmentResults)
{
  var* x = make("5");
  EXPECT_EQ(u_div_n(x, 0, 1), x);  // x /= 0 leaves 0
  EXPECT_EQ(show(x), "N(-1,0) 0");
  var* y = make("5");
  EXPECT_EQ(u_mod_n(y, 0, 1), ZERO_VAR);  // a reported error stores nothing
  EXPECT_EQ(show(y), "N(-1,0) 5");
  EXPECT_EQ(seen(), "205");
  var* typed = make("S:I3");
  EXPECT_EQ(u_add_u(typed, make("1.5"), 1), typed);  // a typed integer stays one
  EXPECT_EQ(show(typed), "I(-1,0) 4");
  reports().clear();
  var* typed_n = make("S:5");
  EXPECT_EQ(u_add_u(typed_n, make("D10"), 1), ERROR_VAR);  // a date into a typed number
  EXPECT_EQ(show(typed_n), "N(-1,0) 5");
  EXPECT_EQ(last_code(), 332);
}

// x += 1 on a field writes the field through the field store.
TEST_F(OpsModes, FieldsWriteThrough)
{
  for (char mode : {'F', 'f'}) {
    var* f = field(mode, 10);
    g_field_stores = 0;
    EXPECT_EQ(u_add_u(f, make("1"), 1), f);
    EXPECT_EQ(n_add_u(2, 0, f, 1), f);
    EXPECT_EQ(u_sub_n(f, 1, 0, 1), f);
    EXPECT_EQ(g_field_stores, 3);
    EXPECT_EQ(show(f), "N(-1,0) 12");
    EXPECT_EQ(show(u_autoinc(f)), "N(-1,0) 12");
    EXPECT_EQ(autodec_u(f), f);
    EXPECT_EQ(autodec_u(f), f);
    EXPECT_EQ(g_field_stores, 6);
    EXPECT_EQ(show(f), "N(-1,0) 11");
  }
}

TEST_F(OpsModes, IncrementAndDecrement)
{
  var* n = make("5.5");
  EXPECT_EQ(autoinc_u(n), n);
  EXPECT_EQ(show(n), "N(-1,1) 6.5");
  var* old = u_autodec(n);
  EXPECT_NE(old, n);
  EXPECT_EQ(show(old), "N(-1,1) 6.5");
  EXPECT_EQ(show(n), "N(-1,1) 5.5");
  var* d = make("D10");
  EXPECT_EQ(show(u_autoinc(d)), "D(8,0) 10");
  EXPECT_EQ(show(autodec_u(d)), "D(8,0) 10");
  var* i = make("I2147483647");
  EXPECT_EQ(show(autoinc_u(i)), "I(-1,0) -2147483648");
  EXPECT_EQ(show(autodec_u(i)), "I(-1,0) 2147483647");
  EXPECT_EQ(reports().size(), 0u);
}

// ++ and -- act on "SNLVFPMT" (and 'f'); protected records only while the
// library edits its own slots; anything else comes back unchanged.
TEST_F(OpsModes, IncrementByMode)
{
  for (const char* m = "SNLVPMTCcnUt"; *m; ++m) {
    for (int priv : {0, 1}) {
      vln_priv_mode = priv;
      var* v = make("I1");
      v->Mode = *m;
      EXPECT_EQ(autoinc_u(v), v);
      const bool steps = std::strchr("SNLVT", *m) || (priv && std::strchr("PM", *m));
      EXPECT_EQ(v->Value.w1.i, steps ? 2 : 1) << *m << priv;
    }
  }
  EXPECT_TRUE(reports().empty());
}

TEST_F(OpsModes, IncrementRefusesOtherTypes)
{
  for (const char* operand : {"'a'", "NIL"})
    for (var* (*op)(var*) : {autoinc_u, autodec_u, u_autoinc, u_autodec})
      EXPECT_EQ(op(make(operand)), ERROR_VAR) << operand;
  EXPECT_EQ(seen(), "201|201|201|201|201|201|201|201");
  EXPECT_TRUE(reported(201, "only date numerics can be auto-decremented"));
}

// Text results: one reallocation of a temporary's own buffer; a borrowed
// text is copied, never written; a right text inside the left buffer
// survives the reallocation.
TEST_F(OpsModes, TextBuffers)
{
  var* t = make("T:'ab  '");
  EXPECT_EQ(u_sub_c(t, "cd", 0), t);
  EXPECT_EQ(show(t), "C(7,0) 'abcd  '");

  static char literal[] = "lit  ";
  var* borrowed = make("NIL");
  set_cvar(borrowed, literal);
  EXPECT_EQ(borrowed->Mode, 'n');
  EXPECT_EQ(u_sub_c(borrowed, "x", 1), borrowed);
  EXPECT_STREQ(literal, "lit  ");
  EXPECT_EQ(borrowed->Mode, 'N');
  EXPECT_EQ(show(borrowed), "C(7,0) 'litx  '");

  var* s = make("'ab '");
  EXPECT_EQ(u_add_u(s, s, 1), s);
  EXPECT_EQ(show(s), "C(7,0) 'ab ab '");
  EXPECT_EQ(u_sub_u(s, s, 1), s);
  EXPECT_EQ(show(s), "C(13,0) 'ab abab ab  '");
  var* tt = make("T:'xy'");
  EXPECT_EQ(u_add_u(tt, tt, 0), tt);
  EXPECT_EQ(show(tt), "C(5,0) 'xyxy'");

  var* memo = make("M'm'");
  memo->Mode = 'S';
  EXPECT_EQ(u_add_c(memo, "n", 1), memo);  // a typed memo stays memo
  EXPECT_EQ(show(memo), "M(3,0) 'mn'");
  EXPECT_TRUE(reports().empty());
}

TEST_F(OpsModes, Subset)
{
  EXPECT_EQ(c_in_u("bc", make("'abcd'")), TRUE_VAR);
  EXPECT_EQ(c_in_u("", make("'abc'")), FALSE_VAR);
  EXPECT_EQ(u_in_c(make("'x'"), ""), FALSE_VAR);
  EXPECT_EQ(u_in_u(make("M'cd'"), make("'abcd'")), TRUE_VAR);
  EXPECT_EQ(u_in_u(make("'abcde'"), make("'abcd'")), FALSE_VAR);
  const char hay[] = {'a', '\0', 'b', 'c'};
  EXPECT_EQ(subset0("bc", hay, 2, 4), 2);  // past a NUL byte
  EXPECT_EQ(subset0("", hay, 0, 4), -1);
  EXPECT_EQ(subset0("a", hay, 1, 0), -1);
  for (var* r : {c_in_u("a", make("1")), u_in_c(make("NIL"), "a"), u_in_u(make("'a'"), make(".T."))})
    EXPECT_EQ(r, ERROR_VAR);
  EXPECT_EQ(seen(), "201|201|201");
}

TEST_F(OpsModes, Logic)
{
  var* t = make(".T.");
  var* f = make(".F.");
  var* s = make("'a'");
  EXPECT_EQ(if_u(t), 1);
  EXPECT_EQ(if_u(make("0.5")), 1);
  EXPECT_EQ(if_u(make("I0")), 0);
  EXPECT_EQ(not_u(t), FALSE_VAR);
  EXPECT_EQ(not_u(make("0")), TRUE_VAR);
  EXPECT_EQ(u_and_u(t, s), s);  // the right operand itself, whatever its type
  EXPECT_EQ(u_and_u(f, s), FALSE_VAR);
  EXPECT_EQ(u_or_u(t, f), TRUE_VAR);
  EXPECT_EQ(u_or_u(f, t), t);
  EXPECT_EQ(l_and_u(1, f), f);
  EXPECT_EQ(l_and_u(0, t), FALSE_VAR);
  EXPECT_EQ(l_or_u(1, f), TRUE_VAR);
  EXPECT_EQ(l_or_u(0, t), t);
  EXPECT_TRUE(reports().empty());

  EXPECT_EQ(if_u(s), 0);
  EXPECT_EQ(not_u(s), ERROR_VAR);
  EXPECT_EQ(u_and_u(s, t), ERROR_VAR);
  EXPECT_EQ(u_or_u(f, s), ERROR_VAR);
  EXPECT_EQ(l_and_u(1, s), ERROR_VAR);
  EXPECT_EQ(l_or_u(0, s), ERROR_VAR);
  EXPECT_EQ(seen(), "202|202|202|202|202|202");
  EXPECT_TRUE(reported(202, "can .and. only logicals"));
}
