// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/ProjSystem.h"

#include "geo/Definition.h"
#include "geo/Wgs84.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace geo {
namespace {

constexpr XYZPoint PROJ_ERROR{HUGE_VAL, HUGE_VAL, HUGE_VAL};

void scaleAngles(XYZPoint* points, std::size_t n, double scale) {
  for (std::size_t i = 0; i < n; ++i) {
    points[i].x *= scale;
    points[i].y *= scale;
  }
}

/// Gives points without a position PROJ's own mark for them, so that it leaves them alone.
void markNowhere(XYZPoint* points, std::size_t n) {
  std::replace_if(
      points, points + n,
      [](XYZPoint const& p) { return !std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z); }, PROJ_ERROR);
}

}  // namespace

ProjSystem::ProjSystem(Parts parts) : mParts(std::move(parts)) {}

units const& ProjSystem::verticalUnits() const {
  return mParts.vertical;
}

units const& ProjSystem::horizontalUnits() const {
  return mParts.horizontal;
}

QDomElement ProjSystem::toXml(QDomDocument& document) const {
  return definitionToXml(document, mParts.definition);
}

void ProjSystem::toGeodetic(XYZPoint* points, std::size_t n) const {
  run(PJ_FWD, points, n);
  scaleAngles(points, n, wgs84::RADIANS_PER_DEGREE);
}

void ProjSystem::fromGeodetic(XYZPoint* points, std::size_t n) const {
  scaleAngles(points, n, 1.0 / wgs84::RADIANS_PER_DEGREE);
  run(PJ_INV, points, n);
}

void ProjSystem::run(PJ_DIRECTION direction, XYZPoint* points, std::size_t n) const noexcept {
  PJ* const operation = SharedOperation::ofThisThread(mParts.operation);
  if (operation == nullptr) {
    std::fill_n(points, n, PROJ_ERROR);
    return;
  }
  markNowhere(points, n);
  constexpr std::size_t STEP = sizeof(XYZPoint);
  double time = HUGE_VAL;  // PROJ's "no time given"; without it PROJ takes the year 0
  proj_trans_generic(operation, direction, &points->x, STEP, n, &points->y, STEP, n, &points->z, STEP, n, &time, 0, 1);
}

}  // namespace geo
