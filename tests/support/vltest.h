// Test fixtures shared by every test program.
#pragma once

#include <gtest/gtest.h>

#include <memory>
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

// The text of a 'C'/'M' value as a std::string.
std::string str(var* v);

}  // namespace vltest
