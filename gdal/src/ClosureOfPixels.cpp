// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ClosureOfPixels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace kesgdal {

namespace {

constexpr int perSide = 32;

using Ground = std::vector<geo::XYZPoint>;
using Image = std::vector<geo::XYPoint>;

// The centres of pixels, evenly spread over a box; each pixel once.
Ground centresIn(PixelBox const& box, OrthoGrid const& grid) {
  GeoTransform const& place = grid.geoTransform();
  int const columns = std::min(box.columns, perSide);
  int const rows = std::min(box.rows, perSide);
  auto const spread = [](std::int64_t i, std::int64_t of, std::int64_t pixels) {
    std::int64_t const pixel = (2 * i + 1) * pixels / (2 * of);
    return static_cast<double>(pixel);
  };
  Ground centres;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      centres.emplace_back(place[0] + place[1] * (box.left + spread(column, columns, box.columns) + 0.5),
                           place[3] + place[5] * (box.top + spread(row, rows, box.rows) + 0.5), 0.0);
    }
  }
  return centres;
}

// Lifts positions of the map onto the surface; NaN where it has no height.
void lift(Ground& positions, kes::CoordinateSystem const& map, kes::Surface const& surface) {
  Ground onSurface(positions.size());
  std::vector<double> heights(positions.size());
  map.transform(surface.coordinateSystem(), positions, onSurface);
  surface.heights(onSurface, heights);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    onSurface[i].z = heights[i];
  }
  surface.coordinateSystem().transform(map, onSurface, onSurface);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    positions[i].z = onSurface[i].z;
  }
}

Image seen(kes::Band const& band, kes::CoordinateSystem const& map, Ground const& ground) {
  kes::ToImageOptions options;
  options.system = map;
  Image image(ground.size());
  std::vector<kes::Status> status(ground.size());
  band.toImage(ground, options, image, status);
  return image;
}

}  // namespace

void ClosureOfPixels::add(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface,
                          OrthoGrid const& grid, PixelBox const& box) {
  Ground ground = centresIn(box, grid);
  lift(ground, map, surface);
  Image const image = seen(band, map, ground);
  std::vector<double> heights;
  std::transform(ground.begin(), ground.end(), std::back_inserter(heights), [](auto const& p) { return p.z; });
  kes::ToGroundOptions toGround;
  toGround.system = map;
  toGround.heights = kes::HeightPerPoint{heights};
  Ground back(ground.size());
  std::vector<kes::Status> status(ground.size());
  band.toGround(image, toGround, back, status);
  Image const again = seen(band, map, back);
  map.transform(band.localSystem(), ground, ground);
  map.transform(band.localSystem(), back, back);
  for (std::size_t i = 0; i < image.size(); ++i) {
    if (!band.contains(image[i])) {
      continue;
    }
    double const metres = std::hypot(back[i].x - ground[i].x, back[i].y - ground[i].y, back[i].z - ground[i].z);
    double const pixels = std::hypot(again[i].x - image[i].x, again[i].y - image[i].y);
    ++mCount;
    mSquaresMetres += metres * metres;
    mSquaresPixels += pixels * pixels;
    // What doesn't come back is as bad as can be.
    mLargestMetres = std::isnan(metres) ? std::numeric_limits<double>::infinity() : std::max(mLargestMetres, metres);
    mLargestPixels = std::isnan(pixels) ? std::numeric_limits<double>::infinity() : std::max(mLargestPixels, pixels);
  }
}

double ClosureOfPixels::rmsMetres() const {
  return std::sqrt(mSquaresMetres / static_cast<double>(mCount));
}

double ClosureOfPixels::rmsPixels() const {
  return std::sqrt(mSquaresPixels / static_cast<double>(mCount));
}

}  // namespace kesgdal
