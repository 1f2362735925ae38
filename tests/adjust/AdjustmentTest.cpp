// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LinearProblem.h"

#include <kesadjust/Adjustment.h>

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace {

using kesadjust::AdjustmentOptions;
using kesadjust::AdjustmentResult;
using kesadjust::BlockKind;
using kesadjust::ObservationKind;
using kesadjust::ObservationState;
using kesadjust::RobustLoss;
using test::LinearProblem;

constexpr double infinite = std::numeric_limits<double>::infinity();

AdjustmentOptions plain() {
  AdjustmentOptions options;
  options.loss.kind = RobustLoss::Kind::squares;
  return options;
}

/// A problem without points: calibration parameters, and observations of linear combinations of them.
class Combinations : public LinearProblem {
public:
  explicit Combinations(std::vector<double> const& sigmas) {
    kesadjust::ParameterBlock block{BlockKind::calibration, -1, {}, sigmas};
    for (std::size_t i = 0; i < sigmas.size(); ++i) {
      block.names.emplace_back(1, static_cast<char>('a' + i));
    }
    mBlocks.push_back(block);
    mState = Eigen::VectorXd::Zero(static_cast<Eigen::Index>(sigmas.size()));
  }
  /// `factors` times the parameters were observed as `value`.
  void observe(std::vector<double> const& factors, double value, double sigma = 1.0,
               ObservationKind kind = ObservationKind::image) {
    Observation observation;
    observation.identity = {kind, kesadjust::noPoint, 0, 0, static_cast<double>(mObservations.size()), 0.0};
    observation.row.rows = 1;
    observation.row.residuals = {-value / sigma, 0.0, 0.0};
    observation.row.parts.resize(1);
    for (std::size_t i = 0; i < factors.size(); ++i) {
      observation.row.parts[0].jacobian[i] = factors[i] / sigma;
    }
    mObservations.push_back(observation);
  }
};

/// One calibration parameter without a prior, and one residual of it.
class OneParameter : public LinearProblem {
public:
  struct Value {
    double residual;
    double derivative;
  };
  OneParameter(double start, std::function<Value(double)> function) : mFunction(std::move(function)) {
    mBlocks.push_back({BlockKind::calibration, -1, {"x"}, {infinite}});
    mState = Eigen::VectorXd::Constant(1, start);
    mObservations.resize(1);
    mObservations[0].identity.point = kesadjust::noPoint;
  }
  void linearise(std::size_t, kesadjust::LinearisedObservation& result) const override {
    auto const [residual, derivative] = mFunction(mState(0));
    result.rows = 1;
    result.residuals[0] = residual;
    result.parts.resize(1);
    result.parts[0].jacobian[0] = derivative;
  }

private:
  std::function<Value(double)> mFunction;
};

TEST(Adjustment, OfEqualObservationsIsTheirMean) {
  Combinations problem({infinite});
  for (double const value : {1.0, 2.0, 4.0, 5.0}) {
    problem.observe({1.0}, value, 2.0);
  }
  AdjustmentResult const result = adjust(problem, plain());
  EXPECT_TRUE(result.hasConverged);
  EXPECT_NEAR(problem.mState(0), 3.0, 1e-14);
  EXPECT_NEAR(result.parameterSigmas[0], 2.0 / std::sqrt(4.0), 1e-15);
  EXPECT_EQ(result.redundancy, 3);
  // (4 + 1 + 1 + 4) / 2^2, over three
  EXPECT_NEAR(result.cost, 2.5, 1e-14);
  EXPECT_NEAR(result.sigmaZero, std::sqrt(2.5 / 3.0), 1e-15);
  EXPECT_NEAR(result.observations[0].residuals[0], 1.0, 1e-14);
  EXPECT_EQ(result.observations[0].rows, 1);
  EXPECT_EQ(result.observations[0].state, ObservationState::used);
}

TEST(Adjustment, WeighsPriorsAgainstObservations) {
  Combinations problem({0.5});
  problem.observe({1.0}, 2.0, 0.25);
  AdjustmentResult const result = adjust(problem, plain());
  // Weights 4 and 16.
  EXPECT_NEAR(problem.mState(0), 16.0 * 2.0 / 20.0, 1e-15);
  EXPECT_NEAR(result.parameterSigmas[0], 1.0 / std::sqrt(20.0), 1e-15);
  EXPECT_EQ(result.redundancy, 1);
  EXPECT_NEAR(result.cost, 16.0 * 0.4 * 0.4 + 4.0 * 1.6 * 1.6, 1e-13);
}

TEST(Adjustment, WithoutRedundancyHasNoVarianceFactor) {
  Combinations problem({infinite});
  problem.observe({1.0}, 2.0);
  AdjustmentResult const result = adjust(problem, plain());
  EXPECT_EQ(result.redundancy, 0);
  EXPECT_TRUE(std::isnan(result.sigmaZero));
}

TEST(Adjustment, SolvesALinearProblemInOneStep) {
  LinearProblem problem = test::randomProblem(21);
  Eigen::MatrixXd const inverse = problem.denseNormals().inverse();
  Eigen::VectorXd const expected = -inverse * problem.denseGradient();
  AdjustmentOptions options = plain();
  options.criticalValue = infinite;
  options.heldAbove = infinite;
  AdjustmentResult const result = adjust(problem, options);
  EXPECT_TRUE(result.hasConverged);
  ASSERT_EQ(result.iterations.size(), 2U);
  // What the first step promises, the second finds.
  EXPECT_NEAR(result.iterations[0].decrease, result.iterations[0].cost - result.iterations[1].cost, 1e-9);
  EXPECT_LT((problem.mState - expected).cwiseAbs().maxCoeff(), 1e-12);
  for (int i = 0; i < problem.parameterCount(); ++i) {
    EXPECT_NEAR(result.parameterSigmas[static_cast<std::size_t>(i)], std::sqrt(inverse(i, i)), 1e-14);
  }
  // 40 * 12 + 12 + 1 residuals, and priors of all but the two free parameters, for all parameters and 40 points.
  EXPECT_EQ(result.redundancy, 493 - 2 - 120);
  int const point = problem.parameterCount() + 3 * 11;
  auto const& c = result.points[11].covariance;
  EXPECT_NEAR(c[1], inverse(point, point + 1), 1e-14);
  EXPECT_NEAR(c[4], inverse(point + 1, point + 2), 1e-14);
  std::array<double, 18> block{};
  ASSERT_TRUE(result.covariances->between(16, 2, block));  // boresight by a node
  EXPECT_NEAR(block[6 * 2 + 5], inverse(problem.offset(16) + 2, problem.offset(2) + 5), 1e-14);
  ASSERT_EQ(result.islands.size(), 1U);
  EXPECT_EQ(result.islands[0].strips, (std::vector<int>{0, 1}));
  EXPECT_EQ(result.islands[0].points.size(), 40U);
}

TEST(Adjustment, DampsStepsThatLeadTooFar) {
  // From 3 on, undamped steps for atan x = 0 run away: the first one leads to 3 - 10 atan 3 = -9.5.
  OneParameter problem(3.0, [](double x) -> OneParameter::Value { return {std::atan(x), 1.0 / (1.0 + x * x)}; });
  AdjustmentResult const result = adjust(problem, plain());
  EXPECT_TRUE(result.hasConverged);
  EXPECT_NEAR(problem.mState(0), 0.0, 1e-3);
  EXPECT_FALSE(result.iterations[0].isTaken);
  EXPECT_EQ(result.iterations[1].damping, 1e-4);
  EXPECT_EQ(result.iterations[1].cost, result.iterations[0].cost);
  EXPECT_EQ(result.iterations.back().damping, 0.0);
}

TEST(Adjustment, GoesBackFromAStateWithoutValues) {
  // An undamped step for log x = 0 from 5 leads to 5 - 5 log 5 = -3.
  OneParameter problem(5.0, [](double x) -> OneParameter::Value { return {std::log(x), 1.0 / x}; });
  AdjustmentResult const result = adjust(problem, plain());
  EXPECT_TRUE(result.hasConverged);
  EXPECT_NEAR(problem.mState(0), 1.0, 1e-3);
  EXPECT_FALSE(result.iterations[0].isTaken);
}

TEST(Adjustment, SaysWhenItDidNotConverge) {
  OneParameter problem(3.0, [](double x) -> OneParameter::Value { return {std::atan(x), 1.0 / (1.0 + x * x)}; });
  AdjustmentOptions options = plain();
  options.maxIterations = 2;
  EXPECT_FALSE(adjust(problem, options).hasConverged);
}

TEST(Adjustment, TakesOutGrossErrorsAndTakesBackWhatFitsWithoutThem) {
  // With five gross errors, twelve zeros and one -3.2, the estimate m of Huber's loss has 12 m + 2.5 = 5 * 2.5: it is
  // 0.83, too far from -3.2. Without gross errors the mean is -3.2 / 13 = -0.25.
  Combinations problem({infinite});
  for (int i = 0; i < 12; ++i) {
    problem.observe({1.0}, 0.0);
  }
  problem.observe({1.0}, -3.2);
  for (int i = 0; i < 5; ++i) {
    problem.observe({1.0}, 1000.0 + i);
  }
  AdjustmentOptions options;
  options.loss = {RobustLoss::Kind::huber, 2.5};
  options.rejection = 3.5;
  AdjustmentResult const result = adjust(problem, options);
  EXPECT_NEAR(problem.mState(0), -3.2 / 13.0, 1e-12);
  EXPECT_EQ(result.observations[12].state, ObservationState::used);
  for (std::size_t i = 13; i < 18; ++i) {
    EXPECT_EQ(result.observations[i].state, ObservationState::rejected);
  }
  EXPECT_EQ(result.redundancy, 12);
  // The robust estimate came first, with its least cost.
  double const m = 10.0 / 12.0;
  double cost = 12.0 * m * m + 5.0 * (m + 3.2) - 6.25;
  for (int i = 0; i < 5; ++i) {
    cost += 5.0 * (1000.0 + i - m) - 6.25;
  }
  auto const robust = std::find_if(result.iterations.begin(), result.iterations.end(),
                                   [&](auto const& iteration) { return iteration.decrease <= 1e-6 * cost; });
  ASSERT_NE(robust, result.iterations.end());
  EXPECT_NEAR(robust->cost, cost, 0.05);
}

TEST(Adjustment, DoesNotReweightOtherObservations) {
  Combinations problem({infinite});
  for (double const value : {0.0, 0.0, 30.0}) {
    problem.observe({1.0}, value, 1.0, ObservationKind::other);
  }
  AdjustmentResult const result = adjust(problem, {});
  EXPECT_NEAR(problem.mState(0), 10.0, 1e-12);
  EXPECT_EQ(result.observations[2].state, ObservationState::used);
}

TEST(Adjustment, HoldsAParameterThatNothingSees) {
  Combinations problem({infinite, infinite});
  problem.observe({1.0, 0.0}, 2.0);
  problem.mState(1) = 0.0;
  AdjustmentResult const result = adjust(problem, plain());
  ASSERT_EQ(result.held.size(), 1U);
  EXPECT_EQ(result.held[0].name, "b");
  EXPECT_EQ(result.held[0].parameter, 1);
  EXPECT_EQ(result.held[0].ratio, infinite);
  EXPECT_EQ(problem.mState(0), 2.0);
  EXPECT_EQ(problem.mState(1), 0.0);
  EXPECT_EQ(result.parameterSigmas[0], 1.0);
  EXPECT_EQ(result.parameterSigmas[1], infinite);
  EXPECT_EQ(result.redundancy, 0);
}

TEST(Adjustment, HoldsAParameterThatThePriorDetermines) {
  // a is known to 1 before, and to 1 / sqrt(1 + 0.5) = 0.82 after the observation; b to 0.1.
  Combinations problem({1.0, 1.0});
  problem.observe({1.0, 0.0}, 3.0, std::sqrt(2.0));
  problem.observe({0.0, 1.0}, 2.0, 0.1);
  AdjustmentResult const result = adjust(problem, plain());
  ASSERT_EQ(result.held.size(), 1U);
  EXPECT_EQ(result.held[0].name, "a");
  EXPECT_NEAR(result.held[0].ratio, 1.0 / std::sqrt(1.5), 1e-15);
  EXPECT_EQ(result.held[0].direction, std::vector<std::string>{"a"});
  // Two observations and b's prior for b.
  EXPECT_EQ(result.redundancy, 2);
  EXPECT_EQ(problem.mState(0), 0.0);
  EXPECT_NEAR(problem.mState(1), 200.0 / 101.0, 1e-14);
  EXPECT_EQ(result.parameterSigmas[0], 1.0);
}

TEST(Adjustment, HoldsOneOfTwoParametersThatOnlyTheirSumDetermines) {
  // Each is known to 0.71 after the observation, but their difference to 1, as before.
  Combinations problem({1.0, 1.0});
  problem.observe({1.0, 1.0}, 3.0, 0.1);
  AdjustmentResult const result = adjust(problem, plain());
  ASSERT_EQ(result.held.size(), 1U);
  EXPECT_NEAR(result.held[0].ratio, 1.0, 1e-14);
  EXPECT_EQ(result.held[0].direction.size(), 2U);
  int const held = result.held[0].parameter;
  EXPECT_EQ(problem.mState(held), 0.0);
  EXPECT_NEAR(problem.mState(1 - held), 300.0 / 101.0, 1e-13);
  // The other one carries the uncertainty of what is held: it follows it by -100 / 101.
  double const follows = 100.0 / 101.0;
  EXPECT_NEAR(result.parameterSigmas[static_cast<std::size_t>(1 - held)], std::sqrt(1.0 / 101.0 + follows * follows),
              1e-14);
}

TEST(Adjustment, HoldsOneOfTwoFreeParametersThatOnlyTheirSumDetermines) {
  Combinations problem({infinite, infinite});
  problem.observe({1.0, 1.0}, 3.0);
  problem.observe({1.0, 1.0 + 1e-5}, 3.0);
  AdjustmentResult const result = adjust(problem, plain());
  ASSERT_EQ(result.held.size(), 1U);
  EXPECT_EQ(result.held[0].ratio, infinite);
  EXPECT_EQ(result.held[0].direction.size(), 2U);
  int const held = result.held[0].parameter;
  EXPECT_EQ(problem.mState(held), 0.0);
  EXPECT_NEAR(problem.mState(1 - held), 3.0, 1e-4);
}

TEST(Adjustment, FailsWhenNothingDeterminesANode) {
  Combinations problem({infinite});
  problem.mBlocks[0].kind = BlockKind::node;
  problem.mBlocks[0].names[0] = "heading of strip 3 at 40 s";
  try {
    static_cast<void>(adjust(problem, plain()));
    FAIL() << "no exception";
  } catch (std::runtime_error const& error) {
    EXPECT_STREQ(error.what(), "Nothing determines heading of strip 3 at 40 s");
  }
}

/// Two points whose coordinates are observed twice: as ground points with sigma 0.3 and by other means with sigma 0.4.
LinearProblem twoGroundPoints(double errorOfB) {
  LinearProblem problem;
  problem.mPointNames = {"B", "A", "C"};
  for (int point = 0; point < 3; ++point) {
    for (bool const isGround : {true, false}) {
      if (point == 2 && !isGround) {
        continue;
      }
      double const sigma = isGround ? 0.3 : 0.4;
      LinearProblem::Observation observation;
      observation.identity = {isGround ? ObservationKind::ground : ObservationKind::other, point, -1, 0, 0.0, 0.0};
      observation.row.rows = 3;
      for (std::size_t k = 0; k < 3; ++k) {
        observation.row.pointJacobian[4 * k] = 1.0 / sigma;
      }
      observation.row.residuals[1] = isGround && point == 0 ? -errorOfB / sigma : 0.0;
      observation.row.residuals[2] = isGround && point == 1 ? -1.0 / sigma : 0.0;
      problem.mObservations.push_back(observation);
    }
  }
  problem.mState = Eigen::VectorXd::Zero(9);
  return problem;
}

TEST(Adjustment, TestsGroundPointsByTheirNormalisedResiduals) {
  LinearProblem problem = twoGroundPoints(1.5);
  AdjustmentResult const result = adjust(problem, plain());
  ASSERT_EQ(result.groundTests.size(), 3U);
  // The difference of two observations over its standard deviation, sqrt(0.3^2 + 0.4^2) = 0.5.
  EXPECT_EQ(result.groundTests[0].name, "A");
  EXPECT_EQ(result.groundTests[0].point, 1);
  EXPECT_NEAR(result.groundTests[0].normalised[2], -1.0 / 0.5, 1e-13);
  EXPECT_EQ(result.groundTests[1].name, "B");
  EXPECT_NEAR(result.groundTests[1].normalised[1], -1.5 / 0.5, 1e-13);
  EXPECT_NEAR(result.groundTests[1].largest, 3.0, 1e-13);
  // Nothing checks the third one.
  EXPECT_EQ(result.groundTests[2].largest, 0.0);
  for (auto const& test : result.groundTests) {
    EXPECT_TRUE(test.isUsed);
  }
}

TEST(Adjustment, TakesOutAGroundPointAboveTheCriticalValue) {
  LinearProblem problem = twoGroundPoints(1.7);
  AdjustmentResult const result = adjust(problem, plain());
  EXPECT_TRUE(result.groundTests[0].isUsed);
  EXPECT_FALSE(result.groundTests[1].isUsed);
  // Its prediction has 0.4, the observation 0.3: the same value as while it counted.
  EXPECT_NEAR(result.groundTests[1].normalised[1], -1.7 / 0.5, 1e-13);
  EXPECT_EQ(result.observations[0].state, ObservationState::rejected);
  EXPECT_EQ(problem.mState(1), 0.0);
  EXPECT_NEAR(result.points[0].covariance[0], 0.16, 1e-15);
}

TEST(Adjustment, RefusesALossWithoutScale) {
  Combinations problem({infinite});
  AdjustmentOptions options;
  options.loss.scale = 0.0;
  try {
    static_cast<void>(adjust(problem, options));
    FAIL() << "no exception";
  } catch (std::invalid_argument const& error) {
    EXPECT_STREQ(error.what(), "The scale of a robust loss must be positive");
  }
}

TEST(RobustLoss, HasTheWeightsOfItsCost) {
  for (auto const kind : {RobustLoss::Kind::squares, RobustLoss::Kind::huber, RobustLoss::Kind::cauchy}) {
    RobustLoss const loss{kind, 2.0};
    for (double const squared : {0.0, 0.5, 3.9, 4.1, 30.0, 1e4}) {
      double const h = 1e-5 * (1.0 + squared);
      EXPECT_NEAR(loss.weight(squared + h), (loss.cost(squared + 2.0 * h) - loss.cost(squared)) / (2.0 * h), 1e-6);
    }
    EXPECT_EQ(loss.cost(0.0), 0.0);
    EXPECT_EQ(loss.weight(0.0), 1.0);
  }
  // Huber: 2 k s - k^2; Cauchy: k^2 log(1 + s^2 / k^2).
  EXPECT_DOUBLE_EQ((RobustLoss{RobustLoss::Kind::huber, 2.0}.cost(25.0)), 2.0 * 2.0 * 5.0 - 4.0);
  EXPECT_DOUBLE_EQ((RobustLoss{RobustLoss::Kind::cauchy, 2.0}.cost(12.0)), 4.0 * std::log(4.0));
}

}  // namespace
