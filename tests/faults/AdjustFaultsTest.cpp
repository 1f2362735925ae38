// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "FaultRun.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <numeric>

// `kes adjust` changes all strips of a block and their camera, or nothing, whatever fails.

namespace {

namespace fs = std::filesystem;
using faults::Fault;
using faults::Files;
using faults::Outcome;
using testing::HasSubstr;

constexpr int sample = 12;  // of the calls

/// What killed writers leave, which the next writer of the same file removes.
bool isTemporary(std::string const& name) {
  return name.find(".kes-") != std::string::npos;
}

class AdjustFaults : public testing::Test {
protected:
  void SetUp() override {
    if (std::string(KES_PROGRAM).empty()) {
      GTEST_SKIP() << "the tool isn't built";
    }
    prepare(mFolder.path());
  }

  void prepare(std::string const& folder) {
    mRoot = folder;
    Outcome const made = faults::run({KES_PROGRAM, "simulate",  block(),     "--dem",    KESSENSOR_TERRAIN,
                                      "--strips",  "2",         "--overlap", "80",       "--lines",
                                      "2500",      "--samples", "200",       "--height", "1000",
                                      "--control", "3",         "--check",   "1",        "--ties",
                                      "2"},
                                     folder);
    ASSERT_EQ(made.code, 0) << made.messages;
    mOld = faults::filesBelow(block());
  }

  std::string block() const { return mRoot + "/block"; }
  std::string out() const { return mRoot + "/out"; }

  /// A run with a fault among its calls below a folder.
  Outcome adjust(std::string const& folder, Fault const& fault = {}) const {
    return faults::run({KES_PROGRAM, "adjust", block() + "/block.blf", "--free", "boresight,focal=1e-5", "-o", out()},
                       folder, fault);
  }
  Outcome plan() const { return faults::run({KES_PROGRAM, "adjust", block() + "/block.blf", "--dry-run"}, block()); }
  Files files() const {
    Files files = faults::filesBelow(block());
    std::erase_if(files, [](auto const& file) { return isTemporary(file.first); });
    return files;
  }
  void again() const {
    fs::remove_all(out());
    faults::restore(block(), mOld);
  }

  std::string differences() const {
    Files const now = files();
    std::string text;
    for (auto const& [name, contents] : mOld) {
      text += now.count(name) == 0 ? name + " is missing; " : now.at(name) == contents ? "" : name + " differs; ";
    }
    for (auto const& [name, contents] : now) {
      text += mOld.count(name) == 0 ? name + " is there; " : "";
    }
    return text;
  }

  test::TempFolder mFolder;
  std::string mRoot;
  Files mOld;
};

std::vector<int> chosen(int count) {
  std::vector<int> numbers;
  for (int i = 0; i < std::min(count, sample); ++i) {
    numbers.push_back(1 + i * (count - 1) / std::max(1, std::min(count, sample) - 1));
  }
  return numbers;
}

TEST_F(AdjustFaults, NextRunUndoesWhatAKilledOneHasChanged) {
  Outcome const whole = adjust(block());
  ASSERT_EQ(whole.code, 0) << whole.messages;
  std::string const allOfIt = differences();
  EXPECT_NE(allOfIt, "");
  EXPECT_FALSE(fs::exists(block() + "/block.blf.adjusting"));
  again();
  int undone = 0;
  for (int const number : chosen(std::accumulate(whole.calls.begin(), whole.calls.end(), 0))) {
    Fault const fault{faults::anyCall, number, faults::killed};
    SCOPED_TRACE(textOf(fault));
    EXPECT_EQ(adjust(block(), fault).code, -SIGKILL);
    bool const isBegun = fs::exists(block() + "/block.blf.adjusting");
    Outcome const next = plan();
    EXPECT_EQ(next.code, 0) << next.messages;
    EXPECT_EQ(next.messages.find("was interrupted; its strips and cameras are again what they were before") !=
                  std::string::npos,
              isBegun);
    // All of it, when only the removal of the journal was still to be synced.
    EXPECT_TRUE(differences().empty() || (!isBegun && differences() == allOfIt)) << differences();
    undone += isBegun;
    again();
  }
  EXPECT_GT(undone, sample / 2);
}

TEST_F(AdjustFaults, FailingCallLeavesTheBlockAsItWas) {
  Outcome const whole = adjust(block());
  ASSERT_EQ(whole.code, 0) << whole.messages;
  again();
  for (int const number : chosen(std::accumulate(whole.calls.begin(), whole.calls.end(), 0))) {
    Fault const fault{faults::anyCall, number, ENOSPC};
    SCOPED_TRACE(textOf(fault));
    Outcome const outcome = adjust(block(), fault);
    if (outcome.code != 0) {
      EXPECT_EQ(outcome.code, 1);
      EXPECT_EQ(differences(), "");
      EXPECT_FALSE(fs::exists(block() + "/block.blf.adjusting"));
      EXPECT_THAT(test::contents(out() + "/adjustment.json"), HasSubstr("\"orientations\": [],"));
    }
    again();
  }
}

TEST_F(AdjustFaults, FullDiskOfTheBlockLeavesItAsItWas) {
  test::SmallFileSystem const disk(std::int64_t{32} << 20);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system can be mounted here";
  }
  ASSERT_NO_FATAL_FAILURE(prepare(disk.path()));
  std::string const elsewhere = mFolder / "results";
  // With room for the journal, one orientation, a camera, and all of it but the last file.
  for (std::int64_t const spare : {0, 8 << 10, 64 << 10, 200 << 10, 400 << 10}) {
    disk.fill(spare);
    Outcome const outcome = faults::run({KES_PROGRAM, "adjust", block() + "/block.blf", "-o", elsewhere}, block());
    if (outcome.code != 0) {
      EXPECT_EQ(outcome.code, 1) << spare;
      EXPECT_EQ(differences(), "") << spare;
      EXPECT_FALSE(fs::exists(block() + "/block.blf.adjusting"));
    }
    fs::remove_all(elsewhere);
    again();
  }
}

TEST_F(AdjustFaults, FullDiskOfTheResultsLeavesTheBlockAsItWas) {
  for (std::int64_t const size : {64 << 10, 192 << 10}) {
    test::SmallFileSystem const disk(size);
    if (!disk.isMounted()) {
      GTEST_SKIP() << "no file system can be mounted here";
    }
    Outcome const outcome = faults::run({KES_PROGRAM, "adjust", block() + "/block.blf", "-o", disk / "out"}, block());
    EXPECT_EQ(outcome.code, 1) << size;
    EXPECT_EQ(differences(), "") << size;
  }
}

}  // namespace
