// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CrashStates.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

// The model of a disk, on records by hand. Folder 1 is the root.

namespace {

using faults::CrashState;
using faults::Files;
using namespace std::string_literals;

constexpr int all = 1000;

// File 2 as `a`, there before.
std::string const oldFile = "set 1 2 file a\nend\ndata 2 3 0 3\nold\nroot 1\nsafe\n";
std::string const empty = "new 1\nroot 1\nsafe\n";
std::string const newFile = "new 3\nset 1 3 file b\nend\ndata 3 4 0 4\nabcd\n";
std::string const renamed = "unset 1 b\nset 1 3 file a\nend\n";

// What may be there after the last step.
std::set<Files> statesAtEnd(std::string const& record, int most = all) {
  std::set<Files> states;
  forEachCrashState(faults::readRecord(record), most, 1, [&](CrashState const& state) {
    if (state.isEnd) {
      states.insert(state.files);
    }
  });
  return states;
}

TEST(CrashStates, UnsyncedBytesAreThereOrMissingOrCutOrZeros) {
  EXPECT_EQ(statesAtEnd(empty + newFile + "sync 1\n"),
            (std::set<Files>{{{"b", "abcd"}}, {{"b", ""}}, {{"b", "ab"}}, {{"b", "\0\0\0\0"s}}}));
  EXPECT_EQ(statesAtEnd(empty + newFile + "sync 1\nsync 3\n"), (std::set<Files>{{{"b", "abcd"}}}));
}

TEST(CrashStates, BytesAfterASyncAreUnsafeAgain) {
  EXPECT_EQ(statesAtEnd(oldFile + "data 2 4 2 2\nXY\n"),
            (std::set<Files>{{{"a", "old"}}, {{"a", "olXY"}}, {{"a", "olX"}}, {{"a", "ol\0\0"s}}}));
  EXPECT_EQ(statesAtEnd(oldFile + "data 2 1 0 0\n\nsync 2\n"), (std::set<Files>{{{"a", "o"}}}));
}

TEST(CrashStates, NamesAreSafeWhenTheirFolderWasSynced) {
  std::string const synced = newFile + "sync 3\n";
  EXPECT_EQ(statesAtEnd(empty + synced), (std::set<Files>{{}, {{"b", "abcd"}}}));
  EXPECT_EQ(statesAtEnd(empty + synced + "sync 1\nunset 1 b\nend\n"), (std::set<Files>{{}, {{"b", "abcd"}}}));
}

TEST(CrashStates, RenameMayComeWithoutTheBytesOfItsFile) {
  std::set<Files> const states = statesAtEnd(oldFile + newFile + renamed);
  EXPECT_EQ(states.count({{"a", ""}}), 1U);
  EXPECT_EQ(states.count({{"a", "abcd"}}), 1U);
  EXPECT_EQ(states.count({{"a", "old"}, {"b", "ab"}}), 1U);
}

TEST(CrashStates, RenameIsThereAsAWholeAndNeedsNoEarlierName) {
  std::string const synced = oldFile + newFile + "sync 3\n" + renamed;
  EXPECT_EQ(statesAtEnd(synced), (std::set<Files>{{{"a", "old"}}, {{"a", "old"}, {"b", "abcd"}}, {{"a", "abcd"}}}));
  EXPECT_EQ(statesAtEnd(synced + "sync 1\n"), (std::set<Files>{{{"a", "abcd"}}}));
}

TEST(CrashStates, SyncOfOneFolderSavesARenameOutOfAnother) {
  std::string const made = empty + "new 4\nset 1 4 folder w\nend\nnew 3\nset 4 3 file b\nend\n";
  EXPECT_EQ(statesAtEnd(made + "unset 4 b\nset 1 3 file a\nend\nsync 1\n"), (std::set<Files>{{{"a", ""}, {"w/", ""}}}));
}

TEST(CrashStates, NumberThatIsGivenAgainIsAnotherFile) {
  EXPECT_EQ(statesAtEnd(oldFile + "unset 1 a\nend\nnew 2\nset 1 2 file c\nend\nsync 1\n"),
            (std::set<Files>{{{"c", ""}}}));
}

TEST(CrashStates, EveryStepMayBeTheLast) {
  std::set<std::size_t> steps;
  forEachCrashState(faults::readRecord(oldFile + newFile), all, 1,
                    [&](CrashState const& state) { steps.insert(state.numSteps); });
  EXPECT_EQ(steps, (std::set<std::size_t>{2, 3, 4}));
}

TEST(CrashStates, OfManyCombinationsAllAndNothingAreAmongTheDrawn) {
  std::string record = empty;
  Files whole;
  for (int i = 0; i < 30; ++i) {
    std::string const number = std::to_string(i + 10);
    record += "new " + number + "\nset 1 " + number + " file f" + number + "\nend\n";
    whole["f" + number];
  }
  std::set<Files> const states = statesAtEnd(record, 5);
  EXPECT_EQ(states.count({}) + states.count(whole), 2U);
  EXPECT_EQ(states.size(), 7U);
}

TEST(CrashStates, UnknownStepIsRefused) {
  EXPECT_THROW(faults::readRecord("hop 1\n"), std::runtime_error);
}

}  // namespace
