// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Interposed.h"
#include "files/FileReplacement.h"
#include "support/ResourceLimit.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using test::Interposed;
using test::Kind;
using test::withKind;

// More than the buffer holds, so that it is written in several calls.
std::string const newText(200000, 'n');

void writeNew(std::string const& name, bool* done) {
  files::FileReplacement file(name);
  for (std::size_t at = 0; at < newText.size(); at += 50000) {
    file.write(std::string_view(newText).substr(at, 50000));
  }
  *done = file.commit();
}

struct Case {
  Kind kind;
  bool hasOld;
};

void PrintTo(Case const& c, std::ostream* out) {
  *out << (c.kind == Kind::Named ? "named" : "unnamed") << (c.hasOld ? " over an old file" : " without an old file");
}

class Faults : public testing::TestWithParam<Case> {
protected:
  Faults() { reset(); }

  void reset() {
    unlink(name.c_str());
    if (GetParam().hasOld) {
      folder.file("file", "old");
    }
  }

  // The old file, or nothing where there was none.
  bool isOld() const {
    return GetParam().hasOld ? test::exists(name) && test::contents(name) == "old" : !test::exists(name);
  }
  bool isNew() const { return test::exists(name) && test::contents(name) == newText; }
  int entries() const { return test::entryCount(folder.path()); }

  // How many calls a replacement makes that nothing disturbs.
  int callCount() {
    int count = 0;
    bool done = false;
    {
      Interposed const system(withKind(GetParam().kind, [&](std::string const&) { return ++count, 0; }));
      writeNew(name, &done);
    }
    EXPECT_TRUE(done);
    EXPECT_TRUE(isNew());
    return count;
  }

  test::TempFolder folder;
  std::string name = folder / "file";
};

TEST_P(Faults, CallThatFailsLeavesOldOrNewFileWholeAndIsReported) {
  int const calls = callCount();
  ASSERT_GT(calls, 5);
  for (int const error : {ENOSPC, EIO}) {
    for (int failing = 1; failing <= calls; ++failing) {
      reset();
      std::string failed;
      bool done = false;
      {
        int count = 0;
        Interposed const system(withKind(GetParam().kind, [&](std::string const& function) {
          bool const now = ++count == failing;
          failed = now ? function : failed;
          return now ? error : 0;
        }));
        writeNew(name, &done);
      }
      std::string const what = "call " + std::to_string(failing) + ", " + failed;
      // Without locks, or unnamed files, all goes on; what is closed at the end was safe before.
      bool const mayBeDone = failed == "flock" || failed == "open unnamed" || failed == "close" || failed == "open";
      EXPECT_TRUE(done ? isNew() && mayBeDone : isOld() || (isNew() && (failed == "fsync" || failed == "open")))
          << what;
      EXPECT_EQ(entries(), isNew() || GetParam().hasOld ? 1 : 0) << what;
    }
  }
}

TEST_P(Faults, InterruptedCallIsRepeated) {
  int const calls = callCount();
  for (int failing = 1; failing <= calls; ++failing) {
    reset();
    bool done = false;
    std::string failed;
    {
      int count = 0;
      Interposed const system(withKind(GetParam().kind, [&](std::string const& function) {
        bool const now = ++count == failing && function != "close" && function != "linkat" && function != "rename" &&
                         function != "fchmod";
        failed = now ? function : failed;
        return now ? EINTR : 0;
      }));
      writeNew(name, &done);
    }
    EXPECT_TRUE(done && isNew()) << "call " << failing << ", " << failed;
  }
}

TEST_P(Faults, FailedSyncOfTheFileKeepsTheOldOne) {
  bool done = true;
  {
    int syncs = 0;
    Interposed const system(withKind(
        GetParam().kind, [&](std::string const& function) { return function == "fsync" && ++syncs == 1 ? EIO : 0; }));
    writeNew(name, &done);
  }
  EXPECT_FALSE(done);
  EXPECT_TRUE(isOld());
}

