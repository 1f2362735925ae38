// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/CalibFileBase.h>
#include <xmlFileData/GeoLensSystem.h>
#include <xmlFileData/GeoMisalignment.h>
#include <xmlFileData/GeoSensor.h>

#include <map>
#include <string>

namespace xmlFileData {

/// The geometry file of a calibration folder: the lens, the misalignment of the sensor head and the sensor lines, by
/// their index. In the units of the file: millimetres and degrees. A value: copies are deep.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): nothing derives from it.
class KESSENSOR_EXPORT KesBGeoCalibData final : public CalibFileBase {
public:
  /// Nothing read.
  KesBGeoCalibData();

  bool hasSensors() const { return mHasSensors; }
  bool hasLensSystem() const { return mHasLensSystem; }

  /// A copy of the misalignment; zeros until set.
  GeoMisalignment misalignmentValues() const;
  /// Replaces all six values.
  void setMisalignmentValues(GeoMisalignment const& misalignment);

  GeoLensSystem const& lensSystem() const { return mLensSystem; }
  void setLensSystem(GeoLensSystem const& lensSystem);

  std::map<int, GeoSensor> const& sensors() const { return mSensors; }
  void setSensors(std::map<int, GeoSensor> sensors);

  /// The first sensor, in order of the index, whose grid has the channel `band`, without regard to case. Throws
  /// std::runtime_error "Sensor data not found (" + band + ")". The reference lives until the sensors are replaced.
  GeoSensor const& sensorData(std::string const& band) const;
  GeoSensor& sensorData(std::string const& band);

  /// Whether a file of one reads back as the other: system, creation, version, `isCommented`, lens, misalignment and
  /// sensors are equal, by their own rules.
  bool operator==(KesBGeoCalibData const& other) const;
  bool operator!=(KesBGeoCalibData const& other) const { return !(*this == other); }

private:
  bool mHasSensors = false;
  bool mHasLensSystem = false;
  GeoMisalignment mMisalignment;
  GeoLensSystem mLensSystem;
  std::map<int, GeoSensor> mSensors;
};

}  // namespace xmlFileData
