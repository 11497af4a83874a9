// Arithmetic operators over the operand kinds: result Type, value, Length,
// Decimals, and the codes of the reports.
#include "test_ops.hpp"

using namespace vl;

using opstest::make;
using opstest::show;

namespace {

using Binary = var* (*)(var*, var*, int);

struct Row {
  Binary op;
  const char* name;
  const char* left;
  const char* right;
  const char* result;
  int code;
};

// SET DECIMALS is 2 for every row.
const Row kRows[] = {
    // +
    {u_add_u, "+", "'ab'", "'cd'", "C(5,0) 'abcd'", 0},
    {u_add_u, "+", "M'ab'", "'c'", "C(4,0) 'abc'", 0},
    {u_add_u, "+", "'ab'", "5", "ERROR", 201},
    {u_add_u, "+", "D100", "5", "D(8,0) 105", 0},
    {u_add_u, "+", "D100", "2.9", "D(8,0) 102", 0},
    {u_add_u, "+", "D100", "-2.9", "D(8,0) 98", 0},
    {u_add_u, "+", "D100", "I3", "D(8,0) 103", 0},
    {u_add_u, "+", "D100", ".T.", "D(8,0) 101", 0},
    {u_add_u, "+", "D100", "'a'", "ERROR", 201},
    {u_add_u, "+", "2.5", "D100", "D(8,0) 102", 0},
    {u_add_u, "+", ".T.", "D100", "D(8,0) 101", 0},
    {u_add_u, "+", "1.5", "2.25", "N(-1,2) 3.75", 0},
    {u_add_u, "+", "F1.5", "1", "N(-1,1) 2.5", 0},
    {u_add_u, "+", "1.5", "I2", "N(-1,1) 3.5", 0},
    {u_add_u, "+", "1.5", ".T.", "N(-1,1) 2.5", 0},
    {u_add_u, "+", "I2", "I3", "I(-1,0) 5", 0},
    {u_add_u, "+", "I2147483647", "I1", "I(-1,0) -2147483648", 0},
    {u_add_u, "+", "I2", ".T.", "I(-1,0) 3", 0},
    {u_add_u, "+", ".T.", ".T.", "I(-1,0) 2", 0},
    {u_add_u, "+", "1", "'a'", "ERROR", 201},
    {u_add_u, "+", "NIL", "5", "U", 0},
    // -
    {u_sub_u, "-", "'abc   '", "'de'", "C(9,0) 'abcde   '", 0},
    {u_sub_u, "-", "'   '", "'x'", "C(5,0) 'x   '", 0},
    {u_sub_u, "-", "M'a '", "'b '", "C(5,0) 'ab  '", 0},
    {u_sub_u, "-", "'ab'", "1", "ERROR", 201},
    {u_sub_u, "-", "D100", "D90", "N(-1,2) 10", 0},
    {u_sub_u, "-", "D100", "2.7", "D(8,0) 98", 0},
    {u_sub_u, "-", "D100", ".T.", "ERROR", 201},
    {u_sub_u, "-", "5.5", "I2", "N(-1,1) 3.5", 0},
    {u_sub_u, "-", "5", ".T.", "N(-1,0) 4", 0},
    {u_sub_u, "-", "5", "D1", "ERROR", 201},
    {u_sub_u, "-", "I5", "I7", "I(-1,0) -2", 0},
    {u_sub_u, "-", "I-2147483648", "I1", "I(-1,0) 2147483647", 0},
    {u_sub_u, "-", "I5", "1.5", "N(-1,1) 3.5", 0},
    {u_sub_u, "-", "I5", ".T.", "N(-1,0) 5", 0},  // the logical's word read as a double
    {u_sub_u, "-", ".T.", "1", "U", 0},  // no arithmetic on a logical left
    // *
    {u_mul_u, "*", "1.5", "2.25", "N(-1,3) 3.375", 0},
    {u_mul_u, "*", "I3", "I4", "I(-1,0) 12", 0},
    {u_mul_u, "*", "I65536", "I65537", "I(-1,0) 65536", 0},
    {u_mul_u, "*", "I3", "2.5", "N(-1,1) 7.5", 0},
    {u_mul_u, "*", ".T.", "3", "N(-1,0) 3", 0},
    {u_mul_u, "*", "'a'", "1", "ERROR", 202},
    // /
    {u_div_u, "/", "I7", "I2", "N(-1,2) 3.5", 0},
    {u_div_u, "/", "1.5", "3", "N(-1,2) 0.5", 0},
    {u_div_u, "/", "5", "0", "ZERO", 0},
    {u_div_u, "/", "'a'", "1", "ERROR", 202},
    {u_div_u, "/", "1", "'a'", "ERROR", 202},
    // %
    {u_mod_u, "%", "I7", "I-1", "I(-1,0) 0", 0},
    {u_mod_u, "%", "I-2147483648", "I-1", "I(-1,0) 0", 0},
    {u_mod_u, "%", "I-7", "I2", "I(-1,0) -1", 0},
    {u_mod_u, "%", "7.5", "2", "N(-1,2) 1.5", 0},
    {u_mod_u, "%", "-7", "I2", "N(-1,2) -1", 0},
    {u_mod_u, "%", "I7", "I0", "ZERO", 205},
    {u_mod_u, "%", "7", "0", "ZERO", 205},
    {u_mod_u, "%", "'a'", "2", "ZERO", 202},
    // **
    {u_pow_u, "**", "I2", "I10", "I(-1,0) 1024", 0},
    {u_pow_u, "**", "I2", "I-1", "I(-1,0) 0", 0},
    {u_pow_u, "**", "I2", "I40", "I(-1,0) -2147483648", 0},  // out of range
    {u_pow_u, "**", "2", "0.5", "N(-1,2) 1.4142135623731", 0},
    {u_pow_u, "**", "I2", "3", "N(-1,2) 8", 0},
    {u_pow_u, "**", "'a'", "1", "ERROR", 202},
};

}  // namespace

