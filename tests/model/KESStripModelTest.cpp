// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "project/OriginalStrip.h"
#include "support/Matchers.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <geo/units.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometry.h>
#include <sensor/EOP.h>
#include <sensor/EOPData.h>
#include <sensor/TdiStage.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using sensor::KESStripModel;
using test::SameBits;

class StripModel : public test::SmallModel {};

TEST_F(StripModel, PlaceHolderAnswersForWhatItHas) {
  KESStripModel const none;
  EXPECT_EQ(none.modelData(), nullptr);
  EXPECT_EQ(none.lsrSystem(), nullptr);
  EXPECT_EQ(none.mappingSystem(), nullptr);
  EXPECT_EQ(none.parentBlock(), nullptr);
  EXPECT_EQ(none.eop(), nullptr);
  EXPECT_EQ(none.img(0), nullptr);
  EXPECT_EQ(none.numBands(), 0);
  EXPECT_EQ(none.bandID(0), "");
  EXPECT_EQ(none.bandIndex("X"), -1);
  EXPECT_EQ(none.name(), "");
  EXPECT_EQ(none.eopFileName(), "");
  EXPECT_FALSE(none.isDataLoaded());
  EXPECT_FALSE(none.isValid());
  EXPECT_FALSE(none.isAdjustedEOPFile());
  EXPECT_FALSE(none.isUseAdjustedEOP());
  EXPECT_FALSE(none.isUseOriginalEOP());
  std::vector<std::string> bands{"X"};
  none.bandIDs(bands);
  EXPECT_EQ(bands, std::vector<std::string>{"X"});
  EXPECT_EQ(none.meanFlyingHeight(), 0.0);
  EXPECT_EQ(none.calibrationGeometry(0), nullptr);
}

TEST_F(StripModel, StripThatIsntLoadedHasItsProjectAndSystems) {
  auto const strip = model(false);
  EXPECT_FALSE(strip->isDataLoaded());
  EXPECT_EQ(strip->name(), "Small");
  EXPECT_EQ(strip->numBands(), 1);
  EXPECT_EQ(strip->bandID(0), "PANN00A");
  EXPECT_NE(strip->lsrSystem(), nullptr);
  EXPECT_NE(strip->mappingSystem(), nullptr);
  EXPECT_EQ(strip->calibrationGeometry(0), nullptr);
  EXPECT_EQ(strip->imageHeight(0), 0U);
  EXPECT_EQ(strip->img(-1), nullptr);
  EXPECT_EQ(strip->modelData()->owner(), strip.get());
}

TEST_F(StripModel, LoadingLaterGivesWhatLoadingAtOnceDoes) {
  auto const atOnce = model();
  auto const later = model(false);
  later->loadData(false, false);
  EXPECT_THAT(later->scale(0), SameBits(atOnce->scale(0)));
  EXPECT_THAT(later->flightAzimuth(), SameBits(atOnce->flightAzimuth()));
  later->unloadData();
  EXPECT_FALSE(later->isDataLoaded());
  EXPECT_THAT(later->scale(0), SameBits(atOnce->scale(0)));
  EXPECT_THAT(later->flightAzimuth(), SameBits(atOnce->flightAzimuth()));
}

TEST_F(StripModel, StripOutsideABlockIsNotValid) {
  auto const strip = model();
  EXPECT_FALSE(strip->isValid());
  int block = 0;
  strip->setParentBlock(reinterpret_cast<sensor::BlockModelData*>(&block));
  EXPECT_TRUE(strip->isValid());
  EXPECT_EQ(static_cast<void*>(strip->parentBlock()), &block);
  strip->setMappingSystem(nullptr);
  EXPECT_FALSE(strip->isValid());
  KESStripModel none;
  none.setParentBlock(reinterpret_cast<sensor::BlockModelData*>(&block));
  EXPECT_FALSE(none.isValid());
}

TEST_F(StripModel, BlockIsStoredByItsConstructor) {
  int block = 0;
  KESStripModel const strip(mStrip.write(mFolder), reinterpret_cast<sensor::BlockModelData*>(&block), false, false,
                            false);
  EXPECT_TRUE(strip.isValid());
}

