// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/kessensor.h>
#include <simulation/CameraHead.h>
#include <simulation/Flight.h>

#include <cmath>
#include <memory>
#include <string>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::KESStripModel;
using simulation::CameraHead;
using simulation::FlightFiles;
using simulation::FlightPlan;

constexpr double floatError = 0x1p-24;  // of a rounding to single precision, relative
// Files of both cameras have the same digits. Their numbers differ once they are in metres: by a rounding of the XML
// file's, two of the CAM file's, and by that of the factor 0.001 which the latter is multiplied with.
constexpr double readError = 4 * floatError;

FlightPlan planOf(int samples) {
  FlightPlan plan;
  plan.dem = KESSENSOR_TERRAIN;
  plan.lines = 400;
  plan.samples = samples;
  plan.hasXmlCamera = true;
  return plan;
}

class XmlStrip : public testing::Test {
protected:
  std::string path(std::string const& name) const { return mFolder / ("flight/" + name); }
  FlightFiles fly(FlightPlan const& plan) const {
    FlightFiles files = simulation::simulateFlight(plan, path(""));
    sensor::CameraFactory::instance()->addSearchPath(path(files.calibrations));
    return files;
  }
  std::unique_ptr<KESStripModel> load(std::string const& strip) const {
    return std::make_unique<KESStripModel>(path(strip), true, false, false);
  }

  test::TempFolder mFolder;
};

// Where a sample of a band looks, tangents.
geo::XYPoint direction(KESStripModel const& strip, int band, double sample) {
  CalibrationGeometryKes const& line = *strip.modelData()->calib(band);
  auto const place = static_cast<float>(sample + strip.img(band)->sampleOffsetFromCalib());
  return {line.x(place, 0.0F, 0.0F, 0.0F) / line.focalLength(), line.y(place, 0.0F, 0.0F, 0.0F) / line.focalLength()};
}

// A ray turns by its direction's relative error at most, and meets the ground aslant. Flights are tilted by a few
// degrees.
double groundTolerance(KESStripModel const& strip, geo::XYPoint const& ray, double height) {
  constexpr double tilted = 1.1;
  return readError * (strip.meanFlyingHeight() - height) * (1.0 + ray.x * ray.x + ray.y * ray.y) * tilted;
}

// Errors of the focal length and of the position add up; the solver has samples in single precision, and rounds at each
// of some steps. A line is about as long as a pixel.
double imageTolerance(geo::XYPoint const& ray, double width) {
  constexpr double focalLengthInPixels = CameraHead::focalLength / CameraHead::pixelSize;
  return 2 * readError * std::hypot(ray.x, ray.y) * focalLengthInPixels + 4 * floatError * width;
}

TEST_F(XmlStrip, ProjectsAsTheOther) {
  FlightFiles const files = fly(planOf(12000));
  auto const xml = load(files.xmlStrip);
  auto const cam = load(files.strip);
  constexpr float height = 60.0F;
  ASSERT_EQ(xml->numBands(), 10);
  for (int band = 0; band < xml->numBands(); ++band) {
    ASSERT_EQ(xml->bandID(band), cam->bandID(band));
    ASSERT_EQ(xml->imageWidth(band), cam->imageWidth(band));
    for (double sample = 0.0; sample < xml->imageWidth(band); sample += 179.3) {
      geo::XYPoint const ray = direction(*cam, band, sample);
      for (double line = 0.0; line < xml->imageHeight(band); line += 36.1) {
        geo::XYZPoint fromXml;
        geo::XYZPoint fromCam;
        xml->imageToLsr({sample, line}, height, band, fromXml);
        cam->imageToLsr({sample, line}, height, band, fromCam);
        ASSERT_LE(std::hypot(fromXml.x - fromCam.x, fromXml.y - fromCam.y), groundTolerance(*cam, ray, height))
            << xml->bandID(band) << " " << sample << " " << line;
        geo::XYPoint inXml;
        geo::XYPoint inCam;
        xml->lsrToImage(fromCam, band, inXml);
        cam->lsrToImage(fromCam, band, inCam);
        ASSERT_LE(std::hypot(inXml.x - inCam.x, inXml.y - inCam.y), imageTolerance(ray, xml->imageWidth(band)))
            << xml->bandID(band) << " " << sample << " " << line;
        ASSERT_NEAR(inXml.x, sample, 0.1);
        ASSERT_NEAR(inXml.y, line, 0.1);
      }
    }
  }
}

