// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BulkConversion.h"

#include <geo/coordSys.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using kes::CoordinateSystem;
using kes::detail::BulkConversion;
using kes::detail::Converter;

constexpr double PI = 3.14159265358979323846;
constexpr double EARTH_RADIUS = 6378137.0;
constexpr double ACROSS = 1e-12 * EARTH_RADIUS;  // metres, and as an angle 1e-12 radians
constexpr double HEIGHT = 1e-4;                  // metres
BulkConversion::Box const AROUND{{-15000.0, -15000.0, -3000.0}, {15000.0, 15000.0, 6000.0}};

CoordinateSystem localAt(double longitude, double latitude) {
  return CoordinateSystem::local({longitude * PI / 180.0, latitude * PI / 180.0, 200.0});
}

geo::XYZPoint exact(CoordinateSystem const& from, CoordinateSystem const& to, geo::XYZPoint const& p) {
  geo::XYZPoint converted;
  geo::coordSys::transform(&from.platform(), &to.platform(), p, converted);
  return converted;
}

bool isSame(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  auto const same = [](double u, double v) { return u == v || (std::isnan(u) && std::isnan(v)); };
  return same(a.x, b.x) && same(a.y, b.y) && same(a.z, b.z);
}

std::vector<geo::XYZPoint> randomPositions(BulkConversion::Box const& box, std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> x(box.least.x, box.greatest.x);
  std::uniform_real_distribution<double> y(box.least.y, box.greatest.y);
  std::uniform_real_distribution<double> z(box.least.z, box.greatest.z);
  std::vector<geo::XYZPoint> positions;
  for (std::size_t i = 0; i < count; ++i) {
    positions.push_back({x(random), y(random), z(random)});
  }
  return positions;
}

// How many of the positions were converted by a polynomial: the others have the exact conversion's bits.
std::size_t expectWithinBounds(CoordinateSystem const& from, CoordinateSystem const& to,
                               BulkConversion::Box const& domain, std::vector<geo::XYZPoint> const& positions) {
  Converter convert(std::make_shared<BulkConversion const>(from, to, domain));
  double const unit = to.horizontalUnit().metres;
  double const unitOfHeight = to.verticalUnit().metres;
  std::size_t approximated = 0;
  for (geo::XYZPoint const& p : positions) {
    geo::XYZPoint const truth = exact(from, to, p);
    geo::XYZPoint const found = convert(p);
    if (std::isnan(truth.x)) {
      EXPECT_TRUE(std::isnan(found.x));
      continue;
    }
    EXPECT_NEAR(found.x, truth.x, ACROSS / unit);
    EXPECT_NEAR(found.y, truth.y, ACROSS / unit);
    EXPECT_NEAR(found.z, truth.z, HEIGHT / unitOfHeight);
    approximated += isSame(found, truth) ? 0 : 1;
  }
  return approximated;
}

// Projections of every kind, over the globe: each where it is used, at its edge, and where it has no business.
struct Place {
  std::string definition;
  double longitude;
  double latitude;
};

std::vector<Place> everyKindOfSystem() {
  return {{"EPSG:32633", 15.2, 47.0},  // transverse Mercator at its meridian, at the edge, far outside and in the north
          {"EPSG:32633", 18.0, 0.0},
          {"EPSG:32633", 40.0, -50.0},
          {"EPSG:32633", 12.0, 83.9},
          {"EPSG:2154", 3.0, 46.0},  // conical
          {"EPSG:3034", -30.0, 70.0},
          {"EPSG:3035", 10.0, 52.0},    // azimuthal equal-area
          {"EPSG:3031", 30.0, -89.99},  // polar stereographic, at the pole
          {"EPSG:3413", 180.0, 75.0},
          {"EPSG:3857", 179.99, 10.0},  // at the antimeridian
          {"EPSG:4326", -84.3, 36.5},   // degrees
          {"EPSG:4326", 180.0, 65.0},
          {"EPSG:4326", 45.0, 89.995},
          {"EPSG:4979", 100.0, -20.0},
          {"EPSG:4978", 10.0, 50.0},   // geocentric
          {"EPSG:2249", -71.0, 42.3},  // US survey feet
          {"EPSG:2056", 8.0, 47.0},    // oblique Mercator
          {"EPSG:27700", -1.0, 52.0},  // another datum
          {"+proj=geos +h=35785831 +lon_0=0 +datum=WGS84", 0.0, 75.0},
          {"+proj=ortho +lat_0=40 +lon_0=-90 +datum=WGS84", -20.0, 10.0},
          {"+proj=igh +datum=WGS84", -100.0, 20.0}};  // interrupted: a conversion that breaks
}

TEST(BulkConversion, DepartsLessThanItsBoundsFromTheExactConversion) {
  std::vector<geo::XYZPoint> const positions = randomPositions(AROUND, 1500, 1);
  for (Place const& place : everyKindOfSystem()) {
    SCOPED_TRACE(place.definition + " at " + std::to_string(place.longitude) + ", " + std::to_string(place.latitude));
    CoordinateSystem const local = localAt(place.longitude, place.latitude);
    CoordinateSystem const system(place.definition);
    expectWithinBounds(local, system, AROUND, positions);
    std::vector<geo::XYZPoint> converted;
    for (geo::XYZPoint const& p : positions) {
      converted.push_back(exact(local, system, p));
    }
    expectWithinBounds(system, local, BulkConversion::convertedBox(local, system, AROUND, 0.01), converted);
  }
}

