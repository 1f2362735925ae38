// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <sensor/EOP.h>
#include <simulation/FlightPlan.h>
#include <simulation/Oscillation.h>

#include <array>

namespace simulation {

/// Where the camera is and how it is turned, in a local system of x east, y north, z up in metres. A ray of the camera
/// has its x along the flight, y to the left and z up; it is turned by roll about x, then pitch about y, then yaw about
/// z, the angle of the flight's direction counted from east towards north. Angles are in radians.
struct Pose {
  geo::XYZPoint position;
  double roll = 0.0;
  double pitch = 0.0;
  double yaw = 0.0;

  /// The rotation from the camera to the local system, by rows: the product Rz(yaw) Ry(pitch) Rx(roll).
  std::array<double, 9> rotation() const;
  /// The angles omega, phi and kappa (radians) of the same rotation as the product Rx(omega) Ry(phi) Rz(kappa).
  std::array<double, 3> omegaPhiKappa() const;
  /// A vector along the axes of the camera, along those of the local system.
  geo::XYZPoint toLocal(std::array<double, 3> const& vector) const;
  /// This pose turned by a rotation vector about the axes of the camera, in the opposite sense: the rotation R becomes
  /// R Exp(rotation)'.
  Pose turnedBack(std::array<double, 3> const& rotation) const;
  /// The record of this pose at a time in seconds.
  sensor::EOP record(double time) const;
};

/// A pose at a time, seconds.
struct TimedPose {
  double time;
  Pose pose;
};

/// The path of an aircraft with a stabilised mount through turbulent air: slow motions of about half a degree that the
/// mount lets through, vibrations of some tens of microradians, a speed that varies by some per cent, drifts of some
/// metres across the line and in height.
class Trajectory {
public:
  /// Metres a second over ground.
  static constexpr double speed = 70.0;

  /// A flight along the heading that passes the origin at the time `middle` (seconds), `height` metres above it.
  Trajectory(FlightPlan const& plan, double middle, double height);

  Pose at(double time) const;

private:
  double mMiddle;
  double mHeight;
  double mYaw;
  Oscillation mAlong;
  Oscillation mAcross;
  Oscillation mUp;
  Oscillation mRoll;
  Oscillation mPitch;
  Oscillation mTurn;
  Oscillation mShakeRoll;
  Oscillation mShakePitch;
  Oscillation mShakeTurn;
};

/// What a navigation system makes of a pose: its errors drift slowly, and scatter from record to record.
class Navigation {
public:
  /// Standard deviations of positions (metres) and angles (radians), half of them drift and half scatter.
  struct Accuracy {
    double position;
    double angle;
  };
  /// The real-time solution, and the one after the adjustment.
  static constexpr Accuracy original{0.08, 40.0e-6};
  static constexpr Accuracy adjusted{0.01, 4.0e-6};

  Navigation(Accuracy const& accuracy, Random const& random);

  Accuracy const& accuracy() const { return mAccuracy; }
  /// The pose with the errors of a time in seconds; each call scatters anew.
  Pose measured(Pose const& pose, double time);

private:
  Accuracy mAccuracy;
  Accuracy mScatter;
  Random mRandom;
  std::array<Oscillation, 6> mDrifts;
};

}  // namespace simulation
