// Classes and dispatch: a small class pair built the way generated code
// builds classes, sent messages by slot and by name; the by-name fallbacks,
// evaluator blocks as methods, long argument lists and BREAK out of a
// method.
#include <csetjmp>
#include <string>

#include "arrays.h"
#include "objects.h"
#include "vlgen.h"
#include "vltest.h"

namespace {

using vltest::str;

// Method indices of the dog class, in class-record order.
enum {
  kAxit, kDouble, kInit, kNameAc, kNameAs, kNoIvarGet, kNoIvarPut, kNoMethod,
  kSpeakBase, kSpeakDog, kWide, kMethodCount
};
// Slots of a dog: legs, name (special), the stored name, contents, hidden
// (special, without methods).
enum { kLegs = 2, kName = 3, kStoredName = 4, kContents = 5, kHidden = 6, kDogSlots = 5 };
constexpr int kWideArgs = 20;

// What the methods saw since SetUp.
struct Log {
  int axit_calls = 0, access_calls = 0, assign_calls = 0, nomethod_argc = 0, wide_argc = 0;
  std::string axit_log;        // the legs of each dog whose axit ran
  void (*on_axit)() = nullptr;  // what an axit does besides
  std::string nomethod_name, get_name, put_name;
  double put_value = 0;
} g;

const VlnClassRow kDogClass[] = {
    {'O', 4, kMethodCount, 3},
    {reinterpret_cast<intptr_t>("animal"), 4, kMethodCount - 1, 0},
    {reinterpret_cast<intptr_t>("dog"), 4, 1, 0},
    {reinterpret_cast<intptr_t>("contentsxyz"), kContents, 0, 'E'},
    {reinterpret_cast<intptr_t>("hidden"), kHidden, 0, 'A'},
    {reinterpret_cast<intptr_t>("legs"), kLegs, 0, 'E'},
    {reinterpret_cast<intptr_t>("name"), kName, 0, 'A'},
    {reinterpret_cast<intptr_t>("axit"), kAxit, 0, 'M'},
    {reinterpret_cast<intptr_t>("doubleitwithalongname"), kDouble, 0, 'M'},
    {reinterpret_cast<intptr_t>("init"), kInit, 0, 'M'},
    {reinterpret_cast<intptr_t>("name"), kNameAc, 0, 'A'},
    {reinterpret_cast<intptr_t>("name"), kNameAs, 0, '='},
    {reinterpret_cast<intptr_t>("noivarget"), kNoIvarGet, 0, 'M'},
    {reinterpret_cast<intptr_t>("noivarput"), kNoIvarPut, 0, 'M'},
    {reinterpret_cast<intptr_t>("nomethod"), kNoMethod, 0, 'M'},
    {reinterpret_cast<intptr_t>("speak"), kSpeakBase, 0, 'M'},
    {reinterpret_cast<intptr_t>("speak"), kSpeakDog, 1, 'M'},
    {reinterpret_cast<intptr_t>("wide"), kWide, 0, 'M'},
};

// A class with one plain instance variable and no methods at all.
const VlnClassRow kBareClass[] = {
    {'O', 1, 0, 2},
    {reinterpret_cast<intptr_t>("bare"), 1, 0, 0},
    {reinterpret_cast<intptr_t>("x"), 2, 0, 'E'},
};

var* dog_axit(int argc, var** argv)
{
  VL_BEGIN("dog.prg", "dog_axit");
  ++g.axit_calls;
  g.axit_log += std::to_string(vlnIntVar(vlnGetObj(argv[0], kLegs))) + " ";
  if (g.on_axit) g.on_axit();
  VL_RETURN(argv[0]);
}

// init(nLegs): stores the leg count.
var* dog_init(int argc, var** argv)
{
  VL_BEGIN("dog.prg", "dog_init");
  VL_STMT(if (argc > 1) cpy_var(vlnGetObj(argv[0], kLegs), argv[1]));
  VL_RETURN(argv[0]);
}

var* dog_name_ac(var* obj)
{
  ++g.access_calls;
  return vlnGetObj(obj, kStoredName);
}

var* dog_name_as(var* obj, var* value)
{
  ++g.assign_calls;
  return cpy_var(vlnGetObj(obj, kStoredName), value);
}

var* dog_nomethod(int argc, var** argv)
{
  VL_BEGIN("dog.prg", "dog_nomethod");
  g.nomethod_name = str(argv[1]);
  g.nomethod_argc = argc;
  VL_RETURN(set_cv("handled"));
}

var* animal_speak(int argc, var** argv)
{
  VL_BEGIN("animal.prg", "animal_speak");
  vl_frame_.SuperLevel = 0;
  VL_RETURN(set_cv("..."));
}

// The subclass's speak adds to what the base class says (a super call).
var* dog_speak(int argc, var** argv)
{
  VL_BEGIN("dog.prg", "dog_speak");
  vl_frame_.SuperLevel = 1;
  var* r = VL_LOCAL('U');
  VL_STMT(var* base = vlnNoDoMethod("speak", 1, argc, argv);
          set_Cvar(r, ("woof" + str(base)).c_str(), -1));
  VL_RETURN(r);
}

var* dog_noivarget(int argc, var** argv)
{
  g.get_name = str(argv[1]);
  return set_cv("got");
}

var* dog_noivarput(int argc, var** argv)
{
  g.put_name = str(argv[1]);
  g.put_value = vlnNumVar(argv[2]);
  return argv[2];
}

// Counts its arguments, then BREAKs with the last one.
var* dog_wide(int argc, var** argv)
{
  g.wide_argc = argc;
  return _bb_break(1, &argv[argc - 1]);
}

var* dog_collect_methods()
{
  static var* methods = nullptr;
  if (methods) return methods;
  methods = cre_arr(mak_var('N', 'U'), kMethodCount, 0, static_cast<var*>(nullptr));
  vlnAddMethod(methods, kAxit, reinterpret_cast<AnyFn>(dog_axit), 0);
  vlnAddMethod(methods, kInit, reinterpret_cast<AnyFn>(dog_init), 1);
  vlnAddMethod(methods, kNameAc, reinterpret_cast<AnyFn>(dog_name_ac), 0);
  vlnAddMethod(methods, kNameAs, reinterpret_cast<AnyFn>(dog_name_as), 1);
  vlnAddMethod(methods, kNoMethod, reinterpret_cast<AnyFn>(dog_nomethod), 0);
  vlnAddMethod(methods, kSpeakBase, reinterpret_cast<AnyFn>(animal_speak), 0);
  vlnAddMethod(methods, kSpeakDog, reinterpret_cast<AnyFn>(dog_speak), 0);
  vlnAddMethod(methods, kNoIvarGet, reinterpret_cast<AnyFn>(dog_noivarget), 0);
  vlnAddMethod(methods, kNoIvarPut, reinterpret_cast<AnyFn>(dog_noivarput), 1);
  vlnAddMethod(methods, kWide, reinterpret_cast<AnyFn>(dog_wide), 0);
  cpy_var(VARR(methods)->A_vec[kDouble], exp_eval("{|o, x| x * 2}"));
  return methods;
}

var* dog_new(int argc, var** argv)
{
  VL_BEGIN("dog.prg", "dognew");
  var* obj = set_Ov(kDogSlots, kDogClass, dog_collect_methods());
  vlnSetDefault(obj, kLegs, 'N', nullptr);
  vlnDoSpecial(obj, kName, kStoredName, kNameAc, kNameAs);
  vlnDoSpecial(obj, kHidden, -1, -1, -1);
  VL_RETURN_T(vlnDoInit(obj, argc, argv), 'O');
}

class Objects : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    g = {};
  }
  var* new_dog(double legs) { return vl_call(dog_new, {set_nv(legs, 0)}); }
  // A variable holding a new array of the values.
  static var* array_of(std::initializer_list<var*> values)
  {
    return cre_arr(mak_var('N', 'U'), static_cast<int32_t>(values.size()), VL_ARR_LIST, values);
  }
  // Send by name from outside any method.
  var* send(const char* name, var* obj, int argc = 0, var** args = nullptr)
  {
    var* vec[8] = {obj};
    for (int i = 0; i < argc; ++i) vec[i + 1] = args[i];
    return vlnNoDoMethod(name, 0, argc + 1, vec);
  }
};

