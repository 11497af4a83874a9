// The Extend interface: type flags, addresses into nested arrays and
// objects, the readers' conversions and empty results, write-back into
// by-value and by-reference arguments, results, and the publication of
// gl_argc/gl_argv across nested calls and BREAKs.
#include <climits>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "dates.h"
#include "vltest.h"

using vltest::str;

class Extend : public vltest::VlTest {};

namespace {

// Publishes an argument vector as the running Extend call's for one scope.
class Args {
 public:
  Args(std::initializer_list<var*> args) : vec_(args)
  {
    gl_argc = static_cast<int>(vec_.size());
    gl_argv = vec_.data();
  }
  ~Args()
  {
    gl_argc = saved_argc_;
    gl_argv = saved_argv_;
  }

 private:
  std::vector<var*> vec_;
  int saved_argc_ = gl_argc;
  var** saved_argv_ = gl_argv;
};

// A caller's variable: a plain LOCAL (Mode 'N'), passed by reference.
var* local_var()
{
  var* v = cre_tmpvar();
  v->Mode = 'N';
  return v;
}

// An array temporary of k nested one-element arrays around "deep".
var* nested(int k)
{
  return exp_eval((std::string(k, '{') + "'deep'" + std::string(k, '}')).c_str());
}

}  // namespace

TEST_F(Extend, TypeFlagsOfEveryTypeAndTheByReferenceBit)
{
  var* memo = set_Cvar(cre_tmpvar(), "memo", -1);
  memo->Type = 'M';
  var* byref = set_nvar(local_var(), 1, 0);
  var* strict = set_nvar(local_var(), 1, 0);
  strict->Mode = 'S';
  var* memvar = set_nvar(local_var(), 1, 0);
  memvar->Mode = 'V';
  const struct {
    var* arg;
    int flag;
  } cases[] = {
      {set_cv("c"), VL_EXT_CHARACTER}, {memo, VL_EXT_MEMO},
      {set_nv(1.5, 1), VL_EXT_NUMERIC}, {set_Iv(3), VL_EXT_NUMERIC},
      {set_lv(1), VL_EXT_LOGICAL},      {set_dv(1), VL_EXT_DATE},
      {exp_eval("{1}"), VL_EXT_ARRAY},  {mak_scrvar(nullptr), VL_EXT_SCREEN},
      {set_Ov(1, axNullObj, NIL_VAR), VL_EXT_OBJECT},
      {mk_var_cp(NILCB_VAR), VL_EXT_BLOCK}, {vlnMakeCB("1"), VL_EXT_BLOCK},
      {NIL_VAR, VL_EXT_UNDEF},
      {byref, VL_EXT_NUMERIC | VL_EXT_BYREF}, {strict, VL_EXT_NUMERIC | VL_EXT_BYREF},
      {memvar, VL_EXT_NUMERIC},
  };
  for (const auto& c : cases) {
    Args args{c.arg};
    EXPECT_EQ(_parinfo(1), c.flag) << c.arg->Type << " mode " << c.arg->Mode;
    EXPECT_EQ(_parinfa(1), c.flag & ~VL_EXT_BYREF);
  }
  {
    Args none{};
    EXPECT_EQ(_parinfo(0), 0);
    EXPECT_EQ(_parinfa(0), 0);
    EXPECT_EQ(_parinfo(1), VL_EXT_NONE);
  }
  Args two{NIL_VAR, NIL_VAR};
  EXPECT_EQ(_parinfo(0), 2);
  EXPECT_EQ(_parinfo(3), VL_EXT_NONE);
  EXPECT_EQ(_parinfo(-1), VL_EXT_NONE);
  EXPECT_TRUE(reports().empty());
}

TEST_F(Extend, WalksIntoNestedArraysAndObjects)
{
  var* obj = set_Ov(1, axNullObj, NIL_VAR);
  Args args{exp_eval("{10, {'x', {.T.}}, 'str'}"), obj};
  EXPECT_EQ(_parni(1, 1), 10);
  EXPECT_STREQ(_parc(1, 2, 1), "x");
  EXPECT_EQ(_parl(1, 2, 2, 1), 1);
  EXPECT_STREQ(_parc(1, 3, 5), "str") << "a text ends the walk";
  EXPECT_EQ(_parni(1), 0) << "an array is no number";

  EXPECT_STREQ(_parc(1, 4), "");
  EXPECT_STREQ(_parc(1, -1), "");
  EXPECT_EQ(_parinfa(1, 0), 3);
  EXPECT_EQ(_parinfa(1, 2, 0), 2);
  EXPECT_EQ(_parinfa(1, 2), VL_EXT_ARRAY);
  EXPECT_EQ(_parinfa(1, 2, -1), VL_EXT_ARRAY);
  EXPECT_EQ(_parinfa(1, 2, 2, 1), VL_EXT_LOGICAL);
  EXPECT_EQ(_parinfa(1, 3, 0), 0) << "a text has no elements";
  EXPECT_EQ(_parinfa(1, 4), VL_EXT_NONE);

  // Slot 3 of the object is its instance variable.
  EXPECT_EQ(_parinfa(2, 0), 3);
  EXPECT_EQ(_storc("kept", 2, 3), 1);
  EXPECT_STREQ(_parc(2, 3), "kept");
  EXPECT_EQ(_storc("lost", 2, 4), 0);
  EXPECT_EQ(_storc("lost", 3), 0);
}

