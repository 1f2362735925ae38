// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>
#include <vector>

namespace fuzz {

/// One kind of file that the library reads: its folder in `corpus`, and what is done with the bytes of such a file.
///
/// `run` writes the bytes where the library reads them, and goes on with what it accepts: asks for values, writes, reads
/// again and compares. It keeps nothing from one call to the next. What must not happen ends the process: see Run.h.
struct Kind {
  std::string_view name;
  void (*run)(std::string_view bytes);
};

std::vector<Kind> const& kinds();

/// Throws std::runtime_error with the names of all kinds when there is none of that name.
Kind const& kindOf(std::string_view name);

// Orientations.cpp
void orientation(std::string_view bytes);
void parameterBlock(std::string_view bytes);
void lineOrientation(std::string_view bytes);
void merge(std::string_view bytes);
void supportFile(std::string_view bytes);

// LineFiles.cpp
void lineTimes(std::string_view bytes);
void lineSettings(std::string_view bytes);

// Calibrations.cpp
void camCalibration(std::string_view bytes);
void xmlGeometry(std::string_view bytes);
void xmlSensorData(std::string_view bytes);
void xmlPrnu(std::string_view bytes);
void xmlDsnu(std::string_view bytes);

// Projects.cpp
void strip(std::string_view bytes);
void block(std::string_view bytes);
void legacyFlight(std::string_view bytes);

// Tables.cpp
void groundPoints(std::string_view bytes);
void imagePoints(std::string_view bytes);
void csvTable(std::string_view bytes);

// Platform.cpp
void statistics(std::string_view bytes);
void coordinateSystem(std::string_view bytes);

}  // namespace fuzz
