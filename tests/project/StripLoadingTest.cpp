// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"

#include <sensor/CalibrationGeometryKes.h>

#include <algorithm>
#include <vector>

namespace {

using sensor::EOP;
using sensor::KESStripModelData;
using test::SameBits;

class StripLoading : public test::TwoBands {
protected:
  static double eastOf(KESStripModelData const& strip) {
    EOP record;
    EXPECT_EQ(strip.eop()->atIndex(0, record), 0);
    return record.x;
  }
  int numRecords() const { return read(true).eop()->numSets(); }
  // The mean flying height of a strip with these heights in its first records, and of none other below or above.
  float meanOf(std::vector<double> const& heights) {
    auto const strip = data(false);
    strip->eop()->loadData(false);
    for (int i = 0; i < strip->eop()->numSets(); ++i) {
      EOP record;
      strip->eop()->atIndex(i, record);
      record.z = heights[std::min(static_cast<std::size_t>(i), heights.size() - 1)];
      strip->eop()->setEOP(i, record);
    }
    strip->loadData(true, false);
    return strip->meanFlyingHeight();
  }
};

TEST_F(StripLoading, SetsHeightsSamplingDistancesAndCalibrations) {
  auto const strip = data();
  EXPECT_TRUE(strip->isDataLoaded());
  EXPECT_EQ(strip->meanFlyingHeight(), 1000.0F);
  EXPECT_THAT(strip->img(0)->gsd(), SameBits(gsdAbove(100.0F)));
  EXPECT_EQ(strip->calib(0)->bandId(), "PANN00A");
  EXPECT_EQ(strip->calib(1)->bandId(), "PANF27A");
  EXPECT_TRUE(strip->img(1)->isDataLoaded());
  EXPECT_EQ(strip->img(1)->numScanlines(), 101);
  EXPECT_EQ(strip->camera().sensorId(), mStrip.sensorId);
}

TEST_F(StripLoading, ConstructionAloneReadsHeadersOnly) {
  auto const strip = data(false);
  EXPECT_FALSE(strip->isDataLoaded());
  EXPECT_EQ(strip->meanFlyingHeight(), 0.0F);
  EXPECT_EQ(strip->eop()->numSets(), 0);
  EXPECT_EQ(strip->eop()->absTime().value(), 77U);
  EXPECT_EQ(strip->img(0)->numScanlines(), 0);
  EXPECT_EQ(strip->img(0)->ctgFileName(), mFolder / "PANN00A.ctg");
}

TEST_F(StripLoading, MeanFlyingHeightIsBetweenTheExtremesInSinglePrecision) {
  EXPECT_EQ(meanOf({1000.0, 940.0, 1010.0, 1000.0}), 975.0F);
  EXPECT_EQ(meanOf({-20.0, 1000.0, 500.0}), 490.0F);
  std::vector<double> lastIsHighest(static_cast<std::size_t>(numRecords()), 1000.0);
  lastIsHighest.back() = 1010.0;
  EXPECT_EQ(meanOf(lastIsHighest), 1005.0F);
  EXPECT_THAT(meanOf({1000.1, 1000.3, 1000.2}), SameBits((1000.1F + 1000.3F) * 0.5F));
  // The sum rounds to single: 16777215 + 4 is 16777219, half way between 16777218 and 16777220, and goes to the even
  // one.
  EXPECT_EQ(meanOf({4.0, 16777215.0}), 8388610.0F);
}

TEST_F(StripLoading, StandardDeviationsAreDealtWithWhenAskedFor) {
  EXPECT_FALSE(read(true, false, false).eop()->isStdDevLoaded());
  EXPECT_TRUE(read(true, false, true).eop()->isStdDevLoaded());
  KESStripModelData strip = read();
  strip.loadData(false, true);
  EXPECT_TRUE(strip.eop()->isStdDevLoaded());
}

TEST_F(StripLoading, SamplingDistanceAndImagingSamplesLoadTheStrip) {
  auto const strip = data(false);
  EXPECT_THAT(strip->img(1)->gsd(), SameBits(gsdAbove(100.0F)));
  EXPECT_TRUE(strip->isDataLoaded());
  auto const other = data(false);
  EXPECT_EQ(other->img(1)->numImagingSamples(), 101);
  EXPECT_TRUE(other->isDataLoaded());
}

TEST_F(StripLoading, ImagingSamplesAreTheCamerasWhateverTheSwath) {
  auto const strip = readText(with("swath=\"101\"", ""));
  EXPECT_EQ(strip->img(0)->numSamples(), 12000);
  EXPECT_EQ(strip->img(0)->numImagingSamples(), 101);
}

TEST_F(StripLoading, LoadingOnDemandTakesTheAdjustedOrientation) {
  mStrip.writeEop(mFolder, "better.eop", 5.0);
  mFolder.file("strip.stp", with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"better.eop\""));
  KESStripModelData strip = read(false, true);
  EXPECT_TRUE(strip.isUseOriginalEOP());
  strip.img(0)->gsd();
  EXPECT_TRUE(strip.isUseAdjustedEOP());
  EXPECT_FALSE(strip.eop()->isStdDevLoaded());
}

