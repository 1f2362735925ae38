// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/KesBLookUp.h>
#include <xmlFileData/PrnuSensor.h>

#include <cstdint>
#include <string>
#include <vector>

namespace xmlFileData {

/// What corrects the digital numbers of a sensor line. The library uses the gain, the wavelengths, the imaging pixels
/// and the curves; all else is carried for tools that process raw images.
struct KESSENSOR_EXPORT CorrectionSensor {
  std::string type;  ///< Contains the band id.
  bool disabled = false;
  std::int32_t limit = 10000;
  std::int32_t imagingPixels = 0;  ///< Samples of the line that image.
  double radiometricGain = 1.0;
  double brightnessValue = 0.0;
  double brightnessIt = 1.0;
  double center = 0.0;  ///< Wavelength, nanometres.
  double width = 0.0;   ///< Of the band, nanometres.
  std::int32_t dsnuLower = 0;
  std::int32_t dsnuUpper = 0;
  std::int64_t prnuWidth = 0;   ///< Samples in a row of `prnu`.
  std::int64_t prnuHeight = 0;  ///< Rows of `prnu`.
  std::vector<float> prnu;      ///< Row after row.
  std::string prnuType;
  std::vector<KesBLookUp> lookups;

  /// Takes over an image. Without a type it takes this sensor's, which must be set before. Throws
  /// std::runtime_error "Invalid width or height" where the image hasn't as many samples as its size says; the sensor
  /// stays as it was then.
  void setPrnu(PrnuSensor image);
};

}  // namespace xmlFileData
