// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"

#include <geo/units.h>

#include <QDomElement>

#include <limits>

using geo::coordSys;
using geo::XYZPoint;
using test::converted;
using test::geographic;
using test::localSystem;
using test::System;
using test::systemOf;

namespace {

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

/// One of each kind.
std::vector<System> kinds() {
  std::vector<System> systems;
  systems.push_back(localSystem({0.26, 0.87, 300.0}));
  systems.push_back(geographic());
  systems.push_back(geographic(true, true));
  systems.push_back(systemOf("EPSG:4978"));
  systems.push_back(systemOf("EPSG:32633"));
  systems.push_back(systemOf("EPSG:31467"));  // PROJ chooses among operations by the place
  systems.push_back(systemOf("EPSG:32633+5773"));
  return systems;
}

/// Places within reach of all the systems of `kinds`.
std::vector<XYZPoint> places(std::size_t count) {
  test::Random random(51);
  std::vector<XYZPoint> result(count);
  for (XYZPoint& place : result) {
    place = {random.between(0.13, 0.24), random.between(0.84, 0.94), random.between(-100.0, 5000.0)};
  }
  return result;
}

std::vector<XYZPoint> inSystem(System const& system, std::vector<XYZPoint> points) {
  EXPECT_EQ(coordSys::transform(geographic().get(), system.get(), points.data(), points.data(), points.size()), 0);
  return points;
}

/// Longitude, latitude and height, said to be straight axes: a kind that leaves the way to geocentric coordinates to
/// its base.
class Straight final : public coordSys {
  geo::units const& verticalUnits() const override { return mUnits; }
  geo::units const& horizontalUnits() const override { return mUnits; }
  QDomElement toXml(QDomDocument& /*document*/) const override { return {}; }
  void toGeodetic(XYZPoint* /*points*/, std::size_t /*n*/) const override {}
  void fromGeodetic(XYZPoint* points, std::size_t n) const override {
    for (std::size_t i = 0; i < n; ++i) {
      points[i].z += 0.5;  // so that it shows
    }
  }
  bool hasStraightAxes() const override { return true; }

  geo::units mUnits{"metre", 1.0};
};

}  // namespace

TEST(CoordSysTransform, KindNeedsNoFormOfItsOwnForGeocentricCoordinates) {
  Straight const straight;
  System const geocentric = systemOf("EPSG:4978");
  auto const ground = places(3);
  auto const expected = inSystem(geocentric, ground);
  std::vector<XYZPoint> out(3);
  ASSERT_EQ(coordSys::transform(&straight, geocentric.get(), ground.data(), out.data(), 3), 0);
  EXPECT_TRUE(test::sameBits(out, expected));
  ASSERT_EQ(coordSys::transform(geocentric.get(), &straight, expected.data(), out.data(), 3), 0);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(out[i].x, ground[i].x, 1e-15);
    EXPECT_NEAR(out[i].y, ground[i].y, 1e-15);
    EXPECT_NEAR(out[i].z, ground[i].z + 0.5, 1e-8);
  }
}

// The axes of both are parallel where the equator meets Greenwich, so that only a subtraction lies between them.
TEST(CoordSysTransform, BetweenStraightAxesNothingIsRoundedToAngles) {
  System const local = localSystem({0.0, 0.0, 0.0});
  System const geocentric = systemOf("EPSG:4978");
  for (int i = 1; i < 20; ++i) {
    XYZPoint const point = converted(geocentric, local, {test::A84 + 0.25 * i, 1000.125 * i, -3000.5 * i});
    EXPECT_EQ(point.x, 1000.125 * i);
    EXPECT_EQ(point.y, -3000.5 * i);
    EXPECT_EQ(point.z, 0.25 * i);
  }
}

TEST(CoordSysTransform, ManyPointsGiveTheBitsOfSingleOnes) {
  auto const systems = kinds();
  auto const ground = places(1300);  // several rounds, the last one not full
  for (System const& from : systems) {
    auto const in = inSystem(from, ground);
    for (System const& to : systems) {
      std::vector<XYZPoint> single(in.size());
      for (std::size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(coordSys::transform(from.get(), to.get(), in[i], single[i]), 0);
      }
      std::vector<XYZPoint> bulk(in.size());
      EXPECT_EQ(coordSys::transform(from.get(), to.get(), in.data(), bulk.data(), in.size()), 0);
      EXPECT_TRUE(test::sameBits(bulk, single));
      bulk = in;
      EXPECT_EQ(coordSys::transform(from.get(), to.get(), bulk.data(), bulk.data(), bulk.size()), 0);
      EXPECT_TRUE(test::sameBits(bulk, single));
    }
  }
}

TEST(CoordSysTransform, BackAndForthClosesBetweenAllKinds) {
  auto const systems = kinds();
  auto const ground = places(200);
  for (System const& from : systems) {
    auto const in = inSystem(from, ground);
    for (System const& to : systems) {
      for (XYZPoint const& point : in) {
        XYZPoint const back = converted(to, from, converted(from, to, point));
        // PROJ inverts the rotations of a datum shift (EPSG:31467) to some tenths of a millimetre only.
        ASSERT_NEAR(back.x, point.x, 1e-3);
        ASSERT_NEAR(back.y, point.y, 1e-3);
        ASSERT_NEAR(back.z, point.z, 1e-3);
      }
    }
  }
}

