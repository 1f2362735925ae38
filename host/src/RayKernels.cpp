// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// This file is compiled once for each instruction set: SSE4, AVX2, AVX-512 or NEON, and one without vectors.

#include "RayKernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#define HWY_TARGET_INCLUDE "RayKernels.cpp"
#include <hwy/foreach_target.h>

// Below the line above, which includes this file again.
#include "Lanes-inl.h"
#include "LanesToGround-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

/// The positions of a call, in blocks of vectors.
class RayRun {
public:
  RayRun(LaneTables const& tables, PixelLimits const& limits, LanesToRays const& run)
      : mTables(tables), mRun(run), mLanes(tables), mResults(tables, limits) {}

  std::size_t find() {
    for (std::size_t i = 0; i < mRun.count; i += blockSize) {
      findBlock(i, std::min(i + blockSize, mRun.count));
    }
    return mResults.rest();
  }

private:
  void findBlock(std::size_t begin, std::size_t end) {
    Lanes sample, line;
    if (isLarge(mTables)) {
      for (std::size_t i = begin; i < end; i += laneCount) {
        image(i, sample, line);
        mLanes.prefetchRows(line);
      }
      for (std::size_t i = begin; i < end; i += laneCount) {
        image(i, sample, line);
        mLanes.prefetchRecords(line);
      }
    }
    for (std::size_t i = begin; i < end; i += laneCount) {
      image(i, sample, line);
      store(i, std::min(laneCount, end - i), sample, line, mLanes.ray(sample, line));
    }
  }

  // The last vector is filled up with its first position.
  HWY_INLINE void image(std::size_t i, Lanes& sample, Lanes& line) const {
    geo::XYPoint const* from = mRun.image + i;
    geo::XYPoint filled[laneCount];
    if (i + laneCount > mRun.count) {
      for (std::size_t k = 0; k < laneCount; ++k) {
        filled[k] = i + k < mRun.count ? from[k] : from[0];
      }
      from = filled;
    }
    loadInterleaved(reinterpret_cast<double const*>(from), sample, line);
  }

  HWY_INLINE void store(std::size_t i, std::size_t count, Lanes sample, Lanes line, GroundLanes::Ray const& ray) {
    geo::XYZPoint eyes[laneCount];
    alignas(64) double dx[laneCount];
    alignas(64) double dy[laneCount];
    alignas(64) double time[laneCount];
    Lanes const down = negative(ray.direction.z);
    storeInterleaved(ray.eye.x, ray.eye.y, ray.eye.z, reinterpret_cast<double*>(eyes));
    storeTo(dx, ray.direction.x / down);
    storeTo(dy, ray.direction.y / down);
    storeTo(time, ray.time);
    for (std::size_t k = 0; k < count; ++k) {
      mRun.lines[i + k] = {eyes[k], dx[k], dy[k]};
      mRun.time[i + k] = time[k];
    }
    mResults.store(both(ray.exists, ray.direction.z < zero()), sample, line, ray.time, i, count, mRun.status,
                   mRun.rest);
  }

  LaneTables const& mTables;
  LanesToRays const& mRun;
  GroundLanes mLanes;
  LaneResults mResults;
};

inline std::size_t findAllRays(LaneTables const& tables, PixelLimits const& limits, LanesToRays const& run) {
  return RayRun(tables, limits, run).find();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kes::detail {

HWY_EXPORT(findAllRays);

std::size_t findRaysInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToRays const& run) {
  return HWY_DYNAMIC_DISPATCH(findAllRays)(tables, limits, run);
}

}  // namespace kes::detail
#endif
