// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StatisticsSupport.h"
#include "support/Matchers.h"

#include <raster/Statistics.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <numeric>

namespace {

using raster::Statistics;
using test::Band;
using test::writeImage;
using testing::ElementsAre;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

Statistics plain() {
  return {0, 50, 100, 1, 1.0F};
}

Statistics computed(std::string const& image, int step = 1, float factor = 1.0F) {
  Statistics statistics(0, 50, 100, step, factor);
  statistics.compute(image);
  return statistics;
}

class StatisticsCompute : public testing::Test {
protected:
  test::TempFolder folder;
};

TEST_F(StatisticsCompute, EachBandHasItsOwnLayer) {
  auto const statistics = computed(writeImage(folder, "a.tif", 3, {{10, 20, 30, 40, 50, 60}, {7, 7, 7, 7, 7, 7}}));
  ASSERT_EQ(statistics.layers().size(), 2U);
  auto const& ramp = statistics.layer(0);
  EXPECT_EQ(ramp.minimum, 10.0);
  EXPECT_EQ(ramp.maximum, 60.0);
  EXPECT_NEAR(ramp.mean, 35.0, 1e-13);
  // Deviations of 25, 15 and 5 on both sides of the mean.
  EXPECT_NEAR(ramp.standardDeviation, std::sqrt((625.0 + 225.0 + 25.0) / 3.0), 1e-13);
  auto const& level = statistics.layer(1);
  EXPECT_EQ(level.minimum, 7.0);
  EXPECT_EQ(level.maximum, 7.0);
  EXPECT_EQ(level.mean, 7.0);
  EXPECT_EQ(level.standardDeviation, 0.0);
}

TEST_F(StatisticsCompute, ExtremesStandInTheMiddleOfTheOuterClasses) {
  Band values(256);
  std::iota(values.begin(), values.end(), 0.0);
  auto const statistics = computed(writeImage(folder, "a.tif", 16, {values}, GDT_Byte));
  auto const& layer = statistics.layer(0);
  EXPECT_EQ(layer.histogramMinimum, -0.5);
  EXPECT_EQ(layer.histogramMaximum, 255.5);
  EXPECT_EQ(layer.histogram, std::vector<std::uint64_t>(256, 1));
}

// Half a class is half of the 255th part of what lies between them, be it less than a unit or more.
TEST_F(StatisticsCompute, ClassesAreAsWideAsTheValuesLieApart) {
  for (double const range : {51.0, 2550.0}) {
    auto const statistics = computed(writeImage(folder, "a.tif", 2, {{10, 10, 10, 10 + range}}));
    auto const& layer = statistics.layer(0);
    EXPECT_DOUBLE_EQ(layer.histogramMinimum, 10.0 - 0.5 * range / 255.0);
    EXPECT_DOUBLE_EQ(layer.histogramMaximum, 10.0 + range + 0.5 * range / 255.0);
    EXPECT_EQ(layer.histogram[0], 3U);
    EXPECT_EQ(layer.histogram[255], 1U);
  }
}

TEST_F(StatisticsCompute, HistogramCountsEveryPixelInItsClass) {
  // 510 classes' halves lie between 0 and 510: class k holds the values around 2 k.
  auto const statistics = computed(writeImage(folder, "a.tif", 4, {{0, 2, 2, 4, 508, 510, 510, 510}}));
  auto const& counts = statistics.layer(0).histogram;
  ASSERT_EQ(counts.size(), 256U);
  EXPECT_EQ(counts[0], 1U);
  EXPECT_EQ(counts[1], 2U);
  EXPECT_EQ(counts[2], 1U);
  EXPECT_EQ(counts[254], 1U);
  EXPECT_EQ(counts[255], 3U);
  EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}), 8U);
}

