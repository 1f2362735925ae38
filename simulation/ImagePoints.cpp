// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <sensor/KESStripModel.h>
#include <simulation/BandView.h>
#include <simulation/ImagePoints.h>
#include <simulation/ScanLine.h>

namespace simulation {

namespace {

geo::XYZPoint positionOf(geo::GroundPoint const& point) {
  return {point.x, point.y, point.z};
}

// Whether nothing higher stands in the way.
bool isSeen(sensor::KESStripModel const& strip, int band, BandView const& view, geo::GroundPoint const& point,
            geo::XYPoint const& image) {
  geo::XYZPoint local;
  geo::coordSys::transform(strip.mappingSystem(), strip.lsrSystem(), positionOf(point), local);
  LineOfSight const line = ScanLine(strip, band, image.y, view.foot()).through(image.x);
  // NaN for a line that meets no ground.
  return view.surface().meet(line, local.z) <= local.z + static_cast<double>(strip.gsd(band));
}

}  // namespace

double borderOf(double noise) {
  constexpr double most = 6.0;  // standard deviations
  return 1.0 + most * noise;
}

std::optional<geo::XYPoint> placeInImage(sensor::KESStripModel const& strip, int band, geo::GroundPoint const& point,
                                         double border) {
  geo::XYPoint image;
  strip.mapToImage(positionOf(point), band, image);
  bool const isInside = image.x >= border && image.x <= strip.imageWidth(band) - 1.0 - border && image.y >= border &&
                        image.y <= strip.imageHeight(band) - 1.0 - border;
  return isInside ? std::optional(image) : std::nullopt;
}

std::vector<geo::ImagePoint> measured(sensor::KESStripModel const& strip, int band, Terrain const& terrain,
                                      std::vector<geo::GroundPoint> const& points, double noise, Random random) {
  std::vector<geo::ImagePoint> measurements;
  std::optional<BandView> view;
  for (geo::GroundPoint const& point : points) {
    auto const image = placeInImage(strip, band, point, borderOf(noise));
    if (!image) {
      continue;
    }
    if (!view) {
      view.emplace(strip, band, terrain);
    }
    if (isSeen(strip, band, *view, point, *image)) {
      double const x = image->x + random.normal(noise);
      double const y = image->y + random.normal(noise);
      measurements.push_back({x, y, point.id, noise, noise, true});
    }
  }
  return measurements;
}

}  // namespace simulation
