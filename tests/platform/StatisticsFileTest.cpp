// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StatisticsSupport.h"
#include "support/Matchers.h"
#include "support/ResourceLimit.h"
#include "support/XmlFolder.h"

#include <raster/Statistics.h>

#include <filesystem>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

using raster::LayerType;
using raster::Statistics;
using test::writeImage;

Statistics plain() {
  return {0, 50, 100, 1, 1.0F};
}

// A document of one band whose entries can be told.
std::string document(std::string const& band = "1", std::string const& mean = "2.5",
                     std::string const& histogram = "<HistMin>0.5</HistMin><HistMax>4.5</HistMax>"
                                                    "<BucketCount>2</BucketCount><HistCounts>3|1</HistCounts>") {
  return "<PAMDataset><PAMRasterBand band=\"" + band + "\"><Histograms><HistItem>" + histogram +
         "</HistItem></Histograms><Metadata><MDI key=\"STATISTICS_MAXIMUM\">4</MDI><MDI key=\"STATISTICS_MEAN\">" +
         mean +
         "</MDI><MDI key=\"STATISTICS_MINIMUM\">1</MDI><MDI key=\"STATISTICS_STDDEV\">1.25</MDI></Metadata>"
         "</PAMRasterBand></PAMDataset>\n";
}

void expectSame(Statistics::Layer const& a, Statistics::Layer const& b) {
  EXPECT_EQ(a.minimum, b.minimum);
  EXPECT_EQ(a.maximum, b.maximum);
  EXPECT_EQ(a.mean, b.mean);
  EXPECT_EQ(a.standardDeviation, b.standardDeviation);
  EXPECT_EQ(a.histogramMinimum, b.histogramMinimum);
  EXPECT_EQ(a.histogramMaximum, b.histogramMaximum);
  EXPECT_EQ(a.histogram, b.histogram);
}

class StatisticsFile : public testing::Test {
protected:
  std::string image() const {
    double const noData = 0.0;
    return writeImage(folder, "a.tif", 3, {{10, 20, 35, 40, 50, 60}, {0, 0, 0, 0, 0, 0}, {1, 1, 2, 3, 5, 8}},
                      GDT_UInt16, &noData);
  }
  Statistics computed() const {
    Statistics statistics = plain();
    statistics.compute(image());
    return statistics;
  }

  test::TempFolder folder;
  std::string stat = folder / "a.stat";
};

TEST_F(StatisticsFile, WhatIsSavedLoadsToTheLastBit) {
  auto const saved = computed();
  saved.save(stat);
  Statistics loaded = plain();
  EXPECT_TRUE(loaded.load(stat, 1.0F, Statistics::allLayers));
  ASSERT_EQ(loaded.layers().size(), 2U);
  expectSame(loaded.layer(0), saved.layer(0));
  expectSame(loaded.layer(2), saved.layer(2));
}

TEST_F(StatisticsFile, GdalTakesItForTheImagesOwn) {
  auto const statistics = computed();
  std::string const tif = folder / "a.tif";
  statistics.save(tif + ".aux.xml");
  GDALDatasetUniquePtr const dataset(GDALDataset::Open(tif.c_str()));
  auto* const band = dataset->GetRasterBand(3);
  double minimum = 0.0;
  double maximum = 0.0;
  double mean = 0.0;
  double deviation = 0.0;
  // Not forced: the values come from the file or not at all.
  ASSERT_EQ(band->GetStatistics(FALSE, FALSE, &minimum, &maximum, &mean, &deviation), CE_None);
  auto const& layer = statistics.layer(2);
  EXPECT_EQ(minimum, layer.minimum);
  EXPECT_EQ(maximum, layer.maximum);
  EXPECT_EQ(mean, layer.mean);
  EXPECT_EQ(deviation, layer.standardDeviation);
  int count = 0;
  GUIntBig* counts = nullptr;
  ASSERT_EQ(band->GetDefaultHistogram(&minimum, &maximum, &count, &counts, FALSE, nullptr, nullptr), CE_None);
  EXPECT_EQ(minimum, layer.histogramMinimum);
  EXPECT_EQ(maximum, layer.histogramMaximum);
  EXPECT_EQ(std::vector<std::uint64_t>(counts, counts + count), layer.histogram);
  CPLFree(counts);
}

