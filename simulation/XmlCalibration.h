// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/CameraHead.h>

#include <string>

namespace simulation {

/// The camera head as one of the type that keeps its calibration in XML files.
struct XmlCamera {
  static constexpr char const* type = "HDB00";
  /// The only version.
  static constexpr unsigned version = 1;
};

/// Writes the camera's folder into a folder of calibrations: its one version, with the files of geometry, sensor data,
/// PRNU and DSNU. The geometry is that of the head's current CAM files, to the last of their digits; the misalignment,
/// too, but in degrees with five decimals. The radiometry is `lineRadiometry`.
///
/// Throws std::runtime_error "can't write FILE", and what xmlFileData::writeGeoCalibData throws.
void writeXmlCalibration(CameraHead const& head, std::string const& folder);

}  // namespace simulation
