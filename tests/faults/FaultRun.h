// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "FaultPlan.h"

#include <map>
#include <string>
#include <vector>

namespace faults {

/// The files below a folder with their contents, and its folders, whose names end in a slash. Names are relative.
using Files = std::map<std::string, std::string>;

Files filesBelow(std::string const& folder);
/// Makes a folder hold these files and nothing else.
void restore(std::string const& folder, Files const& files);

constexpr int anyCall = numCalls;
/// The error of a fault that kills the process.
constexpr int killed = 0;

struct Fault {
  int call = anyCall;
  int number = 0;  ///< From 1; 0 for no fault.
  int error = killed;
};

std::string textOf(Fault const& fault);

struct Outcome {
  int code = -1;  ///< Of the exit, or minus the signal that ended the program.
  bool happened = false;
  std::array<int, numCalls> calls{};
  std::string messages;  ///< From the standard error stream.
};

/// Runs a program, whose path comes first, with a fault among its calls on files below `folder`. Its steps go into the
/// file `record`, unless that is empty.
Outcome run(std::vector<std::string> const& command, std::string const& folder, Fault const& fault = {},
            std::string const& record = {});

}  // namespace faults
