// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Decimals.h"
#include "xmlFileData/SensorSearch.h"

#include <xmlFileData/GeoSensor.h>
#include <xmlFileData/GeoSensorHead.h>

#include <stdexcept>
#include <utility>

namespace xmlFileData {

GeoSensor::GeoSensor(GeoSensorHead head, DistortionGrid grid) : mHead(std::move(head)), mGrid(std::move(grid)) {
  if (mGrid.isDelta()) {
    throw std::runtime_error("KESB00 doesn't support delta value distortion grids");
  }
}

GeoSensorHead GeoSensor::head() const {
  return mHead;
}

DistortionGrid GeoSensor::grid() const {
  return mGrid;
}

void GeoSensor::setPositions(std::vector<double> row, std::vector<double> column) {
  mGrid.setPositions(std::move(row), std::move(column));
}

bool GeoSensor::operator==(GeoSensor const& other) const {
  return mHead == other.mHead && mGrid == other.mGrid;
}

void GeoSensorHead::checkStructure() const {
  bool const odd = rows % 2 != 0 || columns % 2 != 0;
  if (odd && containsInAnyCase(Structure, "bayer")) {
    throw std::runtime_error("Sensor rows and columns must be even");
  }
}

bool GeoSensorHead::operator==(GeoSensorHead const& other) const {
  return Type == other.Type && Structure == other.Structure && sameDecimals(pixelSize, other.pixelSize, 4) &&
         rows == other.rows && columns == other.columns;
}

}  // namespace xmlFileData
