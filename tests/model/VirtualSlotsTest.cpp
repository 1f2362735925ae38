// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Slots.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/KESStripModel.h>

#include <gtest/gtest.h>

// Hosts are linked against these places: a new operation goes behind the last one.

namespace {

using sensor::KESStripModel;
using sensor::SensorModelBase;
using test::slotOf;

using Points = std::vector<geo::XYZPoint>;
using Positions = std::vector<geo::XYPoint>;

// The destructor has the places 0 and 1.
TEST(ModelVirtualSlots, ProjectionsComeFirst) {
  void (SensorModelBase::*run)(Points const&, int, Positions&) const = &SensorModelBase::lsrToImage;
  void (SensorModelBase::*one)(geo::XYZPoint const&, int, geo::XYPoint&) const = &SensorModelBase::lsrToImage;
  void (SensorModelBase::*withTdi)(geo::XYPoint const&, float, int, float, geo::XYZPoint&) const =
      &SensorModelBase::imageToLsr;
  void (SensorModelBase::*plain)(geo::XYPoint const&, float, int, geo::XYZPoint&) const = &SensorModelBase::imageToLsr;
  EXPECT_EQ(slotOf(run), 2U);
  EXPECT_EQ(slotOf(one), 3U);
  EXPECT_EQ(slotOf(&SensorModelBase::lsrToImageSSE), 4U);
  EXPECT_EQ(slotOf(withTdi), 5U);
  EXPECT_EQ(slotOf(plain), 6U);
  EXPECT_EQ(slotOf(&SensorModelBase::imageToL0), 7U);
  EXPECT_EQ(slotOf(&SensorModelBase::l0ToImage), 8U);
}

TEST(ModelVirtualSlots, MeasuresFollow) {
  double (SensorModelBase::*atHeight)(SensorModelBase const&, int, int, float) const =
      &SensorModelBase::baseHeightRatio;
  double (SensorModelBase::*ratio)(SensorModelBase const&, int, int) const = &SensorModelBase::baseHeightRatio;
  EXPECT_EQ(slotOf(&SensorModelBase::flightAzimuth), 9U);
  EXPECT_EQ(slotOf(&SensorModelBase::stereoAzimuth), 10U);
  EXPECT_EQ(slotOf(atHeight), 11U);
  EXPECT_EQ(slotOf(ratio), 12U);
  EXPECT_EQ(slotOf(&SensorModelBase::isEpipolarCurved), 13U);
  EXPECT_EQ(slotOf(&SensorModelBase::azimuth), 14U);
  EXPECT_EQ(slotOf(&SensorModelBase::zenith), 15U);
  EXPECT_EQ(slotOf(&SensorModelBase::lookAngle), 16U);
  EXPECT_EQ(slotOf(&SensorModelBase::meanFlyingHeight), 17U);
  EXPECT_EQ(slotOf(&SensorModelBase::meanTerrainHeight), 18U);
  EXPECT_EQ(slotOf(&SensorModelBase::gsd), 19U);
  EXPECT_EQ(slotOf(&SensorModelBase::scale), 20U);
}

TEST(ModelVirtualSlots, PartsOfTheStripFollow) {
  EXPECT_EQ(slotOf(&SensorModelBase::lsrSystem), 21U);
  EXPECT_EQ(slotOf(&SensorModelBase::tdiData), 22U);
  EXPECT_EQ(slotOf(&SensorModelBase::tdi), 23U);
  EXPECT_EQ(slotOf(&SensorModelBase::integrationTime), 24U);
  EXPECT_EQ(slotOf(&SensorModelBase::calibrationGeometry), 25U);
  EXPECT_EQ(slotOf(&SensorModelBase::calibrationRadiometry), 26U);
  EXPECT_EQ(slotOf(&SensorModelBase::imageWidth), 27U);
  EXPECT_EQ(slotOf(&SensorModelBase::imageIlluminatedWidth), 28U);
  EXPECT_EQ(slotOf(&SensorModelBase::imageHeight), 29U);
  EXPECT_EQ(slotOf(&SensorModelBase::bandIndex), 30U);
  EXPECT_EQ(slotOf(&SensorModelBase::absTime), 31U);
  EXPECT_EQ(slotOf(&SensorModelBase::gpsTime), 32U);
  EXPECT_EQ(slotOf(&SensorModelBase::sseEnabled), 33U);
}

TEST(ModelVirtualSlots, StripAddsItsMappingSystem) {
  EXPECT_EQ(slotOf(&KESStripModel::setMappingSystem), 34U);
  EXPECT_EQ(slotOf(&KESStripModel::mappingSystem), 35U);
}

}  // namespace
