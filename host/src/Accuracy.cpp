// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AccuracyTable.h"
#include "Checks.h"
#include "PointParts.h"
#include "Projector.h"
#include "Vectors.h"

#include <kes/Accuracy.h>
#include <kes/Band.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kes::detail {

namespace {

#include "AccuracyFormulas-inl.h"

}  // namespace

}  // namespace kes::detail

namespace kes {

namespace {

using detail::cross;
using detail::Deviations;
using detail::dot;
using detail::Vector;
// clang-tidy 14 doesn't see where an operator is used.
// NOLINTBEGIN(misc-unused-using-decls)
using detail::operator+;
using detail::operator-;
using detail::operator*;
// NOLINTEND(misc-unused-using-decls)

using Cut = detail::CutOf<double, Vector>;
using Place = detail::PlaceOf<double>;
using Rows = detail::RowsOf<double>;

Vector normalised(Vector const& v) {
  return 1.0 / std::sqrt(dot(v, v)) * v;
}

/// Surfaces of equal heights of the local system.
class HorizontalPlane {
public:
  explicit HorizontalPlane(double height) : mHeight(height) {}

  Cut cut(Vector const& away) const { return detail::horizontalCutOf<double>(away); }
  Place place(Vector const& eye, Vector const& direction) const {
    return detail::horizontalPlaceOf(eye, direction, mHeight);
  }

private:
  double mHeight;
};

/// A surface of equal heights of another system at a position in the local system, with axes along x, along y, and up.
class TangentPlane {
public:
  /// From small steps along the system's x and y.
  // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the position, then the steps in their order
  TangentPlane(Vector const& at, Vector const& stepX, Vector const& stepY)
      : mAt(at), mX(normalised(stepX)), mY(normalised(stepY - dot(stepY, mX) * mX)), mUp(cross(mX, mY)) {}

  Cut cut(Vector const& away) const {
    double const perDepth = 1.0 / dot(mUp, away);
    double const slopeX = dot(mX, away) * perDepth;
    double const slopeY = dot(mY, away) * perDepth;
    Vector const rowX = mX - slopeX * mUp;
    Vector const rowY = mY - slopeY * mUp;
    // A height grows upward, whichever way the axes go round.
    double const upward = mUp.z < 0.0 ? -1.0 : 1.0;
    return {rowX, rowY, cross(away, rowX), cross(away, rowY), upward * slopeX, upward * slopeY};
  }
  Place place(Vector const& eye, Vector const& direction) const {
    Vector const from = eye - mAt;
    Vector const found = from - dot(mUp, from) / dot(mUp, direction) * direction;
    return {dot(mX, found), dot(mY, found)};
  }

private:
  Vector mAt;
  Vector mX;
  Vector mY;
  Vector mUp;
};

/// The sum of products of neighbouring elements.
template <std::size_t Size>
double product(std::array<double, Size> const& matrix, std::size_t a, std::size_t b) {
  constexpr std::size_t columns = Size / 3;
  double sum = 0.0;
  for (std::size_t i = 0; i < columns; ++i) {
    sum += matrix[columns * a + i] * matrix[columns * b + i];
  }
  return sum;
}

template <std::size_t Size>
Covariance covarianceOf(std::array<double, Size> const& matrix) {
  return {product(matrix, 0, 0), product(matrix, 0, 1), product(matrix, 0, 2),
          product(matrix, 1, 1), product(matrix, 1, 2), product(matrix, 2, 2)};
}

Covariance sum(Covariance const& a, Covariance const& b) {
  return {a.xx + b.xx, a.xy + b.xy, a.xz + b.xz, a.yy + b.yy, a.yz + b.yz, a.zz + b.zz};
}

Covariance times(double factor, Covariance const& c) {
  return {factor * c.xx, factor * c.xy, factor * c.xz, factor * c.yy, factor * c.yz, factor * c.zz};
}

GroundErrors errorsOf(Rows const& rows, double time, double heightSigma) {
  GroundErrors errors{};
  errors.time = time;
  std::copy_n(rows.x, Rows::trajectory, errors.trajectory.begin());
  std::copy_n(rows.y, Rows::trajectory, errors.trajectory.begin() + Rows::trajectory);
  constexpr std::size_t measuring = Rows::columns - Rows::trajectory;
  std::copy_n(rows.x + Rows::trajectory, measuring, errors.measuring.begin());
  std::copy_n(rows.y + Rows::trajectory, measuring, errors.measuring.begin() + measuring);
  errors.measuring.back() = heightSigma;
  return errors;
}

GroundErrors noErrors() {
  GroundErrors errors{};
  errors.time = detail::NAN_VALUE;
  errors.trajectory.fill(detail::NAN_VALUE);
  errors.measuring.fill(detail::NAN_VALUE);
  return errors;
}

/// The errors of single positions of a band; for one thread.
class ErrorsOfBand {
public:
  ErrorsOfBand(detail::OpenStrip const& strip, int band, AccuracyOptions const& options,
               detail::AccuracyTable const& accuracies)
      : projector(strip, band), mOptions(options), mAccuracies(accuracies) {}

