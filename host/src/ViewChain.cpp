// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ViewChain.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>

namespace kes::detail {

ViewChain::ViewChain(sensor::KESStripModel const& strip, int band, std::optional<float> tdiStages)
    : mEpoch(LineTable::epochOf(*strip.img(band))), mOrientation(*strip.eop(), mEpoch),
      mLines(*strip.img(band), mOrientation, tdiStages),
      mSensorLine(*strip.modelData()->calib(band), strip.img(band)->sampleOffsetFromCalib()),
      mFocalLength(static_cast<double>(strip.modelData()->calib(band)->focalLength())),
      mPixelSize(static_cast<double>(strip.modelData()->calib(band)->pixelSize())),
      mUsualDepth(std::max(strip.meanFlyingHeight() - strip.meanTerrainHeight(), 100.0)) {}

// Where times don't ascend, a line isn't divided.
Piece ViewChain::piece(std::size_t index, std::size_t record) const {
  LineTable::Interval const& interval = mLines[index];
  double const line = mLines.lineOf(index);
  if (!(interval.timeStep > 0.0)) {
    return {index, record, line, line + 1.0};
  }
  double const first = record == mLines.record(index) ? line : lineOfTime(interval, index, mOrientation[record].start);
  double const last = std::min(lineOfTime(interval, index, mOrientation.end(record)), line + 1.0);
  return {index, record, first, std::max(first, last)};
}

Piece ViewChain::pieceAt(double line) const {
  std::size_t const index = mLines.intervalOf(line);
  Piece found = piece(index, mLines.record(index));
  while (found.last <= line && found.last < mLines.lineOf(index) + 1.0) {
    found = piece(index, found.record + 1);
  }
  return found;
}

Piece ViewChain::lastPiece(std::size_t index) const {
  LineTable::Interval const& interval = mLines[index];
  double const end = mLines.lineOf(index) + 1.0;
  Piece found =
      piece(index, interval.timeStep > 0.0 ? mOrientation.find(interval.time + interval.timeStep, mLines.record(index))
                                           : mLines.record(index));
  // A record at the very end of the line begins the next one.
  while (found.record > mLines.record(index) && !(found.first < end)) {
    found = piece(index, found.record - 1);
  }
  return found;
}

Piece ViewChain::next(Piece const& from) const {
  if (from.last < mLines.lineOf(from.interval) + 1.0) {
    return piece(from.interval, from.record + 1);
  }
  return piece(from.interval + 1, mLines.record(from.interval + 1));
}

Piece ViewChain::previous(Piece const& from) const {
  if (from.record > mLines.record(from.interval)) {
    return piece(from.interval, from.record - 1);
  }
  return lastPiece(from.interval - 1);
}

Pose ViewChain::poseWithStages(double line, double stages, double& time) const {
  double const correction = LineTable::correctionOf(stages);
  time = mLines.plainTime(line - correction);
  std::size_t const hint = mLines.record(mLines.intervalOf(line - correction));
  return pose(mOrientation[mOrientation.find(time, hint)], time, correction);
}

}  // namespace kes::detail
