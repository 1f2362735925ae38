// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYPoint.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/FlightFrame.h>
#include <simulation/GroundPoints.h>
#include <simulation/ImagePoints.h>
#include <simulation/Random.h>
#include <simulation/TiePoints.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace simulation {

namespace {

constexpr std::uint64_t placesStream = 901;
constexpr std::uint64_t surveyStream = 902;
constexpr std::uint64_t wrongStream = 903;
constexpr double twoPi = 6.283185307179586;
constexpr char const* bandThatLooksDown = "PANN00A";

std::string idOf(char const* prefix, int i) {
  std::string const number = std::to_string(i + 1);
  return prefix + std::string(number.size() < 3 ? 3 - number.size() : 0, '0') + number;
}

// Where a point may lie: metres ahead of the block's middle and to its left, and the point there.
struct Candidate {
  geo::XYPoint place;
  geo::GroundPoint point;
};

class Placing {
public:
  Placing(BlockPlan const& plan, Terrain const& terrain, std::vector<kes::Strip> const& strips,
          kes::CoordinateSystem const& map)
      : mPlan(plan), mTerrain(terrain), mStrips(strips), mMap(map), mFrame(plan.flight, terrain),
        mGeographic(geo::coordSysFactory::getInstance()->createGEO84(false, false)),
        mRandom(plan.flight.seed, placesStream) {}

  std::vector<geo::GroundPoint> points();
  std::vector<SurveyedPoint> surveyed();

private:
  void setAccuracy(geo::GroundPoint& point, double metres) const;
  void spoilOne(std::vector<SurveyedPoint>& points) const;
  std::optional<Candidate> corner(int i) const;
  bool isInTriple(geo::GroundPoint const& point) const;
  Candidate next(std::size_t wantedStrips);
  template <class IsWanted>
  std::optional<Candidate> farthest(IsWanted const& isWanted);
  template <class IsWanted>
  std::optional<Candidate> candidate(IsWanted const& isWanted);
  std::optional<geo::GroundPoint> onTerrain(geo::XYPoint const& place) const;
  std::size_t stripsWith(geo::GroundPoint const& point) const;
  double distance(geo::XYPoint const& place) const;

