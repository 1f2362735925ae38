// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/StripSet.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <iostream>
#include <memory>
#include <numeric>
#include <optional>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  std::vector<std::string> bands;
  kes::Solver solver = kes::Solver::precise;
  int grid = 50;
  bool json = false;
};

constexpr int allClose = 0;
constexpr int someDoNot = 1;

/// Samples and lines. The library's forms stop within 0.05 lines; where the number of TDI stages changes, the image
/// itself steps by as much.
constexpr double tolerance = 0.1;

// Heights above the mean terrain, as parts of the flying height above it.
constexpr std::array<double, 4> heightParts{-0.05, 0.0, 0.05, 0.1};

/// Largest, mean, and 95 % of the magnitudes of numbers; a number that isn't finite counts as infinite.
struct Spread {
  double max = 0.0;
  double mean = 0.0;
  double p95 = 0.0;
};

Spread spreadOf(std::vector<double> values) {
  for (double& value : values) {
    value = std::isfinite(value) ? std::fabs(value) : HUGE_VAL;
  }
  std::sort(values.begin(), values.end());
  auto const count = static_cast<double>(values.size());
  return {values.back(), std::accumulate(values.begin(), values.end(), 0.0) / count,
          values[static_cast<std::size_t>(0.95 * (count - 1.0))]};
}

struct BandClosure {
  std::string id;
  std::size_t points;
  Spread samples;
  Spread lines;
  Spread metres;
  std::optional<Spread> passes;  ///< The library's forms for runs and in lanes don't state them.
  double pointsPerSecond;

  bool closes() const { return samples.max <= tolerance && lines.max <= tolerance; }
};

struct StripClosure {
  std::string name;
  std::vector<BandClosure> bands;
};

/// Points of an image, and where they lie on the ground.
struct Grid {
  std::vector<geo::XYPoint> image;
  std::vector<geo::XYZPoint> ground;
};

// The whole image at each height, from the first to the last sample and line.
Grid gridOf(kes::Strip const& strip, kes::Band const& band, Options const& options) {
  double const lastSample = band.samples() - 1.0;
  double const lastLine = band.lines() - 1.0;
  double const terrain = strip.meanTerrainHeight();
  std::vector<geo::XYPoint> image;
  for (int i = 0; i < options.grid; ++i) {
    for (int j = 0; j < options.grid; ++j) {
      image.emplace_back(lastSample * j / (options.grid - 1), lastLine * i / (options.grid - 1));
    }
  }
  Grid grid;
  std::vector<geo::XYZPoint> ground(image.size());
  std::vector<kes::Status> status(image.size());
  kes::ToGroundOptions toGround;
  toGround.solver = options.solver;
  for (double const part : heightParts) {
    toGround.heights = kes::ConstantHeight{terrain + part * (strip.meanFlyingHeight() - terrain)};
    band.toGround(image, toGround, ground, status);
    grid.image.insert(grid.image.end(), image.begin(), image.end());
    grid.ground.insert(grid.ground.end(), ground.begin(), ground.end());
  }
  return grid;
}

/// A grid brought back to the image.
struct Solution {
  std::vector<geo::XYPoint> image;
  std::vector<kes::Closure> closure;
  std::vector<int> passes;
  double seconds;
};

Solution solve(kes::Band const& band, Grid const& grid, kes::Solver solver) {
  std::size_t const count = grid.ground.size();
  Solution solution{std::vector<geo::XYPoint>(count), std::vector<kes::Closure>(count), std::vector<int>(count), 0.0};
  std::vector<kes::Status> status(count);
  kes::ToImageOptions toImage;
  toImage.solver = solver;
  auto const start = std::chrono::steady_clock::now();
  band.toImage(grid.ground, toImage, solution.image, status);
  solution.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  toImage.outputs.closure = solution.closure;
  toImage.outputs.passes = solution.passes;
  band.toImage(grid.ground, toImage, solution.image, status);
  return solution;
}

