// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <dsm/RasterElevationSource.h>

#include <gdal_priv.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// An elevation model to be written. Steps along x and y differ, so that swapped axes show.
struct ElevationRaster {
  int columns = 5;
  int rows = 4;
  int bands = 1;
  /// The raw values of the first band, line by line.
  std::vector<double> values;
  /// From columns and rows to x and y: x = [0] + [1] column + [2] row, y = [3] + [4] column + [5] row.
  std::array<double, 6> geoTransform = {500000.0, 10.0, 0.0, 5400000.0, 0.0, -4.0};
  std::string system = "EPSG:32633";
  GDALDataType type = GDT_Float32;
  std::optional<double> noData;
  std::optional<double> scale;
  std::optional<double> offset;
  std::string unit;
  std::string driver = "GTiff";
  std::vector<std::string> options;
  /// Whatever else the file is to have, before it is closed.
  std::function<void(GDALDataset&)> finish;

  /// Values of a function of the column and row.
  template <class Function>
  ElevationRaster& fill(Function value) {
    values.clear();
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column) {
        values.push_back(value(column, row));
      }
    }
    return *this;
  }
  double x(double column, double row = 0.0) const {
    return geoTransform[0] + geoTransform[1] * column + geoTransform[2] * row;
  }
  double y(double column, double row) const {
    return geoTransform[3] + geoTransform[4] * column + geoTransform[5] * row;
  }
  /// The position at a column and row, counted from the outer corner of the first cell.
  geo::XYZPoint at(double column, double row) const { return {x(column, row), y(column, row), 0.0}; }

  /// Writes the file and gives its path.
  std::string write(TempFolder const& folder, std::string const& name = "dem.tif") const;
};

/// The height at a position, or nothing where the source has none; then the height has to be untouched.
std::optional<float> heightAt(dsm::ProjectedElevationSource const& source, geo::XYZPoint const& position);

/// A raster that is computed when it is read, under a name of its own that GDAL opens: of any size, with a count of its
/// readings, and failing when it is told to.
class FormulaRaster {
public:
  FormulaRaster(int columnCount, int rowCount, std::function<double(int, int)> valueAt);
  ~FormulaRaster();
  FormulaRaster(FormulaRaster const&) = delete;
  FormulaRaster& operator=(FormulaRaster const&) = delete;

  std::string const& name() const { return mName; }

  int const columns;
  int const rows;
  std::function<double(int, int)> const value;
  std::array<double, 6> geoTransform = {500000.0, 1.0, 0.0, 5400000.0, 0.0, -1.0};
  bool hasBand = true;
  /// How often cells were read, and whether two threads ever did at the same time.
  std::atomic<int> readings{0};
  std::atomic<int> readers{0};
  std::atomic<bool> haveReadersMet{false};
  std::atomic<bool> fails{false};

private:
  std::string mName;
};

}  // namespace test
