// natlang_names.cpp -- the national texts: day and month names and the
// scoreboard texts, from the active language where it names them, else
// the built-in English ones.
#include "natlang.h"
#include "natlang_tables.hpp"

namespace {

constexpr const char* kDays[VLN_LANG_DAYS] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                              "Thursday", "Friday", "Saturday"};
constexpr const char* kMonths[VLN_LANG_MONTHS] = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr const char* kScore[VLN_LANG_SCORE_SLOTS] = {"Insert", "Range is", "date not valid"};

// The language's text when it names one, else the built-in one.
const char* pick(const char* national, const char* builtin)
{
  return national ? national : builtin;
}

}  // namespace

extern "C" {

const char* vlnDayName(int dow)
{
  if (dow < 1 || dow > VLN_LANG_DAYS) return "";
  const VlnLangRec* rec = vl::lang::active_record();
  return pick(rec ? rec->daynames[dow - 1] : nullptr, kDays[dow - 1]);
}

const char* vlnMonthName(int m)
{
  if (m < 1 || m > VLN_LANG_MONTHS) return "";
  const VlnLangRec* rec = vl::lang::active_record();
  return pick(rec ? rec->monthnames[m - 1] : nullptr, kMonths[m - 1]);
}

const char* vlnScoreText(int n)
{
  if (n < 1 || n > VLN_LANG_SCORE_SLOTS) return "";
  const VlnLangRec* rec = vl::lang::active_record();
  return pick(rec ? rec->texts[n - 1] : nullptr, kScore[n - 1]);
}

}  // extern "C"
