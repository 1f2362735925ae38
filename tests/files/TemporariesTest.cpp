// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/Temporaries.h"

#include "Interposed.h"
#include "files/FileReplacement.h"
#include "files/NewFolder.h"
#include "files/WorkFolder.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

using test::Interposed;
using test::Kind;
using test::withKind;

// The removal is for the end of a process: so each test runs it in a child, which returns what was wrong.
class Temporaries : public testing::Test {
protected:
  static int inChild(std::function<bool()> const& work) {
    pid_t const child = fork();
    if (child == 0) {
      _exit(work() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }

  test::TempFolder folder;
  std::string name = folder / "file";
};

TEST_F(Temporaries, AllKindsAreRemovedAndFinishedFilesStay) {
  folder.file("file", "old");
  EXPECT_EQ(inChild([&] {
              Interposed const system(withKind(Kind::Named, [](std::string const&) { return 0; }));
              new files::FileReplacement(name);
              files::replaceFile(*new files::WorkFolder(name) / "part", "text");
              files::replaceFile((new files::NewFolder(folder / "out"))->path() + "/part", "text");
              files::NewFolder kept(folder / "kept");
              kept.keep();
              bool const before = test::entryCount(folder.path()) == 5;
              files::removeTemporaries();
              return before;
            }),
            0);
  EXPECT_EQ(test::entryCount(folder.path()), 2);
  EXPECT_EQ(test::contents(name), "old");
  EXPECT_TRUE(fs::is_directory(folder / "kept"));
}

TEST_F(Temporaries, WritersFailAfterTheRemovalAndTheOldFileStays) {
  folder.file("file", "old");
  EXPECT_EQ(inChild([&] {
              files::FileReplacement open(name);
              open.write("new");
              files::removeTemporaries();
              bool refused = false;
              try {
                files::WorkFolder const work(name);
              } catch (std::runtime_error const& error) {
                refused = error.what() == "can't write " + name + ": Operation canceled";
              }
              return refused && !open.commit() && !files::replaceFile(name, "new");
            }),
            0);
  EXPECT_EQ(test::contents(name), "old");
  EXPECT_EQ(test::entryCount(folder.path()), 1);
}

TEST_F(Temporaries, ThreadsThatWriteMeanwhileLeaveNothing) {
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(inChild([&] {
                std::vector<std::thread> threads;
                std::atomic<int> started = 0;
                for (int i = 0; i < 4; ++i) {
                  threads.emplace_back([&, i] {
                    Interposed const system(withKind(Kind::Named, [](std::string const&) { return 0; }));
                    for (int count = 0; true; ++count) {
                      files::replaceFile(name, "new");
                      try {
                        files::WorkFolder const work(folder / ("out" + std::to_string(i)));
                        files::replaceFile(work / std::to_string(count), "text");
                      } catch (std::runtime_error const&) {
                        // After the removal.
                      }
                      ++started;
                    }
                  });
                }
                while (started < 20) {
                  std::this_thread::yield();
                }
                files::removeTemporaries();
                _exit(0);
                return true;
              }),
              0);
    EXPECT_EQ(test::entryCount(folder.path()), 1);
    EXPECT_EQ(test::contents(name), "new");
  }
}

}  // namespace
