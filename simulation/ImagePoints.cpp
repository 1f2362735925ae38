// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/ImagePoints.h>

#include <algorithm>
#include <iterator>

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

bool isInside(kes::Band const& band, geo::XYPoint const& image, double border) {
  return image.x >= border && image.x <= band.samples() - 1.0 - border && image.y >= border &&
         image.y <= band.lines() - 1.0 - border;
}

Placed placed(kes::Band const& band, MappedPoints const& ground, double border) {
  std::vector<geo::XYZPoint> positions;
  std::transform(ground.points.begin(), ground.points.end(), std::back_inserter(positions), positionOf);
  std::vector<geo::XYPoint> image(positions.size());
  std::vector<kes::Status> status(positions.size());
  kes::ToImageOptions options;
  options.system = ground.map;
  band.toImage(positions, options, image, status);
  Placed placed;
  for (std::size_t i = 0; i < image.size(); ++i) {
    if (isInside(band, image[i], border)) {
      placed.points.push_back(ground.points[i]);
      placed.positions.push_back(positions[i]);
      placed.image.push_back(image[i]);
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
  return isInside(band, image, border) ? std::optional(image) : std::nullopt;
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
