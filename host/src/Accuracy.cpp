// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AccuracyTable.h"
#include "CameraMotion.h"
#include "Checks.h"
#include "PointParts.h"
#include "Projector.h"

#include <kes/Accuracy.h>
#include <kes/Band.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kes {

namespace {

using detail::cross;
using detail::Deviations;
using detail::dot;
using detail::Vector;
using detail::operator+;
using detail::operator-;
using detail::operator*;

constexpr std::size_t TRAJECTORY = 6;  // columns
constexpr std::size_t MEASURING = 3;
constexpr std::size_t SAMPLE = 0;
constexpr std::size_t LINE = 1;
constexpr std::size_t HEIGHT = 2;

/// The axes of a system at a ground position in the local system, with a length of 1: along x, along y, and up from the
/// surface of equal heights.
struct GroundAxes {
  Vector x{1.0, 0.0, 0.0};
  Vector y{0.0, 1.0, 0.0};
  Vector up{0.0, 0.0, 1.0};
};

Vector normalised(Vector const& v) {
  return 1.0 / std::sqrt(dot(v, v)) * v;
}

/// From small steps along the system's x and y.
GroundAxes axesAlong(Vector const& stepX, Vector const& stepY) {
  GroundAxes axes;
  axes.x = normalised(stepX);
  axes.y = normalised(stepY - dot(stepY, axes.x) * axes.x);
  axes.up = cross(axes.x, axes.y);
  if (axes.up.z < 0.0) {
    axes.up = -1.0 * axes.up;
  }
  return axes;
}

/// How a displacement or turn of a line of sight moves the place where it meets a surface of equal heights: the rows x
/// and y of what maps one to the other.
///
/// The line of sight runs from the perspective centre along `away`. A displacement v of the line moves its place by
/// v - away (up v) / (up away); a turn w displaces the place by w x away.
class Cut {
public:
  Cut(GroundAxes const& axes, Vector const& away)
      : mDepth(dot(axes.up, away)), mSlopeX(dot(axes.x, away) / mDepth), mSlopeY(dot(axes.y, away) / mDepth),
        mX(axes.x - mSlopeX * axes.up), mY(axes.y - mSlopeY * axes.up), mTurnX(cross(away, mX)),
        mTurnY(cross(away, mY)) {}

  bool goesDown() const { return mDepth < 0.0; }
  double slopeX() const { return mSlopeX; }
  double slopeY() const { return mSlopeY; }
  Vector const& displacedX() const { return mX; }
  Vector const& displacedY() const { return mY; }
  double turnedX(Vector const& axis) const { return dot(axis, mTurnX); }
  double turnedY(Vector const& axis) const { return dot(axis, mTurnY); }

private:
  double mDepth;
  double mSlopeX;
  double mSlopeY;
  Vector mX;
  Vector mY;
  Vector mTurnX;
  Vector mTurnY;
};

/// Fills the columns of a point's errors.
class Columns {
public:
  Columns(Cut const& cut, GroundErrors& errors) : mCut(cut), mErrors(errors) {}

  void setTrajectory(Deviations const& sigma, Vector const& up) {
    Vector const& x = mCut.displacedX();
    Vector const& y = mCut.displacedY();
    // With the camera's rotation into the local system as those about x by omega, y by phi and z by kappa, one after
    // the other, a small change of an angle turns about the axis that the rotations before have led to.
    double const perCosine = 1.0 / std::sqrt(up.y * up.y + up.z * up.z);
    Vector const omega(1.0, 0.0, 0.0);
    Vector const phi(0.0, up.z * perCosine, -up.y * perCosine);
    mErrors.trajectory = {sigma[0] * x.x,
                          sigma[1] * x.y,
                          sigma[2] * x.z,
                          sigma[3] * mCut.turnedX(omega),
                          sigma[4] * mCut.turnedX(phi),
                          sigma[5] * mCut.turnedX(up),
                          sigma[0] * y.x,
                          sigma[1] * y.y,
                          sigma[2] * y.z,
                          sigma[3] * mCut.turnedY(omega),
                          sigma[4] * mCut.turnedY(phi),
                          sigma[5] * mCut.turnedY(up),
                          0.0,
                          0.0,
                          0.0,
                          0.0,
                          0.0,
                          0.0};
  }

