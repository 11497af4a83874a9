// The Extend interface: type flags, addresses into nested arrays and
// objects, the readers' conversions, write-back by value and by reference,
// results, and gl_argc/gl_argv across nested calls and BREAKs.
#include <climits>
#include <cstdio>
#include <string>
#include <vector>

#include "dates.hpp"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;

using vltest::str;

class Extend : public vltest::VlTest {};

namespace {

// Publishes an argument vector as the running Extend call's for one scope.
struct Args {
  Args(std::initializer_list<var*> args) : vec(args)
  {
    gl_argc = static_cast<int>(vec.size());
    gl_argv = vec.data();
  }
  ~Args()
  {
    gl_argc = saved_argc;
    gl_argv = saved_argv;
  }
  std::vector<var*> vec;
  int saved_argc = gl_argc;
  var** saved_argv = gl_argv;
};

// A caller's variable (a plain LOCAL, Mode 'N') of the given type.
var* local_var(char type = 'U')
{
  var* v = cre_tmpvar();
  v->Mode = 'N';
  v->Type = type;
  return v;
}

// k nested one-element arrays around "deep".
var* nested(int k) { return exp_eval((std::string(k, '{') + "'deep'" + std::string(k, '}')).c_str()); }

}  // namespace

TEST_F(Extend, TypeFlagsOfEveryTypeAndTheByReferenceBit)
{
  var* memo = set_cv("memo");
  memo->Type = 'M';
  var* strict = set_nvar(local_var(), 1, 0);
  strict->Mode = 'S';
  var* memvar = set_nvar(local_var(), 1, 0);
  memvar->Mode = 'V';
  const std::pair<var*, int> cases[] = {
      {set_cv("c"), 1}, {memo, 65}, {set_nv(1.5, 1), 2}, {set_Iv(3), 2}, {set_lv(1), 4},
      {set_dv(1), 8}, {exp_eval("{1}"), 512}, {mak_scrvar(nullptr), 1024},
      {set_Ov(1, axNullObj, NIL_VAR), 2048}, {mk_var_cp(NILCB_VAR), 4096},
      {vlnMakeCB("1"), 4096}, {NIL_VAR, 0}, {set_nvar(local_var(), 1, 0), 2 | 32},
      {strict, 2 | 32}, {memvar, 2}};
  for (const auto& [arg, flag] : cases) {
    Args args{arg};
    EXPECT_EQ(_parinfo(1), flag) << arg->Type << " mode " << arg->Mode;
    EXPECT_EQ(_parinfa(1), flag & ~VL_EXT_BYREF);
  }
  Args two{NIL_VAR, NIL_VAR};
  EXPECT_EQ(_parinfo(0), 2);
  EXPECT_EQ(_parinfo(3), VL_EXT_NONE);
  Args none{};
  EXPECT_EQ(_parinfo(0), 0);
  EXPECT_EQ(_parinfo(1), VL_EXT_NONE);
}

TEST_F(Extend, WalksIntoNestedArraysAndObjects)
{
  Args args{exp_eval("{10, {'x', {.T.}}, 'str'}"), set_Ov(1, axNullObj, NIL_VAR)};
  EXPECT_EQ(_parni(1, 1), 10);
  EXPECT_STREQ(_parc(1, 2, 1), "x");
  EXPECT_EQ(_parl(1, 2, 2, 1), 1);
  EXPECT_STREQ(_parc(1, 3, 5), "str") << "a text ends the walk";
  EXPECT_STREQ(_parc(1, 4), "");
  EXPECT_STREQ(_parc(1, -1), "");
  // Sizes (index 0) and the types of elements.
  EXPECT_EQ(std::to_string(_parinfa(1, 0)) + " " + std::to_string(_parinfa(1, 2, 0)) + " " +
                std::to_string(_parinfa(1, 2)) + " " + std::to_string(_parinfa(1, 2, -1)) + " " +
                std::to_string(_parinfa(1, 2, 2, 1)) + " " + std::to_string(_parinfa(1, 3, 0)) + " " +
                std::to_string(_parinfa(1, 4)) + " " + std::to_string(_parinfa(2, 0)),
            "3 2 512 512 4 0 " + std::to_string(VL_EXT_NONE) + " 3");
  // Element 3 of the object is its one instance variable.
  EXPECT_EQ(_storc("kept", 2, 3), 1);
  EXPECT_STREQ(_parc(2, 3), "kept");
  EXPECT_EQ(_storc("lost", 2, 4) + _storc("lost", 3), 0);
}

