// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "HeightCutter.h"

#include "Checks.h"
#include "CutKernels.h"
#include "SightFormulas.h"

#include <cmath>
#include <utility>

namespace kes::detail {

namespace {

constexpr int CUT_PASSES = 20;

}  // namespace

HeightCutter::HeightCutter(Converter toSystem, CoordinateSystem const& system)
    : mToSystem(std::move(toSystem)), mUnit(system.verticalUnit().metres) {
  double const height = mToSystem({0.0, 0.0, 0.0}).z * mUnit;
  mOrigin = std::isfinite(height) ? height : 0.0;
}

double HeightCutter::guess(LineOfSight const& line, double height) const {
  return depthAboveSphere(line, line.eye.z + mOrigin - height * mUnit);
}

void HeightCutter::cut(std::span<LineOfSight const> lines, std::span<double const> heights, std::span<SightEnd> cuts) {
  std::size_t const count = lines.size();
  if (count == 1) {
    cuts[0] = cut(lines[0], heights[0]);
    return;
  }
  mFirstDepths.resize(count);
  mDepths.resize(count);
  mFirstPlaces.resize(count);
  mPlaces.resize(count);
  mRest.resize(count);
  CutRun const run{lines.data(),   heights.data(),      count,          mUnit,       mOrigin,     mFirstDepths.data(),
                   mDepths.data(), mFirstPlaces.data(), mPlaces.data(), cuts.data(), mRest.data()};
  guessCuts(run);
  mToSystem(mPlaces, mPlaces);
  improveCuts(run);
  mToSystem(mPlaces, mPlaces);
  std::size_t const left = finishCuts(run);
  for (std::size_t n = 0; n < left; ++n) {
    cuts[mRest[n]] = cut(lines[mRest[n]], heights[mRest[n]]);
  }
}

SightEnd HeightCutter::cut(LineOfSight const& line, double height) {
  double depth = guess(line, height);
  SightEnd last{NAN_VALUE, NOWHERE, Status::noSolution};
  double lastRest = NAN_VALUE;
  for (int pass = 0; pass < CUT_PASSES; ++pass) {
    geo::XYZPoint const place = mToSystem(line.at(depth));
    if (!isFinite(place)) {
      return {NAN_VALUE, NOWHERE, Status::notTransformable};
    }
    double const rest = (place.z - height) * mUnit;
    if (std::fabs(rest) <= TOLERANCE) {
      return finished({depth, place, Status::ok}, height);
    }
    double const way = depth - last.depth;
    // A first step as above level ground, then as the last two cuts have it.
    double const step = std::isnan(lastRest) ? rest : -rest * way / (rest - lastRest);
    if (std::fabs(step * way) <= STRAIGHT) {
      double const part = step / way;
      return finished({depth + step,
                       {place.x + part * (place.x - last.place.x), place.y + part * (place.y - last.place.y), height},
                       Status::ok},
                      height);
    }
    last = {depth, place, Status::ok};
    lastRest = rest;
    depth += step;
  }
  return {NAN_VALUE, NOWHERE, Status::noSolution};
}

SightEnd HeightCutter::finished(SightEnd const& cut, double height) {
  return {cut.depth, {cut.place.x, cut.place.y, height}, cut.depth > 0.0 ? Status::ok : Status::noSolution};
}

}  // namespace kes::detail
