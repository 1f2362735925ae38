// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "orientations/EopDescription.h"
#include "orientations/OdfMerge.h"
#include "shared/Csv.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <sensor/KESOrientation.h>

#include <algorithm>
#include <array>
#include <files/FileReplacement.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tool {

namespace {

struct Options {
  std::string file;
  std::string out;
  std::string to;
  NumberForm decimals;
  bool json = false;
};

/// Between what the records lie.
struct OdfExtent {
  TimeSpan span;
  HeightRange heights;
};

/// Whole numbers of a header by name, in its order.
using HeaderNumbers = std::vector<std::pair<std::string, int>>;

struct OdfFile {
  std::string file;
  int records = 0;
  std::optional<OdfExtent> extent;  ///< Nothing without records.
  std::string version;
  std::string dataSource;
  std::string project;
  std::string strip;
  std::string comments;
  int positionUnits = 0;
  int angularUnits = 0;
  int rotationSequence = 0;
  std::int32_t absoluteTime = 0;
  std::optional<HeaderAnchor> anchor;  ///< Nothing when it was never set.
  HeaderNumbers base;
  HeaderNumbers scales;
};

std::optional<OdfExtent> extentOf(sensor::KESOrientation const& odf) {
  if (odf.numSets() == 0) {
    return std::nullopt;
  }
  OdfExtent extent{{odf.t(0).value(), odf.t(odf.numSets() - 1).value()}, {odf.z(0), odf.z(0)}};
  for (int i = 1; i < odf.numSets(); ++i) {
    extent.heights.lowest = std::min(extent.heights.lowest, odf.z(i));
    extent.heights.highest = std::max(extent.heights.highest, odf.z(i));
  }
  return extent;
}

OdfFile describe(std::string const& file) {
  sensor::KESOrientation const odf(file);
  OdfFile result;
  result.file = file;
  result.records = odf.numSets();
  result.extent = extentOf(odf);
  result.version = odf.version();
  result.dataSource = odf.dataSource();
  result.project = odf.projectName();
  result.strip = odf.stripName();
  result.comments = odf.comments();
  result.positionUnits = odf.positionUnits();
  result.angularUnits = odf.angularUnits();
  result.rotationSequence = odf.rotationSequence();
  result.absoluteTime = odf.absoluteTime().value();
  result.anchor = anchorOf(odf);
  result.base = {{"time", odf.baseTime().value()}, {"x", odf.baseX()}, {"y", odf.baseY()}, {"z", odf.baseZ()}};
  result.scales = {{"time", odf.timeScale()},
                   {"position", odf.positionScale()},
                   {"angle", odf.angularScale()},
                   {"positionStdDev", odf.positionStdDevScale()},
                   {"angleStdDev", odf.angularStdDevScale()}};
  return result;
}

Json toJson(HeaderAnchor const& anchor) {
  return {{"longitude", anchor.longitude * degrees}, {"latitude", anchor.latitude * degrees}};
}

Json toJson(HeaderNumbers const& numbers) {
  Json object = Json::object();
  for (auto const& [name, value] : numbers) {
    object[name] = value;
  }
  return object;
}

Json toJson(OdfFile const& odf) {
  Json description{{"file", odf.file}, {"records", odf.records}};
  if (odf.extent) {
    description.update(
        {{"start", odf.extent->span.start}, {"end", odf.extent->span.end}, {"heights", toJson(odf.extent->heights)}});
  }
  description.update({{"version", odf.version},
                      {"dataSource", odf.dataSource},
                      {"project", odf.project},
                      {"strip", odf.strip},
                      {"comments", odf.comments},
                      {"positionUnits", odf.positionUnits},
                      {"angularUnits", odf.angularUnits},
                      {"rotationSequence", odf.rotationSequence},
                      {"absoluteTime", odf.absoluteTime},
                      {"anchor", odf.anchor ? toJson(*odf.anchor) : Json()},
                      {"base", toJson(odf.base)},
                      {"scales", toJson(odf.scales)}});
  return description;
}

std::string textOf(HeaderNumbers const& numbers) {
  std::vector<std::string> texts;
  for (auto const& [name, value] : numbers) {
    texts.push_back(name + " " + std::to_string(value));
  }
  return joined(texts, ", ");
}

void printText(OdfFile const& odf) {
  Listing listing;
  listing.add("orientation", odf.file);
  listing.add("version", odf.version);
  listing.add("records", std::to_string(odf.records));
  if (odf.extent) {
    addSpan(listing, odf.extent->span);
    addHeights(listing, odf.extent->heights);
  }
  if (odf.anchor) {
    addAnchor(listing, odf.anchor->longitude, odf.anchor->latitude);
  } else {
    listing.add("anchor", "not set");
  }
  listing.add("data source", odf.dataSource);
  listing.add("project", odf.project);
  listing.add("strip", odf.strip);
  listing.add("comments", odf.comments);
  listing.add("units",
              "positions " + std::to_string(odf.positionUnits) + ", angles " + std::to_string(odf.angularUnits));
  listing.add("rotation sequence", std::to_string(odf.rotationSequence));
  listing.add("absolute time", std::to_string(odf.absoluteTime) + " s");
  listing.add("base", textOf(odf.base));
  listing.add("scales", textOf(odf.scales));
  listing.print();
}

int info(Options const& options) {
  OdfFile const odf = describe(options.file);
  if (options.json) {
    print(toJson(odf));
  } else {
    printText(odf);
  }
  return 0;
}

void appendRecord(std::string& table, sensor::KESOrientation const& odf, int i, NumberForm const& lengths) {
  NumberForm const angles = lengths.ofAngles();
  std::vector<std::string> fields{angles.text(odf.t(i).value())};
  auto const add = [&fields](NumberForm const& form, auto const&... values) {
    (fields.push_back(form.text(values)), ...);
  };
  add(lengths, odf.x(i), odf.y(i), odf.z(i));
  add(angles, odf.omega(i), odf.phi(i), odf.kappa(i));
  std::array<float, 6> v{};
  odf.stdDev(i, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
  add(lengths, v[0], v[1], v[2]);
  add(angles, v[3], v[4], v[5]);
  appendCsvLine(table, fields);
}

void writeCsv(sensor::KESOrientation const& odf, std::string const& name, NumberForm const& lengths) {
  constexpr std::size_t pieceSize = 1 << 20;
  files::FileReplacement out(name);
  std::string table = "time,x,y,z,omega,phi,kappa,sx,sy,sz,somega,sphi,skappa\n";
  for (int i = 0; i < odf.numSets(); ++i) {
    appendRecord(table, odf, i, lengths);
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
    writeCsv(odf, options.out, options.decimals);
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
  addDecimals(*command, options->decimals);
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
