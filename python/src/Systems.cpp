// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Columns.h"
#include "Module.h"

#include <numbers>

namespace kespython {

namespace {

constexpr double DEGREE = std::numbers::pi / 180.0;

/// Points of three columns, together in memory.
struct Points {
  Points(py::handle xGiven, py::handle yGiven, py::handle zGiven)
      : x("x", xGiven), y("y", yGiven), z("z", zGiven), shape(commonShape({&x, &y, &z})), points(sizeOf(shape)),
        status(shape) {
    if (!points.empty()) {
      Source const xs(x, shape);
      Source const ys(y, shape);
      Source const zs(z, shape);
      readPoints<3>({&xs, &ys, &zs}, 0, points.size(), &points.data()->x);
    }
  }
  std::span<kes::Status> statuses() { return {reinterpret_cast<kes::Status*>(status.mutable_data()), points.size()}; }

  Column x;
  Column y;
  Column z;
  Shape shape;
  std::vector<geo::XYZPoint> points;
  py::array_t<std::uint8_t> status;
};

py::object transform(kes::CoordinateSystem const& from, py::handle to, py::handle x, py::handle y, py::handle z) {
  kes::CoordinateSystem const target = systemOf(to);
  Points given(x, y, z);
  std::span<kes::Status> const status = given.statuses();
  {
    py::gil_scoped_release const released;
    from.transform(target, given.points, given.points, status);
  }
  std::vector<py::object> columns;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    Target const column(given.shape);
    if (!given.points.empty()) {
      column.write(&given.points.data()->x + axis, 3, 0, given.points.size());
    }
    columns.push_back(column.array());
  }
  return pythonClasses().transformed(columns[0], columns[1], columns[2], given.status);
}

py::object heightsOf(OpenSurface const& surface, py::handle x, py::handle y) {
  Points given(x, y, py::float_(0.0));
  std::span<kes::Status> const status = given.statuses();
  py::array_t<double> heights(given.shape);
  std::span<double> const numbers(heights.mutable_data(), given.points.size());
  {
    py::gil_scoped_release const released;
    surface.heights(given.points, numbers, status);
  }
  return pythonClasses().heights(heights, given.status);
}

void bindCoordinateSystem(py::module_& module) {
  using py::arg;
  py::class_<kes::Unit>(module, "Unit")
      .def_readonly("name", &kes::Unit::name)
      .def_readonly("metres", &kes::Unit::metres)
      .def("__repr__", [](kes::Unit const& unit) {
        return "Unit(" + std::string(py::repr(py::str(unit.name))) +
               ", metres=" + std::string(py::repr(py::float_(unit.metres))) + ")";
      });
  py::class_<kes::CoordinateSystem>(module, "CoordinateSystem", R"(A coordinate system of positions on the ground.

x is the easting or longitude and y the northing or latitude, whatever order the definition has its axes in; z is a
height in the unit of the vertical part, without one in metres above the ellipsoid. Equal definitions are equal; it can be
pickled and used as a key.

Parameters
----------
definition : str
    Whatever PROJ understands: "EPSG:32633", "EPSG:32633+5773", a PROJ string, WKT or PROJJSON.

Raises
------
RuntimeError
    "Can't create coordinate system ..." with the reason, which names a grid that isn't installed.

Examples
--------
>>> utm = ks.CoordinateSystem("EPSG:32616")
>>> there = ks.CoordinateSystem.wgs84_degrees().transform(utm, -87.0, 0.0)
>>> round(float(there.x), 3)
500000.0
)")
      .def(py::init<std::string const&>(), arg("definition"))
      .def_static("wgs84_degrees", &kes::CoordinateSystem::wgs84Degrees)
      .def_static("wgs84_radians", &kes::CoordinateSystem::wgs84Radians)
      .def_static(
          "local",
          [](double longitude, double latitude, double height) {
            return kes::CoordinateSystem::local({longitude * DEGREE, latitude * DEGREE, height});
          },
          arg("longitude"), arg("latitude"), arg("height") = 0.0,
          "The local system at an anchor on WGS 84 (degrees, metres): x east, y north, z up, metres.")
      .def_property_readonly("definition", &kes::CoordinateSystem::definition)
      .def_property_readonly("horizontal_unit", &kes::CoordinateSystem::horizontalUnit)
      .def_property_readonly("vertical_unit", &kes::CoordinateSystem::verticalUnit)
      .def("transform", &transform, arg("to"), arg("x"), arg("y"), arg("z") = 0.0,
           R"(Convert positions of this system to another one.

Parameters
----------
to : CoordinateSystem or str
x, y, z : array_like
    Of any shapes that broadcast.

Returns
-------
Transformed
    x, y, z and status; NaN where a position can't be converted.
)")
      .def("__eq__",
           [](kes::CoordinateSystem const& self, py::object const& other) {
             return py::isinstance<kes::CoordinateSystem>(other) && self == py::cast<kes::CoordinateSystem>(other);
           })
      .def("__hash__", [](kes::CoordinateSystem const& self) { return py::hash(py::str(self.definition())); })
      .def(py::pickle([](kes::CoordinateSystem const& self) { return py::make_tuple(self.definition()); },
                      [](py::tuple const& state) { return kes::CoordinateSystem(py::cast<std::string>(state[0])); }));
}

void bindSurface(py::module_& module) {
  using py::arg;
  py::class_<OpenSurface>(module, "Surface", R"(A surface of the Earth: an elevation model, or one height everywhere.

Parameters
----------
file : path
    Any raster that GDAL reads; its first band, bilinear between the centres of cells. It stays open.
cache_bytes : int
    Memory for its tiles.
vertical : str, optional
    The definition of what heights count from, such as "EPSG:5773" (the geoid EGM96), for a file that doesn't say so;
    those of such a file are taken as ellipsoidal otherwise, see `has_vertical_datum`.

Raises
------
RuntimeError
    "Can't open elevation model ..." with the reason, such as a file whose heights have another datum than `vertical`.
)")
      .def(py::init([](py::object const& file, std::size_t cacheSize, std::optional<std::string> const& vertical) {
             std::string const datum = vertical.value_or("");
             return OpenSurface{kes::Surface::raster(pathOf(file), {datum}, cacheSize), datum};
           }),
           arg("file"), arg("cache_bytes") = std::size_t{256} << 20, py::kw_only(), arg("vertical") = py::none())
      .def_static(
          "constant",
          [](py::object const& system, double height) {
            return OpenSurface{kes::Surface::constant(systemOf(system), height), ""};
          },
          arg("crs"), arg("height"))
      .def_property_readonly("file", [](OpenSurface const& self) { return self.fileName(); })
      .def_property_readonly("crs", [](OpenSurface const& self) { return self.coordinateSystem(); })
      .def_property_readonly("has_vertical_datum", [](OpenSurface const& self) { return self.hasVerticalDatum(); })
      .def_property_readonly("_vertical", [](OpenSurface const& self) { return self.vertical; })
      .def(
          "height_range",
          [](OpenSurface const& self) -> py::object {
            std::optional<kes::Surface::HeightRange> range;
            {
              py::gil_scoped_release const released;
              range = self.heightRange();
            }
            return range ? py::object(py::make_tuple(range->lowest, range->highest)) : py::none();
          },
          "The lowest and the highest height, or None without any. Reads all of the model once.")
      .def("heights", &heightsOf, arg("x"), arg("y"),
           "Heights at positions of the surface's own system: Heights, with NaN and NO_SURFACE where there is none.");
}

}  // namespace

kes::CoordinateSystem systemOf(py::handle system) {
  return py::isinstance<py::str>(system) ? kes::CoordinateSystem(py::cast<std::string>(system))
                                         : py::cast<kes::CoordinateSystem>(system);
}

void bindSystems(py::module_& module) {
  bindCoordinateSystem(module);
  bindSurface(module);
}

}  // namespace kespython
