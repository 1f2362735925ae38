// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

#include <cstdint>
#include <string>

// A checker for each kind of file of a delivery. Each names what is wrong or suspicious: above all what the library
// leaves out, or reads as what its author didn't mean.

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

/// Names what is wrong or suspicious in a file of line times (CTG). Returns the number of lines.
std::int64_t checkLineTimes(FileFindings findings);

/// The same of the changes of the line rate (CTGL) of an image with so many lines.
void checkRateChanges(FileFindings findings, std::int64_t lines);

/// The same of a table of integration times, or of TDI stages.
void checkIntegrationTimes(FileFindings findings, std::int64_t lines);
void checkTdiStages(FileFindings findings, std::int64_t lines);

/// No line of these cameras looks farther ahead or back, degrees.
inline constexpr double steepestLook = 60.0;

/// Checks a CAM file; returns the id of its band.
std::string checkCam(FileFindings findings);

/// Checks the six numbers of a misalignment.
void checkMisalignment(FileFindings findings);

/// Reads all files of one version of a camera's calibration and names what the library drops or reads as what its
/// author didn't mean.
void checkCalibration(std::string const& folder, Findings& findings);

/// Names the lines of a list of ground points that are left out or read as what their author didn't mean.
void checkGroundPointList(FileFindings findings);

/// The size of an image.
struct ImageExtent {
  std::int64_t samples;
  std::int64_t lines;
};

/// The same of a list of measurements in an image.
void checkImagePointList(FileFindings findings, ImageExtent const& image);

}  // namespace tool
