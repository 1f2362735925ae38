// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/RasterFile.h"

#include "dsm/LengthUnit.h"
#include "raster/PlainFiles.h"

#include <dsm/HeightTile.h>
#include <geo/coordSysFactory.h>
#include <geo/units.h>

#include <cpl_conv.h>
#include <cpl_error.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace dsm {
namespace {

constexpr float NO_HEIGHT = std::numeric_limits<float>::quiet_NaN();

[[noreturn]] void refuse(std::string const& reason) {
  throw std::runtime_error(reason);
}

std::string withoutPrefix(std::string const& text, std::string const& prefix) {
  return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

/// In the one text form that loses nothing of a system, its vertical part above all.
std::string definitionOf(OGRSpatialReference const& system) {
  constexpr std::array<char const*, 2> OPTIONS = {"FORMAT=WKT2_2019", nullptr};
  char* text = nullptr;
  OGRErr const result = system.exportToWkt(&text, OPTIONS.data());
  std::unique_ptr<char, decltype(&CPLFree)> const owner(text, CPLFree);
  if (result != OGRERR_NONE || text == nullptr) {
    refuse("its coordinate system can't be told: " + raster::lastGdalError());
  }
  return text;
}

/// Whether a system says what heights count from: by a vertical part, or as the third axis of a geographic system.
bool hasHeights(OGRSpatialReference const& system) {
  return system.IsVertical() != 0 || system.GetAxesCount() == 3;
}

OGRSpatialReference verticalSystem(std::string const& definition) {
  OGRSpatialReference system;
  if (system.SetFromUserInput(definition.c_str(), OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get()) !=
          OGRERR_NONE ||
      system.IsVertical() == 0 || system.IsCompound() != 0) {
    refuse("\"" + definition + "\" isn't a vertical coordinate system");
  }
  return system;
}

/// Of a system that has heights.
OGRSpatialReference verticalPartOf(OGRSpatialReference const& system) {
  OGRSpatialReference part;
  OGR_SRSNode const* const node = system.GetAttrNode("VERT_CS");
  char* text = nullptr;
  if (node != nullptr && node->exportToWkt(&text) == OGRERR_NONE) {
    part.importFromWkt(text);
  }
  CPLFree(text);
  return part;
}

/// A system with the vertical part that it lacks. It is an error if it has another one.
OGRSpatialReference withVertical(OGRSpatialReference const& system, std::string const& definition) {
  OGRSpatialReference const vertical = verticalSystem(definition);
  if (!hasHeights(system)) {
    OGRSpatialReference whole;
    if (whole.SetCompoundCS((std::string(system.GetName()) + " + " + vertical.GetName()).c_str(), &system, &vertical) !=
        OGRERR_NONE) {
      refuse("its coordinate system can't be joined with \"" + definition + "\"");
    }
    return whole;
  }
  OGRSpatialReference const own = verticalPartOf(system);
  if (own.IsEmpty() != 0 || own.IsSame(&vertical) == 0) {
    refuse("its heights are \"" + std::string(own.IsEmpty() != 0 ? system.GetName() : own.GetName()) +
           "\" already, not \"" + vertical.GetName() + "\"");
  }
  return system;
}

/// A full turn in the unit of longitudes; 0 where x is none. Degrees and grads are written with so many digits that
/// a turn has to be set right.
double fullTurnOf(OGRSpatialReference const& system) {
  if (system.IsGeographic() == 0) {
    return 0.0;
  }
  double const turn = 2.0 * std::numbers::pi / system.GetAngularUnits();
  double const whole = std::round(turn);
  return std::abs(turn - whole) < 1e-9 * turn ? whole : turn;
}

/// What a value times the scale plus the offset makes a height of: a float, or none.
float heightOf(double value, double scale, double offset) {
  auto const height = static_cast<float>(value * scale + offset);
  return std::isfinite(height) ? height : NO_HEIGHT;
}

}  // namespace

/// Cells of the raster, and where they go in a tile.
struct RasterFile::Window {
  int column;
  int row;
  int columns;
  int rows;
  std::size_t tileColumn;
  std::size_t tileRow;

