// Numbers: cc_round and ROUND on hard cases, STR and VAL under SET
// DECIMALS and SET FIXED, qrt_atol and qrt_atof; the text tables run once
// in the C locale and once under a locale whose decimal point is a comma.
#include <bit>
#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "numbers.hpp"
#include "set.hpp"
#include "vltest.h"

using namespace vl;
using vltest::expect_rows;
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

TEST_F(Numbers, RoundAndInt)
{
  expect_rows({
      {"ROUND(2.5)", "3"},  // shown with the decimals it has
      {"ROUND(1234.5678, 2)", "1234.57"},
      {"ROUND(1250, -2)", "1300"},
      {"ROUND('2.5')", "0"},
      {"ROUND(1.55, 'x')", "2"},
      {"INT(-2.7)", "-2"},
      {"INT(2.7)", "2"},
      {"INT(10^20)", "100000000000000000000"},
      {"INT('5')", "#312 0"},
  });
  // The shown value drops trailing zeros: the decimals are checked apart.
  const std::pair<const char*, int> decimals[] = {
      {"ROUND(2.5)", 0}, {"ROUND(1234.5678, 2)", 2}, {"ROUND(1250, -2)", 0}, {"INT(2.7)", 0}};
  for (const auto& [expr, dec] : decimals) EXPECT_EQ(exp_eval(expr)->Decimals, dec) << expr;
  EXPECT_EQ(VDBL(vl_call(_bb_round, {set_Iv(7), set_nv(1, 0)})), 7);
  EXPECT_EQ(vl_call(_bb_round, {num(1, 0), set_nv(1e12, 0)})->Decimals, 255);
  var* i = vl_call(_bb_int, {set_Iv(-5)});
  EXPECT_EQ(i->Type, 'I');
  EXPECT_EQ(VINT(i), -5);
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

// Number literals read the point under any locale, so the rows run under
// both.
TEST_P(NumberText, StrAndNumtext)
{
  expect_rows({
      {"{STR(12345, 3), STR(2.5, 1), STR(-2.5, 2), STR(1, 5, 10^9), STRZERO(12345, 3)}",
       "{***, 3, -3, *****, ***}"},
      // Two arguments: no decimals.
      {"{STR(123.456, 10, 2), STR(-123.456, 10, 2), STR(123.456, 6)}", "{    123.46,    -123.46,    123}"},
      {"{STR(0.125, 5, 2), STR(-0.001, 6, 2), STR(3.14159, 8, -1)}", "{ 0.13,   0.00, 3.141590}"},
      // A negative width is 10.
      {"{STR(10^15, 20), STR(5, -3), LEN(STR(5, 200))}", "{    1000000000000000,          5, 150}"},
      {"STR(10^300, 150) == REPLICATE('*', 150)", ".T."},
      {"{STR(5, '5'), STR(5, 5, NIL), STR('5')}", "{, , }"},
      {"{STRZERO(-5, 5), STRZERO(42.25, 6, 1), STRZERO(7)}", "{-0005, 0042.3, 0000000007}"},
      // Unknown width: trailing zeros go.
      {"{STR(1/3), STR(2.50), STR(3.00), STR(-3)}", "{         0.33,          2.5,          3,         -3}"},
      {"STR(1234567890123)", "1234567890123"},
      {"LEN(STR(10^25))", "26"},  // no alignment for long integer parts
      {"STR(VAL('  12.50'))", "  12.50"},  // a known width and decimals
      {"third := 1/3, SET(3, 4)"},
      {"STR(2.5)", "         2.5"},  // SET DECIMALS alone changes no value's decimals
      {"SET(2, .T.)"},                 // SET FIXED shows SET DECIMALS decimals, all of them
      {"STR(2.5)", "         2.5000"},
      {"STR(third)", "         0.3333"},
      {"STR(-7)", "        -7.0000"},
      {"SET(3, 0), STR(2.5)", "         3"},
  });
  EXPECT_EQ(STR(set_Iv(-42), set_nv(5, 0)), "  -42");
  EXPECT_EQ(STR(set_Iv(3)), "         3");
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
  EXPECT_EQ(vl_call(_bb_val, {set_nv(5, 0)}), ZERO_VAR);
  EXPECT_EQ(VDBL(vl_call(_bb_val, {set_cv(std::string(100000, '9').c_str())})), HUGE_VAL);
  const std::string fraction = "0." + std::string(300, '0') + "1";
  EXPECT_EQ(vl_call(_bb_val, {set_cv(fraction.c_str())})->Decimals, 255);
}

// A literal is read with a point under every locale (a text compiled
// under this one: each parameter's text differs).
TEST_P(NumberText, LiteralsReadThePoint)
{
  const std::string text = std::string("2.5 + LEN('") + GetParam() + "')";
  EXPECT_EQ(VDBL(exp_eval(text.c_str())), 2.5 + std::strlen(GetParam()));
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
  // A field's text gives the same double, bit for bit, as the general reader.
  for (const char* field : {"  -0.10", "-0", "123456789012345", "1234567890123456", "0.1",
                            "9007199254.740993", "  1.5e3", "-.5", "5.", "+7", "1.2.3", " 12 34",
                            "0.000000000000001", "999999999999.99", "  -", "."}) {
    SCOPED_TRACE(field);
    EXPECT_EQ(std::bit_cast<uint64_t>(qrt_atof1(field, int32_t(std::strlen(field)))),
              std::bit_cast<uint64_t>(qrt_atof(field, nullptr)));
  }
}

INSTANTIATE_TEST_SUITE_P(Locales, NumberText, ::testing::Values("C", "de_DE.UTF-8"),
                         [](const auto& info) {
                           return std::string(info.param[0] == 'C' ? "C" : "GermanComma");
                         });

}  // namespace
