// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "files/kesfiles_export.h"

namespace files {

/// Removes all temporary files and folders of this process, for a program that a signal ends: call it from an ordinary
/// thread, never from a signal handler, and end the process soon after. Other threads may be writing meanwhile; their
/// files become whole or stay as they were. From now on every writer of this process fails, so that nothing new is
/// left.
KESFILES_EXPORT void removeTemporaries();

}  // namespace files
