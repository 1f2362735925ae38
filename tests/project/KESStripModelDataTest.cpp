// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"

#include <raster/Statistics.h>
#include <sensor/CalibrationGeometryKes.h>

#include <QDomDocument>

#include <array>

namespace {

using sensor::KESImage;
using sensor::KESStripModelData;
using test::SameBits;

class StripData : public test::TwoBands {};

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
  std::unique_ptr<KESImage> const image(strip->img(0));
  strip->attach(nullptr);
  strip->detach(nullptr);
  EXPECT_EQ(strip->numBands(), 2);
  strip->attach(image.get());
  EXPECT_EQ(strip->numBands(), 3);
  EXPECT_EQ(strip->img(0), image.get());
  EXPECT_EQ(strip->img(2), image.get());
  EXPECT_EQ(strip->bandIndex("PANN00A"), 0);
  strip->detach(image.get());
  EXPECT_EQ(strip->numBands(), 1);
  EXPECT_EQ(strip->bandID(0), "PANF27A");
  EXPECT_EQ(image->parentStrip(), nullptr);
}

TEST_F(StripData, AttachedImageBelongsToTheStrip) {
  auto const strip = data(false);
  auto const other = data(false);
  KESImage* const image = other->img(1);
  other->detach(image);
  strip->attach(image);
  EXPECT_EQ(image->parentStrip(), strip.get());
  EXPECT_EQ(strip->img(2), image);
}

TEST_F(StripData, TerrainHeightChangesSamplingDistancesAndKeepsTheFirstCalibrationsInFront) {
  auto const strip = data();
  strip->setMeanTerrainHeight(500.0F);
  EXPECT_EQ(strip->meanTerrainHeight(), 500.0F);
  EXPECT_THAT(strip->img(0)->gsd(), SameBits(gsdAbove(500.0F)));
  EXPECT_THAT(strip->img(1)->gsd(), SameBits(gsdAbove(500.0F)));
  EXPECT_EQ(strip->calib(0)->bandId(), "PANN00A");
  EXPECT_EQ(strip->calib(1)->bandId(), "PANF27A");
  // A second run of calibrations stands behind the first.
  EXPECT_EQ(strip->calib(2), strip->calib(0));
  EXPECT_EQ(strip->calib(3), strip->calib(1));
}

TEST_F(StripData, TerrainHeightOfAnUnloadedStripIsStoredButHasNoCalibration) {
  auto const strip = data();
  strip->unloadData();
  EXPECT_MESSAGE(strip->setMeanTerrainHeight(500.0F), "Bad calibration !\nNo calibration found for band Id:\nPANN00A");
  EXPECT_EQ(strip->meanTerrainHeight(), 500.0F);
}

TEST_F(StripData, NominalHeightIsTheMeanOverCalibratedImages) {
  auto const strip = data();
  float const one = 1000.0F - (50.0F * 0.001F) * 0.3F / (0.1F * 0.001F);
  EXPECT_THAT(strip->computeNominalHeight(0.3F), SameBits((one + one) / 2.0F));
  strip->img(1)->setBandID("NONE");
  EXPECT_THAT(strip->computeNominalHeight(0.3F), SameBits(one));
  strip->unloadData();
  EXPECT_EQ(strip->computeNominalHeight(0.3F), 0.0F);
}

// The sum of three equal heights isn't three times the height in single precision.
TEST_F(StripData, NominalHeightsAreAddedInSinglePrecision) {
  mStrip.bands = {{"PANN00A"}, {"PANF27A", 25.0}, {"PANB14A", -12.5}};
  mFile = mStrip.write(mFolder);
  auto const strip = data();
  float const gsd = 0.10003F;
  float const one = 1000.0F - (50.0F * 0.001F) * gsd / (0.1F * 0.001F);
  float const three = (one + one) + one;
  ASSERT_NE(three / 3.0F, one);
  EXPECT_THAT(strip->computeNominalHeight(gsd), SameBits(three / 3.0F));
}

TEST_F(StripData, CalibrationsOfABandComeFromTheCamera) {
  auto const strip = data(false);
  ASSERT_NE(strip->calibrationGeometry("PANF27A"), nullptr);
  EXPECT_EQ(strip->calibrationGeometry("PANF27A")->bandId(), "PANF27A");
  EXPECT_EQ(strip->calibrationGeometry("NONE"), nullptr);
  EXPECT_EQ(strip->calibrationRadiometry("NONE"), nullptr);
  strip->loadData(true, false);
  strip->unloadData();
  EXPECT_EQ(strip->calibrationGeometry("PANF27A"), nullptr);
  EXPECT_EQ(strip->calibrationRadiometry("PANF27A"), nullptr);
}

TEST_F(StripData, PlainValuesAreReadAndWritten) {
  auto const strip = data(false);
  EXPECT_EQ(strip->owner(), mOwner);
  strip->setName("other");
  EXPECT_EQ(strip->name(), "other");
  strip->setOriginalEOPFileName("a");
  strip->setAdjustedEOPFileName("b");
  EXPECT_EQ(strip->originalEOPFileName(), "a");
  EXPECT_EQ(strip->adjustedEOPFileName(), "b");
  EXPECT_TRUE(strip->isAdjustedEOPFile());
  EXPECT_TRUE(strip->updateTakeWithAdjustedCamera());
}

TEST_F(StripData, FileNameOfTheOrientationInUseCanBeSet) {
  auto const original = data(false);
  original->setEOPFileName("x");
  EXPECT_EQ(original->originalEOPFileName(), "x");
  EXPECT_EQ(original->adjustedEOPFileName(), "");
  EXPECT_EQ(original->eopFileName(), "x");
  mStrip.writeEop(mFolder, "better.eop");
  auto const adjusted = readText(with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"better.eop\""));
  adjusted->setEOPFileName("y");
  EXPECT_EQ(adjusted->originalEOPFileName(), mFolder / "flight.eop");
  EXPECT_EQ(adjusted->adjustedEOPFileName(), "y");
  EXPECT_EQ(adjusted->eopFileName(), "y");
}

