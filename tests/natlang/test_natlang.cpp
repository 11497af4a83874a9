// National language: loading language files, the active language, the
// compare family, case and classes, names, and malformed files.
#include <algorithm>
#include <clocale>
#include <fstream>
#include <string>
#include <vector>

#include "natlang.hpp"
#include "set.hpp"
#include "stringsfn.h"
#include "vltest.h"

using namespace vl;
using vltest::expect_rows;
using vltest::str;

namespace {

#define LANG_DIR VL_SOURCE_DIR "/data/lang/"

class NatLang : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    init_lang();
  }
  void TearDown() override
  {
    init_lang();
    VlTest::TearDown();
  }

  // LOADLANG(n, file) as a logical.
  bool load(int n, const std::string& file)
  {
    return VINT(vl_call(_bb_loadlang, {set_nv(n, 0), set_cv(file.c_str())})) != 0;
  }
  // SETLANG(n): the former number.
  var* setlang(int n) { return vl_call(_bb_setlang, {set_nv(n, 0)}); }

  // A language file with the given text.
  std::string temp_file(const std::string& text)
  {
    const std::string name = "lang" + std::to_string(files_++);
    dir_.write(name, text);
    return dir_ / name;
  }

  // Whether loading a malformed file into slot 2 fails and reports 320 with says.
  bool refused(const std::string& text, const std::string& says)
  {
    reports().clear();
    EXPECT_FALSE(load(2, temp_file(text)));
    EXPECT_FALSE(languages[1].loaded);
    return reported(320, says);
  }

  // words sorted by Istrcmp_n as a strict order.
  static std::vector<std::string> sorted(std::vector<std::string> words)
  {
    std::stable_sort(words.begin(), words.end(), [](const std::string& a, const std::string& b) {
      return Istrcmp_n(a.data(), b.data(), static_cast<int32_t>(a.size()),
                       static_cast<int32_t>(b.size())) < 0;
    });
    return words;
  }

  vltest::TempDir dir_;
  int files_ = 0;
};

// Words in ISO-8859-1.
const std::string kApfel = "Apfel", kApple = "apple", kAepfel = "\xC4pfel",
                  kAehnlich = "\xE4hnlich", kBanana = "Banana", kOl = "Ol", kOel = "\xD6l",
                  kZebra = "Zebra";
const std::vector<std::string> kWords = {kZebra, kOel, kAehnlich, kBanana, kAepfel, kOl, kApple, kApfel};

TEST_F(NatLang, SortingFollowsTheLanguageFile)
{
  using V = std::vector<std::string>;
  _cgetseton(1, 1);  // EXACT ON: a strict order
  // No language: byte order, every accented letter after "z".
  EXPECT_EQ(sorted(kWords), (V{kApfel, kBanana, kOl, kZebra, kApple, kAepfel, kOel, kAehnlich}));
  ASSERT_TRUE(load(1, LANG_DIR "latin1.lng"));
  ASSERT_TRUE(load(2, LANG_DIR "svenska.lng"));
  EXPECT_EQ(VDBL(setlang(1)), 0);
  // Western: accented letters right after their base letter.
  EXPECT_EQ(sorted(kWords), (V{kApfel, kApple, kAepfel, kAehnlich, kBanana, kOl, kOel, kZebra}));
  EXPECT_EQ(VDBL(setlang(2)), 1);
  // Swedish: Ä and Ö are letters of their own after Z.
  EXPECT_EQ(sorted(kWords), (V{kApfel, kApple, kBanana, kOl, kZebra, kAepfel, kAehnlich, kOel}));
  EXPECT_EQ(VDBL(setlang(0)), 2);
  EXPECT_EQ(sorted(kWords), (V{kApfel, kBanana, kOl, kZebra, kApple, kAepfel, kOel, kAehnlich}));
  EXPECT_TRUE(reports().empty());
}

