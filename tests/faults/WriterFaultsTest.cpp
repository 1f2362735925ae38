// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "FaultRun.h"
#include "WriterTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>

// Every writer, with each call that may fail failing. What stands at its end is the old file or the new one, and the
// failure is reported. KESSENSOR_ALL_FAULTS=1 tries every call, without it some of the many.

namespace {

using faults::Fault;
using faults::Files;
using faults::Outcome;
using faults::Writer;

bool triesAll() {
  return std::getenv("KESSENSOR_ALL_FAULTS") != nullptr;
}

// All of the calls 1 to `count`, or the first, the last and some between.
std::set<int> chosen(int count, int most) {
  std::set<int> numbers;
  int const number = triesAll() ? count : std::min(count, most);
  for (int i = 1; i <= number; ++i) {
    numbers.insert(number == 1 ? count : 1 + (i - 1) * (count - 1) / (number - 1));
  }
  return numbers;
}

std::set<std::string> namesOf(Files const& a, Files const& b) {
  std::set<std::string> names;
  for (Files const* files : {&a, &b}) {
    for (auto const& [name, contents] : *files) {
      names.insert(name);
    }
  }
  return names;
}

bool hasSame(Files const& a, Files const& b, std::string const& name) {
  auto const inA = a.find(name);
  auto const inB = b.find(name);
  return inA == a.end() || inB == b.end() ? (inA == a.end()) == (inB == b.end()) : inA->second == inB->second;
}

std::string difference(Files const& a, Files const& b) {
  std::string text;
  for (std::string const& name : namesOf(a, b)) {
    if (!hasSame(a, b, name)) {
      text += name + (a.count(name) == 0 ? " is there; " : b.count(name) == 0 ? " is missing; " : " differs; ");
    }
  }
  return text;
}

class WriterFaults : public testing::TestWithParam<Writer> {
protected:
  void prepare(std::string const& folder, Files const& old) {
    mFolder = folder;
    mOld = old;
    faults::restore(mFolder, mOld);
    Outcome const outcome = run({});
    ASSERT_EQ(outcome.code, GetParam().code) << outcome.messages;
    mCalls = outcome.calls;
    mNew = faults::filesBelow(mFolder);
    faults::restore(mFolder, mOld);
  }

  Outcome run(Fault const& fault) const { return faults::run(GetParam().command(mFolder), mFolder, fault); }

  bool isWhole(Files const& files, std::string const& name) const {
    auto const file = files.find(name);
    return hasSame(files, mOld, name) || hasSame(files, mNew, name) ||
           (file != files.end() && GetParam().isWhole && GetParam().isWhole(name, file->second));
  }

  // What has neither an old nor a new version is a temporary file.
  void expectWholeFiles(Files const& files, bool temporariesMayStay) const {
    if (GetParam().isAtOnce && !temporariesMayStay) {
      EXPECT_TRUE(files == mOld || files == mNew) << "against before: " << difference(mOld, files);
      return;
    }
    for (std::string const& name : namesOf(mOld, mNew)) {
      EXPECT_TRUE(isWhole(files, name)) << name << " is neither the old nor the new file";
    }
    for (auto const& [name, contents] : files) {
      EXPECT_TRUE(temporariesMayStay || mOld.count(name) + mNew.count(name) > 0) << name << " was left behind";
    }
  }

  void expectPromise(Outcome const& outcome) const {
    Files const files = faults::filesBelow(mFolder);
    if (outcome.code == 0 && !GetParam().reportsFailures) {
      expectWholeFiles(files, false);
    } else if (outcome.code == 0 && GetParam().code == 0) {
      EXPECT_TRUE(files == mNew) << "success was reported, but " << difference(mNew, files);
    } else {
      EXPECT_EQ(outcome.code, 1) << outcome.messages;
      expectWholeFiles(files, false);
    }
  }

  void tryFault(Fault const& fault) const {
    SCOPED_TRACE(textOf(fault));
    Outcome const outcome = run(fault);
    if (outcome.happened) {
      bool const isInterruption = fault.error == EINTR;
      if (isInterruption && GetParam().survivesInterruption) {
        EXPECT_EQ(outcome.code, GetParam().code) << outcome.messages;
      } else if (fault.call == faults::SYNC && !isInterruption && GetParam().reportsEverySync) {
        EXPECT_EQ(outcome.code, 1) << "the failure wasn't reported";
      }
    }
    expectPromise(outcome);
    faults::restore(mFolder, mOld);
  }

  void tryKill(int number) const {
    Fault const fault{faults::anyCall, number, faults::killed};
    SCOPED_TRACE(textOf(fault));
    Outcome const outcome = run(fault);
    EXPECT_EQ(outcome.code, outcome.happened ? -SIGKILL : GetParam().code);
    Files files = faults::filesBelow(mFolder);
    expectWholeFiles(files, outcome.happened);
    if (GetParam().refusesOldOutput) {
      for (auto const& [name, contents] : mNew) {
        if (mOld.count(name) == 0) {
          files.erase(name);
        }
      }
      faults::restore(mFolder, files);
    }
    Outcome const next = run({});
    EXPECT_EQ(next.code, GetParam().code) << next.messages;
    Files const after = faults::filesBelow(mFolder);
    EXPECT_TRUE(after == mNew) << "the next run doesn't clear up: " << difference(mNew, after);
    faults::restore(mFolder, mOld);
  }

