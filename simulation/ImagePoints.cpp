// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/ImagePoints.h>

namespace simulation {

namespace {

/// Points with their places in an image.
struct Placed {
  std::vector<geo::GroundPoint> points;
  std::vector<geo::XYZPoint> positions;  // local
  std::vector<geo::XYPoint> image;
};

geo::XYZPoint positionOf(geo::GroundPoint const& point) {
  return {point.x, point.y, point.z};
}

Placed placed(kes::Band const& band, MappedPoints const& ground, double border) {
  Placed placed;
  for (geo::GroundPoint const& point : ground.points) {
    if (auto const image = placeInImage(band, ground.map, point, border)) {
      placed.points.push_back(point);
      placed.positions.push_back(positionOf(point));
      placed.image.push_back(*image);
    }
  }
  ground.map.transform(band.localSystem(), placed.positions, placed.positions);
  return placed;
}

// Of each point, whether nothing higher stands in the way.
std::vector<bool> areSeen(kes::Band const& band, kes::Surface const& terrain, Placed const& placed) {
  std::size_t const count = placed.image.size();
  std::vector<geo::XYZPoint> met(count);
  std::vector<kes::Status> status(count);
  kes::ToGroundOptions options;
  options.heights = terrain;
  band.toGround(placed.image, options, met, status);
  std::vector<bool> seen(count);
  for (std::size_t i = 0; i < count; ++i) {
    seen[i] = hasResult(status[i]) && met[i].z <= placed.positions[i].z + band.gsd();
  }
  return seen;
}

}  // namespace

double borderOf(double noise) {
  constexpr double most = 6.0;  // standard deviations
  return 1.0 + most * noise;
}

std::optional<geo::XYPoint> placeInImage(kes::Band const& band, kes::CoordinateSystem const& map,
                                         geo::GroundPoint const& point, double border) {
  kes::ToImageOptions options;
  options.system = map;
  auto const [image, status] = band.toImage(positionOf(point), options);
  bool const isInside = image.x >= border && image.x <= band.samples() - 1.0 - border && image.y >= border &&
                        image.y <= band.lines() - 1.0 - border;
  return isInside ? std::optional(image) : std::nullopt;
}

std::vector<geo::ImagePoint> measured(kes::Band const& band, MappedPoints const& ground, double noise, Random random) {
  Placed const placed = simulation::placed(band, ground, borderOf(noise));
  std::vector<bool> const seen = areSeen(band, ground.terrain, placed);
  std::vector<geo::ImagePoint> measurements;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (seen[i]) {
      double const x = placed.image[i].x + random.normal(noise);
      double const y = placed.image[i].y + random.normal(noise);
      measurements.push_back({x, y, placed.points[i].id, noise, noise, true});
    }
  }
  return measurements;
}

}  // namespace simulation
