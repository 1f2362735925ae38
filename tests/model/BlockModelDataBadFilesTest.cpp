// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/BlockFolder.h"

#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::BlockModelData;
using testing::HasSubstr;
using testing::StartsWith;

class BlockBadFiles : public test::BlockFolder {
protected:
  std::string const mName = mFolder / "block.blf";
  std::string const mFailure = "BlockModelData::readFromFile : ";

  std::string messageOfFile(std::string const& name) const {
    return test::messageOf([&] { BlockModelData(name, false, false, false); });
  }
  std::string messageOfText(std::string const& text) const { return messageOfFile(mFolder.file("block.blf", text)); }
};

TEST_F(BlockBadFiles, WhatIsNoFileCantBeOpened) {
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {std::string(), mFolder / "none.blf", mFolder.path(), fifo}) {
    EXPECT_EQ(messageOfFile(name), mFailure + "error opening block file:" + name);
  }
}

TEST_F(BlockBadFiles, TextThatIsNoXmlIsAParseError) {
  for (char const* text : {"", "Block", "<Block", "<Block version=\"1.0\">", "<Block version=\"1.0\"></Blok>"}) {
    std::string const message = messageOfText(text);
    std::string const start = mFailure + "error parsing xml file:" + mName + ": ";
    EXPECT_THAT(message, StartsWith(start)) << text;
    EXPECT_GT(message.size(), start.size()) << text;
  }
}

TEST_F(BlockBadFiles, DocumentTypesAreRefused) {
  EXPECT_THAT(messageOfText("<!DOCTYPE Block [<!ENTITY a \"b\">]><Block version=\"1.0\">&a;</Block>"),
              StartsWith(mFailure + "error parsing xml file:" + mName + ": "));
}

TEST_F(BlockBadFiles, LargeFilesAreRefused) {
  file(test::utm33);
  std::filesystem::resize_file(mName, (std::uintmax_t{256} << 20) + 1);
  EXPECT_THAT(messageOfFile(mName), StartsWith(mFailure + "error parsing xml file:" + mName + ": "));
}

TEST_F(BlockBadFiles, OtherRootElementIsNamed) {
  EXPECT_EQ(messageOfText("<Strip version=\"1.0\"/>"),
            mFailure + "wrong file format: expected \"Block\" but saw \"Strip\"");
  EXPECT_EQ(messageOfText("<block version=\"1.0\"/>"),
            mFailure + "wrong file format: expected \"Block\" but saw \"block\"");
}

TEST_F(BlockBadFiles, OtherVersionIsNamed) {
  EXPECT_EQ(messageOfText("<Block/>"), mFailure + "wrong file version: expected \"1.0\" but saw \"\"");
  for (std::string const version : {"1", "1.00", " 1.0", "2.0"}) {
    EXPECT_EQ(messageOfText("<Block version=\"" + version + "\"/>"),
              mFailure + "wrong file version: expected \"1.0\" but saw \"" + version + "\"");
  }
}

TEST_F(BlockBadFiles, StripWithoutAFileIsAnError) {
  std::string const expected = "Error parsing \"" + mName + "\": filename attribute must not be empty.";
  for (char const* strip : {"<Strip/>", "<Strip filename=\"\"/>"}) {
    EXPECT_EQ(messageOf(test::utm33 + ("<Strips>" + std::string(strip)) + "</Strips>"), expected);
  }
}

TEST_F(BlockBadFiles, BlankIsAFileName) {
  EXPECT_EQ(messageOf(std::string(test::utm33) + "<Strips><Strip filename=\" \"/></Strips>"),
            " Take \"" + (mFolder / " ") + "\" could not be created: Error opening strip file:" + (mFolder / " "));
}

TEST_F(BlockBadFiles, CoordinateSystemIsMandatoryAndMissedBeforeAnyStrip) {
  std::string const expected = "Error parsing \"" + mName + "\": no element \"CoordinateSystem\" found.";
  EXPECT_EQ(messageOf(""), expected);
  EXPECT_EQ(messageOf("<Strips><Strip filename=\"none.stp\"/></Strips>"), expected);
  EXPECT_EQ(messageOf("<Strips>" + std::string(test::utm33) + "</Strips>"), expected);
}

