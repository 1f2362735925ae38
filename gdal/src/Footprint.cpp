// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYZPoint.h>
#include <kesgdal/Footprint.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace kesgdal {

namespace {

constexpr double halfPixel = 0.5;
// Positions along and across an image that are tried when none of its edges meets the surface.
constexpr int innerLines = 200;
constexpr int innerSamples = 50;
// Heights reach from as far below the mean terrain as the flight is above it, up to this part of the way to the flight.
constexpr double topPart = 0.75;

using Heights = std::vector<double>;
using ImagePositions = std::vector<geo::XYPoint>;
using GroundPositions = std::vector<geo::XYZPoint>;

// The outer edges of an image, pixel by pixel.
ImagePositions edgesOf(kes::Band const& band) {
  ImagePositions edges;
  double const right = band.samples() - halfPixel;
  double const end = band.lines() - halfPixel;
  for (double line = -halfPixel; line <= end; line += 1.0) {
    edges.emplace_back(-halfPixel, line);
    edges.emplace_back(right, line);
  }
  for (double sample = halfPixel; sample < right; sample += 1.0) {
    edges.emplace_back(sample, -halfPixel);
    edges.emplace_back(sample, end);
  }
  return edges;
}

ImagePositions insideOf(kes::Band const& band) {
  ImagePositions inside;
  for (int i = 0; i < innerLines; ++i) {
    for (int j = 0; j < innerSamples; ++j) {
      inside.emplace_back(static_cast<double>(band.samples()) * (j + halfPixel) / innerSamples,
                          static_cast<double>(band.lines()) * (i + halfPixel) / innerLines);
    }
  }
  return inside;
}

class Footprint {
public:
  Footprint(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface, int threads)
      : mBand(band), mMap(map), mSurface(surface), mThreads(threads) {}

  std::optional<Extent> find() {
    ImagePositions const misses = addHits(edgesOf(mBand));
    if (mHits == 0 && !meetsInside()) {
      return std::nullopt;
    }
    addMisses(misses);
    return mExtent;
  }

private:
  kes::ToGroundOptions onSurface() const {
    kes::ToGroundOptions options;
    options.system = mMap;
    options.heights = mSurface;
    options.threads = mThreads;
    options.solver = kes::Solver::libraryPoint;
    return options;
  }

  // Returns those that meet no surface.
  ImagePositions addHits(ImagePositions const& image) {
    GroundPositions ground(image.size());
    std::vector<kes::Status> status(image.size());
    mHits = mBand.toGround(image, onSurface(), ground, status);
    ImagePositions misses;
    for (std::size_t i = 0; i < image.size(); ++i) {
      if (kes::hasResult(status[i])) {
        add(ground[i]);
      } else {
        misses.push_back(image[i]);
      }
    }
    return misses;
  }

  void add(geo::XYZPoint const& map) {
    if (std::isfinite(map.x) && std::isfinite(map.y)) {
      mExtent = united(mExtent, {{map.x, map.y}, {map.x, map.y}});
    }
  }

  bool meetsInside() const {
    ImagePositions const inside = insideOf(mBand);
    GroundPositions ground(inside.size());
    std::vector<kes::Status> status(inside.size());
    return mBand.toGround(inside, onSurface(), ground, status) > 0;
  }

  // Lines of sight that meet nothing pass somewhere between the lowest and the highest terrain.
  void addMisses(ImagePositions const& misses) {
    if (misses.empty()) {
      return;
    }
    std::optional<kes::Surface::HeightRange> const range = mSurface.heightRange();
    addMisses(misses, range->lowest);
    addMisses(misses, range->highest);
  }

  // At a height of the surface's system, which is another one of the local system from place to place.
  void addMisses(ImagePositions const& misses, double height) {
    double const terrain = mBand.model().meanTerrainHeight();
    double const flight = mBand.model().meanFlyingHeight() - terrain;
    kes::CoordinateSystem const& system = mSurface.coordinateSystem();
    GroundPositions ground = atLocalHeights(misses, Heights(misses.size(), terrain));
    mBand.localSystem().transform(system, ground, ground);
    for (geo::XYZPoint& position : ground) {
      position.z = height;
    }
    system.transform(mBand.localSystem(), ground, ground);
    Heights heights;
    for (geo::XYZPoint const& position : ground) {
      double const z = std::isfinite(position.z) ? position.z : terrain;
      heights.push_back(std::clamp(z, terrain - flight, terrain + topPart * flight));
    }
    ground = atLocalHeights(misses, heights);
    mBand.localSystem().transform(mMap, ground, ground);
    std::for_each(ground.begin(), ground.end(), [&](geo::XYZPoint const& position) { add(position); });
  }

  GroundPositions atLocalHeights(ImagePositions const& image, Heights const& heights) const {
    kes::ToGroundOptions options;
    options.heights = kes::HeightPerPoint{heights};
    options.threads = mThreads;
    options.solver = kes::Solver::libraryPoint;
    GroundPositions ground(image.size());
    std::vector<kes::Status> status(image.size());
    mBand.toGround(image, options, ground, status);
    return ground;
  }

  static constexpr double infinity = std::numeric_limits<double>::infinity();

  kes::Band const& mBand;
  kes::CoordinateSystem const& mMap;
  kes::Surface const& mSurface;
  int mThreads;
  Extent mExtent{{infinity, infinity}, {-infinity, -infinity}};
  std::size_t mHits = 0;
};

}  // namespace

std::optional<Extent> footprint(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface,
                                int threads) {
  return Footprint(band, map, surface, threads).find();
}

Extent united(Extent const& a, Extent const& b) {
  return {{std::min(a.low.x, b.low.x), std::min(a.low.y, b.low.y)},
          {std::max(a.high.x, b.high.x), std::max(a.high.y, b.high.y)}};
}

}  // namespace kesgdal
