// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "strips/GroundSampling.h"

#include <kes/Band.h>

#include <array>
#include <cmath>
#include <limits>

namespace tool {

GroundSampling groundSamplingAt(kes::Band const& band, geo::XYPoint const& image, double localHeight) {
  constexpr double lines = 64.0;
  std::array<geo::XYPoint, 4> const around{{{image.x - 0.5, image.y},
                                            {image.x + 0.5, image.y},
                                            {image.x, image.y - 0.5 * lines},
                                            {image.x, image.y + 0.5 * lines}}};
  std::array<geo::XYZPoint, 4> ground;
  std::array<kes::Status, 4> status{};
  kes::ToGroundOptions toGround;
  toGround.heights = kes::ConstantHeight{localHeight};
  band.toGround(around, toGround, ground, status);
  auto const distance = [&](std::size_t a, std::size_t b) {
    return kes::hasResult(status[a]) && kes::hasResult(status[b])
               ? std::hypot(ground[b].x - ground[a].x, ground[b].y - ground[a].y)
               : std::numeric_limits<double>::quiet_NaN();
  };
  return {distance(0, 1), distance(2, 3) / lines};
}

}  // namespace tool
