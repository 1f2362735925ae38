// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// This file is compiled once for each instruction set: SSE4, AVX2, AVX-512 or NEON, and one without vectors.

#include "CutKernels.h"

#include "HeightCutter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#define HWY_TARGET_INCLUDE "CutKernels.cpp"
#include <hwy/foreach_target.h>

// Below the line above, which includes this file again.
#include "Lanes-inl.h"
#include "SightLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

/// What is left of a vector's lines from the i-th on.
HWY_INLINE std::size_t linesFrom(CutRun const& run, std::size_t i) {
  return std::min(laneCount, run.count - i);
}

inline void guessAll(CutRun const& run) {
  for (std::size_t i = 0; i < run.count; i += laneCount) {
    std::size_t const count = linesFrom(run, i);
    LaneLine const line = loadLines(run.lines + i, count);
    Lanes const height = loadPart(run.heights + i, count);
    Lanes const depth = depthAboveSphere(line, line.eye.z + same(run.origin) - height * same(run.unit));
    storePart(depth, run.firstDepths + i, count);
    storePlaces(line.at(depth), run.places + i, count);
  }
}

inline void improveAll(CutRun const& run) {
  for (std::size_t i = 0; i < run.count; i += laneCount) {
    std::size_t const count = linesFrom(run, i);
    LaneLine const line = loadLines(run.lines + i, count);
    LanePoint const place = loadPlaces(run.places + i, count);
    Lanes const rest = (place.z - loadPart(run.heights + i, count)) * same(run.unit);
    Lanes const depth = loadPart(run.firstDepths + i, count) + rest;
    storePlaces(place, run.firstPlaces + i, count);
    storePart(depth, run.depths + i, count);
    storePlaces(line.at(depth), run.places + i, count);
  }
}

inline std::size_t finishAll(CutRun const& run) {
  std::size_t left = 0;
  for (std::size_t i = 0; i < run.count; i += laneCount) {
    std::size_t const count = linesFrom(run, i);
    Lanes const height = loadPart(run.heights + i, count);
    LanePoint const first = loadPlaces(run.firstPlaces + i, count);
    LanePoint const place = loadPlaces(run.places + i, count);
    Lanes const depth = loadPart(run.depths + i, count);
    Lanes const firstDepth = loadPart(run.firstDepths + i, count);
    Lanes const firstRest = (first.z - height) * same(run.unit);
    Lanes const rest = (place.z - height) * same(run.unit);
    Lanes const tolerance = same(HeightCutter::TOLERANCE);
    Mask const isFirst = absolute(firstRest) <= tolerance;
    Lanes const way = depth - firstDepth;
    Lanes const step = selectOrZero(absolute(rest) > tolerance, negative(rest) * way / (rest - firstRest));
    Mask const isStraight = absolute(step * way) <= same(HeightCutter::STRAIGHT);
    Lanes const part = selectOrZero(absolute(step) > zero(), step / way);
    Lanes const end = select(isFirst, firstDepth, depth + step);
    LanePoint const ground{select(isFirst, first.x, place.x + part * (place.x - first.x)),
                           select(isFirst, first.y, place.y + part * (place.y - first.y)), height};
    Mask const isFinished = both(either(isFirst, isStraight), both(areFinite(first), areFinite(place)));
    std::uint32_t numbers[laneCount];
    for (std::size_t k = 0; k < laneCount; ++k) {
      numbers[k] = static_cast<std::uint32_t>(k);
    }
    storeEnds(end, ground, run.cuts + i, numbers, count);
    left = addUnsolved(both(isFinished, end > zero()), i, count, run.rest, left);
  }
  return left;
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kes::detail {

HWY_EXPORT(guessAll);
HWY_EXPORT(improveAll);
HWY_EXPORT(finishAll);

void guessCuts(CutRun const& run) {
  HWY_DYNAMIC_DISPATCH(guessAll)(run);
}

void improveCuts(CutRun const& run) {
  HWY_DYNAMIC_DISPATCH(improveAll)(run);
}

std::size_t finishCuts(CutRun const& run) {
  return HWY_DYNAMIC_DISPATCH(finishAll)(run);
}

}  // namespace kes::detail
#endif
