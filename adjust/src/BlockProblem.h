// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Frames.h"
#include "Quantities.h"

#include <kes/Strip.h>
#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/GaussMarkovPrior.h>
#include <kesadjust/Problem.h>

#include <Eigen/Core>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kesadjust {

/// Constants of one owner.
struct ConstantBlock {
  int block;   ///< Among all blocks.
  int offset;  ///< Of its first parameter.
  std::vector<Slot> slots;
};

/// A strip in the problem: its nodes' blocks begin at `firstBlock`, and its six corrections of each at `firstParameter`.
struct StripPart {
  kes::Strip const* strip;
  kes::Trajectory trajectory;
  RigidMotion toStrip;  ///< From the block's system.
  Spline spline;
  /// Of x, y, z, roll, pitch, heading.
  std::array<GaussMarkovPrior, 6> priors;
  int firstBlock = 0;
  int firstParameter = 0;
  std::optional<int> constants;  ///< Into `BlockProblem::constants`.
  int camera = 0;                ///< Number of its camera.
};

struct ImagePart {
  int strip;
  kes::Band band;
  std::vector<int> constants;  ///< Into `BlockProblem::constants`: all that its points see.
};

/// An image point. Residuals in the focal plane times `toPixels` are adjusted minus measured samples and lines.
struct ImageObservation {
  ImageMeasurement measurement;
  int image;
  int point;
  double time = 0.0;
  Eigen::Matrix2d toPixels = Eigen::Matrix2d::Zero();
};

/// Coordinates of a control point, or the height of the surface at a tie point.
struct GroundObservation {
  int point;
  ObservationKind kind;
  int rows;
  Eigen::Matrix3d toSigmas;  ///< From a difference in the block's system; the first `rows` rows count.
  Eigen::Vector3d given;     ///< Where in the block's system the residual is zero.
};

struct BlockPoint {
  std::string name;
  PointRole role;
  std::optional<GroundMeasurement> given;
  /// Where it was given, in the block's system.
  std::optional<Neighbourhood> neighbourhood;
  /// Where its lines of sight meet, by the orientation as it was; nothing when they don't.
  std::optional<Eigen::Vector3d> intersection;
};

/// The equations of a block of strips.
class BlockProblem : public Problem {
public:
  BlockProblem(std::span<kes::Strip const> strips, Measurements const& measurements,
               BlockAdjustmentOptions const& options);

  std::vector<ParameterBlock> const& blocks() const override { return mBlocks; }
  int pointCount() const override { return static_cast<int>(mPoints.size()); }
  std::string const& pointName(int point) const override { return mPoints[static_cast<std::size_t>(point)].name; }
  std::size_t observationCount() const override { return mImagePoints.size() + mGround.size(); }
  ObservationIdentity identity(std::size_t observation) const override;
  void linearise(std::size_t observation, LinearisedObservation& result) const override;
  std::vector<PrecisionEntry> const& prior() const override { return mPrior; }
  void deviations(std::span<double> result) const override;
  void apply(std::span<double const> parameters, std::span<double const> points) override;
  void undo() override;

  std::vector<StripPart> const& strips() const { return mStrips; }
  std::vector<ImagePart> const& images() const { return mImages; }
  std::vector<ConstantBlock> const& constants() const { return mConstants; }
  /// Constants of a strip's camera.
  std::optional<int> cameraConstants(StripPart const& strip) const;
  std::vector<BlockPoint> const& points() const { return mPoints; }
  std::vector<ImageObservation> const& imagePoints() const { return mImagePoints; }
  std::vector<GroundObservation> const& groundObservations() const { return mGround; }
  std::vector<double> const& parameters() const { return mState.parameters; }
  Eigen::Vector3d const& position(int point) const { return mState.points[static_cast<std::size_t>(point)]; }
  kes::CoordinateSystem const& system() const { return mSystem; }
  kes::CoordinateSystem const& groundSystem() const { return mGroundSystem; }
  /// What was left out, in words.
  std::vector<std::string> const& remarks() const { return mRemarks; }
  /// The corrections of a strip's spline at a time.
  Eigen::Matrix<double, 6, 1> splineAt(StripPart const& strip, Spline::Basis const& basis) const;
  /// All corrections of a strip at a time, but those of its lines.
  kes::ModelCorrections correctionsOf(StripPart const& strip, double time) const;

private:
  struct State {
    std::vector<double> parameters;
    std::vector<Eigen::Vector3d> points;
  };

  void addStrips(std::span<kes::Strip const> strips, BlockAdjustmentOptions const& options, double noise);
  void addNodes(StripPart& strip);
  void addConstants(BlockAdjustmentOptions const& options);
  std::optional<int> addConstantBlock(BlockAdjustmentOptions const& options, Owner owner, int strip,
                                      std::string const& suffix);
  void addPoints(Measurements const& measurements);
  void addImagePoints(std::vector<ImageMeasurement> measurements);
  void findSights();
  void findScales();
  void intersect();
  void addControl();
  void addSurface(kes::Surface const& surface, double sigma);
  void add(kes::ModelCorrections& sum, ConstantBlock const& constants) const;
  void lineariseImage(ImageObservation const& observation, LinearisedObservation& result) const;
  void lineariseGround(GroundObservation const& observation, LinearisedObservation& result) const;

  kes::CoordinateSystem mSystem;
  kes::CoordinateSystem mGroundSystem;
  std::vector<StripPart> mStrips;
  std::vector<ImagePart> mImages;
  std::map<std::pair<std::string, std::string>, int> mImageOf;  ///< By names of strip and band.
  std::vector<ParameterBlock> mBlocks;
  std::vector<PrecisionEntry> mPrior;
  std::vector<ConstantBlock> mConstants;
  std::vector<std::optional<int>> mCameraConstants;
  int mParameterCount = 0;
  std::vector<BlockPoint> mPoints;
  std::map<std::string, int> mPointOf;
  std::vector<ImageObservation> mImagePoints;
  std::vector<GroundObservation> mGround;
  std::vector<std::string> mRemarks;
  State mState;
  State mOldState;
};

/// The priors of a strip's corrections: x, y, z, roll, pitch, heading. `navigation` as in `BlockAdjustmentOptions`.
std::array<GaussMarkovPrior, 6> priorsOf(kes::Trajectory const& trajectory, std::string const& navigation);

}  // namespace kesadjust
