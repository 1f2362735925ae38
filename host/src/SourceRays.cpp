// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SourceRays.h"

#include "Checks.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kes::detail {

namespace {

constexpr double STEPS_PER_SPACING = 4.0;
constexpr double MOST_STEPS = 1e5;
constexpr double HEIGHT_MARGIN = 1.0;  // metres beyond the range of heights
constexpr int CUT_PASSES = 20;
constexpr int CLOSING_PASSES = 200;
constexpr double CLOSE = 1e-4;   // metres of height
constexpr double NARROW = 1e-6;  // metres of depth
constexpr SightEnd MEETS_NOTHING{NAN_VALUE, NOWHERE, Status::noSurface};

}  // namespace

SourceRays::SourceRays(SurfaceSource const& surface, Converter toSurface)
    : mSurface(surface), mToSurface(std::move(toSurface)), mUnit(surface.system().verticalUnit().metres) {}

SourceRays::Place SourceRays::at(LineOfSight const& line, double depth) {
  geo::XYZPoint const position = mToSurface(line.at(depth));
  return {depth, position, (position.z - mSurface.height(position)) * mUnit};
}

// Near enough for an end of the walk. `depth` is where the search begins.
std::optional<double> SourceRays::depthOf(LineOfSight const& line, double height, double depth) {
  for (int pass = 0; pass < CUT_PASSES; ++pass) {
    double const rest = (mToSurface(line.at(depth)).z - height) * mUnit;
    if (std::isnan(rest)) {
      return std::nullopt;
    }
    if (std::fabs(rest) < 0.5 * HEIGHT_MARGIN) {
      return depth;
    }
    depth += rest;
  }
  return std::nullopt;
}

int SourceRays::stepsBetween(Place const& top, Place const& bottom) const {
  double const way =
      std::max(std::fabs(bottom.position.x - top.position.x), std::fabs(bottom.position.y - top.position.y));
  return static_cast<int>(std::fmin(std::floor(STEPS_PER_SPACING * way / mSurface.spacing()) + 1.0, MOST_STEPS));
}

void SourceRays::firstHits(std::span<LineOfSight const> lines, std::span<SightEnd> ends) {
  std::transform(lines.begin(), lines.end(), ends.begin(), [&](LineOfSight const& line) { return firstHit(line); });
}

SightEnd SourceRays::firstHit(LineOfSight const& line) {
  Surface::HeightRange const range = *mSurface.heightRange();
  std::optional<double> const begin = depthOf(line, range.highest + HEIGHT_MARGIN / mUnit, line.eye.z);
  if (!begin) {
    return MEETS_NOTHING;
  }
  double const wayDown = (range.highest - range.lowest) * mUnit + 2.0 * HEIGHT_MARGIN;
  std::optional<double> const end = depthOf(line, range.lowest - HEIGHT_MARGIN / mUnit, *begin + wayDown);
  if (!end || !(*end > 0.0)) {
    return MEETS_NOTHING;
  }
  Place last = at(line, std::max(*begin, 0.0));
  double const length = *end - last.depth;
  double const start = last.depth;
  int const steps = stepsBetween(last, at(line, *end));
  for (int i = 1; i <= steps && !(last.gap < 0.0); ++i) {
    Place const next = at(line, start + length * i / steps);
    if (next.gap <= 0.0 && last.gap >= 0.0) {
      return closed(line, last, next);
    }
    last = next;
  }
  return MEETS_NOTHING;
}

// By false position, which halves what one end that stays counts for, so that both ends move.
SightEnd SourceRays::closed(LineOfSight const& line, Place above, Place under) {
  double upper = above.gap;
  double lower = under.gap;
  for (int pass = 0; pass < CLOSING_PASSES && under.depth - above.depth > NARROW; ++pass) {
    double const part = upper - lower > 0.0 ? std::clamp(upper / (upper - lower), 0.01, 0.99) : 0.5;
    Place const between = at(line, above.depth + part * (under.depth - above.depth));
    if (std::isnan(between.gap)) {
      return MEETS_NOTHING;
    }
    if (std::fabs(between.gap) <= CLOSE) {
      return {between.depth, between.position, Status::ok};
    }
    if (between.gap > 0.0) {
      above = between;
      upper = between.gap;
      lower *= 0.5;
    } else {
      under = between;
      lower = between.gap;
      upper *= 0.5;
    }
  }
  return {under.depth, under.position, Status::ok};
}

}  // namespace kes::detail
