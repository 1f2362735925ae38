// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/Numbers.h"
#include "shared/StripSet.h"
#include "strips/GroundSampling.h"

#include <sensor/KESStripModel.h>

#include <array>
#include <cmath>
#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  MapOptions map;
  bool json = false;
};

/// The direction of view at a sample, the same for all lines: azimuth from north over east, 0 to 360, and zenith;
/// degrees.
struct Direction {
  double sample;
  double azimuth;
  double zenith;
};

struct BandMeasures {
  std::string id;
  double lookAngle;          ///< Degrees.
  double gsd;                ///< Metres.
  float mapGsd;              ///< In the unit of the map.
  GroundSampling centreGsd;  ///< In the middle of the image, at the mean terrain height.
  Direction first;
  Direction centre;
  Direction last;

  std::array<Direction, 3> directions() const { return {first, centre, last}; }
};

struct BaseHeightRatio {
  std::string a;
  std::string b;
  double ratio;
};

struct StripMeasures {
  std::string name;
  double flightAzimuth;  ///< Degrees.
  std::string map;
  std::string unit;
  std::vector<BandMeasures> bands;
  std::vector<BaseHeightRatio> ratios;  ///< Of each pair of bands once.
};

double inFullCircle(double angle) {
  double const rest = std::fmod(angle, 360.0);
  return rest < 0.0 ? rest + 360.0 : rest;
}

Direction directionAt(sensor::KESStripModel const& strip, int band, double sample) {
  geo::XYPoint const image(sample, 0.0);
  return {sample, inFullCircle(static_cast<double>(strip.azimuth(image, band)) * degrees),
          static_cast<double>(strip.zenith(image, band)) * degrees};
}

// In single precision, as `KESStripModel::mappingSystemGsd` computes it.
float gsdOn(kes::Unit const& unit, kes::Band const& band) {
  return static_cast<float>(band.gsd()) / static_cast<float>(unit.metres);
}

BandMeasures measuresOf(kes::Strip const& strip, kes::Band const& band, kes::Unit const& unit) {
  double const last = band.samples() - 1.0;
  auto const direction = [&](double sample) { return directionAt(strip.model(), band.index(), sample); };
  GroundSampling const gsd =
      groundSamplingAt(band, {0.5 * last, 0.5 * (band.lines() - 1.0)}, strip.meanTerrainHeight());
  return {band.id(),      band.lookAngle() * degrees, band.gsd(),     gsdOn(unit, band), gsd,
          direction(0.0), direction(0.5 * last),      direction(last)};
}

std::vector<BaseHeightRatio> ratiosOf(kes::Strip const& strip) {
  std::vector<BaseHeightRatio> ratios;
  std::vector<std::string> const ids = strip.bandIds();
  for (int a = 0; a < strip.bandCount(); ++a) {
    for (int b = a + 1; b < strip.bandCount(); ++b) {
      ratios.push_back({ids[static_cast<std::size_t>(a)], ids[static_cast<std::size_t>(b)],
                        strip.model().baseHeightRatio(strip.model(), a, b)});
    }
  }
  return ratios;
}

StripMeasures measuresOf(kes::Strip const& strip, std::string const& map, kes::CoordinateSystem const& system) {
  kes::Unit const unit = system.horizontalUnit();
  StripMeasures measures{strip.name(), strip.flightAzimuth() * degrees, map, unit.name, {}, ratiosOf(strip)};
  for (int band = 0; band < strip.bandCount(); ++band) {
    measures.bands.push_back(measuresOf(strip, strip.band(band), unit));
  }
  return measures;
}

Json toJson(Direction const& direction) {
  return {{"sample", direction.sample}, {"azimuth", direction.azimuth}, {"zenith", direction.zenith}};
}

