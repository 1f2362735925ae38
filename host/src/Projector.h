// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "AccuracyKernels.h"
#include "LaneKernels.h"
#include "OpenStrip.h"
#include "RayKernels.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Projection.h>
#include <kes/Status.h>

namespace kes::detail {

/// Whether a position lies on a pixel of an image of so many samples and lines.
inline bool isOnPixel(geo::XYPoint const& image, double samples, double lines) {
  constexpr double half = 0.5;
  return image.x >= -half && image.x < samples - half && image.y >= -half && image.y < lines - half;
}

/// The status of a point that has a result.
inline Status statusOf(BandData const& band, geo::XYPoint const& image, double time) {
  if (band.chain.orientation().isOutside(time)) {
    return Status::outsideOrientation;
  }
  return isOnPixel(image, band.samples, band.lines) ? Status::ok : Status::outsideImage;
}

/// What the two directions of a band's projection share; for one thread.
class Projector {
public:
  Projector(OpenStrip const& strip, int band) : mStrip(strip), mBand(band), mData(strip.band(band)) {}
  /// With a number of TDI stages in place of the image's own, for which `staged` was made; it may be null where no
  /// closure is asked for.
  Projector(OpenStrip const& strip, int band, std::optional<float> tdiStages, BandData const* staged)
      : mStrip(strip), mBand(band), mData(strip.band(band)), mTdiStages(tdiStages), mStaged(staged) {}

  sensor::KESStripModel const& model() const { return mStrip.model(); }
  CoordinateSystem const& local() const { return mStrip.localSystem(); }
  ViewChain const& chain() const { return mData.chain; }
  int band() const { return mBand; }

  /// The camera at a line of the table; the line asked for last is remembered.
  struct Camera {
    Pose pose;
    double time;  ///< Since the chain's epoch.
  };
  bool hasLine(double line) const {
    return !chain().isEmpty() && line >= chain().lines().firstLine() && line <= chain().lines().lastLine();
  }
  Camera const& camera(double line);
  Found find(geo::XYZPoint const& ground) { return mData.search.find(ground, mMemory); }

  /// Whether the four operations below have tables to read.
  bool hasLanes() const { return !mData.lanes.isEmpty(); }
  std::size_t findInLanes(LanesToImage const& run) const {
    return detail::findInLanes(mData.lanes, {mData.samples, mData.lines}, run);
  }
  std::size_t projectInLanes(LanesToGround const& run) const {
    return detail::projectInLanes(mData.lanes, {mData.samples, mData.lines}, run);
  }
  std::size_t findRaysInLanes(LanesToRays const& run) const {
    return detail::findRaysInLanes(mData.lanes, {mData.samples, mData.lines}, run);
  }
  std::size_t findErrorsInLanes(LanesToErrors const& run) const {
    return detail::findErrorsInLanes(mData.lanes, {mData.samples, mData.lines}, run);
  }

  /// Of a point that has a result.
  Status status(geo::XYPoint const& image, double time) const { return statusOf(mData, image, time); }
  /// Whether what the library found holds: the position is in front of the camera, and as near to the sensor line as
  /// the library's tolerance, twice, allows.
  bool isSolved(geo::XYPoint const& image, geo::XYZPoint const& ground);

  /// The ray of an image position at the height of a ground position, and the ground position in the image.
  Closure closure(geo::XYPoint const& image, geo::XYZPoint const& ground);

private:
  geo::XYPoint projectBack(geo::XYZPoint const& ground);

  OpenStrip const& mStrip;
  int mBand;
  BandData const& mData;
  std::optional<float> mTdiStages;
  BandData const* mStaged = nullptr;
  LineSearch::Memory mMemory;
  Camera mCamera;
  double mLine = std::numeric_limits<double>::quiet_NaN();
};

}  // namespace kes::detail
