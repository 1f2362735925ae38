// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/BlockFolder.h"

#include <cctype>
#include <filesystem>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using sensor::BlockModelData;
using sensor::KESStripModel;
using testing::HasSubstr;
using testing::Not;

class BlockWriting : public test::BlockFolder {
protected:
  // The attribute of a block whose file stands in the folder "/ab".
  static std::string location(std::string const& dataPath) {
    BlockModelData block;
    block.setFileName("/ab/block.blf");
    block.setDataPath(dataPath);
    std::string const text = element(block);
    std::size_t const from = text.find("location=");
    return from == std::string::npos ? "none" : text.substr(from, text.find('>') - from);
  }
  // How the block names a strip file below the test's folder when its data path is this.
  std::string stripName(std::string const& file, std::string const& dataPath) const {
    BlockModelData block;
    block.setDataPath(dataPath);
    block.attach(new KESStripModel(addStrip(file, "North"), false, false, false));
    std::string const text = element(block);
    std::string const start = "<Strip filename=\"";
    std::size_t const from = text.find(start) + start.size();
    return text.substr(from, text.find('"', from) - from);
  }

  std::string const mName = mFolder / "block.blf";
};

TEST_F(BlockWriting, ElementsStandInTheirOrder) {
  auto const block = emptyBlock();
  block->setDisplayName("Valley");
  block->setDescription("a < b");
  block->setCoordSys(system("EPSG:32633"));
  block->setGroundPointCoordSys(system("EPSG:4326"));
  block->attach(strip("West").release());
  block->attach(strip("East").release());
  block->addElevationSource("/dsm/two.tif");
  block->addElevationSource("one.tif");
  block->addReferenceImage("/ref/a.tif");
  block->setGroundPointFile("sub/points.gpt");
  block->write(mName);
  EXPECT_EQ(test::contents(mName), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<Block version=\"1.0\" name=\"Valley\">\n"
                                   "    <Description>a &lt; b</Description>\n"
                                   "    <Strips>\n"
                                   "        <Strip filename=\"East.stp\"/>\n"
                                   "        <Strip filename=\"West.stp\"/>\n"
                                   "    </Strips>\n"
                                   "    <CoordinateSystem definition=\"EPSG:32633\"/>\n"
                                   "    <Models>\n"
                                   "        <DSM filename=\"/dsm/two.tif\"/>\n"
                                   "        <DSM filename=\"one.tif\"/>\n"
                                   "    </Models>\n"
                                   "    <ReferenceImages>\n"
                                   "        <Image filename=\"/ref/a.tif\"/>\n"
                                   "    </ReferenceImages>\n"
                                   "    <GroundControls>\n"
                                   "        <GCP filename=\"sub/points.gpt\"/>\n"
                                   "        <CoordinateSystem definition=\"EPSG:4326\"/>\n"
                                   "    </GroundControls>\n"
                                   "</Block>\n");
}

TEST_F(BlockWriting, EmptyListsAreWrittenAndEmptyTextsAndSystemsArent) {
  auto const block = emptyBlock();
  block->write(mName);
  EXPECT_EQ(test::contents(mName), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<Block version=\"1.0\" name=\"\">\n"
                                   "    <Strips/>\n"
                                   "    <Models/>\n"
                                   "    <ReferenceImages/>\n"
                                   "    <GroundControls>\n"
                                   "        <GCP filename=\"\"/>\n"
                                   "    </GroundControls>\n"
                                   "</Block>\n");
}

TEST_F(BlockWriting, WhatIsWrittenReadsBackButForTheGroundPointsSystem) {
  auto const block = read("<Description>d\xC3\xA4</Description>" + twoStrips() + test::utm33 +
                          "<Models><DSM filename=\"m.tif\"/></Models><ReferenceImages><Image filename=\"i.tif\"/>"
                          "</ReferenceImages><GroundControls><GCP filename=\"p.gpt\">" +
                          test::utm33 + "</GCP></GroundControls><Calibration location=\"calibration\"/>");
  ASSERT_NE(block->groundPointCoordSys(), nullptr);
  std::string const copy = mFolder / "copy.blf";
  block->write(copy);
  EXPECT_THAT(test::contents(copy), Not(HasSubstr("Calibration")));
  BlockModelData const again(copy, false, false, false);
  EXPECT_EQ(again.displayName(), "Valley");
  EXPECT_EQ(again.dataPath(), mFolder.path());
  EXPECT_EQ(again.description(), "d\xC3\xA4");
  EXPECT_EQ(again.numStrips(), 2);
  EXPECT_EQ(again.strip("West")->modelData()->fileName(), mFolder / "a.stp");
  EXPECT_EQ(again.elevationSourceNames(), block->elevationSourceNames());
  EXPECT_EQ(again.referenceImageNames(), block->referenceImageNames());
  EXPECT_EQ(again.groundPointFile(), "p.gpt");
  EXPECT_EQ(again.groundPointCoordSys(), nullptr);
}