TEST_F(Extend, AWalkFollowsNineLevelsAndNoMore)
{
  {
    Args args{nested(9)};
    EXPECT_STREQ(_parc(1, 1, 1, 1, 1, 1, 1, 1, 1, 1), "deep");
    EXPECT_EQ(_parinfa(1, 1, 1, 1, 1, 1, 1, 1, 1, 1), VL_EXT_CHARACTER);
    EXPECT_EQ(_storc("new", 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), 1);
    EXPECT_STREQ(_parc(1, 1, 1, 1, 1, 1, 1, 1, 1, 1), "new");
  }
  Args args{nested(10)};
  EXPECT_STREQ(_parc(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), "");
  EXPECT_EQ(_parinfa(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), VL_EXT_NONE);
  EXPECT_EQ(_storc("new", 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1), 0);
  EXPECT_EQ(_parinfa(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0), 1) << "the size at the ninth level";
}

TEST_F(Extend, ParcCopiesABorrowedTextOnceAndKeepsConstants)
{
  static const char kLiteral[] = "literal";
  var* borrowed = set_cvar(cre_tmpvar(), kLiteral);
  ASSERT_EQ(borrowed->Mode, 't');
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

  const char* empty = VSTR(NULLSTR_VAR);
  EXPECT_EQ(_parc(3), empty) << "a constant is read, never rewritten";
  EXPECT_NE(_parc(4), nullptr);
  EXPECT_STREQ(_parc(4), "");
  EXPECT_TRUE(reports().empty());
}

TEST_F(Extend, TextLengthsWithAnEmbeddedZeroByte)
{
  Args args{set_Cvar(cre_tmpvar(), "ab\0cd", 5), set_nv(1, 0)};
  EXPECT_EQ(_parcsize(1), 6);
  EXPECT_EQ(_parclen(1), 2);
  vl_set_flag[VL_SLOT_NULTEXT] = 1;
  EXPECT_EQ(_parclen(1), 5);
  vl_set_flag[VL_SLOT_NULTEXT] = 0;
  EXPECT_EQ(_parcsize(2), 0);
  EXPECT_EQ(_parclen(2), 0);
}

TEST_F(Extend, NumbersAndLogicalsConvertOnlyWhereTheyMay)
{
  Args args{set_lv(1), set_nv(-3.9, 1), set_Iv(7), set_nv(2.5, 1), set_cv("9"),
            set_nv(1e12, 0)};
  EXPECT_EQ(_parni(1), 0) << "a logical is no number here";
  EXPECT_EQ(_parnl(1), 0);
  EXPECT_EQ(_parnd(1), 0.0);
  EXPECT_EQ(_parl(1), 1);
  EXPECT_EQ(_parni(2), -3) << "truncated toward zero";
  EXPECT_EQ(_parnd(3), 7.0);
  EXPECT_EQ(_parl(4), 1) << "a non-zero number is true";
  EXPECT_EQ(_parnd(5), 0.0);
  EXPECT_EQ(_parl(5), 0);
  EXPECT_EQ(_parni(6), INT_MIN) << "out of 32 bits";
  EXPECT_TRUE(reports().empty()) << "wrong types are silent";
}

TEST_F(Extend, DatesAsYyyymmddTexts)
{
  const int32_t leap = datoint(29, 2, 2024);
  Args args{set_dv(leap), NULLDATE_VAR, set_cv("20240229"), set_dv(1)};
  EXPECT_STREQ(_pards(1), "20240229");
  EXPECT_STREQ(_pards(2), "        ");
  EXPECT_EQ(_pards(3), nullptr);
  EXPECT_STREQ(_pards(4), "00010101");

  var* r = _VLretds("20240229");
  EXPECT_EQ(r->Type, 'D');
  EXPECT_EQ(VINT(r), leap);
  EXPECT_EQ(_stords("19991231", 3), 1);
  EXPECT_EQ(VINT(gl_argv[2]), datoint(31, 12, 1999));
}

