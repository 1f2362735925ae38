// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/Residuals.h"

#include <sensor/kessensor.h>

#include <cmath>
#include <stdexcept>

namespace tool {

GroundPointIndex::GroundPointIndex(sensor::GroundPointList const& list) {
  for (geo::GroundPoint const& point : list.points()) {
    mPoints.emplace(point.id, &point);
  }
}

geo::GroundPoint const* GroundPointIndex::find(std::string const& id) const {
  auto const found = mPoints.find(id);
  return found == mPoints.end() ? nullptr : found->second;
}

void ResidualSum::add(Residual const& residual) {
  if (residual.isActive) {
    geo::XYPoint const value = residual.value();
    squares.x += value.x * value.x;
    squares.y += value.y * value.y;
    ++points;
  }
}

void ResidualSum::add(ResidualSum const& sum) {
  squares.x += sum.squares.x;
  squares.y += sum.squares.y;
  points += sum.points;
}

geo::XYPoint ResidualSum::rms() const {
  double const n = points > 0 ? points : 1;
  return {std::sqrt(squares.x / n), std::sqrt(squares.y / n)};
}

ImageResiduals residualsOf(sensor::KESStripModel const& strip, int band, GroundPointIndex const& points) {
  sensor::KESImage const& image = *strip.img(band);
  ImageResiduals result{image.bandID(), image.iptFileName(), {}, {}, {}};
  sensor::ImagePointList const measured(result.file, strip.name(), result.bandId);
  for (geo::ImagePoint const& point : measured.points()) {
    geo::GroundPoint const* const ground = points.find(point.id);
    if (ground == nullptr) {
      result.unknown.push_back(point.id);
      continue;
    }
    geo::XYPoint projected;
    strip.mapToImage({ground->x, ground->y, ground->z}, band, projected);
    if (!std::isfinite(projected.x) || !std::isfinite(projected.y)) {
      throw std::runtime_error(strip.name() + ": " + result.bandId + ": point \"" + point.id + "\" can't be projected");
    }
    result.residuals.push_back({point.id, point.active, {point.x, point.y}, projected});
    result.sum.add(result.residuals.back());
  }
  return result;
}

}  // namespace tool
