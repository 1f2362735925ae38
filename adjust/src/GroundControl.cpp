// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "GroundControl.h"

#include <algorithm>
#include <cmath>

namespace kesadjust {

namespace {

/// A coordinate with less redundancy isn't checked by others.
constexpr double leastRedundancy = 1e-6;

}  // namespace

GroundControl::GroundControl(Problem const& problem, ObservationGroups const& groups)
    : mProblem(problem), mObservations(static_cast<std::size_t>(problem.pointCount())), mSights(mObservations.size()),
      mTimesTakenOut(mObservations.size()) {
  for (ObservationGroup const& group : groups.groups()) {
    for (std::size_t const i : groups.observations(group)) {
      if (group.point == noPoint) {
        continue;
      }
      ObservationKind const kind = problem.identity(i).kind;
      if (kind == ObservationKind::ground) {
        mObservations[static_cast<std::size_t>(group.point)].push_back(i);
      } else if (kind == ObservationKind::image) {
        mSights[static_cast<std::size_t>(group.point)].push_back(i);
      }
    }
  }
}

GroundTest GroundControl::testOf(std::size_t point, Eigen::Matrix3d const& covariance, bool isUsed) const {
  int const number = static_cast<int>(point);
  GroundTest test{number, mProblem.pointName(number), {}, 0.0, isUsed};
  bool const isDetermined = covariance(0, 0) > 0.0;
  LinearisedObservation row;
  for (std::size_t const i : mObservations[point]) {
    row.parts.clear();
    mProblem.linearise(i, row);
    for (int k = 0; k < row.rows && isDetermined; ++k) {
      Eigen::Map<Eigen::RowVector3d const> const a(row.pointJacobian.data() + std::ptrdiff_t{3} * k);
      double const spread = (a * covariance).dot(a);
      double const variance = isUsed ? 1.0 - spread : 1.0 + spread;
      double const residual = row.residuals[static_cast<std::size_t>(k)];
      double const normalised = variance > leastRedundancy ? residual / std::sqrt(variance) : 0.0;
      double& kept = test.normalised[static_cast<std::size_t>(k)];
      kept = std::abs(normalised) > std::abs(kept) ? normalised : kept;
      test.largest = std::max(test.largest, std::abs(normalised));
    }
  }
  return test;
}

std::vector<GroundTest> GroundControl::tests(NormalEquations const& normals, Weighting const& weighting,
                                             SelectedInverse const& inverse) const {
  std::vector<char> isAsked(mObservations.size());
  std::transform(mObservations.begin(), mObservations.end(), isAsked.begin(),
                 [](auto const& ground) { return static_cast<char>(!ground.empty()); });
  auto const covariances = normals.pointCovariances(weighting, inverse, isAsked);
  std::vector<GroundTest> tests;
  for (std::size_t point = 0; point < mObservations.size(); ++point) {
    if (isAsked[point] != 0) {
      tests.push_back(testOf(point, covariances[point], weighting.isActive[mObservations[point].front()] != 0));
    }
  }
  std::sort(tests.begin(), tests.end(), [](GroundTest const& a, GroundTest const& b) { return a.name < b.name; });
  return tests;
}

bool GroundControl::suspect(std::vector<char>& isActive) {
  constexpr std::ptrdiff_t fewest = 2;
  bool changed = false;
  for (std::size_t point = 0; point < mObservations.size(); ++point) {
    auto const isRejected = [&](std::size_t i) { return isActive[i] == 0; };
    auto const& sights = mSights[point];
    auto const rejected = std::count_if(sights.begin(), sights.end(), isRejected);
    bool const drivesAway = rejected >= fewest && 2 * rejected >= static_cast<std::ptrdiff_t>(sights.size());
    if (!drivesAway || mObservations[point].empty() || mTimesTakenOut[point] > 0) {
      continue;
    }
    for (std::size_t const i : mObservations[point]) {
      isActive[i] = 0;
    }
    for (std::size_t const i : sights) {
      isActive[i] = 1;
    }
    ++mTimesTakenOut[point];
    changed = true;
  }
  return changed;
}

bool GroundControl::change(std::vector<GroundTest> const& tests, double criticalValue, std::vector<char>& isActive) {
  auto const activate = [&](GroundTest const& test, char value) {
    for (std::size_t const i : mObservations[static_cast<std::size_t>(test.point)]) {
      isActive[i] = value;
    }
  };
  auto const whileUsed = [](GroundTest const& test) { return test.isUsed ? test.largest : -1.0; };
  auto const worst = std::max_element(tests.begin(), tests.end(), [&](GroundTest const& a, GroundTest const& b) {
    return whileUsed(a) < whileUsed(b);
  });
  if (worst != tests.end() && whileUsed(*worst) > criticalValue) {
    activate(*worst, 0);
    ++mTimesTakenOut[static_cast<std::size_t>(worst->point)];
    return true;
  }
  // Once only, so that this ends.
  auto const back = std::find_if(tests.begin(), tests.end(), [&](GroundTest const& test) {
    return !test.isUsed && test.largest > 0.0 && test.largest <= criticalValue &&
           mTimesTakenOut[static_cast<std::size_t>(test.point)] == 1;
  });
  if (back == tests.end()) {
    return false;
  }
  activate(*back, 1);
  return true;
}

}  // namespace kesadjust
