// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/Outline.h"

#include "shared/Numbers.h"

#include <geo/XYPoint.h>

#include <array>
#include <stdexcept>

namespace tool {

namespace {

constexpr int pointsOfASide = 64;
constexpr float surfaceTolerance = 0.1F;  // ground sampling distances

}  // namespace

std::vector<geo::XYZPoint> outlineOf(sensor::KESStripModel const& strip, int band,
                                     dsm::ProjectedElevationSource& surface) {
  double const right = strip.imageWidth(band) - 0.5;
  double const bottom = strip.imageHeight(band) - 0.5;
  std::array<geo::XYPoint, 5> const corners{
      {{-0.5, -0.5}, {right, -0.5}, {right, bottom}, {-0.5, bottom}, {-0.5, -0.5}}};
  std::vector<geo::XYZPoint> outline;
  for (std::size_t side = 0; side + 1 < corners.size(); ++side) {
    geo::XYPoint const& from = corners[side];
    geo::XYPoint const& to = corners[side + 1];
    for (int i = 0; i < pointsOfASide; ++i) {
      double const part = static_cast<double>(i) / pointsOfASide;
      geo::XYPoint const image(from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part);
      auto height = static_cast<float>(strip.meanTerrainHeight());
      geo::XYZPoint ground;
      try {
        strip.imageToMap(image, band, ground, &surface, height, surfaceTolerance);
      } catch (std::runtime_error const& error) {
        throw std::runtime_error(strip.bandID(band) + ", sample " + text(image.x) + ", line " + text(image.y) + ": " +
                                 error.what());
      }
      outline.push_back(ground);
    }
  }
  outline.push_back(outline.front());
  return outline;
}

}  // namespace tool
