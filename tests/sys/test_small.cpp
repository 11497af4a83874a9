// The small functions: VALTYPE, EMPTY, MAX, MIN, DESCEND, GETENV, PCOUNT,
// SLEEP, FREADSTDIN and ISCOLOR.
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <string>

#include "set.h"
#include "smallfns.h"
#include "vltest.h"

using vltest::str;

namespace {

class Small : public vltest::VlTest {
 protected:
  void TearDown() override
  {
    vlnSetIntvar(0);
    VlTest::TearDown();
  }
};

var* text(const std::string& s) { return set_Cvar(cre_tmpvar(), s.data(), static_cast<int32_t>(s.size())); }

std::string valtype(var* v) { return str(vl_call(_bb_valtype, {v})); }

TEST_F(Small, ValtypeLetters)
{
  EXPECT_EQ(valtype(text("x")), "C");
  var* memo = text("x");
  memo->Type = 'M';
  EXPECT_EQ(valtype(memo), "M");
  EXPECT_EQ(valtype(set_nv(1, 0)), "N");
  EXPECT_EQ(valtype(set_Iv(1)), "N");
  EXPECT_EQ(valtype(set_dv(1)), "D");
  EXPECT_EQ(valtype(TRUE_VAR), "L");
  EXPECT_EQ(valtype(NIL_VAR), "U");
  EXPECT_EQ(valtype(NILCB_VAR), "B");
  EXPECT_EQ(str(vl_call(_bb_valtype, {})), "U");
  var* undefined = mak_var('U', 'U');
  EXPECT_EQ(valtype(undefined), "U");
  del_var(undefined);
  var* f = set_nv(1, 0);
  f->Type = 'F';
  var* w = set_Iv(3);
  w->Type = 'W';
  EXPECT_EQ(valtype(f), "N");
  EXPECT_EQ(valtype(w), "N");
  vlnSetIntvar(1);  // the integer-variable switch shows 'F' and 'I'
  EXPECT_EQ(valtype(f), "F");
  EXPECT_EQ(valtype(set_Iv(1)), "I");
  EXPECT_EQ(valtype(w), "N");
  var* b = cre_tmpvar();
  b->Type = 'b';
  EXPECT_STREQ(vlnValType(b), "B");
  b->Type = 'O';
  EXPECT_STREQ(vlnValType(b), "O");
  b->Type = 'U';
}

TEST_F(Small, Empty)
{
  auto empty = [](var* v) { return vl_call(_bb_empty, {v}) == TRUE_VAR; };
  EXPECT_TRUE(empty(text("")));
  EXPECT_TRUE(empty(text(" \t\r\n ")));
  EXPECT_FALSE(empty(text(std::string("\0", 1))));
  EXPECT_FALSE(empty(text(" x")));
  EXPECT_TRUE(empty(set_nv(0, 2)));
  EXPECT_FALSE(empty(set_nv(-0.001, 3)));
  EXPECT_TRUE(empty(set_Iv(0)));
  EXPECT_TRUE(empty(NULLDATE_VAR));
  EXPECT_FALSE(empty(set_dv(5)));
  EXPECT_TRUE(empty(FALSE_VAR));
  EXPECT_FALSE(empty(TRUE_VAR));
  EXPECT_TRUE(empty(NIL_VAR));
  EXPECT_FALSE(empty(NILCB_VAR));
  var* a = cre_tmpvar();
  a->Type = 'A';
  VARR(a) = vln_arr_new(0);
  EXPECT_TRUE(empty(a));
  EXPECT_TRUE(vl_call(_bb_empty, {}) == TRUE_VAR);
}

TEST_F(Small, MaxAndMin)
{
  var* r = vl_call(_bb_max, {set_nv(1.5, 1), set_Iv(2)});
  EXPECT_EQ(r->Type, 'I');
  EXPECT_EQ(VINT(r), 2);
  r = vl_call(_bb_min, {set_nv(1.5, 1), set_Iv(2)});
  EXPECT_EQ(VDBL(r), 1.5);
  EXPECT_EQ(r->Decimals, 1);
  EXPECT_EQ(VINT(vl_call(_bb_max, {set_dv(10), set_dv(20)})), 20);
  EXPECT_EQ(vl_call(_bb_min, {set_dv(10), set_dv(20)})->Type, 'D');
  EXPECT_EQ(VINT(vl_call(_bb_max, {FALSE_VAR, TRUE_VAR})), 1);
  EXPECT_EQ(VINT(vl_call(_bb_min, {FALSE_VAR, TRUE_VAR})), 0);
  EXPECT_EQ(VDBL(vl_call(_bb_max, {set_nv(3, 0), set_nv(3, 2)})), 3);
  EXPECT_EQ(vl_call(_bb_max, {set_nv(3, 0), set_nv(3, 2)})->Decimals, 0);  // a tie: the first
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vl_call(_bb_max, {set_nv(1, 0), set_dv(1)}), NIL_VAR);
  EXPECT_EQ(last_code(), 312);
  EXPECT_EQ(vl_call(_bb_min, {set_nv(1, 0)}), NIL_VAR);
  EXPECT_EQ(last_code(), 311);
  EXPECT_EQ(vl_call(_bb_max, {text("a"), text("b")}), NIL_VAR);
  EXPECT_EQ(last_code(), 312);
}

