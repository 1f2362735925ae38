// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "geo/ProjHandles.h"

#include <string>

namespace geo {

/// The names of all grids without which PROJ's ways from `crs` to `wgs84` are barred, with ", " between them; empty
/// when it knows no way at all.
std::string missingGrids(PJ_CONTEXT* context, PJ const* crs, PJ const* wgs84);

/// The grids of a step of `operation` that has only optional ones ("@name"), none of them installed: PROJ would run
/// the step without any shift. Empty when there is no such step. The grid "null" says that no shift is meant.
std::string absentOptionalGrids(PJ_CONTEXT* context, PJ* operation);

}  // namespace geo