class OpsArith : public opstest::Ops {};

TEST_F(OpsArith, ValueOperandsByKind)
{
  vln_flagto.decimals = 2;
  for (const Row& row : kRows) {
    reports().clear();
    var* r = row.op(make(row.left), make(row.right), 0);
    const std::string what = std::string(row.left) + " " + row.name + " " + row.right;
    EXPECT_EQ(show(r), row.result) << what;
    EXPECT_EQ(seen(), row.code ? std::to_string(row.code) : "") << what;
  }
  EXPECT_TRUE(reported(202, "only numerics can be potentiated"));  // the last row's
}

// Members with a literal operand, each with its own rules.
namespace {

struct LiteralRow {
  const char* what;
  var* (*run)();
  const char* result;
  int code;
};

const LiteralRow kLiteralRows[] = {
    {"2.5 + D100", [] { return n_add_u(2.5, 1, make("D100"), 0); }, "D(8,0) 102", 0},
    {"2.7 + I3", [] { return n_add_u(2.7, 1, make("I3"), 0); }, "N(-1,1) 5.7", 0},
    {"2 + I3", [] { return n_add_u(2, 0, make("I3"), 0); }, "I(-1,0) 5", 0},
    {"2.7 + typed I3", [] { return n_add_u(2.7, 1, make("S:I3"), 0); }, "I(-1,0) 5", 0},
    {"5 + .T.", [] { return n_add_u(5, 0, make(".T."), 0); }, "ERROR", 201},
    {"10 - I3", [] { return n_sub_u(10, 0, make("I3")); }, "I(-1,0) 7", 0},
    {"10.0 - I3", [] { return n_sub_u(10, 1, make("I3")); }, "N(-1,1) 7", 0},
    {"10 - .T.", [] { return n_sub_u(10, 0, make(".T.")); }, "N(-1,0) 9", 0},
    {"1 - D5", [] { return n_sub_u(1, 0, make("D5")); }, "ERROR", 202},
    {"D100 - 1.5", [] { return u_sub_n(make("D100"), 1.5, 1, 0); }, "D(8,0) 99", 0},
    {"I5 - 2", [] { return u_sub_n(make("I5"), 2, 0, 0); }, "I(-1,0) 3", 0},
    {"I5 - 2.0", [] { return u_sub_n(make("I5"), 2, 1, 0); }, "N(-1,1) 3", 0},
    {"typed I5 - 2.5", [] { return u_sub_n(make("S:I5"), 2.5, 1, 0); }, "I(-1,0) 3", 0},
    {".T. - 1", [] { return u_sub_n(make(".T."), 1, 0, 0); }, "ERROR", 202},
    {"2 * I3", [] { return n_mul_u(2, 0, make("I3"), 0); }, "I(-1,0) 6", 0},
    {"2.0 * I3", [] { return n_mul_u(2, 1, make("I3"), 0); }, "N(-1,1) 6", 0},
    {"1.5 * 2 (SET DECIMALS)", [] { return n_mul_u(1.5, -1, make("2"), 0); }, "N(-1,2) 3", 0},
    {"2 * 'a'", [] { return n_mul_u(2, 0, make("'a'"), 0); }, "ERROR", 202},
    {"I7 / 2", [] { return u_div_n(make("I7"), 2, 0); }, "N(-1,2) 3.5", 0},
    {"5 / 0", [] { return u_div_n(make("5"), 0, 0); }, "ZERO", 0},
    {"'a' / 1", [] { return u_div_n(make("'a'"), 1, 0); }, "ERROR", 202},
    {"1 / I4", [] { return n_div_u(1, make("I4")); }, "N(-1,2) 0.25", 0},
    {"1 / 'a'", [] { return n_div_u(1, make("'a'")); }, "ERROR", 202},
    {"I7 % 2", [] { return u_mod_n(make("I7"), 2, 0); }, "N(-1,2) 1", 0},
    {"5 % 0", [] { return u_mod_n(make("5"), 0, 0); }, "ZERO", 205},
    {"'a' % 2", [] { return u_mod_n(make("'a'"), 2, 0); }, "ZERO", 202},
    {"7 % I2", [] { return n_mod_u(7, make("I2")); }, "N(-1,2) 1", 0},
    {"7 % 'a'", [] { return n_mod_u(7, make("'a'")); }, "ZERO", 202},
    {"I2 ** 3", [] { return u_pow_n(make("I2"), 3, 0, 0); }, "N(-1,2) 8", 0},
    {"typed I2 ** 3", [] { return u_pow_n(make("S:I2"), 3, 0, 0); }, "I(-1,0) 8", 0},
    {"'a' ** 3", [] { return u_pow_n(make("'a'"), 3, 0, 0); }, "ERROR", 202},
    {"2 ** I3", [] { return n_pow_u(2, make("I3")); }, "N(-1,2) 8", 0},
    {"2 ** NIL", [] { return n_pow_u(2, make("NIL")); }, "ERROR", 202},
    {"-I5", [] { return minus_u(make("I5")); }, "I(-1,0) -5", 0},
    {"-I-2147483648", [] { return minus_u(make("I-2147483648")); }, "I(-1,0) -2147483648", 0},
    {"-.T.", [] { return minus_u(make(".T.")); }, "N(-1,0) -4.94065645841247e-324", 0},
    {"-'a'", [] { return minus_u(make("'a'")); }, "ERROR", 202},
    {"'ab' + \"cd\"", [] { return u_add_c(make("'ab'"), "cd", 0); }, "C(5,0) 'abcd'", 0},
    {"5 + \"x\"", [] { return u_add_c(make("5"), "x", 0); }, "ERROR", 201},
    {"'ab  ' - \"c\"", [] { return u_sub_c(make("'ab  '"), "c", 0); }, "C(6,0) 'abc  '", 0},
    {"\"ab\" + 'cd'", [] { return c_add_u("ab", make("'cd'")); }, "C(5,0) 'abcd'", 0},
    {"\"ab\" + 5", [] { return c_add_u("ab", make("5")); }, "ERROR", 201},
    {"\"ab  \" - M'c'", [] { return c_sub_u("ab  ", make("M'c'")); }, "C(6,0) 'abc  '", 0},
    {"\"ab\" - .T.", [] { return c_sub_u("ab", make(".T.")); }, "ERROR", 201},
};

}  // namespace

