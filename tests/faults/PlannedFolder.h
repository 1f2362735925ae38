// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace faults {

/// An environment variable, or an empty text.
char const* variable(char const* name);

/// Whether an open file or folder lies in the folder whose calls count.
bool isBelowFolder(int file);
/// The same of a path. A relative one begins at the current folder or at the one that is open as `folder`.
bool isPlanned(int folder, char const* path);

}  // namespace faults
