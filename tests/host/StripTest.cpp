// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <kes/kes.h>
#include <sensor/CameraFactory.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <thread>

namespace {

using kes::Status;

class Strip : public testing::Test {
protected:
  Strip() { mSmall.sensorId = testing::UnitTest::GetInstance()->current_test_info()->name(); }

  kes::StripOptions options() const {
    kes::StripOptions options;
    options.calibrations = {mFolder / "calibration"};
    return options;
  }
  kes::Strip open() { return kes::Strip(mSmall.write(mFolder), options()); }

  test::TempFolder mFolder;
  test::SmallStrip mSmall;
};

TEST_F(Strip, TenLinesLeadFromAFileToTheGround) {
  kes::Strip const strip = open();
  // Line 50 of 1 m is over x = 50, the middle pixel of 101 straight below.
  auto const [ground, status] = strip.band("PANN00A").toGround(geo::XYPoint(50.0, 50.0), {});
  EXPECT_EQ(status, Status::ok);
  EXPECT_NEAR(ground.x, 50.0, 1e-4);
  EXPECT_NEAR(ground.y, 0.0, 1e-4);
  EXPECT_EQ(ground.z, 0.0);
}

TEST_F(Strip, BandsAreFoundByIdAndIndex) {
  mSmall.bands = {{"PANF27A", 12.0}, {"PANB14A", -8.0, true}};
  kes::Strip const strip = open();
  EXPECT_EQ(strip.bandCount(), 2);
  EXPECT_EQ(strip.bandIds(), (std::vector<std::string>{"PANF27A", "PANB14A"}));
  EXPECT_TRUE(strip.hasBand("PANB14A"));
  EXPECT_FALSE(strip.hasBand("PANB14B"));
  EXPECT_EQ(strip.band("PANB14A").index(), 1);
  EXPECT_EQ(strip.band(0).id(), "PANF27A");
  EXPECT_EQ(strip.band(0).samples(), 101);
  EXPECT_EQ(strip.band(0).lines(), 101);
  EXPECT_NEAR(strip.band(0).lookAngle(), std::atan(12.0 / 50.0), 1e-6);
  EXPECT_NEAR(strip.band(0).gsd(), 2.0, 1e-5);
  EXPECT_EQ(strip.band(0).startTime(), 100.0);
  EXPECT_NEAR(strip.band(0).endTime(), 101.0, 1e-9);
}

TEST_F(Strip, ImageOfABandLiesInTheFolderOfImages) {
  mSmall.bands.push_back(test::SmallBand{.id = "PANN00B"});
  std::string text = test::contents(mSmall.write(mFolder));
  std::string const attribute = "filename=\"PANN00B.tif\"";
  ASSERT_NE(text.find(attribute), std::string::npos);
  text.replace(text.find(attribute), attribute.size(), "filename=\"\"");
  kes::Strip const strip(mFolder.file("strip.stp", text), options());
  EXPECT_EQ(strip.band(0).imageFile(), "PANN00A.tif");
  EXPECT_EQ(strip.band(0).imagePath(), mFolder / "images/PANN00A.tif");
  EXPECT_EQ(strip.band(1).imagePath(), "");
}

TEST_F(Strip, BandKnowsTheSystemAndTheModelOfItsStrip) {
  kes::Strip const strip = open();
  EXPECT_TRUE(strip.band(0).localSystem() == strip.localSystem());
  EXPECT_EQ(&strip.band(0).model(), &strip.model());
}

TEST_F(Strip, UnknownBandIsRefusedWithTheKnownOnes) {
  mSmall.bands = {{"PANF27A", 12.0}, {"PANB14A", -8.0}};
  kes::Strip const strip = open();
  std::string const name = strip.name();
  EXPECT_EQ(test::messageOf<std::out_of_range>([&] { static_cast<void>(strip.band("NIRF16A")); }),
            "strip \"" + name + "\" has no band \"NIRF16A\"; it has PANF27A, PANB14A");
  EXPECT_EQ(test::messageOf<std::out_of_range>([&] { static_cast<void>(strip.band(2)); }),
            "strip \"" + name + "\" has no band 2; it has 2");
  EXPECT_EQ(test::messageOf<std::out_of_range>([&] { static_cast<void>(strip.band(-1)); }),
            "strip \"" + name + "\" has no band -1; it has 2");
}

TEST_F(Strip, MissingFileIsTheLibrarysError) {
  EXPECT_EQ(test::messageOf<std::runtime_error>([&] { kes::Strip(mFolder / "none.stp"); }),
            "Error opening strip file:" + (mFolder / "none.stp"));
}

TEST_F(Strip, LoadsAndUnloadsWhileItsBandsGoOn) {
  kes::StripOptions later = options();
  later.load = false;
  kes::Strip strip(mSmall.write(mFolder), later);
  EXPECT_FALSE(strip.isLoaded());
  EXPECT_EQ(test::messageOf<std::logic_error>([&] { static_cast<void>(strip.band(0)); }),
            "strip \"" + strip.name() + "\" isn't loaded");
  EXPECT_EQ(test::messageOf<std::logic_error>([&] { static_cast<void>(strip.camera()); }),
            "strip \"" + strip.name() + "\" isn't loaded");
  strip.load();
  EXPECT_TRUE(strip.isLoaded());
  kes::Band const band = strip.band(0);
  strip.unload();
  EXPECT_FALSE(strip.isLoaded());
  EXPECT_EQ(band.lines(), 101);
  EXPECT_EQ(band.toGround(geo::XYPoint(50.0, 50.0), {}).status, Status::ok);
  kes::Strip moved = std::move(strip);
  moved.load();
  EXPECT_EQ(moved.band(0).toGround(geo::XYPoint(50.0, 50.0), {}).status, Status::ok);
}

TEST_F(Strip, OriginalOrientationIsUsedOnRequest) {
  mSmall.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"adjusted.eop\"/>";
  std::string const file = mSmall.write(mFolder);
  mSmall.writeEop(mFolder, "adjusted.eop", 30.0);
  kes::StripOptions original = options();
  original.orientation = kes::Orientation::original;
  kes::Strip const a(file, options());
  kes::Strip const b(file, original);
  EXPECT_TRUE(a.usesAdjustedOrientation());
  EXPECT_FALSE(b.usesAdjustedOrientation());
  geo::XYPoint const image(20.0, 30.0);
  EXPECT_NEAR(std::hypot(a.band(0).toGround(image, {}).position.x - b.band(0).toGround(image, {}).position.x,
                         a.band(0).toGround(image, {}).position.y - b.band(0).toGround(image, {}).position.y),
              30.0, 1e-6);
}

TEST_F(Strip, CalibrationFoldersArePutInFrontOnce) {
  std::string const file = mSmall.write(mFolder);
  std::size_t const before = sensor::CameraFactory::instance()->searchPaths().size();
  kes::Strip const a(file, options());
  kes::Strip const b(file, options());
  auto const& paths = sensor::CameraFactory::instance()->searchPaths();
  EXPECT_EQ(paths.size(), before + 1);
  EXPECT_EQ(paths.front(), mFolder / "calibration");
}

TEST_F(Strip, ThreadsMayOpenStripsAtOnce) {
  std::string const file = mSmall.write(mFolder);
  std::vector<std::thread> threads;
  std::vector<int> lines(8, 0);
  for (int& count : lines) {
    threads.emplace_back([&] { count = kes::Strip(file, options()).band(0).lines(); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(lines, std::vector<int>(8, 101));
}

TEST_F(Strip, CameraAndTrajectoryAreDescribed) {
  mSmall.bands = {{"PANF27A", 12.0}, {"PANB14A", -8.0, true}};
  kes::Strip const strip = open();
  kes::Camera const camera = strip.camera();
  EXPECT_EQ(camera.sensorId(), mSmall.sensorId);
  EXPECT_EQ(camera.bandIds(), (std::vector<std::string>{"PANB14A", "PANF27A"}));
  EXPECT_EQ(kes::Camera::of(camera.platform()).folder(), camera.folder());
  kes::CameraBand const back = camera.band("PANB14A");
  EXPECT_EQ(back.samples, 101);
  EXPECT_NEAR(back.focalLength, 0.05, 1e-9);
  EXPECT_NEAR(back.pixelSize, 1e-4, 1e-10);
  EXPECT_TRUE(back.isReverse);
  EXPECT_FALSE(camera.bands()[1].isReverse);
  EXPECT_EQ(test::messageOf<std::out_of_range>([&] { static_cast<void>(camera.band("X")); }),
            "camera \"" + mSmall.sensorId + "\" has no band \"X\"; it has PANB14A, PANF27A");
  kes::Trajectory const trajectory = strip.trajectory();
  EXPECT_LT(trajectory.startTime(), 100.0);
  EXPECT_GT(trajectory.endTime(), 101.0);
  EXPECT_NEAR(trajectory.at(100.5)->position.x, 50.0, 1e-6);
  EXPECT_NEAR(trajectory.at(100.5)->position.z, 1000.0, 1e-9);
  EXPECT_FALSE(trajectory.at(100.5)->isExtrapolated);
  EXPECT_TRUE(trajectory.at(trajectory.endTime() + 1.0)->isExtrapolated);
  EXPECT_FALSE(trajectory.at(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(test::messageOf<std::out_of_range>([&] { static_cast<void>(trajectory[trajectory.size()]); }),
            "no orientation record " + std::to_string(trajectory.size()) + " of " + std::to_string(trajectory.size()));
}

TEST_F(Strip, AngleOfTheTrajectoryIsThatOfTheFile) {
  mSmall.roll = 0.02;
  mSmall.kappaError = 0.03;
  kes::Strip const strip = open();
  kes::TrajectoryPoint const point = *strip.trajectory().at(100.503);
  EXPECT_NEAR(point.attitude.omega, 0.02, 1e-6);
  EXPECT_NEAR(point.attitude.phi, 0.0, 1e-6);
  EXPECT_NEAR(point.attitude.kappa, 0.03, 1e-6);
}

}  // namespace
