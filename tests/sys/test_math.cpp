// MOD, SQRT, EXP, LOG and LOG10, and how a number that overflows shows.
#include <string>

#include "numbers.h"
#include "set.hpp"
#include "vartostr.hpp"
#include "vltest.h"

using namespace vl;

namespace {

class Math : public vltest::VlTest {
 protected:
  void TearDown() override
  {
    _cgetseton(0, 2);   // SET FIXED OFF
    _cgetsetnum(3, 2);  // SET DECIMALS TO 2
    VlTest::TearDown();
  }
};

// What ? shows for the value of expr.
std::string shown(const char* expr)
{
  char buf[1024];
  vartostr(exp_eval(expr), buf, sizeof buf);
  return buf;
}

struct Case {
  const char* expr;
  const char* shows;
};

TEST_F(Math, FunctionsFollowTheUsualForms)
{
  const Case cases[] = {
      {"MOD(7, 3)", "         1"},      {"MOD(-1, 3)", "         2"},
      {"MOD(1, -3)", "        -2"},     {"MOD(-7, -3)", "        -1"},
      {"MOD(5.5, 2)", "         1.5"},  {"MOD(7, 0)", "         7"},
      {"MOD(-6, 3)", "         0"},     {"SQRT(16)", "         4"},
      {"SQRT(2)", "         1.41"},     {"SQRT(-4)", "         0"},
      {"EXP(1)", "         2.72"},      {"LOG(EXP(2))", "         2"},
      {"LOG10(1000)", "         3"},    {"STR(LOG(10), 10, 4)", "    2.3026"},
      {"LOG(0)", "**********"},         {"LOG10(-1)", "**********"},
      {"EXP(1000)", "**********"},      {"VALTYPE(MOD(7, 3))", "N"}};
  for (const Case& c : cases) EXPECT_EQ(shown(c.expr), c.shows) << c.expr;
  EXPECT_TRUE(reports().empty());
  _cgetsetnum(3, 4);  // SET DECIMALS TO 4: the decimals of SQRT, EXP and LOG
  _cgetseton(1, 2);   // SET FIXED ON
  EXPECT_EQ(shown("SQRT(2)"), "         1.4142");
  EXPECT_EQ(shown("LOG(0)"), "***************");
  const char* wrong[] = {"SQRT('x')", "EXP()", "LOG(NIL)", "MOD(1)", "MOD('a', 2)"};
  for (const char* expr : wrong) {
    reports().clear();
    exp_eval(expr);
    EXPECT_EQ(last_code(), 312) << expr;
  }
}

TEST_F(Math, OverflowShowsAsStarsEverywhere)
{
  const Case cases[] = {
      {"10^400", "**********"},                {"(10^400) - (10^400)", "**********"},
      {"-(10^400)", "**********"},             {"STR(10^400)", "**********"},
      {"STR(10^400, 5)", "*****"},             {"STR(10^400, 12, 2)", "************"},
      {"STR(12345, 3)", "***"},                {"STRZERO(-(10^400), 4)", "****"},
      {"PADL(10^400, 12, '0')", "00**********"}, {"LEN(STR(10^300))", "       301"}};
  for (const Case& c : cases) EXPECT_EQ(shown(c.expr), c.shows) << c.expr;
  char buf[16];
  EXPECT_EQ(vln_numform(1.0 / 0.0, 8, 4, buf, sizeof buf), 8);
  EXPECT_STREQ(buf, "********");
  EXPECT_EQ(vln_numform(-2.5, 8, 4, buf, sizeof buf), 8);
  EXPECT_STREQ(buf, " -2.5000");
}

}  // namespace