TEST_F(BlockBadFiles, BadCoordinateSystemGivesItsReason) {
  std::string const reason = test::messageOf([] { system("EPSG:0"); });
  EXPECT_EQ(messageOf("<CoordinateSystem definition=\"EPSG:0\"/>"),
            "Failed to create block due to error in element \"CoordinateSystem\": " + reason);
}

TEST_F(BlockBadFiles, BadSystemOfTheGroundPointsGivesItsReason) {
  std::string const reason = test::messageOf([] { system("EPSG:0"); });
  EXPECT_EQ(messageOf(test::utm33 + std::string("<GroundControls><GCP filename=\"p\"><CoordinateSystem "
                                                "definition=\"EPSG:0\"/></GCP></GroundControls>")),
            "Failed to read element \"CoordinateSystem\" :" + reason);
}

TEST_F(BlockBadFiles, FirstOfSeveralFaultsIsNamed) {
  EXPECT_EQ(messageOfText("<Strip version=\"2.0\"/>"),
            mFailure + "wrong file format: expected \"Block\" but saw \"Strip\"");
  std::string const noFile = "Error parsing \"" + mName + "\": filename attribute must not be empty.";
  EXPECT_EQ(messageOfText("<Block version=\"2.0\"><Strips><Strip/></Strips></Block>"),
            mFailure + "wrong file version: expected \"1.0\" but saw \"2.0\"");
  EXPECT_EQ(messageOf("<Strips><Strip/></Strips>"), noFile);
  EXPECT_EQ(messageOf("<Strips><Strip/></Strips><CoordinateSystem definition=\"EPSG:0\"/>"), noFile);
  std::string const strips = "<Strips><Strip filename=\"b.stp\"/><Strip filename=\"a.stp\"/></Strips>";
  EXPECT_EQ(messageOf(test::utm33 + strips),
            " Take \"" + (mFolder / "b.stp") +
                "\" could not be created: Error opening strip file:" + (mFolder / "b.stp"));
}

TEST_F(BlockBadFiles, StripThatCantBeBuiltIsNamedWithItsReason) {
  addStrip("a.stp", "West");
  EXPECT_EQ(messageOf("<Strips><Strip filename=\"a.stp\"/><Strip filename=\"none.stp\"/></Strips>" +
                      std::string(test::utm33)),
            " Take \"" + (mFolder / "none.stp") +
                "\" could not be created: Error opening strip file:" + (mFolder / "none.stp"));
}

std::string wholeBlock(std::string const& strips) {
  return "<Block version=\"1.0\" name=\"n\" location=\".\"><Description>d</Description>" + strips + test::utm33 +
         "<Models><DSM filename=\"m\"/></Models><ReferenceImages><Image filename=\"i\"/></ReferenceImages>"
         "<GroundControls><GCP filename=\"p\"/></GroundControls><Calibration location=\"calibration\"/></Block>";
}

TEST_F(BlockBadFiles, CutAnywhereIsAnError) {
  std::string const text = wholeBlock(twoStrips());
  BlockModelData(mFolder.file("block.blf", text), false, false, false);
  for (std::size_t size = 0; size < text.size(); ++size) {
    EXPECT_THAT(messageOfText(text.substr(0, size)), HasSubstr(mName)) << size;
  }
}

// Names, places and numbers may change without a word; whatever else happens is a std::runtime_error.
TEST_F(BlockBadFiles, AnyByteThatChangesIsReadOrAnError) {
  std::string const text = wholeBlock(twoStrips());
  int errors = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    for (char const c : {'\0', '<', '\x80'}) {
      std::string changed = text;
      changed[i] = c;
      try {
        BlockModelData(mFolder.file("block.blf", changed), false, false, false);
      } catch (std::runtime_error const&) {
        ++errors;
      }
    }
  }
  EXPECT_GT(errors, static_cast<int>(text.size()));  // no '<' stands in an attribute or a tag
}

}  // namespace
