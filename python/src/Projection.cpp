// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Columns.h"
#include "Module.h"

#include <kes/Band.h>
#include <kes/Parallel.h>

#include <array>
#include <memory>
#include <optional>
#include <stdexcept>

namespace kespython {

namespace {

// Points that are gathered from the caller's arrays, worked on and stored together: they stay in the processor's cache.
constexpr std::size_t POINTS_PER_PIECE = 8192;

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

std::optional<kes::CoordinateSystem> CallOptions::system() const {
  std::string const name = frame.is_none() ? "" : py::cast<std::string>(frame);
  if (name != "" && name != "lsr" && name != "map") {
    throw py::value_error("frame is \"" + name + "\": it must be lsr or map");
  }
  if (!crs.is_none()) {
    if (name == "lsr") {
      throw py::value_error("frame lsr doesn't go with a coordinate system");
    }
    return systemOf(crs);
  }
  return name == "map" ? std::optional(kes::CoordinateSystem::wgs84Degrees()) : std::nullopt;
}

kes::Solver CallOptions::chosenSolver() const {
  struct Name {
    char const* name;
    kes::Solver solver;
  };
  constexpr std::array names{Name{"precise", kes::Solver::precise}, Name{"point", kes::Solver::libraryPoint},
                             Name{"run", kes::Solver::libraryRun}, Name{"vector", kes::Solver::libraryLanes}};
  for (Name const& candidate : names) {
    if (solver == candidate.name) {
      return candidate.solver;
    }
  }
  throw py::value_error("solver is \"" + solver + "\": it must be precise, point, run or vector");
}

void requireThreads(int threads) {
  if (threads < 1) {
    throw py::value_error("threads is " + std::to_string(threads) + ": it must be at least 1");
  }
}

/// The arrays of results of a call: columns of numbers and one of statuses, new ones or the caller's.
class Results {
public:
  Results(std::vector<char const*> const& names, py::handle out, Shape const& shape) : mShape(shape) {
    mColumns.reserve(names.size());
    if (out.is_none()) {
      for (std::size_t i = 0; i < names.size(); ++i) {
        mColumns.emplace_back(shape);
      }
      setStatus(py::array_t<std::uint8_t>(shape));
      return;
    }
    if (!py::isinstance<py::sequence>(out) || (py::len(out) != names.size() && py::len(out) != names.size() + 1)) {
      throw py::type_error("out: expected " + std::to_string(names.size()) + " arrays, or " +
                           std::to_string(names.size() + 1) + " with the status");
    }
    auto const arrays = py::reinterpret_borrow<py::sequence>(out);
    for (std::size_t i = 0; i < names.size(); ++i) {
      mColumns.emplace_back(names[i], py::object(arrays[i]), shape);
    }
    setStatus(py::len(out) > names.size() ? statusOf(arrays[names.size()], shape) : py::array_t<std::uint8_t>(shape));
  }

  Target const& operator[](std::size_t column) const { return mColumns[column]; }
  std::span<kes::Status> status(std::size_t begin, std::size_t count) const { return {mStatusData + begin, count}; }

  /// A named tuple of the arrays.
  py::object as(py::handle type) const {
    py::tuple arguments(mColumns.size() + 1);
    for (std::size_t i = 0; i < mColumns.size(); ++i) {
      arguments[i] = mColumns[i].array();
    }
    arguments[mColumns.size()] = mStatus;
    return type(*arguments);
  }

  /// Throws PointError for the first point without a result.
  void requireAll() const {
    std::size_t const count = sizeOf(mShape);
    for (std::size_t i = 0; i < count; ++i) {
      if (!kes::hasResult(mStatusData[i])) {
        throwPointError(i);
      }
    }
  }

private:
  void setStatus(py::array_t<std::uint8_t> array) {
    mStatus = std::move(array);
    mStatusData = reinterpret_cast<kes::Status*>(mStatus.mutable_data());
  }

