// The memory-variable table, the function registry and the start-up.
#include <cstdlib>
#include <string>

#include "kernel.hpp"
#include "vltest.h"

using namespace vl;

class Names : public vltest::VlTest {};

static var* seven(int, var**) { return set_nv(7, 0); }

TEST_F(Names, NamesFoldToLowerCaseAndTenCharacters)
{
  const int32_t i = vln_add_var("CustomerNumber");
  EXPECT_EQ(locate_var("customernu"), i);
  EXPECT_EQ(locate_var("CUSTOMERNUMBERX"), i);
  EXPECT_STREQ(mv_names[i].name, "customernu");
  EXPECT_EQ(vln_add_var("customernumber"), i);
  EXPECT_LT(locate_var("nosuchname"), 0);
  EXPECT_LT(locate_var(""), 0);
}

TEST_F(Names, IndicesStayStableWhileTheTableGrows)
{
  const int32_t first = vln_add_var("first");
  for (int k = 0; k < 3000; ++k) vln_add_var(("v" + std::to_string(k)).c_str());
  EXPECT_EQ(locate_var("first"), first);
  EXPECT_EQ(locate_var("v2999"), vln_add_var("v2999"));
}

TEST_F(Names, ReadingAnUndeclaredVariableReports901AndWritingDeclaresIt)
{
  const int32_t i = vln_add_var("fresh");
  var* v = vlnGetVar(i);
  EXPECT_EQ(v->Mode, 'U');
  EXPECT_EQ(last_code(), 901);
  EXPECT_EQ(reports().back().description, "(warning);undefined variable fresh");
  reports().clear();
  set_nvarf(i, 3, 0);
  EXPECT_TRUE(reports().empty());
  EXPECT_EQ(vlnGetVar(i)->Type, 'N');
  vlnGetVar(100000);
  EXPECT_EQ(last_code(), 303);
}

TEST_F(Names, ReleaseAndClearMakeVariablesUndefined)
{
  const int32_t i = vln_add_var("gone");
  set_cvarf(i, "x");
  release_var("GONE", 0);
  EXPECT_EQ(mv_names[i].v->Mode, 'U');
  set_nvarf(i, 1, 0);
  clear_mvs(1);
  EXPECT_EQ(mv_names[i].v->Mode, 'U');
}

TEST_F(Names, FindFunFoldsAndAnApplicationReplacesALibraryFunction)
{
  EXPECT_GT(find_fun("LEN"), 0);
  EXPECT_GT(find_fun("errorlevelXYZ"), 0);  // cut to "errorlevel"
  EXPECT_LE(find_fun("nosuchfunc"), 0);
  EXPECT_LE(find_fun(""), 0);
  vln_register_fun("len", seven);
  EXPECT_EQ(glob_ftab[find_fun("len")].fn, seven);
}

TEST_F(Names, ModuleTablesRegisterFunctionsVariablesAndStartRoutines)
{
  static int32_t idx = -1;
  static int ran = 0;
  const VlnFnRec fns[] = {{"modfunc", seven}, {nullptr, nullptr}};
  const VlnVarRec vars[] = {{"modvar", &idx}, {nullptr, nullptr}};
  const VlnIniRec inits[] = {{"b", [] { ran = ran * 10 + 2; }, 20},
                             {"a", [] { ran = ran * 10 + 1; }, 10},
                             {nullptr, nullptr, 0}};
  vln_register_module(fns, vars, inits);
  EXPECT_EQ(idx, locate_var("modvar"));
  EXPECT_GT(find_fun("modfunc"), 0);
  vln_run_inits(VLN_INIT_ALL);
  EXPECT_EQ(ran, 12);
}

TEST_F(Names, EnvironmentTakesTheVlTerminalNames)
{
  setenv("VLTERM", "vt100", 1);
  setenv("VLTERMINFO", "/tmp/ti", 1);
  vlnHandleEnvironment();
  EXPECT_STREQ(getenv("TERM"), "vt100");
  EXPECT_STREQ(getenv("TERMINFO"), "/tmp/ti");
}

int polls_run = 0;
void count_poll() { ++polls_run; }

// The statement boundary skips the call while no poll is registered, and
// runs every registered poll once there is one.  (The poll stays for the
// rest of this program; it only counts.)
TEST_F(Names, StatementBoundaryRunsRegisteredPolls)
{
  const int32_t registered = vln_signal_poll_count;
  _vln_signal_n();
  EXPECT_EQ(polls_run, 0);
  vln_add_signal_poll(count_poll);
  EXPECT_EQ(vln_signal_poll_count, registered + 1);
  _vln_signal_n();
  (_vln_signal_n)();
  EXPECT_EQ(polls_run, 2);
}