class StripWithTwoOrientations : public StripModel {
protected:
  StripWithTwoOrientations() {
    mStrip.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"adjusted.eop\"/>";
    mStrip.writeEop(mFolder, "adjusted.eop", 5.0);
    mName = mStrip.write(mFolder);
  }
  std::string mName;
};

TEST_F(StripWithTwoOrientations, EachFlagOfTheConstructorsHasItsPlace) {
  for (bool const load : {false, true}) {
    for (bool const useOriginal : {false, true}) {
      for (bool const loadStdDevs : {false, true}) {
        KESStripModel const alone(mName, load, useOriginal, loadStdDevs);
        KESStripModel const inBlock(mName, nullptr, load, useOriginal, loadStdDevs);
        for (KESStripModel const* strip : {&alone, &inBlock}) {
          EXPECT_EQ(strip->isDataLoaded(), load);
          EXPECT_EQ(strip->isUseOriginalEOP(), useOriginal);
          EXPECT_EQ(strip->isUseAdjustedEOP(), !useOriginal);
          EXPECT_EQ(strip->eop()->isStdDevLoaded(), load && loadStdDevs);
          EXPECT_TRUE(strip->isAdjustedEOPFile());
        }
      }
    }
  }
}

TEST_F(StripWithTwoOrientations, EachFlagOfLoadingHasItsPlace) {
  KESStripModel strip(mName, false, false, false);
  strip.loadData(true, false);
  EXPECT_TRUE(strip.isUseOriginalEOP());
  EXPECT_FALSE(strip.eop()->isStdDevLoaded());
  strip.loadData(false, true);
  EXPECT_TRUE(strip.isUseAdjustedEOP());
  EXPECT_TRUE(strip.eop()->isStdDevLoaded());
}

TEST_F(StripWithTwoOrientations, ExportOfSupportFilesSeesTheStripLoadedOnItsOriginalOrientation) {
  auto const strip = sensor::openOriginalStrip(mName);
  ASSERT_TRUE(strip->data().isDataLoaded());
  EXPECT_TRUE(strip->data().isUseOriginalEOP());
  EXPECT_FALSE(strip->data().eop()->isStdDevLoaded());
  // Lines lie 1 m apart, and the middle pixel looks straight down. On the adjusted orientation, x would be 5 m more.
  geo::XYZPoint const ground = strip->ground({50.0, 20.0}, 30.0F, 0);
  EXPECT_NEAR(ground.x, 20.0, 1e-3);
  EXPECT_NEAR(ground.y, 0.0, 1e-3);
  EXPECT_EQ(ground.z, 30.0);
}

TEST_F(StripModel, StripOfOneOrientationHasNoAdjustedOne) {
  auto const strip = model();
  EXPECT_FALSE(strip->isAdjustedEOPFile());
  EXPECT_TRUE(strip->isUseOriginalEOP());
  EXPECT_FALSE(strip->isUseAdjustedEOP());
}

// The image begins at pixel 5 of the camera's line, whose middle is pixel 50.
TEST_F(StripModel, FocalPositionIsThatOfTheCamerasPixel) {
  mStrip.bands = {{"PANF27A", 25.0, false, "swath=\"90\" offset=\"5\""}};
  auto const strip = model();
  geo::XYPoint focal;
  strip->imageToFocal({10.0, 77.0}, 0, focal);
  EXPECT_NEAR(focal.x, 0.025, 1e-9);
  EXPECT_NEAR(focal.y, (10.0 + 5.0 - 50.0) * 1e-4, 1e-9);
}

TEST_F(StripModel, FailingStripFileLeavesTheConstructor) {
  EXPECT_MESSAGE((KESStripModel{mFolder / "none.stp", true, false, false}),
                 "Error opening strip file:" + (mFolder / "none.stp"));
}

