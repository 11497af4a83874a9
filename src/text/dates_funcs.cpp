// dates_funcs.cpp -- the date functions of the language.
//
// A function that wants a date and is given something else answers as for
// the empty date: 0 for numbers, "" for texts.  Names of days and months
// come from the active language, English without one.
//
// ELAPTIME(start, end) reads two "HH:MM:SS" times (parts missing count as
// 0) and gives the time from start to end as "HH:MM:SS"; an end before the
// start lies on the next day.  Its arguments must be texts (else 312).
#include <time.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "dates.hpp"
#include "natlang.h"
#include "args.hpp"
#include "kernel.h"
#include "runtime.hpp"

using namespace vl;

using namespace vl::args;

namespace {

constexpr int kTimeText = 8;  // "HH:MM:SS"
constexpr double kSecondsPerHour = 3600;
constexpr double kSecondsPerMinute = 60;
constexpr double kHundredths = 100;
constexpr long kSecondsPerDay = 86400;
constexpr int kTimeParts = 3;      // hours, minutes, seconds
constexpr long kPartLimit = 1000000;  // digits beyond this no longer count
constexpr long kPartScale[kTimeParts] = {static_cast<long>(kSecondsPerHour), static_cast<long>(kSecondsPerMinute), 1};

// The day number of a date argument; 0 for anything else.
int32_t day_of(int argc, var** argv)
{
  var* d = arg(argc, argv, 0);
  return d && d->Type == 'D' ? d->Value.w1.i : 0;
}

// Day, month and year of a date argument (all 0 for the empty date).
struct Ymd {
  int d, m, y;
};

Ymd ymd_of(int argc, var** argv)
{
  Ymd r;
  intodat(day_of(argc, argv), &r.d, &r.m, &r.y);
  return r;
}

bool local_now(struct tm* out, long* nanoseconds)
{
  struct timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  if (nanoseconds) *nanoseconds = ts.tv_nsec;
  return localtime_r(&ts.tv_sec, out) != nullptr;
}

var* text_of(const char* s) { return text_result(s, std::strlen(s)); }

// Seconds of a "HH:MM:SS" text within its day.
long seconds_of(std::string_view t)
{
  long part[kTimeParts] = {0, 0, 0};
  int k = 0;
  for (const char c : t) {
    if (c == ':' && ++k == kTimeParts) break;
    if (c >= '0' && c <= '9' && part[k] < kPartLimit) part[k] = part[k] * 10 + (c - '0');
  }
  long s = 0;
  for (int i = 0; i < kTimeParts; ++i) s += part[i] * kPartScale[i];
  return s % kSecondsPerDay;
}

}  // namespace

VLN_FUNC(date) { return set_dv(vln_today()); }

VLN_FUNC(time)
{
  struct tm now;
  if (!local_now(&now, nullptr)) return NULLSTR_VAR;
  char buf[kTimeText + 8];
  std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", now.tm_hour, now.tm_min, now.tm_sec);
  return text_result(buf, kTimeText);
}

VLN_FUNC(seconds)
{
  struct tm now;
  long ns = 0;
  if (!local_now(&now, &ns)) return ZERO_VAR;
  const double whole = now.tm_hour * kSecondsPerHour + now.tm_min * kSecondsPerMinute + now.tm_sec;
  const double hundredths = std::floor(static_cast<double>(ns) / 1e7);
  return set_nv(whole + hundredths / kHundredths, 2);
}

VLN_FUNC(year) { return set_nv(ymd_of(argc, argv).y, 0); }
VLN_FUNC(month) { return set_nv(ymd_of(argc, argv).m, 0); }
VLN_FUNC(day) { return set_nv(ymd_of(argc, argv).d, 0); }
VLN_FUNC(dow) { return set_nv(vln_dow(day_of(argc, argv)), 0); }

VLN_FUNC(cdow) { return text_of(vlnDayName(vln_dow(day_of(argc, argv)))); }
VLN_FUNC(cmonth) { return text_of(vlnMonthName(ymd_of(argc, argv).m)); }

namespace {

// The text form makes of a date argument; empty for anything else.
var* date_to_text(int argc, var** argv, const char* (*form)(int32_t))
{
  var* d = arg(argc, argv, 0);
  return d && d->Type == 'D' ? text_of(form(d->Value.w1.i)) : NULLSTR_VAR;
}

// The date read reads from a text argument; the empty date for anything else.
var* text_to_date(int argc, var** argv, int32_t (*read)(const char*))
{
  var* s = arg(argc, argv, 0);
  return is_text(s) ? set_dv(read(s->Value.w1.str)) : NULLDATE_VAR;
}

}  // namespace

VLN_FUNC(dtos) { return date_to_text(argc, argv, set_dat); }
VLN_FUNC(dtoc) { return date_to_text(argc, argv, vln_dtoc); }
VLN_FUNC(stod) { return text_to_date(argc, argv, get_dat); }
VLN_FUNC(ctod) { return text_to_date(argc, argv, vln_ctod); }

VLN_FUNC(elaptime)
{
  var* start = arg(argc, argv, 0);
  var* end = arg(argc, argv, 1);
  if (!is_text(start) || !is_text(end)) {
    report_pair_type("ELAPTIME", "'C, C'", start, end);
    return NULLSTR_VAR;
  }
  const long d = (seconds_of(text(end)) - seconds_of(text(start)) + kSecondsPerDay) % kSecondsPerDay;
  char buf[kTimeText + 8];
  std::snprintf(buf, sizeof buf, "%02ld:%02ld:%02ld", d / kPartScale[0], d % kPartScale[0] / kPartScale[1],
                d % kPartScale[1]);
  return text_result(buf, kTimeText);
}
