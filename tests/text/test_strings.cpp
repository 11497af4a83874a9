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
      // 0 is like 1, a negative start counts from the end, left of the text
      // is the first character.
      {"{SUBSTR('abc', 0, 2), SUBSTR('abc', -2), SUBSTR('abc', -2, 1), SUBSTR('abc', -9, 2)}",
       "{ab, bc, b, ab}"},
      {"{SUBSTR('abc', 2), SUBSTR('abc', 4), SUBSTR('abc', 2, -1), SUBSTR('abc', 2, 99)}",
       "{bc, , , bc}"},
      {"{SUBSTR('abc', 10^30, 2), SUBSTR('abc', -(10^30), 2), SUBSTR('abc', 1, 10^30)}",
       "{, ab, abc}"},
      {"SUBSTR('abc', 10^400 - 10^400, 2)", "ab"},  // not a number
      {"SUBSTR('a' + CHR(0) + 'b' + CHR(0) + 'c', 2, 3) == CHR(0) + 'b' + CHR(0)", ".T."},
      {"SUBSTR('abc')", "#311"},
      {"SUBSTR(1, 1)", "#312"},
      {"SUBSTR('abc', 1, '2')", "#312"},
      {"{LEFT('hello', 2), LEFT('hello', -2), LEFT('hello', 99), LEFT(5, 2)}", "{he, , hello, }"},
      {"{RIGHT('hello', 2), RIGHT('hello', -1), RIGHT('hello', 10^20)}", "{lo, , hello}"},
      {"{STUFF('abcdef', 3, 2, 'XYZ'), STUFF('abcdef', 3, 0, '-'), STUFF('abcdef', 0, 1, 'Z')}",
       "{abXYZef, ab-cdef, Zbcdef}"},
      {"{STUFF('abcdef', -2, 9, '!'), STUFF('abcdef', 99, 2, '+'), STUFF('abcdef', 2, -5, '+')}",
       "{abcd!, abcdef+, a+bcdef}"},
      {"{STUFF('abc', 1, 3, ''), STUFF('abc', 1, 1)}", "{, }"},
  });
}

TEST_F(Strings, SearchAndReplace)
{
  expect_rows({
      {"hay := 'ab' + CHR(0) + 'cab' + CHR(0) + 'c'"},
      {"AT(CHR(0) + 'c', hay)", "3"},
      {"RAT(CHR(0) + 'c', hay)", "7"},
      {"{AT('x', hay), AT('', 'abc'), RAT('', 'abc'), AT('abcd', 'abc'), AT(1, 'abc')}",
       "{0, 0, 0, 0, 0}"},
      {"{STRTRAN('a-b-c-d', '-'), STRTRAN('a-b-c-d', '-', '+')}", "{abcd, a+b+c+d}"},
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
      {"{PADR('ab', 5), PADL('ab', 5, '*x'), PADC('ab', 7, '.'), PAD('ab', 3)}",
       "{ab   , ***ab, ..ab..., ab }"},
      // Too long: cut to the leftmost characters.
      {"{PADL('abcdef', 3), PADR('ab', 0), PADR('ab', -4), PADR('ab', 4, ''), PADR('ab', '5')}",
       "{abc, , , ab  , }"},
      {"{PADL(12.5, 6), PADR(-3, 4), PADR(.T., 3), PADR(STOD('20030102'), 10), PADR(NIL, 2)}",
       "{  12.5, -3  , T  , 01/02/03  ,   }"},
      {"{TRIM('  a b  '), RTRIM('  a b  '), LTRIM('  a b  '), ALLTRIM('  a b  '), ALLTRIM('   ')}",
       "{  a b,   a b, a b  , a b, }"},
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
      {"{REPLICATE('ab', 3), REPLICATE('ab', -3), REPLICATE('', 10^9)}", "{ababab, , }"},
      {"{LEN(REPLICATE('xyz', 1000)), SPACE(4), SPACE(-4), SPACE('4')}", "{3000,     , , }"},
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
      {"{CHR(65), CHR(321), CHR(-191), CHR('A')}", "{A, A, A, }"},  // modulo 256
      {"{ASC(CHR(0)) + LEN(CHR(0)), ASC('\xE9t\xE9'), ASC(''), ASC(65)}", "{1, 233, 0, 0}"},
      {"LOWER('AB' + CHR(0) + 'C') == 'ab' + CHR(0) + 'c'", ".T."},
      // In LLOYD the second character is not skipped.
      {"{SOUNDEX('robert'), SOUNDEX('Tymczak'), SOUNDEX('LLOYD'), SOUNDEX('Pfister')}",
       "{R163, T522, L430, P123}"},
      {"{SOUNDEX('Lee'), SOUNDEX('A'), SOUNDEX(''), SOUNDEX('1abc'), SOUNDEX(REPLICATE('b', 1000))}",
       "{L000, A000, 0000, 1120, B100}"},
      {"SOUNDEX(1)", "ERROR"},
  });
}

}  // namespace
