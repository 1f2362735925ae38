// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LinearProblem.h"

#include <algorithm>
#include <numeric>

namespace test {

namespace {

using Rows = Eigen::Map<Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> const>;

void fill(std::span<double> values, std::mt19937& random) {
  std::normal_distribution<double> normal;
  std::generate(values.begin(), values.end(), [&] { return normal(random); });
}

kesadjust::ParameterBlock block(kesadjust::BlockKind kind, int strip, std::string const& name, int size,
                                double sigma = 0.0) {
  kesadjust::ParameterBlock result{kind, strip, {}, {}};
  for (int i = 0; i < size; ++i) {
    result.names.push_back(name + std::to_string(i));
    if (sigma > 0.0) {
      result.priorSigmas.push_back(sigma);
    }
  }
  return result;
}

}  // namespace

void LinearProblem::linearise(std::size_t i, kesadjust::LinearisedObservation& result) const {
  kesadjust::LinearisedObservation const& row = mObservations[i].row;
  result = row;
  Eigen::VectorXd const change = denseJacobian(i) * mState;
  for (int k = 0; k < row.rows; ++k) {
    result.residuals[static_cast<std::size_t>(k)] += change(k);
  }
}

void LinearProblem::deviations(std::span<double> result) const {
  std::copy_n(mState.data(), result.size(), result.begin());
}

void LinearProblem::apply(std::span<double const> parameters, std::span<double const> points) {
  mOldState = mState;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    mState(static_cast<Eigen::Index>(i)) += parameters[i];
  }
  for (std::size_t i = 0; i < points.size(); ++i) {
    mState(static_cast<Eigen::Index>(parameters.size() + i)) += points[i];
  }
}

void LinearProblem::undo() {
  mState = mOldState;
}

int LinearProblem::offset(int block) const {
  return std::accumulate(mBlocks.begin(), mBlocks.begin() + block, 0,
                         [](int sum, auto const& one) { return sum + static_cast<int>(one.names.size()); });
}

int LinearProblem::parameterCount() const {
  return offset(static_cast<int>(mBlocks.size()));
}

Eigen::MatrixXd LinearProblem::denseJacobian(std::size_t i) const {
  auto const& [identity, row] = mObservations[i];
  Eigen::MatrixXd dense = Eigen::MatrixXd::Zero(row.rows, parameterCount() + 3 * pointCount());
  for (auto const& part : row.parts) {
    auto const size = static_cast<int>(mBlocks[static_cast<std::size_t>(part.block)].names.size());
    for (int k = 0; k < part.count; ++k) {
      dense.middleCols(offset(part.block + k), size) +=
          part.weights[static_cast<std::size_t>(k)] * Rows(part.jacobian.data(), row.rows, size);
    }
  }
  if (identity.point != kesadjust::noPoint) {
    dense.middleCols(parameterCount() + 3 * identity.point, 3) += Rows(row.pointJacobian.data(), row.rows, 3);
  }
  return dense;
}

Eigen::MatrixXd LinearProblem::denseNormals() const {
  Eigen::Index const size = parameterCount() + 3 * pointCount();
  Eigen::MatrixXd normals = Eigen::MatrixXd::Zero(size, size);
  for (std::size_t i = 0; i < mObservations.size(); ++i) {
    Eigen::MatrixXd const j = denseJacobian(i);
    normals += j.transpose() * j;
  }
  for (auto const& [row, column, value] : mPrior) {
    normals(row, column) += value;
    if (row != column) {
      normals(column, row) += value;
    }
  }
  for (std::size_t block = 0; block < mBlocks.size(); ++block) {
    for (std::size_t i = 0; i < mBlocks[block].priorSigmas.size(); ++i) {
      auto const parameter = offset(static_cast<int>(block)) + static_cast<int>(i);
      normals(parameter, parameter) += 1.0 / (mBlocks[block].priorSigmas[i] * mBlocks[block].priorSigmas[i]);
    }
  }
  return normals;
}

Eigen::VectorXd LinearProblem::denseGradient() const {
  Eigen::VectorXd gradient = Eigen::VectorXd::Zero(parameterCount() + 3 * pointCount());
  for (std::size_t i = 0; i < mObservations.size(); ++i) {
    auto const& row = mObservations[i].row;
    gradient += denseJacobian(i).transpose() * Eigen::Map<Eigen::VectorXd const>(row.residuals.data(), row.rows);
  }
  return gradient;
}

