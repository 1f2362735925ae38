// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Image.h"
#include "xmlFileData/SensorSearch.h"

#include <xmlFileData/DsnuSensor.h>
#include <xmlFileData/KesBDsnuData.h>

#include <utility>

namespace xmlFileData {

KesBDsnuData::KesBDsnuData() = default;

void KesBDsnuData::setSensors(std::map<int, DsnuSensor> sensors) {
  mSensors = std::move(sensors);
  mHasSensors = true;
}

DsnuSensor const& KesBDsnuData::sensorData(std::string const& band) const {
  return findSensor(mSensors, band, [&](DsnuSensor const& sensor) { return equalInAnyCase(sensor.type, band); });
}

std::vector<std::uint16_t> DsnuSensor::row(int t) const {
  return imageRow(width, height, offsets, t);
}

}  // namespace xmlFileData
