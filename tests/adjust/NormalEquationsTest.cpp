// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "NormalEquations.h"

#include "LinearProblem.h"

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

using kesadjust::NormalEquations;
using kesadjust::ObservationGroups;
using kesadjust::Unknowns;
using test::LinearProblem;

/// The normal equations of a problem, summed at its state.
struct Summed {
  explicit Summed(LinearProblem const& problem, int threads = 1)
      : unknowns(problem.blocks()), groups(problem), isActive(problem.observationCount(), 1),
        equations(problem, groups, unknowns, threads) {
    equations.assemble(weighting());
  }
  kesadjust::Weighting weighting() const { return {{}, isActive}; }
  Eigen::MatrixXd dense() const {
    Eigen::MatrixXd result = Eigen::MatrixXd::Zero(unknowns.size(), unknowns.size());
    for (auto const& key : equations.matrix().keys()) {
      auto const block = equations.matrix().view(key);
      result.block(unknowns.offset(key.row), unknowns.offset(key.column), block.rows(), block.cols()) = block;
      result.block(unknowns.offset(key.column), unknowns.offset(key.row), block.cols(), block.rows()) =
          block.transpose();
    }
    return result;
  }

  Unknowns unknowns;
  ObservationGroups groups;
  std::vector<char> isActive;
  NormalEquations equations;
};

TEST(NormalEquations, AreTheSchurComplementOfAllUnknownsByTheirPoints) {
  LinearProblem const problem = test::randomProblem(1);
  Summed const summed(problem);
  Eigen::Index const parameters = problem.parameterCount();
  Eigen::Index const points = 3 * problem.pointCount();
  Eigen::MatrixXd const normals = problem.denseNormals();
  Eigen::VectorXd const gradient = problem.denseGradient();
  Eigen::MatrixXd const w = normals.topRightCorner(parameters, points);
  Eigen::MatrixXd const inverse = normals.bottomRightCorner(points, points).inverse();
  Eigen::MatrixXd const expected = normals.topLeftCorner(parameters, parameters) - w * inverse * w.transpose();
  Eigen::VectorXd const expectedGradient = gradient.head(parameters) - w * inverse * gradient.tail(points);
  EXPECT_LT((summed.dense() - expected).cwiseAbs().maxCoeff(), 1e-11);
  Eigen::Map<Eigen::VectorXd const> const actual(summed.equations.gradient().data(), parameters);
  EXPECT_LT((actual - expectedGradient).cwiseAbs().maxCoeff(), 1e-11);
  EXPECT_NEAR(summed.equations.pointDecrease(), gradient.tail(points).dot(inverse * gradient.tail(points)), 1e-10);
  // 40 points of six rays of two residuals, four ground points of three, one residual without a point.
  EXPECT_EQ(summed.equations.rows(), 40U * 6U * 2U + 4U * 3U + 1U);
}

TEST(NormalEquations, GiveThePriorsToTheGradientAndTheCost) {
  LinearProblem problem = test::randomProblem(2);
  double const before = Summed(problem).equations.cost();
  // The first strip's second node alone, and one constant; the residuals change with them.
  problem.mObservations.clear();
  Summed const none(problem);
  EXPECT_EQ(none.equations.cost(), 0.0);
  problem.mState(6) = 2.0;
  problem.mState(0) = 1.0;
  int const offset = problem.offset(14);
  problem.mState(offset) = 0.25;
  Summed const moved(problem);
  // 3 x0^2 + 3 x6^2 - 2 * 1.2 x0 x6, and (0.25 / 0.5)^2
  EXPECT_NEAR(moved.equations.cost(), 3.0 + 12.0 - 4.8 + 0.25, 1e-14);
  EXPECT_NEAR(moved.equations.gradient()[0], 3.0 - 2.4, 1e-15);
  EXPECT_NEAR(moved.equations.gradient()[6], 6.0 - 1.2, 1e-15);
  EXPECT_NEAR(moved.equations.gradient()[12], -2.4, 1e-15);
  EXPECT_NEAR(moved.equations.gradient()[static_cast<std::size_t>(offset)], 1.0, 1e-15);
  EXPECT_GT(before, 0.0);
}