TEST_F(StripLoading, LoadedStripStaysAsItIsWhateverAnImageIsAsked) {
  mStrip.writeEop(mFolder, "better.eop", 5.0);
  mFolder.file("strip.stp", with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"better.eop\""));
  KESStripModelData strip = read(true, true);
  strip.img(0)->gsd();
  strip.img(0)->numImagingSamples();
  EXPECT_TRUE(strip.isUseOriginalEOP());
}

// A flight at the height of the ground: 0 is a distance, too, and is computed once.
TEST_F(StripLoading, SamplingDistanceOfZeroIsKnown) {
  auto const strip = data();
  strip->setMeanTerrainHeight(1000.0F);
  strip->unloadData();
  EXPECT_EQ(strip->img(0)->gsd(), 0.0F);
  EXPECT_FALSE(strip->isDataLoaded());
}

TEST_F(StripLoading, OrientationComesBeforeCameraBeforeLineTimesBeforeCalibrations) {
  auto const strip = data();
  sensor::Camera const& camera = strip->camera();
  strip->unloadData();
  forget(camera);
  std::filesystem::rename(mFolder / "flight.eop", mFolder / "gone.eop");
  std::filesystem::remove(mFolder / "PANF27A.ctg");
  EXPECT_MESSAGE(strip->loadData(false, false), "failed to open EOP file: " + (mFolder / "flight.eop"));
  std::filesystem::rename(mFolder / "gone.eop", mFolder / "flight.eop");
  EXPECT_MESSAGE(strip->loadData(false, false), "KESStripModelData::loadData: no Camera found for sensor KESA0 ID: " +
                                                    mStrip.sensorId + " version: v001");
  mStrip.write(mFolder);
  std::filesystem::remove(mFolder / "PANF27A.ctg");
  strip->img(0)->setBandID("NONE");
  EXPECT_MESSAGE(strip->loadData(false, false), "failed to open CTG file: " + (mFolder / "PANF27A.ctg"));
}

TEST_F(StripLoading, SwitchesBetweenTheOrientations) {
  mStrip.writeEop(mFolder, "better.eop", 5.0);
  mFolder.file("strip.stp", with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"better.eop\""));
  KESStripModelData strip = read(true, true);
  double const original = eastOf(strip);
  strip.loadData(false, false);
  EXPECT_TRUE(strip.isUseAdjustedEOP());
  EXPECT_EQ(strip.eop()->fileName(), mFolder / "better.eop");
  EXPECT_EQ(eastOf(strip), original + 5.0);
  strip.loadData(true, false);
  EXPECT_TRUE(strip.isUseOriginalEOP());
  EXPECT_EQ(eastOf(strip), original);
}

TEST_F(StripLoading, SwitchDropsWhatTheOldOrientationHeld) {
  mStrip.writeEop(mFolder, "better.eop");
  mFolder.file("strip.stp", with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"better.eop\""));
  KESStripModelData strip = read(true, true);
  double const original = eastOf(strip);
  strip.eop()->correctEOP(0, 3.0F, 0, 0, 0, 0, 0);
  // The same orientation stays as it is in memory.
  strip.loadData(true, false);
  EXPECT_EQ(eastOf(strip), original + 3.0);
  strip.loadData(false, false);
  strip.loadData(true, false);
  EXPECT_EQ(eastOf(strip), original);
}

TEST_F(StripLoading, AdjustedOrientationThatIsGoneLeavesTheOriginalInUse) {
  KESStripModelData strip = read(true);
  strip.setAdjustedEOPFileName(mFolder / "gone.adj");
  EXPECT_MESSAGE(strip.loadData(false, false), "failed to open EOP file: " + (mFolder / "gone.adj"));
  EXPECT_TRUE(strip.isUseOriginalEOP());
  EXPECT_EQ(strip.eop()->fileName(), mFolder / "flight.eop");
}

