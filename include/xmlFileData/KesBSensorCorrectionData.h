// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/CalibFileBase.h>
#include <xmlFileData/CorrectionSensor.h>
#include <xmlFileData/MultiTdiEntry.h>

#include <cstdint>
#include <map>
#include <string>

namespace xmlFileData {

/// The sensor data file of a calibration folder: settings of the electronics, and the sensor lines by their index. A
/// value: copies are deep.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): nothing derives from it.
class KESSENSOR_EXPORT KesBSensorCorrectionData final : public CalibFileBase {
public:
  /// Nothing read: the clamp is enabled with level 250, gains are 1, and the three entries of `multiTdi` have no
  /// voltages.
  KesBSensorCorrectionData();

  /// Whether settings of the converter were read.
  bool hasAdc() const { return mHasAdc; }
  bool clampEnable() const { return mClampEnable; }
  std::uint16_t clampLevel() const { return mClampLevel; }
  std::int32_t ccdType() const { return mCcdType; }
  bool hasSensors() const { return mHasSensors; }
  std::map<int, CorrectionSensor> const& sensors() const { return mSensors; }
  /// Voltages that all viewing directions share.
  Voltages const& voltages() const { return mVoltages; }
  std::map<std::string, std::uint64_t> const& boardIds() const { return mBoardIds; }
  /// Voltages of the viewing directions: 0 is "Nadir", 1 "Backward", 2 "Forward".
  std::map<int, MultiTdiEntry> const& multiTdi() const { return mMultiTdi; }
  /// Gains of the preview.
  double colorGainRed() const { return mColorGainRed; }
  double colorGainGreen() const { return mColorGainGreen; }
  double colorGainBlue() const { return mColorGainBlue; }
  double colorGainNir() const { return mColorGainNir; }
  double colorGainNin() const { return mColorGainNin; }

  void setHasAdc(bool hasAdc) { mHasAdc = hasAdc; }
  void setClampEnable(bool enable) { mClampEnable = enable; }
  void setClampLevel(std::uint16_t level) { mClampLevel = level; }
  void setCcdType(std::int32_t type) { mCcdType = type; }
  void setSensors(std::map<int, CorrectionSensor> sensors);
  /// Sets a voltage; one of the same name is replaced.
  void setVoltage(std::string const& name, double value);
  /// Sets the id of a board; one of the same name is replaced.
  void setBoardId(std::string const& name, std::uint64_t value);
  /// Replaces the voltages of the viewing direction `type`, without regard to case. Throws std::runtime_error
  /// "MultTDI type not found (" + type + ")".
  void setMultiTdiVoltages(std::string const& type, Voltages const& voltages);
  void setColorGainRed(double gain) { mColorGainRed = gain; }
  void setColorGainGreen(double gain) { mColorGainGreen = gain; }
  void setColorGainBlue(double gain) { mColorGainBlue = gain; }
  void setColorGainNir(double gain) { mColorGainNir = gain; }
  void setColorGainNin(double gain) { mColorGainNin = gain; }

  /// The first sensor, in order of the index, whose type contains `band`, without regard to case. Throws
  /// std::runtime_error "Sensor data not found (" + band + ")". The reference lives until the sensors are replaced.
  CorrectionSensor const& sensorData(std::string const& band) const;

private:
  bool mHasAdc = false;
  bool mClampEnable = true;
  std::uint16_t mClampLevel = 250;
  std::int32_t mCcdType = 0;
  bool mHasSensors = false;
  std::map<int, CorrectionSensor> mSensors;
  Voltages mVoltages;
  std::map<std::string, std::uint64_t> mBoardIds;
  std::map<int, MultiTdiEntry> mMultiTdi;
  double mColorGainRed = 1.0;
  double mColorGainGreen = 1.0;
  double mColorGainBlue = 1.0;
  double mColorGainNir = 1.0;
  double mColorGainNin = 1.0;
};

}  // namespace xmlFileData
