// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ToyBlock.h"

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>

namespace test {

namespace {

constexpr double speed = 60.0;
constexpr double height = 1000.0;
constexpr double focalLength = 10000.0;  // pixels: a ground sampling distance of 0.1 m
constexpr double halfSwath = 3500.0;     // pixels
constexpr double stripDistance = 350.0;
constexpr std::array viewTangents{0.35, 0.0, -0.25};

Eigen::Matrix3d crossMatrix(Eigen::Vector3d const& v) {
  Eigen::Matrix3d matrix;
  matrix << 0.0, -v.z(), v.y(), v.z(), 0.0, -v.x(), -v.y(), v.x(), 0.0;
  return matrix;
}

}  // namespace

struct ToyBlock::Sight {
  kesadjust::Spline::Basis basis;
  Eigen::Matrix3d byBoresight;  ///< I - [b]x
  Eigen::Matrix3d byAttitude;   ///< I - [theta]x
  Eigen::Vector3d nominal;      ///< R0^T (P - C)
  Eigen::Vector3d u;
  Eigen::Vector2d image() const { return -focalLength / u.z() * u.head<2>(); }
};

ToyBlock::ToyBlock(ToySetting const& setting)
    : mSetting(setting), mRandom(setting.seed), mSpline({{0.0, setting.duration}}, setting.degree) {
  addStrips();
  drawTruth();
  addPoints();
  mState.parameters.assign(mTruth.parameters.size(), 0.0);
  for (Eigen::Vector3d const& point : mTruth.points) {
    mState.points.emplace_back(point + Eigen::Vector3d(0.8, -0.5, 1.5));
  }
}

void ToyBlock::addStrips() {
  using kesadjust::BlockKind;
  double const length = speed * mSetting.duration;
  for (int i = 0; i < mSetting.parallelStrips; ++i) {
    double const way = i % 2 == 0 ? 1.0 : -1.0;
    Strip strip;
    strip.start = {way > 0.0 ? 0.0 : length, stripDistance * i, height};
    strip.axes << way, 0.0, 0.0, 0.0, way, 0.0, 0.0, 0.0, 1.0;
    mStrips.push_back(strip);
  }
  for (int i = 0; i < mSetting.crossStrips; ++i) {
    Strip strip;
    strip.start = {0.5 * length + 300.0 * i, 0.5 * stripDistance * (mSetting.parallelStrips - 1) - 0.5 * length,
                   height};
    strip.axes << 0.0, -1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0;
    mStrips.push_back(strip);
  }
  int const strips = static_cast<int>(mStrips.size());
  auto const position = mSetting.position.precision(mSpline);
  auto const attitude = mSetting.attitude.precision(mSpline);
  for (int strip = 0; strip < strips; ++strip) {
    for (int node = 0; node < mSpline.size(); ++node) {
      mBlocks.push_back({BlockKind::node, strip, {"x", "y", "z", "roll", "pitch", "heading"}, {}});
    }
    for (int axis = 0; axis < 6; ++axis) {
      int const first = 6 * nodeBlock(strip) + axis;
      for (auto const& [row, column, value] : axis < 3 ? position : attitude) {
        mPrior.push_back({first + 6 * row, first + 6 * column, value});
      }
    }
  }
  for (int strip = 0; strip < strips; ++strip) {
    mBlocks.push_back(
        {BlockKind::stripConstant, strip, {"time of strip " + std::to_string(strip)}, {mSetting.offsetSigma}});
  }
  mBlocks.push_back({BlockKind::calibration,
                     -1,
                     {"boresight roll", "boresight pitch", "boresight heading"},
                     std::vector<double>(3, mSetting.boresightSigma)});
}

void ToyBlock::drawTruth() {
  auto const draw = [&](double sigma) { return sigma * mNormal(mRandom); };
  mTruth.parameters.assign(static_cast<std::size_t>(constantsOffset()), 0.0);
  auto const factorOf = [&](kesadjust::GaussMarkovPrior const& prior) {
    Eigen::MatrixXd precision = Eigen::MatrixXd::Zero(mSpline.size(), mSpline.size());
    for (auto const& [row, column, value] : prior.precision(mSpline)) {
      precision(row, column) = value;
    }
    return Eigen::LLT<Eigen::MatrixXd, Eigen::Lower>(precision);
  };
  auto const position = factorOf(mSetting.position);
  auto const attitude = factorOf(mSetting.attitude);
  for (std::size_t strip = 0; strip < mStrips.size(); ++strip) {
    for (int axis = 0; axis < 6; ++axis) {
      Eigen::VectorXd white(mSpline.size());
      std::generate(white.begin(), white.end(), [&] { return draw(1.0); });
      Eigen::VectorXd const values = (axis < 3 ? position : attitude).matrixU().solve(white);
      for (int node = 0; node < mSpline.size(); ++node) {
        mTruth.parameters[static_cast<std::size_t>(6 * (nodeBlock(static_cast<int>(strip)) + node) + axis)] =
            values(node);
      }
    }
  }
  for (std::size_t strip = 0; strip < mStrips.size(); ++strip) {
    mTruth.parameters.push_back(draw(mSetting.offsetSigma));
  }
  for (int axis = 0; axis < 3; ++axis) {
    mTruth.parameters.push_back(draw(mSetting.boresightSigma));
  }
}

void ToyBlock::addPoint(std::string const& name, Eigen::Vector3d const& place, std::size_t leastRays) {
  mNames.push_back(name);
  mTruth.points.push_back(place);
  std::vector<Observation> const rays = observed(pointCount() - 1);
  if (rays.size() < leastRays) {
    mNames.pop_back();
    mTruth.points.pop_back();
    return;
  }
  for (Observation const& ray : rays) {
    if (ray.isWrong && mSetting.withoutErrors) {
      continue;
    }
    if (ray.isWrong) {
      mBlunders.push_back(mObservations.size());
    }
    mObservations.push_back(ray);
  }
}

void ToyBlock::addPoints() {
  std::uniform_real_distribution<double> hill(0.0, 80.0);
  double const width = stripDistance * (mSetting.parallelStrips - 1);
  for (double x = 300.0; x < speed * mSetting.duration - 200.0; x += mSetting.pointSpacing) {
    for (double y = -250.0; y < width + 300.0; y += mSetting.pointSpacing) {
      std::string const name = "T" + std::to_string(x) + "_" + std::to_string(y);
      addPoint(name, {x + 7.0 * mNormal(mRandom), y, hill(mRandom)}, mSetting.leastRays);
    }
  }
  std::array<Eigen::Vector2d, 5> const places{
      {{450.0, -150.0}, {450.0, 500.0}, {1950.0, -150.0}, {1950.0, 500.0}, {1200.0, 175.0}}};
  for (int i = 0; i < mSetting.controls; ++i) {
    Eigen::Vector2d const& place = places[static_cast<std::size_t>(i)];
    addPoint("C" + std::to_string(i), {place.x(), place.y(), hill(mRandom)}, 0);
    Observation observation;
    observation.identity = {kesadjust::ObservationKind::ground, pointCount() - 1, -1, 0, 0.0, 0.0};
    observation.sigma = mSetting.controlSigma;
    Eigen::Vector3d const noise(mNormal(mRandom), mNormal(mRandom), mNormal(mRandom));
    observation.observed = mTruth.points.back() + mSetting.controlSigma * noise;
    bool const isWrong = i == 2 && mSetting.wrongControl != 0.0;
    observation.observed.z() += isWrong ? mSetting.wrongControl : 0.0;
    if (!isWrong || !mSetting.withoutErrors) {
      mObservations.push_back(observation);
    }
  }
}

std::vector<ToyBlock::Observation> ToyBlock::observed(int point) {
  std::uniform_real_distribution<double> part(0.0, 1.0);
  std::vector<Observation> rays;
  for (int strip = 0; strip < static_cast<int>(mStrips.size()); ++strip) {
    Strip const& flown = mStrips[static_cast<std::size_t>(strip)];
    Eigen::Vector3d const nominal =
        flown.axes.transpose() * (mTruth.points[static_cast<std::size_t>(point)] - flown.start);
    if (std::abs(nominal.y()) > 1.1 * halfSwath * height / focalLength) {
      continue;
    }
    for (int view = 0; view < static_cast<int>(viewTangents.size()); ++view) {
      double const x = focalLength * viewTangents[static_cast<std::size_t>(view)];
      double time = (nominal.x() + nominal.z() * x / focalLength) / speed;
      Eigen::Vector2d image = Eigen::Vector2d::Zero();
      for (int i = 0; i < 12; ++i) {
        image = sight(mTruth, strip, time, point).image();
        time += (image.x() - x) * height / (focalLength * speed);
      }
      if (time < 0.0 || time > mSetting.duration || std::abs(image.y()) > halfSwath) {
        continue;
      }
      Observation ray;
      ray.identity = {kesadjust::ObservationKind::image, point, strip, view, time, image.y()};
      ray.time = time;
      ray.sigma = mSetting.pixelSigma;
      ray.observed = {x + mSetting.pixelSigma * mNormal(mRandom), image.y() + mSetting.pixelSigma * mNormal(mRandom),
                      0.0};
      // The same draws with and without gross errors.
      ray.isWrong = part(mRandom) < mSetting.blunders;
      double const size = 10.0 + 50.0 * part(mRandom);
      double const angle = 6.28 * part(mRandom);
      if (ray.isWrong) {
        ray.observed += size * Eigen::Vector3d(std::cos(angle), std::sin(angle), 0.0);
      }
      rays.push_back(ray);
    }
  }
  return rays;
}

ToyBlock::Sight ToyBlock::sight(State const& state, int strip, double time, int point) const {
  Strip const& flown = mStrips[static_cast<std::size_t>(strip)];
  Sight result;
  result.basis = mSpline.at(time);
  Eigen::Matrix<double, 6, 1> correction = Eigen::Matrix<double, 6, 1>::Zero();
  for (int k = 0; k < result.basis.count; ++k) {
    int const offset = 6 * (nodeBlock(strip) + result.basis.first + k);
    correction += result.basis.weights[static_cast<std::size_t>(k)] *
                  Eigen::Map<Eigen::Matrix<double, 6, 1> const>(state.parameters.data() + offset);
  }
  double const* constants = state.parameters.data() + constantsOffset();
  double const way = speed * (time + constants[strip]);
  Eigen::Map<Eigen::Vector3d const> const boresight(constants + mStrips.size());
  result.byBoresight = Eigen::Matrix3d::Identity() - crossMatrix(boresight);
  result.byAttitude = Eigen::Matrix3d::Identity() - crossMatrix(correction.tail<3>());
  result.nominal = flown.axes.transpose() * (state.points[static_cast<std::size_t>(point)] - flown.start -
                                             way * flown.axes.col(0) - correction.head<3>());
  result.u = result.byBoresight * (result.byAttitude * result.nominal);
  return result;
}

void ToyBlock::lineariseImage(Observation const& observation, kesadjust::LinearisedObservation& result) const {
  int const strip = observation.identity.strip;
  Sight const seen = sight(mState, strip, observation.time, observation.identity.point);
  Eigen::Matrix3d const& axes = mStrips[static_cast<std::size_t>(strip)].axes;
  Eigen::Vector2d const residual = (seen.image() - observation.observed.head<2>()) / observation.sigma;
  // d image / d u
  Eigen::Matrix<double, 2, 3> byU;
  byU << -focalLength / seen.u.z(), 0.0, focalLength * seen.u.x() / (seen.u.z() * seen.u.z()),  //
      0.0, -focalLength / seen.u.z(), focalLength * seen.u.y() / (seen.u.z() * seen.u.z());
  byU /= observation.sigma;
  Eigen::Matrix<double, 2, 3> const byPoint = byU * seen.byBoresight * seen.byAttitude * axes.transpose();

  using Row6 = Eigen::Matrix<double, 2, 6, Eigen::RowMajor>;
  using Row3 = Eigen::Matrix<double, 2, 3, Eigen::RowMajor>;
  result.rows = 2;
  std::copy_n(residual.data(), 2, result.residuals.begin());
  Eigen::Map<Row3>(result.pointJacobian.data()) = byPoint;
  result.parts.resize(3);
  auto& nodes = result.parts[0];
  nodes.block = nodeBlock(strip) + seen.basis.first;
  nodes.count = seen.basis.count;
  nodes.weights = seen.basis.weights;
  Eigen::Map<Row6> byNode(nodes.jacobian.data());
  byNode.leftCols<3>() = -byPoint;
  byNode.rightCols<3>() = byU * seen.byBoresight * crossMatrix(seen.nominal);
  auto& offset = result.parts[1];
  offset = {constantsBlock() + strip, 1, {1.0, 0.0, 0.0, 0.0}, {}};
  Eigen::Map<Eigen::Vector2d>(offset.jacobian.data()) = -speed * byPoint * axes.col(0);
  auto& boresight = result.parts[2];
  boresight = {constantsBlock() + static_cast<int>(mStrips.size()), 1, {1.0, 0.0, 0.0, 0.0}, {}};
  Eigen::Map<Row3>(boresight.jacobian.data()) = byU * crossMatrix(seen.byAttitude * seen.nominal);
}

void ToyBlock::linearise(std::size_t i, kesadjust::LinearisedObservation& result) const {
  Observation const& observation = mObservations[i];
  if (observation.identity.kind == kesadjust::ObservationKind::image) {
    lineariseImage(observation, result);
    return;
  }
  result.rows = 3;
  result.pointJacobian = {};
  for (int k = 0; k < 3; ++k) {
    auto const axis = static_cast<std::size_t>(k);
    result.residuals[axis] =
        (mState.points[static_cast<std::size_t>(observation.identity.point)](k) - observation.observed(k)) /
        observation.sigma;
    result.pointJacobian[4 * axis] = 1.0 / observation.sigma;
  }
}

void ToyBlock::deviations(std::span<double> result) const {
  std::copy(mState.parameters.begin(), mState.parameters.end(), result.begin());
}

void ToyBlock::apply(std::span<double const> parameters, std::span<double const> points) {
  mOldState = mState;
  std::transform(parameters.begin(), parameters.end(), mState.parameters.begin(), mState.parameters.begin(),
                 std::plus<>());
  for (std::size_t i = 0; i < mState.points.size(); ++i) {
    mState.points[i] += Eigen::Map<Eigen::Vector3d const>(points.data() + 3 * i);
  }
}

void ToyBlock::shuffle(unsigned seed) {
  std::mt19937 random(seed);
  std::shuffle(mObservations.begin(), mObservations.end(), random);
}

}  // namespace test
