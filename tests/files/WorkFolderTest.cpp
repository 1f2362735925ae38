// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/WorkFolder.h"

#include "Interposed.h"
#include "files/FileReplacement.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using files::WorkFolder;
using test::Interposed;
using test::messageOf;

class WorkFolderTest : public testing::Test {
protected:
  test::TempFolder folder;
  std::string name = folder / "file";
};

TEST_F(WorkFolderTest, HoldsFilesForThisUserUntilOneIsMovedOut) {
  {
    WorkFolder const work(name);
    EXPECT_EQ(fs::path(work / "a").parent_path().parent_path(), fs::path(folder.path()));
    EXPECT_EQ(fs::status(fs::path(work / "a").parent_path()).permissions(), fs::perms::owner_all);
    EXPECT_TRUE(files::replaceFile(work / "a", "new"));
    EXPECT_TRUE(files::replaceFile(work / "b", "other"));
    EXPECT_FALSE(test::exists(name));
    work.moveOut("a");
    EXPECT_EQ(test::contents(name), "new");
    EXPECT_TRUE(test::exists(work / "b"));
  }
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(WorkFolderTest, WithoutAMoveTheOldFileStays) {
  folder.file("file", "old");
  {
    WorkFolder const work(name);
    EXPECT_TRUE(files::replaceFile(work / "a", "new"));
  }
  EXPECT_EQ(test::contents(name), "old");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(WorkFolderTest, PermissionsOfTheOldFileStay) {
  folder.file("file", "old");
  ASSERT_EQ(chmod(name.c_str(), 0604), 0);
  WorkFolder const work(name);
  EXPECT_TRUE(files::replaceFile(work / "a", "new"));
  work.moveOut("a");
  EXPECT_EQ(fs::status(name).permissions(), static_cast<fs::perms>(0604));
}

TEST_F(WorkFolderTest, LinkStaysAndItsFileIsReplaced) {
  std::string const target = folder.file("inner/target", "old");
  fs::create_symlink("inner/target", name);
  {
    WorkFolder const work(name);
    EXPECT_EQ(fs::path(work / "a").parent_path().parent_path(), fs::path(folder / "inner"));
    EXPECT_TRUE(files::replaceFile(work / "a", "new"));
    work.moveOut("a");
  }
  EXPECT_TRUE(fs::is_symlink(name));
  EXPECT_EQ(test::contents(target), "new");
  EXPECT_EQ(test::entryCount(folder / "inner"), 1);
}

TEST_F(WorkFolderTest, PlaceThatIsNoFileIsRefused) {
  std::string const inner = folder.folder("inner");
  ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
  auto const refusal = [](std::string const& place) { return messageOf([&] { WorkFolder const work(place); }); };
  EXPECT_EQ(refusal(inner), "can't write " + inner + ": it is a folder");
  EXPECT_EQ(refusal(folder / "fifo"), "can't write " + (folder / "fifo") + ": it is no regular file");
  EXPECT_EQ(refusal("/dev/null"), "can't write /dev/null: it is no regular file");
  EXPECT_EQ(refusal(folder / "missing/file"),
            "can't write " + (folder / "missing/file") + ": No such file or directory");
  EXPECT_EQ(refusal(""), "can't write : No such file or directory");
  EXPECT_EQ(test::entryCount(folder.path()), 2);
}

TEST_F(WorkFolderTest, PlaceThatCantBeReachedIsRefused) {
  std::string const below = folder.file("plain", "") + "/file";
  EXPECT_EQ(messageOf([&] { WorkFolder const work(below); }), "can't write " + below + ": Not a directory");
  std::string const loop = folder / "a";
  fs::create_symlink("b", loop);
  fs::create_symlink("a", folder / "b");
  EXPECT_EQ(messageOf([&] { WorkFolder const work(loop); }),
            "can't write " + loop + ": Too many levels of symbolic links");
}

TEST_F(WorkFolderTest, PlaceThatBecameAFolderMeanwhileIsRefused) {
  WorkFolder const work(name);
  EXPECT_TRUE(files::replaceFile(work / "a", "new"));
  folder.folder("file");
  EXPECT_EQ(messageOf([&] { work.moveOut("a"); }), "can't write " + name + ": it is a folder");
  EXPECT_TRUE(fs::is_directory(name));
}

TEST_F(WorkFolderTest, FileThatIsMissingCantBeMovedOut) {
  folder.file("file", "old");
  WorkFolder const work(name);
  EXPECT_EQ(messageOf([&] { work.moveOut("a"); }), "can't write " + name + ": No such file or directory");
  EXPECT_EQ(test::contents(name), "old");
}

// The file is synced, closed and renamed, and then the folder is synced.
TEST_F(WorkFolderTest, EachStepOfTheMoveThatFailsIsReported) {
  struct Step {
    char const* function;
    int nth;
    char const* result;
  };
  for (Step const& step : {Step{"fsync", 1, "old"}, Step{"close", 1, "old"}, Step{"rename", 1, "old"},
                           Step{"fchmod", 1, "old"}, Step{"fsync", 2, "new"}}) {
    folder.file("file", "old");
    WorkFolder const work(name);
    EXPECT_TRUE(files::replaceFile(work / "a", "new"));
    int calls = 0;
    std::string message;
    {
      Interposed const system(
          [&](std::string const& function) { return function == step.function && ++calls == step.nth ? EIO : 0; });
      message = messageOf([&] { work.moveOut("a"); });
    }
    EXPECT_EQ(message, "can't write " + name + ": Input/output error") << step.function;
    EXPECT_EQ(test::contents(name), step.result) << step.function;
  }
}

TEST_F(WorkFolderTest, FolderThatCantBeOpenedDoesntStay) {
  std::string message;
  {
    Interposed const system([](std::string const& function) { return function == "open" ? EMFILE : 0; });
    message = messageOf([&] { WorkFolder const work(name); });
  }
  EXPECT_EQ(message, "can't write " + name + ": Too many open files");
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

TEST_F(WorkFolderTest, FolderThatASweepRemovedBeforeItsLockIsReplacedByAnother) {
  int opened = 0;
  Interposed const system([&](std::string const& function) {
    if (function == "open" && ++opened == 1) {
      fs::remove(fs::directory_iterator(folder.path())->path());
    }
    return 0;
  });
  WorkFolder const work(name);
  EXPECT_EQ(opened, 2);
  EXPECT_TRUE(fs::is_directory(fs::path(work / "a").parent_path()));
}

TEST_F(WorkFolderTest, SystemThatTakesEveryNameForUsedIsAskedAHundredTimes) {
  int calls = 0;
  std::string message;
  {
    Interposed const system(
        [&](std::string const& function) { return function == "mkdir" && ++calls > 0 ? EEXIST : 0; });
    message = messageOf([&] { WorkFolder const work(name); });
  }
  EXPECT_EQ(message, "can't write " + name + ": File exists");
  EXPECT_EQ(calls, 100);
}

TEST_F(WorkFolderTest, DiskWithoutRoomIsReported) {
  Interposed const system([](std::string const& function) { return function == "mkdir" ? ENOSPC : 0; });
  EXPECT_EQ(messageOf([&] { WorkFolder const work(name); }), "can't write " + name + ": No space left on device");
}

}  // namespace
