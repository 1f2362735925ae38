// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "PixelBox.h"

#include <kes/CoordinateSystem.h>
#include <kesgdal/Footprint.h>
#include <kesgdal/GeoTransform.h>

#include <string>
#include <vector>

class OGRCoordinateTransformation;
class OGRGeometry;
class OGRLinearRing;

namespace kesgdal {

/// The polygons of a vector file, on a map, to which an orthophoto is cut. A pixel lies inside when its centre is in
/// any of them, and in none of the holes of that one; a centre on an edge belongs to the side to its right or above.
/// Any number of threads may use one.
class CutPolygons {
public:
  /// Reads all layers. Throws std::runtime_error "can't cut by <file>: " and the reason.
  CutPolygons(std::string const& fileName, kes::CoordinateSystem const& map);

  /// The box around all.
  Extent const& extent() const { return mExtent; }
  /// For each pixel of a box of a raster, row by row, whether it lies inside.
  std::vector<bool> inside(PixelBox const& box, GeoTransform const& raster) const;

private:
  struct Edge {
    geo::XYPoint from;
    geo::XYPoint to;
  };
  struct Polygon {
    Extent extent;
    std::vector<Edge> edges;  // of all rings
  };

  void read(std::string const& fileName, kes::CoordinateSystem const& map);
  void add(OGRGeometry const& geometry, OGRCoordinateTransformation* toMap);
  static void addRing(OGRLinearRing const& ring, Polygon& polygon);
  static void mark(Polygon const& polygon, PixelBox const& box, GeoTransform const& raster, std::vector<bool>& inside);

  std::vector<Polygon> mPolygons;
  Extent mExtent;
};

}  // namespace kesgdal
