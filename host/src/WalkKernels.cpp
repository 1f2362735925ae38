// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// This file is compiled once for each instruction set: SSE4, AVX2, AVX-512 or NEON, and one without vectors.

#include "WalkKernels.h"

#include "RasterWalk.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#define HWY_TARGET_INCLUDE "WalkKernels.cpp"
#include <hwy/foreach_target.h>

// Below the line above, which includes this file again.
#include "Lanes-inl.h"
#include "SightLanes-inl.h"
#include "WalkLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

inline void soundAll(SightFrame const& frame, SightsToSound const& run) {
  Lanes const half = same(0.5 * (frame.highest - frame.lowest) * frame.unit + SightFrame::depthMargin);
  double const middleHeight = 0.5 * (frame.highest + frame.lowest);
  for (std::size_t i = 0; i < run.count; i += laneCount) {
    std::size_t const count = std::min(laneCount, run.count - i);
    LaneLine const line = loadLines(run.lines + i, count);
    Lanes const guess = depthAboveSphere(line, line.eye.z + same(frame.origin) - same(middleHeight * frame.unit));
    Lanes const last = greatest(guess + half, same(SightFrame::depthMargin));
    Mask const isBelowEye = guess - half >= zero();
    Lanes const begin = selectOrZero(isBelowEye, guess - half);
    Lanes const middle = select(isBelowEye, guess, same(0.5) * last);
    Lanes const end = select(isBelowEye, guess + half, last);
    storePart(begin, run.begins + i, count);
    storePart(end - begin, run.lengths + i, count);
    storePlaces(line.at(begin), run.places + i, count);
    storePlaces(line.at(middle), run.places + run.count + i, count);
    storePlaces(line.at(end), run.places + 2 * run.count + i, count);
  }
}

inline std::size_t walkAll(SightFrame const& frame, RasterTiles& tiles, SightsToSound const& run,
                           SightMeetings& meetings, std::uint32_t* rest) {
  static_assert(laneCount <= mostLanes);
  std::size_t left = 0;
  for (std::size_t i = 0; i < run.count; i += laneCount) {
    std::size_t const count = std::min(laneCount, run.count - i);
    WalkLanes walk(frame, tiles, run, i, count);
    walk.narrow();
    walk.meet();
    walk.store(meetings);
    left = addUnsolved(walk.isSolved(), i, count, rest, left);
  }
  return left;
}

inline std::size_t closeAll(SightFrame const& frame, SightMeetings const& meetings, SightEnd* ends,
                            std::uint32_t* rest) {
  std::size_t left = 0;
  for (std::size_t i = 0; i < meetings.size; i += laneCount) {
    std::size_t const count = std::min(laneCount, meetings.size - i);
    auto const field = [&](SightMeetings::Field f) HWY_ATTR { return load(meetings.fields[f] + i); };
    LanePoint const place = loadPlaces(meetings.places + i, count);
    PatchOf<Lanes> const patch{field(SightMeetings::first), field(SightMeetings::right), field(SightMeetings::down),
                               field(SightMeetings::twist)};
    LanePoint const slope{field(SightMeetings::slopeX), field(SightMeetings::slopeY), field(SightMeetings::slopeZ)};
    Mask const isNear = isWithinHalfTurn(frame, place.x, same(frame.middle));
    LanePoint const p = meshPointOf<LanePoint>(frame.geo, frame.inverse, place.x, place.y, place.z);
    LanePoint const inPatch{p.x - field(SightMeetings::column), p.y - field(SightMeetings::row), p.z};
    Lanes const rise = p.z - patch.height(inPatch.x, inPatch.y);
    Mask const isInPatch = both(isInUnit(inPatch.x), isInUnit(inPatch.y));
    Lanes const step = stepToPatch(patch, inPatch, slope);
    Lanes const s = selectOrZero(absolute(step) <= same(SightFrame::closed), step);
    storeEnds(field(SightMeetings::depth) + s,
              {place.x + s * (same(frame.geo[1]) * slope.x + same(frame.geo[2]) * slope.y),
               place.y + s * (same(frame.geo[4]) * slope.x + same(frame.geo[5]) * slope.y), place.z + s * slope.z},
              ends, meetings.lines + i, count);
    Mask const isClosed = both(both(isInPatch, isNear), absolute(rise) * same(frame.unit) <= same(SightFrame::closed));
    left = addUnsolved(isClosed, i, count, rest, left);
  }
  return left;
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kes::detail {

HWY_EXPORT(soundAll);
HWY_EXPORT(walkAll);
HWY_EXPORT(closeAll);

void soundInLanes(SightFrame const& frame, SightsToSound const& run) {
  HWY_DYNAMIC_DISPATCH(soundAll)(frame, run);
}

std::size_t walkInLanes(SightFrame const& frame, RasterTiles& tiles, SightsToSound const& run, SightMeetings& meetings,
                        std::uint32_t* rest) {
  return HWY_DYNAMIC_DISPATCH(walkAll)(frame, tiles, run, meetings, rest);
}

std::size_t closeInLanes(SightFrame const& frame, SightMeetings const& meetings, SightEnd* ends, std::uint32_t* rest) {
  return HWY_DYNAMIC_DISPATCH(closeAll)(frame, meetings, ends, rest);
}

}  // namespace kes::detail
#endif