// Construction, dispatch by slot and by name (with a super call), the
// access and assign methods of a special slot, and the nomethod fallback.
TEST_F(Objects, ConstructionAndDispatch)
{
  var* dog = new_dog(4);
  ASSERT_EQ(dog->Type, 'O');
  EXPECT_EQ(VDBL(vlnGetObj(dog, kLegs)), 4.0);  // init ran
  EXPECT_EQ(vlnGetObj(dog, kName)->Type, '?');
  EXPECT_EQ(vltest::shown(_bb_isobjclass(1, &dog)), "{DOG, ANIMAL}");
  EXPECT_EQ(str(vlnDoMethod("speak", kSpeakDog, 0, 1, &dog)), "woof...");
  EXPECT_EQ(str(send("SPEAK", dog)), "woof...");
  vlnNoIVar(dog, "name", 0, set_cv("Rex"));
  EXPECT_EQ(str(vlnNoIVar(dog, "NAME", 0, nullptr)), "Rex");
  EXPECT_EQ(str(vlnDoInstance(dog, "name", kName, 0, nullptr)), "Rex");
  EXPECT_EQ(g.assign_calls * 10 + g.access_calls, 12);
  vlnDoInstance(dog, "legs", kLegs, 0, set_nv(3, 0));  // plain slots in place
  EXPECT_EQ(VDBL(vlnNoIVar(dog, "legs", 0, nullptr)), 3.0);
  var* arg = set_nv(7, 0);
  EXPECT_EQ(str(send("fetch", dog, 1, &arg)), "handled");
  EXPECT_EQ(g.nomethod_name + std::to_string(g.nomethod_argc), "fetch3");
  // An index past the class's methods takes the same road.
  EXPECT_EQ(str(vlnDoMethod("fetch", kMethodCount + 3, 0, 1, &dog)), "handled");
  EXPECT_EQ(last_code(), 0);
}

