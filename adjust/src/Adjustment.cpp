// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Determinability.h"
#include "GroundControl.h"
#include "NormalEquations.h"
#include "ObservationGroups.h"
#include "SelectedInverse.h"
#include "SparseFactor.h"
#include "Unknowns.h"

#include <kes/Parallel.h>
#include <kesadjust/Adjustment.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace kesadjust {

Problem::~Problem() = default;
Covariances::~Covariances() = default;

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
/// How often gross errors among image points are looked for again.
constexpr int maxRejections = 5;
/// With a robust loss, which only finds gross errors, an iteration that would lower the cost by less than this part of
/// it is the last one: weights settle slowly.
constexpr double robustConvergence = 1e-6;
constexpr double firstDamping = 1e-4;
constexpr double leastDamping = 1e-7;
constexpr double greatestDamping = 1e8;
/// A change of the cost below this part of it is rounding.
constexpr double roundingOfCost = 1e-11;
constexpr std::size_t observationsPerPiece = 4096;

/// The normal equations with held parameters, and their factor.
struct Solver {
  BlockMatrix matrix;
  SparseFactor factor;
  Solver(Solver const&) = delete;
  Solver& operator=(Solver const&) = delete;
  Solver(BlockMatrix const& normals, std::vector<int> const& held, double damping)
      : matrix(normals), factor((matrix.isolate(held), matrix), damping) {}
};

class Run {
public:
  Run(Problem& problem, AdjustmentOptions const& options, IterationWatch const& watch);
  AdjustmentResult result();

private:
  Weighting weighting(RobustLoss const& loss) const { return {loss, mIsActive}; }
  bool solve(RobustLoss const& loss);
  enum class Step { taken, refused, notNeeded };
  Step iterate(Weighting const& current, double damping);
  Solver solver(double damping, bool withConsidered);
  void settle();
  bool reclassify();
  bool holdUndetermined(SelectedInverse const& inverse);
  void hold(int parameter, double ratio, std::vector<std::string> direction);
  void moveHeldToPrior();
  SelectedInverse selectedInverse();
  std::ptrdiff_t redundancy() const;
  void describe(AdjustmentResult& result) const;

  double priorSigma(int parameter) const;
  std::string const& nameOf(int parameter) const;
  std::vector<int> heldParameters() const;
  template <class Work>
  void forEachObservation(Work const& work) const;

  Problem& mProblem;
  AdjustmentOptions const& mOptions;
  IterationWatch const& mWatch;
  Unknowns mUnknowns;
  ObservationGroups mGroups;
  NormalEquations mNormals;
  GroundControl mGround;
  std::vector<char> mIsActive;
  std::vector<HeldParameter> mHeld;
  std::vector<IterationRecord> mIterations;
  bool mHasConverged = true;
};

Run::Run(Problem& problem, AdjustmentOptions const& options, IterationWatch const& watch)
    : mProblem(problem), mOptions(options), mWatch(watch), mUnknowns(problem.blocks()), mGroups(problem),
      mNormals(problem, mGroups, mUnknowns, options.threads), mGround(problem, mGroups),
      mIsActive(problem.observationCount(), 1) {}

template <class Work>
void Run::forEachObservation(Work const& work) const {
  std::size_t const count = mProblem.observationCount();
  kes::forEachIndexByWorkers((count + observationsPerPiece - 1) / observationsPerPiece, mOptions.threads,
                             [&]() -> kes::Worker {
                               auto row = std::make_shared<LinearisedObservation>();
                               return [&, row](std::size_t piece) {
                                 std::size_t const end = std::min((piece + 1) * observationsPerPiece, count);
                                 for (std::size_t i = piece * observationsPerPiece; i < end; ++i) {
                                   row->parts.clear();
                                   mProblem.linearise(i, *row);
                                   work(i, *row);
                                 }
                               };
                             });
}

