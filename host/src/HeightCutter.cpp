// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "HeightCutter.h"

#include "Checks.h"

#include <cmath>
#include <utility>

namespace kes::detail {

namespace {

constexpr int CUT_PASSES = 20;
constexpr double EARTH_RADIUS = 6378137.0;
constexpr double CUT_TOLERANCE = 1e-6;  // metres
// Square metres: a line of sight bends by 1 / R per metre in another system, so that a step s beyond two places at a
// distance d departs from their chord by s d / 2R.
constexpr double STRAIGHT = 1.0;

}  // namespace

HeightCutter::HeightCutter(Converter toSystem, CoordinateSystem const& system)
    : mToSystem(std::move(toSystem)), mUnit(system.verticalUnit().metres) {
  double const height = mToSystem({0.0, 0.0, 0.0}).z * mUnit;
  mOrigin = std::isfinite(height) ? height : 0.0;
}

// Above the local system's plane, heights grow by d² / 2R at a distance d from its origin.
double HeightCutter::guess(LineOfSight const& line, double height) const {
  double const flat = line.eye.z + mOrigin - height * mUnit;
  geo::XYZPoint const p = line.at(flat);
  return flat + (p.x * p.x + p.y * p.y) / (2.0 * EARTH_RADIUS);
}

HeightCut HeightCutter::cut(LineOfSight const& line, double height) {
  HeightCut const nothing{NAN_VALUE, NOWHERE, Status::notTransformable};
  HeightCut last = nothing;
  double lastRest = NAN_VALUE;
  double depth = guess(line, height);
  for (int pass = 0; pass < CUT_PASSES; ++pass) {
    HeightCut const cut{depth, mToSystem(line.at(depth)), Status::ok};
    if (!isFinite(cut.place)) {
      return nothing;
    }
    double const rest = (cut.place.z - height) * mUnit;
    if (std::fabs(rest) <= CUT_TOLERANCE) {
      return finished(cut, height);
    }
    // A first step as above level ground, then as the last two cuts have it.
    double const step = std::isnan(lastRest) ? rest : -rest * (depth - last.depth) / (rest - lastRest);
    if (std::fabs(step * (depth - last.depth)) <= STRAIGHT) {
      double const part = step / (depth - last.depth);
      return finished({depth + step,
                       {cut.place.x + part * (cut.place.x - last.place.x),
                        cut.place.y + part * (cut.place.y - last.place.y), height},
                       Status::ok},
                      height);
    }
    last = cut;
    lastRest = rest;
    depth += step;
  }
  return {NAN_VALUE, NOWHERE, Status::noSolution};
}

HeightCut HeightCutter::finished(HeightCut const& cut, double height) {
  return {cut.depth, {cut.place.x, cut.place.y, height}, cut.depth > 0.0 ? Status::ok : Status::noSolution};
}

}  // namespace kes::detail
