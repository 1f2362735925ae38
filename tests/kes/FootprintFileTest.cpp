// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/FootprintFile.h"

#include "files/Interposed.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <ogrsf_frmts.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using test::Interposed;
using tool::Footprint;

// Outlines of many points, so that files have several pages.
std::vector<Footprint> someFootprints(double longitude = 15.0) {
  std::vector<Footprint> footprints;
  for (int i = 0; i < 6; ++i) {
    Footprint footprint{{}, "Line " + std::to_string(i), "PANN00A", 0.1 + i / 3.0, 1e5 + i / 7.0, 2e5 + i / 9.0};
    footprint.week = 2394;
    for (int k = 0; k < 100; ++k) {
      footprint.points.emplace_back(longitude + i * 0.01 + k * 1e-5, 47.0 + 1.0 / 3.0 - k * 1e-7, 400.0 + k / 3.0);
    }
    footprint.points.emplace_back(longitude + i * 0.01, 46.9, 401.0);
    footprint.points.push_back(footprint.points.front());
    footprints.push_back(footprint);
  }
  return footprints;
}

void writeFootprints(std::string const& name, std::vector<Footprint> const& footprints) {
  tool::writeLayers(name, {}, {tool::layerOf(footprints)});
}

class FootprintFile : public testing::TestWithParam<char const*> {
protected:
  std::string failure() const {
    return test::messageOf([&] { writeFootprints(name, someFootprints()); });
  }

  test::TempFolder folder;
  std::string name = folder / ("out" + std::string(GetParam()));
};

TEST_P(FootprintFile, ReplacesAnOlderOne) {
  std::ofstream(name) << "old";
  writeFootprints(name, someFootprints());
  EXPECT_EQ(test::entryCount(folder.path()), 1);
  GDALDatasetUniquePtr const data(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR));
  ASSERT_TRUE(data);
  EXPECT_EQ(data->GetLayer(0)->GetFeatureCount(), 6);
}

TEST_P(FootprintFile, MayHoldNothing) {
  writeFootprints(name, {});
  GDALDatasetUniquePtr const data(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR));
  ASSERT_TRUE(data);
  EXPECT_EQ(data->GetLayer(0)->GetFeatureCount(), 0);
}

TEST_P(FootprintFile, CrossesTheAntimeridian) {
  std::vector<Footprint> footprints = someFootprints();
  footprints[2].points = {
      {179.99, 10.0, 5.0}, {-179.99, 10.0, 6.0}, {-179.99, 10.1, 7.0}, {179.99, 10.1, 8.0}, {179.99, 10.0, 5.0}};
  writeFootprints(name, footprints);
  EXPECT_TRUE(test::exists(name));
}

TEST_P(FootprintFile, DevicesAndFoldersAreRefused) {
  fs::create_directory(name);
  EXPECT_EQ(failure(), "can't write " + name + ": it is a folder");
  fs::remove(name);
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  EXPECT_EQ(failure(), "can't write " + name + ": it is no regular file");
}

// Every call that changes files, each with every error: an older file stays, or the new one is the same as without the
// error.
TEST_P(FootprintFile, CallThatFailsIsReportedOrMadeGood) {
  writeFootprints(name, someFootprints());
  std::map<std::string, int> counts;
  {
    Interposed const system([&](std::string const& function) { return ++counts[function], 0; });
    writeFootprints(name, someFootprints());
  }
  std::string const whole = test::contents(name);
  int attempts = 0;
  for (auto const& [function, count] : counts) {
    for (int failing = 1; failing <= count; ++failing) {
      for (int const error : {ENOSPC, EIO}) {
        std::ofstream(name) << "old";
        int calls = 0;
        std::string message = "done";
        try {
          Interposed const system([&, asked = function](std::string const& called) {
            return called == asked && ++calls == failing ? error : 0;
          });
          writeFootprints(name, someFootprints());
        } catch (std::runtime_error const& failure) {
          message = failure.what();
        }
        std::string const what = function + " " + std::to_string(failing) + ": " + message;
        std::string const now = test::contents(name);
        ++attempts;
        // A failure of the last step, the sync of the folder, is reported with the new file in place.
        EXPECT_TRUE(message == "done" ? now.size() == whole.size()
                                      : now == "old" || function == "fsync" || function == "open")
            << what;
        EXPECT_EQ(test::entryCount(folder.path()), 1) << what;
      }
    }
  }
  EXPECT_GT(attempts, 20);
}

TEST_P(FootprintFile, FullDiskKeepsTheOldOneWhateverRoomThereIs) {
  test::SmallFileSystem const disk(std::int64_t{1} << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  name = disk / fs::path(name).filename().string();
  int failures = 0;
  for (std::int64_t spare = 0; spare < 400 << 10; spare += 8 << 10) {
    std::ofstream(name) << "old";
    disk.fill(spare);
    try {
      writeFootprints(name, someFootprints());
    } catch (std::runtime_error const& error) {
      ++failures;
      EXPECT_EQ(test::contents(name), "old") << spare;
    }
    EXPECT_EQ(test::entryCount(disk.path()), 2) << spare;
    fs::remove(disk / "filler");
  }
  EXPECT_GT(failures, 2);
  EXPECT_LT(failures, 50);
}

INSTANTIATE_TEST_SUITE_P(Format, FootprintFile, testing::Values(".geojson", ".gpkg"),
                         [](auto const& instance) { return std::string(instance.param).substr(1); });

// SQLite would take the changes for ones of the new file.
TEST(FootprintDatabase, WithChangesOfAnotherProgramIsRefused) {
  test::TempFolder const folder;
  std::string const name = folder.file("out.gpkg", "old");
  for (std::string const suffix : {"-journal", "-wal"}) {
    folder.file("out.gpkg" + suffix, "changes");
    EXPECT_MESSAGE(writeFootprints(name, someFootprints()),
                   "can't write " + name + ": there are changes of it in " + name + suffix);
    EXPECT_EQ(test::contents(name), "old");
    fs::remove(name + suffix);
  }
}

TEST(FootprintDatabase, IsInWgs84WithHeights) {
  test::TempFolder const folder;
  std::string const name = folder / "out.gpkg";
  writeFootprints(name, someFootprints());
  GDALDatasetUniquePtr const data(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR));
  ASSERT_TRUE(data);
  EXPECT_EQ(std::string(data->GetLayer(0)->GetSpatialRef()->GetAuthorityCode(nullptr)), "4979");
}

}  // namespace