TEST_F(Objects, MissingMethodsInstancesAndObjectsAreReported)
{
  var* bare = set_Ov(1, kBareClass, cre_arr(cre_tmpvar(), 0, 0, static_cast<var*>(nullptr)));
  var* empty = vlnSetFixedEmpty(cre_tmpvar(), 'O');
  send("fly", bare);
  vlnNoIVar(bare, "y", 0, nullptr);
  send("fly", empty);
  vlnNoIVar(empty, "x", 0, nullptr);
  std::string seen;
  for (const auto& r : reports()) seen += r.description + "|";
  EXPECT_EQ(seen,
            "Illegal method;Class 'bare' has no method 'fly'|"
            "Illegal instance;Class 'bare' has no instance 'y'|"
            "Illegal method;Class for method 'fly' has not been instantiated yet|"
            "Illegal instance;Class for instance 'x' has not been instantiated yet|");
  vlnNoIVar(bare, "X", 0, set_nv(9, 0));
  EXPECT_EQ(VDBL(vlnGetObj(bare, 2)), 9.0);
  var* n = set_nv(1, 0);
  EXPECT_EQ(vlnDoMethod("fly", 0, 0, 1, &n), NIL_VAR);
  EXPECT_EQ(last_code(), 317);
  EXPECT_EQ(vlnGetObj(n, 1), NIL_VAR);
  EXPECT_EQ(last_code(), 404);
}

