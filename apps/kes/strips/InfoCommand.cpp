// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "orientations/EopDescription.h"
#include "shared/Numbers.h"
#include "shared/Output.h"
#include "shared/Strip.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
  StripOptions strip;
  bool json = false;
};

Json describeCamera(sensor::Camera const& camera) {
  return {{"type", camera.type()},
          {"sensorId", camera.sensorId()},
          {"version", camera.version()},
          {"versionInfo", camera.versionInfo()},
          {"folder", camera.calibrationFolder()}};
}

Json describeOrientation(sensor::KESStripModel const& strip) {
  Json eop{{"file", strip.eopFileName()}, {"adjusted", strip.isUseAdjustedEOP()}};
  eop.update(describe(*strip.eop()));
  return eop;
}

Json describeBand(sensor::KESStripModel const& strip, int band) {
  sensor::KESImage& image = *strip.img(band);
  float const lastLine = static_cast<float>(image.numScanlines()) - 1.0F;
  sensor::IntegrationTime const& integration = *image.integrationTime();
  sensor::TdiStage const& tdi = *image.tdiData();
  return {{"id", image.bandID()},
          {"image", image.imageFileName()},
          {"samples", image.numSamples()},
          {"lines", image.numScanlines()},
          {"gsd", strip.gsd(band)},
          {"scale", strip.scale(band)},
          {"lookAngle", static_cast<double>(strip.lookAngle(band)) * degrees},
          {"start", image.gpsTime(0.0F).value()},
          {"end", image.gpsTime(lastLine).value()},
          {"integrationTime", {{"minimum", integration.minimum()}, {"maximum", integration.maximum()}}},
          {"tdi", {{"minimum", tdi.minimum()}, {"maximum", tdi.maximum()}}}};
}

Json describeStrip(sensor::KESStripModel const& strip) {
  Json bands = Json::array();
  for (int band = 0; band < strip.numBands(); ++band) {
    bands.push_back(describeBand(strip, band));
  }
  return {{"name", strip.name()},
          {"camera", describeCamera(strip.modelData()->camera())},
          {"eop", describeOrientation(strip)},
          {"meanTerrainHeight", strip.meanTerrainHeight()},
          {"meanFlyingHeight", strip.meanFlyingHeight()},
          {"flightAzimuth", static_cast<double>(strip.flightAzimuth()) * degrees},
          {"bands", bands}};
}

double number(Json const& value) {
  return value.is_null() ? 0.0 : value.get<double>();
}

// The values of a range, or the one value that both ends have; a dash for what isn't known.
std::string range(Json const& value, double factor, int decimals) {
  double const low = number(value["minimum"]) * factor;
  double const high = number(value["maximum"]) * factor;
  if (high < 0.0) {
    return "-";
  }
  return low == high ? fixed(low, decimals) : fixed(low, decimals) + ".." + fixed(high, decimals);
}

void printOrientation(Json const& eop) {
  Listing listing;
  listing.add("orientation", eop["file"].get<std::string>() + (eop["adjusted"].get<bool>() ? " (adjusted)" : ""));
  listing.add("  version", std::to_string(eop["version"].get<int>()));
  listing.add("  records",
              std::to_string(eop["records"].get<int>()) + ", " + fixed(number(eop["frequency"]), 3) + " Hz");
  listing.add("  span", fixed(number(eop["start"]), 6) + " s to " + fixed(number(eop["end"]), 6) + " s");
  Json const& anchor = eop["anchor"];
  listing.add("  anchor", fixed(number(anchor["longitude"]), 9) + " deg, " + fixed(number(anchor["latitude"]), 9) +
                              " deg, " + fixed(number(anchor["height"]), 3) + " m");
  listing.print();
}

void printBands(Json const& bands) {
  std::vector<std::vector<std::string>> rows{{"band", "samples", "lines", "GSD m", "scale", "look deg", "first s",
                                              "last s", "integration ms", "TDI", "image"}};
  for (Json const& band : bands) {
    rows.push_back(
        {band["id"].get<std::string>(), std::to_string(band["samples"].get<int>()),
         std::to_string(band["lines"].get<int>()), fixed(number(band["gsd"]), 4), fixed(number(band["scale"]), 5),
         fixed(number(band["lookAngle"]), 3), fixed(number(band["start"]), 6), fixed(number(band["end"]), 6),
         range(band["integrationTime"], 1e3, 3), range(band["tdi"], 1.0, 0), band["image"].get<std::string>()});
  }
  printTable(rows);
}

std::string firstLine(std::string const& text) {
  return text.substr(0, text.find('\n'));
}

void printText(Json const& strip) {
  Json const& camera = strip["camera"];
  Listing listing;
  listing.add("strip", strip["name"].get<std::string>());
  listing.add("camera", camera["type"].get<std::string>() + " " + camera["sensorId"].get<std::string>() + ", version " +
                            std::to_string(camera["version"].get<unsigned>()));
  listing.add("  note", firstLine(camera["versionInfo"].get<std::string>()));
  listing.add("  folder", camera["folder"].get<std::string>());
  listing.add("mean terrain height", fixed(number(strip["meanTerrainHeight"]), 2) + " m");
  listing.add("mean flying height", fixed(number(strip["meanFlyingHeight"]), 2) + " m");
  listing.add("flight azimuth", fixed(number(strip["flightAzimuth"]), 3) + " deg");
  listing.print();
  printOrientation(strip["eop"]);
  std::cout << '\n';
  printBands(strip["bands"]);
}

int info(Options const& options) {
  options.strip.camera.apply();
  sensor::KESStripModel const strip(options.strip.file, true, false, false);
  Json const description = describeStrip(strip);
  if (options.json) {
    print(description);
  } else {
    printText(description);
  }
  return 0;
}

}  // namespace

void addInfo(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("info", "Describes a strip: camera, orientation, heights, bands");
  options->strip.addTo(*command);
  command->add_flag("--json", options->json, "As JSON; angles in degrees, times in seconds, lengths in metres");
  command->footer("Example: kes info flight/strip.stp --calibrations flight/calibration --json");
  command->callback([options, &run] { run = [options] { return info(*options); }; });
}

}  // namespace tool
