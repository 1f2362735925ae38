// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AdjustedOrientation.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>

namespace kesadjust {

namespace {

constexpr double pi = 3.14159265358979323846;
using Matrix6 = Eigen::Matrix<double, 6, 6, Eigen::RowMajor>;
using Vector6 = Eigen::Matrix<double, 6, 1>;
using Jacobian = Eigen::Matrix<double, 6, Eigen::Dynamic>;

/// From the camera into the local system; a record's quaternion turns the other way.
Eigen::Matrix3d rotationOf(kes::TrajectoryPoint const& point) {
  kes::AttitudeQuaternion const& q = point.quaternion;
  return Eigen::Quaterniond(static_cast<double>(q.q0), static_cast<double>(q.q1), static_cast<double>(q.q2),
                            static_cast<double>(q.q3))
      .normalized()
      .toRotationMatrix()
      .transpose();
}

Eigen::Matrix3d exponential(Eigen::Vector3d const& rotation) {
  double const angle = rotation.norm();
  return angle > 0.0 ? Eigen::AngleAxisd(angle, rotation / angle).toRotationMatrix() : Eigen::Matrix3d::Identity();
}

/// omega, phi, kappa: the third row of the rotation into the camera is (sin phi, -sin omega cos phi, cos omega cos phi).
Eigen::Vector3d anglesOf(Eigen::Matrix3d const& toLocal) {
  return {std::atan2(-toLocal(1, 2), toLocal(2, 2)), std::asin(std::clamp(toLocal(0, 2), -1.0, 1.0)),
          std::atan2(-toLocal(0, 1), toLocal(0, 0))};
}

/// The derivative of the angles by a small rotation about the camera's axes.
Eigen::Matrix3d anglesByTurn(Eigen::Matrix3d const& toLocal) {
  constexpr double step = 1e-4;  // radians
  Eigen::Matrix3d result;
  for (int axis = 0; axis < 3; ++axis) {
    Eigen::Vector3d const turn = step * Eigen::Vector3d::Unit(axis);
    Eigen::Vector3d const difference = anglesOf(toLocal * exponential(turn)) - anglesOf(toLocal * exponential(-turn));
    for (int i = 0; i < 3; ++i) {
      result(i, axis) = std::remainder(difference(i), 2.0 * pi) / (2.0 * step);
    }
  }
  return result;
}

/// The part of the variance of a Gauss-Markov process that its values at the nodes around a time leave open: with
/// rho1, rho2 the correlations with them, (1 - rho1^2) (1 - rho2^2) / (1 - rho1^2 rho2^2).
double openPart(Spline const& spline, double time, double correlationTime) {
  auto const uncorrelated = [&](double away) { return -std::expm1(-2.0 * away / correlationTime); };
  double nearest = std::numeric_limits<double>::infinity();
  for (Spline::Piece const& piece : spline.pieces()) {
    if (time >= piece.start && time <= piece.end()) {
      double const within = std::fmod(time - piece.start, piece.interval);
      return uncorrelated(within) * uncorrelated(piece.interval - within) / uncorrelated(piece.interval);
    }
    nearest = std::min(nearest, time < piece.start ? piece.start - time : time - piece.end());
  }
  return uncorrelated(nearest);
}

/// Position and attitude of a strip at one time, by the parameters that they depend on.
class Errors {
public:
  Errors(BlockProblem const& problem, StripPart const& strip, Covariances const& covariances)
      : mProblem(problem), mStrip(strip), mCovariances(covariances) {}

  /// The covariance of x, y, z and of a rotation about the camera's axes.
  Matrix6 covariance(double time, Eigen::Matrix3d const& rotation, Vector6 const& rate) {
    Spline::Basis const basis = mStrip.spline.at(time);
    lookUp(basis);
    Jacobian jacobian = Jacobian::Zero(6, mCovariance.cols());
    for (int k = 0; k < basis.count; ++k) {
      jacobian.middleCols<6>(Eigen::Index{6} * k) = basis.weights[static_cast<std::size_t>(k)] * Matrix6::Identity();
    }
    Eigen::Index column = Eigen::Index{6} * basis.count;
    for (ConstantBlock const* constants : ofConstants()) {
      for (Slot const& slot : constants->slots) {
        jacobian.col(column++) = derivativeOf(slot, rotation, rate);
      }
    }
    Matrix6 result = jacobian * mCovariance * jacobian.transpose();
    for (int i = 0; i < 6; ++i) {
      GaussMarkovPrior const& prior = mStrip.priors[static_cast<std::size_t>(i)];
      result(i, i) += prior.sigma * prior.sigma * openPart(mStrip.spline, time, prior.correlationTime);
    }
    return result;
  }

private:
  std::vector<ConstantBlock const*> ofConstants() const {
    std::vector<ConstantBlock const*> result;
    for (std::optional<int> const& number : {mStrip.constants, mProblem.cameraConstants(mStrip)}) {
      if (number) {
        result.push_back(&mProblem.constants()[static_cast<std::size_t>(*number)]);
      }
    }
    return result;
  }

