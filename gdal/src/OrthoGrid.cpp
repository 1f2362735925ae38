// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/NumberText.h"

#include <kesgdal/OrthoGrid.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace kesgdal {

namespace {

// Without an exponent.
std::string wholeNumber(double value) {
  std::array<char, 400> digits{};
  return {digits.data(),
          std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 0).ptr};
}

constexpr double mostInLine = std::numeric_limits<std::int32_t>::max();

}  // namespace

OrthoGrid::OrthoGrid(Extent const& extent, double gsd, kes::CoordinateSystem const& map)
    : mPixelSize(gsd / map.horizontalUnit().metres) {
  std::string const distance = "ground sampling distance of " + files::shortestText(gsd) + " m ";
  if (!(gsd > 0.0 && std::isfinite(gsd))) {
    throw std::runtime_error(distance + "isn't above 0");
  }
  mLeft = std::floor(extent.low.x / mPixelSize);
  mTop = std::ceil(extent.high.y / mPixelSize);
  // An edge of the box that lies on one of a pixel needs that pixel, too: an image of no width would be none.
  double const columns = std::max(std::ceil(extent.high.x / mPixelSize) - mLeft, 1.0);
  double const rows = std::max(mTop - std::floor(extent.low.y / mPixelSize), 1.0);
  if (!(columns <= mostInLine && rows <= mostInLine && columns * rows <= MOST_PIXELS)) {
    throw std::runtime_error(distance + "gives an image of " + wholeNumber(columns) + " x " + wholeNumber(rows) +
                             " pixels");
  }
  mColumns = static_cast<int>(columns);
  mRows = static_cast<int>(rows);
}

GeoTransform OrthoGrid::geoTransform() const {
  return {mLeft * mPixelSize, mPixelSize, 0.0, mTop * mPixelSize, 0.0, -mPixelSize};
}

}  // namespace kesgdal
