// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Checks.h"
#include "LibraryForms.h"
#include "PointParts.h"
#include "Projector.h"
#include "SourceRays.h"
#include "SurfaceRays.h"

#include <geo/coordSys.h>
#include <kes/Band.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace kes {

namespace {

using detail::isFinite;
using detail::NAN_VALUE;
using detail::NOWHERE;

/// A call, and what all its parts share.
struct GroundCall {
  std::span<geo::XYPoint const> image;
  ToGroundOptions const& options;
  std::span<geo::XYZPoint> ground;
  std::span<Status> status;
  detail::BandData const* staged;  // for the closure with a number of TDI stages of the call

  bool hasOutputs() const {
    return !options.outputs.time.empty() || !options.outputs.passes.empty() || !options.outputs.closure.empty();
  }
  Surface const* surface() const { return std::get_if<Surface>(&options.heights); }
  double height(std::size_t i) const {
    if (auto const* const perPoint = std::get_if<HeightPerPoint>(&options.heights)) {
      return perPoint->heights[i];
    }
    auto const* const constant = std::get_if<ConstantHeight>(&options.heights);
    return constant != nullptr ? constant->height : 0.0;
  }
};

/// Some points of a call, one after the other.
class GroundPart {
public:
  GroundPart(detail::OpenStrip const& strip, int band, GroundCall const& call)
      : mProjector(strip, band, call.options.tdiStages, call.staged), mCall(call),
        mSystem(call.options.system ? call.options.system.value() : strip.localSystem()),
        mIsLocal(!call.options.system || mSystem == strip.localSystem()),
        mToSystem(call.options.solver == Solver::precise ? strip.conversion(strip.localSystem(), mSystem) : nullptr) {
    if (!mIsLocal && call.surface() == nullptr && call.options.solver == Solver::precise) {
      mCutter.emplace(mToSystem, mSystem);
    }
    if (call.surface() != nullptr && call.options.solver == Solver::precise) {
      detail::SurfaceSource const& surface = call.surface()->source();
      mIsOfSurface = surface.system() == mSystem;
      detail::Converter toSurface(strip.conversion(strip.localSystem(), surface.system()));
      if (surface.isOfHost()) {
        mSourceRays.emplace(surface, std::move(toSurface));
      } else {
        mRays.emplace(surface, std::move(toSurface));
      }
    }
  }

  void project(std::size_t begin, std::size_t end) {
    bool const isSingle = end - begin == 1;
    for (std::size_t i = begin; i < end; i += POINTS_PER_BLOCK) {
      std::size_t const count = std::min(POINTS_PER_BLOCK, end - i);
      if (mCall.options.solver == Solver::precise && (mRays || mSourceRays || mCutter)) {
        projectAlongRays(i, count, !isSingle && hasLanes());
      } else if (mCall.options.solver == Solver::precise && !isSingle && hasLanes()) {
        projectInLanes(i, count);
      } else {
        for (std::size_t k = i; k < i + count; ++k) {
          project(k);
        }
      }
    }
  }

private:
  static constexpr std::size_t POINTS_PER_BLOCK = 512;

  bool hasLanes() const { return !mCall.options.tdiStages && mProjector.hasLanes(); }

  // To a surface, or to heights of another system than the local one.
  void projectAlongRays(std::size_t begin, std::size_t count, bool inLanes) {
    findRays(begin, count, inLanes);
    std::size_t open = 0;
    mIndices.resize(count);
    mHeights.resize(count);
    for (std::size_t k = 0; k < count; ++k) {
      std::size_t const i = begin + k;
      double const height = mCall.height(i);
      if (!std::isfinite(height)) {
        mCall.status[i] = Status::notFinite;
      }
      if (hasResult(mCall.status[i])) {
        mLines[open] = mLines[k];
        mTimes[open] = mTimes[k];
        mHeights[open] = height;
        mIndices[open++] = i;
      } else {
        storeNothing(i, 0);
      }
    }
    mEnds.resize(open);
    if (mRays) {
      mRays->firstHits({mLines.data(), open}, mEnds);
      convertEnds();
    } else if (mSourceRays) {
      mSourceRays->firstHits({mLines.data(), open}, mEnds);
      convertEnds();
    } else {
      mCutter->cut({mLines.data(), open}, {mHeights.data(), open}, mEnds);
    }
    for (std::size_t n = 0; n < open; ++n) {
      storeEnd(n);
    }
  }

