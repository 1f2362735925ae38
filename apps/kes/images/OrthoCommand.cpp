// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/InputGuard.h"
#include "shared/Output.h"
#include "shared/StripSet.h"

#include <kesgdal/Orthophoto.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>
#include <map>
#include <memory>
#include <thread>

namespace tool {

namespace {

using kesgdal::Resampling;

std::map<std::string, Resampling> const resamplings = {
    {"nearest", Resampling::NEAREST}, {"bilinear", Resampling::BILINEAR}, {"cubic", Resampling::CUBIC}};

struct Options {
  StripsOptions strips;
  std::string orientation = "adjusted";
  std::string dem;
  std::string crs;
  std::string output;
  std::string resampling = "cubic";
  kesgdal::OrthoPlan plan;
};

int threadsOfMachine() {
  return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

int ortho(Options const& options) {
  options.strips.camera.apply();
  InputGuard const output(options.output);
  options.strips.check(output);
  output.checkRaster(options.dem);
  CoordinateSystem const map(options.crs);
  Surface const surface = Surface::raster(options.dem);
  StripOptions opening;
  opening.orientation = options.orientation == "original" ? Orientation::original : Orientation::adjusted;
  kesgdal::OrthoPlan plan = options.plan;
  plan.resampling = resamplings.at(options.resampling);
  StripSet const set(options.strips.files);
  auto const strips = [&](kesgdal::StripVisitor const& visit) {
    set.forEach(options.orientation == "original", [&](sensor::KESStripModel& strip) {
      output.check(strip);
      visit(Strip(strip.modelData()->fileName(), opening));
    });
  };
  Progress progress("orthorectifying");
  kesgdal::writeOrthophoto(strips, map, surface, plan, options.output, [&](double done) { progress.show(done); });
  return 0;
}

void addRequired(CLI::App& command, Options& options) {
  command.add_option("--band", options.plan.bands, "Band id; repeatable, each becomes a band of the file")
      ->type_name("ID")
      ->required()
      ->allow_extra_args(false);
  command.add_option("--dem", options.dem, "Elevation model: any raster of GDAL")->type_name("FILE")->required();
  command.add_option("--crs", options.crs, "Projected or geographic system of the orthophoto, such as EPSG:32616")
      ->type_name("DEF")
      ->required();
  command.add_option("--gsd", options.plan.gsd, "Size of a pixel on the ground")->type_name("M")->required();
  command.add_option("-o,--output", options.output, "Cloud Optimized GeoTIFF to write")->type_name("FILE")->required();
}

void addOptional(CLI::App& command, Options& options) {
  command.add_option("--resampling", options.resampling, "Interpolation between the pixels of an image")
      ->capture_default_str()
      ->check(CLI::IsMember({"nearest", "bilinear", "cubic"}));
  command.add_option("--orientation", options.orientation, "Which orientation of the strip to use")
      ->capture_default_str()
      ->check(CLI::IsMember({"adjusted", "original"}));
  command.add_option("--nodata", options.plan.noData, "Value of pixels that no image saw")
      ->type_name("V")
      ->capture_default_str();
  options.plan.threads = threadsOfMachine();
  command.add_option("--threads", options.plan.threads, "Threads that work; the file doesn't depend on it")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(1, 1024));
}

}  // namespace

void addOrtho(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("ortho", "Orthorectifies images of one or more strips into one GeoTIFF");
  options->strips.addTo(*command);
  addRequired(*command, *options);
  addOptional(*command, *options);
  command->footer(
      "Pixels lie on whole multiples of their size, so that orthophotos fit one another. Where strips overlap,\n"
      "a pixel shows the one that has it nearest to the middle of its line.\n"
      "Example: kes ortho flight/strip.stp --calibrations flight/calibration --band PANN00A "
      "--dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o ortho.tif");
  command->callback([options, &run] { run = [options] { return ortho(*options); }; });
}

}  // namespace tool
