// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockReport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace kesadjust {

namespace {

constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
constexpr double namedCorrelation = 0.9;

Eigen::Matrix3d symmetric(std::array<double, 6> const& c) {
  Eigen::Matrix3d matrix;
  matrix << c[0], c[1], c[2], c[1], c[3], c[4], c[2], c[4], c[5];
  return matrix;
}

void copy(Eigen::Vector3d const& from, std::array<double, 3>& to) {
  std::copy_n(from.data(), 3, to.begin());
}

/// A point's coordinates, and how they depart from those given.
void describePoint(BlockProblem const& problem, std::size_t i, PointResult const& found, AdjustedPoint& point) {
  BlockPoint const& known = problem.points()[i];
  Eigen::Vector3d const& local = problem.position(static_cast<int>(i));
  geo::XYZPoint const here = pointOf(local);
  problem.system().transform(problem.groundSystem(), {&here, 1}, {&point.position, 1});
  point.isDetermined = found.isDetermined;
  if (!point.isDetermined) {
    return;
  }
  Neighbourhood const near = known.neighbourhood
                                 ? *known.neighbourhood
                                 : neighbourhoodOf(problem.groundSystem(), point.position, problem.system());
  Eigen::Matrix3d const toMetres = near.metres().asDiagonal() * near.toSystem;
  Eigen::Vector3d const variance = (toMetres * symmetric(found.covariance) * toMetres.transpose()).diagonal();
  copy(variance.cwiseSqrt(), point.sigmas);
  if (known.given) {
    Eigen::Vector3d const difference = toMetres * (local - near.local);
    Eigen::Vector3d const given = near.metres().cwiseProduct(vectorOf(known.given->sigma));
    copy(difference, point.difference);
    // Of a check point; that of a control point depends on its own part in the adjustment.
    copy(difference.cwiseQuotient((variance + given.cwiseProduct(given)).cwiseSqrt()), point.normalised);
  }
}

void describePoints(BlockProblem const& problem, BlockResult& result) {
  for (std::size_t i = 0; i < problem.points().size(); ++i) {
    BlockPoint const& known = problem.points()[i];
    result.points.push_back({known.name, known.role, {}, 0, false, {}, {}, {}, true});
    describePoint(problem, i, result.solution.points[i], result.points.back());
  }
  for (GroundTest const& test : result.solution.groundTests) {
    AdjustedPoint& point = result.points[static_cast<std::size_t>(test.point)];
    point.normalised = test.normalised;
    point.isUsed = test.isUsed;
  }
}

class Summaries {
public:
  void add(std::string const& strip, std::string const& band, AdjustedImagePoint const& point) {
    for (auto const& key :
         {std::pair(strip, band), std::pair(strip, std::string()), std::pair(std::string(), std::string())}) {
      Sum& sum = mSums[key];
      if (point.state != ObservationState::used) {
        sum.rejected += point.state == ObservationState::rejected ? 1 : 0;
        continue;
      }
      ++sum.used;
      sum.squares.x += point.residual.x * point.residual.x;
      sum.squares.y += point.residual.y * point.residual.y;
      sum.largest.x = std::max(sum.largest.x, std::abs(point.residual.x));
      sum.largest.y = std::max(sum.largest.y, std::abs(point.residual.y));
    }
  }
  std::vector<ResidualSummary> result() const {
    std::vector<ResidualSummary> bands;
    std::vector<ResidualSummary> strips;
    for (auto const& [key, sum] : mSums) {
      auto const n = static_cast<double>(sum.used);
      ResidualSummary const summary{
          key.first,  key.second, sum.used, sum.rejected, {std::sqrt(sum.squares.x / n), std::sqrt(sum.squares.y / n)},
          sum.largest};
      (key.second.empty() ? strips : bands).push_back(summary);
    }
    // That of all strips has the empty name, and so comes first.
    std::rotate(strips.begin(), strips.begin() + 1, strips.end());
    bands.insert(bands.end(), strips.begin(), strips.end());
    return bands;
  }

private:
  struct Sum {
    std::size_t used = 0;
    std::size_t rejected = 0;
    geo::XYPoint squares;
    geo::XYPoint largest;
  };
  std::map<std::pair<std::string, std::string>, Sum> mSums;
};

void describeImagePoints(BlockProblem const& problem, BlockResult& result) {
  Summaries summaries;
  for (std::size_t i = 0; i < problem.imagePoints().size(); ++i) {
    ImageObservation const& observation = problem.imagePoints()[i];
    ObservationResult const& found = result.solution.observations[i];
    geo::XYPoint const& sigma = observation.measurement.sigma;
    bool const hasResidual = found.state != ObservationState::pointNotDetermined;
    geo::XYPoint const residual = hasResidual ? geo::XYPoint(found.residuals[0] * sigma.x, found.residuals[1] * sigma.y)
                                              : geo::XYPoint(nowhere, nowhere);
    result.imagePoints.push_back({observation.measurement, residual, found.state});
    summaries.add(observation.measurement.strip, observation.measurement.band, result.imagePoints.back());
    result.points[static_cast<std::size_t>(observation.point)].rays += found.state == ObservationState::used ? 1 : 0;
  }
  result.summaries = summaries.result();
}

void describeParameters(BlockProblem const& problem, BlockResult& result) {
  for (ConstantBlock const& constants : problem.constants()) {
    ParameterBlock const& block = problem.blocks()[static_cast<std::size_t>(constants.block)];
    for (std::size_t i = 0; i < constants.slots.size(); ++i) {
      Quantity const quantity = constants.slots[i].quantity;
      auto const place = static_cast<std::size_t>(constants.offset) + i;
      bool const isHeld =
          std::any_of(result.solution.held.begin(), result.solution.held.end(), [&](HeldParameter const& held) {
            return held.parameter == constants.offset + static_cast<int>(i);
          });
      result.parameters.push_back({block.names[i], quantity, problem.parameters()[place],
                                   result.solution.parameterSigmas[place], block.priorSigmas[i], isHeld,
                                   isHeld ? traitsOf(quantity).remedy : ""});
    }
  }
}

void describeStrips(BlockProblem const& problem, BlockResult& result) {
  for (StripPart const& strip : problem.strips()) {
    StripCorrections corrections{strip.strip->name(), strip.spline.size(), 0.0, {}, {}, {}};
    for (Spline::Piece const& piece : strip.spline.pieces()) {
      corrections.nodeSpacing = std::max(corrections.nodeSpacing, piece.interval);
    }
    for (std::size_t axis = 0; axis < 6; ++axis) {
      double values = 0.0;
      double sigmas = 0.0;
      for (int node = 0; node < strip.spline.size(); ++node) {
        auto const place = static_cast<std::size_t>(strip.firstParameter + 6 * node) + axis;
        double const value = problem.parameters()[place];
        double const sigma = result.solution.parameterSigmas[place];
        values += value * value;
        sigmas += sigma * sigma;
      }
      corrections.prior[axis] = strip.priors[axis].sigma;
      corrections.correction[axis] = std::sqrt(values / strip.spline.size());
      corrections.sigma[axis] = std::sqrt(sigmas / strip.spline.size());
    }
    result.strips.push_back(corrections);
  }
}

void correlate(BlockProblem const& problem, ConstantBlock const& first, ConstantBlock const& second,
               BlockResult& result) {
  Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> covariance(
      static_cast<Eigen::Index>(first.slots.size()), static_cast<Eigen::Index>(second.slots.size()));
  std::span<double> const values(covariance.data(), static_cast<std::size_t>(covariance.size()));
  if (!result.solution.covariances->between(first.block, second.block, values)) {
    return;
  }
  auto const isHeld = [&](int parameter) {
    return std::any_of(result.solution.held.begin(), result.solution.held.end(),
                       [parameter](HeldParameter const& held) { return held.parameter == parameter; });
  };
  auto const nameIn = [&](ConstantBlock const& constants, Eigen::Index i) {
    return problem.blocks()[static_cast<std::size_t>(constants.block)].names[static_cast<std::size_t>(i)];
  };
  for (Eigen::Index i = 0; i < covariance.rows(); ++i) {
    for (Eigen::Index k = first.block == second.block ? i + 1 : 0; k < covariance.cols(); ++k) {
      int const a = first.offset + static_cast<int>(i);
      int const b = second.offset + static_cast<int>(k);
      double const value = covariance(i, k) / (result.solution.parameterSigmas[static_cast<std::size_t>(a)] *
                                               result.solution.parameterSigmas[static_cast<std::size_t>(b)]);
      if (std::abs(value) > namedCorrelation && !isHeld(a) && !isHeld(b)) {
        result.correlations.push_back({nameIn(first, i), nameIn(second, k), value});
      }
    }
  }
}

/// Whether a quantity changes the camera itself: the orientation has no part of it.
bool isOfCameraFile(Quantity quantity) {
  return quantity == Quantity::focalLength || traitsOf(quantity).owner == Owner::line;
}

}  // namespace

