// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <simulation/Timing.h>

#include <string>
#include <vector>

namespace simulation {

/// What one band of a strip has besides its line of the camera.
struct BandPlan {
  std::string id;
  int swath;
  int offset;
  std::vector<RateChange> rates;
  std::string integration;  ///< Milliseconds, or a file.
  std::string tdi;          ///< A file.
};

/// How a strip file names its camera, but for the camera's id.
struct CameraName {
  char const* type;
  unsigned version;
};

/// What a strip file says.
struct StripXml {
  std::string flight;  ///< Its images' names begin with it.
  std::string name;
  double meanTerrain;  ///< Metres above the anchor.
  std::string prefix;  ///< Leads from its folder to that of its files.
  CameraName camera;
  std::string sensorId;
  std::string originalEop;
  std::string adjustedEop;  ///< Empty: none.
};

/// Writes a strip file. Throws as `writeFile`.
void writeStrip(std::string const& file, StripXml const& strip, std::vector<BandPlan> const& bands);

/// Writes the outline of a band, longitudes and latitudes in degrees. Throws as `writeFile`.
void writeFootprint(std::string const& file, BandPlan const& band, std::vector<geo::XYZPoint> const& points);

}  // namespace simulation
