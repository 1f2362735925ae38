// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/MapOptions.h"
#include "shared/Output.h"
#include "shared/StripSet.h"

#include <geo/units.h>
#include <sensor/kessensor.h>

#include <iostream>
#include <locale>
#include <memory>
#include <sstream>

namespace tool {

namespace {

constexpr double degrees = 57.29577951308232;

struct Options {
  StripsOptions strips;
  MapOptions map;
  bool json = false;
};

// The direction of view at a sample; it is the same for all lines.
Json directionAt(sensor::KESStripModel const& strip, int band, double sample) {
  geo::XYPoint const image(sample, 0.0);
  return {{"sample", sample},
          {"azimuth", static_cast<double>(strip.azimuth(image, band)) * degrees},
          {"zenith", static_cast<double>(strip.zenith(image, band)) * degrees}};
}

Json measuresOf(sensor::KESStripModel& strip, int band) {
  double const last = strip.imageWidth(band) - 1.0;
  return {{"id", strip.bandID(band)},
          {"lookAngle", static_cast<double>(strip.lookAngle(band)) * degrees},
          {"gsd", strip.gsd(band)},
          {"mappingGsd", strip.mappingSystemGsd(band)},
          {"first", directionAt(strip, band, 0.0)},
          {"centre", directionAt(strip, band, 0.5 * last)},
          {"last", directionAt(strip, band, last)}};
}

Json ratiosOf(sensor::KESStripModel const& strip) {
  Json ratios = Json::array();
  for (int a = 0; a < strip.numBands(); ++a) {
    for (int b = a + 1; b < strip.numBands(); ++b) {
      ratios.push_back({{"a", strip.bandID(a)}, {"b", strip.bandID(b)}, {"ratio", strip.baseHeightRatio(strip, a, b)}});
    }
  }
  return ratios;
}

Json describe(sensor::KESStripModel& strip, std::string const& map) {
  Json bands = Json::array();
  for (int band = 0; band < strip.numBands(); ++band) {
    bands.push_back(measuresOf(strip, band));
  }
  return {{"name", strip.name()},
          {"flightAzimuth", static_cast<double>(strip.flightAzimuth()) * degrees},
          {"mapping", {{"crs", map}, {"unit", strip.mappingSystem()->horizontalUnits().name()}}},
          {"bands", bands},
          {"baseHeightRatios", ratiosOf(strip)}};
}

// Five digits, in whatever unit; a degree has a hundred thousand times as many metres.
std::string digits(double value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.precision(5);
  text << value;
  return text.str();
}

void printBands(Json const& measures) {
  std::string const unit = measures["mapping"]["unit"].get<std::string>();
  std::vector<std::vector<std::string>> rows{{"band", "look deg", "GSD m", "GSD " + unit, "azimuth first", "centre",
                                              "last", "zenith first", "centre", "last"}};
  for (Json const& band : measures["bands"]) {
    std::vector<std::string> row{band["id"].get<std::string>(), fixed(band["lookAngle"].get<double>(), 3),
                                 fixed(band["gsd"].get<double>(), 4), digits(band["mappingGsd"].get<double>())};
    for (char const* angle : {"azimuth", "zenith"}) {
      for (char const* place : {"first", "centre", "last"}) {
        row.push_back(fixed(band[place][angle].get<double>(), 3));
      }
    }
    rows.push_back(row);
  }
  printTable(rows);
}

// A triangle: each pair once.
void printRatios(Json const& measures) {
  std::vector<std::vector<std::string>> rows{{"base/height"}};
  for (Json const& band : measures["bands"]) {
    rows.front().push_back(band["id"].get<std::string>());
    rows.push_back({band["id"].get<std::string>()});
    rows.back().resize(measures["bands"].size() + 1);
  }
  std::size_t a = 1;
  std::size_t b = 2;
  for (Json const& pair : measures["baseHeightRatios"]) {
    rows[a][b] = fixed(pair["ratio"].get<double>(), 4);
    if (++b == rows.size()) {
      b = ++a + 1;
    }
  }
  printTable(rows);
}

void printText(Json const& measures) {
  Listing listing;
  listing.add("strip", measures["name"].get<std::string>());
  listing.add("flight azimuth", fixed(measures["flightAzimuth"].get<double>(), 3) + " deg");
  listing.add("map", measures["mapping"]["crs"].get<std::string>());
  listing.print();
  std::cout << '\n';
  printBands(measures);
  std::cout << '\n';
  printRatios(measures);
}

// The map of a strip of a block is the block's, unless another is told.
std::string setMap(sensor::KESStripModel& strip, MapOptions const& options, geo::coordSys& system) {
  if (options.crs.empty() && strip.parentBlock() != nullptr) {
    return strip.mappingSystem()->definition();
  }
  strip.setMappingSystem(&system);
  return options.name();
}

int measures(Options const& options) {
  options.strips.camera.apply();
  StripSet const set(options.strips.files);
  auto const system = options.map.make();
  Json strips = Json::array();
  set.forEach(false, [&](sensor::KESStripModel& strip) {
    std::string const map = setMap(strip, options.map, *system);
    strips.push_back(describe(strip, map));
  });
  if (options.json) {
    print(resultsOf(strips, set));
  } else {
    printEach(strips, printText);
  }
  return 0;
}

}  // namespace

void addMeasures(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("measures", "Tells directions of view, base-to-height ratios and ground sampling distances");
  options->strips.addTo(*command);
  options->map.addTo(*command);
  command->add_flag("--json", options->json, "As JSON; angles in degrees, lengths in metres and in the map's unit");
  command->footer("Example: kes measures flight/strip.stp --calibrations flight/calibration --crs EPSG:32614");
  command->callback([options, &run] { run = [options] { return measures(*options); }; });
}

}  // namespace tool
