// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/QtText.h"

#include <stdexcept>
#include <string>

namespace xmlFileData {

/// Whether two texts are equal without regard to case.
inline bool equalInAnyCase(std::string const& a, std::string const& b) {
  return sensor::fromUtf8(a).compare(sensor::fromUtf8(b), Qt::CaseInsensitive) == 0;
}

/// Whether `text` contains `part`, without regard to case.
inline bool containsInAnyCase(std::string const& text, std::string const& part) {
  return sensor::fromUtf8(text).contains(sensor::fromUtf8(part), Qt::CaseInsensitive);
}

/// The first sensor of a map, in order of the index, that `fits`. Throws std::runtime_error "Sensor data not found (" +
/// band + ")".
template <class Sensors, class Fits>
auto& findSensor(Sensors& sensors, std::string const& band, Fits fits) {
  for (auto& [index, sensor] : sensors) {
    if (fits(sensor)) {
      return sensor;
    }
  }
  throw std::runtime_error("Sensor data not found (" + band + ")");
}

}  // namespace xmlFileData