// Elements go last to first, a nested array's where it stands, also under
// many levels of nesting.
TEST_F(Objects, ReleaseRunsNestedAxitsLastToFirst)
{
  constexpr int kDepth = 1000;
  const int32_t mark = tmpvar_cnt;
  var* inner = array_of({new_dog(2), new_dog(3)});
  var* h = array_of({new_dog(1), inner, new_dog(4)});
  del_var(inner);
  for (int i = 0; i < kDepth; ++i) {
    cpy_var(h, cre_arr(cre_tmpvar(), 2, VL_ARR_LIST, {set_nv(i, 0), h}));
    del_tmpvars(mark);
  }
  del_var(h);
  EXPECT_EQ(g.axit_log, "4 3 2 1 ");
}

var* g_walked = nullptr;  // the array an axit empties
void empty_walked() { vl_call(_bb_asize, {g_walked, set_nv(0, 0)}); }

// An element's old value is a dog whose axit empties the array that the
// function is still walking.
TEST_F(Objects, AnAxitMayEmptyTheArrayBeingChanged)
{
  struct Case {
    const char* what;
    int dog_at;  // the dog's position in {7, 8, 9}
    var* (*change)(var* a);
    uint32_t size_after;
  } cases[] = {
      {"AFILL", 1, [](var* a) { return vl_call(_bb_afill, {a, NIL_VAR}); }, 0},
      {"ACOPY", 1,
       [](var* a) { return vl_call(_bb_acopy, {cre_arr(cre_tmpvar(), 3, 0, (var*)0), a}); }, 0},
      {"ASIZE", 3, [](var* a) { return vl_call(_bb_asize, {a, set_nv(1, 0)}); }, 1},
      {"refill", 1, [](var* a) { return cre_arr(a, 2, VL_ARR_NIL, (var*)nullptr); }, 2},
      {"ADEL", 1, [](var* a) { return vl_call(_bb_adel, {a, set_nv(1, 0)}); }, 0},
  };
  g.on_axit = empty_walked;
  for (const Case& c : cases) {
    const int32_t mark = tmpvar_cnt;
    var* v[] = {set_nv(7, 0), set_nv(8, 0), set_nv(9, 0)};
    v[c.dog_at - 1] = new_dog(c.dog_at);
    g_walked = array_of({v[0], v[1], v[2]});
    del_tmpvars(mark);
    g.axit_calls = 0;
    c.change(g_walked);
    del_tmpvars(mark);
    EXPECT_EQ(g.axit_calls, 1) << c.what;
    EXPECT_EQ(VARR(g_walked)->A_size, c.size_after) << c.what;
    del_var(g_walked);
  }
  EXPECT_EQ(last_code(), 0);
}

// Cycles are not collected; one the program breaks is released whole.
TEST_F(Objects, ACycleBrokenByTheProgramIsReleased)
{
  const int32_t mark = tmpvar_cnt;
  var* a = array_of({new_dog(4)});
  vl_call(_bb_aadd, {a, a});
  del_tmpvars(mark);
  cpy_var(dget_arr(a, 2), NIL_VAR);
  EXPECT_EQ(g.axit_calls, 0);
  del_var(a);
  EXPECT_EQ(g.axit_calls, 1);
}

void break_once()
{
  g.on_axit = nullptr;
  vln_break_value = NIL_VAR;
  longjmp(*glob_sequencebuf, 1);
}

// A BREAK out of an axit abandons the release it ran in; the next release
// finishes it.
TEST_F(Objects, ABreakOutOfAnAxitLeavesTheRestPending)
{
  frame f;
  vln_fn_start(&f, "test.prg", "test", 1, 0);
  var* a = array_of({new_dog(1), new_dog(2)});
  del_tmpvars(f.TmvNp);
  g.on_axit = break_once;
  jmp_buf buf;
  jmp_buf* const saved = glob_sequencebuf;
  glob_sequencebuf = &buf;
  if (setjmp(buf) == 0) {
    del_var(a);
    ADD_FAILURE() << "no BREAK";
  }
  glob_sequencebuf = saved;
  vln_after_break(&f);
  EXPECT_EQ(g.axit_log, "2 ");
  del_var(array_of({}));
  EXPECT_EQ(g.axit_log, "2 1 ");
  vln_fn_end(&f, 'U');
}

