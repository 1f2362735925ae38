// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace files {

/// A name for a temporary entry beside one of the name `target`: `.TARGET.kes-XXXXXXXXXXXX.part` with random letters
/// that nobody can foresee. In place of a target so long that this would be too long for a file system stands its hash.
/// Empty, with `errno`, when the system has no random numbers.
std::string temporaryName(std::string_view target);

/// Whether an entry of a folder bears such a name for `target`.
bool isTemporaryName(std::string_view entry, std::string_view target);

}  // namespace files
