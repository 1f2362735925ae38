// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/Adjustment.h>
#include <kesadjust/Problem.h>

#include <cstddef>
#include <span>
#include <vector>

namespace kesadjust {

/// Observations that are eliminated together: all of one point, or a single one without a point.
struct ObservationGroup {
  int point;  ///< `noPoint` for an observation without one.
  std::size_t begin;
  std::size_t end;
};

/// Strips and points that observations connect with each other, and with nothing else.
struct Component {
  std::vector<int> strips;
  std::vector<int> points;
};

/// All observations of a problem in their canonical order: the same for any order of input, and such that neighbours
/// see neighbouring nodes.
class ObservationGroups {
public:
  /// Throws std::invalid_argument "Point NAME has an observation twice" or "An observation without a point is given
  /// twice", and for a point's number that doesn't exist.
  explicit ObservationGroups(Problem const& problem);

  std::vector<ObservationGroup> const& groups() const { return mGroups; }
  /// The numbers of a group's observations.
  std::span<std::size_t const> observations(ObservationGroup const& group) const {
    return std::span(mOrder).subspan(group.begin, group.end - group.begin);
  }

private:
  std::vector<std::size_t> mOrder;
  std::vector<ObservationGroup> mGroups;
};

/// The connected components of strips and points, by their first strip; points in the order of their numbers.
std::vector<Component> componentsOf(Problem const& problem);
/// The same with the names of points, sorted.
std::vector<Island> islandsOf(Problem const& problem);

}  // namespace kesadjust