  static Vector6 derivativeOf(Slot const& slot, Eigen::Matrix3d const& rotation, Vector6 const& rate) {
    Vector6 result = Vector6::Zero();
    switch (slot.quantity) {
    case Quantity::boresight:
      result(3 + slot.component) = 1.0;
      break;
    case Quantity::leverArm:
      result.head<3>() = rotation.col(slot.component);
      break;
    case Quantity::timeOffset:
      result = rate;
      break;
    case Quantity::shift:
      result(slot.component) = 1.0;
      break;
    default:  // of the camera, not of the orientation
      break;
    }
    return result;
  }

  /// The covariance of the parameters: nodes around, then constants. Kept as long as the nodes are the same.
  void lookUp(Spline::Basis const& basis) {
    if (mFirst == basis.first && mCount == basis.count) {
      return;
    }
    mFirst = basis.first;
    mCount = basis.count;
    std::vector<std::pair<int, Eigen::Index>> blocks;
    std::vector<ConstantBlock const*> const allConstants = ofConstants();
    blocks.reserve(static_cast<std::size_t>(basis.count) + allConstants.size());
    for (int k = 0; k < basis.count; ++k) {
      blocks.emplace_back(mStrip.firstBlock + basis.first + k, 6);
    }
    for (ConstantBlock const* constants : allConstants) {
      blocks.emplace_back(constants->block, static_cast<Eigen::Index>(constants->slots.size()));
    }
    Eigen::Index size = 0;
    for (auto const& [block, count] : blocks) {
      size += count;
    }
    mCovariance = Eigen::MatrixXd::Zero(size, size);
    Eigen::Index row = 0;
    for (auto const& [rowBlock, rows] : blocks) {
      Eigen::Index column = 0;
      for (auto const& [columnBlock, columns] : blocks) {
        Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> part(rows, columns);
        std::span<double> const values(part.data(), static_cast<std::size_t>(part.size()));
        if (mCovariances.between(rowBlock, columnBlock, values)) {
          mCovariance.block(row, column, rows, columns) = part;
        }
        column += columns;
      }
      row += rows;
    }
  }

  BlockProblem const& mProblem;
  StripPart const& mStrip;
  Covariances const& mCovariances;
  int mFirst = -1;
  int mCount = 0;
  Eigen::MatrixXd mCovariance;
};

/// The change per second of position and attitude, from the records around one.
Vector6 rateAround(kes::Trajectory const& trajectory, std::size_t record) {
  std::size_t const before = record > 0 ? record - 1 : 0;
  std::size_t const after = std::min(record + 1, trajectory.size() - 1);
  kes::TrajectoryPoint const a = trajectory[before];
  kes::TrajectoryPoint const b = trajectory[after];
  Vector6 rate = Vector6::Zero();
  if (b.time > a.time) {
    Eigen::AngleAxisd const turn(rotationOf(a).transpose() * rotationOf(b));
    rate.head<3>() = vectorOf(b.position) - vectorOf(a.position);
    rate.tail<3>() = turn.angle() * turn.axis();
    rate /= b.time - a.time;
  }
  return rate;
}

}  // namespace

std::vector<AdjustedRecord> adjustedOrientation(BlockProblem const& problem, StripPart const& strip,
                                                Covariances const& covariances) {
  kes::Trajectory const& trajectory = strip.trajectory;
  Errors errors(problem, strip, covariances);
  std::vector<AdjustedRecord> records;
  records.reserve(trajectory.size());
  for (std::size_t i = 0; i < trajectory.size(); ++i) {
    kes::TrajectoryPoint const record = trajectory[i];
    kes::ModelCorrections const model = problem.correctionsOf(strip, record.time);
    kes::TrajectoryPoint const flown =
        model.time == 0.0 ? record : trajectory.at(record.time + model.time).value_or(record);
    auto const vector = [](std::array<double, 3> const& v) { return Eigen::Vector3d(v[0], v[1], v[2]); };
    Eigen::Matrix3d const rotation =
        rotationOf(flown) * exponential(vector(model.attitude)) * exponential(vector(model.boresight));
    Eigen::Vector3d const centre =
        vectorOf(flown.position) + vector(model.position) + rotation * vector(model.leverArm);
    Eigen::Vector3d const angles = anglesOf(rotation);
    Matrix6 const covariance = errors.covariance(record.time, rotation, rateAround(trajectory, i));
    Eigen::Matrix3d const byTurn = anglesByTurn(rotation);
    Eigen::Vector3d const position = covariance.topLeftCorner<3, 3>().diagonal().cwiseSqrt();
    Eigen::Vector3d const attitude =
        (byTurn * covariance.bottomRightCorner<3, 3>() * byTurn.transpose()).diagonal().cwiseSqrt();
    records.push_back({record.time,
                       pointOf(centre),
                       {angles.x(), angles.y(), angles.z()},
                       {pointOf(position), {attitude.x(), attitude.y(), attitude.z()}}});
  }
  return records;
}

}  // namespace kesadjust
