// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ChangeJournal.h"

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using kesadjust::ChangeJournal;

void write(std::string const& file, std::string const& text) {
  std::ofstream(file) << text;
}

/// Runs in a child process, which is killed where it raises SIGKILL.
template <class Work>
void killedIn(Work const& work) {
  pid_t const child = fork();
  if (child == 0) {
    work();
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
}

class AChangeJournal : public testing::Test {
protected:
  AChangeJournal() { mCopies = mFolder.folder("copies"); }

  std::string file() const { return mFolder / "block.adjusting"; }

  /// A process that dies when it has changed an old file, and made a new one and a folder.
  void changeAndDie() {
    mOld = mFolder.file("strip.stp", "old");
    mNew = mFolder / "flight.adj";
    mNewFolder = mFolder / "v002";
    killedIn([&] {
      ChangeJournal journal(file(), mCopies);
      for (std::string const& name : {mOld, mNew, mNewFolder}) {
        journal.keep(name);
      }
      journal.begin();
      write(mOld, "changed");
      write(mNew, "new");
      fs::create_directory(mNewFolder);
      write(mNewFolder + "/PANF27A.cam", "new");
      raise(SIGKILL);
    });
  }

  void expectAllAsBefore() const {
    EXPECT_EQ(test::contents(mOld), "old");
    EXPECT_FALSE(test::exists(mNew));
    EXPECT_FALSE(test::exists(mNewFolder));
    EXPECT_FALSE(test::exists(file()));
  }

  test::TempFolder mFolder;
  std::string mCopies;
  std::string mOld;
  std::string mNew;
  std::string mNewFolder;
};

TEST_F(AChangeJournal, GivesBackWhatAKilledProcessChanged) {
  changeAndDie();
  EXPECT_EQ(test::contents(mOld), "changed");
  EXPECT_TRUE(ChangeJournal::undo(file()));
  expectAllAsBefore();
  EXPECT_FALSE(ChangeJournal::undo(file()));
}

// Killed while it undoes, too.
TEST_F(AChangeJournal, UndoesOnceMoreWhatIsUndoneInPart) {
  changeAndDie();
  write(mOld, "old");
  fs::remove(mNew);
  EXPECT_TRUE(ChangeJournal::undo(file()));
  expectAllAsBefore();
}

TEST_F(AChangeJournal, StaysWhenACopyIsMissing) {
  changeAndDie();
  fs::remove(mCopies + "/1-strip.stp");
  EXPECT_MESSAGE(ChangeJournal::undo(file()), "can't restore " + mOld + " from " + mCopies + "/1-strip.stp");
  EXPECT_EQ(test::contents(mOld), "changed");
  EXPECT_TRUE(test::exists(file()));
}

// Its process was killed before anything changed.
TEST_F(AChangeJournal, IsRemovedWhenItIsCut) {
  changeAndDie();
  fs::resize_file(file(), fs::file_size(file()) / 2);
  EXPECT_TRUE(ChangeJournal::undo(file()));
  EXPECT_EQ(test::contents(mOld), "changed");
  EXPECT_FALSE(test::exists(file()));
}

// Whoever delivers a block could name any file of the user there.
TEST_F(AChangeJournal, IsRefusedFromElsewhere) {
  changeAndDie();
  std::string const copy = mFolder / "other.adjusting";
  fs::copy_file(file(), copy);
  EXPECT_MESSAGE(ChangeJournal::undo(copy), copy + " is a copy: only the original can undo an interrupted update");
  EXPECT_EQ(test::contents(mOld), "changed");
  EXPECT_EQ(test::contents(mNew), "new");
}

TEST_F(AChangeJournal, ChangesStayOnceItIsFinished) {
  std::string const old = mFolder.file("strip.stp", "old");
  ChangeJournal journal(file(), mCopies);
  journal.keep(old);
  journal.begin();
  EXPECT_TRUE(test::exists(file()));
  write(old, "changed");
  journal.finish();
  journal.undo();
  EXPECT_FALSE(ChangeJournal::undo(file()));
  EXPECT_EQ(test::contents(old), "changed");
}

TEST_F(AChangeJournal, DoesntBeginOverAnother) {
  changeAndDie();
  std::string const before = test::contents(file());
  ChangeJournal journal(file(), mCopies);
  EXPECT_MESSAGE(journal.begin(), "can't write " + file() + ": File exists");
  EXPECT_EQ(test::contents(file()), before);
}

TEST_F(AChangeJournal, SaysWhenAFileCantBeCopied) {
  std::string const old = mFolder.file("strip.stp", "old");
  fs::remove(mCopies);
  ChangeJournal journal(file(), mCopies);
  EXPECT_MESSAGE(journal.keep(old), "can't copy " + old + " to " + mCopies + "/1-strip.stp");
}

TEST_F(AChangeJournal, UndoesOnAFullDisk) {
  test::SmallFileSystem const disk(1 << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted";
  }
  std::string const old = disk / "flight.adj";
  std::string const contents(300000, 'a');
  write(old, contents);
  ChangeJournal journal(file(), mCopies);
  journal.keep(old);
  journal.begin();
  write(old, std::string(300000, 'b'));
  disk.fill();
  journal.undo();
  EXPECT_EQ(test::contents(old), contents);
}

}  // namespace
