// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <proj.h>

namespace geo {

/// Lets PROJ open no files in `context` but regular ones in its own folders, where it keeps its database and grids, and
/// change none. Everything else doesn't exist for it.
void keepToProjFolders(PJ_CONTEXT* context);

}  // namespace geo
