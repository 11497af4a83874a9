// Starts the kernel once, then runs the tests of one program.
#include <gtest/gtest.h>

#include "vl.h"

int main(int argc, char** argv)
{
  ::testing::InitGoogleTest(&argc, argv);
  vln_start(argc, argv);
  return RUN_ALL_TESTS();
}
