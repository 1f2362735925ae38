// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/Measurements.h>
#include <simulation/BlockPlan.h>

#include <array>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace test {

/// A number of errors, each over the standard deviation that was stated for it.
struct NormalisedErrors {
  double squares = 0.0;
  std::size_t count = 0;

  void add(double error, double sigma) {
    squares += error * error / (sigma * sigma);
    ++count;
  }
  double rms() const;
};

/// A simulated block with errors to recover in a temporary folder, and its truth.
class FlownBlock {
public:
  explicit FlownBlock(simulation::BlockPlan const& plan);

  /// `parallel` strips of a length (metres) and `across` them, 2000 m above the terrain, with the errors of a class of
  /// navigation systems and a boresight of 1e-3 rad; four control points, one ray triple of a tie point a second, and
  /// measurements of 0.3 pixels.
  static simulation::BlockPlan plan(int parallel, int across, double length, std::string const& navigation,
                                    unsigned seed);
  /// The model of such a block: the class as the prior, and the boresight free.
  static kesadjust::BlockAdjustmentOptions options(std::string const& navigation);

  /// Writes an elevation model of one height, 300 m, around the one that other blocks have; returns its name.
  static std::string writeLevelTerrain(std::string const& folder);

  std::vector<kes::Strip> const& strips() const { return mStrips; }
  kesadjust::Measurements const& measurements() const { return mMeasurements; }
  std::array<double, 3> const& boresight() const { return mBoresight; }
  geo::XYZPoint const& truePoint(std::string const& id) const { return mPoints.at(id); }
  /// Strip, band and point of each gross error.
  using Sight = std::tuple<std::string, std::string, std::string>;
  std::set<Sight> const& blunders() const { return mBlunders; }
  /// The control point that is wrong; empty without any.
  std::string const& wrongControl() const { return mWrongControl; }
  /// Without what is wrong: blunders, and the wrong control point's coordinates, which then only check.
  kesadjust::Measurements withoutErrors() const;

  /// Errors of the adjusted orientation of all strips, at a record a second.
  void addRecordErrors(kesadjust::BlockAdjustment const& adjusted, NormalisedErrors& sum) const;
  /// Errors of check and tie points that are determined.
  void addPointErrors(kesadjust::BlockResult const& result, NormalisedErrors& sum) const;
  void addBoresightErrors(kesadjust::BlockResult const& result, NormalisedErrors& sum) const;

private:
  void readTruth();
  kes::Strip trueStrip(std::string const& name) const;

  /// Of its own, removed with all that it holds. `TempFolder` is for tests only.
  struct Folder {
    Folder();
    ~Folder();
    Folder(Folder const&) = delete;
    Folder& operator=(Folder const&) = delete;
    std::string path;
  };

  Folder mFolder;
  std::vector<kes::Strip> mStrips;
  kesadjust::Measurements mMeasurements;
  std::array<double, 3> mBoresight{};
  std::map<std::string, geo::XYZPoint> mPoints;
  std::set<Sight> mBlunders;
  std::string mWrongControl;
};

/// Parameters of a result by their name.
kesadjust::AdjustedParameter const& parameterOf(kesadjust::BlockResult const& result, std::string const& name);

}  // namespace test
