// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ClosureOfPixels.h"
#include "OrthoLayout.h"
#include "OrthoMosaic.h"
#include "OrthoRecord.h"
#include "OrthoWarper.h"
#include "files/WorkFolder.h"

#include <kesgdal/Orthophoto.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace kesgdal {

namespace {

// Of all the time, about.
constexpr double warpPart = 0.85;

void requireSame(bool isSame) {
  if (!isSame) {
    throw std::runtime_error("Can't orthorectify: the strips aren't the same the second time");
  }
}

// Deals the sums of the inputs out to the passes of the threads over the bands: some to each, the largest first.
class SumsOfInputs {
public:
  explicit SumsOfInputs(OrthoLayout& layout) : mInputs(layout.inputs), mOrder(mInputs.all().size()) {
    std::iota(mOrder.begin(), mOrder.end(), std::size_t{0});
    std::sort(mOrder.begin(), mOrder.end(),
              [&](std::size_t a, std::size_t b) { return mInputs.all()[a].bytes > mInputs.all()[b].bytes; });
    for (LaidStrip const& strip : layout.strips) {
      mPasses += strip.part.size() > 0 ? static_cast<std::size_t>(strip.bands) : 0;
    }
    mOrder.resize(layout.plan.hasRecord ? mOrder.size() : 0);
  }

  SideWork next() {
    SideWork work;
    std::size_t const share = (mOrder.size() - mNext + mPasses - 1) / mPasses;
    for (std::size_t const end = mNext + share; mNext < end; ++mNext) {
      work.push_back([&inputs = mInputs, index = mOrder[mNext]] { inputs.sum(index); });
    }
    mPasses = std::max<std::size_t>(mPasses - 1, 1);
    return work;
  }

private:
  OrthoInputs& mInputs;
  std::vector<std::size_t> mOrder;
  std::size_t mPasses = 0;  // that are left
  std::size_t mNext = 0;
};

// Warps the images of strips that were laid out, which come in the same order.
class SecondPass {
public:
  SecondPass(OrthoLayout& layout, OrthoWork const& work, OrthoMosaic& mosaic, Progress const& progress)
      : mWork(work), mMosaic(mosaic), mProgress(progress), mSums(layout) {
    for (LaidStrip const& strip : layout.strips) {
      mAll += strip.bands * static_cast<double>(strip.part.size());
    }
  }

  void add(kes::Strip const& strip) {
    OrthoLayout const& layout = mWork.layout;
    requireSame(mNext < layout.strips.size() && strip.isLoaded() && strip.fileName() == layout.strips[mNext].fileName);
    LaidStrip const& laid = layout.strips[mNext++];
    if (laid.part.size() == 0) {
      return;
    }
    double const size = laid.bands * static_cast<double>(laid.part.size());
    auto const partly = [&](double done) { mProgress((mDone + done * size) / mAll); };
    mHasSeen = warpStrip(
                   strip, laid, layout.whole(), mWork, mMosaic, mClosure, [&] { return mSums.next(); }, partly) ||
               mHasSeen;
    mDone += size;
  }

  // Throws when the strips weren't all there, or none had any pixel.
  void end() const {
    requireSame(mNext == mWork.layout.strips.size());
    if (!mHasSeen) {
      failUnseen(mWork.layout.plan, mWork.surface.fileName(), mWork.layout.strips.size());
    }
  }
  ClosureOfPixels const& closure() const { return mClosure; }

private:
  OrthoWork const& mWork;
  OrthoMosaic& mMosaic;
  Progress const& mProgress;
  SumsOfInputs mSums;
  ClosureOfPixels mClosure;
  std::size_t mNext = 0;
  double mAll = 0.0;  // pixels
  double mDone = 0.0;
  bool mHasSeen = false;
};

}  // namespace

void writeOrthophoto(EachStrip const& strips, kes::CoordinateSystem const& map, kes::Surface const& surface,
                     OrthoPlan const& plan, std::string const& fileName, Progress const& progress) {
  files::WorkFolder const folder(fileName);
  OrthoLayout layout = layOut(strips, map, surface, plan, fileName);
  auto const report = [&](double done) {
    if (progress) {
      progress(done);
    }
  };
  OrthoWork const work{layout, map, surface, plan.threads};
  OrthoMosaic mosaic(folder, layout.format(map), layout.whole(), plan.bands, layout.isOfSeveralStrips);
  Progress const reportWarp = [&](double done) { report(warpPart * done); };
  SecondPass pass(layout, work, mosaic, reportWarp);
  strips([&](kes::Strip const& strip) { pass.add(strip); });
  pass.end();
  mosaic.setMetadata(recordItems(layout, methodItems(layout, map, surface), pass.closure()));
  writeFinal(folder, mosaic, {fileName, plan.format, plan.creationOptions, plan.threads},
             [&](double done) { report(warpPart + (1.0 - warpPart) * done); });
}

void writeOrthophoto(kes::Strip const& strip, kes::CoordinateSystem const& map, kes::Surface const& surface,
                     OrthoPlan const& plan, std::string const& fileName, Progress const& progress) {
  writeOrthophoto([&](StripVisitor const& visit) { visit(strip); }, map, surface, plan, fileName, progress);
}

}  // namespace kesgdal
