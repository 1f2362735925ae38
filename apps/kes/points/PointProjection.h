// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "points/PointTable.h"
#include "shared/ElevationModel.h"
#include "shared/Options.h"
#include "shared/Part.h"
#include "shared/Progress.h"

#include <kes/Band.h>
#include <kes/Status.h>
#include <kes/Strip.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// The frame of ground positions and heights.
enum class Frame { local, map };

struct ProjectOptions {
  StripOptions strip;
  MapOptions map;
  std::string band;
  bool toGround = true;
  Frame frame = Frame::local;
  kes::Solver solver = kes::Solver::precise;
  OrientationOption orientation;
  ElevationModelOptions dem;
  std::optional<float> tdi;
  bool verify = false;
  bool status = false;
  std::optional<double> sigma;  ///< Of image positions, pixels; nothing: no accuracies.
  double heightSigma = 0.0;     ///< Metres.
  bool covariance = false;      ///< Whether covariances follow the standard deviations.
  bool strict = false;
  int threads = 1;
  NumberForm decimals;
  std::map<std::string, std::string> columns;  ///< Names of the table's own, by those that are read.
  std::string points;
  std::optional<Part> part;  ///< Of the file of points.
  ProgressOption progress;
};

/// What is read of a table: sample and line, or x and y, and the height without an elevation model.
std::vector<std::string> numbersOf(ProjectOptions const& options);

/// How many points have which status.
class StatusCounts {
public:
  void add(kes::Status status) { ++mCounts[static_cast<std::size_t>(status)]; }
  std::size_t total() const;
  std::size_t results() const;
  std::size_t ok() const { return mCounts[static_cast<std::size_t>(kes::Status::ok)]; }
  bool areAllOk() const { return ok() == total(); }
  /// "3 points: 1 ok, 2 noSurface".
  std::string text() const;

private:
  std::array<std::size_t, static_cast<std::size_t>(kes::Status::notFinite) + 1> mCounts{};
};

/// Projects the points of a table and prints it with the results, a block of rows after the other.
class PointProjection {
public:
  /// `name` stands for the table in messages.
  PointProjection(ProjectOptions const& options, std::istream& in, std::string const& name);
  /// `show` takes the byte of the stream up to which points are projected, where the stream knows it.
  void run(std::function<void(std::int64_t)> const& show);

  StatusCounts const& counts() const { return mCounts; }
  /// Place and status of the first point without a result, "FILE:LINE: noSurface"; empty when all have one.
  std::string const& firstFailure() const { return mFirstFailure; }
  /// When no point to the image is ok: whether the first with finite coordinates lies far from the strip, and what its
  /// numbers look like; otherwise empty.
  std::string doubt() const;

private:
  /// Points on their way from the rows of a table to the text that is printed.
  struct Block {
    PointRows points;
    std::vector<geo::XYPoint> image;
    std::vector<geo::XYZPoint> ground;
    std::vector<double> heights;
    std::vector<kes::Status> status;
    std::vector<kes::Closure> closure;
    std::vector<kes::Covariance> covariances;
    CsvText text;
    std::int64_t end = 0;  ///< The byte that the stream has come to.
  };

  static constexpr std::size_t mostResults = 11;

  void project(Block& block) const;
  void projectToGround(Block& block) const;
  void projectToImage(Block& block) const;
  void findAccuracies(Block& block) const;
  void append(Block& block, std::size_t i) const;
  void finish(Block const& block);
  void count(Block const& block, std::size_t i);

  ProjectOptions const& mOptions;
  std::istream* mIn;
  kes::Strip mStrip;
  kes::Band mBand;
  kes::ToGroundOptions mToGround;
  kes::ToImageOptions mToImage;
  kes::AccuracyOptions mAccuracy;
  PointTable mTable;
  std::array<NumberForm, mostResults> mForms;  ///< Of the results that are numbers.
  StatusCounts mCounts;
  std::string mFirstFailure;
  std::optional<geo::XYZPoint> mFirstUnseen;  ///< With finite coordinates.
};

}  // namespace tool
