// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CalibrationInfo.h>
#include <sensor/kessensor_export.h>

namespace geo {
struct XYPoint;
}

namespace sensor {

/// The geometry of one sensor line: where in the focal plane its samples lie.
///
/// An image position has the sample in x and the line in y, both from 0. A focal position has x along the flight and y
/// along the sensor line, in metres; the image's samples run along the focal y. `offset` holds in x the sample of the
/// calibration at which the image's sample 0 lies.
class KESSENSOR_EXPORT CalibrationGeometry : public CalibrationInfo {
public:
  CalibrationGeometry();
  ~CalibrationGeometry() override;
  CalibrationGeometry(CalibrationGeometry const&) = default;
  CalibrationGeometry& operator=(CalibrationGeometry const&) = default;

  /// Metres.
  virtual float focalLength() const = 0;
  /// Metres.
  virtual float pixelSize() const = 0;
  /// Samples of the full line.
  virtual unsigned int numSamples() const = 0;
  /// Lines that the sensor exposes at once.
  virtual unsigned int numLines() const = 0;
  /// Writes the sample of the focal position with `focal.y` to `image.x`, and leaves `image.y` as it is.
  virtual void focalToImage(geo::XYPoint const& focal, geo::XYPoint const& offset, geo::XYPoint& image) const = 0;
  /// Writes the focal position of the sample `image.x`; the line isn't read.
  virtual void imageToFocal(geo::XYPoint const& image, geo::XYPoint const& offset, geo::XYPoint& focal) const = 0;
};

}  // namespace sensor
