// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"
#include "support/Matchers.h"

#include <geo/coordSysFactory.h>
#include <kesgdal/OrthoGrid.h>

#include <cmath>

namespace {

using kesgdal::Extent;
using kesgdal::OrthoGrid;
using test::OrthoFlight;

TEST(OrthoGrid, EdgesAreMultiplesOfThePixelsAroundTheBox) {
  kes::CoordinateSystem const utm("EPSG:32617");
  OrthoGrid const grid({{-10.3, 99.9}, {5.1, 140.2}}, 2.5, utm);
  EXPECT_EQ(grid.geoTransform(), (kesgdal::GeoTransform{-12.5, 2.5, 0.0, 142.5, 0.0, -2.5}));
  EXPECT_EQ(grid.columns(), 8);  // -12.5 to 7.5
  EXPECT_EQ(grid.rows(), 18);    // 142.5 to 97.5
}

TEST(OrthoGrid, BoxOnTheEdgesStaysAsItIs) {
  kes::CoordinateSystem const utm("EPSG:32617");
  OrthoGrid const grid({{5.0, 10.0}, {15.0, 25.0}}, 5.0, utm);
  EXPECT_EQ(grid.columns(), 2);
  EXPECT_EQ(grid.rows(), 3);
  OrthoGrid const point({{5.0, 10.0}, {5.0, 10.0}}, 5.0, utm);
  EXPECT_EQ(point.columns(), 1);
  EXPECT_EQ(point.rows(), 1);
}

// A degree is 6378137 m pi / 180 along the equator; a US survey foot is 1200 / 3937 m.
TEST(OrthoGrid, PixelsAreMetresInTheUnitOfTheMap) {
  EXPECT_NEAR(OrthoGrid({{-80.0, 34.0}, {-79.99, 34.01}}, 10.0, kes::CoordinateSystem("EPSG:4326")).pixelSize(),
              10.0 / (6378137.0 * 3.14159265358979323846 / 180.0), 1e-18);
  EXPECT_NEAR(OrthoGrid({{0.0, 0.0}, {10.0, 10.0}}, 1.0, kes::CoordinateSystem("EPSG:2264")).pixelSize(),
              3937.0 / 1200.0, 1e-12);
}

TEST(OrthoGrid, SizesThatCantBeAreReported) {
  kes::CoordinateSystem const utm("EPSG:32617");
  Extent const box{{0.0, 0.0}, {3000.0, 2000.0}};
  EXPECT_MESSAGE(OrthoGrid(box, 0.0, utm), "ground sampling distance of 0 m isn't above 0");
  EXPECT_MESSAGE(OrthoGrid(box, -0.5, utm), "ground sampling distance of -0.5 m isn't above 0");
  EXPECT_MESSAGE(OrthoGrid(box, std::nan(""), utm), "ground sampling distance of nan m isn't above 0");
  EXPECT_MESSAGE(OrthoGrid(box, INFINITY, utm), "ground sampling distance of inf m isn't above 0");
  EXPECT_MESSAGE(OrthoGrid(box, 0.001, utm),
                 "ground sampling distance of 0.001 m gives an image of 3000000 x 2000000 pixels");
  EXPECT_MESSAGE(OrthoGrid(box, 1e-6, utm),
                 "ground sampling distance of 1e-06 m gives an image of 3000000000 x 2000000000 pixels");
}

TEST(OrthoGrid, UnitedBoxHoldsBoth) {
  Extent const all = kesgdal::united({{1.0, 5.0}, {2.0, 9.0}}, {{0.0, 6.0}, {1.5, 12.0}});
  EXPECT_EQ(all.low.x, 0.0);
  EXPECT_EQ(all.low.y, 5.0);
  EXPECT_EQ(all.high.x, 2.0);
  EXPECT_EQ(all.high.y, 12.0);
}

// On level ground at the anchor's height the image covers -0.5 to 299.5 m along the flight, and 101 m to each side.
TEST(Footprint, IsTheBoxAroundTheOuterEdgesOfTheImage) {
  for (double const direction : {0.0, 0.6}) {
    OrthoFlight flight(direction);
    flight.relief.fill([](int, int) { return 500.0; });
    flight.openTerrain();
    auto const found = kesgdal::footprint(flight.band(0), flight.map, *flight.terrain);
    ASSERT_TRUE(found);
    Extent expected{{1e99, 1e99}, {-1e99, -1e99}};
    for (double const along : {-0.5, 299.5}) {
      for (double const across : {-101.0, 101.0}) {
        geo::XYPoint const corner = flight.mapOf({along * std::cos(direction) - across * std::sin(direction),
                                                  along * std::sin(direction) + across * std::cos(direction), 0.0});
        expected = kesgdal::united(expected, {corner, corner});
      }
    }
    EXPECT_NEAR(found->low.x, expected.low.x, 0.02);
    EXPECT_NEAR(found->low.y, expected.low.y, 0.02);
    EXPECT_NEAR(found->high.x, expected.high.x, 0.02);
    EXPECT_NEAR(found->high.y, expected.high.y, 0.02);
  }
}

// A hill of 100 m under one edge brings the line of sight's end nearer: 101 m become 101 m * 900 / 1000.
TEST(Footprint, FollowsTheTerrain) {
  OrthoFlight flight;
  flight.relief.fill([&](int, int row) {
    return flight.relief.y(0.0, row) > flight.mapOf({0.0, 50.0, 0.0}).y ? 600.0 : 500.0;
  });
  flight.openTerrain();
  auto const found = kesgdal::footprint(flight.band(0), flight.map, *flight.terrain);
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->high.y, flight.mapOf({299.5, 90.9, 0.0}).y, 5.0);
  EXPECT_NEAR(found->low.y, flight.mapOf({0.0, -101.0, 0.0}).y, 5.0);
}

