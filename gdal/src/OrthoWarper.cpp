// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoWarper.h"

#include "BlockWarper.h"
#include "OrthoMosaic.h"

#include <dsm/ProjectedElevationSource.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <mutex>
#include <thread>

namespace kesgdal {

namespace {

constexpr int greatestSide = 1024;
constexpr int leastSide = 16;  // that of the smallest tile of a TIFF
// Pixels of an image along a block's side.
constexpr double greatestSourceSide = 4096.0;

// Blocks of a grid that meet a part of it, handed out one after the other to all threads.
class Blocks {
public:
  Blocks(OrthoGrid const& grid, int side, Block const& part)
      : mGrid(grid), mSide(side), mLeft(part.left / side), mTop(part.top / side),
        mColumns(count(part.left, part.columns)), mRows(count(part.top, part.rows)) {}

  std::int64_t size() const { return mColumns * mRows; }
  std::int64_t next() { return mNext++; }
  void stop() { mNext = size(); }

  Block at(std::int64_t index) const {
    int const left = (mLeft + static_cast<int>(index % mColumns)) * mSide;
    int const top = (mTop + static_cast<int>(index / mColumns)) * mSide;
    return {left, top, std::min(mSide, mGrid.columns() - left), std::min(mSide, mGrid.rows() - top)};
  }

private:
  std::int64_t count(int first, int pixels) const { return (first + pixels - 1) / mSide - first / mSide + 1; }

  OrthoGrid const& mGrid;
  int mSide;
  int mLeft;  // blocks
  int mTop;
  std::int64_t mColumns;
  std::int64_t mRows;
  std::atomic<std::int64_t> mNext{0};
};

// Threads that work on the blocks of one band.
class Workers {
public:
  Workers(Blocks& blocks, OrthoMosaic& mosaic, int band, Progress const& progress)
      : mBlocks(blocks), mMosaic(mosaic), mBand(band), mProgress(progress) {}

  // `makeWarper` is called on each thread.
  template <class MakeWarper>
  void run(int threads, MakeWarper const& makeWarper) {
    std::vector<std::thread> others;
    try {
      for (int i = 1; i < std::min<std::int64_t>(threads, mBlocks.size()); ++i) {
        others.emplace_back([&] { guard(makeWarper); });
      }
    } catch (std::exception const&) {
      // No room for more: those there are do all the work.
    }
    guard(makeWarper);
    for (std::thread& thread : others) {
      thread.join();
    }
    if (mFailure) {
      std::rethrow_exception(mFailure);
    }
  }

  bool hasSeen() const { return mHasSeen; }

private:
  template <class MakeWarper>
  void guard(MakeWarper const& makeWarper) {
    try {
      work(makeWarper());
    } catch (...) {
      std::lock_guard const lock(mMutex);
      mFailure = mFailure ? mFailure : std::current_exception();
      mBlocks.stop();
    }
  }

  void work(std::unique_ptr<BlockWarper> const& warper) {
    WarpedBlock warped;
    for (std::int64_t i = mBlocks.next(); i < mBlocks.size(); i = mBlocks.next()) {
      Block const block = mBlocks.at(i);
      bool const seen = warper->warp(block, warped);
      std::lock_guard const lock(mMutex);
      if (seen) {
        mMosaic.add(mBand, block, warped);
        mHasSeen = true;
      }
      ++mDone;
      mProgress(static_cast<double>(mDone) / static_cast<double>(mBlocks.size()));
    }
  }

  Blocks& mBlocks;
  OrthoMosaic& mMosaic;
  int mBand;
  Progress const& mProgress;
  std::mutex mMutex;
  std::exception_ptr mFailure;
  std::int64_t mDone = 0;
  bool mHasSeen = false;
};

}  // namespace

int blockSide(sensor::KESStripModel const& strip, int band, OrthoPlan const& plan) {
  double const greatestStep = WarpSetup(strip, band, plan, GDT_Byte, false).greatestStep();
  int side = greatestSide;
  while (side > leastSide && side * greatestStep > greatestSourceSide) {
    side /= 2;
  }
  return side;
}

bool warpBand(sensor::KESStripModel const& strip, int band, OrthoWork const& work, Block const& part, int mosaicBand,
              Progress const& progress) {
  OrthoFormat const& format = work.mosaic.format();
  WarpSetup const setup(strip, band, work.plan, format.type, work.mosaic.isOfSeveralStrips());
  BandProjection const projection(
      std::make_shared<SharedProjection const>(strip, band, work.surface, format.grid.geoTransform(), setup.margin()));
  Blocks blocks(format.grid, format.blockSide, part);
  Workers workers(blocks, work.mosaic, mosaicBand, progress);
  workers.run(work.plan.threads, [&] {
    return std::make_unique<BlockWarper>(setup, SourceImage(strip, band), projection.similar(1.0, 1.0));
  });
  return workers.hasSeen();
}

}  // namespace kesgdal