TEST_F(NatLang, EqualsRulesWithExactOffAndOn)
{
  for (int lang : {0, 1}) {
    if (lang) {
      ASSERT_TRUE(load(1, LANG_DIR "latin1.lng"));
      setlang(1);
    }
    SCOPED_TRACE(lang);
    _cgetseton(0, 1);  // EXACT OFF
    EXPECT_EQ(Istrcmp_n("", "", 0, 0), 0);
    EXPECT_EQ(Istrcmp_n("abc", "", 3, 0), 0);    // anything equals an empty right side
    EXPECT_LT(Istrcmp_n("", "abc", 0, 3), 0);    // but not the other way round
    EXPECT_EQ(Istrcmp_n("abc", "ab", 3, 2), 0);  // a longer left side equals its prefix
    EXPECT_LT(Istrcmp_n("ab", "abc", 2, 3), 0);
    EXPECT_EQ(Istrcmp_n("abc ", "abc", 4, 3), 0);
    EXPECT_LT(Istrcmp_n("abc", "abc ", 3, 4), 0);
    EXPECT_LT(Istrcmp_n("", "\0x", 0, 2), 0);  // a right character of rank 0 still gives -1
    EXPECT_GT(Istrcmp_n("abd", "abc", 3, 3), 0);
    EXPECT_EQ(Istrcmp("abc", ""), 0);
    EXPECT_EQ(Istrcmp("abcd", "abc"), 0);
    EXPECT_LT(Istrcmp("ab", "abc"), 0);
    _cgetseton(1, 1);  // EXACT ON
    EXPECT_EQ(Istrcmp_n("abc  ", "abc", 5, 3), 0);
    EXPECT_EQ(Istrcmp_n("abc", "abc   ", 3, 6), 0);
    EXPECT_GT(Istrcmp_n("abc", "ab", 3, 2), 0);
    EXPECT_LT(Istrcmp_n("ab", "abc", 2, 3), 0);
    EXPECT_GT(Istrcmp_n("abc", "", 3, 0), 0);
    EXPECT_EQ(Istrcmp_n("   ", "", 3, 0), 0);
    EXPECT_EQ(Istrcmp("abc  ", "abc"), 0);
    EXPECT_GT(Istrcmp("abcd", "abc"), 0);
    // Negative lengths count as empty texts.
    EXPECT_EQ(Istrcmp_n("abc", "abc", -4, -9), 0);
  }
}

TEST_F(NatLang, RankThirtyTwoIsTheBlankWithExactOn)
{
  // A language whose rank 32 is the underscore: it trims like a blank.
  std::string file = "!! ALPHABET\n";
  for (int c = 0; c < 32; ++c) file += std::to_string(c) + "\n";
  file += "'_'\n' '\n";
  ASSERT_TRUE(load(4, temp_file(file)));
  setlang(4);
  _cgetseton(1, 1);
  EXPECT_EQ(Istrcmp_n("ab__", "ab", 4, 2), 0);
  EXPECT_NE(Istrcmp_n("ab  ", "ab", 4, 2), 0);  // the blank now has rank 33
  // '!' was not named: it shares rank 33 with the blank, its canonical form.
  EXPECT_EQ(languages[3].canonical[static_cast<unsigned char>('!')], ' ');
}

TEST_F(NatLang, CountedAndStoppingCompares)
{
  ASSERT_TRUE(load(1, LANG_DIR "latin1.lng"));
  for (int lang : {0, 1}) {
    setlang(lang);
    SCOPED_TRACE(lang);
    EXPECT_LT(IStrNECmp("a\0b", "a\0c", 3), 0);  // index keys: every byte counts
    EXPECT_EQ(IStrNECmp("abc", "abd", 0), 0);
    EXPECT_EQ(Istrncmp("a\0b", "a\0c", 3), 0);   // stops at the terminator
    EXPECT_LT(Istrncmp("ab", "abc", 3), 0);
    EXPECT_EQ(Istrncmp("abc", "abd", 2), 0);
    EXPECT_EQ(Istrnicmp("HeLLo", "hello", 5), 0);
    EXPECT_GT(Istrnicmp("b", "A", 1), 0);
  }
  setlang(1);
  EXPECT_EQ(Istrnicmp("\xE4rger", "\xC4RGER", 5), 0);  // folded by the language
  setlang(0);
  EXPECT_NE(Istrnicmp("\xE4rger", "\xC4RGER", 5), 0);
}