TEST_F(StripLoading, BandWithoutACalibrationIsNamed) {
  auto const strip = readText(with("band=\"PANF27A\"", "band=\"REDN00A\""));
  EXPECT_MESSAGE(strip->loadData(false, false), "Bad calibration !\nNo calibration found for band Id:\nREDN00A");
  EXPECT_FALSE(strip->isDataLoaded());
  EXPECT_EQ(strip->calib(0), nullptr);
  EXPECT_EQ(messageOf(with("band=\"PANN00A\"", "band=\"\""), true),
            "Bad calibration !\nNo calibration found for band Id:\n");
}

TEST_F(StripLoading, BandThatLosesItsCalibrationIsNamed) {
  auto const strip = data();
  strip->img(1)->setBandID("REDN00A");
  EXPECT_MESSAGE(strip->img(1)->numImagingSamples(), "Bad calibration !\nNo calibration found for band Id:\nREDN00A");
}

TEST_F(StripLoading, CameraThatIsGoneIsNamed) {
  auto const strip = data();
  sensor::Camera const& camera = strip->camera();
  strip->unloadData();
  forget(camera);
  EXPECT_MESSAGE(strip->loadData(false, false), "KESStripModelData::loadData: no Camera found for sensor KESA0 ID: " +
                                                    mStrip.sensorId + " version: v001");
  EXPECT_FALSE(strip->isDataLoaded());
  EXPECT_MESSAGE(data(), "No calibration found for sensor KESA0 ID: " + mStrip.sensorId + " version: v001\n");
}

TEST_F(StripLoading, UnloadingLetsGoOfCameraAndOwner) {
  auto const strip = data();
  EXPECT_EQ(strip->owner(), mOwner);
  float const gsd = strip->img(0)->gsd();
  strip->unloadData();
  EXPECT_FALSE(strip->isDataLoaded());
  EXPECT_EQ(strip->owner(), nullptr);
  EXPECT_EQ(strip->calib(0), nullptr);
  EXPECT_FALSE(strip->eop()->isDataLoaded());
  EXPECT_FALSE(strip->img(0)->isDataLoaded());
  EXPECT_EQ(strip->img(0)->numScanlines(), 101);
  EXPECT_EQ(strip->img(0)->gsd(), gsd);
  EXPECT_FALSE(strip->isDataLoaded());
}

TEST_F(StripLoading, AfterUnloadingReadsAgainAndStaysWithoutOwner) {
  auto const strip = data();
  strip->unloadData();
  mFolder.file("PANN00A.ctg", test::contents(mFolder / "PANN00A.ctg").substr(0, 40 * sizeof(double)));
  strip->loadData(false, false);
  EXPECT_TRUE(strip->isDataLoaded());
  EXPECT_EQ(strip->owner(), nullptr);
  EXPECT_EQ(strip->img(0)->numScanlines(), 40);
  EXPECT_EQ(strip->calib(1)->bandId(), "PANF27A");
  EXPECT_EQ(strip->camera().sensorId(), mStrip.sensorId);
}

TEST_F(StripLoading, UnloadingWhatIsntLoadedKeepsTheOwnerAndClearsTheRest) {
  auto const strip = data(false);
  strip->img(0)->loadData();
  strip->eop()->loadData(false);
  strip->unloadData();
  EXPECT_EQ(strip->owner(), mOwner);
  EXPECT_EQ(strip->camera().sensorId(), mStrip.sensorId);
  EXPECT_FALSE(strip->img(0)->isDataLoaded());
  EXPECT_FALSE(strip->eop()->isDataLoaded());
}

TEST_F(StripLoading, SecondLoadingSkipsTheImagesThatAreLoaded) {
  auto const strip = data();
  mFolder.file("PANN00A.ctg", "");
  strip->loadData(false, false);
  EXPECT_EQ(strip->img(0)->numScanlines(), 101);
  EXPECT_TRUE(strip->isDataLoaded());
}

TEST_F(StripLoading, SecondLoadingCollectsTheCalibrationsAnew) {
  auto const strip = data();
  strip->setMeanTerrainHeight(500.0F);
  strip->img(0)->setBandID("PANF27A");
  strip->img(1)->setBandID("PANN00A");
  strip->loadData(false, false);
  EXPECT_EQ(strip->calib(0)->bandId(), "PANF27A");
  EXPECT_EQ(strip->calib(1)->bandId(), "PANN00A");
}

}  // namespace
