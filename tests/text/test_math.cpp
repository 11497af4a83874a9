// MOD, SQRT, EXP, LOG and LOG10, and how a number that overflows shows.
#include "numbers.h"
#include "vltest.h"

using vltest::expect_rows;

namespace {

class Math : public vltest::VlTest {};

TEST_F(Math, FunctionsFollowTheUsualForms)
{
  expect_rows({
      {"MOD(7, 3)", "1"},        {"MOD(-1, 3)", "2"},     {"MOD(1, -3)", "-2"},
      {"MOD(-7, -3)", "-1"},     {"MOD(5.5, 2)", "1.5"},  {"MOD(7, 0)", "7"},
      {"MOD(-6, 3)", "0"},       {"SQRT(16)", "4"},       {"SQRT(2)", "1.41"},
      {"SQRT(-4)", "0"},         {"EXP(1)", "2.72"},      {"LOG(EXP(2))", "2"},
      {"LOG10(1000)", "3"},      {"STR(LOG(10), 10, 4)", "    2.3026"},
      {"LOG(0)", "**********"},  {"LOG10(-1)", "**********"},
      {"EXP(1000)", "**********"}, {"VALTYPE(MOD(7, 3))", "N"},
      {"SQRT('x')", "#312"},     {"EXP()", "#312"},       {"LOG(NIL)", "#312"},
      {"MOD(1)", "#312"},        {"MOD('a', 2)", "#312"},
      // SET DECIMALS gives the decimals of SQRT, EXP and LOG, shown with SET FIXED.
      {"SET(3, 4), SET(2, .T.)"},
      {"SQRT(2)", "1.4142"},
      {"STR(LOG(0))", "***************"},
  });
}

TEST_F(Math, OverflowShowsAsStarsEverywhere)
{
  expect_rows({
      {"10^400", "**********"},
      {"(10^400) - (10^400)", "**********"},
      {"-(10^400)", "**********"},
      {"STR(10^400)", "**********"},
      {"STR(10^400, 5)", "*****"},
      {"STR(10^400, 12, 2)", "************"},
      {"STR(12345, 3)", "***"},
      {"STRZERO(-(10^400), 4)", "****"},
      {"PADL(10^400, 12, '0')", "00**********"},
      {"LEN(STR(10^300))", "301"},
  });
  char buf[16];
  EXPECT_EQ(vln_numform(1.0 / 0.0, 8, 4, buf, sizeof buf), 8);
  EXPECT_STREQ(buf, "********");
  EXPECT_EQ(vln_numform(-2.5, 8, 4, buf, sizeof buf), 8);
  EXPECT_STREQ(buf, " -2.5000");
}

}  // namespace
