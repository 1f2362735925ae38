// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/SerializerCameraKes.h>
#include <sensor/kessensor_export.h>

#include <string>

namespace sensor {

/// The calibration of the newer cameras: four XML files, for the geometry, the sensor data, the PRNU and the DSNU. In
/// the files lengths are millimetres, angles degrees and wavelengths nanometres; in memory they are metres and radians.
class KESSENSOR_EXPORT SerializerCameraKesV2Xml : public SerializerCameraKes {
public:
  static constexpr double METERS_TO_MILLIMETERS = 1000.0;
  static constexpr double MILLIMETERS_TO_METERS = 0.001;
  /// Height of the stabilised mount, millimetres.
  static constexpr double DEFAULT_MNT_Z_OFFSET = 171.0;
  /// How the files write a date and a time of day.
  static char const* const CAM_DATE_FORMAT_FACTORY;
  static char const* const CAM_TIME_FORMAT_FACTORY;

  explicit SerializerCameraKesV2Xml(std::string const& folder);
  ~SerializerCameraKesV2Xml() override;
  SerializerCameraKesV2Xml(SerializerCameraKesV2Xml const&) = default;
  SerializerCameraKesV2Xml& operator=(SerializerCameraKesV2Xml const&) = default;

  /// Reads the folder: folder and note, misalignment, mount offset, and for each band the geometry and a
  /// `CalibrationRadiometryKesV2` with the rows of PRNU and DSNU. The sensor id is the camera's own, and `readme.txt`
  /// isn't looked at. An invalid date or time becomes a null date. Throws what `KesCalibrationInterface::load` and its
  /// accessors throw, and std::runtime_error "Currently only left and right non linearity correction supported !" for a
  /// line without exactly two curves, "Invalid width or height" for an image of many rows that have no samples. The
  /// camera keeps what was read before.
  void read(CameraKes* camera) const override;

  /// Writes an adjusted camera, which was read from such a folder: copies its four files into the folder, which must
  /// exist, and writes misalignment and pixel positions into the geometry file of the copy, with the present time in
  /// UTC and the source of the first band's calibration. Mount offset, note and radiometry of the camera aren't
  /// written. The folder that the camera was read from isn't touched. After a failure the folder holds what was written
  /// until then. Throws std::runtime_error "No band defined!", "Inconsistent vector size!" for a band whose count of
  /// pixels isn't the file's, and what `KesCalibrationInterface` and `writeGeoCalibData` throw.
  void write(CameraKes const* camera) const override;
};

}  // namespace sensor
