// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/kessensor.h>
#include <simulation/CameraHead.h>
#include <simulation/Flight.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <memory>

namespace {

using sensor::KESStripModel;
using simulation::FlightPlan;
namespace fs = std::filesystem;

FlightPlan planOf(std::uint64_t seed, double heading = 237.0) {
  FlightPlan plan;
  plan.dem = KESSENSOR_TERRAIN;
  plan.lines = 400;
  plan.samples = 500;
  plan.seed = seed;
  plan.heading = heading;
  return plan;
}

std::map<std::string, std::string> filesOf(std::string const& folder) {
  std::map<std::string, std::string> files;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) {
      files[fs::relative(entry.path(), folder).string()] = test::contents(entry.path().string());
    }
  }
  return files;
}

class Flight : public testing::Test {
protected:
  std::string fly(FlightPlan const& plan, char const* name = "flight") const {
    simulation::simulateFlight(plan, mFolder / name);
    return mFolder / name;
  }
  // The strip of a flight.
  std::unique_ptr<KESStripModel> load(std::string const& folder, bool original = false) const {
    sensor::CameraFactory::instance()->addSearchPath(folder + "/calibration");
    return std::make_unique<KESStripModel>(folder + "/strip.stp", true, original, true);
  }

  test::TempFolder mFolder;
};

TEST_F(Flight, FollowsFromItsSeed) {
  auto const first = filesOf(fly(planOf(5), "one"));
  EXPECT_EQ(first, filesOf(fly(planOf(5), "two")));
  EXPECT_NE(first.at("eop/flight.eop"), filesOf(fly(planOf(6), "three")).at("eop/flight.eop"));
}

TEST_F(Flight, IsAValidStripOfTenBands) {
  auto const strip = load(fly(planOf(1)));
  std::string message;
  EXPECT_TRUE(strip->modelData()->isDataValid(message, false)) << message;
  EXPECT_EQ(strip->numBands(), 10);
  EXPECT_NEAR(strip->flightAzimuth() * 57.29578F, 237.0F, 3.0F);
  EXPECT_NEAR(strip->meanFlyingHeight() - strip->meanTerrainHeight(), 2000.0, 15.0);
  EXPECT_TRUE(strip->isUseAdjustedEOP());
  EXPECT_TRUE(strip->eop()->hasStdDevs());
  EXPECT_NEAR(strip->eop()->frequency(), 200.0, 1e-4);
}

TEST_F(Flight, BandsHaveTheirPeculiarities) {
  auto const strip = load(fly(planOf(1)));
  auto const& image = [&](char const* id) -> sensor::KESImage const& { return *strip->img(strip->bandIndex(id)); };
  EXPECT_EQ(image("NIRF16A").cameraTime()->cycleTimeSet().size(), 3U);
  EXPECT_EQ(image("REDF16A").tdiData()->maximum(), 4.0F);
  EXPECT_LT(image("REDF16A").integrationTime()->minimum(), image("REDF16A").integrationTime()->maximum());
  EXPECT_EQ(image("GRNF16A").numSamples(), 375);
  EXPECT_EQ(image("GRNF16A").sampleOffsetFromCalib(), 62);
  EXPECT_GT(image("BLUF16A").integrationTime()->minimum(), 0.0F);
  EXPECT_TRUE(strip->modelData()->calib(strip->bandIndex("PANB14A"))->isReverse());
  EXPECT_NEAR(strip->lookAngle(strip->bandIndex("PANF27A")) * 57.29578F, 27.0F, 0.1F);
  EXPECT_NEAR(strip->lookAngle(strip->bandIndex("PANB14A")) * 57.29578F, -14.2F, 0.1F);
}

TEST_F(Flight, CameraHasThreeVersions) {
  std::string const camera = fly(planOf(1)) + "/calibration/KESA0_00500";
  for (char const* version : {"v001", "v002", "v003"}) {
    for (char const* file : {"readme.txt", "radiocal.xml", "misalignment.dat", "PANN00A.cam"}) {
      EXPECT_TRUE(test::exists(camera + "/" + version + "/" + file)) << version << file;
    }
  }
}

// Image to ground to image within the tolerance of the solver, for every band and flights in all directions.
TEST_F(Flight, EveryBandCloses) {
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    auto const strip = load(fly(planOf(seed, 80.0 * static_cast<double>(seed)), std::to_string(seed).c_str()));
    for (int band = 0; band < strip->numBands(); ++band) {
      for (double sample = 0.5; sample < strip->imageWidth(band); sample += 93.7) {
        for (double line = 0.5; line < strip->imageHeight(band); line += 56.9) {
          geo::XYZPoint ground;
          strip->imageToLsr({sample, line}, 60.0F, band, ground);
          geo::XYPoint image;
          strip->lsrToImage(ground, band, image);
          EXPECT_NEAR(image.x, sample, 0.1) << "seed " << seed << " band " << band;
          EXPECT_NEAR(image.y, line, 0.1) << "seed " << seed << " band " << band;
        }
      }
    }
  }
}

