// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>

#include <functional>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <string>

/// The Python module kessensor._core, on the front door.
namespace kespython {

namespace py = pybind11;

/// The classes of results and errors, which the package has in Python. They live as long as the process.
struct PythonClasses {
  py::object ground;
  py::object groundWithCovariance;
  py::object image;
  py::object closure;
  py::object directions;
  py::object times;
  py::object heights;
  py::object transformed;
  py::object pointError;
  py::object notFound;
};
PythonClasses const& pythonClasses();

/// A coordinate system, or the one of a definition.
kes::CoordinateSystem systemOf(py::handle system);

/// A surface, with the vertical datum that it was opened with, so that another process can open it likewise.
struct OpenSurface : kes::Surface {
  std::string vertical;
};

/// The text of a path; takes `str` and `os.PathLike`.
std::string pathOf(py::handle path);

/// Looks something up by its name, and turns the std::out_of_range of that into Python's `NotFoundError`.
void throwNotFound(std::function<void()> const& lookUp);

void bindSystems(py::module_& module);
void bindStrips(py::module_& module);
void bindProjection(py::class_<kes::Band>& band);
void bindOrientation(py::module_& module);
void bindPointLists(py::module_& module);
void bindProducts(py::module_& module);
void bindTiles(py::module_& module);
void bindAccuracy(py::module_& module);
void bindAdjustment(py::module_& module);

}  // namespace kespython
