// The directory functions: DIRECTORY, ADIR, CURDIR and DISKSPACE, on a
// directory of known files.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <ctime>
#include <string>

#include "dates.hpp"
#include "dirfuncs.h"
#include "files.h"
#include "vltest.h"

using namespace vl;

using vltest::str;

namespace {

class DirFuncs : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    for (const char* name : {"b.dbf", "a.DBF", "noext", ".hidden", "c.txt"}) dir_.write(name, "abc");
    ASSERT_EQ(mkdir((dir_ / "sub").c_str(), 0700), 0);
    struct tm when = {};
    when.tm_year = 2021 - 1900, when.tm_mon = 2, when.tm_mday = 4, when.tm_hour = 5, when.tm_min = 6;
    when.tm_sec = 7, when.tm_isdst = -1;
    const struct utimbuf t = {mktime(&when), mktime(&when)};
    utime((dir_ / "b.dbf").c_str(), &t);
  }
  // The rows DIRECTORY gives for mask (under the directory) and attrs as
  // "name/attributes", joined by blanks.
  std::string names(const char* mask, const char* attrs)
  {
    var* a = vl_call(_bb_directory, {set_cv((dir_ / mask).c_str()), set_cv(attrs)});
    std::string joined;
    for (uint32_t i = 0; i < VARR(a)->A_size; ++i) {
      var** row = VARR(VARR(a)->A_vec[i])->A_vec;
      joined += (i ? " " : "") + str(row[0]) + "/" + str(row[4]);
    }
    return joined;
  }
  vltest::TempDir dir_;
};

TEST_F(DirFuncs, DirectoryListsByMaskAndAttributes)
{
  const struct {
    const char* mask;
    const char* attrs;
    const char* names;
  } cases[] = {{"*", "", "a.DBF/A b.dbf/A c.txt/A noext/A"},
               {"", "", "a.DBF/A b.dbf/A c.txt/A noext/A"},
               {"*.*", "", "a.DBF/A b.dbf/A c.txt/A noext/A"},
               {"*.dbf", "", "b.dbf/A"},
               {"*", "hd", ".hidden/HA a.DBF/A b.dbf/A c.txt/A noext/A sub/D"},
               {"s*", "D", "sub/D"},
               {"[.n]*", "S", ".hidden/HA noext/A"},
               {"noext.*", "", "noext/A"},
               {"sub", "", ""},
               {"nothing*", "DHS", ""}};
  for (const auto& c : cases) EXPECT_EQ(names(c.mask, c.attrs), c.names) << c.mask << " " << c.attrs;

  var* a = vl_call(_bb_directory, {set_cv((dir_ / "b.dbf").c_str())});
  ASSERT_EQ(VARR(a)->A_size, 1u);
  var** row = VARR(VARR(a)->A_vec[0])->A_vec;
  EXPECT_EQ(vlnNumVar(row[1]), 3);
  EXPECT_EQ(row[2]->Type, 'D');
  EXPECT_EQ(VINT(row[2]), datoint(4, 3, 2021));
  EXPECT_EQ(str(row[3]), "05:06:07");
  a = vl_call(_bb_directory, {set_cv((dir_ / "").c_str()), set_cv("V")});
  ASSERT_EQ(VARR(a)->A_size, 1u);
  EXPECT_EQ(str(VARR(VARR(a)->A_vec[0])->A_vec[4]), "V");
  EXPECT_TRUE(reports().empty());
  vl_call(_bb_directory, {set_nv(1, 0)});
  EXPECT_EQ(last_code(), 312);
}

TEST_F(DirFuncs, AdirFillsTheArraysItIsGiven)
{
  var* names = cre_arr(cre_tmpvar(), 2, VL_ARR_NIL, nullptr);
  var* sizes = cre_arr(cre_tmpvar(), 9, VL_ARR_NIL, nullptr);
  const std::string mask = dir_ / "*";
  var* n = vl_call(_bb_adir, {set_cv(mask.c_str()), names, sizes});
  EXPECT_EQ(vlnNumVar(n), 4);
  EXPECT_EQ(str(VARR(names)->A_vec[0]), "a.DBF");
  EXPECT_EQ(str(VARR(names)->A_vec[1]), "b.dbf");
  EXPECT_EQ(vlnNumVar(VARR(sizes)->A_vec[3]), 3);
  EXPECT_EQ(VARR(sizes)->A_vec[4]->Type, 'U');
  var* attrs = cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, nullptr);  // asks for D, H and S entries too
  n = vl_call(_bb_adir, {set_cv(mask.c_str()), NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, attrs});
  EXPECT_EQ(vlnNumVar(n), 6);

  char* was = getcwd(nullptr, 0);
  ASSERT_EQ(chdir(dir_.path().c_str()), 0);
  EXPECT_EQ("/" + str(vl_call(_bb_curdir, {})), dir_.path());
  EXPECT_GT(vlnNumVar(vl_call(_bb_diskspace, {})), 0);
  EXPECT_EQ(vlnNumVar(vl_call(_bb_diskspace, {set_cv("/nonexistent/dir")})), 0);
  EXPECT_EQ(chdir(was), 0);
  free(was);
}

}  // namespace
