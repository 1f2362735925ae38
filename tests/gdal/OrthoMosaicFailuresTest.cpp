// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "MosaicSupport.h"
#include "support/Matchers.h"

#include <geo/coordSysFactory.h>

#include <filesystem>
#include <stdexcept>

// What can't become an orthophoto of several strips: each is reported, and leaves an older file as it was, and no other
// file.

namespace {

using kesgdal::EachStrip;
using kesgdal::OrthoPlan;
using kesgdal::StripVisitor;
using test::TwoFlights;

class OrthoMosaicFailure : public testing::Test {
protected:
  OrthoMosaicFailure() { mFlights.first.folder.file("ortho.tif", "older"); }

  std::string failure(OrthoPlan const& plan, EachStrip const& each) const {
    int const before = test::entryCount(mFlights.first.folder.path());
    std::string message = test::messageOf([&] { mFlights.write(plan, each); });
    EXPECT_EQ(test::entryCount(mFlights.first.folder.path()), before);
    EXPECT_EQ(test::contents(mFlights.output()), "older");
    return message;
  }
  std::string failure() const { return failure(mFlights.first.plan(), mFlights.strips()); }

  TwoFlights mFlights;
};

TEST_F(OrthoMosaicFailure, MissingImageOfTheSecondStripIsNamed) {
  std::string const name = mFlights.second.imageName("PANN00B");
  std::filesystem::remove(name);
  EXPECT_THAT(failure(), testing::StartsWith("image of band PANN00B: can't open " + name + ": "));
}

// It is found when the pixels of the first strip are in the file.
TEST_F(OrthoMosaicFailure, ImageOfTheSecondStripThatIsCutIsReported) {
  std::filesystem::resize_file(mFlights.second.imageName("PANN00A"), 60000);
  EXPECT_THAT(failure(), testing::StartsWith("can't warp an image: "));
}

TEST_F(OrthoMosaicFailure, BandThatNoStripHasIsReportedWithThoseOfAll) {
  TwoFlights const flights({.direction = 1.5, .longitude = "-1.399984", .bands = {"PANN00C", "PANN00A"}});
  OrthoPlan plan = flights.first.plan();
  plan.bands = {"PANN00C", "PANF27A"};
  EXPECT_EQ(failure(plan, flights.strips()), "no band \"PANF27A\" in the strips, which have PANN00A, PANN00B, PANN00C");
}

TEST_F(OrthoMosaicFailure, NoStripIsReported) {
  EXPECT_EQ(failure(mFlights.first.plan(), TwoFlights::strips({})), "Can't orthorectify: no strip");
}

TEST_F(OrthoMosaicFailure, StripThatNamesNoImageIsNamed) {
  std::string const name = mFlights.second.folder / "strip.stp";
  std::string text = test::contents(name);
  std::string const attribute = "filename=\"PANN00A.tif\"";
  text.replace(text.find(attribute), attribute.size(), "filename=\"\"");
  mFlights.second.folder.file("strip.stp", text);
  EXPECT_EQ(failure(), "image of band PANN00A: strip \"" + name + "\" names no file");
}

TEST_F(OrthoMosaicFailure, TerrainElsewhereIsReported) {
  mFlights.first.relief.geoTransform[0] += 5000.0;
  mFlights.first.openTerrain();
  EXPECT_EQ(failure(),
            "elevation model \"" + mFlights.first.terrain->fileName() + "\" doesn't cover any of the strips");
}

TEST_F(OrthoMosaicFailure, StripsThatChangeAreReported) {
  std::string const message = "Can't orthorectify: the strips aren't the same the second time";
  std::vector<test::OrthoFlight const*> const one{&mFlights.first};
  std::vector<test::OrthoFlight const*> const two{&mFlights.first, &mFlights.second};
  std::vector<test::OrthoFlight const*> const reversed{&mFlights.second, &mFlights.first};
  for (auto const& [before, after] : {std::pair(two, one), std::pair(one, two), std::pair(two, reversed)}) {
    int calls = 0;
    EXPECT_EQ(failure(mFlights.first.plan(),
                      [&, first = before, second = after](StripVisitor const& visitor) {
                        TwoFlights::strips(calls++ == 0 ? first : second)(visitor);
                      }),
              message);
  }
}

TEST_F(OrthoMosaicFailure, WhatTheStripsThrowGoesThrough) {
  for (int const failing : {2, 4}) {
    int visits = 0;
    EachStrip const each = [&](StripVisitor const& visitor) {
      for (test::OrthoFlight const* const flight : {&mFlights.first, &mFlights.second}) {
        if (++visits == failing) {
          throw std::runtime_error("no such strip");
        }
        TwoFlights::visit(*flight, visitor);
      }
    };
    EXPECT_EQ(failure(mFlights.first.plan(), each), "no such strip");
  }
}

TEST_F(OrthoMosaicFailure, ImageOfTheSecondStripIsntReplaced) {
  std::string const name = mFlights.second.imageName("PANN00B");
  std::string const before = test::contents(name);
  EXPECT_EQ(test::messageOf([&] {
              kesgdal::writeOrthophoto(mFlights.strips(), mFlights.first.map, *mFlights.first.terrain,
                                       mFlights.first.plan(), name);
            }),
            "can't write " + name + ": it is read, too");
  EXPECT_EQ(test::contents(name), before);
}

}  // namespace
