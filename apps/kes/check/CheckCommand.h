// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Command.h"

#include <CLI/CLI.hpp>

namespace tool {

enum class Checked { stripOrBlock, block };

/// Adds the command "check" to the tool or to its command for blocks.
void addCheckCommand(CLI::App& parent, Checked checked, Run& run);

}  // namespace tool
