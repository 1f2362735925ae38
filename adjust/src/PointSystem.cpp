// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PointSystem.h"

#include <algorithm>
#include <cmath>

namespace kesadjust {

namespace {

/// A pivot of V below this part of its diagonal value leaves a direction open: rays of angles below 1e-5 radians.
constexpr double leastPivot = 1e-10;

Eigen::Map<Eigen::Matrix<double, Eigen::Dynamic, 3, Eigen::RowMajor> const>
pointJacobian(LinearisedObservation const& row) {
  return {row.pointJacobian.data(), row.rows, 3};
}

Eigen::Map<Eigen::VectorXd const> residuals(LinearisedObservation const& row) {
  return {row.residuals.data(), row.rows};
}

ConstBlockView jacobian(JacobianPart const& part, int rows, int columns) {
  return {part.jacobian.data(), rows, columns};
}

/// to -= a b^T for rows of three.
void subtractProduct(double const* a, int rows, double const* b, int columns, double* to) {
  for (int r = 0; r < rows; ++r, a += 3, to += columns) {
    double const* row = b;
    for (int c = 0; c < columns; ++c, row += 3) {
      to[c] -= a[0] * row[0] + a[1] * row[1] + a[2] * row[2];
    }
  }
}

bool isFinite(LinearisedObservation const& row, bool hasPoint, Unknowns const& unknowns) {
  bool finite = residuals(row).allFinite() && (!hasPoint || pointJacobian(row).allFinite());
  for (JacobianPart const& part : row.parts) {
    finite = finite && jacobian(part, row.rows, unknowns.sizeOf(part.block)).allFinite();
  }
  return finite;
}

}  // namespace

PointSystem::PointSystem(Problem const& problem, ObservationGroups const& groups, Unknowns const& unknowns)
    : mProblem(problem), mGroups(groups), mUnknowns(unknowns) {}

PointSystem::State PointSystem::gather(ObservationGroup const& group, Weighting const& weighting) {
  mHasPoint = group.point != noPoint;
  mCount = 0;
  mRows = 0;
  mCost = 0.0;
  for (std::size_t const number : mGroups.observations(group)) {
    if (weighting.isActive[number] == 0) {
      continue;
    }
    if (mCount == mObservations.size()) {
      mObservations.emplace_back();
    }
    LinearisedObservation& row = mObservations[mCount++];
    row.parts.clear();
    mProblem.linearise(number, row);
    if (!isFinite(row, mHasPoint, mUnknowns)) {
      return State::notFinite;
    }
    double const squared = residuals(row).squaredNorm();
    bool const isImage = mProblem.identity(number).kind == ObservationKind::image;
    mCost += isImage ? weighting.loss.cost(squared) : squared;
    mRows += row.rows;
    scaleByWeight(row, isImage ? weighting.loss.weight(squared) : 1.0);
  }
  findBlocks();
  mV.setZero();
  mPointGradient.setZero();
  mReducedPointGradient.setZero();
  mW.setZero(mOffsets.back(), 3);
  mGradient.setZero(mOffsets.back());
  for (std::size_t i = 0; i < mCount; ++i) {
    addPointTerms(mObservations[i]);
  }
  return mHasPoint ? factorPoint() : State::determined;
}

void PointSystem::scaleByWeight(LinearisedObservation& row, double weight) const {
  if (weight == 1.0) {
    return;
  }
  double const factor = std::sqrt(weight);
  for (double& value : row.residuals) {
    value *= factor;
  }
  for (double& value : row.pointJacobian) {
    value *= factor;
  }
  for (JacobianPart& part : row.parts) {
    std::for_each_n(part.jacobian.begin(), row.rows * mUnknowns.sizeOf(part.block),
                    [&](double& value) { value *= factor; });
  }
}

void PointSystem::findBlocks() {
  mBlocks.clear();
  for (std::size_t i = 0; i < mCount; ++i) {
    for (JacobianPart const& part : mObservations[i].parts) {
      for (int k = 0; k < part.count; ++k) {
        mBlocks.push_back(part.block + k);
      }
    }
  }
  std::sort(mBlocks.begin(), mBlocks.end());
  mBlocks.erase(std::unique(mBlocks.begin(), mBlocks.end()), mBlocks.end());
  mOffsets.assign(1, 0);
  for (int const block : mBlocks) {
    mOffsets.push_back(mOffsets.back() + mUnknowns.sizeOf(block));
  }
}

std::size_t PointSystem::placeOf(int block) const {
  return static_cast<std::size_t>(std::lower_bound(mBlocks.begin(), mBlocks.end(), block) - mBlocks.begin());
}

void PointSystem::addPointTerms(LinearisedObservation const& row) {
  if (mHasPoint) {
    mV.noalias() += pointJacobian(row).transpose() * pointJacobian(row);
    mPointGradient.noalias() += pointJacobian(row).transpose() * residuals(row);
  }
  for (JacobianPart const& part : row.parts) {
    int const size = mUnknowns.sizeOf(part.block);
    auto const j = jacobian(part, row.rows, size);
    Eigen::Matrix<double, Eigen::Dynamic, 3, Eigen::RowMajor, maxBlockSize, 3> w;
    w.setZero(size, 3);
    if (mHasPoint) {
      w = j.transpose().lazyProduct(pointJacobian(row));
    }
    Eigen::Matrix<double, Eigen::Dynamic, 1, 0, maxBlockSize, 1> const g = j.transpose().lazyProduct(residuals(row));
    for (int k = 0; k < part.count; ++k) {
      int const offset = mOffsets[placeOf(part.block + k)];
      mW.middleRows(offset, size) += part.weights[static_cast<std::size_t>(k)] * w;
      mGradient.segment(offset, size) += part.weights[static_cast<std::size_t>(k)] * g;
    }
  }
}

PointSystem::State PointSystem::factorPoint() {
  mC.setZero();
  for (int j = 0; j < 3; ++j) {
    double const pivot = mV(j, j) - mC.row(j).head(j).squaredNorm();
    if (!(pivot > leastPivot * mV(j, j))) {
      return State::undetermined;
    }
    mC(j, j) = std::sqrt(pivot);
    for (int i = j + 1; i < 3; ++i) {
      mC(i, j) = (mV(i, j) - mC.row(i).head(j).dot(mC.row(j).head(j))) / mC(j, j);
    }
  }
  mReducedPointGradient = mC.triangularView<Eigen::Lower>().solve(mPointGradient);
  return State::determined;
}

void PointSystem::addDirectTerms(LinearisedObservation const& row, double* data) const {
  std::size_t const count = mBlocks.size();
  for (JacobianPart const& a : row.parts) {
    int const rows = mUnknowns.sizeOf(a.block);
    for (JacobianPart const& b : row.parts) {
      int const columns = mUnknowns.sizeOf(b.block);
      if (a.block + a.count <= b.block) {
        continue;
      }
      Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor, maxBlockSize, maxBlockSize> const product =
          jacobian(a, row.rows, rows).transpose().lazyProduct(jacobian(b, row.rows, columns));
      for (int k = 0; k < a.count; ++k) {
        for (int l = 0; l < b.count && b.block + l <= a.block + k; ++l) {
          double const weight = a.weights[static_cast<std::size_t>(k)] * b.weights[static_cast<std::size_t>(l)];
          double* to = data + mSlots[placeOf(a.block + k) * count + placeOf(b.block + l)];
          for (int i = 0; i < rows * columns; ++i) {
            to[i] += weight * product.data()[i];
          }
        }
      }
    }
  }
}

void PointSystem::addTo(BlockMatrix& matrix, std::span<double> gradient) {
  std::size_t const count = mBlocks.size();
  mSlots.resize(count * count);
  for (std::size_t a = 0; a < count; ++a) {
    for (std::size_t b = 0; b <= a; ++b) {
      mSlots[a * count + b] = matrix.slot(mBlocks[a], mBlocks[b]);
    }
  }
  double* const data = matrix.data();
  for (std::size_t i = 0; i < mCount; ++i) {
    addDirectTerms(mObservations[i], data);
  }
  if (mHasPoint && count > 0) {
    mY = mC.triangularView<Eigen::Lower>().solve(mW.transpose()).transpose();
    mGradient.noalias() -= mY * mReducedPointGradient;
    for (std::size_t a = 0; a < count; ++a) {
      for (std::size_t b = 0; b <= a; ++b) {
        subtractProduct(mY.row(mOffsets[a]).data(), mOffsets[a + 1] - mOffsets[a], mY.row(mOffsets[b]).data(),
                        mOffsets[b + 1] - mOffsets[b], data + mSlots[a * count + b]);
      }
    }
  }
  for (std::size_t a = 0; a < count; ++a) {
    for (int i = mOffsets[a]; i < mOffsets[a + 1]; ++i) {
      gradient[static_cast<std::size_t>(mUnknowns.offset(mBlocks[a]) + i - mOffsets[a])] += mGradient(i);
    }
  }
}

Eigen::Vector3d PointSystem::step(std::span<double const> others) const {
  Eigen::Vector3d right = mPointGradient;
  for (std::size_t a = 0; a < mBlocks.size(); ++a) {
    for (int i = mOffsets[a]; i < mOffsets[a + 1]; ++i) {
      right += mW.row(i).transpose() * others[static_cast<std::size_t>(mUnknowns.offset(mBlocks[a]) + i - mOffsets[a])];
    }
  }
  mC.triangularView<Eigen::Lower>().solveInPlace(right);
  mC.triangularView<Eigen::Lower>().transpose().solveInPlace(right);
  return -right;
}

Eigen::Matrix3d PointSystem::covariance(SelectedInverse const& inverse) const {
  Eigen::MatrixXd q(mOffsets.back(), mOffsets.back());
  Eigen::MatrixXd block;
  for (std::size_t a = 0; a < mBlocks.size(); ++a) {
    for (std::size_t b = 0; b <= a; ++b) {
      if (!inverse.covariance(mBlocks[a], mBlocks[b], block)) {
        throw std::logic_error("A point sees two blocks that the factor doesn't couple");
      }
      q.block(mOffsets[a], mOffsets[b], block.rows(), block.cols()) = block;
      q.block(mOffsets[b], mOffsets[a], block.cols(), block.rows()) = block.transpose();
    }
  }
  // With B = C^-1: V^-1 = B^T B, and V^-1 W^T Q W V^-1 = B^T Y^T Q Y B.
  Eigen::Matrix3d const b = mC.triangularView<Eigen::Lower>().solve(Eigen::Matrix3d::Identity());
  ByPoint const y = mW * b.transpose();
  Eigen::Matrix3d const spread = y.transpose() * (q * y);
  return b.transpose() * (Eigen::Matrix3d::Identity() + spread) * b;
}

}  // namespace kesadjust
