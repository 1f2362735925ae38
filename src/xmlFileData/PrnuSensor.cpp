// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Image.h"

#include <xmlFileData/PrnuSensor.h>

namespace xmlFileData {

std::vector<float> PrnuSensor::row(int t) const {
  return imageRow(width, height, factors, t);
}

}  // namespace xmlFileData