TEST_F(StatisticsCompute, ImageOfOneValueHasItInTheMiddleOfItsHistogram) {
  std::vector<std::uint64_t> middle(256, 0);
  middle[128] = 4;
  // Half a unit to either side, or 1e-12 of the value where that is more.
  for (auto const& [value, margin] :
       {std::pair{0.0, 0.5}, std::pair{-3.0, 0.5}, std::pair{1e15, 1000.0}, std::pair{-1e15, 1000.0}}) {
    auto const statistics = computed(writeImage(folder, "a.tif", 2, {{value, value, value, value}}, GDT_Float64));
    auto const& layer = statistics.layer(0);
    EXPECT_EQ(layer.histogramMinimum, value - margin);
    EXPECT_EQ(layer.histogramMaximum, value + margin);
    EXPECT_EQ(layer.histogram, middle) << value;
  }
}

TEST_F(StatisticsCompute, BrightImageOfHardlyAnyContrastHasItsValuesInTheirClasses) {
  double const dark = 1e15;
  double const bright = 1e15 + 2000;
  auto const statistics = computed(writeImage(folder, "a.tif", 2, {{dark, dark, dark, bright}}, GDT_Float64));
  // 1e-12 of the value are 1000, more than half a class: 256 classes lie from -1000 to 3000, 15.625 wide.
  auto const& layer = statistics.layer(0);
  EXPECT_EQ(layer.histogramMinimum, dark - 1000);
  EXPECT_EQ(layer.histogramMaximum, bright + 1000);
  EXPECT_EQ(layer.histogram[64], 3U);
  EXPECT_EQ(layer.histogram[192], 1U);
}

TEST_F(StatisticsCompute, BrightImageOfLittleContrastKeepsItsDeviation) {
  // A sum of squares of 1e18 and more holds no more than every 128th whole number.
  auto const statistics = computed(writeImage(folder, "a.tif", 2, {{1e9, 1e9 + 1, 1e9, 1e9 + 1}}, GDT_Float64));
  EXPECT_NEAR(statistics.layer(0).mean, 1e9 + 0.5, 1e-6);
  EXPECT_NEAR(statistics.layer(0).standardDeviation, 0.5, 1e-9);
}

TEST_F(StatisticsCompute, PixelsWithoutAValueDoNotCount) {
  double const noData = -9999.0;
  auto const statistics =
      computed(writeImage(folder, "a.tif", 3, {{noData, 1, nan, 3, infinity, -infinity}}, GDT_Float32, &noData));
  auto const& layer = statistics.layer(0);
  EXPECT_EQ(layer.minimum, 1.0);
  EXPECT_EQ(layer.maximum, 3.0);
  EXPECT_EQ(layer.mean, 2.0);
  EXPECT_EQ(layer.standardDeviation, 1.0);
}

TEST_F(StatisticsCompute, BandWithoutAnyValueHasNoLayerAndTheOthersKeepTheirNumbers) {
  double const noData = 0.0;
  auto const statistics = computed(writeImage(folder, "a.tif", 2, {{1, 2}, {0, 0}, {3, 5}}, GDT_UInt16, &noData));
  EXPECT_EQ(statistics.layers().size(), 2U);
  EXPECT_EQ(statistics.layer(0).maximum, 2.0);
  EXPECT_EQ(statistics.layer(2).maximum, 5.0);
  EXPECT_MESSAGE(statistics.layer(1), "no statistics of band 1");
}

TEST_F(StatisticsCompute, StepLeavesOutColumnsAndLines) {
  Band const values = {1,  90, 2,  91, 3,   // columns 0, 2 and 4 of this line
                       92, 93, 94, 95, 96,  //
                       4,  97, 5,  98, 6};
  auto const image = writeImage(folder, "a.tif", 5, {values});
  auto const statistics = computed(image, 2);
  EXPECT_EQ(statistics.layer(0).minimum, 1.0);
  EXPECT_EQ(statistics.layer(0).maximum, 6.0);
  EXPECT_NEAR(statistics.layer(0).mean, 3.5, 1e-14);
  EXPECT_EQ(computed(image, std::numeric_limits<int>::max()).layer(0).maximum, 1.0);
}

