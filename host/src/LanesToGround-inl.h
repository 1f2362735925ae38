// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// From the image to heights of the local system in lanes, for the instruction set at hand.

#if defined(KES_HOST_LANES_TO_GROUND_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KES_HOST_LANES_TO_GROUND_INL_H
#undef KES_HOST_LANES_TO_GROUND_INL_H
#else
#define KES_HOST_LANES_TO_GROUND_INL_H
#endif

#include "LaneKernels.h"
#include "Lanes-inl.h"

#include <limits>

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

/// One vector of image positions after the other; the camera of the line of the last ones is remembered.
class GroundLanes {
public:
  explicit GroundLanes(LaneTables const& tables) : mTables(tables), mPieces(tables) { setLine(hn::Zero(tag)); }

  struct Projection {
    Mask isSolved;
    LanePoint ground;
    Lanes time;
  };
  HWY_INLINE Projection project(Lanes sample, Lanes line, Lanes height) {
    if (!hn::AllTrue(tag, line == mLine)) {
      setLine(line);
    }
    Lanes x, y;
    Mask const isOnLine = focal(sample, x, y);
    LanePoint const ray = rayOf<LanePoint>(mPose, x + mPose.shift, y, same(mTables.focalLength));
    Lanes const s = (height - mPose.centre.z) / ray.z;
    Mask const isDown = hn::And(ray.z<hn::Zero(tag), s> hn::Zero(tag));
    // What is infinite here is left, too.
    Mask const isFinite = s < same(std::numeric_limits<double>::infinity());
    return {hn::And(hn::And(mHasLine, isOnLine), hn::And(isDown, isFinite)),
            {mPose.centre.x + s * ray.x, mPose.centre.y + s * ray.y, height},
            mTime};
  }

private:
  HWY_INLINE void setLine(Lanes line) {
    mHasLine = hn::And(line >= same(mTables.firstLine), line <= same(mTables.lastLine));
    mPieces.load(line);
    mPose = mPieces.pose(line);
    mTime = mPieces.time(line);
    mLine = line;
  }

  // As `SensorLine::focal`, between the first and the last calibrated pixel.
  HWY_INLINE Mask focal(Lanes sample, Lanes& x, Lanes& y) const {
    Lanes const s = sample - same(mTables.firstSample);
    Mask const isOnLine = hn::And(s >= hn::Zero(tag), s < same(mTables.lengthOfLine));
    Lanes const p = hn::IfThenElseZero(isOnLine, s * same(mTables.pixelsPerSample));
    auto const number = hn::DemoteTo(Ints(), hn::Min(p, same(mTables.lastPixel)));
    alignas(64) std::int32_t numbers[laneCount];
    hn::Store(number, Ints(), numbers);
    RowNumbers rows;
    for (std::size_t i = 0; i < laneCount; ++i) {
      rows.of[i] = static_cast<std::uint32_t>(numbers[i]);
    }
    Lanes firstY, firstX, yStep, xStep;
    loadPair(mTables.pixels, LaneTables::doublesPerPixel, rows, firstY, firstX);
    loadPair(mTables.pixels + 2, LaneTables::doublesPerPixel, rows, yStep, xStep);
    Lanes const part = p - hn::PromoteTo(tag, number);
    x = firstX + xStep * part;
    y = firstY + yStep * part;
    return isOnLine;
  }

  LaneTables const& mTables;
  LanePieces mPieces;
  LanePose mPose;
  Lanes mTime;
  Lanes mLine;
  Mask mHasLine;
};

inline std::size_t projectAll(LaneTables const& tables, PixelLimits const& limits, LanesToGround const& run) {
  GroundLanes lanes(tables);
  LaneResults results(tables, limits);
  auto const* const image = reinterpret_cast<double const*>(run.image);
  auto* const ground = reinterpret_cast<double*>(run.ground);
  double* const time = run.time;
  // The last vector is filled up with its first point.
  double imageOfEnd[2 * laneCount];
  double heightsOfEnd[laneCount];
  double groundOfEnd[3 * laneCount];
  double timeOfEnd[laneCount];
  for (std::size_t i = 0; i < run.count; i += laneCount) {
    std::size_t const count = std::min(laneCount, run.count - i);
    bool const isWhole = count == laneCount;
    double const* in = image + 2 * i;
    double const* heights = run.heights == nullptr ? nullptr : run.heights + i;
    if (!isWhole) {
      for (std::size_t k = 0; k < laneCount; ++k) {
        std::size_t const from = k < count ? k : 0;
        imageOfEnd[2 * k] = in[2 * from];
        imageOfEnd[2 * k + 1] = in[2 * from + 1];
        heightsOfEnd[k] = heights == nullptr ? run.height : heights[from];
      }
      in = imageOfEnd;
      heights = heightsOfEnd;
    }
    Lanes sample, line;
    hn::LoadInterleaved2(tag, in, sample, line);
    Lanes const height = heights == nullptr ? same(run.height) : hn::LoadU(tag, heights);
    auto const found = lanes.project(sample, line, height);
    hn::StoreInterleaved3(found.ground.x, found.ground.y, found.ground.z, tag, isWhole ? ground + 3 * i : groundOfEnd);
    hn::StoreU(found.time, tag, isWhole ? time + i : timeOfEnd);
    if (!isWhole) {
      std::copy_n(groundOfEnd, 3 * count, ground + 3 * i);
      std::copy_n(timeOfEnd, count, time + i);
    }
    results.store(found.isSolved, sample, line, found.time, i, count, run.status, run.rest);
  }
  return results.rest();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
