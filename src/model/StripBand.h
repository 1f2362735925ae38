// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "model/CameraAxes.h"
#include "model/LineOrientation.h"
#include "model/LineSearch.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/KESStripModelData.h>

namespace sensor {

/// A ray into the local system.
struct LineOfSight {
  geo::XYZPoint start;
  geo::XYZPoint direction;

  /// Where it meets the plane at a height.
  void cut(float height, geo::XYZPoint& ground) const {
    auto const z = static_cast<double>(height);
    double const s = (z - start.z) / direction.z;
    ground = {direction.x * s + start.x, direction.y * s + start.y, z};
  }
};

/// All that the projections of one band read, looked up once per call, and the formulae of the ray through the focal
/// plane.
///
/// The collinearity equations of a line camera: a focal position (x along the flight, y along the sensor line) and -f
/// make the camera's ray, which the rotation R of the line turns into the local system, to start at the line's
/// perspective centre. (K. Kraus, Photogrammetry.)
class StripBand {
public:
  /// The data are loaded, and the band exists.
  StripBand(KESStripModelData const& data, int band)
      : image(*data.img(band)), orientation(image, *data.eop()), calibration(*data.calib(band)),
        offset(image.offsetFromCalib()), focalLength(calibration.focalLength()), pixelSize(calibration.pixelSize()),
        terrainHeight(data.meanTerrainHeight()), flyingHeight(data.meanFlyingHeight()) {}

  HeightScale heightScale() const { return {pixelSize, terrainHeight, flyingHeight, image.scale()}; }

  /// Image position to ground position on the LSR plane at a height; `tdi` is nothing, or a given number of TDI stages.
  template <class... Tdi>
  void imageToLsr(geo::XYPoint const& imagePoint, float height, geo::XYZPoint& ground, Tdi... tdi) const;

  /// The ray through an image position.
  template <class... Tdi>
  LineOfSight lineOfSight(geo::XYPoint const& imagePoint, Tdi... tdi) const;

  /// The ray through a focal position. The line correction acts in the focal plane, along the flight.
  LineOfSight focalLineOfSight(geo::XYPoint const& focal, EOP const& eop, float lineCorrection) const;
  /// The undoing of `focalLineOfSight` with the orientation of a line, or with its heading alone.
  void lsrToFocal(geo::XYZPoint const& ground, float line, geo::XYPoint& focal, bool headingOnly) const;

  KESImage const& image;
  LineOrientation const orientation;
  CalibrationGeometryKes const& calibration;
  geo::XYPoint const offset;
  float const focalLength;
  float const pixelSize;
  float const terrainHeight;
  float const flyingHeight;

private:
  // What the line correction moves in the focal plane.
  double shift(float lineCorrection) const { return static_cast<double>(pixelSize * lineCorrection); }
};

template <class... Tdi>
inline void StripBand::imageToLsr(geo::XYPoint const& imagePoint, float height, geo::XYZPoint& ground,
                                  Tdi... tdi) const {
  lineOfSight(imagePoint, tdi...).cut(height, ground);
}

template <class... Tdi>
inline LineOfSight StripBand::lineOfSight(geo::XYPoint const& imagePoint, Tdi... tdi) const {
  geo::XYPoint focal;
  calibration.imageToFocal(imagePoint, offset, focal);
  EOP eop = unknownOrientation();
  float lineCorrection = 0.0F;
  orientation.computeOrientation(static_cast<float>(imagePoint.y), tdi..., eop, lineCorrection);
  return focalLineOfSight(focal, eop, lineCorrection);
}

inline LineOfSight StripBand::focalLineOfSight(geo::XYPoint const& focal, EOP const& eop, float lineCorrection) const {
  auto const f = static_cast<double>(focalLength);
  auto const [alongFlight, alongLine, up] = quaternionToRotation(eop);
  double const x = focal.x + shift(lineCorrection);
  double const y = focal.y;
  double const vx = y * alongLine.x + x * alongFlight.x - f * up.x;
  double const vy = y * alongLine.y + x * alongFlight.y - f * up.y;
  double const vz = y * alongLine.z + x * alongFlight.z - f * up.z;
  return {{eop.x, eop.y, eop.z}, {vx, vy, vz}};
}

// The transpose of the rotation turns the ray back, and the correction is taken off.
inline void StripBand::lsrToFocal(geo::XYZPoint const& ground, float line, geo::XYPoint& focal,
                                  bool headingOnly) const {
  EOP eop = unknownOrientation();
  float lineCorrection = 0.0F;
  if (headingOnly) {
    orientation.computeHeading(line, eop, lineCorrection);
  } else {
    orientation.computeOrientation(line, eop, lineCorrection);
  }
  CameraAxes<double> const axes = quaternionToRotation(eop);
  double const dx = ground.x - eop.x;
  double const dy = ground.y - eop.y;
  double const dz = ground.z - eop.z;
  double const w = axes.up.component(dx, dy, dz);
  double const u = axes.alongFlight.component(dx, dy, dz);
  double const v = axes.alongLine.component(dx, dy, dz);
  double const m = static_cast<double>(-focalLength) / w;
  focal.y = v * m;
  focal.x = u * m - shift(lineCorrection);
}

}  // namespace sensor
