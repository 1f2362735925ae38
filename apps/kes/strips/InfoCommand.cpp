// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "cameras/CameraDescription.h"
#include "orientations/EopDescription.h"
#include "shared/Numbers.h"
#include "shared/Opening.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <sensor/kessensor.h>

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
  StripOptions strip;
  bool json = false;
};

struct Range {
  float minimum;
  float maximum;
};

struct BandInfo {
  kes::Band band;
  Range integrationTime;  ///< Seconds; negative when it isn't known.
  Range tdi;
};

struct StripInfo {
  kes::Strip const& strip;
  EopDescription orientation;
  std::vector<BandInfo> bands;
};

BandInfo describe(kes::Strip const& strip, kes::Band const& band) {
  sensor::KESImage const& image = *strip.model().img(band.index());
  return {band,
          {image.integrationTime()->minimum(), image.integrationTime()->maximum()},
          {image.tdiData()->minimum(), image.tdiData()->maximum()}};
}

StripInfo describe(kes::Strip const& strip) {
  StripInfo info{strip, tool::describe(*strip.model().eop()), {}};
  for (int band = 0; band < strip.bandCount(); ++band) {
    info.bands.push_back(describe(strip, strip.band(band)));
  }
  return info;
}

Json toJson(Range const& range) {
  auto const known = [](float value) { return value < 0.0F ? Json() : Json(value); };
  return {{"minimum", known(range.minimum)}, {"maximum", known(range.maximum)}};
}

Json toJson(BandInfo const& info) {
  kes::Band const& band = info.band;
  return {{"id", band.id()},
          {"image", band.imageFile()},
          {"samples", band.samples()},
          {"lines", band.lines()},
          {"gsd", band.gsd()},
          {"scale", band.scale()},
          {"lookAngle", band.lookAngle() * degrees},
          {"start", band.startTime()},
          {"end", band.endTime()},
          {"integrationTime", toJson(info.integrationTime)},
          {"tdi", toJson(info.tdi)}};
}

Json toJson(StripInfo const& info) {
  kes::Strip const& strip = info.strip;
  Json eop{{"file", strip.trajectory().fileName()}, {"adjusted", strip.usesAdjustedOrientation()}};
  eop.update(toJson(info.orientation));
  return {{"name", strip.name()},
          {"camera", identityOf(strip.camera())},
          {"eop", eop},
          {"meanTerrainHeight", strip.meanTerrainHeight()},
          {"meanFlyingHeight", strip.meanFlyingHeight()},
          {"flightAzimuth", strip.flightAzimuth() * degrees},
          {"bands", arrayOf(info.bands)}};
}

// The values of a range, or the one value that both ends have; a dash for what isn't known.
std::string textOf(Range const& range, double factor, int decimals) {
  double const low = static_cast<double>(range.minimum) * factor;
  double const high = static_cast<double>(range.maximum) * factor;
  if (high < 0.0) {
    return "-";
  }
  return low == high ? fixed(low, decimals) : fixed(low, decimals) + ".." + fixed(high, decimals);
}

void printHead(kes::Strip const& strip) {
  kes::Camera const camera = strip.camera();
  Listing listing;
  listing.add("strip", strip.name());
  listing.add("camera", nameOf(camera) + ", version " + std::to_string(camera.version()));
  listing.add("  note", noteOf(camera.versionInfo()));
  listing.add("  folder", camera.folder());
  listing.add("mean terrain height", fixed(strip.meanTerrainHeight(), 2) + " m above the anchor");
  listing.add("mean flying height", fixed(strip.meanFlyingHeight(), 2) + " m above the anchor");
  listing.add("flight azimuth", fixed(strip.flightAzimuth() * degrees, 3) + " deg");
  listing.print();
}

void printOrientation(kes::Strip const& strip, EopDescription const& eop) {
  Listing listing;
  listing.add("orientation", strip.trajectory().fileName() + (strip.usesAdjustedOrientation() ? " (adjusted)" : ""));
  listing.add("  version", std::to_string(eop.version));
  listing.add("  records", std::to_string(eop.records) + ", " + fixed(eop.frequency, 3) + " Hz");
  listing.add("  span", fixed(eop.span.start, 6) + " s to " + fixed(eop.span.end, 6) + " s");
  listing.add("  anchor", fixed(eop.anchor.longitude * degrees, 9) + " deg, " +
                              fixed(eop.anchor.latitude * degrees, 9) + " deg, " + fixed(eop.anchor.height, 3) + " m");
  listing.print();
}

void printBands(std::vector<BandInfo> const& bands) {
  std::vector<std::vector<std::string>> rows{{"band", "samples", "lines", "GSD m", "across/along", "look deg",
                                              "first s", "last s", "integration ms", "TDI", "image"}};
  for (BandInfo const& info : bands) {
    kes::Band const& band = info.band;
    rows.push_back({band.id(), std::to_string(band.samples()), std::to_string(band.lines()), fixed(band.gsd(), 4),
                    fixed(band.scale(), 5), fixed(band.lookAngle() * degrees, 3), fixed(band.startTime(), 6),
                    fixed(band.endTime(), 6), textOf(info.integrationTime, 1e3, 3), textOf(info.tdi, 1.0, 0),
                    band.imageFile()});
  }
  printTable(rows);
}

void printText(StripInfo const& info) {
  printHead(info.strip);
  printOrientation(info.strip, info.orientation);
  std::cout << '\n';
  printBands(info.bands);
}

int info(Options const& options) {
  kes::Strip const strip = openStrip(options.strip.file, options.strip.camera.opening());
  StripInfo const description = describe(strip);
  if (options.json) {
    print(toJson(description));
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
