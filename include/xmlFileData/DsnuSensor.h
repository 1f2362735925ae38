// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace xmlFileData {

/// Dark signal of the pixels, digital numbers, of a sensor line: an image with a row for each TDI setting and a sample
/// for each pixel.
struct KESSENSOR_EXPORT DsnuSensor {
  std::int64_t width = 0;              ///< Samples in a row.
  std::int64_t height = 0;             ///< Rows.
  std::vector<std::uint16_t> offsets;  ///< Row after row.
  std::string type;                    ///< The band id.

  /// A copy of row `t`, from 0. Throws std::runtime_error "Internal error due to bad TDI index." where there is no such
  /// row, "Invalid width or height" where the image has fewer samples than its size says.
  std::vector<std::uint16_t> row(int t) const;
};

}  // namespace xmlFileData
