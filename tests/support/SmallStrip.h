// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace test {

/// One band of a small strip.
struct SmallBand {
  std::string id = "PANN00A";
  /// Focal x of the straight sensor line, millimetres; the tangent of the look angle times 50.
  double x = 0.0;
  bool reverse = false;
  /// Further attributes of the element Image.
  std::string attributes = "swath=\"101\" offset=\"0\"";
};

/// A strip on disk, written byte by byte without the library: a camera of 101 pixels of 0.1 mm at a focal length of
/// 50 mm, that flies straight and level.
struct SmallStrip {
  std::vector<SmallBand> bands{SmallBand{}};
  int lines = 101;
  double cycleTime = 0.01;  ///< Seconds.
  double speed = 100.0;     ///< Metres a second.
  /// Angle of the flight from east towards north, radians.
  double direction = 0.0;
  /// LSR height of the flight, and of the terrain, metres.
  double height = 1000.0;
  std::string terrainHeight = "0";
  std::string anchorLongitude = "-1.4";  ///< Radians.
  double kappaError = 0.0;               ///< Radians between the camera's x axis and the flight.
  double roll = 0.0;                     ///< Radians about the camera's x axis (for a flight to the east).
  std::string sensorId = "T100";
  std::string eop = "<EOP filename=\"flight.eop\"/>";
  std::string calibration;  ///< The element; a regular one when empty.
  std::string rawData = "<RawData location=\"raw\"/>";
  std::string images = "location=\"images\"";

  /// Time of line 0.
  static constexpr double startTime = 100.0;
  static constexpr double focalLength = 0.05;
  static constexpr double pixelSize = 1e-4;

  /// Writes everything below the folder, and gives the path of the strip file. The calibrations are in "calibration".
  std::string write(TempFolder const& folder) const;
  /// The strip file's text.
  std::string text() const;
  /// Writes an orientation file of the flight, shifted to the side by `east` metres.
  void writeEop(TempFolder const& folder, std::string const& name, double east = 0.0) const;
};

}  // namespace test
