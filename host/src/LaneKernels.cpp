// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// This file is compiled once for each instruction set: SSE4, AVX2, AVX-512 or NEON, and one without vectors.

#include "LaneKernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#define HWY_TARGET_INCLUDE "LaneKernels.cpp"
#include <hwy/foreach_target.h>

// Below the line above, which includes this file again.
#include "LanePieces-inl.h"
#include "Lanes-inl.h"
#include "LanesToGround-inl.h"
#include "LanesToImage-inl.h"
#include "NearLines-inl.h"

#if HWY_ONCE
namespace kes::detail {

HWY_EXPORT(findAll);
HWY_EXPORT(projectAll);

std::size_t findInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToImage const& run) {
  return HWY_DYNAMIC_DISPATCH(findAll)(tables, limits, run);
}

std::size_t projectInLanes(LaneTables const& tables, PixelLimits const& limits, LanesToGround const& run) {
  return HWY_DYNAMIC_DISPATCH(projectAll)(tables, limits, run);
}

}  // namespace kes::detail
#endif
