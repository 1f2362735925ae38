// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/kessensor.h>
#include <simulation/CameraHead.h>
#include <simulation/Flight.h>
#include <simulation/Trajectory.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

using sensor::EOPData;
using sensor::KESOrientation;
using sensor::KESStripModel;
using simulation::FlightFiles;
using simulation::FlightPlan;

constexpr double millimetre = 1e-3;
// A record's quaternion is in single precision, whose numbers below 1 are 6e-8 apart; it went through angles of up to
// pi, which are 2.4e-7 apart, and half of that into the quaternion. The packing of angles, 1e-8 radians, is far below.
constexpr float quaternionTolerance = 3e-7F;

FlightPlan planOf(char const* version, int lines = 400) {
  FlightPlan plan;
  plan.dem = KESSENSOR_TERRAIN;
  plan.lines = lines;
  plan.samples = 500;
  plan.odfVersion = version;
  return plan;
}

struct Tolerance {
  double time;
  double position;
};
// Version 1.0 is rounded to the nearest unit, and holds the times of records as they are. Version 1.2 rounds values
// below their base up, by half a unit to one and a half, and so whole numbers, as times are, by a unit. The aircraft
// moves in that time, with the scatter of neighbouring records at twice its speed at most.
Tolerance toleranceOf(std::string const& version) {
  return version == "1.0" ? Tolerance{1e-9, 0.5 * millimetre + 1e-6}
                          : Tolerance{1.01e-6, 1.5 * millimetre + 2 * simulation::Trajectory::speed * 1e-6};
}

float attitudeDifference(sensor::EOP const& a, sensor::EOP const& b) {
  float const sign = a.q0 * b.q0 + a.q1 * b.q1 + a.q2 * b.q2 + a.q3 * b.q3 < 0.0F ? -1.0F : 1.0F;
  return std::max({std::fabs(a.q0 - sign * b.q0), std::fabs(a.q1 - sign * b.q1), std::fabs(a.q2 - sign * b.q2),
                   std::fabs(a.q3 - sign * b.q3)});
}

class OdfSet : public testing::TestWithParam<char const*> {
protected:
  std::string version() const { return GetParam(); }
  std::string path(std::string const& name) const { return mFolder / ("flight/" + name); }
  std::vector<std::string> paths(std::vector<std::string> const& names) const {
    std::vector<std::string> result;
    result.reserve(names.size());
    for (std::string const& name : names) {
      result.push_back(path(name));
    }
    return result;
  }
  FlightFiles fly(int lines = 400) const { return simulation::simulateFlight(planOf(GetParam(), lines), path("")); }

  // The EOP file that the support files' orientations are merged to.
  std::string merged(std::vector<std::string> const& supportFiles, bool adjusted) const {
    sensor::ODFConverter converter;
    converter.setOutputFile(mFolder / "merged.eop");
    converter.setAppSource("merge");
    EXPECT_EQ(converter.run(supportFiles, adjusted), 0);
    return mFolder / "merged.eop";
  }

  // Both orientations at many times of the whole span, and at all records.
  static void expectEqual(EOPData const& eop, EOPData const& flight, Tolerance const& tolerance) {
    sensor::EOP first;
    sensor::EOP last;
    flight.atIndex(0, first);
    flight.atIndex(flight.numSets() - 1, last);
    sensor::EOP edge;
    eop.atIndex(0, edge);
    EXPECT_NEAR(edge.gpsTime, first.gpsTime, tolerance.time);
    eop.atIndex(eop.numSets() - 1, edge);
    EXPECT_NEAR(edge.gpsTime, last.gpsTime, tolerance.time);
    constexpr double step = 0.00037;
    for (double time = first.gpsTime + step; time < last.gpsTime - step; time += step) {
      sensor::EOP a;
      sensor::EOP b;
      ASSERT_EQ(eop.atGPS(sensor::seconds(time), a), 0) << time;
      ASSERT_EQ(flight.atGPS(sensor::seconds(time), b), 0) << time;
      ASSERT_NEAR(a.x, b.x, tolerance.position) << time;
      ASSERT_NEAR(a.y, b.y, tolerance.position) << time;
      ASSERT_NEAR(a.z, b.z, tolerance.position) << time;
      ASSERT_LT(attitudeDifference(a, b), quaternionTolerance) << time;
    }
  }

