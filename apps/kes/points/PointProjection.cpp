// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/PointProjection.h"

#include "points/Plausibility.h"
#include "shared/Numbers.h"
#include "shared/Opening.h"
#include "shared/Output.h"

#include <kes/Surface.h>

#include <cmath>
#include <numeric>

namespace tool {

namespace {

// Rows that are read, projected and printed together, so that memory doesn't grow with the table. A run of the
// library's forms starts anew in each block.
constexpr std::size_t blockSize = 65536;

std::vector<std::string> numbersOf(ProjectOptions const& options) {
  bool const hasHeights = options.dem.empty();
  if (options.toGround) {
    return hasHeights ? std::vector<std::string>{"sample", "line", "height"}
                      : std::vector<std::string>{"sample", "line"};
  }
  return hasHeights ? std::vector<std::string>{"x", "y", "z"} : std::vector<std::string>{"x", "y"};
}

std::vector<std::string> resultsOf(ProjectOptions const& options) {
  std::vector<std::string> results =
      options.toGround ? std::vector<std::string>{"x", "y", "z"} : std::vector<std::string>{"sample", "line"};
  if (options.verify) {
    results.insert(results.end(), {"closure", "closurePixels"});
  }
  if (options.verify || options.status) {
    results.push_back("status");
  }
  return results;
}

// Empty for what a point doesn't have.
std::string cell(double value) {
  return std::isfinite(value) ? text(value) : "";
}

}  // namespace

std::size_t StatusCounts::total() const {
  return std::accumulate(mCounts.begin(), mCounts.end(), std::size_t{0});
}

std::size_t StatusCounts::results() const {
  std::size_t results = 0;
  for (std::size_t i = 0; i < mCounts.size(); ++i) {
    results += kes::hasResult(static_cast<kes::Status>(i)) ? mCounts[i] : 0;
  }
  return results;
}

std::string StatusCounts::text() const {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < mCounts.size(); ++i) {
    if (mCounts[i] > 0) {
      texts.push_back(std::to_string(mCounts[i]) + " " + std::string(kes::toString(static_cast<kes::Status>(i))));
    }
  }
  return std::to_string(total()) + (total() == 1 ? " point: " : " points: ") + joined(texts, ", ");
}

PointProjection::PointProjection(ProjectOptions const& options, std::istream& in, std::string const& name)
    : mOptions(options),
      mStrip(openStrip(options.strip.file, options.strip.camera.opening(options.orientation.value()))),
      mBand(mStrip.band(options.band)), mTable(in, name, numbersOf(options), resultsOf(options)) {
  options.orientation.check(mStrip);
  mToGround.solver = mToImage.solver = options.solver;
  mToGround.tdiStages = options.tdi;
  if (options.frame == Frame::map) {
    mToGround.system = mToImage.system = options.map.system();
  }
  if (!options.dem.empty()) {
    kes::Surface const surface = kes::Surface::raster(options.dem);
    mToGround.heights = surface;
    mToImage.heights = surface;
  }
}

void PointProjection::run() {
  std::string text;
  mTable.appendHeader(text);
  while (mTable.readBlock(blockSize)) {
    std::size_t const size = mTable.size();
    mImage.resize(size);
    mGround.resize(size);
    mStatus.resize(size);
    mClosure.resize(mOptions.verify ? size : 0);
    mToGround.outputs.closure = mToImage.outputs.closure = mClosure;
    if (mOptions.toGround) {
      projectToGround();
    } else {
      projectToImage();
    }
    count();
    for (std::size_t i = 0; i < size; ++i) {
      mTable.appendRow(text, i, results(i));
    }
    write(text);
    text.clear();
  }
  write(text);
}

void PointProjection::projectToGround() {
  bool const hasHeights = mOptions.dem.empty();
  mHeights.resize(hasHeights ? mTable.size() : 0);
  for (std::size_t i = 0; i < mTable.size(); ++i) {
    mImage[i] = {mTable.number(i, 0), mTable.number(i, 1)};
    if (hasHeights) {
      mHeights[i] = mTable.number(i, 2);
    }
  }
  if (hasHeights) {
    mToGround.heights = kes::HeightPerPoint{mHeights};
  }
  mBand.toGround(mImage, mToGround, mGround, mStatus);
}

void PointProjection::projectToImage() {
  for (std::size_t i = 0; i < mTable.size(); ++i) {
    mGround[i] = {mTable.number(i, 0), mTable.number(i, 1), mOptions.dem.empty() ? mTable.number(i, 2) : 0.0};
  }
  mBand.toImage(mGround, mToImage, mImage, mStatus);
}

void PointProjection::count() {
  for (std::size_t i = 0; i < mStatus.size(); ++i) {
    mCounts.add(mStatus[i]);
    if (!kes::hasResult(mStatus[i]) && mFirstFailure.empty()) {
      mFirstFailure = mTable.place(i) + ": " + std::string(kes::toString(mStatus[i]));
    }
    if (!mOptions.toGround && !mFirstUnseen && mStatus[i] != kes::Status::ok && mStatus[i] != kes::Status::notFinite) {
      mFirstUnseen = mGround[i];
    }
  }
}

std::string PointProjection::doubt() const {
  if (mCounts.ok() > 0 || !mFirstUnseen) {
    return {};
  }
  return doubtAbout(*mFirstUnseen, mToImage.system.value_or(mStrip.localSystem()), mStrip, mBand);
}

std::vector<std::string> PointProjection::results(std::size_t i) const {
  geo::XYPoint const& image = mImage[i];
  geo::XYZPoint const& ground = mGround[i];
  std::vector<std::string> values = mOptions.toGround
                                        ? std::vector<std::string>{cell(ground.x), cell(ground.y), cell(ground.z)}
                                        : std::vector<std::string>{cell(image.x), cell(image.y)};
  if (mOptions.verify) {
    values.insert(values.end(), {cell(mClosure[i].metres), cell(mClosure[i].pixels)});
  }
  if (mOptions.verify || mOptions.status) {
    values.emplace_back(kes::toString(mStatus[i]));
  }
  return values;
}

}  // namespace tool