TEST_F(BlockWriting, LocationIsLeftOutInTheBlocksOwnFolder) {
  EXPECT_EQ(location("/ab"), "none");
}

// The letters of the block's folder "/ab" are '/', 'a' and 'b'; the value starts at byte 3.
TEST_F(BlockWriting, LocationIsAPieceOfTheDataPathByItsCharacters) {
  EXPECT_EQ(location("/ab/data"), "location=\"/\"");          // Last letter at 7 of 8: one byte.
  EXPECT_EQ(location("/ab/zoo"), "location=\"/zoo\"");        // At 3 of 7: four bytes.
  EXPECT_EQ(location("/ab/abc"), "location=\"/a\"");          // At 5 of 7: two bytes.
  EXPECT_EQ(location("/else/where"), "location=\"se/whe\"");  // At 5 of 11: six bytes.
  EXPECT_EQ(location("/ba"), "location=\"\"");                // At 2 of 3: one byte, behind the end.
}

TEST_F(BlockWriting, LocationIsTheWholeDataPathWithoutACommonCharacter) {
  EXPECT_EQ(location("xyz"), "location=\"xyz\"");
  EXPECT_EQ(location("x"), "location=\"x\"");
  EXPECT_EQ(location(""), "location=\"\"");
}

TEST_F(BlockWriting, DataPathShorterThanTheBlocksFolderIsOutOfRange) {
  EXPECT_THROW(location("/"), std::out_of_range);
  EXPECT_THROW(location("/a"), std::out_of_range);
}

TEST_F(BlockWriting, DataPathOutOfRangeKeepsTheOldFile) {
  mFolder.file("block.blf", "old");
  BlockModelData block;
  block.setDataPath("/");
  EXPECT_THROW(block.write(mName), std::out_of_range);
  EXPECT_EQ(test::contents(mName), "old");
  EXPECT_EQ(test::entryCount(mFolder.path()), 1);
}

TEST_F(BlockWriting, StripsBelowTheDataPathAreRelativeToIt) {
  std::string upper = mFolder.path();
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  EXPECT_EQ(stripName("north.stp", mFolder.path()), "north.stp");
  EXPECT_EQ(stripName("north.stp", upper), "north.stp");
}

TEST_F(BlockWriting, StripsElsewhereKeepTheirNames) {
  EXPECT_EQ(stripName("north.stp", "/else"), mFolder / "north.stp");
  EXPECT_EQ(stripName("north.stp", mFolder / "no"), mFolder / "north.stp");
  EXPECT_EQ(stripName("north.stp", ""), mFolder / "north.stp");
  // A separator has to follow the path: the start of a folder's name is another folder.
  EXPECT_EQ(stripName("north.stp", mFolder.path().substr(0, mFolder.path().size() - 1)), mFolder / "north.stp");
  EXPECT_EQ(stripName("north.stp", mFolder / ""), mFolder / "north.stp");
  // Nor does a separator at that place do without the path before it.
  std::string neighbour = mFolder.path();
  neighbour.back() = neighbour.back() == 'a' ? 'b' : 'a';
  EXPECT_EQ(stripName("north.stp", neighbour), mFolder / "north.stp");
}

TEST_F(BlockWriting, BlockWithoutFileAndDataPathHasNoLocation) {
  EXPECT_EQ(element(BlockModelData()).find("location="), std::string::npos);
}

TEST_F(BlockWriting, NullWriterIsIgnored) {
  emptyBlock()->write(static_cast<XmlWriter*>(nullptr));
}

TEST_F(BlockWriting, NameOfTheFileIsKept) {
  auto const block = emptyBlock();
  std::string const other = mFolder / "other.blf";
  block->write(other);
  EXPECT_EQ(block->fileName(), other);
  EXPECT_FALSE(test::exists(mName));
}

TEST_F(BlockWriting, OwnFileIsWrittenWhenThereIsOne) {
  auto const block = emptyBlock();
  block->write();
  EXPECT_THAT(test::contents(mName), HasSubstr("<Block "));
  block->setFileName("");
  block->setDescription("never written");
  block->write();
  EXPECT_THAT(test::contents(mName), Not(HasSubstr("never")));
}

TEST_F(BlockWriting, GroundPointsAreWrittenFirst) {
  auto const block = emptyBlock();
  block->setGroundPoints(onePoint());
  block->setGroundPointFile("points.gpt");
  block->write();
  EXPECT_EQ(test::contents(mFolder / "points.gpt"), onePointText());
  EXPECT_THAT(test::contents(mName), HasSubstr("<GCP filename=\"" + (mFolder / "points.gpt") + "\"/>"));
}

// Whoever writes a block asks for the result of the ground points before.
TEST_F(BlockWriting, GroundPointsThatCantBeWrittenAreNamedAllTheSame) {
  auto const block = emptyBlock();
  block->setGroundPoints(onePoint());
  block->setGroundPointFile("no/such/points.gpt");
  EXPECT_EQ(block->writeGroundPoints(), 1);
  block->write();
  EXPECT_THAT(test::contents(mName), HasSubstr("<GCP filename=\"" + (mFolder / "no/such/points.gpt") + "\"/>"));
}

