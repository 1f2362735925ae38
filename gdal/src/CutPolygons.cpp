// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CutPolygons.h"

#include "GdalErrors.h"
#include "MapDefinition.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

namespace kesgdal {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr Extent nothing{{infinity, infinity}, {-infinity, -infinity}};

using Transformation = std::unique_ptr<OGRCoordinateTransformation>;

[[noreturn]] void fail(GdalErrors const& errors, std::string const& otherwise) {
  throw std::runtime_error(errors.any() ? errors.first() : otherwise);
}

// From a layer to the map; null where both are the same.
Transformation toMap(OGRLayer& layer, OGRSpatialReference const& map, GdalErrors const& errors) {
  OGRSpatialReference const* const own = layer.GetSpatialRef();
  if (own == nullptr) {
    return nullptr;
  }
  OGRSpatialReference from(*own);
  from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  Transformation transformation(OGRCreateCoordinateTransformation(&from, &map));
  if (!transformation) {
    fail(errors, "its coordinate system can't be converted to the map");
  }
  return transformation;
}

bool isPolygon(OGRGeometry const& geometry) {
  return wkbFlatten(geometry.getGeometryType()) == wkbPolygon;
}

}  // namespace

CutPolygons::CutPolygons(std::string const& fileName, kes::CoordinateSystem const& map) : mExtent(nothing) {
  try {
    read(fileName, map);
  } catch (std::runtime_error const& error) {
    throw std::runtime_error("can't cut by " + fileName + ": " + error.what());
  }
}

void CutPolygons::read(std::string const& fileName, kes::CoordinateSystem const& map) {
  GDALAllRegister();
  GdalErrors const errors;
  GDALDatasetUniquePtr const data(
      GDALDataset::Open(fileName.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
  if (!data) {
    fail(errors, "it can't be opened");
  }
  OGRSpatialReference const reference = spatialReferenceOf(map);
  for (OGRLayer* const layer : data->GetLayers()) {
    Transformation const transformation = toMap(*layer, reference, errors);
    for (OGRFeatureUniquePtr const& feature : *layer) {
      if (feature->GetGeometryRef() == nullptr) {
        continue;
      }
      OGRGeometryUniquePtr const geometry(feature->GetGeometryRef()->getLinearGeometry());
      if (geometry != nullptr) {
        add(*geometry, transformation.get());
      }
    }
  }
  if (errors.any()) {
    fail(errors, "");
  }
  if (mPolygons.empty()) {
    throw std::runtime_error("it has no polygon");
  }
}

// What isn't a polygon is left out.
void CutPolygons::add(OGRGeometry const& geometry, OGRCoordinateTransformation* toMap) {
  if (isPolygon(geometry)) {
    OGRGeometryUniquePtr const onMap(geometry.clone());
    if (toMap != nullptr && onMap->transform(toMap) != OGRERR_NONE) {
      throw std::runtime_error("a polygon can't be converted to the map");
    }
    Polygon polygon{nothing, {}};
    for (OGRLinearRing const* const ring : *onMap->toPolygon()) {
      addRing(*ring, polygon);
    }
    if (!polygon.edges.empty()) {
      mExtent = united(mExtent, polygon.extent);
      mPolygons.push_back(std::move(polygon));
    }
  } else if (OGR_GT_IsSubClassOf(wkbFlatten(geometry.getGeometryType()), wkbGeometryCollection) != 0) {
    for (OGRGeometry const* const part : *geometry.toGeometryCollection()) {
      add(*part, toMap);
    }
  }
}

void CutPolygons::addRing(OGRLinearRing const& ring, Polygon& polygon) {
  int const count = ring.getNumPoints();
  for (int i = 0; i < count; ++i) {
    int const next = (i + 1) % count;
    geo::XYPoint const from(ring.getX(i), ring.getY(i));
    if (!std::isfinite(from.x) || !std::isfinite(from.y)) {
      throw std::runtime_error("a corner has no place on the map");
    }
    polygon.extent = united(polygon.extent, {from, from});
    polygon.edges.push_back({from, {ring.getX(next), ring.getY(next)}});
  }
}

std::vector<bool> CutPolygons::inside(PixelBox const& box, GeoTransform const& raster) const {
  std::vector<bool> result(box.size());
  for (Polygon const& polygon : mPolygons) {
    mark(polygon, box, raster, result);
  }
  return result;
}

// Where the line through the centres of a row enters and leaves the polygon, by an even and odd number of edges.
void CutPolygons::mark(Polygon const& polygon, PixelBox const& box, GeoTransform const& raster,
                       std::vector<bool>& inside) {
  auto const rowOf = [&](double y) { return (y - raster[3]) / raster[5] - 0.5 - box.top; };
  auto const columnOf = [&](double x) { return (x - raster[0]) / raster[1] - 0.5 - box.left; };
  auto const rows = static_cast<double>(box.rows);
  auto const columns = static_cast<double>(box.columns);
  if (rowOf(polygon.extent.high.y) > rows || rowOf(polygon.extent.low.y) < -1.0 ||
      columnOf(polygon.extent.low.x) > columns || columnOf(polygon.extent.high.x) < -1.0) {
    return;
  }
  std::vector<std::vector<double>> crossings(static_cast<std::size_t>(box.rows));
  for (Edge const& edge : polygon.edges) {
    double const first = std::ceil(std::min(rowOf(edge.from.y), rowOf(edge.to.y)));
    double const end = std::ceil(std::max(rowOf(edge.from.y), rowOf(edge.to.y)));
    for (double row = std::max(first, 0.0); row < std::min(end, rows); row += 1.0) {
      double const part = (row - rowOf(edge.from.y)) / (rowOf(edge.to.y) - rowOf(edge.from.y));
      crossings[static_cast<std::size_t>(row)].push_back(columnOf(edge.from.x + part * (edge.to.x - edge.from.x)));
    }
  }
  for (std::size_t row = 0; row < crossings.size(); ++row) {
    std::sort(crossings[row].begin(), crossings[row].end());
    for (std::size_t i = 0; i + 1 < crossings[row].size(); i += 2) {
      auto const first = static_cast<std::size_t>(std::clamp(std::ceil(crossings[row][i]), 0.0, columns));
      auto const end = static_cast<std::size_t>(std::clamp(std::ceil(crossings[row][i + 1]), 0.0, columns));
      for (std::size_t column = first; column < end; ++column) {
        inside[row * static_cast<std::size_t>(box.columns) + column] = true;
      }
    }
  }
}

}  // namespace kesgdal
