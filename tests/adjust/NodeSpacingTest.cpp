// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "NodeSpacing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using kesadjust::GaussMarkovPrior;
using kesadjust::nodeSpacing;
using kesadjust::StripView;

/// Errors of one correction (x, y, z, roll, pitch, heading); all others hardly move.
std::array<GaussMarkovPrior, 6> only(std::size_t correction, GaussMarkovPrior const& prior) {
  std::array<GaussMarkovPrior, 6> priors;
  priors.fill({1e-12, 100.0});
  priors[correction] = prior;
  return priors;
}

/// From 1000 m, with pixels of 0.1 m and views whose tan² has the mean 1/4.
constexpr StripView view{1000.0, 0.1, 0.25};

TEST(NodeSpacing, IsWhereTheImageMovesByAThirdOfItsNoise) {
  // Position: sigma²/(2T) = 2.5e-5 m²/s, half of it for each image coordinate, over 0.01 m² a pixel: 1.25e-3 px²/s.
  // The noise of 0.3 pixels allows 0.01 px², which is 8 s.
  EXPECT_NEAR(nodeSpacing(only(0, {0.1, 200.0}), view, 0.3), 8.0, 1e-9);
  EXPECT_NEAR(nodeSpacing(only(1, {0.1, 200.0}), view, 0.3), 8.0, 1e-9);
  // A quarter of the height's variance: 2.5e-5 / 4 / 0.01 = 6.25e-4 px²/s. With a noise of 0.15 pixels: 4 s.
  EXPECT_NEAR(nodeSpacing(only(2, {0.1, 200.0}), view, 0.15), 4.0, 1e-9);
  // 1e-4 rad are a pixel. sigma²/(2T) = 1/400 px²/s, half of it for each coordinate: 8 s.
  EXPECT_NEAR(nodeSpacing(only(3, {1e-4, 200.0}), view, 0.3), 8.0, 1e-9);
  EXPECT_NEAR(nodeSpacing(only(4, {1e-4, 200.0}), view, 0.3), 8.0, 1e-9);
  // Heading: a quarter of 1/400 px²/s, 16 s; 4 s with half of the noise.
  EXPECT_NEAR(nodeSpacing(only(5, {1e-4, 200.0}), view, 0.15), 4.0, 1e-9);
}

TEST(NodeSpacing, AddsTheVariancesOfAllCorrections) {
  std::array<GaussMarkovPrior, 6> priors;
  priors.fill({1e-4, 200.0});
  priors[0] = priors[1] = priors[2] = {0.1, 200.0};
  // px²/s: x and y 2.5e-3, z 6.25e-4, roll and pitch 2.5e-3, heading 6.25e-4; 0.01 px² over their sum.
  EXPECT_NEAR(nodeSpacing(priors, view, 0.3), 0.01 / 6.25e-3, 1e-9);
}

TEST(NodeSpacing, LeavesTheExactMotionOfTheProcessAThirdOfTheNoise) {
  GaussMarkovPrior const roll{8.7e-5, 180.0};
  double const h = nodeSpacing(only(3, roll), view, 0.3);
  // Of the middle minus the mean of both ends: 1 + 1/2 + rho(h)/2 - 2 rho(h/2). Half of the image's motion is roll's.
  double const left = 1.5 + 0.5 * std::exp(-h / roll.correlationTime) - 2.0 * std::exp(-0.5 * h / roll.correlationTime);
  double const pixels = roll.sigma * view.distance / view.groundPixel * std::sqrt(0.5 * left);
  EXPECT_NEAR(pixels, 0.1, 0.1 * 0.02);
}

TEST(NodeSpacing, IsAtLeastASecondAndAtMostTen) {
  EXPECT_EQ(nodeSpacing(only(3, {1e-2, 200.0}), view, 0.3), 1.0);
  EXPECT_EQ(nodeSpacing(only(3, {1e-6, 200.0}), view, 0.3), 10.0);
}

TEST(NodeSpacing, IsTheGreatestWithoutNoiseOrView) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(nodeSpacing(only(3, {1e-4, 200.0}), view, nan), 10.0);
  EXPECT_EQ(nodeSpacing(only(3, {1e-4, 200.0}), {nan, 0.1, 0.25}, 0.3), 10.0);
  EXPECT_EQ(nodeSpacing(only(3, {1e-4, 200.0}), {1000.0, std::numeric_limits<double>::infinity(), 0.0}, 0.3), 10.0);
}

}  // namespace