TEST_F(OpsArith, LiteralOperands)
{
  vln_flagto.decimals = 2;
  for (const LiteralRow& row : kLiteralRows) {
    reports().clear();
    var* r = row.run();
    EXPECT_EQ(show(r), row.result) << row.what;
    EXPECT_EQ(seen(), row.code ? std::to_string(row.code) : "") << row.what;
  }
}

// Logical operands and division by zero warn only in developer mode.
TEST_F(OpsArith, DeveloperWarnings)
{
  u_add_u(make("1"), make(".T."), 0);
  u_div_u(make("1"), make("0"), 0);
  EXPECT_EQ(seen(), "");
  EXPECT_EQ(last_errno, 902);

  developer_mode();
  EXPECT_EQ(show(u_add_u(make("D10"), make(".T."), 0)), "D(8,0) 11");
  EXPECT_EQ(show(u_sub_u(make("I5"), make(".T."), 0)), "N(-1,0) 5");
  EXPECT_EQ(show(u_div_u(make("5"), make("0"), 0)), "ZERO");
  EXPECT_EQ(seen(), "902|902|902");
  EXPECT_TRUE(reported(902, "subtraction on logicals"));
  for (const auto& r : reports()) EXPECT_EQ(r.severity, VL_SEV_RUNTIME);
}

