// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Checks.h"
#include "LibraryForms.h"
#include "PointParts.h"
#include "Projector.h"
#include "SurfaceSource.h"

#include <geo/coordSys.h>
#include <kes/Band.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace kes {

namespace {

using detail::isFinite;
using detail::NAN_VALUE;

constexpr int HEIGHT_PASSES = 6;

struct ImageCall {
  std::span<geo::XYZPoint const> ground;
  ToImageOptions const& options;
  std::span<geo::XYPoint> image;
  std::span<Status> status;
};

/// Some points of a call.
class ImagePart {
public:
  ImagePart(detail::OpenStrip const& strip, int band, ImageCall const& call)
      : mStrip(strip), mProjector(strip, band), mCall(call),
        mSystem(call.options.system ? call.options.system.value() : strip.localSystem()),
        mIsLocal(!call.options.system || mSystem == strip.localSystem()),
        mHasOutputs(!call.options.outputs.time.empty() || !call.options.outputs.passes.empty() ||
                    !call.options.outputs.closure.empty()) {}

  void project(std::size_t begin, std::size_t end) {
    auto const ground = mCall.ground.subspan(begin, end - begin);
    bool const isPrecise = mCall.options.solver == Solver::precise;
    if (isPrecise && !std::holds_alternative<Surface>(mCall.options.heights)) {
      solvePrecisely(begin, localOf(begin, ground));
      return;
    }
    mLocal.assign(ground.begin(), ground.end());
    auto const status = mCall.status.subspan(begin, ground.size());
    std::fill(status.begin(), status.end(), Status::ok);
    setHeights(begin);
    convertToLocal(status);
    if (isPrecise) {
      std::vector<Status> const given(status.begin(), status.end());
      solvePrecisely(begin, mLocal);
      for (std::size_t k = 0; k < given.size(); ++k) {
        if (given[k] != Status::ok) {
          storeNothing(begin + k, given[k]);
        }
      }
    } else {
      solveByLibrary(begin, end);
    }
  }

private:
  // In the local system at the heights of the call; what can't be converted isn't finite.
  std::span<geo::XYZPoint const> localOf(std::size_t begin, std::span<geo::XYZPoint const> ground) {
    bool const hasHeights = !std::holds_alternative<OwnHeight>(mCall.options.heights);
    if (mIsLocal && !hasHeights) {
      return ground;
    }
    if (hasHeights) {
      mLocal.assign(ground.begin(), ground.end());
      setHeights(begin);
      ground = mLocal;
    } else {
      mLocal.resize(ground.size());
    }
    if (!mIsLocal) {
      if (!mToLocal) {
        mToLocal.emplace(mStrip.conversion(mSystem, mProjector.local()));
      }
      (*mToLocal)(ground, mLocal);
    }
    return mLocal;
  }

  void setHeights(std::size_t begin) {
    if (std::holds_alternative<ConstantHeight>(mCall.options.heights) ||
        std::holds_alternative<HeightPerPoint>(mCall.options.heights)) {
      for (std::size_t k = 0; k < mLocal.size(); ++k) {
        mLocal[k] = given(begin + k);
      }
    }
  }

  void convertToLocal(std::span<Status> status) {
    auto const* const surface = std::get_if<Surface>(&mCall.options.heights);
    for (std::size_t k = 0; k < mLocal.size(); ++k) {
      geo::XYZPoint& point = mLocal[k];
      if (surface != nullptr) {
        point.z = 0.0;
      }
      status[k] = isFinite(point) ? Status::ok : Status::notFinite;
    }
    if (surface != nullptr) {
      putOnSurface(*surface, status);
    } else if (!mIsLocal) {
      transform(mSystem, mProjector.local(), mLocal, status);
    }
  }

  void transform(CoordinateSystem const& from, CoordinateSystem const& to, std::vector<geo::XYZPoint>& points,
                 std::span<Status> status) const {
    if (mCall.options.solver == Solver::precise) {
      detail::Converter convert(mStrip.conversion(from, to));
      convert(points, points);
    } else {
      geo::coordSys::transform(&from.platform(), &to.platform(), points.data(), points.data(), points.size());
    }
    for (std::size_t k = 0; k < points.size(); ++k) {
      if (status[k] == Status::ok && !isFinite(points[k])) {
        status[k] = Status::notTransformable;
      }
    }
  }

  // Where x and y of the two systems differ, a height moves a position sideways: pass by pass, the position at the
  // surface's height of the pass before is looked up.
  void putOnSurface(Surface const& surface, std::span<Status> status) {
    CoordinateSystem const& system = surface.coordinateSystem();
    bool const isSame = mSystem == system;
    std::vector<geo::XYZPoint> const given = mLocal;
    for (int pass = 0; pass < (isSame ? 1 : HEIGHT_PASSES); ++pass) {
      if (pass > 0) {
        transform(system, mSystem, mLocal, status);
        for (std::size_t k = 0; k < mLocal.size(); ++k) {
          mLocal[k].x = given[k].x;
          mLocal[k].y = given[k].y;
        }
      }
      if (!isSame) {
        transform(mSystem, system, mLocal, status);
      }
      for (std::size_t k = 0; k < mLocal.size(); ++k) {
        if (status[k] == Status::ok) {
          mLocal[k].z = surface.source().height(mLocal[k]);
          status[k] = std::isnan(mLocal[k].z) ? Status::noSurface : Status::ok;
        }
      }
    }
    transform(system, mProjector.local(), mLocal, status);
  }

