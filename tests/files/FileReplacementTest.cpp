// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/FileReplacement.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/mount.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using files::FileReplacement;
using files::replaceFile;

class FileReplacementTest : public testing::Test {
protected:
  test::TempFolder folder;
  std::string name = folder / "file";
};

TEST_F(FileReplacementTest, NewFileHoldsWhatWasWritten) {
  std::string const contents("a\0\r\n\xFF", 5);
  EXPECT_TRUE(replaceFile(name, contents));
  EXPECT_EQ(test::contents(name), contents);
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(FileReplacementTest, OldFileGivesWayAsAWhole) {
  folder.file("file", "a much longer old text");
  EXPECT_TRUE(replaceFile(name, "new"));
  EXPECT_EQ(test::contents(name), "new");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(FileReplacementTest, NoContentsMakeAnEmptyFile) {
  folder.file("file", "old");
  EXPECT_TRUE(replaceFile(name, ""));
  EXPECT_EQ(test::contents(name), "");
}

TEST_F(FileReplacementTest, PiecesFollowEachOther) {
  std::string expected;
  FileReplacement file(name);
  for (int i = 0; i < 20000; ++i) {
    std::string const piece = std::to_string(i) + ";";
    expected += piece;
    file.write(piece);
  }
  int const number = 0x04030201;
  file.write(&number, sizeof number);
  EXPECT_TRUE(file.flush());
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(test::contents(name), expected + "\x01\x02\x03\x04");
}

TEST_F(FileReplacementTest, OldFileStaysUntilTheCommit) {
  folder.file("file", "old");
  FileReplacement file(name);
  file.write("new");
  EXPECT_TRUE(file.flush());
  EXPECT_EQ(test::contents(name), "old");
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(test::contents(name), "new");
}

TEST_F(FileReplacementTest, WithoutACommitNothingHappened) {
  folder.file("file", "old");
  {
    FileReplacement file(name);
    file.write("new");
    EXPECT_TRUE(file.flush());
  }
  EXPECT_EQ(test::contents(name), "old");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(FileReplacementTest, NamesAreUtf8) {
  EXPECT_TRUE(replaceFile(folder / "Z\xC3\xBCrich", "x"));
  EXPECT_TRUE(test::exists(folder / "Z\xC3\xBCrich"));
}

TEST_F(FileReplacementTest, LinkStaysAndItsFileIsReplaced) {
  folder.file("target", "old");
  fs::create_symlink("target", folder / "second");
  fs::create_symlink("second", name);
  EXPECT_TRUE(replaceFile(name, "new"));
  EXPECT_TRUE(fs::is_symlink(name));
  EXPECT_TRUE(fs::is_symlink(folder / "second"));
  EXPECT_EQ(test::contents(folder / "target"), "new");
  EXPECT_EQ(test::entryCount(folder.path()), 3);
}

TEST_F(FileReplacementTest, LinkToNothingMakesItsFile) {
  fs::create_symlink("target", name);
  EXPECT_TRUE(replaceFile(name, "new"));
  EXPECT_TRUE(fs::is_symlink(name));
  EXPECT_EQ(test::contents(folder / "target"), "new");
}

TEST_F(FileReplacementTest, PermissionsOfTheOldFileStay) {
  folder.file("file", "old");
  ASSERT_EQ(chmod(name.c_str(), 0640), 0);
  EXPECT_TRUE(replaceFile(name, "new"));
  EXPECT_EQ(fs::status(name).permissions(), static_cast<fs::perms>(0640));
}

TEST_F(FileReplacementTest, NewFileHasThePermissionsOfAnyNewFile) {
  mode_t const before = umask(027);
  bool const done = replaceFile(name, "new");
  umask(before);
  EXPECT_TRUE(done);
  EXPECT_EQ(fs::status(name).permissions(), static_cast<fs::perms>(0640));
}

TEST_F(FileReplacementTest, PlaceThatIsNoFileIsRefused) {
  std::string const fifo = folder / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::string const inner = folder.folder("inner");
  fs::create_symlink(inner, folder / "link");
  for (std::string const& place : {std::string(), inner, folder / "link", fifo, folder / "missing/file", fifo + "/file",
                                   std::string("/dev/null")}) {
    FileReplacement file(place);
    EXPECT_FALSE(file.isOpen()) << place;
    file.write("new");
    EXPECT_FALSE(file.commit()) << place;
    EXPECT_FALSE(replaceFile(place, "new")) << place;
  }
  EXPECT_TRUE(fs::is_fifo(fifo));
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(test::entryCount(inner), 0);
  EXPECT_EQ(test::entryCount(folder.path()), 3);
}

// A rename would take the place of anything but a folder.
TEST_F(FileReplacementTest, PlaceThatBecameAPipeMeanwhileStays) {
  FileReplacement file(name);
  file.write("new");
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  EXPECT_FALSE(file.commit());
  EXPECT_TRUE(fs::is_fifo(name));
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(FileReplacementTest, FileThatMayNotBeWrittenStays) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "every file may be written by this user";
  }
  folder.file("file", "old");
  ASSERT_EQ(chmod(name.c_str(), 0444), 0);
  EXPECT_FALSE(replaceFile(name, "new"));
  EXPECT_EQ(test::contents(name), "old");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(FileReplacementTest, FileOnAReadOnlyDiskStays) {
  test::SmallFileSystem const disk(65536);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  std::string const file = disk / "file";
  fs::copy_file(folder.file("old", "old"), file);
  ASSERT_EQ(mount("tmpfs", disk.path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
  EXPECT_FALSE(FileReplacement(file).isOpen());
  EXPECT_FALSE(replaceFile(file, "new"));
  EXPECT_EQ(test::contents(file), "old");
}

TEST_F(FileReplacementTest, FolderThatTakesNoFurtherEntryKeepsTheOldFile) {
  test::SmallFileSystem const disk(65536);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  std::string const file = disk / "file";
  fs::copy_file(folder.file("old", "old"), file);
  // The folder itself is one of them.
  ASSERT_EQ(mount("tmpfs", disk.path().c_str(), "tmpfs", MS_REMOUNT, "nr_inodes=2"), 0);
  EXPECT_FALSE(FileReplacement(file).isOpen());
  EXPECT_FALSE(replaceFile(file, "new"));
  EXPECT_EQ(test::contents(file), "old");
}

}  // namespace