TEST_F(StatisticsCompute, LongLinesCountWholeAndKeepTheirStep) {
  Band values(2 * 65536 + 10, 0.0);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<double>(i % 50000);
  }
  double const noData = 49999.0;
  auto const image = writeImage(folder, "a.tif", static_cast<int>(values.size()), {values}, GDT_UInt16, &noData);
  for (int const step : {1, 3, 65536, 65537, 100000, 2000000000}) {
    std::uint64_t count = 0;
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); i += static_cast<std::size_t>(step)) {
      count += values[i] != noData ? 1 : 0;
      sum += values[i] != noData ? values[i] : 0.0;
    }
    auto const statistics = computed(image, step);
    auto const& layer = statistics.layer(0);
    EXPECT_NEAR(layer.mean, sum / static_cast<double>(count), 1e-6) << step;
    EXPECT_EQ(std::accumulate(layer.histogram.begin(), layer.histogram.end(), std::uint64_t{0}), count) << step;
  }
}

// A line of 16 GB as doubles, none of it on the disk.
TEST_F(StatisticsCompute, LinesThatNoMemoryHoldsAreReadInPieces) {
  std::string const name = folder / "wide.tif";
  char const* const options[] = {"SPARSE_OK=TRUE", "TILED=YES", "BLOCKXSIZE=65536", "BLOCKYSIZE=16", nullptr};
  GDALAllRegister();
  auto* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  GDALClose(driver->Create(name.c_str(), 2000000000, 1, 1, GDT_Byte, const_cast<char**>(options)));
  auto const statistics = computed(name, 2000000000);
  EXPECT_EQ(statistics.layer(0).histogram[128], 1U);
}

TEST_F(StatisticsCompute, FactorScalesAllValuesButTheCounts) {
  auto const image = writeImage(folder, "a.tif", 2, {{10, 20, 20, 40}});
  auto const raw = computed(image).layer(0);
  auto const scaled = computed(image, 1, 0.25F).layer(0);
  EXPECT_EQ(scaled.minimum, 2.5);
  EXPECT_EQ(scaled.maximum, 10.0);
  EXPECT_EQ(scaled.mean, 0.25 * raw.mean);
  EXPECT_EQ(scaled.standardDeviation, 0.25 * raw.standardDeviation);
  EXPECT_EQ(scaled.histogramMinimum, 0.25 * raw.histogramMinimum);
  EXPECT_EQ(scaled.histogramMaximum, 0.25 * raw.histogramMaximum);
  EXPECT_EQ(scaled.histogram, raw.histogram);
}