  void setMeasuring(std::size_t column, Vector const& displacement, Vector const& turn) {
    mErrors.measuring[column] = dot(mCut.displacedX(), displacement) + mCut.turnedX(turn);
    mErrors.measuring[MEASURING + column] = dot(mCut.displacedY(), displacement) + mCut.turnedY(turn);
    mErrors.measuring[2 * MEASURING + column] = 0.0;
  }

  void setHeight(double sigma) {
    mErrors.measuring[HEIGHT] = sigma * mCut.slopeX();
    mErrors.measuring[MEASURING + HEIGHT] = sigma * mCut.slopeY();
    mErrors.measuring[2 * MEASURING + HEIGHT] = sigma;
  }

private:
  Cut const& mCut;
  GroundErrors& mErrors;
};

/// The sum of products of two rows' elements.
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

/// The errors of positions of a band; for one thread.
class ErrorsOfBand {
public:
  ErrorsOfBand(detail::OpenStrip const& strip, int band, AccuracyOptions const& options)
      : mProjector(strip, band), mOptions(options) {
    if (options.trajectory) {
      mConstant = detail::deviationsOf(*options.trajectory);
    } else {
      mTable = &strip.accuracies(band);
    }
  }

  bool hasLine(double line) const { return mProjector.hasLine(line); }

  /// With the status of the result; `ground` is in the local system.
  Status set(geo::XYPoint const& image, geo::XYZPoint const& ground, GroundAxes const& axes, GroundErrors& errors) {
    detail::ViewChain const& chain = mProjector.chain();
    detail::Moment const moment = detail::momentOf(chain, image.y);
    detail::CameraAxes const camera = detail::axesOf(detail::turnOf(chain.orientation()[moment.record], moment.part));
    Vector const away = ground - moment.position;
    Cut const cut(axes, away);
    double const depth = -dot(camera.up, away);
    if (!(cut.goesDown() && depth > 0.0)) {
      return Status::noSolution;
    }
    errors.time = moment.time + chain.epoch();
    Columns columns(cut, errors);
    columns.setTrajectory(mTable != nullptr ? mTable->at(moment.record, moment.part) : mConstant, camera.up);
    columns.setHeight(mOptions.heightSigma);
    double const sigma = mOptions.imageSigma;
    // The focal plane's distances on the ground.
    double const scale = depth / chain.focalLength();
    geo::XYPoint const before = chain.sensorLine().focal(image.x - sigma);
    geo::XYPoint const after = chain.sensorLine().focal(image.x + sigma);
    columns.setMeasuring(
        SAMPLE, 0.5 * scale * ((after.x - before.x) * camera.along + (after.y - before.y) * camera.across), {});
    setLine(columns, image.y, moment, camera, scale);
    return mProjector.status(image, moment.time);
  }

private:
  // A standard deviation to either side, so that the orientation's scatter from record to record, which turns slopes at
  // one place into those of a moment, has no part in it.
  void setLine(Columns& columns, double line, detail::Moment const& moment, detail::CameraAxes const& camera,
               double scale) const {
    detail::ViewChain const& chain = mProjector.chain();
    detail::Moment const before = detail::momentOf(chain, line - mOptions.imageSigma);
    detail::Moment const after = detail::momentOf(chain, line + mOptions.imageSigma);
    detail::Quaternion const step{after.attitude.q0 - before.attitude.q0, after.attitude.q1 - before.attitude.q1,
                                  after.attitude.q2 - before.attitude.q2, after.attitude.q3 - before.attitude.q3};
    double const shift = chain.pixelSize() * (chain.lines().correction(after.interval, after.lines) -
                                              chain.lines().correction(before.interval, before.lines));
    columns.setMeasuring(LINE, 0.5 * (after.position - before.position) + 0.5 * scale * shift * camera.along,
                         camera.toLocal(0.5 * detail::turnOfStep(moment.attitude, step)));
  }

