// Every test program starts the memory system before its tests and shuts it
// down after them, so the counting allocators report anything a test leaked
// (the shutdown report ends the process with code 1).
#include "foundation/memory/memory_globals.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  foundation::memory_globals::init();
  ::testing::InitGoogleTest(&argc, argv);
  int result = RUN_ALL_TESTS();
  foundation::memory_globals::shutdown();
  return result;
}
