// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/GridRow.h>

#include <cstdint>
#include <string>
#include <vector>

namespace xmlFileData {

/// Where the pixels of a sensor line lie in the focal plane; millimetres. An absolute grid has the positions
/// themselves, a delta grid their differences to a regular raster, which alone has starts and spacings. A value: copies
/// are deep.
class KESSENSOR_EXPORT DistortionGrid {
public:
  /// An absolute grid of no band, without rows.
  DistortionGrid();
  /// A grid of a band, without rows.
  explicit DistortionGrid(std::string channel, bool isDelta = false);

  /// Number of rows, and of the pixels in each; 0 until a row is added.
  std::int32_t rowCount() const { return mRowCount; }
  std::int32_t columnCount() const { return mColumnCount; }
  double rowStart() const { return mRowStart; }
  double rowSpacing() const { return mRowSpacing; }
  double columnStart() const { return mColumnStart; }
  double columnSpacing() const { return mColumnSpacing; }
  /// The band id.
  std::string const& channel() const { return mChannel; }
  std::vector<GridRow> const& gridRows() const { return mGridRows; }
  bool isDelta() const { return mIsDelta; }

  /// The row of a line sensor. Throws std::runtime_error "Bad calibration format, only one row expected." where there
  /// is none, or more than one.
  GridRow const& onlyRow() const;

  /// Each throws std::runtime_error for an absolute grid and a value other than 0:
  /// "Row start != 0 is invalid for absolute distortion grids",
  void setRowStart(double start);
  /// "row spacing != 0 is invalid for absolute distortion grids",
  void setRowSpacing(double spacing);
  /// "column start != 0 is invalid for absolute distortion grids",
  void setColumnStart(double start);
  /// "column spacing != 0 is invalid for absolute distortion grids".
  void setColumnSpacing(double spacing);

  /// Adds a row; the first sets the grid's column count. Throws std::runtime_error "Row count wrong" where the
  /// vectors of the row differ in length, "Coloumn count wrong" where they differ from those of the rows before; the
  /// grid stays as it was then.
  void addRow(GridRow const& gridRow);
  void addRow(GridRow&& gridRow);

  /// Replaces the places of the only row; the standard deviations stay. Throws what `onlyRow` throws, and
  /// std::runtime_error "Inconsistent vector size!" where a length isn't the column count; the grid stays as it was
  /// then.
  void setPositions(std::vector<double> row, std::vector<double> column);

  /// Whether two grids would be the same in a file: same kind, channel and lengths, values that agree to five decimals,
  /// and in delta grids starts and spacings that agree to four. A NaN agrees with nothing.
  bool operator==(DistortionGrid const& other) const;
  bool operator!=(DistortionGrid const& other) const { return !(*this == other); }

private:
  void setRaster(double& target, double value, std::string const& name);
  void checkRow(GridRow const& gridRow) const;

  std::int32_t mRowCount = 0;
  std::int32_t mColumnCount = 0;
  double mRowStart = 0.0;
  double mRowSpacing = 0.0;
  double mColumnStart = 0.0;
  double mColumnSpacing = 0.0;
  std::string mChannel;
  std::vector<GridRow> mGridRows;
  bool mIsDelta = false;
};

}  // namespace xmlFileData
