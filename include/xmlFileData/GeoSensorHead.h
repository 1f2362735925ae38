// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <cstdint>
#include <string>

namespace xmlFileData {

/// The detector of a sensor line.
struct KESSENSOR_EXPORT GeoSensorHead {
  std::string Type;
  std::string Structure;   ///< Arrangement of the colour filters.
  double pixelSize = 0.0;  ///< Millimetres.
  std::int32_t rows = 0;
  std::int32_t columns = 0;

  /// Throws std::runtime_error "Sensor rows and columns must be even" where the structure contains "Bayer", in any
  /// case, and a count is odd: such a detector is made of cells of two by two pixels.
  void checkStructure() const;

  /// Whether texts and counts are the same and the pixel sizes agree to four decimals, as they stand in a file.
  bool operator==(GeoSensorHead const& other) const;
  bool operator!=(GeoSensorHead const& other) const { return !(*this == other); }
};

}  // namespace xmlFileData
