// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Interposed.h"
#include "files/FileReplacement.h"
#include "files/NewFolder.h"
#include "files/WorkFolder.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using test::Interposed;
using test::Kind;
using test::withKind;

class Sweep : public testing::Test {
protected:
  // Runs `work` in a process that then is killed.
  template <typename Work>
  static void runAndKill(Work const& work) {
    pid_t const child = fork();
    if (child == 0) {
      work();
      raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
  }

  // What the folder holds, but for the target.
  std::vector<std::string> others() const {
    std::vector<std::string> names;
    for (fs::directory_entry const& entry : fs::directory_iterator(folder.path())) {
      if (entry.path() != name) {
        names.push_back(entry.path().filename().string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  // A temporary file with a name, of whatever file system.
  std::unique_ptr<files::FileReplacement> openNamed(std::string const& target) const {
    Interposed const system(withKind(Kind::Named, [](std::string const&) { return 0; }));
    return std::make_unique<files::FileReplacement>(target);
  }

  bool write() const { return files::replaceFile(name, "new"); }

  test::TempFolder folder;
  std::string name = folder / "file.txt";
};

TEST_F(Sweep, TemporaryNameIsHiddenRandomAndOfTheTarget) {
  auto const one = openNamed(name);
  auto const two = openNamed(name);
  auto const names = others();
  ASSERT_EQ(names.size(), 2U);
  for (std::string const& temporary : names) {
    EXPECT_EQ(temporary.size(), std::string(".file.txt.kes-aaaaaaaaaaaa.part").size());
    EXPECT_EQ(temporary.substr(0, 14), ".file.txt.kes-");
    EXPECT_EQ(temporary.substr(26), ".part");
    EXPECT_EQ(temporary.substr(14, 12).find_first_not_of("abcdefghijklmnopqrstuvwxyz234567"), std::string::npos);
  }
}

TEST_F(Sweep, FileOfAKilledRunIsRemoved) {
  runAndKill([&] { openNamed(name).release(); });
  EXPECT_EQ(others().size(), 1U);
  EXPECT_TRUE(write());
  EXPECT_TRUE(others().empty());
}

TEST_F(Sweep, WorkFolderOfAKilledRunIsRemovedWithWhatIsInIt) {
  runAndKill([&] {
    auto* const work = new files::WorkFolder(name);
    fs::create_directories(*work / "inner");
    files::replaceFile(*work / "inner/part", "text");
  });
  EXPECT_EQ(others().size(), 1U);
  EXPECT_TRUE(write());
  EXPECT_TRUE(others().empty());
}

TEST_F(Sweep, NewFolderOfAKilledRunIsRemoved) {
  runAndKill([&] { files::replaceFile((new files::NewFolder(name))->path() + "/part", "text"); });
  EXPECT_EQ(others().size(), 1U);
  files::NewFolder(name).keep();
  EXPECT_TRUE(fs::is_directory(name));
  EXPECT_TRUE(others().empty());
}

TEST_F(Sweep, LiveRunsOfThisAndOfAnotherProcessStay) {
  auto const file = openNamed(name);
  files::WorkFolder const work(name);
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  pid_t const child = fork();
  if (child == 0) {
    auto const other = openNamed(name);
    EXPECT_EQ(::write(ready[1], "x", 1), 1);
    pause();
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  EXPECT_EQ(others().size(), 3U);
  EXPECT_TRUE(write());
  EXPECT_EQ(others().size(), 3U);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(write());
  EXPECT_EQ(others().size(), 2U);
  file->write("last");
  EXPECT_TRUE(file->commit());
  EXPECT_EQ(test::contents(name), "last");
}

TEST_F(Sweep, LeftOversOfOtherTargetsStay) {
  for (char const* const other : {"file.tx", "file.txt2", "ile.txt", "file.txt.kes-aaaaaaaaaaaa.part", "FILE.TXT"}) {
    runAndKill([&] { openNamed(folder / other).release(); });
  }
  EXPECT_EQ(others().size(), 5U);
  EXPECT_TRUE(write());
  EXPECT_EQ(others().size(), 5U);
}

TEST_F(Sweep, FilesThatMerelyLookAlikeStay) {
  std::vector<std::string> alike = {
      ".file.txt.kes-aaaaaaaaaaa.part",    // eleven letters
      ".file.txt.kes-aaaaaaaaaaaaa.part",  // thirteen
      ".file.txt.kes-aaaaaaaaaaaA.part",   // a capital
      ".file.txt.kes-aaaaaaaaaaa1.part",   // a figure that isn't used
      ".file.txt.kes-aaaaaaaaaaaa.part~",  // more after it
      ".file.txt.kes-aaaaaaaaaaaa.parts",  //
      ".file.txt.kes-aaaaaaaaaaaa.par",    // less
      ".file.txt.kes-aaaaaaaaaaaa",        //
      "x.file.txt.kes-aaaaaaaaaaaa.part",  //
      "file.txt.kes-aaaaaaaaaaaa.part",    // not hidden
      ".file.txt.part",
  };
  for (std::string const& other : alike) {
    folder.file(other, "a user's");
  }
  std::sort(alike.begin(), alike.end());
  EXPECT_TRUE(write());
  EXPECT_EQ(others(), alike);
}

TEST_F(Sweep, LinksFifosAndFilesOfOthersStay) {
  folder.file("precious", "text");
  fs::create_symlink("precious", folder / ".file.txt.kes-aaaaaaaaaaaa.part");
  fs::create_directory_symlink(folder.folder("inner"), folder / ".file.txt.kes-bbbbbbbbbbbb.part");
  ASSERT_EQ(mkfifo((folder / ".file.txt.kes-cccccccccccc.part").c_str(), 0600), 0);
  std::size_t expected = 5;
  if (geteuid() == 0) {
    std::string const foreign = folder.file(".file.txt.kes-dddddddddddd.part", "text");
    ASSERT_EQ(chown(foreign.c_str(), 65534, 65534), 0);
    ++expected;
  }
  EXPECT_TRUE(write());
  EXPECT_EQ(others().size(), expected);
}

// Whether anybody has it can't be known there.
TEST_F(Sweep, NothingIsRemovedWhereThereAreNoLocks) {
  std::string const left = folder.file(".file.txt.kes-aaaaaaaaaaaa.part", "text");
  bool done = false;
  {
    Interposed const system([](std::string const& function) { return function == "flock" ? ENOLCK : 0; });
    done = write();
  }
  EXPECT_TRUE(done);
  EXPECT_TRUE(test::exists(left));
  EXPECT_TRUE(write());
  EXPECT_FALSE(test::exists(left));
}

TEST_F(Sweep, RefusedTargetSweepsNothing) {
  std::string const left = folder.file(".inner.kes-aaaaaaaaaaaa.part", "text");
  folder.folder("inner");
  EXPECT_FALSE(files::replaceFile(folder / "inner", "new"));
  EXPECT_TRUE(test::exists(left));
}

// Between the creation of an entry and its lock another process's sweep may take it.
TEST_F(Sweep, EntryThatASweepTookIsReplacedByAnother) {
  int locks = 0;
  bool done = false;
  {
    Interposed const system(withKind(Kind::Named, [&](std::string const& function) {
      return function == "flock" && ++locks == 1 ? EWOULDBLOCK : 0;
    }));
    done = write();
  }
  EXPECT_TRUE(done);
  EXPECT_EQ(locks, 2);
  EXPECT_TRUE(others().empty());
}

TEST_F(Sweep, EntryThatASweepRemovedIsReplacedByAnother) {
  int locks = 0;
  bool done = false;
  {
    Interposed const system(withKind(Kind::Named, [&](std::string const& function) {
      if (function == "flock" && ++locks == 1) {
        fs::remove(folder / others().front());
      }
      return 0;
    }));
    done = write();
  }
  EXPECT_TRUE(done);
  EXPECT_EQ(locks, 2);
  EXPECT_EQ(test::contents(name), "new");
}

TEST_F(Sweep, LongestNameOfAFileHasTemporaries) {
  name = folder / std::string(255, 'x');
  runAndKill([&] { openNamed(name).release(); });
  EXPECT_EQ(others().size(), 1U);
  runAndKill([&] { openNamed(folder / std::string(254, 'x')).release(); });
  EXPECT_EQ(others().size(), 2U);
  EXPECT_TRUE(write());
  EXPECT_EQ(others().size(), 1U);
}

}  // namespace