  std::string mFolder;
  Files mOld;
  Files mNew;
  std::array<int, faults::numCalls> mCalls{};
};

Files filesOf(Writer const& writer) {
  test::TempFolder const folder;
  writer.prepare(folder);
  return faults::filesBelow(folder.path());
}

TEST_P(WriterFaults, FailingCallLeavesTheOldFileOrTheNewOneAndIsReported) {
  test::TempFolder const folder;
  ASSERT_NO_FATAL_FAILURE(prepare(folder.path(), filesOf(GetParam())));
  EXPECT_GT(mCalls[faults::OPEN], 0);
  for (int call = 0; call < faults::numCalls; ++call) {
    for (int const number : chosen(mCalls[static_cast<std::size_t>(call)], GetParam().sample)) {
      for (int const error : {ENOSPC, EIO, EINTR}) {
        bool const isOtherError = error != EINTR && (error == EIO) != (number % 2 == 0);
        bool const isPossible = error != EINTR || call != faults::RENAME;
        if (isPossible && (triesAll() || !isOtherError)) {
          tryFault({call, number, error});
        }
      }
    }
  }
}

TEST_P(WriterFaults, KilledRunLeavesWholeFilesAndTheNextRunClearsUp) {
  test::TempFolder const folder;
  ASSERT_NO_FATAL_FAILURE(prepare(folder.path(), filesOf(GetParam())));
  int count = 0;
  for (int const calls : mCalls) {
    count += calls;
  }
  for (int const number : chosen(count, 2 * GetParam().sample)) {
    tryKill(number);
  }
}

TEST_P(WriterFaults, FullDiskLeavesTheOldFileOrTheNewOneAndIsReported) {
  Files const old = filesOf(GetParam());
  constexpr std::int64_t page = 4096;
  test::SmallFileSystem const disk(std::int64_t{16} << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  std::filesystem::create_directory(disk / "work");
  ASSERT_NO_FATAL_FAILURE(prepare(disk / "work", old));
  std::int64_t size = 0;
  for (auto const& [name, contents] : mNew) {
    size += hasSame(mOld, mNew, name) ? 0 : (static_cast<std::int64_t>(contents.size()) / page + 1) * page;
  }
  for (std::int64_t const room : {std::int64_t{0}, page, size / 2 / page * page, size - page}) {
    SCOPED_TRACE(std::to_string(room) + " bytes have room");
    disk.fill(std::max<std::int64_t>(room, 0));
    expectPromise(run({}));
    std::filesystem::remove(disk / "filler");
    faults::restore(mFolder, mOld);
  }
}

// A folder on a small disk for as long as this lives.
class FolderOnDisk {
public:
  explicit FolderOnDisk(test::SmallFileSystem const& disk) {
    char const* const before = std::getenv("TMPDIR");
    std::string const old = before == nullptr ? "/tmp" : before;
    setenv("TMPDIR", disk.path().c_str(), 1);
    mFolder.emplace();
    setenv("TMPDIR", old.c_str(), 1);
  }
  test::TempFolder const& operator*() const { return *mFolder; }

private:
  std::optional<test::TempFolder> mFolder;
};

class PlanFaults : public testing::TestWithParam<Writer> {};

// A plan names its inputs by path and time, so that these are made on the small disk and stay there.
TEST_P(PlanFaults, FullDiskIsReportedLeavesWholeFilesAndTheNextRunGoesOn) {
  test::SmallFileSystem const disk(std::int64_t{16} << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  FolderOnDisk const onDisk(disk);
  std::string const folder = (*onDisk).path();
  ASSERT_NO_FATAL_FAILURE(GetParam().prepare(*onDisk));
  Files const old = faults::filesBelow(folder);
  disk.fill();
  Outcome const failed = faults::run(GetParam().command(folder), folder);
  EXPECT_EQ(failed.code, 1);
  EXPECT_THAT(failed.messages, testing::HasSubstr("kes: error: "));
  // The folder of the tiles may be there already.
  Files left = faults::filesBelow(folder);
  std::erase_if(left, [&](auto const& file) { return file.first.back() == '/' && old.count(file.first) == 0; });
  EXPECT_TRUE(left == old) << difference(old, left);
  std::filesystem::remove(disk / "filler");
  Outcome const next = faults::run(GetParam().command(folder), folder);
  EXPECT_EQ(next.code, 0) << next.messages;
  EXPECT_FALSE(faults::filesBelow(folder) == old);
}

std::string nameOf(testing::TestParamInfo<Writer> const& instance) {
  std::string name = instance.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Library, WriterFaults, testing::ValuesIn(faults::libraryWriters()), nameOf);
INSTANTIATE_TEST_SUITE_P(Plan, PlanFaults, testing::ValuesIn(faults::planWriters()), nameOf);
INSTANTIATE_TEST_SUITE_P(Tool, WriterFaults, testing::ValuesIn(faults::toolWriters()), nameOf);

}  // namespace
