// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/FourLaneSolver.h"

#include "model/LineSolver.h"
#include "model/PlainLanes.h"

namespace sensor {

FourLaneConstants fourLaneConstants(StripBand const& band) {
  CalibrationGeometryKes const& calibration = band.calibration;
  return {&calibration.coordX(0),
          &calibration.coordY(0),
          static_cast<std::int32_t>(calibration.numSamples()) - 1,
          static_cast<float>(band.image.sampleOffsetFromCalib()),
          band.focalLength,
          band.heightScale(),
          band.orientation.middleLine()};
}

float FourLaneConstants::lineSizeAt(double height) const {
  return lineSize(heightScale, height);
}

void FourLaneOrientation::set(unsigned lane, EOP const& eop, float shiftOfLane) {
  q[0][lane] = eop.q0;
  q[1][lane] = eop.q1;
  q[2][lane] = eop.q2;
  q[3][lane] = eop.q3;
  centre[0][lane] = static_cast<float>(eop.x);
  centre[1][lane] = static_cast<float>(eop.y);
  centre[2][lane] = static_cast<float>(eop.z);
  shift[lane] = shiftOfLane;
}

void FourLaneOrientation::take(unsigned lane, FourLaneOrientation const& other) {
  for (std::size_t i = 0; i < 4; ++i) {
    q[i][lane] = other.q[i][lane];
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    centre[axis][lane] = other.centre[axis][lane];
  }
  shift[lane] = other.shift[lane];
}

// With all of the look-up drawn into it, which takes most of the time of a lane that moves.
[[gnu::flatten]] void LineOrientations::operator()(float line, bool headingOnly, unsigned lane,
                                                   FourLaneOrientation& lanes) const {
  EOP eop = unknownOrientation();
  float lineCorrection = 0.0F;
  if (headingOnly) {
    mBand.orientation.computeHeading(line, eop, lineCorrection);
  } else {
    mBand.orientation.computeOrientation(line, eop, lineCorrection);
  }
  lanes.set(lane, eop, lineCorrection * mBand.pixelSize);
}

void solveInPlainLanes(FourLaneConstants const& constants, LineOrientations const& orientations,
                       geo::XYZPoint const* ground, std::size_t count, geo::XYPoint* image) {
  solveFourLanes<PlainLanes>(constants, orientations, ground, count, image);
}

#ifndef KESSENSOR_SSE
void solveInSseLanes(FourLaneConstants const& constants, LineOrientations const& orientations,
                     geo::XYZPoint const* ground, std::size_t count, geo::XYPoint* image) {
  solveInPlainLanes(constants, orientations, ground, count, image);
}
#endif

}  // namespace sensor
