// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <string>

namespace test {

/// A CAM file of three pixels of a band.
inline std::string camText(std::string const& bandId, std::string const& extraHeader = "") {
  return "KES_CALIBRATION_FILE\t1\n"
         "CALIBRATION_SOURCE\t\"Test bench\"\n"
         "CAMERA_NAME\t\"007\"\n"
         "SENSOR_LINE\t\"" +
         bandId +
         "\"\n"
         "CALIBRATION_DATE\t\"Mar 12 14:15:30 2010\"\n"
         "FOCAL_LENGTH_MM\t62.50000\n"
         "NUM_PIXELS\t3\n"
         "PIXEL_SIZE\t0.00650\n" +
         extraHeader +
         "START_XY\n"
         "1.00000 -0.00650\n"
         "1.25000 0.00000\n"
         "1.50000 0.00650\n"
         "END_XY\n";
}

constexpr char const* misalignmentText = "# IMU_MISALIGNMENT\n0.1 0.4 0.2 0.5 0.3 0.6\n";

/// Writes version `version` of a camera below a folder with calibrations, and gives the version's folder.
inline std::string writeCamera(TempFolder const& folder, std::string const& calibrations, std::string const& camera,
                               std::string const& version, std::string const& note = "A note.\n") {
  std::string const place = calibrations + "/" + camera + "/" + version;
  folder.file(place + "/PANN00A.cam", camText("PANN00A"));
  folder.file(place + "/misalignment.dat", misalignmentText);
  folder.file(place + "/readme.txt", note);
  return folder / place;
}

}  // namespace test
