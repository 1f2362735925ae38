// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Image.h"

#include <xmlFileData/DsnuSensor.h>

namespace xmlFileData {

std::vector<std::uint16_t> DsnuSensor::row(int t) const {
  return imageRow(width, height, offsets, t);
}

}  // namespace xmlFileData
