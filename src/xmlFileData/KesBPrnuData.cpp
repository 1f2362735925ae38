// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Image.h"
#include "xmlFileData/SensorSearch.h"

#include <xmlFileData/KesBPrnuData.h>
#include <xmlFileData/PrnuSensor.h>

#include <utility>

namespace xmlFileData {

KesBPrnuData::KesBPrnuData() = default;

void KesBPrnuData::setSensors(std::map<int, PrnuSensor> sensors) {
  mSensors = std::move(sensors);
  mHasSensors = true;
}

PrnuSensor const& KesBPrnuData::sensorData(std::string const& band) const {
  return findSensor(mSensors, band, [&](PrnuSensor const& sensor) { return equalInAnyCase(sensor.type, band); });
}

std::vector<float> PrnuSensor::row(int t) const {
  return imageRow(width, height, factors, t);
}

}  // namespace xmlFileData
