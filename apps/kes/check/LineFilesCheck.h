// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

namespace tool {

/// Names what is wrong or suspicious in a file of line times (CTG). Returns the number of lines.
std::int64_t checkLineTimes(FileFindings findings);

/// The same of the changes of the line rate (CTGL) of an image with so many lines.
void checkRateChanges(FileFindings findings, std::int64_t lines);

/// The same of a table of integration times, or of TDI stages.
void checkIntegrationTimes(FileFindings findings, std::int64_t lines);
void checkTdiStages(FileFindings findings, std::int64_t lines);

}  // namespace tool
