// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "MapDefinition.h"
#include "files/NumberText.h"

#include <kesgdal/OrthoGrid.h>
#include <raster/OpenRaster.h>

#include <gdal_priv.h>

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
// Of the sides of a pixel that count as square.
constexpr double greatestOblongness = 1e-3;

bool canBeHeld(double columns, double rows) {
  return columns <= mostInLine && rows <= mostInLine && columns * rows <= OrthoGrid::MOST_PIXELS;
}

}  // namespace

OrthoGrid::OrthoGrid(Extent const& extent, double gsd, kes::CoordinateSystem const& map) {
  double const pixelSize = gsd / map.horizontalUnit().metres;
  std::string const distance = "ground sampling distance of " + files::shortestText(gsd) + " m ";
  if (!(gsd > 0.0 && std::isfinite(gsd))) {
    throw std::runtime_error(distance + "isn't above 0");
  }
  double const left = std::floor(extent.low.x / pixelSize);
  double const top = std::ceil(extent.high.y / pixelSize);
  // An edge of the box that lies on one of a pixel needs that pixel, too: an image of no width would be none.
  double const columns = std::max(std::ceil(extent.high.x / pixelSize) - left, 1.0);
  double const rows = std::max(top - std::floor(extent.low.y / pixelSize), 1.0);
  if (!canBeHeld(columns, rows)) {
    throw std::runtime_error(distance + "gives an image of " + wholeNumber(columns) + " x " + wholeNumber(rows) +
                             " pixels");
  }
  mTransform = {left * pixelSize, pixelSize, 0.0, top * pixelSize, 0.0, -pixelSize};
  mColumns = static_cast<int>(columns);
  mRows = static_cast<int>(rows);
}

OrthoGrid::OrthoGrid(GeoTransform const& geoTransform, int columns, int rows)
    : mTransform(geoTransform), mColumns(columns), mRows(rows) {
  bool const isNorthUp =
      geoTransform[1] > 0.0 && geoTransform[2] == 0.0 && geoTransform[4] == 0.0 && geoTransform[5] < 0.0;
  if (!isNorthUp || std::abs(geoTransform[1] + geoTransform[5]) > greatestOblongness * geoTransform[1]) {
    throw std::runtime_error("its pixels aren't square and north up");
  }
  if (columns < 1 || rows < 1 || !canBeHeld(columns, rows)) {
    throw std::runtime_error("it has " + std::to_string(columns) + " x " + std::to_string(rows) + " pixels");
  }
}

RasterGrid gridOfRaster(std::string const& fileName) {
  try {
    raster::Dataset const data = raster::openRaster(fileName, util::Origin::user);
    GeoTransform transform{};
    OGRSpatialReference const* const reference = data->GetSpatialRef();
    if (data->GetGeoTransform(transform.data()) != CE_None || reference == nullptr || reference->IsEmpty() != 0) {
      throw std::runtime_error("it has no place on a map");
    }
    return {OrthoGrid(transform, data->GetRasterXSize(), data->GetRasterYSize()), systemOf(*reference)};
  } catch (std::runtime_error const& error) {
    throw std::runtime_error("can't take the grid of " + fileName + ": " + error.what());
  }
}

}  // namespace kesgdal
