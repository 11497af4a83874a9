// The small functions: MAX, MIN, DESCEND, GETENV, PCOUNT, SLEEP, FREADSTDIN,
// ISCOLOR, LEN, UPPER and ABS.
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "smallfns.h"
#include "vltest.h"

using vltest::expect_rows;
using vltest::str;

namespace {

class Small : public vltest::VlTest {};

TEST_F(Small, Table)
{
  setenv("VL_SMALL_TEST", "value=1", 1);
  expect_rows({
      {"{MAX(1.5, 2), MIN(1.5, 2), MIN(.F., .T.)}", "{2, 1.5, .F.}"},
      {"{DTOS(MAX(STOD('20240101'), STOD('20240102'))), VALTYPE(MIN(STOD('20240101'), STOD('20240102')))}",
       "{20240102, D}"},
      {"MAX(1, STOD('20240101'))", "#312 NIL"},
      {"MIN(1)", "#311 NIL"},
      {"MAX('a', 'b')", "#312 NIL"},
      {"DESCEND('A' + CHR(0) + CHR(255)) == CHR(191) + CHR(0) + CHR(1)", ".T."},
      {"DESCEND('abc') > DESCEND('abd')", ".T."},
      {"{DESCEND(12.5), DESCEND(STOD('00010101')), DESCEND(.T.), DESCEND(NIL)}", "{-12.5, -1, .F., NIL}"},
      {"VALTYPE(DESCEND(STOD('00010101')))", "N"},
      {"{GETENV('VL_SMALL_TEST'), GETENV('VL_NO_SUCH_VARIABLE'), GETENV(1)}", "{value=1, , }"},
      {"ISCOLOR()", ".F."},  // no screen
      {"{LEN('abc'), LEN(NIL), LEN(12345), LEN({1, 2, 3})}", "{3, 0, 0, 3}"},
      {"LEN()", "ERROR"},
      {"u := 'Mixed Case 1', {UPPER(u), u}", "{MIXED CASE 1, Mixed Case 1}"},  // a copy
      {"{UPPER(5), UPPER('a', 'b')}", "{, }"},
      {"{ABS(-2.75), ABS(.T.), ABS('x'), ABS()}", "{2.75, 1, 0, 0}"},
  });
  unsetenv("VL_SMALL_TEST");
  EXPECT_EQ(VDBL(vl_call(_bb_descend, {set_Iv(INT32_MIN)})), 2147483648.0);
  EXPECT_EQ(vl_call(_bb_max, {set_nv(1.5, 1), set_Iv(2)})->Type, 'I');
  EXPECT_EQ(vl_call(_bb_min, {set_nv(1.5, 1), set_Iv(2)})->Decimals, 1);
  // The shown value drops trailing zeros: the decimals are checked apart.
  EXPECT_EQ(vl_call(_bb_max, {set_nv(3, 0), set_nv(3, 2)})->Decimals, 0);  // a tie: the first
  EXPECT_EQ(exp_eval("DESCEND(12.5)")->Decimals, 1);
  EXPECT_EQ(exp_eval("ABS(-2.750)")->Decimals, 3);
  var* undefined = mak_var('U', 'U');
  EXPECT_EQ(vl_call(_bb_len, {undefined}), ERROR_VAR);
  del_var(undefined);
  var* m = set_cv("memo");
  m->Type = 'M';
  EXPECT_EQ(vl_call(_bb_upper, {m})->Type, 'M');
  EXPECT_EQ(VINT(vl_call(_bb_len, {vlnSetFixedEmpty(cre_tmpvar(), 'O')})), 0);
  var* r = vl_call(_bb_abs, {set_Iv(-5)});
  EXPECT_EQ(r->Type, 'I');
  EXPECT_EQ(VINT(r), 5);
  EXPECT_EQ(VINT(vl_call(_bb_abs, {set_Iv(INT32_MIN)})), INT32_MIN);  // wraps, defined
}

TEST_F(Small, PcountCountsTheCallersArguments)
{
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
}

// No upper time limit a loaded machine could miss: the arguments that must
// not sleep would sleep an hour if they did, and 30 s tells the two apart.
TEST_F(Small, SleepWaitsAsLongAsAsked)
{
  constexpr auto kWatchdog = std::chrono::seconds(30);
  const auto t0 = std::chrono::steady_clock::now();
  expect_rows({{"SLEEP(0.05)", "NIL"}});
  EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(50));
  const auto t1 = std::chrono::steady_clock::now();
  expect_rows({{"SLEEP(-3600), SLEEP('3600'), SLEEP(10^400 - 10^400)"}});
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
