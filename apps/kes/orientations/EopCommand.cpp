// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "orientations/EopComparison.h"
#include "orientations/EopDescription.h"
#include "shared/Csv.h"
#include "shared/GpsTime.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <kes/Trajectory.h>
#include <sensor/EOPData.h>

#include <QDateTime>

#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace tool {

namespace {

struct Options {
  std::string file;
  std::string second;
  std::string out;
  std::string to = "binary";
  std::vector<double> times;
  NumberForm decimals;
  bool json = false;
  bool csv = false;
};

// The formats of EOPData::write.
std::map<std::string, int> const formats{{"binary", 0}, {"ascii", 1}, {"lop", 3}};

/// An orientation file.
struct EopFile {
  std::string file;
  EopDescription description;
  HeightRange heights;
  bool hasStandardDeviations;
  std::string positionSource;
  std::string timeSource;
  std::string application;
  std::uint32_t absoluteTime;
};

// The day, where the file knows it, and its GPS week.
std::string dayOf(std::uint32_t secondsSince1970) {
  std::optional<std::uint32_t> const week = gpsWeekOf(secondsSince1970);
  if (!week) {
    return {};
  }
  QDateTime const time = QDateTime::fromSecsSinceEpoch(secondsSince1970, Qt::UTC);
  return ", " + time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toStdString() + " UTC, GPS week " +
         std::to_string(*week);
}

[[noreturn]] void failOn(std::string const& file, std::string const& kind) {
  throw std::runtime_error(file + " is " + kind + ", which can't be read; the binary file that it was made from can");
}

// Whether six doubles, of which nothing else is known, may be a position and angles in radians.
bool isPose(std::array<double, 6> const& numbers) {
  constexpr double farthest = 1e7;  // metres
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (!(std::fabs(numbers[i]) <= (i < 3 ? farthest : 2.0 * std::numbers::pi))) {
      return false;
    }
  }
  return true;
}

// The formats that `eop convert` writes, besides the binary one, can't be read: they lack times or precision.
void requireBinary(std::string const& file) {
  std::ifstream in(file, std::ios::binary);
  std::array<double, 6> numbers{};
  std::array<char, sizeof numbers> head{};
  in.read(head.data(), head.size());
  std::string_view const text(head.data(), head.size());
  if (text.starts_with("Anchor Point")) {
    failOn(file, "a listing");
  }
  std::error_code ignored;
  auto const size = std::filesystem::file_size(file, ignored);
  std::memcpy(numbers.data(), head.data(), head.size());
  if (in && !text.starts_with("EOP_") && size % head.size() == 0 && isPose(numbers)) {
    failOn(file, "an LOP file of " + std::to_string(size / head.size()) + " records without times");
  }
}

EopFile describe(std::string const& file) {
  requireBinary(file);
  sensor::EOPData const eop(file, true, true);
  float lowest = 0.0F;
  float highest = 0.0F;
  eop.heightRange(lowest, highest);
  return {file,
          tool::describe(eop),
          {static_cast<double>(lowest), static_cast<double>(highest)},
          eop.hasStdDevs(),
          eop.posSource(),
          eop.tmSource(),
          eop.appSource(),
          eop.absTime().value()};
}

Json toJson(EopFile const& eop) {
  Json description{{"file", eop.file}};
  description.update(toJson(eop.description));
  description["heights"] = toJson(eop.heights);
  description["standardDeviations"] = eop.hasStandardDeviations;
  description["posSource"] = eop.positionSource;
  description["tmSource"] = eop.timeSource;
  description["appSource"] = eop.application;
  description["absoluteTime"] = eop.absoluteTime;
  return description;
}

void printText(EopFile const& eop) {
  Listing listing;
  listing.add("orientation", eop.file);
  listing.add("version", std::to_string(eop.description.version));
  listing.add("records", std::to_string(eop.description.records));
  addSpan(listing, eop.description.span);
  listing.add("frequency", text(eop.description.frequency) + " Hz");
  addAnchor(listing, eop.description.anchor);
  addHeights(listing, eop.heights);
  listing.add("standard deviations", eop.hasStandardDeviations ? "yes" : "no");
  listing.add("position source", eop.positionSource);
  listing.add("time source", eop.timeSource);
  listing.add("written by", eop.application);
  listing.add("absolute time", std::to_string(eop.absoluteTime) + " s" + dayOf(eop.absoluteTime));
  listing.print();
}

int info(Options const& options) {
  EopFile const eop = describe(options.file);
  if (options.json) {
    print(toJson(eop));
  } else {
    printText(eop);
  }
  return 0;
}

