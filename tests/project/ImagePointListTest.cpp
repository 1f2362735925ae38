// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"
#include "support/Matchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace {

using sensor::ImagePointList;
using test::image;
using testing::ElementsAre;
using testing::IsEmpty;

geo::ImagePoint const a = image("A", 1, 2, 0.3, 0.4, true);
geo::ImagePoint const b = image("B", 10, 20, 30, 40, false);
geo::ImagePoint const otherA = image("A", 100, 200, 300, 400, true);

TEST(ImagePointList, IsEmptyAtFirst) {
  ImagePointList const list;
  EXPECT_EQ(list.numPoints(), 0);
  EXPECT_EQ(list.fileName(), "");
  EXPECT_EQ(list.stripID(), "");
  EXPECT_EQ(list.bandID(), "");
  EXPECT_FALSE(list.isImageSet());
}

TEST(ImagePointList, OfAnImageHasNoPointsAndNoFile) {
  ImagePointList const list("S1", "PANN00A");
  EXPECT_EQ(list.stripID(), "S1");
  EXPECT_EQ(list.bandID(), "PANN00A");
  EXPECT_EQ(list.fileName(), "");
  EXPECT_THAT(list.points(), IsEmpty());
}

TEST(ImagePointList, TakesACopyOfPoints) {
  std::vector<geo::ImagePoint> points{b, a};
  ImagePointList const list(points, "S1", "PANN00A");
  points.clear();
  EXPECT_THAT(list.points(), ElementsAre(b, a));
  EXPECT_EQ(list.imageID(), "S1PANN00A");
  EXPECT_EQ(list.fileName(), "");
}

TEST(ImagePointList, CopiesAreApart) {
  ImagePointList list({a}, "S1", "PANN00A");
  ImagePointList copy = list;
  list.addPoint(b);
  list.setStripID("S2");
  EXPECT_THAT(copy.points(), ElementsAre(a));
  EXPECT_EQ(copy.imageID(), "S1PANN00A");
  copy = list;
  EXPECT_THAT(copy.points(), ElementsAre(a, b));
  EXPECT_EQ(copy.imageID(), "S2PANN00A");
}

TEST(ImagePointList, ImageIsSetByStripAndBand) {
  ImagePointList list;
  list.setStripID("S1");
  EXPECT_FALSE(list.isImageSet());
  list.setBandID("REDN00A");
  EXPECT_TRUE(list.isImageSet());
  EXPECT_EQ(list.imageID(), "S1REDN00A");
  list.setStripID("");
  EXPECT_FALSE(list.isImageSet());
  EXPECT_EQ(list.imageID(), "REDN00A");
}

TEST(ImagePointList, AddsPointsBehindTheOthersInTheOrderOfTheCalls) {
  ImagePointList list;
  EXPECT_EQ(list.addPoint(b), 0);
  EXPECT_EQ(list.addPoints({a, otherA}, false), 0);
  EXPECT_THAT(list.points(), ElementsAre(b, a, otherA));
  EXPECT_EQ(list.numPoints(), 3);
}

TEST(ImagePointList, ReplacesPointsWhenAsked) {
  ImagePointList list({a, b}, "S1", "PANN00A");
  EXPECT_EQ(list.addPoints({otherA}, true), 0);
  EXPECT_THAT(list.points(), ElementsAre(otherA));
}

TEST(ImagePointList, KeepsPointsOfTheSameIdAndFindsTheFirst) {
  ImagePointList const list({b, otherA, a}, "S1", "PANN00A");
  geo::ImagePoint found;
  EXPECT_EQ(list.imagePoint("A", found), 0);
  EXPECT_EQ(found, otherA);
}

TEST(ImagePointList, FindsExactIdsOnly) {
  ImagePointList const list({a}, "S1", "PANN00A");
  geo::ImagePoint found = b;
  for (char const* id : {"a", "A ", "", "AA"}) {
    EXPECT_EQ(list.imagePoint(id, found), 1) << id;
  }
  EXPECT_EQ(found, b);
}

TEST(ImagePointList, IndexGivesACopy) {
  ImagePointList const list({a, b}, "S1", "PANN00A");
  EXPECT_EQ(list[0], a);
  EXPECT_EQ(list[1], b);
  static_assert(std::is_same_v<decltype(list[0]), geo::ImagePoint>);
}