  // With the status of the image position, where it has a line of sight.
  void findRays(std::size_t begin, std::size_t count, bool inLanes) {
    mLines.resize(count);
    mTimes.resize(count);
    if (!inLanes) {
      for (std::size_t k = 0; k < count; ++k) {
        mCall.status[begin + k] = findRay(begin, k);
      }
      return;
    }
    mRest.resize(count);
    std::size_t const rest = mProjector.findRaysInLanes(
        {&mCall.image[begin], count, mLines.data(), mTimes.data(), &mCall.status[begin], mRest.data()});
    for (std::size_t n = 0; n < rest; ++n) {
      mCall.status[begin + mRest[n]] = findRay(begin, mRest[n]);
    }
  }

  Status findRay(std::size_t begin, std::size_t k) {
    geo::XYPoint const& image = mCall.image[begin + k];
    if (!isFinite(image)) {
      return Status::notFinite;
    }
    if (!mProjector.hasLine(image.y)) {
      return Status::noSolution;
    }
    detail::Projector::Camera const& camera = mProjector.camera(image.y);
    geo::XYZPoint const ray = mProjector.chain().ray(camera.pose, image.x);
    mLines[k] = {camera.pose.centre, ray.x / -ray.z, ray.y / -ray.z};
    mTimes[k] = camera.time;
    return ray.z < 0.0 ? mProjector.status(image, camera.time) : Status::noSolution;
  }

  // From the surface's system to that of the results.
  void convertEnds() {
    if (mIsOfSurface) {
      return;
    }
    mPlaces.resize(mEnds.size());
    for (std::size_t n = 0; n < mEnds.size(); ++n) {
      mPlaces[n] = mLines[n].at(mEnds[n].depth);
    }
    mToSystem(mPlaces, mPlaces);
    for (std::size_t n = 0; n < mEnds.size(); ++n) {
      mEnds[n].place = mPlaces[n];
      if (mEnds[n].status == Status::ok && !isFinite(mPlaces[n])) {
        mEnds[n].status = Status::notTransformable;
      }
    }
  }

  void storeEnd(std::size_t n) {
    std::size_t const i = mIndices[n];
    detail::SightEnd const& end = mEnds[n];
    if (end.status != Status::ok) {
      mCall.status[i] = end.status;
      storeNothing(i, DIRECT);
      return;
    }
    mCall.ground[i] = end.place;
    if (mCall.hasOutputs()) {
      mPasses = DIRECT;
      mTime = mTimes[n];
      mLocal = mLines[n].at(end.depth);
      storeOutputs(i, true);
    }
  }

  void storeNothing(std::size_t i, int passes) {
    mCall.ground[i] = NOWHERE;
    mPasses = passes;
    storeOutputs(i, false);
  }

  // Those that the lanes leave are projected one after the other.
  void projectInLanes(std::size_t begin, std::size_t count) {
    mTimes.resize(count);
    mRest.resize(count);
    auto const* const perPoint = std::get_if<HeightPerPoint>(&mCall.options.heights);
    std::size_t const rest = mProjector.projectInLanes(
        {&mCall.image[begin], perPoint == nullptr ? nullptr : &perPoint->heights[begin], mCall.height(begin), count,
         &mCall.ground[begin], mTimes.data(), &mCall.status[begin], mRest.data()});
    if (mCall.hasOutputs()) {
      mPasses = DIRECT;
      for (std::size_t k = 0; k < count; ++k) {
        mTime = mTimes[k];
        mLocal = mCall.ground[begin + k];
        storeOutputs(begin + k, true);
      }
    }
    for (std::size_t n = 0; n < rest; ++n) {
      project(begin + mRest[n]);
    }
  }

  void project(std::size_t i) {
    mLocal = NOWHERE;
    mGround = NOWHERE;
    mTime = NAN_VALUE;
    mPasses = 0;
    geo::XYPoint const& image = mCall.image[i];
    Status status = Status::notFinite;
    if (isFinite(image) && std::isfinite(mCall.height(i))) {
      status = mCall.options.solver == Solver::precise ? projectPrecisely(i) : projectByLibrary(i);
    }
    if (status == Status::ok) {
      status = mProjector.status(image, mTime);
    }
    mCall.status[i] = status;
    mCall.ground[i] = hasResult(status) ? mGround : NOWHERE;
    storeOutputs(i, hasResult(status));
  }

  // The first pass that is one: no iteration was needed.
  static constexpr int DIRECT = 1;

