// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BlockMatrix.h"
#include "ObservationGroups.h"
#include "PointSystem.h"
#include "SelectedInverse.h"

#include <kesadjust/Problem.h>

#include <Eigen/Core>
#include <span>
#include <vector>

namespace kesadjust {

/// The reduced normal equations N d = -b of a problem at its current state: points eliminated, priors included.
///
/// Groups of observations are summed in fixed chunks, in canonical order within a chunk and chunk after chunk, so that
/// every bit is the same for any number of threads and any order of input.
class NormalEquations {
public:
  NormalEquations(Problem const& problem, ObservationGroups const& groups, Unknowns const& unknowns, int threads);

  /// Forgets which points weren't determined.
  void restart();
  /// Sums all groups at the current state. A group whose point isn't determined at its first summation counts no more
  /// until `restart`.
  void assemble(Weighting const& weighting);

  BlockMatrix const& matrix() const { return mMatrix; }
  std::vector<double> const& gradient() const { return mGradient; }
  /// The sum of the losses and of the priors' squares; infinity when an observation that counts is no longer finite.
  double cost() const { return mCost; }
  /// What the points alone would take from it by moving.
  double pointDecrease() const { return mPointDecrease; }
  /// Residuals that count, those of priors not among them.
  std::size_t rows() const { return mRows; }
  /// Whether a group counts, by its number among the groups.
  std::vector<char> const& isDetermined() const { return mIsDetermined; }

  /// The steps of all points by that of the parameters, three values each; zeros for those that aren't determined.
  std::vector<double> pointSteps(Weighting const& weighting, std::span<double const> parameters) const;
  /// The covariances of the points that are asked for, by their numbers; zeros for others and those that aren't
  /// determined.
  std::vector<Eigen::Matrix3d> pointCovariances(Weighting const& weighting, SelectedInverse const& inverse,
                                                std::vector<char> const& isAsked) const;

private:
  struct Chunk;
  Chunk summed(std::size_t chunk, Weighting const& weighting, PointSystem& system);
  void addPriors();
  template <class Work>
  void forEachDetermined(Weighting const& weighting, std::vector<char> const& isAsked, Work const& work) const;

  Problem const& mProblem;
  ObservationGroups const& mGroups;
  Unknowns const& mUnknowns;
  int mThreads;
  BlockMatrix mMatrix;
  std::vector<double> mGradient;
  double mCost = 0.0;
  double mPointDecrease = 0.0;
  std::size_t mRows = 0;
  std::vector<char> mIsDetermined;
  bool mIsFirst = true;  ///< Whether no state was summed since the last restart.
};

}  // namespace kesadjust
