// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockProblem.h"

#include "Median.h"
#include "NodeSpacing.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>

namespace kesadjust {

namespace {

constexpr std::size_t corrections = 6;  // of a node
constexpr std::array<char const*, corrections> correctionNames{"x", "y", "z", "roll", "pitch", "heading"};

std::string text(double value) {
  std::string digits = std::to_string(std::lround(value * 10.0));
  return digits.insert(digits.size() - 1, ".");
}

/// The spans of a strip's records in which lines of its images were exposed.
std::vector<Spline::Span> spansOf(kes::Strip const& strip, kes::Trajectory const& trajectory, double greatestGap) {
  double start = std::numeric_limits<double>::infinity();
  double end = -start;
  for (int i = 0; i < strip.bandCount(); ++i) {
    kes::Band const band = strip.band(i);
    start = std::min({start, band.startTime(), band.endTime()});
    end = std::max({end, band.startTime(), band.endTime()});
  }
  std::vector<double> times(trajectory.size());
  for (std::size_t i = 0; i < times.size(); ++i) {
    times[i] = trajectory[i].time;
  }
  std::vector<Spline::Span> spans;
  for (Spline::Span const& span : Spline::spansOf(times, greatestGap)) {
    Spline::Span const used{std::max(span.start, start), std::min(span.end, end)};
    if (used.start < used.end) {
      spans.push_back(used);
    }
  }
  if (spans.empty()) {
    spans.push_back({start, end});
  }
  return spans;
}

double rootMeanSquare(kes::Trajectory const& trajectory, double (*value)(kes::TrajectoryAccuracy const&)) {
  double sum = 0.0;
  for (std::size_t i = 0; i < trajectory.size(); ++i) {
    double const sigma = value(*trajectory.accuracyAt(trajectory[i].time));
    sum += sigma * sigma;
  }
  return std::sqrt(sum / static_cast<double>(trajectory.size()));
}

/// The median of the standard deviations of image points, pixels; not a number without any.
double noiseOf(std::vector<ImageMeasurement> const& measurements) {
  std::vector<double> sigmas;
  for (ImageMeasurement const& measurement : measurements) {
    sigmas.insert(sigmas.end(), {measurement.sigma.x, measurement.sigma.y});
  }
  return medianOf(std::move(sigmas));
}

}  // namespace

std::array<GaussMarkovPrior, corrections> priorsOf(kes::Trajectory const& trajectory, std::string const& navigation) {
  NavigationClass const& given = navigationClass(navigation.empty() ? "navigation" : navigation);
  std::array<GaussMarkovPrior, corrections> priors{given.plan,      given.plan,      given.height,
                                                   given.rollPitch, given.rollPitch, given.heading};
  if (!navigation.empty() || !trajectory.hasStandardDeviations() || trajectory.size() == 0) {
    return priors;
  }
  // Roll and pitch of any heading: omega and phi together.
  using Accuracy = kes::TrajectoryAccuracy;
  double const omega = rootMeanSquare(trajectory, [](Accuracy const& a) { return a.attitude.omega; });
  double const phi = rootMeanSquare(trajectory, [](Accuracy const& a) { return a.attitude.phi; });
  double const tilt = std::sqrt(0.5 * (omega * omega + phi * phi));
  std::array<double, corrections> const sigmas{
      rootMeanSquare(trajectory, [](Accuracy const& a) { return a.position.x; }),
      rootMeanSquare(trajectory, [](Accuracy const& a) { return a.position.y; }),
      rootMeanSquare(trajectory, [](Accuracy const& a) { return a.position.z; }),
      tilt,
      tilt,
      rootMeanSquare(trajectory, [](Accuracy const& a) { return a.attitude.kappa; })};
  for (std::size_t i = 0; i < corrections; ++i) {
    if (std::isfinite(sigmas[i]) && sigmas[i] > 0.0) {
      priors[i].sigma = sigmas[i];
    }
  }
  return priors;
}

BlockProblem::BlockProblem(std::span<kes::Strip const> strips, Measurements const& measurements,
                           BlockAdjustmentOptions const& options)
    : mSystem(kes::CoordinateSystem::wgs84Degrees()), mGroundSystem(measurements.system) {
  addStrips(strips, options, noiseOf(measurements.image));
  addConstants(options);
  mState.parameters.assign(static_cast<std::size_t>(mParameterCount), 0.0);
  addPoints(measurements);
  addImagePoints(measurements.image);
  findSights();
  intersect();
  findScales();
  addControl();
  if (options.surface) {
    addSurface(*options.surface, options.surfaceSigma);
  }
}

void BlockProblem::addStrips(std::span<kes::Strip const> strips, BlockAdjustmentOptions const& options, double noise) {
  std::vector<kes::Strip const*> sorted;
  for (kes::Strip const& strip : strips) {
    sorted.push_back(&strip);
  }
  if (sorted.empty()) {
    throw std::invalid_argument("a block needs a strip");
  }
  std::sort(sorted.begin(), sorted.end(), [](auto const* a, auto const* b) { return a->name() < b->name(); });
  mSystem = sorted.front()->localSystem();
  std::map<std::pair<std::string, unsigned>, int> cameras;
  for (kes::Strip const* strip : sorted) {
    if (!mStrips.empty() && mStrips.back().strip->name() == strip->name()) {
      throw std::invalid_argument("two strips are named " + strip->name());
    }
    kes::Trajectory const trajectory = strip->trajectory();
    kes::Camera const camera = strip->camera();
    int const number = cameras.emplace(std::pair(camera.sensorId(), camera.version()), cameras.size()).first->second;
    auto const priors = priorsOf(trajectory, options.navigation);
    double const spacing = options.nodeSpacing.value_or(nodeSpacing(priors, StripView::of(*strip), noise));
    mStrips.push_back({strip,
                       trajectory,
                       rigidMotion(mSystem, strip->localSystem()),
                       Spline(spansOf(*strip, trajectory, options.greatestGap), options.degree, spacing),
                       priors,
                       0,
                       0,
                       {},
                       number});
    addNodes(mStrips.back());
    int const index = static_cast<int>(mStrips.size()) - 1;
    for (std::string const& id : strip->bandIds()) {
      mImageOf.emplace(std::pair(strip->name(), id), static_cast<int>(mImages.size()));
      mImages.push_back({index, strip->band(id), {}});
    }
  }
}

void BlockProblem::addNodes(StripPart& strip) {
  strip.firstBlock = static_cast<int>(mBlocks.size());
  strip.firstParameter = mParameterCount;
  int const number = static_cast<int>(mStrips.size()) - 1;
  for (Spline::Piece const& piece : strip.spline.pieces()) {
    for (int i = 0; i < piece.coefficients; ++i) {
      ParameterBlock block{BlockKind::node, number, {}, {}};
      for (char const* name : correctionNames) {
        block.names.push_back(std::string(name) + " of " + strip.strip->name() + " at " +
                              text(piece.start + piece.interval * i) + " s");
      }
      mBlocks.push_back(std::move(block));
    }
  }
  for (std::size_t axis = 0; axis < corrections; ++axis) {
    int const first = mParameterCount + static_cast<int>(axis);
    for (auto const& [row, column, value] : strip.priors[axis].precision(strip.spline)) {
      mPrior.push_back(
          {first + static_cast<int>(corrections) * row, first + static_cast<int>(corrections) * column, value});
    }
  }
  mParameterCount += static_cast<int>(corrections) * strip.spline.size();
}

std::optional<int> BlockProblem::addConstantBlock(BlockAdjustmentOptions const& options, Owner owner, int strip,
                                                  std::string const& suffix) {
  ConstantBlock constants{static_cast<int>(mBlocks.size()), mParameterCount, {}};
  ParameterBlock block{owner == Owner::strip ? BlockKind::stripConstant : BlockKind::calibration, strip, {}, {}};
  for (QuantityTraits const& traits : allQuantities()) {
    auto const freedom = std::find_if(options.free.begin(), options.free.end(),
                                      [&](Freedom const& free) { return free.quantity == traits.quantity; });
    if (traits.owner != owner || freedom == options.free.end()) {
      continue;
    }
    for (std::size_t i = 0; i < traits.components.size(); ++i) {
      std::string const& component = traits.components[i];
      constants.slots.push_back({traits.quantity, static_cast<int>(i)});
      std::string& name = block.names.emplace_back(traits.label);
      if (!component.empty()) {
        name.append(" ").append(component);
      }
      name += suffix;
      block.priorSigmas.push_back(freedom->sigma);
    }
  }
  if (constants.slots.empty()) {
    return std::nullopt;
  }
  mParameterCount += static_cast<int>(constants.slots.size());
  mBlocks.push_back(std::move(block));
  mConstants.push_back(std::move(constants));
  return static_cast<int>(mConstants.size()) - 1;
}

void BlockProblem::addConstants(BlockAdjustmentOptions const& options) {
  for (std::size_t i = 0; i < mStrips.size(); ++i) {
    mStrips[i].constants =
        addConstantBlock(options, Owner::strip, static_cast<int>(i), " of " + mStrips[i].strip->name());
  }
  int const cameras = 1 + std::max_element(mStrips.begin(), mStrips.end(), [](StripPart const& a, StripPart const& b) {
                            return a.camera < b.camera;
                          })->camera;
  std::vector<std::map<std::string, std::optional<int>>> lines(static_cast<std::size_t>(cameras));
  mCameraConstants.resize(static_cast<std::size_t>(cameras));
  for (int camera = 0; camera < cameras; ++camera) {
    auto const strip =
        std::find_if(mStrips.begin(), mStrips.end(), [camera](StripPart const& part) { return part.camera == camera; });
    std::string const suffix = cameras == 1 ? "" : " of camera " + strip->strip->camera().sensorId();
    mCameraConstants[static_cast<std::size_t>(camera)] = addConstantBlock(options, Owner::camera, -1, suffix);
    for (ImagePart const& image : mImages) {
      std::string const id = image.band.id();
      auto& known = lines[static_cast<std::size_t>(camera)];
      if (mStrips[static_cast<std::size_t>(image.strip)].camera == camera && known.count(id) == 0) {
        known[id] = addConstantBlock(options, Owner::line, -1, std::string(" of ").append(id).append(suffix));
      }
    }
  }
  for (ImagePart& image : mImages) {
    StripPart const& strip = mStrips[static_cast<std::size_t>(image.strip)];
    for (std::optional<int> const& seen :
         {strip.constants, cameraConstants(strip), lines[static_cast<std::size_t>(strip.camera)][image.band.id()]}) {
      if (seen) {
        image.constants.push_back(*seen);
      }
    }
  }
}

std::optional<int> BlockProblem::cameraConstants(StripPart const& strip) const {
  return mCameraConstants[static_cast<std::size_t>(strip.camera)];
}

ObservationIdentity BlockProblem::identity(std::size_t observation) const {
  if (observation < mImagePoints.size()) {
    ImageObservation const& o = mImagePoints[observation];
    return {ObservationKind::image,
            o.point,
            mImages[static_cast<std::size_t>(o.image)].strip,
            o.image,
            o.measurement.position.y,
            o.measurement.position.x};
  }
  GroundObservation const& o = mGround[observation - mImagePoints.size()];
  return {o.kind, o.point, -1, 0, 0.0, 0.0};
}

Eigen::Matrix<double, 6, 1> BlockProblem::splineAt(StripPart const& strip, Spline::Basis const& basis) const {
  Eigen::Matrix<double, 6, 1> value = Eigen::Matrix<double, 6, 1>::Zero();
  for (int k = 0; k < basis.count; ++k) {
    int const offset = strip.firstParameter + static_cast<int>(corrections) * (basis.first + k);
    value += basis.weights[static_cast<std::size_t>(k)] *
             Eigen::Map<Eigen::Matrix<double, 6, 1> const>(mState.parameters.data() + offset);
  }
  return value;
}

void BlockProblem::add(kes::ModelCorrections& sum, ConstantBlock const& constants) const {
  for (std::size_t i = 0; i < constants.slots.size(); ++i) {
    valueIn(sum, constants.slots[i]) += mState.parameters[static_cast<std::size_t>(constants.offset) + i];
  }
}

kes::ModelCorrections BlockProblem::correctionsOf(StripPart const& strip, double time) const {
  Eigen::Matrix<double, 6, 1> const value = splineAt(strip, strip.spline.at(time));
  kes::ModelCorrections result;
  std::copy_n(value.data(), 3, result.position.begin());
  std::copy_n(value.data() + 3, 3, result.attitude.begin());
  for (std::optional<int> const& constants : {strip.constants, cameraConstants(strip)}) {
    if (constants) {
      add(result, mConstants[static_cast<std::size_t>(*constants)]);
    }
  }
  return result;
}

void BlockProblem::lineariseImage(ImageObservation const& observation, LinearisedObservation& result) const {
  ImagePart const& image = mImages[static_cast<std::size_t>(observation.image)];
  StripPart const& strip = mStrips[static_cast<std::size_t>(image.strip)];
  Spline::Basis const basis = strip.spline.at(observation.time);
  Eigen::Matrix<double, 6, 1> const value = splineAt(strip, basis);
  kes::ModelCorrections model;
  std::copy_n(value.data(), 3, model.position.begin());
  std::copy_n(value.data() + 3, 3, model.attitude.begin());
  for (int const constants : image.constants) {
    add(model, mConstants[static_cast<std::size_t>(constants)]);
  }
  Eigen::Vector3d const ground = strip.toStrip(position(observation.point));
  auto const [partials, status] = image.band.partials(observation.measurement.position, pointOf(ground), model);
  geo::XYPoint const& sigma = observation.measurement.sigma;
  Eigen::Matrix2d const scale = Eigen::Vector2d(1.0 / sigma.x, 1.0 / sigma.y).asDiagonal() * observation.toPixels;

  result.rows = 2;
  Eigen::Map<Eigen::Vector2d>(result.residuals.data()) =
      scale * Eigen::Map<Eigen::Vector2d const>(partials.residual.data());
  Eigen::Map<Matrix2x3>(result.pointJacobian.data()) =
      scale * Eigen::Map<Matrix2x3 const>(partials.byGround.data()) * strip.toStrip.rotation;

  JacobianPart nodes{strip.firstBlock + basis.first, basis.count, basis.weights, {}};
  Eigen::Map<Eigen::Matrix<double, 2, 6, Eigen::RowMajor>> byNode(nodes.jacobian.data());
  byNode.leftCols<3>() = scale * Eigen::Map<Matrix2x3 const>(partials.byPosition.data());
  byNode.rightCols<3>() =
      scale * Eigen::Map<Matrix2x3 const>(partials.byAttitude.data()) * rightJacobian(value.tail<3>());
  result.parts.push_back(nodes);
  for (int const number : image.constants) {
    ConstantBlock const& constants = mConstants[static_cast<std::size_t>(number)];
    JacobianPart part{constants.block, 1, {1.0, 0.0, 0.0, 0.0}, {}};
    auto const columns = static_cast<Eigen::Index>(constants.slots.size());
    Eigen::Map<Eigen::Matrix<double, 2, Eigen::Dynamic, Eigen::RowMajor>> byConstant(part.jacobian.data(), 2, columns);
    for (Eigen::Index i = 0; i < columns; ++i) {
      byConstant.col(i) = scale * derivative(partials, model, constants.slots[static_cast<std::size_t>(i)]);
    }
    result.parts.push_back(part);
  }
}

void BlockProblem::lineariseGround(GroundObservation const& observation, LinearisedObservation& result) const {
  Eigen::Vector3d const residual = observation.toSigmas * (position(observation.point) - observation.given);
  result.rows = observation.rows;
  std::copy_n(residual.data(), observation.rows, result.residuals.begin());
  Eigen::Map<Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(result.pointJacobian.data()) = observation.toSigmas;
}

void BlockProblem::linearise(std::size_t observation, LinearisedObservation& result) const {
  if (observation < mImagePoints.size()) {
    lineariseImage(mImagePoints[observation], result);
  } else {
    lineariseGround(mGround[observation - mImagePoints.size()], result);
  }
}

void BlockProblem::deviations(std::span<double> result) const {
  std::copy(mState.parameters.begin(), mState.parameters.end(), result.begin());
}

void BlockProblem::apply(std::span<double const> parameters, std::span<double const> points) {
  mOldState = mState;
  std::transform(parameters.begin(), parameters.end(), mState.parameters.begin(), mState.parameters.begin(),
                 std::plus<>());
  for (std::size_t i = 0; i < mState.points.size(); ++i) {
    mState.points[i] += Eigen::Map<Eigen::Vector3d const>(points.data() + 3 * i);
  }
}

void BlockProblem::undo() {
  mState = mOldState;
}

}  // namespace kesadjust
