// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "PixelBox.h"
#include "files/PowersOfTen.h"

#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>
#include <kesgdal/OrthoGrid.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kesgdal {

/// A part of the orthophoto whose pixels are checked, and the tile of it in which they are.
struct CheckedPixels {
  PixelBox part;
  PixelBox tile;
};

/// How well pixels of an orthophoto close: from the map over the surface into the image they show, from there back to
/// the ground at the pixel's height and on the map, and into the image again.
///
/// The results of several tiles are those of one, in whatever order they are added: squares are summed as multiples of
/// 2^-88, without rounding. A sum of more than 2^40 counts as infinite, and so does what doesn't come back.
class ClosureOfPixels {
public:
  /// Adds the pixels that a band's image has in a tile, of a regular grid of 32 by 32 in the whole part.
  void add(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface, OrthoGrid const& grid,
           CheckedPixels const& checked);
  void add(ClosureOfPixels const& other);

  std::uint64_t count() const { return mCount; }
  double rmsMetres() const;
  double rmsPixels() const;
  double largestMetres() const { return mMetres.largest; }
  double largestPixels() const { return mPixels.largest; }

  /// A text from which `parsed` makes the same.
  std::string text() const;
  /// Nothing when the text isn't one of `text`.
  static std::optional<ClosureOfPixels> parsed(std::string const& text);

private:
  struct Errors {
    files::Wide squares = 0;
    bool isInfinite = false;
    double largest = 0.0;

    void add(double error);
    void add(files::Wide moreSquares);
    double rms(std::uint64_t count) const;
  };

  std::uint64_t mCount = 0;
  Errors mMetres;
  Errors mPixels;
};

}  // namespace kesgdal
