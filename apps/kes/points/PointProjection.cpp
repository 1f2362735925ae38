// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/PointProjection.h"

#include "points/Plausibility.h"
#include "shared/InOrder.h"
#include "shared/Opening.h"
#include "shared/Output.h"

#include <kes/Surface.h>

#include <cmath>
#include <iostream>
#include <numeric>

namespace tool {

namespace {

// Rows that are read, projected and printed together, so that memory doesn't grow with the table. A run of the
// library's forms starts anew in each block.
constexpr std::size_t blockSize = 65536;

// The names that the table has for what is read of it.
std::vector<std::string> columnsOf(ProjectOptions const& options) {
  std::vector<std::string> columns = numbersOf(options);
  for (std::string& column : columns) {
    if (auto const own = options.columns.find(column); own != options.columns.end()) {
      column = own->second;
    }
  }
  return columns;
}

std::vector<std::string> resultsOf(ProjectOptions const& options) {
  std::vector<std::string> results =
      options.toGround ? std::vector<std::string>{"x", "y", "z"} : std::vector<std::string>{"sample", "line"};
  if (options.sigma) {
    results.insert(results.end(), {"sigmaX", "sigmaY", "sigmaZ"});
  }
  if (options.covariance) {
    results.insert(results.end(), {"covarianceXY", "covarianceXZ", "covarianceYZ"});
  }
  if (options.verify) {
    results.insert(results.end(), {"closure", "closurePixels"});
  }
  if (options.verify || options.status) {
    results.push_back("status");
  }
  return results;
}

kes::StripOptions openingOf(ProjectOptions const& options) {
  kes::StripOptions opening = options.strip.camera.opening(options.orientation.value());
  opening.standardDeviations = options.sigma.has_value();
  return opening;
}

}  // namespace

std::vector<std::string> numbersOf(ProjectOptions const& options) {
  bool const hasHeights = !options.dem.isGiven();
  if (options.toGround) {
    return hasHeights ? std::vector<std::string>{"sample", "line", "height"}
                      : std::vector<std::string>{"sample", "line"};
  }
  return hasHeights ? std::vector<std::string>{"x", "y", "z"} : std::vector<std::string>{"x", "y"};
}

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
    : mOptions(options), mIn(&in), mStrip(openStrip(options.strip.file, openingOf(options))),
      mBand(mStrip.band(options.band)), mTable(in, name, columnsOf(options), resultsOf(options)) {
  options.orientation.check(mStrip);
  mForms.fill(options.decimals);
  if (options.covariance) {
    // Square metres, after position and standard deviations: in full, whatever decimals the others have.
    std::fill_n(mForms.begin() + 6, 3, NumberForm());
  }
  mToGround.solver = mToImage.solver = options.solver;
  mToGround.tdiStages = options.tdi;
  if (options.frame == Frame::map) {
    mToGround.system = mToImage.system = options.map.system();
    if (options.toGround && isGeographic(*mToGround.system)) {
      mForms[0] = mForms[1] = options.decimals.ofAngles();
    }
  }
  if (options.sigma) {
    mAccuracy.system = mToGround.system;
    mAccuracy.imageSigma = *options.sigma;
    mAccuracy.heightSigma = options.heightSigma;
    if (!mStrip.trajectory().hasStandardDeviations()) {
      std::cerr << "kes: " << mStrip.trajectory().fileName()
                << " has no standard deviations of its records: its default ones hold for all\n";
    }
  }
  if (options.dem.isGiven()) {
    kes::Surface const surface = options.dem.open();
    mToGround.heights = surface;
    mToImage.heights = surface;
  }
}

void PointProjection::run(std::function<void(std::int64_t)> const& show) {
  CsvText header;
  if (!mOptions.part || mOptions.part->isFirst()) {
    mTable.appendHeader(header);
  }
  bool hasRows = false;
  goThroughInOrder<Block>(
      mOptions.threads,
      [&](Block& block) {
        bool const isRead = mTable.read(blockSize, block.points);
        block.end = mIn->good() ? static_cast<std::int64_t>(mIn->tellg()) : -1;
        return isRead;
      },
      [&](Block& block) { project(block); },
      [&](Block const& block) {
        if (!hasRows) {
          write(header.view());
        }
        hasRows = true;
        finish(block);
        show(block.end);
      });
  if (!hasRows) {
    write(header.view());
  }
}

void PointProjection::project(Block& block) const {
  mTable.split(block.points);
  std::size_t const size = block.points.rows.size();
  block.image.resize(size);
  block.ground.resize(size);
  block.status.resize(size);
  block.closure.resize(mOptions.verify ? size : 0);
  if (mOptions.toGround) {
    projectToGround(block);
  } else {
    projectToImage(block);
  }
  block.text.clear();
  for (std::size_t i = 0; i < size; ++i) {
    append(block, i);
  }
}

void PointProjection::projectToGround(Block& block) const {
  bool const hasHeights = !mOptions.dem.isGiven();
  std::size_t const size = block.image.size();
  block.heights.resize(hasHeights ? size : 0);
  double const* numbers = block.points.numbers.data();
  for (std::size_t i = 0; i < size; ++i) {
    block.image[i] = {numbers[0], numbers[1]};
    if (hasHeights) {
      block.heights[i] = numbers[2];
    }
    numbers += hasHeights ? 3 : 2;
  }
  kes::ToGroundOptions options = mToGround;
  options.outputs.closure = block.closure;
  if (hasHeights) {
    options.heights = kes::HeightPerPoint{block.heights};
  }
  mBand.toGround(block.image, options, block.ground, block.status);
  if (mOptions.sigma) {
    findAccuracies(block);
  }
}

// A point without a result has no accuracy, either.
void PointProjection::findAccuracies(Block& block) const {
  block.covariances.resize(block.image.size());
  std::vector<kes::Status> status(block.image.size());
  mBand.accuracy(block.image, block.ground, mAccuracy, {}, block.covariances, status);
}

void PointProjection::projectToImage(Block& block) const {
  bool const hasHeights = !mOptions.dem.isGiven();
  double const* numbers = block.points.numbers.data();
  for (geo::XYZPoint& ground : block.ground) {
    ground = {numbers[0], numbers[1], hasHeights ? numbers[2] : 0.0};
    numbers += hasHeights ? 3 : 2;
  }
  kes::ToImageOptions options = mToImage;
  options.outputs.closure = block.closure;
  mBand.toImage(block.ground, options, block.image, block.status);
}

// The row of a point with its results.
void PointProjection::append(Block& block, std::size_t i) const {
  std::array<double, mostResults> results;
  std::size_t count = 0;
  if (mOptions.toGround) {
    for (double const value : {block.ground[i].x, block.ground[i].y, block.ground[i].z}) {
      results[count++] = value;
    }
  } else {
    results[count++] = block.image[i].x;
    results[count++] = block.image[i].y;
  }
  if (mOptions.sigma) {
    kes::Covariance const& covariance = block.covariances[i];
    for (double const variance : {covariance.xx, covariance.yy, covariance.zz}) {
      results[count++] = std::sqrt(variance);
    }
  }
  if (mOptions.covariance) {
    kes::Covariance const& covariance = block.covariances[i];
    for (double const value : {covariance.xy, covariance.xz, covariance.yz}) {
      results[count++] = value;
    }
  }
  if (mOptions.verify) {
    results[count++] = block.closure[i].metres;
    results[count++] = block.closure[i].pixels;
  }
  mTable.appendRow(block.text, block.points, i, {{results.data(), count}, mForms}, kes::toString(block.status[i]));
}

void PointProjection::finish(Block const& block) {
  for (std::size_t i = 0; i < block.status.size(); ++i) {
    count(block, i);
  }
  write(block.text.view());
}

void PointProjection::count(Block const& block, std::size_t i) {
  kes::Status const status = block.status[i];
  mCounts.add(status);
  if (!kes::hasResult(status) && mFirstFailure.empty()) {
    mFirstFailure = mTable.place(block.points, i) + ": " + std::string(kes::toString(status));
  }
  if (!mOptions.toGround && !mFirstUnseen && status != kes::Status::ok && status != kes::Status::notFinite) {
    mFirstUnseen = block.ground[i];
  }
}

std::string PointProjection::doubt() const {
  if (mCounts.ok() > 0 || !mFirstUnseen) {
    return {};
  }
  return doubtAbout(*mFirstUnseen, mToImage.system.value_or(mStrip.localSystem()), mStrip, mBand);
}

}  // namespace tool
