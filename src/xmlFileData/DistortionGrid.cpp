// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Decimals.h"

#include <xmlFileData/DistortionGrid.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace xmlFileData {

namespace {

bool sameRow(GridRow const& a, GridRow const& b) {
  constexpr int decimals = 5;
  return sameDecimals(a.row, b.row, decimals) && sameDecimals(a.column, b.column, decimals) &&
         sameDecimals(a.sigmaRow, b.sigmaRow, decimals) && sameDecimals(a.sigmaColumn, b.sigmaColumn, decimals);
}

bool sameRows(std::vector<GridRow> const& a, std::vector<GridRow> const& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), sameRow);
}

bool sameRaster(DistortionGrid const& a, DistortionGrid const& b) {
  constexpr int decimals = 4;
  return sameDecimals(a.rowStart(), b.rowStart(), decimals) && sameDecimals(a.rowSpacing(), b.rowSpacing(), decimals) &&
         sameDecimals(a.columnStart(), b.columnStart(), decimals) &&
         sameDecimals(a.columnSpacing(), b.columnSpacing(), decimals);
}

}  // namespace

DistortionGrid::DistortionGrid() = default;

DistortionGrid::DistortionGrid(std::string channel, bool isDelta) : mChannel(std::move(channel)), mIsDelta(isDelta) {}

GridRow const& DistortionGrid::onlyRow() const {
  if (mGridRows.size() != 1) {
    throw std::runtime_error("Bad calibration format, only one row expected.");
  }
  return mGridRows.front();
}

void DistortionGrid::setRowStart(double start) {
  setRaster(mRowStart, start, "Row start");
}

void DistortionGrid::setRowSpacing(double spacing) {
  setRaster(mRowSpacing, spacing, "row spacing");
}

void DistortionGrid::setColumnStart(double start) {
  setRaster(mColumnStart, start, "column start");
}

void DistortionGrid::setColumnSpacing(double spacing) {
  setRaster(mColumnSpacing, spacing, "column spacing");
}

void DistortionGrid::setRaster(double& target, double value, std::string const& name) {
  if (!mIsDelta && value != 0.0) {
    throw std::runtime_error(name + " != 0 is invalid for absolute distortion grids");
  }
  target = value;
}

void DistortionGrid::checkRow(GridRow const& gridRow) const {
  std::size_t const length = gridRow.column.size();
  if (length != gridRow.row.size() || gridRow.sigmaColumn.size() != gridRow.sigmaRow.size() ||
      length != gridRow.sigmaColumn.size()) {
    throw std::runtime_error("Row count wrong");
  }
  if (mColumnCount != 0 && static_cast<std::size_t>(mColumnCount) != length) {
    throw std::runtime_error("Coloumn count wrong");
  }
}

void DistortionGrid::addRow(GridRow const& gridRow) {
  addRow(GridRow(gridRow));
}

void DistortionGrid::addRow(GridRow&& gridRow) {
  checkRow(gridRow);
  auto const columnCount = static_cast<std::int32_t>(gridRow.column.size());
  mGridRows.push_back(std::move(gridRow));
  mColumnCount = columnCount;
  ++mRowCount;
}

void DistortionGrid::setPositions(std::vector<double> row, std::vector<double> column) {
  GridRow const& before = onlyRow();
  if (row.size() != before.row.size() || column.size() != before.column.size()) {
    throw std::runtime_error("Inconsistent vector size!");
  }
  mGridRows.front().row = std::move(row);
  mGridRows.front().column = std::move(column);
}

bool DistortionGrid::operator==(DistortionGrid const& other) const {
  return mIsDelta == other.mIsDelta && mChannel == other.mChannel && (!mIsDelta || sameRaster(*this, other)) &&
         sameRows(mGridRows, other.mGridRows);
}

}  // namespace xmlFileData