std::vector<std::string> fieldsOf(kes::TrajectoryPoint const& point, kes::TrajectoryAccuracy const& accuracy,
                                  NumberForm const& lengths) {
  NumberForm const angles = lengths.ofAngles();
  std::vector<std::string> fields{angles.text(point.time), point.isExtrapolated ? "-1" : "0"};
  for (float const q : {point.quaternion.q0, point.quaternion.q1, point.quaternion.q2, point.quaternion.q3}) {
    fields.push_back(angles.text(q));
  }
  auto const add = [&](geo::XYZPoint const& position, kes::AttitudeAngles const& attitude) {
    for (double const value : {position.x, position.y, position.z}) {
      fields.push_back(lengths.text(value));
    }
    for (double const value : {attitude.omega, attitude.phi, attitude.kappa}) {
      fields.push_back(angles.text(value * degrees));
    }
  };
  add(point.position, point.attitude);
  add(accuracy.position, accuracy.attitude);
  return fields;
}

int at(Options const& options) {
  kes::Trajectory const trajectory = kes::Trajectory::read(options.file, true);
  std::string table;
  appendCsvLine(table, {"time", "status", "q0", "q1", "q2", "q3", "x", "y", "z", "omega", "phi", "kappa", "sx", "sy",
                        "sz", "somega", "sphi", "skappa"});
  for (double const time : options.times) {
    auto const point = trajectory.at(time);
    if (!point) {
      throw std::runtime_error("no orientation at " + text(time) + " s in " + options.file);
    }
    appendCsvLine(table, fieldsOf(*point, *trajectory.accuracyAt(time), options.decimals));
  }
  write(table);
  return 0;
}

int compareFiles(Options const& options) {
  EopComparison const comparison = compare(kes::Trajectory::read(options.file), kes::Trajectory::read(options.second));
  if (options.csv) {
    printCsv(comparison, options.decimals);
  } else if (options.json) {
    print(toJson(comparison));
  } else {
    printText(comparison);
  }
  return 0;
}

int convert(Options const& options) {
  InputGuard(options.out).check(options.file);
  sensor::EOPData eop(options.file, true, true);
  eop.write(options.out, formats.at(options.to));
  return 0;
}

}  // namespace

void addEop(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* eop = app.add_subcommand("eop", "Describes, evaluates and converts orientation files");
  eop->require_subcommand(1);
  eop->footer("Example: kes eop at flight/eop/flight.eop 312340.5 312341.25");

  CLI::App* infoCommand = eop->add_subcommand("info", "Describes an orientation file");
  infoCommand->add_option("FILE", options->file, "Binary orientation file")->required();
  infoCommand->add_flag("--json", options->json, "As JSON");
  infoCommand->footer("Example: kes eop info flight/eop/flight.eop --json");
  infoCommand->callback([options, &run] { run = [options] { return info(*options); }; });

  CLI::App* atCommand =
      eop->add_subcommand("at", "Prints the orientation at GPS times as CSV; status -1: extrapolated");
  atCommand->add_option("FILE", options->file, "Binary orientation file")->required();
  atCommand->add_option("TIME", options->times, "Seconds")->required();
  addDecimals(*atCommand, options->decimals);
  atCommand->footer("Example: kes eop at flight/eop/flight.eop 312340.5 312341.25");
  atCommand->callback([options, &run] { run = [options] { return at(*options); }; });

  CLI::App* compareCommand = eop->add_subcommand(
      "compare", "Compares two orientations: differences of position and attitude, their statistics and spectrum");
  compareCommand->add_option("A", options->file, "Binary orientation file")->required();
  compareCommand->add_option("B", options->second, "Another one, which is interpolated at the times of A")->required();
  CLI::Option* const compareJson = compareCommand->add_flag("--json", options->json, "As JSON; metres, radians, hertz");
  CLI::Option* const compareCsv =
      compareCommand->add_flag("--csv", options->csv, "The difference at each record as CSV; seconds, metres, radians")
          ->excludes(compareJson);
  addDecimals(*compareCommand, options->decimals)->needs(compareCsv);
  compareCommand->footer("Example: kes eop compare flight/eop/flight.eop flight/eop/flight.eop.adj");
  compareCommand->callback([options, &run] { run = [options] { return compareFiles(*options); }; });

  CLI::App* convertCommand = eop->add_subcommand("convert", "Writes an orientation file in another format");
  convertCommand->add_option("FILE", options->file, "Binary orientation file")->required();
  convertCommand->add_option("OUT", options->out, "File to write")->required();
  convertCommand->add_option("--to", options->to, "Format: binary (version 3), ascii (a listing), lop")
      ->required()
      ->check(CLI::IsMember({"binary", "ascii", "lop"}));
  convertCommand->footer("Example: kes eop convert flight/eop/flight.eop flight.txt --to ascii");
  convertCommand->callback([options, &run] { run = [options] { return convert(*options); }; });
}

}  // namespace tool