  test::TempFolder mFolder;
};

TEST_P(OdfSet, HasAnOdfOfEachOrientationAndASupportFileForEachBand) {
  FlightFiles const files = fly();
  std::vector<std::string> const bands = simulation::CameraHead::bandIds();
  ASSERT_EQ(files.originalOdfs.size(), bands.size());
  ASSERT_EQ(files.adjustedOdfs.size(), bands.size());
  ASSERT_EQ(files.supportFiles.size(), bands.size());
  for (std::size_t i = 0; i < bands.size(); ++i) {
    EXPECT_EQ(files.originalOdfs[i], "odf/" + bands[i] + ".odf");
    EXPECT_EQ(files.adjustedOdfs[i], "odf/" + bands[i] + ".adj.odf");
    EXPECT_EQ(files.supportFiles[i], "odf/" + bands[i] + ".sup");
  }
  EXPECT_EQ(test::entryCount(path("odf")), 30);
}

TEST_P(OdfSet, HeadsDescribeTheTake) {
  FlightFiles const files = fly();
  EOPData const flight(path(files.originalEop), false, false);
  for (std::string const& name : files.originalOdfs) {
    KESOrientation const odf(path(name));
    EXPECT_EQ(odf.version(), "ODF " + version());
    EXPECT_EQ(odf.dataSource(), "simulation");
    EXPECT_EQ(odf.projectName(), "Line1");
    EXPECT_EQ(odf.stripName(), "Line1");
    EXPECT_EQ(odf.comments(), "simulated");
    EXPECT_EQ(odf.angularUnits(), 2);
    EXPECT_EQ(odf.angularScale(), 100000000);
    EXPECT_EQ(odf.positionScale(), 1000);
    EXPECT_EQ(odf.timeScale(), version() == "1.0" ? 10000 : 1000000);
    EXPECT_EQ(odf.absoluteTime().value(), static_cast<int>(flight.absTime().value()));
    bool const hasAnchor = version() != "1.0";
    EXPECT_NEAR(odf.anchorLongitude(), hasAnchor ? flight.anchorPoint().x : 100.0, 0.5e-10);
    EXPECT_NEAR(odf.anchorLatitude(), hasAnchor ? flight.anchorPoint().y : 100.0, 0.5e-10);
  }
}

TEST_P(OdfSet, EachOdfCoversTheLinesAndBeginsAndEndsLaterThanTheOneBefore) {
  FlightFiles const files = fly();
  sensor::CameraFactory::instance()->addSearchPath(path("calibration"));
  KESStripModel const strip(path("strip.stp"), true, true, false);
  double start = 0.0;
  double end = 0.0;
  for (int band = 0; band < strip.numBands(); ++band) {
    KESOrientation const odf(path(files.originalOdfs[static_cast<std::size_t>(band)]));
    double const first = odf.t(0).value();
    double const last = odf.t(odf.numSets() - 1).value();
    EXPECT_GT(first, start);
    EXPECT_GT(last, end);
    EXPECT_LT(first, strip.img(band)->gpsTime(0.0F).value());
    EXPECT_GT(last, strip.img(band)->gpsTime(static_cast<float>(strip.imageHeight(band))).value());
    start = first;
    end = last;
  }
}

TEST_P(OdfSet, StandardDeviationsAreThoseOfTheOrientation) {
  FlightFiles const files = fly();
  KESOrientation const original(path(files.originalOdfs[3]));
  KESOrientation const adjusted(path(files.adjustedOdfs[3]));
  for (int key = 16; key <= 18; ++key) {
    EXPECT_FLOAT_EQ(original.stdDev(key, 7), 0.08F);
    EXPECT_FLOAT_EQ(adjusted.stdDev(key, 7), 0.01F);
    EXPECT_FLOAT_EQ(original.stdDev(key + 3, 7), 40e-6F);
    EXPECT_FLOAT_EQ(adjusted.stdDev(key + 3, 7), 4e-6F);
  }
}

