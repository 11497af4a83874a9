// langfile.cpp -- reading a language file into a language record.
//
// A language file is plain text.  A line starting with '#' is a comment and
// a line without any field is skipped.  "!! NAME" opens a section:
//
//   ALPHABET    one line per character in collating order (the first line
//               has rank 0): `char [upper [lower [classes]]]`, a character
//               written 'x', "x" or as a C number (decimal, 0octal, 0xhex);
//               classes are letters of A D X C S I P G U L;
//   DAYNAMES    seven names, Sunday first;
//   MONTHNAMES  twelve names, January first;
//   SCOREBOARD  the "Insert", "Range is" and "date not valid" texts;
//   DIR         the directory texts;
//   LOGICAL     the letters that mean true, then those that mean false.
//
// In the name sections the whole line, trimmed, is the text.  Lines are at
// most 511 characters; the rest of a longer line is ignored.
//
// The load works on a copy of the record and stores it only when the whole
// file was good, so a bad file leaves the record, and therefore the active
// language, exactly as it was.  As in every load, a character the file does
// not name keeps what the record gave it before; the names and texts are
// those of this file alone.
//
// No call here can leave by BREAK while it owns memory: the error is
// composed into a buffer, the line buffer freed, and only then reported.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "natlang.hpp"
#include "natlang_tables.hpp"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr size_t kMaxLine = 511;
constexpr int kMaxFields = 5;
constexpr int kMaxChars = 256;
constexpr int kMaxScoreLines = VLN_LANG_SCORE_SLOTS + 1;  // the 4th lands in DIR
constexpr int kMaxDirLines = VLN_LANG_DIR_SLOTS + 1;      // the 5th lands in LOGICAL
constexpr int kMaxLogicalLines = VLN_LANG_LOGICAL_SLOTS + 1;  // the 3rd is ignored
constexpr size_t kMessageSize = 600;

enum class Section { None, Alphabet, Days, Months, Score, Dir, Logical };

struct SectionName {
  const char* name;
  Section section;
};

constexpr SectionName kSections[] = {
    {"ALPHABET", Section::Alphabet}, {"DAYNAMES", Section::Days},
    {"MONTHNAMES", Section::Months}, {"SCOREBOARD", Section::Score},
    {"DIR", Section::Dir},           {"LOGICAL", Section::Logical}};

constexpr char kClassLetters[] = "ADXCSIPGUL";

// The fields of one line: at most five, each a view into the line.
struct Fields {
  const char* at[kMaxFields];
  size_t len[kMaxFields];
  int count = 0;
};

// The state of one load.  Plain data only (see the head of the file).
struct Loader {
  VlnLangRec rec;
  unsigned char alphabet[kMaxChars];  // the character at each rank
  int chars = 0;
  int used = 0;  // bytes of the text store taken
  int lines[7] = {};  // lines read per section
  Section section = Section::None;
  char error[kMessageSize] = {0};
};

bool quote(char c) { return c == '\'' || c == '"'; }

// Split a line into fields.  A quoted character ('x' or "x") is one field
// even when the character is a blank.
Fields split(const char* line)
{
  Fields f;
  const char* p = line;
  while (f.count < kMaxFields) {
    while (*p && std::isspace(static_cast<unsigned char>(*p))) ++p;
    if (!*p) break;
    const char* start = p;
    if (quote(p[0]) && p[1] && p[2] == p[0]) {
      p += 3;
    } else {
      while (*p && !std::isspace(static_cast<unsigned char>(*p))) ++p;
    }
    f.at[f.count] = start;
    f.len[f.count] = static_cast<size_t>(p - start);
    ++f.count;
  }
  return f;
}

// Copy field i into buf (size bytes), terminated.
const char* field(const Fields& f, int i, char* buf, size_t size)
{
  const size_t n = f.len[i] < size - 1 ? f.len[i] : size - 1;
  std::memcpy(buf, f.at[i], n);
  buf[n] = '\0';
  return buf;
}

bool fail(Loader& ld, const char* format, const char* arg = "")
{
  std::snprintf(ld.error, sizeof ld.error, format, arg);
  return false;
}

