// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

namespace tool {

/// An interval between two records of more than this many periods is a gap.
inline constexpr double longestPeriod = 1.5;

/// Reads a binary orientation file and names what is wrong or suspicious in header, parameter block, records and
/// standard deviations.
void checkEop(FileFindings findings);

/// The same of the orientation file (ODF) of a sensor line: numbers of the header that aren't, records that are missing
/// or out of order.
void checkOdf(FileFindings findings);

/// The same of a support file: unknown and repeated keywords, numbers that aren't or are missing.
void checkSupportFile(FileFindings findings);

}  // namespace tool
