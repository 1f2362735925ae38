// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>

#include <optional>
#include <pybind11/pybind11.h>
#include <string>
#include <vector>

// What the methods of bands do: arrays of Python to the front door and back.

namespace kespython {

namespace py = pybind11;

/// What a call has beside its positions.
struct CallOptions {
  py::object surface;
  py::object crs;
  py::object frame;
  std::string solver;
  int threads;
  bool strict;
  py::object out;

  std::optional<kes::CoordinateSystem> system() const;
  kes::Solver chosenSolver() const;
  bool isOneRun() const {
    return chosenSolver() == kes::Solver::libraryRun || chosenSolver() == kes::Solver::libraryLanes;
  }
};

/// Which results of a projection to the ground are wanted: the positions, or their closure.
enum class GroundResult { positions, closure };

/// What a call to the ground has beside that: standard deviations of image positions, pixels, and of heights, metres.
struct GroundCallOptions {
  GroundResult wanted = GroundResult::positions;
  std::optional<float> tdiStages;
  std::optional<double> sigma;
  std::optional<double> heightSigma;
};

py::object projectToGround(kes::Band const& band, py::handle samples, py::handle lines, py::handle heights,
                           CallOptions const& given, GroundCallOptions const& ofGround);

py::object projectToImage(kes::Band const& band, py::handle x, py::handle y, py::handle z, CallOptions const& given);

/// Lines of sight: which of a ray's numbers are wanted, from the first one on.
struct RayColumns {
  std::vector<char const*> names;
  double const* (*first)(kes::Ray const&);
  py::handle type;
};

py::object projectRays(kes::Band const& band, py::handle samples, py::handle lines, int threads, bool strict,
                       RayColumns const& wanted);

}  // namespace kespython
