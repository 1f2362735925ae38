// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/LocalMap.h>
#include <simulation/Terrain.h>
#include <simulation/TerrainBounds.h>
#include <simulation/VisibleSurface.h>

namespace sensor {
class KESStripModel;
}

namespace geo {
class coordSys;
}

namespace simulation {

/// What a band of a strip can see of a terrain.
struct SeenGround {
  /// Around all lines of sight, from the lowest to the highest terrain in their way; the strip's local system.
  LocalMap::Box box;
  TerrainBounds bounds;

  /// How far lines of sight reach follows from the heights, and which heights there are from how far they reach: both
  /// are found in turn. The strip's data are loaded. Throws what the terrain's source throws.
  static SeenGround of(sensor::KESStripModel const& strip, int band, Terrain const& terrain);
};

/// The terrain as a band of a strip sees it, within a thousandth of a pixel or so: 1/500 of the ground sampling
/// distance, but no less than 0.2 mm (a float holds no finer heights), for the height and for the maps between
/// coordinate systems.
class BandView {
public:
  /// The strip has its data loaded, with the orientation that the camera had. The caller keeps both. Throws what the
  /// terrain throws.
  BandView(sensor::KESStripModel const& strip, int band, Terrain const& terrain);
  BandView(BandView const&) = delete;
  BandView& operator=(BandView const&) = delete;

  /// Whether there is no terrain at all.
  bool isEmpty() const { return mGround.bounds.isEmpty(); }
  /// A local height below all terrain in view.
  float foot() const { return static_cast<float>(mGround.box.low.z); }
  VisibleSurface const& surface() const { return mSurface; }
  /// A map from the strip's local system, over all that is in view.
  LocalMap mapTo(geo::coordSys const& system) const;

private:
  geo::coordSys const& mLocal;
  double mTolerance;
  SeenGround mGround;
  LocalMap mToTerrain;
  VisibleSurface mSurface;
};

}  // namespace simulation
