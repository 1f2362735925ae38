// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <vector>

namespace kesgdal {

/// A part of the orthophoto, in its pixels.
struct PixelBox {
  int left;
  int top;
  int columns;
  int rows;

  std::size_t size() const { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }
};

/// A box as the image of one band shows it, row by row.
struct WarpedPixels {
  std::vector<std::byte> pixels;
  /// How far from the middle of its line the image has each pixel, in samples; infinity where it has no data. Empty
  /// when there is no other strip to compare with.
  std::vector<float> distances;
};

}  // namespace kesgdal
