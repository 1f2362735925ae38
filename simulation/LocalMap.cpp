// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/units.h>
#include <simulation/LocalMap.h>

#include <algorithm>
#include <cmath>

namespace simulation {

namespace {

constexpr double earthRadius = 6371000.0;
constexpr double leastHeight = 1.0;  // metres between bottom and top, so that a flat box has a rise too

std::size_t nodesOver(double length, double spacing) {
  return static_cast<std::size_t>(std::max(std::ceil(length / spacing), 1.0)) + 1;
}

// A longitude jumps by a turn at the date line. One unit of angle is a length along the equator, and a turn 40 000 km;
// no map of the ground is half as wide.
void unwrap(std::vector<geo::XYZPoint>& positions, geo::coordSys const& system) {
  double const turn = 2.0 * 3.141592653589793 * 6378137.0 / system.horizontalUnits().getScale();
  auto const known = std::find_if(positions.begin(), positions.end(), [](auto const& p) { return std::isfinite(p.x); });
  double const x0 = known == positions.end() ? 0.0 : known->x;
  for (geo::XYZPoint& position : positions) {
    position.x -= turn * std::round((position.x - x0) / turn);
  }
}

}  // namespace

double LocalMap::spacingFor(double error) {
  return std::sqrt(8.0 * earthRadius * error);
}

LocalMap::LocalMap(geo::coordSys const& local, geo::coordSys const& target, Box const& box, double spacing)
    : mLow(box.low), mSpacing(spacing), mColumns(nodesOver(box.high.x - box.low.x, spacing)),
      mRows(nodesOver(box.high.y - box.low.y, spacing)) {
  double const height = std::max(box.high.z - box.low.z, leastHeight);
  std::vector<geo::XYZPoint> positions = layer(local, target, box.low.z);
  std::vector<geo::XYZPoint> const top = layer(local, target, box.low.z + height);
  positions.insert(positions.end(), top.begin(), top.end());
  unwrap(positions, target);
  std::size_t const count = top.size();
  mNodes.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    geo::XYZPoint const& a = positions[i];
    geo::XYZPoint const& b = positions[count + i];
    mNodes.push_back({a, {(b.x - a.x) / height, (b.y - a.y) / height, (b.z - a.z) / height}});
  }
}

std::vector<geo::XYZPoint> LocalMap::layer(geo::coordSys const& local, geo::coordSys const& target,
                                           double height) const {
  std::vector<geo::XYZPoint> nodes;
  nodes.reserve(mColumns * mRows);
  for (std::size_t row = 0; row < mRows; ++row) {
    for (std::size_t column = 0; column < mColumns; ++column) {
      nodes.emplace_back(mLow.x + mSpacing * static_cast<double>(column), mLow.y + mSpacing * static_cast<double>(row),
                         height);
    }
  }
  geo::coordSys::transform(&local, &target, nodes.data(), nodes.data(), nodes.size());
  return nodes;
}

geo::XYZPoint LocalMap::between(geo::XYZPoint const& a, geo::XYZPoint const& b, double w) {
  return {a.x + (b.x - a.x) * w, a.y + (b.y - a.y) * w, a.z + (b.z - a.z) * w};
}

LocalMap::Node LocalMap::between(Node const& a, Node const& b, double w) {
  return {between(a.foot, b.foot, w), between(a.rise, b.rise, w)};
}

geo::XYZPoint LocalMap::at(geo::XYZPoint const& local) const {
  double const x = (local.x - mLow.x) / mSpacing;
  double const y = (local.y - mLow.y) / mSpacing;
  // A NaN picks the first node, and comes out as what it is.
  double const column = std::fmin(std::fmax(std::floor(x), 0.0), static_cast<double>(mColumns - 2));
  double const row = std::fmin(std::fmax(std::floor(y), 0.0), static_cast<double>(mRows - 2));
  Node const* const node = &mNodes[static_cast<std::size_t>(row) * mColumns + static_cast<std::size_t>(column)];
  double const u = x - column;
  double const v = y - row;
  auto const [foot, rise] = between(between(node[0], node[1], u), between(node[mColumns], node[mColumns + 1], u), v);
  double const up = local.z - mLow.z;
  return {foot.x + rise.x * up, foot.y + rise.y * up, foot.z + rise.z * up};
}

}  // namespace simulation
