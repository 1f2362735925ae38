// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CalibrationRadiometryKesV2.h>

#include <QDateTime>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

using sensor::CalibrationInfo;

static_assert(std::is_abstract_v<CalibrationInfo> && std::is_abstract_v<sensor::CalibrationGeometry>);
static_assert(std::is_abstract_v<sensor::CalibrationRadiometry>);
static_assert(std::is_abstract_v<sensor::CalibrationRadiometryKes>);
static_assert(std::has_virtual_destructor_v<CalibrationInfo>);

// Every kind of record, seen as what they have in common.
std::vector<std::unique_ptr<CalibrationInfo>> records() {
  std::vector<std::unique_ptr<CalibrationInfo>> all;
  all.push_back(std::make_unique<sensor::CalibrationGeometryKes>());
  all.push_back(std::make_unique<sensor::CalibrationRadiometryKesV1>());
  all.push_back(std::make_unique<sensor::CalibrationRadiometryKesV2>(1));
  return all;
}

TEST(CalibrationInfo, FreshRecordIsOfUnknownOrigin) {
  for (auto const& record : records()) {
    EXPECT_EQ(record->calibSource(), "Unknown");
    EXPECT_EQ(record->sensorId(), "Unknown");
    EXPECT_EQ(record->bandId(), "Unknown");
    EXPECT_EQ(record->fileName(), "");
    EXPECT_TRUE(record->calibDateTime().isNull());
  }
}

TEST(CalibrationInfo, EachSetterChangesWhatItNames) {
  QDateTime const time = QDateTime::fromSecsSinceEpoch(1268403330);
  for (auto const& record : records()) {
    record->setCalibSource("Test bench");
    record->setSensorId("30107");
    record->setBandId("PANF27A");
    record->setFileName("/c/PANF27A.cam");
    record->setCalibDateTime(time);
    EXPECT_EQ(record->calibSource(), "Test bench");
    EXPECT_EQ(record->sensorId(), "30107");
    EXPECT_EQ(record->bandId(), "PANF27A");
    EXPECT_EQ(record->fileName(), "/c/PANF27A.cam");
    EXPECT_EQ(record->calibDateTime(), time);
  }
}

TEST(CalibrationInfo, SecondTimeReplacesTheFirst) {
  for (auto const& record : records()) {
    QDateTime const& seen = record->calibDateTime();
    record->setCalibDateTime(QDateTime::fromSecsSinceEpoch(100));
    record->setCalibDateTime(QDateTime::fromSecsSinceEpoch(200));
    EXPECT_EQ(record->calibDateTime().toSecsSinceEpoch(), 200);
    EXPECT_EQ(&record->calibDateTime(), &seen);
  }
}

TEST(CalibrationInfo, TimeMayBeSetToItself) {
  for (auto const& record : records()) {
    record->setCalibDateTime(QDateTime::fromSecsSinceEpoch(100));
    record->setCalibDateTime(record->calibDateTime());
    EXPECT_EQ(record->calibDateTime().toSecsSinceEpoch(), 100);
  }
}

}  // namespace