BandClosure closureOf(kes::Strip const& strip, kes::Band const& band, Options const& options) {
  Grid const grid = gridOf(strip, band, options);
  Solution const solution = solve(band, grid, options.solver);
  std::size_t const count = grid.image.size();
  std::vector<double> samples;
  std::vector<double> lines;
  std::vector<double> metres;
  for (std::size_t i = 0; i < count; ++i) {
    samples.push_back(solution.image[i].x - grid.image[i].x);
    lines.push_back(solution.image[i].y - grid.image[i].y);
    metres.push_back(solution.closure[i].metres);
  }
  BandClosure closure{band.id(), count, spreadOf(samples), spreadOf(lines), spreadOf(metres), {}, 0.0};
  if (options.solver == kes::Solver::precise || options.solver == kes::Solver::libraryPoint) {
    closure.passes = spreadOf({solution.passes.begin(), solution.passes.end()});
  }
  closure.pointsPerSecond = std::round(static_cast<double>(count) / std::max(solution.seconds, 1e-9));
  return closure;
}

StripClosure closureOf(kes::Strip const& strip, BandChoice& choice, Options const& options) {
  StripClosure closure{strip.name(), {}};
  for (kes::Band const& band : choice.of(strip)) {
    closure.bands.push_back(closureOf(strip, band, options));
  }
  return closure;
}

Json toJson(Spread const& spread) {
  return {{"max", spread.max}, {"mean", spread.mean}, {"p95", spread.p95}};
}

Json toJson(BandClosure const& band) {
  return {{"id", band.id},
          {"points", band.points},
          {"samples", toJson(band.samples)},
          {"lines", toJson(band.lines)},
          {"metres", toJson(band.metres)},
          {"passes", band.passes ? toJson(*band.passes) : Json()},
          {"pointsPerSecond", band.pointsPerSecond},
          {"closes", band.closes()}};
}

Json toJson(StripClosure const& strip) {
  return {{"name", strip.name}, {"bands", arrayOf(strip.bands)}};
}

void printText(StripClosure const& strip) {
  std::cout << "strip: " << strip.name << "\n\n";
  std::vector<std::vector<std::string>> rows{{"band", "points", "samples max", "mean", "95 %", "lines max", "mean",
                                              "95 %", "metres max", "mean", "95 %", "passes max", "mean", "points/s"}};
  for (BandClosure const& band : strip.bands) {
    std::vector<std::string> row{band.id, std::to_string(band.points)};
    for (Spread const* const spread : {&band.samples, &band.lines, &band.metres}) {
      row.insert(row.end(), {fixed(spread->max, 5), fixed(spread->mean, 5), fixed(spread->p95, 5)});
    }
    row.push_back(band.passes ? fixed(band.passes->max, 0) : "-");
    row.push_back(band.passes ? fixed(band.passes->mean, 2) : "-");
    row.push_back(fixed(band.pointsPerSecond, 0));
    rows.push_back(row);
  }
  printTable(rows);
}

bool allBandsClose(std::vector<StripClosure> const& strips) {
  return std::all_of(strips.begin(), strips.end(), [](StripClosure const& strip) {
    return std::all_of(strip.bands.begin(), strip.bands.end(), [](BandClosure const& band) { return band.closes(); });
  });
}

int closure(Options const& options) {
  StripSet const set(options.strips.files, options.strips.camera.opening());
  BandChoice choice(options.bands);
  std::vector<StripClosure> strips;
  set.forEach([&](kes::Strip const& strip, kes::Block const*) { strips.push_back(closureOf(strip, choice, options)); });
  choice.requireAll();
  if (options.json) {
    print(resultsOf(arrayOf(strips), set, {{"tolerance", tolerance}}));
  } else {
    printEach(strips);
  }
  bool const close = allBandsClose(strips);
  if (!close) {
    std::cerr << "kes: points don't close within " << tolerance << " samples and lines\n";
  }
  return close ? allClose : someDoNot;
}

}  // namespace

void addClosure(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("closure", "Projects a grid of image points at several heights to the ground and back");
  options->strips.addTo(*command);
  addRepeatable(*command, "--band", options->bands, "ID", "Band id; repeatable, all bands without it");
  addSolver(*command, options->solver);
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