  static py::array_t<std::uint8_t> statusOf(py::object const& array, Shape const& shape) {
    bool const fits = py::isinstance<py::array_t<std::uint8_t, py::array::c_style>>(array);
    auto status = fits ? py::reinterpret_borrow<py::array_t<std::uint8_t>>(array) : py::array_t<std::uint8_t>();
    if (!fits || Shape(status.shape(), status.shape() + status.ndim()) != shape || !status.writeable()) {
      throw py::value_error("out: status isn't a contiguous, writeable array of uint8 of the shape of the results");
    }
    return status;
  }

  [[noreturn]] void throwPointError(std::size_t i) const {
    py::tuple index(mShape.size());
    std::size_t rest = i;
    for (std::size_t axis = mShape.size(); axis-- > 0;) {
      auto const extent = static_cast<std::size_t>(mShape[axis]);
      index[axis] = rest % extent;
      rest /= extent;
    }
    py::object const error = pythonClasses().pointError(index, static_cast<int>(mStatusData[i]));
    PyErr_SetObject(pythonClasses().pointError.ptr(), error.ptr());
    throw py::error_already_set();
  }

  Shape mShape;
  std::vector<Target> mColumns;
  py::array_t<std::uint8_t> mStatus;
  kes::Status* mStatusData = nullptr;
};

// Calls `makeWork()` once in each thread, and what it returns for pieces of the points, with the GIL released.
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
static_assert(sizeof(geo::XYPoint) == 2 * sizeof(double) && sizeof(geo::XYZPoint) == 3 * sizeof(double));

/// Heights of a call to the ground: a surface's, or a column's.
class Heights {
public:
  Heights(py::handle heights, py::handle surface) {
    if (!surface.is_none()) {
      if (!heights.is_none()) {
        throw py::type_error("heights and surface: only one of them can be given");
      }
      mSurface = py::cast<kes::Surface>(surface);
    } else if (!heights.is_none()) {
      mColumn.emplace("heights", heights);
    }
  }

  void addTo(std::vector<Column const*>& columns) const {
    if (mColumn) {
      columns.push_back(&*mColumn);
    }
  }
  std::optional<kes::Surface> const& surface() const { return mSurface; }
  std::optional<Source> source(Shape const& shape) const {
    return mColumn ? std::optional(Source(*mColumn, shape)) : std::nullopt;
  }

private:
  std::optional<kes::Surface> mSurface;
  std::optional<Column> mColumn;
};

/// What all threads of a call to the ground share.
struct GroundCall {
  kes::Band const& band;
  ImageSources image;
  std::optional<Source> heights;
  kes::ToGroundOptions options;
  Results const& results;
  bool wantsClosure;
};

/// One thread's share, with memory of its own.
class GroundWork {
public:
  GroundWork(GroundCall const& call, std::size_t size)
      : mCall(call), mOptions(call.options), mImage(size), mGround(size), mHeights(call.heights ? size : 0),
        mClosure(call.wantsClosure ? size : 0) {}

  void operator()(std::size_t begin, std::size_t count) {
    std::span const image(mImage.data(), count);
    std::span const ground(mGround.data(), count);
    mCall.image.read(begin, image);
    if (mCall.heights) {
      mCall.heights->read(begin, count, mHeights.data());
      mOptions.heights = kes::HeightPerPoint{{mHeights.data(), count}};
    }
    if (mCall.wantsClosure) {
      mOptions.outputs.closure = {mClosure.data(), count};
    }
    mCall.band.toGround(image, mOptions, ground, mCall.results.status(begin, count));
    if (mCall.wantsClosure) {
      writePoints<2>(&mClosure.data()->pixels, begin, count, {&mCall.results[0], &mCall.results[1]});
      return;
    }
    writePoints<3>(&ground.data()->x, begin, count, {&mCall.results[0], &mCall.results[1], &mCall.results[2]});
  }

private:
  GroundCall const& mCall;
  kes::ToGroundOptions mOptions;
  std::vector<geo::XYPoint> mImage;
  std::vector<geo::XYZPoint> mGround;
  std::vector<double> mHeights;
  std::vector<kes::Closure> mClosure;
};

py::object projectToGround(kes::Band const& band, py::handle samples, py::handle lines, py::handle heightsGiven,
                           CallOptions const& given, std::optional<float> tdiStages, bool wantsClosure) {
  requireThreads(given.threads);
  ImageColumns const image(samples, lines);
  Heights const heights(heightsGiven, given.surface);
  std::vector<Column const*> columns{&image.samples, &image.lines};
  heights.addTo(columns);
  Shape const shape = commonShape(columns);
  std::vector<char const*> const names = wantsClosure ? std::vector{"pixels", "metres"} : std::vector{"x", "y", "z"};
  Results const results(names, given.out, shape);
  GroundCall call{band, {image, shape}, heights.source(shape), {}, results, wantsClosure};
  call.options.system = given.system();
  call.options.solver = given.chosenSolver();
  call.options.tdiStages = tdiStages;
  if (heights.surface()) {
    call.options.heights = *heights.surface();
  }
  forEachPiece(sizeOf(shape), given.threads, false,
               [&](std::size_t size) { return std::make_shared<GroundWork>(call, size); });
  if (given.strict) {
    results.requireAll();
  }
  return results.as(wantsClosure ? pythonClasses().closure : pythonClasses().ground);
}

/// What all threads of a call to the image share.
struct ImageCall {
  kes::Band const& band;
  Source x;
  Source y;
  std::optional<Source> z;
  kes::ToImageOptions options;
  Results const& results;
};

class ImageWork {
public:
  ImageWork(ImageCall const& call, std::size_t size) : mCall(call), mGround(size), mImage(size) {}