TEST(BulkConversion, DepartsLessThanItsBoundsAtRandomPlacesOfTheGlobe) {
  constexpr unsigned SEED = 20;
  std::mt19937 random(SEED);
  std::uniform_real_distribution<double> turn(-180.0, 180.0);
  std::uniform_real_distribution<double> sine(-1.0, 1.0);
  for (int i = 0; i < 40; ++i) {
    double const longitude = turn(random);
    double const latitude = std::asin(sine(random)) * 180.0 / PI;
    SCOPED_TRACE("seed " + std::to_string(SEED) + ", place " + std::to_string(i) + ": " + std::to_string(longitude) +
                 ", " + std::to_string(latitude));
    CoordinateSystem const local = localAt(longitude, latitude);
    int const zone = static_cast<int>((longitude + 180.0) / 6.0) % 60 + 1;
    CoordinateSystem const utm("EPSG:" + std::to_string((latitude < 0.0 ? 32700 : 32600) + zone));
    std::vector<geo::XYZPoint> const positions = randomPositions(AROUND, 200, SEED + static_cast<unsigned>(i));
    expectWithinBounds(local, utm, AROUND, positions);
    expectWithinBounds(local, CoordinateSystem::wgs84Degrees(), AROUND, positions);
    expectWithinBounds(local, CoordinateSystem::wgs84Radians(), AROUND, positions);
  }
}

TEST(BulkConversion, PolynomialsServeNearlyAllPositionsWhereTheSystemIsSmooth) {
  CoordinateSystem const local = localAt(15.2, 47.0);
  std::vector<geo::XYZPoint> const positions = randomPositions(AROUND, 2000, 3);
  EXPECT_GT(expectWithinBounds(local, CoordinateSystem("EPSG:32633"), AROUND, positions), 1990U);
  EXPECT_GT(expectWithinBounds(local, CoordinateSystem::wgs84Degrees(), AROUND, positions), 1990U);
}

TEST(BulkConversion, PositionsOutsideItsDomainAreExact) {
  CoordinateSystem const local = localAt(15.2, 47.0);
  CoordinateSystem const system("EPSG:32633");
  Converter convert(std::make_shared<BulkConversion const>(local, system, AROUND));
  geo::XYZPoint const nextTo[]{{15000.1, 0.0, 0.0},  {0.0, 15000.1, 0.0},  {0.0, 0.0, 6000.1},
                               {-15000.1, 0.0, 0.0}, {0.0, -15000.1, 0.0}, {0.0, 0.0, -3000.1}};
  for (geo::XYZPoint const& p : nextTo) {
    EXPECT_TRUE(isSame(convert(p), exact(local, system, p)));
  }
  EXPECT_FALSE(isSame(convert({14999.9, 10.0, 5.0}), exact(local, system, {14999.9, 10.0, 5.0})));
}

TEST(BulkConversion, PositionsThatAreNotFiniteHaveNoResult) {
  Converter convert(
      std::make_shared<BulkConversion const>(localAt(15.2, 47.0), CoordinateSystem("EPSG:32633"), AROUND));
  double const infinite = std::numeric_limits<double>::infinity();
  double const nan = std::numeric_limits<double>::quiet_NaN();
  for (double const bad : {infinite, -infinite, nan}) {
    EXPECT_TRUE(std::isnan(convert({bad, 0.0, 0.0}).x));
    EXPECT_TRUE(std::isnan(convert({0.0, bad, 0.0}).x));
    EXPECT_TRUE(std::isnan(convert({0.0, 0.0, bad}).x));
  }
}

TEST(BulkConversion, ResultsDependOnThePositionAlone) {
  CoordinateSystem const local = localAt(-84.3, 36.5);
  CoordinateSystem const system("EPSG:32616");
  std::vector<geo::XYZPoint> const positions = randomPositions(AROUND, 3000, 5);
  Converter forward(std::make_shared<BulkConversion const>(local, system, AROUND));
  std::vector<geo::XYZPoint> expected;
  for (geo::XYZPoint const& p : positions) {
    expected.push_back(forward(p));
  }
  auto const shared = std::make_shared<BulkConversion const>(local, system, AROUND);
  auto const backward = [&] {
    Converter convert(shared);
    for (std::size_t i = positions.size(); i-- > 0;) {
      EXPECT_TRUE(isSame(convert(positions[i]), expected[i]));
    }
  };
  std::thread other(backward);
  backward();
  other.join();
}

// The polynomials of neighbouring cells share the nodes on their common border.
TEST(BulkConversion, CellsMeetWithoutAStep) {
  CoordinateSystem const local = localAt(15.2, 47.0);
  Converter convert(std::make_shared<BulkConversion const>(local, CoordinateSystem("EPSG:32633"), AROUND));
  constexpr double rounding = 4e-9;  // of northings of 5e6 metres
  for (double const border : {-2048.0, 0.0, 1024.0}) {
    double const before = std::nextafter(border, -20000.0);
    EXPECT_NEAR(convert({before, 300.0, 50.0}).x, convert({border, 300.0, 50.0}).x, rounding);
    EXPECT_NEAR(convert({300.0, before, 50.0}).y, convert({300.0, border, 50.0}).y, rounding);
  }
}

TEST(BulkConversion, BoxHoldsWhatTheOtherSystemsBoxBecomes) {
  CoordinateSystem const local = localAt(15.2, 47.0);
  CoordinateSystem const system("EPSG:32633");
  BulkConversion::Box const box = BulkConversion::convertedBox(local, system, AROUND, 0.01);
  for (geo::XYZPoint const& p : randomPositions(AROUND, 1000, 9)) {
    EXPECT_TRUE(box.contains(exact(local, system, p)));
  }
  EXPECT_LT(box.greatest.x - box.least.x, 33000.0);
  EXPECT_LT(box.greatest.z - box.least.z, 9500.0);
}

}  // namespace
