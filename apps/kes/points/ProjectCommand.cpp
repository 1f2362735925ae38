// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "points/PointProjection.h"
#include "points/TablePart.h"
#include "shared/InputGuard.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace tool {

namespace {

/// What the command line says, before its parts are seen together.
struct CommandLine {
  ProjectOptions options;
  std::string to;
  std::string frame;
};

// Points without a result are listed, and don't end a run.
void report(PointProjection const& projection, ProjectOptions const& options) {
  StatusCounts const& counts = projection.counts();
  if (!counts.areAllOk()) {
    std::cerr << "kes: " << counts.text() << '\n';
  }
  if (std::string const doubt = projection.doubt(); !doubt.empty()) {
    std::cerr << "kes: warning: the first point " << doubt << '\n';
  }
  if (options.strict && !projection.firstFailure().empty()) {
    throw std::runtime_error(projection.firstFailure());
  }
  if (!options.part && counts.total() > 0 && counts.results() == 0) {
    throw std::runtime_error("no point has a result");
  }
}

// `size` is the size of the table in bytes, or 0 where it isn't known.
int project(ProjectOptions const& options, std::istream& in, std::string const& name, std::int64_t size) {
  PointProjection projection(options, in, name);
  {
    Progress progress("projecting", isatty(STDOUT_FILENO) != 0 ? options.progress.withoutTerminal() : options.progress);
    projection.run([&](std::int64_t end) {
      if (size > 0) {
        progress.show(end < 0 ? 1.0 : static_cast<double>(end) / static_cast<double>(size));
      }
    });
  }
  report(projection, options);
  return 0;
}

int projectPart(ProjectOptions const& options) {
  requireOtherThanStandardOutput(options.points, options.points);
  TablePart part(options.points, *options.part);
  std::string const name =
      options.points + ", part " + std::to_string(options.part->number) + " of " + std::to_string(options.part->count);
  return project(options, part.stream(), name, part.size());
}

int project(ProjectOptions const& options) {
  if (options.part) {
    return projectPart(options);
  }
  if (options.points.empty() || options.points == "-") {
    requireOtherThanStandardOutput("/dev/stdin", "standard input");
    return project(options, std::cin, "standard input", 0);
  }
  std::ifstream file(options.points, std::ios::binary);
  if (!file) {
    throw std::runtime_error("can't open " + options.points);
  }
  requireOtherThanStandardOutput(options.points, options.points);
  std::error_code ignored;
  bool const hasSize = std::filesystem::is_regular_file(options.points, ignored);
  auto const size = hasSize ? static_cast<std::int64_t>(std::filesystem::file_size(options.points, ignored)) : 0;
  return project(options, file, options.points, size);
}

void addPointOptions(CLI::App& command, CommandLine& line) {
  ProjectOptions& options = line.options;
  options.strip.addTo(command);
  command.add_option("POINTS", options.points, "CSV file; standard input without one");
  command.add_option("--band", options.band, "Band id, such as PANN00A")->type_name("ID")->required();
  command.add_option("--to", line.to, "ground: from sample,line,height; image: from x,y,z")
      ->required()
      ->check(CLI::IsMember({"ground", "image"}));
}

void addGroundOptions(CLI::App& command, CommandLine& line) {
  command
      .add_option("--frame", line.frame,
                  "Frame of ground positions and heights; lsr: east, north, up at the anchor, metres; map: see --crs "
                  "[map with --crs or --dem, otherwise lsr]")
      ->check(CLI::IsMember({"lsr", "map"}));
  line.options.map.addTo(command);
  line.options.dem.addTo(
      command, "Heights from an elevation model, any raster that GDAL reads, in place of a column height or z");
}

void addColumnOptions(CLI::App& command, ProjectOptions& options) {
  for (std::string const name : {"sample", "line", "height", "x", "y", "z"}) {
    command
        .add_option_function<std::string>(
            "--" + name + "-column", [&options, name](std::string const& own) { options.columns[name] = own; },
            "Name of the table's column for " + name)
        ->type_name("NAME");
  }
}

void addModelOptions(CLI::App& command, ProjectOptions& options) {
  addSolver(command, options.solver);
  command.add_option("--tdi", options.tdi, "To the ground: number of TDI stages, in place of the image's own");
  options.orientation.addTo(command);
  command.add_flag("--verify", options.verify,
                   "Project back, and add columns closure (metres on the ground), closurePixels and status");
  command.add_flag("--status", options.status, "Add a column with the status of each point");
  command.add_option("--threads", options.threads, "Threads that work; the output doesn't depend on it")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(1, 1024));
  addDecimals(command, options.decimals);
  options.progress.addTo(command);
  command.add_flag("--strict", options.strict, "Exit code 1 when a point has no result; the message names the first");
}

