// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Checks.h"
#include "PointParts.h"
#include "Projector.h"
#include "Vectors.h"

#include <kes/Band.h>
#include <kes/Partials.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace kes {

namespace {

using detail::cross;
using detail::dot;
using detail::Vector;
// clang-tidy 14 doesn't see where an operator is used.
// NOLINTBEGIN(misc-unused-using-decls)
using detail::operator+;
using detail::operator-;
using detail::operator*;
// NOLINTEND(misc-unused-using-decls)

/// A place in a band's tables of lines and orientation.
struct Moment {
  std::size_t interval;         ///< Of the lines.
  double lines;                 ///< After that interval's beginning.
  double time;                  ///< Since the chain's epoch.
  std::size_t record;           ///< The interval of the orientation.
  double part;                  ///< Of the orientation's interval.
  detail::Quaternion attitude;  ///< Of any length.
  Vector position;              ///< In the local system.
};

/// Of a line of the table, `later` seconds after its own time.
Moment momentOf(detail::ViewChain const& chain, double line, double later = 0.0) {
  Moment moment;
  moment.interval = chain.lines().intervalOf(line);
  moment.lines = line - chain.lines().lineOf(moment.interval);
  detail::LineTable::Interval const& interval = chain.lines()[moment.interval];
  moment.time = interval.time + interval.timeStep * moment.lines + later;
  moment.record = chain.orientation().find(moment.time, chain.lines().record(moment.interval));
  detail::OrientationTable::Interval const& record = chain.orientation()[moment.record];
  double const w = moment.part = detail::partOf(record, moment.time);
  moment.attitude = {record.attitude.q0 + w * record.attitudeStep.q0, record.attitude.q1 + w * record.attitudeStep.q1,
                     record.attitude.q2 + w * record.attitudeStep.q2, record.attitude.q3 + w * record.attitudeStep.q3};
  moment.position = detail::centreOf<Vector>(record, w);
  return moment;
}

double squaredLength(detail::Quaternion const& q) {
  return q.q0 * q.q0 + q.q1 * q.q1 + q.q2 * q.q2 + q.q3 * q.q3;
}

/// The rotation from the camera into the local system by its columns, the camera's axes with a length of 1.
struct CameraAxes {
  Vector along;
  Vector across;
  Vector up;

  Vector toLocal(Vector const& v) const { return v.x * along + v.y * across + v.z * up; }
  Vector toCamera(Vector const& v) const { return {dot(along, v), dot(across, v), dot(up, v)}; }
};

CameraAxes axesOf(detail::Turn<double> const& turn) {
  double const perLength = 1.0 / turn.half;
  return {perLength * detail::alongOf<Vector>(turn), perLength * detail::acrossOf<Vector>(turn),
          perLength * detail::upOf<Vector>(turn)};
}

/// The rotation vector, about the camera's axes, of a small step of its quaternion. (The derivative of a quaternion q
/// that turns the ground into the camera is -(0, w) q / 2 for an angular velocity w of the camera; the length of q
/// cancels out.)
Vector turnOfStep(detail::Quaternion const& q, detail::Quaternion const& step) {
  Vector const v(q.q1, q.q2, q.q3);
  Vector const dv(step.q1, step.q2, step.q3);
  return 2.0 / squaredLength(q) * (step.q0 * v - q.q0 * dv + cross(dv, v));
}

Vector vectorOf(std::array<double, 3> const& v) {
  return {v[0], v[1], v[2]};
}

/// Exp(rotation), by Rodrigues' formula; nothing changes exactly without a rotation.
class Turning {
public:
  explicit Turning(std::array<double, 3> const& rotation) : mRotation(vectorOf(rotation)) {
    double const angle = std::sqrt(dot(mRotation, mRotation));
    mIsNone = angle == 0.0;
    if (!mIsNone) {
      double const halfSine = std::sin(0.5 * angle) / (0.5 * angle);
      mSine = std::sin(angle) / angle;
      mVersine = 0.5 * halfSine * halfSine;
    }
  }
  Vector turned(Vector const& v) const { return turned(v, mSine); }
  Vector turnedBack(Vector const& v) const { return turned(v, -mSine); }

private:
  Vector turned(Vector const& v, double sine) const {
    if (mIsNone) {
      return v;
    }
    Vector const once = cross(mRotation, v);
    return v + sine * once + mVersine * cross(mRotation, once);
  }

