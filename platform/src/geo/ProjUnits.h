// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "geo/ProjHandles.h"

#include <geo/units.h>

namespace geo {

/// The unit of the first axis of `crs`. A unit of angle gets the length of that angle along the equator.
units horizontalUnitOf(PJ_CONTEXT* context, PJ const* crs);
/// The unit of the vertical part of `crs`, a system with three axes.
units verticalUnitOf(PJ_CONTEXT* context, PJ const* crs);

}  // namespace geo
