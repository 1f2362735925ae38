// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace geo {

/// A measured point on the ground, with the standard deviations of its coordinates.
struct GroundPoint {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  std::string id;
  double sx = 0.0;
  double sy = 0.0;
  double sz = 0.0;
  std::int32_t type = 0;
};

}  // namespace geo
