// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <sensor/kessensor_export.h>

namespace sensor {

class SerializerMisalignmentV1Dat;

/// The small rotation between the inertial unit and the camera with its standard deviations, all in radians. A value.
class KESSENSOR_EXPORT Misalignment {
public:
  /// All angles and deviations 0.
  Misalignment();
  /// What the serializer reads; throws what it throws.
  explicit Misalignment(SerializerMisalignmentV1Dat const& serializer);

  /// Whether no value is less or greater than the other's; so a NaN equals anything.
  bool operator==(Misalignment const& other) const;

  /// Sets all six, radians.
  void setValues(double omega, double phi, double kappa, double stdDevOmega, double stdDevPhi, double stdDevKappa);

  /// Rotation, radians.
  double omega() const { return mRotation.x; }
  double phi() const { return mRotation.y; }
  double kappa() const { return mRotation.z; }
  /// Standard deviations, radians.
  double stdDevOmega() const { return mStdDev.x; }
  double stdDevPhi() const { return mStdDev.y; }
  double stdDevKappa() const { return mStdDev.z; }
  /// The rotation as a point: omega in x, phi in y, kappa in z.
  geo::XYZPoint const& rotation() const { return mRotation; }
  /// The standard deviations likewise.
  geo::XYZPoint const& stdDev() const { return mStdDev; }

private:
  geo::XYZPoint mRotation;
  geo::XYZPoint mStdDev;
};

}  // namespace sensor
