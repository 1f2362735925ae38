#include "OrthoWarper.h"

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

// Blocks of a grid, handed out one after the other to all threads.
class Blocks {
public:
  Blocks(OrthoGrid const& grid, int side)
      : mGrid(grid), mSide(side), mColumns(count(grid.columns(), side)), mRows(count(grid.rows(), side)) {}

  std::int64_t size() const { return mColumns * mRows; }
  std::int64_t next() { return mNext++; }
  void stop() { mNext = size(); }

  Block at(std::int64_t index) const {
    int const left = static_cast<int>(index % mColumns) * mSide;
    int const top = static_cast<int>(index / mColumns) * mSide;
    return {left, top, std::min(mSide, mGrid.columns() - left), std::min(mSide, mGrid.rows() - top)};
  }

private:
  static std::int64_t count(int pixels, int side) { return (static_cast<std::int64_t>(pixels) + side - 1) / side; }

  OrthoGrid const& mGrid;
  int mSide;
  std::int64_t mColumns;
  std::int64_t mRows;
  std::atomic<std::int64_t> mNext{0};
};

// Threads that work on the blocks of one band.
class Workers {
public:
  Workers(Blocks& blocks, OrthoFile& file, int fileBand, Progress const& progress)
      : mBlocks(blocks), mFile(file), mFileBand(fileBand), mProgress(progress) {}

  // `makeWarper` is called on each thread.
  template <class MakeWarper>
  void run(int threads, MakeWarper const& makeWarper) {
    std::vector<std::thread> others;
    for (int i = 1; i < threads; ++i) {
      others.emplace_back([&] { guard(makeWarper); });
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
    } catch (std::exception const&) {
      std::lock_guard const lock(mMutex);
      mFailure = mFailure ? mFailure : std::current_exception();
      mBlocks.stop();
    }
  }

  void work(std::unique_ptr<BlockWarper> const& warper) {
    std::vector<std::byte> pixels;
    for (std::int64_t i = mBlocks.next(); i < mBlocks.size(); i = mBlocks.next()) {
      Block const block = mBlocks.at(i);
      bool const seen = warper->warp(block, pixels);
      std::lock_guard const lock(mMutex);
      if (seen) {
        mFile.write(mFileBand, block, pixels);
        mHasSeen = true;
      }
      ++mDone;
      mProgress(static_cast<double>(mDone) / static_cast<double>(mBlocks.size()));
    }
  }

  Blocks& mBlocks;
  OrthoFile& mFile;
  int mFileBand;
  Progress const& mProgress;
  std::mutex mMutex;
  std::exception_ptr mFailure;
  std::int64_t mDone = 0;
  bool mHasSeen = false;
};

}  // namespace

int blockSide(sensor::KESStripModel const& strip, OrthoPlan const& plan) {
  double greatestStep = 0.0;
  for (int const band : plan.bands) {
    greatestStep = std::max(greatestStep, WarpSetup(strip, band, plan, GDT_Byte).greatestStep());
  }
  int side = greatestSide;
  while (side > leastSide && side * greatestStep > greatestSourceSide) {
    side /= 2;
  }
  return side;
}

bool warpBand(sensor::KESStripModel const& strip, int band, dsm::ProjectedElevationSource& surface,
              OrthoPlan const& plan, OrthoGrid const& grid, OrthoFile& file, int fileBand, Progress const& progress) {
  WarpSetup const setup(strip, band, plan, file.type());
  BandProjection const projection(
      std::make_shared<SharedProjection const>(strip, band, surface, grid.geoTransform(), setup.margin()));
  Blocks blocks(grid, file.blockSide());
  Workers workers(blocks, file, fileBand, progress);
  workers.run(plan.threads, [&] {
    return std::make_unique<BlockWarper>(setup, SourceImage(strip, band), projection.similar(1.0, 1.0));
  });
  return workers.hasSeen();
}

}  // namespace kesgdal
