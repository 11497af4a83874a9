// The by-name fallbacks, evaluator blocks as methods, long argument lists
// and BREAK out of a method.
#include <string>

#include "arrays.h"
#include "blocks.h"
#include "errclass.h"
#include "objects.h"
#include "vlgen.h"
#include "vltest.h"

namespace {

using vltest::str;

enum { kDouble, kNoIvarGet, kNoIvarPut, kWide, kMethodCount };
constexpr int kWideArgs = 20;

std::string g_get_name, g_put_name;
double g_put_value = 0;
int g_wide_argc = 0;

const VlnClassRow kBoxClass[] = {
    {'O', 2, kMethodCount, 2},
    {reinterpret_cast<intptr_t>("box"), 2, kMethodCount, 0},
    {reinterpret_cast<intptr_t>("contentsxyz"), 2, 0, 'E'},
    {reinterpret_cast<intptr_t>("hidden"), 3, 0, 'A'},
    {reinterpret_cast<intptr_t>("doubleitwithalongname"), kDouble, 0, 'M'},
    {reinterpret_cast<intptr_t>("noivarget"), kNoIvarGet, 0, 'M'},
    {reinterpret_cast<intptr_t>("noivarput"), kNoIvarPut, 0, 'M'},
    {reinterpret_cast<intptr_t>("wide"), kWide, 0, 'M'},
};

var* box_noivarget(int argc, var** argv)
{
  g_get_name = str(argv[1]);
  return set_cv("got");
}

var* box_noivarput(int argc, var** argv)
{
  g_put_name = str(argv[1]);
  g_put_value = vlnNumVar(argv[2]);
  return argv[2];
}

// Counts its arguments, then BREAKs with the last one.
var* box_wide(int argc, var** argv)
{
  g_wide_argc = argc;
  return _bb_break(1, &argv[argc - 1]);
}

class ObjectFallbacks : public vltest::VlTest {
 protected:
  var* new_box()
  {
    var* methods = cre_arr(cre_tmpvar(), kMethodCount, 0, static_cast<var*>(nullptr));
    cpy_var(VARR(methods)->A_vec[kDouble], exp_eval("{|o, x| x * 2}"));
    vlnAddMethod(methods, kNoIvarGet, reinterpret_cast<AnyFn>(box_noivarget), 0);
    vlnAddMethod(methods, kNoIvarPut, reinterpret_cast<AnyFn>(box_noivarput), 1);
    vlnAddMethod(methods, kWide, reinterpret_cast<AnyFn>(box_wide), 0);
    var* box = set_Ov(2, kBoxClass, methods);
    vlnDoSpecial(box, 3, -1, -1, -1);
    return box;
  }
};

// Unknown names go to noivarget/noivarput; instance names count ten
// characters, method names more; a special slot with no stored value and no
// methods is closed to outsiders without asking the fallback.
TEST_F(ObjectFallbacks, NamesAndTheNoivarFallbacks)
{
  var* box = new_box();
  EXPECT_EQ(str(vlnNoIVar(box, "missing", 0, nullptr)), "got");
  vlnNoIVar(box, "other", 0, set_nv(4, 0));
  EXPECT_EQ(g_get_name + " " + g_put_name + " " + std::to_string(g_put_value), "missing other 4.000000");
  vlnNoIVar(box, "contentsxyQQQ", 0, set_nv(1, 0));  // differs after 10
  EXPECT_EQ(VDBL(vlnGetObj(box, 2)), 1.0);
  var* args[] = {box, set_nv(21, 0)};
  EXPECT_EQ(vlnNumVar(vlnNoDoMethod("doubleitwithalongname", 0, 2, args)), 42.0);
  EXPECT_EQ(vlnNumVar(vlnNoDoMacroMethod("  DoubleItWithALongName ", 0, 2, args)), 42.0);
  EXPECT_EQ(last_code(), 0);
  g_get_name.clear();
  EXPECT_EQ(vlnNoIVar(box, "hidden", 0, nullptr), NIL_VAR);
  EXPECT_EQ(last_code(), 344);
  EXPECT_EQ(g_get_name, "");
}

TEST_F(ObjectFallbacks, BreakOutOfAMethodWithALongArgumentList)
{
  var* box = new_box();
  var* got = cre_tmpvar();
  {
    int argc = 0;
    var** argv = nullptr;
    (void)argv;
    VL_BEGIN("box.prg", "caller");
    VL_BEGIN_SEQUENCE
      var* vec[kWideArgs + 1] = {box};
      for (int i = 1; i <= kWideArgs; ++i) vec[i] = set_nv(i, 0);
      vlnNoDoMethod("wide", 0, kWideArgs + 1, vec);
    VL_RECOVER(got)
    VL_END_SEQUENCE;
    vln_fn_end(&vl_frame_, 'U');
  }
  EXPECT_EQ(g_wide_argc, kWideArgs + 1);
  EXPECT_EQ(vlnNumVar(got), static_cast<double>(kWideArgs));
  EXPECT_EQ(glob_sequencebuf, nullptr);
}

TEST_F(ObjectFallbacks, PropertiesAndMethodWords)
{
  var* box = new_box();
  var* props = _bb_isobjprope(1, &box);
  ASSERT_EQ(VARR(props)->A_size, 1u);
  var* pair = VARR(props)->A_vec[0];
  EXPECT_EQ(str(VARR(pair)->A_vec[0]), "CONTENTSXYZ");
  var* ask[] = {box, set_cv("hidden")};
  EXPECT_EQ(_bb_isobjprope(2, ask), TRUE_VAR);
  var* ask_method[] = {box, set_cv("wide"), set_nv(4, 0)};
  EXPECT_EQ(_bb_isobjprope(3, ask_method), TRUE_VAR);
  var* ask_none[] = {box, set_cv("wide")};
  EXPECT_EQ(_bb_isobjprope(2, ask_none), FALSE_VAR);
  EXPECT_EQ(vlnGetMethod(box, "wide", kWide), reinterpret_cast<AnyFn>(box_wide));
  EXPECT_EQ(vlnGetMethod(box, "gone", 99), NILCB_VAR->Value.w2.fn);
  EXPECT_EQ(last_code(), 343);
  EXPECT_EQ(vlnGetObj(box, 4), NIL_VAR);
  EXPECT_EQ(last_code(), 409);
}

}  // namespace
