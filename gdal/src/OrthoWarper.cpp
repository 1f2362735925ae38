// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoWarper.h"

#include "BoxWarper.h"
#include "ClosureOfPixels.h"
#include "OrthoMosaic.h"
#include "StripSurvey.h"

#include <kes/Parallel.h>

#include <algorithm>
#include <memory>
#include <mutex>

namespace kesgdal {

namespace {

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

// Warps the image of a band into a band of the mosaic, counted from 1, by all boxes that meet a part of it.
bool warpBand(PlannedBand const& planned, OrthoWork const& work, OrthoMosaic& mosaic, PixelBox const& part,
              SideWork const& sideWork, Progress const& progress) {
  OrthoFormat const& format = mosaic.format();
  WarpSetup setup(planned.band, work.layout.plan, format.type, mosaic.isOfSeveralStrips());
  setup.cut = work.layout.cut.get();
  setup.place = format.grid.geoTransform();
  BandProjection const projection(std::make_shared<SharedProjection const>(
      planned.band, work.map, work.surface, format.grid.geoTransform(), margin, work.layout.heights));
  SourceTiles image(SourceImage(planned.band), work.imageCache);
  Boxes const boxes(format.grid, format.boxSide, part);
  Collector collector(boxes, mosaic, planned.place + 1, progress);
  std::size_t const others = sideWork.size();
  kes::forEachIndexByWorkers(others + boxes.size(), work.threads, [&]() -> kes::Worker {
    auto const warper = std::make_shared<BoxWarper>(setup, image, projection);
    auto const warped = std::make_shared<WarpedPixels>();
    return [&, warper, warped](std::size_t i) {
      if (i < others) {
        sideWork[i]();
        return;
      }
      PixelBox const box = boxes[i - others];
      bool const seen = warper->warp(box, *warped);
      collector.add(box, seen, *warped);
    };
  });
  return collector.hasSeen();
}

}  // namespace

double greatestStep(kes::Band const& band, OrthoPlan const& plan) {
  return WarpSetup(band, plan, GDT_Byte, false).greatestStep();
}

int boxSide(double greatestStep) {
  int side = greatestBoxSide;
  while (side > leastBoxSide && side * greatestStep > greatestSourceSide) {
    side /= 2;
  }
  return side;
}

bool warpStrip(kes::Strip const& strip, LaidStrip const& laid, PixelBox const& tile, OrthoWork const& work,
               OrthoMosaic& mosaic, ClosureOfPixels& closure, std::function<SideWork()> const& nextSideWork,
               Progress const& progress) {
  PixelBox const part = common(laid.part, tile);
  bool hasSeen = false;
  double done = 0.0;
  for (PlannedBand const& planned : plannedBands(strip, work.layout.plan)) {
    auto const partly = [&](double ofBand) { progress((done + ofBand) / laid.bands); };
    hasSeen = warpBand(planned, work, mosaic, part, nextSideWork(), partly) || hasSeen;
    if (work.layout.plan.hasRecord) {
      closure.add(planned.band, work.map, work.surface, work.layout.grid, {laid.part, tile});
    }
    done += 1.0;
  }
  return hasSeen;
}

}  // namespace kesgdal