double Run::priorSigma(int parameter) const {
  int const block = mUnknowns.blockOf(parameter);
  auto const& sigmas = mProblem.blocks()[static_cast<std::size_t>(block)].priorSigmas;
  return sigmas.empty() ? infinite : sigmas[static_cast<std::size_t>(parameter - mUnknowns.offset(block))];
}

std::string const& Run::nameOf(int parameter) const {
  int const block = mUnknowns.blockOf(parameter);
  return mProblem.blocks()[static_cast<std::size_t>(block)]
      .names[static_cast<std::size_t>(parameter - mUnknowns.offset(block))];
}

std::vector<int> Run::heldParameters() const {
  std::vector<int> parameters;
  for (HeldParameter const& held : mHeld) {
    parameters.push_back(held.parameter);
  }
  return parameters;
}

void Run::hold(int parameter, double ratio, std::vector<std::string> direction) {
  mHeld.push_back({parameter, nameOf(parameter), ratio, std::move(direction)});
}

/// The factor at the current state, without held constants, or with those that have a prior. A constant that nothing
/// determines is held.
Solver Run::solver(double damping, bool withConsidered) {
  for (;;) {
    std::vector<int> left = heldParameters();
    if (withConsidered) {
      std::erase_if(left, [this](int parameter) { return std::isfinite(priorSigma(parameter)); });
    }
    try {
      return Solver(mNormals.matrix(), left, damping);
    } catch (UndeterminedParameter const& undetermined) {
      int const parameter = undetermined.parameter();
      if (mUnknowns.kind(mUnknowns.blockOf(parameter)) == BlockKind::node) {
        throw std::runtime_error("Nothing determines " + nameOf(parameter));
      }
      hold(parameter, infinite, {nameOf(parameter)});
    }
  }
}

/// One step, unless it is smaller than what counts; refused when the cost rose and the state was restored.
Run::Step Run::iterate(Weighting const& current, double damping) {
  double const cost = mNormals.cost();
  std::vector<double> step;
  std::vector<double> right;
  {
    Solver const normals = solver(damping, false);
    right = mNormals.gradient();
    for (int const parameter : heldParameters()) {
      right[static_cast<std::size_t>(parameter)] = 0.0;
    }
    std::transform(right.begin(), right.end(), right.begin(), std::negate<>());
    step = normals.factor.solve(right);
  }
  double const decrease = std::inner_product(right.begin(), right.end(), step.begin(), mNormals.pointDecrease());
  mIterations.push_back({cost, decrease, damping, true});
  bool const isRobust = current.loss.kind != RobustLoss::Kind::squares;
  double const least = isRobust ? std::max(mOptions.convergence, robustConvergence * cost) : mOptions.convergence;
  if (decrease <= least && damping == 0.0) {
    return Step::notNeeded;
  }
  mProblem.apply(step, mNormals.pointSteps(current, step));
  mNormals.assemble(current);
  if (mNormals.cost() <= cost + roundingOfCost * cost + mOptions.convergence) {
    return Step::taken;
  }
  mProblem.undo();
  mNormals.assemble(current);
  mIterations.back().isTaken = false;
  return Step::refused;
}

/// Iterates to the least cost; returns whether it came there.
bool Run::solve(RobustLoss const& loss) {
  Weighting const current = weighting(loss);
  mNormals.restart();
  mNormals.assemble(current);
  double damping = 0.0;
  for (int i = 0; i < mOptions.maxIterations && damping <= greatestDamping; ++i) {
    Step const step = iterate(current, damping);
    if (mWatch) {
      mWatch(mIterations.back());
    }
    switch (step) {
    case Step::notNeeded:
      return true;
    case Step::taken:
      damping = damping <= leastDamping ? 0.0 : 0.1 * damping;
      break;
    case Step::refused:
      damping = std::max(10.0 * damping, firstDamping);
      break;
    }
  }
  return false;
}

