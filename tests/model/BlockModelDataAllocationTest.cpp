// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AllocationCount.h"
#include "support/BlockFolder.h"

namespace {

class BlockAllocation : public test::BlockFolder {};

// Each strip begins with a coordinate system that its block's takes the place of.
TEST_F(BlockAllocation, BlockLeavesNothingBehind) {
  std::string const name = file(twoStrips() + test::utm33);
  auto const liveAfter = [&](int blocks) {
    for (int i = 0; i < blocks; ++i) {
      EXPECT_EQ(sensor::BlockModelData(name, false, false, false).numStrips(), 2);
    }
    return test::liveAllocationCount();
  };
  liveAfter(3);  // Caches are filled.
  long const before = liveAfter(1);
  EXPECT_EQ(liveAfter(20), before);
}

}  // namespace
