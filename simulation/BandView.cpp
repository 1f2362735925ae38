// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/KESStripModel.h>
#include <simulation/BandView.h>

#include <algorithm>

namespace simulation {

BandView::BandView(sensor::KESStripModel const& strip, int band, Terrain const& terrain)
    : mLocal(*strip.lsrSystem()), mTolerance(std::max(static_cast<double>(strip.gsd(band)) / 500.0, 2e-4)),
      mGround(SeenGround::of(strip, band, terrain)), mToTerrain(mapTo(*terrain.source().coordSystem())),
      mSurface(terrain, mToTerrain, mGround.bounds, {mGround.box.low.z, mGround.box.high.z}, mTolerance) {}

LocalMap BandView::mapTo(geo::coordSys const& system) const {
  return {mLocal, system, mGround.box, LocalMap::spacingFor(mTolerance)};
}

}  // namespace simulation
