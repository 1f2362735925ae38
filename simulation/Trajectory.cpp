// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/Trajectory.h>

#include <cmath>
#include <files/Angles.h>

namespace simulation {

namespace {

constexpr double halfPi = 1.5707963267948966;
constexpr double earthRadius = 6371000.0;

// Streams of the seed, so that a further motion changes no other.
enum Stream : std::uint64_t { along = 1, across, up, roll, pitch, turn, shakeRoll, shakePitch, shakeTurn };

Oscillation motion(FlightPlan const& plan, Stream stream, Oscillation::Spectrum const& spectrum) {
  Random random(plan.seed, stream);
  return {spectrum, random};
}

// What the mount lets through stays slow enough that the lines of sight never run backward over the ground.
constexpr Oscillation::Spectrum tilt{files::toRadians(0.5), 0.01, 0.5, 1.7, 14};
constexpr Oscillation::Spectrum shake{30.0e-6, 2.0, 40.0, 0.6, 12};
constexpr Oscillation::Spectrum surge{8.0, 0.004, 0.05, 1.2, 8};
constexpr Oscillation::Spectrum drift{3.0, 0.005, 0.2, 1.5, 8};

// Quaternion product, scalar first (W. R. Hamilton).
using Quaternion = std::array<double, 4>;
Quaternion product(Quaternion const& a, Quaternion const& b) {
  return {a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3], a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
          a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1], a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]};
}

Quaternion quaternion(Pose const& pose) {
  Quaternion const x{std::cos(pose.roll / 2), std::sin(pose.roll / 2), 0, 0};
  Quaternion const y{std::cos(pose.pitch / 2), 0, std::sin(pose.pitch / 2), 0};
  Quaternion const z{std::cos(pose.yaw / 2), 0, 0, std::sin(pose.yaw / 2)};
  return product(z, product(y, x));
}

// Of Exp(-rotation).
Quaternion backward(std::array<double, 3> const& rotation) {
  double const angle = std::hypot(rotation[0], rotation[1], rotation[2]);
  double const perLength = angle == 0.0 ? -0.5 : -std::sin(0.5 * angle) / angle;
  return {std::cos(0.5 * angle), perLength * rotation[0], perLength * rotation[1], perLength * rotation[2]};
}

std::array<double, 9> rotationOf(Quaternion const& q) {
  auto const [w, x, y, z] = q;
  return {1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
          2 * (x * y + w * z),     1 - 2 * (x * x + z * z), 2 * (y * z - w * x),
          2 * (x * z - w * y),     2 * (y * z + w * x),     1 - 2 * (x * x + y * y)};
}

}  // namespace

std::array<double, 9> Pose::rotation() const {
  return rotationOf(quaternion(*this));
}

geo::XYZPoint Pose::toLocal(std::array<double, 3> const& vector) const {
  auto const r = rotation();
  auto const row = [&](std::size_t i) { return r[i] * vector[0] + r[i + 1] * vector[1] + r[i + 2] * vector[2]; };
  return {row(0), row(3), row(6)};
}

// By the elements of the product: its first column is (cos yaw cos pitch, sin yaw cos pitch, -sin pitch), its last row
// (-sin pitch, cos pitch sin roll, cos pitch cos roll).
Pose Pose::turnedBack(std::array<double, 3> const& rotation) const {
  constexpr double wholeTurn = 4.0 * halfPi;
  auto const r = rotationOf(product(quaternion(*this), backward(rotation)));
  Pose turned = *this;
  turned.roll = std::atan2(r[7], r[8]);
  turned.pitch = -std::asin(r[6]);
  // The yaw goes on from that of this pose, so that neighbouring records have quaternions of one sign.
  turned.yaw = yaw + std::remainder(std::atan2(r[3], r[0]) - yaw, wholeTurn);
  return turned;
}

// By the elements of the product: its first row is (cos phi cos kappa, -cos phi sin kappa, sin phi), its last column
// (sin phi, -sin omega cos phi, cos omega cos phi).
std::array<double, 3> Pose::omegaPhiKappa() const {
  auto const r = rotation();
  return {std::atan2(-r[5], r[8]), std::asin(r[2]), std::atan2(-r[1], r[0])};
}

sensor::EOP Pose::record(double time) const {
  // A record's quaternion turns the ground into the camera, the conjugate of the one that turns the camera's rays.
  auto const [w, x, y, z] = quaternion(*this);
  sensor::EOP eop;
  eop.gpsTime = time;
  eop.status = 0.0F;
  eop.q0 = static_cast<float>(w);
  eop.q1 = static_cast<float>(-x);
  eop.q2 = static_cast<float>(-y);
  eop.q3 = static_cast<float>(-z);
  eop.x = position.x;
  eop.y = position.y;
  eop.z = position.z;
  return eop;
}

Trajectory::Trajectory(FlightPlan const& plan, double middle, double height)
    : mMiddle(middle), mHeight(height), mYaw(halfPi - files::toRadians(plan.heading)),
      mAlong(motion(plan, along, surge)), mAcross(motion(plan, across, drift)), mUp(motion(plan, up, drift)),
      mRoll(motion(plan, roll, tilt)), mPitch(motion(plan, pitch, tilt)), mTurn(motion(plan, turn, tilt)),
      mShakeRoll(motion(plan, shakeRoll, shake)), mShakePitch(motion(plan, shakePitch, shake)),
      mShakeTurn(motion(plan, shakeTurn, shake)) {}

Pose Trajectory::at(double time) const {
  double const t = time - mMiddle;
  double const ahead = speed * t + mAlong.at(t);
  double const left = mAcross.at(t);
  // The aircraft keeps its height over a curved Earth, which falls away from the local system's plane.
  double const drop = (ahead * ahead + left * left) / (2 * earthRadius);
  Pose pose;
  pose.position = {ahead * std::cos(mYaw) - left * std::sin(mYaw), ahead * std::sin(mYaw) + left * std::cos(mYaw),
                   mHeight + mUp.at(t) - drop};
  pose.roll = mRoll.at(t) + mShakeRoll.at(t);
  pose.pitch = mPitch.at(t) + mShakePitch.at(t);
  pose.yaw = mYaw + mTurn.at(t) + mShakeTurn.at(t);
  return pose;
}

Navigation::Navigation(Accuracy const& accuracy, Random const& random)
    : mAccuracy(accuracy), mScatter{accuracy.position * std::sqrt(0.5), accuracy.angle * std::sqrt(0.5)},
      mRandom(random) {
  for (std::size_t i = 0; i < mDrifts.size(); ++i) {
    double const rms = i < 3 ? mScatter.position : mScatter.angle;
    mDrifts[i] = Oscillation({rms, 0.001, 0.05, 1.0, 6}, mRandom);
  }
}

Pose Navigation::measured(Pose const& pose, double time) {
  auto const error = [&](std::size_t i, double scatter) { return mDrifts[i].at(time) + mRandom.normal(scatter); };
  Pose result = pose;
  result.position.x += error(0, mScatter.position);
  result.position.y += error(1, mScatter.position);
  result.position.z += error(2, mScatter.position);
  result.roll += error(3, mScatter.angle);
  result.pitch += error(4, mScatter.angle);
  result.yaw += error(5, mScatter.angle);
  return result;
}

}  // namespace simulation
