// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Image.h"

#include <xmlFileData/CorrectionSensor.h>

#include <stdexcept>
#include <utility>

namespace xmlFileData {

void CorrectionSensor::setPrnu(PrnuSensor image) {
  if (imageSize(image.width, image.height) != image.factors.size()) {
    throw std::runtime_error("Invalid width or height");
  }
  prnuType = image.type.empty() ? type : std::move(image.type);
  prnuWidth = image.width;
  prnuHeight = image.height;
  prnu = std::move(image.factors);
}

}  // namespace xmlFileData