TEST_F(Flight, RunsOfPointsAgreeWithSinglePoints) {
  for (std::uint64_t seed = 11; seed <= 13; ++seed) {
    auto const strip = load(fly(planOf(seed, 31.0 * static_cast<double>(seed % 10)), std::to_string(seed).c_str()));
    int const band = strip->bandIndex("PANF27A");
    std::vector<geo::XYZPoint> ground;
    for (double line = 0.0; line < 400.0; line += 8.0) {
      for (double sample = 0.0; sample < 500.0; sample += 10.0) {
        ground.emplace_back();
        strip->imageToLsr({sample, line}, 35.0F, band, ground.back());
      }
    }
    std::vector<geo::XYPoint> run(ground.size());
    strip->lsrToImage(ground, band, run);
    for (std::size_t i = 0; i < ground.size(); ++i) {
      geo::XYPoint single;
      strip->lsrToImage(ground[i], band, single);
      EXPECT_NEAR(run[i].x, single.x, 0.1) << "seed " << seed;
      EXPECT_NEAR(run[i].y, single.y, 0.1) << "seed " << seed;
    }
  }
}

// Errors of six standard deviations in position, and in angle over the flying height.
TEST_F(Flight, OrientationsAreAsAccurateAsTheySay) {
  std::string const folder = fly(planOf(3));
  sensor::EOPData const truth(folder + "/truth/flight.eop");
  struct Case {
    char const* file;
    double sigma;
  };
  for (Case const c : {Case{"/eop/flight.eop", 0.08}, Case{"/eop/flight.eop.adj", 0.01}}) {
    sensor::EOPData const eop(folder + c.file, true, true);
    ASSERT_EQ(eop.numSets(), truth.numSets());
    double squares = 0.0;
    for (int i = 0; i < eop.numSets(); ++i) {
      sensor::EOP a;
      sensor::EOP b;
      eop.atIndex(i, a);
      truth.atIndex(i, b);
      EXPECT_EQ(a.gpsTime, b.gpsTime);
      EXPECT_LT(std::fabs(a.x - b.x), 6 * c.sigma);
      squares += (a.x - b.x) * (a.x - b.x) / (c.sigma * c.sigma);
    }
    EXPECT_GT(squares / eop.numSets(), 0.2) << "the noise is missing";
    float sigma = 0.0F;
    float other = 0.0F;
    eop.stdDevAtIndex(0, sigma, other, other, other, other, other);
    EXPECT_FLOAT_EQ(sigma, static_cast<float>(c.sigma));
  }
}

// Tilts of about half a degree in all, and vibrations of some tens of microradians from record to record.
TEST_F(Flight, FlightIsTurbulent) {
  FlightPlan plan = planOf(2);
  plan.lines = 20000;
  plan.samples = 64;
  sensor::EOPData const truth(fly(plan) + "/truth/flight.eop");
  double lowest = 1.0;
  double highest = -1.0;
  double jitter = 0.0;
  for (int i = 1; i + 1 < truth.numSets(); ++i) {
    sensor::EOP a;
    sensor::EOP b;
    sensor::EOP c;
    truth.atIndex(i - 1, a);
    truth.atIndex(i, b);
    truth.atIndex(i + 1, c);
    double const tilt = 2.0 * static_cast<double>(b.q1);
    lowest = std::min(lowest, tilt);
    highest = std::max(highest, tilt);
    double const bend = 2.0 * (static_cast<double>(a.q1) - 2.0 * static_cast<double>(b.q1) + static_cast<double>(c.q1));
    jitter += bend * bend;
  }
  EXPECT_GT(highest - lowest, 0.003);
  EXPECT_LT(highest - lowest, 0.08);
  double const rms = std::sqrt(jitter / truth.numSets());
  EXPECT_GT(rms, 2e-6);
  EXPECT_LT(rms, 100e-6);
}

TEST_F(Flight, PlansThatCantBeFlownSaySo) {
  FlightPlan plan = planOf(1);
  plan.lines = 199;
  EXPECT_MESSAGE(fly(plan), "the number of lines must be from 200 to 200000");
  plan = planOf(1);
  plan.samples = 10;
  EXPECT_MESSAGE(fly(plan), "the number of samples must be from 64 to 60000");
  plan = planOf(1);
  plan.height = std::nan("");
  EXPECT_MESSAGE(fly(plan), "the height must be from 200 to 12000 metres");
  plan = planOf(1);
  plan.heading = -1;
  EXPECT_MESSAGE(fly(plan), "the heading must be from 0 to 360 degrees");
  plan = planOf(1);
  plan.dem = mFolder / "none.tif";
  EXPECT_MESSAGE(fly(plan), "Can't open elevation model \"" + plan.dem + "\": No such file or directory");
  EXPECT_EQ(test::entryCount(mFolder.path()), 0);
}

TEST_F(Flight, FolderThatHoldsSomethingIsLeftAlone) {
  mFolder.file("flight/precious.txt", "mine");
  EXPECT_MESSAGE(fly(planOf(1)), mFolder / "flight exists and is not an empty folder");
  EXPECT_EQ(test::contents(mFolder / "flight/precious.txt"), "mine");
  mFolder.folder("empty");
  EXPECT_TRUE(test::exists(fly(planOf(1), "empty") + "/strip.stp"));
}

TEST_F(Flight, FullDiskLeavesNothingBehind) {
  test::SmallFileSystem const disk(1 << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  FlightPlan plan = planOf(1);
  plan.samples = 12000;
  EXPECT_NE(test::messageOf([&] { simulation::simulateFlight(plan, disk / "flight"); }), "");
  EXPECT_EQ(test::entryCount(disk.path()), 0);
}

}  // namespace
