// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace geo {
struct GroundPoint;
}

namespace sensor {
class GroundPointList;
class KESStripModel;
}  // namespace sensor

namespace tool {

/// Ground points by id; of several with one id, the first. The list must outlive it.
class GroundPointIndex {
public:
  explicit GroundPointIndex(sensor::GroundPointList const& list);
  /// Null when there is none.
  geo::GroundPoint const* find(std::string const& id) const;

private:
  std::unordered_map<std::string, geo::GroundPoint const*> mPoints;
};

/// A measurement of a ground point in an image, and where the sensor model has the point; sample and line.
struct Residual {
  std::string id;
  bool isActive;
  geo::XYPoint measured;
  geo::XYPoint projected;

  geo::XYPoint value() const { return {measured.x - projected.x, measured.y - projected.y}; }
};

/// Root mean square of residuals, those of measurements that are active; 0 without any.
struct ResidualSum {
  int points = 0;
  geo::XYPoint squares;

  void add(Residual const& residual);
  void add(ResidualSum const& sum);
  geo::XYPoint rms() const;
};

/// What the measurements of an image come to.
struct ImageResiduals {
  std::string bandId;
  std::string file;  ///< Of the measurements.
  std::vector<Residual> residuals;
  std::vector<std::string> unknown;  ///< Ids that no ground point has.
  ResidualSum sum;
};

/// Projects the ground points that are measured in the image of a band, from the strip's mapping system. The strip is loaded.
/// Throws "STRIP: BAND: point \"ID\" can't be projected" when the coordinate system can't convert a point, or the
/// sensor model gives no position.
ImageResiduals residualsOf(sensor::KESStripModel const& strip, int band, GroundPointIndex const& points);

}  // namespace tool