  Vector mRotation;
  bool mIsNone;
  double mSine = 0.0;     // for each radian
  double mVersine = 0.0;  // for each square radian
};

/// A row of a 2 x 3 matrix.
void setRow(std::array<double, 6>& matrix, std::size_t row, Vector const& v) {
  matrix[3 * row] = v.x;
  matrix[3 * row + 1] = v.y;
  matrix[3 * row + 2] = v.z;
}

/// The formulae of `ResidualPartials` at one image position.
class Residual {
public:
  // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): two positions of different types
  Residual(detail::ViewChain const& chain, geo::XYPoint const& image, ModelCorrections const& corrections)
      : mChain(chain), mSample(image.x), mCorrections(corrections), mAttitude(corrections.attitude),
        mBoresight(corrections.boresight), mMoment(momentOf(chain, image.y, corrections.time)),
        mAxes(axesOf(detail::turnOf(chain.orientation()[mMoment.record], mMoment.part))),
        mFocalLength(chain.focalLength() + corrections.focalLength) {}

  double time() const { return mMoment.time; }

  /// False for a position that isn't in front of the camera.
  bool set(geo::XYZPoint const& ground, ResidualPartials& result) {
    // In the camera's axes by the orientation; with its attitude corrected; with the boresight.
    Vector const away = ground - (mMoment.position + vectorOf(mCorrections.position));
    mCorrected = mAttitude.turnedBack(mAxes.toCamera(away));
    mSighted = mBoresight.turnedBack(mCorrected);
    mSeen = mSighted - vectorOf(mCorrections.leverArm);
    if (!(mSeen.z < 0.0)) {
      return false;
    }
    mRatioX = mSeen.x / mSeen.z;
    mRatioY = mSeen.y / mSeen.z;
    setByRays(result);
    setByTime(result);
    setByCamera(result);
    setByImage(result);
    return true;
  }

private:
  // The residual's slopes k by u, and what u's derivatives make of them: B' w turns into B' w x d for a further
  // rotation d.
  void setByRays(ResidualPartials& result) const {
    double const scale = mFocalLength / mSeen.z;
    Vector const slopes[] = {{scale, 0.0, -scale * mRatioX}, {0.0, scale, -scale * mRatioY}};
    for (std::size_t row = 0; row < 2; ++row) {
      Vector const& k = slopes[row];
      Vector const beforeBoresight = mBoresight.turned(k);
      Vector const byGround = mAxes.toLocal(mAttitude.turned(beforeBoresight));
      setRow(result.byLeverArm, row, -1.0 * k);
      setRow(result.byBoresight, row, cross(k, mSighted));
      setRow(result.byAttitude, row, cross(beforeBoresight, mCorrected));
      setRow(result.byGround, row, byGround);
      setRow(result.byPosition, row, -1.0 * byGround);
    }
  }

  // The camera moves and turns at the rates of the orientation's interval.
  void setByTime(ResidualPartials& result) const {
    detail::OrientationTable::Interval const& record = mChain.orientation()[mMoment.record];
    Vector const velocity = record.rate * record.positionStep;
    Vector const turning = record.rate * mAttitude.turnedBack(turnOfStep(mMoment.attitude, record.attitudeStep));
    for (std::size_t row = 0; row < 2; ++row) {
      double const* const position = &result.byPosition[3 * row];
      double const* const attitude = &result.byAttitude[3 * row];
      result.byTime[row] = position[0] * velocity.x + position[1] * velocity.y + position[2] * velocity.z +
                           (attitude[0] * turning.x + attitude[1] * turning.y + attitude[2] * turning.z);
    }
  }

