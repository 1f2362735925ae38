// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace geo {

/// Throws std::runtime_error with the reason when a definition out of a file names other files by a path or through
/// "init=", in whatever form it is written, or is longer than any definition is. Grids by their plain names pass.
void refuseFiles(std::string const& definition);

}  // namespace geo
