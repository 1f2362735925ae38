#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/StripA.h"

#include <raster/Statistics.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/Camera.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>

#include <memory>

namespace {

using sensor::KESImage;
using sensor::KESStripModelData;
using test::SameBits;
using test::SmallStrip;

class StripData : public testing::Test {
protected:
  StripData() {
    mStrip.sensorId = testing::UnitTest::GetInstance()->current_test_info()->name();
    mStrip.bands = {{"PANN00A"}, {"PANF27A", 25.0}};
    mStrip.terrainHeight = "100";
    sensor::CameraFactory::instance()->addSearchPath(mFolder / "calibration");
  }

  std::unique_ptr<KESStripModelData> data(bool load = true) {
    mFile = mStrip.write(mFolder);
    return std::make_unique<KESStripModelData>(mFile, mOwner, load, false, false);
  }

  test::TempFolder mFolder;
  SmallStrip mStrip;
  std::string mFile;
  // Only handed back, never used.
  sensor::KESStripModel* mOwner = reinterpret_cast<sensor::KESStripModel*>(this);
};

TEST_F(StripData, LoadingSetsHeightsSamplingDistancesAndCalibrations) {
  auto const strip = data();
  EXPECT_TRUE(strip->isDataLoaded());
  EXPECT_EQ(strip->meanFlyingHeight(), 1000.0F);
  EXPECT_THAT(strip->img(0)->gsd(), SameBits((0.1F * 0.001F) * (1000.0F - 100.0F) / (50.0F * 0.001F)));
  EXPECT_EQ(strip->calib(0)->bandId(), "PANN00A");
  EXPECT_EQ(strip->calib(1)->bandId(), "PANF27A");
  EXPECT_EQ(strip->img(1)->numScanlines(), 101);
  EXPECT_EQ(strip->camera().sensorId(), mStrip.sensorId);
}

TEST_F(StripData, MeanFlyingHeightIsBetweenTheExtremes) {
  auto const strip = data(false);
  sensor::EOP record;
  strip->eop()->loadData(false);
  strip->eop()->atIndex(3, record);
  record.z = 940.0;
  strip->eop()->setEOP(3, record);
  record.z = 1010.0;
  strip->eop()->setEOP(5, record);
  strip->loadData(true, false);
  EXPECT_EQ(strip->meanFlyingHeight(), 975.0F);
}

TEST_F(StripData, BandsAreFoundByIndexAndId) {
  auto const strip = data(false);
  EXPECT_EQ(strip->numBands(), 2);
  EXPECT_EQ(strip->bandIndex("PANF27A"), 1);
  EXPECT_EQ(strip->bandIndex("panf27a"), -1);
  EXPECT_EQ(strip->bandID(1), "PANF27A");
  EXPECT_EQ(strip->bandID(2), "");
  EXPECT_EQ(strip->bandID(-1), "");
  EXPECT_EQ(strip->img("PANF27A"), strip->img(1));
  EXPECT_EQ(strip->img("NONE"), nullptr);
  EXPECT_EQ(strip->img(-1), nullptr);
  std::vector<std::string> ids{"first"};
  strip->bandIDs(ids);
  EXPECT_EQ(ids, (std::vector<std::string>{"first", "PANN00A", "PANF27A"}));
}

TEST_F(StripData, CalibrationsAreNullUnlessLoaded) {
  auto const strip = data(false);
  EXPECT_EQ(strip->calib(0), nullptr);
  EXPECT_EQ(strip->calib(77), nullptr);
}

TEST_F(StripData, ImageAttachedTwiceIsListedTwiceAndDetachedAtOnce) {
  auto const strip = data(false);
  KESImage* const image = strip->img(0);
  strip->attach(nullptr);
  strip->detach(nullptr);
  strip->attach(image);
  EXPECT_EQ(strip->numBands(), 3);
  EXPECT_EQ(image->parentStrip(), strip.get());
  strip->detach(image);
  EXPECT_EQ(strip->numBands(), 1);
  EXPECT_EQ(image->parentStrip(), nullptr);
  delete image;
}

TEST_F(StripData, UnloadingLetsGoOfCameraAndOwner) {
  auto const strip = data();
  EXPECT_EQ(strip->owner(), mOwner);
  float const gsd = strip->img(0)->gsd();
  strip->unloadData();
  EXPECT_FALSE(strip->isDataLoaded());
  EXPECT_EQ(strip->owner(), nullptr);
  EXPECT_EQ(strip->calib(0), nullptr);
  EXPECT_FALSE(strip->img(0)->isDataLoaded());
  EXPECT_EQ(strip->img(0)->numScanlines(), 101);
  EXPECT_EQ(strip->img(0)->gsd(), gsd);
  EXPECT_FALSE(strip->isDataLoaded());
  strip->loadData(false, false);
  EXPECT_TRUE(strip->isDataLoaded());
  EXPECT_EQ(strip->owner(), nullptr);
  EXPECT_EQ(strip->calib(1)->bandId(), "PANF27A");
}

TEST_F(StripData, UnloadingWhatIsntLoadedKeepsTheOwner) {
  auto const strip = data(false);
  strip->unloadData();
  EXPECT_EQ(strip->owner(), mOwner);
}

TEST_F(StripData, CameraThatIsGoneIsNamedAtTheNextLoad) {
  auto const strip = data();
  strip->unloadData();
  // A camera stays in the factory, so look under a version that isn't there.
  mStrip.calibration = "<Calibration version=\"x\" sensor_id=\"1\"/>";
  EXPECT_MESSAGE(data(), "No calibration found for sensor KESA0 ID: 1 version: x\n");
}

TEST_F(StripData, SamplingDistanceAndImagingSamplesLoadTheStrip) {
  auto const strip = data(false);
  EXPECT_THAT(strip->img(1)->gsd(), SameBits((0.1F * 0.001F) * (1000.0F - 100.0F) / (50.0F * 0.001F)));
  EXPECT_TRUE(strip->isDataLoaded());
  auto const other = data(false);
  EXPECT_EQ(other->img(1)->numImagingSamples(), 101);
  EXPECT_TRUE(other->isDataLoaded());
}

TEST_F(StripData, BandWithoutACalibrationIsNamed) {
  mStrip.write(mFolder);
  mStrip.bands.push_back({"REDN00A"});
  std::string text = mStrip.text();
  mFolder.file("REDN00A.ctg", test::contents(mFolder / "PANN00A.ctg"));
  std::string const file = mFolder.file("strip.stp", text);
  EXPECT_MESSAGE((KESStripModelData{file, nullptr, true, false, false}),
                 "Bad calibration !\nNo calibration found for band Id:\nREDN00A");
}

TEST_F(StripData, TerrainHeightChangesSamplingDistancesAndKeepsTheFirstCalibrationsInFront) {
  auto const strip = data();
  strip->setMeanTerrainHeight(500.0F);
  EXPECT_EQ(strip->meanTerrainHeight(), 500.0F);
  EXPECT_THAT(strip->img(0)->gsd(), SameBits((0.1F * 0.001F) * (1000.0F - 500.0F) / (50.0F * 0.001F)));
  EXPECT_EQ(strip->calib(0)->bandId(), "PANN00A");
  EXPECT_EQ(strip->calib(1)->bandId(), "PANF27A");
}

TEST_F(StripData, NominalHeightIsTheMeanOverCalibratedImages) {
  auto const strip = data();
  float const one = 1000.0F - (50.0F * 0.001F) * 0.5F / (0.1F * 0.001F);
  EXPECT_THAT(strip->computeNominalHeight(0.5F), SameBits((one + one) / 2.0F));
  strip->unloadData();
  EXPECT_EQ(strip->computeNominalHeight(0.5F), 0.0F);
}

TEST_F(StripData, LoadingSwitchesBetweenTheOrientations) {
  mStrip.eop = "<EOP filename=\"flight.eop\" filename_adjusted=\"better.eop\"/>";
  mFile = mStrip.write(mFolder);
  mStrip.writeEop(mFolder, "better.eop", 5.0);
  KESStripModelData strip(mFile, nullptr, true, true, false);
  sensor::EOP record;
  strip.eop()->atIndex(0, record);
  double const original = record.x;
  strip.loadData(false, false);
  EXPECT_TRUE(strip.isUseAdjustedEOP());
  EXPECT_EQ(strip.eop()->fileName(), mFolder / "better.eop");
  strip.eop()->atIndex(0, record);
  EXPECT_EQ(record.x, original + 5.0);
  strip.loadData(true, false);
  EXPECT_TRUE(strip.isUseOriginalEOP());
  strip.eop()->atIndex(0, record);
  EXPECT_EQ(record.x, original);
}

TEST_F(StripData, FileNameOfTheOrientationInUseCanBeSet) {
  auto const strip = data(false);
  strip->setEOPFileName("x");
  EXPECT_EQ(strip->originalEOPFileName(), "x");
  EXPECT_EQ(strip->eopFileName(), "x");
  EXPECT_TRUE(strip->updateTakeWithAdjustedCamera());
}

TEST_F(StripData, FirstAdjustmentIsEnteredInTheStripFile) {
  auto const strip = data();
  strip->eop()->correctEOP(0, 1.0F, 0, 0, 0, 0, 0);
  strip->completeEOPAdjustment();
  EXPECT_TRUE(strip->isUseAdjustedEOP());
  EXPECT_EQ(strip->adjustedEOPFileName(), mFolder / "flight.eop.adj");
  EXPECT_THAT(test::contents(mFile), testing::HasSubstr("filename_adjusted=\"flight.eop.adj\""));
  sensor::EOPData const written(mFolder / "flight.eop.adj");
  sensor::EOP before;
  sensor::EOP after;
  sensor::EOPData(mFolder / "flight.eop").atIndex(0, before);
  written.atIndex(0, after);
  EXPECT_EQ(after.x, before.x + 1.0);
}

TEST_F(StripData, SecondAdjustmentKeepsTheFirstAsBackup) {
  auto strip = data();
  strip->completeEOPAdjustment();
  std::string const first = test::contents(mFolder / "flight.eop.adj");
  strip->eop()->correctEOP(0, 1.0F, 0, 0, 0, 0, 0);
  strip->completeEOPAdjustment();
  EXPECT_EQ(test::contents(mFolder / "flight.eop.adj.bak"), first);
  EXPECT_NE(test::contents(mFolder / "flight.eop.adj"), first);
  strip->eop()->correctEOP(1, 1.0F, 0, 0, 0, 0, 0);
  strip->completeEOPAdjustment();
  EXPECT_EQ(test::contents(mFolder / "flight.eop.adj.bak"), first);
}

TEST_F(StripData, StatisticsLieBesideTheImages) {
  auto const strip = data(false);
  EXPECT_FALSE(strip->img(0)->checkForStatistics(raster::Statistics::allLayers));
  mFolder.file("images/PANN00A.stat",
               "<PAMDataset><PAMRasterBand band=\"1\"><Metadata><MDI key=\"STATISTICS_MINIMUM\">3</MDI>"
               "<MDI key=\"STATISTICS_MAXIMUM\">9</MDI><MDI key=\"STATISTICS_MEAN\">5</MDI>"
               "<MDI key=\"STATISTICS_STDDEV\">1</MDI></Metadata></PAMRasterBand></PAMDataset>");
  EXPECT_TRUE(strip->img(0)->checkForStatistics(raster::Statistics::allLayers));
  EXPECT_TRUE(strip->img(0)->checkForStatistics(0));
  EXPECT_FALSE(strip->img(0)->checkForStatistics(1));
  std::unique_ptr<raster::Statistics> const statistics(strip->img(0)->createStatistics());
  EXPECT_NE(statistics, nullptr);
}

TEST_F(StripData, CopySharesWhatItsSourceOwns) {
  auto const strip = data();
  // Never destroyed: it shares the images and the orientation of its source.
  static KESStripModelData const* copy = nullptr;
  copy = new KESStripModelData(*strip);
  EXPECT_EQ(copy->img(0), strip->img(0));
  EXPECT_EQ(copy->eop(), strip->eop());
  EXPECT_EQ(copy->owner(), strip->owner());
  EXPECT_EQ(copy->img(0)->parentStrip(), strip.get());
}

}  // namespace
