// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/BlockFolder.h"

#include <filesystem>

namespace {

using sensor::BlockModelData;

class BlockPoints : public test::BlockFolder {
protected:
  static double firstX(BlockModelData const& block) {
    return block.groundPoints().numPoints() == 0 ? 0.0 : block.groundPoints().points()[0].x;
  }

  std::unique_ptr<test::OwnedBlock> mBlock = emptyBlock();
};

TEST_F(BlockPoints, ListIsReplacedAndCanBeChangedInPlace) {
  EXPECT_EQ(mBlock->setGroundPoints(onePoint(4.0)), 0);
  EXPECT_EQ(firstX(*mBlock), 4.0);
  mBlock->groundPoints()[0].x = 5.0;
  EXPECT_EQ(firstX(*mBlock), 5.0);
}

TEST_F(BlockPoints, RelativeFileIsReadBelowTheDataPathAndKeepsItsName) {
  mFolder.file("sub/points.gpt", onePointText("7"));
  EXPECT_EQ(mBlock->readGroundPoints("sub/points.gpt"), 0);
  EXPECT_EQ(firstX(*mBlock), 7.0);
  EXPECT_EQ(mBlock->groundPointFile(), "sub/points.gpt");
}

TEST_F(BlockPoints, AbsoluteFileIsReadWhereverItIs) {
  std::string const points = mFolder.file("points.gpt", onePointText("8"));
  mBlock->setDataPath("/nowhere");
  EXPECT_EQ(mBlock->readGroundPoints(points), 0);
  EXPECT_EQ(firstX(*mBlock), 8.0);
}

TEST_F(BlockPoints, ReadingReplacesTheList) {
  mFolder.file("points.gpt", onePointText("9"));
  mBlock->setGroundPoints(onePoint(4.0));
  mBlock->setGroundPointFile("points.gpt");
  EXPECT_EQ(mBlock->loadGroundPoints(), 0);
  EXPECT_EQ(mBlock->groundPoints().numPoints(), 1);
  EXPECT_EQ(firstX(*mBlock), 9.0);
}

TEST_F(BlockPoints, WithoutAFileNothingIsRead) {
  mFolder.file(" points.gpt", onePointText("9"));
  mBlock->setGroundPoints(onePoint(4.0));
  for (char const* name : {"", " ", " points.gpt"}) {
    EXPECT_EQ(mBlock->readGroundPoints(name), 0) << name;
    EXPECT_EQ(mBlock->groundPointFile(), name);
    EXPECT_EQ(firstX(*mBlock), 4.0);
  }
}

TEST_F(BlockPoints, MissingFileIsToldByTheResultAndKeepsTheList) {
  mBlock->setGroundPoints(onePoint(4.0));
  EXPECT_EQ(mBlock->readGroundPoints("none.gpt"), 1);
  EXPECT_EQ(mBlock->groundPointFile(), "none.gpt");
  EXPECT_EQ(firstX(*mBlock), 4.0);
}

TEST_F(BlockPoints, EmptyListIsntWritten) {
  std::string const points = mFolder.file("points.gpt", onePointText());
  EXPECT_EQ(mBlock->writeGroundPoints(points), 2);
  EXPECT_EQ(mBlock->writeGroundPoints(), 2);
  EXPECT_EQ(mBlock->groundPointFile(), points);
  EXPECT_EQ(test::contents(points), onePointText());
  EXPECT_EQ(mBlock->writeGroundPoints(""), 2);
  EXPECT_FALSE(test::exists(mFolder / "control"));
}

TEST_F(BlockPoints, RelativeFileIsWrittenBelowTheDataPathAndBecomesAbsolute) {
  mBlock->setGroundPoints(onePoint());
  EXPECT_EQ(mBlock->writeGroundPoints("points.gpt"), 0);
  EXPECT_EQ(mBlock->groundPointFile(), mFolder / "points.gpt");
  EXPECT_EQ(test::contents(mFolder / "points.gpt"), onePointText());
}

TEST_F(BlockPoints, AbsoluteFileIsWrittenWhereverItIs) {
  mBlock->setDataPath("/nowhere");
  mBlock->setGroundPoints(onePoint());
  EXPECT_EQ(mBlock->writeGroundPoints(mFolder / "points.gpt"), 0);
  EXPECT_EQ(test::contents(mFolder / "points.gpt"), onePointText());
}

TEST_F(BlockPoints, WithoutAFileTheDefaultOneIsWritten) {
  std::string const expected = std::filesystem::canonical(mFolder.path()).string() + "/control/controls.gpt";
  mBlock->setGroundPoints(onePoint());
  for (char const* none : {"", " ", " points.gpt"}) {
    std::filesystem::remove_all(mFolder / "control");
    EXPECT_EQ(mBlock->writeGroundPoints(none), 0) << none;
    EXPECT_EQ(mBlock->groundPointFile(), expected);
    EXPECT_EQ(test::contents(expected), onePointText());
  }
}

TEST_F(BlockPoints, DefaultFileThatIsThereIsReplaced) {
  mFolder.file("control/controls.gpt", "old");
  mBlock->setGroundPoints(onePoint());
  EXPECT_EQ(mBlock->writeGroundPoints(), 0);
  EXPECT_EQ(test::contents(mFolder / "control/controls.gpt"), onePointText());
}

TEST_F(BlockPoints, NameOfTheDefaultFileIsCanonical) {
  std::filesystem::create_directory(mFolder / "real");
  std::filesystem::create_directory_symlink(mFolder / "real", mFolder / "link");
  mBlock->setDataPath(mFolder / "link/../link");
  mBlock->setGroundPoints(onePoint());
  std::string const expected = std::filesystem::canonical(mFolder / "real").string() + "/control/controls.gpt";
  EXPECT_EQ(mBlock->writeGroundPoints(), 0);
  EXPECT_EQ(mBlock->groundPointFile(), expected);
  // Nor is it any other when the file is there.
  EXPECT_EQ(mBlock->writeGroundPoints(""), 0);
  EXPECT_EQ(mBlock->groundPointFile(), expected);
}

TEST_F(BlockPoints, FolderThatCantBeMadeIsNamed) {
  mBlock->setGroundPoints(onePoint());
  mFolder.file("control", "a file");
  EXPECT_MESSAGE(mBlock->writeGroundPoints(), "Couldn't create folder: " + (mFolder / "control"));
  mBlock->setDataPath(mFolder / "none");
  EXPECT_MESSAGE(mBlock->writeGroundPoints(" "), "Couldn't create folder: " + (mFolder / "none/control"));
  EXPECT_EQ(mBlock->groundPointFile(), " ");
}

TEST_F(BlockPoints, FileThatCantBeWrittenIsToldByTheResult) {
  mBlock->setGroundPoints(onePoint());
  EXPECT_EQ(mBlock->writeGroundPoints("no/such/points.gpt"), 1);
  EXPECT_EQ(mBlock->groundPointFile(), mFolder / "no/such/points.gpt");
}

// Names a folder as the current one for as long as it lives.
class CurrentFolder {
public:
  explicit CurrentFolder(std::string const& path) { std::filesystem::current_path(path); }
  ~CurrentFolder() { std::filesystem::current_path(mBefore); }
  CurrentFolder(CurrentFolder const&) = delete;
  CurrentFolder& operator=(CurrentFolder const&) = delete;

private:
  std::filesystem::path mBefore = std::filesystem::current_path();
};

TEST_F(BlockPoints, WithoutADataPathTheDefaultFileIsBelowTheCurrentFolder) {
  CurrentFolder const current(mFolder.path());
  std::string const expected = std::filesystem::canonical(mFolder.path()).string() + "/control/controls.gpt";
  mBlock->setDataPath("");
  mBlock->setGroundPoints(onePoint());
  for (char const* none : {"", " "}) {
    EXPECT_EQ(mBlock->writeGroundPoints(none), 0);
    EXPECT_EQ(mBlock->groundPointFile(), expected);
    EXPECT_EQ(test::contents(expected), onePointText());
  }
  EXPECT_EQ(test::entryCount(mFolder.path()), 1);
  EXPECT_FALSE(test::exists("/controls.gpt"));
  EXPECT_FALSE(test::exists("/control"));
}

TEST_F(BlockPoints, WithoutADataPathNamesAreBelowTheCurrentFolder) {
  CurrentFolder const current(mFolder.path());
  mBlock->setDataPath("");
  mBlock->setGroundPoints(onePoint(7.0));
  EXPECT_EQ(mBlock->writeGroundPoints("points.gpt"), 0);
  EXPECT_EQ(mBlock->groundPointFile(), std::filesystem::canonical(mFolder.path()).string() + "/points.gpt");
  EXPECT_TRUE(test::exists(mFolder / "points.gpt"));
  mBlock->setGroundPoints(onePoint(8.0));
  EXPECT_EQ(mBlock->readGroundPoints("points.gpt"), 0);
  EXPECT_EQ(firstX(*mBlock), 7.0);
}

TEST_F(BlockPoints, FolderThatCantBeMadeBelowTheCurrentFolderIsNamed) {
  CurrentFolder const current(mFolder.path());
  mFolder.file("control", "a file");
  mBlock->setDataPath("");
  mBlock->setGroundPoints(onePoint());
  EXPECT_MESSAGE(mBlock->writeGroundPoints(),
                 "Couldn't create folder: " + std::filesystem::canonical(mFolder.path()).string() + "/control");
  EXPECT_EQ(test::contents(mFolder / "control"), "a file");
}

}  // namespace
