// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PlannedBlock.h"

#include "support/Matchers.h"

#include <kes/Block.h>
#include <simulation/Block.h>

#include <gtest/gtest.h>

#include <fstream>
#include <random>

namespace test {

namespace {

void removeAdjusted(std::string const& file) {
  std::string content = contents(file);
  std::size_t const start = content.find(" filename_adjusted=\"");
  ASSERT_NE(start, std::string::npos);
  std::size_t const value = content.find('"', start) + 1;
  content.erase(start, content.find('"', value) + 1 - start);
  std::ofstream(file) << content;
}

}  // namespace

PlannedBlock::PlannedBlock() {
  simulation::BlockPlan plan;
  plan.flight.dem = KESSENSOR_TERRAIN;
  plan.flight.samples = 1000;
  plan.flight.lines = 10000;
  plan.flight.height = 1500.0;
  plan.strips = 2;
  plan.crossStrips = 1;
  plan.points = 12;
  file = mFolder / "block/block.blf";
  simulation::simulateBlock(plan, mFolder / "block");
  for (char const* strip : {"Line1", "Line2", "Cross1"}) {
    removeAdjusted(mFolder / (std::string("block/") + strip + "/strip.stp"));
  }
  kes::StripOptions options;
  options.orientation = kes::Orientation::original;
  kes::Block const block(file, options);
  strips = block.strips();
  given = kesadjust::readMeasurements(block, strips, {}, {});
  planned = kesadjust::plannedMeasurements(*given, strips, {2.0, 3}, {});
}

PlannedBlock const& PlannedBlock::shared() {
  static PlannedBlock const block;
  return block;
}

kesadjust::Measurements noisy(kesadjust::Measurements measurements) {
  std::mt19937 random(7);
  std::normal_distribution<double> normal(0.0, 0.3);
  for (kesadjust::ImageMeasurement& point : measurements.image) {
    point.position.x += normal(random);
    point.position.y += normal(random);
  }
  return measurements;
}

kesadjust::BlockAdjustmentOptions tactical() {
  kesadjust::BlockAdjustmentOptions options;
  options.navigation = "tactical";
  return options;
}

}  // namespace test
