// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Image.h"
#include "xmlFileData/SensorSearch.h"

#include <xmlFileData/CorrectionSensor.h>
#include <xmlFileData/KesBSensorCorrectionData.h>
#include <xmlFileData/NonLinearity.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace xmlFileData {

namespace {

// The column after the last of `columns` columns, limited to the range of numbers.
std::int32_t endOf(std::int32_t start, std::int32_t columns) {
  using Limits = std::numeric_limits<std::int32_t>;
  std::int64_t const end = std::int64_t{start} + columns;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(end, Limits::min(), Limits::max()));
}

}  // namespace

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

void CorrectionSensor::setPrnu(PrnuSensor image) {
  if (imageSize(image.width, image.height) != image.factors.size()) {
    throw std::runtime_error("Invalid width or height");
  }
  prnuType = image.type.empty() ? type : std::move(image.type);
  prnuWidth = image.width;
  prnuHeight = image.height;
  prnu = std::move(image.factors);
}

NonLinearity::NonLinearity(LookUp const& lookUp)
    : NonLinearity(lookUp.columnStart(), lookUp.columns(), lookUp.from(), lookUp.to()) {}

NonLinearity::NonLinearity(std::int32_t start, std::int32_t columns, std::vector<double> const& from,
                           std::vector<double> const& to)
    : columnStart(start), columnEnd(endOf(start, columns)) {
  if (from.size() != to.size()) {
    throw std::runtime_error("Internal error. Bad non linear correction format.");
  }
  points.reserve(from.size());
  for (std::size_t k = 0; k < from.size(); ++k) {
    points.emplace_back(from[k], to[k]);
  }
}

}  // namespace xmlFileData