TEST(NormalEquations, HaveTheStepsAndCovariancesOfAllUnknowns) {
  LinearProblem const problem = test::randomProblem(3);
  Summed const summed(problem);
  kesadjust::SparseFactor const factor(summed.equations.matrix());
  std::vector<double> right = summed.equations.gradient();
  for (double& value : right) {
    value = -value;
  }
  std::vector<double> const step = factor.solve(right);
  std::vector<double> const points = summed.equations.pointSteps(summed.weighting(), step);
  Eigen::MatrixXd const inverse = problem.denseNormals().inverse();
  Eigen::VectorXd const expected = -inverse * problem.denseGradient();
  Eigen::Index const parameters = problem.parameterCount();
  for (Eigen::Index i = 0; i < parameters; ++i) {
    EXPECT_NEAR(step[static_cast<std::size_t>(i)], expected(i), 1e-12);
  }
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_NEAR(points[i], expected(parameters + static_cast<Eigen::Index>(i)), 1e-12);
  }
  kesadjust::SelectedInverse const selected(factor);
  std::vector<char> isAsked(40, 1);
  isAsked[7] = 0;
  auto const covariances = summed.equations.pointCovariances(summed.weighting(), selected, isAsked);
  for (int point = 0; point < 40; ++point) {
    Eigen::Matrix3d const block = inverse.block<3, 3>(parameters + 3 * point, parameters + 3 * point);
    Eigen::Matrix3d const wanted = point == 7 ? Eigen::Matrix3d::Zero() : block;
    EXPECT_LT((covariances[static_cast<std::size_t>(point)] - wanted).cwiseAbs().maxCoeff(), 1e-13) << point;
  }
}

TEST(NormalEquations, HaveTheSameBitsForAnyNumberOfThreadsAndOrderOfInput) {
  LinearProblem problem = test::randomProblem(4);
  // Enough points for several chunks.
  LinearProblem const more = test::randomProblem(5);
  for (int copy = 0; copy < 12; ++copy) {
    for (auto observation : more.mObservations) {
      if (observation.identity.point != kesadjust::noPoint) {
        observation.identity.point += 40 * (copy + 1);
        observation.identity.line += 1000.0 * copy;
        problem.mObservations.push_back(observation);
      }
    }
    for (std::string const& name : more.mPointNames) {
      problem.mPointNames.push_back(name + "_" + std::to_string(copy));
    }
  }
  problem.mState = Eigen::VectorXd::Zero(problem.parameterCount() + 3 * problem.pointCount());
  Summed const reference(problem);
  for (int const threads : {1, 2, 3}) {
    LinearProblem const other = test::shuffled(problem, static_cast<unsigned>(threads));
    Summed const summed(other, threads);
    EXPECT_EQ(summed.equations.cost(), reference.equations.cost());
    EXPECT_EQ(summed.equations.gradient(), reference.equations.gradient());
    Eigen::MatrixXd const difference = summed.dense() - reference.dense();
    EXPECT_EQ(difference.cwiseAbs().maxCoeff(), 0.0) << threads << " threads";
    // The factor too, whose pattern must not depend on where blocks came from.
    std::vector<double> const b(static_cast<std::size_t>(problem.parameterCount()), 1.0);
    EXPECT_EQ(kesadjust::SparseFactor(summed.equations.matrix()).solve(b),
              kesadjust::SparseFactor(reference.equations.matrix()).solve(b));
  }
}

