// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <string_view>

namespace sensor::camFile {

/// What a line of a CAM file's header says.
enum class Keyword {
  source,
  cameraName,
  sensorLine,
  date,
  focalLength,
  numPixels,
  pixelSize,
  radiometricGain,
  irradianceGain,
  leftSideGain,
  centerWavelength,
  spectralWidth,
  startXY,
  none
};

struct KeywordText {
  std::string_view text;
  Keyword keyword;
};

/// In the order in which a line is held against them: a keyword is the beginning of its line.
inline constexpr std::array<KeywordText, 13> keywords{{{"CALIBRATION_SOURCE", Keyword::source},
                                                       {"CAMERA_NAME", Keyword::cameraName},
                                                       {"SENSOR_LINE", Keyword::sensorLine},
                                                       {"CALIBRATION_DATE", Keyword::date},
                                                       {"FOCAL_LENGTH_MM", Keyword::focalLength},
                                                       {"NUM_PIXELS", Keyword::numPixels},
                                                       {"PIXEL_SIZE", Keyword::pixelSize},
                                                       {"RADIOMETRIC_GAIN", Keyword::radiometricGain},
                                                       {"IRRADIANCE_GAIN", Keyword::irradianceGain},
                                                       {"LEFTSIDE_GAIN", Keyword::leftSideGain},
                                                       {"CENTER_WAVELENGTH_NM", Keyword::centerWavelength},
                                                       {"SPECTRAL_WIDTH_NM", Keyword::spectralWidth},
                                                       {"START_XY", Keyword::startXY}}};

/// Of a line in UTF-8; none for a line that is left out.
constexpr Keyword keywordOf(std::string_view line) {
  for (KeywordText const& entry : keywords) {
    if (line.substr(0, entry.text.size()) == entry.text) {
      return entry.keyword;
    }
  }
  return Keyword::none;
}

/// Written, and not read: the offset of the mount, and the end of the coordinates.
inline constexpr std::string_view mountOffset = "MNT_Z_OFFSET";
inline constexpr std::string_view endXY = "END_XY";

}  // namespace sensor::camFile
