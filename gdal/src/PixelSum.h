// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>

namespace kesgdal {

struct PixelBox;

/// A sum over the pixels of a band and their places, to compare what was written with what is read back. Boxes come in
/// any order and of any size, and one that is replaced is taken out again. Pixels without data count nothing, so that
/// what was never written needs no mention. Bands with different pixels have the same sum with a probability of 2^-64.
class PixelSum {
public:
  PixelSum(GDALDataType type, double noData);

  /// The pixels of a box, row by row.
  void add(PixelBox const& box, void const* pixels) { mSum += sumOf(box, pixels); }
  /// What another one of the same band has summed up.
  void add(PixelSum const& other) { mSum += other.mSum; }
  void remove(PixelBox const& box, void const* pixels) { mSum -= sumOf(box, pixels); }

  std::uint64_t value() const { return mSum; }

  bool operator==(PixelSum const& other) const { return mSum == other.mSum; }
  bool operator!=(PixelSum const& other) const { return mSum != other.mSum; }

private:
  std::uint64_t sumOf(PixelBox const& box, void const* pixels) const;

  std::size_t mPixelBytes;
  std::uint64_t mNoData = 0;  // the bytes of a pixel, as a number
  std::uint64_t mSum = 0;
};

}  // namespace kesgdal
