// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ElevationSupport.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Strip.h>
#include <simulation/Flight.h>
#include <simulation/FlightPlan.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// The pixels of an image file and what GDAL says of it.
struct Image {
  explicit Image(std::string const& file);
  std::uint16_t at(int sample, int line) const;

  int width = 0;
  int height = 0;
  std::vector<std::uint16_t> pixels;
  bool isUnsigned16 = false;
  int tileWidth = 0;
  int tileHeight = 0;
  std::string compression;
  std::optional<double> noData;
};

/// A small flight over the data's real terrain. All flights of a test program have as many samples, as their camera.
simulation::FlightPlan smallPlan();
/// 400 m of flat ground at 300 m, with cells of 1 m, and a wall of 20 m across it on every 16th row. A flight 200 m
/// above it to the north has pixels of 2 cm.
ElevationRaster walledGround();
simulation::FlightPlan planOverWall(std::string const& dem);

/// Height of a local position above a terrain, in its unit; nothing where there is none.
std::optional<double> gapOver(simulation::Terrain const& terrain, geo::coordSys const& local,
                              geo::XYZPoint const& position);

/// Where a line of sight first meets a terrain, found step by step from above with exact transformations: the local
/// height, or nothing. `position`: the local position on the line at a height.
struct Search {
  double top;
  double bottom;
  double step;
};
using Line = std::function<geo::XYZPoint(double)>;
std::optional<double> firstMeeting(Line const& line, geo::coordSys const& local, simulation::Terrain const& terrain,
                                   Search const& search);

/// A flight on disk with its true strip, terrain and texture.
class RenderedFlight {
public:
  RenderedFlight(simulation::FlightPlan const& flightPlan, std::string const& name);

  std::string imageName(std::string const& band) const;
  Image image(std::string const& band) const { return Image(imageName(band)); }
  /// The local position that a pixel sees, by `firstMeeting`: with the true orientation, or as another strip has it.
  std::optional<geo::XYZPoint> ground(geo::XYPoint const& pixel, int band, Search const& search) const {
    return ground(strip, pixel, band, search);
  }
  std::optional<geo::XYZPoint> ground(kes::Strip const& seenBy, geo::XYPoint const& pixel, int band,
                                      Search const& search) const;
  /// The texture at a local position.
  double brightness(geo::XYZPoint const& ground) const;

  simulation::FlightPlan plan;
  std::string folder;
  simulation::FlightFiles files;
  kes::Strip strip;
  simulation::Terrain terrain;
  std::unique_ptr<simulation::Texture> texture;
};

}  // namespace test
