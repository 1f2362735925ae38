// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AllocationLimit.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKes.h>

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <utility>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CalibrationRadiometryKesV1;
using sensor::CameraKes;

class NoFiles : public sensor::SerializerCameraKes {
public:
  NoFiles() : SerializerCameraKes("") {}
  void read(CameraKes* /*camera*/) const override {}
  void write(CameraKes const* /*camera*/) const override {}
};

template <class Calibration>
std::unique_ptr<Calibration> calibrationOf(std::string const& bandId) {
  auto calibration = std::make_unique<Calibration>();
  calibration->setBandId(bandId);
  return calibration;
}

// Enters a pair while memory lasts for `count` allocations; whether it did.
bool enter(CameraKes& camera, std::string const& bandId, int count) {
  auto geometry = calibrationOf<CalibrationGeometryKes>(bandId);
  auto radiometry = calibrationOf<CalibrationRadiometryKesV1>(bandId);
  try {
    test::AllocationLimit const limit(count);
    camera.addCalibrations(std::move(geometry), std::move(radiometry));
    return true;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

// A band id that is too long to be kept without memory.
std::string const longId(100, 'x');

TEST(CameraKesMemory, PairIsEnteredWholeOrNotAtAll) {
  int failures = 0;
  for (bool entered = false; !entered; ++failures) {
    CameraKes camera("KESA0", "007", 4, NoFiles());
    entered = enter(camera, longId, failures);
    EXPECT_EQ(camera.calibrationGeometry(longId) != nullptr, entered) << failures;
    EXPECT_EQ(camera.calibrationRadiometry(longId) != nullptr, entered) << failures;
  }
  // A node and a key for each of the two, at least.
  EXPECT_GT(failures, 4);
}

TEST(CameraKesMemory, PairThatCantBeEnteredLeavesTheOneBefore) {
  CameraKes camera("KESA0", "007", 4, NoFiles());
  ASSERT_TRUE(enter(camera, longId, 1000));
  auto const* const geometry = camera.calibrationGeometry(longId);
  auto const* const radiometry = camera.calibrationRadiometry(longId);
  for (int count = 0; !enter(camera, longId, count); ++count) {
    EXPECT_EQ(camera.calibrationGeometry(longId), geometry) << count;
    EXPECT_EQ(camera.calibrationRadiometry(longId), radiometry) << count;
  }
  EXPECT_NE(camera.calibrationRadiometry(longId), nullptr);
}

}  // namespace
