// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "NormalEquations.h"

#include <kes/Parallel.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>

namespace kesadjust {

namespace {

constexpr std::size_t groupsPerChunk = 128;
/// Chunks whose sums are in memory together.
constexpr std::size_t chunksPerWave = 32;

}  // namespace

struct NormalEquations::Chunk {
  BlockMatrix matrix;
  std::vector<double> gradient;
  double cost = 0.0;
  double pointDecrease = 0.0;
  std::size_t rows = 0;
};

NormalEquations::NormalEquations(Problem const& problem, ObservationGroups const& groups, Unknowns const& unknowns,
                                 int threads)
    : mProblem(problem), mGroups(groups), mUnknowns(unknowns), mThreads(threads), mMatrix(unknowns) {
  restart();
}

void NormalEquations::restart() {
  mIsDetermined.assign(mGroups.groups().size(), 1);
  mIsFirst = true;
}

NormalEquations::Chunk NormalEquations::summed(std::size_t chunk, Weighting const& weighting, PointSystem& system) {
  Chunk sum{BlockMatrix(mUnknowns), std::vector<double>(static_cast<std::size_t>(mUnknowns.size()))};
  std::size_t const end = std::min((chunk + 1) * groupsPerChunk, mGroups.groups().size());
  for (std::size_t i = chunk * groupsPerChunk; i < end; ++i) {
    if (mIsDetermined[i] == 0) {
      continue;
    }
    if (system.gather(mGroups.groups()[i], weighting) != PointSystem::State::determined) {
      if (mIsFirst) {
        mIsDetermined[i] = 0;
      } else {
        sum.cost = std::numeric_limits<double>::infinity();
      }
      continue;
    }
    sum.cost += system.cost();
    sum.pointDecrease += system.decrease();
    sum.rows += static_cast<std::size_t>(system.rows());
    system.addTo(sum.matrix, sum.gradient);
  }
  return sum;
}

void NormalEquations::assemble(Weighting const& weighting) {
  mMatrix = BlockMatrix(mUnknowns);
  mGradient.assign(static_cast<std::size_t>(mUnknowns.size()), 0.0);
  mCost = 0.0;
  mPointDecrease = 0.0;
  mRows = 0;
  std::size_t const chunks = (mGroups.groups().size() + groupsPerChunk - 1) / groupsPerChunk;
  for (std::size_t first = 0; first < chunks; first += chunksPerWave) {
    std::vector<std::optional<Chunk>> sums(std::min(chunksPerWave, chunks - first));
    kes::forEachIndexByWorkers(sums.size(), mThreads, [&]() -> kes::Worker {
      auto system = std::make_shared<PointSystem>(mProblem, mGroups, mUnknowns);
      return [&, system](std::size_t i) { sums[i] = summed(first + i, weighting, *system); };
    });
    for (auto const& sum : sums) {
      mMatrix.add(sum->matrix);
      std::transform(mGradient.begin(), mGradient.end(), sum->gradient.begin(), mGradient.begin(), std::plus<>());
      mCost += sum->cost;
      mPointDecrease += sum->pointDecrease;
      mRows += sum->rows;
    }
  }
  mIsFirst = false;
  addPriors();
}

void NormalEquations::addPriors() {
  std::vector<double> deviations(mGradient.size());
  mProblem.deviations(deviations);
  auto const add = [&](int row, int column, double value) {
    auto const r = static_cast<std::size_t>(row);
    auto const c = static_cast<std::size_t>(column);
    int const blockRow = mUnknowns.blockOf(row);
    int const blockColumn = mUnknowns.blockOf(column);
    int const size = mUnknowns.sizeOf(blockColumn);
    std::size_t const slot = mMatrix.slot(blockRow, blockColumn);
    auto const entry = [&](int i, int j) -> double& {
      return mMatrix.data()[slot + static_cast<std::size_t>((i - mUnknowns.offset(blockRow)) * size + j -
                                                            mUnknowns.offset(blockColumn))];
    };
    entry(row, column) += value;
    mGradient[r] += value * deviations[c];
    mCost += value * deviations[r] * deviations[c];
    if (row != column) {
      if (blockRow == blockColumn) {
        entry(column, row) += value;
      }
      mGradient[c] += value * deviations[r];
      mCost += value * deviations[r] * deviations[c];
    }
  };
  auto const& blocks = mProblem.blocks();
  for (int block = 0; block < mUnknowns.blockCount(); ++block) {
    // Every block has its diagonal, so that one that nothing sees is found.
    mMatrix.slot(block, block);
    auto const& sigmas = blocks[static_cast<std::size_t>(block)].priorSigmas;
    for (std::size_t i = 0; i < sigmas.size(); ++i) {
      int const parameter = mUnknowns.offset(block) + static_cast<int>(i);
      add(parameter, parameter, 1.0 / (sigmas[i] * sigmas[i]));
    }
  }
  for (PrecisionEntry const& entry : mProblem.prior()) {
    add(entry.row, entry.column, entry.value);
  }
}

template <class Work>
void NormalEquations::forEachDetermined(Weighting const& weighting, std::vector<char> const& isAsked,
                                        Work const& work) const {
  std::size_t const count = mGroups.groups().size();
  kes::forEachIndexByWorkers((count + groupsPerChunk - 1) / groupsPerChunk, mThreads, [&]() -> kes::Worker {
    auto system = std::make_shared<PointSystem>(mProblem, mGroups, mUnknowns);
    return [&, system](std::size_t chunk) {
      for (std::size_t i = chunk * groupsPerChunk; i < std::min((chunk + 1) * groupsPerChunk, count); ++i) {
        ObservationGroup const& group = mGroups.groups()[i];
        if (group.point != noPoint && isAsked[static_cast<std::size_t>(group.point)] != 0 && mIsDetermined[i] != 0 &&
            system->gather(group, weighting) == PointSystem::State::determined) {
          work(static_cast<std::size_t>(group.point), *system);
        }
      }
    };
  });
}

std::vector<double> NormalEquations::pointSteps(Weighting const& weighting, std::span<double const> parameters) const {
  std::vector<double> steps(3 * static_cast<std::size_t>(mProblem.pointCount()));
  std::vector<char> const all(static_cast<std::size_t>(mProblem.pointCount()), 1);
  forEachDetermined(weighting, all, [&](std::size_t point, PointSystem const& system) {
    Eigen::Map<Eigen::Vector3d>(steps.data() + 3 * point) = system.step(parameters);
  });
  return steps;
}

std::vector<Eigen::Matrix3d> NormalEquations::pointCovariances(Weighting const& weighting,
                                                               SelectedInverse const& inverse,
                                                               std::vector<char> const& isAsked) const {
  std::vector<Eigen::Matrix3d> covariances(static_cast<std::size_t>(mProblem.pointCount()), Eigen::Matrix3d::Zero());
  forEachDetermined(weighting, isAsked, [&](std::size_t point, PointSystem const& system) {
    covariances[point] = system.covariance(inverse);
  });
  return covariances;
}

}  // namespace kesadjust