TEST_F(NatLang, CaseAndClassesFollowTheLanguageNotTheLocale)
{
  // The C tables are fixed: a locale that knows the accented letters
  // changes nothing.
  const char* old = std::setlocale(LC_ALL, nullptr);
  const std::string saved = old ? old : "C";
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  EXPECT_EQ(Itoupper(0xE4), 0xE4);
  EXPECT_EQ(Itoupper('a'), 'A');
  EXPECT_EQ(Itolower('Q'), 'q');
  EXPECT_EQ(Itoupper(0x161), 'a' - 0x20);  // masked to 8 bits
  EXPECT_FALSE(Isalpha(0xE4));
  EXPECT_TRUE(Isprintable(' '));
  EXPECT_TRUE(Isprintable('\t'));
  EXPECT_FALSE(Isprintable('\n'));
  EXPECT_TRUE(Isspace('\n'));
  EXPECT_TRUE(Isdigit('7'));
  EXPECT_FALSE(Isdigit('x'));
  std::setlocale(LC_ALL, saved.c_str());

  ASSERT_TRUE(load(1, LANG_DIR "latin1.lng"));
  setlang(1);
  EXPECT_EQ(Itoupper(0xE4), 0xC4);
  EXPECT_EQ(Itolower(0xD6), 0xF6);
  EXPECT_EQ(Itoupper(0xDF), 0xDF);  // sharp s has no capital here
  EXPECT_TRUE(Isalpha(0xE4));
  EXPECT_TRUE(Islower(0xE4));
  EXPECT_TRUE(Isupper(0xC4));
  EXPECT_FALSE(Isalpha(0xD7));  // the multiplication sign
  char text[] = "gr\xFC\xDF" "e \xE0 la";
  Itoupr_str(text, 10);
  EXPECT_STREQ(text, "GR\xDC\xDF" "E \xC0 LA");
  Itolow_str(text, 10);
  EXPECT_STREQ(text, "gr\xFC\xDF" "e \xE0 la");
  expect_rows({{"{LOWER('\xC4" "BC'), ISALPHA('\xE9t\xE9'), ISUPPER('\xC9'), ISLOWER('\xC9'), "
                "ISDIGIT(''), ISDIGIT(5)}",
                "{\xE4" "bc, .T., .T., .F., .F., .F.}"}});
  EXPECT_NE(vlnGetLangChars()[0xC4], 0xC4);
  setlang(0);
  EXPECT_EQ(vlnGetLangChars()[0xC4], 0xC4);
}

TEST_F(NatLang, LoadingSettingAndNames)
{
  expect_rows({
      {"SETLANG()", "0"},
      {"{_LANGNAMES(1), _LANGNAMES(2), _LANGNAMES(3), _LANGNAMES(4)}",
       "{Insert, Range is, date not valid, }"},
      {"LOADLANG(3, '" LANG_DIR "deutsch.lng')", ".T."},
      {"SETLANG()", "0"},  // loading does not activate
      {"SETLANG(3)", "0"},
      {"SETLANG()", "3"},
      {"SETLANG(11)", "#313 ERROR"},
      {"SETLANG(-1)", "#313 ERROR"},
      {"SETLANG(5)", "#320 ERROR"},  // not loaded
      {"SETLANG('1')", "#312 ERROR"},
      {"SETLANG()", "3"},  // none of the refusals changed the language
      {"{_LANGNAMES(1), _LANGNAMES(3)}", "{Einfg, Datum ung\xFCltig}"},
      {"LOADLANG()", ".F."},
      {"LOADLANG('1', 'x')", "#312 .F."},
      {"LOADLANG(1, 1)", "#312 .F."},
      {"LOADLANG(11, '" LANG_DIR "latin1.lng')", "#313 .F."},
      {"LOADLANG(1, '/nonexistent/none.lng')", "#323 .F."},
  });
  EXPECT_STREQ(vlnDayName(4), "Mittwoch");
  EXPECT_STREQ(vlnMonthName(3), "M\xE4rz");
  EXPECT_STREQ(languages[2].texts[VLN_LANG_FIRST_DIR + 1], "Keine");
  EXPECT_EQ(curr_lang, 2);
  EXPECT_STREQ(logical_t, "TtJjYy");
  EXPECT_STREQ(logical_f, "FfNn");
  EXPECT_EQ(VDBL(setlang(0)), 3);
  EXPECT_EQ(vlnGetCurLang(), -1);
  EXPECT_STREQ(logical_t, "TtYy");
  EXPECT_STREQ(vlnDayName(1), "Sunday");
  EXPECT_STREQ(vlnMonthName(13), "");
  vl_call(_bb_setlang, {set_nv(11, 0)});
  EXPECT_TRUE(reported(313, "SETLANG() requires numeric argument in the range 0 to 10"));
}

