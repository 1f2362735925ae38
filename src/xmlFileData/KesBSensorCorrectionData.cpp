// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/SensorSearch.h"

#include <xmlFileData/KesBSensorCorrectionData.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace xmlFileData {

KesBSensorCorrectionData::KesBSensorCorrectionData()
    : mMultiTdi{{0, {"Nadir", {}}}, {1, {"Backward", {}}}, {2, {"Forward", {}}}} {}

void KesBSensorCorrectionData::setSensors(std::map<int, CorrectionSensor> sensors) {
  mSensors = std::move(sensors);
  mHasSensors = true;
}

void KesBSensorCorrectionData::setVoltage(std::string const& name, double value) {
  mVoltages.insert_or_assign(name, std::pair(name, value));
}

void KesBSensorCorrectionData::setBoardId(std::string const& name, std::uint64_t value) {
  mBoardIds.insert_or_assign(name, value);
}

void KesBSensorCorrectionData::setMultiTdiVoltages(std::string const& type, Voltages const& voltages) {
  auto const entry = std::find_if(mMultiTdi.begin(), mMultiTdi.end(),
                                  [&](auto const& candidate) { return equalInAnyCase(candidate.second.name, type); });
  if (entry == mMultiTdi.end()) {
    throw std::runtime_error("MultTDI type not found (" + type + ")");
  }
  entry->second.voltages = voltages;
}

CorrectionSensor const& KesBSensorCorrectionData::sensorData(std::string const& band) const {
  return findSensor(mSensors, band,
                    [&](CorrectionSensor const& sensor) { return containsInAnyCase(sensor.type, band); });
}

}  // namespace xmlFileData
