// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// What a block's points are made of: the lines of sight of image points, and what is known of the ground.

#include "BlockProblem.h"

#include <Eigen/Eigenvalues>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <tuple>

namespace kesadjust {

namespace {

/// Rays whose sum of squared sines leaves a direction with less than this, for each ray, don't meet: 3 degrees.
constexpr double leastIntersection = 3e-3;
/// Half of the way along which the slope of a surface is measured, metres.
constexpr double slopeArm = 2.0;

std::string counted(std::size_t count, std::string const& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// The point with the least squared distances from lines of sight (sum of I - d d^T).
class Intersection {
public:
  void add(Eigen::Vector3d const& centre, Eigen::Vector3d const& direction) {
    Eigen::Matrix3d const across = Eigen::Matrix3d::Identity() - direction * direction.transpose();
    mNormals += across;
    mRight += across * centre;
    ++mRays;
  }
  std::optional<Eigen::Vector3d> point() const {
    if (mRays < 2) {
      return std::nullopt;
    }
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> const eigen(mNormals);
    if (!(eigen.eigenvalues()(0) > leastIntersection * mRays)) {
      return std::nullopt;
    }
    return Eigen::Vector3d(mNormals.inverse() * mRight);
  }

private:
  Eigen::Matrix3d mNormals = Eigen::Matrix3d::Zero();
  Eigen::Vector3d mRight = Eigen::Vector3d::Zero();
  int mRays = 0;
};

}  // namespace

void BlockProblem::addPoints(Measurements const& measurements) {
  for (GroundMeasurement const& given : measurements.ground) {
    BlockPoint point{given.id,
                     given.isCheck ? PointRole::check : PointRole::control,
                     given,
                     neighbourhoodOf(mGroundSystem, given.position, mSystem),
                     {}};
    if (!point.neighbourhood->local.allFinite() || !point.neighbourhood->toSystem.allFinite()) {
      mRemarks.push_back("ground point " + given.id + " can't be converted, and is left out");
      continue;
    }
    if (!mPointOf.emplace(given.id, 0).second) {
      mRemarks.push_back("ground point " + given.id + " is given twice; the first one counts");
      continue;
    }
    mPoints.push_back(std::move(point));
  }
  for (ImageMeasurement const& measurement : measurements.image) {
    if (mPointOf.emplace(measurement.point, 0).second) {
      mPoints.push_back({measurement.point, PointRole::tie, {}, {}, {}});
    }
  }
  std::sort(mPoints.begin(), mPoints.end(), [](BlockPoint const& a, BlockPoint const& b) { return a.name < b.name; });
  for (std::size_t i = 0; i < mPoints.size(); ++i) {
    mPointOf[mPoints[i].name] = static_cast<int>(i);
  }
}

void BlockProblem::addImagePoints(std::vector<ImageMeasurement> measurements) {
  auto const key = [](ImageMeasurement const& m) {
    return std::tie(m.strip, m.band, m.point, m.position.y, m.position.x, m.sigma.y, m.sigma.x);
  };
  std::sort(measurements.begin(), measurements.end(),
            [&](ImageMeasurement const& a, ImageMeasurement const& b) { return key(a) < key(b); });
  auto const isSame = [](ImageMeasurement const& a, ImageMeasurement const& b) {
    return std::tie(a.strip, a.band, a.point, a.position.y, a.position.x) ==
           std::tie(b.strip, b.band, b.point, b.position.y, b.position.x);
  };
  auto const end = std::unique(measurements.begin(), measurements.end(), isSame);
  if (end != measurements.end()) {
    mRemarks.push_back(counted(static_cast<std::size_t>(measurements.end() - end), "image point") +
                       " given more than once: one of each counts");
  }
  measurements.erase(end, measurements.end());
  for (ImageMeasurement& measurement : measurements) {
    auto const image = mImageOf.find({measurement.strip, measurement.band});
    if (image == mImageOf.end()) {
      bool const isKnown = std::any_of(mStrips.begin(), mStrips.end(), [&](StripPart const& strip) {
        return strip.strip->name() == measurement.strip;
      });
      throw std::invalid_argument(isKnown
                                      ? "strip \"" + measurement.strip + "\" has no band \"" + measurement.band + "\""
                                      : "no strip is named " + measurement.strip);
    }
    int const point = mPointOf.at(measurement.point);
    mImagePoints.push_back({std::move(measurement), image->second, point, 0.0, {}});
  }
}

/// Times of the image points; those without a line of sight are left out.
void BlockProblem::findSights() {
  auto const hasNone = [this](ImageObservation& observation) {
    kes::Ray ray{};
    kes::Status status{};
    kes::Band const& band = mImages[static_cast<std::size_t>(observation.image)].band;
    std::size_t const found = band.rays({&observation.measurement.position, 1}, {&ray, 1}, {&status, 1});
    observation.time = ray.time;
    return found == 0;
  };
  std::size_t const before = mImagePoints.size();
  std::erase_if(mImagePoints, hasNone);
  if (before > mImagePoints.size()) {
    mRemarks.push_back(counted(before - mImagePoints.size(), "image point") + " without a line of sight left out");
  }
  if (mImagePoints.empty()) {
    throw std::runtime_error("no image point has a line of sight");
  }
}

/// From the focal plane to pixels: the inverse of the slopes at the place on the line of sight that is nearest to the
/// point. The slope along the flight depends on how far away that is.
void BlockProblem::findScales() {
  for (ImageObservation& observation : mImagePoints) {
    ImagePart const& image = mImages[static_cast<std::size_t>(observation.image)];
    StripPart const& strip = mStrips[static_cast<std::size_t>(image.strip)];
    geo::XYPoint const& position = observation.measurement.position;
    kes::Ray ray{};
    kes::Status status{};
    image.band.rays({&position, 1}, {&ray, 1}, {&status, 1});
    Eigen::Vector3d const direction = vectorOf(ray.direction);
    double const away = direction.dot(strip.toStrip(this->position(observation.point)) - vectorOf(ray.centre));
    geo::XYZPoint const ground = pointOf(vectorOf(ray.centre) + std::max(away, 1.0) * direction);
    kes::ResidualPartials const partials = image.band.partials(position, ground).partials;
    observation.toPixels =
        -Eigen::Map<Eigen::Matrix<double, 2, 2, Eigen::RowMajor> const>(partials.byImage.data()).inverse();
  }
}

/// Where points are, to begin with: where their lines of sight meet; otherwise where they were given, or on the mean
/// terrain height of the strip.
void BlockProblem::intersect() {
  std::vector<Intersection> intersections(mPoints.size());
  std::vector<Eigen::Vector3d> onTerrain(mPoints.size(), Eigen::Vector3d::Zero());
  for (ImageObservation const& observation : mImagePoints) {
    ImagePart const& image = mImages[static_cast<std::size_t>(observation.image)];
    StripPart const& strip = mStrips[static_cast<std::size_t>(image.strip)];
    kes::Ray ray{};
    kes::Status status{};
    image.band.rays({&observation.measurement.position, 1}, {&ray, 1}, {&status, 1});
    Eigen::Matrix3d const back = strip.toStrip.rotation.transpose();
    auto const toBlock = [&](Eigen::Vector3d const& p) { return Eigen::Vector3d(back * (p - strip.toStrip.offset)); };
    auto const point = static_cast<std::size_t>(observation.point);
    intersections[point].add(toBlock(vectorOf(ray.centre)), back * vectorOf(ray.direction));
    double const away = (strip.strip->meanTerrainHeight() - ray.centre.z) / ray.direction.z;
    onTerrain[point] = toBlock(vectorOf(ray.centre) + away * vectorOf(ray.direction));
  }
  mState.points.resize(mPoints.size());
  for (std::size_t i = 0; i < mPoints.size(); ++i) {
    BlockPoint& point = mPoints[i];
    point.intersection = intersections[i].point();
    mState.points[i] = point.intersection    ? *point.intersection
                       : point.neighbourhood ? point.neighbourhood->local
                                             : onTerrain[i];
  }
}

void BlockProblem::addControl() {
  for (std::size_t i = 0; i < mPoints.size(); ++i) {
    BlockPoint const& point = mPoints[i];
    if (point.role == PointRole::control) {
      Eigen::Vector3d const sigma = vectorOf(point.given->sigma);
      mGround.push_back({static_cast<int>(i), ObservationKind::ground, 3,
                         sigma.cwiseInverse().asDiagonal() * point.neighbourhood->toSystem,
                         point.neighbourhood->local});
    }
  }
}

/// The plane through the surface at each tie point.
void BlockProblem::addSurface(kes::Surface const& surface, double sigma) {
  kes::CoordinateSystem const& system = surface.coordinateSystem();
  std::size_t without = 0;
  for (std::size_t i = 0; i < mPoints.size(); ++i) {
    if (mPoints[i].role != PointRole::tie) {
      continue;
    }
    geo::XYZPoint const local = pointOf(mState.points[i]);
    geo::XYZPoint place;
    mSystem.transform(system, {&local, 1}, {&place, 1});
    Neighbourhood const near = neighbourhoodOf(system, place, mSystem);
    double const arm = slopeArm / system.horizontalUnit().metres;
    std::array<geo::XYZPoint, 5> const asked{{place,
                                              {place.x + arm, place.y, 0.0},
                                              {place.x - arm, place.y, 0.0},
                                              {place.x, place.y + arm, 0.0},
                                              {place.x, place.y - arm, 0.0}}};
    std::array<double, 5> h{};
    if (surface.heights(asked, h) != h.size() || !near.toSystem.allFinite()) {
      ++without;
      continue;
    }
    // z - h(x, y) in the surface's system, by a position in the block's.
    Eigen::RowVector3d const normal =
        Eigen::RowVector3d((h[2] - h[1]) / (2.0 * arm), (h[4] - h[3]) / (2.0 * arm), 1.0) * near.toSystem;
    double const perSigma = system.verticalUnit().metres / sigma;
    Eigen::Matrix3d toSigmas = Eigen::Matrix3d::Zero();
    toSigmas.row(0) = perSigma * normal;
    Eigen::Vector3d const onSurface = near.local + near.toLocal.col(2) * (h[0] - place.z);
    mGround.push_back({static_cast<int>(i), ObservationKind::other, 1, toSigmas, onSurface});
  }
  if (without > 0) {
    mRemarks.push_back(counted(without, "tie point") + " without a height of the elevation model");
  }
}

}  // namespace kesadjust
