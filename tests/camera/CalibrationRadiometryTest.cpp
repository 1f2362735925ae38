// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CalibrationRadiometryKesV2.h>

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

using sensor::CalibrationRadiometryKesV1;
using sensor::CalibrationRadiometryKesV2;

TEST(CalibrationRadiometryKesV1, FreshOneHasUnitGainOnTheLeft) {
  CalibrationRadiometryKesV1 const fresh;
  EXPECT_EQ(fresh.radiometricGain(), 1.0F);
  EXPECT_EQ(fresh.centerWavelength(), 0.0F);
  EXPECT_EQ(fresh.bandWidth(), 0.0F);
  EXPECT_EQ(fresh.irradianceGain(), 0.0F);
  EXPECT_TRUE(fresh.leftSideGain());
  EXPECT_TRUE(fresh.calibDateTime().isNull());
}

TEST(CalibrationRadiometryKesV2, FreshOneHasUnitGainAndEmptySets) {
  CalibrationRadiometryKesV2 const fresh(3);
  EXPECT_EQ(fresh.radiometricGain(), 1.0F);
  EXPECT_EQ(fresh.dsnuOffsets().size(), 3U);
  EXPECT_EQ(fresh.prnuFactors().size(), 3U);
  EXPECT_TRUE(fresh.dsnuOffsets()[2].empty());
  EXPECT_TRUE(CalibrationRadiometryKesV2(0).dsnuOffsets().empty());
  EXPECT_TRUE(CalibrationRadiometryKesV2(0).prnuFactors().empty());
}

TEST(CalibrationRadiometryKesV2, SetsAndCurvesAreKept) {
  CalibrationRadiometryKesV2 radiometry(2);
  radiometry.setDsnuOffsets(1, {7, 8});
  radiometry.setPrnuFactors(0, {0.5F});
  radiometry.setLeftNonLinearity({{1.0, 2.0}});
  radiometry.setRightNonLinearity({{3.0, 4.0}, {5.0, 6.0}});
  radiometry.setLeftNonLinearity(radiometry.leftNonLinearity());
  EXPECT_EQ(radiometry.dsnuOffsets()[1][1], 8);
  EXPECT_EQ(radiometry.prnuFactors()[0][0], 0.5F);
  EXPECT_EQ(radiometry.leftNonLinearity()[0].second, 2.0);
  EXPECT_EQ(radiometry.rightNonLinearity()[1].first, 5.0);
}

template <class Radiometry>
void setAll(Radiometry& radiometry) {
  radiometry.setRadiometricGain(0.25F);
  radiometry.setCenterWavelength(5e-7F);
  radiometry.setBandWidth(6e-8F);
}

TEST(CalibrationRadiometryKes, BothVersionsAnswerAlikeThroughTheBase) {
  CalibrationRadiometryKesV1 v1;
  CalibrationRadiometryKesV2 v2(1);
  setAll(v1);
  setAll(v2);
  for (sensor::CalibrationRadiometryKes const* radiometry :
       {static_cast<sensor::CalibrationRadiometryKes const*>(&v1),
        static_cast<sensor::CalibrationRadiometryKes const*>(&v2)}) {
    EXPECT_EQ(radiometry->radiometricGain(), 0.25F);
    EXPECT_EQ(radiometry->centerWavelength(), 5e-7F);
    EXPECT_EQ(radiometry->bandWidth(), 6e-8F);
  }
}

TEST(CalibrationRadiometryKes, CopyHasADateOfItsOwn) {
  CalibrationRadiometryKesV2 source(1);
  source.setCalibDateTime(QDateTime::fromSecsSinceEpoch(100));
  CalibrationRadiometryKesV2 const copy = source;
  source.setCalibDateTime(QDateTime::fromSecsSinceEpoch(200));
  EXPECT_EQ(copy.calibDateTime().toSecsSinceEpoch(), 100);
}

}  // namespace
