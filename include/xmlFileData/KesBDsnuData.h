// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/CalibFileBase.h>
#include <xmlFileData/DsnuSensor.h>

#include <map>
#include <string>

namespace xmlFileData {

/// The DSNU file of a calibration folder: the dark signal of the pixels, in digital numbers, by the index of the sensor
/// lines. A value: copies are deep.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): nothing derives from it.
class KESSENSOR_EXPORT KesBDsnuData final : public CalibFileBase {
public:
  /// Nothing read.
  KesBDsnuData();

  bool hasSensors() const { return mHasSensors; }
  std::map<int, DsnuSensor> const& sensors() const { return mSensors; }
  void setSensors(std::map<int, DsnuSensor> sensors);

  /// The first sensor, in order of the index, whose type is `band`, without regard to case. Throws std::runtime_error
  /// "Sensor data not found (" + band + ")". The reference lives until the sensors are replaced.
  DsnuSensor const& sensorData(std::string const& band) const;

private:
  bool mHasSensors = false;
  std::map<int, DsnuSensor> mSensors;
};

}  // namespace xmlFileData
