// natlang.cpp -- the language records, the active language, case folding,
// character classes and the national texts (day and month names).
#include "natlang.hpp"

#include <cstring>

#include "kernel.h"
#include "natlang_tables.hpp"

namespace vl {

VlnLangRec languages[VLN_LANGUAGES];
int32_t curr_lang = -1;
const char* logical_t = "TtYy";
const char* logical_f = "FfNn";

}  // namespace vl

namespace vl::lang {

void reset_record(VlnLangRec& rec)
{
  std::memcpy(rec.collation, kC.identity.data(), sizeof rec.collation);
  std::memcpy(rec.canonical, kC.identity.data(), sizeof rec.canonical);
  std::memcpy(rec.upper, kC.upper.data(), sizeof rec.upper);
  std::memcpy(rec.lower, kC.lower.data(), sizeof rec.lower);
  std::memcpy(rec.classes, kC.classes.data(), sizeof rec.classes);
  std::memset(rec.text, 0, sizeof rec.text);
  for (auto& p : rec.daynames) p = nullptr;
  for (auto& p : rec.monthnames) p = nullptr;
  for (auto& p : rec.texts) p = nullptr;
  rec.loaded = 0;
}

namespace {

constexpr const char* kTrueLetters = "TtYy";
constexpr const char* kFalseLetters = "FfNn";

// A record's logical letters, or the built-in ones where it names none.
void take_logical_letters(const VlnLangRec* rec)
{
  const char* t = rec ? rec->texts[VLN_LANG_FIRST_LOGICAL] : nullptr;
  const char* f = rec ? rec->texts[VLN_LANG_FIRST_LOGICAL + 1] : nullptr;
  logical_t = t ? t : kTrueLetters;
  logical_f = f ? f : kFalseLetters;
}

bool has_class(int c, uint32_t bit) { return (active().classes[c & 0xFF] & bit) != 0; }

}  // namespace

}  // namespace vl::lang

using namespace vl;
using namespace vl::lang;

extern "C" {

void init_lang(void)
{
  for (auto& rec : languages) reset_record(rec);
  curr_lang = -1;
  take_logical_letters(nullptr);
}

// The national tables come first at start-up: the error table and the
// screen may use them.
VLN_INIT(lang, 0) { init_lang(); }

int vlnSelectLanguage(int n)
{
  if (n < 0 || n > VLN_LANGUAGES) return -1;
  if (n == 0) {
    curr_lang = -1;
    take_logical_letters(nullptr);
    return 0;
  }
  if (!languages[n - 1].loaded) return -2;
  curr_lang = n - 1;
  take_logical_letters(&languages[curr_lang]);
  return 0;
}

int vlnGetCurLang(void) { return curr_lang; }

const unsigned char* vlnGetLangChars(void) { return active().rank; }

}  // extern "C"

namespace vl {

int Itoupper(int c) { return active().upper[c & 0xFF]; }
int Itolower(int c) { return active().lower[c & 0xFF]; }

void Itoupr_str(char* s, int32_t n)
{
  const unsigned char* map = active().upper;
  for (int32_t i = 0; i < n; ++i) s[i] = static_cast<char>(map[static_cast<unsigned char>(s[i])]);
}

void Itolow_str(char* s, int32_t n)
{
  const unsigned char* map = active().lower;
  for (int32_t i = 0; i < n; ++i) s[i] = static_cast<char>(map[static_cast<unsigned char>(s[i])]);
}

int Islower(int c) { return has_class(c, VLN_CL_LOWER); }
int Isupper(int c) { return has_class(c, VLN_CL_UPPER); }
int Isprintable(int c) { return has_class(c, VLN_CL_PRINT); }
int Isalpha(int c) { return has_class(c, VLN_CL_ALPHA); }
int Isdigit(int c) { return has_class(c, VLN_CL_DIGIT); }
int Isspace(int c) { return has_class(c, VLN_CL_SPACE); }

}  // namespace vl

// The national texts: day and month names and the
// scoreboard texts, from the active language where it names them, else
// the built-in English ones.
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