TEST(NormalEquations, LeaveOutPointsThatAreNotDetermined) {
  LinearProblem problem = test::randomProblem(6);
  Summed const all(problem);
  Summed fewer(problem);
  // Point 3 keeps one ray of two residuals; point 5 has one that isn't finite.
  std::vector<std::size_t> raysOfPoint3;
  for (std::size_t i = 0; i < problem.mObservations.size(); ++i) {
    if (problem.mObservations[i].identity.point == 3) {
      raysOfPoint3.push_back(i);
    }
  }
  for (std::size_t i = 1; i < raysOfPoint3.size(); ++i) {
    fewer.isActive[raysOfPoint3[i]] = 0;
  }
  for (auto& observation : problem.mObservations) {
    if (observation.identity.point == 5) {
      observation.row.pointJacobian[1] = std::numeric_limits<double>::quiet_NaN();
      break;
    }
  }
  fewer.equations.restart();
  fewer.equations.assemble(fewer.weighting());
  EXPECT_EQ(fewer.equations.rows(), all.equations.rows() - 2U * 6U * 2U);
  EXPECT_TRUE(std::isfinite(fewer.equations.cost()));
  auto const& isDetermined = fewer.equations.isDetermined();
  EXPECT_EQ(std::count(isDetermined.begin(), isDetermined.end(), 0), 2);
  // A point that fails later makes the state impossible instead.
  problem.mObservations.front().row.residuals[0] = std::numeric_limits<double>::infinity();
  fewer.equations.assemble(fewer.weighting());
  EXPECT_EQ(fewer.equations.cost(), std::numeric_limits<double>::infinity());
}

TEST(ObservationGroups, StandByPlaceAndRefuseWhatIsGivenTwice) {
  auto const message = [](LinearProblem const& problem) {
    try {
      ObservationGroups const groups(problem);
    } catch (std::invalid_argument const& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  LinearProblem problem = test::randomProblem(7);
  ObservationGroups const groups(problem);
  ASSERT_EQ(groups.groups().size(), 41U);
  double line = -1.0;
  for (auto const& group : groups.groups()) {
    auto const first = problem.identity(groups.observations(group).front());
    if (group.point != kesadjust::noPoint) {
      EXPECT_GT(first.line, line);
      line = first.line;
      EXPECT_EQ(first.image, 0);
      EXPECT_EQ(groups.observations(group).size(), group.point % 10 == 0 ? 7U : 6U);
    }
  }
  LinearProblem twice = problem;
  twice.mObservations.push_back(problem.mObservations[0]);
  EXPECT_EQ(message(twice), "Point P0 has an observation twice");
  twice = problem;
  twice.mObservations.push_back(problem.mObservations.back());
  EXPECT_EQ(message(twice), "An observation without a point is given twice");
  twice = problem;
  twice.mObservations[2].identity.point = 40;
  EXPECT_EQ(message(twice), "Observation 2 has point 40 of 40");
  twice = problem;
  twice.mObservations[2].identity.sample = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(message(twice), "Observation 2 has a place that isn't finite");
}

TEST(ObservationGroups, FindComponentsOfStripsAndPoints) {
  LinearProblem problem = test::randomProblem(8);
  // Points below 20 are seen from strip 0 only, the others from strip 1 only.
  std::erase_if(problem.mObservations, [](auto const& observation) {
    auto const& identity = observation.identity;
    return identity.kind == kesadjust::ObservationKind::image && identity.strip != (identity.point < 20 ? 0 : 1);
  });
  auto components = kesadjust::componentsOf(problem);
  ASSERT_EQ(components.size(), 2U);
  EXPECT_EQ(components[1].strips, std::vector<int>{1});
  EXPECT_EQ(components[1].points.size(), 20U);
  EXPECT_EQ(components[1].points.front(), 20);
  // One point in both joins them.
  auto joining = problem.mObservations[0];
  joining.identity.strip = 1;
  problem.mObservations.push_back(joining);
  components = kesadjust::componentsOf(problem);
  ASSERT_EQ(components.size(), 1U);
  EXPECT_EQ(components[0].strips, (std::vector<int>{0, 1}));
  EXPECT_EQ(components[0].points.size(), 40U);
}

}  // namespace
