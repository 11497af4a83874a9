// dates_calc.cpp -- the calendar: day numbers to dates and back, weekdays,
// two-digit years, today, and the "YYYYMMDD" form.
//
// Day 1 is 1 January of year 1 in the Gregorian calendar carried back to
// year 1 (leap years: divisible by 4, and not by 100 unless by 400).  The
// inverse splits the days since that morning into cycles of 400, 100, 4
// and 1 years; the last day of a 100- or 1-year cycle (the leap day that
// ends a 400- or 4-year cycle) belongs to the cycle before it.
#include <time.h>

#include <algorithm>
#include <cstdint>

#include "dates.hpp"
#include "switches.h"

using namespace vl;

namespace {

constexpr int kDaysBefore[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
constexpr int32_t kDays400 = 146097;
constexpr int32_t kDays100 = 36524;
constexpr int32_t kDays4 = 1461;
constexpr int32_t kDays1 = 365;
constexpr int kWeekdayOfDay0 = 1;  // day 1 is a Monday: DOW 2
constexpr int kDaysPerWeek = 7;
constexpr int kDtosLength = 8;
constexpr int kLastYear = 9999;
constexpr int kYearDigits = 10000;  // a year in "YYYYMMDD" keeps its last four digits

bool leap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

// Days in the year before the first of month m (1 to 12).
int days_before(int m, bool is_leap) { return kDaysBefore[m - 1] + (is_leap && m > 2); }

int month_length(int m, bool is_leap) { return days_before(m + 1, is_leap) - days_before(m, is_leap); }

// A number of up to width digits at text; 0 when none.
int digits(const char* text, int width)
{
  int v = 0;
  for (int i = 0; i < width && text[i] >= '0' && text[i] <= '9'; ++i) v = v * 10 + (text[i] - '0');
  return v;
}

// v (not negative) as width digits at text, zero-padded on the left.
void put_digits(char* text, int v, int width)
{
  for (int i = width - 1; i >= 0; --i, v /= 10) text[i] = static_cast<char>('0' + v % 10);
}

}  // namespace

namespace vl {

int32_t datoint(int d, int m, int y)
{
  if (m < 1 || m > 12 || y < 1 || y > kLastYear) return 0;
  const bool is_leap = leap(y);
  if (d < 1 || d > month_length(m, is_leap)) return 0;
  const int64_t y1 = y - 1;
  const int64_t n = y1 * 365 + y1 / 4 - y1 / 100 + y1 / 400 + days_before(m, is_leap) + d;
  return static_cast<int32_t>(n);
}

void intodat(int32_t n, int* d, int* m, int* y)
{
  if (n <= 0) {
    *d = *m = *y = 0;
    return;
  }
  int32_t r = n - 1;  // days since 1 January of year 1
  const int32_t c400 = r / kDays400;
  r %= kDays400;
  int32_t c100 = r / kDays100;
  if (c100 == 4) c100 = 3;
  r -= c100 * kDays100;
  const int32_t c4 = r / kDays4;
  r %= kDays4;
  int32_t c1 = r / kDays1;
  if (c1 == 4) c1 = 3;
  r -= c1 * kDays1;
  const int year = c400 * 400 + c100 * 100 + c4 * 4 + c1 + 1;
  const bool is_leap = leap(year);
  int month = r / 31 + 1;  // never above the right month, at most one below
  if (month < 12 && r >= days_before(month + 1, is_leap)) ++month;
  *y = year;
  *m = month;
  *d = r - days_before(month, is_leap) + 1;
}

void intodat2(int32_t n, int* d, int* m, int* y, int* century)
{
  intodat(n, d, m, y);
  *century = *y / 100;
  *y %= 100;
}

}  // namespace vl

extern "C" {

int vln_dow(int32_t n)
{
  if (n <= 0) return 0;
  return (n - 1 + kWeekdayOfDay0) % kDaysPerWeek + 1;
}

int vln_epocnv(int y) { return vln_epocnv_at(y, vlnGetEpoch()); }

int vln_epocnv_at(int y, int epoch)
{
  const int r = epoch % 100;
  const int c = epoch - r;
  if (y < 0) return 0;
  if (y >= 100) return y;
  return y >= r ? y + c : y + c + 100;
}

int32_t vln_today(void)
{
  const time_t now = time(nullptr);
  struct tm local;
  if (!localtime_r(&now, &local)) return 0;
  return datoint(local.tm_mday, local.tm_mon + 1, local.tm_year + 1900);
}

}  // extern "C"

namespace vl {

int32_t get_dat(const char* text)
{
  // The text ends at its eighth byte or at a NUL, whichever comes first.
  int len = 0;
  while (len < kDtosLength && text[len]) ++len;
  const auto part = [&](int from, int width) {
    return len > from ? digits(text + from, std::min(width, len - from)) : 0;
  };
  return datoint(part(6, 2), part(4, 2), part(0, 4));
}

const char* set_dat(int32_t n)
{
  static char buf[kDtosLength + 1];
  if (n <= 0) return "        ";
  int d, m, y;
  intodat(n, &d, &m, &y);
  put_digits(buf, y % kYearDigits, 4);
  put_digits(buf + 4, m, 2);
  put_digits(buf + 6, d, 2);
  buf[kDtosLength] = '\0';
  return buf;
}

}  // namespace vl
