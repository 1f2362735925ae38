// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ObservationGroups.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>
#include <tuple>

namespace kesadjust {

namespace {

auto placeOf(ObservationIdentity const& identity) {
  return std::make_tuple(identity.kind, identity.strip, identity.image, identity.line, identity.sample);
}

class UnionFind {
public:
  explicit UnionFind(std::size_t count) : mParents(count) {
    std::iota(mParents.begin(), mParents.end(), std::size_t{0});
  }
  std::size_t root(std::size_t i) {
    while (mParents[i] != i) {
      mParents[i] = mParents[mParents[i]];
      i = mParents[i];
    }
    return i;
  }
  void join(std::size_t a, std::size_t b) {
    a = root(a);
    b = root(b);
    mParents[std::max(a, b)] = std::min(a, b);
  }

private:
  std::vector<std::size_t> mParents;
};

std::vector<ObservationIdentity> identitiesOf(Problem const& problem) {
  std::vector<ObservationIdentity> identities;
  identities.reserve(problem.observationCount());
  for (std::size_t i = 0; i < problem.observationCount(); ++i) {
    identities.push_back(problem.identity(i));
    if (!std::isfinite(identities.back().line) || !std::isfinite(identities.back().sample)) {
      throw std::invalid_argument("Observation " + std::to_string(i) + " has a place that isn't finite");
    }
    int const point = identities.back().point;
    if (point != noPoint && (point < 0 || point >= problem.pointCount())) {
      throw std::invalid_argument("Observation " + std::to_string(i) + " has point " + std::to_string(point) + " of " +
                                  std::to_string(problem.pointCount()));
    }
  }
  return identities;
}

}  // namespace

ObservationGroups::ObservationGroups(Problem const& problem) {
  std::vector<ObservationIdentity> const identities = identitiesOf(problem);
  mOrder.resize(identities.size());
  std::iota(mOrder.begin(), mOrder.end(), std::size_t{0});
  // By point, its observations by place.
  std::sort(mOrder.begin(), mOrder.end(), [&](std::size_t a, std::size_t b) {
    return std::make_tuple(identities[a].point, placeOf(identities[a])) <
           std::make_tuple(identities[b].point, placeOf(identities[b]));
  });
  for (std::size_t i = 0; i < mOrder.size(); ++i) {
    ObservationIdentity const& current = identities[mOrder[i]];
    bool const follows = i > 0 && identities[mOrder[i - 1]].point == current.point;
    if (follows && placeOf(identities[mOrder[i - 1]]) == placeOf(current)) {
      throw std::invalid_argument(current.point == noPoint
                                      ? "An observation without a point is given twice"
                                      : "Point " + problem.pointName(current.point) + " has an observation twice");
    }
    if (follows && current.point != noPoint) {
      mGroups.back().end = i + 1;
    } else {
      mGroups.push_back({current.point, i, i + 1});
    }
  }
  // Groups by the place of their first observation.
  std::sort(mGroups.begin(), mGroups.end(), [&](ObservationGroup const& a, ObservationGroup const& b) {
    auto const placeOfA = placeOf(identities[mOrder[a.begin]]);
    auto const placeOfB = placeOf(identities[mOrder[b.begin]]);
    if (placeOfA != placeOfB || a.point == noPoint || b.point == noPoint) {
      return std::make_tuple(placeOfA, a.point != noPoint) < std::make_tuple(placeOfB, b.point != noPoint);
    }
    return problem.pointName(a.point) < problem.pointName(b.point);
  });
}

std::vector<Component> componentsOf(Problem const& problem) {
  std::vector<ObservationIdentity> const identities = identitiesOf(problem);
  int strips = 0;
  for (ObservationIdentity const& identity : identities) {
    strips = std::max(strips, identity.strip + 1);
  }
  std::vector<char> isSeen(static_cast<std::size_t>(strips + problem.pointCount()));
  UnionFind sets(isSeen.size());
  for (ObservationIdentity const& identity : identities) {
    if (identity.kind != ObservationKind::image || identity.strip < 0 || identity.point == noPoint) {
      continue;
    }
    auto const strip = static_cast<std::size_t>(identity.strip);
    auto const point = static_cast<std::size_t>(strips) + static_cast<std::size_t>(identity.point);
    isSeen[strip] = isSeen[point] = 1;
    sets.join(strip, point);
  }
  std::vector<int> number(isSeen.size(), -1);
  std::vector<Component> components;
  for (std::size_t i = 0; i < isSeen.size(); ++i) {
    if (isSeen[i] == 0) {
      continue;
    }
    int& component = number[sets.root(i)];
    if (component < 0) {
      component = static_cast<int>(components.size());
      components.emplace_back();
    }
    Component& to = components[static_cast<std::size_t>(component)];
    int const item = static_cast<int>(i);
    (item < strips ? to.strips : to.points).push_back(item < strips ? item : item - strips);
  }
  return components;
}

std::vector<Island> islandsOf(Problem const& problem) {
  std::vector<Island> islands;
  for (Component const& component : componentsOf(problem)) {
    Island& island = islands.emplace_back(Island{component.strips, {}});
    for (int const point : component.points) {
      island.points.push_back(problem.pointName(point));
    }
    std::sort(island.points.begin(), island.points.end());
  }
  return islands;
}

}  // namespace kesadjust