  void setByCamera(ResidualPartials& result) const {
    auto const [n, perSample] = mChain.sensorLine().normalised(mSample);
    double const bend = 0.5 * (3.0 * n * n - 1.0);
    std::array<double, 5> const& line = mCorrections.line;
    detail::LineTable::Correction const correction = mChain.lines().correctionOf(mMoment.interval);
    double const shift = mChain.pixelSize() * (correction.lines + correction.step * mMoment.lines);
    geo::XYPoint const focal = mChain.sensorLine().focal(mSample);
    result.byFocalLength = {mRatioX, mRatioY};
    result.byPrincipalPoint = {-1.0, 0.0, 0.0, -1.0};
    result.byLine = {1.0, 0.0, n, bend, 0.0, 0.0, 1.0, 0.0, 0.0, n};
    result.residual = {mFocalLength * mRatioX + (focal.x + shift) - mCorrections.principalPoint[0] +
                           (line[0] + line[2] * n + line[3] * bend),
                       mFocalLength * mRatioY + focal.y - mCorrections.principalPoint[1] + (line[1] + line[4] * n)};
    geo::XYPoint const slope = mChain.sensorLine().slope(mSample);
    result.byImage[0] = slope.x + (line[2] + 3.0 * line[3] * n) * perSample;
    result.byImage[2] = slope.y + line[4] * perSample;
  }

  void setByImage(ResidualPartials& result) const {
    double const timeStep = mChain.lines()[mMoment.interval].timeStep;
    double const shiftStep = mChain.pixelSize() * mChain.lines().correctionOf(mMoment.interval).step;
    result.byImage[1] = result.byTime[0] * timeStep + shiftStep;
    result.byImage[3] = result.byTime[1] * timeStep;
  }

  detail::ViewChain const& mChain;
  double mSample;
  ModelCorrections const& mCorrections;
  Turning mAttitude;
  Turning mBoresight;
  Moment mMoment;
  CameraAxes mAxes;
  double mFocalLength;
  Vector mCorrected;
  Vector mSighted;
  Vector mSeen;
  double mRatioX = 0.0;
  double mRatioY = 0.0;
};

ResidualPartials undefined() {
  static_assert(sizeof(ResidualPartials) % sizeof(double) == 0);
  ResidualPartials none;
  for (auto const part :
       {std::span<double>(none.residual), std::span<double>(none.byGround), std::span<double>(none.byPosition),
        std::span<double>(none.byAttitude), std::span<double>(none.byBoresight), std::span<double>(none.byLeverArm),
        std::span<double>(none.byTime), std::span<double>(none.byFocalLength), std::span<double>(none.byPrincipalPoint),
        std::span<double>(none.byLine), std::span<double>(none.byImage)}) {
    std::fill(part.begin(), part.end(), detail::NAN_VALUE);
  }
  return none;
}

bool isFinite(ModelCorrections const& corrections) {
  auto const isNumber = [](double value) { return std::isfinite(value); };
  for (auto const part :
       {std::span<double const>(corrections.position), std::span<double const>(corrections.attitude),
        std::span<double const>(corrections.boresight), std::span<double const>(corrections.leverArm),
        std::span<double const>(corrections.principalPoint), std::span<double const>(corrections.line)}) {
    if (!std::all_of(part.begin(), part.end(), isNumber)) {
      return false;
    }
  }
  return isNumber(corrections.time) && isNumber(corrections.focalLength);
}

/// Positions that see one another, and the corrections between them.
struct Sighting {
  geo::XYPoint const& image;
  geo::XYZPoint const& ground;
  ModelCorrections const& corrections;
};

Status setPartials(detail::Projector const& projector, Sighting const& sighting, ResidualPartials& partials) {
  if (!projector.hasLine(sighting.image.y)) {
    return Status::noSolution;
  }
  Residual residual(projector.chain(), sighting.image, sighting.corrections);
  return residual.set(sighting.ground, partials) ? projector.status(sighting.image, residual.time())
                                                 : Status::noSolution;
}

/// -A⁻¹ of a 2 x 2 matrix: what a function that stays zero asks of two of its arguments.
class Implicit {
public:
  // NOLINTNEXTLINE(bugprone-easily-swappable-parameters): elements in their order
  Implicit(double a, double b, double c, double d) {
    double const perDeterminant = -1.0 / (a * d - b * c);
    mFirst = {perDeterminant * d, -perDeterminant * b};
    mSecond = {-perDeterminant * c, perDeterminant * a};
  }
  /// For the derivatives of both components of the function by another argument.
  double first(double x, double y) const { return mFirst[0] * x + mFirst[1] * y; }
  double second(double x, double y) const { return mSecond[0] * x + mSecond[1] * y; }

private:
  std::array<double, 2> mFirst;
  std::array<double, 2> mSecond;
};

/// x and y from a matrix with two rows, and a z that stays.
template <std::size_t Three, std::size_t Two>
void setAtHeight(std::array<double, Three>& ground, Implicit const& implicit, std::array<double, Two> const& residual) {
  constexpr std::size_t columns = Two / 2;
  static_assert(Three == 3 * columns && Two == 2 * columns);
  for (std::size_t i = 0; i < columns; ++i) {
    ground[i] = implicit.first(residual[i], residual[columns + i]);
    ground[columns + i] = implicit.second(residual[i], residual[columns + i]);
    ground[2 * columns + i] = 0.0;
  }
}

}  // namespace

