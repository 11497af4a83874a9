// Numbers: cc_round and ROUND on hard cases, STR and VAL under SET
// DECIMALS and SET FIXED, qrt_atol and qrt_atof; the text tables run once
// in the C locale and once under a locale whose decimal point is a comma.
#include <clocale>
#include <cmath>
#include <limits>
#include <string>

#include "numbers.hpp"
#include "set.hpp"
#include "vltest.h"

using namespace vl;

using vltest::str;

namespace {

// A numeric value with the given decimals and width (-1: unknown).
var* num(double d, int dec = 0, int width = -1)
{
  var* v = set_nv(d, dec);
  v->Length = width;
  return v;
}

std::string STR(var* v) { return str(vl_call(_bb_str, {v})); }
std::string STR(var* v, var* w) { return str(vl_call(_bb_str, {v, w})); }
std::string STR(var* v, var* w, var* d) { return str(vl_call(_bb_str, {v, w, d})); }

class Numbers : public vltest::VlTest {};

struct RoundCase {
  double x;
  int n;
  double expected;
};

TEST_F(Numbers, CcRoundHardCases)
{
  const RoundCase cases[] = {
      {2.5, 0, 3},           {-2.5, 0, -3},           {0.5, 0, 1},           {-0.5, 0, -1},
      {1.5, 0, 2},           {2.4999, 0, 2},          {1234.5678, 2, 1234.57}, {-1234.5678, 2, -1234.57},
      {1234.5678, -2, 1200}, {1250, -2, 1300},        {-1250, -2, -1300},    {0.125, 2, 0.13},
      {-0.125, 2, -0.13},    {0.375, 2, 0.38},        {2.675, 2, 2.68},      {1.45, 1, 1.5},
      {-1.45, 1, -1.5},      {1.005, 2, 1.0},         {0.285, 2, 0.28},      {0.005, 2, 0.01},
      {0.0049999, 2, 0},     {0.49999999999999994, 0, 1}, {-0.49999999999999994, 0, -1},
      {123456789.123456789, 5, 123456789.12346},      {1e300, 2, 1e300},     {-1e300, -2, -1e300},
      {4503599627370497.0, 0, 4503599627370497.0},    {12345.678, 400, 12345.678},
      {12345.678, -400, 0},  {0, 3, 0},               {5e-324, 2, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(cc_round(c.x, c.n), c.expected) << c.x << " to " << c.n;
    EXPECT_EQ(cc_round(c.x, c.n), c.expected) << "again " << c.x;  // the remembered call
  }
  EXPECT_EQ(cc_round(cc_round(2.345, 2), 2), 2.35);  // rounding a result keeps it
  EXPECT_EQ(cc_round(2.5, 1), 2.5);                  // same x, other n: computed anew
  EXPECT_TRUE(std::isnan(cc_round(std::nan(""), 2)));
  EXPECT_EQ(cc_round(HUGE_VAL, 2), HUGE_VAL);
}

TEST_F(Numbers, RoundFunction)
{
  var* r = vl_call(_bb_round, {num(2.5, 1)});
  EXPECT_EQ(VDBL(r), 3);
  EXPECT_EQ(r->Decimals, 0);
  r = vl_call(_bb_round, {num(1234.5678, 4), set_nv(2, 0)});
  EXPECT_EQ(VDBL(r), 1234.57);
  EXPECT_EQ(r->Decimals, 2);
  r = vl_call(_bb_round, {num(1250), set_nv(-2, 0)});
  EXPECT_EQ(VDBL(r), 1300);
  EXPECT_EQ(r->Decimals, 0);
  EXPECT_EQ(VDBL(vl_call(_bb_round, {set_Iv(7), set_nv(1, 0)})), 7);
  EXPECT_EQ(vl_call(_bb_round, {set_cv("2.5")}), ZERO_VAR);
  EXPECT_EQ(VDBL(vl_call(_bb_round, {num(1.55, 2), set_cv("x")})), 2);
  EXPECT_EQ(vl_call(_bb_round, {num(1, 0), set_nv(1e12, 0)})->Decimals, 255);
  EXPECT_TRUE(reports().empty());
}

TEST_F(Numbers, IntTruncatesTowardZero)
{
  EXPECT_EQ(VDBL(vl_call(_bb_int, {num(-2.7, 1)})), -2);
  EXPECT_EQ(VDBL(vl_call(_bb_int, {num(2.7, 1)})), 2);
  EXPECT_EQ(vl_call(_bb_int, {num(2.7, 1)})->Decimals, 0);
  EXPECT_EQ(VDBL(vl_call(_bb_int, {num(1e20)})), 1e20);
  var* i = vl_call(_bb_int, {set_Iv(-5)});
  EXPECT_EQ(i->Type, 'I');
  EXPECT_EQ(VINT(i), -5);
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vl_call(_bb_int, {set_cv("5")}), ZERO_VAR);
  EXPECT_EQ(last_code(), 312);
}

// The text tables run once per locale.
class NumberText : public Numbers, public ::testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override
  {
    Numbers::SetUp();
    const char* old = std::setlocale(LC_ALL, nullptr);
    saved_ = old ? old : "C";
    if (!std::setlocale(LC_ALL, GetParam()))
      GTEST_SKIP() << "locale " << GetParam() << " is not installed (locale-gen it to run this)";
  }
  void TearDown() override
  {
    std::setlocale(LC_ALL, saved_.c_str());
    Numbers::TearDown();
  }
  std::string saved_;
};