  /// Of a ground position in the local system, with the status of the result. The heights' surface runs through it.
  template <class Surface>
  Status set(geo::XYPoint const& image, geo::XYZPoint const& ground, Surface const& surface, GroundErrors& errors) {
    if (!projector.hasLine(image.y)) {
      return Status::noSolution;
    }
    detail::Projector::Camera const& camera = projector.camera(image.y);
    Vector const away = ground - camera.pose.centre;
    if (!(away.z < 0.0 && dot(camera.pose.up, away) < 0.0)) {
      return Status::noSolution;
    }
    Deviations const sigma = mAccuracies.at(camera.time);
    Rows rows;
    detail::setTrajectoryOf(rows, surface.cut(away), camera.pose.up, sigma.data(), mOptions.heightSigma);
    detail::CornersOf<double> corners;
    setPlaces(corners.before, surface, image.x, image.y - mOptions.imageSigma);
    setPlaces(corners.after, surface, image.x, image.y + mOptions.imageSigma);
    detail::setMeasuringOf(rows, corners);
    errors = errorsOf(rows, camera.time + projector.chain().epoch(), mOptions.heightSigma);
    return projector.status(image, camera.time);
  }

  detail::Projector projector;

private:
  template <class Surface>
  // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): sample and line in their order
  void setPlaces(Place (&places)[2], Surface const& surface, double sample, double line) const {
    detail::ViewChain const& chain = projector.chain();
    detail::Pose const pose = chain.pose(chain.pieceAt(line), line);
    places[0] = surface.place(pose.centre, chain.ray(pose, sample - mOptions.imageSigma));
    places[1] = surface.place(pose.centre, chain.ray(pose, sample + mOptions.imageSigma));
  }

  AccuracyOptions const& mOptions;
  detail::AccuracyTable const& mAccuracies;
};

void requireSigmas(AccuracyOptions const& options) {
  Deviations const none{};
  Deviations const given = options.trajectory ? detail::deviationsOf(*options.trajectory) : none;
  auto const isSigma = [](double sigma) { return std::isfinite(sigma) && sigma >= 0.0; };
  if (!isSigma(options.imageSigma) || !isSigma(options.heightSigma) ||
      !std::all_of(given.begin(), given.end(), isSigma)) {
    throw std::invalid_argument("standard deviations must be finite and not negative");
  }
}

// 1 - exp(-|dt| / T): how much of an error at one time is independent of that at another.
double changeBetween(GroundErrors const& a, GroundErrors const& b, double correlationTime) {
  if (!(correlationTime > 0.0)) {
    throw std::invalid_argument("the correlation time must be positive");
  }
  return -std::expm1(-std::fabs(b.time - a.time) / correlationTime);
}

/// A call, and what all its parts share.
struct AccuracyCall {
  std::span<geo::XYPoint const> image;
  std::span<geo::XYZPoint const> ground;
  AccuracyOptions const& options;
  std::span<GroundErrors> errors;
  std::span<Covariance> covariances;
  std::span<Status> status;
  detail::AccuracyTable const& accuracies;
};

/// Some points of a call.
class AccuracyPart {
public:
  AccuracyPart(detail::OpenStrip const& strip, int band, AccuracyCall const& call)
      : mErrors(strip, band, call.options, call.accuracies), mCall(call),
        mToLocal(call.options.system ? strip.conversion(*call.options.system, strip.localSystem()) : nullptr),
        mIsLocal(!call.options.system || *call.options.system == strip.localSystem()) {
    if (!mIsLocal) {
      mStep = STEP / call.options.system->horizontalUnit().metres;
    }
  }