TEST_P(Faults, FailedSyncOfTheFolderIsReported) {
  bool done = true;
  {
    int syncs = 0;
    Interposed const system(withKind(
        GetParam().kind, [&](std::string const& function) { return function == "fsync" && ++syncs == 2 ? EIO : 0; }));
    writeNew(name, &done);
  }
  EXPECT_FALSE(done);
  EXPECT_TRUE(isNew());
}

TEST_P(Faults, FolderThatCantBeSyncedNeedsNoSync) {
  bool done = false;
  {
    int syncs = 0;
    Interposed const system(withKind(GetParam().kind, [&](std::string const& function) {
      return function == "fsync" && ++syncs == 2 ? EINVAL : 0;
    }));
    writeNew(name, &done);
  }
  EXPECT_TRUE(done);
}

TEST_P(Faults, CloseThatFailsBeforeTheRenameKeepsTheOldFile) {
  bool done = true;
  {
    bool isSynced = false;
    bool hasFailed = false;
    Interposed const system(withKind(GetParam().kind, [&](std::string const& function) {
      isSynced = isSynced || function == "fsync";
      bool const fails = isSynced && !hasFailed && function == "close";
      hasFailed = hasFailed || fails;
      return fails ? ENOSPC : 0;
    }));
    writeNew(name, &done);
  }
  EXPECT_FALSE(done);
  EXPECT_TRUE(isOld());
}

// The close that may report a failed write needs another number of the file.
TEST_P(Faults, ProcessWithTooManyOpenFilesLeavesWhatWasThere) {
  bool done = true;
  {
    Interposed const system(withKind(GetParam().kind, [](std::string const&) { return 0; }));
    files::FileReplacement file(name);
    file.write(newText);
    test::ResourceLimit const noMoreFiles(RLIMIT_NOFILE, 0);
    done = file.commit();
  }
  EXPECT_FALSE(done);
  EXPECT_TRUE(isOld());
  EXPECT_EQ(entries(), GetParam().hasOld ? 1 : 0);
}

TEST_P(Faults, PartlyDoneWriteGoesOn) {
  bool done = false;
  {
    Interposed const system(withKind(
        GetParam().kind, [](std::string const& function) { return function == "write" ? Interposed::shortWrite : 0; }));
    writeNew(name, &done);
  }
  EXPECT_TRUE(done);
  EXPECT_TRUE(isNew());
}

TEST_P(Faults, KilledProcessLeavesOldOrNewFileWholeAndNothingAfterTheNextWriter) {
  int const calls = callCount();
  for (int last = 1; last <= calls; ++last) {
    reset();
    pid_t const child = fork();
    if (child == 0) {
      int count = 0;
      bool done = false;
      Interposed const system(withKind(GetParam().kind, [&](std::string const&) {
        if (++count == last) {
          raise(SIGKILL);
        }
        return 0;
      }));
      writeNew(name, &done);
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status)) << last;
    EXPECT_TRUE(isOld() || isNew()) << last;
    if (GetParam().kind == Kind::Unnamed && !GetParam().hasOld) {
      EXPECT_EQ(entries(), isNew() ? 1 : 0) << last;
    }
    EXPECT_TRUE(files::replaceFile(name, "next"));
    EXPECT_EQ(test::contents(name), "next");
    EXPECT_EQ(entries(), 1) << last;
  }
}

INSTANTIATE_TEST_SUITE_P(FileReplacement, Faults,
                         testing::Values(Case{Kind::Unnamed, true}, Case{Kind::Unnamed, false}, Case{Kind::Named, true},
                                         Case{Kind::Named, false}),
                         [](auto const& instance) {
                           return std::string(instance.param.kind == Kind::Named ? "Named" : "Unnamed") +
                                  (instance.param.hasOld ? "OverOld" : "Alone");
                         });

}  // namespace
