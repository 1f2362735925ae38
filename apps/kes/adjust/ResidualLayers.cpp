// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "adjust/AdjustmentReport.h"
#include "blocks/GisStyles.h"
#include "blocks/ResidualLayer.h"

#include <map>

namespace tool {

namespace {

using kesadjust::ObservationState;
using kesadjust::PointRole;

constexpr double exaggeration = 500.0;

VectorLayer pointLayer(Adjustment const& adjustment, kes::CoordinateSystem const& map) {
  VectorLayer layer{"points",
                    Shape::point,
                    {{"id", FieldType::text},
                     {"role", FieldType::text},
                     {"used", FieldType::whole},
                     {"rays", FieldType::whole},
                     {"sigma_x", FieldType::number},
                     {"sigma_y", FieldType::number},
                     {"sigma_z", FieldType::number},
                     {"dx", FieldType::number},
                     {"dy", FieldType::number},
                     {"dz", FieldType::number}},
                    {},
                    gisStyle::groundPoints()};
  for (kesadjust::AdjustedPoint const& point : adjustment.result.points) {
    geo::XYZPoint position = point.position;
    if (!point.isDetermined || adjustment.system.transform(map, {&position, 1}, {&position, 1}) != 1) {
      continue;
    }
    std::vector<Attribute> attributes{point.id, nameOf(point.role), point.isUsed ? 1.0 : 0.0,
                                      static_cast<double>(point.rays)};
    for (double const sigma : point.sigmas) {
      attributes.emplace_back(sigma);
    }
    for (double const difference : point.difference) {
      Attribute& attribute = attributes.emplace_back();
      if (point.role != PointRole::tie) {
        attribute = difference;
      }
    }
    layer.features.push_back({{position}, attributes});
  }
  return layer;
}

/// From the adjusted point to where the image point lies on the ground at its height, on the map; empty where the
/// image position isn't seen.
std::vector<geo::XYZPoint> vectorOf(kes::Strip const& strip, kesadjust::AdjustedImagePoint const& imagePoint,
                                    geo::XYZPoint const& local, kes::CoordinateSystem const& map) {
  kes::Band const band = strip.band(imagePoint.measurement.band);
  kes::ToGroundOptions toGround;
  toGround.heights = kes::ConstantHeight{local.z};
  geo::XYPoint const& measured = imagePoint.measurement.position;
  auto const [seen, status] = band.toGround(measured, toGround);
  auto const [adjusted, adjustedStatus] =
      band.toGround({measured.x + imagePoint.residual.x, measured.y + imagePoint.residual.y}, toGround);
  if (!kes::hasResult(status) || !kes::hasResult(adjustedStatus)) {
    return {};
  }
  return drawn({local, {seen.x - adjusted.x, seen.y - adjusted.y}}, exaggeration, strip, map);
}

}  // namespace

std::vector<VectorLayer> layersOf(Adjustment const& adjustment, std::span<kes::Strip const> strips,
                                  kes::CoordinateSystem const& map) {
  VectorLayer residuals = residualLayer(false);
  std::map<std::string, kes::Strip const*> stripOf;
  for (kes::Strip const& strip : strips) {
    stripOf[strip.name()] = &strip;
  }
  std::map<std::string, kesadjust::AdjustedPoint const*> pointOf;
  for (kesadjust::AdjustedPoint const& point : adjustment.result.points) {
    pointOf[point.id] = &point;
  }
  for (kesadjust::AdjustedImagePoint const& imagePoint : adjustment.result.imagePoints) {
    kesadjust::AdjustedPoint const& point = *pointOf.at(imagePoint.measurement.point);
    kes::Strip const& strip = *stripOf.at(imagePoint.measurement.strip);
    geo::XYZPoint local;
    if (!point.isDetermined ||
        adjustment.system.transform(strip.localSystem(), {&point.position, 1}, {&local, 1}) != 1) {
      continue;
    }
    if (auto const ends = vectorOf(strip, imagePoint, local, map); !ends.empty()) {
      kes::Band const band = strip.band(imagePoint.measurement.band);
      geo::XYPoint const& residual = imagePoint.residual;
      residuals.features.push_back(
          {ends,
           {imagePoint.measurement.strip, imagePoint.measurement.band, imagePoint.measurement.point,
            imagePoint.measurement.position.x, imagePoint.measurement.position.y, residual.x, residual.y,
            residual.x * band.gsd(), residual.y * band.gsd() / band.scale(),
            imagePoint.state == ObservationState::used ? 1.0 : 0.0, exaggeration}});
    }
  }
  return {pointLayer(adjustment, map), residuals};
}

}  // namespace tool