Json toJson(BandMeasures const& band) {
  return {{"id", band.id},
          {"lookAngle", band.lookAngle},
          {"gsd", band.gsd},
          {"mappingGsd", band.mapGsd},
          {"gsdAcross", band.centreGsd.across},
          {"gsdAlong", band.centreGsd.along},
          {"first", toJson(band.first)},
          {"centre", toJson(band.centre)},
          {"last", toJson(band.last)}};
}

Json toJson(BaseHeightRatio const& ratio) {
  return {{"a", ratio.a}, {"b", ratio.b}, {"ratio", ratio.ratio}};
}

Json toJson(StripMeasures const& strip) {
  return {{"name", strip.name},
          {"flightAzimuth", strip.flightAzimuth},
          {"mapping", {{"crs", strip.map}, {"unit", strip.unit}}},
          {"bands", arrayOf(strip.bands)},
          {"baseHeightRatios", arrayOf(strip.ratios)}};
}

// The GSD on the map has five digits, in whatever unit: a degree is a hundred thousand metres.
void printBands(StripMeasures const& strip) {
  std::vector<std::vector<std::string>> rows{{"band", "look deg", "GSD m", "GSD " + strip.unit, "across m", "along m",
                                              "azimuth first", "centre", "last", "zenith first", "centre", "last"}};
  for (BandMeasures const& band : strip.bands) {
    std::vector<std::string> row{band.id,
                                 fixed(band.lookAngle, 3),
                                 fixed(band.gsd, 4),
                                 significant(static_cast<double>(band.mapGsd), 5),
                                 fixed(band.centreGsd.across, 4),
                                 fixed(band.centreGsd.along, 4)};
    for (double Direction::*const angle : {&Direction::azimuth, &Direction::zenith}) {
      for (Direction const& direction : band.directions()) {
        row.push_back(fixed(direction.*angle, 3));
      }
    }
    rows.push_back(row);
  }
  printTable(rows);
}

// A triangle: each pair once.
void printRatios(StripMeasures const& strip) {
  std::vector<std::vector<std::string>> rows{{"base/height"}};
  for (BandMeasures const& band : strip.bands) {
    rows.front().push_back(band.id);
    rows.push_back({band.id});
    rows.back().resize(strip.bands.size() + 1);
  }
  std::size_t a = 1;
  std::size_t b = 2;
  for (BaseHeightRatio const& pair : strip.ratios) {
    rows[a][b] = fixed(pair.ratio, 4);
    if (++b == rows.size()) {
      b = ++a + 1;
    }
  }
  printTable(rows);
}

void printText(StripMeasures const& strip) {
  Listing listing;
  listing.add("strip", strip.name);
  listing.add("flight azimuth", fixed(strip.flightAzimuth, 3) + " deg");
  listing.add("map", strip.map);
  listing.print();
  std::cout << '\n';
  printBands(strip);
  std::cout << '\n';
  printRatios(strip);
}

int measures(Options const& options) {
  StripSet const set(options.strips.files, options.strips.camera.opening());
  kes::CoordinateSystem const given = options.map.system();
  std::vector<StripMeasures> strips;
  set.forEach([&](kes::Strip const& strip, kes::Block const* block) {
    bool const isOnBlocksMap = options.map.crs.empty() && block != nullptr;
    kes::CoordinateSystem const& map = isOnBlocksMap ? block->mapSystem() : given;
    strips.push_back(measuresOf(strip, isOnBlocksMap ? map.definition() : options.map.name(), map));
  });
  if (options.json) {
    print(resultsOf(arrayOf(strips), set));
  } else {
    printEach(strips);
  }
  return 0;
}

}  // namespace

void addMeasures(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("measures", "Prints directions of view, base-to-height ratios and ground sampling distances");
  options->strips.addTo(*command);
  options->map.addTo(*command);
  command->add_flag("--json", options->json, "As JSON; angles in degrees, lengths in metres and in the map's unit");
  command->footer("Example: kes measures flight/strip.stp --calibrations flight/calibration --crs EPSG:32614");
  command->callback([options, &run] { run = [options] { return measures(*options); }; });
}

}  // namespace tool