/// Takes out image points that lie too far off, takes back those that don't; returns whether any changed.
bool Run::reclassify() {
  std::vector<char> isActive = mIsActive;
  forEachObservation([&](std::size_t i, LinearisedObservation const& row) {
    if (mProblem.identity(i).kind == ObservationKind::image) {
      double const squared =
          std::inner_product(row.residuals.begin(), row.residuals.begin() + row.rows, row.residuals.begin(), 0.0);
      // What isn't finite stays, and takes its point out.
      isActive[i] = squared > mOptions.rejection * mOptions.rejection ? 0 : 1;
    }
  });
  bool const changed = isActive != mIsActive;
  mIsActive = std::move(isActive);
  return changed;
}

/// Plain least squares without gross errors of image points.
void Run::settle() {
  bool const isRobust = mOptions.loss.kind != RobustLoss::Kind::squares;
  for (int i = 0; i < maxRejections; ++i) {
    bool const changed = isRobust && reclassify();
    if (i > 0 && !changed) {
      return;
    }
    mHasConverged = solve({});
  }
}

/// The inverse at the current state, held constants considered.
SelectedInverse Run::selectedInverse() {
  Solver const normals = solver(0.0, true);
  std::vector<SelectedInverse::Considered> considered;
  for (HeldParameter const& held : mHeld) {
    double const sigma = priorSigma(held.parameter);
    considered.push_back({held.parameter, std::isfinite(sigma) ? sigma * sigma : 0.0});
  }
  return SelectedInverse(normals.factor, considered);
}

/// Holds the constants that aren't determined; returns whether there are any new ones.
bool Run::holdUndetermined(SelectedInverse const& inverse) {
  std::vector<int> constants;
  std::vector<double> sigmas;
  for (int parameter = 0; parameter < mUnknowns.size(); ++parameter) {
    if (mUnknowns.kind(mUnknowns.blockOf(parameter)) != BlockKind::node) {
      constants.push_back(parameter);
      sigmas.push_back(priorSigma(parameter));
    }
  }
  std::vector<int> alreadyHeld;
  for (HeldParameter const& held : mHeld) {
    auto const place = std::lower_bound(constants.begin(), constants.end(), held.parameter);
    alreadyHeld.push_back(static_cast<int>(place - constants.begin()));
  }
  std::size_t const before = mHeld.size();
  for (WeakDirection const& weak :
       weakDirections(inverse.ofConstants(constants), sigmas, alreadyHeld, mOptions.heldAbove)) {
    std::vector<std::string> names;
    for (int const constant : weak.constants) {
      names.push_back(nameOf(constants[static_cast<std::size_t>(constant)]));
    }
    hold(constants[static_cast<std::size_t>(weak.held)], weak.ratio, std::move(names));
  }
  return mHeld.size() > before;
}

void Run::moveHeldToPrior() {
  std::vector<double> deviations(static_cast<std::size_t>(mUnknowns.size()));
  mProblem.deviations(deviations);
  std::vector<double> step(deviations.size());
  for (int const parameter : heldParameters()) {
    step[static_cast<std::size_t>(parameter)] = -deviations[static_cast<std::size_t>(parameter)];
  }
  mProblem.apply(step, std::vector<double>(3 * static_cast<std::size_t>(mProblem.pointCount())));
}

std::ptrdiff_t Run::redundancy() const {
  std::vector<char> hasPrior(static_cast<std::size_t>(mUnknowns.size()));
  for (PrecisionEntry const& entry : mProblem.prior()) {
    if (entry.row == entry.column) {
      hasPrior[static_cast<std::size_t>(entry.row)] = 1;
    }
  }
  for (int parameter = 0; parameter < mUnknowns.size(); ++parameter) {
    if (std::isfinite(priorSigma(parameter))) {
      hasPrior[static_cast<std::size_t>(parameter)] = 1;
    }
  }
  auto const withPrior = std::count(hasPrior.begin(), hasPrior.end(), 1);
  auto const heldWithPrior = std::count_if(mHeld.begin(), mHeld.end(), [&](HeldParameter const& held) {
    return hasPrior[static_cast<std::size_t>(held.parameter)] != 0;
  });
  std::ptrdiff_t points = 0;
  for (std::size_t i = 0; i < mGroups.groups().size(); ++i) {
    points += mGroups.groups()[i].point != noPoint && mNormals.isDetermined()[i] != 0 ? 1 : 0;
  }
  return static_cast<std::ptrdiff_t>(mNormals.rows()) + withPrior - heldWithPrior - 3 * points -
         (mUnknowns.size() - static_cast<std::ptrdiff_t>(mHeld.size()));
}

