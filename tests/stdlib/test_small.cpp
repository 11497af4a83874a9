// The small functions: VALTYPE, EMPTY, MAX, MIN, DESCEND, GETENV, PCOUNT,
// SLEEP, FREADSTDIN and ISCOLOR.
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <string>

#include "set.h"
#include "smallfns.h"
#include "valkind.h"
#include "vltest.h"

using vltest::str;

namespace {

class Small : public vltest::VlTest {};

var* text(const std::string& s) { return set_Cvar(cre_tmpvar(), s.data(), static_cast<int32_t>(s.size())); }

std::string valtype(var* v) { return str(vl_call(_bb_valtype, {v})); }

// A value of type t (a record of another type relabelled).
var* typed(var* v, char t)
{
  v->Type = t;
  return v;
}

TEST_F(Small, ValtypeLettersWithAndWithoutIntvar)
{
  var* f = typed(set_nv(1, 0), 'F');
  var* w = typed(set_Iv(3), 'W');
  const std::pair<var*, const char*> rows[] = {
      {text("x"), "C"}, {typed(text("x"), 'M'), "M"}, {set_nv(1, 0), "N"}, {set_Iv(1), "N"},
      {set_dv(1), "D"}, {TRUE_VAR, "L"},  {NIL_VAR, "U"}, {NILCB_VAR, "B"},
      {f, "N"},         {w, "N"},         {typed(cre_tmpvar(), 'b'), "B"},
      {typed(cre_tmpvar(), 'O'), "O"}};
  for (const auto& [v, letter] : rows) EXPECT_EQ(valtype(v), letter) << v->Type;
  EXPECT_EQ(str(vl_call(_bb_valtype, {})), "U");
  vlnSetIntvar(1);  // the integer-variable switch shows 'F' and 'I'
  EXPECT_EQ(valtype(f), "F");
  EXPECT_EQ(valtype(set_Iv(1)), "I");
  EXPECT_EQ(valtype(w), "N");
}

TEST_F(Small, Empty)
{
  var* a = typed(cre_tmpvar(), 'A');
  VARR(a) = vln_arr_new(0);
  const std::pair<var*, bool> rows[] = {
      {text(""), true},           {text(" \t\r\n "), true},  {text(std::string("\0", 1)), false},
      {text(" x"), false},        {set_nv(0, 2), true},       {set_nv(-0.001, 3), false},
      {set_Iv(0), true},          {NULLDATE_VAR, true},       {set_dv(5), false},
      {FALSE_VAR, true},          {TRUE_VAR, false},          {NIL_VAR, true},
      {NILCB_VAR, false},         {a, true}};
  for (const auto& [v, empty] : rows)
    EXPECT_EQ(vl_call(_bb_empty, {v}) == TRUE_VAR, empty) << v->Type << " " << str(v);
  EXPECT_EQ(vl_call(_bb_empty, {}), TRUE_VAR);
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
  EXPECT_EQ(VINT(vl_call(_bb_min, {FALSE_VAR, TRUE_VAR})), 0);
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
