// Test fixtures shared by every test program.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <source_location>
#include <string>
#include <vector>

#include "vl.h"

namespace vltest {

// Captures every error report instead of running the batch handler, checks
// that each test leaves the temporary stack and the frames as it found them,
// and puts back the process-wide state a test may change (the SET values,
// VL_Set switches, hooks, the error block, the function registry, the
// selected work area and the current directory), so that the tests of one
// program pass in any order in one process.
class VlTest : public ::testing::Test {
 public:
  // Reports seen since SetUp, in order.
  struct Seen {
    int code;
    int severity;
    std::string description;
  };
  static std::vector<Seen>& reports();

 protected:
  VlTest();
  ~VlTest() override;
  void SetUp() override;
  void TearDown() override;
  // The code of the last report, 0 if none.
  int last_code() const;
  // How many reports had code; whether one had code and contained text.
  static int count(int code);
  static bool reported(int code, const std::string& text);

  int32_t tmp_mark_ = 0;
  frame* frame_mark_ = nullptr;
  int32_t depth_mark_ = 0;

 private:
  struct Saved;
  std::unique_ptr<Saved> saved_;
};

// A fresh directory under /tmp, removed with what it holds at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  // The directory, or the path of name inside it.
  const std::string& path() const { return dir_; }
  std::string operator/(const std::string& name) const { return dir_ + "/" + name; }
  // Write data (NUL bytes too) to file name inside it; read it back.
  void write(const std::string& name, const std::string& data) const;
  std::string read(const std::string& name) const;

 private:
  std::string dir_;
};

// The text of a 'C'/'M' value as a std::string.
std::string str(var* v);

// A value as the expression tables write it: what ? shows, except that a
// number loses its leading blanks, an array shows its elements,
// "{1, abc, {}}" (nested deeper than eight levels: "{...}"), and the
// error record shows as "ERROR".
std::string shown(var* v);

// One case of an expression table: the text, and what its value shows as;
// "#312" when its first report must have that code (the value is not
// checked), "#902 1" when the value is checked too; no want when it only
// must not report (a row that sets up the rows after it).
struct Row {
  const char* expr;
  const char* want = nullptr;
};

// Evaluates the rows in order as statements of one function, so that a
// variable one row assigns is seen by the rows after it, and fails the
// test (at the caller's line, naming the row) for each row whose value or
// report differs.  Needs the VlTest fixture's report capture.
void expect_rows(std::initializer_list<Row> rows,
                 std::source_location at = std::source_location::current());

}  // namespace vltest
