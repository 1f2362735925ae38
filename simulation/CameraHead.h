// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <sensor/Misalignment.h>
#include <simulation/FlightErrors.h>
#include <simulation/FlightPlan.h>

#include <string>
#include <vector>

class QDateTime;

namespace simulation {

/// One sensor line of the camera: where each of its pixels lies in the focal plane.
struct SensorLine {
  std::string bandId;
  /// Metres; x along the flight, y to the left.
  std::vector<float> x;
  std::vector<float> y;
  /// Metres; of the spectral band.
  double centreWavelength = 0.0;
  double bandWidth = 0.0;

  /// Focal-plane position of a pixel between the first and the last, linear between two pixels.
  geo::XYPoint at(double pixel) const;
};

/// A three-line head: staggered pairs of panchromatic lines that look forward, down and backward, and four colour
/// lines. The lines are curved by the lens; the backward pair runs reverse, from right to left.
class CameraHead {
public:
  static constexpr float focalLength = 0.0627F;
  static constexpr float pixelSize = 6.5e-6F;
  static constexpr char const* type = "KESA0";
  /// The version that strips use, the newest of three.
  static constexpr unsigned currentVersion = 3;
  static constexpr char const* calibrationSource = "Simulated flight";

  /// Width of a pixel on level ground `height` metres below, metres.
  static constexpr double groundSize(double height) {
    return static_cast<double>(pixelSize) * height / static_cast<double>(focalLength);
  }

  /// The ids of the bands, in the order of `lines`.
  static std::vector<std::string> bandIds();

  explicit CameraHead(int samples);

  /// The head as a calibration with these errors has it, under an id of its own; the same one without any.
  CameraHead recorded(CameraErrors const& errors) const;

  /// The id of a camera without errors, its samples in five digits: cameras of one id are alike.
  static std::string sensorId(int samples);
  /// The camera's own id: with errors, the letter "e" and eight hexadecimal digits that follow from them come after it.
  std::string const& sensorId() const { return mSensorId; }
  /// As it is calibrated, metres.
  float calibratedFocalLength() const { return mFocalLength; }

  /// Of the current version: when it was calibrated, UTC, and how it is turned against the inertial unit.
  static QDateTime calibrationTime();
  static sensor::Misalignment misalignment();

  int samples() const { return static_cast<int>(mLines.front().x.size()); }
  std::vector<SensorLine> const& lines() const { return mLines; }
  /// Tangents of the greatest angles at which lines look ahead and back.
  double lookAhead() const;
  double lookBack() const;

  /// Writes the camera's folder, with all its versions, into a calibration folder: CAM files, radiometric table,
  /// misalignment and note of each version. Earlier versions were less well known.
  void writeCamCalibrations(std::string const& folder) const;

private:
  std::string mSensorId;
  float mFocalLength = focalLength;
  std::vector<SensorLine> mLines;
};

}  // namespace simulation
