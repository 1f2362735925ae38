// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/FennLegacyLocations.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::FennLegacyLocations;
using testing::StartsWith;

std::string const head = "<KESProject>";
std::string const tail = "</KESProject>";
std::string const pos = "<POS Path=\"/data/pos\"/>";
std::string const raw = "<RAW Path=\"/data/raw\"/>";

class LegacyFlightFile : public testing::Test {
protected:
  // The locations that a file of this text in the folder "flight" has.
  FennLegacyLocations read(std::string const& text) const { return FennLegacyLocations(written(text)); }
  FennLegacyLocations readElements(std::string const& elements) const { return read(head + elements + tail); }
  std::string written(std::string const& text) const { return mFolder.file("flight/a.flt", text); }

  test::TempFolder mFolder;
};

TEST_F(LegacyFlightFile, TellsThreeOfTheFolders) {
  auto const found = readElements("<POS Path=\"/data/pos\"/><MM Path=\"/data/mm\"/><RAW Path=\"/data/raw\"/>");
  EXPECT_EQ(found.posDataLocation(), "/data/pos");
  EXPECT_EQ(found.vmmDataLocation(), "/data/mm");
  EXPECT_EQ(found.rawDataLocation(), "/data/raw");
  EXPECT_EQ(found.imageDataLocation(), "");
}

TEST_F(LegacyFlightFile, NeedsNoMM) {
  auto const found = readElements(raw + pos);
  EXPECT_EQ(found.vmmDataLocation(), "");
  EXPECT_EQ(found.posDataLocation(), "/data/pos");
  EXPECT_EQ(found.rawDataLocation(), "/data/raw");
}

TEST_F(LegacyFlightFile, NeedsPosThenRaw) {
  EXPECT_MESSAGE(readElements(""), "legacy flight file contains no POS tag");
  EXPECT_MESSAGE(readElements(raw), "legacy flight file contains no POS tag");
  EXPECT_MESSAGE(readElements(pos), "legacy flight file contains no RAW tag");
}

TEST_F(LegacyFlightFile, PathWithALeadingPointIsRelativeToTheFile) {
  auto const found = readElements("<RAW Path=\"../raw\"/><POS Path=\"./a//b/../pos/\"/><MM Path=\".mm\"/>");
  EXPECT_EQ(found.rawDataLocation(), mFolder / "raw");
  EXPECT_EQ(found.posDataLocation(), mFolder / "flight/a/pos");
  EXPECT_EQ(found.vmmDataLocation(), mFolder / "flight/.mm");
}

TEST_F(LegacyFlightFile, RelativeNameOfTheFileGivesAbsoluteFolders) {
  std::string const name = std::filesystem::relative(written(head + "<POS Path=\"./pos\"/>" + raw + tail));
  EXPECT_EQ(FennLegacyLocations(name).posDataLocation(), mFolder / "flight/pos");
}

TEST_F(LegacyFlightFile, OtherPathsStandAsTheyAre) {
  auto const found = readElements("<RAW Path=\"raw\"/><POS Path=\" ./pos/\"/><MM Path=\"D:\\mm\\..\\\"/>");
  EXPECT_EQ(found.rawDataLocation(), "raw");
  EXPECT_EQ(found.posDataLocation(), " ./pos/");
  EXPECT_EQ(found.vmmDataLocation(), "D:\\mm\\..\\");
}

TEST_F(LegacyFlightFile, LaterElementCountsUnlessItHasNoPath) {
  auto const found = readElements(pos + raw + "<POS Path=\"/later\"/><POS Path=\"\"/><POS path=\"/other\"/><RAW/>");
  EXPECT_EQ(found.posDataLocation(), "/later");
  EXPECT_EQ(found.rawDataLocation(), "/data/raw");
}

TEST_F(LegacyFlightFile, OtherElementsAreIgnored) {
  auto const found = readElements("<!--n--><A>" + pos + "</A>text<pos Path=\"/x\"/><IMG Path=\"/y\"/>" + pos + raw +
                                  "<B><RAW Path=\"/z\"/></B><POSITION Path=\"/p\"/>");
  EXPECT_EQ(found.posDataLocation(), "/data/pos");
  EXPECT_EQ(found.rawDataLocation(), "/data/raw");
  EXPECT_EQ(found.vmmDataLocation(), "");
  EXPECT_EQ(found.imageDataLocation(), "");
}

TEST_F(LegacyFlightFile, PathsMayBeInAnyLanguage) {
  auto const found = readElements("<POS Path=\"./\u00E4\"/><RAW Path=\"/\u70B9\"/>");
  EXPECT_EQ(found.posDataLocation(), mFolder / "flight/\u00E4");
  EXPECT_EQ(found.rawDataLocation(), "/\u70B9");
}

