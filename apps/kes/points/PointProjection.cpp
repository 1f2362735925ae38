// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/PointProjection.h"

#include "shared/Numbers.h"
#include "shared/Output.h"
#include "strips/Closure.h"

#include <dsm/RasterElevationSource.h>

#include <cmath>
#include <cstdint>
#include <iostream>
#include <stdexcept>

namespace tool {

namespace {

// Rows that are read, projected and printed together. A run of points is one block: each point helps the next.
constexpr std::size_t blockSize = 65536;

// How near a height comes to the surface, in ground sampling distances.
constexpr float surfaceTolerance = 0.01F;

std::vector<std::string> numbersOf(ProjectOptions const& options) {
  if (options.to == "image") {
    return {"x", "y", "z"};
  }
  return options.dem.empty() ? std::vector<std::string>{"sample", "line", "height"}
                             : std::vector<std::string>{"sample", "line"};
}

std::vector<std::string> resultsOf(ProjectOptions const& options) {
  std::vector<std::string> results =
      options.to == "image" ? std::vector<std::string>{"sample", "line"} : std::vector<std::string>{"x", "y", "z"};
  if (options.verify) {
    results.insert(results.end(), {"closure", "status"});
  }
  return results;
}

// The form in lanes takes multiples of four.
void solveInLanes(sensor::KESStripModel const& strip, int band, std::vector<geo::XYZPoint>& ground,
                  std::vector<geo::XYPoint>& image) {
  std::size_t const count = ground.size();
  std::size_t const padded = (count + 3) / 4 * 4;
  ground.resize(padded, ground.back());
  image.resize(padded);
  strip.lsrToImageSSE(ground, band, image);
  ground.resize(count);
  image.resize(count);
}

}  // namespace

PointProjection::PointProjection(ProjectOptions const& options, std::istream& in, std::string const& name)
    : mOptions(options), mToGround(options.to == "ground"), mToMap(options.frame == "map"),
      mStrip(options.strip.file, true, options.orientation == "original", false),
      mBand(bandIndex(mStrip, options.band)), mTable(in, name, numbersOf(options), resultsOf(options)) {
  if (mToMap) {
    mMapSystem = options.map.make();
  }
  mStrip.setMappingSystem(mToMap ? mMapSystem.get() : mStrip.lsrSystem());
  if (!options.dem.empty()) {
    mSurface = std::make_unique<dsm::RasterElevationSource>(options.dem);
  }
}

void PointProjection::run() {
  std::string text;
  mTable.appendHeader(text);
  std::size_t const rows = mOptions.solver == "point" ? blockSize : SIZE_MAX;
  while (mTable.readBlock(rows)) {
    readPoints();
    if (mSurface) {
      projectOnSurface();
    } else if (mToGround) {
      projectToGround();
    } else {
      projectToImage();
    }
    if (mToGround && mOptions.verify) {
      convertToLsr();
    }
    for (std::size_t i = 0; i < mTable.size(); ++i) {
      mTable.appendRow(text, i, results(i));
    }
    write(text);
    text.clear();
  }
  write(text);
}

void PointProjection::readPoints() {
  mImage.assign(mTable.size(), {});
  mGround.assign(mTable.size(), {});
  for (std::size_t i = 0; i < mTable.size(); ++i) {
    if (mToGround) {
      mImage[i] = {mTable.number(i, 0), mTable.number(i, 1)};
    } else {
      mGround[i] = {mTable.number(i, 0), mTable.number(i, 1), mTable.number(i, 2)};
    }
  }
}

void PointProjection::projectToGround() {
  for (std::size_t i = 0; i < mImage.size(); ++i) {
    auto const height = static_cast<float>(mTable.number(i, 2));
    if (mToMap) {
      mStrip.imageToMap(mImage[i], height, mBand, mGround[i]);
    } else if (mOptions.tdi) {
      mStrip.imageToLsr(mImage[i], height, mBand, *mOptions.tdi, mGround[i]);
    } else {
      mStrip.imageToLsr(mImage[i], height, mBand, mGround[i]);
    }
  }
}

// Each point begins at the mean terrain height, so that its place doesn't depend on the points before.
void PointProjection::projectOnSurface() {
  for (std::size_t i = 0; i < mImage.size(); ++i) {
    auto height = static_cast<float>(mStrip.meanTerrainHeight());
    try {
      mStrip.imageToMap(mImage[i], mBand, mGround[i], mSurface.get(), height, surfaceTolerance);
    } catch (std::runtime_error const& error) {
      throw std::runtime_error(mTable.place(i) + ": " + error.what());
    }
  }
}

void PointProjection::projectToImage() {
  convertToLsr();
  checkConversion();
  if (mOptions.solver == "vector") {
    solveInLanes(mStrip, mBand, mLsr, mImage);
  } else if (mOptions.solver == "run") {
    mStrip.lsrToImage(mLsr, mBand, mImage);
  } else {
    for (std::size_t i = 0; i < mLsr.size(); ++i) {
      mStrip.lsrToImage(mLsr[i], mBand, mImage[i]);
    }
  }
}

void PointProjection::convertToLsr() {
  mLsr = mGround;
  if (mToMap) {
    geo::coordSys::transform(mMapSystem.get(), mStrip.lsrSystem(), mGround.data(), mLsr.data(), mLsr.size());
  }
}

// Positions that are read are finite, so one that isn't couldn't be converted.
void PointProjection::checkConversion() const {
  for (std::size_t i = 0; i < mLsr.size(); ++i) {
    if (!std::isfinite(mLsr[i].x) || !std::isfinite(mLsr[i].y) || !std::isfinite(mLsr[i].z)) {
      throw std::runtime_error(mTable.place(i) + ": no place on the ground in " + mOptions.map.name());
    }
  }
}

std::vector<std::string> PointProjection::results(std::size_t i) const {
  geo::XYPoint const& image = mImage[i];
  geo::XYZPoint const& ground = mGround[i];
  std::vector<std::string> values = mToGround ? std::vector<std::string>{text(ground.x), text(ground.y), text(ground.z)}
                                              : std::vector<std::string>{text(image.x), text(image.y)};
  if (mOptions.verify) {
    double const closure = closureOf(i);
    values.push_back(text(closure));
    values.push_back(status(image, closure));
  }
  return values;
}

double PointProjection::closureOf(std::size_t i) const {
  geo::XYPoint image = mImage[i];
  if (mToGround) {
    mStrip.lsrToImage(mLsr[i], mBand, image);
  }
  return groundClosure(mStrip, mBand, image, mLsr[i]);
}

std::string PointProjection::status(geo::XYPoint const& image, double closure) const {
  if (!(closure <= groundTolerance(mStrip, mBand))) {
    return "unsolved";
  }
  return isInside(mStrip, mBand, image) ? "ok" : "outside";
}

}  // namespace tool