TEST_F(Small, DescendReversesOrder)
{
  const std::string d = str(vl_call(_bb_descend, {text(std::string("A\0\xFF", 3))}));
  EXPECT_EQ(d, std::string("\xBF\0\x01", 3));
  const std::string a = str(vl_call(_bb_descend, {text("abc")}));
  const std::string b = str(vl_call(_bb_descend, {text("abd")}));
  EXPECT_GT(a, b);
  var* n = vl_call(_bb_descend, {set_nv(12.5, 1)});
  EXPECT_EQ(VDBL(n), -12.5);
  EXPECT_EQ(n->Decimals, 1);
  EXPECT_EQ(VDBL(vl_call(_bb_descend, {set_Iv(INT32_MIN)})), 2147483648.0);
  var* day = vl_call(_bb_descend, {set_dv(700000)});
  EXPECT_EQ(day->Type, 'N');
  EXPECT_EQ(VDBL(day), -700000);
  EXPECT_EQ(vl_call(_bb_descend, {TRUE_VAR}), FALSE_VAR);
  EXPECT_EQ(vl_call(_bb_descend, {NIL_VAR}), NIL_VAR);
}

TEST_F(Small, EnvironmentAndArgumentCount)
{
  setenv("VL_SMALL_TEST", "value=1", 1);
  EXPECT_EQ(str(vl_call(_bb_getenv, {text("VL_SMALL_TEST")})), "value=1");
  unsetenv("VL_SMALL_TEST");
  EXPECT_EQ(str(vl_call(_bb_getenv, {text("VL_SMALL_TEST")})), "");
  EXPECT_EQ(str(vl_call(_bb_getenv, {set_nv(1, 0)})), "");

  EXPECT_EQ(VDBL(vl_call(_bb_pcount, {})), 0);  // outside any language function
  struct Probe {
    static var* fn(int argc, var** argv)
    {
      VL_BEGIN("test_small.cpp", "probe");
      var* r = VL_LOCAL('U');
      VL_STMT(cpy_var(r, vl_call(_bb_pcount, {})));
      VL_RETURN(r);
    }
  };
  EXPECT_EQ(VDBL(vl_call(Probe::fn, {NIL_VAR, NIL_VAR, NIL_VAR})), 3);
  EXPECT_EQ(VDBL(vl_call(Probe::fn, {})), 0);
  EXPECT_EQ(vl_call(_bb_iscolor, {}), FALSE_VAR);  // no screen
}

// No upper time limit a loaded machine could miss: the arguments that must
// not sleep would sleep an hour if they did, and 30 s tells the two apart.
TEST_F(Small, SleepWaitsAsLongAsAsked)
{
  constexpr auto kWatchdog = std::chrono::seconds(30);
  const auto t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(vl_call(_bb_sleep, {set_nv(0.05, 2)}), NIL_VAR);
  EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(50));
  const auto t1 = std::chrono::steady_clock::now();
  vl_call(_bb_sleep, {set_nv(-3600, 0)});
  vl_call(_bb_sleep, {text("3600")});
  vl_call(_bb_sleep, {set_nv(std::nan(""), 0)});
  EXPECT_LT(std::chrono::steady_clock::now() - t1, kWatchdog);
}

TEST_F(Small, FreadstdinFillsTheBufferByReference)
{
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const int saved = dup(STDIN_FILENO);
  dup2(fds[0], STDIN_FILENO);
  close(fds[0]);
  const std::string input("line one\n\0tail", 14);
  ASSERT_EQ(write(fds[1], input.data(), input.size()), 14);
  close(fds[1]);
  var* buffer = mak_var('N', 'U');
  EXPECT_EQ(VDBL(vl_call(_bb_freadstdin, {buffer, set_nv(9, 0)})), 9);
  EXPECT_EQ(str(buffer), "line one\n");
  EXPECT_EQ(VDBL(vl_call(_bb_freadstdin, {buffer, set_nv(100, 0)})), 5);  // the rest, NUL included
  EXPECT_EQ(str(buffer), std::string("\0tail", 5));
  EXPECT_EQ(VDBL(vl_call(_bb_freadstdin, {buffer, set_nv(100, 0)})), 0);  // end of input
  EXPECT_EQ(VDBL(vl_call(_bb_freadstdin, {buffer, set_nv(-1, 0)})), 0);
  EXPECT_EQ(vl_call(_bb_freadstdin, {buffer, set_nv(1e12, 0)}), ZERO_VAR);
  EXPECT_EQ(last_code(), 319);
  dup2(saved, STDIN_FILENO);
  close(saved);
  del_var(buffer);
}

}  // namespace
