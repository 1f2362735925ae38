// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/GaussMarkovPrior.h>
#include <kesadjust/Spline.h>

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/LU>
#include <cmath>
#include <limits>

namespace {

using kesadjust::GaussMarkovPrior;
using kesadjust::Spline;
using Degree = kesadjust::Spline::Degree;

std::string messageOf(auto const& work) {
  try {
    work();
  } catch (std::invalid_argument const& error) {
    return error.what();
  }
  return "";
}

TEST(Spline, HasNodesEveryTenSecondsAndTwoAtLeast) {
  Spline const cubic({{100.0, 125.0}, {140.0, 143.0}, {200.0, 200.0}}, Degree::cubic);
  ASSERT_EQ(cubic.pieces().size(), 3U);
  EXPECT_EQ(cubic.pieces()[0].intervals, 3);
  EXPECT_DOUBLE_EQ(cubic.pieces()[0].interval, 25.0 / 3.0);
  EXPECT_EQ(cubic.pieces()[0].coefficients, 6);
  EXPECT_EQ(cubic.pieces()[1].intervals, 1);
  EXPECT_EQ(cubic.pieces()[1].first, 6);
  EXPECT_EQ(cubic.pieces()[1].interval, 3.0);
  EXPECT_EQ(cubic.pieces()[2].intervals, 1);
  EXPECT_EQ(cubic.pieces()[2].interval, 10.0);
  EXPECT_EQ(cubic.size(), 14);
  EXPECT_EQ(Spline({{0.0, 20.0}}, Degree::linear).size(), 3);
  EXPECT_EQ(Spline({{0.0, 20.0}}, Degree::linear, 5.0).size(), 5);
}

TEST(Spline, FallsIntoPiecesAtGapsOfTheOrientation) {
  std::vector<double> const times{0.0, 0.5, 1.0, 1.5, 3.0, 3.5, 9.0};
  auto const spans = Spline::spansOf(times, 1.0);
  ASSERT_EQ(spans.size(), 3U);
  EXPECT_EQ(spans[0].start, 0.0);
  EXPECT_EQ(spans[0].end, 1.5);
  EXPECT_EQ(spans[1].start, 3.0);
  EXPECT_EQ(spans[1].end, 3.5);
  EXPECT_EQ(spans[2].start, 9.0);
  EXPECT_EQ(spans[2].end, 9.0);
  EXPECT_EQ(Spline::spansOf(times, 1.5).size(), 2U);
}

TEST(Spline, IsAPartitionOfUnityWhoseRatesSumToZero) {
  for (Degree const degree : {Degree::linear, Degree::cubic}) {
    Spline const spline({{10.0, 47.0}, {60.0, 66.0}}, degree);
    for (double t = 5.0; t < 70.0; t += 0.37) {
      auto const basis = spline.at(t);
      auto const rate = spline.rateAt(t);
      ASSERT_EQ(basis.count, static_cast<int>(degree) + 1);
      EXPECT_NEAR(basis.weights[0] + basis.weights[1] + basis.weights[2] + basis.weights[3], 1.0, 1e-15);
      EXPECT_NEAR(rate.weights[0] + rate.weights[1] + rate.weights[2] + rate.weights[3], 0.0, 1e-15);
      EXPECT_EQ(basis.first, rate.first);
      EXPECT_GE(basis.first, 0);
      EXPECT_LE(basis.first + basis.count, spline.size());
      for (double const weight : basis.weights) {
        EXPECT_GE(weight, 0.0);
      }
    }
  }
}

/// With nodes at 0, h, 2h ... the coefficient k of the cubic spline of t^m is the polar form of t^m at the three knots
/// (k - 2) h, (k - 1) h, k h; that of the linear one is its value at k h.
TEST(Spline, IsExactForPolynomialsOfItsDegree) {
  double const h = 2.5;
  double const start = 30.0;
  Spline const cubic({{start, start + 8 * h}}, Degree::cubic, h);
  Spline const linear({{start, start + 8 * h}}, Degree::linear, h);
  std::vector<double> ofCubic;
  for (int k = 0; k < cubic.size(); ++k) {
    double const a = (k - 2) * h;
    double const b = (k - 1) * h;
    double const c = k * h;
    // 2 - t + 0.5 t^2 - 0.25 t^3
    ofCubic.push_back(2.0 - (a + b + c) / 3.0 + 0.5 * (a * b + b * c + c * a) / 3.0 - 0.25 * a * b * c);
  }
  std::vector<double> ofLinear;
  for (int k = 0; k < linear.size(); ++k) {
    ofLinear.push_back(2.0 - k * h);
  }
  for (double t = 0.0; t <= 8 * h; t += 0.31) {
    EXPECT_NEAR(cubic.evaluate(start + t, ofCubic), 2.0 - t + 0.5 * t * t - 0.25 * t * t * t, 1e-10);
    EXPECT_NEAR(linear.evaluate(start + t, ofLinear), 2.0 - t, 1e-13);
    auto const rate = cubic.rateAt(start + t);
    double derivative = 0.0;
    for (int k = 0; k < 4; ++k) {
      derivative += rate.weights[static_cast<std::size_t>(k)] * ofCubic[static_cast<std::size_t>(rate.first + k)];
    }
    EXPECT_NEAR(derivative, -1.0 + t - 0.75 * t * t, 1e-10);
    auto const slope = linear.rateAt(start + t);
    EXPECT_NEAR(slope.weights[0] * ofLinear[static_cast<std::size_t>(slope.first)] +
                    slope.weights[1] * ofLinear[static_cast<std::size_t>(slope.first + 1)],
                -1.0, 1e-14);
  }
}

TEST(Spline, KeepsTheValueOfTheNearestEndOutsideItsPieces) {
  Spline const spline({{0.0, 20.0}, {40.0, 60.0}}, Degree::linear);
  std::vector<double> const values{1.0, 2.0, 3.0, 5.0, 6.0, 7.0};
  EXPECT_EQ(spline.evaluate(-100.0, values), 1.0);
  EXPECT_EQ(spline.evaluate(29.0, values), 3.0);
  EXPECT_EQ(spline.evaluate(31.0, values), 5.0);
  EXPECT_EQ(spline.evaluate(1e9, values), 7.0);
  EXPECT_EQ(spline.evaluate(std::numeric_limits<double>::infinity(), values), 7.0);
  EXPECT_TRUE(std::isfinite(spline.evaluate(std::numeric_limits<double>::quiet_NaN(), values)));
  EXPECT_EQ(spline.rateAt(29.0).weights[1], 0.0);
  EXPECT_EQ(spline.rateAt(19.0).weights[1], 0.1);
}

TEST(Spline, RefusesSpansThatDoNotAscend) {
  EXPECT_EQ(messageOf([] { Spline({}, Degree::linear); }), "A spline needs ascending time spans");
  EXPECT_EQ(messageOf([] { Spline({{1.0, 0.0}}, Degree::linear); }), "A spline needs ascending time spans");
  EXPECT_EQ(messageOf([] {
              Spline({{0.0, 10.0}, {10.0, 20.0}}, Degree::linear);
            }),
            "A spline needs ascending time spans");
  EXPECT_EQ(messageOf([] { Spline({{0.0, 1e300}}, Degree::linear); }), "A spline needs ascending time spans");
  EXPECT_EQ(messageOf([] { Spline({{0.0, std::nan("")}}, Degree::linear); }), "A spline needs ascending time spans");
  EXPECT_EQ(messageOf([] { Spline({{0.0, 1.0}}, Degree::linear, 0.0); }), "A spline needs a positive interval");
}

Eigen::MatrixXd denseOf(std::vector<kesadjust::PrecisionEntry> const& entries, int size) {
  Eigen::MatrixXd dense = Eigen::MatrixXd::Zero(size, size);
  for (auto const& [row, column, value] : entries) {
    EXPECT_EQ(dense(row, column), 0.0) << "given twice: " << row << ", " << column;
    dense(row, column) = value;
    dense(column, row) = value;
  }
  return dense;
}

TEST(GaussMarkovPrior, GivesTheValuesAtNodesTheCovarianceOfTheProcess) {
  GaussMarkovPrior const prior{0.3, 45.0};
  for (Degree const degree : {Degree::linear, Degree::cubic}) {
    for (double const length : {4.0, 20.0, 80.0}) {
      Spline const spline({{0.0, length}, {200.0, 200.0 + length}}, degree);
      Eigen::MatrixXd const covariance = denseOf(prior.precision(spline), spline.size()).inverse();
      std::vector<double> times;
      for (auto const& piece : spline.pieces()) {
        for (int k = 0; k <= piece.intervals; ++k) {
          times.push_back(piece.start + k * piece.interval);
        }
      }
      Eigen::MatrixXd values = Eigen::MatrixXd::Zero(static_cast<Eigen::Index>(times.size()), spline.size());
      for (std::size_t i = 0; i < times.size(); ++i) {
        auto const basis = spline.at(times[i]);
        for (int k = 0; k < basis.count; ++k) {
          values(static_cast<Eigen::Index>(i), basis.first + k) = basis.weights[static_cast<std::size_t>(k)];
        }
      }
      Eigen::MatrixXd const ofValues = values * covariance * values.transpose();
      for (std::size_t i = 0; i < times.size(); ++i) {
        for (std::size_t j = 0; j < times.size(); ++j) {
          bool const samePiece = (times[i] < 150.0) == (times[j] < 150.0);
          double const expected = samePiece ? 0.09 * std::exp(-std::abs(times[i] - times[j]) / 45.0) : 0.0;
          EXPECT_NEAR(ofValues(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j)), expected, 1e-13)
              << times[i] << " and " << times[j];
        }
      }
    }
  }
}

