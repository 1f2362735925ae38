// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "NormalEquations.h"
#include "ObservationGroups.h"
#include "SelectedInverse.h"

#include <kesadjust/Adjustment.h>
#include <kesadjust/Problem.h>

#include <vector>

namespace kesadjust {

/// The observed coordinates of ground points and their test: data snooping (Baarda 1968), one point at a time. With the
/// adjusted point's covariance Q and an observation's Jacobian a and residual r, both in standard deviations, the
/// normalised residual is r / sqrt(1 - a Q a^T) while it counts, and r / sqrt(1 + a Q a^T) once it was taken out.
class GroundControl {
public:
  GroundControl(Problem const& problem, ObservationGroups const& groups);

  /// The tests of all ground points, by name.
  std::vector<GroundTest> tests(NormalEquations const& normals, Weighting const& weighting,
                                SelectedInverse const& inverse) const;
  /// Takes out points whose coordinates drove away their image points: where two and at least half of these were
  /// rejected, those are taken back, and the coordinates have to be predicted by them. Each point once; true when any
  /// changed. Coordinates have no robust loss, so that wrong ones make right image points look grossly wrong, and
  /// without these nothing would check the coordinates.
  bool suspect(std::vector<char>& isActive);
  /// Takes out the point that fails worst, or takes back one that the others predict, once; true when any changed.
  bool change(std::vector<GroundTest> const& tests, double criticalValue, std::vector<char>& isActive);

private:
  GroundTest testOf(std::size_t point, Eigen::Matrix3d const& covariance, bool isUsed) const;

  Problem const& mProblem;
  std::vector<std::vector<std::size_t>> mObservations;  ///< Of each point.
  std::vector<std::vector<std::size_t>> mSights;        ///< Image points of those that have coordinates.
  std::vector<int> mTimesTakenOut;
};

}  // namespace kesadjust
