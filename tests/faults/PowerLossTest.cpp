// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CrashStates.h"
#include "WriterTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

// Every writer, with the power failing after each of its steps, and with each combination of what the disk may have
// lost of them. What is then there of each file is the old one or the new one, whole.

namespace {

using faults::CrashState;
using faults::Files;
using faults::Outcome;
using faults::Recorded;
using faults::Writer;

// Of what a step may have lost: tried of a file, and of a folder with many.
constexpr int mostCombinations = 128;
constexpr int mostOfFolder = 6;
constexpr unsigned seed = 20261122;
// States from which the writer runs again.
constexpr std::size_t numAgain = 3;

bool isFolder(std::string const& name) {
  return name.back() == '/';
}

std::string const* find(Files const& files, std::string const& name) {
  auto const found = files.find(name);
  return found == files.end() ? nullptr : &found->second;
}

bool isSame(std::string const* a, std::string const* b) {
  return a == nullptr || b == nullptr ? a == b : *a == *b;
}

class PowerLoss : public testing::TestWithParam<Writer> {
protected:
  void SetUp() override {
    GetParam().prepare(mFolder);
    mOld = faults::filesBelow(mFolder.path());
    std::string const record = mReports.file("record", "");
    Outcome const outcome = faults::run(GetParam().command(mFolder.path()), mFolder.path(), {}, record);
    ASSERT_EQ(outcome.code, GetParam().code) << outcome.messages;
    mNew = faults::filesBelow(mFolder.path());
    mRecorded = faults::readRecord(test::contents(record));
    for (auto const& [name, contents] : mNew) {
      if (!isFolder(name) && !isSame(&contents, find(mOld, name))) {
        mOutputs.push_back(name);
      }
    }
  }

  bool isNew(CrashState const& state, std::string const& name) const {
    return isSame(find(state.files, name), find(mNew, name));
  }

  // In place of the old file, if maybe not yet with its last contents.
  bool isThere(CrashState const& state, std::string const& name) const {
    return !isSame(find(state.files, name), find(mOld, name));
  }

  bool isWhole(CrashState const& state, std::string const& name) const {
    std::string const* const contents = find(state.files, name);
    return isNew(state, name) || !isThere(state, name) ||
           (contents != nullptr && GetParam().isWhole && GetParam().isWhole(name, *contents));
  }

  // What is wrong with a state, or an empty text.
  std::string fault(CrashState const& state) const {
    bool isRemoved = false;
    for (auto const& [name, contents] : mOld) {
      if (!isWhole(state, name)) {
        return name + " is neither the old nor the new file";
      }
      isRemoved = isRemoved || state.files.count(name) == 0;
    }
    std::size_t numNew = 0;
    for (std::string const& name : mOutputs) {
      if (!isWhole(state, name)) {
        return name + " is there, and not whole";
      }
      numNew += isNew(state, name) ? 1 : 0;
    }
    if (state.isEnd && GetParam().code == 0 && numNew < mOutputs.size()) {
      return "a file that was reported as written isn't there";
    }
    if (isRemoved && numNew < mOutputs.size()) {
      return "a file was removed before what is made of it was safe";
    }
    return GetParam().isAtOnce && numNew % mOutputs.size() != 0 ? "some of the files are new, and some are old" : "";
  }

  test::TempFolder mFolder;
  test::TempFolder mReports;
  Files mOld;
  Files mNew;
  Recorded mRecorded;
  std::vector<std::string> mOutputs;
};

std::string textOf(CrashState const& state) {
  return "power lost after step " + std::to_string(state.numSteps) + (state.isEnd ? ", the last" : "") +
         "; on the disk: " + state.lost;
}

TEST_P(PowerLoss, LeavesTheOldFileOrTheNewOneWhateverTheDiskHasLost) {
  std::size_t numStates = 0;
  std::string first;
  int const most = GetParam().isAtOnce ? mostOfFolder : mostCombinations;
  forEachCrashState(mRecorded, most, seed, [&](CrashState const& state) {
    ++numStates;
    std::string const reason = first.empty() ? fault(state) : "";
    first += reason.empty() ? "" : reason + ": " + textOf(state);
  });
  EXPECT_EQ(first, "");
  EXPECT_GT(numStates, mRecorded.steps.size() - mRecorded.numSafe);
}

// The record has seen all that the writer has done.
TEST_P(PowerLoss, AllThatWasWrittenIsRecorded) {
  Files last;
  forEachCrashState(mRecorded, 0, seed, [&](CrashState const& state) {
    if (state.isEnd && state.lost.empty()) {
      last = state.files;
    }
  });
  EXPECT_TRUE(last == mNew);
}

// Files that are written one after the other appear in that order: a copy of what is to be replaced comes first.
TEST_P(PowerLoss, LaterFileIsNotThereWithoutAnEarlierOne) {
  if (GetParam().isAtOnce) {
    GTEST_SKIP() << "its files appear together";
  }
  std::map<std::string, std::size_t> appeared;
  forEachCrashState(mRecorded, 0, seed, [&](CrashState const& state) {
    for (std::string const& name : mOutputs) {
      if (state.lost.empty() && isThere(state, name)) {
        appeared.try_emplace(name, state.numSteps);
      }
    }
  });
  ASSERT_EQ(appeared.size(), mOutputs.size());
  std::sort(mOutputs.begin(), mOutputs.end(),
            [&](std::string const& a, std::string const& b) { return appeared[a] < appeared[b]; });
  std::string first;
  forEachCrashState(mRecorded, mostCombinations, seed, [&](CrashState const& state) {
    bool const isInOrder = std::is_partitioned(mOutputs.begin(), mOutputs.end(),
                                               [&](std::string const& name) { return isThere(state, name); });
    first = first.empty() && !isInOrder ? textOf(state) : first;
  });
  EXPECT_EQ(first, "");
}

TEST_P(PowerLoss, NextRunWritesTheNewFileAndClearsUp) {
  std::size_t const numSteps = mRecorded.steps.size() - mRecorded.numSafe;
  std::map<std::size_t, CrashState> states;
  for (std::size_t i = 1; i <= numAgain; ++i) {
    states[mRecorded.numSafe + i * numSteps / (numAgain + 1)];
  }
  // Of those after a step, the last one drawn.
  forEachCrashState(mRecorded, 2, seed, [&](CrashState const& state) {
    if (states.count(state.numSteps) != 0) {
      states[state.numSteps] = state;
    }
  });
  for (auto& [step, state] : states) {
    SCOPED_TRACE(textOf(state));
    if (GetParam().refusesOldOutput) {
      for (std::string const& name : mOutputs) {
        state.files.erase(name);
      }
    }
    faults::restore(mFolder.path(), state.files);
    Outcome const outcome = faults::run(GetParam().command(mFolder.path()), mFolder.path());
    EXPECT_EQ(outcome.code, GetParam().code) << outcome.messages;
    EXPECT_TRUE(faults::filesBelow(mFolder.path()) == mNew);
  }
}

std::string nameOf(testing::TestParamInfo<Writer> const& instance) {
  std::string name = instance.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Library, PowerLoss, testing::ValuesIn(faults::libraryWriters()), nameOf);
INSTANTIATE_TEST_SUITE_P(Plan, PowerLoss, testing::ValuesIn(faults::planWriters()), nameOf);
INSTANTIATE_TEST_SUITE_P(Tool, PowerLoss, testing::ValuesIn(faults::toolWriters()), nameOf);

}  // namespace
