// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace simulation {

/// Makes a folder with its parents; throws std::runtime_error "can't make folder FOLDER" and the system's reason.
void makeFolder(std::string const& folder);
/// Writes a file; throws std::runtime_error "can't write FILE".
void writeFile(std::string const& file, std::string_view contents);

}  // namespace simulation
