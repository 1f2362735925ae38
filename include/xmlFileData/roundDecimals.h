// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

namespace xmlFileData {

/// `value` rounded to a number of decimals, halves away from zero; a negative number of decimals rounds to tens,
/// hundreds and so on. The rounding happens on the double nearest to value * 10^decimals: a decimal half that this
/// product misses goes to the side it falls on. Numbers are written and compared with it, so that what a file holds
/// equals what was meant.
KESSENSOR_EXPORT double roundDecimals(double value, int decimals);

}  // namespace xmlFileData
