// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ElevationSupport.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/kes.h>
#include <kesgdal/Orthophoto.h>

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// A raster that was read whole.
struct Raster {
  explicit Raster(std::string const& file);
  double at(int column, int row, int band = 1) const;
  /// The map position of a pixel's centre.
  geo::XYPoint centre(int column, int row) const;

  int columns = 0;
  int rows = 0;
  int bands = 0;
  GDALDataType type = GDT_Unknown;
  std::array<double, 6> geoTransform{};
  std::vector<std::string> descriptions;
  std::optional<double> noData;
  std::string layout;
  int epsg = 0;
  std::vector<double> pixels;
};

/// What an `OrthoFlight` may have otherwise.
struct FlightSetup {
  double direction = 0.0;  ///< From east towards north, radians.
  int lines = 300;
  double look = 0.0;               ///< Tangent of the angle by which both bands look ahead.
  std::string longitude = "-1.4";  ///< Of the anchor, radians; its latitude is 0.6.
  std::string system = "EPSG:32617";
  std::vector<std::string> bands{"PANN00A", "PANN00B"};
};

/// A level, straight flight over hills, whose image positions follow from a formula: lines of 1 m, 101 samples of
/// 2 m at the height of the anchor, 1000 m below. Its bands look the same way. The map is in UTM, as the terrain.
class OrthoFlight {
public:
  explicit OrthoFlight(FlightSetup const& flightSetup = {});
  explicit OrthoFlight(double direction) : OrthoFlight(FlightSetup{.direction = direction}) {}

  void openTerrain();
  /// Takes the heights out of the file that is open, so that reading fails.
  void cutTerrain() const;
  /// Writes the image of a band from a function of sample and line.
  using Brightness = std::function<double(int, int)>;
  void writeImage(std::string const& bandId, Brightness const& brightness, GDALDataType type = GDT_Float32,
                  std::optional<double> noData = {}) const;
  /// Images whose brightness is 100 + sample in the first band, and 100 + line in the second.
  void writePositions() const;
  std::string imageName(std::string const& bandId) const { return folder / ("images/" + bandId + ".tif"); }

  /// The local position on the terrain at a map position; nothing where there is none.
  std::optional<geo::XYZPoint> ground(geo::XYPoint const& mapPosition) const;
  /// By the formula.
  geo::XYPoint image(geo::XYZPoint const& local) const;
  bool isInside(geo::XYPoint const& position, double margin = 0.0) const;
  /// The map position of a local one.
  geo::XYPoint mapOf(geo::XYZPoint const& local) const;

  kes::Band band(int index) const { return strip->band(index); }
  /// How its strip is opened.
  kes::StripOptions opening() const;
  kesgdal::OrthoPlan plan(double gsd = 1.5) const;
  /// Orthorectifies and reads the file.
  Raster ortho(kesgdal::OrthoPlan const& orthoPlan, kesgdal::Progress const& progress = {});

  FlightSetup setup;
  TempFolder folder;
  SmallStrip small;
  ElevationRaster relief;
  kes::CoordinateSystem map;
  std::optional<kes::Surface> terrain;
  std::optional<kes::Strip> strip;
};

}  // namespace test