  std::size_t size() const { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }
};

RasterFile::RasterFile(std::string const& name, util::Origin origin, std::string const& vertical) {
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  CPLErrorReset();
  // GDAL leaves out the vertical part of most GeoTIFF files unless it is asked for it.
  CPLConfigOptionSetter const withVerticalPart("GTIFF_REPORT_COMPD_CS", "YES", false);
  open(name, origin);
  setCoordSystem(vertical);
  setPlace();
  setHeights();
}

void RasterFile::open(std::string const& name, util::Origin origin) {
  mDataset = raster::openRaster(name, origin);
  mBand = mDataset->GetRasterCount() > 0 ? mDataset->GetRasterBand(1) : nullptr;
  if (mBand == nullptr) {
    refuse("it has no raster band");
  }
  if (GDALDataTypeIsComplex(mBand->GetRasterDataType()) != 0) {
    refuse("its first band holds complex numbers");
  }
}

void RasterFile::setCoordSystem(std::string const& vertical) {
  OGRSpatialReference const* const system = mDataset->GetSpatialRef();
  if (system == nullptr || system->IsEmpty()) {
    refuse("it has no coordinate system");
  }
  if (system->IsGeocentric() != 0) {
    refuse("its coordinate system is geocentric");
  }
  OGRSpatialReference const whole = vertical.empty() ? *system : withVertical(*system, vertical);
  mHasVerticalDatum = hasHeights(whole);
  std::string const definition = definitionOf(whole);
  try {
    mCoordSystem.reset(geo::coordSysFactory::getInstance()->createCoordSys(definition, util::Origin::file));
  } catch (std::runtime_error const& error) {
    refuse(withoutPrefix(error.what(), "Can't create coordinate system \"" + definition + "\": "));
  }
}

void RasterFile::setPlace() {
  std::array<double, 6> geoTransform{};
  if (mDataset->GetGeoTransform(geoTransform.data()) != CE_None) {
    refuse("it has no geotransform");
  }
  mPlace.emplace(geoTransform, mDataset->GetRasterXSize(), mDataset->GetRasterYSize(),
                 fullTurnOf(*mDataset->GetSpatialRef()));
}

void RasterFile::setHeights() {
  double const factor = factorOfUnit();
  mScale = factor * mBand->GetScale();
  mOffset = factor * mBand->GetOffset();
  if (!std::isfinite(mScale) || !std::isfinite(mOffset) || mScale == 0.0) {
    refuse("its scale and offset make no heights of its values");
  }
  mIsMasked = (mBand->GetMaskFlags() & GMF_ALL_VALID) == 0;
}

/// From the unit of the band to that of the system's vertical axis.
double RasterFile::factorOfUnit() const {
  char const* const text = mBand->GetUnitType();
  std::string const unit = text != nullptr ? text : "";
  if (unit.empty() || EQUAL(unit.c_str(), "unknown")) {
    return 1.0;
  }
  auto const metres = lengthUnitInMetres(unit);
  if (!metres) {
    refuse("the unit of its heights, \"" + unit + "\", is no unit of length");
  }
  return *metres / mCoordSystem->verticalUnits().getScale();
}

void RasterFile::read(std::int64_t firstColumn, std::int64_t firstRow, HeightTile& tile) {
  constexpr std::int64_t CELLS = HeightTile::CELLS;
  std::int64_t const columns = mPlace->columns();
  std::int64_t const left = std::max<std::int64_t>(firstColumn, 0);
  std::int64_t const right = std::min(firstColumn + CELLS, columns);
  std::int64_t const top = std::max<std::int64_t>(firstRow, 0);
  std::int64_t const bottom = std::min<std::int64_t>(firstRow + CELLS, mPlace->rows());
  Window window{static_cast<int>(left),
                static_cast<int>(top),
                static_cast<int>(right - left),
                static_cast<int>(bottom - top),
                static_cast<std::size_t>(left - firstColumn),
                static_cast<std::size_t>(top - firstRow)};

  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  tile.heights().fill(NO_HEIGHT);
  readWindow(window, tile);
  if (!mPlace->isRing()) {
    return;
  }
  window.columns = 1;
  if (firstColumn < 0) {
    window.column = mPlace->columns() - 1;
    window.tileColumn = 0;
    readWindow(window, tile);
  }
  if (firstColumn + CELLS > columns) {
    window.column = 0;
    window.tileColumn = static_cast<std::size_t>(columns - firstColumn);
    readWindow(window, tile);
  }
}

void RasterFile::readWindow(Window const& window, HeightTile& tile) {
  mValues.resize(window.size());
  readValues(window, *mBand, mValues.data(), GDT_Float64);
  mMask.assign(window.size(), 1);
  if (mIsMasked) {
    readValues(window, *mBand->GetMaskBand(), mMask.data(), GDT_Byte);
  }
  auto const columns = static_cast<std::size_t>(window.columns);
  for (std::size_t i = 0; i < window.size(); ++i) {
    float const height = mMask[i] != 0 ? heightOf(mValues[i], mScale, mOffset) : NO_HEIGHT;
    tile.at(window.tileColumn + i % columns, window.tileRow + i / columns) = height;
  }
}

void RasterFile::readValues(Window const& window, GDALRasterBand& band, void* values, GDALDataType type) const {
  CPLErrorReset();
  CPLErr const result = band.RasterIO(GF_Read, window.column, window.row, window.columns, window.rows, values,
                                      window.columns, window.rows, type, 0, 0, nullptr);
  if (result != CE_None) {
    refuse(raster::lastGdalError());
  }
}

}  // namespace dsm
