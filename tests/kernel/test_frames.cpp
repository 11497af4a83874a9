// Frames, parameters, PRIVATE/PUBLIC, calls by name and the repair after a
// BREAK, written the way generated code calls them.
#include <csetjmp>
#include <cstring>

#include "frame.hpp"
#include "vltest.h"

using namespace vl;

using vltest::str;

class Frames : public vltest::VlTest {};

namespace {

int32_t idx(const char* name) { return vln_add_var(name); }

// FUNCTION Typed(n AS NUMERIC, c AS CHARACTER): returns n.
var* typed(int argc, var** argv)
{
  VL_BEGIN("frames.prg", "typed");
  var* n = VL_PARAM(0, 'N');
  VL_PARAM(1, 'C');
  VL_RETURN(n);
}

// FUNCTION Local(): RETURN a local string.
var* returns_local(int argc, var** argv)
{
  VL_BEGIN("frames.prg", "returnslocal");
  var* s = VL_LOCAL('U');
  VL_STMT(set_Cvar(s, "made inside", -1));
  VL_RETURN(s);
}

// FUNCTION Shadow(): PRIVATE x := "inner", records what it saw.
std::string seen_inside;
var* shadow(int argc, var** argv)
{
  VL_BEGIN("frames.prg", "shadow");
  VL_STMT(vln_declare(idx("x")));
  VL_STMT(vln_declare(idx("x")));  // a second PRIVATE at the same depth
  VL_STMT(set_cvarf(idx("x"), "inner"));
  VL_STMT(seen_inside = str(vlnGetVar(idx("x"))));
  VL_RETURN_NIL();
}

// FUNCTION MakePublic(): PUBLIC y over a PRIVATE y of the caller.
var* make_public(int argc, var** argv)
{
  VL_BEGIN("frames.prg", "makepublic");
  VL_STMT(vln_public(idx("y")));
  VL_RETURN_NIL();
}

// BREAK "broken" to the innermost sequence.
__attribute__((noinline)) void break_out()
{
  vln_break_value = set_cv("broken");
  longjmp(*glob_sequencebuf, 1);
}

// FUNCTION Deep(n): recurses n levels with a PRIVATE each, then BREAKs.
// (Every path ends in a BREAK, which the compiler takes for endless
// recursion.)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winfinite-recursion"
var* deep(int argc, var** argv)
{
  VL_BEGIN("frames.prg", "deep");
  var* n = VL_PARAM(0, 'N');
  VL_STMT(vln_declare(idx("level")));
  VL_STMT(set_nvarf(idx("level"), vlnNumVar(n), 0));
  for (int k = 0; k < 10; ++k) set_cv("garbage");
  if (vlnNumVar(n) <= 0)
    break_out();
  else
    VL_STMT(vl_call(deep, {set_nv(vlnNumVar(n) - 1, 0)}));
  VL_RETURN_NIL();
}
#pragma GCC diagnostic pop

}  // namespace

// A missing parameter gets the empty value of its type quietly; a wrong
// type reports once (unless quiet) and leaves the caller's variable alone.
TEST_F(Frames, ParametersOfTheWrongTypeOrMissing)
{
  EXPECT_EQ(vltest::shown(vl_call(typed, {})), "0");
  EXPECT_TRUE(reports().empty());
  var* caller = mak_var('N', 'U');
  set_Cvar(caller, "text", -1);
  EXPECT_EQ(vl_call(typed, {caller})->Type, 'N');
  ASSERT_EQ(reports().size(), 1u);
  EXPECT_EQ(reports()[0].code, 201);
  EXPECT_EQ(reports()[0].description,
            "data type mismatch;for parameter #1;expected N - received C;"
            "defaulting to empty parameter of type N");
  EXPECT_EQ(str(caller), "text");
  del_var(caller);
  frame f;
  vln_fn_start(&f, "m", "q", 1, 1);
  var* args[1] = {set_cv("x")};
  EXPECT_EQ(vln_local_param(1, 0, args, 'N' | 128)->Type, 'N');
  EXPECT_EQ(reports().size(), 1u);
  vln_fn_end(&f, 'U');
}

TEST_F(Frames, ATemporaryArgumentBecomesTheLocalAndAConstantIsCopied)
{
  frame f;
  vln_fn_start(&f, "m", "p", 1, 2);
  var* t = set_nv(1, 0);
  var* args[2] = {t, TRUE_VAR};
  EXPECT_EQ(vln_local_param(2, 0, args, 'U'), t);
  EXPECT_EQ(t->Mode, 'N');
  var* c = vln_local_param(2, 1, args, 'L');
  EXPECT_NE(c, TRUE_VAR);
  EXPECT_EQ(c->Mode, 'S');
  set_lvar(c, 0);
  EXPECT_EQ(VINT(TRUE_VAR), 1);
  vln_fn_end(&f, 'U');
}

TEST_F(Frames, AReturnedLocalOutlivesTheCalleeUntilTheNextStatement)
{
  frame f;
  vln_fn_start(&f, "m", "caller", 1, 0);
  var* r = vl_call(returns_local, {});
  EXPECT_EQ(str(r), "made inside");
  EXPECT_EQ(tmpvar_cnt, f.TmvNp + 1);
  del_tmpvars(f.TmvNp);
  EXPECT_EQ(tmpvar_cnt, f.TmvNp);
  vln_fn_end(&f, 'U');
}

TEST_F(Frames, ReturnTypesAreChecked)
{
  frame f;
  vln_fn_start(&f, "m", "r", 1, 0);
  f.RetVal = mk_var_cp(set_nv(1, 0));
  vln_fn_end(&f, 'L');
  EXPECT_TRUE(reports().empty());
  vln_fn_start(&f, "m", "r", 1, 0);
  f.RetVal = mk_var_cp(set_cv("s"));
  var* r = vln_fn_end(&f, 'L');
  EXPECT_EQ(reports().back().description,
            "data type mismatch;Illegal return type, expected L - received C");
  EXPECT_EQ(str(r), "s");
}

