// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Decimals.h"
#include "xmlFileData/SensorSearch.h"

#include <xmlFileData/GeoSensorHead.h>

#include <stdexcept>

namespace xmlFileData {

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
