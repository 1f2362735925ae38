// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Scalars.h"

namespace kes::detail {

#include "SightFormulas-inl.h"

}  // namespace kes::detail