constexpr char const* statistics =
    "<PAMDataset><PAMRasterBand band=\"1\"><Metadata><MDI key=\"STATISTICS_MINIMUM\">3</MDI>"
    "<MDI key=\"STATISTICS_MAXIMUM\">9</MDI><MDI key=\"STATISTICS_MEAN\">5</MDI>"
    "<MDI key=\"STATISTICS_STDDEV\">1</MDI></Metadata></PAMRasterBand></PAMDataset>";

TEST_F(StripData, StatisticsLieBesideTheImages) {
  auto const strip = data(false);
  KESImage const& image = *strip->img(0);
  EXPECT_FALSE(image.checkForStatistics(raster::Statistics::allLayers));
  EXPECT_TRUE(std::unique_ptr<raster::Statistics>(image.createStatistics())->layers().empty());
  mFolder.file("images/PANN00A.stat", statistics);
  EXPECT_TRUE(image.checkForStatistics(raster::Statistics::allLayers));
  EXPECT_TRUE(image.checkForStatistics(0));
  EXPECT_FALSE(image.checkForStatistics(1));
  std::unique_ptr<raster::Statistics> const loaded(image.createStatistics());
  ASSERT_EQ(loaded->layers().size(), 1U);
  EXPECT_EQ(loaded->layer(0).minimum, 3.0);
  EXPECT_EQ(loaded->layer(0).maximum, 9.0);
}

// Of the classes from 10 to 18, one has all pixels, so that the middle of all is the middle of this class.
TEST_F(StripData, StatisticsAreOfAllBandsWithTheirExtremesAndTheirMedian) {
  std::string bands;
  for (char const* number : {"1", "2"}) {
    bands += "<PAMRasterBand band=\"" + std::string(number) +
             "\"><Histograms><HistItem><HistMin>10</HistMin><HistMax>18</HistMax><BucketCount>4</BucketCount>"
             "<IncludeOutOfRange>1</IncludeOutOfRange><Approximate>0</Approximate>"
             "<HistCounts>0|0|8|0</HistCounts></HistItem></Histograms><Metadata>"
             "<MDI key=\"STATISTICS_MINIMUM\">14</MDI><MDI key=\"STATISTICS_MAXIMUM\">16</MDI>"
             "<MDI key=\"STATISTICS_MEAN\">15</MDI><MDI key=\"STATISTICS_STDDEV\">1</MDI></Metadata></PAMRasterBand>";
  }
  mFolder.file("images/PANN00A.stat", "<PAMDataset>" + bands + "</PAMDataset>");
  auto const strip = data(false);
  std::unique_ptr<raster::Statistics> const loaded(strip->img(0)->createStatistics());
  EXPECT_EQ(loaded->layers().size(), 2U);
  EXPECT_EQ(loaded->percentiles(0), (std::array<double, 3>{14.0, 15.0, 16.0}));
}

TEST_F(StripData, StatisticsTakeEveryPixelAsItIs) {
  auto const strip = data(false);
  std::unique_ptr<raster::Statistics> const empty(strip->img(0)->createStatistics());
  empty->compute(mFolder.file("image.asc", "ncols 3\nnrows 2\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 4\n8 16 32\n"));
  EXPECT_EQ(empty->layer(0).mean, 63.0 / 6.0);
  EXPECT_EQ(empty->layer(0).maximum, 32.0);
}

TEST_F(StripData, ImageThatTheStripDoesNotHoldHasItsSamplingDistanceToo) {
  auto const strip = data(false);
  QDomDocument document;
  ASSERT_TRUE(document.setContent(QStringLiteral("<Image band=\"PANN00A\"/>")));
  KESImage image(document.documentElement(), mFolder.path(), strip.get(), false);
  EXPECT_THAT(image.gsd(), SameBits(gsdAbove(100.0F)));
}

TEST_F(StripData, StatisticsAreNamedByWhatStandsBeforeTheLastDot) {
  auto const strip = data(false);
  KESImage& image = *strip->img(0);
  for (auto const& [name, file] :
       {std::pair{"sub/a.b.tif", "images/sub/a.b.stat"}, std::pair{"plain", "images/plain.stat"}}) {
    image.setImageFileName(name);
    EXPECT_FALSE(image.checkForStatistics(0)) << name;
    mFolder.file(file, statistics);
    EXPECT_TRUE(image.checkForStatistics(0)) << name;
  }
}

TEST_F(StripData, CopyAndAssignmentShareWhatTheirSourceOwns) {
  auto const strip = data();
  // Never destroyed: it shares the images and the orientation of its source.
  static KESStripModelData* copy = nullptr;
  copy = new KESStripModelData(*strip);
  EXPECT_EQ(copy->img(0), strip->img(0));
  EXPECT_EQ(copy->eop(), strip->eop());
  EXPECT_EQ(copy->owner(), strip->owner());
  EXPECT_EQ(&copy->camera(), &strip->camera());
  EXPECT_EQ(copy->calib(1), strip->calib(1));
  EXPECT_TRUE(copy->isDataLoaded());
  EXPECT_EQ(copy->img(0)->parentStrip(), strip.get());
  auto const other = data(false);
  *copy = *other;
  EXPECT_EQ(copy->img(1), other->img(1));
  EXPECT_EQ(copy->eop(), other->eop());
  EXPECT_FALSE(copy->isDataLoaded());
  EXPECT_EQ(copy->img(1)->parentStrip(), other.get());
}

}  // namespace