bool open_section(Loader& ld, const Fields& f)
{
  char name[kMaxLine + 1];
  field(f, 0, name, sizeof name);
  const char* wanted = name + 2;  // "!!NAME" or "!! NAME"
  if (!*wanted && f.count > 1) wanted = field(f, 1, name, sizeof name);
  for (const auto& s : kSections) {
    if (strcasecmp(wanted, s.name) == 0) {
      ld.section = s.section;
      return true;
    }
  }
  return fail(ld, "LOADLANG(): invalid section name '%s'", wanted);
}

// One ALPHABET line: the next rank goes to the character.
bool alphabet_line(Loader& ld, const Fields& f)
{
  if (ld.chars >= kMaxChars) return fail(ld, "LOADLANG(): too many characters names defined");
  char buf[kMaxLine + 1];
  int codes[3];
  const int nchars = f.count < 3 ? f.count : 3;
  for (int i = 0; i < nchars; ++i) {
    codes[i] = getchrcode(field(f, i, buf, sizeof buf));
    if (codes[i] < 0) return fail(ld, "LOADLANG(): does not describe a character '%s'", buf);
  }
  int32_t classes = 0;
  if (f.count > 3) {
    classes = getchrtypes(field(f, 3, buf, sizeof buf));
    if (classes < 0) return fail(ld, "LOADLANG(): does not describe character classes '%s'", buf);
  }
  const int c = codes[0];
  const auto rank = static_cast<unsigned char>(ld.chars++);
  ld.rec.collation[c] = rank;
  ld.alphabet[rank] = static_cast<unsigned char>(c);
  if (nchars > 1) ld.rec.upper[c] = static_cast<unsigned char>(codes[1]);
  if (nchars > 2) ld.rec.lower[c] = static_cast<unsigned char>(codes[2]);
  if (f.count > 3) ld.rec.classes[c] = static_cast<uint32_t>(classes);
  return true;
}

// Put text into the record's text store; null when it does not fit.
const char* store_text(Loader& ld, const char* text, size_t len)
{
  if (ld.used + len + 1 > VLN_LANG_TEXTSTORE) return nullptr;
  char* at = ld.rec.text + ld.used;
  std::memcpy(at, text, len);
  at[len] = '\0';
  ld.used += static_cast<int>(len + 1);
  return at;
}

// The slot a name line of the current section goes to; null when the line
// is to be ignored.  Sets the error when the section is full.
const char** name_slot(Loader& ld, int n)
{
  switch (ld.section) {
    case Section::Days:
      if (n < VLN_LANG_DAYS) return &ld.rec.daynames[n];
      fail(ld, "LOADLANG(): too many day names defined");
      return nullptr;
    case Section::Months:
      if (n < VLN_LANG_MONTHS) return &ld.rec.monthnames[n];
      fail(ld, "LOADLANG(): too many month names defined");
      return nullptr;
    case Section::Score:
      if (n < kMaxScoreLines) return &ld.rec.texts[n];
      fail(ld, "LOADLANG(): too many scoreboard messages defined");
      return nullptr;
    case Section::Dir:
      if (n < kMaxDirLines) return &ld.rec.texts[VLN_LANG_FIRST_DIR + n];
      fail(ld, "LOADLANG(): too many dir messages defined");
      return nullptr;
    default:  // LOGICAL
      if (n < VLN_LANG_LOGICAL_SLOTS) return &ld.rec.texts[VLN_LANG_FIRST_LOGICAL + n];
      if (n >= kMaxLogicalLines) fail(ld, "LOADLANG(): too many logical keycodes defined");
      return nullptr;
  }
}

bool name_line(Loader& ld, const char* line)
{
  while (std::isspace(static_cast<unsigned char>(*line))) ++line;
  size_t len = std::strlen(line);
  while (len > 0 && std::isspace(static_cast<unsigned char>(line[len - 1]))) --len;
  int& n = ld.lines[static_cast<int>(ld.section)];
  const char** slot = name_slot(ld, n++);
  if (!slot) return ld.error[0] == '\0';
  const char* text = store_text(ld, line, len);
  if (!text) return fail(ld, "LOADLANG(): description too long (512 bytes max)");
  *slot = text;
  return true;
}

