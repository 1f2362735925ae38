// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "strips/Closure.h"

#include <algorithm>
#include <cmath>

namespace tool {

double groundClosure(sensor::KESStripModel const& strip, int band, geo::XYPoint const& image,
                     geo::XYZPoint const& ground) {
  geo::XYZPoint back;
  strip.imageToLsr(image, static_cast<float>(ground.z), band, back);
  return std::hypot(back.x - ground.x, back.y - ground.y);
}

bool isInside(sensor::KESStripModel const& strip, int band, geo::XYPoint const& image) {
  constexpr double half = 0.5;
  return image.x >= -half && image.x < strip.imageWidth(band) - half && image.y >= -half &&
         image.y < strip.imageHeight(band) - half;
}

double groundTolerance(sensor::KESStripModel const& strip, int band) {
  auto const across = static_cast<double>(strip.gsd(band));
  double const along = across / static_cast<double>(strip.scale(band));
  return closureTolerance * std::max(across, along);
}

}  // namespace tool