void Run::describe(AdjustmentResult& result) const {
  result.observations.resize(mProblem.observationCount());
  forEachObservation([&](std::size_t i, LinearisedObservation const& row) {
    result.observations[i] = {row.residuals, row.rows,
                              mIsActive[i] != 0 ? ObservationState::used : ObservationState::rejected};
  });
  for (std::size_t g = 0; g < mGroups.groups().size(); ++g) {
    ObservationGroup const& group = mGroups.groups()[g];
    bool const isDetermined = mNormals.isDetermined()[g] != 0;
    if (group.point != noPoint) {
      result.points[static_cast<std::size_t>(group.point)].isDetermined = isDetermined;
    }
    for (std::size_t const i : mGroups.observations(group)) {
      if (!isDetermined && mIsActive[i] != 0) {
        result.observations[i].state = ObservationState::pointNotDetermined;
      }
    }
  }
  result.islands = islandsOf(mProblem);
}

AdjustmentResult Run::result() {
  if (mOptions.loss.kind != RobustLoss::Kind::squares) {
    solve(mOptions.loss);
    settle();
    while (mGround.suspect(mIsActive)) {
      solve(mOptions.loss);
      settle();
    }
  } else {
    settle();
  }
  std::optional<SelectedInverse> inverse(selectedInverse());
  std::vector<GroundTest> tests = mGround.tests(mNormals, weighting({}), *inverse);
  for (;;) {
    if (!mGround.change(tests, mOptions.criticalValue, mIsActive) && !holdUndetermined(*inverse)) {
      break;
    }
    moveHeldToPrior();
    settle();
    inverse.emplace(selectedInverse());
    tests = mGround.tests(mNormals, weighting({}), *inverse);
  }

  AdjustmentResult result;
  result.hasConverged = mHasConverged;
  result.iterations = std::move(mIterations);
  result.cost = mNormals.cost();
  result.redundancy = redundancy();
  result.sigmaZero = result.redundancy > 0 ? std::sqrt(result.cost / static_cast<double>(result.redundancy))
                                           : std::numeric_limits<double>::quiet_NaN();
  for (int i = 0; i < mUnknowns.size(); ++i) {
    result.parameterSigmas.push_back(std::sqrt(inverse->variance(i)));
  }
  for (HeldParameter const& held : mHeld) {
    result.parameterSigmas[static_cast<std::size_t>(held.parameter)] = priorSigma(held.parameter);
  }
  std::vector<char> const all(static_cast<std::size_t>(mProblem.pointCount()), 1);
  result.points.resize(all.size());
  auto const covariances = mNormals.pointCovariances(weighting({}), *inverse, all);
  for (std::size_t i = 0; i < covariances.size(); ++i) {
    auto const& c = covariances[i];
    result.points[i].covariance = {c(0, 0), c(0, 1), c(0, 2), c(1, 1), c(1, 2), c(2, 2)};
  }
  describe(result);
  result.groundTests = std::move(tests);
  result.held = std::move(mHeld);
  result.covariances = covariancesOf(std::move(*inverse));
  return result;
}

}  // namespace

AdjustmentResult adjust(Problem& problem, AdjustmentOptions const& options) {
  return adjust(problem, options, IterationWatch());
}

AdjustmentResult adjust(Problem& problem, AdjustmentOptions const& options, IterationWatch const& watch) {
  if (!(options.loss.scale > 0.0)) {
    throw std::invalid_argument("The scale of a robust loss must be positive");
  }
  return Run(problem, options, watch).result();
}

}  // namespace kesadjust
