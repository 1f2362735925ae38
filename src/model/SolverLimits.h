#pragma once

// What all forms of the search for a line share.

namespace sensor::solver {

inline constexpr float tolerance = 0.05F;           // lines
inline constexpr float squaredTolerance = 0.0025F;  // lines squared
inline constexpr int firstHalvedPass = 21;          // counted from 0
inline constexpr int maxPasses = 250;

}  // namespace sensor::solver