TEST_P(NumberText, StrWithWidthAndDecimals)
{
  EXPECT_EQ(STR(num(12345), set_nv(3, 0)), "***");
  EXPECT_EQ(STR(num(123.456, 3), set_nv(10, 0), set_nv(2, 0)), "    123.46");
  EXPECT_EQ(STR(num(-123.456, 3), set_nv(10, 0), set_nv(2, 0)), "   -123.46");
  EXPECT_EQ(STR(num(123.456, 3), set_nv(6, 0)), "   123");  // two arguments: no decimals
  EXPECT_EQ(STR(num(2.5, 1), set_nv(1, 0)), "3");
  EXPECT_EQ(STR(num(-2.5, 1), set_nv(2, 0)), "-3");
  EXPECT_EQ(STR(num(0.125, 3), set_nv(5, 0), set_nv(2, 0)), " 0.13");
  EXPECT_EQ(STR(num(-0.001, 3), set_nv(6, 0), set_nv(2, 0)), "  0.00");
  EXPECT_EQ(STR(num(1e15), set_nv(20, 0)), "    1000000000000000");
  EXPECT_EQ(STR(num(5), set_nv(-3, 0)), "         5");  // a negative width is 10
  EXPECT_EQ(STR(num(5), set_nv(200, 0)).size(), 150u);
  EXPECT_EQ(STR(num(1e300), set_nv(150, 0)), std::string(150, '*'));
  EXPECT_EQ(STR(num(3.14159, 5), set_nv(8, 0), set_nv(-1, 0)), "3.141590");
  EXPECT_EQ(STR(num(1), set_nv(5, 0), set_nv(1e9, 0)), "*****");
  EXPECT_EQ(STR(num(5), set_cv("5")), "");
  EXPECT_EQ(STR(num(5), set_nv(5, 0), NIL_VAR), "");
  EXPECT_EQ(STR(set_cv("5")), "");
  EXPECT_EQ(STR(set_Iv(-42), set_nv(5, 0)), "  -42");
  EXPECT_EQ(str(vl_call(_bb_strzero, {num(-5), set_nv(5, 0)})), "-0005");
  EXPECT_EQ(str(vl_call(_bb_strzero, {num(42.25, 2), set_nv(6, 0), set_nv(1, 0)})), "0042.3");
  EXPECT_EQ(str(vl_call(_bb_strzero, {num(12345), set_nv(3, 0)})), "***");
  EXPECT_EQ(str(vl_call(_bb_strzero, {num(7)})), "0000000007");
}

