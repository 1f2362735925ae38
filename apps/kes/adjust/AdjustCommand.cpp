// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "adjust/AdjustmentReport.h"
#include "images/OrthoOptions.h"
#include "images/VectorFile.h"
#include "shared/ElevationModel.h"
#include "shared/Numbers.h"
#include "shared/Opening.h"
#include "shared/Options.h"
#include "shared/Progress.h"

#include <kes/Parallel.h>
#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/GaussMarkovPrior.h>
#include <kesadjust/OrientationUpdate.h>

#include <files/FileReplacement.h>
#include <files/NewFolder.h>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

namespace fs = std::filesystem;

struct Options {
  std::string block;
  CameraOptions camera;
  std::vector<std::string> free{"boresight"};
  kesadjust::GroundRoles roles;
  std::vector<std::string> ties;
  ElevationModelOptions dem;
  double demSigma = 1.0;
  kesadjust::BlockAdjustmentOptions adjustment;
  bool isPlan = false;
  bool isReportOnly = false;
  std::string output;
  bool json = false;
  ProgressOption progress;
};

/// "NAME", with a weak prior, or "NAME=SIGMA". "none" sets nothing free.
std::vector<kesadjust::Freedom> freedoms(std::vector<std::string> const& texts) {
  std::vector<kesadjust::Freedom> result;
  for (std::string const& text : texts) {
    if (text == "none" && texts.size() == 1) {
      break;
    }
    std::size_t const sign = text.find('=');
    kesadjust::Quantity const quantity = kesadjust::quantityOf(text.substr(0, sign));
    double sigma = kesadjust::weakPrior(quantity);
    if (sign != std::string::npos) {
      auto const given = finiteNumber(text.substr(sign + 1));
      if (!given || !(*given > 0.0)) {
        throw std::runtime_error("\"" + text + "\" has no positive standard deviation");
      }
      sigma = *given;
    }
    result.push_back({quantity, sigma});
  }
  return result;
}

/// The adjusted orientation has what is left of boresight, lever arm and time, but goes with the camera as it is.
void requireCameraAsItIs(std::vector<kesadjust::Freedom> const& free) {
  for (kesadjust::Freedom const& freedom : free) {
    switch (freedom.quantity) {
    case kesadjust::Quantity::focalLength:
    case kesadjust::Quantity::lineOffset:
    case kesadjust::Quantity::lineRotation:
    case kesadjust::Quantity::lineBend:
    case kesadjust::Quantity::lineScale:
      throw std::runtime_error("\"" + kesadjust::nameOf(freedom.quantity) +
                               "\" changes the camera, which an orientation can't make up for: give --report-only");
    default:
      break;
    }
  }
}

std::vector<kes::Strip> loadedStrips(kes::Block const& block, Progress& progress) {
  std::vector<kes::Strip> strips;
  std::vector<std::string> const names = block.stripNames();
  for (std::string const& name : names) {
    strips.push_back(openStripOf(block, name));
    progress.show(0.3 * static_cast<double>(strips.size()) / static_cast<double>(names.size()));
  }
  if (strips.empty()) {
    throw std::runtime_error(block.fileName() + " has no strips");
  }
  return strips;
}

void writeText(std::string const& file, std::string const& text) {
  if (!files::replaceFile(file, text)) {
    throw std::runtime_error("can't write " + file);
  }
}

/// The results in a folder that appears as a whole. Strips change last, all or none.
class Output {
public:
  explicit Output(std::string const& folder) : mName(folder), mFolder(folder) {}

  void add(Adjustment const& adjustment, std::span<kes::Strip const> strips, kes::CoordinateSystem const& map) {
    std::string const text = toJson(adjustment).dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
    writeText(mFolder.path() + "/adjustment.json", text);
    writeLayers(mFolder.path() + "/residuals.gpkg", map.definition(), layersOf(adjustment, strips, map));
  }

  void add(kes::Strip const& strip, kesadjust::BlockAdjustment const& block) {
    mUpdates.emplace_back(strip, block.orientation(strip.name()));
    fs::create_directories(mFolder.path() + "/orientation");
    mUpdates.back().write(mFolder.path() + "/orientation/" + fs::path(strip.name()).filename().string() + ".eop");
  }

  std::string const& target(std::size_t strip) const { return mUpdates[strip].target(); }

  void keep(bool isInstalled) {
    std::string const backup = mFolder.path() + "/replaced";
    if (isInstalled) {
      fs::create_directories(backup);
    }
    mFolder.keep();
    if (isInstalled) {
      kesadjust::OrientationUpdate::install(mUpdates, mName + "/replaced");
    }
  }

private:
  std::string mName;
  files::NewFolder mFolder;
  std::vector<kesadjust::OrientationUpdate> mUpdates;
};

void show(Adjustment const& adjustment, bool asJson) {
  if (asJson) {
    print(toJson(adjustment));
  } else {
    printText(adjustment);
  }
}

int judged(kesadjust::BlockResult const& result) {
  for (std::string const& objection : result.objections) {
    std::cerr << "kes: error: the result must not be used: " << objection << '\n';
  }
  return result.objections.empty() ? 0 : 1;
}

