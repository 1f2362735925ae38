// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "images/OrthoOptions.h"
#include "shared/Progress.h"

#include <kes/Parallel.h>
#include <kes/Surface.h>
#include <kesgdal/Orthophoto.h>

#include <memory>

namespace tool {

namespace {

struct Options {
  OrthoOptions ortho;
  int stripLimit = 1;
  std::string output;
  ProgressOption progress;
};

int ortho(Options const& options) {
  InputGuard const output(options.output);
  options.ortho.check(output);
  kesgdal::OrthoPlan plan;
  kes::CoordinateSystem const map = options.ortho.complete(plan);
  kes::Surface const surface = options.ortho.dem.open();
  OrthoStrips all(options.ortho, output, options.stripLimit);
  requireTiff(options.output);
  auto const strips = [&](kesgdal::StripVisitor const& visit) { all.forEach(visit); };
  Progress progress("orthorectifying", options.progress);
  kesgdal::writeOrthophoto(strips, map, surface, plan, options.output, [&](double done) { progress.show(done); });
  return 0;
}

}  // namespace

void addOrtho(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("ortho", "Orthorectifies images of one or more strips into one GeoTIFF");
  options->ortho.plan.threads = kes::threadsOfMachine();
  options->ortho.addTo(*command, [options, &run] { run = [options] { return ortho(*options); }; });
  command->add_option("-o,--output", options->output, "GeoTIFF to write, .tif or .tiff")->type_name("FILE")->required();
  addThreads(*command, options->ortho.plan.threads, "Threads that work; the file doesn't depend on it")
      ->capture_default_str();
  addStripLimit(*command, options->stripLimit,
                "Strips whose data stay in memory at once; those beyond are loaded twice");
  options->progress.addTo(*command);
  command->footer(
      "Pixels lie on whole multiples of their size, so that orthophotos fit one another. Where strips overlap,\n"
      "a pixel shows the one that has it nearest to the middle of its line. The subcommands make the same file in "
      "tiles,\n"
      "by any number of processes; a strip file that is named as one of them is given as ./plan.\n"
      "Example: kes ortho flight/strip.stp --calibrations flight/calibration --band PANN00A "
      "--dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o ortho.tif");
  addOrthoTiles(*command, run);
}

}  // namespace tool
