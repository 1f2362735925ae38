// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LaneKernels.h"

#include <geo/XYPoint.h>
#include <kes/kes.h>
#include <sensor/KESStripModel.h>

#include <string>

namespace test {

/// A band, prepared as for the front door.
struct Prepared {
  Prepared(kes::Strip const& strip, std::string const& id)
      : band(strip.band(id)), limits{static_cast<double>(band.samples()), static_cast<double>(band.lines())},
        chain(strip.model(), band.index()), search(chain), tables(chain, search) {}

  kes::Band band;
  kes::detail::PixelLimits limits;
  kes::detail::ViewChain chain;
  kes::detail::LineSearch search;
  kes::detail::LaneTables tables;
};

/// The status of a position that was found at a time.
inline kes::Status statusOf(Prepared const& prepared, geo::XYPoint const& image, double time) {
  if (prepared.chain.orientation().isOutside(time)) {
    return kes::Status::outsideOrientation;
  }
  return prepared.band.contains(image) ? kes::Status::ok : kes::Status::outsideImage;
}

}  // namespace test