  void find(std::size_t begin, std::size_t end) {
    bool const inLanes = mIsLocal && mErrors.projector.hasLanes() && end - begin > 1;
    for (std::size_t i = begin; i < end; i += POINTS_PER_BLOCK) {
      std::size_t const count = std::min(POINTS_PER_BLOCK, end - i);
      if (inLanes) {
        findInLanes(i, count);
      } else if (mIsLocal) {
        for (std::size_t k = i; k < i + count; ++k) {
          findLocal(k);
        }
      } else {
        findConverted(i, count);
      }
    }
  }

private:
  static constexpr std::size_t POINTS_PER_BLOCK = 512;
  static constexpr double STEP = 10.0;  // metres, along which a system's axes are straight

  // Those that the lanes leave, one after the other.
  void findInLanes(std::size_t begin, std::size_t count) {
    mRest.resize(count);
    std::size_t const rest = mErrors.projector.findErrorsInLanes(
        {&mCall.image[begin], &mCall.ground[begin], count, mCall.accuracies, mErrors.projector.chain().epoch(),
         mCall.options.imageSigma, mCall.options.heightSigma, mCall.errors.empty() ? nullptr : &mCall.errors[begin],
         mCall.covariances.empty() ? nullptr : &mCall.covariances[begin], &mCall.status[begin], mRest.data()});
    for (std::size_t n = 0; n < rest; ++n) {
      findLocal(begin + mRest[n]);
    }
  }

  void findLocal(std::size_t i) {
    GroundErrors errors;
    Status const status = isGiven(i)
                              ? mErrors.set(mCall.image[i], mCall.ground[i], HorizontalPlane(mCall.ground[i].z), errors)
                              : Status::notFinite;
    store(i, errors, status);
  }

  void findConverted(std::size_t begin, std::size_t count) {
    convert(begin, count);
    for (std::size_t k = 0; k < count; ++k) {
      std::size_t const i = begin + k;
      GroundErrors errors;
      store(i, errors, isGiven(i) ? setConverted(i, k, errors) : Status::notFinite);
    }
  }

  Status setConverted(std::size_t i, std::size_t k, GroundErrors& errors) {
    Vector const stepX = mAlongX[k] - mLocal[k];
    Vector const stepY = mAlongY[k] - mLocal[k];
    if (!(detail::isFinite(stepX) && detail::isFinite(stepY))) {
      return Status::notTransformable;
    }
    return mErrors.set(mCall.image[i], mLocal[k], TangentPlane(mLocal[k], stepX, stepY), errors);
  }

  bool isGiven(std::size_t i) const { return detail::isFinite(mCall.image[i]) && detail::isFinite(mCall.ground[i]); }

  void store(std::size_t i, GroundErrors const& found, Status status) {
    GroundErrors const errors = hasResult(status) ? found : noErrors();
    mCall.status[i] = status;
    if (!mCall.errors.empty()) {
      mCall.errors[i] = errors;
    }
    if (!mCall.covariances.empty()) {
      mCall.covariances[i] = errors.covariance();
    }
  }

  // The positions, and those a small step along x and along y.
  void convert(std::size_t begin, std::size_t count) {
    auto const given = mCall.ground.subspan(begin, count);
    for (auto const& [positions, step] : {std::pair(&mLocal, Vector()), std::pair(&mAlongX, Vector(mStep, 0.0, 0.0)),
                                          std::pair(&mAlongY, Vector(0.0, mStep, 0.0))}) {
      Vector const along = step;
      positions->resize(count);
      std::transform(given.begin(), given.end(), positions->begin(), [&](Vector const& p) { return p + along; });
      mToLocal(*positions, *positions);
    }
  }