TEST_F(Frames, PrivateShadowsAndIsRestoredOnReturn)
{
  set_cvarf(idx("x"), "outer");
  const int32_t stack = cur_var_stack;
  vl_call(shadow, {});
  EXPECT_EQ(seen_inside, "inner");
  EXPECT_EQ(str(vlnGetVar(idx("x"))), "outer");
  EXPECT_EQ(cur_var_stack, stack);
}

TEST_F(Frames, PublicOverAnExistingPrivateKeepsIt)
{
  frame f;
  vln_fn_start(&f, "m", "outer", 1, 0);
  vln_declare(idx("y"));
  set_nvarf(idx("y"), 5, 0);
  vl_call(make_public, {});
  EXPECT_EQ(VDBL(vlnGetVar(idx("y"))), 5.0);
  vln_fn_end(&f, 'U');

  vln_public(idx("newpub"));
  EXPECT_EQ(vlnGetVar(idx("newpub"))->Type, 'L');
  EXPECT_EQ(VINT(vlnGetVar(idx("newpub"))), 0);
  EXPECT_EQ(vlnGetVar(idx("newpub"))->D_level, 0);
}

TEST_F(Frames, ParametersStatementMakesTheArgumentThePrivate)
{
  frame f;
  vln_fn_start(&f, "m", "params", 1, 1);
  var* byref = mak_var('N', 'U');
  set_nvar(byref, 1, 0);
  var* args[1] = {byref};
  vln_private_param(idx("p1"), 1, 0, args);
  vln_private_param(idx("p2"), 1, 1, args);
  EXPECT_EQ(vlnGetVar(idx("p1")), byref);
  EXPECT_EQ(vlnGetVar(idx("p2"))->Type, 'U');
  set_nvarf(idx("p1"), 9, 0);
  vln_fn_end(&f, 'U');
  EXPECT_EQ(VDBL(byref), 9.0);  // the caller's variable was the PRIVATE
  del_var(byref);
}

TEST_F(Frames, TheVariableStackGrowsPastItsFirstBlock)
{
  frame f;
  vln_fn_start(&f, "m", "many", 1, 0);
  for (int k = 0; k < 250; ++k) vln_declare(idx(("pv" + std::to_string(k)).c_str()));
  EXPECT_GE(cur_var_stack - f.TmvLp, 250);
  vln_fn_end(&f, 'U');
  EXPECT_EQ(cur_var_stack, f.TmvLp);
}

TEST_F(Frames, BreakRepairRestoresFramesPrivatesAndTemporaries)
{
  frame f;
  vln_fn_start(&f, "m", "catcher", 1, 0);
  set_nvarf(idx("level"), -1, 0);
  const int32_t vars = cur_var_stack;
  jmp_buf buf;
  jmp_buf* saved = glob_sequencebuf;
  glob_sequencebuf = &buf;
  volatile bool recovered = false;
  if (setjmp(buf) == 0) {
    vl_call(deep, {set_nv(3, 0)});
  } else {
    vln_after_break(&f);
    recovered = true;
  }
  vln_cleanup(saved);
  EXPECT_TRUE(recovered);
  EXPECT_EQ(old_fn_stack, &f);
  EXPECT_EQ(glob_depth, f.Depth + 1);
  EXPECT_EQ(cur_var_stack, vars);
  EXPECT_EQ(VDBL(vlnGetVar(idx("level"))), -1.0);
  EXPECT_EQ(tmpvar_cnt, f.TmvNp);
  EXPECT_EQ(glob_sequencebuf, saved);
  vln_fn_end(&f, 'U');
}

TEST_F(Frames, ClearMemoryEmptiesShadowedVariables)
{
  frame f;
  vln_fn_start(&f, "m", "clear", 1, 0);
  set_cvarf(idx("shadowed"), "outer");
  vln_declare(idx("shadowed"));
  set_cvarf(idx("shadowed"), "inner");
  redo_varstack();
  vln_fn_end(&f, 'U');
  EXPECT_EQ(vlnGetVar(idx("shadowed"))->Mode, 'U');
}

TEST(FramesDeath, AFieldPassedAsParameterIsFatal)
{
  EXPECT_EXIT(
      {
        frame f;
        vln_fn_start(&f, "m", "fld", 1, 1);
        var* field = mak_var('F', 'N');
        var* args[1] = {field};
        vln_local_param(1, 0, args, 'U');
      },
      ::testing::ExitedWithCode(1), "");
}

TEST_F(Frames, ThousandsOfCallsAndBreaksLeaveNothingBehind)
{
  // Run under the sanitizer build, a lost link shows as a leak at exit and
  // a double release as a use after free; here the stacks must balance.
  frame f;
  vln_fn_start(&f, "m", "stress", 1, 0);
  const int32_t vars = cur_var_stack;
  for (int round = 0; round < 2000; ++round) {
    vl_call(shadow, {});
    vl_call(returns_local, {});
    vl_call(typed, {set_nv(round, 0), set_cv("s")});
    jmp_buf buf;
    jmp_buf* saved = glob_sequencebuf;
    glob_sequencebuf = &buf;
    if (setjmp(buf) == 0)
      vl_call(deep, {set_nv(round % 5, 0)});
    else
      vln_after_break(&f);
    vln_cleanup(saved);
    ASSERT_EQ(tmpvar_cnt, f.TmvNp);
    ASSERT_EQ(cur_var_stack, vars);
  }
  vln_fn_end(&f, 'U');
}
