// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ToyBlock.h"

#include <kesadjust/Adjustment.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using kesadjust::AdjustmentOptions;
using kesadjust::AdjustmentResult;
using kesadjust::ObservationState;
using kesadjust::RobustLoss;
using test::ToyBlock;
using test::ToySetting;

AdjustmentOptions plain() {
  AdjustmentOptions options;
  options.loss.kind = RobustLoss::Kind::squares;
  return options;
}

double varianceOf(AdjustmentResult const& result, std::size_t point, int axis) {
  constexpr std::array diagonal{0, 3, 5};
  return result.points[point].covariance[static_cast<std::size_t>(diagonal[static_cast<std::size_t>(axis)])];
}

/// Root mean squares of errors over their predicted standard deviations.
struct Normalised {
  double nodes = 0.0;
  double calibration = 0.0;
  double points = 0.0;
  std::array<std::size_t, 3> counts{};

  void add(ToyBlock const& block, AdjustmentResult const& result) {
    std::size_t const first = block.truth().parameters.size() - 6;  // three strips' times, boresight
    for (std::size_t i = 0; i < block.truth().parameters.size(); ++i) {
      double const error = (block.state().parameters[i] - block.truth().parameters[i]) / result.parameterSigmas[i];
      (i < first ? nodes : calibration) += error * error;
      ++counts[i < first ? 0 : 1];
    }
    for (std::size_t i = 0; i < block.truth().points.size(); ++i) {
      for (int axis = 0; axis < 3 && result.points[i].isDetermined; ++axis) {
        double const error = block.state().points[i](axis) - block.truth().points[i](axis);
        points += error * error / varianceOf(result, i, axis);
        ++counts[2];
      }
    }
  }
  static double rms(double sum, std::size_t count) { return std::sqrt(sum / static_cast<double>(count)); }
};

/// Parameters' differences over the standard deviations of the second result: the largest.
double largestDifference(ToyBlock const& a, ToyBlock const& b, AdjustmentResult const& resultOfB) {
  double largest = 0.0;
  for (std::size_t i = 0; i < a.state().parameters.size(); ++i) {
    largest =
        std::max(largest, std::abs(a.state().parameters[i] - b.state().parameters[i]) / resultOfB.parameterSigmas[i]);
  }
  return largest;
}

/// The observation of the coordinates of "C2".
std::size_t wrongObservation(ToyBlock const& block) {
  std::size_t i = 0;
  while (block.identity(i).kind != kesadjust::ObservationKind::ground ||
         block.pointName(block.identity(i).point) != "C2") {
    ++i;
  }
  return i;
}

struct WrongAndClean {
  ToyBlock block;
  ToyBlock clean;
};

/// Five control points, of which "C2" is 1 m too high; and the same block without errors.
WrongAndClean withWrongControl() {
  ToySetting setting;
  setting.controls = 5;
  setting.wrongControl = 1.0;
  ToySetting clean = setting;
  clean.withoutErrors = true;
  return {ToyBlock(setting), ToyBlock(clean)};
}

class TruthOfSigmas : public testing::TestWithParam<kesadjust::Spline::Degree> {};

TEST_P(TruthOfSigmas, HoldsOver200Blocks) {
  Normalised sums;
  double sigmaZero = 0.0;
  for (unsigned seed = 1; seed <= 200; ++seed) {
    ToySetting setting;
    setting.seed = seed;
    setting.degree = GetParam();
    ToyBlock block(setting);
    AdjustmentResult const result = adjust(block, plain());
    ASSERT_TRUE(result.hasConverged) << "seed " << seed;
    sigmaZero += result.sigmaZero * result.sigmaZero / 200.0;
    sums.add(block, result);
  }
  double const nodes = Normalised::rms(sums.nodes, sums.counts[0]);
  double const calibration = Normalised::rms(sums.calibration, sums.counts[1]);
  double const points = Normalised::rms(sums.points, sums.counts[2]);
  RecordProperty("nodes", std::to_string(nodes));
  RecordProperty("calibration", std::to_string(calibration));
  RecordProperty("points", std::to_string(points));
  EXPECT_NEAR(nodes, 1.0, 0.05);
  EXPECT_NEAR(calibration, 1.0, 0.05);
  EXPECT_NEAR(points, 1.0, 0.05);
  EXPECT_NEAR(std::sqrt(sigmaZero), 1.0, 0.02);
}

INSTANTIATE_TEST_SUITE_P(Splines, TruthOfSigmas,
                         testing::Values(kesadjust::Spline::Degree::linear, kesadjust::Spline::Degree::cubic));

TEST(ToyBlock, ConvergesInAFewIterations) {
  ToyBlock block({});
  AdjustmentResult const result = adjust(block, plain());
  EXPECT_TRUE(result.hasConverged);
  EXPECT_LE(result.iterations.size(), 6U);
  EXPECT_LT(result.iterations.back().decrease, 1e-6);
  for (auto const& iteration : result.iterations) {
    EXPECT_EQ(iteration.damping, 0.0);
    EXPECT_TRUE(iteration.isTaken);
  }
}

