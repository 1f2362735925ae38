// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "manual/CommandTexts.h"

#include <string>

namespace tool {

/// "kes-eop-info" of the command "kes eop info".
std::string manPageName(CommandText const& command);

/// The page of a command for man(1), in section 1. It refers to those of the commands below it, and to that above.
std::string manPage(CommandText const& command);

}  // namespace tool
