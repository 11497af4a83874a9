// String functions: positions and counts at and beyond the edges, NUL
// bytes inside texts, wrong kinds, and counts too large to build.
#include <cmath>
#include <string>

#include "dates.hpp"
#include "set.h"
#include "stringsfn.hpp"
#include "vltest.h"

using namespace vl;

using vltest::str;

namespace {

// A text value holding exactly the bytes of s (NUL bytes included).
var* text(const std::string& s) { return set_Cvar(cre_tmpvar(), s.data(), static_cast<int32_t>(s.size())); }
var* n(double d) { return set_nv(d, 0); }

class Strings : public vltest::VlTest {};

TEST_F(Strings, SubstrPositions)
{
  auto sub = [](const std::string& s, double start, double count = -1e99) {
    if (count == -1e99) return str(vl_call(_bb_substr, {text(s), n(start)}));
    return str(vl_call(_bb_substr, {text(s), n(start), n(count)}));
  };
  EXPECT_EQ(sub("abc", 0, 2), "ab");  // 0 is like 1
  EXPECT_EQ(sub("abc", -2), "bc");    // from the end
  EXPECT_EQ(sub("abc", -2, 1), "b");
  EXPECT_EQ(sub("abc", -9, 2), "ab");  // left of the text: the first character
  EXPECT_EQ(sub("abc", 2), "bc");
  EXPECT_EQ(sub("abc", 4), "");
  EXPECT_EQ(sub("abc", 2, -1), "");
  EXPECT_EQ(sub("abc", 2, 99), "bc");
  EXPECT_EQ(sub("abc", 1e30, 2), "");
  EXPECT_EQ(sub("abc", -1e30, 2), "ab");
  EXPECT_EQ(sub("abc", 1, 1e30), "abc");
  EXPECT_EQ(sub("abc", std::nan(""), 2), "ab");
  EXPECT_EQ(sub(std::string("a\0b\0c", 5), 2, 3), std::string("\0b\0", 3));
  EXPECT_TRUE(reports().empty());
}

TEST_F(Strings, SubstrArgumentErrors)
{
  EXPECT_EQ(vl_call(_bb_substr, {text("abc")}), NULLSTR_VAR);
  EXPECT_EQ(vl_call(_bb_substr, {n(1), n(1)}), NULLSTR_VAR);
  EXPECT_EQ(vl_call(_bb_substr, {text("abc"), n(1), text("2")}), NULLSTR_VAR);
  EXPECT_TRUE(reported(311, "SUBSTR: has 2 or 3 arguments, not 1 "));
  EXPECT_TRUE(reported(312, "SUBSTR: argument types should be 'C, N', not 'N, N' "));
  EXPECT_TRUE(reported(312, "SUBSTR: third argument type should be 'N', not 'C' "));
}

TEST_F(Strings, LeftRightStuff)
{
  EXPECT_EQ(str(vl_call(_bb_left, {text("hello"), n(2)})), "he");
  EXPECT_EQ(str(vl_call(_bb_left, {text("hello"), n(-2)})), "");
  EXPECT_EQ(str(vl_call(_bb_left, {text("hello"), n(99)})), "hello");
  EXPECT_EQ(str(vl_call(_bb_right, {text("hello"), n(2)})), "lo");
  EXPECT_EQ(str(vl_call(_bb_right, {text("hello"), n(-1)})), "");
  EXPECT_EQ(str(vl_call(_bb_right, {text("hello"), n(1e20)})), "hello");
  EXPECT_EQ(str(vl_call(_bb_left, {n(5), n(2)})), "");
  auto stuff = [](const char* s, double start, double del, const char* ins) {
    return str(vl_call(_bb_stuff, {text(s), n(start), n(del), text(ins)}));
  };
  EXPECT_EQ(stuff("abcdef", 3, 2, "XYZ"), "abXYZef");
  EXPECT_EQ(stuff("abcdef", 3, 0, "-"), "ab-cdef");
  EXPECT_EQ(stuff("abcdef", 0, 1, "Z"), "Zbcdef");
  EXPECT_EQ(stuff("abcdef", -2, 9, "!"), "abcd!");
  EXPECT_EQ(stuff("abcdef", 99, 2, "+"), "abcdef+");
  EXPECT_EQ(stuff("abcdef", 2, -5, "+"), "a+bcdef");
  EXPECT_EQ(stuff("abc", 1, 3, ""), "");
  EXPECT_EQ(str(vl_call(_bb_stuff, {text("abc"), n(1), n(1)})), "");
  EXPECT_TRUE(reports().empty());
}

TEST_F(Strings, AtRatStrtran)
{
  const std::string hay("ab\0cab\0c", 8);
  EXPECT_EQ(VDBL(vl_call(_bb_at, {text(std::string("\0c", 2)), text(hay)})), 3);
  EXPECT_EQ(VDBL(vl_call(_bb_rat, {text(std::string("\0c", 2)), text(hay)})), 7);
  EXPECT_EQ(VDBL(vl_call(_bb_at, {text("x"), text(hay)})), 0);
  EXPECT_EQ(VDBL(vl_call(_bb_at, {text(""), text("abc")})), 0);
  EXPECT_EQ(VDBL(vl_call(_bb_rat, {text(""), text("abc")})), 0);
  EXPECT_EQ(VDBL(vl_call(_bb_at, {text("abcd"), text("abc")})), 0);
  EXPECT_EQ(VDBL(vl_call(_bb_at, {n(1), text("abc")})), 0);

  auto tran = [](std::initializer_list<var*> args) { return str(vl_call(_bb_strtran, args)); };
  EXPECT_EQ(tran({text("a-b-c-d"), text("-")}), "abcd");
  EXPECT_EQ(tran({text("a-b-c-d"), text("-"), text("+")}), "a+b+c+d");
  EXPECT_EQ(tran({text("a-b-c-d"), text("-"), text("=="), n(2)}), "a-b==c==d");
  EXPECT_EQ(tran({text("a-b-c-d"), text("-"), text("=="), n(2), n(1)}), "a-b==c-d");
  EXPECT_EQ(tran({text("a-b-c-d"), text("-"), text("+"), n(-5), n(0)}), "a+b-c-d");
  EXPECT_EQ(tran({text("a-b-c-d"), text("-"), NIL_VAR, n(3)}), "a-b-cd");
  EXPECT_EQ(tran({text("aaaa"), text("aa"), text("b")}), "bb");  // hits do not overlap
  EXPECT_EQ(tran({text("abc"), text(""), text("x")}), "abc");
  EXPECT_EQ(tran({text(hay), text(std::string("\0", 1)), text("0")}), "ab0cab0c");
  // Past the old limit of 65534 hits every hit is still replaced.
  const std::string many(100000, 'x');
  EXPECT_EQ(tran({text(many), text("x"), text("y")}), std::string(100000, 'y'));
  EXPECT_EQ(vl_call(_bb_strtran, {n(1), text("a")}), ERROR_VAR);
  EXPECT_EQ(vl_call(_bb_strtran, {text("abc"), n(1)}), ERROR_VAR);
  EXPECT_EQ(vl_call(_bb_strtran, {text("abc"), text("a"), n(1)}), ERROR_VAR);
  EXPECT_EQ(vl_call(_bb_strtran, {text("abc")}), ERROR_VAR);
  EXPECT_TRUE(reports().empty());
}

TEST_F(Strings, PadFamilyConvertsByType)
{
  auto pad = [](BbFn f, var* v, double len, const char* fill = nullptr) {
    if (fill) return str(vl_call(f, {v, n(len), text(fill)}));
    return str(vl_call(f, {v, n(len)}));
  };
  EXPECT_EQ(pad(_bb_padr, text("ab"), 5), "ab   ");
  EXPECT_EQ(pad(_bb_padl, text("ab"), 5, "*x"), "***ab");
  EXPECT_EQ(pad(_bb_padc, text("ab"), 7, "."), "..ab...");
  EXPECT_EQ(pad(_bb_pad, text("ab"), 3), "ab ");
  EXPECT_EQ(pad(_bb_padl, text("abcdef"), 3), "abc");  // cut to its leftmost characters
  EXPECT_EQ(pad(_bb_padr, text("ab"), 0), "");
  EXPECT_EQ(pad(_bb_padr, text("ab"), -4), "");
  EXPECT_EQ(pad(_bb_padr, text("ab"), 4, ""), "ab  ");
  EXPECT_EQ(pad(_bb_padl, set_nv(12.5, 1), 6), "  12.5");
  EXPECT_EQ(pad(_bb_padr, set_Iv(-3), 4), "-3  ");
  EXPECT_EQ(pad(_bb_padr, TRUE_VAR, 3), "T  ");
  EXPECT_EQ(pad(_bb_padr, set_dv(datoint(2, 1, 2003)), 10), "01/02/03  ");
  EXPECT_EQ(pad(_bb_padr, NIL_VAR, 2), "  ");
  EXPECT_EQ(str(vl_call(_bb_padr, {text("ab"), text("5")})), "");
  EXPECT_TRUE(reports().empty());
}

TEST_F(Strings, TrimFamily)
{
  EXPECT_EQ(str(vl_call(_bb_trim, {text("  a b  ")})), "  a b");
  EXPECT_EQ(str(vl_call(_bb_rtrim, {text("  a b  ")})), "  a b");
  EXPECT_EQ(str(vl_call(_bb_ltrim, {text("  a b  ")})), "a b  ");
  EXPECT_EQ(str(vl_call(_bb_alltrim, {text("  a b  ")})), "a b");
  EXPECT_EQ(str(vl_call(_bb_alltrim, {text("     ")})), "");
  EXPECT_EQ(str(vl_call(_bb_alltrim, {text("\ta\t")})), "\ta\t");  // blanks only
  EXPECT_EQ(str(vl_call(_bb_rtrim, {text(std::string("a\0 ", 3))})), std::string("a\0", 2));
  EXPECT_EQ(str(vl_call(_bb_trim, {n(5)})), "");
  EXPECT_EQ(trimr_n("ab  ", -3), 0);
  EXPECT_EQ(triml_n("  ab", -3), 0);
}

TEST_F(Strings, BuildingTextsAndHugeCounts)
{
  EXPECT_EQ(str(vl_call(_bb_replicate, {text("ab"), n(3)})), "ababab");
  EXPECT_EQ(str(vl_call(_bb_replicate, {text("ab"), n(-3)})), "");
  EXPECT_EQ(str(vl_call(_bb_replicate, {text(""), n(1e9)})), "");
  EXPECT_EQ(str(vl_call(_bb_replicate, {text("xyz"), n(1000)})).size(), 3000u);
  EXPECT_EQ(str(vl_call(_bb_space, {n(4)})), "    ");
  EXPECT_EQ(str(vl_call(_bb_space, {n(-4)})), "");
  EXPECT_EQ(str(vl_call(_bb_space, {text("4")})), "");
  EXPECT_TRUE(reports().empty());
  // Too large to build: a clear error, no allocation attempt.
  EXPECT_EQ(vl_call(_bb_space, {n(1e15)}), NULLSTR_VAR);
  EXPECT_TRUE(reported(319, "SPACE: result longer than"));
  EXPECT_EQ(vl_call(_bb_replicate, {text("abc"), n(1e9)}), NULLSTR_VAR);
  EXPECT_EQ(last_code(), 319);
  EXPECT_EQ(vl_call(_bb_replicate, {text("abc"), n(1e300)}), NULLSTR_VAR);
  const std::string mib(1 << 20, 'x');
  EXPECT_EQ(vl_call(_bb_strtran, {text(mib), text("x"), text(std::string(257, 'y'))}), NULLSTR_VAR);
  EXPECT_TRUE(reported(319, "STRTRAN: result longer than"));
  EXPECT_EQ(vl_call(_bb_padl, {text("a"), n(1e12)}), NULLSTR_VAR);
  EXPECT_TRUE(reported(319, "PADL"));
  reports().clear();
  EXPECT_EQ(str(vl_call(_bb_space, {n(VLN_MAX_TEXT)})).size(), static_cast<size_t>(VLN_MAX_TEXT));
  EXPECT_TRUE(reports().empty());
}

TEST_F(Strings, CharactersAndSoundex)
{
  EXPECT_EQ(str(vl_call(_bb_chr, {n(65)})), "A");
  EXPECT_EQ(str(vl_call(_bb_chr, {n(321)})), "A");  // modulo 256
  EXPECT_EQ(str(vl_call(_bb_chr, {n(-191)})), "A");
  EXPECT_EQ(str(vl_call(_bb_chr, {n(0)})), std::string("\0", 1));
  EXPECT_EQ(str(vl_call(_bb_chr, {text("A")})), "");
  EXPECT_EQ(VDBL(vl_call(_bb_asc, {text("\xE9t\xE9")})), 0xE9);
  EXPECT_EQ(VDBL(vl_call(_bb_asc, {text("")})), 0);
  EXPECT_EQ(VDBL(vl_call(_bb_asc, {n(65)})), 0);
  EXPECT_EQ(str(vl_call(_bb_lower, {text(std::string("AB\0C", 4))})), std::string("ab\0c", 4));

  auto sx = [](const std::string& s) { return str(vl_call(_bb_soundex, {text(s)})); };
  EXPECT_EQ(sx("Robert"), "R163");
  EXPECT_EQ(sx("robert"), "R163");
  EXPECT_EQ(sx("Tymczak"), "T522");
  EXPECT_EQ(sx("LLOYD"), "L430");  // the second character is never skipped
  EXPECT_EQ(sx("Pfister"), "P123");
  EXPECT_EQ(sx("Lee"), "L000");
  EXPECT_EQ(sx("A"), "A000");
  EXPECT_EQ(sx(""), "0000");
  EXPECT_EQ(sx("1abc"), "1120");
  EXPECT_EQ(sx(std::string(1000, 'b')), "B100");
  EXPECT_EQ(vl_call(_bb_soundex, {n(1)}), ERROR_VAR);
}

}  // namespace