TEST(ToyBlock, FindsAndNamesAWrongControlPoint) {
  auto [block, clean] = withWrongControl();
  AdjustmentResult const expected = adjust(clean, plain());
  AdjustmentResult const result = adjust(block, plain());
  ASSERT_EQ(result.groundTests.size(), 5U);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(result.groundTests[i].name, "C" + std::to_string(i));
    EXPECT_EQ(result.groundTests[i].isUsed, i != 2) << i;
  }
  // Observed too high: adjusted minus observed, over the uncertainty of its prediction by all others and its own.
  std::size_t const point = static_cast<std::size_t>(result.groundTests[2].point);
  double const sigma = std::sqrt(varianceOf(expected, point, 2) + 0.03 * 0.03);
  double const observed =
      block.state().points[point].z() - result.observations[wrongObservation(block)].residuals[2] * 0.03;
  EXPECT_NEAR(result.groundTests[2].normalised[2], (clean.state().points[point].z() - observed) / sigma, 1e-3);
  EXPECT_LT(result.groundTests[2].normalised[2], -2.0 * AdjustmentOptions().criticalValue);
  EXPECT_EQ(result.observations[wrongObservation(block)].state, ObservationState::rejected);
  EXPECT_LT(largestDifference(block, clean, expected), 1e-2);
}

TEST(ToyBlock, NamesAWrongControlPointWhoseImagePointsSeemWrong) {
  // While gross errors of image points are looked for, all nine of the point's would be rejected: 1 m are 33 standard
  // deviations of its coordinates, and 10 pixels.
  auto [block, clean] = withWrongControl();
  AdjustmentResult const expected = adjust(clean);
  AdjustmentResult const result = adjust(block);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(result.groundTests[i].isUsed, i != 2) << i;
  }
  EXPECT_LT(result.groundTests[2].normalised[2], -2.0 * AdjustmentOptions().criticalValue);
  for (std::size_t i = 0; i < block.observationCount(); ++i) {
    bool const isWrong = i == wrongObservation(block);
    EXPECT_EQ(result.observations[i].state, isWrong ? ObservationState::rejected : ObservationState::used) << i;
  }
  EXPECT_LT(largestDifference(block, clean, expected), 1e-2);
}

TEST(ToyBlock, IsTheSameWithBlundersAsWithoutThem) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    ToySetting setting;
    setting.seed = seed;
    setting.pointSpacing = 80.0;
    setting.blunders = 0.05;
    // Two rays of one strip would meet at another height, and one ray checks nothing.
    setting.leastRays = 5;
    ToyBlock block(setting);
    setting.withoutErrors = true;
    ToyBlock clean(setting);
    AdjustmentResult const result = adjust(block);
    ASSERT_TRUE(result.hasConverged);
    ASSERT_GT(block.blunders().size(), 40U);
    for (std::size_t const i : block.blunders()) {
      // With two of a point's rays wrong, all of its others may be rejected, which leaves none that determine it.
      EXPECT_NE(result.observations[i].state, ObservationState::used) << "seed " << seed << ", observation " << i;
    }
    AdjustmentResult const expected = adjust(clean);
    EXPECT_LT(largestDifference(block, clean, expected), 0.1) << "seed " << seed;
  }
}

TEST(ToyBlock, HasTheSameBitsForAnyNumberOfThreadsAndOrderOfInput) {
  ToySetting setting;
  setting.pointSpacing = 80.0;
  setting.blunders = 0.05;
  ToyBlock reference(setting);
  AdjustmentResult const expected = adjust(reference);
  for (int const threads : {2, 3}) {
    ToyBlock block(setting);
    block.shuffle(static_cast<unsigned>(threads));
    AdjustmentOptions options;
    options.threads = threads;
    AdjustmentResult const result = adjust(block, options);
    EXPECT_EQ(block.state().parameters, reference.state().parameters);
    for (std::size_t i = 0; i < block.state().points.size(); ++i) {
      ASSERT_EQ(block.state().points[i], reference.state().points[i]) << i;
      ASSERT_EQ(result.points[i].covariance, expected.points[i].covariance) << i;
    }
    EXPECT_EQ(result.parameterSigmas, expected.parameterSigmas);
    EXPECT_EQ(result.sigmaZero, expected.sigmaZero);
    EXPECT_EQ(result.iterations.size(), expected.iterations.size());
  }
}

TEST(ToyBlock, HoldsWhatASingleStripDoesNotDetermine) {
  // Without control and without another strip at an angle, a roll of the boresight is a shift and a tilt of the block.
  ToySetting setting;
  setting.controls = 0;
  setting.crossStrips = 0;
  setting.position = {5.0, 1000.0};
  setting.attitude = {2e-3, 1000.0};
  ToyBlock block(setting);
  AdjustmentResult const result = adjust(block, plain());
  ASSERT_FALSE(result.held.empty());
  bool isNamed = false;
  for (auto const& held : result.held) {
    isNamed = isNamed || held.name == "boresight heading" || held.name == "boresight roll";
    EXPECT_GT(held.ratio, 0.8);
    EXPECT_FALSE(held.direction.empty());
    EXPECT_EQ(block.state().parameters[static_cast<std::size_t>(held.parameter)], 0.0) << held.name;
    bool const isTime = held.name.starts_with("time");
    EXPECT_EQ(result.parameterSigmas[static_cast<std::size_t>(held.parameter)], isTime ? 1e-3 : 5e-4);
  }
  EXPECT_TRUE(isNamed);
}

}  // namespace
