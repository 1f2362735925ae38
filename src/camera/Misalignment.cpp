// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "camera/CameraFiles.h"

#include <sensor/Misalignment.h>

namespace sensor {

namespace {

bool sameValue(double a, double b) {
  return !(a < b) && !(a > b);
}

bool samePoint(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  return sameValue(a.x, b.x) && sameValue(a.y, b.y) && sameValue(a.z, b.z);
}

}  // namespace

Misalignment::Misalignment() = default;

Misalignment::Misalignment(SerializerMisalignmentV1Dat const& serializer) {
  cameraFiles.readMisalignment(serializer, this);
}

bool Misalignment::operator==(Misalignment const& other) const {
  return samePoint(mRotation, other.mRotation) && samePoint(mStdDev, other.mStdDev);
}

void Misalignment::setValues(double omega, double phi, double kappa, double stdDevOmega, double stdDevPhi,
                             double stdDevKappa) {
  mRotation = {omega, phi, kappa};
  mStdDev = {stdDevOmega, stdDevPhi, stdDevKappa};
}

}  // namespace sensor
