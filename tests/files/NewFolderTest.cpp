// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/NewFolder.h"

#include "Interposed.h"
#include "files/FileReplacement.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using files::NewFolder;
using test::Interposed;
using test::messageOf;

class NewFolderTest : public testing::Test {
protected:
  test::TempFolder folder;
  std::string name = folder / "out";
};

TEST_F(NewFolderTest, AppearsAsAWhole) {
  NewFolder output(name);
  EXPECT_EQ(fs::path(output.path()).parent_path(), fs::path(folder.path()));
  EXPECT_TRUE(files::replaceFile(output.path() + "/a", "text"));
  EXPECT_FALSE(test::exists(name));
  output.keep();
  EXPECT_EQ(test::contents(name + "/a"), "text");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(NewFolderTest, KeepsLinksAndPipes) {
  NewFolder output(name);
  fs::create_symlink("nowhere", output.path() + "/link");
  ASSERT_EQ(mkfifo((output.path() + "/pipe").c_str(), 0600), 0);
  output.keep();
  EXPECT_EQ(fs::read_symlink(name + "/link"), "nowhere");
  EXPECT_TRUE(fs::is_fifo(name + "/pipe"));
}

TEST_F(NewFolderTest, WithoutKeepNothingHappened) {
  {
    NewFolder const output(name);
    EXPECT_TRUE(files::replaceFile(output.path() + "/a", "text"));
  }
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

// One sync for each of the folders around the new ones.
TEST_F(NewFolderTest, MissingFoldersAreMadeAndTheirNamesSynced) {
  std::error_code error;
  for (int const expected : {3, 0}) {
    int syncs = 0;
    Interposed const calls([&](std::string const& function) {
      syncs += function == "fsync" ? 1 : 0;
      return 0;
    });
    files::makeFolders(folder / "a/b/c", error);
    EXPECT_FALSE(error);
    EXPECT_EQ(syncs, expected);
  }
  EXPECT_TRUE(fs::is_directory(folder / "a/b/c"));
}

TEST_F(NewFolderTest, NameThatCantBeSyncedIsReported) {
  std::error_code error;
  Interposed const calls([](std::string const& function) { return function == "fsync" ? EIO : 0; });
  files::makeFolders(folder / "a", error);
  EXPECT_EQ(error.value(), EIO);
}

TEST_F(NewFolderTest, FoldersOfTheUserStay) {
  folder.file("out.part/precious", "text");
  NewFolder output(name);
  output.keep();
  EXPECT_EQ(test::contents(folder / "out.part/precious"), "text");
}

TEST_F(NewFolderTest, TwoRunsDontCollide) {
  NewFolder one(name);
  NewFolder two(name);
  EXPECT_TRUE(files::replaceFile(one.path() + "/a", "one"));
  EXPECT_TRUE(files::replaceFile(two.path() + "/a", "two"));
  one.keep();
  EXPECT_EQ(messageOf([&] { two.keep(); }), "can't make folder " + name + ": Directory not empty");
  EXPECT_EQ(test::contents(name + "/a"), "one");
}

TEST_F(NewFolderTest, ParentsAreMadeAndSlashesAtTheEndDontCount) {
  NewFolder output(folder / "a/b/out//");
  output.keep();
  EXPECT_TRUE(fs::is_directory(folder / "a/b/out"));
  EXPECT_EQ(test::entryCount(folder / "a/b"), 1);
}

TEST_F(NewFolderTest, EmptyFolderGivesWayAndItsPermissionsStay) {
  ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
  ASSERT_EQ(chmod(name.c_str(), 0750), 0);
  NewFolder output(name);
  EXPECT_TRUE(files::replaceFile(output.path() + "/a", "text"));
  output.keep();
  EXPECT_EQ(test::contents(name + "/a"), "text");
  EXPECT_EQ(fs::status(name).permissions(), static_cast<fs::perms>(0750));
}

TEST_F(NewFolderTest, NewFolderHasThePermissionsOfAnyNewFolder) {
  mode_t const before = umask(027);
  NewFolder output(name);
  umask(before);
  output.keep();
  EXPECT_EQ(fs::status(name).permissions(), static_cast<fs::perms>(0750));
}

TEST_F(NewFolderTest, WhatIsThereIsRefused) {
  folder.file("out", "text");
  EXPECT_EQ(messageOf([&] { NewFolder const output(name); }), name + " exists and is not an empty folder");
  folder.file("full/a", "text");
  EXPECT_EQ(messageOf([&] { NewFolder const output(folder / "full/"); }),
            (folder / "full") + " exists and is not an empty folder");
  fs::create_symlink("full", folder / "link");
  EXPECT_EQ(messageOf([&] { NewFolder const output(folder / "link"); }),
            (folder / "link") + " exists and is not an empty folder");
  EXPECT_EQ(messageOf([&] { NewFolder const output(folder / "out/below"); }),
            "can't make folder " + (folder / "out/below") + ": Not a directory");
  EXPECT_EQ(test::entryCount(folder.path()), 3);
}

TEST_F(NewFolderTest, LinkToAnEmptyFolderStays) {
  folder.folder("inner/empty");
  fs::create_symlink("inner/empty", name);
  NewFolder output(name);
  EXPECT_EQ(fs::path(output.path()).parent_path(), fs::path(folder / "inner"));
  EXPECT_TRUE(files::replaceFile(output.path() + "/a", "text"));
  output.keep();
  EXPECT_TRUE(fs::is_symlink(name));
  EXPECT_EQ(test::contents(folder / "inner/empty/a"), "text");
}

TEST_F(NewFolderTest, MountedFileSystemIsRefusedBeforeTheRun) {
  test::SmallFileSystem const disk(65536);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  EXPECT_EQ(messageOf([&] { NewFolder const output(disk.path()); }),
            "can't make folder " + disk.path() + ": a file system is mounted on it");
}

TEST_F(NewFolderTest, WhatAppearsMeanwhileStays) {
  NewFolder output(name);
  folder.file("out/precious", "text");
  EXPECT_EQ(messageOf([&] { output.keep(); }), "can't make folder " + name + ": Directory not empty");
  EXPECT_EQ(test::contents(name + "/precious"), "text");
}

TEST_F(NewFolderTest, RootIsNoNewFolder) {
  EXPECT_EQ(messageOf([] { NewFolder const output("/"); }), "can't make folder /: No such file or directory");
}

TEST_F(NewFolderTest, PermissionsThatCantBeKeptAreReported) {
  folder.folder("out");
  NewFolder output(name);
  std::string message;
  {
    Interposed const system([](std::string const& function) { return function == "fchmod" ? EPERM : 0; });
    message = messageOf([&] { output.keep(); });
  }
  EXPECT_EQ(message, "can't make folder " + name + ": Operation not permitted");
}

// Two files, an inner folder and the folder are synced, then it is renamed, and the folder around is synced.
TEST_F(NewFolderTest, EachStepOfTheEndThatFailsIsReported) {
  for (int failing = 1; failing <= 5; ++failing) {
    NewFolder output(name);
    EXPECT_TRUE(files::replaceFile(output.path() + "/a", "text"));
    fs::create_directory(output.path() + "/inner");
    EXPECT_TRUE(files::replaceFile(output.path() + "/inner/b", "text"));
    int calls = 0;
    std::string message;
    {
      Interposed const system(
          [&](std::string const& function) { return function == "fsync" && ++calls == failing ? EIO : 0; });
      message = messageOf([&] { output.keep(); });
    }
    EXPECT_EQ(message, "can't make folder " + name + ": Input/output error") << failing;
    EXPECT_EQ(test::exists(name), failing == 5);
  }
}

}  // namespace