TEST_F(LegacyFlightFile, FolderOfALinkIsThatOfTheLink) {
  mFolder.folder("other");
  std::filesystem::create_symlink(written(head + "<POS Path=\"./pos\"/>" + raw + tail), mFolder / "other/b.flt");
  EXPECT_EQ(FennLegacyLocations(mFolder / "other/b.flt").posDataLocation(), mFolder / "other/pos");
}

TEST_F(LegacyFlightFile, WhatCantBeOpenedIsNamedByItsAbsolutePath) {
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {mFolder / "none.flt", fifo, std::string("/dev/null")}) {
    EXPECT_MESSAGE(FennLegacyLocations{name}, "error opening legacy Fenn flt file:" + name);
  }
  EXPECT_MESSAGE(FennLegacyLocations{"none.flt"},
                 "error opening legacy Fenn flt file:" + (std::filesystem::current_path() / "none.flt").string());
}

TEST_F(LegacyFlightFile, EmptyPathCantBeOpened) {
  EXPECT_THAT(test::messageOf([] { FennLegacyLocations{""}; }), StartsWith("error opening legacy Fenn flt file:"));
}

TEST_F(LegacyFlightFile, TextThatIsCutAnywhereIsAnError) {
  std::string const text = head + pos + raw + tail;
  std::string const name = mFolder / "flight/a.flt";
  for (std::size_t size = 0; size < text.size(); ++size) {
    EXPECT_THAT(test::messageOf([&] { read(text.substr(0, size)); }),
                StartsWith("error parsing xml file:" + name + ": "))
        << size;
  }
}

TEST_F(LegacyFlightFile, XmlFromStrangersIsRefusedWithItsReason) {
  std::string const file = mFolder / "flight/a.flt";
  EXPECT_MESSAGE(read("<!DOCTYPE KESProject><KESProject/>"),
                 "error parsing xml file:" + file + ": document type declarations are not accepted");
  std::string deep;
  for (int level = 0; level < 64; ++level) {
    deep += "<A>";
  }
  EXPECT_MESSAGE(readElements(deep), "error parsing xml file:" + file + ": elements are nested deeper than 64 levels");
}

TEST_F(LegacyFlightFile, OtherRootIsNamed) {
  EXPECT_MESSAGE(read("<Strip>" + pos + raw + "</Strip>"),
                 "wrong file format: expected \"KESProject\" but saw \"Strip\"");
  EXPECT_MESSAGE(read("<kesproject/>"), "wrong file format: expected \"KESProject\" but saw \"kesproject\"");
}

TEST_F(LegacyFlightFile, AnyByteAnywhereGivesLocationsOrAMessage) {
  std::string const text = head + pos + raw + tail;
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (char const byte : {'\0', '<', '"', '\xFF', 'x'}) {
      std::string changed = text;
      changed[at] = byte;
      try {
        EXPECT_NE(read(changed).posDataLocation(), "");
      } catch (std::runtime_error const& error) {
        EXPECT_NE(std::string(error.what()), "");
      }
    }
  }
}

TEST(LegacyProjectFolder, HasFixedFoldersWhetherTheyAreThereOrNot) {
  test::TempFolder const folder;
  FennLegacyLocations const found(folder.path());
  EXPECT_EQ(found.vmmDataLocation(), folder / "mm");
  EXPECT_EQ(found.posDataLocation(), folder / "pos");
  EXPECT_EQ(found.rawDataLocation(), folder / "raw");
  EXPECT_EQ(found.imageDataLocation(), folder / "images");
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

TEST(LegacyProjectFolder, IsTakenByItsCanonicalPath) {
  test::TempFolder const folder;
  folder.folder("a/b");
  std::filesystem::create_directory_symlink(folder / "a", folder / "link");
  EXPECT_EQ(FennLegacyLocations(folder / "link/b/../b/").rawDataLocation(), folder / "a/b/raw");
}

TEST(LegacyLocations, CopiesHaveAllFourFolders) {
  test::TempFolder const folder;
  test::TempFolder const other;
  FennLegacyLocations const found(folder.path());
  FennLegacyLocations copy = found;
  EXPECT_EQ(copy.imageDataLocation(), folder / "images");
  copy = FennLegacyLocations(other.path());
  EXPECT_EQ(copy.posDataLocation(), other / "pos");
  EXPECT_EQ(copy.vmmDataLocation(), other / "mm");
  EXPECT_EQ(copy.rawDataLocation(), other / "raw");
  EXPECT_EQ(copy.imageDataLocation(), other / "images");
  EXPECT_EQ(found.posDataLocation(), folder / "pos");
}

}  // namespace
