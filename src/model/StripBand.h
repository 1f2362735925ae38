#pragma once

#include "common/Truncate.h"
#include "model/QuaternionRotation.h"
#include "orientation/Attitude.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraTime.h>
#include <sensor/EOPData.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/TdiStage.h>

#include <cmath>
#include <limits>

namespace sensor {

/// All that a projection of one band reads, looked up once per call.
struct KESStripModel::Band {
  KESImage const& image;
  CameraTime const& time;
  TdiStage const& tdi;
  IntegrationTime const& integration;
  EOPData const& orientation;
  CalibrationGeometryKes const* calibration;
  float focalLength;
  float pixelSize;

  geo::XYPoint offset() const { return image.offsetFromCalib(); }
  /// The middle of the image, where the search for a line starts.
  float startLine() const { return static_cast<float>(time.size()) * 0.5F; }

  void orientationOf(float line, EOP& eop, float& lineCorrection) const;
  void orientationOf(float line, float tdiValue, EOP& eop, float& lineCorrection) const;
  void orientationWithTdi(float line, EOP& eop, float& lineCorrection) const;
  void orientationAtStep(float line, float wholeLine, EOP& eop, float& lineCorrection) const;

  void project(geo::XYPoint const& focal, EOP const& eop, float lineCorrection, float height,
               geo::XYZPoint& ground) const;
  void projectBack(geo::XYZPoint const& ground, float line, bool headingOnly, geo::XYPoint& focal) const;
};

/// A record whose attitude is no number: what can't be looked up gives no plausible place.
inline EOP unknownOrientation() {
  EOP eop;
  eop.q0 = eop.q1 = eop.q2 = eop.q3 = std::numeric_limits<float>::quiet_NaN();
  return eop;
}

/// Drops roll and pitch: a camera that looks straight down with the heading of the flight.
inline void reduceToHeading(EOP& eop) {
  kappaToQuaternion(static_cast<double>(kappaOf(eop)), eop);
}

inline void KESStripModel::Band::orientationOf(float line, EOP& eop, float& lineCorrection) const {
  if (tdi.at(line) == 1.0F) {
    orientation.atGPS(time.gpsTime(line), eop);
    lineCorrection = 0.0F;
    return;
  }
  auto const wholeLine = static_cast<float>(truncated<std::int32_t>(line));
  if (integration.at(line) == integration.at(wholeLine)) {
    orientationWithTdi(line, eop, lineCorrection);
  } else {
    orientationAtStep(line, wholeLine, eop, lineCorrection);
  }
}

// The exposure of a line with TDI has its centre at half its cycle less half its integration time.
inline void KESStripModel::Band::orientationWithTdi(float line, EOP& eop, float& lineCorrection) const {
  if (!(tdi.at(line) > 1.0F)) {
    orientation.atGPS(time.gpsTime(line), eop);
    lineCorrection = 0.0F;
    return;
  }
  double const i = static_cast<double>(integration.at(line)) * 0.5;
  double const c = time.cycleTime(line).value() * 0.5;
  auto const t = seconds(time.gpsTime(line).value() + c - i);
  orientation.atGPS(t, eop);
  lineCorrection = line - time.line(t);
}

// Where the integration time steps from one line to the next: between the orientations of the two.
inline void KESStripModel::Band::orientationAtStep(float line, float wholeLine, EOP& eop, float& lineCorrection) const {
  EOP a = unknownOrientation();
  EOP b = unknownOrientation();
  float correctionA = 0.0F;
  float correctionB = 0.0F;
  orientationWithTdi(wholeLine, a, correctionA);
  orientationWithTdi(wholeLine + 1.0F, b, correctionB);
  // A look-up at the very time of a record may come back on the other side, where the blend would cancel.
  if (dotProduct(a, b) < 0.0F) {
    negateQuaternion(b);
  }
  float const u = line - wholeLine;
  lineCorrection = u * correctionB + (1.0F - u) * correctionA;
  interpolateEOP(u, a, b, eop);
}

inline void KESStripModel::Band::orientationOf(float line, float tdiValue, EOP& eop, float& lineCorrection) const {
  lineCorrection = tdiValue - 1.0F;
  orientation.atGPS(time.gpsTime(line - lineCorrection), eop);
}

// The ray (x', y, -f), turned into the local system and cut with the plane at the height. The line correction acts in the
// focal plane along the flight.
inline void KESStripModel::Band::project(geo::XYPoint const& focal, EOP const& eop, float lineCorrection, float height,
                                         geo::XYZPoint& ground) const {
  auto const f = static_cast<double>(focalLength);
  float const shift = pixelSize * lineCorrection;
  RotationMatrix const r = quaternionToRotation(eop);
  double const x = focal.x + static_cast<double>(shift);
  double const y = focal.y;
  double const vx = y * r[1] + x * r[0] - f * r[2];
  double const vy = y * r[4] + x * r[3] - f * r[5];
  double const vz = y * r[7] + x * r[6] - f * r[8];
  auto const z = static_cast<double>(height);
  double const s = (z - eop.z) / vz;
  ground = {vx * s + eop.x, vy * s + eop.y, z};
}

// The undoing of `project`: the transpose of the rotation, and the correction taken off.
inline void KESStripModel::Band::projectBack(geo::XYZPoint const& ground, float line, bool headingOnly,
                                             geo::XYPoint& focal) const {
  EOP eop = unknownOrientation();
  float lineCorrection = 0.0F;
  orientationOf(line, eop, lineCorrection);
  if (headingOnly) {
    reduceToHeading(eop);
  }
  RotationMatrix const r = quaternionToRotation(eop);
  double const dx = ground.x - eop.x;
  double const dy = ground.y - eop.y;
  double const dz = ground.z - eop.z;
  double const w = r[5] * dy + r[2] * dx + r[8] * dz;
  double const u = r[3] * dy + r[0] * dx + r[6] * dz;
  double const v = r[4] * dy + r[1] * dx + r[7] * dz;
  double const m = static_cast<double>(-focalLength) / w;
  float const shift = pixelSize * lineCorrection;
  focal.y = v * m;
  focal.x = u * m - static_cast<double>(shift);
}

}  // namespace sensor
