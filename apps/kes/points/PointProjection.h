// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "points/PointTable.h"
#include "shared/Options.h"

#include <kes/Band.h>
#include <kes/Status.h>
#include <kes/Strip.h>

#include <array>
#include <cstddef>
#include <istream>
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
  std::string dem;
  std::optional<float> tdi;
  bool verify = false;
  bool status = false;
  bool strict = false;
  std::string points;
};

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
  void run();

  StatusCounts const& counts() const { return mCounts; }
  /// Place and status of the first point without a result, "FILE:LINE: noSurface"; empty when all have one.
  std::string const& firstFailure() const { return mFirstFailure; }
  /// When no point to the image is ok: whether the first with finite coordinates lies far from the strip, and what its
  /// numbers look like; otherwise empty.
  std::string doubt() const;

private:
  void projectToGround();
  void projectToImage();
  void count();
  std::vector<std::string> results(std::size_t i) const;

  ProjectOptions const& mOptions;
  kes::Strip mStrip;
  kes::Band mBand;
  kes::ToGroundOptions mToGround;
  kes::ToImageOptions mToImage;
  PointTable mTable;
  StatusCounts mCounts;
  std::string mFirstFailure;
  std::optional<geo::XYZPoint> mFirstUnseen;  ///< With finite coordinates.
  // Of the block at hand.
  std::vector<geo::XYPoint> mImage;
  std::vector<geo::XYZPoint> mGround;
  std::vector<double> mHeights;
  std::vector<kes::Status> mStatus;
  std::vector<kes::Closure> mClosure;
};

}  // namespace tool
