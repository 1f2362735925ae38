// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"
#include "support/StripA.h"

#include <gtest/gtest.h>

namespace {

using sensor::GroundPointList;
using sensor::ImagePointList;

class StripAGroundPoints : public testing::TestWithParam<char const*> {};

TEST_P(StripAGroundPoints, AreThoseExpected) {
  auto const& expected = test::stripA::expected().at("point_lists").at(GetParam());
  test::Table const table(expected);
  GroundPointList const list(test::stripA::path(expected.at("file").get<std::string>()));
  ASSERT_EQ(list.points().size(), table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    EXPECT_EQ(list.points()[i],
              test::ground(table.at(i, "id").get<std::string>(), table.number(i, "x"), table.number(i, "y"),
                           table.number(i, "z"), table.number(i, "sx"), table.number(i, "sy"), table.number(i, "sz"),
                           table.at(i, "type").get<std::int32_t>()))
        << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Lists, StripAGroundPoints, testing::Values("ground", "ground_edge"));

TEST(StripAPointList, GroundPointsAreWrittenAsTheyWereRead) {
  test::TempFolder const folder;
  std::string const name = test::stripA::path("project/control/controls.gpt");
  GroundPointList const list(name);
  EXPECT_EQ(list.write(folder / "points", false), 0);
  EXPECT_EQ(test::contents(folder / "points"), test::contents(name));
}

TEST(StripAPointList, ImagePointsAreThoseExpected) {
  auto const& expected = test::stripA::expected().at("point_lists").at("image");
  test::Table const table(expected);
  std::string const name = test::stripA::path(expected.at("file").get<std::string>());
  ImagePointList const list("images/cam_PANF27A.tif", test::stripA::path("project"), "cam", "PANF27A");
  EXPECT_EQ(list.fileName(), name);
  ASSERT_EQ(list.points().size(), table.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    EXPECT_EQ(list.points()[i],
              test::image(table.at(i, "id").get<std::string>(), table.number(i, "x"), table.number(i, "y"),
                          table.number(i, "sx"), table.number(i, "sy"), table.at(i, "active").get<bool>()))
        << i;
  }
}

TEST(StripAPointList, ImagePointsAreWrittenAsTheyWereRead) {
  test::TempFolder const folder;
  std::string const text = test::contents(test::stripA::path("project/cam_PANF27A.ipt"));
  ImagePointList list(folder.file("points", text), "cam", "PANF27A");
  EXPECT_EQ(list.write(), 0);
  // All but the point at a negative sample.
  EXPECT_EQ(test::contents(folder / "points"), text.substr(0, text.find("\"OUT\"")));
}

}  // namespace