TEST_F(Extend, StoresReachTheCallerOnlyByReference)
{
  var* x = set_nvar(local_var(), 1, 0);
  var* arr = cpy_var(local_var(), exp_eval("{1, 2}"));
  const int saved = vln_flagto.decimals;
  vln_flagto.decimals = 3;
  {
    Args args{mk_var_cp(x), x, mk_var_cp(arr), NIL_VAR};
    EXPECT_EQ(_storni(5, 1), 1);
    EXPECT_EQ(VDBL(gl_argv[0]), 5.0);
    EXPECT_EQ(VDBL(x), 1.0) << "a by-value argument is the call's own copy";

    EXPECT_EQ(_storni(5, 2), 1);
    EXPECT_EQ(x->Type, 'N');
    EXPECT_EQ(VDBL(x), 5.0);
    EXPECT_EQ(x->Decimals, 3) << "decimals as SET DECIMALS";

    EXPECT_EQ(_storc("two", 3, 2), 1);
    EXPECT_EQ(str(VARR(arr)->A_vec[1]), "two") << "the array is shared";

    EXPECT_EQ(_storl(1, 4), 0) << "a constant is never written";
    EXPECT_EQ(NIL_VAR->Type, 'U');
    EXPECT_EQ(_stornl(1L << 40, 2), 1);
    EXPECT_EQ(VDBL(x), 1099511627776.0);
    EXPECT_EQ(_storclen("a\0b", 3, 2), 1);
    EXPECT_EQ(x->Length, 4);
    EXPECT_EQ(_stornd(0.25, 2), 1);
    EXPECT_EQ(VDBL(x), 0.25);
  }
  vln_flagto.decimals = saved;
}

TEST_F(Extend, ResultsAreTemporariesOrConstants)
{
  const int saved = vln_flagto.decimals;
  vln_flagto.decimals = 4;
  var* n = _VLretnd(1.5);
  vln_flagto.decimals = saved;
  EXPECT_EQ(n->Type, 'N');
  EXPECT_EQ(n->Decimals, 4);
  EXPECT_EQ(VDBL(n), 1.5);

  char text[] = "abc";
  var* c = _VLretc(text);
  text[0] = 'X';
  EXPECT_EQ(str(c), "abc");
  EXPECT_EQ(_VLretclen("a\0b", 3)->Length, 4);
  EXPECT_EQ(_VLretl(7), TRUE_VAR);
  EXPECT_EQ(_VLretl(0), FALSE_VAR);
  EXPECT_EQ(_VLret(), NIL_VAR);
  EXPECT_EQ(_VLretni(-2)->Type, 'I');
  var* big = _VLretnl(-(1L << 40));
  EXPECT_EQ(big->Type, 'N');
  EXPECT_EQ(VDBL(big), -1099511627776.0);
  EXPECT_EQ(_VLretnl(INT_MIN)->Type, 'I');
}

namespace {

int dups = 0;
void* fake_dup(void* w)
{
  ++dups;
  return new int(*static_cast<int*>(w));
}
void fake_del(void* w) { delete static_cast<int*>(w); }

}  // namespace

TEST_F(Extend, WindowsAreCopiedOnlyWithAScreenLayer)
{
  int window = 42;
  var* target = local_var();
  Args args{target, set_nv(1, 0)};
  EXPECT_EQ(_VLretwin(&window), NIL_VAR);
  EXPECT_EQ(_storscw(&window, 1), 0);
  EXPECT_EQ(_parscw(2), nullptr);

  void* (*saved_dup)(void*) = vlnDupWindowHook;
  void (*saved_del)(void*) = vlnDelWindowHook;
  vlnDupWindowHook = fake_dup;
  vlnDelWindowHook = fake_del;
  dups = 0;
  EXPECT_EQ(_storscw(&window, 1), 1);
  void* copy = _parscw(1);
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy, &window);
  EXPECT_EQ(*static_cast<int*>(copy), 42);
  EXPECT_EQ(_storscw(copy, 1), 1);
  EXPECT_EQ(dups, 1) << "the window it already holds is not copied again";
  var* r = _VLretwin(&window);
  EXPECT_EQ(r->Type, 'S');
  del_tmpvars(tmp_mark_);  // the copies go while the hooks are still in place
  vlnDupWindowHook = saved_dup;
  vlnDelWindowHook = saved_del;
}

TEST_F(Extend, AllocationWithoutFatalFailureReturnsNull)
{
  void* p = _VL_xalloc(64, 1);
  ASSERT_NE(p, nullptr);
  std::memset(p, 1, 64);
  _VL_xfree(p);
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
  std::string s = str(inner) + "|" + std::to_string(_parinfo(0)) + ":" + _parc(1);
  return _VLretc(s.c_str());
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

// FUNCTION Catch(): BEGIN SEQUENCE; EXT_BREAK(); RECOVER; END; RETURN .T.
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
  var* r = exp_eval("EXT_OUTER('out', 1)");
  EXPECT_EQ(str(r), "3:in|2:out");
  EXPECT_EQ(gl_argv, before);
  EXPECT_EQ(vl_call(_bb_ext_null, {}), NIL_VAR);
}

TEST_F(Extend, ABreakThroughARoutineRestoresTheCallersArguments)
{
  var** const before = gl_argv;
  vl_call(catch_break, {});
  EXPECT_EQ(argv_after_catch, argv_before_catch);
  EXPECT_EQ(argv_after_catch, before);

  var* r = vl_call(_bb_ext_survive, {set_cv("mine")});
  EXPECT_EQ(str(r), "mine");
  EXPECT_EQ(argv_after_catch, argv_before_catch);
  EXPECT_EQ(gl_argv, before);
  EXPECT_EQ(glob_sequencebuf, nullptr);
}
