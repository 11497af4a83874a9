// Dates: the calendar against an independent one (C++'s proleptic
// Gregorian calendar), the text forms under every SET DATE format with and
// without SET CENTURY, and bad input.
#include <time.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "dates.hpp"
#include "set.hpp"
#include "vltest.h"

using namespace vl;
using vltest::expect_rows;
using vltest::str;

namespace {

namespace cal = std::chrono;

struct Day {
  int32_t n;  // day number: 1 is 1 January of year 1
  int y, m, d;
};

const cal::sys_days kDayZero = cal::sys_days{cal::year{1} / 1 / 1} - cal::days{1};

Day day_of(cal::sys_days sd)
{
  const cal::year_month_day ymd{sd};
  return {static_cast<int32_t>((sd - kDayZero).count()), static_cast<int>(ymd.year()),
          static_cast<int>(static_cast<unsigned>(ymd.month())),
          static_cast<int>(static_cast<unsigned>(ymd.day()))};
}

// Every day of the start and the end of the calendar, of the century years
// around 100, 400, 1900, 2000 and 2400 (leap and not), of the Gregorian
// reform years and of a wide modern range.
const std::vector<Day>& calendar()
{
  static const std::vector<Day> days = [] {
    const std::pair<int, int> years[] = {{1, 4},       {97, 104},   {396, 404},  {1582, 1583},
                                         {1896, 1904}, {1996, 2104}, {2396, 2404}, {9995, 9999}};
    std::vector<Day> out;
    for (const auto& [first, last] : years) {
      const cal::sys_days end{cal::year{last} / 12 / 31};
      for (cal::sys_days sd{cal::year{first} / 1 / 1}; sd <= end; sd += cal::days{1})
        out.push_back(day_of(sd));
    }
    return out;
  }();
  return days;
}

// The SET DATE formats by name, without century.
const std::vector<std::pair<std::string, std::string>> kFormats = {
    {"AMERICAN", "MM/DD/YY"}, {"ANSI", "YY.MM.DD"},    {"BRITISH", "DD/MM/YY"},
    {"FRENCH", "DD/MM/YY"},   {"GERMAN", "DD.MM.YY"},  {"ITALIAN", "DD-MM-YY"},
    {"JAPAN", "YY/MM/DD"},    {"USA", "MM-DD-YY"}};

// The text a format should give, built by plain substitution.
std::string expected_text(std::string fmt, const Day& day)
{
  char y4[8], y2[4], m[4], d[4];
  std::snprintf(y4, sizeof y4, "%04d", day.y);
  std::snprintf(y2, sizeof y2, "%02d", day.y % 100);
  std::snprintf(m, sizeof m, "%02d", day.m);
  std::snprintf(d, sizeof d, "%02d", day.d);
  auto put = [&fmt](const std::string& group, const char* value) {
    if (auto at = fmt.find(group); at != std::string::npos) fmt.replace(at, group.size(), value);
  };
  put("YYYY", y4);
  put("YY", y2);
  put("MM", m);
  put("DD", d);
  return fmt;
}

class Dates : public vltest::VlTest {};

TEST_F(Dates, EveryDayOfTheCalendarRoundTrips)
{
  const cal::sys_days last{cal::year{9999} / 12 / 31};
  ASSERT_EQ(datoint(31, 12, 9999), (last - kDayZero).count());
  for (cal::sys_days sd = kDayZero + cal::days{1}; sd <= last; sd += cal::days{1}) {
    const cal::year_month_day ymd{sd};
    const int32_t n = static_cast<int32_t>((sd - kDayZero).count());
    int d, m, y;
    intodat(n, &d, &m, &y);
    ASSERT_EQ(y, static_cast<int>(ymd.year())) << n;
    ASSERT_EQ(m, static_cast<int>(static_cast<unsigned>(ymd.month()))) << n;
    ASSERT_EQ(d, static_cast<int>(static_cast<unsigned>(ymd.day()))) << n;
    ASSERT_EQ(datoint(d, m, y), n);
    ASSERT_EQ(get_dat(set_dat(n)), n);
    ASSERT_EQ(vln_dow(n), static_cast<int>(cal::weekday{sd}.c_encoding()) + 1) << n;
  }
}

TEST_F(Dates, EveryFormatWithAndWithoutCenturyRoundTrips)
{
  _cgetsetnum(5, 1950);
  for (const auto& [name, format] : kFormats) {
    for (int century = 0; century <= 1; ++century) {
      _cgetsetstr(4, format.c_str());
      vln_setcentury(century);
      const std::string fmt = vlnGetDateFormat();
      SCOPED_TRACE(name + " " + fmt);
      ASSERT_EQ(fmt.size(), format.size() + 2 * century);
      for (const Day& day : calendar()) {
        const int32_t mark = tmpvar_cnt;
        const std::string text = str(vl_call(_bb_dtoc, {set_dv(day.n)}));
        ASSERT_EQ(text, expected_text(fmt, day));
        const int32_t back = VINT(vl_call(_bb_ctod, {set_cv(text.c_str())}));
        // Two-digit years come back through SET EPOCH; so do years below
        // 100 written with four digits.
        const int year = century ? day.y : day.y % 100;
        ASSERT_EQ(back, datoint(day.d, day.m, vln_epocnv(year)));
        if ((century && day.y >= 100) || (day.y >= 1950 && day.y <= 2049)) {
          ASSERT_EQ(back, day.n);
        }
        del_tmpvars(mark);
      }
      std::string blank = fmt;
      for (char& c : blank)
        if (c == 'D' || c == 'M' || c == 'Y') c = ' ';
      EXPECT_EQ(str(vl_call(_bb_dtoc, {NULLDATE_VAR})), blank);
      EXPECT_EQ(VINT(vl_call(_bb_ctod, {set_cv(blank.c_str())})), 0);
    }
  }
  EXPECT_TRUE(reports().empty());
}

// The days the calendar has are checked above; these are the ones it has not.
TEST_F(Dates, TheCalendarRules)
{
  const int bad[][3] = {{29, 2, 1900}, {29, 2, 2023}, {31, 4, 2024}, {0, 1, 2024},
                        {1, 13, 2024}, {1, 0, 2024},  {1, 1, 0},     {-5, -5, -5},
                        {1, 1, 100000000}};  // the last beyond any day number
  for (const auto& [d, m, y] : bad) EXPECT_EQ(datoint(d, m, y), 0) << d << "." << m << "." << y;
  int d = 9, m = 9, y = 9, c = 9;
  intodat(0, &d, &m, &y);
  EXPECT_EQ(d + m + y, 0);
  intodat(-40, &d, &m, &y);
  EXPECT_EQ(d + m + y, 0);
  intodat2(datoint(5, 6, 1987), &d, &m, &y, &c);
  EXPECT_EQ(d, 5);
  EXPECT_EQ(m, 6);
  EXPECT_EQ(y, 87);
  EXPECT_EQ(c, 19);
  EXPECT_EQ(vln_dow(0), 0);
  EXPECT_STREQ(set_dat(0), "        ");
  EXPECT_EQ(get_dat("        "), 0);
  EXPECT_EQ(get_dat("2024"), 0);  // shorter than eight: no reading past its end
  EXPECT_EQ(get_dat("20240230"), 0);
}

TEST_F(Dates, EpochCompletesTwoDigitYears)
{
  const int rows[][3] = {{1950, 49, 2049}, {1950, 50, 1950}, {1950, 0, 2000}, {1950, 100, 100},
                         {1950, -1, 0},     {1900, 0, 1900},  {1900, 99, 1999}};
  for (const auto& [epoch, year, want] : rows) {
    _cgetsetnum(5, epoch);
    EXPECT_EQ(vln_epocnv(year), want) << epoch << " " << year;
  }
}

TEST_F(Dates, FormatGroupsAndSeparators)
{
  const int32_t xmas = datoint(25, 12, 2024);
  EXPECT_STREQ(vln_dtoc_form(xmas, "D/M/Y"), "5/2/4");  // one letter keeps the last digit
  EXPECT_STREQ(vln_dtoc_form(xmas, "DD/MM/YY DD"), "25/12/24 DD");  // a later group is copied
  EXPECT_STREQ(vln_dtoc_form(xmas, "yyyy-mm-dd"), "2024-12-25");   // either case
  EXPECT_STREQ(vln_dtoc_form(datoint(3, 2, 7), "DD.MM.YYYY"), "03.02.0007");
  // Reading ignores the format's separators.
  EXPECT_EQ(vln_ctod_form(" 12.25-2024 ", "MM/DD/YYYY", 1900), xmas);
  EXPECT_EQ(vln_ctod_form("25 12 24", "DD.MM.YY", 1950), xmas);
  EXPECT_EQ(vln_ctod_form("2024/12/25", "YYYY.MM.DD", 1900), xmas);
  EXPECT_EQ(vln_ctod_form("123/056/20245", "MM/DD/YYYY", 1900), datoint(5, 12, 2024));
  EXPECT_EQ(vln_ctod_form("02/30/2024", "MM/DD/YYYY", 1900), 0);
  EXPECT_EQ(vln_ctod_form("12/25", "MM/DD/YYYY", 1900), 0);
  EXPECT_EQ(vln_ctod_form("", "MM/DD/YYYY", 1900), 0);
  EXPECT_EQ(vln_ctod_form("garbage", "MM/DD/YYYY", 1900), 0);
  EXPECT_EQ(vln_ctod_form("12/25/2024", "", 1900), 0);
  const std::string huge(100000, '7');
  EXPECT_EQ(vln_ctod_form(huge.c_str(), "MM/DD/YYYY", 1900), 0);
}

TEST_F(Dates, FormatCheckGradesAndDescribesTheFormat)
{
  EXPECT_EQ(vln_chk_dateform("mm/dd/yy"), 0);
  EXPECT_STREQ(vln_get_d_buff(), "MM/DD/YY");
  EXPECT_STREQ(vln_get_d_dmy(), "MDY");
  EXPECT_EQ(vln_chk_dateform("DD.MM.YYYY  "), 0);
  EXPECT_STREQ(vln_get_d_pict(), "\5\5.\6\6.\7\7\7\7");
  EXPECT_STREQ(vln_get_d_dmy(), "DMY");
  EXPECT_EQ(vln_chk_dateform("MM/YY"), 1);
  EXPECT_STREQ(vln_get_d_dmy(), "MY");
  const std::pair<const char*, int> grades[] = {
      {"DDD/MM/YY", 2}, {"DD/MM/YYY", 2}, {"DD/MM/YY/DD", 2}, {"DD/MM/YY Q", 2}, {"", 3},
      {"//", 3},        {"DD/MM/YYYY/////", 0}, {"DD/MM/YYYY//////", 3}};  // 16 characters
  for (const auto& [form, grade] : grades) EXPECT_EQ(vln_chk_dateform(form), grade) << form;
  EXPECT_STREQ(vln_get_d_buff(), "DD/MM/YYYY/////");   // the last good one stays
  EXPECT_EQ(vln_chk_dateform(nullptr), 3);
}

TEST_F(Dates, NamesTheClockAndWrongKinds)
{
  expect_rows({
      {"d := STOD('20241225'), {YEAR(d), MONTH(d), DAY(d), DOW(d), DTOS(d)}", "{2024, 12, 25, 4, 20241225}"},
      {"CDOW(STOD('20241225'))", "Wednesday"},
      {"CMONTH(STOD('20241225'))", "December"},
      {"CDOW(CTOD(''))", ""},
      {"CMONTH(CTOD(''))", ""},
      {"SUBSTR(TIME(), 3, 1) + SUBSTR(TIME(), 6, 1) + STR(LEN(TIME()), 1)", "::8"},
      {"SECONDS() >= 0 .AND. SECONDS() < 86400", ".T."},
      // Wrong kinds give empty answers without errors.
      {"YEAR('12/25/2024')", "0"},
      {"DOW()", "0"},
      {"DTOC(5)", ""},
      {"DTOS(NIL)", ""},
      {"DTOS(CTOD(5))", "        "},
      {"DTOS(STOD())", "        "},
  });
  // DATE() against the C++ calendar, on the local clock.
  const time_t now = time(nullptr);
  struct tm local;
  localtime_r(&now, &local);
  using namespace std::chrono;
  const sys_days today{year{local.tm_year + 1900} / month(local.tm_mon + 1) / local.tm_mday};
  constexpr int32_t kDayOf1970 = 719163;  // 1 January 1970
  const int32_t expected = static_cast<int32_t>(today.time_since_epoch().count()) + kDayOf1970;
  var* d = vl_call(_bb_date, {});
  EXPECT_EQ(d->Type, 'D');
  EXPECT_LE(std::abs(VINT(d) - expected), 1);  // midnight may pass between the two
  EXPECT_EQ(vl_call(_bb_seconds, {})->Decimals, 2);
}

}  // namespace
