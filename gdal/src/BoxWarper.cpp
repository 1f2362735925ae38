// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BoxWarper.h"

#include "GdalErrors.h"
#include "files/NumberText.h"

#include <kesgdal/OrthoTransformer.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace kesgdal {

namespace {

constexpr int sparseStep = 16;  // pixels of the orthophoto

// GDAL's name for an interpolation, and how many pixels around a position it needs on each side.
struct Algorithm {
  GDALResampleAlg name;
  int radius;
};

Algorithm algorithmOf(Resampling resampling) {
  switch (resampling) {
  case Resampling::NEAREST:
    return {GRA_NearestNeighbour, 0};
  case Resampling::BILINEAR:
    return {GRA_Bilinear, 1};
  case Resampling::CUBIC:
    break;
  }
  return {GRA_Cubic, 2};
}

struct OptionsDeleter {
  void operator()(GDALWarpOptions* options) const { GDALDestroyWarpOptions(options); }
};
using WarpOptions = std::unique_ptr<GDALWarpOptions, OptionsDeleter>;

double* allocated(double value) {
  auto* const place = static_cast<double*>(CPLMalloc(sizeof(double)));
  *place = value;
  return place;
}

int* allocated(int value) {
  auto* const place = static_cast<int*>(CPLMalloc(sizeof(int)));
  *place = value;
  return place;
}

void set(GDALWarpOptions& options, char const* name, std::string const& value) {
  options.papszWarpOptions = CSLSetNameValue(options.papszWarpOptions, name, value.c_str());
}

[[noreturn]] void fail(GdalErrors const& errors) {
  throw std::runtime_error("can't warp an image: " + (errors.any() ? errors.first() : std::string("unknown reason")));
}

}  // namespace

WarpSetup::WarpSetup(kes::Band const& band, OrthoPlan const& plan, GDALDataType dataType, bool distances)
    : samplesPerPixel(plan.gsd / band.gsd()), linesPerPixel(samplesPerPixel * band.scale()),
      resampling(plan.resampling), type(dataType), noData(plan.noData), withDistances(distances) {}

double WarpSetup::greatestStep() const {
  return std::max(samplesPerPixel, linesPerPixel);
}

double WarpSetup::margin() const {
  constexpr double stepsBeside = 4.0;
  constexpr double least = 64.0;
  return least + stepsBeside * sparseStep * greatestStep();
}

/// A part of the image, in its pixels.
struct BoxWarper::Window {
  int left;
  int top;
  int columns;
  int rows;
  bool contains(Window const& other) const {
    return other.left >= left && other.top >= top && other.left + other.columns <= left + columns &&
           other.top + other.rows <= top + rows;
  }
};

BoxWarper::BoxWarper(WarpSetup const& setup, SourceImage image, BandProjection projection)
    : mSetup(setup), mImage(std::move(image)), mTransformer(makeTransformer(std::move(projection))) {
  initialize();
}

void BoxWarper::initialize() {
  GdalErrors const errors;
  WarpOptions const options(GDALCreateWarpOptions());
  options->hSrcDS = GDALDataset::ToHandle(mImage.data());
  options->eResampleAlg = algorithmOf(mSetup.resampling).name;
  options->eWorkingDataType = mSetup.type;
  options->nBandCount = 1;
  options->panSrcBands = allocated(1);
  options->panDstBands = allocated(1);
  if (auto const noData = mImage.noData()) {
    options->padfSrcNoDataReal = allocated(*noData);
  }
  options->padfDstNoDataReal = allocated(mSetup.noData);
  options->pfnTransformer = OrthoTransformer::transform;
  options->pTransformerArg = mTransformer.get();
  set(*options, "INIT_DEST", "NO_DATA");
  set(*options, "NUM_THREADS", "1");
  // Otherwise GDAL takes the ratio of two boxes for the ratio of two pixels: where a strip runs across the map at an
  // angle, the image would be blurred, and by another filter in each box.
  set(*options, "XSCALE", files::shortestText(1.0 / mSetup.samplesPerPixel));
  set(*options, "YSCALE", files::shortestText(1.0 / mSetup.linesPerPixel));
  if (mOperation.Initialize(options.get()) != CE_None) {
    fail(errors);
  }
}

