// What a program learns about its system: VERSION, OS, NETNAME, MEMORY;
// TONE through its hook.
#include <limits.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <string>

#include "sysinfo.hpp"
#include "vltest.h"

using vltest::str;

namespace {

double tone[2];
void record_tone(double frequency, double duration) { tone[0] = frequency, tone[1] = duration; }

class SysInfo : public vltest::VlTest {
 protected:
  void TearDown() override
  {
    vlnToneHook = nullptr;
    VlTest::TearDown();
  }
};

TEST_F(SysInfo, TellsTheSystemAndSoundsThroughTheHook)
{
  EXPECT_EQ(str(vl_call(_bb_version, {})).substr(0, 3), "VL ");
  struct utsname u;
  ASSERT_EQ(uname(&u), 0);
  EXPECT_EQ(str(vl_call(_bb_os, {})), std::string(u.sysname) + " " + u.release);
  char host[HOST_NAME_MAX + 1];
  ASSERT_EQ(gethostname(host, sizeof host), 0);
  EXPECT_EQ(str(vl_call(_bb_netname, {})), host);
  for (const double kind : {0, 1, 2}) EXPECT_GT(vlnNumVar(vl_call(_bb_memory, {set_nv(kind, 0)})), 0);
  EXPECT_EQ(vlnNumVar(vl_call(_bb_memory, {set_nv(9, 0)})), 0);

  EXPECT_EQ(vl_call(_bb_tone, {set_nv(440, 0), set_nv(9, 0)}), NIL_VAR);  // no hook: silent
  vlnToneHook = record_tone;
  vl_call(_bb_tone, {set_nv(440, 0)});
  EXPECT_EQ(tone[0], 440);
  EXPECT_EQ(tone[1], 1);
  EXPECT_TRUE(reports().empty());
  vl_call(_bb_tone, {set_cv("440")});
  vl_call(_bb_memory, {set_cv("0")});
  ASSERT_EQ(reports().size(), 2u);
  EXPECT_EQ(reports()[0].code, 312);
  EXPECT_EQ(reports()[1].code, 312);
}

}  // namespace
