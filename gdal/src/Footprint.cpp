// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "WatchedSurface.h"

#include <dsm/RasterElevationSource.h>
#include <geo/XYZPoint.h>
#include <geo/coordSys.h>
#include <kesgdal/OrthoGrid.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

namespace kesgdal {

namespace {

constexpr float heightTolerance = 0.01F;  // ground sampling distances
constexpr double halfPixel = 0.5;
// Positions along and across an image that are tried when none of its edges meets the surface.
constexpr int innerLines = 200;
constexpr int innerSamples = 50;
// Heights reach from as far below the mean terrain as the flight is above it, up to this part of the way to the flight.
constexpr double topPart = 0.75;

class Footprint {
public:
  Footprint(sensor::KESStripModel const& strip, int band, dsm::RasterElevationSource* surface)
      : mStrip(strip), mBand(band), mRaster(*surface), mSurface(*surface, mFailure) {}

  std::optional<Extent> find() {
    followEdges();
    bool const covered = mHits > 0 || meetsInside();
    mFailure.rethrow();
    if (!covered) {
      return std::nullopt;
    }
    addMisses();
    return mExtent;
  }

private:
  void followEdges() {
    double const right = static_cast<double>(mStrip.imageWidth(mBand)) - halfPixel;
    double const end = static_cast<double>(mStrip.imageHeight(mBand)) - halfPixel;
    for (double line = -halfPixel; line <= end; line += 1.0) {
      follow({-halfPixel, line});
      follow({right, line});
    }
    for (double sample = halfPixel; sample < right; sample += 1.0) {
      follow({sample, -halfPixel});
      follow({sample, end});
    }
  }

  void follow(geo::XYPoint const& image) {
    geo::XYZPoint map;
    if (meets(image, map)) {
      ++mHits;
      add(map);
    } else {
      mMisses.push_back(image);
    }
  }

  bool meets(geo::XYPoint const& image, geo::XYZPoint& map) {
    auto height = static_cast<float>(mStrip.meanTerrainHeight());
    try {
      mStrip.imageToMap(image, mBand, map, &mSurface, height, heightTolerance);
      return true;
    } catch (std::runtime_error const&) {
      return false;
    }
  }

  void add(geo::XYZPoint const& map) {
    if (std::isfinite(map.x) && std::isfinite(map.y)) {
      mExtent = united(mExtent, {{map.x, map.y}, {map.x, map.y}});
    }
  }

  bool meetsInside() {
    double const width = mStrip.imageWidth(mBand);
    double const height = mStrip.imageHeight(mBand);
    geo::XYZPoint ignored;
    for (int i = 0; i < innerLines; ++i) {
      for (int j = 0; j < innerSamples; ++j) {
        if (meets({width * (j + halfPixel) / innerSamples, height * (i + halfPixel) / innerLines}, ignored)) {
          return true;
        }
      }
    }
    return false;
  }

  // Lines of sight that meet nothing pass somewhere between the lowest and the highest terrain.
  void addMisses() {
    if (mMisses.empty()) {
      return;
    }
    std::optional<dsm::RasterElevationSource::HeightRange> const range = mRaster.heightRange();
    for (geo::XYPoint const& image : mMisses) {
      addMiss(image, static_cast<double>(range->lowest));
      addMiss(image, static_cast<double>(range->highest));
    }
  }

  // At a height of the surface's system, which is another one of the local system from place to place.
  void addMiss(geo::XYPoint const& image, double height) {
    double const terrain = mStrip.meanTerrainHeight();
    double const flight = mStrip.meanFlyingHeight() - terrain;
    geo::XYZPoint local;
    geo::XYZPoint position;
    mStrip.imageToLsr(image, static_cast<float>(terrain), mBand, local);
    geo::coordSys::transform(mStrip.lsrSystem(), mSurface.coordSystem(), local, position);
    position.z = height;
    geo::coordSys::transform(mSurface.coordSystem(), mStrip.lsrSystem(), position, position);
    double const z = std::isfinite(position.z) ? position.z : terrain;
    auto const limited = static_cast<float>(std::clamp(z, terrain - flight, terrain + topPart * flight));
    mStrip.imageToLsr(image, limited, mBand, local);
    geo::coordSys::transform(mStrip.lsrSystem(), mStrip.mappingSystem(), local, position);
    add(position);
  }

  static constexpr double infinity = std::numeric_limits<double>::infinity();

  sensor::KESStripModel const& mStrip;
  int mBand;
  dsm::RasterElevationSource const& mRaster;
  FirstFailure mFailure;
  WatchedSurface mSurface;
  Extent mExtent{{infinity, infinity}, {-infinity, -infinity}};
  std::size_t mHits = 0;
  std::vector<geo::XYPoint> mMisses;
};

}  // namespace

std::optional<Extent> footprint(sensor::KESStripModel const& strip, int band, dsm::RasterElevationSource* surface) {
  return Footprint(strip, band, surface).find();
}

}  // namespace kesgdal
