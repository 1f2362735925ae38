// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/ElevationModel.h"
#include "shared/Options.h"
#include "shared/Output.h"
#include "shared/Progress.h"

#include <simulation/Block.h>
#include <simulation/Flight.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <memory>
#include <string>

namespace tool {

namespace {

struct Options {
  std::string folder;
  ElevationModelOptions dem;
  simulation::FlightPlan flight;
  simulation::BlockPlan block;
  /// In the order of `ErrorPlan::kinds`.
  std::array<std::string, 8> errors;
  std::string navigation;
  ProgressOption progress;
  double length = 0.0;
  CLI::Option const* lines = nullptr;
  CLI::Option const* strips = nullptr;

  bool isBlock() const { return strips->count() != 0; }
  std::size_t numStrips() const {
    return isBlock() ? static_cast<std::size_t>(std::max(block.strips, 1) + std::max(block.crossStrips, 0)) : 1;
  }
  std::string path(std::string const& file) const { return folder + "/" + file; }
};

void add(Listing& listing, std::string const& name, Options const& options, std::vector<std::string> const& files) {
  for (std::string const& file : files) {
    listing.add(name, options.path(file));
  }
}

void addIfAny(Listing& listing, std::string const& name, Options const& options, std::string const& file) {
  if (!file.empty()) {
    add(listing, name, options, {file});
  }
}

void addStrips(Listing& listing, Options const& options, simulation::FlightFiles const& files) {
  add(listing, "strip", options, {files.strip});
  addIfAny(listing, "HDB00 strip", options, files.xmlStrip);
}

Listing fly(Options const& options, simulation::Progress const& progress) {
  auto const files = simulation::simulateFlight(options.flight, options.folder, progress);
  Listing listing;
  addStrips(listing, options, files);
  add(listing, "calibrations", options, {files.calibrations});
  add(listing, "true orientation", options, {files.trueEop});
  addIfAny(listing, "truth", options, files.truth);
  add(listing, "support file", options, files.supportFiles);
  add(listing, "image", options, files.images);
  return listing;
}

Listing flyBlock(Options const& options, simulation::Progress const& progress) {
  simulation::BlockPlan plan = options.block;
  int const usualLines = plan.flight.lines;
  plan.flight = options.flight;
  if (options.lines->count() == 0 && options.length == 0.0) {
    plan.flight.lines = usualLines;
  }
  auto const files = simulation::simulateBlock(plan, options.folder, progress);
  Listing listing;
  add(listing, "block", options, {files.block});
  add(listing, "calibrations", options, {files.calibrations});
  addIfAny(listing, "ground points", options, files.groundPoints);
  addIfAny(listing, "truth", options, files.truth);
  for (simulation::FlightFiles const& strip : files.strips) {
    addStrips(listing, options, strip);
    add(listing, "support file", options, strip.supportFiles);
    add(listing, "image", options, strip.images);
  }
  return listing;
}

int simulate(Options const& options) {
  Listing listing;
  {
    Progress progress("simulating", options.progress);
    auto const show = [&](double done) { progress.show(done); };
    listing = options.isBlock() ? flyBlock(options, show) : fly(options, show);
  }
  listing.print();
  return 0;
}

void addFlight(CLI::App& command, Options& options) {
  simulation::FlightPlan& plan = options.flight;
  options.dem.addTo(command, "Elevation model: any raster of GDAL")->required()->check(existingFile());
  options.lines = command.add_option("--lines", plan.lines, "Lines of the images, 200 to 200000")
                      ->default_str(std::to_string(plan.lines) + ", in a block " +
                                    std::to_string(simulation::BlockPlan::usualLines));
  command.add_option("--length", options.length, "Length on the ground, in place of the lines")
      ->type_name("M")
      ->check(CLI::PositiveNumber)
      ->excludes(command.get_option("--lines"));
  command.add_option("--samples", plan.samples, "Samples of the sensor lines")->capture_default_str();
  command.add_option("--seed", plan.seed, "Everything else follows from it")->capture_default_str();
  command.add_option("--height", plan.height, "Metres above the mean terrain")->type_name("M")->capture_default_str();
  command.add_option("--heading", plan.heading, "Degrees clockwise from north")
      ->type_name("DEG")
      ->capture_default_str();
  command
      .add_flag("--odf{1.2}", plan.odfVersion,
                "Write the orientation as a file for each band, too, with support files; --odf=1.0 in the old version")
      ->check(CLI::IsMember({"1.0", "1.2"}));
  command.add_flag("--hdb", plan.hasXmlCamera,
                   "Write the camera as one of type HDB00, in XML files, too, and the strip a second time with it");
}

void addImages(CLI::App& command, Options& options) {
  simulation::FlightPlan& plan = options.flight;
  CLI::Option* const render = addRepeatable(command, "--render", plan.renderedBands, "BAND",
                                            "Band whose image to render, or \"all\"; repeatable");
  command
      .add_option("--texture", plan.texture,
                  "What lies on the ground: any raster of GDAL, its first band [shaded terrain]")
      ->type_name("FILE")
      ->needs(render)
      ->check(existingFile());
  command.add_option("--texture-seed", plan.textureSeed, "Of the fine pattern of the shaded terrain")
      ->capture_default_str();
}

void addBlock(CLI::App& command, Options& options) {
  simulation::BlockPlan& plan = options.block;
  CLI::Option* const strips =
      command.add_option("--strips", plan.strips, "Makes a block of so many parallel strips, flown to and fro");
  options.strips = strips;
  auto const addOption = [&](std::string const& name, auto& value, std::string const& what) {
    return command.add_option(name, value, what)->needs(strips)->group("Block");
  };
  strips->group("Block");
  addOption("--cross", plan.crossStrips, "Strips across these")->capture_default_str();
  addOption("--overlap", plan.overlap, "What neighbours share of their width")
      ->type_name("PERCENT")
      ->capture_default_str();
  CLI::Option* const points = addOption("--points", plan.points, "Ground points")->capture_default_str();
  addOption("--noise", plan.noise, "Standard deviation of their measurements in the images")
      ->type_name("PX")
      ->capture_default_str();
  addOption("--crs", plan.crs, "System of the block's maps and ground points, any definition of PROJ [the UTM zone]")
      ->type_name("DEFINITION");
  addOption("--control", plan.control, "Control points, in place of the ground points")->excludes(points);
  addOption("--check", plan.check, "Check points, likewise")->excludes(points);
  addOption("--survey-sigma", plan.surveySigma, "Standard deviation of their coordinates")
      ->type_name("M")
      ->capture_default_str();
  addOption("--wrong-control", plan.wrongControl, "By how much one control point is wrong")->type_name("M");
  addOption("--ties", plan.ties, "Tie points a second of each strip")->type_name("RATE")->excludes(points);
  addOption("--blunders", plan.blunders, "Share of gross errors among their measurements")->type_name("PERCENT");
}

// What an option of errors is about, in the order of `ErrorPlan::kinds`.
constexpr std::array<char const*, 8> errorTexts{
    "Rotation of the camera against the inertial unit, about its axes, radians: 3 values",
    "From the orientation's position to the perspective centre, along the camera's axes, metres: 3 values",
    "Of the calibration, metres: 1 value",
    "In the focal plane, metres: 2 values",
    "Offsets in x and y, rotation, bend and scale of each sensor line, metres: 5 values, or 5 for each line",
    "Of each strip, the clock of the orientation minus that of the camera, seconds: 1 value, or 1 for each strip",
    "Of each strip's positions, metres: 3 values, or 3 for each strip",
    "Of each strip's positions, metres a second: 3 values, or 3 for each strip"};

void addErrors(CLI::App& command, Options& options) {
  constexpr char const* group = "Errors to recover (VALUES: numbers V,V,V, or sigma=S[,S,S] to draw them)";
  for (std::size_t i = 0; i < errorTexts.size(); ++i) {
    std::string name = simulation::ErrorPlan::kinds()[i].name;
    std::replace(name.begin(), name.end(), ' ', '-');
    command.add_option("--" + name, options.errors[i], errorTexts[i])->type_name("VALUES")->group(group);
  }
  command
      .add_option("--navigation", options.navigation,
                  "Class of navigation systems: position and attitude err as it does")
      ->type_name("CLASS")
      ->group(group);
}

void takeErrors(Options& options) {
  simulation::ErrorPlan plan;
  bool isAny = !options.navigation.empty();
  plan.navigation = options.navigation;
  for (std::size_t i = 0; i < options.errors.size(); ++i) {
    simulation::ErrorSize& size = plan.*simulation::ErrorPlan::kinds()[i].size;
    size = simulation::errorSizeOf(options.errors[i]);
    isAny = isAny || !size.isNone();
  }
  if (isAny) {
    plan.validate(options.numStrips());
    options.flight.errors = plan;
  }
}

// Errors that can't be simulated are wrong arguments.
void requireErrors(Options& options) {
  try {
    takeErrors(options);
  } catch (std::exception const& error) {
    throw CLI::ValidationError(error.what());
  }
}

}  // namespace

void addSimulate(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "simulate", "Flies a strip, or a block of strips, over an elevation model and writes its project");
  command->add_option("OUTDIR", options->folder, "Folder to write; new or empty")->required();
  addFlight(*command, *options);
  addImages(*command, *options);
  addBlock(*command, *options);
  addErrors(*command, *options);
  options->progress.addTo(*command);
  command->footer(
      "Example: kes simulate flight --dem terrain.tif --lines 20000 --heading 52 --render PANN00A\n"
      "         kes simulate block --dem terrain.tif --strips 4 --cross 2 --points 60\n"
      "         kes simulate proof --dem terrain.tif --strips 4 --cross 2 --length 10000 --control 4 --check 20 "
      "--ties 1 --navigation tactical --boresight sigma=3e-4");
  command->callback([options, &run] {
    options->flight.dem = options->dem.file;
    options->flight.vertical = options->dem.vertical;
    requireErrors(*options);
    run = [options] {
      if (options->length > 0.0) {
        options->flight.setLength(options->length);
      }
      return simulate(*options);
    };
  });
}

}  // namespace tool