TEST_F(BlockWriting, MissingDataPathIsMade) {
  BlockModelData block;
  block.setDataPath(mFolder / "some/data");
  block.write(mName);
  EXPECT_TRUE(std::filesystem::is_directory(mFolder / "some/data"));
}

TEST_F(BlockWriting, DefaultGroundPointFileNeedsTheDataPathBefore) {
  BlockModelData block;
  block.setDataPath(mFolder / "data");
  block.setGroundPoints(onePoint());
  EXPECT_MESSAGE(block.write(mName), "Couldn't create folder: " + (mFolder / "data/control"));
  EXPECT_FALSE(test::exists(mName));
}

TEST_F(BlockWriting, DataPathThatCantBeMadeIsNamed) {
  std::string const dataPath = mFolder.file("file", "") + "/data";
  BlockModelData block;
  block.setDataPath(dataPath);
  EXPECT_MESSAGE(block.write(mName), "Error creating directory: " + dataPath);
  EXPECT_MESSAGE(block.write(mFolder / "none/block.blf"), "Error creating directory: " + dataPath);
  EXPECT_FALSE(test::exists(mName));
  EXPECT_EQ(block.fileName(), "");
}

TEST_F(BlockWriting, FileThatCantBeOpenedIsNamed) {
  auto const block = emptyBlock();
  for (std::string const& name : {std::string(), mFolder.path(), mFolder / "none/block.blf"}) {
    EXPECT_MESSAGE(block->write(name), "Error opening file for writing: " + name);
    EXPECT_EQ(block->fileName(), mName);
  }
}

// A host's block adds what it has of its own.
class HostBlock final : public BlockModelData {
public:
  using BlockModelData::write;
  void write(XmlWriter* writer) const override {
    writer->addAttribute(QStringLiteral("host"), "yes");
    BlockModelData::write(writer);
  }
  void write(std::string const& fileName) override {
    ++writes;
    BlockModelData::write(fileName);
  }
  int writes = 0;
};

TEST_F(BlockWriting, FormsCallEachOtherThroughTheirVirtualOperations) {
  HostBlock block;
  block.setDataPath(mFolder.path());
  block.setFileName(mName);
  block.write();
  EXPECT_EQ(block.writes, 1);
  EXPECT_THAT(test::contents(mName), HasSubstr("<Block host=\"yes\" version=\"1.0\" "));
}

// A block of many names, so that its file takes more than one write.
class BlockSaving : public BlockWriting {
protected:
  static void fill(BlockModelData& block) {
    for (int i = 0; i < 2000; ++i) {
      block.addReferenceImage("/reference/images/of/the/block/" + std::to_string(i) + ".tif");
    }
  }
  // Writes the block in a process of its own, which is killed when a file of its grows above `bytes`.
  static bool isKilledAt(rlim_t bytes, BlockModelData& block) {
    pid_t const child = fork();
    if (child == 0) {
      rlimit const none{0, 0};
      rlimit const limit{bytes, bytes};
      setrlimit(RLIMIT_CORE, &none);
      setrlimit(RLIMIT_FSIZE, &limit);
      block.write();
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ;
  }
};

TEST_F(BlockSaving, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  std::string const name = disk / "block.blf";
  BlockModelData block;
  block.setDataPath(disk.path());
  block.write(name);
  std::string const old = test::contents(name);
  disk.fill(4096);
  fill(block);
  EXPECT_MESSAGE(block.write(), "Error opening file for writing: " + name);
  EXPECT_EQ(test::contents(name), old);
  EXPECT_EQ(test::entryCount(disk.path()), 2);  // the block, and what fills the disk
}

TEST_F(BlockSaving, FullDiskKeepsTheOldGroundPoints) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  BlockModelData block;
  block.setDataPath(disk.path());
  block.setGroundPoints(onePoint());
  block.write(disk / "block.blf");
  disk.fill(4096);
  block.setGroundPoints(sensor::GroundPointList(std::vector<geo::GroundPoint>(1000, onePoint().points()[0])));
  EXPECT_EQ(block.writeGroundPoints(), 1);
  EXPECT_EQ(test::contents(disk / "control/controls.gpt"), onePointText());
}

TEST_F(BlockSaving, CrashAtAnyWriteKeepsTheOldFiles) {
  auto const block = emptyBlock();
  block->setGroundPointFile("points.gpt");
  block->setGroundPoints(onePoint());
  block->write();
  std::string const old = test::contents(mName);
  block->setGroundPoints(onePoint(2.0));
  fill(*block);
  std::size_t const size = element(*block).size();
  for (std::size_t bytes = 0; bytes < size; bytes += 9001) {
    EXPECT_TRUE(isKilledAt(bytes, *block)) << bytes;
    EXPECT_EQ(test::contents(mName), old) << bytes;
    EXPECT_THAT(test::contents(mFolder / "points.gpt"), testing::AnyOf(onePointText(), onePointText("2.0000000000")));
  }
}

}  // namespace
