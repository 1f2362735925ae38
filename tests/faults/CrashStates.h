// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "FaultRun.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// What a power loss may leave on a disk, by a model that promises less than a journalling file system does:
//
// - The power fails after any step of the record.
// - Bytes of a file are safe when the file was synced after they were written. What was written since is there, or
//   missing, or there up to the middle of some write, or the file has its new size and zeros in their place.
// - An entry of a folder (a new name, a name that is gone, each side of a rename) is safe when the folder was synced
//   after it changed; a sync of the file doesn't save its name. Changes since are kept or lost, each for its own, so
//   a later one may be there without an earlier one, and a rename without the bytes of its file. A rename as such is
//   there as a whole or not at all, and a sync of either of its folders saves it.
//
// Where the combinations of what may be lost after a step are many, all and nothing are tried, and some at random.

namespace faults {

/// A number of a file or folder, which no other has had before it.
using Node = int;

struct EntryChange {
  Node folder;
  std::string name;
  Node node;  ///< -1: the name is gone.
};

struct Step {
  enum Kind { BYTES, NAMES, SAVE } kind = SAVE;
  Node node = -1;                    ///< Of data and syncs.
  std::size_t size = 0;              ///< Of the file after a change of its data.
  std::size_t begin = 0;             ///< Where its new bytes begin.
  std::string bytes;                 ///< From there on.
  std::vector<EntryChange> entries;  ///< Which change together.
};

struct Recorded {
  Node root = -1;
  std::vector<bool> isFolder;  ///< Of each node.
  std::vector<Step> steps;
  std::size_t numSafe = 0;  ///< Steps that describe what was there before.
};

/// Reads the record of a run (Recording.h). Throws std::runtime_error for a line that it doesn't know.
Recorded readRecord(std::string const& bytes);

struct CrashState {
  std::size_t numSteps = 0;  ///< Before the power failed.
  bool isEnd = false;        ///< The program had ended.
  Files files;
  std::string lost;  ///< A description of what was lost, for messages.
};

/// Calls `see` with each state that may be left after each step. Where a step has more than `most`, it sees so many of
/// them, drawn at random with `seed`, and those with all and with nothing lost.
void forEachCrashState(Recorded const& recorded, int most, unsigned seed,
                       std::function<void(CrashState const&)> const& see);

}  // namespace faults