TEST_F(StripModel, LocalSystemLiesAtTheAnchor) {
  auto const strip = model();
  geo::XYZPoint point(0.0, 0.0, 10.0);
  EXPECT_EQ(geo::coordSys::transform(strip->lsrSystem(), strip->mappingSystem(), point, point), 0);
  EXPECT_NEAR(point.x, -1.4, 1e-12);
  EXPECT_NEAR(point.y, 0.6, 1e-12);
  EXPECT_NEAR(point.z, 510.0, 1e-8);
}

TEST_F(StripModel, MappingSystemIsReplacedWithoutBeingDeletedOrUsed) {
  auto const strip = model();
  geo::coordSys* const before = strip->mappingSystem();
  std::unique_ptr<geo::coordSys> const feet(geo::coordSysFactory::getInstance()->createCoordSys("EPSG:2225"));
  strip->setMappingSystem(feet.get());
  EXPECT_EQ(strip->mappingSystem(), feet.get());
  EXPECT_NE(before->verticalUnits().getScale(), 0.0);
  // 2 m in US survey feet.
  EXPECT_NEAR(strip->mappingSystemGsd(0), 2.0F * 3937.0F / 1200.0F, 1e-5F);
}

TEST_F(StripModel, LevelZeroIsTheImageToTheBit) {
  KESStripModel const none;
  for (int const band : {-7, 0, 99}) {
    geo::XYPoint out(1, 1);
    none.imageToL0({-0.0, 1e300}, band, out);
    EXPECT_THAT(out.x, SameBits(-0.0));
    EXPECT_THAT(out.y, SameBits(1e300));
    none.l0ToImage({3.25, -7.5}, band, out);
    EXPECT_THAT(out.x, SameBits(3.25));
    EXPECT_THAT(out.y, SameBits(-7.5));
  }
}

TEST_F(StripModel, LineCorrectionIsAddedToOrTakenFromFocalX) {
  KESStripModel const none;
  geo::XYPoint out;
  none.applyLineCorrection(true, {1.0, 5.0}, 0.25F, out);
  EXPECT_EQ(out.x, 1.25);
  EXPECT_EQ(out.y, 5.0);
  none.applyLineCorrection(false, {1.0, 5.0}, 0.25F, out);
  EXPECT_EQ(out.x, 0.75);
}

TEST_F(StripModel, AccessorsForwardToImageAndOrientation) {
  mStrip.bands = {{"PANN00A", 0.0, false, "swath=\"90\" offset=\"5\" it=\"2\""}};
  mStrip.terrainHeight = "20";
  auto const strip = model();
  EXPECT_EQ(strip->imageWidth(0), 90U);
  EXPECT_EQ(strip->imageIlluminatedWidth(0), 101U);
  EXPECT_EQ(strip->imageHeight(0), 101U);
  EXPECT_EQ(strip->meanTerrainHeight(), 20.0);
  EXPECT_EQ(strip->meanFlyingHeight(), 1000.0);
  EXPECT_EQ(strip->absTime().value(), 77U);
  EXPECT_EQ(strip->integrationTime(0, 3.0F).value(), static_cast<double>(0.002F));
  EXPECT_EQ(strip->tdi(0, 3.0F), 1.0F);
  EXPECT_EQ(strip->tdiData(0), strip->img(0)->tdiData());
  EXPECT_EQ(strip->gpsTime({77.0, 1.5}, 0).value(), strip->gpsTime({-5.0, 1.5}, 0).value());
  EXPECT_NEAR(strip->gpsTime({0.0, 1.5}, 0).value(), 100.015, 1e-12);
  ASSERT_NE(strip->calibrationRadiometry(0), nullptr);
  EXPECT_EQ(strip->calibrationRadiometry(0)->bandId(), "PANN00A");
  EXPECT_TRUE(strip->isEpipolarCurved());
  EXPECT_TRUE(strip->isUseOriginalEOP());
  EXPECT_FALSE(strip->isUseAdjustedEOP());
}

TEST_F(StripModel, IlluminatedWidthLoadsTheStrip) {
  auto const strip = model(false);
  EXPECT_EQ(strip->imageIlluminatedWidth(0), 101U);
  EXPECT_TRUE(strip->isDataLoaded());
}

