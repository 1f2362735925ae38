// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "strips/Closure.h"

#include <kes/Strip.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <numeric>
#include <vector>

namespace tool {

namespace {

// Heights above the mean terrain, as parts of the flying height above it.
constexpr std::array<double, 4> heightParts{-0.05, 0.0, 0.05, 0.1};

Spread spreadOf(std::vector<double> values) {
  for (double& value : values) {
    value = std::isfinite(value) ? std::fabs(value) : HUGE_VAL;
  }
  std::sort(values.begin(), values.end());
  auto const count = static_cast<double>(values.size());
  return {values.back(), std::accumulate(values.begin(), values.end(), 0.0) / count,
          values[static_cast<std::size_t>(0.95 * (count - 1.0))]};
}

/// Points of an image, and where they lie on the ground.
struct Grid {
  std::vector<geo::XYPoint> image;
  std::vector<geo::XYZPoint> ground;
};

// The whole image at each height, from the first to the last sample and line.
Grid gridOf(kes::Strip const& strip, kes::Band const& band, ClosureGrid const& options) {
  double const lastSample = band.samples() - 1.0;
  double const lastLine = band.lines() - 1.0;
  double const terrain = strip.meanTerrainHeight();
  std::vector<geo::XYPoint> image;
  for (int i = 0; i < options.points; ++i) {
    for (int j = 0; j < options.points; ++j) {
      image.emplace_back(lastSample * j / (options.points - 1), lastLine * i / (options.points - 1));
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

Json toJson(Spread const& spread) {
  return {{"max", spread.max}, {"mean", spread.mean}, {"p95", spread.p95}};
}

}  // namespace

BandClosure closureOf(kes::Strip const& strip, kes::Band const& band, ClosureGrid const& options) {
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

}  // namespace tool
