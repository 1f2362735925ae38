// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/ProjSystem.h"

#include "geo/Definition.h"
#include "geo/Wgs84.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
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

std::string textOrEmpty(char const* text) {
  return text == nullptr ? "" : text;
}

// Of the ways that an operation may have; null when it has one.
ProjObject lastUsed([[maybe_unused]] PJ* operation) {
#if PROJ_AT_LEAST_VERSION(9, 1, 0)
  return ProjObject(proj_trans_get_last_used_operation(operation));
#else
  return nullptr;
#endif
}

// The files as they are installed; PROJ's names for them may be newer.
std::vector<std::string> gridsOf(PJ_CONTEXT* context, PJ const* operation) {
  std::vector<std::string> names;
  int const count = proj_coordoperation_get_grid_used_count(context, operation);
  for (int i = 0; i < count; ++i) {
    char const* name = nullptr;
    char const* path = nullptr;
    if (proj_coordoperation_get_grid_used(context, operation, i, &name, &path, nullptr, nullptr, nullptr, nullptr,
                                          nullptr) != 0) {
      std::string const file = std::filesystem::path(textOrEmpty(path)).filename().string();
      names.push_back(file.empty() ? textOrEmpty(name) : file);
    }
  }
  return names;
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

// Of several ways, PROJ says only after a position which one it took.
Conversion ProjSystem::conversionAt(XYZPoint const& position) const {
  XYZPoint converted = position;
  run(PJ_FWD, &converted, 1);
  PJ* const operation = SharedOperation::ofThisThread(mParts.operation);
  if (operation == nullptr) {
    return {};
  }
  ProjContext const context = makeProjContext(util::Origin::user);
  ProjObject const taken = lastUsed(operation);
  PJ* const used = taken ? taken.get() : operation;
  std::string const pipeline = textOrEmpty(proj_as_proj_string(context.get(), used, PJ_PROJ_5, nullptr));
  PJ_PROJ_INFO const info = proj_pj_info(used);
  return {textOrEmpty(info.description), pipeline.empty() ? textOrEmpty(info.definition) : pipeline,
          gridsOf(context.get(), used)};
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