TEST_F(StatisticsFile, LoadsWhatGdalHasComputed) {
  std::string const tif = image();
  {
    GDALDatasetUniquePtr const dataset(GDALDataset::Open(tif.c_str()));
    double ignored[4];
    ASSERT_EQ(dataset->GetRasterBand(1)->ComputeStatistics(FALSE, &ignored[0], &ignored[1], &ignored[2], &ignored[3],
                                                           nullptr, nullptr),
              CE_None);
  }
  Statistics loaded = plain();
  ASSERT_TRUE(loaded.load(tif + ".aux.xml", 1.0F, 0));
  Statistics own = plain();
  own.compute(tif);
  EXPECT_EQ(loaded.layer(0).minimum, 10.0);
  EXPECT_EQ(loaded.layer(0).maximum, 60.0);
  EXPECT_NEAR(loaded.layer(0).mean, own.layer(0).mean, 1e-9);
  EXPECT_NEAR(loaded.layer(0).standardDeviation, own.layer(0).standardDeviation, 1e-9);
  EXPECT_TRUE(loaded.layer(0).histogram.empty());
  EXPECT_MESSAGE(loaded.percentiles(0), "no statistics of band 0");
}

TEST_F(StatisticsFile, OneBandLoadsUnderItsNumber) {
  computed().save(stat);
  Statistics loaded = plain();
  EXPECT_TRUE(loaded.load(stat, 1.0F, 2));
  EXPECT_EQ(loaded.layers().size(), 1U);
  EXPECT_EQ(loaded.layer(2).maximum, 8.0);
}

TEST_F(StatisticsFile, BandThatTheFileHasNotLeavesNoLayer) {
  auto statistics = computed();
  statistics.save(stat);
  EXPECT_FALSE(statistics.load(stat, 1.0F, 1));
  EXPECT_TRUE(statistics.layers().empty());
}

TEST_F(StatisticsFile, FactorsOfTheObjectAndOfTheCallMultiply) {
  folder.file("a.stat", document());
  Statistics loaded(0, 50, 100, 1, 2.0F);
  ASSERT_TRUE(loaded.load(stat, 4.0F, 0));
  EXPECT_EQ(loaded.layer(0).minimum, 8.0);
  EXPECT_EQ(loaded.layer(0).maximum, 32.0);
  EXPECT_EQ(loaded.layer(0).mean, 20.0);
  EXPECT_EQ(loaded.layer(0).standardDeviation, 10.0);
  EXPECT_EQ(loaded.layer(0).histogramMinimum, 4.0);
  EXPECT_EQ(loaded.layer(0).histogramMaximum, 36.0);
}

TEST_F(StatisticsFile, PercentilesPassEmptyClassesOnlyForPixelsBeyondThem) {
  auto const percentiles = [&](std::string const& histogram) {
    folder.file("a.stat", document("1", "2.5", histogram));
    Statistics loaded = plain();
    EXPECT_TRUE(loaded.load(stat, 1.0F, 0));
    return loaded.percentiles(0);
  };
  // Half of the pixels end with the first class; the extremes of the band are 1 and 4.
  EXPECT_THAT(percentiles("<HistMin>0</HistMin><HistMax>4</HistMax><HistCounts>3|0|0|3</HistCounts>"),
              testing::ElementsAre(1.0, 1.0, 4.0));
  EXPECT_THAT(percentiles("<HistMin>0.5</HistMin><HistMax>4.5</HistMax><HistCounts>0|4</HistCounts>"),
              testing::ElementsAre(1.0, 3.5, 4.0));
}

TEST_F(StatisticsFile, HasTheLayersThatWereSaved) {
  computed().save(stat);
  Statistics const any = plain();
  EXPECT_TRUE(any.hasLayer(stat, 0));
  EXPECT_FALSE(any.hasLayer(stat, 1));
  EXPECT_TRUE(any.hasLayer(stat, 2));
  EXPECT_FALSE(any.hasLayer(stat, 3));
  EXPECT_TRUE(any.hasLayer(stat, Statistics::allLayers));
  EXPECT_TRUE(any.layers().empty());
}

