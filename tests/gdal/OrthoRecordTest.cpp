// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "MosaicSupport.h"

#include <cpl_string.h>
#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>

// What the file of an orthophoto says about itself.

namespace {

using kesgdal::OrthoPlan;
using test::OrthoFlight;
using test::Raster;
using testing::Contains;
using testing::HasSubstr;
using testing::Key;
using testing::Not;

using Items = std::map<std::string, std::string>;

Items metadataOf(std::string const& file) {
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str()));
  CPLStringList const list(data->GetMetadata(), FALSE);
  Items items;
  for (int i = 0; i < list.Count(); ++i) {
    std::string const item = list[i];
    std::size_t const sign = item.find('=');
    items[item.substr(0, sign)] = item.substr(sign + 1);
  }
  return items;
}

// By the program of the system.
std::string sha256(std::string const& file) {
  std::array<char, 65> sum{};
  std::FILE* const output = popen(("sha256sum '" + file + "'").c_str(), "r");
  std::size_t const read = std::fread(sum.data(), 1, 64, output);
  pclose(output);
  return {sum.data(), read};
}

std::string input(std::string const& role, std::string const& file) {
  return role + " " + file + ", " + std::to_string(std::filesystem::file_size(file)) + " bytes, SHA-256 " +
         sha256(file);
}

std::multiset<std::string> inputsOf(Items const& items) {
  std::multiset<std::string> inputs;
  for (auto const& [name, value] : items) {
    if (name.starts_with("KES_INPUT_")) {
      inputs.insert(value);
    }
  }
  return inputs;
}

class OrthoRecords : public testing::Test {
protected:
  OrthoRecords() { mFlight.writePositions(); }
  Items itemsOf(OrthoPlan const& plan) {
    mRaster.emplace(mFlight.ortho(plan));
    return metadataOf(mFlight.folder / "ortho.tif");
  }

  OrthoFlight mFlight{0.4};
  std::optional<Raster> mRaster;
};

TEST_F(OrthoRecords, NameEachInputOnceWithSizeAndSum) {
  // A camera of its own: others stay in the process after their folder is gone.
  OrthoFlight flight({.direction = 0.4, .look = 0.18});
  flight.writePositions();
  flight.ortho(flight.plan());
  Items const items = metadataOf(flight.folder / "ortho.tif");
  std::string const eop = flight.strip->trajectory().fileName();
  std::multiset<std::string> expected{input("elevation model", flight.terrain->fileName()),
                                      input("strip", flight.strip->fileName()), input("orientation", eop),
                                      input("image", flight.imageName("PANN00A")),
                                      input("image", flight.imageName("PANN00B"))};
  for (auto const& entry : std::filesystem::directory_iterator(flight.strip->camera().folder())) {
    expected.insert(input("calibration", entry.path().string()));
  }
  std::multiset<std::string> found = inputsOf(items);
  for (std::string const& one : expected) {
    EXPECT_EQ(found.count(one), 1U) << one;
    found.erase(one);
  }
  for (std::string const& other : found) {  // line times and the like
    EXPECT_THAT(other, testing::MatchesRegex("(line times|integration times|TDI stages) .*, [0-9]+ bytes, SHA-256 .*"));
  }
  EXPECT_FALSE(found.empty());
  kes::Camera const camera = flight.strip->camera();
  EXPECT_EQ(items.at("KES_STRIP_0001"), "\"Small\", original orientation " + eop + ", camera " + camera.type() + " " +
                                            camera.sensorId() + " version " + std::to_string(camera.version()));
  EXPECT_EQ(items.at("KES_RESAMPLING"), "cubic");
  EXPECT_EQ(items.count("KES_SCALE"), 0U);
}

TEST_F(OrthoRecords, NameConversionsAndTheirGrids) {
  Items items = itemsOf(mFlight.plan());
  EXPECT_THAT(items.at("KES_MAP_TO_WGS84"), HasSubstr("+inv +proj=utm +zone=17"));
  EXPECT_EQ(items.at("KES_MAP_TO_WGS84_GRIDS"), "none");
  EXPECT_EQ(items.at("KES_ELEVATION_TO_WGS84_GRIDS"), "none");
  mFlight.terrain = kes::Surface::raster(mFlight.terrain->fileName(), kes::Surface::VerticalDatum{"EPSG:5773"});
  items = itemsOf(mFlight.plan());
  EXPECT_THAT(items.at("KES_ELEVATION_TO_WGS84"), HasSubstr("+proj=vgridshift"));
  EXPECT_THAT(items.at("KES_ELEVATION_TO_WGS84_GRIDS"), HasSubstr("egm96_15.gtx"));
}

// Of 32 by 32 pixels, those that the image shows by the formula. The solver's tolerance is a millionth of a line.
TEST_F(OrthoRecords, HaveTheClosureOfTheirPixels) {
  OrthoPlan plan = mFlight.plan();
  plan.bands = {"PANN00A"};
  Items const items = itemsOf(plan);
  int seen = 0;
  for (int row = 0; row < 32; ++row) {
    for (int column = 0; column < 32; ++column) {
      auto const ground =
          mFlight.ground(mRaster->centre((2 * column + 1) * mRaster->columns / 64, (2 * row + 1) * mRaster->rows / 64));
      seen += ground && mFlight.isInside(mFlight.image(*ground)) ? 1 : 0;
    }
  }
  EXPECT_EQ(items.at("KES_CLOSURE_PIXELS"), std::to_string(seen));
  for (std::string const unit : {"PX", "M"}) {
    double const rms = std::stod(items.at("KES_CLOSURE_RMS_" + unit));
    double const largest = std::stod(items.at("KES_CLOSURE_MAX_" + unit));
    EXPECT_LE(rms, largest);
    EXPECT_LT(largest, 1e-4);
  }
}

TEST_F(OrthoRecords, NameTheScale) {
  OrthoPlan plan = mFlight.plan();
  plan.scale = kesgdal::BrightnessRange{100.0, 180.5};
  EXPECT_EQ(itemsOf(plan).at("KES_SCALE"), "100 to 180.5");
}

TEST_F(OrthoRecords, AreLeftOutOnRequest) {
  OrthoPlan plan = mFlight.plan();
  EXPECT_THAT(itemsOf(plan), Contains(Key(testing::StartsWith("KES_"))));
  std::vector<double> const pixels = mRaster->pixels;
  plan.hasRecord = false;
  EXPECT_THAT(itemsOf(plan), Not(Contains(Key(testing::StartsWith("KES_")))));
  EXPECT_EQ(mRaster->pixels, pixels);
}

TEST(OrthoRecordOfTwo, HasBothStripsAndSharedFilesOnce) {
  test::TwoFlights const flights;
  flights.write(flights.first.plan(), flights.strips());
  Items const items = metadataOf(flights.output());
  EXPECT_THAT(items, Contains(Key("KES_STRIP_0002")));
  EXPECT_THAT(items, Not(Contains(Key("KES_STRIP_0003"))));
  std::multiset<std::string> const inputs = inputsOf(items);
  EXPECT_TRUE(items.contains("KES_INPUT_0001"));
  EXPECT_EQ(inputs.count(input("elevation model", flights.first.terrain->fileName())), 1U);
  EXPECT_EQ(inputs.count(input("image", flights.first.imageName("PANN00A"))), 1U);
  EXPECT_EQ(inputs.count(input("image", flights.second.imageName("PANN00A"))), 1U);
}

}  // namespace