// Unknown names go to noivarget/noivarput; instance names count ten
// characters, method names more; a special slot with no stored value and no
// methods is closed to outsiders without asking the fallback.
TEST_F(Objects, NamesAndTheNoivarFallbacks)
{
  var* dog = new_dog(4);
  EXPECT_EQ(str(vlnNoIVar(dog, "missing", 0, nullptr)), "got");
  vlnNoIVar(dog, "other", 0, set_nv(4, 0));
  EXPECT_EQ(g.get_name + " " + g.put_name + " " + std::to_string(g.put_value), "missing other 4.000000");
  vlnNoIVar(dog, "contentsxyQQQ", 0, set_nv(1, 0));  // differs after 10
  EXPECT_EQ(VDBL(vlnGetObj(dog, kContents)), 1.0);
  var* args[] = {dog, set_nv(21, 0)};
  EXPECT_EQ(vlnNumVar(vlnNoDoMethod("doubleitwithalongname", 0, 2, args)), 42.0);
  EXPECT_EQ(vlnNumVar(vlnNoDoMacroMethod("  DoubleItWithALongName ", 0, 2, args)), 42.0);
  EXPECT_EQ(last_code(), 0);
  g.get_name.clear();
  EXPECT_EQ(vlnNoIVar(dog, "hidden", 0, nullptr), NIL_VAR);
  EXPECT_EQ(last_code(), 344);
  EXPECT_EQ(g.get_name, "");
}

TEST_F(Objects, BreakOutOfAMethodWithALongArgumentList)
{
  var* dog = new_dog(4);
  var* got = cre_tmpvar();
  {
    int argc = 0;
    var** argv = nullptr;
    (void)argv;
    VL_BEGIN("box.prg", "caller");
    VL_BEGIN_SEQUENCE
      var* vec[kWideArgs + 1] = {dog};
      for (int i = 1; i <= kWideArgs; ++i) vec[i] = set_nv(i, 0);
      vlnNoDoMethod("wide", 0, kWideArgs + 1, vec);
    VL_RECOVER(got)
    VL_END_SEQUENCE;
    vln_fn_end(&vl_frame_, 'U');
  }
  EXPECT_EQ(g.wide_argc, kWideArgs + 1);
  EXPECT_EQ(vlnNumVar(got), static_cast<double>(kWideArgs));
  EXPECT_EQ(glob_sequencebuf, nullptr);
}

TEST_F(Objects, PropertiesAndMethodWords)
{
  var* dog = new_dog(4);
  EXPECT_EQ(vltest::shown(_bb_isobjprope(1, &dog)), "{{CONTENTSXYZ, .T.}, {LEGS, .T.}}");
  EXPECT_EQ(vl_call(_bb_isobjprope, {dog, set_cv("hidden")}), TRUE_VAR);
  EXPECT_EQ(vl_call(_bb_isobjprope, {dog, set_cv("wide"), set_nv(4, 0)}), TRUE_VAR);
  EXPECT_EQ(vl_call(_bb_isobjprope, {dog, set_cv("wide")}), FALSE_VAR);
  EXPECT_EQ(vlnGetMethod(dog, "wide", kWide), reinterpret_cast<AnyFn>(dog_wide));
  EXPECT_EQ(vlnGetMethod(dog, "gone", 99), NILCB_VAR->Value.w2.fn);
  EXPECT_EQ(last_code(), 343);
  EXPECT_EQ(vlnGetObj(dog, kHidden + 1), NIL_VAR);
  EXPECT_EQ(last_code(), 409);
}

}  // namespace
