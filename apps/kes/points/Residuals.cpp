// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/Residuals.h"

#include <kes/Strip.h>
#include <sensor/kessensor.h>

#include <cmath>

namespace tool {

namespace {

Json toJson(geo::XYPoint const& point) {
  return {{"sample", point.x}, {"line", point.y}};
}

}  // namespace

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
  if (residual.isActive && residual.isProjected()) {
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

ImageResiduals residualsOf(kes::Strip const& strip, kes::Band const& band, GroundPointIndex const& points,
                           kes::CoordinateSystem const& system) {
  ImageResiduals result{band.id(), strip.model().img(band.index())->iptFileName(), {}, {}, {}};
  kes::ToImageOptions toImage;
  toImage.system = system;
  sensor::ImagePointList const measured(result.file, strip.name(), result.bandId);
  for (geo::ImagePoint const& point : measured.points()) {
    geo::GroundPoint const* const ground = points.find(point.id);
    if (ground == nullptr) {
      result.unknown.push_back(point.id);
      continue;
    }
    auto const [projected, status] = band.toImage({ground->x, ground->y, ground->z}, toImage);
    result.residuals.push_back({point.id, point.active, {point.x, point.y}, projected, status});
    result.sum.add(result.residuals.back());
  }
  return result;
}

Json toJson(Residual const& residual) {
  return {{"id", residual.id},
          {"active", residual.isActive},
          {"status", kes::toString(residual.status)},
          {"measured", toJson(residual.measured)},
          {"projected", toJson(residual.projected)},
          {"residual", toJson(residual.value())}};
}

Json toJson(ResidualSum const& sum) {
  return {{"points", sum.points}, {"sample", sum.rms().x}, {"line", sum.rms().y}};
}

Json toJson(ImageResiduals const& image) {
  return {{"id", image.bandId},
          {"file", image.file},
          {"points", arrayOf(image.residuals)},
          {"unknown", image.unknown},
          {"rms", toJson(image.sum)}};
}

}  // namespace tool