  BlockPlan const& mPlan;
  Terrain const& mTerrain;
  std::vector<kes::Strip> const& mStrips;
  kes::CoordinateSystem const& mMap;
  FlightFrame mFrame;
  std::unique_ptr<geo::coordSys> mGeographic;
  Random mRandom;
  std::vector<geo::XYPoint> mTaken;
};

std::vector<geo::GroundPoint> Placing::points() {
  std::vector<geo::GroundPoint> points;
  for (int i = 0; i < mPlan.points; ++i) {
    Candidate taken = next(i % 4 == 3 ? 1 : 2);
    taken.point.id = idOf("P", i);
    setAccuracy(taken.point, groundPointAccuracy);
    mTaken.push_back(taken.place);
    points.push_back(taken.point);
  }
  return points;
}

void Placing::setAccuracy(geo::GroundPoint& point, double metres) const {
  point.sx = metres / mMap.horizontalUnit().metres;
  point.sy = point.sx;
  point.sz = metres / mMap.verticalUnit().metres;
}

// The best of some candidates: D. Mitchell, "Spectrally optimal sampling for distribution ray tracing", SIGGRAPH 1991.
template <class IsWanted>
std::optional<Candidate> Placing::farthest(IsWanted const& isWanted) {
  constexpr int candidates = 10;
  std::optional<Candidate> best;
  for (int i = 0; i < candidates; ++i) {
    std::optional<Candidate> const other = candidate(isWanted);
    if (other && (!best || distance(other->place) > distance(best->place))) {
      best = other;
    }
  }
  return best;
}

template <class IsWanted>
std::optional<Candidate> Placing::candidate(IsWanted const& isWanted) {
  constexpr int attempts = 200;
  for (int i = 0; i < attempts; ++i) {
    double const ahead = mRandom.uniform(-mFrame.halfLength(), mFrame.halfLength());
    double const left = mRandom.uniform(-0.5 * mPlan.width(), 0.5 * mPlan.width());
    std::optional<geo::GroundPoint> const point = onTerrain({ahead, left});
    if (point && isWanted(*point)) {
      return Candidate{{ahead, left}, *point};
    }
  }
  return std::nullopt;
}

Candidate Placing::next(std::size_t wantedStrips) {
  for (std::size_t wanted = std::min(wantedStrips, mStrips.size()); wanted > 0; --wanted) {
    auto const isWanted = [&](geo::GroundPoint const& point) { return stripsWith(point) >= wanted; };
    if (auto const found = farthest(isWanted)) {
      return *found;
    }
  }
  throw std::runtime_error("no terrain in the block's images for a ground point");
}

std::vector<SurveyedPoint> Placing::surveyed() {
  std::vector<SurveyedPoint> points;
  Random random(mPlan.flight.seed, surveyStream);
  for (int i = 0; i < mPlan.control + mPlan.check; ++i) {
    bool const isCheck = i >= mPlan.control;
    std::optional<Candidate> taken = i < 4 && !isCheck ? corner(i) : std::nullopt;
    if (!taken) {
      taken = farthest([&](geo::GroundPoint const& point) { return isInTriple(point); });
    }
    if (!taken) {
      taken = next(1);
    }
    mTaken.push_back(taken->place);
    geo::GroundPoint& point = taken->point;
    point.id = isCheck ? idOf("CHK", i - mPlan.control) : idOf("GCP", i);
    point.type = isCheck ? checkType : controlType;
    setAccuracy(point, mPlan.surveySigma);
    geo::GroundPoint measured = point;
    measured.x += random.normal(point.sx);
    measured.y += random.normal(point.sy);
    measured.z += random.normal(point.sz);
    points.push_back({point, measured, isCheck, false});
  }
  if (mPlan.wrongControl > 0.0) {
    spoilOne(points);
  }
  return points;
}

// A direction that is equally likely to be any: its z is uniformly distributed (Archimedes).
void Placing::spoilOne(std::vector<SurveyedPoint>& points) const {
  Random random(mPlan.flight.seed, wrongStream);
  auto const which = static_cast<std::size_t>(random.uniform(0.0, mPlan.control));
  double const up = random.uniform(-1.0, 1.0);
  double const azimuth = random.uniform(0.0, twoPi);
  double const level = std::sqrt(1.0 - up * up);
  double const perUnit = mPlan.wrongControl / mMap.horizontalUnit().metres;
  SurveyedPoint& point = points[std::min(which, static_cast<std::size_t>(mPlan.control) - 1)];
  point.surveyed.x += perUnit * level * std::cos(azimuth);
  point.surveyed.y += perUnit * level * std::sin(azimuth);
  point.surveyed.z += mPlan.wrongControl / mMap.verticalUnit().metres * up;
  point.isWrong = true;
}

// From a corner of the block along its side, then a little farther inside.
std::optional<Candidate> Placing::corner(int i) const {
  double const side = (i % 2 == 0 ? 0.5 : -0.5) * mPlan.width();
  double const end = (i / 2 == 0 ? 1.0 : -1.0) * mFrame.halfLength();
  for (double const across : {0.97, 0.94, 0.9, 0.8, 0.7}) {
    for (int percent = 99; percent > 30; --percent) {
      geo::XYPoint const place(end * percent / 100.0, side * across);
      std::optional<geo::GroundPoint> const point = onTerrain(place);
      if (point && isInTriple(*point)) {
        return Candidate{place, *point};
      }
    }
  }
  return std::nullopt;
}

bool Placing::isInTriple(geo::GroundPoint const& point) const {
  return std::any_of(mStrips.begin(), mStrips.end(),
                     [&](kes::Strip const& strip) { return hasRayTriple(strip, mMap, point, borderOf(mPlan.noise)); });
}

std::optional<geo::GroundPoint> Placing::onTerrain(geo::XYPoint const& place) const {
  geo::XYZPoint position = mFrame.lonLat(place.x, place.y);
  std::optional<double> const height = mTerrain.height(position);
  if (!height) {
    return std::nullopt;
  }
  position.z = *height;
  if (geo::coordSys::transform(mGeographic.get(), &mMap.platform(), position, position) != 0) {
    return std::nullopt;
  }
  geo::GroundPoint point;
  point.x = position.x;
  point.y = position.y;
  point.z = position.z;
  return point;
}

std::size_t Placing::stripsWith(geo::GroundPoint const& point) const {
  return static_cast<std::size_t>(std::count_if(mStrips.begin(), mStrips.end(), [&](kes::Strip const& strip) {
    return placeInImage(strip.band(bandThatLooksDown), mMap, point, borderOf(mPlan.noise)).has_value();
  }));
}

// From the nearest point before.
double Placing::distance(geo::XYPoint const& place) const {
  double least = std::numeric_limits<double>::infinity();
  for (geo::XYPoint const& other : mTaken) {
    least = std::fmin(least, std::hypot(place.x - other.x, place.y - other.y));
  }
  return least;
}

}  // namespace

std::vector<geo::GroundPoint> placeGroundPoints(BlockPlan const& plan, Terrain const& terrain,
                                                std::vector<kes::Strip> const& strips,
                                                kes::CoordinateSystem const& map) {
  return Placing(plan, terrain, strips, map).points();
}

std::vector<SurveyedPoint> placeSurveyedPoints(BlockPlan const& plan, Terrain const& terrain,
                                               std::vector<kes::Strip> const& strips,
                                               kes::CoordinateSystem const& map) {
  return Placing(plan, terrain, strips, map).surveyed();
}

}  // namespace simulation
