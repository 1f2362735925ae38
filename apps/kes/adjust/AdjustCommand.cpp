// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "adjust/AdjustmentReport.h"
#include "images/OrthoOptions.h"
#include "images/VectorFile.h"
#include "shared/ElevationModel.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Opening.h"
#include "shared/Options.h"
#include "shared/Progress.h"

#include <kes/Parallel.h>
#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/BlockUpdate.h>
#include <kesadjust/CameraUpdate.h>
#include <kesadjust/GaussMarkovPrior.h>
#include <kesadjust/OrientationUpdate.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>
#include <files/FileReplacement.h>
#include <files/NewFolder.h>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t longestName = 200;  // bytes, without what is added

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

/// A file's name for each strip: what stands in the way in a file name, and in names without regard to case, is
/// replaced by its place in the block.
std::vector<std::string> fileNamesOf(std::span<kes::Strip const> strips) {
  std::vector<std::string> names;
  std::set<std::string> taken;
  for (kes::Strip const& strip : strips) {
    std::string name = strip.name();
    std::replace(name.begin(), name.end(), '/', '_');
    bool const isUsable = !name.empty() && name.front() != '.' && name.size() <= longestName;
    name = isUsable ? name : "strip" + std::to_string(names.size() + 1);
    while (!taken.insert(name).second) {
      name += "_" + std::to_string(names.size() + 1);
    }
    names.push_back(name);
  }
  return names;
}

/// The results in a folder that appears as a whole. The block changes last.
class Output {
public:
  explicit Output(std::string const& folder) : mName(folder), mFolder(folder) {}

  void addOrientations(std::span<kes::Strip const> strips, kesadjust::BlockAdjustment const& block,
                       std::function<void(double)> const& show) {
    std::string const folder = mFolder.path() + "/orientation";
    fs::create_directories(folder);
    std::vector<std::string> const names = fileNamesOf(strips);
    for (std::size_t i = 0; i < strips.size(); ++i) {
      mUpdates.emplace_back(strips[i], block.orientation(strips[i].name()));
      mUpdates.back().write(folder + "/" + names[i] + ".eop");
      show(static_cast<double>(i + 1) / static_cast<double>(strips.size()));
    }
  }
  void addCameras(std::span<kes::Strip const> strips, kesadjust::BlockAdjustment const& block) {
    mCameras = kesadjust::CameraUpdate::of(block.cameras(), strips);
    for (kesadjust::CameraUpdate const& camera : mCameras) {
      camera.write(mFolder.path() + "/calibration");
    }
  }
  void add(Adjustment const& adjustment, std::span<kes::Strip const> strips, kes::CoordinateSystem const& map) {
    writeText(mFolder.path() + reportFile, textOf(adjustment));
    writeLayers(mFolder.path() + "/residuals.gpkg", map.definition(), layersOf(adjustment, strips, map));
  }
  void keep() { mFolder.keep(); }

  /// Changes the block, and says so in the report.
  void install(Adjustment& report, std::span<kes::Strip const> strips) {
    for (std::size_t i = 0; i < strips.size(); ++i) {
      report.orientations.push_back({strips[i].name(), mUpdates[i].target()});
    }
    for (kesadjust::CameraUpdate const& camera : mCameras) {
      report.cameras.push_back({camera.version(), camera.folder()});
    }
    std::string const backup = mName + "/replaced";
    fs::create_directories(backup);
    kesadjust::BlockUpdate update(kesadjust::BlockUpdate::journalOf(report.block), backup);
    for (kesadjust::OrientationUpdate& orientation : mUpdates) {
      update.add(orientation);
    }
    for (kesadjust::CameraUpdate const& camera : mCameras) {
      update.add(camera, mName + "/calibration");
    }
    update.add(mName + reportFile, textOf(report));
    update.install();
  }

private:
  static constexpr char const* reportFile = "/adjustment.json";

  static std::string textOf(Adjustment const& adjustment) {
    return toJson(adjustment).dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
  }

  std::string mName;
  files::NewFolder mFolder;
  std::vector<kesadjust::OrientationUpdate> mUpdates;
  std::vector<kesadjust::CameraUpdate> mCameras;
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

/// What a run that was killed has left half done would be adjusted otherwise.
void undoInterruptedUpdate(std::string const& block) {
  std::string const journal = kesadjust::BlockUpdate::journalOf(block);
  if (kesadjust::BlockUpdate::undoInterrupted(journal)) {
    std::cerr << "kes: warning: an adjustment of " << block
              << " was interrupted; its strips and cameras are again what they were before\n";
  }
}

kesadjust::BlockAdjustmentOptions settingsOf(Options const& options) {
  kesadjust::BlockAdjustmentOptions settings = options.adjustment;
  settings.free = freedoms(options.free);
  if (options.dem.isGiven()) {
    settings.surface = options.dem.open();
    settings.surfaceSigma = options.demSigma;
  }
  return settings;
}

/// Results in an empty folder for images or raw data would pass for those.
void requireOtherFolder(std::string const& output, std::span<kes::Strip const> strips) {
  InputGuard const guard(output);
  for (kes::Strip const& strip : strips) {
    sensor::KESStripModelData const& data = *strip.model().modelData();
    guard.check(data.imageDataLocation());
    guard.check(data.rawDataLocation());
  }
}

int adjust(Options const& options) {
  // Before there is an output folder: the old one may have what is needed here.
  undoInterruptedUpdate(options.block);
  kesadjust::BlockAdjustmentOptions const settings = settingsOf(options);
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
  if (output) {
    requireOtherFolder(options.output, strips);
  }
  kesadjust::DefaultSigmas const sigmas;
  kesadjust::Measurements measurements =
      kesadjust::readMeasurements(block, strips, options.roles, sigmas, options.ties);
  if (options.isPlan) {
    measurements = kesadjust::plannedMeasurements(measurements, strips, {}, sigmas);
  }
  kesadjust::BlockAdjustment adjustment(strips, measurements, settings);
  kesadjust::BlockResult const& result = adjustment.run();
  progress->show(0.8);

  Adjustment report{options.block, measurements.system, options.isPlan, result, {}, {}};
  if (output) {
    if (!options.isPlan) {
      output->addOrientations(strips, adjustment, [&](double done) { progress->show(0.8 + 0.15 * done); });
      output->addCameras(strips, adjustment);
    }
    output->add(report, strips, block.mapSystem());
    output->keep();
    if (!options.isPlan && !options.isReportOnly && result.objections.empty()) {
      output->install(report, strips);
    }
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
  command
      ->add_flag("--report-only", options->isReportOnly,
                 "Leaves the strips with the orientation and the camera that they have")
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
    try {
      freedoms(options->free);
    } catch (std::exception const& error) {
      throw CLI::ValidationError("--free", error.what());
    }
    run = [options] { return adjust(*options); };
  });
}

}  // namespace tool
