// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/TempFolder.h"

#include <kes/Block.h>
#include <kesadjust/BlockAdjustment.h>
#include <simulation/Block.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

// The standard deviations of adjusted records, against flights that are known.

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr int seeds = 4;
constexpr std::size_t eachSecondSecond = 400;  // records of 200 a second

/// Sums over records of squared errors in units of their standard deviations: x, y, z, omega, phi, kappa.
struct Sums {
  std::array<double, 6> squares{};
  int count = 0;

  void add(kesadjust::AdjustedRecord const& record, kes::TrajectoryPoint const& truth) {
    auto const& [x, y, z] = record.position;
    auto const& [omega, phi, kappa] = record.attitude;
    std::array<double, 6> const errors{
        x - truth.position.x,         y - truth.position.y,     z - truth.position.z,
        omega - truth.attitude.omega, phi - truth.attitude.phi, std::remainder(kappa - truth.attitude.kappa, 2.0 * pi)};
    std::array<double, 6> const sigmas{record.sigma.position.x,   record.sigma.position.y,
                                       record.sigma.position.z,   record.sigma.attitude.omega,
                                       record.sigma.attitude.phi, record.sigma.attitude.kappa};
    for (std::size_t i = 0; i < errors.size(); ++i) {
      squares[i] += (errors[i] / sigmas[i]) * (errors[i] / sigmas[i]);
    }
    ++count;
  }
};

simulation::BlockPlan planOf(int seed) {
  simulation::BlockPlan plan;
  plan.flight.dem = KESSENSOR_TERRAIN;
  plan.flight.seed = static_cast<std::uint64_t>(seed);
  plan.flight.samples = 800;
  plan.flight.lines = 8000;
  plan.flight.errors.emplace();
  plan.flight.errors->navigation = "tactical";
  plan.strips = 2;
  plan.crossStrips = 1;
  plan.overlap = 50.0;
  plan.control = 6;
  plan.check = 1;
  plan.ties = 3.0;
  return plan;
}

void addBlock(int seed, Sums& sums) {
  test::TempFolder const folder;
  simulation::simulateBlock(planOf(seed), folder / "block");
  kes::StripOptions options;
  options.orientation = kes::Orientation::original;
  options.calibrations = {folder / "block/calibration"};
  kes::Block const block(folder / "block/block.blf", options);
  std::vector<kes::Strip> const strips = block.strips();
  kesadjust::BlockAdjustmentOptions settings;
  settings.navigation = "tactical";
  settings.free.clear();
  settings.nodeSpacing = 3.0;  // seconds; the errors change little in between
  kesadjust::BlockAdjustment adjustment(strips, kesadjust::readMeasurements(block, strips, {}, {}), settings);
  adjustment.run();
  for (kes::Strip const& strip : strips) {
    kes::Strip const known(folder / ("block/" + strip.name() + "/truth/strip.stp"), options);
    kes::Trajectory const truth = known.trajectory();
    std::vector<kesadjust::AdjustedRecord> const records = adjustment.orientation(strip.name());
    for (std::size_t i = 0; i < records.size(); i += eachSecondSecond) {
      if (auto const point = truth.at(records[i].time)) {
        sums.add(records[i], *point);
      }
    }
  }
}

TEST(AdjustedRecords, ErrAsMuchAsTheirStandardDeviationsSay) {
  Sums sums;
  for (int seed = 1; seed <= seeds; ++seed) {
    addBlock(seed, sums);
  }
  auto const rms = [&](std::size_t first) {
    double const sum = sums.squares[first] + sums.squares[first + 1] + sums.squares[first + 2];
    return std::sqrt(sum / (3.0 * sums.count));
  };
  for (std::size_t const first : {0U, 3U}) {
    EXPECT_GT(rms(first), 0.8) << first;
    EXPECT_LT(rms(first), 1.2) << first;
  }
}

}  // namespace
