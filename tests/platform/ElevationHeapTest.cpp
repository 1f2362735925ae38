// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ElevationHeap.h"

#include "ElevationSupport.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using dsm::RasterElevationSource;
using test::FormulaRaster;

constexpr int SIDE = 4096;

/// Of every tile of the raster a height, from the north-west on.
void visitAll(RasterElevationSource const& dem) {
  float height = 0.0F;
  for (int row = 64; row < SIDE; row += 128) {
    for (int column = 64; column < SIDE; column += 128) {
      ASSERT_TRUE(dem.height({500000.0 + column, 5400000.0 - row, 0.0}, height));
    }
  }
}

TEST(ElevationHeap, CountersCount) {
  constexpr std::size_t SIZE = 100'000;
  long const count = test::allocationCount();
  std::size_t const before = test::bytesInUse();
  void* const memory = operator new(SIZE);  // a call, which unlike a new-expression no compiler may leave out
  EXPECT_EQ(test::allocationCount(), count + 1);
  EXPECT_GE(test::bytesInUse(), before + SIZE);
  operator delete(memory);
  EXPECT_EQ(test::bytesInUse(), before);
}

// 1024 tiles of 78 KB go through.
TEST(ElevationHeap, TilesKeepWithinTheBound) {
  FormulaRaster raster(SIDE, SIDE, [](int, int) { return 1.0; });
  for (std::size_t const size : {std::size_t{0}, std::size_t{1} << 20U, std::size_t{10} << 20U}) {
    std::size_t const before = test::bytesInUse();
    RasterElevationSource const dem(raster.name(), size);
    visitAll(dem);
    // The tile of an empty cache, those of the thread, and half a megabyte for a tile on its way with all the rest.
    EXPECT_LE(test::bytesInUse() - before, size + std::size_t{17} * 78'000 + 500'000);
    EXPECT_GE(test::bytesInUse() - before, size * 9 / 10);
  }
}

TEST(ElevationHeap, ThreadThatEndsAndSourceThatIsGoneLeaveNothing) {
  FormulaRaster raster(SIDE, SIDE, [](int, int) { return 1.0; });
  auto const useOne = [&] {
    RasterElevationSource const dem(raster.name());
    std::thread([&] { visitAll(dem); }).join();
  };
  useOne();
  std::size_t const before = test::bytesInUse();
  useOne();
  EXPECT_LE(test::bytesInUse(), before + 1000);
}

TEST(ElevationHeap, HeightInAKnownTileAllocatesNothing) {
  FormulaRaster raster(SIDE, SIDE, [](int column, int) { return column == 70 ? NAN : 1.0; });
  RasterElevationSource const dem(raster.name());
  visitAll(dem);
  long const before = test::allocationCount();
  float height = 0.0F;
  for (int i = 0; i < 1000; ++i) {
    static_cast<void>(dem.height({500000.0 + 0.2 * i, 5400000.0 - 3.0 * i, 0.0}, height));
  }
  visitAll(dem);
  EXPECT_EQ(test::allocationCount(), before);
}

}  // namespace
