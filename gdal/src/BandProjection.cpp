// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BandProjection.h"

#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

constexpr double halfPixel = 0.5;
constexpr std::size_t lanes = 4;

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

SharedProjection::SharedProjection(kes::Band const& ofBand, kes::CoordinateSystem const& ofMap,
                                   kes::Surface const& source, GeoTransform const& geoTransform, double around)
    : band(ofBand), map(ofMap), surface(source), raster(geoTransform), inverse(inverted(geoTransform)), margin(around),
      width(band.samples()), height(band.lines()), reach(band, around), positions(band, map, surface) {}

BandProjection::BandProjection(std::shared_ptr<SharedProjection const> shared, double ratioX, double ratioY)
    : mShared(std::move(shared)), mRatioX(ratioX), mRatioY(ratioY) {}

BandProjection BandProjection::similar(double ratioX, double ratioY) const {
  return BandProjection(mShared, mRatioX * ratioX, mRatioY * ratioY);
}

void BandProjection::keepDistances(PixelBox const& box, std::vector<float>* distances) {
  mBox = box;
  mDistances = distances;
  if (distances != nullptr) {
    distances->assign(box.size(), std::numeric_limits<float>::infinity());
  }
}

// The pixels from a position of the raster on, which has its column and row.
void BandProjection::keepRow(double column, double row, std::size_t count, double const* imageX, int const* success) {
  auto const left = static_cast<std::ptrdiff_t>(std::floor(column)) - mBox.left;
  auto const top = static_cast<std::ptrdiff_t>(std::floor(row)) - mBox.top;
  std::ptrdiff_t const first = top * mBox.columns + left;
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
  projectToImage(count, x, y);
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

// Nothing is found any more once the surface couldn't be read: what is in vain then ends soon.
void BandProjection::projectToImage(std::size_t count, double const* x, double const* y) {
  mIndices.clear();
  if (mShared->failure.any()) {
    return;
  }
  mGround.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    mGround[i] = {applied(mShared->raster, 0, x[i], y[i]), applied(mShared->raster, 1, x[i], y[i]), 0.0};
  }
  try {
    if (isRow(count, x, y)) {
      mShared->positions.rowToLocal(x, mGround, mBuffers);
    } else {
      mShared->positions.toLocal(mGround, mBuffers);
    }
  } catch (std::exception const&) {
    mShared->failure.keep(std::current_exception());
    return;
  }
  gatherReached();
  solve();
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

// By the library's own form: the front door has no lines beyond `kes::Band::lineMargin`, of which a coarse orthophoto
// needs more.
void BandProjection::solve() {
  sensor::KESStripModel const& strip = mShared->band.model();
  int const band = mShared->band.index();
  if (mReached.empty()) {
    return;
  }
  if (strip.sseEnabled()) {
    mReached.resize((mReached.size() + lanes - 1) / lanes * lanes, mReached.back());
  }
  mImage.resize(mReached.size());
  if (strip.sseEnabled()) {
    strip.lsrToImageSSE(mReached, band, mImage);
  } else {
    strip.lsrToImage(mReached, band, mImage);
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
  mImage.resize(count);
  mGround.resize(count);
  mStatus.assign(count, kes::Status::noSurface);
  for (std::size_t i = 0; i < count; ++i) {
    mImage[i] = {x[i] * mRatioX - halfPixel, y[i] * mRatioY - halfPixel};
  }
  kes::ToGroundOptions options;
  options.system = mShared->map;
  options.heights = mShared->surface;
  options.solver = kes::Solver::libraryPoint;
  if (!mShared->failure.any()) {
    try {
      mShared->band.toGround(mImage, options, mGround, mStatus);
    } catch (std::exception const&) {
      mShared->failure.keep(std::current_exception());
      mStatus.assign(count, kes::Status::noSurface);
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    bool const done = kes::hasResult(mStatus[i]);
    x[i] = done ? applied(mShared->inverse, 0, mGround[i].x, mGround[i].y) : HUGE_VAL;
    y[i] = done ? applied(mShared->inverse, 1, mGround[i].x, mGround[i].y) : HUGE_VAL;
    success[i] = done ? 1 : 0;
  }
}

}  // namespace kesgdal
