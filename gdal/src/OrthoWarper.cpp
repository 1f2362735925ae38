// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoWarper.h"

#include "BoxWarper.h"
#include "OrthoMosaic.h"

#include <dsm/RasterElevationSource.h>
#include <kes/Parallel.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>

namespace kesgdal {

namespace {

constexpr int greatestSide = 1024;
constexpr int leastSide = 16;  // that of the smallest tile of a TIFF
// Pixels of an image along a box's side.
constexpr double greatestSourceSide = 4096.0;
// Pixels around an image for which positions are solved: enough for what jitter and the camera's distortion have beyond
// the lines of sight of the image's edges, by which a box is recognized that sees none of it.
constexpr double margin = 64.0;

// The boxes of a grid that meet a part of it, in rows along the shorter side of the part: those of one row see a short
// piece of a strip that runs along the other.
class Boxes {
public:
  Boxes(OrthoGrid const& grid, int side, PixelBox const& part)
      : mGrid(grid), mSide(side), mLeft(part.left / side), mTop(part.top / side),
        mColumns(count(part.left, part.columns)), mRows(count(part.top, part.rows)) {}

  std::size_t size() const { return mColumns * mRows; }

  PixelBox operator[](std::size_t index) const {
    bool const isWide = mColumns > mRows;
    int const left = (mLeft + static_cast<int>(isWide ? index / mRows : index % mColumns)) * mSide;
    int const top = (mTop + static_cast<int>(isWide ? index % mRows : index / mColumns)) * mSide;
    return {left, top, std::min(mSide, mGrid.columns() - left), std::min(mSide, mGrid.rows() - top)};
  }

private:
  std::size_t count(int first, int pixels) const {
    int const boxes = (first + pixels - 1) / mSide - first / mSide + 1;
    return static_cast<std::size_t>(boxes);
  }

  OrthoGrid const& mGrid;
  int mSide;
  int mLeft;  // boxes
  int mTop;
  std::size_t mColumns;
  std::size_t mRows;
};

// Where the threads that warp the boxes of one band put them.
class Collector {
public:
  Collector(Boxes const& boxes, OrthoMosaic& mosaic, int band, Progress const& progress)
      : mBoxes(boxes), mMosaic(mosaic), mBand(band), mProgress(progress) {}

  void add(PixelBox const& box, bool seen, WarpedPixels const& warped) {
    std::lock_guard const lock(mMutex);
    if (seen) {
      mMosaic.add(mBand, box, warped);
      mHasSeen = true;
    }
    ++mDone;
    mProgress(static_cast<double>(mDone) / static_cast<double>(mBoxes.size()));
  }

  bool hasSeen() const { return mHasSeen; }

private:
  Boxes const& mBoxes;
  OrthoMosaic& mMosaic;
  int mBand;
  Progress const& mProgress;
  std::mutex mMutex;
  std::size_t mDone = 0;
  bool mHasSeen = false;
};

// The range of the surface's heights, unless reading it would take longer than what it saves: the time for pixels that
// are far from the image whatever their height is.
std::optional<kes::Surface::HeightRange> heightsIfKnownSoon(kes::Surface const& surface, PixelBox const& part) {
  auto const* const raster = dynamic_cast<dsm::RasterElevationSource const*>(&surface.platform());
  bool const isSoon = raster == nullptr || static_cast<double>(raster->grid().columns) * raster->grid().rows <=
                                               static_cast<double>(part.size());
  return isSoon ? surface.heightRange() : std::nullopt;
}

}  // namespace

int boxSide(kes::Band const& band, OrthoPlan const& plan) {
  double const greatestStep = WarpSetup(band, plan, GDT_Byte, false).greatestStep();
  int side = greatestSide;
  while (side > leastSide && side * greatestStep > greatestSourceSide) {
    side /= 2;
  }
  return side;
}

bool warpBand(kes::Band const& band, OrthoWork const& work, PixelBox const& part, int mosaicBand,
              Progress const& progress) {
  OrthoFormat const& format = work.mosaic.format();
  WarpSetup setup(band, work.plan, format.type, work.mosaic.isOfSeveralStrips());
  setup.cut = work.cut;
  setup.place = format.grid.geoTransform();
  BandProjection const projection(std::make_shared<SharedProjection const>(
      band, work.map, work.surface, format.grid.geoTransform(), margin, heightsIfKnownSoon(work.surface, part)));
  SourceTiles image((SourceImage(band)));
  Boxes const boxes(format.grid, format.boxSide, part);
  Collector collector(boxes, work.mosaic, mosaicBand, progress);
  kes::forEachIndexByWorkers(boxes.size(), work.plan.threads, [&]() -> kes::Worker {
    auto const warper = std::make_shared<BoxWarper>(setup, image, projection);
    auto const warped = std::make_shared<WarpedPixels>();
    return [&, warper, warped](std::size_t i) {
      bool const seen = warper->warp(boxes[i], *warped);
      collector.add(boxes[i], seen, *warped);
    };
  });
  return collector.hasSeen();
}

}  // namespace kesgdal
