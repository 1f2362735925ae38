// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/kesadjust_export.h>

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace kesadjust {

/// What a block of parameters belongs to. Their order is that of the elimination: nodes first, calibration last.
enum class BlockKind {
  node,           ///< Corrections at one node of a strip's time.
  stripConstant,  ///< Constants of one strip, such as a time offset.
  calibration     ///< Parameters of the whole block of strips, such as the boresight.
};

/// A few parameters that observations see together.
struct ParameterBlock {
  BlockKind kind = BlockKind::calibration;
  int strip = -1;  ///< The strip's number; of no meaning for calibration.
  /// One name per parameter; as many as the block has parameters, at most `maxBlockSize`.
  std::vector<std::string> names;
  /// Prior standard deviations, in the parameters' units, one each; infinity for a parameter without a prior. Empty:
  /// the block's prior, if any, is part of `Problem::prior`.
  std::vector<double> priorSigmas;
};

constexpr int maxBlockSize = 12;  ///< Parameters in a block.
constexpr int maxNodes = 4;       ///< Nodes of a spline that one time depends on.
constexpr int maxRows = 3;        ///< Residuals of one observation.

/// The derivatives of an observation's residuals by one or several consecutive blocks of equal size: block `block + k`
/// has the Jacobian `weights[k]` times `jacobian`. Corrections of a spline share one Jacobian in this way.
struct JacobianPart {
  int block = 0;
  int count = 1;
  std::array<double, maxNodes> weights{1.0, 0.0, 0.0, 0.0};
  /// Row by row, as many columns as a block has parameters.
  std::array<double, std::size_t{maxRows} * maxBlockSize> jacobian{};
};

/// An observation at the current state: residuals r and their derivatives J, all divided by the observation's standard
/// deviation, so that a change d of the parameters makes the residuals r + J d.
struct LinearisedObservation {
  int rows = 2;  ///< Residuals in use, 1 to `maxRows`.
  std::array<double, maxRows> residuals{};
  /// By the point's three coordinates, row by row; of no meaning for an observation without a point.
  std::array<double, std::size_t{maxRows} * 3> pointJacobian{};
  std::vector<JacobianPart> parts;
};

enum class ObservationKind {
  image,   ///< An image point, subject to the robust loss.
  ground,  ///< Coordinates of a ground point: tested one point at a time.
  other    ///< Anything else: neither reweighted nor tested.
};

constexpr int noPoint = -1;

/// What an observation is. Kind, strip, image, line, sample and the point's name are its place in the canonical order;
/// they must not depend on the order of input, and no two observations may be equal in all of them.
struct ObservationIdentity {
  ObservationKind kind = ObservationKind::image;
  int point = noPoint;  ///< Number of its unknown ground point, or `noPoint`.
  int strip = -1;       ///< Number of its strip; -1 for none.
  int image = 0;        ///< Number of its image, or of its list of ground points.
  double line = 0.0;
  double sample = 0.0;
};

/// One entry of the prior's precision matrix (inverse covariance), in the lower triangle: `row` >= `column`. Both count
/// single parameters in the order of `blocks()`.
struct PrecisionEntry {
  int row;
  int column;
  double value;
};

/// A least-squares problem and its current state: blocks of parameters, unknown ground points of three coordinates, and
/// observations of both.
///
/// Blocks stand in an order that doesn't depend on that of the input: of each strip its nodes by time, then the
/// constants of strips, then calibration. Constant operations are called from several threads at once.
class KESADJUST_EXPORT Problem {
public:
  virtual ~Problem();

  [[nodiscard]] virtual std::vector<ParameterBlock> const& blocks() const = 0;
  [[nodiscard]] virtual int pointCount() const = 0;
  /// Unique, and the same for any order of input.
  [[nodiscard]] virtual std::string const& pointName(int point) const = 0;
  [[nodiscard]] virtual std::size_t observationCount() const = 0;
  [[nodiscard]] virtual ObservationIdentity identity(std::size_t observation) const = 0;

  /// Fills `result`, whose parts are empty, at the current state. Values that aren't finite take the observation's
  /// point out of the adjustment.
  virtual void linearise(std::size_t observation, LinearisedObservation& result) const = 0;

  /// The precision of all blocks without `priorSigmas`. Constant.
  [[nodiscard]] virtual std::vector<PrecisionEntry> const& prior() const = 0;
  /// The current parameters minus their prior means, in the order of `blocks()`.
  virtual void deviations(std::span<double> result) const = 0;

  /// Adds a change to the state: `parameters` in the order of `blocks()`, and three coordinates per point.
  virtual void apply(std::span<double const> parameters, std::span<double const> points) = 0;
  /// Returns to the state before the last `apply`.
  virtual void undo() = 0;

protected:
  Problem() = default;
  Problem(Problem const&) = default;
  Problem& operator=(Problem const&) = default;
};

}  // namespace kesadjust
