// dates_format.cpp -- dates as text in the SET DATE format: DTOC's and
// CTOD's conversions and the check of a format text.
//
// A format is read over its first 15 characters.  The first group (a run of
// one letter, in either case) of D, of M and of Y stands for the day, the
// month and the year; every other character, including a later group of a
// letter already used, is copied as it stands.  A group writes its number
// with leading zeros at the group's width; a year group of one or two
// letters writes the year within its century, and any one-letter group
// keeps only the last digit.  A year keeps its last four digits, so that a
// day number no date may hold (beyond 9999-12-31) cannot widen the text.
//
// Reading ignores the format's separators: the text is split at any of
// "/.- " and the parts are taken in the order of the format's groups, at
// most 2 digits for day and month and 4 for the year; a year below 100 is
// completed by SET EPOCH.  A text with fewer parts than the format is the
// empty date.
//
// The parsed form of the current format is cached and re-parsed only when
// SET DATE or SET CENTURY has changed the format text.
#include <cctype>
#include <cstring>

#include "dates.hpp"
#include "numbers.h"
#include "switches.h"

using namespace vl;

namespace {

enum Part { kDay, kMonth, kYear, kParts };

constexpr char kPartLetters[kParts + 1] = "DMY";
constexpr int kMaxDigits[kParts] = {2, 2, 4};
constexpr const char* kSeparators = "/.- ";
constexpr int kShortYear = 2;
constexpr int kLongYear = 4;
constexpr int kDayMonthWidth = 2;
constexpr int kYearDigits = 10000;
constexpr size_t kOutSize = 64;  // 15 characters, each group at most 10 digits

// Which part a format character stands for, or -1.
int part_of(char c)
{
  const char* at = std::strchr(kPartLetters, std::toupper(static_cast<unsigned char>(c)));
  return c && at ? static_cast<int>(at - kPartLetters) : -1;
}

// A parsed format: its text and the first group of each part.
struct Form {
  char text[VLN_DATEFORMAT_LEN + 1] = {0};
  int start[kParts] = {-1, -1, -1};
  int width[kParts] = {0, 0, 0};
  int order[kParts] = {0, 0, 0};  // parts by place in the format
  int parts = 0;
};

Form parse(const char* format)
{
  Form f;
  std::strncpy(f.text, format, VLN_DATEFORMAT_LEN);
  for (int i = 0; f.text[i];) {
    const int p = part_of(f.text[i]);
    int w = 1;
    while (f.text[i + w] && std::toupper(static_cast<unsigned char>(f.text[i + w])) ==
                                std::toupper(static_cast<unsigned char>(f.text[i])))
      ++w;
    if (p >= 0 && f.start[p] < 0) {
      f.start[p] = i;
      f.width[p] = w;
      f.order[f.parts++] = p;
    }
    i += w;
  }
  return f;
}

// The form of the current SET DATE format.
const Form& current()
{
  static Form cached = parse(vlnGetDateFormat());
  const char* now = vlnGetDateFormat();
  if (std::strncmp(cached.text, now, VLN_DATEFORMAT_LEN) != 0) cached = parse(now);
  return cached;
}

// Write v with leading zeros to at least w digits; returns the length.
int write_number(char* out, size_t room, unsigned v, int w)
{
  char digits[16];
  int n = 0;
  do {
    digits[n++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v > 0);
  while (n < w && n < static_cast<int>(sizeof digits)) digits[n++] = '0';
  if (static_cast<size_t>(n) >= room) return 0;
  for (int i = 0; i < n; ++i) out[i] = digits[n - 1 - i];
  return n;
}

// Write value v of part p in a group of width w at out; returns the
// characters written.
int write_part(char* out, size_t room, int p, int v, int w)
{
  if (p == kYear) v %= w <= kShortYear ? 100 : kYearDigits;
  if (w == 1) v %= 10;
  return write_number(out, room, static_cast<unsigned>(v), w);
}

const char* write_date(const Form& f, const int value[kParts])
{
  static char out[kOutSize];
  size_t n = 0;
  for (int i = 0; f.text[i] && n < kOutSize - 1;) {
    const int p = part_of(f.text[i]);
    if (p >= 0 && f.start[p] == i) {
      n += static_cast<size_t>(write_part(out + n, kOutSize - n, p, value[p], f.width[p]));
      i += f.width[p];
    } else {
      out[n++] = f.text[i++];
    }
  }
  out[n < kOutSize ? n : kOutSize - 1] = '\0';
  return out;
}

// The empty date: the format with its letters as blanks.
const char* write_empty(const Form& f)
{
  static char out[VLN_DATEFORMAT_LEN + 1];
  size_t i = 0;
  for (; f.text[i]; ++i) out[i] = part_of(f.text[i]) >= 0 ? ' ' : f.text[i];
  out[i] = '\0';
  return out;
}

const char* dtoc(const Form& f, int32_t n)
{
  if (n <= 0) return write_empty(f);
  int value[kParts];
  intodat(n, &value[kDay], &value[kMonth], &value[kYear]);
  return write_date(f, value);
}

// The number of at most max digits at the start of [p, end).
int leading_number(const char* p, const char* end, int max)
{
  int v = 0;
  for (int i = 0; i < max && p + i < end && std::isdigit(static_cast<unsigned char>(p[i])); ++i)
    v = v * 10 + (p[i] - '0');
  return v;
}

// The next part of text between separators; false when none is left.
bool next_token(const char*& p, const char* end, const char*& tok, const char*& tok_end)
{
  while (p < end && std::strchr(kSeparators, *p)) ++p;
  if (p >= end) return false;
  tok = p;
  while (p < end && !std::strchr(kSeparators, *p)) ++p;
  tok_end = p;
  return true;
}

int32_t ctod(const Form& f, const char* text, int epoch)
{
  const char* end = text + std::strlen(text);
  int value[kParts] = {0, 0, 0};
  const char* p = text;
  for (int k = 0; k < f.parts; ++k) {
    const char *tok, *tok_end;
    if (!next_token(p, end, tok, tok_end)) return 0;  // a part is missing
    value[f.order[k]] = leading_number(tok, tok_end, kMaxDigits[f.order[k]]);
  }
  return datoint(value[kDay], value[kMonth], vln_epocnv_at(value[kYear], epoch));
}

// ---- Checking a format. ----

enum Grade { kGood = 0, kPartMissing = 1, kOddGroup = 2, kUnusable = 3 };

bool width_ok(int p, int w)
{
  return p == kYear ? (w == kShortYear || w == kLongYear) : w == kDayMonthWidth;
}

// Grade a normal (upper-case) format.
Grade grade(const char* fmt)
{
  int groups[kParts] = {0, 0, 0};
  bool odd = false;
  for (const char* q = fmt; *q;) {
    const char c = *q;
    const int p = part_of(c);
    int w = 0;
    while (*q == c) ++q, ++w;
    if (p < 0) {
      odd = odd || std::isalpha(static_cast<unsigned char>(c)) || std::isdigit(static_cast<unsigned char>(c));
      continue;
    }
    odd = odd || groups[p] > 0 || !width_ok(p, w);
    ++groups[p];
  }
  const int parts = (groups[kDay] > 0) + (groups[kMonth] > 0) + (groups[kYear] > 0);
  if (parts == 0) return kUnusable;
  if (parts < kParts) return kPartMissing;
  return odd ? kOddGroup : kGood;
}

// The last format checked, with its order letters and picture.
struct Checked {
  bool valid = false;
  char buff[VLN_DATEFORMAT_LEN + 1] = {0};
  char dmy[kParts + 1] = {0};
  char pict[VLN_DATEFORMAT_LEN + 1] = {0};
};

Checked checked;

void keep_checked(const char* normal)
{
  std::strcpy(checked.buff, normal);
  const Form f = parse(normal);
  for (int k = 0; k < f.parts; ++k) checked.dmy[k] = kPartLetters[f.order[k]];
  checked.dmy[f.parts] = '\0';
  size_t i = 0;
  for (; normal[i]; ++i) {
    const int p = part_of(normal[i]);
    checked.pict[i] = p >= 0 ? static_cast<char>(VLN_PICT_DAY + p) : normal[i];
  }
  checked.pict[i] = '\0';
  checked.valid = true;
}

const Checked& last_checked()
{
  if (!checked.valid) vln_chk_dateform(vlnGetDateFormat());
  return checked;
}

}  // namespace

extern "C" {

int32_t vln_ctod_form(const char* text, const char* format, int epoch)
{
  return ctod(parse(format), text, epoch);
}

const char* vln_dtoc_form(int32_t n, const char* format) { return dtoc(parse(format), n); }

int32_t vln_ctod(const char* text) { return ctod(current(), text, vlnGetEpoch()); }

const char* vln_dtoc(int32_t n) { return dtoc(current(), n); }

}  // extern "C"

namespace vl {

const char* form_date(int d, int m, int y)
{
  const int value[kParts] = {d, m, y};
  return write_date(current(), value);
}

}  // namespace vl

extern "C" {

int vln_chk_dateform(const char* text)
{
  if (!text) return kUnusable;
  size_t n = std::strlen(text);
  while (n > 0 && text[n - 1] == ' ') --n;
  if (n == 0 || n > VLN_DATEFORMAT_LEN) return kUnusable;
  char normal[VLN_DATEFORMAT_LEN + 1];
  for (size_t i = 0; i < n; ++i)
    normal[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
  normal[n] = '\0';
  const Grade g = grade(normal);
  if (g != kUnusable) keep_checked(normal);
  return g;
}

const char* vln_get_d_buff(void) { return last_checked().buff; }
const char* vln_get_d_dmy(void) { return last_checked().dmy; }
const char* vln_get_d_pict(void) { return last_checked().pict; }

}  // extern "C"
