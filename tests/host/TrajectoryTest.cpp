// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <kes/kes.h>
#include <sensor/EOPData.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

/// An orientation of a record each 0.05 s from 99 s on, at 100 m/s, over x = 0 at 100 s.
class Trajectory : public testing::Test {
protected:
  Trajectory() { mSmall.sensorId = "Trajectory"; }

  kes::Strip open(bool standardDeviations = false) const {
    kes::StripOptions options;
    options.calibrations = {mFolder / "calibration"};
    options.standardDeviations = standardDeviations;
    return kes::Strip(mFolder / "strip.stp", options);
  }
  /// Gives record i deviations of i and multiples of it, angles a thousandth, and the file others.
  void writeStandardDeviations() const {
    std::string const file = mFolder / "flight.eop";
    sensor::EOPData eop(file, true, false);
    eop.setDefaultStdDevs(7.0F, 8.0F, 9.0F, 0.25F, 0.5F, 0.75F);
    for (int i = 0; i < eop.numSets(); ++i) {
      auto const d = static_cast<float>(i);
      eop.setStdDevs(i, d, 2 * d, 3 * d, 4 * d / 1024, 5 * d / 1024, 6 * d / 1024);
    }
    eop.write(file, 0);
  }
  static void expectAccuracy(kes::TrajectoryAccuracy const& accuracy, double d, double tolerance) {
    EXPECT_NEAR(accuracy.position.x, d, tolerance);
    EXPECT_NEAR(accuracy.position.y, 2 * d, tolerance);
    EXPECT_NEAR(accuracy.position.z, 3 * d, tolerance);
    EXPECT_NEAR(accuracy.attitude.omega, 4 * d / 1024, tolerance);
    EXPECT_NEAR(accuracy.attitude.phi, 5 * d / 1024, tolerance);
    EXPECT_NEAR(accuracy.attitude.kappa, 6 * d / 1024, tolerance);
  }
  static void expectDefaults(kes::TrajectoryAccuracy const& accuracy) {
    EXPECT_EQ(accuracy.position.x, 7.0);
    EXPECT_EQ(accuracy.position.y, 8.0);
    EXPECT_EQ(accuracy.position.z, 9.0);
    EXPECT_EQ(accuracy.attitude.omega, 0.25);
    EXPECT_EQ(accuracy.attitude.phi, 0.5);
    EXPECT_EQ(accuracy.attitude.kappa, 0.75);
  }
  template <class Action>
  static std::string refusalOf(Action action) {
    try {
      action();
    } catch (std::out_of_range const& error) {
      return error.what();
    }
    return "nothing was thrown";
  }

  test::TempFolder mFolder;
  test::SmallStrip mSmall;
};

TEST_F(Trajectory, AccuracyIsLinearBetweenRecordsAndThatOfTheEndsBeyond) {
  mSmall.write(mFolder);
  writeStandardDeviations();
  kes::Strip const strip = open(true);
  kes::Trajectory const trajectory = strip.trajectory();
  EXPECT_TRUE(trajectory.hasStandardDeviations());
  // Record 20 is at 100 s, record 21 at 100.05 s.
  expectAccuracy(*trajectory.accuracyAt(100.0), 20.0, 1e-3);
  expectAccuracy(*trajectory.accuracyAt(100.02), 20.4, 1e-3);
  expectAccuracy(*trajectory.accuracyAt(0.0), 0.0, 0.0);
  auto const last = static_cast<double>(trajectory.size() - 1);
  expectAccuracy(*trajectory.accuracyAt(1e6), last, 0.0);
}

TEST_F(Trajectory, AccuracyIsTheFilesDefaultWhereThatOfRecordsWasntAskedFor) {
  mSmall.write(mFolder);
  writeStandardDeviations();
  kes::Strip const strip = open(false);
  EXPECT_FALSE(strip.trajectory().hasStandardDeviations());
  expectDefaults(*strip.trajectory().accuracyAt(100.0));
  expectDefaults(*strip.trajectory().accuracyAt(1e6));
}

TEST_F(Trajectory, ThereIsNeitherAPointNorAnAccuracyAtATimeThatIsntFinite) {
  mSmall.write(mFolder);
  writeStandardDeviations();
  kes::Strip const strip = open(true);
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (double const time : {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity}) {
    EXPECT_FALSE(strip.trajectory().accuracyAt(time)) << time;
    EXPECT_FALSE(strip.trajectory().at(time)) << time;
  }
}

TEST_F(Trajectory, HasTheRecordsOfItsFile) {
  mSmall.write(mFolder);
  kes::Strip const strip = open();
  kes::Trajectory const trajectory = strip.trajectory();
  // 2 s more than 101 lines of 0.01 s, in steps of 0.05 s.
  ASSERT_EQ(trajectory.size(), 62U);
  EXPECT_EQ(trajectory.fileName(), mFolder / "flight.eop");
  EXPECT_EQ(trajectory[0].time, 99.0);
  EXPECT_NEAR(trajectory[0].position.x, -100.0, 1e-9);
  EXPECT_NEAR(trajectory[61].time, 99.0 + 61 * 0.05, 1e-12);
  EXPECT_NEAR(trajectory[61].position.x, -100.0 + 61 * 5.0, 1e-9);
  EXPECT_EQ(trajectory[61].position.z, 1000.0);
  EXPECT_FALSE(trajectory[61].isExtrapolated);
  EXPECT_EQ(trajectory.endTime(), trajectory[61].time);
  EXPECT_NEAR(trajectory.frequency(), 20.0, 1e-9);
  EXPECT_EQ(trajectory.anchor().longitude, -1.4);
  EXPECT_EQ(trajectory.anchor().latitude, 0.6);
  EXPECT_EQ(trajectory.anchor().height, 500.0);
}

TEST_F(Trajectory, RecordThatIsntThereIsRefused) {
  mSmall.write(mFolder);
  kes::Strip const strip = open();
  kes::Trajectory const trajectory = strip.trajectory();
  EXPECT_EQ(refusalOf([&] { static_cast<void>(trajectory[62]); }), "no orientation record 62 of 62");
  // As an int, that would be record 0.
  EXPECT_EQ(refusalOf([&] { static_cast<void>(trajectory[std::size_t{1} << 32]); }),
            "no orientation record 4294967296 of 62");
  EXPECT_EQ(refusalOf([&] { static_cast<void>(trajectory[SIZE_MAX]); }),
            "no orientation record 18446744073709551615 of 62");
}

TEST_F(Trajectory, OutlivesItsStrip) {
  mSmall.write(mFolder);
  auto strip = std::make_unique<kes::Strip>(open());
  kes::Trajectory const trajectory = strip->trajectory();
  strip.reset();
  EXPECT_EQ(trajectory[1].time, 99.05);
}

TEST_F(Trajectory, CameraRefusesABandOfOtherLettersWithTheKnownOnes) {
  mSmall.sensorId = "OtherLetters";
  mSmall.bands = {{"PANF27A", 12.0}, {"PANB14A", -8.0}};
  mSmall.write(mFolder);
  kes::Camera const camera = open().camera();
  EXPECT_EQ(refusalOf([&] { static_cast<void>(camera.band("panf27a")); }),
            "camera \"OtherLetters\" has no band \"panf27a\"; it has PANB14A, PANF27A");
  EXPECT_EQ(refusalOf([&] { static_cast<void>(camera.band("")); }),
            "camera \"OtherLetters\" has no band \"\"; it has PANB14A, PANF27A");
  EXPECT_EQ(camera.band("PANF27A").id, "PANF27A");
}

}  // namespace