// Where the edge meets no surface, the box holds all that an edge on the lowest or the highest terrain would reach.
TEST(Footprint, ReachesOverHolesInTheTerrain) {
  OrthoFlight flight;
  flight.relief.noData = -1.0;
  flight.relief.fill([&](int column, int) {
    return flight.relief.x(column) > flight.mapOf({200.0, 0.0, 0.0}).x ? -1.0 : 480.0;
  });
  flight.relief.values[0] = 300.0;
  flight.openTerrain();
  auto const found = kesgdal::footprint(flight.band(0), flight.map, *flight.terrain);
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->high.x, flight.mapOf({299.5, -121.2, -200.0}).x, 0.1);
  EXPECT_NEAR(found->low.y, flight.mapOf({200.0, -121.2, -200.0}).y, 0.1);  // the map's north is turned
}

TEST(Footprint, IsFoundWhenOnlyTheMiddleIsCovered) {
  OrthoFlight flight;
  flight.relief.geoTransform = {flight.mapOf({140.0, 0.0, 0.0}).x,  4.0, 0.0,
                                flight.mapOf({140.0, 20.0, 0.0}).y, 0.0, -4.0};
  flight.relief.columns = 10;
  flight.relief.rows = 10;
  flight.relief.fill([](int, int) { return 500.0; });
  flight.openTerrain();
  EXPECT_TRUE(kesgdal::footprint(flight.band(0), flight.map, *flight.terrain));
}

TEST(Footprint, IsNothingBesideTheTerrain) {
  OrthoFlight flight;
  flight.relief.geoTransform[0] += 5000.0;
  flight.openTerrain();
  EXPECT_FALSE(kesgdal::footprint(flight.band(0), flight.map, *flight.terrain));
}

TEST(Footprint, SurfaceThatCantBeReadIsAFailure) {
  OrthoFlight const flight;
  flight.cutTerrain();
  EXPECT_THAT(
      test::messageOf([&] { static_cast<void>(kesgdal::footprint(flight.band(0), flight.map, *flight.terrain)); }),
      testing::StartsWith("Can't read elevation model \"" + flight.terrain->fileName() + "\": "));
}

}  // namespace
