// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/kesplatform_export.h>

namespace util {

/// The level of vector operations of this machine's processor: 4.1 and 4.2 for that level of SSE, 5.0 with AVX, 5.2
/// with AVX2, 0 below and on any other kind of processor.
KESPLATFORM_EXPORT float vectorOpLevel();

}  // namespace util
