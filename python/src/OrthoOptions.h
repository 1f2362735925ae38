// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/CoordinateSystem.h>
#include <kesgdal/OrthoPlan.h>

#include <pybind11/pybind11.h>

namespace kespython {

namespace py = pybind11;

/// Where an orthophoto lies, and what it is like.
struct OrthoOptions {
  kes::CoordinateSystem map;
  kesgdal::OrthoPlan plan;
};

/// From the options of Python's functions by their names, of which those that are None count as absent: bands, crs,
/// gsd, extent, grid, like, cut, resampling, type, scale, format, creation_options, record, nodata and threads. Throws
/// ValueError "resampling is \"X\": it must be nearest, bilinear or cubic" and the like, and what making the system
/// and reading the grid of `like` throw.
OrthoOptions orthoOptionsOf(py::dict const& given);

}  // namespace kespython
