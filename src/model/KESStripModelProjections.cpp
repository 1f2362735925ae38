// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "model/FourLaneSolver.h"
#include "model/LineSearch.h"
#include "model/LineSolver.h"

#include <dsm/ProjectedElevationSource.h>
#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <geo/coordSys.h>
#include <geo/units.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <typeinfo>

// A projection is a chain of small functions from several folders, which together take some tens of nanoseconds; calls
// between them would take a fifth of that again. `flatten` draws the whole chain into its entry.

namespace sensor {

namespace {

// Single precision counts samples exactly up to here.
constexpr unsigned int maxSamplesOfLanes = 1U << 24;

bool isReadInLanes(CalibrationGeometryKes const& calibration) {
  return calibration.isFull() && calibration.numSamples() <= maxSamplesOfLanes;
}

constexpr float toleranceAtHeight = 0.1F;  // ground sampling distances

// A part of the ground sampling distance in the unit of a system's heights.
float heightTolerance(float gsd, float factor, geo::coordSys const& system) {
  return gsd * factor / static_cast<float>(system.verticalUnits().getScale());
}

/// Cuts the ray of one image position at heights of the local system, as `imageToLsr` does. The ray is the same for all
/// heights, so it is computed once; a model that is derived from the strip's may override the operation, and is asked.
class RayCutter {
public:
  RayCutter(KESStripModel const& model, geo::XYPoint const& image, int band)
      : mModel(model), mImage(image), mBand(band) {
    if (typeid(model) == typeid(KESStripModel)) {
      mRay = StripBand(*model.modelData(), band).lineOfSight(image);
    }
  }

  void cut(float height, geo::XYZPoint& lsr) const {
    if (mRay) {
      mRay->cut(height, lsr);
    } else {
      mModel.imageToLsr(mImage, height, mBand, lsr);
    }
  }

private:
  KESStripModel const& mModel;
  geo::XYPoint const& mImage;
  int mBand;
  std::optional<LineOfSight> mRay;
};

// The projection cuts a ray at an LSR height, while the wanted height is one of another system. Each cut is made at the
// LSR height that the wanted height has at the place of the cut before, until the two heights agree. `wantedHeight`
// returns the wanted height at a position of the system.
template <class WantedHeight>
void cutAtHeight(KESStripModel const& model, geo::XYPoint const& image, int band, geo::coordSys const* system,
                 float start, float tolerance, int maxCuts, geo::XYZPoint& ground, WantedHeight wantedHeight) {
  geo::coordSys const* const lsrSystem = model.lsrSystem();
  RayCutter const ray(model, image, band);
  float lsrHeight = start;
  for (int n = 0; n < maxCuts; ++n) {
    geo::XYZPoint lsr;
    ray.cut(lsrHeight, lsr);
    geo::coordSys::transform(lsrSystem, system, lsr, ground);
    auto const height = static_cast<double>(wantedHeight(ground));
    if (!(std::fabs(ground.z - height) > static_cast<double>(tolerance))) {
      return;
    }
    geo::coordSys::transform(system, lsrSystem, {ground.x, ground.y, height}, lsr);
    lsrHeight = static_cast<float>(lsr.z);
  }
}

}  // namespace

[[gnu::flatten]] void KESStripModel::lsrToImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const {
  solveLine(StripBand(*mData, band), ground, image, Unobserved());
}

int solveImage(KESStripModel const& strip, geo::XYZPoint const& ground, int band, geo::XYPoint& image) {
  PassCount count;
  solveLine(StripBand(*strip.modelData(), band), ground, image, count);
  return count.passes;
}

[[gnu::flatten]] void KESStripModel::lsrToImage(std::vector<geo::XYZPoint> const& ground, int band,
                                                std::vector<geo::XYPoint>& image) const {
  if (!ground.empty()) {
    solveLines(StripBand(*mData, band), ground, image, Unobserved());
  }
}

[[gnu::flatten]] void KESStripModel::imageToLsr(geo::XYPoint const& image, float height, int band,
                                                geo::XYZPoint& ground) const {
  StripBand(*mData, band).imageToLsr(image, height, ground);
}

[[gnu::flatten]] void KESStripModel::imageToLsr(geo::XYPoint const& image, float height, int band, float tdi,
                                                geo::XYZPoint& ground) const {
  StripBand(*mData, band).imageToLsr(image, height, ground, tdi);
}

void KESStripModel::lsrToImageSSE(std::vector<geo::XYZPoint> const& ground, int band,
                                  std::vector<geo::XYPoint>& image) const {
  if (ground.size() % 4 != 0) {
    throw std::runtime_error("lsrToImageSSE: grndPts vector not a multiple of 4 in size.");
  }
  if (ground.empty()) {
    return;
  }
  StripBand const b(*mData, band);
  if (!isReadInLanes(b.calibration)) {
    solveLines(b, ground, image, Unobserved());
    return;
  }
  auto const solve = mSseEnabled ? solveInSseLanes : solveInPlainLanes;
  solve(fourLaneConstants(b), LineOrientations(b), ground.data(), ground.size(), image.data());
}

void KESStripModel::mapToImage(geo::XYZPoint const& map, int band, geo::XYPoint& image) const {
  geo::XYZPoint lsr;
  geo::coordSys::transform(mMappingSystem, mLsrSystem, map, lsr);
  lsrToImage(lsr, band, image);
}

void KESStripModel::mapToImage(std::vector<geo::XYZPoint> const& map, int band, std::vector<geo::XYPoint>& image,
                               std::vector<geo::XYZPoint>& lsr) const {
  std::size_t const n = map.size();
  if (n == 0) {
    return;
  }
  geo::coordSys::transform(mMappingSystem, mLsrSystem, map.data(), lsr.data(), n);
  if (!mSseEnabled) {
    lsrToImage(lsr, band, image);
    return;
  }
  if (n % 4 != 0 || lsr.size() != image.size()) {
    std::size_t const padded = n + 4 - n % 4;
    lsr.resize(padded);
    image.resize(padded);
    std::fill(lsr.begin() + static_cast<std::ptrdiff_t>(n), lsr.end(), lsr[n - 1]);
  }
  lsrToImageSSE(lsr, band, image);
}

void KESStripModel::imageToMap(geo::XYPoint const& image, float height, int band, geo::XYZPoint& map) const {
  float const tolerance = heightTolerance(gsd(band), toleranceAtHeight, *mMappingSystem);
  cutAtHeight(*this, image, band, mMappingSystem, height, tolerance, solver::maxCutsAtHeight, map,
              [&](geo::XYZPoint const&) { return height; });
}

void KESStripModel::imageToMap(geo::XYPoint const& image, int band, geo::XYZPoint& map,
                               dsm::ProjectedElevationSource* surface, float& height, float toleranceFactor) const {
  geo::coordSys const* const system = surface->coordSystem();
  float const tolerance = heightTolerance(gsd(band), toleranceFactor, *system);
  cutAtHeight(*this, image, band, system, height, tolerance, solver::maxCutsOnSurface, map,
              [&](geo::XYZPoint const& position) {
                if (!surface->height(position, height)) {
                  throw std::runtime_error("Image to map: Unable to a retrieve DSM height.");
                }
                return height;
              });
  geo::coordSys::transform(system, mMappingSystem, map, map);
}

}  // namespace sensor