TEST_F(StatisticsCompute, LeavesNoFileBesideTheImage) {
  computed(writeImage(folder, "a.tif", 2, {{1, 2, 3, 4}}));
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(StatisticsCompute, PercentilesSpreadAClassEvenly) {
  Band values(256);
  std::iota(values.begin(), values.end(), 0.0);
  auto const image = writeImage(folder, "a.tif", 16, {values}, GDT_Byte);
  // Half of the pixels, 128 of them, end with the class of 127, whose upper end is 127.5.
  EXPECT_THAT(computed(image).percentiles(0), ElementsAre(0.0, 127.5, 255.0));
  Statistics quarters(25, 75, 1, 1, 1.0F);
  quarters.compute(image);
  EXPECT_THAT(quarters.percentiles(0), ElementsAre(63.5, 191.5, testing::DoubleNear(2.06, 1e-12)));
}

TEST_F(StatisticsCompute, MedianOfASkewedImageLiesWhereMostPixelsAre) {
  auto const statistics = computed(writeImage(folder, "a.tif", 5, {{0, 0, 0, 0, 510}}));
  // The first class, from -1 to 1, holds four of five pixels: half of all is 2.5 / 4 of the way through it.
  EXPECT_NEAR(statistics.percentiles(0)[1], -1.0 + 2.0 * 2.5 / 4.0, 1e-12);
}

TEST_F(StatisticsCompute, BandThatIsNotThereHasNoPercentiles) {
  EXPECT_MESSAGE(plain().percentiles(3), "no statistics of band 3");
  EXPECT_MESSAGE(plain().layer(255), "no statistics of band 255");
}

TEST_F(StatisticsCompute, FileThatIsNoImageIsTold) {
  std::string const message = "can't open image: ";
  std::string const missing = folder / "missing.tif";
  EXPECT_MESSAGE(plain().compute(missing), message + missing + ": No such file or directory");
  EXPECT_MESSAGE(plain().compute(folder.path()), message + folder.path() + ": it isn't a plain file");
  for (std::string const& name : {folder.file("text.tif", "no image"), folder.file("e.tif", "")}) {
    EXPECT_MESSAGE(plain().compute(name),
                   message + name + ": `" + name + "' not recognized as a supported file format.");
  }
}

TEST_F(StatisticsCompute, ImagesAreOpenedAsThoseThatAFileNames) {
  std::string const name = "<VRTDataset rasterXSize=\"3\" rasterYSize=\"2\"/>";
  EXPECT_MESSAGE(plain().compute(name), "can't open image: " + name + ": only plain files may be named by a file");
}

TEST_F(StatisticsCompute, ImageThatIsCutIsToldAndLeavesNoLayer) {
  auto const image = writeImage(folder, "a.tif", 100, {Band(10000, 5.0), Band(10000, 6.0)});
  auto statistics = computed(image);
  std::filesystem::resize_file(image, std::filesystem::file_size(image) - 10000);
  EXPECT_MESSAGE(statistics.compute(image), "can't read image: " + image);
  EXPECT_TRUE(statistics.layers().empty());
}

// The mask can be read where the pixels can't: the first byte of their compressed block is another.
TEST_F(StatisticsCompute, PixelsThatCantBeReadAreToldEvenIfTheirMaskCan) {
  std::string const image = folder / "a.tif";
  char const* const options[] = {"COMPRESS=DEFLATE", "INTERLEAVE=BAND", "ALPHA=YES", nullptr};
  GDALAllRegister();
  auto* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  GDALDatasetUniquePtr file(driver->Create(image.c_str(), 16, 16, 2, GDT_Byte, const_cast<char**>(options)));
  file->GetRasterBand(1)->Fill(7.0);
  file->GetRasterBand(2)->Fill(255.0);
  file.reset();
  file.reset(GDALDataset::Open(image.c_str()));
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->GetRasterBand(1)->GetMaskFlags(), GMF_ALPHA | GMF_PER_DATASET);
  char const* const offset = file->GetRasterBand(1)->GetMetadataItem("BLOCK_OFFSET_0_0", "TIFF");
  ASSERT_NE(offset, nullptr);
  std::fstream bytes(image, std::ios::in | std::ios::out | std::ios::binary);
  bytes.seekp(std::stol(offset));
  file.reset();
  bytes.put('\xFF');
  bytes.close();
  EXPECT_MESSAGE(plain().compute(image), "can't read image: " + image);
}

TEST(Statistics, ArgumentsThatMakeNoSenseAreRefused) {
  std::string const message = "bad arguments for statistics";
  EXPECT_MESSAGE(Statistics(-1, 50, 100, 1, 1.0F), message);
  EXPECT_MESSAGE(Statistics(0, 101, 100, 1, 1.0F), message);
  EXPECT_MESSAGE(Statistics(0, 50, 1000, 1, 1.0F), message);
  EXPECT_MESSAGE(Statistics(0, 50, 100, 0, 1.0F), message);
  EXPECT_MESSAGE(Statistics(0, 50, 100, 1, 0.0F), message);
  EXPECT_MESSAGE(Statistics(0, 50, 100, 1, static_cast<float>(nan)), message);
  EXPECT_MESSAGE(Statistics(0, 50, 100, 1, static_cast<float>(infinity)), message);
}

}  // namespace