// Division, modulo and power take SET DECIMALS whatever the operands carry;
// + - * take their operands' Decimals.  SET FIXED changes no result.
TEST_F(OpsArith, DecimalsFollowSetDecimalsNotFixed)
{
  for (int fixed : {0, 1}) {
    flags[VL_FLAG_FIXED] = static_cast<unsigned char>(fixed);
    vln_flagto.decimals = 5;
    EXPECT_EQ(show(u_div_u(make("I1"), make("I4"), 0)), "N(-1,5) 0.25");
    EXPECT_EQ(show(u_mod_u(make("7.125"), make("2"), 0)), "N(-1,5) 1.125");
    EXPECT_EQ(show(u_pow_u(make("1.5"), make("2"), 0)), "N(-1,5) 2.25");
    EXPECT_EQ(show(u_sub_u(make("D3"), make("D1"), 0)), "N(-1,5) 2");
    EXPECT_EQ(show(u_add_u(make("1.125"), make("1.5"), 0)), "N(-1,3) 2.625");
    EXPECT_EQ(show(u_mul_u(make("1.125"), make("1.5"), 0)), "N(-1,4) 1.6875");
    EXPECT_EQ(show(n_mul_u(1.5, -1, make("2.5"), 0)), "N(-1,6) 3.75");
  }
}

// + and - take the larger Decimals, * their sum up to 255, whichever record
// receives the result.
TEST_F(OpsArith, DecimalsAtTheByteLimit)
{
  var* l = make("T:2");
  l->Decimals = 200;
  var* r = make("3");
  r->Decimals = 100;
  EXPECT_EQ(u_mul_u(l, r, 0), l);
  EXPECT_EQ(show(l), "N(-1,255) 6");
  EXPECT_EQ(u_add_u(r, l, 0), l);
  EXPECT_EQ(show(l), "N(-1,255) 9");
  EXPECT_EQ(l->Mode, 'T');
  EXPECT_EQ(show(u_sub_u(make("1"), r, 0)), "N(-1,100) -2");
}

// Pins behaviour kept on purpose (a numeric literal plus a logical fails
// while a variable plus a logical works: see the rows): NIL + y hands back
// the temporary y.
TEST_F(OpsArith, KeptQuirks)
{
  var* y = make("T:5");
  EXPECT_EQ(u_add_u(make("NIL"), y, 0), y);
  EXPECT_EQ(show(y), "N(-1,0) 5");
}
