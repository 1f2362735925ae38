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

void HeightCutter::cut(std::span<LineOfSight const> lines, std::span<double const> heights, std::span<SightEnd> cuts) {
  mOpen.resize(lines.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    cuts[i] = {NAN_VALUE, NOWHERE, Status::noSolution};
    mOpen[i] = {i, guess(lines[i], heights[i]), cuts[i], NAN_VALUE};
  }
  for (int pass = 0; pass < CUT_PASSES && !mOpen.empty(); ++pass) {
    mPlaces.resize(mOpen.size());
    for (std::size_t k = 0; k < mOpen.size(); ++k) {
      mPlaces[k] = lines[mOpen[k].index].at(mOpen[k].depth);
    }
    mToSystem(mPlaces, mPlaces);
    std::size_t stillOpen = 0;
    for (std::size_t k = 0; k < mOpen.size(); ++k) {
      std::size_t const i = mOpen[k].index;
      if (advance(mOpen[k], heights[i], mPlaces[k], cuts[i])) {
        mOpen[stillOpen++] = mOpen[k];
      }
    }
    mOpen.resize(stillOpen);
  }
}

// False when the line is finished, with what it came to in `cut`.
bool HeightCutter::advance(Open& open, double height, geo::XYZPoint const& place, SightEnd& cut) const {
  if (!isFinite(place)) {
    cut.status = Status::notTransformable;
    return false;
  }
  double const rest = (place.z - height) * mUnit;
  if (std::fabs(rest) <= CUT_TOLERANCE) {
    cut = finished({open.depth, place, Status::ok}, height);
    return false;
  }
  SightEnd const& last = open.last;
  double const way = open.depth - last.depth;
  // A first step as above level ground, then as the last two cuts have it.
  double const step = std::isnan(open.lastRest) ? rest : -rest * way / (rest - open.lastRest);
  if (std::fabs(step * way) <= STRAIGHT) {
    double const part = step / way;
    cut = finished({open.depth + step,
                    {place.x + part * (place.x - last.place.x), place.y + part * (place.y - last.place.y), height},
                    Status::ok},
                   height);
    return false;
  }
  open.last = {open.depth, place, Status::ok};
  open.lastRest = rest;
  open.depth += step;
  return true;
}

SightEnd HeightCutter::finished(SightEnd const& cut, double height) {
  return {cut.depth, {cut.place.x, cut.place.y, height}, cut.depth > 0.0 ? Status::ok : Status::noSolution};
}

}  // namespace kes::detail
