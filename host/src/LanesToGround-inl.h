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
#include "LanePieces-inl.h"

#include <limits>

HWY_BEFORE_NAMESPACE();
namespace kes::detail::HWY_NAMESPACE {

/// One vector of image positions after the other; the camera of the line of the last ones is remembered.
class GroundLanes {
public:
  explicit GroundLanes(LaneTables const& tables) : mTables(tables), mPieces(tables) { setLine(zero()); }

  struct Ray {
    Mask exists;
    LanePoint eye;
    LanePoint direction;
    Lanes time;
  };
  HWY_INLINE Ray ray(Lanes sample, Lanes line) {
    if (!allTrue(line == mLine)) {
      setLine(line);
    }
    Lanes x, y;
    Mask const isOnLine = focal(sample, x, y);
    return {both(mHasLine, isOnLine), mPose.centre,
            rayOf<LanePoint>(mPose, x + mPose.shift, y, same(mTables.focalLength)), mTime};
  }

  struct Projection {
    Mask isSolved;
    LanePoint ground;
    Lanes time;
  };
  // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): its one caller has them by these names.
  HWY_INLINE Projection project(Lanes sample, Lanes line, Lanes height) {
    Ray const ray = this->ray(sample, line);
    Lanes const s = (height - ray.eye.z) / ray.direction.z;
    Mask const isDown = both(ray.direction.z<zero(), s> zero());
    // What is infinite here is left, too.
    Mask const isFinite = s < same(std::numeric_limits<double>::infinity());
    return {both(ray.exists, both(isDown, isFinite)),
            {ray.eye.x + s * ray.direction.x, ray.eye.y + s * ray.direction.y, height},
            ray.time};
  }

  /// Asks the memory for what lines need: after the first call for many lines, the second.
  HWY_INLINE void prefetchRows(Lanes line) const { mPieces.prefetchRows(mPieces.rowsOf(line)); }
  HWY_INLINE void prefetchRecords(Lanes line) const { mPieces.prefetchRecords(mPieces.rowsOf(line)); }

private:
  HWY_INLINE void setLine(Lanes line) {
    mHasLine = both(line >= same(mTables.firstLine), line <= same(mTables.lastLine));
    mPieces.load(line);
    mPose = mPieces.pose(line);
    mTime = mPieces.time(line);
    mLine = line;
  }

  // As `SensorLine::focal`, between the first and the last calibrated pixel.
  HWY_INLINE Mask focal(Lanes sample, Lanes& x, Lanes& y) const {
    Lanes const s = sample - same(mTables.firstSample);
    Mask const isOnLine = both(s >= zero(), s < same(mTables.lengthOfLine));
    Lanes const p = selectOrZero(isOnLine, s * same(mTables.pixelsPerSample));
    RowNumbers rows;
    Lanes const number = truncated(least(p, same(mTables.lastPixel)), rows.of);
    Lanes firstY, firstX, yStep, xStep;
    loadPair(mTables.pixels, LaneTables::doublesPerPixel, rows, firstY, firstX);
    loadPair(mTables.pixels + 2, LaneTables::doublesPerPixel, rows, yStep, xStep);
    Lanes const part = p - number;
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

/// The image positions of a call in blocks of vectors, of which `Run::project(i, count, sample, line)` gets each; what a
/// block leads to is fetched from memory first. The last vector is filled up with its first position.
template <class Run>
class ImageVectors {
public:
  /// Returns how many positions are left.
  std::size_t project() {
    for (std::size_t i = 0; i < mCount; i += blockSize) {
      projectBlock(i, std::min(i + blockSize, mCount));
    }
    return mRest;
  }

protected:
  ImageVectors(LaneTables const& tables, PixelLimits const& limits, geo::XYPoint const* image, std::size_t count)
      : mLanes(tables), mResults(tables, limits), mIsLarge(isLarge(tables)), mImage(image), mCount(count) {}

  bool isWhole(std::size_t i) const { return i + laneCount <= mCount; }

  GroundLanes mLanes;
  LaneResults mResults;
  std::size_t mRest = 0;

private:
  HWY_INLINE void projectBlock(std::size_t begin, std::size_t end) {
    Lanes sample, line;
    if (mIsLarge) {
      for (std::size_t i = begin; i < end; i += laneCount) {
        loadImage(i, sample, line);
        mLanes.prefetchRows(line);
      }
      for (std::size_t i = begin; i < end; i += laneCount) {
        loadImage(i, sample, line);
        mLanes.prefetchRecords(line);
      }
    }
    for (std::size_t i = begin; i < end; i += laneCount) {
      loadImage(i, sample, line);
      static_cast<Run&>(*this).project(i, std::min(laneCount, end - i), sample, line);
    }
  }

  HWY_INLINE void loadImage(std::size_t i, Lanes& sample, Lanes& line) const {
    geo::XYPoint const* from = mImage + i;
    geo::XYPoint filled[laneCount];
    if (!isWhole(i)) {
      for (std::size_t k = 0; k < laneCount; ++k) {
        filled[k] = i + k < mCount ? from[k] : from[0];
      }
      from = filled;
    }
    loadInterleaved(reinterpret_cast<double const*>(from), sample, line);
  }

  bool mIsLarge;
  geo::XYPoint const* mImage;
  std::size_t mCount;
};

/// From image positions to heights.
class GroundRun : public ImageVectors<GroundRun> {
public:
  GroundRun(LaneTables const& tables, PixelLimits const& limits, LanesToGround const& run)
      : ImageVectors(tables, limits, run.image, run.count), mRun(run) {}

  using ImageVectors::project;
  HWY_INLINE void project(std::size_t i, std::size_t count, Lanes sample, Lanes line) {
    store(i, count, sample, line, mLanes.project(sample, line, height(i)));
  }

private:
  HWY_INLINE Lanes height(std::size_t i) const {
    if (mRun.heights == nullptr) {
      return same(mRun.height);
    }
    return loadPart(mRun.heights + i, mRun.count - i);
  }

  HWY_INLINE void store(std::size_t i, std::size_t count, Lanes sample, Lanes line,
                        GroundLanes::Projection const& projected) {
    geo::XYZPoint ground[laneCount];
    double time[laneCount];
    storeInterleaved(projected.ground.x, projected.ground.y, projected.ground.z,
                     reinterpret_cast<double*>(isWhole(i) ? mRun.ground + i : ground));
    storeTo(isWhole(i) ? mRun.time + i : time, projected.time);
    if (!isWhole(i)) {
      std::copy_n(ground, count, mRun.ground + i);
      std::copy_n(time, count, mRun.time + i);
    }
    mResults.store(sample, line, projected.time, count, mRun.status + i);
    mRest = addUnsolved(projected.isSolved, i, count, mRun.rest, mRest);
  }

  LanesToGround const& mRun;
};

inline std::size_t projectAll(LaneTables const& tables, PixelLimits const& limits, LanesToGround const& run) {
  return GroundRun(tables, limits, run).project();
}

}  // namespace kes::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