TEST(ImagePointList, IndexBehindEitherEndGivesAnEmptyPoint) {
  ImagePointList const list({a, b}, "S1", "PANN00A");
  for (int const index : {-1, 2, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(list[index], image("", 0, 0, 0, 0, false)) << index;
  }
}

TEST(ImagePointList, OfAFileKeepsItsName) {
  test::TempFolder const folder;
  std::string const file = folder.file("a.ipt", "\"A\" 1 2 0.3 0.4 1\n");
  ImagePointList const list(file, "S1", "PANN00A");
  EXPECT_THAT(list.points(), ElementsAre(a));
  EXPECT_EQ(list.fileName(), file);
  EXPECT_EQ(list.imageID(), "S1PANN00A");
  ImagePointList const none(folder / "none.ipt", "S1", "PANN00A");
  EXPECT_THAT(none.points(), IsEmpty());
  EXPECT_EQ(none.fileName(), folder / "none.ipt");
}

// The lists beside a strip file in p/q/r/s and in the folders above it.
class ImagePointSearch : public testing::Test {
protected:
  ImagePointSearch() : mStrip(mFolder.folder("p/q/r/s")) {}

  // A list with one point, of the folder's name.
  void writeTo(std::string const& place) const { mFolder.file(place + "/a.ipt", "\"" + place + "\" 1 2 3 4 1"); }
  ImagePointList found(std::string const& imageName = "images/a.tif") const { return {imageName, mStrip, "S1", "B1"}; }

  test::TempFolder mFolder;
  std::string mStrip;
};

TEST_F(ImagePointSearch, GoesUpTwoFolders) {
  for (char const* place : {"p/q", "p/q/r", "p/q/r/s"}) {
    writeTo(place);
    ImagePointList const list = found();
    ASSERT_EQ(list.numPoints(), 1) << place;
    EXPECT_EQ(list[0].id, place);
    EXPECT_EQ(list.fileName(), mFolder / place + "/a.ipt");
    EXPECT_EQ(list.imageID(), "S1B1");
  }
}

TEST_F(ImagePointSearch, EndsBesideTheStripForALaterWrite) {
  writeTo("p");
  ImagePointList list = found();
  EXPECT_THAT(list.points(), IsEmpty());
  EXPECT_EQ(list.fileName(), mStrip + "/a.ipt");
  list.addPoint(a);
  EXPECT_EQ(list.write(), 0);
  EXPECT_THAT(found().points(), ElementsAre(a));
}

TEST_F(ImagePointSearch, PassesByWhatCantBeRead) {
  mFolder.folder("p/q/r/s/a.ipt");
  writeTo("p/q/r");
  EXPECT_EQ(found().fileName(), mFolder / "p/q/r/a.ipt");
}

TEST_F(ImagePointSearch, EmptyListIsFoundToo) {
  mFolder.file("p/q/r/s/a.ipt", "");
  writeTo("p/q/r");
  ImagePointList const list = found();
  EXPECT_EQ(list.fileName(), mStrip + "/a.ipt");
  EXPECT_THAT(list.points(), IsEmpty());
}

TEST_F(ImagePointSearch, TakesTheExtensionForThatBehindTheLastPoint) {
  EXPECT_EQ(found("/x.y/a.b.tif").fileName(), mStrip + "/a.b.ipt");
  EXPECT_EQ(found("a.").fileName(), mStrip + "/a.ipt");
  EXPECT_EQ(found(".tif").fileName(), mStrip + "/.ipt");
}

TEST_F(ImagePointSearch, ImageWithoutAnExtensionIsInvalid) {
  for (char const* name : {"", "image", "folder.d/image", "folder.d/"}) {
    EXPECT_MESSAGE(found(name), "Invalid image filename") << name;
  }
}

TEST_F(ImagePointSearch, FolderThatIsNotThereHasNoLists) {
  ImagePointList const list("a.tif", mFolder / "none/of/these", "S1", "B1");
  EXPECT_EQ(list.fileName(), mFolder / "none/of/these/a.ipt");
  EXPECT_THAT(list.points(), IsEmpty());
  EXPECT_EQ(ImagePointList("a.tif", "/", "S1", "B1").fileName(), "//a.ipt");
}

}  // namespace