TEST_F(NatLang, MalformedFilesAreRefusedWithAClearMessage)
{
  EXPECT_TRUE(refused("'a' 'A' 'a' AL\n", "LOADLANG(): section should be declared before data"));
  EXPECT_TRUE(refused("!! ALPHABETS\n", "LOADLANG(): invalid section name 'ALPHABETS'"));
  EXPECT_TRUE(refused("!! ALPHABET\n0x1FF\n", "LOADLANG(): does not describe a character '0x1FF'"));
  EXPECT_TRUE(refused("!! ALPHABET\n'a' 12x\n", "LOADLANG(): does not describe a character '12x'"));
  EXPECT_TRUE(refused("!! ALPHABET\n'a' 'A' 'a' AQ\n", "character classes 'AQ'"));
  EXPECT_TRUE(refused("!!DAYNAMES\n1\n2\n3\n4\n5\n6\n7\n8\n", "LOADLANG(): too many day names defined"));
  EXPECT_TRUE(refused("!! MONTHNAMES\n1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n13\n",
                      "LOADLANG(): too many month names defined"));
  EXPECT_TRUE(refused("!! SCOREBOARD\na\nb\nc\nd\ne\n", "LOADLANG(): too many scoreboard messages defined"));
  EXPECT_TRUE(refused("!! DIR\na\nb\nc\nd\ne\nf\n", "LOADLANG(): too many dir messages defined"));
  EXPECT_TRUE(refused("!! LOGICAL\nYy\nNn\nxx\nzz\n", "LOADLANG(): too many logical keycodes defined"));
  EXPECT_TRUE(refused("!! DIR\n" + std::string(300, 'x') + "\n" + std::string(300, 'y') + "\n",
                      "LOADLANG(): description too long (512 bytes max)"));
  std::string alphabet = "!! ALPHABET\n";
  for (int i = 0; i < 257; ++i) alphabet += std::to_string(i % 256) + "\n";
  EXPECT_TRUE(refused(alphabet, "LOADLANG(): too many characters names defined"));
  alphabet.resize(alphabet.rfind('\n', alphabet.size() - 2) + 1);  // 256 lines are fine
  EXPECT_TRUE(load(2, temp_file(alphabet)));
}

TEST_F(NatLang, ABadFileLeavesTheActiveLanguageAsItWas)
{
  ASSERT_TRUE(load(1, LANG_DIR "deutsch.lng"));
  setlang(1);
  // Reloading the active record from a file that breaks half way.
  const std::string broken = "!! ALPHABET\n0xE4 'x' 'y' D\n!! DAYNAMES\nEins\n!! NONSENSE\n";
  EXPECT_FALSE(load(1, temp_file(broken)));
  EXPECT_EQ(last_code(), 320);
  EXPECT_EQ(curr_lang, 0);
  EXPECT_TRUE(languages[0].loaded);
  EXPECT_EQ(Itoupper(0xE4), 0xC4);
  EXPECT_TRUE(Isalpha(0xE4));
  EXPECT_STREQ(vlnDayName(1), "Sonntag");
  EXPECT_STREQ(logical_t, "TtJjYy");
}

TEST_F(NatLang, FileDetails)
{
  // Comments, blank lines, quoted blanks, numbers in every base, a line
  // without its classes, overflow slots and the ignored third logical line.
  const std::string file =
      "# a comment\n"
      "\n"
      "   \n"
      "!!ALPHABET\n"
      "' ' ' ' ' ' SP\n"
      "\"'\" \"'\" \"'\" PG\n"
      "0101 0x41 97 AUPG\n"
      "'b'\n"
      "!! SCOREBOARD\n"
      "  Ins  \n"
      "Range\n"
      "bad date\n"
      "fourth\n"
      "!! LOGICAL\n"
      "Oo\n"
      "Nn\n"
      "ignored\n";
  ASSERT_TRUE(load(5, temp_file(file)));
  const VlnLangRec& rec = languages[4];
  EXPECT_EQ(rec.collation[static_cast<unsigned char>(' ')], 0);
  EXPECT_EQ(rec.collation[static_cast<unsigned char>('\'')], 1);
  EXPECT_EQ(rec.collation['A'], 2);
  EXPECT_EQ(rec.lower['A'], 'a');
  EXPECT_EQ(rec.collation['b'], 3);
  EXPECT_EQ(rec.upper['b'], 'B');  // not named: kept from the C tables
  EXPECT_EQ(rec.classes[' '], static_cast<uint32_t>(VLN_CL_SPACE | VLN_CL_PRINT));
  EXPECT_EQ(rec.canonical[2], 'A');
  EXPECT_STREQ(rec.texts[0], "Ins");
  EXPECT_STREQ(rec.texts[VLN_LANG_FIRST_DIR], "fourth");
  setlang(5);
  EXPECT_STREQ(logical_t, "Oo");
  EXPECT_STREQ(logical_f, "Nn");
  EXPECT_STREQ(vlnDayName(2), "Monday");  // no names: the built-in ones
  EXPECT_EQ(getchrcode("'"), -1);
  EXPECT_EQ(getchrcode(""), -1);
  EXPECT_EQ(getchrcode("255"), 255);
  EXPECT_EQ(getchrcode("256"), -1);
  EXPECT_EQ(getchrtypes("adxcsipgul"), 1023);
}

}  // namespace
