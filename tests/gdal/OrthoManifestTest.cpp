// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TilesSupport.h"
#include "support/Matchers.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

// The file in which the plan of an orthophoto stands.

namespace {

using kesgdal::OrthoTiling;
using nlohmann::json;
using test::TiledFlights;

class OrthoManifests : public testing::Test {
protected:
  OrthoManifests() {
    kesgdal::OrthoPlan plan = mFlights.first.plan(1.0);
    plan.scale = kesgdal::BrightnessRange{0.0, 4000.0};
    plan.noData = 3.5;
    mFlights.planned(plan, {});
    mPlan = json::parse(test::contents(mFlights.manifest()));
  }

  // What is wrong with a changed manifest.
  std::string flawOf(std::string const& text) const {
    std::ofstream(mFlights.manifest(), std::ios::binary | std::ios::trunc) << text;
    std::string const message = test::messageOf([&] { OrthoTiling::read(mFlights.manifest()); });
    std::string const begin = mFlights.manifest() + " is no plan of an orthophoto: ";
    EXPECT_TRUE(message.starts_with(begin)) << message;
    return message.substr(std::min(begin.size(), message.size()));
  }
  std::string flawOf(json const& plan) const { return flawOf(plan.dump()); }
  std::string flawWith(std::string const& pointer, json const& value) const {
    json changed = mPlan;
    changed[json::json_pointer(pointer)] = value;
    return flawOf(changed);
  }

  TiledFlights mFlights;
  json mPlan;
};

TEST_F(OrthoManifests, NeedAllTheirFields) {
  int fields = 0;
  auto const check = [&](std::string const& pointer, std::string const& path) {
    json const& owner = mPlan[json::json_pointer(pointer)];
    for (auto const& [name, value] : owner.items()) {
      bool const isOptional = path + name == "options.scale" || path + name == "pixels.heights" ||
                              path + name == "memory.bound" || path + name == "inputs[0].sha256";
      if (isOptional) {
        continue;
      }
      json changed = mPlan;
      changed[json::json_pointer(pointer)].erase(name);
      EXPECT_EQ(flawOf(changed), "\"" + path + name + "\" is missing");
      changed[json::json_pointer(pointer)][name] = nullptr;
      // "is no text", "is neither true nor false"
      EXPECT_THAT(flawOf(changed), testing::StartsWith("\"" + path + name + "\" is n")) << path << name;
      ++fields;
    }
  };
  check("", "");
  for (std::string const name : {"source", "options", "grid", "pixels", "memory"}) {
    check("/" + name, name + ".");
  }
  for (std::string const name : {"inputs", "strips", "tiles"}) {
    check("/" + name + "/0", name + "[0].");
  }
  EXPECT_GT(fields, 50);
}

TEST_F(OrthoManifests, HaveSensibleValues) {
  EXPECT_EQ(flawWith("/format", "other"), "\"format\" isn't \"kessensor orthophoto plan\"");
  EXPECT_EQ(flawWith("/version", 2), "\"version\" is 2, not 1: another version of the software made it");
  EXPECT_THAT(flawWith("/software", "0.0.9"), testing::MatchesRegex("\"software\" is 0.0.9, not .*: only the same "
                                                                    "version makes the same pixels"));
  EXPECT_EQ(flawWith("/threads", 0), "\"threads\" is below 1");
  EXPECT_EQ(flawWith("/threads", 1.5), "\"threads\" is no whole number");
  EXPECT_EQ(flawWith("/tileSide", 1000), "\"tileSide\" isn't a multiple of the boxes' side");
  EXPECT_EQ(flawWith("/pixels/boxSide", 1000), "\"pixels.boxSide\" is no side of a box");
  EXPECT_EQ(flawWith("/pixels/type", "Byt"), "\"pixels.type\" is no type of pixels");
  EXPECT_EQ(flawWith("/options/resampling", "round"), "\"options.resampling\" isn't one of the names it may have");
  EXPECT_EQ(flawWith("/grid/geoTransform", json{1, 2}), "\"grid.geoTransform\" has 2 numbers, not 6");
  EXPECT_EQ(flawWith("/grid/columns", 0), "it has 0 x " + mPlan["grid"]["rows"].dump() + " pixels");
  EXPECT_EQ(flawWith("/strips/0/box/2", 1000000), "\"strips[0].box\" isn't within the orthophoto");
  EXPECT_EQ(flawWith("/strips/0/box/0", -1), "\"strips[0].box\" is no box of pixels");
  EXPECT_EQ(flawWith("/strips/0/inputs/0", 1000), "\"strips[0].inputs\" has something that is no index");
  EXPECT_EQ(flawWith("/tiles/0/box/2", 3), "\"tiles\" aren't those of the grid and the strips");
  EXPECT_EQ(flawWith("/tiles/0/strips", json::array()), "\"tiles\" aren't those of the grid and the strips");
  EXPECT_EQ(flawOf(std::string("[1]")), "it is no JSON object");
  EXPECT_THAT(flawOf(mPlan.dump().substr(0, 300)), testing::Not(testing::IsEmpty()));
}

TEST_F(OrthoManifests, NameInputsWithSizeAndSum) {
  json const& input = mPlan["inputs"][0];
  EXPECT_EQ(input["role"], "elevation model");
  EXPECT_EQ(input["path"], mFlights.first.terrain->fileName());
  EXPECT_EQ(input["bytes"], std::filesystem::file_size(mFlights.first.terrain->fileName()));
  EXPECT_EQ(mPlan["tiles"][0]["strips"], (json{0, 1}));
  EXPECT_EQ(mPlan["tiles"][0]["bytes"], mPlan["grid"]["columns"].get<int>() * mPlan["grid"]["rows"].get<int>() * 2 * 4);
}

TEST_F(OrthoManifests, AreWrittenWholeOrNotAtAll) {
  std::string const before = test::contents(mFlights.manifest());
  kesgdal::OrthoPlan plan = mFlights.first.plan();
  plan.bands = {"NONE"};
  EXPECT_THROW(mFlights.planned(plan, {}), std::runtime_error);
  EXPECT_EQ(test::contents(mFlights.manifest()), before);
  EXPECT_MESSAGE(mFlights.planned(mFlights.first.plan(), {.tileSide = 8}),
                 "the side of a tile, 8 pixels, isn't between 16 and 32768");
}

// From another folder, and with names that are relative to that of the plan.
TEST_F(OrthoManifests, ServeInAnyFolder) {
  std::filesystem::path const before = std::filesystem::current_path();
  std::filesystem::current_path(mFlights.first.folder.path());
  kesgdal::OrthoSource source = mFlights.source();
  source.strips = {"strip.stp"};
  source.opening.calibrations = {"calibration"};
  source.elevationModel = std::filesystem::path(source.elevationModel).filename().string();
  kesgdal::OrthoPlan const plan = mFlights.first.plan();
  kesgdal::planOrthophoto(source, plan, {}, "relative.json");
  kes::Strip const strip("strip.stp", source.opening);
  kesgdal::writeOrthophoto(strip, mFlights.first.map, kes::Surface::raster(source.elevationModel), plan, "whole.tif");
  std::string const whole = test::contents("whole.tif");
  std::filesystem::current_path("/");
  OrthoTiling const tiling = OrthoTiling::read(mFlights.first.folder / "relative.json");
  TiledFlights::makeAll(tiling);
  std::filesystem::current_path(before);
  EXPECT_TRUE(mFlights.finishedBytes(tiling) == whole);
}

}  // namespace
