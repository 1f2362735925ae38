// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "orientations/EopDescription.h"
#include "orientations/OdfMerge.h"
#include "shared/Csv.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Output.h"

#include <sensor/KESOrientation.h>

#include <algorithm>
#include <array>
#include <files/FileReplacement.h>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  std::string file;
  std::string out;
  std::string to;
  bool json = false;
};

// Null in the header's anchor: it was never set.
Json anchorOf(sensor::KESOrientation const& odf) {
  constexpr double notSet = 100.0;
  if (odf.anchorLatitude() == notSet && odf.anchorLongitude() == notSet) {
    return nullptr;
  }
  return {{"longitude", odf.anchorLongitude() * degrees}, {"latitude", odf.anchorLatitude() * degrees}};
}

Json headerOf(sensor::KESOrientation const& odf) {
  return {{"version", odf.version()},
          {"dataSource", odf.dataSource()},
          {"project", odf.projectName()},
          {"strip", odf.stripName()},
          {"comments", odf.comments()},
          {"positionUnits", odf.positionUnits()},
          {"angularUnits", odf.angularUnits()},
          {"rotationSequence", odf.rotationSequence()},
          {"absoluteTime", odf.absoluteTime().value()},
          {"anchor", anchorOf(odf)},
          {"base", {{"time", odf.baseTime().value()}, {"x", odf.baseX()}, {"y", odf.baseY()}, {"z", odf.baseZ()}}},
          {"scales",
           {{"time", odf.timeScale()},
            {"position", odf.positionScale()},
            {"angle", odf.angularScale()},
            {"positionStdDev", odf.positionStdDevScale()},
            {"angleStdDev", odf.angularStdDevScale()}}}};
}

// Nothing without records.
Json spanOf(sensor::KESOrientation const& odf) {
  if (odf.numSets() == 0) {
    return Json::object();
  }
  double low = odf.z(0);
  double high = low;
  for (int i = 1; i < odf.numSets(); ++i) {
    low = std::min(low, odf.z(i));
    high = std::max(high, odf.z(i));
  }
  return {{"start", odf.t(0).value()},
          {"end", odf.t(odf.numSets() - 1).value()},
          {"heights", {{"minimum", low}, {"maximum", high}}}};
}

std::string integers(Json const& values) {
  std::string result;
  for (auto const& [name, value] : values.items()) {
    result += (result.empty() ? "" : ", ") + name + " " + std::to_string(value.get<int>());
  }
  return result;
}

void printText(Json const& odf) {
  Listing listing;
  listing.add("orientation", odf["file"].get<std::string>());
  listing.add("version", odf["version"].get<std::string>());
  listing.add("records", std::to_string(odf["records"].get<int>()));
  if (odf.contains("start")) {
    addSpan(listing, odf);
    addHeights(listing, odf);
  }
  if (odf["anchor"].is_null()) {
    listing.add("anchor", "not set");
  } else {
    addAnchor(listing, odf["anchor"]);
  }
  for (auto const& [name, key] : {std::pair{"data source", "dataSource"}, std::pair{"project", "project"},
                                  std::pair{"strip", "strip"}, std::pair{"comments", "comments"}}) {
    listing.add(name, odf[key].get<std::string>());
  }
  listing.add("units", "positions " + std::to_string(odf["positionUnits"].get<int>()) + ", angles " +
                           std::to_string(odf["angularUnits"].get<int>()));
  listing.add("rotation sequence", std::to_string(odf["rotationSequence"].get<int>()));
  listing.add("absolute time", std::to_string(odf["absoluteTime"].get<int>()) + " s");
  listing.add("base", integers(odf["base"]));
  listing.add("scales", integers(odf["scales"]));
  listing.print();
}

int info(Options const& options) {
  sensor::KESOrientation const odf(options.file);
  Json description{{"file", options.file}, {"records", odf.numSets()}};
  description.update(spanOf(odf));
  description.update(headerOf(odf));
  if (options.json) {
    print(description);
  } else {
    printText(description);
  }
  return 0;
}

void appendRecord(std::string& table, sensor::KESOrientation const& odf, int i) {
  std::vector<std::string> fields;
  for (double const value : {odf.t(i).value(), odf.x(i), odf.y(i), odf.z(i), odf.omega(i), odf.phi(i), odf.kappa(i)}) {
    fields.push_back(text(value));
  }
  std::array<float, 6> v{};
  odf.stdDev(i, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
  for (float const value : v) {
    fields.push_back(text(value));
  }
  appendCsvLine(table, fields);
}

void writeCsv(sensor::KESOrientation const& odf, std::string const& name) {
  constexpr std::size_t pieceSize = 1 << 20;
  files::FileReplacement out(name);
  std::string table = "time,x,y,z,omega,phi,kappa,sx,sy,sz,somega,sphi,skappa\n";
  for (int i = 0; i < odf.numSets(); ++i) {
    appendRecord(table, odf, i);
    if (table.size() > pieceSize) {
      out.write(table);
      table.clear();
    }
  }
  out.write(table);
  if (!out.commit()) {
    throw std::runtime_error("can't write " + name);
  }
}

int convert(Options const& options) {
  InputGuard(options.out).check(options.file);
  sensor::KESOrientation odf(options.file);
  if (options.to == "csv") {
    writeCsv(odf, options.out);
  } else if (constexpr int written = 2; odf.write(options.out) != written) {
    throw std::runtime_error("can't write " + options.out);
  }
  return 0;
}

void addOdfInfo(CLI::App& odf, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = odf.add_subcommand("info", "Describes an ODF");
  command->add_option("FILE", options->file, "Orientation file of a line (ODF)")->required();
  command->add_flag("--json", options->json, "As JSON; times in seconds, lengths in metres, anchor point in degrees");
  command->footer("Example: kes odf info flight/odf/PANF27A.odf --json");
  command->callback([options, &run] { run = [options] { return info(*options); }; });
}

void addOdfConvert(CLI::App& odf, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = odf.add_subcommand("convert", "Writes an ODF as a table or as an ODF of the current version");
  command->add_option("FILE", options->file, "Orientation file of a line (ODF)")->required();
  command->add_option("OUT", options->out, "File to write")->required();
  command->add_option("--to", options->to, "Format: csv (seconds, metres, radians), odf (version 1.2)")
      ->required()
      ->check(CLI::IsMember({"csv", "odf"}));
  command->footer("Example: kes odf convert flight/odf/PANF27A.odf PANF27A.csv --to csv");
  command->callback([options, &run] { run = [options] { return convert(*options); }; });
}

void addOdfMerge(CLI::App& odf, Run& run) {
  auto const merge = std::make_shared<OdfMerge>();
  CLI::App* command =
      odf.add_subcommand("merge", "Joins the one that starts first and the one that ends last in an EOP file");
  merge->addTo(*command);
  command->footer("Example: kes odf merge flight.eop flight/odf/*.odf --anchor 15.58 48.09 408.7");
  command->callback([merge, &run] {
    merge->check();
    run = [merge] { return merge->run(); };
  });
}

}  // namespace

void addOdf(CLI::App& app, Run& run) {
  CLI::App* odf = app.add_subcommand("odf", "Describes, converts and joins orientation files of single lines (ODF)");
  odf->require_subcommand(1);
  odf->footer("Example: kes odf info flight/odf/PANF27A.odf");
  addOdfInfo(*odf, run);
  addOdfConvert(*odf, run);
  addOdfMerge(*odf, run);
}

}  // namespace tool