// A bent flight: line 0, at 100 s, is at (500, -300), and line 100, a second later, 400 m further east and 300 m north.
TEST_F(StripModel, AzimuthLeadsFromTheFirstLineToTheLast) {
  auto const strip = model();
  sensor::EOP record;
  for (int i = 0; strip->eop()->atIndex(i, record) == 0; ++i) {
    double const t = record.gpsTime - 100.0;
    record.x = 500.0 + 400.0 * t * t;
    record.y = -300.0 + 300.0 * t;
    strip->eop()->setEOP(i, record);
  }
  strip->loadData(false, false);
  EXPECT_NEAR(strip->flightAzimuth(), std::atan2(4.0, 3.0), 1e-6);
}

TEST_F(StripModel, AzimuthIsFromNoughtToAFullTurn) {
  auto const strip = model();
  auto const azimuth = [&](double east, double north) {
    sensor::EOP record;
    for (int i = 0; strip->eop()->atIndex(i, record) == 0; ++i) {
      record.x = east * record.gpsTime;
      record.y = north * record.gpsTime;
      strip->eop()->setEOP(i, record);
    }
    strip->loadData(false, false);
    return strip->flightAzimuth();
  };
  EXPECT_EQ(azimuth(0.0, 100.0), 0.0F);
  EXPECT_NEAR(azimuth(-1.0, 100.0), 2.0 * M_PI - std::atan(0.01), 1e-6);
  EXPECT_NEAR(azimuth(-100.0, -100.0), 1.25 * M_PI, 1e-6);
}

TEST_F(StripModel, StripWhoseImagesWereDetachedKeepsItsAzimuth) {
  auto const strip = model();
  float const azimuth = strip->flightAzimuth();
  std::unique_ptr<sensor::KESImage> const image(strip->img(0));
  strip->modelData()->detach(image.get());
  // With its image, the strip would now fly north.
  sensor::EOP record;
  for (int i = 0; strip->eop()->atIndex(i, record) == 0; ++i) {
    record.y = 1000.0 * record.gpsTime;
    strip->eop()->setEOP(i, record);
  }
  strip->loadData(false, false);
  EXPECT_EQ(strip->numBands(), 0);
  EXPECT_THAT(strip->flightAzimuth(), SameBits(azimuth));
}

TEST_F(StripModel, PlaceHolderHasNothingToUnload) {
  KESStripModel none;
  none.unloadData();
  EXPECT_FALSE(none.isDataLoaded());
  EXPECT_EQ(none.meanTerrainHeight(), 0.0);
}

// The last pixel lies 51 pixels beside its neighbour: the line is 15 mm long, or 300 m on the ground, for 100 steps
// from sample to sample. Lines are 1 m apart.
TEST_F(StripModel, ScaleIsThatOfTheImagesOwnCorners) {
  auto const strip = model();
  EXPECT_NEAR(strip->scale(0), 2.0F, 1e-4F);
  std::vector<double> y;
  for (int i = -50; i <= 49; ++i) {
    y.push_back(i * 1e-4);
  }
  y.push_back(0.01);
  auto& line = dynamic_cast<sensor::CalibrationGeometryKes&>(*strip->calibrationGeometry(0));
  line.setPixelData(1e-4F, 101, 101, std::vector<double>(101, 0.0), y);
  strip->loadData(false, false);
  EXPECT_NEAR(strip->scale(0), 3.0F, 1e-4F);
}

TEST_F(StripModel, TerrainHeightChangesSamplingDistanceAndNotScale) {
  auto const strip = model();
  float const scale = strip->scale(0);
  strip->setMeanTerrainHeight(500.0F);
  EXPECT_NEAR(strip->gsd(0), 1.0F, 1e-6F);
  EXPECT_EQ(strip->scale(0), scale);
  EXPECT_EQ(strip->meanTerrainHeight(), 500.0);
}

