// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/BandView.h>
#include <simulation/LocalMap.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>

#include <cstdint>
#include <vector>

namespace sensor {
class KESStripModel;
}

namespace simulation {

/// Renders the image of a band: for each pixel the brightness of the ground that its line of sight meets first, at the
/// pixel's centre (sample and line are whole numbers there) and the middle of its exposure; 0 where it meets none.
///
/// The place on the ground is that of the sensor model and the terrain, as near as `BandView` has it.
///
/// Rows follow from their number alone: images don't depend on the number of threads, nor on which rows are asked for.
class Renderer {
public:
  /// The strip has its data loaded, with the orientation that the camera had. The caller keeps all three. Throws what
  /// the terrain throws.
  Renderer(sensor::KESStripModel const& strip, int band, Terrain const& terrain, Texture const& texture);

  /// Of the image, pixels.
  int width() const { return mWidth; }
  int height() const { return mHeight; }

  /// Pixels of `count` rows, row by row. `threads`: how many render, 0 for as many as the machine runs at a time.
  /// Throws what terrain and texture throw.
  std::vector<std::uint16_t> rows(int first, int count, int threads) const;

private:
  void render(int row, std::uint16_t* pixels) const;

  sensor::KESStripModel const& mStrip;
  int mBand;
  int mWidth;
  int mHeight;
  Texture const& mTexture;
  BandView mView;
  LocalMap mToTexture;
};

}  // namespace simulation
