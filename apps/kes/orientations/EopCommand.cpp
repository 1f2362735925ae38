// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "orientations/EopDescription.h"
#include "shared/Csv.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Output.h"

#include <sensor/EOPData.h>

#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

namespace tool {

namespace {

struct Options {
  std::string file;
  std::string out;
  std::string to = "binary";
  std::vector<double> times;
  bool json = false;
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

EopFile describe(std::string const& file) {
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
  listing.add("absolute time", std::to_string(eop.absoluteTime) + " s");
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
  sensor::EOPData const eop(options.file, true, false);
  std::string table;
  appendCsvLine(table, {"time", "status", "q0", "q1", "q2", "q3", "x", "y", "z"});
  for (double const time : options.times) {
    sensor::EOP record;
    if (eop.atGPS(sensor::seconds(time), record) != 0) {
      throw std::runtime_error("no orientation at " + text(time) + " s in " + options.file);
    }
    appendCsvLine(table, {text(time), text(record.status), text(record.q0), text(record.q1), text(record.q2),
                          text(record.q3), text(record.x), text(record.y), text(record.z)});
  }
  std::cout << table;
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
