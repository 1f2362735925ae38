// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BandProjection.h"

#include <sensor/KESStripModel.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

constexpr double halfPixel = 0.5;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

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

SharedProjection::SharedProjection(kes::Band const& ofBand, kes::CoordinateSystem const& ofMap,
                                   kes::Surface const& source, GeoTransform const& geoTransform, double around,
                                   std::optional<kes::Surface::HeightRange> const& range)
    : band(ofBand), map(ofMap), surface(source), raster(geoTransform), inverse(inverted(geoTransform)), heights(range),
      margin(around), width(band.samples()), height(band.lines()), reach(band, around), positions(band, map, surface) {}

BandProjection::BandProjection(std::shared_ptr<SharedProjection const> shared, double ratioX, double ratioY)
    : mShared(std::move(shared)), mRatioX(ratioX), mRatioY(ratioY) {}

BandProjection BandProjection::similar(double ratioX, double ratioY) const {
  return BandProjection(mShared, mRatioX * ratioX, mRatioY * ratioY);
}

void BandProjection::toImage(std::size_t count, double* x, double* y, int* success) {
  projectToImage(count, x, y, [&] {
    if (isRow(count, x, y)) {
      mShared->positions.rowToLocal(x, mGround, mBuffers);
    } else {
      mShared->positions.toLocal(mGround, mBuffers);
    }
  });
  std::fill_n(x, count, HUGE_VAL);
  std::fill_n(y, count, HUGE_VAL);
  std::fill_n(success, count, 0);
  for (std::size_t k = 0; k < mIndices.size(); ++k) {
    std::size_t const i = mIndices[k];
    success[i] = store(mImage[k], x[i], y[i]) ? 1 : 0;
  }
}

bool BandProjection::mayBeSeen(PixelBox const& box) {
  auto const row = [&](double y) -> SurfacePositions::Row {
    double const first = box.left + halfPixel;
    double const last = box.left + box.columns - halfPixel;
    GeoTransform const& raster = mShared->raster;
    return {{applied(raster, 0, first, y), applied(raster, 1, first, y), 0.0},
            {applied(raster, 0, last, y), applied(raster, 1, last, y), 0.0}};
  };
  return !mShared->heights || mShared->positions.exclude(row(box.top + halfPixel), row(box.top + box.rows - halfPixel),
                                                         mShared->reach, *mShared->heights, mBuffers);
}

void BandProjection::addSights(PixelBox const& row, std::vector<Sight>& sights) {
  auto const count = static_cast<std::size_t>(row.columns);
  mColumns.resize(count);
  std::iota(mColumns.begin(), mColumns.end(), row.left + halfPixel);
  mRows.assign(count, row.top + halfPixel);
  projectToImage(count, mColumns.data(), mRows.data(),
                 [&] { mShared->positions.rowToLocal(mColumns.data(), mGround, mBuffers); });
  for (std::size_t k = 0; k < mIndices.size(); ++k) {
    double const x = mImage[k].x + halfPixel;
    double const y = mImage[k].y + halfPixel;
    if (x >= 0.0 && x < mShared->width && y >= 0.0 && y < mShared->height) {
      sights.push_back({static_cast<int>(mIndices[k]), x, y});
    }
  }
}

// `toLocal` replaces `mGround`. Nothing is found any more once the surface couldn't be read: what is in vain then ends
// soon.
template <class ToLocal>
void BandProjection::projectToImage(std::size_t count, double const* x, double const* y, ToLocal const& toLocal) {
  mIndices.clear();
  if (mShared->failure.any()) {
    return;
  }
  mGround.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    mGround[i] = {applied(mShared->raster, 0, x[i], y[i]), applied(mShared->raster, 1, x[i], y[i]), 0.0};
  }
  try {
    toLocal();
  } catch (std::exception const&) {
    mShared->failure.keep(std::current_exception());
    return;
  }
  gatherReached();
  solve();
}

void BandProjection::gatherReached() {
  constexpr geo::XYZPoint unsolvable(nan, nan, nan);
  mReached.clear();
  mIndices.clear();
  mHasDeep = false;
  for (std::size_t i = 0; i < mGround.size(); ++i) {
    if (std::isfinite(mGround[i].z) && mShared->reach.contains(mGround[i])) {
      bool const isDeep = mShared->reach.isBelow(mGround[i]);
      mReached.push_back(isDeep ? unsolvable : mGround[i]);
      mIndices.push_back(i);
      mHasDeep = mHasDeep || isDeep;
    }
  }
}

// Precisely. By the library's own form where a line lies beyond `kes::Band::lineMargin`, and in depths in which the
// precise search looks through all lines.
void BandProjection::solve() {
  mImage.resize(mReached.size());
  mStatus.resize(mReached.size());
  mShared->band.toImage(mReached, {}, mImage, mStatus);
  if (mHasDeep || mShared->margin > kes::Band::lineMargin) {
    solveRest();
  }
}

// A position in lines that were searched precisely, and without success, is none.
void BandProjection::solveRest() {
  constexpr geo::XYPoint nowhere(nan, nan);
  sensor::KESStripModel const& strip = mShared->band.model();
  auto const isFarAway = [&](double line) {
    return line < -kes::Band::lineMargin || line > mShared->height - 1.0 + kes::Band::lineMargin;
  };
  for (std::size_t k = 0; k < mReached.size(); ++k) {
    if (!kes::hasResult(mStatus[k])) {
      geo::XYZPoint const& local = mGround[mIndices[k]];
      geo::XYPoint image;
      strip.lsrToImage(local, mShared->band.index(), image);
      mImage[k] = mShared->reach.isBelow(local) || isFarAway(image.y) ? image : nowhere;
    }
  }
}

// Whether the position is one of the image or its margin.
bool BandProjection::store(geo::XYPoint const& image, double& x, double& y) const {
  double const column = image.x + halfPixel;
  double const row = image.y + halfPixel;
  double const margin = mShared->margin;
  if (!(column >= -margin && column <= mShared->width + margin && row >= -margin && row <= mShared->height + margin)) {
    return false;
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