TEST_P(OdfSet, MergesToTheFlightsOrientation) {
  FlightFiles const files = fly();
  for (bool const adjusted : {false, true}) {
    EOPData const flight(path(adjusted ? files.adjustedEop : files.originalEop), true, true);
    EOPData const eop(merged(paths(files.supportFiles), adjusted), true, true);
    EXPECT_EQ(eop.numSets(), flight.numSets());
    EXPECT_TRUE(eop.hasStdDevs());
    EXPECT_EQ(eop.absTime(), flight.absTime());
    expectEqual(eop, flight, toleranceOf(version()));
  }
}

// The joint's place follows from a mean interval that is a little too short. When what the last ODF adds is more than
// half of its length, it therefore begins a record too early.
TEST_P(OdfSet, MergesToTheFlightsOrientationAlsoWhereTheJointRepeatsARecord) {
  FlightFiles const files = fly(200);
  EOPData const flight(path(files.originalEop));
  EOPData const eop(merged(paths(files.supportFiles), false));
  ASSERT_EQ(eop.numSets(), flight.numSets() + 1);
  expectEqual(eop, flight, toleranceOf(version()));
}

TEST_P(OdfSet, SupportFilesThatTheLibraryExportsGiveTheSameMerge) {
  FlightFiles const files = fly();
  sensor::CameraFactory::instance()->addSearchPath(path("calibration"));
  KESStripModel const strip(path("strip.stp"), true, false, false);
  std::vector<std::string> exported;
  for (int band = 0; band < strip.numBands(); ++band) {
    auto const i = static_cast<std::size_t>(band);
    exported.push_back(mFolder / (strip.bandID(band) + ".sup"));
    ASSERT_TRUE(
        strip.img(band)->exportSupportFile(exported.back(), path(files.originalOdfs[i]), path(files.adjustedOdfs[i])));
  }
  for (bool const adjusted : {false, true}) {
    std::string const simulated = test::contents(merged(paths(files.supportFiles), adjusted));
    EXPECT_EQ(test::contents(merged(exported, adjusted)), simulated);
    // Twelve digits after the point; the height isn't written.
    EOPData const eop(mFolder / "merged.eop");
    EXPECT_NEAR(eop.anchorPoint().x, strip.eop()->anchorPoint().x, 0.5e-12);
    EXPECT_NEAR(eop.anchorPoint().y, strip.eop()->anchorPoint().y, 0.5e-12);
    EXPECT_EQ(eop.anchorPoint().z, 0.0);
  }
}

TEST_P(OdfSet, NameWithBlanksStaysWhole) {
  FlightPlan plan = planOf(GetParam());
  plan.name = "Line 7\tof " + std::string(80, 'x');
  FlightFiles const files = simulation::simulateFlight(plan, path(""));
  KESOrientation const odf(path(files.originalOdfs[0]));
  EXPECT_EQ(odf.projectName(), "Line_7_of_" + std::string(53, 'x'));
  EXPECT_EQ(odf.stripName(), odf.projectName());
  EXPECT_GT(odf.numSets(), 400);
}

INSTANTIATE_TEST_SUITE_P(Versions, OdfSet, testing::Values("1.0", "1.2"),
                         [](auto const& test) { return std::string(test.param).replace(1, 1, "_"); });

TEST(OdfSetPlan, OtherVersionsAreRefused) {
  test::TempFolder const folder;
  EXPECT_MESSAGE(simulation::simulateFlight(planOf("1.1"), folder / "flight"),
                 "the version of orientation files must be 1.0 or 1.2");
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

TEST(OdfSetPlan, FolderWithABlankIsRefused) {
  test::TempFolder const folder;
  EXPECT_MESSAGE(simulation::simulateFlight(planOf("1.2"), folder / "my flight"),
                 "support files can't name what is below a folder with a blank: " + (folder / "my flight"));
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

TEST(OdfSetPlan, WithoutAVersionThereAreNone) {
  test::TempFolder const folder;
  FlightFiles const files = simulation::simulateFlight(planOf(""), folder / "flight");
  EXPECT_TRUE(files.originalOdfs.empty());
  EXPECT_TRUE(files.adjustedOdfs.empty());
  EXPECT_TRUE(files.supportFiles.empty());
  EXPECT_FALSE(test::exists(folder / "flight/odf"));
}

}  // namespace
