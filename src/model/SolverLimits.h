// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

// Where searches end: what all forms of the search for a line share, and how many cuts a search for a height makes.

namespace sensor::solver {

inline constexpr float tolerance = 0.05F;           // lines
inline constexpr float squaredTolerance = 0.0025F;  // lines squared
inline constexpr int firstHalvedPass = 21;          // counted from 0
inline constexpr int maxPasses = 250;
inline constexpr int maxCutsAtHeight = 10;
inline constexpr int maxCutsOnSurface = 100;
inline constexpr float countableLines = 16777216.0F;  // 2^24; beyond it, single precision skips whole lines
inline constexpr float noSolution = -1.0F;            // no squared step is as small

}  // namespace sensor::solver
