// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/GaussMarkovPrior.h>
#include <kesadjust/Problem.h>
#include <kesadjust/Spline.h>

#include <Eigen/Core>
#include <random>
#include <string>
#include <vector>

namespace test {

/// A block of straight, level strips over hills, seen by three sensor lines forward, down and backward, with a truth
/// drawn from the priors of all parameters. Metres, seconds, radians; image coordinates in pixels.
///
/// With the nominal position C0(t) and the axes R0 of a strip (along, left, up), corrections c, theta of splines, the
/// strip's time offset e and the boresight b, a point P has
///     u = (I - [b]x) (I - [theta(t)]x) R0^T (P - C0(t) - v e - c(t)),  x = -f u1 / u3, y = -f u2 / u3.
/// A line's time is that at which the true P comes to its x; what is observed of x and y has noise of sigma pixels.
struct ToySetting {
  unsigned seed = 1;
  kesadjust::Spline::Degree degree = kesadjust::Spline::Degree::linear;
  int parallelStrips = 2;
  int crossStrips = 1;
  double duration = 40.0;     ///< Of a strip.
  std::size_t leastRays = 1;  ///< Tie points that fewer image points see are left out.
  int controls = 4;           ///< At the corners of the block, and one in its middle with 5.
  double pixelSigma = 0.3;
  double controlSigma = 0.03;
  double blunders = 0.0;       ///< Part of the image points that get an error of 10 to 60 pixels.
  double wrongControl = 0.0;   ///< Added to the height of control point "C2".
  bool withoutErrors = false;  ///< Leaves out the observations that would have a gross error.
  double pointSpacing = 240.0;
  kesadjust::GaussMarkovPrior position{0.06, 60.0};
  kesadjust::GaussMarkovPrior attitude{1e-4, 40.0};
  double boresightSigma = 5e-4;
  double offsetSigma = 1e-3;
};

class ToyBlock : public kesadjust::Problem {
public:
  explicit ToyBlock(ToySetting const& setting);

  std::vector<kesadjust::ParameterBlock> const& blocks() const override { return mBlocks; }
  int pointCount() const override { return static_cast<int>(mNames.size()); }
  std::string const& pointName(int point) const override { return mNames[static_cast<std::size_t>(point)]; }
  std::size_t observationCount() const override { return mObservations.size(); }
  kesadjust::ObservationIdentity identity(std::size_t i) const override { return mObservations[i].identity; }
  void linearise(std::size_t i, kesadjust::LinearisedObservation& result) const override;
  std::vector<kesadjust::PrecisionEntry> const& prior() const override { return mPrior; }
  void deviations(std::span<double> result) const override;
  void apply(std::span<double const> parameters, std::span<double const> points) override;
  void undo() override { mState = mOldState; }

  /// Observations in another order.
  void shuffle(unsigned seed);

  struct State {
    std::vector<double> parameters;
    std::vector<Eigen::Vector3d> points;
  };
  State const& state() const { return mState; }
  State const& truth() const { return mTruth; }
  /// Observations with a gross error, unless the block was shuffled.
  std::vector<std::size_t> const& blunders() const { return mBlunders; }

private:
  struct Strip {
    Eigen::Vector3d start;
    Eigen::Matrix3d axes;  ///< Columns: along, left, up.
  };
  struct Observation {
    kesadjust::ObservationIdentity identity;
    double time = 0.0;
    Eigen::Vector3d observed;  ///< Image position, or coordinates.
    double sigma = 1.0;
    bool isWrong = false;
  };
  struct Sight;

  void addStrips();
  void drawTruth();
  void addPoints();
  void addPoint(std::string const& name, Eigen::Vector3d const& place, std::size_t leastRays);
  std::vector<Observation> observed(int point);
  /// u of a point, and what its derivatives need.
  Sight sight(State const& state, int strip, double time, int point) const;
  void lineariseImage(Observation const& observation, kesadjust::LinearisedObservation& result) const;
  int nodeBlock(int strip) const { return strip * mSpline.size(); }
  int constantsBlock() const { return static_cast<int>(mStrips.size()) * mSpline.size(); }
  int constantsOffset() const { return 6 * constantsBlock(); }

  ToySetting mSetting;
  std::mt19937 mRandom;
  std::normal_distribution<double> mNormal;
  kesadjust::Spline mSpline;
  std::vector<Strip> mStrips;
  std::vector<kesadjust::ParameterBlock> mBlocks;
  std::vector<kesadjust::PrecisionEntry> mPrior;
  std::vector<std::string> mNames;
  std::vector<Observation> mObservations;
  std::vector<std::size_t> mBlunders;
  State mState;
  State mOldState;
  State mTruth;
};

}  // namespace test
