// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/Trajectory.h>
#include <sensor/EOPData.h>
#include <sensor/TimeQuantity.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace kes {

namespace {

constexpr float EXTRAPOLATED = -1.0F;

// The angles of the quaternion that turns the ground into the camera (K. Kraus, Photogrammetry, appendix on rotations
// in space).
AttitudeAngles anglesOf(sensor::EOP const& record) {
  auto const q0 = static_cast<double>(record.q0);
  auto const q1 = static_cast<double>(record.q1);
  auto const q2 = static_cast<double>(record.q2);
  auto const q3 = static_cast<double>(record.q3);
  double const sine = 2.0 * (q0 * q2 - q1 * q3);
  return {-std::atan2(2.0 * (q1 * q0 + q2 * q3), 1.0 - 2.0 * (q1 * q1 + q2 * q2)),
          -std::asin(sine < -1.0  ? -1.0
                     : sine > 1.0 ? 1.0
                                  : sine),
          -std::atan2(2.0 * (q3 * q0 + q1 * q2), 1.0 - 2.0 * (q2 * q2 + q3 * q3))};
}

TrajectoryPoint pointOf(sensor::EOP const& record, bool isExtrapolated) {
  return {record.gpsTime,
          {record.x, record.y, record.z},
          anglesOf(record),
          {record.q0, record.q1, record.q2, record.q3},
          isExtrapolated};
}

}  // namespace

Trajectory::Trajectory(std::shared_ptr<sensor::EOPData const> data) : mData(std::move(data)) {}

Trajectory Trajectory::read(std::string const& fileName, bool standardDeviations) {
  return Trajectory(std::make_shared<sensor::EOPData const>(fileName, true, standardDeviations));
}

std::string const& Trajectory::fileName() const {
  return mData->fileName();
}

std::size_t Trajectory::size() const {
  return static_cast<std::size_t>(mData->numSets());
}

double Trajectory::startTime() const {
  return (*this)[0].time;
}

double Trajectory::endTime() const {
  return (*this)[std::max(size(), std::size_t{1}) - 1].time;
}

double Trajectory::frequency() const {
  return mData->frequency();
}

GeodeticPosition Trajectory::anchor() const {
  geo::XYZPoint const& anchor = mData->anchorPoint();
  return {anchor.x, anchor.y, anchor.z};
}

bool Trajectory::hasStandardDeviations() const {
  return mData->hasStdDevs();
}

TrajectoryPoint Trajectory::operator[](std::size_t i) const {
  sensor::EOP record;
  if (i >= size() || mData->atIndex(static_cast<int>(i), record) != 0) {
    throw std::out_of_range("no orientation record " + std::to_string(i) + " of " + std::to_string(size()));
  }
  return pointOf(record, false);
}

std::optional<TrajectoryPoint> Trajectory::at(double time) const {
  sensor::EOP record;
  if (!std::isfinite(time) || mData->atGPS(sensor::seconds(time), record) != 0) {
    return std::nullopt;
  }
  return pointOf(record, record.status == EXTRAPOLATED);
}

std::optional<TrajectoryAccuracy> Trajectory::accuracyAt(double time) const {
  if (!std::isfinite(time)) {
    return std::nullopt;
  }
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
  float omega = 0.0F;
  float phi = 0.0F;
  float kappa = 0.0F;
  mData->stdDevAtGPS(sensor::seconds(time), x, y, z, omega, phi, kappa);
  return TrajectoryAccuracy{{static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)},
                            {static_cast<double>(omega), static_cast<double>(phi), static_cast<double>(kappa)}};
}

}  // namespace kes