TEST_F(StripModel, StereoIsWithinOneModelAlone) {
  mStrip.bands = {{"PANF27A", 25.0}, {"PANB14A", -12.5}};
  auto const strip = model();
  KESStripModel const other(mFolder / "strip.stp", true, false, false);
  std::string const message = "KES stereo between different strips is not supported.";
  EXPECT_EQ(strip->stereoAzimuth(*strip), strip->flightAzimuth());
  EXPECT_MESSAGE(strip->stereoAzimuth(other), message);
  EXPECT_MESSAGE(strip->baseHeightRatio(other, 0, 1), message);
  EXPECT_MESSAGE(strip->baseHeightRatio(other, 0, 1, 5.0F), message);
  EXPECT_NEAR(strip->baseHeightRatio(*strip, 0, 1), 0.5 + 0.25, 1e-6);
  EXPECT_EQ(strip->baseHeightRatio(*strip, 0, 1), strip->baseHeightRatio(*strip, 1, 0));
  EXPECT_EQ(strip->baseHeightRatio(*strip, 0, 1), strip->baseHeightRatio(*strip, 0, 1, 9.0F));
  EXPECT_EQ(strip->baseHeightRatio(*strip, 1, 1), 0.0);
}

TEST_F(StripModel, VectorOperationsNeedLevelFourPointOne) {
  EXPECT_TRUE(KESStripModel::vectorOpEnabled(4.1F));
  EXPECT_TRUE(KESStripModel::vectorOpEnabled(5.2F));
  EXPECT_FALSE(KESStripModel::vectorOpEnabled(4.0F));
  EXPECT_FALSE(KESStripModel::vectorOpEnabled(0.0F));
}

TEST_F(StripModel, ProjectionsAnswerThroughTheBase) {
  auto const strip = model();
  sensor::SensorModelBase const& base = *strip;
  geo::XYZPoint point;
  base.imageToLsr({60.0, 50.0}, 0.0F, 0, point);
  geo::XYPoint image;
  base.lsrToImage(point, 0, image);
  EXPECT_NEAR(image.x, 60.0, 0.05);
  EXPECT_EQ(base.bandIndex("PANN00A"), 0);
}

TEST_F(StripModel, AdjustmentIsCompletedThroughTheModel) {
  auto const strip = model();
  strip->completeEOPAdjustment();
  EXPECT_TRUE(strip->isAdjustedEOPFile());
  EXPECT_TRUE(strip->isUseAdjustedEOP());
  EXPECT_EQ(strip->eopFileName(), mFolder / "flight.eop.adj");
}

TEST_F(StripModel, CopySharesWhatItsSourceHas) {
  auto const strip = model();
  // Never destroyed: it shares the data of its source.
  static KESStripModel const* copy = nullptr;
  copy = new KESStripModel(*strip);
  EXPECT_EQ(copy->modelData(), strip->modelData());
  EXPECT_EQ(copy->lsrSystem(), strip->lsrSystem());
  EXPECT_EQ(copy->sseEnabled(), strip->sseEnabled());
}

TEST_F(StripModel, PositionsThatAreNoneGiveNone) {
  auto const strip = model();
  float const nanF = std::numeric_limits<float>::quiet_NaN();
  double const nan = std::numeric_limits<double>::quiet_NaN();
  double const infinity = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(std::isnan(ground(*strip, nan, 5.0, 0.0F).x));
  EXPECT_TRUE(std::isnan(ground(*strip, 5.0, nan, 0.0F).x));
  EXPECT_TRUE(std::isnan(ground(*strip, 5.0, 5.0, nanF).x));
  for (double const value : {nan, infinity, -infinity, 1e300}) {
    ground(*strip, value, 5.0, 0.0F);
    ground(*strip, 5.0, value, 0.0F);
    geo::XYPoint image;
    EXPECT_LE(solveImage(*strip, {value, 0.0, 0.0}, 0, image), 250);
    EXPECT_LE(solveImage(*strip, {0.0, value, 0.0}, 0, image), 250);
    EXPECT_LE(solveImage(*strip, {0.0, 0.0, value}, 0, image), 250);
    std::vector<geo::XYPoint> run(3);
    strip->lsrToImage({{value, 0.0, 0.0}, {0.0, value, 0.0}, {0.0, 0.0, value}}, 0, run);
  }
}

}  // namespace
