// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/TdiStage.h>

namespace sensor {

TdiStage::TdiStage(std::string const& fileName) : ScanlineData(fileName, 1.0) {}

TdiStage::TdiStage(float constant) : ScanlineData(constant, 1.0) {}

TdiStage::~TdiStage() = default;

}  // namespace sensor
