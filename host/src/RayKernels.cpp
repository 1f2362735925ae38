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

/// From image positions to their lines of sight.
class RayRun : public ImageVectors<RayRun> {
public:
  RayRun(LaneTables const& tables, PixelLimits const& limits, LanesToRays const& run)
      : ImageVectors(tables, limits, run.image, run.count), mRun(run) {}

  using ImageVectors::project;
  HWY_INLINE void project(std::size_t i, std::size_t count, Lanes sample, Lanes line) {
    store(i, count, sample, line, mLanes.ray(sample, line));
  }

private:
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
    mResults.store(sample, line, ray.time, count, mRun.status + i);
    mRest = addUnsolved(both(ray.exists, ray.direction.z < zero()), i, count, mRun.rest, mRest);
  }

  LanesToRays const& mRun;
};

inline std::size_t findAllRays(LaneTables const& tables, PixelLimits const& limits, LanesToRays const& run) {
  return RayRun(tables, limits, run).project();
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
