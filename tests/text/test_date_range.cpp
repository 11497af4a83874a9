// Dates end on 9999-12-31: what would pass it is refused where it is made,
// and no formatter outgrows its width whatever the day number; ELAPTIME.
#include <string>

#include "dates.hpp"
#include "vltest.h"

using vltest::expect_rows;

using namespace vl;

namespace {

class DateRange : public vltest::VlTest {};

TEST_F(DateRange, DatesPastTheLastDayAreRefusedWhereTheyAreMade)
{
  // Each refusal leaves d as it was.
  expect_rows({
      {"d := STOD('99991231')"},
      {"d + 1", "#409 ERROR"},   {"1 + d", "#409 ERROR"},  {"d - (-1)", "#409 ERROR"},
      {"d += 1", "#409 ERROR"},  {"d++", "#409 ERROR"},    {"++d", "#409 ERROR"},
      {"d + 10^12", "#409 ERROR"}, {"DTOS(d)", "99991231"},
      {"DTOS(d - 1)", "99991230"},
      {"DTOS(STOD('00010101') - 1)", "        "},  // below 1 is empty
      {"ELAPTIME('10:00:00', '12:30:15')", "02:30:15"},
      {"ELAPTIME('23:00:00', '01:30:15')", "02:30:15"},  // across midnight
      {"ELAPTIME('12:00:00', '12:00:00')", "00:00:00"},
      {"ELAPTIME('00:00:01', '00:00:00')", "23:59:59"},
      {"ELAPTIME('8:5', '9')", "00:55:00"},
      {"ELAPTIME('', '24:00:00')", "00:00:00"},
      {"ELAPTIME('10:00:00', 1)", "#312"},
  });
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

}  // namespace
