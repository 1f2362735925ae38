// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TilesSupport.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <random>

// Orthophotos that are made tile by tile.

namespace {

using kesgdal::MadeTile;
using kesgdal::OrthoPlan;
using kesgdal::OrthoTiling;
using kesgdal::TileMaker;
using test::TiledFlights;

// Boxes are 1024 pixels wide, so that these are several.
constexpr double smallPixels = 0.15;

std::vector<std::size_t> shuffled(std::size_t count) {
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::shuffle(order.begin(), order.end(), std::mt19937(4711));
  return order;
}

TEST(OrthoTiles, InAnyOrderMakeTheFileOfOneProcess) {
  TiledFlights const flights;
  OrthoPlan const plan = flights.first.plan(smallPixels);
  OrthoTiling const tiling = flights.planned(plan, {.tileSide = 1024});
  ASSERT_EQ(tiling.tileCount(), 6U);
  for (std::size_t const index : shuffled(tiling.tileCount())) {
    MadeTile const made = kesgdal::makeTile(tiling, index);
    EXPECT_TRUE(made.isNew);
    EXPECT_EQ(made.index, index);
  }
  EXPECT_TRUE(flights.finishedBytes(tiling) == flights.wholeBytes(plan));
}

}  // namespace
