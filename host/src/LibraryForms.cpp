// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LibraryForms.h"

#include <dsm/ProjectedElevationSource.h>
#include <geo/coordSys.h>
#include <geo/units.h>

#include <cmath>

namespace kes::detail {

geo::XYZPoint libraryToLocal(LibraryRay const& ray, float height) {
  geo::XYZPoint local;
  if (ray.tdiStages) {
    ray.strip.imageToLsr(ray.image, height, ray.band, *ray.tdiStages, local);
  } else {
    ray.strip.imageToLsr(ray.image, height, ray.band, local);
  }
  return local;
}

namespace {

// When an iteration ends.
struct Ending {
  int passes;
  float tolerance;  // of height, ground sampling distances
};
constexpr Ending AT_HEIGHT{10, 0.1F};
constexpr Ending ON_SURFACE{100, 0.01F};
constexpr std::size_t LANES = 4;

float toleranceOf(LibraryRay const& ray, Ending const& ending, geo::coordSys const& system) {
  return ray.strip.gsd(ray.band) * ending.tolerance / static_cast<float>(system.verticalUnits().getScale());
}

// The library's iteration: pass by pass, the cut is made at the local height that the wanted height has at the place of
// the cut before. `wantedHeight` returns false where there is none.
template <class WantedHeight>
std::optional<geo::XYZPoint> cut(LibraryRay const& ray, geo::coordSys const& system, float height, Ending const& ending,
                                 WantedHeight wantedHeight) {
  float const tolerance = toleranceOf(ray, ending, system);
  float localHeight = height;
  geo::XYZPoint ground;
  bool isClose = false;
  for (int n = 0; n < ending.passes && !isClose; ++n) {
    geo::XYZPoint local = libraryToLocal(ray, localHeight);
    geo::coordSys::transform(ray.strip.lsrSystem(), &system, local, ground);
    if (!wantedHeight(ground, height)) {
      return std::nullopt;
    }
    auto const wanted = static_cast<double>(height);
    geo::coordSys::transform(&system, ray.strip.lsrSystem(), {ground.x, ground.y, wanted}, local);
    localHeight = static_cast<float>(local.z);
    isClose = !(std::fabs(ground.z - wanted) > static_cast<double>(tolerance));
  }
  return ground;
}

}  // namespace

geo::XYZPoint libraryToMap(LibraryRay const& ray, CoordinateSystem const& map, float height) {
  return *cut(ray, map.platform(), height, AT_HEIGHT, [](geo::XYZPoint const&, float&) { return true; });
}

std::optional<geo::XYZPoint> libraryToSurface(LibraryRay const& ray, Surface const& surface) {
  geo::coordSys const& system = surface.coordinateSystem().platform();
  return cut(ray, system, static_cast<float>(ray.strip.meanTerrainHeight()), ON_SURFACE,
             [&](geo::XYZPoint const& ground, float& height) { return surface.platform().height(ground, height); });
}

void libraryToImage(sensor::KESStripModel const& strip, int band, Solver form, std::vector<geo::XYZPoint>& ground,
                    std::vector<geo::XYPoint>& image, std::span<int> passes) {
  std::size_t const count = ground.size();
  image.resize(count);
  if (count == 0) {
    return;
  }
  if (form == Solver::libraryPoint) {
    for (std::size_t i = 0; i < count; ++i) {
      if (passes.empty()) {
        strip.lsrToImage(ground[i], band, image[i]);
      } else {
        passes[i] = sensor::solveImage(strip, ground[i], band, image[i]);
      }
    }
  } else if (form == Solver::libraryRun) {
    strip.lsrToImage(ground, band, image);
  } else {
    std::size_t const padded = (count + LANES - 1) / LANES * LANES;
    ground.resize(padded, ground.back());
    image.resize(padded);
    strip.lsrToImageSSE(ground, band, image);
    ground.resize(count);
    image.resize(count);
  }
}

}  // namespace kes::detail