  detail::Projector mProjector;
  AccuracyOptions const& mOptions;
  detail::AccuracyTable const* mTable = nullptr;
  Deviations mConstant{};
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

/// A call, and what all its parts share.
struct AccuracyCall {
  std::span<geo::XYPoint const> image;
  std::span<geo::XYZPoint const> ground;
  AccuracyOptions const& options;
  std::span<GroundErrors> errors;
  std::span<Covariance> covariances;
  std::span<Status> status;
};

/// Some points of a call.
class AccuracyPart {
public:
  AccuracyPart(detail::OpenStrip const& strip, int band, AccuracyCall const& call)
      : mErrors(strip, band, call.options), mCall(call),
        mToLocal(call.options.system ? strip.conversion(*call.options.system, strip.localSystem()) : nullptr),
        mIsLocal(!call.options.system || *call.options.system == strip.localSystem()) {
    if (!mIsLocal) {
      mStep = STEP / call.options.system->horizontalUnit().metres;
    }
  }

  void find(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; i += POINTS_PER_BLOCK) {
      findBlock(i, std::min(POINTS_PER_BLOCK, end - i));
    }
  }

private:
  static constexpr std::size_t POINTS_PER_BLOCK = 512;
  static constexpr double STEP = 10.0;  // metres, along which a system's axes are straight

  void findBlock(std::size_t begin, std::size_t count) {
    if (!mIsLocal) {
      convert(begin, count);
    }
    GroundAxes const local;
    for (std::size_t k = 0; k < count; ++k) {
      std::size_t const i = begin + k;
      GroundErrors own;
      GroundErrors& errors = mCall.errors.empty() ? own : mCall.errors[i];
      Status const status = mIsLocal ? find(i, mCall.ground[i], local, errors) : findConverted(i, k, errors);
      mCall.status[i] = status;
      if (!hasResult(status)) {
        setNothing(errors);
      }
      if (!mCall.covariances.empty()) {
        mCall.covariances[i] = errors.covariance();
      }
    }
  }

  Status find(std::size_t i, geo::XYZPoint const& local, GroundAxes const& axes, GroundErrors& errors) {
    if (!detail::isFinite(mCall.image[i]) || !detail::isFinite(mCall.ground[i])) {
      return Status::notFinite;
    }
    return mErrors.hasLine(mCall.image[i].y) ? mErrors.set(mCall.image[i], local, axes, errors) : Status::noSolution;
  }

  Status findConverted(std::size_t i, std::size_t k, GroundErrors& errors) {
    Vector const& local = mLocal[k];
    Vector const stepX = mAlongX[k] - local;
    Vector const stepY = mAlongY[k] - local;
    if (detail::isFinite(mCall.ground[i]) && !(detail::isFinite(stepX) && detail::isFinite(stepY))) {
      return Status::notTransformable;
    }
    return find(i, local, axesAlong(stepX, stepY), errors);
  }

  // The positions, and those a small step along x and along y.
  void convert(std::size_t begin, std::size_t count) {
    auto const given = mCall.ground.subspan(begin, count);
    for (auto const& [positions, step] : {std::pair(&mLocal, Vector()), std::pair(&mAlongX, Vector(mStep, 0.0, 0.0)),
                                          std::pair(&mAlongY, Vector(0.0, mStep, 0.0))}) {
      positions->resize(count);
      std::transform(given.begin(), given.end(), positions->begin(), [&](Vector const& p) { return p + step; });
      mToLocal(*positions, *positions);
    }
  }

  static void setNothing(GroundErrors& errors) {
    errors.time = detail::NAN_VALUE;
    errors.trajectory.fill(detail::NAN_VALUE);
    errors.measuring.fill(detail::NAN_VALUE);
  }

  ErrorsOfBand mErrors;
  AccuracyCall const& mCall;
  detail::Converter mToLocal;
  bool mIsLocal;
  double mStep = 0.0;
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
  if (!(correlationTime > 0.0)) {
    throw std::invalid_argument("the correlation time must be positive");
  }
  double const change = -std::expm1(-std::fabs(b.time - a.time) / correlationTime);
  std::array<double, 3 * TRAJECTORY> difference{};
  std::transform(a.trajectory.begin(), a.trajectory.end(), b.trajectory.begin(), difference.begin(), std::minus<>());
  Covariance const independent = sum(covarianceOf(a.trajectory), covarianceOf(b.trajectory));
  return sum(sum(times(1.0 - change, covarianceOf(difference)), times(change, independent)),
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
  AccuracyCall const call{image, ground, options, errors, covariances, status};
  detail::forEachPart(image.size(), options.threads, [&](std::size_t begin, std::size_t end) {
    AccuracyPart part(*mStrip, mIndex, call);
    part.find(begin, end);
  });
  return detail::countResults(status);
}

}  // namespace kes
