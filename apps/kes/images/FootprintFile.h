// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>

#include <string>
#include <vector>

namespace tool {

/// An outline in WGS 84 longitude, latitude (degrees) and ellipsoidal height (metres), and its attributes.
struct Footprint {
  std::vector<geo::XYZPoint> points;
  std::string strip;
  std::string band;
  double gsd;             ///< Metres.
  double start;           ///< GPS time of the first line, seconds.
  double end;             ///< GPS time of the last line, seconds.
  double look = 0.0;      ///< Angle of the view, degrees, forward positive.
  double complete = 1.0;  ///< 0 where parts of the outline are missing.
};

/// Whether a file's extension is one that footprints can be written to: .geojson, .json, .gpkg.
bool isFootprintFile(std::string const& file);

/// Writes footprints as polygons to a GeoJSON or GeoPackage file, which replaces an older one as a whole. Throws "can't
/// write FILE: " and the reason; an older file then stays as it was.
void writeFootprints(std::string const& file, std::vector<Footprint> const& footprints);

}  // namespace tool