bool take_line(Loader& ld, const char* line)
{
  if (line[0] == '#') return true;
  const Fields f = split(line);
  if (f.count == 0) return true;
  if (f.len[0] >= 2 && f.at[0][0] == '!' && f.at[0][1] == '!') return open_section(ld, f);
  if (ld.section == Section::None)
    return fail(ld, "LOADLANG(): section should be declared before data");
  if (ld.section == Section::Alphabet) return alphabet_line(ld, f);
  return name_line(ld, line);
}

// Read the stream line by line into the loader; false with the error set.
bool read_file(Loader& ld, FILE* stream)
{
  char* line = nullptr;
  size_t cap = 0;
  bool good = true;
  ssize_t got;
  while (good && (got = getline(&line, &cap, stream)) >= 0) {
    size_t len = static_cast<size_t>(got);
    if (len > kMaxLine) len = kMaxLine;
    while (len > 0 && (line[len - 1] == '\n' || line[len - 1] == '\r')) --len;
    line[len] = '\0';
    good = take_line(ld, line);
  }
  std::free(line);
  return good;
}

// Point a text of the working copy at the same place in the target store.
const char* rebase(const char* p, const VlnLangRec& from, VlnLangRec& to)
{
  return p ? to.text + (p - from.text) : nullptr;
}

void commit(const Loader& ld, VlnLangRec& target)
{
  const VlnLangRec& w = ld.rec;
  target = w;
  for (int c = 0; c < kMaxChars; ++c) target.canonical[c] = ld.alphabet[w.collation[c]];
  for (int i = 0; i < VLN_LANG_DAYS; ++i) target.daynames[i] = rebase(w.daynames[i], w, target);
  for (int i = 0; i < VLN_LANG_MONTHS; ++i)
    target.monthnames[i] = rebase(w.monthnames[i], w, target);
  for (int i = 0; i < VLN_LANG_TEXT_SLOTS; ++i) target.texts[i] = rebase(w.texts[i], w, target);
  target.loaded = 1;
}

// Start from the record's tables, with no texts.
void begin(Loader& ld, const VlnLangRec& from)
{
  ld.rec = from;
  std::memset(ld.rec.text, 0, sizeof ld.rec.text);
  for (auto& p : ld.rec.daynames) p = nullptr;
  for (auto& p : ld.rec.monthnames) p = nullptr;
  for (auto& p : ld.rec.texts) p = nullptr;
  std::memcpy(ld.alphabet, from.canonical, sizeof ld.alphabet);
}

}  // namespace

namespace vl {

int getchrcode(const char* text)
{
  if (!text || !*text) return -1;
  if (quote(text[0])) return text[1] ? static_cast<unsigned char>(text[1]) : -1;
  char* end = nullptr;
  const long v = std::strtol(text, &end, 0);
  if (end == text || *end != '\0' || v < 0 || v >= kMaxChars) return -1;
  return static_cast<int>(v);
}

int32_t getchrtypes(const char* text)
{
  int32_t word = 0;
  for (const char* p = text; *p; ++p) {
    const char* at = std::strchr(kClassLetters, std::toupper(static_cast<unsigned char>(*p)));
    if (!at) return -1;
    word |= int32_t{1} << (at - kClassLetters);
  }
  return word;
}

int _loadlang(int index, FILE* stream)
{
  if (index < 0 || index >= VLN_LANGUAGES || !stream) return 0;
  static Loader ld;  // a few kilobytes: kept off the stack
  ld = Loader{};
  begin(ld, languages[index]);
  if (!read_file(ld, stream)) {
    rt_error(VL_E_ILLEGAL_VALUE, ld.error);
    return 0;
  }
  commit(ld, languages[index]);
  // The logical letters of the active language point into its text store.
  if (curr_lang == index) vlnSelectLanguage(index + 1);
  return 1;
}

}  // namespace vl
