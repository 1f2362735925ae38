// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "points/PointProjection.h"
#include "shared/InputGuard.h"

#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

int project(ProjectOptions const& options) {
  options.strip.camera.apply();
  if (options.points.empty() || options.points == "-") {
    requireOtherThanStandardOutput("/dev/stdin", "standard input");
    PointProjection(options, std::cin, "standard input").run();
    return 0;
  }
  std::ifstream file(options.points, std::ios::binary);
  if (!file) {
    throw std::runtime_error("can't open " + options.points);
  }
  requireOtherThanStandardOutput(options.points, options.points);
  PointProjection(options, file, options.points).run();
  return 0;
}

void addPointOptions(CLI::App& command, ProjectOptions& options) {
  options.strip.addTo(command);
  command.add_option("POINTS", options.points, "CSV file; standard input without one");
  command.add_option("--band", options.band, "Band id, such as PANN00A")->type_name("ID")->required();
  command.add_option("--to", options.to, "ground: from sample,line,height; image: from x,y,z")
      ->required()
      ->check(CLI::IsMember({"ground", "image"}));
}

void addGroundOptions(CLI::App& command, ProjectOptions& options) {
  command
      .add_option("--frame", options.frame,
                  "Frame of ground positions and heights; lsr: east, north, up at the anchor, metres; map: see --crs")
      ->capture_default_str()
      ->check(CLI::IsMember({"lsr", "map"}));
  options.map.addTo(command);
  command
      .add_option("--dem", options.dem,
                  "To the ground: cut the rays with the surface of an elevation model, any raster that GDAL reads; no "
                  "column height is needed then")
      ->type_name("FILE");
}

void addModelOptions(CLI::App& command, ProjectOptions& options) {
  command
      .add_option("--solver", options.solver,
                  "To the image: each point by itself, all as one run of neighbours, or as one run in vector lanes")
      ->capture_default_str()
      ->check(CLI::IsMember({"point", "run", "vector"}));
  CLI::Option* tdi =
      command.add_option("--tdi", options.tdi, "To the ground: number of TDI stages, in place of the image's own");
  command.add_option("--orientation", options.orientation, "Which orientation of the strip to use")
      ->capture_default_str()
      ->check(CLI::IsMember({"adjusted", "original"}));
  command
      .add_flag("--verify", options.verify, "Project back, and add the closure in metres on the ground and a status")
      ->excludes(tdi);
}

// What no single option can see.
void checkTogether(ProjectOptions const& options) {
  if (options.tdi && (options.to == "image" || options.frame == "map" || !options.dem.empty())) {
    throw CLI::ValidationError("--tdi", "goes with --to ground in the frame lsr at given heights");
  }
  if (!options.dem.empty() && options.to == "image") {
    throw CLI::ValidationError("--dem", "goes with --to ground");
  }
  if (!options.map.crs.empty() && options.frame == "lsr") {
    throw CLI::ValidationError("--crs", "goes with --frame map");
  }
}

}  // namespace

void addProject(CLI::App& app, Run& run) {
  auto const options = std::make_shared<ProjectOptions>();
  CLI::App* command = app.add_subcommand("project", "Projects points between an image and the ground");
  addPointOptions(*command, *options);
  addGroundOptions(*command, *options);
  addModelOptions(*command, *options);
  command->footer("Results take the place of columns of the same name, or come behind the others.\n"
                  "Example: kes project flight/strip.stp --calibrations flight/calibration --band PANF27A --to ground "
                  "--frame map --crs EPSG:32614 --dem dem.tif points.csv");
  command->callback([options, &run] {
    checkTogether(*options);
    run = [options] { return project(*options); };
  });
}

}  // namespace tool
