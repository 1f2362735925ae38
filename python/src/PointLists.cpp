// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Module.h"

#include <geo/coordSys.h>
#include <sensor/kessensor.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kespython {

namespace {

// Rows as the package makes arrays of them.
py::list rowsOf(std::vector<geo::ImagePoint> const& points) {
  py::list rows;
  for (geo::ImagePoint const& point : points) {
    rows.append(py::make_tuple(point.id, point.x, point.y, point.sx, point.sy, point.active));
  }
  return rows;
}

py::list rowsOf(std::vector<geo::GroundPoint> const& points) {
  py::list rows;
  for (geo::GroundPoint const& point : points) {
    rows.append(py::make_tuple(point.id, point.x, point.y, point.z, point.sx, point.sy, point.sz, point.type));
  }
  return rows;
}

py::list imagePoints(std::string const& file) {
  return rowsOf(sensor::ImagePointList(file, {}, {}).points());
}

py::list groundPoints(std::string const& file) {
  return rowsOf(sensor::GroundPointList(file).points());
}

// The path of a block's ground points, the points, and the definition of their system if it
// isn't that of the maps.
py::tuple groundPointsOfBlock(std::string const& file) {
  sensor::BlockModelData block(file, false, false, false);
  block.loadGroundPoints();
  geo::coordSys const* const system = block.groundPointCoordSys();
  std::string const name = block.groundPointFile();
  std::string const path = name.empty() ? "" : (std::filesystem::path(block.dataPath()) / name).string();
  return py::make_tuple(path, rowsOf(block.groundPoints().points()),
                        system != nullptr ? py::object(py::str(system->definition())) : py::object(py::none()));
}

}  // namespace

void bindPointLists(py::module_& module) {
  using py::arg;
  module.def("image_points", &imagePoints, arg("file"));
  module.def("ground_points", &groundPoints, arg("file"));
  module.def("ground_points_of_block", &groundPointsOfBlock, arg("file"));
}

}  // namespace kespython