bool BoxWarper::warp(PixelBox const& box, WarpedPixels& warped) {
  BandProjection& projection = mTransformer->projection;
  // As many pixels as the resampling needs around a position, and one for roundings.
  double const support = 1.0 + algorithmOf(mSetup.resampling).radius * std::max(mSetup.greatestStep(), 1.0);
  double const between = sparseStep * mSetup.greatestStep();
  PixelRange const range = needed(box);
  Window window = windowAround(range, support + between);
  if (range.isEmpty() || window.columns <= 0 || window.rows <= 0) {
    projection.rethrowFailure();
    return false;
  }
  projection.forgetSeen();
  warp(box, window, warped);
  // What the pixels needed is known only now.
  PixelRange const seen = projection.seen();
  if (Window const exact = windowAround(seen, support); !seen.isEmpty() && !window.contains(exact)) {
    warp(box, exact, warped);
  }
  projection.rethrowFailure();
  if (mSetup.withDistances) {
    takeOutHoles(warped);
  }
  return !seen.isEmpty();
}

// Around the image positions of a box, by a sparse grid of them. Between its positions there may be more to see only
// where the surface has holes.
PixelRange BoxWarper::needed(PixelBox const& box) {
  PixelRange range = PixelRange::nothing();
  std::size_t const holes = mTransformer->projection.holes();
  scan(box, sparseStep, range);
  if (mTransformer->projection.holes() != holes) {
    scan(box, 1, range);
  }
  return range;
}

void BoxWarper::scan(PixelBox const& box, int step, PixelRange& range) {
  int const steps = (box.columns + step - 1) / step;
  std::size_t const count = static_cast<std::size_t>(steps) + 1;
  mX.resize(count);
  mY.resize(count);
  mSuccess.resize(count);
  for (int row = 0; row < box.rows + step; row += step) {
    for (std::size_t i = 0; i < count; ++i) {
      mX[i] = box.left + 0.5 + std::min(static_cast<int>(i) * step, box.columns - 1);
      mY[i] = box.top + 0.5 + std::min(row, box.rows - 1);
    }
    mTransformer->projection.toImage(count, mX.data(), mY.data(), mSuccess.data());
    for (std::size_t i = 0; i < count; ++i) {
      if (mSuccess[i] != 0) {
        range.add(mX[i], mY[i]);
      }
    }
  }
}

// Of the image alone; it may be empty.
BoxWarper::Window BoxWarper::windowAround(PixelRange const& range, double around) const {
  double const width = mImage.data()->GetRasterXSize();
  double const height = mImage.data()->GetRasterYSize();
  auto const left = static_cast<int>(std::clamp(std::floor(range.left - around), 0.0, width));
  auto const top = static_cast<int>(std::clamp(std::floor(range.top - around), 0.0, height));
  auto const right = static_cast<int>(std::clamp(std::ceil(range.right + around), 0.0, width));
  auto const bottom = static_cast<int>(std::clamp(std::ceil(range.bottom + around), 0.0, height));
  return {left, top, right - left, bottom - top};
}

void BoxWarper::warp(PixelBox const& box, Window const& window, WarpedPixels& warped) {
  GdalErrors const errors;
  mTransformer->projection.keepDistances(box, mSetup.withDistances ? &warped.distances : nullptr);
  std::unique_ptr<void, void (*)(void*)> const buffer(mOperation.CreateDestinationBuffer(box.columns, box.rows),
                                                      GDALWarpOperation::DestroyDestinationBuffer);
  if (!buffer || mOperation.WarpRegionToBuffer(box.left, box.top, box.columns, box.rows, buffer.get(), mSetup.type,
                                               window.left, window.top, window.columns, window.rows) != CE_None) {
    fail(errors);
  }
  mTransformer->projection.keepDistances(box, nullptr);
  auto const* const bytes = static_cast<std::byte const*>(buffer.get());
  auto const size = static_cast<std::size_t>(GDALGetDataTypeSizeBytes(mSetup.type));
  warped.pixels.assign(bytes, bytes + box.size() * size);
}

// A pixel may lie in the image and be without data all the same: beside its outermost pixels, and where the image has
// none.
void BoxWarper::takeOutHoles(WarpedPixels& warped) {
  double const none = GDALAdjustValueToDataType(mSetup.type, mSetup.noData, nullptr, nullptr);
  mValues.resize(warped.distances.size());
  GDALCopyWords64(warped.pixels.data(), mSetup.type, GDALGetDataTypeSizeBytes(mSetup.type), mValues.data(), GDT_Float64,
                  sizeof(double), static_cast<GPtrDiff_t>(mValues.size()));
  for (std::size_t i = 0; i < mValues.size(); ++i) {
    if (mValues[i] == none || (std::isnan(none) && std::isnan(mValues[i]))) {
      warped.distances[i] = std::numeric_limits<float>::infinity();
    }
  }
}

}  // namespace kesgdal
