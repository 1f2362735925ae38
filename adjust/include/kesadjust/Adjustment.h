// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/Problem.h>
#include <kesadjust/RobustLoss.h>
#include <kesadjust/kesadjust_export.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kesadjust {

struct AdjustmentOptions {
  int threads = 1;  ///< Results are the same for any number.
  int maxIterations = 50;
  /// An iteration is the last one when its step would lower the cost by less than this: a step of that many squared
  /// standard deviations of all unknowns together. While gross errors are looked for, a millionth of the cost will do.
  double convergence = 1e-6;
  /// The loss of image points while gross errors are looked for; with `RobustLoss::Kind::squares` none are.
  RobustLoss loss{RobustLoss::Kind::cauchy, 2.5};
  /// An image point whose residual is longer than this, in standard deviations, is taken out; it comes back as soon as
  /// the others predict it within that length.
  double rejection = 4.0;
  /// Critical value of the test of ground points (data snooping, Baarda 1968): the one with the largest normalised
  /// residual above it is taken out, and all are tested again. 3.29: 0.1 % of correct coordinates fail.
  double criticalValue = 3.29;
  /// A constant is held at its prior when its posterior standard deviation, or that of a direction it dominates, is
  /// above this part of the prior one.
  double heldAbove = 0.8;
};

/// One step of the iteration.
struct IterationRecord {
  double cost;      ///< Before the step.
  double decrease;  ///< Of the cost, as the linear model predicts it.
  double damping;   ///< Of Levenberg's method; 0 for a step of Gauss and Newton.
  bool isTaken;     ///< False when the cost rose, and the state was restored.
};

/// Called after each step, in the thread that adjusts. An exception of it ends the adjustment, and the problem's state
/// is that after the step.
using IterationWatch = std::function<void(IterationRecord const&)>;

/// The covariances of the adjusted parameters that belong together, for a variance factor of 1. Any number of threads
/// may use one.
class KESADJUST_EXPORT Covariances {
public:
  virtual ~Covariances();
  /// Writes the covariance of two blocks row by row, as many rows as `row` has parameters. False, and nothing written,
  /// for blocks that aren't coupled closely: all pairs that one point sees are, so are all constants with each other
  /// and neighbouring nodes of a strip. `result` has room for the product of the blocks' sizes.
  virtual bool between(int row, int column, std::span<double> result) const = 0;
};

/// A constant that the observations don't determine.
struct HeldParameter {
  int parameter;  ///< In the order of `Problem::blocks()`.
  std::string name;
  /// Posterior over prior standard deviation, of the parameter or the direction; infinity without a prior.
  double ratio;
  /// Parameters that it can't be separated from, that with the largest part first; alone when it is weak itself.
  std::vector<std::string> direction;
};

/// The test of one ground point.
struct GroundTest {
  int point;
  std::string name;
  /// Normalised residuals, observed by adjusted; 0 for a coordinate that no other observation checks.
  std::array<double, 3> normalised;
  double largest;  ///< Of their absolute values.
  bool isUsed;     ///< False when it was taken out; then against the prediction of all others.
};

enum class ObservationState {
  used,
  rejected,           ///< A gross error.
  pointNotDetermined  ///< The observations of its point leave it open, or aren't finite.
};

struct ObservationResult {
  /// Adjusted minus observed, in standard deviations of the observation, as `Problem::linearise` defines it.
  std::array<double, maxRows> residuals{};
  int rows = 0;
  ObservationState state = ObservationState::used;
};

struct PointResult {
  bool isDetermined = false;
  /// xx, xy, xz, yy, yz, zz for a variance factor of 1; zeros when it isn't determined.
  std::array<double, 6> covariance{};
};

/// Strips and points that no image point connects with the others.
struct Island {
  std::vector<int> strips;
  std::vector<std::string> points;
};

struct AdjustmentResult {
  bool hasConverged = false;
  std::vector<IterationRecord> iterations;
  double cost = 0.0;                    ///< Weighted sum of the squares of all residuals, those of priors included.
  std::ptrdiff_t redundancy = 0;        ///< Observations and priors minus unknowns.
  double sigmaZero = 0.0;               ///< The root of cost over redundancy; NaN without redundancy.
  std::vector<double> parameterSigmas;  ///< For a variance factor of 1; infinity for what is held without a prior.
  std::shared_ptr<Covariances const> covariances;
  std::vector<ObservationResult> observations;  ///< In the problem's order.
  std::vector<PointResult> points;
  std::vector<GroundTest> groundTests;  ///< By name.
  std::vector<HeldParameter> held;
  std::vector<Island> islands;  ///< One, unless the block falls apart.
};

/// Adjusts a problem by least squares, Gauss and Newton's method with Levenberg's damping where a step fails, from its
/// current state on, and leaves it at the result. In turn: image points with the robust loss; gross errors among them
/// taken out, the rest by plain least squares; ground points tested; constants that aren't determined held.
///
/// Covariances are those of the linear model at the result. A held constant keeps its prior uncertainty in them
/// (consider covariance, Schmidt 1966), so that those of all others stay true; one without a prior counts as known.
///
/// Throws std::invalid_argument for a problem that contradicts itself (see `Problem`), and std::runtime_error "Nothing
/// determines NAME" for a node's parameter without a prior. The same bits for any number of threads and any order of
/// the problem's observations and points.
[[nodiscard]] KESADJUST_EXPORT AdjustmentResult adjust(Problem& problem, AdjustmentOptions const& options = {});
[[nodiscard]] KESADJUST_EXPORT AdjustmentResult adjust(Problem& problem, AdjustmentOptions const& options,
                                                       IterationWatch const& watch);

}  // namespace kesadjust
