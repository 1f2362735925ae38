// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Small versions of what `kessensor_adjustment_proof` measures: blocks with known errors, adjusted.

#include "FlownBlock.h"
#include "support/TempFolder.h"

#include <kesadjust/BlockAdjustment.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace {

using kesadjust::AdjustedPoint;
using kesadjust::BlockAdjustment;
using kesadjust::BlockAdjustmentOptions;
using kesadjust::BlockResult;
using kesadjust::ImageMeasurement;
using kesadjust::Measurements;
using kesadjust::ObservationState;
using kesadjust::PointRole;
using test::FlownBlock;
using test::NormalisedErrors;
using testing::Contains;

simulation::BlockPlan smallPlan(unsigned seed) {
  return FlownBlock::plan(2, 1, 4000.0, "tactical", seed);
}

TEST(BlockProof, StatesTheErrorsThatThereAre) {
  NormalisedErrors orientation;
  NormalisedErrors points;
  NormalisedErrors boresight;
  NormalisedErrors sigmaZero;
  NormalisedErrors withFewNodes;
  for (unsigned seed = 1; seed <= 2; ++seed) {
    FlownBlock const block(smallPlan(seed));
    BlockAdjustmentOptions options = FlownBlock::options("tactical");
    BlockAdjustment adjustment(block.strips(), block.measurements(), options);
    BlockResult const& result = adjustment.run();
    ASSERT_TRUE(result.objections.empty()) << "seed " << seed << ": " << result.objections.front();
    block.addRecordErrors(adjustment, orientation);
    block.addPointErrors(result, points);
    block.addBoresightErrors(result, boresight);
    sigmaZero.add(result.solution.sigmaZero, 1.0);
    options.nodeSpacing = 10.0;
    BlockAdjustment fewNodes(block.strips(), block.measurements(), options);
    withFewNodes.add(fewNodes.run().solution.sigmaZero, 1.0);
  }
  // Errors of one strip go together: these are far fewer independent ones than there are values.
  EXPECT_NEAR(orientation.rms(), 1.0, 0.25);
  EXPECT_NEAR(points.rms(), 1.0, 0.1);
  EXPECT_NEAR(boresight.rms(), 1.0, 0.5);
  // A chi-square of some 2000 degrees of freedom has a root that varies by 1.6 %.
  EXPECT_NEAR(sigmaZero.rms(), 1.0, 0.05);
  EXPECT_GT(withFewNodes.rms(), sigmaZero.rms() + 0.02);
}

TEST(BlockProof, IsTheSameWithGrossErrorsAsWithoutThem) {
  simulation::BlockPlan plan = smallPlan(1);
  plan.control = 8;
  plan.wrongControl = 1.0;
  plan.blunders = 5.0;
  FlownBlock const block(plan);
  BlockAdjustment adjustment(block.strips(), block.measurements(), FlownBlock::options("tactical"));
  BlockAdjustment reference(block.strips(), block.withoutErrors(), FlownBlock::options("tactical"));
  BlockResult const& result = adjustment.run();
  BlockResult const& expected = reference.run();
  for (AdjustedPoint const& point : result.points) {
    if (point.role == PointRole::control) {
      EXPECT_EQ(point.isUsed, point.id != block.wrongControl()) << point.id;
    }
  }
  EXPECT_THAT(result.warnings,
              Contains("control points that contradict all others, and were taken out: " + block.wrongControl()));
  std::size_t blunders = 0;
  std::size_t named = 0;
  for (kesadjust::AdjustedImagePoint const& point : result.imagePoints) {
    ImageMeasurement const& m = point.measurement;
    if (block.blunders().count({m.strip, m.band, m.point}) != 0) {
      ++blunders;
      named += point.state != ObservationState::used ? 1 : 0;
    }
  }
  EXPECT_GT(blunders, 20U);
  EXPECT_EQ(named, blunders);
  for (char const* name : {"boresight roll", "boresight pitch", "boresight heading"}) {
    kesadjust::AdjustedParameter const& other = test::parameterOf(expected, name);
    EXPECT_NEAR(test::parameterOf(result, name).value, other.value, 0.1 * other.sigma) << name;
  }
}

TEST(BlockProof, HoldsAFocalLengthOverLevelTerrainWithoutControl) {
  test::TempFolder const folder;
  simulation::BlockPlan plan = smallPlan(1);
  plan.flight.dem = FlownBlock::writeLevelTerrain(folder.path());
  FlownBlock const block(plan);
  Measurements measurements = block.measurements();
  measurements.ground.clear();
  BlockAdjustmentOptions options = FlownBlock::options("tactical");
  options.free.push_back({kesadjust::Quantity::focalLength, 1e-5});
  BlockAdjustment adjustment(block.strips(), measurements, options);
  kesadjust::AdjustedParameter const& focal = test::parameterOf(adjustment.run(), "focal length");
  EXPECT_TRUE(focal.isHeld);
  EXPECT_EQ(focal.value, 0.0);
  EXPECT_EQ(focal.sigma, 1e-5);
  EXPECT_EQ(focal.remedy, "strips of another flying height, or control points of very different heights");
}

TEST(BlockProof, NamesPartsThatNoPointConnects) {
  FlownBlock const block(smallPlan(1));
  Measurements apart = block.measurements();
  for (ImageMeasurement& point : apart.image) {
    point.point += point.strip == "Cross1" ? " across" : "";
  }
  BlockAdjustment adjustment(block.strips(), apart, FlownBlock::options("tactical"));
  EXPECT_THAT(adjustment.run().warnings,
              Contains("the block falls apart, as no point connects its parts: Cross1; Line1, Line2"));
}

}  // namespace