TEST_F(Extend, AWalkFollowsNineLevelsAndNoMore)
{
  {
    Args args{nested(9)};
    EXPECT_STREQ(_parc(1, 1, 1, 1, 1, 1, 1, 1, 1, 1), "deep");
    EXPECT_EQ(_storc("new", 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), 1);
    EXPECT_STREQ(_parc(1, 1, 1, 1, 1, 1, 1, 1, 1, 1), "new");
  }
  Args args{nested(10)};
  EXPECT_STREQ(_parc(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), "");
  EXPECT_EQ(_parinfa(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), VL_EXT_NONE);
  EXPECT_EQ(_storc("new", 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), 0);
  EXPECT_EQ(_parinfa(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0), 1) << "the size at the ninth level";
}

TEST_F(Extend, ParcCopiesABorrowedTextOnceAndNeverWritesAConstant)
{
  static const char kLiteral[] = "literal";
  var* borrowed = set_cvar(cre_tmpvar(), kLiteral);
  var* memo = set_cvar(local_var(), kLiteral);
  memo->Type = 'M';
  memo->Mode = 's';  // a strictly typed memo holding a borrowed text
  Args args{borrowed, memo, NULLSTR_VAR, set_nv(5, 0)};

  const char* first = _parc(1);
  EXPECT_STREQ(first, "literal");
  EXPECT_NE(first, kLiteral);
  EXPECT_EQ(borrowed->Mode, 'T');
  EXPECT_EQ(_parc(1), first) << "copied once";
  EXPECT_STREQ(_parc(2), "literal");
  EXPECT_EQ(memo->Type, 'M');
  EXPECT_EQ(memo->Mode, 'S');
  EXPECT_EQ(_parc(3), VSTR(NULLSTR_VAR));
  EXPECT_STREQ(_parc(4), "") << "never null";
  EXPECT_TRUE(reports().empty());
}

TEST_F(Extend, LengthsAndConversionsOnlyWhereTheyMay)
{
  const int32_t leap = datoint(29, 2, 2024);
  Args args{set_lv(1), set_nv(-3.9, 1), set_Iv(7), set_nv(2.5, 1), set_cv("9"),
            set_nv(1e12, 0), set_dv(leap), NULLDATE_VAR, set_Cvar(cre_tmpvar(), "ab\0cd", 5)};
  EXPECT_EQ(_parni(1) + _parnd(1), 0) << "a logical is no number here";
  EXPECT_EQ(_parl(1), 1);
  EXPECT_EQ(_parni(2), -3);
  EXPECT_EQ(_parnd(3), 7.0);
  EXPECT_EQ(_parl(4), 1);
  EXPECT_EQ(_parnd(5) + _parl(5) + _parnl(5), 0.0);
  EXPECT_EQ(_parni(6), INT_MIN) << "out of 32 bits";
  EXPECT_STREQ(_pards(7), "20240229");
  EXPECT_STREQ(_pards(8), "        ");
  EXPECT_EQ(_pards(5), nullptr);
  EXPECT_EQ(VINT(_VLretds("20240229")), leap);
  EXPECT_EQ(_stords("19991231", 5), 1);
  EXPECT_EQ(VINT(gl_argv[4]), datoint(31, 12, 1999));
  // Text lengths with an embedded zero byte.
  EXPECT_EQ(_parcsize(9), 6);
  EXPECT_EQ(_parclen(9), 2);
  vl_set_flag[VL_SLOT_NULTEXT] = 1;
  EXPECT_EQ(_parclen(9), 5);
  vl_set_flag[VL_SLOT_NULTEXT] = 0;
  EXPECT_EQ(_parcsize(2) + _parclen(2), 0);
  EXPECT_TRUE(reports().empty()) << "wrong types are silent";
}

TEST_F(Extend, StoresReachTheCallerOnlyByReference)
{
  var* x = set_nvar(local_var(), 1, 0);
  var* arr = cpy_var(local_var(), exp_eval("{1, 2}"));
  var* day = local_var('D');
  day->Mode = 'S';
  vln_flagto.decimals = 3;
  Args args{mk_var_cp(x), x, mk_var_cp(arr), NIL_VAR, day};
  EXPECT_EQ(_storni(5, 1), 1);
  EXPECT_EQ(VDBL(gl_argv[0]), 5.0);
  EXPECT_EQ(VDBL(x), 1.0) << "a by-value argument is the call's own copy";
  EXPECT_EQ(_storni(5, 2), 1);
  EXPECT_EQ(x->Type, 'N');
  EXPECT_EQ(VDBL(x), 5.0);
  EXPECT_EQ(x->Decimals, 3) << "decimals as SET DECIMALS";
  EXPECT_EQ(_stornl(1L << 40, 2), 1);
  EXPECT_EQ(VDBL(x), 1099511627776.0);
  EXPECT_EQ(_storclen("a\0b", 3, 2), 1);
  EXPECT_EQ(x->Length, 4);

  EXPECT_EQ(_storc("two", 3, 2), 1);
  EXPECT_EQ(str(VARR(arr)->A_vec[1]), "two") << "the array is shared";
  EXPECT_EQ(_storl(1, 4), 0) << "a constant is never written";
  EXPECT_EQ(NIL_VAR->Type, 'U');
  EXPECT_EQ(_storc("text", 5), 0) << "a strictly typed date refuses a text";
  EXPECT_EQ(day->Type, 'D');
}

