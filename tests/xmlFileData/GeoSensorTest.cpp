// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"

#include <xmlFileData/GeoLensSystem.h>
#include <xmlFileData/GeoMisalignment.h>
#include <xmlFileData/GeoSensor.h>

#include <string>
#include <utility>

namespace {

using testing::ElementsAre;
using xmlFileData::DistortionGrid;
using xmlFileData::GeoLensSystem;
using xmlFileData::GeoMisalignment;
using xmlFileData::GeoSensor;
using xmlFileData::GeoSensorHead;

GeoSensorHead headOf(std::string const& structure, int rows, int columns) {
  return {"Line", structure, 0.0065, rows, columns};
}

DistortionGrid smallGrid(std::string const& channel = "PANF27A") {
  DistortionGrid grid(channel);
  grid.addRow({{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}, {7.0, 8.0}});
  return grid;
}

TEST(GeoSensorHead, RefusesOddCountsOfABayerStructure) {
  EXPECT_MESSAGE(headOf("bayer_rggb", 2, 1001).checkStructure(), "Sensor rows and columns must be even");
  EXPECT_MESSAGE(headOf("bayer_rggb", 3, 1000).checkStructure(), "Sensor rows and columns must be even");
  EXPECT_MESSAGE(headOf("GBRG-BAYER", 1, 1001).checkStructure(), "Sensor rows and columns must be even");
  EXPECT_MESSAGE(headOf("Bayer", -1, 1000).checkStructure(), "Sensor rows and columns must be even");
}

TEST(GeoSensorHead, AcceptsEvenCountsAndOtherStructures) {
  headOf("bayer_rggb", 2, 1000).checkStructure();
  headOf("Mono", 1, 1001).checkStructure();
  headOf("", 1, 1001).checkStructure();
  headOf("Baye r", 1, 1001).checkStructure();
}

TEST(GeoSensorHead, IsEqualToFourDecimalsOfThePixelSize) {
  GeoSensorHead const head{"Line", "Mono", 0.0065, 1, 12000};
  EXPECT_TRUE(head == (GeoSensorHead{"Line", "Mono", 0.00653, 1, 12000}));
  EXPECT_FALSE(head == (GeoSensorHead{"Line", "Mono", 0.00658, 1, 12000}));
  EXPECT_TRUE(head != (GeoSensorHead{"Line", "Mono", 0.00658, 1, 12000}));
  EXPECT_FALSE(head == (GeoSensorHead{"line", "Mono", 0.0065, 1, 12000}));
  EXPECT_FALSE(head == (GeoSensorHead{"Line", "mono", 0.0065, 1, 12000}));
  EXPECT_FALSE(head == (GeoSensorHead{"Line", "Mono", 0.0065, 2, 12000}));
  EXPECT_FALSE(head == (GeoSensorHead{"Line", "Mono", 0.0065, 1, 12001}));
}

TEST(GeoLensSystem, IsEqualToFourDecimals) {
  GeoLensSystem const lens{62.6432, 0.0005};
  EXPECT_TRUE(lens == (GeoLensSystem{62.64323, 0.00053}));
  EXPECT_FALSE(lens == (GeoLensSystem{62.64328, 0.0005}));
  EXPECT_FALSE(lens == (GeoLensSystem{62.6432, 0.00058}));
  EXPECT_TRUE(lens != (GeoLensSystem{62.6432, 0.00058}));
}

TEST(GeoLensSystem, IsWrittenWithAHalfThatGoesUp) {
  EXPECT_TRUE((GeoLensSystem{62.77775, 0.0}) == (GeoLensSystem{62.7778, 0.0}));
  EXPECT_FALSE((GeoLensSystem{62.77775, 0.0}) == (GeoLensSystem{62.7777, 0.0}));
}

TEST(GeoMisalignment, IsEqualToFiveDecimalsOfEachValue) {
  GeoMisalignment const misalignment{1.0, 2.0, 3.0, 4.0, 5.0, 6.0};
  for (double GeoMisalignment::*value :
       {&GeoMisalignment::Omega, &GeoMisalignment::SigmaOmega, &GeoMisalignment::Phi, &GeoMisalignment::SigmaPhi,
        &GeoMisalignment::Kappa, &GeoMisalignment::SigmaKappa}) {
    GeoMisalignment other = misalignment;
    other.*value += 3e-6;
    EXPECT_TRUE(misalignment == other);
    other.*value += 5e-6;
    EXPECT_FALSE(misalignment == other);
    EXPECT_TRUE(misalignment != other);
  }
}

TEST(GeoMisalignment, HasItsValuesInTheOrderOfTheFile) {
  GeoMisalignment const misalignment{1.0, 2.0, 3.0, 4.0, 5.0, 6.0};
  EXPECT_EQ(misalignment.Omega, 1.0);
  EXPECT_EQ(misalignment.SigmaOmega, 2.0);
  EXPECT_EQ(misalignment.Phi, 3.0);
  EXPECT_EQ(misalignment.SigmaPhi, 4.0);
  EXPECT_EQ(misalignment.Kappa, 5.0);
  EXPECT_EQ(misalignment.SigmaKappa, 6.0);
}

TEST(GeoSensor, HasTheHeadAndTheGridThatItIsMadeOf) {
  GeoSensor const sensor(headOf("Mono", 1, 2), smallGrid());
  EXPECT_TRUE(sensor.head() == headOf("Mono", 1, 2));
  EXPECT_TRUE(sensor.grid() == smallGrid());
  EXPECT_TRUE(sensor.headView() == headOf("Mono", 1, 2));
  EXPECT_TRUE(sensor.gridView() == smallGrid());
}

TEST(GeoSensor, RefusesAGridOfDifferences) {
  EXPECT_MESSAGE(GeoSensor(headOf("Mono", 1, 2), DistortionGrid("PAN", true)),
                 "KESB00 doesn't support delta value distortion grids");
}

TEST(GeoSensor, GivesCopiesThatChangeWithoutIt) {
  GeoSensor const sensor(headOf("Mono", 1, 2), smallGrid());
  GeoSensorHead head = sensor.head();
  head.rows = 99;
  DistortionGrid grid = sensor.grid();
  grid.setPositions({9.0, 9.0}, {9.0, 9.0});
  EXPECT_EQ(sensor.headView().rows, 1);
  EXPECT_THAT(sensor.gridView().onlyRow().row, ElementsAre(1.0, 2.0));
}

TEST(GeoSensor, ReplacesThePlacesOfItsPixels) {
  GeoSensor sensor(headOf("Mono", 1, 2), smallGrid());
  sensor.setPositions({10.0, 20.0}, {30.0, 40.0});
  EXPECT_THAT(sensor.gridView().onlyRow().row, ElementsAre(10.0, 20.0));
  EXPECT_THAT(sensor.gridView().onlyRow().column, ElementsAre(30.0, 40.0));
  EXPECT_MESSAGE(sensor.setPositions({1.0}, {30.0, 40.0}), "Inconsistent vector size!");
}

TEST(GeoSensor, IsEqualWithEqualHeadAndGrid) {
  GeoSensor const sensor(headOf("Mono", 1, 2), smallGrid());
  EXPECT_TRUE(sensor == GeoSensor(headOf("Mono", 1, 2), smallGrid()));
  EXPECT_FALSE(sensor == GeoSensor(headOf("Mono", 1, 3), smallGrid()));
  EXPECT_FALSE(sensor == GeoSensor(headOf("Mono", 1, 2), smallGrid("PANB14A")));
  EXPECT_TRUE(sensor != GeoSensor(headOf("Mono", 1, 2), smallGrid("PANB14A")));
}

}  // namespace
