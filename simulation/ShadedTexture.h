// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>
#include <simulation/ValueNoise.h>

#include <array>
#include <cstdint>

namespace simulation {

/// The terrain in the light of a sun in the north-west, 45 degrees high, with a fine pattern fixed to the ground, so that every
/// part of an image can be matched with its neighbour: a value noise in metres of the ground, from squares of about
/// two to four pixels up to 64 m.
///
/// Brightness = 65535 (0.15 + 0.45 shade + 0.35 noise), shade and noise from 0 to 1: never 0 where there is terrain.
/// Shade is the cosine of the angle between the sun and the surface's normal, 0 on the far side (Lambert); slopes are
/// taken over a cell of the elevation model, so that the shade is continuous.
class ShadedTexture final : public Texture {
public:
  /// The caller keeps the terrain; `pixel` is the ground size of a pixel in metres.
  ShadedTexture(Terrain const& terrain, std::uint64_t seed, double pixel);

  geo::coordSys const& coordSystem() const override { return *mTerrain.source().coordSystem(); }
  double value(geo::XYZPoint const& position) const override;

private:
  double shade(geo::XYZPoint const& position) const;
  geo::XYPoint metres(double dx, double dy) const;
  double rise(geo::XYZPoint const& position, geo::XYPoint const& step) const;

  Terrain const& mTerrain;
  ValueNoise mNoise;
  geo::XYZPoint mOrigin;
  // East and north metres of one unit of the terrain's x and of its y, at the middle of the terrain.
  geo::XYPoint mX;
  geo::XYPoint mY;
  // One column and one row of the terrain in its system, and the same in metres.
  geo::XYPoint mColumn;
  geo::XYPoint mRow;
  double mUnit;
};

}  // namespace simulation
