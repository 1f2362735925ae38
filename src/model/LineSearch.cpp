// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/LineSearch.h"

#include <algorithm>
#include <cmath>

namespace sensor {

bool isFinite(geo::XYZPoint const& position) {
  return std::isfinite(position.x) && std::isfinite(position.y) && std::isfinite(position.z);
}

double heightOfRun(geo::XYZPoint const* ground, std::size_t count) {
  geo::XYZPoint const* const end = ground + count;
  geo::XYZPoint const* const first =
      std::find_if(ground, end, [](geo::XYZPoint const& position) { return std::isfinite(position.z); });
  return first == end ? ground->z : first->z;
}

}  // namespace sensor
