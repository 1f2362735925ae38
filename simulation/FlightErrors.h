// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Partials.h>
#include <simulation/ErrorPlan.h>
#include <simulation/Trajectory.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace simulation {

/// The errors of a camera, as the corrections that undo them.
struct CameraErrors {
  /// Those of boresight, lever arm, focal length and principal point.
  kes::ModelCorrections common;
  /// Of each sensor line, in the order of the head; see `kes::ModelCorrections::line`.
  std::vector<std::array<double, 5>> lines;

  /// Without any.
  CameraErrors();
  /// Those of a plan that is valid, as far as they are drawn, from a seed.
  CameraErrors(ErrorPlan const& plan, std::uint64_t seed);

  /// Whether the calibration has errors: all but those of boresight and lever arm, which are the orientation's.
  bool areInCalibration() const;
};

/// The errors of one strip, as the corrections that undo them. Times are those of the camera's clock, in seconds.
class StripErrors {
public:
  /// Seconds from a node to the next: an inertial system is smooth over shorter times.
  static constexpr double interval = 1.0;

  /// A stretch of time.
  struct Span {
    double start;
    double end;
  };

  /// Those of a plan that is valid, as far as they are drawn, from a seed. Nodes cover the span.
  StripErrors(ErrorPlan const& plan, CameraErrors camera, Span span, std::uint64_t seed);

  /// All corrections of a sensor line at a time; those of position and attitude are linear between nodes.
  kes::ModelCorrections at(double time, std::size_t line) const;
  /// What a navigation system with these errors records of a pose.
  TimedPose recorded(TimedPose const& truth) const;

  CameraErrors const& camera() const { return mCamera; }
  double timeOffset() const { return mTimeOffset; }
  std::array<double, 3> const& gnssShift() const { return mShift; }
  std::array<double, 3> const& gnssDrift() const { return mDrift; }
  /// The time of the first node, and the corrections of position (with shift and drift) and attitude at each.
  double start() const { return mStart; }
  std::vector<std::array<double, 3>> const& positions() const { return mPositions; }
  std::vector<std::array<double, 3>> const& attitudes() const { return mAttitudes; }

private:
  CameraErrors mCamera;
  double mTimeOffset;
  std::array<double, 3> mShift;
  std::array<double, 3> mDrift;
  double mStart;
  std::vector<std::array<double, 3>> mPositions;
  std::vector<std::array<double, 3>> mAttitudes;
};

}  // namespace simulation
