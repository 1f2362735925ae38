// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/DistortionGrid.h>
#include <xmlFileData/GeoSensorHead.h>

#include <vector>

namespace xmlFileData {

/// A sensor line: its detector, and where the pixels lie. Its grid is absolute. A value: copies are deep.
class KESSENSOR_EXPORT GeoSensor {
public:
  /// Throws std::runtime_error "KESB00 doesn't support delta value distortion grids" for such a grid.
  GeoSensor(GeoSensorHead head, DistortionGrid grid);

  /// A copy of the detector.
  GeoSensorHead head() const;
  /// A copy of the grid, with all of its pixels; `gridView` has them without one.
  DistortionGrid grid() const;
  /// Detector and grid in place; the references live as long as this object.
  GeoSensorHead const& headView() const { return mHead; }
  DistortionGrid const& gridView() const { return mGrid; }

  /// Replaces the places of the pixels, as `DistortionGrid::setPositions` does, and throws what that throws.
  void setPositions(std::vector<double> row, std::vector<double> column);

  /// Whether heads and grids are equal, by their own rules.
  bool operator==(GeoSensor const& other) const;
  bool operator!=(GeoSensor const& other) const { return !(*this == other); }

private:
  GeoSensorHead mHead;
  DistortionGrid mGrid;
};

}  // namespace xmlFileData