int adjust(Options const& options) {
  kesadjust::BlockAdjustmentOptions settings = options.adjustment;
  settings.free = freedoms(options.free);
  if (!options.isPlan && !options.isReportOnly) {
    requireCameraAsItIs(settings.free);
  }
  if (options.dem.isGiven()) {
    settings.surface = options.dem.open();
    settings.surfaceSigma = options.demSigma;
  }
  // Before the work begins: that there is room for its results.
  std::optional<Output> output;
  if (!options.output.empty()) {
    output.emplace(options.output);
  }
  auto progress = std::make_unique<Progress>("adjusting", options.progress);
  kes::StripOptions opening = options.camera.opening(kes::Orientation::original);
  opening.standardDeviations = true;
  kes::Block const block = openBlock(options.block, opening);
  std::vector<kes::Strip> const strips = loadedStrips(block, *progress);
  kesadjust::DefaultSigmas const sigmas;
  kesadjust::Measurements measurements =
      kesadjust::readMeasurements(block, strips, options.roles, sigmas, options.ties);
  if (options.isPlan) {
    measurements = kesadjust::plannedMeasurements(measurements, strips, {}, sigmas);
  }
  kesadjust::BlockAdjustment adjustment(strips, measurements, settings);
  kesadjust::BlockResult const& result = adjustment.run();
  progress->show(0.8);

  Adjustment report{options.block, measurements.system, options.isPlan, result, {}};
  bool const isInstalled = output && !options.isPlan && !options.isReportOnly && result.objections.empty();
  for (std::size_t i = 0; i < strips.size() && output && !options.isPlan; ++i) {
    output->add(strips[i], adjustment);
    if (isInstalled) {
      report.orientations.push_back({strips[i].name(), output->target(i)});
    }
    progress->show(0.8 + 0.15 * static_cast<double>(i + 1) / static_cast<double>(strips.size()));
  }
  if (output) {
    output->add(report, strips, block.mapSystem());
    output->keep(isInstalled);
  }
  progress.reset();
  show(report, options.json);
  return judged(result);
}

void addModel(CLI::App& command, Options& options) {
  command
      .add_option("--free", options.free,
                  "What is unknown besides the trajectories, each with a weak prior or as NAME=SIGMA (radians, metres, "
                  "seconds): boresight, lever-arm, focal, offset, rotation, bend, scale, time, shift; or none")
      ->type_name("NAME")
      ->delimiter(',')
      ->capture_default_str();
  std::vector<std::string> classes;
  for (kesadjust::NavigationClass const& known : kesadjust::navigationClasses()) {
    classes.push_back(known.name);
  }
  command
      .add_option("--prior", options.adjustment.navigation,
                  "Class of the navigation system [standard deviations of the orientation files]")
      ->type_name("CLASS")
      ->check(CLI::IsMember(classes));
  command
      .add_option("--nodes", options.adjustment.nodeSpacing,
                  "Time between corrections of a trajectory [at most 10, less where its errors move faster]")
      ->type_name("S")
      ->check(CLI::Range(0.1, 1e4));
}

void addMeasurements(CLI::App& command, Options& options) {
  addRepeatable(
      command, "--control", options.roles.control, "ID",
      "Ground point that is a control point; all others are check points [all but those of type 2 are control points]")
      ->delimiter(',');
  addRepeatable(command, "--check", options.roles.check, "ID", "Ground point that is a check point; repeatable")
      ->delimiter(',');
  addRepeatable(command, "--ties", options.ties, "FILE",
                "Further list of image points (.ipt), named after its image; repeatable")
      ->check(existingFile());
  CLI::Option* const dem = options.dem.addTo(command, "Elevation model on which tie points lie");
  command.add_option("--dem-sigma", options.demSigma, "Standard deviation of its heights")
      ->type_name("M")
      ->needs(dem)
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
}

}  // namespace

void addAdjust(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  options->adjustment.solver.threads = kes::threadsOfMachine();
  CLI::App* const command = app.add_subcommand(
      "adjust", "Adjusts the orientations of a block's strips by points that its images and the ground have in common");
  command->add_option("BLOCK", options->block, "Block file")->required();
  addModel(*command, *options);
  addMeasurements(*command, *options);
  options->camera.addTo(*command);
  CLI::Option* const plan = command->add_flag(
      "--dry-run", options->isPlan, "Expected accuracies of the block, with planned tie points; changes no strip");
  command->add_flag("--report-only", options->isReportOnly, "Leaves the strips with the orientation that they have")
      ->excludes(plan);
  addThreads(*command, options->adjustment.solver.threads, "Threads that work; the result doesn't depend on it");
  command->add_option("-o,--output", options->output, "Folder for the results, new or empty")->type_name("FOLDER");
  command->add_flag("--json", options->json, "As JSON");
  options->progress.addTo(*command);
  command->footer("Exit code 1 when the result must not be used; the strips then stay as they were.\n"
                  "Example: kes adjust valley/valley.blf --check CHK1,CHK2 -o valley/adjustment\n"
                  "         kes adjust valley/valley.blf --dry-run --prior tactical");
  command->callback([options, &run] {
    if (options->output.empty() && !options->isPlan) {
      throw CLI::RequiredError("--output");
    }
    run = [options] { return adjust(*options); };
  });
}

}  // namespace tool
