// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/AllocationCount.h"
#include "project/StripFolder.h"

namespace {

class SupportFileAllocation : public test::StripFolder {};

// Coordinate systems that nobody deletes stay with their factory until the process ends.
TEST_F(SupportFileAllocation, ExportLeavesNothingBehind) {
  auto strip = read(true);
  auto const liveAfter = [&](int exports) {
    for (int i = 0; i < exports; ++i) {
      EXPECT_TRUE(strip.exportSupportFile(0, mFolder / "out.sup"));
    }
    return test::liveAllocationCount();
  };
  liveAfter(3);  // Caches are filled.
  long const before = liveAfter(1);
  EXPECT_EQ(liveAfter(20), before);
}

}  // namespace
