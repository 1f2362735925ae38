// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/SerializerCameraKes.h>
#include <sensor/SerializerMisalignmentV1Dat.h>
#include <sensor/kessensor_export.h>

#include <map>
#include <string>

namespace geo {
struct XYZPoint;
}

namespace sensor {

class CalibrationRadiometryKes;
class CalibrationRadiometryKesV1;

/// The calibration of the older cameras: one CAM text file a sensor line, "radiocal.xml" with the positions of the
/// spectral bands, "misalignment.dat". In the files lengths are millimetres and wavelengths nanometres, in memory all
/// are metres.
class KESSENSOR_EXPORT SerializerCameraKesV1Cam : public SerializerCameraKes {
public:
  static std::string const CAM_FILE_ID;
  static std::string const CAM_FILE_ID_OLD;
  static char const* const CAM_DATE_TIME_FORMAT;
  static char const* const CAM_DATE_TIME_FORMAT_ALT;
  static constexpr float nominalMNTZOffset = sensor::nominalMNTZOffset;

  explicit SerializerCameraKesV1Cam(std::string const& folder);
  ~SerializerCameraKesV1Cam() override;
  SerializerCameraKesV1Cam(SerializerCameraKesV1Cam const&) = default;
  SerializerCameraKesV1Cam& operator=(SerializerCameraKesV1Cam const&) = default;

  /// Reads note, misalignment and all CAM files, which are read in parallel; a CAM file that can't be read is passed
  /// over without a word. Throws what reading the misalignment throws.
  void read(CameraKes* camera) const override;
  /// Writes a CAM file for each band, then the misalignment. Throws what `writeCam` throws; what was written before
  /// stays.
  void write(CameraKes const* camera) const override;

  /// Reads one CAM file into two objects of the caller's. Throws std::runtime_error
  /// - "Failed to open calibration file: " + name;
  /// - Not a valid calibration, missing "KES_CALIBRATION_FILE" or "KEC_CALIBRATION_FILE" keyword in + name;
  /// - "Parse error in file " + name + ": " + line, for a number on the line of a keyword;
  /// - "Cannot parse time: " + line + " in file: " + name;
  /// - "Parse error in file " + name, for a coordinate that is missing or no number.
  void readCam(std::string const& fileName, CalibrationGeometryKes* geometry,
               CalibrationRadiometryKesV1* radiometry) const;
  /// Writes one CAM file, without the line of the date when there is none. `mntOffset` is in metres. Throws
  /// std::runtime_error
  /// "Error while accessing calibration data for " + the band id of the other object (one is missing),
  /// "Mismatch between geometric and radiometric calibration info.",
  /// "Failed to write calibration file: " + name; the old file then stays.
  void writeCam(std::string const& fileName, CalibrationGeometryKes const* geometry,
                CalibrationRadiometryKes const* radiometry, geo::XYZPoint mntOffset) const;
  /// The same for a band of a camera, with its offset. The message of missing objects ends in `bandId`.
  void writeCam(std::string const& fileName, CameraKes const* camera, std::string const& bandId) const;

private:
  void addCalibrations(CameraKes* camera) const;
  void readRadiocal(std::string const& fileName, std::map<std::string, float>& centers,
                    std::map<std::string, float>& widths) const;

  SerializerMisalignmentV1Dat mMisalignment;
};

}  // namespace sensor
