// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstdint>

// What the injection library and the program that drives it share. The plan comes as environment variables, the counts
// go through a file that both have mapped, as a killed process couldn't write a report.

namespace faults {

enum Call { OPEN, WRITE, SYNC, RENAME, CLOSE, numCalls };

constexpr std::array<char const*, numCalls> callNames{"open", "write", "sync", "rename", "close"};

/// Only files below this folder count.
constexpr char folderVariable[] = "KES_FAULT_FOLDER";
/// The kind of call to fail, a name of `callNames`, or "any".
constexpr char callVariable[] = "KES_FAULT_CALL";
/// Which of these calls to fail, from 1; 0 for none.
constexpr char numberVariable[] = "KES_FAULT_NUMBER";
/// The error number to fail with, or 0 to kill the process instead.
constexpr char errorVariable[] = "KES_FAULT_ERROR";
/// An existing file to record steps in (Recording.h); none is recorded without it.
constexpr char recordVariable[] = "KES_FAULT_RECORD";
/// The file of the counts.
constexpr char countsVariable[] = "KES_FAULT_COUNTS";

struct Counts {
  /// Calls of each kind so far.
  std::array<std::int32_t, numCalls> calls;
  /// Whether the fault has happened.
  std::int32_t happened;
};

/// What every clock shows, so that a run's output doesn't depend on when it is made: 2020-09-13, 12:26:40 UTC.
constexpr std::int64_t presentTime = 1600000000;

}  // namespace faults
