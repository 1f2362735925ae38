// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>
#include <kes/Surface.h>
#include <simulation/Texture.h>

#include <cstdint>
#include <vector>

namespace simulation {

/// Renders the image of a band: for each pixel the brightness of the ground that its line of sight meets first, at the
/// pixel's centre (sample and line are whole numbers there) and the middle of its exposure; 0 where it meets none.
///
/// The place on the ground is the precise one of `kes::Band::toGround`.
///
/// Rows follow from their number alone: images don't depend on the number of threads, nor on which rows are asked for.
class Renderer {
public:
  /// The band is of a strip with the orientation that the camera had. The caller keeps the texture.
  Renderer(kes::Band const& band, kes::Surface const& terrain, Texture const& texture);

  /// Of the image, pixels.
  int width() const { return mBand.samples(); }
  int height() const { return mBand.lines(); }

  /// Pixels of `count` rows, row by row. `threads`: how many render, 0 for as many as the machine runs at a time.
  /// Throws what terrain and texture throw.
  std::vector<std::uint16_t> rows(int first, int count, int threads) const;

private:
  void render(int row, std::uint16_t* pixels) const;

  kes::Band mBand;
  Texture const& mTexture;
  kes::ToGroundOptions mToTexture;
};

}  // namespace simulation