TEST_F(StatisticsFile, ObjectWithoutLayersSavesADocumentWithoutBands) {
  plain().save(stat);
  EXPECT_FALSE(plain().hasLayer(stat, Statistics::allLayers));
  Statistics loaded = plain();
  EXPECT_FALSE(loaded.load(stat, 1.0F, Statistics::allLayers));
}

TEST_F(StatisticsFile, BandNumbersCountFromOneToTwoHundredFiftyFive) {
  for (char const* const band : {"0", "-1", "256", "1x", "", "99999999999"}) {
    folder.file("a.stat", document(band));
    EXPECT_FALSE(plain().hasLayer(stat, Statistics::allLayers)) << band;
  }
  folder.file("a.stat", document("255"));
  EXPECT_TRUE(plain().hasLayer(stat, 254));
}

TEST_F(StatisticsFile, BandWithAStatisticThatIsNoNumberIsNotTaken) {
  for (char const* const mean : {"", "nan", "inf", "2,5", "2.5 m", "1e999"}) {
    folder.file("a.stat", document("1", mean));
    EXPECT_FALSE(plain().hasLayer(stat, 0)) << mean;
  }
}

TEST_F(StatisticsFile, BandNeedsNoHistogramAndHasNoneWhenItIsSavedAgain) {
  std::string const histogram = "<Histograms>";
  std::string text = document();
  auto const begin = text.find(histogram);
  text.erase(begin, text.find("<Metadata>") - begin);
  folder.file("a.stat", text);
  Statistics statistics = plain();
  EXPECT_TRUE(statistics.load(stat, 1.0F, Statistics::allLayers));
  statistics.save(folder / "b.stat");
  EXPECT_EQ(test::contents(folder / "b.stat").find(histogram), std::string::npos);
  Statistics again = plain();
  EXPECT_TRUE(again.load(folder / "b.stat", 1.0F, Statistics::allLayers));
  expectSame(again.layer(0), statistics.layer(0));
  EXPECT_EQ(again.layer(0).mean, 2.5);
}

TEST_F(StatisticsFile, WhatElseADocumentHoldsIsPassedOver) {
  std::string text = document();
  text.insert(text.find("<MDI"), "<!-- of the band -->");
  // What a band has makes no other element one.
  auto const begin = text.find("<PAMRasterBand");
  std::string other = text.substr(begin, text.find("</PAMDataset>") - begin);
  other = test::with(test::with(other, "<PAMRasterBand band=\"1\"", "<Overview band=\"2\""), "</PAMRasterBand",
                     "</Overview");
  text.insert(begin, "<!-- of all --><SRS>x</SRS>" + other + "<PAMRasterBand band=\"3\"/>");
  folder.file("a.stat", text);
  EXPECT_TRUE(plain().hasLayer(stat, 0));
  EXPECT_FALSE(plain().hasLayer(stat, 1));
  EXPECT_FALSE(plain().hasLayer(stat, 2));
}

TEST_F(StatisticsFile, FileThatTheSystemDoesNotOpenHasNoLayer) {
  folder.file("a.stat", document());
  test::ResourceLimit const noMoreFiles(RLIMIT_NOFILE, 0);
  EXPECT_FALSE(plain().hasLayer(stat, 0));
}

TEST_F(StatisticsFile, BandWithAHistogramThatIsNoneIsNotTaken) {
  std::string const ends = "<HistMin>0</HistMin><HistMax>1</HistMax>";
  for (std::string const& item : {std::string("<HistMin>0</HistMin>"), ends, ends + "<HistCounts>1|</HistCounts>",
                                  ends + "<HistCounts>1|-2</HistCounts>", ends + "<HistCounts>1 2</HistCounts>",
                                  ends + "<HistCounts>99999999999999999999</HistCounts>",
                                  std::string("<HistMin>1</HistMin><HistMax>1</HistMax><HistCounts>1</HistCounts>")}) {
    folder.file("a.stat", document("1", "2.5", item));
    EXPECT_FALSE(plain().hasLayer(stat, 0)) << item;
  }
}

