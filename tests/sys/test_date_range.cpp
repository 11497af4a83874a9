// Dates end on 9999-12-31: what would pass it is refused where it is made,
// and no formatter outgrows its width whatever the day number; ELAPTIME.
#include <string>

#include "dates.hpp"
#include "set.h"
#include "vltest.h"

using namespace vl;

using vltest::str;

namespace {

class DateRange : public vltest::VlTest {};

TEST_F(DateRange, DatesPastTheLastDayAreRefusedWhereTheyAreMade)
{
  exp_eval("d := STOD('99991231')");
  const char* refused[] = {"d + 1", "1 + d", "d - (-1)", "d += 1", "d++", "++d", "d + 10^12"};
  for (const char* expr : refused) {
    reports().clear();
    EXPECT_EQ(exp_eval(expr), ERROR_VAR) << expr;
    EXPECT_EQ(last_code(), 409) << expr;
    EXPECT_EQ(str(exp_eval("DTOS(d)")), "99991231") << "d is kept after " << expr;
  }
  reports().clear();
  EXPECT_EQ(str(exp_eval("DTOS(d - 1)")), "99991230");
  EXPECT_EQ(str(exp_eval("DTOS(STOD('00010101') - 1)")), "        ");  // below 1 is empty
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(set_dv(VLN_LAST_DAY + 1), ERROR_VAR);
  EXPECT_EQ(last_code(), 409);
  EXPECT_EQ(datoint(1, 1, 10000), 0);
  EXPECT_EQ(datoint(31, 12, 9999), VLN_LAST_DAY);
}

TEST_F(DateRange, FormattersKeepTheirWidthForAnyDayNumber)
{
  const std::string formats[] = {"MM/DD/YY", "MM/DD/YYYY", "YYYY.MM.DD", "DD-MM-Y"};
  const int32_t days[] = {VLN_LAST_DAY + 1, 9999999, INT32_MAX, -5, INT32_MIN};
  for (const int32_t n : days) {
    EXPECT_EQ(std::string(set_dat(n)).size(), 8u) << n;
    for (const std::string& f : formats)
      EXPECT_EQ(std::string(vln_dtoc_form(n, f.c_str())).size(), f.size()) << n << " " << f;
  }
}

TEST_F(DateRange, ElapsedTimeWrapsAtMidnight)
{
  struct Case {
    const char* start;
    const char* end;
    const char* elapsed;
  } cases[] = {{"10:00:00", "12:30:15", "02:30:15"}, {"23:00:00", "01:30:15", "02:30:15"},
               {"12:00:00", "12:00:00", "00:00:00"}, {"00:00:01", "00:00:00", "23:59:59"},
               {"8:5", "9", "00:55:00"},             {"", "24:00:00", "00:00:00"}};
  for (const Case& c : cases) {
    var* r = vl_call(_bb_elaptime, {set_cv(c.start), set_cv(c.end)});
    EXPECT_EQ(str(r), c.elapsed) << c.start << " to " << c.end;
  }
  vl_call(_bb_elaptime, {set_cv("10:00:00"), set_nv(1, 0)});
  EXPECT_EQ(last_code(), 312);
}

}  // namespace
