// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoOptions.h"

#include "GivenOptions.h"
#include "Module.h"

#include <array>
#include <cstddef>
#include <string>
#include <utility>

namespace kespython {

namespace {

constexpr std::array resamplings{Choice{"nearest", kesgdal::Resampling::NEAREST},
                                 Choice{"bilinear", kesgdal::Resampling::BILINEAR},
                                 Choice{"cubic", kesgdal::Resampling::CUBIC}};
constexpr std::array types{
    Choice{"uint8", kesgdal::PixelType::BYTE},      Choice{"uint16", kesgdal::PixelType::UINT16},
    Choice{"int16", kesgdal::PixelType::INT16},     Choice{"uint32", kesgdal::PixelType::UINT32},
    Choice{"int32", kesgdal::PixelType::INT32},     Choice{"float32", kesgdal::PixelType::FLOAT32},
    Choice{"float64", kesgdal::PixelType::FLOAT64},
};
constexpr std::array formats{Choice{"COG", kesgdal::FileFormat::COG}, Choice{"GTiff", kesgdal::FileFormat::GTIFF}};

kesgdal::OrthoGrid gridOf(py::object const& given) {
  auto const [transform, columns, rows] = py::cast<std::tuple<kesgdal::GeoTransform, int, int>>(given);
  return {transform, columns, rows};
}

// Sets the pixels that a plan has by its options, and returns the system that they lie in.
kes::CoordinateSystem takePlace(Given const& given, kesgdal::OrthoPlan& plan) {
  if (given.has("like")) {
    kesgdal::RasterGrid const like = kesgdal::gridOfRaster(pathOf(given["like"]));
    plan.grid = like.grid;
    return like.map;
  }
  if (given.has("grid")) {
    plan.grid = gridOf(given["grid"]);
  }
  given.take("gsd", plan.gsd);
  if (given.has("extent")) {
    auto const [xLow, yLow, xHigh, yHigh] = py::cast<std::array<double, 4>>(given["extent"]);
    plan.extent = {{xLow, yLow}, {xHigh, yHigh}};
  }
  return systemOf(given["crs"]);
}

}  // namespace

OrthoOptions orthoOptionsOf(py::dict const& options) {
  Given const given(options);
  kesgdal::OrthoPlan plan;
  kes::CoordinateSystem map = takePlace(given, plan);
  given.take("bands", plan.bands);
  if (given.has("cut")) {
    plan.cut = pathOf(given["cut"]);
  }
  given.choose("resampling", resamplings, plan.resampling);
  given.choose("type", types, plan.type);
  given.choose("format", formats, plan.format);
  if (given.has("scale")) {
    auto const [lowest, highest] = py::cast<std::pair<double, double>>(given["scale"]);
    plan.scale = {lowest, highest};
  }
  given.take("creation_options", plan.creationOptions);
  given.take("record", plan.hasRecord);
  given.take("nodata", plan.noData);
  given.take("threads", plan.threads);
  return {std::move(map), std::move(plan)};
}

}  // namespace kespython
