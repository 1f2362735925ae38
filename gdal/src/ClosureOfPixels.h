// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "PixelBox.h"

#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>
#include <kesgdal/OrthoGrid.h>

#include <cstddef>

namespace kesgdal {

/// How well pixels of an orthophoto close: from the map over the surface into the image they show, from there back to
/// the ground at the pixel's height and on the map, and into the image again.
class ClosureOfPixels {
public:
  /// Adds the pixels that a band's image has of a regular grid of 32 by 32 in a box.
  void add(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface, OrthoGrid const& grid,
           PixelBox const& box);

  std::size_t count() const { return mCount; }
  double rmsMetres() const;
  double rmsPixels() const;
  double largestMetres() const { return mLargestMetres; }
  double largestPixels() const { return mLargestPixels; }

private:
  std::size_t mCount = 0;
  double mSquaresMetres = 0.0;
  double mSquaresPixels = 0.0;
  double mLargestMetres = 0.0;
  double mLargestPixels = 0.0;
};

}  // namespace kesgdal