  ErrorsOfBand mErrors;
  AccuracyCall const& mCall;
  detail::Converter mToLocal;
  bool mIsLocal;
  double mStep = 0.0;
  std::vector<std::uint32_t> mRest;
  std::vector<geo::XYZPoint> mLocal;
  std::vector<geo::XYZPoint> mAlongX;
  std::vector<geo::XYZPoint> mAlongY;
};

}  // namespace

Covariance GroundErrors::covariance() const {
  return sum(covarianceOf(trajectory), covarianceOf(measuring));
}

// With A and B the two trajectory matrices and r = exp(-|dt| / T) the correlation of their errors, the covariance of the
// difference is A A' + B B' - r (A B' + B A') = r (A - B)(A - B)' + (1 - r)(A A' + B B'), where nothing cancels for
// neighbours.
Covariance relativeCovariance(GroundErrors const& a, GroundErrors const& b, double correlationTime) {
  double const change = changeBetween(a, b, correlationTime);
  std::array<double, 3 * Rows::trajectory> difference{};
  std::transform(a.trajectory.begin(), a.trajectory.end(), b.trajectory.begin(), difference.begin(), std::minus<>());
  Covariance const independent = sum(covarianceOf(a.trajectory), covarianceOf(b.trajectory));
  return sum(sum(times(1.0 - change, covarianceOf(difference)), times(change, independent)),
             sum(covarianceOf(a.measuring), covarianceOf(b.measuring)));
}

// The same, error by error: the root of its r or 1 - r is a factor of its column.
Covariance relativeCovariance(GroundErrors const& a, GroundErrors const& b, CorrelationTimes const& correlationTimes) {
  auto const& [position, attitude] = correlationTimes;
  std::array<double, Rows::trajectory> const times{position.x,     position.y,   position.z,
                                                   attitude.omega, attitude.phi, attitude.kappa};
  std::array<double, 3 * Rows::trajectory> difference{};
  std::array<double, 3 * Rows::trajectory> changeOfA{};
  std::array<double, 3 * Rows::trajectory> changeOfB{};
  for (std::size_t column = 0; column < times.size(); ++column) {
    double const change = changeBetween(a, b, times[column]);
    for (std::size_t i = column; i < difference.size(); i += times.size()) {
      difference[i] = std::sqrt(1.0 - change) * (a.trajectory[i] - b.trajectory[i]);
      changeOfA[i] = std::sqrt(change) * a.trajectory[i];
      changeOfB[i] = std::sqrt(change) * b.trajectory[i];
    }
  }
  return sum(sum(covarianceOf(difference), sum(covarianceOf(changeOfA), covarianceOf(changeOfB))),
             sum(covarianceOf(a.measuring), covarianceOf(b.measuring)));
}

std::size_t Band::accuracy(std::span<geo::XYPoint const> image, std::span<geo::XYZPoint const> ground,
                           AccuracyOptions const& options, std::span<GroundErrors> errors,
                           std::span<Covariance> covariances, std::span<Status> status) const {
  detail::requireSize(ground, image.size());
  detail::requireSizeOrNone(errors, image.size());
  detail::requireSizeOrNone(covariances, image.size());
  detail::requireSize(status, image.size());
  requireSigmas(options);
  std::optional<detail::AccuracyTable> constant;
  if (options.trajectory) {
    constant.emplace(detail::deviationsOf(*options.trajectory));
  }
  AccuracyCall const call{
      image, ground, options, errors, covariances, status, constant ? *constant : mStrip->accuracies(mIndex)};
  detail::forEachPart(image.size(), options.threads, [&](std::size_t begin, std::size_t end) {
    AccuracyPart part(*mStrip, mIndex, call);
    part.find(begin, end);
  });
  return detail::countResults(status);
}

}  // namespace kes
