// String functions: positions and counts at and beyond the edges, NUL
// bytes inside texts, wrong kinds, and counts too large to build.
#include "stringsfn.hpp"
#include "vltest.h"

using vltest::expect_rows;

using namespace vl;

namespace {

class Strings : public vltest::VlTest {};

TEST_F(Strings, PositionsAndCounts)
{
  expect_rows({
      {"SUBSTR('abc', 0, 2)", "ab"},  // 0 is like 1
      {"SUBSTR('abc', -2)", "bc"},    // from the end
      {"SUBSTR('abc', -2, 1)", "b"},
      {"SUBSTR('abc', -9, 2)", "ab"},  // left of the text: the first character
      {"SUBSTR('abc', 2)", "bc"},
      {"SUBSTR('abc', 4)", ""},
      {"SUBSTR('abc', 2, -1)", ""},
      {"SUBSTR('abc', 2, 99)", "bc"},
      {"SUBSTR('abc', 10^30, 2)", ""},
      {"SUBSTR('abc', -(10^30), 2)", "ab"},
      {"SUBSTR('abc', 1, 10^30)", "abc"},
      {"SUBSTR('abc', 10^400 - 10^400, 2)", "ab"},  // not a number
      {"SUBSTR('a' + CHR(0) + 'b' + CHR(0) + 'c', 2, 3) == CHR(0) + 'b' + CHR(0)", ".T."},
      {"SUBSTR('abc')", "#311"},
      {"SUBSTR(1, 1)", "#312"},
      {"SUBSTR('abc', 1, '2')", "#312"},
      {"LEFT('hello', 2)", "he"},
      {"LEFT('hello', -2)", ""},
      {"LEFT('hello', 99)", "hello"},
      {"LEFT(5, 2)", ""},
      {"RIGHT('hello', 2)", "lo"},
      {"RIGHT('hello', -1)", ""},
      {"RIGHT('hello', 10^20)", "hello"},
      {"STUFF('abcdef', 3, 2, 'XYZ')", "abXYZef"},
      {"STUFF('abcdef', 3, 0, '-')", "ab-cdef"},
      {"STUFF('abcdef', 0, 1, 'Z')", "Zbcdef"},
      {"STUFF('abcdef', -2, 9, '!')", "abcd!"},
      {"STUFF('abcdef', 99, 2, '+')", "abcdef+"},
      {"STUFF('abcdef', 2, -5, '+')", "a+bcdef"},
      {"STUFF('abc', 1, 3, '')", ""},
      {"STUFF('abc', 1, 1)", ""},
  });
}

TEST_F(Strings, SearchAndReplace)
{
  expect_rows({
      {"hay := 'ab' + CHR(0) + 'cab' + CHR(0) + 'c'"},
      {"AT(CHR(0) + 'c', hay)", "3"},
      {"RAT(CHR(0) + 'c', hay)", "7"},
      {"AT('x', hay)", "0"},
      {"AT('', 'abc')", "0"},
      {"RAT('', 'abc')", "0"},
      {"AT('abcd', 'abc')", "0"},
      {"AT(1, 'abc')", "0"},
      {"STRTRAN('a-b-c-d', '-')", "abcd"},
      {"STRTRAN('a-b-c-d', '-', '+')", "a+b+c+d"},
      {"STRTRAN('a-b-c-d', '-', '==', 2)", "a-b==c==d"},
      {"STRTRAN('a-b-c-d', '-', '==', 2, 1)", "a-b==c-d"},
      {"STRTRAN('a-b-c-d', '-', '+', -5, 0)", "a+b-c-d"},
      {"STRTRAN('a-b-c-d', '-', NIL, 3)", "a-b-cd"},
      {"STRTRAN('aaaa', 'aa', 'b')", "bb"},  // hits do not overlap
      {"STRTRAN('abc', '', 'x')", "abc"},
      {"STRTRAN(hay, CHR(0), '0')", "ab0cab0c"},
      // Past the old limit of 65534 hits every hit is still replaced.
      {"STRTRAN(REPLICATE('x', 100000), 'x', 'y') == REPLICATE('y', 100000)", ".T."},
      {"STRTRAN(1, 'a')", "ERROR"},
      {"STRTRAN('abc', 1)", "ERROR"},
      {"STRTRAN('abc', 'a', 1)", "ERROR"},
      {"STRTRAN('abc')", "ERROR"},
  });
}

TEST_F(Strings, PadAndTrimConvertByType)
{
  expect_rows({
      {"PADR('ab', 5)", "ab   "},
      {"PADL('ab', 5, '*x')", "***ab"},
      {"PADC('ab', 7, '.')", "..ab..."},
      {"PAD('ab', 3)", "ab "},
      {"PADL('abcdef', 3)", "abc"},  // cut to its leftmost characters
      {"PADR('ab', 0)", ""},
      {"PADR('ab', -4)", ""},
      {"PADR('ab', 4, '')", "ab  "},
      {"PADL(12.5, 6)", "  12.5"},
      {"PADR(-3, 4)", "-3  "},
      {"PADR(.T., 3)", "T  "},
      {"PADR(STOD('20030102'), 10)", "01/02/03  "},
      {"PADR(NIL, 2)", "  "},
      {"PADR('ab', '5')", ""},
      {"TRIM('  a b  ')", "  a b"},
      {"RTRIM('  a b  ')", "  a b"},
      {"LTRIM('  a b  ')", "a b  "},
      {"ALLTRIM('  a b  ')", "a b"},
      {"ALLTRIM('     ')", ""},
      {"ALLTRIM(CHR(9) + 'a' + CHR(9)) == CHR(9) + 'a' + CHR(9)", ".T."},  // blanks only
      {"RTRIM('a' + CHR(0) + ' ') == 'a' + CHR(0)", ".T."},
      {"TRIM(5)", ""},
  });
  EXPECT_EQ(trimr_n("ab  ", -3), 0);
  EXPECT_EQ(triml_n("  ab", -3), 0);
}

// Too large to build: a clear error, no allocation attempt.
TEST_F(Strings, BuildingTextsAndHugeCounts)
{
  expect_rows({
      {"REPLICATE('ab', 3)", "ababab"},
      {"REPLICATE('ab', -3)", ""},
      {"REPLICATE('', 10^9)", ""},
      {"LEN(REPLICATE('xyz', 1000))", "3000"},
      {"SPACE(4)", "    "},
      {"SPACE(-4)", ""},
      {"SPACE('4')", ""},
      {"SPACE(10^15)", "#319 "},
      {"REPLICATE('abc', 10^9)", "#319 "},
      {"REPLICATE('abc', 10^300)", "#319 "},
      {"STRTRAN(SPACE(2^20), ' ', SPACE(257))", "#319 "},
      {"PADL('a', 10^12)", "#319 "},
      {"LEN(SPACE(256 * 1024 * 1024))", "268435456"},
  });
  exp_eval("SPACE(10^15)");
  EXPECT_TRUE(reported(319, "SPACE: result longer than"));
}

TEST_F(Strings, CharactersAndSoundex)
{
  expect_rows({
      {"CHR(65)", "A"},
      {"CHR(321)", "A"},  // modulo 256
      {"CHR(-191)", "A"},
      {"ASC(CHR(0)) + LEN(CHR(0))", "1"},
      {"CHR('A')", ""},
      {"ASC('\xE9t\xE9')", "233"},
      {"ASC('')", "0"},
      {"ASC(65)", "0"},
      {"LOWER('AB' + CHR(0) + 'C') == 'ab' + CHR(0) + 'c'", ".T."},
      {"SOUNDEX('Robert')", "R163"},
      {"SOUNDEX('robert')", "R163"},
      {"SOUNDEX('Tymczak')", "T522"},
      {"SOUNDEX('LLOYD')", "L430"},  // the second character is never skipped
      {"SOUNDEX('Pfister')", "P123"},
      {"SOUNDEX('Lee')", "L000"},
      {"SOUNDEX('A')", "A000"},
      {"SOUNDEX('')", "0000"},
      {"SOUNDEX('1abc')", "1120"},
      {"SOUNDEX(REPLICATE('b', 1000))", "B100"},
      {"SOUNDEX(1)", "ERROR"},
  });
}

}  // namespace