  // In lanes; those that these leave, one after the other.
  void solvePrecisely(std::size_t begin, std::span<geo::XYZPoint const> local) {
    std::size_t const count = local.size();
    if (!mProjector.hasLanes() || count == 1) {
      for (std::size_t k = 0; k < count; ++k) {
        solve(begin + k, local[k]);
      }
      return;
    }
    mTimes.resize(count);
    mRest.resize(count);
    std::size_t const rest = mProjector.findInLanes(
        {local.data(), count, &mCall.image[begin], mTimes.data(), &mCall.status[begin], mRest.data()});
    if (mHasOutputs) {
      for (std::size_t k = 0; k < count; ++k) {
        storeOutputs(begin + k, local[k], mCall.image[begin + k], mTimes[k], detail::passesInLanes);
      }
    }
    for (std::size_t n = 0; n < rest; ++n) {
      solve(begin + mRest[n], local[mRest[n]]);
    }
  }

  void solve(std::size_t i, geo::XYZPoint const& local) {
    if (!isFinite(local)) {
      storeNothing(i, isFinite(given(i)) ? Status::notTransformable : Status::notFinite);
      return;
    }
    detail::Found const found = mProjector.find(local);
    if (!found.isSolved) {
      storeNothing(i, Status::noSolution);
      return;
    }
    store(i, local, {found.sample, found.line}, found.time, found.passes);
  }

  // A position of the call, at its height there.
  geo::XYZPoint given(std::size_t i) const {
    geo::XYZPoint point = mCall.ground[i];
    if (auto const* const constant = std::get_if<ConstantHeight>(&mCall.options.heights)) {
      point.z = constant->height;
    } else if (auto const* const perPoint = std::get_if<HeightPerPoint>(&mCall.options.heights)) {
      point.z = perPoint->heights[i];
    }
    return point;
  }

  void solveByLibrary(std::size_t begin, std::size_t end) {
    std::vector<geo::XYZPoint> run;
    std::vector<std::size_t> indices;
    for (std::size_t i = begin; i < end; ++i) {
      if (mCall.status[i] == Status::ok) {
        run.push_back(mLocal[i - begin]);
        indices.push_back(i);
      } else {
        storeNothing(i, mCall.status[i]);
      }
    }
    std::vector<geo::XYPoint> image;
    std::vector<int> passes(mCall.options.outputs.passes.empty() ? 0 : run.size());
    detail::libraryToImage(mProjector.model(), mProjector.band(), mCall.options.solver, run, image, passes);
    for (std::size_t k = 0; k < indices.size(); ++k) {
      if (mProjector.isSolved(image[k], run[k])) {
        store(indices[k], run[k], image[k], mProjector.camera(image[k].y).time, passes.empty() ? 0 : passes[k]);
      } else {
        storeNothing(indices[k], Status::noSolution);
      }
    }
  }

  void store(std::size_t i, geo::XYZPoint const& local, geo::XYPoint const& image, double time, int passes) {
    mCall.image[i] = image;
    mCall.status[i] = mProjector.status(image, time);
    if (mHasOutputs) {
      storeOutputs(i, local, image, time, passes);
    }
  }

  void storeOutputs(std::size_t i, geo::XYZPoint const& local, geo::XYPoint const& image, double time, int passes) {
    PointOutputs const& outputs = mCall.options.outputs;
    if (!outputs.time.empty()) {
      outputs.time[i] = time + mProjector.chain().epoch();
    }
    if (!outputs.passes.empty()) {
      outputs.passes[i] = passes;
    }
    if (!outputs.closure.empty()) {
      outputs.closure[i] = mProjector.closure(image, local);
    }
  }

  void storeNothing(std::size_t i, Status status) {
    mCall.image[i] = {NAN_VALUE, NAN_VALUE};
    mCall.status[i] = status;
    PointOutputs const& outputs = mCall.options.outputs;
    if (!outputs.time.empty()) {
      outputs.time[i] = NAN_VALUE;
    }
    if (!outputs.passes.empty()) {
      outputs.passes[i] = 0;
    }
    if (!outputs.closure.empty()) {
      outputs.closure[i] = {NAN_VALUE, NAN_VALUE};
    }
  }

  detail::OpenStrip const& mStrip;
  detail::Projector mProjector;
  ImageCall const& mCall;
  CoordinateSystem const& mSystem;
  bool mIsLocal;
  bool mHasOutputs;
  std::optional<detail::Converter> mToLocal;
  std::vector<geo::XYZPoint> mLocal;
  std::vector<double> mTimes;
  std::vector<std::uint32_t> mRest;
};

}  // namespace

std::size_t Band::toImage(std::span<geo::XYZPoint const> ground, ToImageOptions const& options,
                          std::span<geo::XYPoint> image, std::span<Status> status) const {
  detail::requireSizes(ground, options, image, status);
  ImageCall const call{ground, options, image, status};
  // The positions of a run depend on those before.
  if (options.solver == Solver::libraryRun || options.solver == Solver::libraryLanes) {
    ImagePart(*mStrip, mIndex, call).project(0, ground.size());
  } else {
    detail::forEachPart(ground.size(), options.threads, [&](std::size_t begin, std::size_t end) {
      ImagePart part(*mStrip, mIndex, call);
      for (std::size_t i = begin; i < end; i += detail::pointsPerPart) {
        part.project(i, std::min(i + detail::pointsPerPart, end));
      }
    });
  }
  return detail::countResults(status);
}

}  // namespace kes