TEST(GaussMarkovPrior, GivesTheEndsOfACubicSplineTheSecondDifferenceOfTheProcess) {
  GaussMarkovPrior const prior{2.0, 30.0};
  Spline const spline({{0.0, 50.0}}, Degree::cubic);
  Eigen::MatrixXd const covariance = denseOf(prior.precision(spline), spline.size()).inverse();
  double const rho = std::exp(-10.0 / 30.0);
  for (int const first : {0, spline.size() - 3}) {
    Eigen::Vector3d const difference(1.0, -2.0, 1.0);
    EXPECT_NEAR(difference.dot(covariance.block<3, 3>(first, first) * difference),
                4.0 * (6.0 - 8.0 * rho + 2.0 * rho * rho), 1e-11);
  }
}

TEST(GaussMarkovPrior, IsABand) {
  GaussMarkovPrior const prior{0.3, 45.0};
  for (auto const& [degree, width] : {std::pair(Degree::linear, 1), std::pair(Degree::cubic, 3)}) {
    for (auto const& [row, column, value] : prior.precision(Spline({{0.0, 90.0}}, degree))) {
      EXPECT_GE(row, column);
      EXPECT_LE(row - column, width);
    }
  }
}

TEST(GaussMarkovPrior, RefusesNothingToExpect) {
  std::string const message = "A Gauss-Markov process needs a positive standard deviation and correlation time";
  Spline const spline({{0.0, 9.0}}, Degree::linear);
  EXPECT_EQ(messageOf([&] { static_cast<void>(GaussMarkovPrior{0.0, 1.0}.precision(spline)); }), message);
  EXPECT_EQ(messageOf([&] { static_cast<void>(GaussMarkovPrior{1.0, -1.0}.precision(spline)); }), message);
}

TEST(NavigationClass, IsFoundByItsName) {
  EXPECT_EQ(kesadjust::navigationClass("tactical").name, "tactical");
  EXPECT_NEAR(kesadjust::navigationClass("navigation").rollPitch.sigma, 9.0 / 3600.0 * std::acos(-1.0) / 180.0, 1e-18);
  EXPECT_EQ(messageOf([] { static_cast<void>(kesadjust::navigationClass("best")); }),
            "Unknown class of navigation systems: best (known: navigation, tactical, mems, standalone)");
}

TEST(NavigationClass, StandFromTheBestAttitudeOnAmongThoseWithAReference) {
  auto const classes = kesadjust::navigationClasses();
  for (std::size_t i = 1; i + 1 < classes.size(); ++i) {
    EXPECT_GT(classes[i].rollPitch.sigma, classes[i - 1].rollPitch.sigma);
    EXPECT_GT(classes[i].heading.sigma, classes[i].rollPitch.sigma);
  }
}

}  // namespace
