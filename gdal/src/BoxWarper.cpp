// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BoxWarper.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace kesgdal {

namespace {

constexpr int pieceSide = 128;
constexpr double mostPixelsOfWindow = 1 << 20;

}  // namespace

WarpSetup::WarpSetup(kes::Band const& band, OrthoPlan const& plan, GDALDataType dataType, bool distances)
    : samplesPerPixel(plan.gsd / band.gsd()), linesPerPixel(samplesPerPixel * band.scale()),
      resampling(plan.resampling), type(dataType), noData(plan.noData), scale(plan.scale), withDistances(distances) {}

double WarpSetup::greatestStep() const {
  return std::max(samplesPerPixel, linesPerPixel);
}

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

BoxWarper::BoxWarper(WarpSetup const& setup, SourceTiles& image, BandProjection projection)
    : mSetup(setup), mImage(image), mProjection(std::move(projection)),
      mResampler(setup.resampling, setup.samplesPerPixel, setup.linesPerPixel),
      mEncoder(setup.type, setup.noData, setup.scale) {}

bool BoxWarper::warp(PixelBox const& box, WarpedPixels& warped) {
  mValues.assign(box.size(), std::numeric_limits<double>::quiet_NaN());
  if (mSetup.withDistances) {
    warped.distances.assign(box.size(), std::numeric_limits<float>::infinity());
  }
  if (mSetup.cut != nullptr) {
    mInside = mSetup.cut->inside(box, mSetup.place);
    if (std::find(mInside.begin(), mInside.end(), true) == mInside.end()) {
      return false;
    }
  }
  bool hasSeen = false;
  for (int top = 0; top < box.rows; top += pieceSide) {
    project(box, top, std::min(pieceSide, box.rows - top));
    for (int left = 0; left < box.columns && !mSights.empty(); left += pieceSide) {
      gatherPiece(left + pieceSide);
      resample(mPiece, warped);
      hasSeen = hasSeen || !mPiece.empty();
    }
  }
  mProjection.rethrowFailure();
  if (hasSeen) {
    mEncoder.encode(mValues, warped.pixels);
  }
  return hasSeen;
}

void BoxWarper::project(PixelBox const& box, int top, int rows) {
  mSights.clear();
  mRows.clear();
  if (!mProjection.mayBeSeen({box.left, box.top + top, box.columns, rows})) {
    return;
  }
  for (int row = top; row < top + rows; ++row) {
    std::size_t const first = mSights.size();
    mProjection.addSights({box.left, box.top + row, box.columns, 1}, mSights);
    mRows.push_back({static_cast<std::size_t>(row) * static_cast<std::size_t>(box.columns), first, mSights.size()});
  }
}

// What is left of the rows up to a column, before which the piece ends.
void BoxWarper::gatherPiece(int right) {
  mPiece.clear();
  for (Row& row : mRows) {
    for (; row.next < row.end && mSights[row.next].column < right; ++row.next) {
      Sight const& sight = mSights[row.next];
      std::size_t const index = row.firstPixel + static_cast<std::size_t>(sight.column);
      if (mInside.empty() || mInside[index]) {
        mPiece.push_back({index, sight.x, sight.y});
      }
    }
  }
}

// Where neighbours on the map aren't neighbours in the image, such as at cliffs, those on either side are resampled
// apart, since what lies between may be all of the image.
void BoxWarper::resample(std::span<SeenPixel> pixels, WarpedPixels& warped) {
  PixelRange range = PixelRange::nothing();
  for (SeenPixel const& pixel : pixels) {
    range.add(pixel.x, pixel.y);
  }
  if (range.isEmpty()) {
    return;
  }
  ImageBox const window = windowAround(range);
  if (range.isSmall() || static_cast<double>(window.columns) * window.rows <= mostPixelsOfWindow) {
    mImage.read(window, mWindow);
    for (SeenPixel const& pixel : pixels) {
      resample(pixel, warped);
    }
    return;
  }
  bool const isHigh = range.bottom - range.top > range.right - range.left;
  double const middle = 0.5 * (isHigh ? range.top + range.bottom : range.left + range.right);
  auto const second = std::partition(pixels.begin(), pixels.end(),
                                     [&](SeenPixel const& pixel) { return (isHigh ? pixel.y : pixel.x) < middle; });
  resample({pixels.begin(), second}, warped);
  resample({second, pixels.end()}, warped);
}

void BoxWarper::resample(SeenPixel const& pixel, WarpedPixels& warped) {
  double const value = mResampler(mWindow, pixel.x, pixel.y);
  mValues[pixel.index] = value;
  if (mSetup.withDistances && !std::isnan(value)) {
    warped.distances[pixel.index] = static_cast<float>(std::abs(pixel.x - 0.5 * mImage.columns()));
  }
}

ImageBox BoxWarper::windowAround(PixelRange const& range) const {
  auto const left = static_cast<int>(std::floor(range.left - mResampler.reachX())) - 1;
  auto const top = static_cast<int>(std::floor(range.top - mResampler.reachY())) - 1;
  auto const right = static_cast<int>(std::ceil(range.right + mResampler.reachX())) + 1;
  auto const bottom = static_cast<int>(std::ceil(range.bottom + mResampler.reachY())) + 1;
  return {left, top, right - left, bottom - top};
}

}  // namespace kesgdal