void addAccuracyOptions(CLI::App& command, ProjectOptions& options) {
  CLI::Option* const sigma =
      command
          .add_option("--sigma", options.sigma,
                      "To the ground: add columns sigmaX, sigmaY, sigmaZ, standard deviations in metres, from those of "
                      "the orientation and this one of image positions")
          ->type_name("PIXELS")
          ->check(CLI::Range(0.0, 1e6));
  command.add_option("--height-sigma", options.heightSigma, "Standard deviation of heights, metres [0]")
      ->type_name("M")
      ->check(CLI::Range(0.0, 1e6))
      ->needs(sigma);
  command
      .add_flag("--covariance", options.covariance,
                "Add columns covarianceXY, covarianceXZ, covarianceYZ, too, square metres")
      ->needs(sigma);
}

void checkColumns(ProjectOptions const& options) {
  std::vector<std::string> const read = numbersOf(options);
  for (auto const& [name, own] : options.columns) {
    if (std::find(read.begin(), read.end(), name) == read.end()) {
      throw CLI::ValidationError("--" + name + "-column", "no column " + name + " is read here");
    }
  }
}

// What no single option can see.
void checkTogether(CommandLine const& line) {
  ProjectOptions const& options = line.options;
  if (options.tdi && line.to == "image") {
    throw CLI::ValidationError("--tdi", "goes with --to ground");
  }
  if (options.sigma && line.to == "image") {
    throw CLI::ValidationError("--sigma", "goes with --to ground");
  }
  if (options.sigma && options.dem.isGiven()) {
    throw CLI::ValidationError("--sigma", "goes with heights of the table, without --dem");
  }
  if (!options.map.crs.empty() && line.frame == "lsr") {
    throw CLI::ValidationError("--crs", "goes with --frame map");
  }
  if (options.part && (options.points.empty() || options.points == "-")) {
    throw CLI::ValidationError("--part", "needs a file of points");
  }
  bool const isOfRuns = options.solver == kes::Solver::libraryRun || options.solver == kes::Solver::libraryLanes;
  if (options.part && isOfRuns) {
    throw CLI::ValidationError("--part", "goes with the solvers precise and point, whose results don't depend on "
                                         "the rows before");
  }
  checkColumns(options);
}

}  // namespace

void addProject(CLI::App& app, Run& run) {
  auto const line = std::make_shared<CommandLine>();
  CLI::App* command = app.add_subcommand("project", "Projects points between an image and the ground");
  addPointOptions(*command, *line);
  addColumnOptions(*command, line->options);
  addPart(*command, line->options.part,
          "The I-th of N parts of the table, from 1: the rows that begin in its share of the file's bytes; the outputs "
          "of all parts, one after the other, are that of the whole");
  addGroundOptions(*command, *line);
  addModelOptions(*command, line->options);
  addAccuracyOptions(*command, line->options);
  command->footer("Results replace columns of the same name, or follow the others. Points without a result have empty\n"
                  "fields; standard error has the number of points by status. Exit code 1 when no point has a result.\n"
                  "Example: kes project flight/strip.stp --calibrations flight/calibration --band PANF27A --to ground "
                  "--crs EPSG:32614 --dem dem.tif points.csv");
  command->callback([line, &run] {
    ProjectOptions& options = line->options;
    bool const impliesMap = !options.map.crs.empty() || options.dem.isGiven();
    options.toGround = line->to == "ground";
    options.frame = line->frame == "map" || (line->frame.empty() && impliesMap) ? Frame::map : Frame::local;
    checkTogether(*line);
    run = [line] { return project(line->options); };
  });
}

}  // namespace tool