  void operator()(std::size_t begin, std::size_t count) {
    std::span const ground(mGround.data(), count);
    std::span const image(mImage.data(), count);
    if (mCall.z) {
      readPoints<3>({&mCall.x, &mCall.y, &*mCall.z}, begin, count, &ground.data()->x);
    } else {
      mCall.x.read(begin, count, &ground.data()->x, 3);
      mCall.y.read(begin, count, &ground.data()->y, 3);
    }
    mCall.band.toImage(ground, mCall.options, image, mCall.results.status(begin, count));
    writePoints<2>(&image.data()->x, begin, count, {&mCall.results[0], &mCall.results[1]});
  }

private:
  ImageCall const& mCall;
  std::vector<geo::XYZPoint> mGround;
  std::vector<geo::XYPoint> mImage;
};

py::object projectToImage(kes::Band const& band, py::handle xGiven, py::handle yGiven, py::handle zGiven,
                          CallOptions const& given) {
  requireThreads(given.threads);
  if (zGiven.is_none() == given.surface.is_none()) {
    throw py::type_error(zGiven.is_none() ? "z or surface: one of them must be given"
                                          : "z and surface: only one of them can be given");
  }
  Column const x("x", xGiven);
  Column const y("y", yGiven);
  std::vector<Column const*> columns{&x, &y};
  std::optional<Column> z;
  if (!zGiven.is_none()) {
    columns.push_back(&z.emplace("z", zGiven));
  }
  Shape const shape = commonShape(columns);
  Results const results({"sample", "line"}, given.out, shape);
  ImageCall call{band, {x, shape}, {y, shape}, z ? std::optional(Source(*z, shape)) : std::nullopt, {}, results};
  call.options.system = given.system();
  call.options.solver = given.chosenSolver();
  if (z == std::nullopt) {
    call.options.heights = py::cast<kes::Surface>(given.surface);
  }
  forEachPiece(sizeOf(shape), given.threads, given.isOneRun(),
               [&](std::size_t size) { return std::make_shared<ImageWork>(call, size); });
  if (given.strict) {
    results.requireAll();
  }
  return results.as(pythonClasses().image);
}

/// Lines of sight: which of a ray's numbers are wanted, from the first one on.
struct RayColumns {
  std::vector<char const*> names;
  double const* (*first)(kes::Ray const&);
  py::handle type;
};

py::object projectRays(kes::Band const& band, py::handle samples, py::handle lines, int threads, bool strict,
                       RayColumns const& wanted) {
  requireThreads(threads);
  ImageColumns const image(samples, lines);
  Shape const shape = commonShape({&image.samples, &image.lines});
  Results const results(wanted.names, py::none(), shape);
  ImageSources const sources(image, shape);
  struct Work {
    std::vector<geo::XYPoint> image;
    std::vector<kes::Ray> rays;
    std::function<void(Work&, std::size_t, std::size_t)> project;
    void operator()(std::size_t begin, std::size_t count) { project(*this, begin, count); }
  };
  auto const project = [&](Work& work, std::size_t begin, std::size_t count) {
    std::span const positions(work.image.data(), count);
    sources.read(begin, positions);
    band.rays(positions, {work.rays.data(), count}, results.status(begin, count));
    for (std::size_t column = 0; column < wanted.names.size(); ++column) {
      results[column].write(wanted.first(work.rays.front()) + column, sizeof(kes::Ray) / sizeof(double), begin, count);
    }
  };
  forEachPiece(sizeOf(shape), threads, false, [&](std::size_t size) {
    return std::make_shared<Work>(Work{std::vector<geo::XYPoint>(size), std::vector<kes::Ray>(size), project});
  });
  if (strict) {
    results.requireAll();
  }
  return results.as(wanted.type);
}

}  // namespace

void bindProjection(py::class_<kes::Band>& band) {
  using py::arg;
  auto const none = py::none();
  band.def(
      "to_ground",
      [](kes::Band const& self, py::object const& samples, py::object const& lines, py::object const& heights,
         py::object surface, py::object crs, py::object frame, std::string solver, int threads, bool strict,
         std::optional<float> tdiStages, py::object out) {
        return projectToGround(
            self, samples, lines, heights,
            {std::move(surface), std::move(crs), std::move(frame), std::move(solver), threads, strict, std::move(out)},
            tdiStages, false);
      },
      arg("samples"), arg("lines"), arg("heights") = none, py::kw_only(), arg("surface") = none, arg("crs") = none,
      arg("frame") = none, arg("solver") = "precise", arg("threads") = 1, arg("strict") = false,
      arg("tdi_stages") = none, arg("out") = none, R"(Project image positions to the ground.

Parameters
----------
samples, lines : array_like
    From 0 at the centre of the first pixel. Arrays of any shape, which broadcast with each other and with `heights`.
    float64 is read where it lies, whatever its strides; other real types are converted once.
heights : array_like, optional
    Where the lines of sight end, in the vertical unit of the results; 0 by default.
surface : Surface, optional
    In place of heights: a line of sight ends where it meets the surface first, to 1 mm in height.
crs : CoordinateSystem or str, optional
    The system of the results; the strip's local one by default. One that is used often should be an object, since a
    definition has to be looked up each time.
frame : {"lsr", "map"}, optional
    "map" without `crs` is WGS 84 in degrees, with ellipsoidal heights in metres.
solver : {"precise", "point", "run", "vector"}
    "precise" works in double precision, and a result depends on its point alone. The others are the library's forms,
    which are one in this direction.
threads : int
    How many work; the results have the same bits for any number.
strict : bool
    Whether a point without a result raises PointError. Otherwise a bad point never raises and disturbs no other.
tdi_stages : float, optional
    In place of the image's own.
out : sequence of arrays, optional
    Where the results go: x, y, z and, if there are four, the status. Arrays of float64 (of uint8 for the status) of the
    shape of the results. They may be the arrays given, but not overlap them otherwise.

Returns
-------
Ground
    x, y, z and status, in the shape that the arrays given have together.

Raises
------
ValueError, TypeError
    For shapes that don't go together, numbers that aren't real, options that aren't known.
RuntimeError
    When an elevation model can't be read.

Examples
--------
>>> band = ks.Strip("flight/strip.stp")["PANN00A"]
>>> ground = band.to_ground([0, 100], [[500], [501]], heights=35.0)
>>> ground.z.tolist()
[[35.0, 35.0], [35.0, 35.0]]
>>> (ground.status == ks.Status.OK).all()
True
)");
  band.def(
      "to_image",
      [](kes::Band const& self, py::object const& x, py::object const& y, py::object const& z, py::object surface,
         py::object crs, py::object frame, std::string solver, int threads, bool strict, py::object out) {
        return projectToImage(
            self, x, y, z,
            {std::move(surface), std::move(crs), std::move(frame), std::move(solver), threads, strict, std::move(out)});
      },
      arg("x"), arg("y"), arg("z") = none, py::kw_only(), arg("surface") = none, arg("crs") = none, arg("frame") = none,
      arg("solver") = "precise", arg("threads") = 1, arg("strict") = false, arg("out") = none,
      R"(Project ground positions to the image.

Parameters
----------
x, y, z : array_like
    Positions in the system `crs`, as those of `to_ground`. Without `z`, `surface` has the heights.
surface : Surface, optional
    In place of z: the height of the surface at x and y.
solver : {"precise", "point", "run", "vector"}
    "precise" finds the line to 1e-6 lines, within the image and `line_margin` lines before and after it; of several
    lines that saw a position, the first in time. "run" and "vector" treat a call as one run, in one thread.
crs, frame, threads, strict, out
    As those of `to_ground`; the results are sample, line and status.

Returns
-------
Image
    sample, line and status, in the shape that the arrays given have together.

Raises
------
ValueError, TypeError, RuntimeError
    As `to_ground`.

Examples
--------
>>> band = ks.Strip("flight/strip.stp")["PANN00A"]
>>> image = band.to_image(*band.to_ground(10.0, 20.0)[:3])
>>> round(float(image.sample), 5), round(float(image.line), 5)
(10.0, 20.0)
)");
  band.def(
      "closure",
      [](kes::Band const& self, py::object const& samples, py::object const& lines, py::object const& heights,
         py::object surface, py::object crs, py::object frame, std::string solver, int threads, bool strict,
         py::object out) {
        return projectToGround(
            self, samples, lines, heights,
            {std::move(surface), std::move(crs), std::move(frame), std::move(solver), threads, strict, std::move(out)},
            std::nullopt, true);
      },
      arg("samples"), arg("lines"), arg("heights") = none, py::kw_only(), arg("surface") = none, arg("crs") = none,
      arg("frame") = none, arg("solver") = "precise", arg("threads") = 1, arg("strict") = false, arg("out") = none,
      R"(How far image positions are from where they come back to: to the ground, and precisely back.

Takes what `to_ground` takes. Returns Closure: the distance in the image in pixels, that on the ground at the height of
the ground position in metres, and the status. `out` has these two and, if there are three arrays, the status.
)");
  band.def(
      "directions",
      [](kes::Band const& self, py::object const& samples, py::object const& lines, int threads, bool strict) {
        return projectRays(
            self, samples, lines, threads, strict,
            {{"x", "y", "z"}, [](kes::Ray const& ray) { return &ray.direction.x; }, pythonClasses().directions});
      },
      arg("samples"), arg("lines"), py::kw_only(), arg("threads") = 1, arg("strict") = false,
      R"(Directions of view, from the perspective centre on.

Parameters
----------
samples, lines : array_like
    As those of `to_ground`.
threads, strict
    As those of `to_ground`.

Returns
-------
Directions
    x, y and z of vectors of length 1 in the strip's local system, and status: NO_SOLUTION beyond `line_margin`.
)");
  band.def(
      "centres",
      [](kes::Band const& self, py::object const& lines, int threads, bool strict) {
        return projectRays(
            self, py::float_(0.0), lines, threads, strict,
            {{"x", "y", "z"}, [](kes::Ray const& ray) { return &ray.centre.x; }, pythonClasses().ground});
      },
      arg("lines"), py::kw_only(), arg("threads") = 1, arg("strict") = false,
      R"(The camera's perspective centre at lines: Ground, in the strip's local system, metres. Lines are array_like.)");
  band.def(
      "times",
      [](kes::Band const& self, py::object const& lines, int threads, bool strict) {
        return projectRays(self, py::float_(0.0), lines, threads, strict,
                           {{"time"}, [](kes::Ray const& ray) { return &ray.time; }, pythonClasses().times});
      },
      arg("lines"), py::kw_only(), arg("threads") = 1, arg("strict") = false,
      R"(When lines were exposed: Times, GPS seconds, and status. Lines are array_like and may have fractions.

Examples
--------
>>> band = ks.Strip("flight/strip.stp")["PANN00A"]
>>> bool(np.all(np.diff(band.times(np.arange(band.lines)).time) > 0))
True
)");
}

}  // namespace kespython
