// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/CameraAxes.h"
#include "timing/Attitude.h"

#include <sensor/Rotation.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using sensor::Rotation;

// The product of the three elementary rotations of the axes, kappa after phi after omega.
TEST(Rotation, IsTheProductOfItsElementaryRotations) {
  double const o = 0.3;
  double const p = -0.7;
  double const k = 1.9;
  double const a[3][3] = {{1, 0, 0}, {0, std::cos(o), std::sin(o)}, {0, -std::sin(o), std::cos(o)}};
  double const b[3][3] = {{std::cos(p), 0, -std::sin(p)}, {0, 1, 0}, {std::sin(p), 0, std::cos(p)}};
  double const c[3][3] = {{std::cos(k), std::sin(k), 0}, {-std::sin(k), std::cos(k), 0}, {0, 0, 1}};
  Rotation rotation;
  rotation.set(o, p, k);
  for (int row = 0; row < 3; ++row) {
    for (int col = 0; col < 3; ++col) {
      double sum = 0;
      for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
          sum += c[row][i] * b[i][j] * a[j][col];
        }
      }
      EXPECT_NEAR(rotation.matrixElement(row, col), sum, 1e-15) << row << ' ' << col;
    }
  }
}

TEST(Rotation, AssignmentCopiesTheElements) {
  Rotation a;
  a.set(0.1, 0.2, 0.3);
  Rotation b;
  b.set(0, 0, 0);
  b = a;
  EXPECT_EQ(b.matrixElement(2, 0), std::sin(0.2));
}

// The rotation goes from the ground to the camera, so its rows are the camera's axes.
TEST(Rotation, RowsAreTheAxesOfTheQuaternionOfTheAngles) {
  sensor::EOP eop;
  sensor::opkToQuaternion(0.3, -0.7, 1.9, eop);
  sensor::CameraAxes<double> const axes = sensor::quaternionToRotation(eop);
  Rotation rotation;
  rotation.set(0.3, -0.7, 1.9);
  int row = 0;
  for (sensor::Direction<double> const& axis : {axes.alongFlight, axes.alongLine, axes.up}) {
    EXPECT_NEAR(axis.x, rotation.matrixElement(row, 0), 3e-7);
    EXPECT_NEAR(axis.y, rotation.matrixElement(row, 1), 3e-7);
    EXPECT_NEAR(axis.z, rotation.matrixElement(row, 2), 3e-7);
    ++row;
  }
}

TEST(Rotation, ShortQuaternionIsntNormalised) {
  sensor::EOP eop;
  eop.q0 = 0.5F;
  eop.q3 = 0.5F;
  sensor::CameraAxes<double> const axes = sensor::quaternionToRotation(eop);
  EXPECT_EQ(axes.alongFlight.x, 0.5);
  EXPECT_EQ(axes.alongFlight.y, -0.5);
  EXPECT_EQ(axes.alongLine.x, 0.5);
  EXPECT_EQ(axes.up.z, 1.0);
}

}  // namespace
