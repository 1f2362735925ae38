// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/Oscillation.h>
#include <simulation/Random.h>
#include <simulation/Trajectory.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using simulation::Oscillation;
using simulation::Random;

TEST(Random, StreamsOfASeedAreTheSameEverywhere) {
  Random random(1, 0);
  EXPECT_EQ(random.uniform(0.0, 1.0), Random(1, 0).uniform(0.0, 1.0));
  EXPECT_NE(Random(1, 0).uniform(0.0, 1.0), Random(1, 1).uniform(0.0, 1.0));
  EXPECT_NE(Random(1, 0).uniform(0.0, 1.0), Random(2, 0).uniform(0.0, 1.0));
}

TEST(Random, NormalNumbersHaveTheirDeviation) {
  Random random(5, 3);
  double sum = 0.0;
  double squares = 0.0;
  constexpr int count = 20000;
  for (int i = 0; i < count; ++i) {
    double const value = random.normal(2.0);
    EXPECT_LE(std::fabs(value), 12.0);
    sum += value;
    squares += value * value;
  }
  EXPECT_NEAR(sum / count, 0.0, 4 * 2.0 / std::sqrt(count));
  EXPECT_NEAR(std::sqrt(squares / count), 2.0, 0.05);
}

TEST(Oscillation, HasItsRootMeanSquare) {
  Random random(7, 1);
  Oscillation const motion({0.5, 0.1, 10.0, 1.0, 9}, random);
  double squares = 0.0;
  constexpr int count = 200000;
  for (int i = 0; i < count; ++i) {
    double const value = motion.at(i * 0.005);
    squares += value * value;
  }
  EXPECT_NEAR(std::sqrt(squares / count), 0.5, 0.02);
}

TEST(Pose, RotationTurnsTheCamerasAxes) {
  simulation::Pose pose;
  pose.yaw = 0.5;
  auto const r = pose.rotation();
  // The first column is where the camera's x axis points.
  EXPECT_NEAR(r[0], std::cos(0.5), 1e-15);
  EXPECT_NEAR(r[3], std::sin(0.5), 1e-15);
  pose = {};
  pose.roll = 0.25;
  EXPECT_NEAR(pose.rotation()[7], std::sin(0.25), 1e-15);
}

}  // namespace
