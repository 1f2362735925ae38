// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BandProjection.h"

#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

constexpr double halfPixel = 0.5;
constexpr std::size_t lanes = 4;
// Of the ground sampling distance, in height: a line of sight at 45 degrees is then good to as much of a pixel.
constexpr float heightTolerance = 0.01F;

sensor::KESStripModel const& loaded(sensor::KESStripModel const& strip, int band) {
  if (strip.modelData() == nullptr || !strip.isDataLoaded()) {
    throw std::runtime_error("Can't orthorectify: the strip's data aren't loaded");
  }
  if (band < 0 || band >= strip.numBands()) {
    throw std::runtime_error("Can't orthorectify: the strip has no band " + std::to_string(band));
  }
  return strip;
}

GeoTransform inverted(GeoTransform const& t) {
  double const determinant = t[1] * t[5] - t[2] * t[4];
  GeoTransform const inverse = {(t[2] * t[3] - t[0] * t[5]) / determinant, t[5] / determinant,  -t[2] / determinant,
                                (t[0] * t[4] - t[1] * t[3]) / determinant, -t[4] / determinant, t[1] / determinant};
  if (!std::all_of(inverse.begin(), inverse.end(), [](double value) { return std::isfinite(value); })) {
    throw std::runtime_error("Can't orthorectify: the raster's geotransform can't be inverted");
  }
  return inverse;
}

double applied(GeoTransform const& t, std::size_t row, double x, double y) {
  return t[3 * row] + t[3 * row + 1] * x + t[3 * row + 2] * y;
}

bool isRow(std::size_t count, double const* x, double const* y) {
  return count > 1 && std::all_of(y, y + count, [&](double value) { return value == y[0]; }) &&
         std::all_of(x, x + count, [](double value) { return std::isfinite(value); });
}

}  // namespace

PixelRange PixelRange::nothing() {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  return {infinity, infinity, -infinity, -infinity};
}

void PixelRange::add(double x, double y) {
  left = std::min(left, x);
  right = std::max(right, x);
  top = std::min(top, y);
  bottom = std::max(bottom, y);
}

SharedProjection::SharedProjection(sensor::KESStripModel const& model, int bandIndex,
                                   dsm::ProjectedElevationSource const& source, GeoTransform const& geoTransform,
                                   double around)
    : strip(loaded(model, bandIndex)), band(bandIndex), surface(source, failure), raster(geoTransform),
      inverse(inverted(geoTransform)), margin(around), width(model.imageWidth(bandIndex)),
      height(model.imageHeight(bandIndex)), reach(model, bandIndex, around), positions(model, surface) {}

BandProjection::BandProjection(std::shared_ptr<SharedProjection const> shared, double ratioX, double ratioY)
    : mShared(std::move(shared)), mRatioX(ratioX), mRatioY(ratioY) {}

BandProjection BandProjection::similar(double ratioX, double ratioY) const {
  return BandProjection(mShared, mRatioX * ratioX, mRatioY * ratioY);
}

void BandProjection::keepDistances(Block const& block, std::vector<float>* distances) {
  mBlock = block;
  mDistances = distances;
  if (distances != nullptr) {
    distances->assign(block.size(), std::numeric_limits<float>::infinity());
  }
}

// The pixels from a position of the raster on, which has its column and row.
void BandProjection::keepRow(double column, double row, std::size_t count, double const* imageX, int const* success) {
  auto const left = static_cast<std::ptrdiff_t>(std::floor(column)) - mBlock.left;
  auto const top = static_cast<std::ptrdiff_t>(std::floor(row)) - mBlock.top;
  std::ptrdiff_t const first = top * mBlock.columns + left;
  if (first < 0 || static_cast<std::size_t>(first) + count > mDistances->size()) {
    return;
  }
  double const middle = 0.5 * mShared->width / mRatioX;
  for (std::size_t i = 0; i < count; ++i) {
    (*mDistances)[static_cast<std::size_t>(first) + i] =
        success[i] != 0 ? static_cast<float>(std::abs(imageX[i] - middle)) : std::numeric_limits<float>::infinity();
  }
}

void BandProjection::toImage(std::size_t count, double* x, double* y, int* success) {
  double const column = count > 0 ? x[0] : 0.0;
  double const row = count > 0 ? y[0] : 0.0;
  mGround.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    mGround[i] = {applied(mShared->raster, 0, x[i], y[i]), applied(mShared->raster, 1, x[i], y[i]), 0.0};
  }
  if (isRow(count, x, y)) {
    mShared->positions.rowToLocal(x, mGround, mBuffers);
  } else {
    mShared->positions.toLocal(mGround, mBuffers);
  }
  gatherReached();
  solve();
  std::fill_n(x, count, HUGE_VAL);
  std::fill_n(y, count, HUGE_VAL);
  std::fill_n(success, count, 0);
  for (std::size_t k = 0; k < mIndices.size(); ++k) {
    std::size_t const i = mIndices[k];
    success[i] = store(mImage[k], x[i], y[i]) ? 1 : 0;
  }
  if (mDistances != nullptr) {
    keepRow(column, row, count, x, success);
  }
}

void BandProjection::gatherReached() {
  mReached.clear();
  mIndices.clear();
  for (std::size_t i = 0; i < mGround.size(); ++i) {
    if (!std::isfinite(mGround[i].z)) {
      ++mHoles;
    } else if (mShared->reach.contains(mGround[i])) {
      mReached.push_back(mGround[i]);
      mIndices.push_back(i);
    }
  }
}

void BandProjection::solve() {
  sensor::KESStripModel const& strip = mShared->strip;
  if (mReached.empty()) {
    return;
  }
  if (strip.sseEnabled()) {
    mReached.resize((mReached.size() + lanes - 1) / lanes * lanes, mReached.back());
  }
  mImage.resize(mReached.size());
  if (strip.sseEnabled()) {
    strip.lsrToImageSSE(mReached, mShared->band, mImage);
  } else {
    strip.lsrToImage(mReached, mShared->band, mImage);
  }
}

// Whether the position is one of the image or its margin.
bool BandProjection::store(geo::XYPoint const& image, double& x, double& y) {
  double const column = image.x + halfPixel;
  double const row = image.y + halfPixel;
  double const margin = mShared->margin;
  if (!(column >= -margin && column <= mShared->width + margin && row >= -margin && row <= mShared->height + margin)) {
    return false;
  }
  if (column >= 0.0 && column <= mShared->width && row >= 0.0 && row <= mShared->height) {
    mSeen.add(column, row);
  }
  x = column / mRatioX;
  y = row / mRatioY;
  return true;
}

void BandProjection::toRaster(std::size_t count, double* x, double* y, int* success) {
  sensor::KESStripModel const& strip = mShared->strip;
  auto const start = static_cast<float>(strip.meanTerrainHeight());
  for (std::size_t i = 0; i < count; ++i) {
    geo::XYPoint const image(x[i] * mRatioX - halfPixel, y[i] * mRatioY - halfPixel);
    geo::XYZPoint map;
    float height = start;
    bool done = std::isfinite(image.x) && std::isfinite(image.y);
    try {
      strip.imageToMap(image, mShared->band, map, &mShared->surface, height, heightTolerance);
    } catch (std::runtime_error const&) {
      done = false;
    }
    done = done && std::isfinite(map.x) && std::isfinite(map.y);
    x[i] = done ? applied(mShared->inverse, 0, map.x, map.y) : HUGE_VAL;
    y[i] = done ? applied(mShared->inverse, 1, map.x, map.y) : HUGE_VAL;
    success[i] = done ? 1 : 0;
  }
}

}  // namespace kesgdal