std::array<double, 6> imageByGround(ResidualPartials const& partials) {
  std::array<double, 4> const& a = partials.byImage;
  Implicit const implicit(a[0], a[1], a[2], a[3]);
  std::array<double, 6> result{};
  for (std::size_t i = 0; i < 3; ++i) {
    result[i] = implicit.first(partials.byGround[i], partials.byGround[3 + i]);
    result[3 + i] = implicit.second(partials.byGround[i], partials.byGround[3 + i]);
  }
  return result;
}

GroundPartials groundPartials(ResidualPartials const& partials) {
  std::array<double, 6> const& a = partials.byGround;
  Implicit const implicit(a[0], a[1], a[3], a[4]);
  GroundPartials result{};
  setAtHeight(result.byImage, implicit, partials.byImage);
  result.byHeight = {implicit.first(a[2], a[5]), implicit.second(a[2], a[5]), 1.0};
  setAtHeight(result.byPosition, implicit, partials.byPosition);
  setAtHeight(result.byAttitude, implicit, partials.byAttitude);
  setAtHeight(result.byBoresight, implicit, partials.byBoresight);
  setAtHeight(result.byLeverArm, implicit, partials.byLeverArm);
  setAtHeight(result.byTime, implicit, partials.byTime);
  setAtHeight(result.byFocalLength, implicit, partials.byFocalLength);
  setAtHeight(result.byPrincipalPoint, implicit, partials.byPrincipalPoint);
  setAtHeight(result.byLine, implicit, partials.byLine);
  return result;
}

std::size_t Band::partials(std::span<geo::XYPoint const> image, std::span<geo::XYZPoint const> ground,
                           std::span<ModelCorrections const> corrections, std::span<ResidualPartials> partials,
                           std::span<Status> status, int threads) const {
  detail::requireSize(ground, image.size());
  detail::requireSizeOrNone(corrections, image.size());
  detail::requireSize(partials, image.size());
  detail::requireSize(status, image.size());
  detail::forEachPart(image.size(), threads, [&](std::size_t begin, std::size_t end) {
    detail::Projector const projector(*mStrip, mIndex);
    ModelCorrections const none;
    for (std::size_t i = begin; i < end; ++i) {
      ModelCorrections const& own = corrections.empty() ? none : corrections[i];
      bool const isKnown =
          detail::isFinite(image[i]) && detail::isFinite(ground[i]) && (&own == &none || isFinite(own));
      status[i] = isKnown ? setPartials(projector, {image[i], ground[i], own}, partials[i]) : Status::notFinite;
      if (!hasResult(status[i])) {
        partials[i] = undefined();
      }
    }
  });
  return detail::countResults(status);
}

Band::WithPartials Band::partials(geo::XYPoint const& image, geo::XYZPoint const& ground,
                                  ModelCorrections const& corrections) const {
  WithPartials result{};
  partials({&image, 1}, {&ground, 1}, {&corrections, 1}, {&result.partials, 1}, {&result.status, 1});
  return result;
}

}  // namespace kes
