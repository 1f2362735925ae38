// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// This file is compiled once for each instruction set: SSE4, AVX2, AVX-512 or NEON, and one without vectors.

#include "AccuracyKernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#define HWY_TARGET_INCLUDE "AccuracyKernels.cpp"
#include <hwy/foreach_target.h>

// Below the line above, which includes this file again.
#include "LanePieces-inl.h"
#include "Lanes-inl.h"
#include "LanesToGround-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

#include "AccuracyFormulas-inl.h"

/// From image positions and ground positions to their errors.
class ErrorRun : public ImageVectors<ErrorRun> {
public:
  ErrorRun(LaneTables const& tables, PixelLimits const& limits, LanesToErrors const& run)
      : ImageVectors(tables, limits, run.image, run.count), mRun(run), mPieces(tables), mBefore(tables),
        mAfter(tables) {
    if (Deviations const* const constant = run.accuracies.constant()) {
      for (std::size_t i = 0; i < constant->size(); ++i) {
        mSigma[i] = same((*constant)[i]);
      }
    }
  }

  using ImageVectors::project;
  HWY_INLINE void project(std::size_t i, std::size_t count, Lanes sample, Lanes line) {
    LanePoint const ground = loadGround(i);
    mPieces.load(line);
    LanePose const pose = mPieces.pose(line);
    Lanes const time = mPieces.time(line);
    LanePoint const away{ground.x - pose.centre.x, ground.y - pose.centre.y, ground.z - pose.centre.z};
    loadDeviations(time, count);
    RowsOf<Lanes> rows;
    setTrajectoryOf(rows, horizontalCutOf<Lanes>(away), pose.up, mSigma, same(mRun.heightSigma));
    Mask const isSeen = both(away.z < zero(), dot(pose.up, away) < zero());
    Mask const isMeasured = setMeasuring(rows, sample, line, ground.z);
    Lanes const xx = rows.xx();
    Lanes const yy = rows.yy();
    Mask const isFinite = xx + yy < same(std::numeric_limits<double>::infinity());
    store(i, count, rows, time);
    storeCovariances(i, count, rows, xx, yy);
    mResults.store(sample, line, time, count, mRun.status + i);
    mRest = addUnsolved(both(both(isSeen, isMeasured), isFinite), i, count, mRun.rest, mRest);
  }

private:
  static constexpr std::size_t columns = RowsOf<Lanes>::columns;
  static constexpr std::size_t trajectory = RowsOf<Lanes>::trajectory;

  HWY_INLINE LanePoint loadGround(std::size_t i) const {
    geo::XYZPoint const* from = mRun.ground + i;
    geo::XYZPoint filled[laneCount];
    if (!isWhole(i)) {
      for (std::size_t k = 0; k < laneCount; ++k) {
        filled[k] = i + k < mRun.count ? from[k] : from[0];
      }
      from = filled;
    }
    LanePoint ground;
    loadInterleaved(reinterpret_cast<double const*>(from), ground.x, ground.y, ground.z);
    return ground;
  }

  HWY_INLINE void loadDeviations(Lanes time, std::size_t count) {
    if (mRun.accuracies.constant() != nullptr) {
      return;
    }
    alignas(64) double times[laneCount];
    alignas(64) double sigma[trajectory][laneCount] = {};
    storeTo(times, time);
    for (std::size_t k = 0; k < count; ++k) {
      Deviations const deviations = mRun.accuracies.at(times[k]);
      for (std::size_t n = 0; n < trajectory; ++n) {
        sigma[n][k] = deviations[n];
      }
    }
    for (std::size_t n = 0; n < trajectory; ++n) {
      mSigma[n] = load(sigma[n]);
    }
  }

  // False where one of the lines of sight isn't there, or is beyond the ends of the sensor line.
  // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): coordinates in their order
  HWY_INLINE Mask setMeasuring(RowsOf<Lanes>& rows, Lanes sample, Lanes line, Lanes height) {
    if (mRun.imageSigma == 0.0) {
      GroundLanes::Ray const ray = mBefore.ray(sample, line);
      PlaceOf<Lanes> const place = horizontalPlaceOf(ray.eye, ray.direction, height);
      setMeasuringOf(rows, CornersOf<Lanes>{{place, place}, {place, place}});
      return ray.exists;
    }
    Lanes const sigma = same(mRun.imageSigma);
    CornersOf<Lanes> corners;
    Mask isMeasured = sigma >= zero();
    for (std::size_t side = 0; side < 2; ++side) {
      Lanes const at = side == 0 ? sample - sigma : sample + sigma;
      GroundLanes::Ray const before = mBefore.ray(at, line - sigma);
      GroundLanes::Ray const after = mAfter.ray(at, line + sigma);
      corners.before[side] = horizontalPlaceOf(before.eye, before.direction, height);
      corners.after[side] = horizontalPlaceOf(after.eye, after.direction, height);
      isMeasured = both(isMeasured, both(before.exists, after.exists));
    }
    setMeasuringOf(rows, corners);
    return isMeasured;
  }

  HWY_INLINE void store(std::size_t i, std::size_t count, RowsOf<Lanes> const& rows, Lanes time) const {
    if (mRun.errors == nullptr) {
      return;
    }
    alignas(64) double x[columns][laneCount];
    alignas(64) double y[columns][laneCount];
    alignas(64) double times[laneCount];
    for (std::size_t n = 0; n < columns; ++n) {
      storeTo(x[n], rows.x[n]);
      storeTo(y[n], rows.y[n]);
    }
    storeTo(times, time);
    for (std::size_t k = 0; k < count; ++k) {
      GroundErrors& errors = mRun.errors[i + k];
      errors = {};
      errors.time = times[k] + mRun.epoch;
      for (std::size_t n = 0; n < trajectory; ++n) {
        errors.trajectory[n] = x[n][k];
        errors.trajectory[trajectory + n] = y[n][k];
      }
      for (std::size_t n = trajectory; n < columns; ++n) {
        errors.measuring[n - trajectory] = x[n][k];
        errors.measuring[n - trajectory + 3] = y[n][k];
      }
      errors.measuring.back() = mRun.heightSigma;
    }
  }

  HWY_INLINE void storeCovariances(std::size_t i, std::size_t count, RowsOf<Lanes> const& rows, Lanes xx,
                                   Lanes yy) const {
    if (mRun.covariances == nullptr) {
      return;
    }
    Lanes const sigma = same(mRun.heightSigma);
    Lanes const elements[] = {
        xx, rows.xy(), rows.x[RowsOf<Lanes>::height] * sigma, yy, rows.y[RowsOf<Lanes>::height] * sigma, sigma * sigma};
    alignas(64) double values[6][laneCount];
    for (std::size_t n = 0; n < 6; ++n) {
      storeTo(values[n], elements[n]);
    }
    for (std::size_t k = 0; k < count; ++k) {
      mRun.covariances[i + k] = {values[0][k], values[1][k], values[2][k], values[3][k], values[4][k], values[5][k]};
    }
  }

  LanesToErrors const& mRun;
  LanePieces mPieces;
  GroundLanes mBefore;
  GroundLanes mAfter;
  Lanes mSigma[trajectory];
};

inline std::size_t findAllErrors(LaneTables const& tables, PixelLimits const& limits, LanesToErrors const& run) {
  return ErrorRun(tables, limits, run).project();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kes::detail {

HWY_EXPORT(findAllErrors);

std::size_t findErrorsInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToErrors const& run) {
  return HWY_DYNAMIC_DISPATCH(findAllErrors)(tables, limits, run);
}

}  // namespace kes::detail
#endif
