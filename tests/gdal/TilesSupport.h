// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MosaicSupport.h"

#include <kesgdal/OrthoTiles.h>

#include <string>
#include <vector>

namespace test {

/// The orthophoto of two flights, in tiles.
struct TiledFlights : TwoFlights {
  using TwoFlights::TwoFlights;

  kesgdal::OrthoSource source() const {
    return {{first.folder / "strip.stp", second.folder / "strip.stp"},
            first.opening(),
            first.terrain->fileName(),
            {},
            first.map.definition()};
  }
  std::string manifest() const { return first.folder / "plan.json"; }
  std::string finished() const { return first.folder / "finished.tif"; }

  kesgdal::OrthoTiling planned(kesgdal::OrthoPlan const& plan, kesgdal::TilingOptions const& options) const {
    return kesgdal::planOrthophoto(strips(), source(), plan, options, manifest());
  }
  static void makeAll(kesgdal::OrthoTiling const& tiling) {
    kesgdal::TileMaker maker(tiling);
    for (std::size_t i = 0; i < tiling.tileCount(); ++i) {
      maker.make(i);
    }
  }
  /// Of the file that the tiles make.
  std::string finishedBytes(kesgdal::OrthoTiling const& tiling) const {
    kesgdal::finishOrthophoto(tiling, finished());
    return contents(finished());
  }
  /// Of the file that is made in one process.
  std::string wholeBytes(kesgdal::OrthoPlan const& plan) const { return bytes(plan, strips()); }
};

}  // namespace test