TEST_F(StatisticsFile, FileThatIsNoneHasNoLayer) {
  std::string const fifo = folder / "fifo.stat";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name :
       {folder / "missing.stat", folder.file("empty.stat", ""), folder.path(), fifo,
        folder.file("text.stat", "no document"), folder.file("other.stat", "<Other/>"), std::string("/dev/zero")}) {
    EXPECT_FALSE(plain().hasLayer(name, Statistics::allLayers)) << name;
    Statistics statistics = plain();
    EXPECT_FALSE(statistics.load(name, 1.0F, Statistics::allLayers)) << name;
  }
}

TEST_F(StatisticsFile, FileThatIsCutAnywhereHasNoLayer) {
  std::string const whole = document();
  auto const end = whole.rfind('>');
  for (std::size_t size = 0; size <= end; ++size) {
    folder.file("a.stat", whole.substr(0, size));
    EXPECT_FALSE(plain().hasLayer(stat, Statistics::allLayers)) << size;
  }
}

TEST_F(StatisticsFile, ByteThatIsChangedDoesNoHarm) {
  std::string const whole = document();
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (char const byte : {'\0', '<', '&', '"', '|', '9', '\xFF'}) {
      std::string changed = whole;
      changed[i] = byte;
      folder.file("a.stat", changed);
      Statistics statistics = plain();
      if (statistics.load(stat, 1.0F, 0)) {
        EXPECT_LE(statistics.layer(0).minimum, statistics.layer(0).maximum);
      }
    }
  }
}

TEST_F(StatisticsFile, DocumentMeantToExhaustTheReaderDoesNoHarm) {
  std::string nested;
  std::string attributes = "<PAMDataset";
  for (int i = 0; i < 200000; ++i) {
    nested += "<a>";
    attributes += " a" + std::to_string(i) + "=\"\"";
  }
  folder.file("nested.stat", nested);
  folder.file("attributes.stat", attributes + "/>");
  folder.file("entities.stat", "<!DOCTYPE P [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>" + document());
  EXPECT_FALSE(plain().hasLayer(folder / "nested.stat", 0));
  EXPECT_FALSE(plain().hasLayer(folder / "attributes.stat", 0));
  EXPECT_NO_THROW(plain().hasLayer(folder / "entities.stat", 0));
}

TEST_F(StatisticsFile, FileLargerThanAnyDocumentIsNotRead) {
  folder.file("a.stat", document());
  std::filesystem::resize_file(stat, std::uintmax_t{1} << 40);
  EXPECT_FALSE(plain().hasLayer(stat, 0));
}

TEST_F(StatisticsFile, SavingReplacesTheOldFile) {
  folder.file("a.stat", "old");
  computed().save(stat);
  EXPECT_TRUE(plain().hasLayer(stat, 0));
  EXPECT_EQ(test::entryCount(folder.path()), 2);
}

TEST_F(StatisticsFile, PlaceThatCannotBeWrittenIsTold) {
  std::string const pipe = folder / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (std::string const& name : {folder / "missing/a.stat", folder.path(), pipe}) {
    EXPECT_MESSAGE(plain().save(name), "can't write statistics: " + name);
  }
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(StatisticsFile, DevicesStay) {
  std::string const device = folder / "null";
  if (::mknod(device.c_str(), S_IFCHR | 0666, ::makedev(1, 3)) != 0) {
    GTEST_SKIP() << "no device can be made here";
  }
  EXPECT_MESSAGE(plain().save(device), "can't write statistics: " + device);
  EXPECT_TRUE(std::filesystem::is_character_file(device));
}

TEST_F(StatisticsFile, LinkStaysAndItsFileIsReplaced) {
  std::string const target = folder.file("target", "old");
  std::filesystem::create_symlink(target, stat);
  computed().save(stat);
  EXPECT_TRUE(std::filesystem::is_symlink(stat));
  EXPECT_TRUE(plain().hasLayer(target, 0));
}

TEST_F(StatisticsFile, FullDiskLeavesTheOldFile) {
  test::SmallFileSystem const disk(65536);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  auto const statistics = computed();
  std::string const name = disk / "a.stat";
  std::filesystem::copy_file(folder.file("old", "old"), name);
  disk.fill();
  EXPECT_MESSAGE(statistics.save(name), "can't write statistics: " + name);
  EXPECT_EQ(test::contents(name), "old");
  EXPECT_EQ(test::entryCount(disk.path()), 2);
}

}  // namespace
