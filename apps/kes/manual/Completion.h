// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "manual/CommandTexts.h"

#include <string>

namespace tool {

/// A script that completes a command's words in a shell: commands, options, the values of those that take one of some
/// words, and files and folders where they are meant.
std::string bashCompletion(CommandText const& command);
std::string zshCompletion(CommandText const& command);
std::string fishCompletion(CommandText const& command);

}  // namespace tool
