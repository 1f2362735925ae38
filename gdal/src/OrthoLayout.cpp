// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoLayout.h"

#include "CogFile.h"
#include "CutPolygons.h"
#include "MapDefinition.h"
#include "OrthoWarper.h"
#include "StripSurvey.h"
#include "files/NumberText.h"

#include <kesgdal/OrthoGrid.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

OGRSpatialReference mapReference(kes::CoordinateSystem const& map) {
  OGRSpatialReference reference = spatialReferenceOf(map);
  if (reference.IsProjected() == 0 && reference.IsGeographic() == 0) {
    throw std::runtime_error("coordinate system \"" + map.definition() + "\" is neither projected nor geographic");
  }
  return reference;
}

void requireExtent(Extent const& extent) {
  auto const require = [](double low, double high, char const* axis) {
    if (!(low < high && std::isfinite(low) && std::isfinite(high))) {
      throw std::runtime_error("the extent's least " + std::string(axis) + ", " + files::shortestText(low) +
                               ", isn't below the greatest, " + files::shortestText(high));
    }
  };
  require(extent.low.x, extent.high.x, "x");
  require(extent.low.y, extent.high.y, "y");
}

void requireScale(BrightnessRange const& range) {
  if (!(range.lowest < range.highest && std::isfinite(range.highest - range.lowest))) {
    throw std::runtime_error("the scale's lowest brightness, " + files::shortestText(range.lowest) +
                             ", isn't below the highest, " + files::shortestText(range.highest));
  }
}

// A plan that makes sense in itself; its ground sampling distance is that of the grid, if it has one.
OrthoPlan checked(OrthoPlan plan, kes::CoordinateSystem const& map) {
  requireOptions(plan.format, plan.creationOptions);
  if (plan.grid) {
    plan.gsd = plan.grid->pixelSize() * map.horizontalUnit().metres;
  }
  if (plan.extent) {
    requireExtent(*plan.extent);
  }
  if (plan.scale) {
    requireScale(*plan.scale);
  }
  return plan;
}

[[noreturn]] void failNothing() {
  throw std::runtime_error("no image shows anything of the part of the map that is asked for");
}

Extent common(Extent const& a, Extent const& b) {
  Extent const result{{std::max(a.low.x, b.low.x), std::max(a.low.y, b.low.y)},
                      {std::min(a.high.x, b.high.x), std::min(a.high.y, b.high.y)}};
  if (!(result.low.x < result.high.x && result.low.y < result.high.y)) {
    failNothing();
  }
  return result;
}

OrthoGrid gridOf(OrthoPlan const& plan, Extent const& ofImages, CutPolygons const* cut,
                 kes::CoordinateSystem const& map) {
  if (plan.grid) {
    return *plan.grid;
  }
  if (plan.extent) {
    return {*plan.extent, plan.gsd, map};
  }
  return {cut == nullptr ? ofImages : common(ofImages, cut->extent()), plan.gsd, map};
}

// The pixels of a grid that a box of the map touches; none where it lies beside the grid.
PixelBox partOf(OrthoGrid const& grid, Extent const& extent) {
  GeoTransform const& place = grid.geoTransform();
  double const left = std::floor((extent.low.x - place[0]) / place[1]);
  double const right = std::max(std::ceil((extent.high.x - place[0]) / place[1]), left + 1.0);
  double const top = std::floor((extent.high.y - place[3]) / place[5]);
  double const bottom = std::max(std::ceil((extent.low.y - place[3]) / place[5]), top + 1.0);
  auto const inGrid = [](double pixels, int all) {
    return static_cast<int>(std::clamp(pixels, 0.0, static_cast<double>(all)));
  };
  int const column = inGrid(left, grid.columns());
  int const row = inGrid(top, grid.rows());
  return {column, row, inGrid(right, grid.columns()) - column, inGrid(bottom, grid.rows()) - row};
}

std::uint64_t bytesButImages(std::vector<OrthoInput> const& inputs) {
  std::uint64_t bytes = 0;
  for (OrthoInput const& input : inputs) {
    bytes += input.role == "image" ? 0 : input.bytes;
  }
  return bytes;
}

}  // namespace

OrthoFormat OrthoLayout::format(kes::CoordinateSystem const& map) const {
  return {grid, mapReference(map), type, plan.noData, boxSide};
}

OrthoLayout layOut(EachStrip const& strips, kes::CoordinateSystem const& map, kes::Surface const& surface,
                   OrthoPlan const& wanted, std::string const& output) {
  GDALAllRegister();
  OrthoPlan const plan = checked(wanted, map);
  StripSurvey survey(plan, map, surface, output);
  mapReference(map);
  auto const cut = plan.cut.empty() ? nullptr : std::make_shared<CutPolygons const>(plan.cut, map);
  std::vector<StripInputs> found;
  std::vector<LaidStrip> laid;
  strips([&](kes::Strip const& strip) {
    survey.add(strip);
    found.push_back(inputsOf(strip, plan));
    laid.push_back({strip.fileName(), found.back().description, strip.camera().folder(), strip.options(), 0,
                    bytesButImages(found.back().inputs)});
  });
  survey.require();
  OrthoGrid const grid = gridOf(plan, survey.extent(), cut.get(), map);
  OrthoInputs inputs(surface.fileName(), plan.cut);
  bool isSeen = false;
  for (std::size_t i = 0; i < laid.size(); ++i) {
    StripSurvey::Strip const& surveyed = survey.strips()[i];
    laid[i].bands = surveyed.bands;
    if (surveyed.extent) {
      laid[i].part = partOf(grid, *surveyed.extent);
    }
    if (laid[i].part.size() > 0) {
      laid[i].inputs = inputs.add(found[i].inputs);
      isSeen = isSeen || laid[i].bands > 0;
    }
  }
  if (!isSeen) {
    failNothing();
  }
  return {plan,
          grid,
          survey.type(),
          boxSide(survey.greatestStep()),
          survey.coveredStrips() > 1,
          survey.greatestStep(),
          survey.imagePixelBytes(),
          survey.imageBlockBytes(),
          surface.heightRange(),
          cut,
          std::move(laid),
          std::move(inputs)};
}

void failUnseen(OrthoPlan const& plan, std::string const& elevationModel, std::size_t strips) {
  if (plan.grid || plan.extent || !plan.cut.empty()) {
    failNothing();
  }
  failUncovered(elevationModel, strips);
}

PixelBox common(PixelBox const& a, PixelBox const& b) {
  int const left = std::max(a.left, b.left);
  int const top = std::max(a.top, b.top);
  return {left, top, std::max(std::min(a.left + a.columns, b.left + b.columns) - left, 0),
          std::max(std::min(a.top + a.rows, b.top + b.rows) - top, 0)};
}

}  // namespace kesgdal