TEST(CoordSysTransform, BackAndForthWithoutADatumShiftClosesToNanometres) {
  System const local = localSystem({0.26, 0.87, 300.0});
  auto const in = inSystem(local, places(500));
  for (char const* definition : {"EPSG:4978", "EPSG:4326", "EPSG:32633", "EPSG:32633+5773"}) {
    System const to = systemOf(definition);
    for (XYZPoint const& point : in) {
      ASSERT_LT(test::distance(converted(to, local, converted(local, to, point)), point), 1e-8) << definition;
    }
  }
}

TEST(CoordSysTransform, InAndOutMayBeOneObject) {
  System const local = localSystem({0.26, 0.87, 300.0});
  XYZPoint point(1000.0, -2000.0, 30.0);
  XYZPoint const expected = converted(local, geographic(), point);
  EXPECT_EQ(coordSys::transform(local.get(), geographic().get(), point, point), 0);
  EXPECT_TRUE(test::sameBits({point}, {expected}));
}

TEST(CoordSysTransform, SystemToItselfChangesNoBit) {
  XYZPoint const point(512345.6789012345, 5212345.6789012345, 0.1);
  for (System const& system : kinds()) {
    XYZPoint out;
    EXPECT_EQ(coordSys::transform(system.get(), system.get(), point, out), 0);
    EXPECT_TRUE(test::sameBits({out}, {point}));
  }
}

TEST(CoordSysTransform, NoPointsAreDoneAtOnce) {
  EXPECT_EQ(coordSys::transform(geographic().get(), systemOf("EPSG:32633").get(), nullptr, nullptr, 0), 0);
}

TEST(CoordSysTransform, NullSystemGivesNoPosition) {
  XYZPoint out(1.0, 2.0, 3.0);
  EXPECT_NE(coordSys::transform(nullptr, geographic().get(), {0.1, 0.2, 0.3}, out), 0);
  EXPECT_TRUE(test::isNowhere(out));
  out = {1.0, 2.0, 3.0};
  EXPECT_NE(coordSys::transform(geographic().get(), nullptr, {0.1, 0.2, 0.3}, out), 0);
  EXPECT_TRUE(test::isNowhere(out));
}

TEST(CoordSysTransform, PointThatIsNotFiniteGivesNoPosition) {
  auto const systems = kinds();
  for (System const& from : systems) {
    for (System const& to : systems) {
      for (double const bad : {NOT_A_NUMBER, INF, -INF}) {
        for (XYZPoint const& in : {XYZPoint(bad, 0.5, 0.5), XYZPoint(0.5, bad, 0.5), XYZPoint(0.5, 0.5, bad)}) {
          XYZPoint out(1.0, 2.0, 3.0);
          EXPECT_NE(coordSys::transform(from.get(), to.get(), in, out), 0);
          EXPECT_TRUE(test::isNowhere(out));
        }
      }
    }
  }
  XYZPoint out(1.0, 2.0, 3.0);
  EXPECT_NE(geographic()->geo_to_ecef({0.5, INF, 0.5}, out), 0);
  EXPECT_TRUE(test::isNowhere(out));
}

TEST(CoordSysTransform, HugePointsDoNoHarm) {
  auto const systems = kinds();
  for (System const& from : systems) {
    for (System const& to : systems) {
      for (double const huge : {1e12, 1e100, 1e200, 1.7e308, -1.7e308}) {
        XYZPoint out;
        int const status = coordSys::transform(from.get(), to.get(), {huge, huge, -huge}, out);
        EXPECT_EQ(status != 0, test::isNowhere(out));
      }
    }
  }
}

TEST(CoordSysTransform, PointsThatFailLeaveTheOthersAlone) {
  auto const ground = places(1000);
  for (System const& system : kinds()) {
    auto const clean = inSystem(system, ground);
    auto mixed = ground;
    for (std::size_t i = 0; i < mixed.size(); i += 3) {
      mixed[i] = i % 2 == 0 ? XYZPoint(0.2, 3.0, 0.0) : XYZPoint(NOT_A_NUMBER, 0.8, 0.0);
    }
    EXPECT_NE(coordSys::transform(geographic().get(), system.get(), mixed.data(), mixed.data(), mixed.size()), 0);
    for (std::size_t i = 0; i < mixed.size(); ++i) {
      if (i % 3 == 0) {
        EXPECT_TRUE(test::isNowhere(mixed[i])) << i;
      } else {
        EXPECT_TRUE(test::sameBits({mixed[i]}, {clean[i]})) << i;
      }
    }
  }
}

TEST(CoordSysTransform, PointsOutsideTheDomainGiveNoPosition) {
  struct Case {
    char const* system;
    XYZPoint degrees;
  };
  for (Case const& outside :
       {Case{"+proj=gnom +lat_0=50 +lon_0=9 +datum=WGS84", {9.0, -60.0, 0.0}},  // the other side of the Earth
        Case{"EPSG:32633", {105.0, 0.0, 0.0}},  // a quarter turn from the central meridian
        // outside of the grid of Germany
        Case{"+proj=tmerc +lon_0=9 +ellps=bessel +nadgrids=BETA2007.gsb", {-100.0, 40.0, 0.0}}}) {
    XYZPoint out(1.0, 2.0, 3.0);
    System const system = systemOf(outside.system);
    EXPECT_NE(coordSys::transform(geographic(true, false).get(), system.get(), outside.degrees, out), 0);
    EXPECT_TRUE(test::isNowhere(out)) << outside.system << " " << out.x << " " << out.y << " " << out.z;
    // The next point isn't the worse for it.
    EXPECT_EQ(coordSys::transform(geographic(true, false).get(), system.get(), {9.5, 51.0, 0.0}, out), 0);
  }
}
