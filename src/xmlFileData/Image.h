// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

namespace xmlFileData {

/// Samples of an image. Throws std::runtime_error "Invalid width or height" for a negative size and for one that no
/// memory holds.
inline std::size_t imageSize(std::int64_t width, std::int64_t height) {
  bool const fits =
      width >= 0 && height >= 0 && (width == 0 || height <= std::numeric_limits<std::ptrdiff_t>::max() / width);
  if (!fits) {
    throw std::runtime_error("Invalid width or height");
  }
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

/// A copy of row `t`. Throws std::runtime_error "Internal error due to bad TDI index." where the image has no such row,
/// and "Invalid width or height" where it has fewer samples than its size says.
template <class Sample>
std::vector<Sample> imageRow(std::int64_t width, std::int64_t height, std::vector<Sample> const& samples, int t) {
  if (t < 0 || t >= height) {
    throw std::runtime_error("Internal error due to bad TDI index.");
  }
  if (imageSize(width, height) > samples.size()) {
    throw std::runtime_error("Invalid width or height");
  }
  auto const first = samples.begin() + t * width;
  return {first, first + width};
}

}  // namespace xmlFileData
