// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>

#include <optional>
#include <span>
#include <variant>

namespace kes {

/// How positions are projected.
enum class Solver : unsigned char {
  /// Everything in double precision. From the ground, the line is found to 1e-6 lines, within the image and a margin of
  /// `Band::lineMargin` lines before and after it; of several lines that saw a position, the first in time. Results
  /// depend on nothing but the point: neither on its neighbours, nor on how points are split over calls and threads,
  /// nor on the vectors of the processor, in whose lanes the local positions of a call are worked on. Near the strip,
  /// other coordinate systems are reached through polynomials that depart from PROJ's conversion by less than 1e-12
  /// radians (6.4 micrometres) across and 0.1 mm of height.
  precise,
  /// The library's form for single positions: `sensor::KESStripModel::lsrToImage`, in double precision, to 0.05 lines.
  libraryPoint,
  /// The library's form for runs, in which the positions before decide the last bits: a call is one run, in one thread.
  libraryRun,
  /// The library's form in four lanes, likewise; a run is filled up to a multiple of four as `mapToImage` does.
  libraryLanes,
};

/// One height for all points, in the vertical unit of the points' system.
struct ConstantHeight {
  double height;
};
/// A height for each point, in the vertical unit of the points' system.
struct HeightPerPoint {
  std::span<double const> heights;
};

/// What the closure of a point is: from its result it is projected back, precisely, and compared with what was given.
struct Closure {
  double pixels;
  double metres;
};

/// What a projection returns of each point on request; an empty span asks for nothing.
struct PointOutputs {
  /// GPS seconds at which the line was exposed.
  std::span<double> time;
  /// Passes of the solver; 1 for what needs no iteration. 0 without a result, and where the library doesn't state them:
  /// from all its forms to the ground, and from those for runs and in lanes.
  std::span<int> passes;
  /// On the ground at the height of the ground position, and in the image; NaN without a result.
  std::span<Closure> closure;
};

/// From the image to the ground.
struct ToGroundOptions {
  /// The system of the results and of heights; nothing: the strip's local system.
  std::optional<CoordinateSystem> system;
  /// Where the lines of sight end. On a surface it is the first place that a line of sight meets on its way from the
  /// camera; the library's forms find one that is near where they start, at the mean terrain height.
  std::variant<ConstantHeight, HeightPerPoint, Surface> heights = ConstantHeight{0.0};
  /// All library forms are one here.
  Solver solver = Solver::precise;
  /// Threads to work in; when one can't be started, the others do its work.
  int threads = 1;
  /// A number of TDI stages in place of the image's own, for all solvers, heights and outputs.
  std::optional<float> tdiStages;
  PointOutputs outputs;
};

/// The z that ground positions come with.
struct OwnHeight {};

/// From the ground to the image.
struct ToImageOptions {
  /// The system of the positions; nothing: the strip's local system.
  std::optional<CoordinateSystem> system;
  /// Other heights than the z of the positions: on a surface, the one at their x and y.
  std::variant<OwnHeight, ConstantHeight, HeightPerPoint, Surface> heights = OwnHeight{};
  Solver solver = Solver::precise;
  /// Likewise; `libraryRun` and `libraryLanes` use one, whatever is asked for.
  int threads = 1;
  PointOutputs outputs;
};

}  // namespace kes
