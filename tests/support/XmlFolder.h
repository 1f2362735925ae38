// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <string>
#include <string_view>

namespace test {

/// The texts of the four files of a small calibration of a newer camera: bands "PANF" (three pixels, index 4, one TDI
/// setting) and "BLUE" (two pixels in its grid, five on its line, index 7, two TDI settings).
struct XmlFolder {
  static constexpr char const* geometryName = "T_Geometry_SensorHead-1-A-2_DateTime-20100312-141530.xml";
  static constexpr char const* sensorName = "T_SensorData.xml";
  static constexpr char const* prnuName = "T_PrnuData.xml";
  static constexpr char const* dsnuName = "T_DsnuData.xml";

  XmlFolder();
  /// Writes the files into a folder below `folder` and gives its path.
  std::string write(TempFolder const& folder, std::string const& name) const;

  std::string geometry;
  std::string sensor;
  std::string prnu;
  std::string dsnu;
};

/// `text` with its first `from` as `to`; a test failure when there is none.
std::string with(std::string text, std::string_view from, std::string_view to);

}  // namespace test
