// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Options.h"

#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <iostream>
#include <stdexcept>

namespace tool {

CLI::Validator existingFile() {
  return CLI::ExistingFile.description("");
}

CLI::Validator existingFolder() {
  return CLI::ExistingDirectory.description("");
}

CLI::Option* addRepeatable(CLI::App& command, std::string const& name, std::vector<std::string>& values,
                           std::string const& type, std::string const& what) {
  return command.add_option(name, values, what)->type_name(type)->take_all()->expected(1)->allow_extra_args(false);
}

void OrientationOption::addTo(CLI::App& command) {
  addChoice<kes::Orientation>(command, "--orientation", given,
                              {{"adjusted", kes::Orientation::adjusted}, {"original", kes::Orientation::original}},
                              "Orientation of the strip [adjusted where the strip has one, otherwise original]");
}

void OrientationOption::check(kes::Strip const& strip) const {
  if (value() == kes::Orientation::original || strip.usesAdjustedOrientation()) {
    return;
  }
  std::string const lack = "strip \"" + strip.name() + "\" has no adjusted orientation";
  if (given) {
    throw std::runtime_error(lack + ": --orientation original uses " +
                             strip.model().modelData()->originalEOPFileName());
  }
  std::cerr << "kes: " << lack << ": the original one is used\n";
}

void addSolver(CLI::App& command, kes::Solver& solver) {
  addChoice<kes::Solver>(
      command, "--solver", solver,
      {{"precise", kes::Solver::precise},
       {"point", kes::Solver::libraryPoint},
       {"run", kes::Solver::libraryRun},
       {"vector", kes::Solver::libraryLanes}},
      "precise: everything in double precision; or a form of the library's class, to 0.05 lines: for single "
      "points, for runs of neighbours, for runs in vector lanes");
}

void CameraOptions::addTo(CLI::App& command) {
  addRepeatable(command, "--calibrations", calibrations, "DIR",
                "Folder with calibrations; repeatable, the last one is searched first [the folder \"calibration\" "
                "beside the strip or block file, or in the folder above a strip's]")
      ->check(existingFolder())
      ->group("Camera");
  command.add_option("--settings", settings, "Settings file (INI) in place of the user's own")
      ->type_name("FILE")
      ->check(existingFile())
      ->group("Camera");
}

void CameraOptions::apply() const {
  kes::applyToProcess(opening());
}

kes::StripOptions CameraOptions::opening(kes::Orientation orientation) const {
  kes::StripOptions options;
  options.calibrations = calibrations;
  options.settings = settings;
  options.orientation = orientation;
  return options;
}

// A unit of angle is longer than a metre by far, on the Earth.
bool isGeographic(kes::CoordinateSystem const& system) {
  constexpr double kilometre = 1e3;
  kes::Unit const unit = system.horizontalUnit();
  return unit.name.find("metre") == std::string::npos && unit.metres > kilometre;
}

CLI::Option* addDecimals(CLI::App& command, NumberForm& form) {
  return command
      .add_option_function<int>(
          "--decimals", [&form](int decimals) { form = NumberForm(decimals); },
          "Decimals of lengths and pixels, 0 to " + std::to_string(NumberForm::mostDecimals) +
              "; angles, quaternions and times have " + std::to_string(NumberForm::moreOfAngles) +
              " more [the shortest texts that read back to the same numbers]")
      ->type_name("N")
      ->check(CLI::Range(0, NumberForm::mostDecimals));
}

CLI::Option* MapOptions::addTo(CLI::App& command) {
  return command
      .add_option(
          "--crs", crs,
          "Coordinate system of map positions, any definition that PROJ understands, such as EPSG:32633; WGS 84 "
          "longitude, latitude (degrees) and ellipsoidal height without it")
      ->type_name("DEFINITION");
}

kes::CoordinateSystem MapOptions::system() const {
  return crs.empty() ? kes::CoordinateSystem::wgs84Degrees() : kes::CoordinateSystem(crs);
}

std::string MapOptions::name() const {
  return crs.empty() ? "WGS 84, degrees" : crs;
}

void StripOptions::addTo(CLI::App& command) {
  command.add_option("STRIP", file, "Strip file")->required();
  camera.addTo(command);
}

}  // namespace tool
