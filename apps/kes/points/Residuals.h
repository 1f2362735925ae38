// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <geo/XYPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Status.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace geo {
struct GroundPoint;
}

namespace kes {
class Band;
class Strip;
}  // namespace kes

namespace sensor {
class GroundPointList;
}

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
  geo::XYPoint projected;  ///< NaN when `status` has no result.
  kes::Status status;

  bool isProjected() const { return kes::hasResult(status); }
  geo::XYPoint value() const { return {measured.x - projected.x, measured.y - projected.y}; }
};

/// Root mean square of the residuals of active measurements whose points are projected; 0 without any.
struct ResidualSum {
  int points = 0;
  geo::XYPoint squares;

  void add(Residual const& residual);
  void add(ResidualSum const& sum);
  geo::XYPoint rms() const;
};

/// The measurements of an image.
struct ImageResiduals {
  std::string bandId;
  std::string file;  ///< Of the measurements; empty when the band has none.
  std::vector<Residual> residuals;
  std::vector<std::string> unknown;  ///< Ids that no ground point has.
  ResidualSum sum;
};

/// Projects the ground points, which are in `system`, that are measured in the image of a band.
ImageResiduals residualsOf(kes::Strip const& strip, kes::Band const& band, GroundPointIndex const& points,
                           kes::CoordinateSystem const& system);

Json toJson(Residual const& residual);
Json toJson(ResidualSum const& sum);
Json toJson(ImageResiduals const& image);

}  // namespace tool