TEST_P(NumberText, StrOfOneArgument)
{
  EXPECT_EQ(STR(num(1.0 / 3, 2)), "         0.33");
  EXPECT_EQ(STR(num(2.5, 2)), "         2.5");  // unknown width: trailing zeros go
  EXPECT_EQ(STR(num(3, 2)), "         3");
  EXPECT_EQ(STR(num(-3, 0)), "        -3");
  EXPECT_EQ(STR(set_Iv(3)), "         3");
  EXPECT_EQ(STR(num(1234567890123.0)), "1234567890123");
  EXPECT_EQ(STR(num(12.5, 2, 7)), "  12.50");  // a known width and decimals
  EXPECT_EQ(STR(num(1e25, 0)).size(), 26u);     // no alignment for long integer parts
  // SET DECIMALS alone does not change a value's own decimals.
  _cgetsetnum(3, 4);
  EXPECT_EQ(STR(num(2.5, 1)), "         2.5");
  // SET FIXED shows SET DECIMALS decimals, all of them.
  _cgetseton(1, 2);
  EXPECT_EQ(STR(num(2.5, 1)), "         2.5000");
  EXPECT_EQ(STR(num(1.0 / 3, 2)), "         0.3333");
  EXPECT_EQ(STR(num(-7)), "        -7.0000");
  _cgetsetnum(3, 0);
  EXPECT_EQ(STR(num(2.5, 1)), "         3");
  char buf[8];
  EXPECT_EQ(vln_numtext(num(123456.75, 2), buf, sizeof buf), 7);  // cut to the buffer
  EXPECT_EQ(vln_numtext(set_cv("x"), buf, sizeof buf), -1);
}

TEST_P(NumberText, ValReadsTheFixedGrammar)
{
  struct Case {
    const char* text;
    double value;
    int decimals;
    int width;
  };
  const Case cases[] = {{"12.50", 12.5, 2, 5},      {"  -3.25xyz", -3.25, 2, 7}, {"\t+7", 7, 0, 3},
                        {"1e3", 1000, 0, 3},        {"1.5E-2", 0.015, 1, 6},     {"1e", 1, 0, 1},
                        {".5", 0.5, 1, 2},          {"5.", 5, 0, 2},             {"1,5", 1, 0, 1},
                        {"0.00", 0, 2, -1},         {"abc", 0, 0, -1},           {"", 0, 0, -1},
                        {"-", 0, 0, -1},            {"1e400", HUGE_VAL, 0, 5},   {"1e-400", 0, 0, -1},
                        {"0.000001e-400", 0, 6, -1}, {"123456789012345678901234567890", 1.2345678901234568e29, 0, 30}};
  for (const auto& c : cases) {
    var* v = vl_call(_bb_val, {set_cv(c.text)});
    EXPECT_EQ(VDBL(v), c.value) << c.text;
    EXPECT_EQ(v->Decimals, c.decimals) << c.text;
    EXPECT_EQ(v->Length, c.width) << c.text;
  }
  EXPECT_EQ(STR(vl_call(_bb_val, {set_cv("  12.50")})), "  12.50");  // VAL's width and decimals
  EXPECT_EQ(vl_call(_bb_val, {set_nv(5, 0)}), ZERO_VAR);
  const std::string digits(100000, '9');
  EXPECT_EQ(VDBL(vl_call(_bb_val, {set_cv(digits.c_str())})), HUGE_VAL);
  const std::string fraction = "0." + std::string(300, '0') + "1";
  EXPECT_EQ(vl_call(_bb_val, {set_cv(fraction.c_str())})->Decimals, 255);
}

TEST_P(NumberText, AtolAndAtof)
{
  const char* end = nullptr;
  const char* text = "  -42abc";
  EXPECT_EQ(qrt_atol(text, &end, 0), -42);
  EXPECT_EQ(end, text + 5);
  EXPECT_EQ(qrt_atol("20240105", &end, 4), 2024);
  EXPECT_EQ(qrt_atol("99999999999999999999999", nullptr, 0), std::numeric_limits<long>::max());
  text = "x";
  EXPECT_EQ(qrt_atol(text, &end, 0), 0);
  EXPECT_EQ(end, text);
  text = "3.75e1 rest";
  EXPECT_EQ(qrt_atof(text, &end), 37.5);
  EXPECT_EQ(end, text + 6);
  text = "  .";
  EXPECT_EQ(qrt_atof(text, &end), 0);
  EXPECT_EQ(end, text);
  EXPECT_EQ(qrt_atof1("   12.5  ", 9), 12.5);
  EXPECT_EQ(qrt_atof1("    ", 4), 0);
  EXPECT_EQ(qrt_atof1("12345", 3), 123);  // a field is not terminated
  EXPECT_EQ(qrt_atof1("1", -5), 0);
}

INSTANTIATE_TEST_SUITE_P(Locales, NumberText, ::testing::Values("C", "de_DE.UTF-8"),
                         [](const auto& info) {
                           return std::string(info.param[0] == 'C' ? "C" : "GermanComma");
                         });

}  // namespace
