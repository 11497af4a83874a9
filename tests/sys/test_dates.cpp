// Dates: the calendar against an independent one (data/calendar.txt, made
// by data/gen_calendar.py from Python's datetime), the text forms under
// every SET DATE format with and without SET CENTURY, and bad input.
#include <time.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "dates.h"
#include "set.h"
#include "vltest.h"

using vltest::str;

namespace {

struct Day {
  int32_t n;
  int y, m, d;
  std::string ymd;
  int dow;
};

const std::vector<Day>& calendar()
{
  static const std::vector<Day> days = [] {
    std::vector<Day> out;
    std::ifstream in(VL_SOURCE_DIR "/tests/sys/data/calendar.txt");
    Day day;
    while (in >> day.n >> day.ymd >> day.dow) {
      day.y = std::stoi(day.ymd.substr(0, 4));
      day.m = std::stoi(day.ymd.substr(4, 2));
      day.d = std::stoi(day.ymd.substr(6, 2));
      out.push_back(day);
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

class Dates : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    format_ = vlnGetDateFormat();
    epoch_ = vlnGetEpoch();
  }
  void TearDown() override
  {
    _cgetsetstr(4, format_.c_str());
    _cgetsetnum(5, epoch_);
    VlTest::TearDown();
  }

  std::string format_;
  int epoch_ = 0;
};

TEST_F(Dates, CalendarTableIsThere)
{
  ASSERT_GT(calendar().size(), 50000u) << "tests/sys/data/calendar.txt is missing or short";
  EXPECT_EQ(calendar().front().n, 1);
  EXPECT_EQ(calendar().back().ymd, "99991231");
}

TEST_F(Dates, DayNumbersAgreeWithTheIndependentCalendar)
{
  for (const Day& day : calendar()) {
    const int32_t mark = tmpvar_cnt;
    SCOPED_TRACE(day.ymd);
    ASSERT_EQ(datoint(day.d, day.m, day.y), day.n);
    var* v = set_dv(day.n);
    ASSERT_EQ(VDBL(vl_call(_bb_year, {v})), day.y);
    ASSERT_EQ(VDBL(vl_call(_bb_month, {v})), day.m);
    ASSERT_EQ(VDBL(vl_call(_bb_day, {v})), day.d);
    ASSERT_EQ(VDBL(vl_call(_bb_dow, {v})), day.dow);
    ASSERT_EQ(str(vl_call(_bb_dtos, {v})), day.ymd);
    ASSERT_EQ(VINT(vl_call(_bb_stod, {set_cv(day.ymd.c_str())})), day.n);
    del_tmpvars(mark);
  }
}

TEST_F(Dates, EveryDayOfTheCalendarRoundTrips)
{
  const int32_t last = datoint(31, 12, 9999);
  ASSERT_EQ(last, 3652059);
  int pd = 31, pm = 12, py = 0;  // the day before day 1
  for (int32_t n = 1; n <= last; ++n) {
    int d, m, y;
    intodat(n, &d, &m, &y);
    const bool next_day = (d == pd + 1 && m == pm && y == py) ||
                          (d == 1 && ((m == pm + 1 && y == py) || (m == 1 && pm == 12 && y == py + 1)));
    ASSERT_TRUE(next_day) << n;
    ASSERT_EQ(datoint(d, m, y), n);
    ASSERT_EQ(get_dat(set_dat(n)), n);
    pd = d, pm = m, py = y;
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

TEST_F(Dates, TheCalendarRules)
{
  EXPECT_EQ(datoint(29, 2, 1900), 0);
  EXPECT_NE(datoint(29, 2, 2000), 0);
  EXPECT_NE(datoint(29, 2, 2024), 0);
  EXPECT_EQ(datoint(29, 2, 2023), 0);
  EXPECT_EQ(datoint(1, 1, 1), 1);
  EXPECT_EQ(datoint(31, 4, 2024), 0);
  EXPECT_EQ(datoint(0, 1, 2024), 0);
  EXPECT_EQ(datoint(1, 13, 2024), 0);
  EXPECT_EQ(datoint(1, 0, 2024), 0);
  EXPECT_EQ(datoint(1, 1, 0), 0);
  EXPECT_EQ(datoint(-5, -5, -5), 0);
  EXPECT_EQ(datoint(1, 1, 100000000), 0);  // beyond any day number
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
  _cgetsetnum(5, 1950);
  EXPECT_EQ(vln_epocnv(49), 2049);
  EXPECT_EQ(vln_epocnv(50), 1950);
  EXPECT_EQ(vln_epocnv(0), 2000);
  EXPECT_EQ(vln_epocnv(100), 100);
  EXPECT_EQ(vln_epocnv(-1), 0);
  _cgetsetnum(5, 1900);
  EXPECT_EQ(vln_epocnv(0), 1900);
  EXPECT_EQ(vln_epocnv(99), 1999);
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
  EXPECT_EQ(vln_chk_dateform("DDD/MM/YY"), 2);
  EXPECT_EQ(vln_chk_dateform("DD/MM/YYY"), 2);
  EXPECT_EQ(vln_chk_dateform("DD/MM/YY/DD"), 2);
  EXPECT_EQ(vln_chk_dateform("DD/MM/YY Q"), 2);
  EXPECT_EQ(vln_chk_dateform(""), 3);
  EXPECT_EQ(vln_chk_dateform("//"), 3);
  EXPECT_EQ(vln_chk_dateform("DD/MM/YYYY/////"), 0);
  EXPECT_EQ(vln_chk_dateform("DD/MM/YYYY//////"), 3);  // 16 characters
  EXPECT_STREQ(vln_get_d_buff(), "DD/MM/YYYY/////");   // the last good one stays
  EXPECT_EQ(vln_chk_dateform(nullptr), 3);
}

TEST_F(Dates, NamesAndTheClock)
{
  const int32_t day = datoint(25, 12, 2024);  // a Wednesday
  EXPECT_EQ(str(vl_call(_bb_cdow, {set_dv(day)})), "Wednesday");
  EXPECT_EQ(str(vl_call(_bb_cmonth, {set_dv(day)})), "December");
  EXPECT_EQ(str(vl_call(_bb_cdow, {NULLDATE_VAR})), "");
  EXPECT_EQ(str(vl_call(_bb_cmonth, {NULLDATE_VAR})), "");

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

  const std::string t = str(vl_call(_bb_time, {}));
  ASSERT_EQ(t.size(), 8u);
  EXPECT_EQ(t[2], ':');
  EXPECT_EQ(t[5], ':');
  var* s = vl_call(_bb_seconds, {});
  EXPECT_GE(VDBL(s), 0.0);
  EXPECT_LT(VDBL(s), 86400.0);
  EXPECT_EQ(s->Decimals, 2);
}

TEST_F(Dates, WrongKindsGiveEmptyAnswersWithoutErrors)
{
  var* text = set_cv("12/25/2024");
  EXPECT_EQ(VDBL(vl_call(_bb_year, {text})), 0);
  EXPECT_EQ(VDBL(vl_call(_bb_dow, {})), 0);
  EXPECT_EQ(str(vl_call(_bb_dtoc, {set_nv(5, 0)})), "");
  EXPECT_EQ(str(vl_call(_bb_dtos, {NIL_VAR})), "");
  EXPECT_EQ(VINT(vl_call(_bb_ctod, {set_nv(5, 0)})), 0);
  EXPECT_EQ(VINT(vl_call(_bb_stod, {})), 0);
  EXPECT_EQ(str(vl_call(_bb_dtos, {set_dv(-17)})), "        ");
  EXPECT_TRUE(reports().empty());
}

}  // namespace
