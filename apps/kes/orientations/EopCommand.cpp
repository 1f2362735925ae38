// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "orientations/EopComparison.h"
#include "orientations/EopDescription.h"
#include "shared/Csv.h"
#include "shared/GpsTime.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Output.h"

#include <kes/Trajectory.h>
#include <sensor/EOPData.h>

#include <QDateTime>

#include <array>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
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

// The formats that `eop convert` writes, besides the binary one, can't be read.
void requireBinary(std::string const& file) {
  std::ifstream in(file, std::ios::binary);
  std::array<char, 12> head{};
  in.read(head.data(), head.size());
  if (std::string_view(head.data(), head.size()) == "Anchor Point") {
    throw std::runtime_error(file + " is a listing, which can't be read; the binary file that it was made from can");
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
    auto const accuracy = *trajectory.accuracyAt(time);
    std::vector<std::string> fields{text(point->time), point->isExtrapolated ? "-1" : "0"};
    for (float const q : {point->quaternion.q0, point->quaternion.q1, point->quaternion.q2, point->quaternion.q3}) {
      fields.push_back(text(q));
    }
    for (double const value : {point->position.x, point->position.y, point->position.z, point->attitude.omega * degrees,
                               point->attitude.phi * degrees, point->attitude.kappa * degrees, accuracy.position.x,
                               accuracy.position.y, accuracy.position.z, accuracy.attitude.omega * degrees,
                               accuracy.attitude.phi * degrees, accuracy.attitude.kappa * degrees}) {
      fields.push_back(text(value));
    }
    appendCsvLine(table, fields);
  }
  write(table);
  return 0;
}

int compareFiles(Options const& options) {
  EopComparison const comparison = compare(kes::Trajectory::read(options.file), kes::Trajectory::read(options.second));
  if (options.csv) {
    printCsv(comparison);
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
  atCommand->footer("Example: kes eop at flight/eop/flight.eop 312340.5 312341.25");
  atCommand->callback([options, &run] { run = [options] { return at(*options); }; });

  CLI::App* compareCommand = eop->add_subcommand(
      "compare", "Compares two orientations: differences of position and attitude, their statistics and spectrum");
  compareCommand->add_option("A", options->file, "Binary orientation file")->required();
  compareCommand->add_option("B", options->second, "Another one, which is interpolated at the times of A")->required();
  CLI::Option* const compareJson = compareCommand->add_flag("--json", options->json, "As JSON; metres, radians, hertz");
  compareCommand->add_flag("--csv", options->csv, "The difference at each record as CSV; seconds, metres, radians")
      ->excludes(compareJson);
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
