// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PixelSum.h"

#include "PixelBox.h"

#include <cstring>

namespace kesgdal {

namespace {

// The last step of SplitMix64 (G. L. Steele, D. Lea, C. H. Flood, 2014): each bit of the result depends on all of `x`.
std::uint64_t mixed(std::uint64_t x) {
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
  return x ^ (x >> 31);
}

// `Bits`: an unsigned number of a pixel's size.
template <class Bits>
std::uint64_t sumOfPixels(PixelBox const& box, void const* pixels, std::uint64_t noData) {
  auto const* next = static_cast<std::byte const*>(pixels);
  std::uint64_t sum = 0;
  for (int row = 0; row < box.rows; ++row) {
    std::uint64_t place = (static_cast<std::uint64_t>(box.top + row) << 32) + static_cast<std::uint64_t>(box.left);
    for (int column = 0; column < box.columns; ++column, ++place, next += sizeof(Bits)) {
      Bits pixel = 0;
      std::memcpy(&pixel, next, sizeof pixel);
      if (pixel != noData) {
        sum += mixed(mixed(place) + pixel);
      }
    }
  }
  return sum;
}

}  // namespace

PixelSum::PixelSum(GDALDataType type, double noData)
    : mPixelBytes(static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type))) {
  GDALCopyWords(&noData, GDT_Float64, 0, &mNoData, type, 0, 1);
}

std::uint64_t PixelSum::sumOf(PixelBox const& box, void const* pixels) const {
  switch (mPixelBytes) {
  case 1:
    return sumOfPixels<std::uint8_t>(box, pixels, mNoData);
  case 2:
    return sumOfPixels<std::uint16_t>(box, pixels, mNoData);
  case 4:
    return sumOfPixels<std::uint32_t>(box, pixels, mNoData);
  default:
    return sumOfPixels<std::uint64_t>(box, pixels, mNoData);
  }
}

}  // namespace kesgdal
