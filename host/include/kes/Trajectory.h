// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/keshost_export.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace sensor {
class EOPData;
}

namespace kes {

/// The angles omega, phi and kappa of the rotation from the ground to the camera, radians.
struct AttitudeAngles {
  double omega;
  double phi;
  double kappa;
};

/// The unit quaternion that turns the ground into the camera, q0 its scalar part; as the file has it, in single
/// precision.
struct AttitudeQuaternion {
  float q0;
  float q1;
  float q2;
  float q3;
};

/// Where the camera was at a time, in the strip's local system.
struct TrajectoryPoint {
  double time;  ///< GPS seconds.
  geo::XYZPoint position;
  AttitudeAngles attitude;
  AttitudeQuaternion quaternion;
  bool isExtrapolated;
};

/// Standard deviations of a trajectory point.
struct TrajectoryAccuracy {
  geo::XYZPoint position;   ///< Metres.
  AttitudeAngles attitude;  ///< Radians.
};

/// The exterior orientation of a strip, or of a file of its own. A value that is cheap to copy and keeps its data in
/// memory. Any number of threads may use one.
class KESHOST_EXPORT Trajectory {
public:
  /// Reads an orientation file, without a strip. Throws std::runtime_error with the message of `sensor::EOPData`.
  [[nodiscard]] static Trajectory read(std::string const& fileName, bool standardDeviations = false);

  /// The file that it was read from.
  [[nodiscard]] std::string const& fileName() const;
  [[nodiscard]] std::size_t size() const;
  /// GPS seconds of the first and the last record. Throws std::out_of_range "no orientation record 0 of 0" without any.
  [[nodiscard]] double startTime() const;
  [[nodiscard]] double endTime() const;
  /// Records per second, from the first interval.
  [[nodiscard]] double frequency() const;
  /// Origin of the local system.
  [[nodiscard]] GeodeticPosition anchor() const;
  /// Whether standard deviations of each record were loaded.
  [[nodiscard]] bool hasStandardDeviations() const;
  /// Record i. Throws std::out_of_range "no orientation record I of N".
  [[nodiscard]] TrajectoryPoint operator[](std::size_t i) const;
  /// The library's own interpolation at a time. Nothing when the time isn't finite.
  [[nodiscard]] std::optional<TrajectoryPoint> at(double time) const;
  /// The standard deviations at a time: linear between records, before the first and after the last record those of
  /// that record; the file's default ones when those of records weren't loaded. Nothing when the time isn't finite.
  [[nodiscard]] std::optional<TrajectoryAccuracy> accuracyAt(double time) const;

private:
  friend class Strip;
  explicit Trajectory(std::shared_ptr<sensor::EOPData const> data);

  std::shared_ptr<sensor::EOPData const> mData;
};

}  // namespace kes
