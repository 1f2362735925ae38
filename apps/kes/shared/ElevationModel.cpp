// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/ElevationModel.h"

#include "shared/Numbers.h"

#include <dsm/RasterElevationSource.h>
#include <kes/CoordinateSystem.h>

#include <cmath>
#include <iostream>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

constexpr char const* geoidSystem = "EPSG:4326+5773";

// Metres from the ellipsoid up to the geoid in the middle of a raster; nothing without PROJ's grid.
std::optional<double> geoidHeight(kes::Surface const& surface) {
  auto const& raster = dynamic_cast<dsm::RasterElevationSource const&>(surface.platform());
  dsm::RasterElevationSource::Bounds const& bounds = raster.bounds();
  geo::XYZPoint position(0.5 * (bounds.minimum.x + bounds.maximum.x), 0.5 * (bounds.minimum.y + bounds.maximum.y), 0.0);
  kes::CoordinateSystem const geographic = kes::CoordinateSystem::wgs84Degrees();
  surface.coordinateSystem().transform(geographic, {&position, 1}, {&position, 1});
  position.z = 0.0;
  try {
    kes::CoordinateSystem(geoidSystem).transform(geographic, {&position, 1}, {&position, 1});
  } catch (std::runtime_error const&) {
    return std::nullopt;
  }
  return std::isfinite(position.z) ? std::optional(position.z) : std::nullopt;
}

void reportEllipsoidal(std::string const& file, std::optional<double> geoid) {
  std::cerr << "kes: " << file << " has no vertical datum: its heights are taken as ellipsoidal; ";
  if (geoid) {
    std::cerr << "the geoid (EGM96) lies " << fixed(std::abs(*geoid), 1) << " m " << (*geoid < 0.0 ? "below" : "above")
              << " the ellipsoid there, and --vertical EPSG:5773 takes them from it\n";
  } else {
    std::cerr << "--vertical EPSG:5773 takes them from the geoid (EGM96)\n";
  }
}

}  // namespace

CLI::Option* ElevationModelOptions::addTo(CLI::App& command, std::string const& what) {
  CLI::Option* const dem = command.add_option("--dem", file, what)->type_name("FILE");
  command
      .add_option("--vertical", vertical,
                  "What the model's heights count from, where its file doesn't say so: EPSG:5773 is the geoid EGM96 "
                  "[the ellipsoid]")
      ->type_name("DEFINITION")
      ->needs(dem);
  return dem;
}

kes::Surface ElevationModelOptions::open() const {
  kes::Surface surface = kes::Surface::raster(file, kes::Surface::VerticalDatum{vertical});
  if (!surface.hasVerticalDatum()) {
    reportEllipsoidal(file, geoidHeight(surface));
  }
  return surface;
}

}  // namespace tool
