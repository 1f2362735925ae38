// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor.h>
#include <simulation/Block.h>
#include <simulation/Terrain.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace test {

/// A block over the data's real terrain: three strips of 1.2 km by 0.19 km, and one across.
inline simulation::BlockPlan smallBlock() {
  simulation::BlockPlan plan;
  plan.flight.dem = KESSENSOR_TERRAIN;
  plan.flight.lines = 6000;
  plan.flight.samples = 900;
  plan.flight.seed = 3;
  plan.flight.heading = 20.0;
  plan.crossStrips = 1;
  plan.points = 60;
  return plan;
}

/// The band that looks down.
inline constexpr char const* nadir = "PANN00A";

/// Where the library has a ground point of a block in an image; nothing when that is outside the image or less than a
/// pixel from its border.
inline std::optional<geo::XYPoint> placeInImage(sensor::KESStripModel const& strip, int band,
                                                geo::GroundPoint const& point) {
  geo::XYPoint image;
  strip.mapToImage({point.x, point.y, point.z}, band, image);
  bool const isInside = image.x >= 1.0 && image.x <= strip.imageWidth(band) - 2.0 && image.y >= 1.0 &&
                        image.y <= strip.imageHeight(band) - 2.0;
  return isInside ? std::optional(image) : std::nullopt;
}

/// A block on disk as the library reads it, its strips with the orientation that the camera had. That of the navigation
/// is read before: its heading is where the solver begins, and decides the last digits of a projection.
class FlownBlock {
public:
  FlownBlock(simulation::BlockPlan const& blockPlan, std::string const& name)
      : plan(blockPlan), folder(name), files(simulation::simulateBlock(plan, folder)),
        block(folder + "/" + files.block, true, true, false), terrain(plan.flight.dem) {
    for (std::size_t i = 0; i < files.strips.size(); ++i) {
      std::string const strip = plan.flights()[i].name;
      *block.strip(strip)->eop() = sensor::EOPData(folder + "/" + files.strips[i].trueEop);
    }
  }

  sensor::KESStripModel const& strip(std::string const& name) const { return *block.strip(name); }
  std::vector<std::string> stripNames() const {
    std::vector<std::string> names;
    block.stripNames(names);
    return names;
  }
  sensor::ImagePointList measurements(std::string const& stripName, int band) const {
    sensor::KESImage const& image = *strip(stripName).img(band);
    return {image.iptFileName(), stripName, image.bandID()};
  }

  /// Calls with strip, band, ground point and measurement.
  template <class Action>
  void forEachMeasurement(Action const& action) const {
    for (std::string const& name : stripNames()) {
      for (int band = 0; band < strip(name).numBands(); ++band) {
        sensor::ImagePointList const list = measurements(name, band);
        for (geo::ImagePoint const& image : list.points()) {
          geo::GroundPoint ground;
          ASSERT_EQ(block.groundPoints().groundPoint(image.id, ground), 0) << image.id;
          action(strip(name), band, ground, image);
        }
      }
    }
  }

  simulation::BlockPlan plan;
  std::string folder;
  simulation::BlockFiles files;
  sensor::BlockModelData block;
  simulation::Terrain terrain;
};

}  // namespace test
