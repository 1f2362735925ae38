// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "files/kesfiles_export.h"

namespace files {

/// How many more threads can be started at the moment, at most `wanted`: as many as could just now, all at once, and
/// have ended again. For libraries that end the process or wait for ever when they can't start a thread that they were
/// asked for; others may take it meanwhile, so leave some room. It lies here since all the others stand on this
/// library.
KESFILES_EXPORT int startableThreads(int wanted);

}  // namespace files
