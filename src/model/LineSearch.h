// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

#include <cstddef>

// What all forms of the search for a line share. No function is inline here: one form is compiled for another
// processor.

namespace sensor {

/// Where searches end, also those for a height.
namespace solver {

inline constexpr float tolerance = 0.05F;           // lines
inline constexpr float squaredTolerance = 0.0025F;  // lines squared
inline constexpr int firstHalvedPass = 21;          // counted from 0
inline constexpr int maxPasses = 250;
inline constexpr int maxCutsAtHeight = 10;
inline constexpr int maxCutsOnSurface = 100;
inline constexpr float countableLines = 16777216.0F;  // 2^24; beyond it, single precision skips whole lines
inline constexpr float noSolution = -1.0F;            // no squared step is as small

}  // namespace solver

/// What the size of a line in the focal plane depends on, beside the height of the ground.
struct HeightScale {
  float pixelSize;
  float terrainHeight;
  float flyingHeight;
  float imageScale;
};

/// Whether all three coordinates are finite.
bool isFinite(geo::XYZPoint const& position);

/// The height that scales the steps of a run: the first height that is finite, or that of the first position where none
/// is.
double heightOfRun(geo::XYZPoint const* ground, std::size_t count);

}  // namespace sensor
