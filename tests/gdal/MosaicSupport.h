// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoSupport.h"

#include <string>
#include <vector>

namespace test {

/// Two flights that overlap by half, side by side and at an angle, over the same terrain. The brightness in the first
/// band is 1000 + sample or 2000 + sample, and that of the second 1000 + line or 2000 + line, so that each pixel says
/// what it shows.
struct TwoFlights {
  explicit TwoFlights(FlightSetup const& secondSetup = {.direction = 1.5, .longitude = "-1.399984"})
      : second(secondSetup) {
    second.relief = first.relief;
    second.openTerrain();
    write(first, 1000.0);
    write(second, 2000.0);
  }

  static void write(OrthoFlight const& flight, double base) {
    flight.writeImage(flight.setup.bands[0], [=](int sample, int) { return base + sample; });
    flight.writeImage(flight.setup.bands[1], [=](int, int line) { return base + line; });
  }

  /// Opens a strip for no longer than its call.
  static void visit(OrthoFlight const& flight, kesgdal::StripVisitor const& visitor) {
    visitor(kes::Strip(flight.folder / "strip.stp", flight.opening()));
  }
  static kesgdal::EachStrip strips(std::vector<OrthoFlight const*> const& flights) {
    return [flights](kesgdal::StripVisitor const& visitor) {
      for (OrthoFlight const* const flight : flights) {
        visit(*flight, visitor);
      }
    };
  }
  kesgdal::EachStrip strips() const { return strips({&first, &second}); }

  std::string output() const { return first.folder / "ortho.tif"; }
  void write(kesgdal::OrthoPlan const& plan, kesgdal::EachStrip const& each,
             kesgdal::Progress const& progress = {}) const {
    kesgdal::writeOrthophoto(each, first.map, *first.terrain, plan, output(), progress);
  }
  Raster ortho(kesgdal::OrthoPlan const& plan, kesgdal::EachStrip const& each) const {
    write(plan, each);
    return Raster(output());
  }
  Raster ortho(kesgdal::OrthoPlan const& plan) const { return ortho(plan, strips()); }
  std::string bytes(kesgdal::OrthoPlan const& plan, kesgdal::EachStrip const& each) const {
    write(plan, each);
    return contents(output());
  }

  OrthoFlight first{{.direction = 1.3}};
  OrthoFlight second;
};

}  // namespace test