LinearProblem randomProblem(unsigned seed) {
  using kesadjust::BlockKind;
  std::mt19937 random(seed);
  LinearProblem problem;
  constexpr int nodes = 7;
  constexpr int strips = 2;
  for (int strip = 0; strip < strips; ++strip) {
    for (int node = 0; node < nodes; ++node) {
      problem.mBlocks.push_back(block(BlockKind::node, strip, "node", 6));
    }
  }
  for (int strip = 0; strip < strips; ++strip) {
    problem.mBlocks.push_back(block(BlockKind::stripConstant, strip, "offset", 1, 0.5));
  }
  problem.mBlocks.push_back(block(BlockKind::calibration, -1, "boresight", 3, 2.0));
  problem.mBlocks.push_back(block(BlockKind::calibration, -1, "free", 2));
  for (int strip = 0; strip < strips; ++strip) {
    for (int i = 0; i < 6 * nodes; ++i) {
      int const row = strip * 6 * nodes + i;
      problem.mPrior.push_back({row, row, 3.0});
      if (i >= 6) {
        problem.mPrior.push_back({row, row - 6, -1.2});
      }
    }
  }
  int const constants = strips * nodes;
  for (int point = 0; point < 40; ++point) {
    problem.mPointNames.push_back("P" + std::to_string(point));
    for (int ray = 0; ray < 3 * strips; ++ray) {
      int const strip = ray % strips;
      LinearProblem::Observation observation;
      observation.identity = {kesadjust::ObservationKind::image, point, strip, ray, 10.0 * point, 3.0};
      auto& row = observation.row;
      fill(row.residuals, random);
      fill(row.pointJacobian, random);
      row.parts.resize(4);
      row.parts[0] = {strip * nodes + (point + ray) % (nodes - 3), 4, {0.1, 0.5, 0.3, 0.1}, {}};
      row.parts[1] = {constants + strip, 1, {1.0, 0.0, 0.0, 0.0}, {}};
      row.parts[2] = {constants + strips, 1, {1.0, 0.0, 0.0, 0.0}, {}};
      row.parts[3] = {constants + strips + 1, 1, {1.0, 0.0, 0.0, 0.0}, {}};
      for (auto& part : row.parts) {
        fill(part.jacobian, random);
      }
      problem.mObservations.push_back(observation);
    }
    if (point % 10 == 0) {
      LinearProblem::Observation observation;
      observation.identity = {kesadjust::ObservationKind::ground, point, -1, 0, 0.0, 0.0};
      observation.row.rows = 3;
      fill(observation.row.residuals, random);
      observation.row.pointJacobian = {2.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 1.0};
      problem.mObservations.push_back(observation);
    }
  }
  // One without a point.
  LinearProblem::Observation shift;
  shift.identity = {kesadjust::ObservationKind::other, kesadjust::noPoint, 0, 0, 0.0, 0.0};
  shift.row.rows = 1;
  shift.row.residuals = {0.7, 0.0, 0.0};
  shift.row.parts.resize(1);
  shift.row.parts[0] = {constants, 1, {1.0, 0.0, 0.0, 0.0}, {4.0}};
  problem.mObservations.push_back(shift);
  problem.mState = Eigen::VectorXd::Zero(problem.parameterCount() + 3 * problem.pointCount());
  return problem;
}

LinearProblem shuffled(LinearProblem const& problem, unsigned seed) {
  std::mt19937 random(seed);
  LinearProblem result = problem;
  std::shuffle(result.mObservations.begin(), result.mObservations.end(), random);
  std::vector<int> numbers(problem.mPointNames.size());
  std::iota(numbers.begin(), numbers.end(), 0);
  std::shuffle(numbers.begin(), numbers.end(), random);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    result.mPointNames[static_cast<std::size_t>(numbers[i])] = problem.mPointNames[i];
  }
  for (auto& observation : result.mObservations) {
    if (observation.identity.point != kesadjust::noPoint) {
      observation.identity.point = numbers[static_cast<std::size_t>(observation.identity.point)];
    }
  }
  return result;
}

}  // namespace test
