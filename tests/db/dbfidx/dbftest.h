// dbftest.h -- what the DBF driver's tests share: a fixture that runs each
// test in a fresh directory of its own, made current, and leaves it with
// every table closed and the driver's switches as they were; readers of a
// table's bytes and of the directory; a guarded evaluation to BREAK out of.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <source_location>
#include <string>

#include "dbfint.hpp"
#include "evaluator.h"
#include "vlgen.h"
#include "vltest.h"

namespace dbftest {

class InDir : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    ASSERT_NE(getcwd(home_, sizeof home_), nullptr);
    ASSERT_EQ(chdir(dir_.path().c_str()), 0);
  }
  void TearDown() override
  {
    run("DBCLOSEALL()");
    vl::vlnDbfWriteBehind = vl::vlnDbfReadAhead = 1;
    vl::vlnPackRename = ::rename;
    EXPECT_EQ(chdir(home_), 0);
    VlTest::TearDown();
  }
  // One expression row (see vltest::Row).
  static void run(const std::string& expr, const char* want = nullptr,
                  std::source_location at = std::source_location::current())
  {
    vltest::expect_rows({{expr.c_str(), want}}, at);
  }
  // The little-endian words at byte at of b.
  static uint32_t le32(const std::string& b, size_t at) { return vl::dbf_get32(reinterpret_cast<const uint8_t*>(b.data() + at)); }
  static uint16_t le16(const std::string& b, size_t at) { return vl::dbf_get16(reinterpret_cast<const uint8_t*>(b.data() + at)); }
  // n bytes at offset at of record rec of table file name.
  std::string field(const std::string& name, int rec, size_t at, size_t n) const
  {
    const std::string f = dir_.read(name);
    return f.substr(le16(f, vl::DBF_OFF_HDRLEN) + (rec - 1) * le16(f, vl::DBF_OFF_RECLEN) + at, n);
  }
  // Every name under the directory with its bytes (a directory as "<dir>").
  std::map<std::string, std::string> files() const
  {
    std::map<std::string, std::string> all;
    for (const auto& e : std::filesystem::recursive_directory_iterator(dir_.path())) {
      const std::string name = e.path().lexically_relative(dir_.path()).string();
      all[name] = e.is_directory() ? "<dir>" : dir_.read(name);
    }
    return all;
  }
  vltest::TempDir dir_;
  char home_[4096] = "";
};

// BEGIN SEQUENCE; the text argv[0]; RECOVER USING e; END SEQUENCE: e, or
// NIL when nothing broke out.
inline var* guarded(int argc, var** argv)
{
  VL_BEGIN("app", "guarded");
  var* e = VL_LOCAL('U');
  VL_BEGIN_SEQUENCE
    VL_STMT(exp_eval(VSTR(argv[0])));
  VL_RECOVER(e)
  VL_END_SEQUENCE;
  VL_RETURN(e);
}

}  // namespace dbftest