char const* nameOf(PointRole role) {
  switch (role) {
  case PointRole::control:
    return "control";
  case PointRole::check:
    return "check";
  default:
    return "tie";
  }
}

char const* nameOf(ObservationState state) {
  switch (state) {
  case ObservationState::used:
    return "used";
  case ObservationState::rejected:
    return "rejected";
  default:
    return "pointNotDetermined";
  }
}

void describe(BlockProblem const& problem, BlockResult& result) {
  describePoints(problem, result);
  describeImagePoints(problem, result);
  describeParameters(problem, result);
  describeStrips(problem, result);
  std::vector<ConstantBlock> const& constants = problem.constants();
  for (std::size_t i = 0; i < constants.size(); ++i) {
    for (std::size_t k = i; k < constants.size(); ++k) {
      correlate(problem, constants[i], constants[k], result);
    }
  }
}

std::vector<CameraCorrections> cameraCorrections(BlockProblem const& problem) {
  std::map<int, CameraCorrections> found;
  for (ImagePart const& image : problem.images()) {
    StripPart const& strip = problem.strips()[static_cast<std::size_t>(image.strip)];
    kes::ModelCorrections corrections;
    bool isCorrected = false;
    for (int const number : image.constants) {
      ConstantBlock const& constants = problem.constants()[static_cast<std::size_t>(number)];
      for (std::size_t i = 0; i < constants.slots.size(); ++i) {
        valueIn(corrections, constants.slots[i]) = problem.parameters()[static_cast<std::size_t>(constants.offset) + i];
        isCorrected = isCorrected || isOfCameraFile(constants.slots[i].quantity);
      }
    }
    if (isCorrected) {
      kes::Camera const camera = strip.strip->camera();
      CameraCorrections& result = found[strip.camera];
      result.type = camera.type();
      result.sensorId = camera.sensorId();
      result.version = camera.version();
      result.focalLength = corrections.focalLength;
      result.lines[image.band.id()] = corrections.line;
    }
  }
  std::vector<CameraCorrections> cameras;
  cameras.reserve(found.size());
  for (auto& [number, corrections] : found) {
    cameras.push_back(std::move(corrections));
  }
  return cameras;
}

}  // namespace kesadjust