TEST_F(Extend, ResultsAndWindowsInBatch)
{
  vln_flagto.decimals = 4;
  EXPECT_EQ(_VLretnd(1.5)->Decimals, 4);
  char text[] = "abc";
  var* c = _VLretc(text);
  text[0] = 'X';
  EXPECT_EQ(str(c), "abc");
  EXPECT_EQ(_VLretclen("a\0b", 3)->Length, 4);
  EXPECT_EQ(_VLretl(7), TRUE_VAR);
  EXPECT_EQ(vltest::shown(_VLretnl(-(1L << 40))), "-1099511627776");
  EXPECT_EQ(_VLretnl(INT_MIN)->Type, 'I');
  int window = 42;  // without a screen layer no window can be copied
  Args args{local_var(), set_nv(1, 0)};
  EXPECT_TRUE(_VLretwin(&window) == NIL_VAR && _storscw(&window, 1) == 0 && !_parscw(2));
}

TEST_F(Extend, AllocationWithoutFatalFailureReturnsNull)
{
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer stops at an impossible allocation";
#else
  EXPECT_EQ(_VL_xalloc(SIZE_MAX / 2, 0), nullptr);
  EXPECT_EQ(last_errno, 301);
#endif
}

// ---- Routines written with VL_EXTEND. ----

// EXT_INNER(...): the number of its arguments and its first text.
VL_EXTEND(ext_inner)
{
  char buf[64];
  std::snprintf(buf, sizeof buf, "%d:%s", _parinfo(0), _parc(1));
  return _VLretc(buf);
}

// EXT_OUTER(a, b): calls EXT_INNER by name, then reads its own arguments.
VL_EXTEND(ext_outer)
{
  var* inner = exp_eval("EXT_INNER('in', 2, 3)");
  return _VLretc((str(inner) + "|" + std::to_string(_parinfo(0)) + ":" + _parc(1)).c_str());
}

// EXT_BREAK(): BREAK "out".
VL_EXTEND(ext_break)
{
  var* value = set_cv("out");
  return _bb_break(1, &value);
}

// The argument vector published before and after Catch's sequence.
var** argv_before_catch;
var** argv_after_catch;

// FUNCTION Catch(): BEGIN SEQUENCE; EXT_BREAK(1); END; RETURN .T.
var* catch_break(int argc, var** argv)
{
  VL_BEGIN("extend.prg", "catch");
  argv_before_catch = gl_argv;
  VL_BEGIN_SEQUENCE
    VL_STMT(vl_call(_bb_ext_break, {set_nv(1, 0)}));
  VL_RECOVER(nullptr)
  VL_END_SEQUENCE;
  argv_after_catch = gl_argv;
  VL_RETURN(TRUE_VAR);
}

// EXT_SURVIVE(text): runs Catch(), then gives back its own first argument.
VL_EXTEND(ext_survive)
{
  vl_call(catch_break, {});
  return _VLretc(_parc(1));
}

// EXT_NULL(): a body that forgets its result.
VL_EXTEND(ext_null) { return nullptr; }

TEST_F(Extend, NestedCallsEachSeeTheirOwnArguments)
{
  VL_EXTEND_REGISTER(ext_inner);
  VL_EXTEND_REGISTER(ext_outer);
  var** const before = gl_argv;
  EXPECT_EQ(str(exp_eval("EXT_OUTER('out', 1)")), "3:in|2:out");
  EXPECT_EQ(gl_argv, before);
  EXPECT_EQ(vl_call(_bb_ext_null, {}), NIL_VAR);
}

TEST_F(Extend, ABreakThroughARoutineRestoresTheCallersArguments)
{
  var** const before = gl_argv;
  vl_call(catch_break, {});
  EXPECT_EQ(argv_after_catch, before);
  EXPECT_EQ(str(vl_call(_bb_ext_survive, {set_cv("mine")})), "mine");
  EXPECT_NE(argv_before_catch, before) << "the routine's own arguments";
  EXPECT_EQ(argv_after_catch, argv_before_catch);
  EXPECT_EQ(gl_argv, before);
  EXPECT_EQ(glob_sequencebuf, nullptr);
}
