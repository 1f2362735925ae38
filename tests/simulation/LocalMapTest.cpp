// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/LocalMap.h>
#include <simulation/Random.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

using simulation::LocalMap;
using System = std::unique_ptr<geo::coordSys>;

constexpr double degree = 0.017453292519943295;

System local(double longitude, double latitude) {
  return System(geo::coordSysFactory::getInstance()->createLSR84({longitude * degree, latitude * degree, 250.0}));
}

System system(std::string const& definition) {
  return System(geo::coordSysFactory::getInstance()->createCoordSys(definition));
}

// Nodes 100 m apart depart by 100^2 / 8R = 0.2 mm along each axis.
TEST(LocalMap, DepartsByTheEarthsCurvatureBetweenNodes) {
  EXPECT_NEAR(LocalMap::spacingFor(0.0002), 100.0, 1.0);
  System const lsr = local(14.0, 49.0);
  System const utm = system("EPSG:32633");
  LocalMap const map(*lsr, *utm, {{-3000, -2000, -100}, {2500, 4000, 900}}, 100.0);
  simulation::Random random(1, 0);
  for (int i = 0; i < 500; ++i) {
    geo::XYZPoint const position(random.uniform(-3000, 2500), random.uniform(-2000, 4000), random.uniform(-100, 900));
    geo::XYZPoint expected;
    ASSERT_EQ(geo::coordSys::transform(lsr.get(), utm.get(), position, expected), 0);
    geo::XYZPoint const actual = map.at(position);
    EXPECT_NEAR(actual.x, expected.x, 0.4e-3);
    EXPECT_NEAR(actual.y, expected.y, 0.4e-3);
    EXPECT_NEAR(actual.z, expected.z, 0.4e-3);
  }
}

TEST(LocalMap, GoesOnBesideItsBox) {
  System const lsr = local(14.0, 49.0);
  System const utm = system("EPSG:32633");
  LocalMap const map(*lsr, *utm, {{0, 0, 0}, {300, 300, 0}}, 100.0);
  for (geo::XYZPoint const& position : {geo::XYZPoint(-40, 310, 80), geo::XYZPoint(330, -20, -300)}) {
    geo::XYZPoint expected;
    geo::coordSys::transform(lsr.get(), utm.get(), position, expected);
    EXPECT_NEAR(map.at(position).x, expected.x, 5e-3);
    EXPECT_NEAR(map.at(position).y, expected.y, 5e-3);
    EXPECT_NEAR(map.at(position).z, expected.z, 5e-3);
  }
}

TEST(LocalMap, LongitudesRunOnAcrossTheDateLine) {
  System const lsr = local(179.999, -17.0);
  System const geographic = system("EPSG:4326");
  LocalMap const map(*lsr, *geographic, {{-500, -500, 0}, {500, 500, 100}}, 100.0);
  double const west = map.at({-350, 0, 50}).x;
  double const east = map.at({350, 0, 50}).x;
  EXPECT_NEAR(east - west, 700.0 / (111319.49 * std::cos(17.0 * degree)), 1e-5);
  // From the anchor 0.001 degrees, 106.5 m, to the date line: in the same square of nodes.
  double const middle = map.at({130, 0, 50}).x;
  EXPECT_NEAR((middle - west) / (east - west), 480.0 / 700.0, 1e-4);
}

TEST(LocalMap, PositionsThatTheTargetDoesntHaveAreNaN) {
  System const lsr = local(14.0, 49.0);
  LocalMap const map(*lsr, *system("EPSG:32633"), {{0, 0, 0}, {300, 300, 10}}, 100.0);
  EXPECT_TRUE(std::isnan(map.at({std::nan(""), 0, 0}).x));
  EXPECT_TRUE(std::isnan(map.at({0, 0, std::nan("")}).z));
}

}  // namespace
