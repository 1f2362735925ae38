// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Projection.h"

#include "Accuracy.h"
#include "Columns.h"
#include "Module.h"
#include "Pieces.h"
#include "PointResults.h"

#include <kes/Band.h>

#include <array>
#include <memory>
#include <optional>
#include <stdexcept>

namespace kespython {

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

namespace {

/// Heights of a call to the ground: a surface's, or a column's.
class Heights {
public:
  Heights(py::handle heights, py::handle surface) {
    if (!surface.is_none()) {
      if (!heights.is_none()) {
        throw py::type_error("heights and surface: only one of them can be given");
      }
      mSurface = py::cast<OpenSurface const&>(surface);
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
  PointResults const& results;
  bool wantsClosure;
  kes::AccuracyOptions accuracy;
  std::optional<CovarianceArray> covariances;
};

/// One thread's share, with memory of its own.
class GroundWork {
public:
  GroundWork(GroundCall const& call, std::size_t size)
      : mCall(call), mOptions(call.options), mImage(size), mGround(size), mHeights(call.heights ? size : 0),
        mClosure(call.wantsClosure ? size : 0), mCovariances(call.covariances ? size : 0),
        mStatus(call.covariances ? size : 0) {}

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
    if (mCall.covariances) {
      std::span const covariances(mCovariances.data(), count);
      mCall.band.accuracy(image, ground, mCall.accuracy, {}, covariances, {mStatus.data(), count});
      mCall.covariances->write(begin, covariances);
    }
  }

private:
  GroundCall const& mCall;
  kes::ToGroundOptions mOptions;
  std::vector<geo::XYPoint> mImage;
  std::vector<geo::XYZPoint> mGround;
  std::vector<double> mHeights;
  std::vector<kes::Closure> mClosure;
  std::vector<kes::Covariance> mCovariances;
  std::vector<kes::Status> mStatus;
};

void requireSigmasThatGoTogether(CallOptions const& given, GroundCallOptions const& ofGround) {
  if (ofGround.heightSigma && !ofGround.sigma) {
    throw py::type_error("height_sigma: sigma must be given, too");
  }
  if (ofGround.sigma && !given.surface.is_none()) {
    throw py::type_error("sigma and surface: only one of them can be given");
  }
}

}  // namespace

py::object projectToGround(kes::Band const& band, py::handle samples, py::handle lines, py::handle heightsGiven,
                           CallOptions const& given, GroundCallOptions const& ofGround) {
  bool const wantsClosure = ofGround.wanted == GroundResult::closure;
  requireThreads(given.threads);
  requireSigmasThatGoTogether(given, ofGround);
  ImageColumns const image(samples, lines);
  Heights const heights(heightsGiven, given.surface);
  std::vector<Column const*> columns{&image.samples, &image.lines};
  heights.addTo(columns);
  Shape const shape = commonShape(columns);
  std::vector<char const*> const names = wantsClosure ? std::vector{"pixels", "metres"} : std::vector{"x", "y", "z"};
  PointResults const results(names, given.out, shape);
  GroundCall call{band, {image, shape}, heights.source(shape), {}, results, wantsClosure, {}, {}};
  call.options.system = given.system();
  call.options.solver = given.chosenSolver();
  call.options.tdiStages = ofGround.tdiStages;
  if (heights.surface()) {
    call.options.heights = *heights.surface();
  }
  if (ofGround.sigma) {
    call.accuracy.system = call.options.system;
    call.accuracy.imageSigma = *ofGround.sigma;
    call.accuracy.heightSigma = ofGround.heightSigma.value_or(0.0);
    call.covariances.emplace(shape);
  }
  forEachPiece(sizeOf(shape), given.threads, false,
               [&](std::size_t size) { return std::make_shared<GroundWork>(call, size); });
  if (given.strict) {
    results.requireAll();
  }
  if (call.covariances) {
    py::tuple const ground = results.as(pythonClasses().ground);
    return pythonClasses().groundWithCovariance(*ground, call.covariances->array());
  }
  return results.as(wantsClosure ? pythonClasses().closure : pythonClasses().ground);
}

namespace {

/// What all threads of a call to the image share.
struct ImageCall {
  kes::Band const& band;
  Source x;
  Source y;
  std::optional<Source> z;
  kes::ToImageOptions options;
  PointResults const& results;
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

}  // namespace

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
  PointResults const results({"sample", "line"}, given.out, shape);
  ImageCall call{band, {x, shape}, {y, shape}, z ? std::optional(Source(*z, shape)) : std::nullopt, {}, results};
  call.options.system = given.system();
  call.options.solver = given.chosenSolver();
  if (z == std::nullopt) {
    call.options.heights = kes::Surface(py::cast<OpenSurface const&>(given.surface));
  }
  forEachPiece(sizeOf(shape), given.threads, given.isOneRun(),
               [&](std::size_t size) { return std::make_shared<ImageWork>(call, size); });
  if (given.strict) {
    results.requireAll();
  }
  return results.as(pythonClasses().image);
}

py::object projectRays(kes::Band const& band, py::handle samples, py::handle lines, int threads, bool strict,
                       RayColumns const& wanted) {
  requireThreads(threads);
  ImageColumns const image(samples, lines);
  Shape const shape = commonShape({&image.samples, &image.lines});
  PointResults const results(wanted.names, py::none(), shape);
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

}  // namespace kespython
