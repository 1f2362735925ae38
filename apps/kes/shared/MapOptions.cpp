// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/MapOptions.h"

#include <geo/coordSysFactory.h>

namespace tool {

CLI::Option* MapOptions::addTo(CLI::App& command) {
  return command
      .add_option(
          "--crs", crs,
          "Coordinate system of map positions, any definition that PROJ understands, such as EPSG:32633; WGS 84 "
          "longitude, latitude (degrees) and ellipsoidal height without it")
      ->type_name("DEFINITION");
}

std::unique_ptr<geo::coordSys> MapOptions::make() const {
  geo::coordSysFactory const* const factory = geo::coordSysFactory::getInstance();
  return std::unique_ptr<geo::coordSys>(crs.empty() ? factory->createGEO84(true, false) : factory->createCoordSys(crs));
}

std::string MapOptions::name() const {
  return crs.empty() ? "WGS 84, degrees" : crs;
}

}  // namespace tool
