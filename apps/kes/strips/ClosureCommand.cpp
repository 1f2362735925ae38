// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/BandChoice.h"
#include "shared/Output.h"
#include "shared/StripSet.h"
#include "strips/Closure.h"

#include <sensor/kessensor.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <numeric>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  std::vector<std::string> bands;
  int grid = 50;
  bool json = false;
};

constexpr int allClose = 0;
constexpr int someDoNot = 1;

// Heights above the mean terrain, as parts of the flying height above it.
constexpr std::array<double, 4> heightParts{-0.05, 0.0, 0.05, 0.1};

// Largest, mean, and 95 % of a set of numbers; a number that isn't finite counts as infinite.
struct Spread {
  double max = 0.0;
  double mean = 0.0;
  double p95 = 0.0;

  explicit Spread(std::vector<double> values) {
    for (double& value : values) {
      value = std::isfinite(value) ? std::fabs(value) : HUGE_VAL;
    }
    std::sort(values.begin(), values.end());
    max = values.back();
    mean = std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
    p95 = values[static_cast<std::size_t>(0.95 * static_cast<double>(values.size() - 1))];
  }

  Json json() const { return {{"max", max}, {"mean", mean}, {"p95", p95}}; }
};

struct Closures {
  std::vector<geo::XYPoint> image;
  std::vector<geo::XYZPoint> ground;
  std::vector<double> samples;
  std::vector<double> lines;
  std::vector<double> metres;
  std::vector<double> passes;
  double seconds = 0.0;

  bool close() const {
    auto const closes = [](double value) { return std::fabs(value) <= closureTolerance; };
    return std::all_of(samples.begin(), samples.end(), closes) && std::all_of(lines.begin(), lines.end(), closes);
  }
};

// A grid over the whole image at each height, from the first to the last sample and line.
void project(sensor::KESStripModel const& strip, int band, int grid, Closures& closures) {
  double const lastSample = strip.imageWidth(band) - 1.0;
  double const lastLine = strip.imageHeight(band) - 1.0;
  double const terrain = strip.meanTerrainHeight();
  for (double const part : heightParts) {
    auto const height = static_cast<float>(terrain + part * (strip.meanFlyingHeight() - terrain));
    for (int i = 0; i < grid; ++i) {
      for (int j = 0; j < grid; ++j) {
        geo::XYPoint const image(lastSample * j / (grid - 1), lastLine * i / (grid - 1));
        geo::XYZPoint ground;
        strip.imageToLsr(image, height, band, ground);
        closures.image.push_back(image);
        closures.ground.push_back(ground);
      }
    }
  }
}

Closures closuresOf(sensor::KESStripModel const& strip, int band, int grid) {
  Closures closures;
  project(strip, band, grid, closures);
  std::vector<geo::XYPoint> solved(closures.ground.size());
  auto const start = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < solved.size(); ++i) {
    closures.passes.push_back(sensor::solveImage(strip, closures.ground[i], band, solved[i]));
  }
  closures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  for (std::size_t i = 0; i < solved.size(); ++i) {
    closures.samples.push_back(solved[i].x - closures.image[i].x);
    closures.lines.push_back(solved[i].y - closures.image[i].y);
    closures.metres.push_back(groundClosure(strip, band, solved[i], closures.ground[i]));
  }
  return closures;
}

Json describe(std::string const& bandId, Closures const& closures) {
  auto const points = static_cast<double>(closures.passes.size());
  return {{"id", bandId},
          {"points", closures.passes.size()},
          {"samples", Spread(closures.samples).json()},
          {"lines", Spread(closures.lines).json()},
          {"metres", Spread(closures.metres).json()},
          {"passes", Spread(closures.passes).json()},
          {"pointsPerSecond", std::round(points / std::max(closures.seconds, 1e-9))},
          {"closes", closures.close()}};
}

std::string cell(Json const& spread, char const* key, int decimals) {
  return spread[key].is_null() ? "inf" : fixed(spread[key].get<double>(), decimals);
}

void printText(Json const& strip) {
  std::cout << "strip: " << strip["name"].get<std::string>() << "\n\n";
  std::vector<std::vector<std::string>> rows{{"band", "points", "samples max", "mean", "95 %", "lines max", "mean",
                                              "95 %", "metres max", "mean", "95 %", "passes max", "mean", "points/s"}};
  for (Json const& band : strip["bands"]) {
    std::vector<std::string> row{band["id"].get<std::string>(), std::to_string(band["points"].get<int>())};
    for (char const* measure : {"samples", "lines", "metres"}) {
      for (char const* key : {"max", "mean", "p95"}) {
        row.push_back(cell(band[measure], key, 5));
      }
    }
    row.push_back(cell(band["passes"], "max", 0));
    row.push_back(cell(band["passes"], "mean", 2));
    row.push_back(fixed(band["pointsPerSecond"].get<double>(), 0));
    rows.push_back(row);
  }
  printTable(rows);
}

Json describe(sensor::KESStripModel const& strip, BandChoice& choice, int grid) {
  Json bands = Json::array();
  for (int const band : choice.of(strip)) {
    bands.push_back(describe(strip.bandID(band), closuresOf(strip, band, grid)));
  }
  return {{"name", strip.name()}, {"bands", bands}};
}

bool allBandsClose(Json const& strips) {
  return std::all_of(strips.begin(), strips.end(), [](Json const& strip) {
    return std::all_of(strip["bands"].begin(), strip["bands"].end(),
                       [](Json const& band) { return band["closes"].get<bool>(); });
  });
}

int closure(Options const& options) {
  options.strips.camera.apply();
  StripSet const set(options.strips.files);
  BandChoice choice(options.bands);
  Json strips = Json::array();
  set.forEach(false,
              [&](sensor::KESStripModel const& strip) { strips.push_back(describe(strip, choice, options.grid)); });
  choice.requireAll();
  if (options.json) {
    print(resultsOf(strips, set, {{"tolerance", closureTolerance}}));
  } else {
    printEach(strips, printText);
  }
  bool const close = allBandsClose(strips);
  if (!close) {
    std::cerr << "kes: points don't close within " << closureTolerance << " samples and lines\n";
  }
  return close ? allClose : someDoNot;
}

}  // namespace

void addClosure(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("closure", "Projects a grid of image points at several heights to the ground and back");
  options->strips.addTo(*command);
  command->add_option("--band", options->bands, "Band id; repeatable, all bands without it")
      ->type_name("ID")
      ->allow_extra_args(false);
  command->add_option("--grid", options->grid, "Points along and across an image")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(2, 2000));
  command->add_flag("--json", options->json, "As JSON");
  command->footer("Example: kes closure flight/strip.stp --calibrations flight/calibration --band PANF27A --grid 100\n"
                  "Exit code 1 when a point doesn't close.");
  command->callback([options, &run] { run = [options] { return closure(*options); }; });
}

}  // namespace tool
