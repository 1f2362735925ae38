// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/InputGuard.h"
#include "shared/Output.h"
#include "shared/Progress.h"
#include "shared/StripSet.h"

#include <kes/Surface.h>
#include <kesgdal/Orthophoto.h>

#include <algorithm>
#include <memory>
#include <thread>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  OrientationOption orientation;
  std::string dem;
  std::string crs;
  std::string output;
  kesgdal::OrthoPlan plan;
  ProgressOption progress;
};

int threadsOfMachine() {
  return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

int ortho(Options const& options) {
  InputGuard const output(options.output);
  options.strips.check(output);
  output.checkRaster(options.dem);
  kes::CoordinateSystem const map(options.crs);
  kes::Surface const surface = kes::Surface::raster(options.dem);
  kes::StripOptions const opening = options.strips.camera.opening(options.orientation.value());
  // The strips are gone through more than once.
  kes::StripOptions unloaded = opening;
  unloaded.load = false;
  StripSet(options.strips.files, unloaded).forEach([&](kes::Strip const& strip, auto const*) {
    options.orientation.check(strip);
  });
  StripSet const set(options.strips.files, opening);
  auto const strips = [&](kesgdal::StripVisitor const& visit) {
    set.forEach([&](kes::Strip const& strip, auto const*) {
      output.check(strip);
      visit(strip);
    });
  };
  Progress progress("orthorectifying", options.progress);
  kesgdal::writeOrthophoto(strips, map, surface, options.plan, options.output,
                           [&](double done) { progress.show(done); });
  return 0;
}

void addRequired(CLI::App& command, Options& options) {
  addRepeatable(command, "--band", options.plan.bands, "ID", "Band id; repeatable, each becomes a band of the file")
      ->required();
  command.add_option("--dem", options.dem, "Elevation model: any raster of GDAL")->type_name("FILE")->required();
  command.add_option("--crs", options.crs, "Projected or geographic system of the orthophoto, such as EPSG:32616")
      ->type_name("DEF")
      ->required();
  command.add_option("--gsd", options.plan.gsd, "Size of a pixel on the ground")->type_name("M")->required();
  command.add_option("-o,--output", options.output, "Cloud Optimized GeoTIFF to write")->type_name("FILE")->required();
}

void addOptional(CLI::App& command, Options& options) {
  addChoice<kesgdal::Resampling>(command, "--resampling", options.plan.resampling,
                                 {{"nearest", kesgdal::Resampling::NEAREST},
                                  {"bilinear", kesgdal::Resampling::BILINEAR},
                                  {"cubic", kesgdal::Resampling::CUBIC}},
                                 "Interpolation between the pixels of an image");
  options.orientation.addTo(command);
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
  options->progress.addTo(*command);
  command->footer(
      "Pixels lie on whole multiples of their size, so that orthophotos fit one another. Where strips overlap,\n"
      "a pixel shows the one that has it nearest to the middle of its line.\n"
      "Example: kes ortho flight/strip.stp --calibrations flight/calibration --band PANN00A "
      "--dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o ortho.tif");
  command->callback([options, &run] { run = [options] { return ortho(*options); }; });
}

}  // namespace tool
