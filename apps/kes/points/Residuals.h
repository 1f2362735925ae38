// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <geo/XYPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Status.h>

#include <cmath>
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

/// Throws std::runtime_error "FILE:LINE: \"1,5\" has a decimal comma; numbers take a point" where a list of points has
/// such a number, which the library would read up to its comma. A file that can't be read has none.
void requireDecimalPoints(std::string const& file);

/// A measurement of a ground point in an image, and where the sensor model has the point; sample and line.
struct Residual {
  std::string id;
  bool isActive;
  geo::XYPoint measured;
  geo::XYPoint projected;  ///< NaN when `status` has no result.
  kes::Status status;
  bool isOutlier = false;

  bool isProjected() const { return kes::hasResult(status); }
  bool isUsed() const { return isActive && isProjected(); }
  geo::XYPoint value() const { return {measured.x - projected.x, measured.y - projected.y}; }
  /// The larger of the two without their signs.
  double size() const { return std::fmax(std::fabs(value().x), std::fabs(value().y)); }
};

/// Of residuals, each in samples and lines; NaN without any.
struct ResidualStatistics {
  int points = 0;
  geo::XYPoint mean;
  geo::XYPoint median;
  geo::XYPoint rms;
  geo::XYPoint largest;  ///< Without its sign.
};

ResidualStatistics statisticsOf(std::vector<geo::XYPoint> const& residuals);

/// The measurements of an image.
struct ImageResiduals {
  std::string bandId;
  std::string file;  ///< Of the measurements; empty when the band has none.
  double gsd;        ///< Metres.
  std::vector<Residual> residuals;
  std::vector<std::string> unknown;  ///< Ids that no ground point has.
  ResidualStatistics statistics;     ///< Of the residuals in use.
  /// What may be wrong with the ground points, if the first active one can't be projected; otherwise empty.
  std::string doubt;

  /// Of active measurements whose points are projected.
  std::vector<geo::XYPoint> used() const;
};

/// Projects the ground points, which are in `system`, that are measured in the image of a band. From five residuals on,
/// those that depart from the median by more than 3.5 standard deviations are outliers; the standard deviation is
/// taken from the median of the departures, as outliers don't count for it. Throws "FILE:LINE: \"1,5\" has a decimal
/// comma; numbers take a point" of the measurements.
ImageResiduals residualsOf(kes::Strip const& strip, kes::Band const& band, GroundPointIndex const& points,
                           kes::CoordinateSystem const& system);

Json toJson(Residual const& residual);
Json toJson(ResidualStatistics const& statistics);
Json toJson(ImageResiduals const& image);

}  // namespace tool
