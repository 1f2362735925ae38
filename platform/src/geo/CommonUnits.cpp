// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/CommonUnits.h"

#include "geo/Wgs84.h"

#include <geo/units.h>

namespace geo {

units const& metre() {
  static units const unit("metre", 1.0);
  return unit;
}

units const& radianOnEquator() {
  static units const unit("radian", wgs84::SEMI_MAJOR_AXIS);
  return unit;
}

units const& degreeOnEquator() {
  static units const unit("degree", wgs84::SEMI_MAJOR_AXIS * wgs84::RADIANS_PER_DEGREE);
  return unit;
}

}  // namespace geo
