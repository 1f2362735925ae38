// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Columns.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Parallel.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

// What calls with many points share: their columns, and how they are cut into pieces for threads.

namespace kespython {

namespace py = pybind11;

/// Points that are gathered from the caller's arrays, worked on and stored together: they stay in the processor's
/// cache.
inline constexpr std::size_t POINTS_PER_PIECE = 8192;

/// Throws ValueError "threads is 0: it must be at least 1".
inline void requireThreads(int threads) {
  if (threads < 1) {
    throw py::value_error("threads is " + std::to_string(threads) + ": it must be at least 1");
  }
}

/// Calls `makeWork()` once in each thread, and what it returns for pieces of the points, with the GIL released.
template <class MakeWork>
void forEachPiece(std::size_t count, int threads, bool isOneRun, MakeWork const& makeWork) {
  py::gil_scoped_release const released;
  std::size_t const size = isOneRun ? std::max<std::size_t>(count, 1) : POINTS_PER_PIECE;
  std::size_t const pieces = (count + size - 1) / size;
  kes::forEachIndexByWorkers(pieces, threads, [&]() -> kes::Worker {
    return [&, work = makeWork(std::min(size, count))](std::size_t piece) {
      std::size_t const begin = piece * size;
      (*work)(begin, std::min(size, count - begin));
    };
  });
}

static_assert(sizeof(geo::XYPoint) == 2 * sizeof(double) && sizeof(geo::XYZPoint) == 3 * sizeof(double));

/// Image positions of Python's arrays.
struct ImageColumns {
  Column samples;
  Column lines;
  ImageColumns(py::handle samplesGiven, py::handle linesGiven)
      : samples("samples", samplesGiven), lines("lines", linesGiven) {}
};

struct ImageSources {
  Source samples;
  Source lines;
  ImageSources(ImageColumns const& columns, Shape const& shape)
      : samples(columns.samples, shape), lines(columns.lines, shape) {}
  void read(std::size_t begin, std::span<geo::XYPoint> image) const {
    readPoints<2>({&samples, &lines}, begin, image.size(), &image.data()->x);
  }
};

/// Ground positions, likewise.
struct GroundColumns {
  Column x;
  Column y;
  Column z;
  GroundColumns(py::handle xGiven, py::handle yGiven, py::handle zGiven)
      : x("x", xGiven), y("y", yGiven), z("z", zGiven) {}
};

struct GroundSources {
  Source x;
  Source y;
  Source z;
  GroundSources(GroundColumns const& columns, Shape const& shape)
      : x(columns.x, shape), y(columns.y, shape), z(columns.z, shape) {}
  void read(std::size_t begin, std::span<geo::XYZPoint> ground) const {
    readPoints<3>({&x, &y, &z}, begin, ground.size(), &ground.data()->x);
  }
};

}  // namespace kespython
