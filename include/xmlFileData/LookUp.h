// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <cstdint>
#include <vector>

namespace xmlFileData {

/// A monotone curve from digital numbers to digital numbers, for a range of detector columns and rows. The library
/// hands its points on and never evaluates it. A value: copies are deep.
class KESSENSOR_EXPORT LookUp {
public:
  /// No range and no points.
  LookUp();
  /// The curve through the points (from[k], to[k]); throws what `setTable` throws.
  LookUp(std::int32_t columnStart, std::int32_t rowStart, std::int32_t columns, std::int32_t rows,
         std::vector<double> from, std::vector<double> to);
  virtual ~LookUp();
  LookUp(LookUp const&) = default;
  LookUp(LookUp&&) = default;
  LookUp& operator=(LookUp const&) = default;
  LookUp& operator=(LookUp&&) = default;

  /// First detector column of the range.
  virtual std::int32_t columnStart() const;
  /// First detector row of the range.
  virtual std::int32_t rowStart() const;
  /// Number of columns of the range.
  virtual std::int32_t columns() const;
  /// Number of rows of the range.
  virtual std::int32_t rows() const;
  /// Replaces the points. Both vectors may be empty; either may be one of this object. Throws std::runtime_error
  /// "Vectors must have same size", or "From must be in increasing order" where a value is greater than the next, and
  /// then the points stay as they were. Equal neighbours are allowed: the curve jumps, or is flat, there.
  virtual void setTable(std::vector<double> const& from, std::vector<double> const& to);
  /// Whether the ranges are the same and the points agree to the nearest whole number.
  virtual bool operator==(LookUp const& other) const;
  virtual bool operator!=(LookUp const& other) const;

  /// Input values, never falling; the reference lives as long as this object.
  std::vector<double> const& from() const { return mFrom; }
  /// Output values, one for each input; the reference lives as long as this object.
  std::vector<double> const& to() const { return mTo; }

private:
  std::int32_t mColumnStart = 0;
  std::int32_t mRowStart = 0;
  std::int32_t mColumns = 0;
  std::int32_t mRows = 0;
  std::vector<double> mFrom;
  std::vector<double> mTo;
};

}  // namespace xmlFileData
