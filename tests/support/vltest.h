// Test fixtures shared by every test program.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vl.h"

namespace vltest {

// Captures every error report instead of running the batch handler, and
// checks that each test leaves the temporary stack and the frames as it
// found them.
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
  void SetUp() override;
  void TearDown() override;
  // The code of the last report, 0 if none.
  int last_code() const;

  int32_t tmp_mark_ = 0;
  frame* frame_mark_ = nullptr;
  int32_t depth_mark_ = 0;
};

// The text of a 'C'/'M' value as a std::string.
std::string str(var* v);

}  // namespace vltest
