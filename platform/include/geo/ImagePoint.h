// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace geo {

/// A measured point in an image (x the sample, y the line), with the standard deviations of its coordinates.
struct ImagePoint {
  double x = 0.0;
  double y = 0.0;
  std::string id;
  double sx = 0.0;
  double sy = 0.0;
  bool active = true;
};

}  // namespace geo
