// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYPoint.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/FlightFrame.h>
#include <simulation/GroundPoints.h>
#include <simulation/ImagePoints.h>
#include <simulation/Random.h>

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
constexpr char const* bandThatLooksDown = "PANN00A";

std::string idOf(int i) {
  std::string const number = std::to_string(i + 1);
  return "P" + std::string(number.size() < 3 ? 3 - number.size() : 0, '0') + number;
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

private:
  Candidate next(std::size_t wantedStrips);
  std::optional<Candidate> farthest(std::size_t wantedStrips);
  std::optional<Candidate> candidate(std::size_t wantedStrips);
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
    taken.point.id = idOf(i);
    taken.point.sx = groundPointAccuracy / mMap.horizontalUnit().metres;
    taken.point.sy = taken.point.sx;
    taken.point.sz = groundPointAccuracy / mMap.verticalUnit().metres;
    mTaken.push_back(taken.place);
    points.push_back(taken.point);
  }
  return points;
}

Candidate Placing::next(std::size_t wantedStrips) {
  for (std::size_t wanted = std::min(wantedStrips, mStrips.size()); wanted > 0; --wanted) {
    if (auto const found = farthest(wanted)) {
      return *found;
    }
  }
  throw std::runtime_error("no terrain in the block's images for a ground point");
}

// The best of some candidates: D. Mitchell, "Spectrally optimal sampling for distribution ray tracing", SIGGRAPH 1991.
std::optional<Candidate> Placing::farthest(std::size_t wantedStrips) {
  constexpr int candidates = 10;
  std::optional<Candidate> best;
  for (int i = 0; i < candidates; ++i) {
    std::optional<Candidate> const other = candidate(wantedStrips);
    if (other && (!best || distance(other->place) > distance(best->place))) {
      best = other;
    }
  }
  return best;
}

std::optional<Candidate> Placing::candidate(std::size_t wantedStrips) {
  constexpr int attempts = 200;
  for (int i = 0; i < attempts; ++i) {
    double const ahead = mRandom.uniform(-mFrame.halfLength(), mFrame.halfLength());
    double const left = mRandom.uniform(-0.5 * mPlan.width(), 0.5 * mPlan.width());
    std::optional<geo::GroundPoint> const point = onTerrain({ahead, left});
    if (point && stripsWith(*point) >= wantedStrips) {
      return Candidate{{ahead, left}, *point};
    }
  }
  return std::nullopt;
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

}  // namespace simulation