  // To a height of the local system.
  Status projectPrecisely(std::size_t i) {
    geo::XYPoint const& image = mCall.image[i];
    if (!mProjector.hasLine(image.y)) {
      return Status::noSolution;
    }
    detail::Projector::Camera const& camera = mProjector.camera(image.y);
    mTime = camera.time;
    mPasses = DIRECT;
    geo::XYZPoint const& eye = camera.pose.centre;
    geo::XYZPoint const ray = mProjector.chain().ray(camera.pose, image.x);
    if (!(ray.z < 0.0)) {
      return Status::noSolution;
    }
    double const height = mCall.height(i);
    double const s = (height - eye.z) / ray.z;
    mLocal = mGround = {eye.x + s * ray.x, eye.y + s * ray.y, height};
    return s > 0.0 ? Status::ok : Status::noSolution;
  }

  static Status convert(CoordinateSystem const& from, CoordinateSystem const& to, geo::XYZPoint const& in,
                        geo::XYZPoint& out) {
    return geo::coordSys::transform(&from.platform(), &to.platform(), in, out) == 0 ? Status::ok
                                                                                    : Status::notTransformable;
  }

  Status projectByLibrary(std::size_t i) {
    geo::XYPoint const& image = mCall.image[i];
    auto const height = static_cast<float>(mCall.height(i));
    if (!mProjector.hasLine(image.y)) {
      return Status::noSolution;
    }
    detail::LibraryRay const ray{mProjector.model(), mProjector.band(), image, mCall.options.tdiStages};
    mTime = mProjector.camera(image.y).time;
    Status status = Status::ok;
    if (Surface const* const surface = mCall.surface()) {
      auto const found = detail::libraryToSurface(ray, *surface);
      if (!found) {
        return Status::noSurface;
      }
      status =
          isFinite(*found) ? convert(surface->coordinateSystem(), mSystem, *found, mGround) : Status::notTransformable;
      geo::coordSys::transform(&mSystem.platform(), &mProjector.local().platform(), mGround, mLocal);
    } else if (mIsLocal) {
      mLocal = mGround = detail::libraryToLocal(ray, height);
    } else {
      mGround = detail::libraryToMap(ray, mSystem, height);
      status = convert(mSystem, mProjector.local(), mGround, mLocal);
    }
    if (status != Status::ok) {
      return status;
    }
    return goesDown(mProjector.camera(image.y)) ? Status::ok : Status::noSolution;
  }

  // The library goes on along a line of sight in either direction, and mirrors what lies behind the camera; a line that
  // rises has no solution above the camera, either.
  bool goesDown(detail::Projector::Camera const& camera) const {
    return mLocal.z < camera.pose.centre.z && mProjector.chain().sight(camera.pose, mLocal).isInFront();
  }

  void storeOutputs(std::size_t i, bool hasResult) {
    PointOutputs const& outputs = mCall.options.outputs;
    if (!outputs.time.empty()) {
      outputs.time[i] = hasResult ? mTime + mProjector.chain().epoch() : NAN_VALUE;
    }
    if (!outputs.passes.empty()) {
      outputs.passes[i] = mPasses;
    }
    if (!outputs.closure.empty()) {
      outputs.closure[i] = hasResult ? mProjector.closure(mCall.image[i], mLocal) : Closure{NAN_VALUE, NAN_VALUE};
    }
  }

  detail::Projector mProjector;
  GroundCall const& mCall;
  CoordinateSystem const& mSystem;
  bool mIsLocal;
  detail::Converter mToSystem;
  std::optional<detail::HeightCutter> mCutter;  // for heights of another system
  bool mIsOfSurface = false;                    // whether the results are in the surface's system
  std::optional<detail::SurfaceRays> mRays;
  std::optional<detail::SourceRays> mSourceRays;
  geo::XYZPoint mLocal;
  geo::XYZPoint mGround;
  double mTime = 0.0;
  int mPasses = 0;
  // Of a block of points.
  std::vector<double> mTimes;
  std::vector<std::uint32_t> mRest;
  std::vector<detail::LineOfSight> mLines;
  std::vector<double> mHeights;
  std::vector<std::size_t> mIndices;
  std::vector<detail::SightEnd> mEnds;
  std::vector<geo::XYZPoint> mPlaces;
};

}  // namespace

std::size_t Band::toGround(std::span<geo::XYPoint const> image, ToGroundOptions const& options,
                           std::span<geo::XYZPoint> ground, std::span<Status> status) const {
  detail::requireSizes(image, options, ground, status);
  std::optional<detail::BandData> staged;
  if (options.tdiStages && !options.outputs.closure.empty()) {
    staged.emplace(mStrip->model(), mIndex, options.tdiStages);
  }
  GroundCall const call{image, options, ground, status, staged ? &*staged : nullptr};
  detail::forEachPart(image.size(), options.threads, [&](std::size_t begin, std::size_t end) {
    GroundPart part(*mStrip, mIndex, call);
    part.project(begin, end);
  });
  return detail::countResults(status);
}

}  // namespace kes