TEST_F(XmlStrip, DiffersFromTheOtherInNameAndCamera) {
  FlightFiles const files = fly(planOf(500));
  EXPECT_EQ(files.xmlStrip, "strip_hdb.stp");
  auto const xml = load(files.xmlStrip);
  std::string message;
  EXPECT_TRUE(xml->modelData()->isDataValid(message, false)) << message;
  EXPECT_EQ(xml->name(), "Line1_HDB");
  EXPECT_EQ(xml->modelData()->camera().type(), "HDB00");
  EXPECT_EQ(xml->modelData()->camera().version(), 1U);
  std::string text = test::contents(path(files.xmlStrip));
  auto const replace = [&](std::string const& from, std::string const& to) {
    ASSERT_NE(text.find(from), std::string::npos) << from;
    text.replace(text.find(from), from.size(), to);
  };
  replace("name=\"Line1_HDB\"", "name=\"Line1\"");
  replace("version=\"v001\" sensor_id=\"00500\" sensor_type=\"HDB00\"",
          "version=\"v003\" sensor_id=\"00500\" sensor_type=\"KESA0\"");
  EXPECT_EQ(text, test::contents(path(files.strip)));
}

TEST_F(XmlStrip, IsntThereUnasked) {
  FlightPlan plan = planOf(500);
  plan.hasXmlCamera = false;
  EXPECT_EQ(fly(plan).xmlStrip, "");
  EXPECT_FALSE(test::exists(path("strip_hdb.stp")));
  EXPECT_EQ(test::entryCount(path("calibration")), 1);
}

TEST_F(XmlStrip, CamerasOfOneIdAreAlike) {
  FlightPlan plan = planOf(500);
  simulation::simulateFlight(plan, mFolder / "flight");
  plan.seed = 2;
  simulation::simulateFlight(plan, mFolder / "other");
  std::string const folder = "calibration/HDB00_00500/v001";
  ASSERT_EQ(test::entryCount(path(folder)), 4);
  for (char const* keyword : {"Geometry", "SensorData", "PrnuData", "DsnuData"}) {
    std::string const file = folder + "/HDB00_" + keyword + "_SensorHead-00500-A-50100_DateTime-20100312-141530.xml";
    EXPECT_EQ(test::contents(path(file)), test::contents(mFolder / ("other/" + file))) << keyword;
  }
}

// The CAM files fit, which have 6.4 MB; of the XML files, geometry (3.9), PRNU (1.5) and DSNU (0.7) come too late.
TEST_F(XmlStrip, FullDiskLeavesNothingBehind) {
  for (int const megabytes : {8, 11, 12}) {
    test::SmallFileSystem const disk(megabytes << 20);
    if (!disk.isMounted()) {
      GTEST_SKIP() << "no file system may be mounted here";
    }
    FlightPlan plan = planOf(12000);
    EXPECT_NE(test::messageOf([&] { simulation::simulateFlight(plan, disk / "flight"); }), "");
    EXPECT_EQ(test::entryCount(disk.path()), 0) << megabytes;
    plan.hasXmlCamera = false;
    EXPECT_NO_THROW(simulation::simulateFlight(plan, disk / "flight")) << megabytes;
  }
}

TEST_F(XmlStrip, LiesBesideEachStripOfABlock) {
  simulation::BlockPlan plan = test::smallBlock();
  simulation::BlockFiles const without = simulation::simulateBlock(plan, mFolder / "without");
  EXPECT_EQ(without.strips.at(1).xmlStrip, "");
  plan.flight.hasXmlCamera = true;
  test::FlownBlock const flown(plan, mFolder / "flight");
  EXPECT_EQ(flown.files.strips.at(1).xmlStrip, "Line2/strip_hdb.stp");
  for (FlightFiles const& files : flown.files.strips) {
    sensor::CameraFactory::instance()->addSearchPath(path(files.calibrations));
    EXPECT_EQ(load(files.xmlStrip)->modelData()->camera().type(), "HDB00");
  }
  EXPECT_EQ(flown.block.numStrips(), 4);
  EXPECT_EQ(test::contents(path("block.blf")), test::contents(mFolder / "without/block.blf"));
}

}  // namespace
